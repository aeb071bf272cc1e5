// Encodes the frames of a data set anew: attributes that change with the frames, values in another
// byte order, and the exchange of old and new.

#include <algorithm>
#include <cmath>

#include "Common/DS/ElementExchange.h"
#include "Common/DS/ElementNode.h"
#include "Common/DSImage/Compression.h"
#include "Common/DSImage/FrameTranscoder.h"
#include "Common/DSImage/ImageTags.h"
#include "Common/DSValue/ValueAccess.h"
#include "Common/DSValue/ValueStore.h"
#include "Common/Utils/ByteOrder.h"
#include "Common/Utils/NumberText.h"
#include "Common/Utils/Vr.h"
#include "MDicomDS.h"

namespace mdicom {

FrameTranscoder::FrameTranscoder(MDicomDS &dataSet, uint32_t compression, int32_t quality)
    : m_DataSet(dataSet), m_Compression(compression), m_Quality(quality) {}

FrameTranscoder::~FrameTranscoder() {
    for (_DICOMELEMENT *element : m_Added) m_DataSet.DeleteElement(element);
    if (m_Holder != nullptr) m_DataSet.DeleteElement(m_Holder);
}

/** Closes native values with even length, and encapsulated ones with their offset table. */
Status FrameTranscoder::FinishFrames() {
    if (m_Compression != IMAGE_COMPRESSION_NONE) return WriteOffsets();
    uint8_t pad = 0;
    _DICOMELEMENT *pixelData = m_Change.pixelData;
    const auto append = [&](uint8_t *byte) {
        return m_DataSet.InsertBinaryValue(pixelData, byte, pixelData->nLength, 1) != 0;
    };
    if (m_WrittenBits % 8 != 0 && !append(&m_RestBits)) return DICOM_ERROR_WRITE;
    if (pixelData->nLength % 2 != 0 && !append(&pad)) return DICOM_ERROR_WRITE;
    return DICOM_SUCCESS;
}

/** The Basic Offset Table (PS 3.5, A.4) of frames of one fragment each. It stays empty where an
 *  offset passes 32 bits. */
Status FrameTranscoder::WriteOffsets() {
    constexpr uint64_t kItemHeader = 8;
    _DICOMELEMENT *table = FirstChildOf(m_Change.pixelData);
    if (table == nullptr) return DICOM_SUCCESS;
    std::vector<uint32_t> offsets;
    uint64_t place = 0;
    for (const _DICOMELEMENT *item = NextOf(table); item != nullptr; item = NextOf(item)) {
        if (place > 0xFFFFFFFF) return DICOM_SUCCESS;
        offsets.push_back(static_cast<uint32_t>(place));
        place += kItemHeader + item->nLength;
    }
    const auto size = static_cast<uint32_t>(offsets.size() * sizeof(uint32_t));
    return m_DataSet.SetBinaryValue(table, offsets.data(), size) ? DICOM_SUCCESS
                                                                 : DICOM_ERROR_WRITE;
}

Status FrameTranscoder::StageNumber(uint32_t tag, uint32_t value) {
    const bool done =
        m_DataSet.FindSetValue(m_Change.pixelData, tag, &value, 1, VALUE_ARRAY_DWORD) != nullptr;
    return done ? DICOM_SUCCESS : DICOM_ERROR_WRITE;
}

Status FrameTranscoder::StageText(uint32_t tag, std::string_view text) {
    const bool done =
        m_DataSet.FindSetValue(m_Change.pixelData, tag, text.data(),
                               static_cast<uint32_t>(text.size()), VALUE_ARRAY_BYTE) != nullptr;
    return done ? DICOM_SUCCESS : DICOM_ERROR_WRITE;
}

/** What three components are called. */
std::string FrameTranscoder::NewPhotometric() const {
    if (KeepsYbr()) return "YBR_FULL";
    if (IsJ2k(m_Compression)) {
        if (m_DataSet.m_pExtra->J2KOptions.bUseColorTransform == 0) return "RGB";
        return IsLossy(m_Compression) ? "YBR_ICT" : "YBR_RCT";
    }
    const bool isLossyJpeg = m_Compression == IMAGE_COMPRESSION_JPEG_LOSSY;
    return isLossyJpeg && !m_StreamPhotometric.empty() ? m_StreamPhotometric : "RGB";
}

Status FrameTranscoder::StageAttributes() {
    Status status = DICOM_SUCCESS;
    const auto number = [&](uint32_t tag, uint32_t old, uint32_t value) {
        if (status == DICOM_SUCCESS && old != value) status = StageNumber(tag, value);
    };
    number(kSamplesPerPixel, m_Image.nSamplesPerPixel, m_Result.nSamplesPerPixel);
    number(kBitsAllocated, m_Image.nBitsAllocated, m_Result.nBitsAllocated);
    number(kBitsStored, m_Image.nBitsStored, m_Result.nBitsStored);
    number(kHighBit, m_Image.nHighBit, m_Result.nHighBit);
    if (m_Result.nSamplesPerPixel > 1) {
        const uint32_t old = m_Image.nSamplesPerPixel > 1 ? m_Image.nPlanarConfiguration : 1;
        number(kPlanarConfiguration, old, 0);
    }
    uint32_t frames = 0;
    const bool counted =
        m_DataSet.FindGetValue(m_Change.old, kNumberOfFrames, &frames, 0, 1, VALUE_ARRAY_DWORD) > 0;
    if (counted) number(kNumberOfFrames, frames, m_Image.nFrameCount);
    if (status == DICOM_SUCCESS && m_Result.nSamplesPerPixel == 3) {
        status = StageText(kPhotometricInterpretation, NewPhotometric());
    }
    return status == DICOM_SUCCESS ? StageLossy() : status;
}

/** Tells that, how far and by what method the image was compressed with loss (PS 3.3,
 *  C.7.6.1.1.5). */
Status FrameTranscoder::StageLossy() {
    if (!IsLossy(m_Compression)) return DICOM_SUCCESS;
    const double times = m_EncodedBytes > 0 ? static_cast<double>(m_SourceBytes) /
                                                  static_cast<double>(m_EncodedBytes)
                                            : 1.0;
    const std::string ratio = FormatDecimalString(std::round(times * 100) / 100);
    Status status = StageText(kLossyImageCompression, "01");
    if (status == DICOM_SUCCESS) status = StageAddedText(kLossyRatio, ratio);
    if (status != DICOM_SUCCESS) return status;
    return StageAddedText(kLossyMethod, IsJpeg(m_Compression) ? "ISO_10918_1" : "ISO_15444_1");
}

/** A value behind those that the data set has. */
Status FrameTranscoder::StageAddedText(uint32_t tag, std::string_view text) {
    std::string values;
    _DICOMELEMENT *old = m_DataSet.FindFirstElement(m_Change.old, tag, 1);
    if (HasValue(old)) {
        const DataBlock<char> bytes = ReadWholeValue(m_DataSet, old);
        if (!bytes) return DICOM_ERROR_READ;
        values.assign(bytes.get(), old->nLength);
        while (!values.empty() && (values.back() == ' ' || values.back() == '\0')) {
            values.pop_back();
        }
        if (!values.empty()) values += '\\';
    }
    values += text;
    const uint16_t vr = tag == kLossyRatio ? vr::DS : vr::CS;
    _DICOMELEMENT *element = m_DataSet.InsertElement(m_Change.pixelData, 0, tag, vr, 0, 0xFFFFFFFF);
    if (element == nullptr) return DICOM_ERROR_MEMORY;
    return ReplaceValue(m_DataSet, element, values.data(), values.size()) ? DICOM_SUCCESS
                                                                          : DICOM_ERROR_WRITE;
}

/** An element beside the old Pixel Data for each attribute that has none there. */
Status FrameTranscoder::MakePlaces(const Change &change) {
    for (_DICOMELEMENT *staged = FirstChildOf(change.item); staged != nullptr;
         staged = NextOf(staged)) {
        if (m_DataSet.FindFirstElement(change.old, staged->nTag, 1) != nullptr) continue;
        // The list has room before there is something to list.
        m_Added.push_back(nullptr);
        m_Added.back() =
            m_DataSet.InsertElement(change.old, 0, staged->nTag, staged->nVR, 0, 0xFFFFFFFF);
        if (m_Added.back() == nullptr) return DICOM_ERROR_MEMORY;
    }
    return DICOM_SUCCESS;
}

Status FrameTranscoder::TurnValues(bool littleEndian) {
    for (_DICOMELEMENT *element = m_DataSet.GetFirstElement(nullptr, 0, 1); element != nullptr;
         element = m_DataSet.GetNextElement(element, 0, 1)) {
        const uint32_t unit = SwapUnitOf(element->nVR);
        const bool isMeta = GroupOf(element->nTag) == 0x0002;
        if (unit <= 1 || isMeta || element->nLength == 0) continue;
        if (element->nLength == kUndefinedLength) continue;
        const bool isReplaced =
            std::ranges::any_of(m_Changes, [&](const Change &c) { return c.old == element; });
        if (isReplaced) continue;
        TurnedValue turned{element, 0, element->nLength};
        const Status status = AppendTurned(turned, littleEndian);
        if (status != DICOM_SUCCESS) return status;
        m_Turned.push_back(turned);
    }
    return DICOM_SUCCESS;
}

/** Writes a value in the other byte order behind all others of the value store. */
Status FrameTranscoder::AppendTurned(TurnedValue &turned, bool littleEndian) {
    constexpr uint32_t kPiece = 65536; // whole units of any size
    MDicomFile &store = m_DataSet.m_TempFile;
    if (!store.Seek(0, 2)) return DICOM_ERROR_WRITE;
    const uint64_t end = store.Tell();
    if (end + turned.length > 0xFFFFFFFE) return DICOM_ERROR_WRITE; // offsets have 32 bits
    turned.offset = static_cast<uint32_t>(end);
    uint8_t *piece = m_Rows.Get(kPiece);
    if (piece == nullptr) return DICOM_ERROR_MEMORY;
    for (uint32_t done = 0; done < turned.length;) {
        const uint32_t bytes = std::min(kPiece, turned.length - done);
        if (!m_DataSet.GetFileBinaryValue(turned.element, piece, done, bytes)) {
            return DICOM_ERROR_READ;
        }
        if (!littleEndian) ReverseUnits({piece, bytes}, SwapUnitOf(turned.element->nVR));
        if (!store.Seek(0, 2) || !store.Write(piece, bytes)) return DICOM_ERROR_WRITE;
        done += bytes;
    }
    return DICOM_SUCCESS;
}

void FrameTranscoder::Commit() noexcept {
    for (const TurnedValue &turned : m_Turned) {
        ReplaceBlocks(turned.element, {&m_DataSet.m_TempFile, turned.offset, turned.length});
    }
    for (const Change &change : m_Changes) {
        for (_DICOMELEMENT *staged = FirstChildOf(change.item); staged != nullptr;
             staged = NextOf(staged)) {
            _DICOMELEMENT *place = m_DataSet.FindFirstElement(change.old, staged->nTag, 1);
            if (place != nullptr) ExchangeContents(place, staged, m_DataSet.m_pIndex);
        }
    }
    m_Added.clear();
}

} // namespace mdicom
