// Gathers the fragments of a compressed frame (PS 3.5, A.4).

#include "Common/DSImage/FrameData.h"

#include <limits>

#include "Common/DS/ElementNode.h"
#include "Common/DSValue/ValueStore.h"
#include "MDicomDS.h"

using namespace mdicom;

namespace {

/** The fragments from a first one up to the one behind the last; null for none behind. */
struct FragmentRange {
    _DICOMELEMENT *first;
    const _DICOMELEMENT *end;

    template <typename Work>
    bool ForEach(Work work) const {
        for (_DICOMELEMENT *item = first; item != nullptr && item != end; item = NextOf(item)) {
            if (item->nLength > 0 && !work(item)) return false;
        }
        return true;
    }
};

uint64_t BytesOf(const FragmentRange &range) {
    uint64_t total = 0;
    range.ForEach([&](const _DICOMELEMENT *item) {
        total += item->nLength;
        return true;
    });
    return total;
}

bool ReadFragments(MDicomDS &dataSet, const FragmentRange &range, uint8_t *out) {
    return range.ForEach([&](_DICOMELEMENT *item) {
        if (!dataSet.GetBinaryValue(item, out, 0, item->nLength)) return false;
        out += item->nLength;
        return true;
    });
}

} // namespace

/** The bytes of the located frame: up to the fragment that the next frame begins with. A frame
 *  in a value of defined length is that value. */
uint16_t MDicomDS::GatherFrame(const _IMAGEINFO *pImage, FrameData *pFrame) {
    *pFrame = {};
    _DICOMELEMENT *first = pImage->pFrameElement;
    if (first == nullptr) return DICOM_ERROR_IMAGE;
    FragmentRange range{first, NextOf(first)};
    if (first->nTag == TAG_ITEM) {
        _IMAGEINFO next = *pImage;
        next.pFrameElement = nullptr;
        const uint16_t status = LocateFrame(ParentOf(first), &next, pImage->nFrameIndex + 1);
        if (status == DICOM_ERROR_MEMORY) return status;
        range.end = next.pFrameElement;
    }
    // A declared length that passes the end of its stream takes no memory.
    if (!range.ForEach(ValueIsPresent)) return DICOM_ERROR_READ;
    const uint64_t size = BytesOf(range);
    if (size == 0) return DICOM_ERROR_IMAGE;
    if (size > std::numeric_limits<size_t>::max()) return DICOM_ERROR_MEMORY;
    FrameData frame{MakeDataBlock<uint8_t>(static_cast<size_t>(size)), static_cast<size_t>(size)};
    if (frame.bytes == nullptr) return DICOM_ERROR_MEMORY;
    if (!ReadFragments(*this, range, frame.bytes.get())) return DICOM_ERROR_READ;
    *pFrame = std::move(frame);
    return DICOM_SUCCESS;
}
