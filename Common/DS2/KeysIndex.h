// Directory records as a tree (PS 3.3, F): what the references between them say, worked out once.

#pragma once

#include <cstdint>
#include <forward_list>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "Common/DS/DirectoryTags.h"
#include "MDicomTree.h"

namespace mdicom {

struct KeyNode;

/** Records that follow each other. */
struct KeyLevel {
    KeyNode *parent = nullptr; ///< null for the root level and for records without a parent
    KeyNode *first = nullptr;
    KeyNode *last = nullptr;
};

/** A record in the tree. */
struct KeyNode {
    _DICOMELEMENT *item = nullptr;
    KeyLevel *level = nullptr;
    KeyNode *prev = nullptr;
    KeyNode *next = nullptr;
    KeyLevel children;
};

/**
 * The tree of the records of one directory. A record has one place in it: a reference that would
 * give it a second one, as loops do, is not followed. So every walk ends, and each step back
 * undoes a step forward.
 *
 * The tree is that of the version of the records it was built from; its owner compares. Building
 * and adding throw std::bad_alloc.
 */
class KeyIndex {
  public:
    /** @param records (0004,1220), or null
     *  @param firstOfRoot identity that (0004,1200) names, 0 for none */
    KeyIndex(_DICOMELEMENT *records, uint32_t firstOfRoot);

    uint64_t Version() const noexcept { return m_Version; }
    void SetVersion(uint64_t version) noexcept { m_Version = version; }

    KeyNode *Find(const _DICOMELEMENT *item) noexcept;
    KeyLevel &Root() noexcept { return m_Root; }

    /** The smallest number that no item of the tree has as identity and no reference names. */
    uint32_t FreeIdentity(MDicomTree &tree);

    /** Makes room for one more record, so that Append cannot fail. */
    void Reserve(_DICOMELEMENT *item);
    /** Adds a reserved record at the end of a level. */
    void Append(KeyLevel &level, _DICOMELEMENT *item) noexcept;

    /** A record with all below it, each parent before its children. */
    static std::vector<KeyNode *> Subtree(KeyNode *node);
    /** Takes a record and all below it out. False when the tree has to be built anew, since a
     *  reference that was not followed may name one of them. */
    bool Remove(const std::vector<KeyNode *> &subtree) noexcept;

  private:
    struct References {
        uint32_t next = 0;
        uint32_t child = 0;
    };

    void ReadRecords(_DICOMELEMENT *records);
    void Grow(KeyLevel &level, uint32_t identity);
    KeyNode *Take(KeyLevel &level, uint32_t identity);
    static void Link(KeyLevel &level, KeyNode *node) noexcept;

    std::unordered_map<const _DICOMELEMENT *, KeyNode> m_Nodes;
    std::unordered_map<uint32_t, KeyNode *> m_ByIdentity;
    std::unordered_map<const KeyNode *, References> m_References; ///< while the tree is built
    std::unordered_set<uint32_t> m_Dangling;  ///< identities that references name and no record has
    std::unordered_set<uint32_t> m_Elsewhere; ///< identities of items that are no records
    bool m_KnowsElsewhere = false;
    bool m_Damaged = false; ///< two records of one identity, or a reference that is not followed
    std::forward_list<KeyLevel> m_Loose; ///< levels that no reference leads to
    KeyLevel m_Root;
    uint32_t m_LowestFree = 1;
    uint64_t m_Version = 0;
};

} // namespace mdicom
