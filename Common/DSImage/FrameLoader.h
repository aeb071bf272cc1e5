// Loads one frame into a bitmap: the steps of GetImage.

#pragma once

#include <span>

#include "Common/DSImage/FrameLayout.h"
#include "Common/DSImage/ScopedBitmap.h"
#include "Common/Utils/Status.h"
#include "MDicomTypes.h"
#include "Mvkrnx.h"

class MDicomDS;

namespace mdicom {

/** What a caller of GetImage asks for. */
struct FrameRequest {
    uint32_t frame;       ///< within the element
    int32_t bitsPerPixel; ///< 0 for the image's own
    uint32_t flags;       ///< DICOM_GETIMAGE_ options
    MDICOM_LOAD_CALLBACK callback;
    void *userData;
};

/** A loader serves one frame. Its functions throw std::bad_alloc. */
class FrameLoader {
  public:
    FrameLoader(MDicomDS &dataSet, _DICOMELEMENT *pixelData, const FrameRequest &request);
    ~FrameLoader();
    FrameLoader(const FrameLoader &) = delete;
    FrameLoader &operator=(const FrameLoader &) = delete;

    /** Status of GetImage. After a success the bitmap is there to be taken. */
    Status Load();
    _BITMAPHANDLE Take() { return m_Bitmap.Release(); }

    /** Decodes a located frame into the layout of LayoutOf. Bits stored and photometric
     *  interpretation become those of the samples. */
    static Status DecodeFrame(MDicomDS &dataSet, _IMAGEINFO &image, const FrameLayout &layout,
                              std::span<uint8_t> target);
    /** True for a large located frame of which almost nothing is there: its attributes alone would
     *  decide over gigabytes. Codecs other than native and RLE tell from their streams. */
    static bool IsHollow(MDicomDS &dataSet, _IMAGEINFO &image);
    /** Describes a JPEG frame of colour under attributes of gray of 8 bits: the stream is believed.
     */
    static void BecomeColor(_IMAGEINFO &image);
    /** True if decoding a located frame writes every byte of its layout, or fails. */
    static bool FillsLayout(const _IMAGEINFO &image, const FrameLayout &layout);

  private:
    Status Describe();
    Status CheckDescription() const;
    Status MakePicture();
    RowMaker MakeMaker() const;
    Status CreateBitmap(int32_t memoryKind);
    Status Decode(uint8_t *target, uint64_t room);
    static Status DecodeJ2k(MDicomDS &dataSet, _IMAGEINFO &image, const FrameLayout &layout,
                            std::span<uint8_t> target);
    static void TakeBytes(_IMAGEINFO &image);
    Status ConvertRows(const RowMaker &maker, const uint8_t *frame);
    Status DeliverRow(_FILEINFO &info, int32_t row);
    void PrepareMaker(RowMaker &maker, const uint8_t *frame);
    bool NeedsYbr() const;
    bool HasUnreliableExtremes() const;
    void DescribeFile(_FILEINFO &info) const;

    Status Finish();
    void SetPaintParams();
    Status SetRange();
    Status ApplyLuts();
    Status WidenTwelveBits();
    Status ConvertDepth();

    MDicomDS &m_DataSet;
    _DICOMELEMENT *m_PixelData;
    FrameRequest m_Request;
    _IMAGEINFO m_Info{};
    FrameLayout m_Layout;
    ScopedBitmap m_Bitmap;
    bool m_IsIntact; ///< pixels come as they are stored
};

} // namespace mdicom
