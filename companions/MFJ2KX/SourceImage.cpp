// The picture of a bitmap as the encoder takes it: a plane of 32-bit samples per component.

#include "SourceImage.h"

#include <array>
#include <utility>
#include <vector>

#include "MFJ2KX.h"

namespace j2k {

namespace {

constexpr uint32_t kColours = 3;

struct Size {
    uint32_t width;
    uint32_t height;
};

Size StoredSize(const _BITMAPHANDLE &bitmap) {
    constexpr int32_t kFirstTransposed = 5;
    Size size{static_cast<uint32_t>(bitmap.nWidth), static_cast<uint32_t>(bitmap.nHeight)};
    if (bitmap.nViewPerspective >= kFirstTransposed) std::swap(size.width, size.height);
    return size;
}

bool CanEncode(const _BITMAPHANDLE &bitmap) {
    switch (bitmap.nBitsPerPixel) {
        case 8:
        case 12:
        case 24:
            return true;
        case 16: // colour of 5 and 6 bits has no components to speak of
            return bitmap.nOrder == KERNEL_ORDER_GRAY;
        default:
            return false;
    }
}

void Widen8(const uint8_t *row, int32_t *plane, uint32_t width) {
    for (uint32_t i = 0; i < width; ++i) plane[i] = row[i];
}

void Widen12(const uint8_t *row, int32_t *plane, uint32_t width) {
    for (uint32_t i = 0; i < width; ++i) {
        const uint8_t *pair = row + size_t{i / 2} * 3;
        plane[i] = i % 2 == 0 ? pair[0] | (pair[1] & 0xF) << 8 : pair[1] >> 4 | pair[2] << 4;
    }
}

void Widen16(const uint8_t *row, int32_t *plane, uint32_t width) {
    const auto *words = reinterpret_cast<const uint16_t *>(row);
    for (uint32_t i = 0; i < width; ++i) plane[i] = words[i];
}

void Split24(const uint8_t *row, const std::array<int32_t *, kColours> &planes, uint32_t width) {
    for (uint32_t i = 0; i < width; ++i) {
        planes[0][i] = row[size_t{i} * 3];
        planes[1][i] = row[size_t{i} * 3 + 1];
        planes[2][i] = row[size_t{i} * 3 + 2];
    }
}

void StoreRow(const uint8_t *row, const _BITMAPHANDLE &bitmap, opj_image_t &image, uint32_t line) {
    const uint32_t width = image.comps[0].w;
    const size_t first = size_t{line} * width;
    int32_t *plane = image.comps[0].data + first;
    switch (bitmap.nBitsPerPixel) {
        case 8:
            return Widen8(row, plane, width);
        case 12:
            return Widen12(row, plane, width);
        case 16:
            return Widen16(row, plane, width);
        default: {
            std::array planes{plane, image.comps[1].data + first, image.comps[2].data + first};
            if (bitmap.nOrder == KERNEL_ORDER_BGR) std::swap(planes[0], planes[2]);
            return Split24(row, planes, width);
        }
    }
}

int32_t ReadRows(const _FILTERSAVE &argument, opj_image_t &image) {
    const _BITMAPHANDLE &bitmap = *argument.pBitmap;
    // Rows that are longer than the record says are not read, shorter ones read as black.
    std::vector<uint8_t> row(
        std::max<size_t>(bitmap.nBytesPerLine, (size_t{image.comps[0].w} * 24 + 7) / 8 + 3));
    for (uint32_t line = 0; line < image.comps[0].h; ++line) {
        const int64_t read = argument.pfnGetRow(&bitmap, row.data(), static_cast<int32_t>(line),
                                                bitmap.nBytesPerLine);
        if (read < 0) return static_cast<int32_t>(read);
        StoreRow(row.data(), bitmap, image, line);
    }
    return MFJ2KX_SUCCESS;
}

int32_t Extend(int32_t sample, uint32_t bits) {
    const uint32_t shift = 32 - bits;
    return static_cast<int32_t>(static_cast<uint32_t>(sample) << shift) >> shift;
}

/** The significant bits as the record tells them, counted from bit 0; else the whole sample. */
uint32_t SignificantBits(const _BITMAPHANDLE &bitmap) {
    const bool valid = bitmap.nLowBit >= 0 && bitmap.nLowBit <= bitmap.nHighBit &&
                       bitmap.nHighBit < bitmap.nBitsPerPixel;
    return static_cast<uint32_t>(valid ? bitmap.nHighBit + 1 : bitmap.nBitsPerPixel);
}

/** Decides over precision and sign of the only component, whose samples are still bits. Bits above
 *  the significant ones have to be zeroes, or copies of the sign. */
void DescribeGray(const _BITMAPHANDLE &bitmap, opj_image_comp_t &component) {
    const auto depth = static_cast<uint32_t>(bitmap.nBitsPerPixel);
    const uint32_t bits = SignificantBits(bitmap);
    const bool isSigned = (bitmap.nBitmapFlags & KERNEL_BITMAP_SIGNED) != 0;
    const size_t count = size_t{component.w} * component.h;
    int32_t used = 0;
    int32_t odd = 0;
    for (size_t i = 0; i < count; ++i) {
        const int32_t sample = component.data[i];
        used |= sample;
        odd |= Extend(sample, depth) ^ Extend(sample, bits);
    }
    const bool keepsTo = used >> bits == 0 || (isSigned && odd == 0);
    component.prec = keepsTo ? bits : depth;
    component.sgnd = isSigned ? 1 : 0;
    if (!isSigned) return;
    for (size_t i = 0; i < count; ++i) {
        component.data[i] = Extend(component.data[i], component.prec);
    }
}

Image MakeImage(Size size, uint32_t components, uint32_t depth, Origin origin) {
    std::array<opj_image_cmptparm_t, kColours> parameters{};
    for (opj_image_cmptparm_t &each : parameters) {
        each.dx = each.dy = 1;
        each.w = size.width;
        each.h = size.height;
        each.x0 = origin.left;
        each.y0 = origin.top;
        each.prec = depth;
    }
    Image image(opj_image_create(components, parameters.data(),
                                 components == 1 ? OPJ_CLRSPC_GRAY : OPJ_CLRSPC_SRGB));
    if (image == nullptr) return image;
    image->x0 = origin.left;
    image->y0 = origin.top;
    image->x1 = origin.left + size.width;
    image->y1 = origin.top + size.height;
    return image;
}

} // namespace

int32_t ReadImage(const _FILTERSAVE &argument, Origin origin, Image &image) {
    constexpr uint32_t kMostEdge = 0x7FFFFFFF;
    _BITMAPHANDLE &bitmap = *argument.pBitmap;
    if (!CanEncode(bitmap)) return MFJ2KX_ERROR_DEPTH;
    if (bitmap.nWidth < 1 || bitmap.nHeight < 1) return MFJ2KX_ERROR_ARGUMENT;
    const Size size = StoredSize(bitmap);
    if (size.width > kMostEdge - origin.left || size.height > kMostEdge - origin.top) {
        return MFJ2KX_ERROR_ARGUMENT;
    }
    const bool colour = bitmap.nBitsPerPixel == 24;
    if (argument.pfnAccess != nullptr) {
        const int32_t result = argument.pfnAccess(&bitmap);
        if (result != MFJ2KX_SUCCESS) return result;
    }
    image = MakeImage(size, colour ? kColours : 1,
                      colour ? 8 : static_cast<uint32_t>(bitmap.nBitsPerPixel), origin);
    const int32_t result =
        image != nullptr ? ReadRows(argument, *image) : int32_t{MFJ2KX_ERROR_MEMORY};
    if (argument.pfnRelease != nullptr) argument.pfnRelease(&bitmap);
    if (result == MFJ2KX_SUCCESS && !colour) DescribeGray(bitmap, image->comps[0]);
    return result;
}

} // namespace j2k
