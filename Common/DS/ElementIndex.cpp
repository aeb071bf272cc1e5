// Accelerators of one data set's searches.

#include "Common/DS/ElementIndex.h"

#include <new>
#include <vector>

#include "Common/DS/DirectoryTags.h"
#include "Common/DS/ElementNode.h"

namespace mdicom {

namespace {

constexpr uint32_t kFirstCapacity = 128;
constexpr uint32_t kKeptCapacity = 4096;
constexpr unsigned kNearSteps = 32;
constexpr unsigned kSampleDistance = 64;

uint32_t HashOf(uint32_t tag) {
    return (tag * 0x9E3779B1u) >> 7;
}

} // namespace

TagCounts::Entry *TagCounts::Find(uint32_t tag) const noexcept {
    if (m_Capacity == 0) return nullptr;
    uint32_t place = HashOf(tag) & (m_Capacity - 1);
    while (m_Entries[place].tag != 0 && m_Entries[place].tag != tag) {
        place = (place + 1) & (m_Capacity - 1);
    }
    return &m_Entries[place];
}

bool TagCounts::Grow() noexcept {
    const uint32_t capacity = m_Capacity != 0 ? m_Capacity * 2 : kFirstCapacity;
    std::unique_ptr<Entry[]> old(new (std::nothrow) Entry[capacity]());
    if (!old) return false;
    old.swap(m_Entries);
    const uint32_t oldCapacity = m_Capacity;
    m_Capacity = capacity;
    m_Used = 0;
    for (uint32_t i = 0; i < oldCapacity; ++i) {
        if (old[i].count == 0) continue;
        *Find(old[i].tag) = old[i];
        ++m_Used;
    }
    return true;
}

_DICOMELEMENT **TagCounts::Add(uint32_t tag) noexcept {
    if (!m_Complete) return nullptr;
    if (m_Used >= m_Capacity / 4 * 3 && !Grow()) {
        m_Complete = false;
        return nullptr;
    }
    Entry *entry = Find(tag);
    if (entry->tag == 0) {
        entry->tag = tag;
        ++m_Used;
    }
    ++entry->count;
    return &entry->first;
}

void TagCounts::Remove(uint32_t tag) noexcept {
    Entry *entry = Find(tag);
    if (entry != nullptr && entry->count > 0) --entry->count;
}

bool TagCounts::MayHold(uint32_t tag) const noexcept {
    if (!m_Complete) return true;
    const Entry *entry = Find(tag);
    return entry != nullptr && entry->count > 0;
}

_DICOMELEMENT **TagCounts::FirstOf(uint32_t tag) const noexcept {
    Entry *entry = m_Complete ? Find(tag) : nullptr;
    return entry != nullptr && entry->count > 0 ? &entry->first : nullptr;
}

void TagCounts::ForgetFirsts() noexcept {
    for (uint32_t i = 0; i < m_Capacity; ++i) m_Entries[i].first = nullptr;
}

void TagCounts::Clear() noexcept {
    const bool isEmpty = m_Used == 0;
    m_Used = 0;
    m_Complete = true;
    if (m_Capacity > kKeptCapacity) {
        m_Entries.reset();
        m_Capacity = 0;
    }
    if (isEmpty) return;
    for (uint32_t i = 0; i < m_Capacity; ++i) m_Entries[i] = {};
}

ElementIndex::ElementIndex() noexcept = default;
ElementIndex::~ElementIndex() = default;

void ElementIndex::Clear() noexcept {
    m_Counts.Clear();
    m_Keys.reset();
    m_Frames.reset();
    ++m_RecordChanges;
    ++m_FragmentChanges;
    m_Samples.clear();
    m_Unordered.clear();
    m_AllUnordered = false;
    m_Offsets.clear();
    m_StepsWithoutOrder = 0;
}

void ElementIndex::NoteChange(const _DICOMELEMENT *element) noexcept {
    const uint32_t tag = element->nTag;
    const _DICOMELEMENT *parent = tag == TAG_ITEM ? ParentOf(element) : nullptr;
    const uint32_t holder = parent != nullptr ? parent->nTag : tag;
    switch (holder) {
        case kDirectoryRecords:
        case kFirstRootRecord:
        case kNextRecord:
        case kLowerRecord:
            ++m_RecordChanges;
            break;
        case TAG_PIXEL_DATA:
            ++m_FragmentChanges;
            break;
        default:
            break;
    }
}

void ElementIndex::Inserted(_DICOMELEMENT *element) noexcept {
    _DICOMELEMENT **first = m_Counts.Add(element->nTag);
    NoteChange(element);
    if (first != nullptr && *first != nullptr && !StandsAfter(element, *first)) *first = nullptr;
    const _DICOMLINK &link = element->Link;
    const bool ordered = (link.pPrev == nullptr || AsElement(link.pPrev)->nTag <= element->nTag) &&
                         (link.pNext == nullptr || AsElement(link.pNext)->nTag >= element->nTag);
    if (!ordered) MarkUnordered(ParentOf(element));
}

void ElementIndex::MarkUnordered(const _DICOMELEMENT *parent) noexcept {
    try {
        m_Unordered.insert(parent);
    } catch (const std::bad_alloc &) {
        m_AllUnordered = true; // without the mark a search could stop too early
    }
}

void ElementIndex::Deleting(_DICOMELEMENT *element) noexcept {
    _DICOMELEMENT **first = m_Counts.FirstOf(element->nTag);
    if (first != nullptr && *first == element) *first = nullptr;
    m_Counts.Remove(element->nTag);
    NoteChange(element);
    if (!m_Offsets.empty()) m_Offsets.erase(element);
    if (!m_Unordered.empty()) m_Unordered.erase(element);
    if (m_Samples.empty()) return;
    m_Samples.erase(element);
    const auto level = m_Samples.find(ParentOf(element));
    if (level == m_Samples.end()) return;
    const auto sample = level->second.find(element->nTag);
    if (sample != level->second.end() && sample->second == element) level->second.erase(sample);
}

void ElementIndex::Exchanged(const _DICOMELEMENT *first, const _DICOMELEMENT *second) noexcept {
    ++m_RecordChanges;
    ++m_FragmentChanges;
    m_Counts.ForgetFirsts();
    m_Samples.erase(first);
    m_Samples.erase(second);
    // Both levels count as unordered where one of them is: that costs time only.
    if (m_Unordered.contains(first)) MarkUnordered(second);
    if (m_Unordered.contains(second)) MarkUnordered(first);
}

_DICOMELEMENT *ElementIndex::KnownFirst(uint32_t tag) const noexcept {
    _DICOMELEMENT **first = m_Counts.FirstOf(tag);
    return first != nullptr ? *first : nullptr;
}

void ElementIndex::RememberFirst(_DICOMELEMENT *element) noexcept {
    _DICOMELEMENT **first = m_Counts.FirstOf(element->nTag);
    if (first != nullptr) *first = element;
}

void ElementIndex::RememberOffset(const _DICOMELEMENT *element, _DICOMLINK *node) noexcept {
    try {
        m_Offsets[element] = node;
    } catch (const std::bad_alloc &) {
        // An offset that is not remembered reads as one that was not recorded.
    }
}

_DICOMLINK *ElementIndex::KnownOffset(const _DICOMELEMENT *element) const noexcept {
    const auto place = m_Offsets.find(element);
    return place != m_Offsets.end() ? place->second : nullptr;
}

/** True if element is sure to come after other in a depth-first walk; false when that would take
 *  a long look. */
bool ElementIndex::StandsAfter(const _DICOMELEMENT *element,
                               const _DICOMELEMENT *other) const noexcept {
    unsigned depth = 0;
    unsigned otherDepth = 0;
    for (const _DICOMELEMENT *node = element; ParentOf(node) != nullptr; node = ParentOf(node)) {
        ++depth;
    }
    for (const _DICOMELEMENT *node = other; ParentOf(node) != nullptr; node = ParentOf(node)) {
        ++otherDepth;
    }
    for (; depth > otherDepth; --depth) {
        element = ParentOf(element);
        if (element == other) return true;
    }
    for (; otherDepth > depth; --otherDepth) {
        other = ParentOf(other);
        if (other == element) return false;
    }
    while (ParentOf(element) != ParentOf(other)) {
        element = ParentOf(element);
        other = ParentOf(other);
    }
    if (element->Link.pNext == nullptr || other->Link.pPrev == nullptr) return true;
    return element->nTag > other->nTag && HasOrder(ParentOf(element));
}

_DICOMELEMENT *ElementIndex::LowerBound(_DICOMELEMENT *parent, _DICOMELEMENT *first,
                                        _DICOMELEMENT *last, uint32_t tag) noexcept {
    if (!HasOrder(parent)) {
        _DICOMELEMENT *node = first;
        for (; node != nullptr && node->nTag < tag; node = NextOf(node)) ++m_StepsWithoutOrder;
        return node;
    }
    _DICOMELEMENT *found = nullptr;
    _DICOMELEMENT *node = last;
    for (unsigned step = 0; step < kNearSteps; ++step) {
        if (node == nullptr || node->nTag < tag) return found;
        found = node;
        node = AsElement(node->Link.pPrev);
    }
    node = first;
    for (unsigned step = 0; step < kNearSteps; ++step) {
        if (node == nullptr || node->nTag >= tag) return node;
        node = NextOf(node);
    }
    return WalkWithSamples(parent, node, tag);
}

_DICOMELEMENT *ElementIndex::WalkWithSamples(_DICOMELEMENT *parent, _DICOMELEMENT *first,
                                             uint32_t tag) noexcept {
    _DICOMELEMENT *node = first;
    try {
        Samples &samples = m_Samples[parent];
        auto sample = samples.lower_bound(tag);
        if (sample != samples.begin()) {
            --sample;
            if (sample->second->nTag > node->nTag) node = sample->second;
        }
        for (unsigned step = 1; node != nullptr && node->nTag < tag; node = NextOf(node), ++step) {
            if (step % kSampleDistance == 0) samples.emplace(node->nTag, node);
        }
        return node;
    } catch (const std::bad_alloc &) {
        while (node != nullptr && node->nTag < tag) node = NextOf(node);
        return node;
    }
}

} // namespace mdicom
