// Codestreams into rows: the planes of the decoder become samples of a bitmap's depth.

#include "Decoder.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "Library.h"
#include "MFJ2KX.h"

namespace j2k {

namespace {

constexpr uint32_t kColours = 3;

/** A decoded component on the image's grid. */
class Plane {
  public:
    Plane(const opj_image_t &image, const opj_image_comp_t &component, uint32_t width)
        : m_Component(component),
          m_Left(image.x0),
          m_Top(image.y0),
          m_Width(width),
          m_Repeated(component.dx != 1 ? width : 0) {}

    bool IsComplete(uint32_t height) const {
        if (m_Component.data == nullptr || m_Component.w == 0 || m_Component.h == 0) return false;
        const bool halved = m_Component.dx != 1;
        return (halved || m_Component.w >= m_Width) &&
               (m_Component.dy != 1 || m_Component.h >= height);
    }

    /** A row at full width, good until the next call. */
    const int32_t *Row(uint32_t row) {
        const uint32_t line = PlaceOf(row, m_Top, m_Component.dy, m_Component.h);
        const int32_t *samples = m_Component.data + size_t{line} * m_Component.w;
        if (m_Repeated.empty()) return samples;
        for (uint32_t i = 0; i < m_Width; ++i) {
            m_Repeated[i] = samples[PlaceOf(i, m_Left, m_Component.dx, m_Component.w)];
        }
        return m_Repeated.data();
    }

    const opj_image_comp_t &Component() const { return m_Component; }

  private:
    /** Index of the sample over a place of the image. */
    static uint32_t PlaceOf(uint32_t place, uint32_t origin, uint32_t step, uint32_t count) {
        const uint64_t first = (uint64_t{origin} + step - 1) / step;
        const uint64_t index = (uint64_t{origin} + place) / step;
        return static_cast<uint32_t>(
            std::min<uint64_t>(index > first ? index - first : 0, count - 1));
    }

    const opj_image_comp_t &m_Component;
    uint32_t m_Left;
    uint32_t m_Top;
    uint32_t m_Width;
    std::vector<int32_t> m_Repeated; ///< empty unless columns are halved
};

/** Samples keep their low bits, which for signed ones are two's complement. The row begins where
 *  any sample may. */
template <typename Sample>
void StoreGray(const int32_t *plane, uint8_t *row, uint32_t width) {
    auto *out = reinterpret_cast<Sample *>(row);
    for (uint32_t i = 0; i < width; ++i) out[i] = static_cast<Sample>(plane[i]);
}

/** One component of three, of which the eight most significant bits count. */
void StoreColour(const int32_t *plane, const opj_image_comp_t &component, uint8_t *out,
                 uint32_t width) {
    const uint32_t shift = component.prec > 8 ? component.prec - 8 : 0;
    const int32_t middle = component.sgnd ? int32_t{1} << (component.prec - 1) : 0;
    for (uint32_t i = 0; i < width; ++i) {
        out[size_t{i} * kColours] = static_cast<uint8_t>((plane[i] + middle) >> shift);
    }
}

class Rows {
  public:
    Rows(const opj_image_t &image, const _BITMAPHANDLE &bitmap)
        : m_Depth(bitmap.nBitsPerPixel),
          m_Width(static_cast<uint32_t>(bitmap.nWidth)),
          m_Backwards(bitmap.nOrder == KERNEL_ORDER_BGR),
          m_Row(bitmap.nBytesPerLine) {
        const uint32_t count = m_Depth == 24 ? kColours : 1;
        for (uint32_t i = 0; i < count; ++i) m_Planes.emplace_back(image, image.comps[i], m_Width);
    }

    bool AreComplete(uint32_t height) const {
        return std::all_of(m_Planes.begin(), m_Planes.end(),
                           [height](const Plane &plane) { return plane.IsComplete(height); });
    }

    uint8_t *Make(uint32_t row) {
        uint8_t *out = m_Row.data();
        switch (m_Depth) {
            case 8:
                StoreGray<uint8_t>(m_Planes[0].Row(row), out, m_Width);
                break;
            case 16:
                StoreGray<uint16_t>(m_Planes[0].Row(row), out, m_Width);
                break;
            case 32:
                StoreGray<uint32_t>(m_Planes[0].Row(row), out, m_Width);
                break;
            default:
                for (uint32_t i = 0; i < kColours; ++i) {
                    StoreColour(m_Planes[i].Row(row), m_Planes[i].Component(),
                                out + (m_Backwards ? kColours - 1 - i : i), m_Width);
                }
        }
        return out;
    }

