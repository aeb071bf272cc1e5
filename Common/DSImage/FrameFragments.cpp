// The items of encapsulated Pixel Data while frames come and go.

#include "Common/DSImage/FrameFragments.h"

#include <new>

#include "Common/DS/ElementNode.h"
#include "Common/DSImage/ImageTags.h"
#include "Common/Utils/CheckedMath.h"
#include "Common/Utils/Vr.h"
#include "MDicomDS.h"

namespace mdicom {

uint32_t CountFrames(MDicomDS &dataSet, _DICOMELEMENT *pixelData) {
    _DICOMIMAGE image{};
    if (pixelData != nullptr) {
        const uint16_t status = dataSet.GetInfoImage(pixelData, &image, 0);
        if (status == DICOM_ERROR_MEMORY) throw std::bad_alloc();
        return image.nFrameCount;
    }
    uint32_t total = 0;
    for (pixelData = dataSet.FindFirstElement(nullptr, TAG_PIXEL_DATA, 0); pixelData != nullptr;
         pixelData = dataSet.FindNextElement(pixelData, 0)) {
        total = CheckedAdd(total, CountFrames(dataSet, pixelData)).value_or(0xFFFFFFFF);
    }
    return total;
}

void DeleteBeside(MDicomDS &dataSet, _DICOMELEMENT *neighbor, uint32_t tag) {
    _DICOMELEMENT *found = dataSet.FindFirstElement(neighbor, tag, 1);
    if (found != nullptr) dataSet.DeleteElement(found);
}

uint32_t PlaceOfItem(const _DICOMELEMENT *item) {
    uint32_t place = 0;
    for (const _DICOMLINK *link = item->Link.pPrev; link != nullptr; link = link->pPrev) ++place;
    return place;
}

bool PrepareOffsetTable(MDicomDS &dataSet, _DICOMELEMENT *pixelData,
                        const _DICOMELEMENT *firstFrame) {
    _DICOMELEMENT *table = FirstChildOf(pixelData);
    uint8_t nothing = 0;
    bool done = true;
    if (table == nullptr || table == firstFrame) { // some writers leave it out
        done = dataSet.InsertElement(pixelData, 1, TAG_ITEM, vr::OB, 0, 0) != nullptr;
    } else if (table->nLength > 0) {
        done = dataSet.SetBinaryValue(table, &nothing, 0) != 0;
    }
    if (!done) return false;
    DeleteBeside(dataSet, pixelData, kExtendedOffsets);
    DeleteBeside(dataSet, pixelData, kExtendedLengths);
    return true;
}

} // namespace mdicom
