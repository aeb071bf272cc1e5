// Decoders of a frame: native, RLE and JPEG. Each leaves the samples in the layout of LayoutOf.
// What a native frame or one of packed pixels does not hold stays as the buffer was; so does what
// lies between rows.

#include <algorithm>
#include <array>
#include <cstring>
#include <span>

#include "Common/DSImage/BitRuns.h"
#include "Common/DSImage/FrameData.h"
#include "Common/DSImage/FrameLayout.h"
#include "Common/DSImage/JpegPhotometric.h"
#include "Common/DSImage/PackedPixels.h"
#include "Common/DSImage/RleCodec.h"
#include "Common/DSValue/ValueAccess.h"
#include "Common/System/Companions.h"
#include "Common/Utils/Memory.h"
#include "Common/Utils/Status.h"
#include "MDicomDS.h"
#include "companions/MFCMPX/MFCMPX.h"

using namespace mdicom;

namespace {

/** Packs rows of 12-bit samples that have words of their own. */
void PackWords(std::span<const uint8_t> words, const _IMAGEINFO &image, size_t rowBytes,
               uint8_t *target) {
    const size_t rowWords = size_t{image.nColumns} * 2;
    for (size_t row = 0; row < image.nRows && row * rowWords < words.size(); ++row) {
        const std::span<const uint8_t> rest = words.subspan(row * rowWords);
        PackTwelve(rest.data(), 2, std::min(rowWords, rest.size()) / 2, target + row * rowBytes);
    }
}

/** Spreads pairs of pixels that share their chrominance, from the last two thirds of a buffer over
 *  all of it. */
template <typename Sample>
void SpreadChrominance(std::span<uint8_t> buffer) {
    const size_t pixels = buffer.size() / (3 * sizeof(Sample));
    const uint8_t *from = buffer.data() + buffer.size() - pixels * 2 * sizeof(Sample);
    uint8_t *to = buffer.data();
    for (size_t i = 0; i + 1 < pixels; i += 2) {
        Sample pair[4]; // two of luminance, blue, red
        std::memcpy(pair, from, sizeof pair);
        const Sample spread[] = {pair[0], pair[2], pair[3], pair[1], pair[2], pair[3]};
        std::memcpy(to, spread, sizeof spread);
        from += sizeof pair;
        to += sizeof spread;
    }
}

constexpr size_t kMostSampleBytes = 4;
/** Bytes of each plane that are expanded at a time: all of them stay in the nearest cache. */
constexpr size_t kPieceBytes = 4096;

/** Expands the plane of one segment piece by piece. What the segment does not tell is zero. */
class PlaneReader {
  public:
    void Begin(std::span<const uint8_t> segment) { m_Expander = RleExpander(segment); }

    /** The next bytes of the plane, up to kPieceBytes. */
    const uint8_t *Next(size_t count) {
        std::memmove(m_Bytes.data(), m_Bytes.data() + m_Given, m_There - m_Given);
        m_There -= m_Given;
        if (m_There < count) {
            m_There += m_Expander.Expand(m_Bytes.data() + m_There, count - m_There,
                                         m_Bytes.size() - m_There);
        }
        if (m_There < count) {
            std::memset(m_Bytes.data() + m_There, 0, count - m_There);
            m_There = count;
        }
        m_Given = count;
        return m_Bytes.data();
    }

