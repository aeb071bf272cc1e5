// Prints what files hold in a form that a script can compare.
//
// Usage: show elements|keys|pixels FILE...
// A line has a number of bytes and words; as many bytes follow it. Each file begins with a line of
// "file", status and name. Lines of elements have depth, tag, VR and length, and those of keys
// depth, place in the file and type, in the order of a depth-first walk. Lines of frames have the
// number of their Pixel Data element, index, status, width, height, depth, the number of colours
// and whether these are a palette of the image; rows without padding and the colours follow.

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <vector>

#include "MDicom.h"
#include "kernel/Mvkrnx.h"

namespace {

using Bytes = std::vector<uint8_t>;

void ShowElements(MDicomDS &ds) {
    for (_DICOMELEMENT *element = ds.GetFirstElement(nullptr, 0, 1); element != nullptr;
         element = ds.GetNextElement(element, 0, 1)) {
        const uint32_t length = element->nLength == 0xFFFFFFFF ? 0 : element->nLength;
        uint8_t last;
        const bool isWhole = length != 0 && ds.GetBinaryValue(element, &last, length - 1, 1) != 0;
        Bytes value(isWhole ? length : 0);
        if (isWhole && !ds.GetBinaryValue(element, value.data(), length)) value.clear();
        std::printf("%zu %" PRIu32 " %08" PRIX32 " %c%c %08" PRIX32 "\n", value.size(),
                    ds.GetLevelElement(element), element->nTag, element->nVR >> 8,
                    element->nVR & 0xFF, element->nLength);
        std::fwrite(value.data(), 1, value.size(), stdout);
    }
}

void ShowKeys(MDicomDS &ds) {
    for (_DICOMELEMENT *key = ds.GetFirstKey(nullptr, 0); key != nullptr;
         key = ds.GetNextKey(key, 0)) {
        uint32_t depth = 0;
        for (auto *above = ds.GetParentKey(key); above; above = ds.GetParentKey(above)) ++depth;
        const wchar_t *type = ds.GetValueKey(key);
        std::printf("0 %" PRIu32 " %" PRIu32 " %ls\n", depth, key->nRecordOffset,
                    type != nullptr ? type : L"");
    }
}

void ShowFrame(MDicomDS &ds, _DICOMELEMENT *element, unsigned number, uint32_t index) {
    _DICOMIMAGE image{};
    ds.GetInfoImage(element, &image, index);
    _BITMAPHANDLE bitmap{};
    const unsigned status = ds.GetImage(element, &bitmap, sizeof bitmap, index, 0, 0,
                                        DICOM_GETIMAGE_FULL_RANGE_YBR, nullptr, nullptr);
    if (status != DICOM_SUCCESS) {
        std::printf("0 %u %u %u 0 0 0 0 0\n", number, index, status);
        return;
    }
    const auto stride = static_cast<size_t>((bitmap.nWidth * bitmap.nBitsPerPixel + 7) / 8);
    const size_t size = stride * static_cast<size_t>(bitmap.nHeight);
    std::vector<_RGBQUAD> colors(bitmap.nColors);
    KernelGetBitmapColors(&bitmap, 0, bitmap.nColors, colors.data());
    std::printf("%zu %u %u 0 %d %d %d %" PRIu32 " %d\n", size + colors.size() * sizeof colors[0],
                number, index, bitmap.nWidth, bitmap.nHeight, bitmap.nBitsPerPixel, bitmap.nColors,
                image.nPhotometric == PHOTOMETRIC_PALETTE_COLOR);
    for (int32_t y = 0; y < bitmap.nHeight; ++y) {
        std::fwrite(KernelLendBitmapRow(&bitmap, y), 1, stride, stdout);
    }
    std::fwrite(colors.data(), sizeof colors[0], colors.size(), stdout);
    KernelFreeBitmap(&bitmap);
}

void ShowPixels(MDicomDS &ds) {
    unsigned number = 0;
    for (_DICOMELEMENT *element = ds.FindFirstElement(nullptr, TAG_PIXEL_DATA, 0);
         element != nullptr; element = ds.FindNextElement(element, 0)) {
        // What cannot be counted has a status all the same.
        const uint32_t frames = std::max(ds.GetCountImage(element), 1u);
        for (uint32_t i = 0; i < frames; ++i) ShowFrame(ds, element, number, i);
        ++number;
    }
}

} // namespace

int main(int count, char **arguments) {
    if (count < 3) return 1;
    const auto show = std::strcmp(arguments[1], "elements") == 0 ? ShowElements
                      : std::strcmp(arguments[1], "keys") == 0   ? ShowKeys
                                                                 : ShowPixels;
    for (int i = 2; i < count; ++i) {
        const A2U_Class name(arguments[i]);
        MDicomDS ds(nullptr);
        const unsigned status = ds.LoadDS(name.pszText, 0);
        std::printf("0 file %u %s\n", status, arguments[i]);
        if (status == DICOM_SUCCESS) show(ds);
    }
    return 0;
}
