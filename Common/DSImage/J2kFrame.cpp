// Frames as JPEG 2000 codestreams (PS 3.5, 8.2.4).

#include "Common/CompUtil/EmbeddedCompression.h"
#include "Common/DSImage/FrameData.h"
#include "Common/DSImage/ScopedBitmap.h"
#include "Common/DSValue/ValueAccess.h"
#include "Common/Utils/Status.h"
#include "Filters/J2k/read_j2k_header/j2k_parser.h"
#include "MDicomDS.h"

using namespace mdicom;

namespace {

Status StatusOf(int32_t result) {
    if (result == COMPRESSION_ERROR_NO_J2K) return DICOM_ERROR_J2K_CODEC;
    return result < 0 ? DICOM_ERROR_IMAGE : DICOM_SUCCESS;
}

/** A bitmap over the rows that a frame is decoded into. */
int32_t LayOver(const _IMAGEINFO &image, uint8_t *rows, uint32_t size, ScopedBitmap &bitmap) {
    constexpr int32_t kTopLeft = 1;
    return KernelCreateBitmap(bitmap.Get(), sizeof(_BITMAPHANDLE), KERNEL_MEMORY_CALLER,
                              static_cast<int32_t>(image.nColumns),
                              static_cast<int32_t>(image.nRows),
                              static_cast<int32_t>(image.nBitsPerPixel),
                              static_cast<int32_t>(image.nOrder), nullptr, kTopLeft, rows, size);
}

/** Samples of more bits take 32. */
constexpr uint32_t kMostStored = 16;

_FILEINFO DescribeFrame(const _IMAGEINFO &image) {
    constexpr uint32_t kLeastStored = 9;
    const bool byStored = image.nBitsPerPixel != 24 && image.nBitsStored >= kLeastStored &&
                          image.nBitsStored <= kMostStored;
    _FILEINFO info{};
    info.nFormat = kFileFormatJ2k;
    info.nWidth = static_cast<int32_t>(image.nColumns);
    info.nHeight = static_cast<int32_t>(image.nRows);
    info.nBitsPerPixel = static_cast<int32_t>(byStored ? image.nBitsStored : image.nBitsPerPixel);
    info.nViewPerspective = info.nPageNumber = 1;
    info.nOrder = static_cast<int32_t>(image.nOrder);
    return info;
}

/** Where the attributes and the codestream tell different depths, the codestream is right. */
void CorrectDepth(std::span<const uint8_t> bytes, _FILEINFO &info, _IMAGEINFO &image) {
    constexpr uint32_t kMostBits = 32;
    J2KHeaderReader header;
    if (header.Parse(bytes.data(), bytes.data() + bytes.size()) != 1) return;
    // The sum over the components of a colour image is no depth of samples.
    if (header.nCsiz != 1) return;
    const uint32_t depth = header.GetTotalDepth();
    if (depth < 1 || depth > kMostBits || depth == static_cast<uint32_t>(info.nBitsPerPixel)) {
        return;
    }
    info.nBitsPerPixel = static_cast<int32_t>(depth > kMostStored ? kMostBits : depth);
    image.nBitsStored = depth;
    image.nHighBit = depth - 1;
}

/** Lossless coding for as long as it lives; the options are afterwards what they were. */
class ForcedControl {
  public:
    ForcedControl(_FILEJ2KOPTIONS &options, bool lossless)
        : m_Options(options), m_Control(options.nCompressionControl) {
        if (lossless) options.nCompressionControl = 0;
    }
    ~ForcedControl() { m_Options.nCompressionControl = m_Control; }
    ForcedControl(const ForcedControl &) = delete;
    ForcedControl &operator=(const ForcedControl &) = delete;

  private:
    _FILEJ2KOPTIONS &m_Options;
    uint32_t m_Control;
};

} // namespace

/** Decodes the located frame into rows padded to 4 bytes. The bits stored become those of the
 *  codestream. */
uint16_t MDicomDS::DecodeJ2K(_IMAGEINFO *pImage, uint8_t *pBuffer, uint32_t nBufferSize) {
    ScopedBitmap bitmap;
    if (LayOver(*pImage, pBuffer, nBufferSize, bitmap) != KERNEL_SUCCESS) return DICOM_ERROR_MEMORY;
    FrameData frame;
    const uint16_t gathered = GatherFrame(pImage, &frame);
    if (gathered != DICOM_SUCCESS) return gathered;
    _FILEINFO info = DescribeFrame(*pImage);
    CorrectDepth(frame.Span(), info, *pImage);
    MEMORYLOADREQUEST request{};
    request.nSize = sizeof request;
    request.pBitmap = bitmap.Get();
    request.nBitmapSize = sizeof(_BITMAPHANDLE);
    request.nFlags = MEMORYLOAD_BITMAP_ALLOCATED;
    request.pFileInfo = &info;
    return Guarded<uint16_t>(DICOM_ERROR_MEMORY, [&] {
        CEmbeddedCompressionBase codec;
        return StatusOf(codec.LoadMemory(frame.bytes.get(), frame.size, &request));
    });
}

/** Encodes a bitmap into a new block. */
uint16_t MDicomDS::EncodeJ2K(uint8_t **ppData, _BITMAPHANDLE *pBitmap, int32_t nQuality,
                             uint32_t *pSize, int32_t bLossless) {
    *ppData = nullptr;
    *pSize = 0;
    if (m_pExtra == nullptr) return DICOM_ERROR_MEMORY;
    const ForcedControl control(m_pExtra->J2KOptions, bLossless != 0);
    MEMORYSAVEREQUEST request{};
    request.nSize = sizeof request;
    request.pBitmap = pBitmap;
    request.nFormat = kFileFormatJ2k;
    request.nBitsPerPixel = pBitmap->nBitsPerPixel;
    request.nQuality = bLossless != 0 ? 0 : nQuality;
    request.pOptions = &m_pExtra->J2KOptions;
    return Guarded<uint16_t>(DICOM_ERROR_MEMORY, [&]() -> uint16_t {
        CEmbeddedCompressionBase codec;
        uint64_t size = 0;
        const Status status = StatusOf(codec.SaveMemory(ppData, &size, &request));
        if (status != DICOM_SUCCESS) return status;
        if (size > 0xFFFFFFFD) { // beyond what a fragment holds
            KernelFree(*ppData, 0, nullptr);
            *ppData = nullptr;
            return DICOM_ERROR_IMAGE;
        }
        *pSize = static_cast<uint32_t>(size);
        return DICOM_SUCCESS;
    });
}
