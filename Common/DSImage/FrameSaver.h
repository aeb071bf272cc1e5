// Stores one bitmap as a frame: the steps of InsertImage.

#pragma once

#include "Common/DSImage/ScopedBitmap.h"
#include "Common/DSValue/KeptElements.h"
#include "Common/Utils/Status.h"
#include "MDicomTypes.h"

class MDicomDS;

namespace mdicom {

/** What a caller of InsertImage asks for. */
struct SaveRequest {
    _DICOMELEMENT *pixelData;    ///< null: a new element on the top level
    const _BITMAPHANDLE *bitmap; ///< is not changed, but for its overlay bits
    uint32_t index;              ///< frame that the new one goes in front of
    uint32_t compression;        ///< IMAGE_COMPRESSION_ value
    int32_t photometric;         ///< 0 to 3
    int32_t bitsPerPixel;        ///< 0 for the bitmap's
    int32_t quality;
    uint32_t flags; ///< DICOM_SETIMAGE_ options
    MDICOM_SAVE_CALLBACK callback;
    void *userData;
};

/** Keeps what storing a first frame may change besides the frame and its functional groups.
 *  @param parent of the Pixel Data element; null for that of the top level */
void KeepImage(KeptElements &old, _DICOMELEMENT *parent);

/** A saver serves one frame. A failure leaves the data set as it was. Its functions throw
 *  std::bad_alloc. */
class FrameSaver {
  public:
    FrameSaver(MDicomDS &dataSet, const SaveRequest &request);
    ~FrameSaver();
    FrameSaver(const FrameSaver &) = delete;
    FrameSaver &operator=(const FrameSaver &) = delete;

    Status Save();
    /** Status of a request that can be told without looking at the data set. */
    Status CheckRequest() const;

  private:
    Status CopySource();
    Status KeepAttributes();
    Status SettleCompression();
    Status SettleSyntax();
    Status SettleElement();
    Status SettleFirstFrame();
    int32_t FirstDepth() const;
    Status ConvertTo(int32_t depth, bool gray);
    Status ConvertToPalette();
    Status DescribeStored();
    Status CheckStored() const;
    Status MatchStored();
    void SettleLutFlags();
    Status StoreLuts();
    Status ConvertRows();
    Status ConvertRow(uint8_t *row, int32_t number);
    void ShiftSamples(uint8_t *row) const;
    Status Encode();
    Status StoreFrame();
    void BecomeNative();
    Status StoreFragment();
    Status StoreNative();
    Status StorePacked();
    _DICOMELEMENT *FindFrame(uint32_t frame);
    Status WriteFrameAttributes();
    Status WritePhotometric();
    Status WriteFrameCount();

    bool IsCompressed() const;
    bool IsIntact() const;

    MDicomDS &m_DataSet;
    SaveRequest m_Request;
    _DICOMELEMENT *m_PixelData;
    uint32_t m_Frames = 0; ///< of the element, before this one
    uint32_t m_Compression;
    _IMAGEINFO m_Stored{};  ///< the image that the frame becomes part of
    _IMAGEINFO m_Source{};  ///< what the bitmap would be described as
    ScopedBitmap m_Picture; ///< the bitmap on its way to the encoder
    bool m_IsInverted = false;
    uint8_t *m_Data = nullptr; ///< of the encoder, in a block of KernelAlloc
    uint32_t m_Size = 0;
    KeptElements m_Old; ///< what a failure has to bring back
};

} // namespace mdicom
