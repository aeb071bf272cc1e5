// Encodes the frames of a data set anew, beside the old ones, so that all of them change at once or
// none does.

#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "Common/DSImage/FrameEncode.h"
#include "Common/Utils/Memory.h"
#include "Common/Utils/Status.h"
#include "MDicomTypes.h"

class MDicomDS;

namespace mdicom {

/** Bytes that grow without being cleared, reused from frame to frame. */
class FrameBuffer {
  public:
    /** Room for so many bytes; null when memory is short. */
    uint8_t *Get(uint64_t bytes);

  private:
    DataBlock<uint8_t> m_Bytes;
    uint64_t m_Size = 0;
};

/**
 * New Pixel Data and changed attributes stand in the items of a sequence that is no part of the
 * data set's content, next to which Commit exchanges them with the old ones. Without a Commit
 * everything goes that was prepared. Functions that give a status throw std::bad_alloc.
 */
class FrameTranscoder {
  public:
    FrameTranscoder(MDicomDS &dataSet, uint32_t compression, int32_t quality);
    ~FrameTranscoder();
    FrameTranscoder(const FrameTranscoder &) = delete;
    FrameTranscoder &operator=(const FrameTranscoder &) = delete;

    /** Prepares all frames of a Pixel Data element. */
    Status Add(_DICOMELEMENT *pixelData);
    /** Prepares values of all elements in another byte order. */
    Status TurnValues(bool littleEndian);
    /** Puts everything that was prepared in its place. */
    void Commit() noexcept;

  private:
    struct Change {
        _DICOMELEMENT *old;  ///< Pixel Data of the data set
        _DICOMELEMENT *item; ///< holds the new Pixel Data and the attributes that change
        _DICOMELEMENT *pixelData;
    };
    struct TurnedValue {
        _DICOMELEMENT *element;
        uint32_t offset;
        uint32_t length;
    };

    Status Prepare(_DICOMELEMENT *pixelData);
    Status CheckImage() const;
    Status CheckLossyJpeg() const;
    Status TranscodeFrames();
    Status Decode(uint32_t frame);
    Status DecodeSamples();
    Status Unpack();
    Status ReduceSamples();
    Status Encode();
    Status EncodeJpeg();
    Status EncodeJ2k();
    const uint8_t *BitmapRows();
    Status AppendFragment(EncodedFrame &encoded);
    Status AppendNative();
    Status AppendBits();
    Status FinishFrames();
    Status WriteOffsets();
    Status AppendTurned(TurnedValue &turned, bool littleEndian);
    Status StageAttributes();
    Status StageNumber(uint32_t tag, uint32_t value);
    Status StageText(uint32_t tag, std::string_view text);
    Status StageLossy();
    Status StageAddedText(uint32_t tag, std::string_view text);
    Status MakePlaces(const Change &change);
    std::string NewPhotometric() const;
    bool KeepsYbr() const;
    bool IsYbr() const;
    bool FindBitPlaneOverlay() const;

    MDicomDS &m_DataSet;
    uint32_t m_Compression;
    int32_t m_Quality;
    _DICOMELEMENT *m_Holder = nullptr;
    std::vector<Change> m_Changes;
    std::vector<_DICOMELEMENT *> m_Added; ///< empty elements that wait for their values
    std::vector<TurnedValue> m_Turned;

    // The image that is being encoded.
    Change m_Change{};
    _IMAGEINFO m_Image{};  ///< as it was described
    _IMAGEINFO m_Frame{};  ///< the frame at hand, with what its stream has told
    _IMAGEINFO m_Result{}; ///< what the new frames are
    bool m_HasBitPlaneOverlay = false;
    FrameView m_View{};
    FrameBuffer m_Decoded;
    FrameBuffer m_Unpacked;
    FrameBuffer m_Rows;
    std::string m_StreamPhotometric; ///< of the first JPEG stream
    uint64_t m_SourceBytes = 0;
    uint64_t m_EncodedBytes = 0;
    uint8_t m_RestBits = 0;     ///< of the last byte of native frames of bits
    uint64_t m_WrittenBits = 0; ///< of native frames of bits
};

} // namespace mdicom