  private:
    int32_t m_Depth;
    uint32_t m_Width;
    bool m_Backwards;
    std::vector<Plane> m_Planes;
    std::vector<uint8_t> m_Row;
};

/** True if the stream has what the bitmap's depth takes. */
bool Fits(const Head &head, const _BITMAPHANDLE &bitmap) {
    constexpr uint32_t kMostPrecision = 31; // of the decoder's samples
    if (bitmap.nWidth < 1 || bitmap.nHeight < 1) return false;
    if (head.width != static_cast<uint32_t>(bitmap.nWidth)) return false;
    if (head.height != static_cast<uint32_t>(bitmap.nHeight)) return false;
    const bool colour = bitmap.nBitsPerPixel == 24;
    if (colour ? head.componentCount < kColours : head.componentCount != 1) return false;
    const uint32_t most =
        colour ? kMostPrecision
               : std::min(kMostPrecision, static_cast<uint32_t>(bitmap.nBitsPerPixel));
    return std::all_of(head.components.begin(), head.components.begin() + head.componentCount,
                       [most](const Component &each) { return each.precision <= most; });
}

bool IsDepth(int32_t depth) {
    return depth == 8 || depth == 16 || depth == 24 || depth == 32;
}

/** The decoded image; null if the stream is damaged beyond use. */
Image DecodePlanes(const Prepared &codestream, const Head &head) {
    // A stream that was cut short gives what is there: zeros are empty packets. A decoder that is
    // told to bear less than it expects would write beyond its memory where packets are damaged.
    Source source{codestream.bytes, codestream.missing};
    const Stream stream = OpenStream(source);
    const Codec codec(opj_create_decompress(OPJ_CODEC_J2K));
    if (stream == nullptr || codec == nullptr) return nullptr;
    opj_dparameters_t parameters;
    opj_set_default_decoder_parameters(&parameters);
    if (!opj_setup_decoder(codec.get(), &parameters)) return nullptr;
    opj_decoder_set_strict_mode(codec.get(), OPJ_TRUE);
    UseThreads(codec.get(), uint64_t{head.width} * head.height * head.componentCount);
    opj_image_t *raw = nullptr;
    const bool hasHead = opj_read_header(stream.get(), codec.get(), &raw);
    Image image(raw);
    if (!hasHead || image == nullptr) return nullptr;
    const bool same = image->x1 - image->x0 == head.width && image->y1 - image->y0 == head.height &&
                      image->numcomps == head.componentCount;
    if (!same || !opj_decode(codec.get(), stream.get(), image.get())) return nullptr;
    return image;
}

void DescribeSamples(const Head &head, _BITMAPHANDLE &bitmap) {
    if (bitmap.nBitsPerPixel == 24) return;
    const Component &component = head.components[0];
    bitmap.nLowBit = bitmap.nPaintLowBit = 0;
    bitmap.nHighBit = bitmap.nPaintHighBit = static_cast<int32_t>(component.precision) - 1;
    if (component.isSigned) bitmap.nBitmapFlags |= KERNEL_BITMAP_SIGNED;
}

} // namespace

int32_t Decode(MutableBytes codestream, const _FILTERLOAD &argument) {
    _BITMAPHANDLE &bitmap = *argument.pBitmap;
    if (!IsDepth(bitmap.nBitsPerPixel)) return MFJ2KX_ERROR_DEPTH;
    const std::optional<Head> head = ReadHead(codestream);
    if (!head || !Fits(*head, bitmap)) return MFJ2KX_ERROR_FORMAT;
    // A record whose row length is not that of its width would let rows end early.
    const uint64_t needed =
        uint64_t{head->width} * (static_cast<uint32_t>(bitmap.nBitsPerPixel) / 8);
    if (bitmap.nBytesPerLine < needed) return MFJ2KX_ERROR_ARGUMENT;
    const Prepared prepared = PrepareCodestream(*head, codestream);
    if (prepared.bytes.empty()) return MFJ2KX_ERROR_FORMAT;
    const Image image = DecodePlanes(prepared, *head);
    if (image == nullptr) return MFJ2KX_ERROR_FORMAT;
    Rows rows(*image, bitmap);
    if (!rows.AreComplete(head->height)) return MFJ2KX_ERROR_FORMAT;
    DescribeSamples(*head, bitmap);
    for (uint32_t row = 0; row < head->height; ++row) {
        uint32_t flags = KERNEL_ROW;
        if (row == 0) flags |= KERNEL_ROW_FIRST;
        if (row + 1 == head->height) flags |= KERNEL_ROW_LAST;
        const int32_t result =
            argument.pfnCallback(argument.pFileInfo, &bitmap, rows.Make(row), flags,
                                 static_cast<int32_t>(row), 1, argument.pUserData);
        if (result != MFJ2KX_SUCCESS) return result;
    }
    return MFJ2KX_SUCCESS;
}

} // namespace j2k
