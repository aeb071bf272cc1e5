// Elements as they were before a change, so that a change that fails leaves them like that.

#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "Common/DS/ElementNode.h"
#include "Common/DSValue/ValueAccess.h"
#include "MDicomTree.h"
#include "MDicomTypes.h"

class MDicomDS;

namespace mdicom {

class ElementIndex;

/** What elements held, with all below them. The copies share the bytes of the values, which stay
 *  where they are while values are set anew; values that are written over in place are not for
 *  this. */
class KeptElements {
  public:
    /** @param index of the data set; may be null */
    KeptElements(MDicomDS &dataSet, ElementIndex *index) : m_DataSet(dataSet), m_Index(index) {}
    ~KeptElements();
    KeptElements(const KeptElements &) = delete;
    KeptElements &operator=(const KeptElements &) = delete;

    /// These throw std::bad_alloc.
    ///@{
    /** Keeps an element on the level under another one (null: the top level), or that there is
     *  none. */
    void Keep(_DICOMELEMENT *parent, uint32_t tag);
    /** Keeps where the items of a sequence end: those that come behind go. */
    void KeepEnd(_DICOMELEMENT *sequence);
    ///@}
    /** Puts everything back. Only an element that went meanwhile takes memory. */
    void Restore() noexcept;

  private:
    struct Kept {
        _DICOMELEMENT *parent;
        uint32_t tag;        ///< 0 for the end of a sequence
        _DICOMELEMENT *old;  ///< null for an element that was not there
        _DICOMELEMENT *last; ///< item of the sequence
    };

    _DICOMELEMENT *Find(_DICOMELEMENT *parent, uint32_t tag) const;
    _DICOMELEMENT *Copy(const _DICOMELEMENT *element);
    void Exchange(const Kept &kept) noexcept;

    MDicomDS &m_DataSet;
    ElementIndex *m_Index;
    MDicomTree m_Copies;
    std::vector<Kept> m_Kept;
};

/** Changes a data set, all or nothing: what keep puts into its KeptElements comes back unless the
 *  work, which gives a status, succeeds. */
template <typename Keep, typename Work>
uint16_t ChangeWhole(MDicomDS &dataSet, ElementIndex *index, Keep keep, Work work) {
    return Guarded<uint16_t>(DICOM_ERROR_MEMORY, [&] {
        KeptElements old(dataSet, index);
        keep(old);
        const auto status = Guarded<uint16_t>(DICOM_ERROR_MEMORY, work);
        if (status != DICOM_SUCCESS) old.Restore();
        return status;
    });
}

/** The same for elements with these tags on the level of another one (null: the top level). */
template <typename Work>
uint16_t ChangeWhole(MDicomDS &dataSet, ElementIndex *index, const _DICOMELEMENT *neighbor,
                     std::span<const uint32_t> tags, Work work) {
    _DICOMELEMENT *parent = neighbor != nullptr ? ParentOf(neighbor) : nullptr;
    const auto keep = [&](KeptElements &old) {
        for (const uint32_t tag : tags) old.Keep(parent, tag);
    };
    return ChangeWhole(dataSet, index, keep, work);
}

} // namespace mdicom
