// Elements as they were before a change, so that a change that fails leaves them like that.

#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "Common/DS/ElementNode.h"
#include "Common/DSValue/ValueAccess.h"
#include "MDicomTypes.h"

class MDicomDS;

namespace mdicom {

class ElementIndex;

/** What elements held. The copies share the bytes of the values, which stay where they
 *  are while values are set anew; values that are written over in place are not for this. */
class KeptElements {
  public:
    /** @param index of the data set; may be null */
    KeptElements(MDicomDS &dataSet, ElementIndex *index) : m_DataSet(dataSet), m_Index(index) {}

    /** Keeps the value of an element on the level of another one (null: the top level), or that
     *  there is none. Sequences are passed over. Throws std::bad_alloc. */
    void Keep(_DICOMELEMENT *neighbor, uint32_t tag);
    /** Puts everything back. Only an element that went meanwhile takes memory. */
    void Restore() noexcept;

  private:
    struct NodeFreer {
        void operator()(ElementNode *node) const;
    };
    struct Kept {
        _DICOMELEMENT *neighbor;
        uint32_t tag;
        std::unique_ptr<ElementNode, NodeFreer> old; ///< null for an element that was not there
    };

    MDicomDS &m_DataSet;
    ElementIndex *m_Index;
    std::vector<Kept> m_Kept;
};

/** Changes elements on a level, all or none: those with these tags are put back unless the work,
 *  which gives a status, succeeds. */
template <typename Work>
uint16_t ChangeWhole(MDicomDS &dataSet, ElementIndex *index, _DICOMELEMENT *neighbor,
                     std::span<const uint32_t> tags, Work work) {
    return Guarded<uint16_t>(DICOM_ERROR_MEMORY, [&] {
        KeptElements old(dataSet, index);
        for (const uint32_t tag : tags) old.Keep(neighbor, tag);
        const auto status = Guarded<uint16_t>(DICOM_ERROR_MEMORY, work);
        if (status != DICOM_SUCCESS) old.Restore();
        return status;
    });
}

} // namespace mdicom
