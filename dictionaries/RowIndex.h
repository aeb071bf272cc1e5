// Fast access to the rows of a dictionary, built when it is first needed.

#pragma once

#include <atomic>
#include <bit>
#include <cstdint>
#include <mutex>
#include <new>
#include <vector>

#include "Mvkrnx.h"
#include "dictionaries/RowList.h"

namespace mdicom {

/** Draws from the kernel's heap, so that its fault hook reaches the memory of an index. */
template <typename T>
struct IndexAllocator {
    using value_type = T;

    IndexAllocator() = default;
    template <typename Other>
    IndexAllocator(const IndexAllocator<Other> &) {}

    T *allocate(size_t count) {
        void *block = KernelHeapAlloc(count, sizeof(T), 0, nullptr);
        if (block == nullptr) throw std::bad_alloc();
        return static_cast<T *>(block);
    }
    void deallocate(T *block, size_t) { KernelHeapFree(block, 0, nullptr); }
    bool operator==(const IndexAllocator &) const = default;
};

template <typename T>
using IndexVector = std::vector<T, IndexAllocator<T>>;

/** The rows of a list by position, and by a hash of their keys. May throw std::bad_alloc. */
template <typename Row>
class RowIndex {
  public:
    /** What Find returns for a key without a row. */
    static constexpr uint32_t kNone = 0xFFFFFFFF;

    explicit RowIndex(const RowList<Row> &list) {
        for (Row *row = list.First(); row != nullptr; row = list.Next(row)) m_Rows.push_back(row);
        m_Slots.resize(std::bit_ceil(m_Rows.size() * 2 + 1));
    }

    uint32_t Count() const { return static_cast<uint32_t>(m_Rows.size()); }
    Row *At(uint32_t position) const {
        return position < m_Rows.size() ? m_Rows[position] : nullptr;
    }

    /** Files a row under a key, unless an earlier row with that key stands there. Needs at most
     *  one call per row: the table does not grow. */
    template <typename IsKey>
    void Add(uint32_t position, uint32_t hash, IsKey isKey) {
        Slot &slot = m_Slots[Seek(hash, isKey)];
        if (slot.place == 0) slot = {hash, position + 1};
    }

    /** Position of the first row with a key, given by its hash and by a test of rows. */
    template <typename IsKey>
    uint32_t Find(uint32_t hash, IsKey isKey) const {
        return m_Slots[Seek(hash, isKey)].place - 1;
    }

  private:
    struct Slot {
        uint32_t hash = 0;
        uint32_t place = 0; ///< position + 1; 0 for a free slot, which makes Find return kNone
    };

    /** The slot of a key, or the free one where it would stand. */
    template <typename IsKey>
    size_t Seek(uint32_t hash, IsKey isKey) const {
        const size_t wrap = m_Slots.size() - 1;
        size_t at = hash & wrap;
        while (m_Slots[at].place != 0) {
            if (m_Slots[at].hash == hash && isKey(*m_Rows[m_Slots[at].place - 1])) break;
            at = (at + 1) & wrap;
        }
        return at;
    }

    IndexVector<Row *> m_Rows;
    IndexVector<Slot> m_Slots;
};

/**
 * Holds the index of a table between two edits. Any number of threads may ask for it at the same
 * time; an edit excludes them. Lives in static storage: it is ready before any code of the
 * library runs, and its destructor does nothing.
 */
template <typename Index>
class LazyIndex {
  public:
    /** The index of a list, built by the first who asks; null for an empty list and when memory
     *  is short. */
    template <typename Row>
    const Index *Get(const RowList<Row> &list) {
        const Index *index = m_Index.load(std::memory_order_acquire);
        return index != nullptr ? index : Build(list);
    }

    /** The index if there is one. */
    const Index *Peek() const { return m_Index.load(std::memory_order_acquire); }

    /** Forgets the index, because the list has changed. */
    void Drop() { delete m_Index.exchange(nullptr); }

  private:
    template <typename Row>
    const Index *Build(const RowList<Row> &list) {
        // An empty list has no index, so that none is left behind after the tables are emptied
        // for the unloading of the library.
        if (list.First() == nullptr) return nullptr;
        const std::lock_guard guard(m_Mutex);
        const Index *index = m_Index.load(std::memory_order_relaxed);
        if (index != nullptr) return index;
        try {
            index = new Index(list);
        } catch (const std::bad_alloc &) {
            return nullptr;
        }
        m_Index.store(index, std::memory_order_release);
        return index;
    }

    std::atomic<const Index *> m_Index{nullptr};
    std::mutex m_Mutex;
};

} // namespace mdicom