  private:
    RleExpander m_Expander;
    size_t m_There = 0;
    size_t m_Given = 0;                                     ///< of those that are there
    std::array<uint8_t, kPieceBytes + kRleSurplus> m_Bytes; // written before it is read
};
using PlaneReaders = std::array<PlaneReader, kMostSampleBytes>;

/** Puts the bytes of samples together from planes, the most significant one first. */
void MergePlanes(std::span<PlaneReader> planes, size_t samples, uint8_t *target) {
    if (planes.size() == 2) {
        const uint8_t *high = planes[0].Next(samples);
        const uint8_t *low = planes[1].Next(samples);
        for (size_t i = 0; i < samples; ++i) {
            const auto sample = static_cast<uint16_t>(high[i] << 8 | low[i]);
            std::memcpy(target + 2 * i, &sample, sizeof sample);
        }
        return;
    }
    for (size_t byte = 0; byte < planes.size(); ++byte) {
        const uint8_t *from = planes[byte].Next(samples);
        uint8_t *to = target + (planes.size() - 1 - byte);
        for (size_t i = 0; i < samples; ++i) to[i * planes.size()] = from[i];
    }
}

/** Expands the segments of one component whose samples have several bytes. */
void ExpandSamples(std::span<PlaneReader> planes, std::span<uint8_t> target) {
    const size_t samples = target.size() / planes.size();
    for (size_t done = 0; done < samples; done += kPieceBytes) {
        const size_t count = std::min(kPieceBytes, samples - done);
        MergePlanes(planes, count, target.data() + done * planes.size());
    }
}

/** Expands a segment of single bits. Rows begin with bytes, or follow each other without anything
 *  between them: the number of bytes tells. */
Status ExpandBits(std::span<const uint8_t> segment, const _IMAGEINFO &image,
                  const FrameLayout &layout, uint8_t *target) {
    const uint64_t rowBits = uint64_t{image.nColumns} * layout.rowBits;
    const uint64_t tight = (rowBits * image.nRows + 7) / 8;
    const auto bits = MakeDataBlock<uint8_t>(layout.bytes);
    if (!bits) return DICOM_ERROR_MEMORY;
    std::memset(bits.get(), 0, layout.bytes);
    const size_t made = ExpandRle(segment, {bits.get(), layout.bytes});
    // A segment of odd length may end with a byte more.
    const bool isTight = made == tight || made == tight + tight % 2;
    const uint64_t stride = isTight ? rowBits : layout.rowStride * 8;
    for (uint64_t row = 0; row < image.nRows; ++row) {
        CopyBits({bits.get(), layout.bytes}, row * stride, rowBits,
                 target + row * layout.rowStride);
    }
    return DICOM_SUCCESS;
}

/** Depth under which the JPEG decoder makes the samples of an image; 0 for none. */
int32_t JpegDepth(const _IMAGEINFO &image, uint32_t sampleBytes) {
    const bool isWide = sampleBytes == 2;
    switch (image.nSamplesPerPixel) {
        case 1:
            return sampleBytes == 4 ? 0 : isWide ? 16 : 8;
        case 3:
            return isWide ? 48 : 24;
        case 4:
            return isWide ? 0 : 32;
        default:
            return 0;
    }
}

int32_t JpegColor(const _IMAGEINFO &image) {
    switch (image.nPhotometric) {
        case PHOTOMETRIC_RGB:
            return MFCMPX_COLOR_RGB;
        case PHOTOMETRIC_YBR_FULL:
        case PHOTOMETRIC_YBR_FULL_422:
            return MFCMPX_COLOR_YBR;
        default:
            return MFCMPX_COLOR_FROM_STREAM;
    }
}

Status StatusOfJpeg(int32_t result) {
    if (result >= 0) return DICOM_SUCCESS;
    if (result == MFCMPX_ERROR_MEMORY) return DICOM_ERROR_MEMORY;
    return result == MFCMPX_ERROR_COLOR ? DICOM_ERROR_JPEG_COLOR : DICOM_ERROR_IMAGE;
}

} // namespace

uint16_t MDicomDS::DecodeNONE(_IMAGEINFO *pImage, uint8_t *pBuffer, uint32_t nBufferSize) {
    const std::optional<FrameLayout> layout = LayoutOf(*pImage);
    if (!layout || layout->bytes > nBufferSize) return DICOM_ERROR_IMAGE;
    if (layout->rowBits != 0) return DecodePacked(pImage, pBuffer);
    const uint64_t room = std::min<uint64_t>(layout->bytes, pImage->nFrameSize);
    const bool isShared = pImage->nFrameSize < layout->bytes;
    uint8_t *target = isShared ? pBuffer + layout->bytes - room : pBuffer;
    if (!GetFileBinaryValue(pImage->pFrameElement, target, pImage->nFrameOffset,
                            static_cast<uint32_t>(room))) {
        return DICOM_ERROR_WRITE;
    }
    if (!isShared) return DICOM_SUCCESS;
    const std::span<uint8_t> buffer(pBuffer, layout->bytes);
    layout->sampleBytes == 1 ? SpreadChrominance<uint8_t>(buffer)
                             : SpreadChrominance<uint16_t>(buffer);
    return DICOM_SUCCESS;
}

