// Decodes every frame of every Pixel Data element of files and writes its samples to standard
// output. Arguments: files. Per file a line of "file", status and name; per frame a line
//
//   frame <element> <index> <status> <kind> <width> <height> <bytes of a sample> <first entry>
//
// and the samples, without padding: "gray" has stored values in little-endian order, "color" red,
// green and blue. The first entry is the red of a gray palette's first entry, -1 without palette.

#include <cstdio>
#include <vector>

#include "MDicom.h"
#include "kernel/Mvkrnx.h"

namespace {

struct Picture {
    const char *kind;
    uint32_t sampleBytes;
    int first;
    std::vector<uint8_t> samples;
};

std::vector<uint8_t> Row(const _BITMAPHANDLE &bitmap, int32_t row) {
    std::vector<uint8_t> bytes(bitmap.nBytesPerLine);
    KernelGetBitmapRow(&bitmap, bytes.data(), row, bytes.size());
    return bytes;
}

void AddColor(const _RGBQUAD &color, std::vector<uint8_t> &samples) {
    samples.insert(samples.end(), {color.rgbRed, color.rgbGreen, color.rgbBlue});
}

void AddGrayPixel(const std::vector<uint8_t> &row, size_t x, int32_t bits,
                  std::vector<uint8_t> &samples) {
    const size_t bytes = static_cast<size_t>(bits) / 8;
    if (bits == 1) {
        samples.push_back(row[x / 8] >> (7 - x % 8) & 1);
    } else if (bits == 12) {
        const size_t bit = x * 12;
        const auto pair = static_cast<uint32_t>(row[bit / 8] | row[bit / 8 + 1] << 8);
        const uint32_t value = pair >> bit % 8 & 0xFFF;
        samples.insert(samples.end(),
                       {static_cast<uint8_t>(value), static_cast<uint8_t>(value >> 8)});
    } else {
        for (size_t i = 0; i < bytes; ++i) samples.push_back(row[x * bytes + i]);
    }
}

void AddPixel(const std::vector<uint8_t> &row, size_t x, const _BITMAPHANDLE &bitmap,
              const std::vector<_RGBQUAD> &colors, Picture &picture) {
    if (bitmap.nBitsPerPixel == 24) {
        const size_t at = x * 3;
        AddColor({row[at], row[at + 1], row[at + 2], 0}, picture.samples);
    } else if (picture.kind[0] == 'c') {
        AddColor(colors[row[x]], picture.samples);
    } else {
        AddGrayPixel(row, x, bitmap.nBitsPerPixel, picture.samples);
    }
}

Picture PictureOf(const _BITMAPHANDLE &bitmap, bool isPalette) {
    std::vector<_RGBQUAD> colors(bitmap.nColors);
    KernelGetBitmapColors(&bitmap, 0, bitmap.nColors, colors.data());
    const bool isColor = bitmap.nBitsPerPixel == 24 || isPalette;
    const int32_t bits = bitmap.nBitsPerPixel;
    Picture picture{isColor ? "color" : "gray",
                    bits == 32                 ? 4u
                    : bits == 12 || bits == 16 ? 2u
                                               : 1u,
                    colors.empty() ? -1 : colors[0].rgbRed,
                    {}};
    if (isColor) picture.sampleBytes = 1;
    for (int32_t y = 0; y < bitmap.nHeight; ++y) {
        const std::vector<uint8_t> row = Row(bitmap, y);
        const auto width = static_cast<size_t>(bitmap.nWidth);
        for (size_t x = 0; x < width; ++x) AddPixel(row, x, bitmap, colors, picture);
    }
    return picture;
}

void ShowFrame(MDicomDS &ds, _DICOMELEMENT *element, unsigned number, uint32_t index) {
    _DICOMIMAGE image{};
    ds.GetInfoImage(element, &image, index);
    _BITMAPHANDLE bitmap;
    const unsigned status = ds.GetImage(element, &bitmap, sizeof bitmap, index, 0, 0,
                                        DICOM_GETIMAGE_FULL_RANGE_YBR, nullptr, nullptr);
    if (status != DICOM_SUCCESS) {
        std::printf("frame %u %u %u none 0 0 0 -1\n", number, index, status);
        return;
    }
    const bool isPalette = image.nPhotometric == PHOTOMETRIC_PALETTE_COLOR;
    const Picture picture = PictureOf(bitmap, isPalette);
    std::printf("frame %u %u 0 %s %d %d %u %d\n", number, index, picture.kind, bitmap.nWidth,
                bitmap.nHeight, picture.sampleBytes, picture.first);
    std::fwrite(picture.samples.data(), 1, picture.samples.size(), stdout);
    KernelFreeBitmap(&bitmap);
}

void ShowFrames(MDicomDS &ds) {
    constexpr uint32_t kPixelData = 0x7FE00010;
    unsigned number = 0;
    for (_DICOMELEMENT *element = ds.FindFirstElement(nullptr, kPixelData, 0); element != nullptr;
         element = ds.FindNextElement(element, 0)) {
        const uint32_t frames = ds.GetCountImage(element);
        for (uint32_t i = 0; i < frames; ++i) ShowFrame(ds, element, number, i);
        // What cannot be counted has a status all the same.
        if (frames == 0) ShowFrame(ds, element, number, 0);
        ++number;
    }
}

} // namespace

int main(int count, char **arguments) {
    for (int i = 1; i < count; ++i) {
        const A2U_Class name(arguments[i]);
        MDicomDS ds(nullptr);
        const unsigned status = ds.LoadDS(name.pszText, 0);
        std::printf("file %u %s\n", status, arguments[i]);
        if (status == DICOM_SUCCESS) ShowFrames(ds);
    }
    return 0;
}
