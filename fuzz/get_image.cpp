// Loads any bytes and turns the first frames into bitmaps, with all options; what is edited stays
// whole. The first byte chooses the load flags and the depth that is asked for.

#include "Images.h"

namespace {

using namespace fuzz;

constexpr uint32_t kMostFrames = 3;

void ReadRows(const _BITMAPHANDLE &bitmap) {
    const uint8_t *last = KernelLendBitmapRow(&bitmap, bitmap.nHeight - 1);
    if (last == nullptr) std::abort();
    volatile uint8_t byte = last[bitmap.nBytesPerLine - 1];
    static_cast<void>(byte);
}

void Decode(MDicomDS &ds, _DICOMELEMENT *element, uint32_t frame, int32_t depth) {
    constexpr uint32_t kEveryFlag = 0x7F;
    for (const uint32_t flags : {0u, kEveryFlag, 0x47u, 0x06u}) {
        _BITMAPHANDLE bitmap;
        const uint16_t status =
            ds.GetImage(element, &bitmap, sizeof bitmap, frame, flags == kEveryFlag ? depth : 0, 0,
                        flags, nullptr, nullptr);
        if ((status == DICOM_SUCCESS) != (bitmap.nWidth > 0)) std::abort();
        if (status != DICOM_SUCCESS) continue;
        ReadRows(bitmap);
        KernelFreeBitmap(&bitmap);
    }
}

/** Takes frames out and puts one in. */
void Edit(MDicomDS &ds, _DICOMELEMENT *element) {
    const uint32_t frames = ds.GetCountImage(element);
    _BITMAPHANDLE bitmap;
    if (ds.GetImage(element, &bitmap, sizeof bitmap, 0, 0, 0, 0, nullptr, nullptr) != 0) return;
    const uint16_t status = ds.InsertImage(element, &bitmap, 1, IMAGE_COMPRESSION_RLE,
                                           PHOTOMETRIC_MONOCHROME2, 0, 0, 0, nullptr, nullptr);
    // Where attributes stay, the number of frames does, and short fragments may begin none.
    const bool isIntact = (ds.m_nFlags & DS_KEEP_PIXEL_DATA_INTACT) != 0;
    if (status == DICOM_SUCCESS && !isIntact && ds.GetCountImage(element) == 0) std::abort();
    KernelFreeBitmap(&bitmap);
    ds.DeleteImage(element, 0, std::min(frames, kMostFrames));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static constexpr uint16_t kFlags[] = {0, DS_METAHEADER_ABSENT, DS_LOAD_CLOSE,
                                          DS_KEEP_PIXEL_DATA_INTACT};
    static constexpr int32_t kDepths[] = {0, 1, 8, 12, 16, 24, 32, 7};
    if (size < 2) return 0;
    MDicomDS ds(nullptr);
    const uint16_t flags = kFlags[data[0] % 4];
    const int32_t depth = kDepths[data[0] / 4 % 8];
    if (ds.LoadDSMemory(const_cast<uint8_t *>(data + 1), size - 1, flags) != DICOM_SUCCESS) {
        return 0;
    }
    _DICOMELEMENT *element = ds.FindFirstElement(nullptr, TAG_PIXEL_DATA, 0);
    for (; element != nullptr; element = ds.FindNextElement(element, 0)) {
        _DICOMIMAGE image{};
        if (ds.GetInfoImage(element, &image, 0) != DICOM_SUCCESS || !IsSmall(image)) continue;
        for (uint32_t i = 0; i < std::min(image.nFrameCount, kMostFrames); ++i) {
            Decode(ds, element, i, depth);
            uint32_t bytes = 0;
            ds.GetFrameBinaryData(element, i, nullptr, &bytes);
        }
    }
    element = ds.FindFirstElement(nullptr, TAG_PIXEL_DATA, 0);
    _DICOMIMAGE image{};
    if (element != nullptr && ds.GetInfoImage(element, &image, 0) == 0 && IsSmall(image)) {
        Edit(ds, element);
    }
    return 0;
}