/** Pixels of 1 or 12 bits: rows begin with a byte, or there is nothing between any two pixels. */
uint16_t MDicomDS::DecodePacked(_IMAGEINFO *pImage, uint8_t *pBuffer) {
    const FrameLayout layout = *LayoutOf(*pImage);
    const PixelBits place = PixelBitsOf(*pImage);
    const uint64_t firstByte = place.first / 8;
    const uint64_t bytes = (place.first + place.count + 7) / 8 - firstByte;
    if (firstByte >= pImage->pFrameElement->nLength) return DICOM_ERROR_WRITE;
    const uint64_t there = std::min(bytes, pImage->pFrameElement->nLength - firstByte);
    const auto data = MakeDataBlock<uint8_t>(there);
    if (!data) return DICOM_ERROR_MEMORY;
    if (!GetFileBinaryValue(pImage->pFrameElement, data.get(), static_cast<uint32_t>(firstByte),
                            static_cast<uint32_t>(there))) {
        return DICOM_ERROR_WRITE;
    }
    const std::span<const uint8_t> stored(data.get(), there);
    if (place.rowStride == uint64_t{pImage->nColumns} * 16) {
        PackWords(stored, *pImage, layout.rowStride, pBuffer);
        return DICOM_SUCCESS;
    }
    const uint64_t rowBits = uint64_t{pImage->nColumns} * layout.rowBits;
    for (uint64_t row = 0; row < pImage->nRows; ++row) {
        const uint64_t first = place.first % 8 + row * place.rowStride;
        CopyBits(stored, first, rowBits, pBuffer + row * layout.rowStride);
    }
    return DICOM_SUCCESS;
}

uint16_t MDicomDS::DecodeRLE(_IMAGEINFO *pImage, uint8_t *pBuffer, uint32_t nBufferSize) {
    const std::optional<FrameLayout> layout = LayoutOf(*pImage);
    if (!layout || layout->bytes > nBufferSize) return DICOM_ERROR_IMAGE;
    FrameData frame;
    const Status status = GatherFrame(pImage, &frame);
    if (status != DICOM_SUCCESS) return status;
    const std::optional<RleHeader> header = ReadRleHeader(frame.Span());
    if (!header) return DICOM_ERROR_IMAGE;
    if (layout->rowBits != 0) {
        return ExpandBits(RleSegment(frame.Span(), *header, 0), *pImage, *layout, pBuffer);
    }
    const size_t sampleBytes = layout->sampleBytes;
    const size_t needed = pImage->nSamplesPerPixel * sampleBytes;
    const size_t taken = header->segments >= needed ? needed : std::min(header->segments, 3u);
    const size_t plane = layout->bytes / needed;
    const auto segment = [&](size_t which) { return RleSegment(frame.Span(), *header, which); };
    for (size_t first = 0; first < needed; first += sampleBytes) {
        const std::span<uint8_t> target(pBuffer + first * plane, sampleBytes * plane);
        if (sampleBytes == 1) {
            const size_t made = first < taken ? ExpandRle(segment(first), target) : 0;
            std::memset(target.data() + made, 0, target.size() - made);
            continue;
        }
        PlaneReaders planes;
        for (size_t byte = 0; byte < sampleBytes && first + byte < taken; ++byte) {
            planes[byte].Begin(segment(first + byte));
        }
        ExpandSamples(std::span(planes).first(sampleBytes), target);
    }
    return DICOM_SUCCESS;
}

uint16_t MDicomDS::DecodeJPEG(_IMAGEINFO *pImage, uint8_t *pBuffer, uint32_t nBufferSize) {
    const auto load = reinterpret_cast<decltype(&fltLoadBuffer)>(
        CompanionFunction(Companion::Compression, "fltLoadBuffer"));
    if (load == nullptr) return DICOM_ERROR_FILTER_FUNCTION;
    const std::optional<FrameLayout> layout = LayoutOf(*pImage);
    if (!layout || layout->bytes > nBufferSize) return DICOM_ERROR_IMAGE;
    const int32_t depth = JpegDepth(*pImage, layout->sampleBytes);
    if (depth == 0) return DICOM_ERROR_IMAGE;
    FrameData frame;
    const Status status = GatherFrame(pImage, &frame);
    if (status != DICOM_SUCCESS) return status;
    if (frame.size > 0xFFFFFFFF) return DICOM_ERROR_IMAGE;
    const int32_t result =
        load(frame.bytes.get(), static_cast<uint32_t>(frame.size), pBuffer, JpegColor(*pImage),
             pImage->nColumns, pImage->nRows, depth, nullptr, nullptr);
    // Components of lossless streams come as they are; all others were converted.
    if (pImage->nSamplesPerPixel == 3 && !IsLosslessJpeg(frame.Span())) {
        pImage->nPhotometric = PHOTOMETRIC_RGB;
    }
    return StatusOfJpeg(result);
}
