// Accelerators of one data set's searches. They change what a search costs, never what it finds.

#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <unordered_map>
#include <unordered_set>

#include "MDicomTypes.h"

namespace mdicom {

class FrameIndex;
class KeyIndex;

/** How often each tag stands in the tree, and where a search found it first: a small table with
 *  open addressing. */
class TagCounts {
  public:
    /** Counts one more; the place to note the first element with this tag, as FirstOf. */
    _DICOMELEMENT **Add(uint32_t tag) noexcept;
    void Remove(uint32_t tag) noexcept;
    /** True unless the tag is known to be absent. */
    bool MayHold(uint32_t tag) const noexcept;
    /** Place to note the first element with this tag; null where there is none. */
    _DICOMELEMENT **FirstOf(uint32_t tag) const noexcept;
    /** Forgets where tags were found, but not how often they stand. */
    void ForgetFirsts() noexcept;
    void Clear() noexcept;

  private:
    struct Entry {
        uint32_t tag; ///< 0 for a free entry: no element has this tag
        uint32_t count;
        _DICOMELEMENT *first; ///< null while no search has found it
    };
    Entry *Find(uint32_t tag) const noexcept;
    bool Grow() noexcept;

    std::unique_ptr<Entry[]> m_Entries;
    uint32_t m_Capacity = 0; ///< a power of two
    uint32_t m_Used = 0;
    bool m_Complete = true; ///< false after a failed allocation: then any tag may be there
};

/**
 * Remembers where searches of a data set end: tag counts for the whole tree, the first element
 * of tags that were searched for, and on long levels every 64th sibling by its tag. The owner
 * tells of each insertion and deletion. Nothing here can fail: without memory the searches walk.
 */
class ElementIndex {
  public:
    ElementIndex() noexcept;
    ~ElementIndex();
    void Inserted(_DICOMELEMENT *element) noexcept;
    /** Before the element is unlinked; its children are gone. */
    void Deleting(_DICOMELEMENT *element) noexcept;
    /** After two elements have exchanged their values and children. */
    void Exchanged(const _DICOMELEMENT *first, const _DICOMELEMENT *second) noexcept;
    void Clear() noexcept;

    bool MayHold(uint32_t tag) const noexcept { return m_Counts.MayHold(tag); }

    /** The first element with this tag in a depth-first walk, if it is known. */
    _DICOMELEMENT *KnownFirst(uint32_t tag) const noexcept;
    void RememberFirst(_DICOMELEMENT *element) noexcept;

    /**
     * The first sibling of a level whose tag is greater than or equal to tag, or null.
     * @param parent parent of the level, null for the top level
     * @param first, last ends of the level
     */
    _DICOMELEMENT *LowerBound(_DICOMELEMENT *parent, _DICOMELEMENT *first, _DICOMELEMENT *last,
                              uint32_t tag) noexcept;

    /** True if an element with this tag goes behind the last one under parent, and no sibling has
     *  it: so do nearly all while a file is loaded. */
    bool IsBehind(const _DICOMELEMENT *parent, const _DICOMELEMENT *last,
                  uint32_t tag) const noexcept {
        return last->nTag < tag && HasOrder(parent);
    }

    /** True if the siblings under parent are known to ascend by tag. */
    bool HasOrder(const _DICOMELEMENT *parent) const noexcept {
        return !m_AllUnordered && (m_Unordered.empty() || !m_Unordered.contains(parent));
    }

    /** Notes the node that records the file offset of an element. */
    void RememberOffset(const _DICOMELEMENT *element, _DICOMLINK *node) noexcept;
    /** The node that records the file offset of an element, or null. */
    _DICOMLINK *KnownOffset(const _DICOMELEMENT *element) const noexcept;

    /** Steps that were walked over levels without order; a reader of hostile input asks. */
    uint64_t StepsWithoutOrder() const noexcept { return m_StepsWithoutOrder; }
    void CountSteps(uint64_t steps) noexcept { m_StepsWithoutOrder += steps; }

    /** Counts what happens to directory records and to the references between them. An index of
     *  the records is good for one count. */
    uint64_t RecordChanges() const noexcept { return m_RecordChanges; }
    void RecordsChanged() noexcept { ++m_RecordChanges; }
    /** The tree of the directory records; null until it is built. */
    std::shared_ptr<KeyIndex> &Keys() noexcept { return m_Keys; }

    /** Counts what happens to Pixel Data and its fragments. */
    uint64_t FragmentChanges() const noexcept { return m_FragmentChanges; }
    /** After a change of the value of an element. */
    void ValueChanged(const _DICOMELEMENT *element) noexcept {
        if (element->nTag == TAG_ITEM) ++m_FragmentChanges;
    }
    /** Where the frames of encapsulated Pixel Data begin; null until it is asked for. */
    std::shared_ptr<FrameIndex> &Frames() noexcept { return m_Frames; }

  private:
    using Samples = std::map<uint32_t, _DICOMELEMENT *>;

    _DICOMELEMENT *WalkWithSamples(_DICOMELEMENT *parent, _DICOMELEMENT *first,
                                   uint32_t tag) noexcept;
    bool StandsAfter(const _DICOMELEMENT *element, const _DICOMELEMENT *other) const noexcept;

    void NoteChange(const _DICOMELEMENT *element) noexcept;
    void MarkUnordered(const _DICOMELEMENT *parent) noexcept;

    TagCounts m_Counts;
    uint64_t m_RecordChanges = 0;
    uint64_t m_FragmentChanges = 0;
    // Nobody shares them, but these owners can do without knowing what they own.
    std::shared_ptr<KeyIndex> m_Keys;
    std::shared_ptr<FrameIndex> m_Frames;
    std::unordered_map<const _DICOMELEMENT *, Samples> m_Samples; ///< by parent
    std::unordered_set<const _DICOMELEMENT *> m_Unordered;        ///< parents of such levels
    bool m_AllUnordered = false; ///< memory was short for one of them: any level may be such
    std::unordered_map<const _DICOMELEMENT *, _DICOMLINK *> m_Offsets;
    uint64_t m_StepsWithoutOrder = 0;
};

} // namespace mdicom
