// ElementReader: turns a stream of encoded elements into the tree of a data set.

#include "Common/DS/ElementReader.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "Common/DS/ElementIndex.h"
#include "Common/DS/ElementNode.h"
#include "Common/DS/Encodings.h"
#include "Common/Utils/Text.h"
#include "Common/Utils/Vr.h"
#include "MDicomTag.h"

namespace mdicom {

namespace {

constexpr size_t kDeepestSequence = 1024;
constexpr size_t kMostLevels = 1 + 2 * kDeepestSequence; ///< each sequence with its item
constexpr uint64_t kMostStepsWithoutOrder = 20'000'000;
constexpr uint32_t kLongestHeader = 12;
constexpr uint64_t kLargestOffset = 0xFFFFFFFE; ///< block offsets have 32 bits
constexpr std::string_view kDeflated = "1.2.840.10008.1.2.1.99";
constexpr uint16_t kEncodingFlags =
    DS_LITTLE_ENDIAN | DS_BIG_ENDIAN | DS_IMPLICIT_VR | DS_EXPLICIT_VR;

} // namespace

ElementReader::ElementReader(MDicomDS &ds, MDicomFile &file)
    : m_DS(ds),
      m_File(file),
      m_LittleEndian((ds.m_nFlags & DS_LITTLE_ENDIAN) != 0),
      m_Explicit((ds.m_nFlags & DS_EXPLICIT_VR) != 0),
      m_Copy((ds.m_nFlags & DS_LOAD_CLOSE) != 0),
      m_Record((ds.m_nFlags & DS_RECORD_OFFSETS) != 0),
      m_AllowOdd((ds.m_nFlags & DS_METAHEADER_PRESENT) != 0 && ds.m_pExtra != nullptr &&
                 ds.m_pExtra->pBadElements != nullptr) {}

Status ElementReader::Read(uint64_t offset) {
    m_Position = offset;
    m_Levels.clear();
    m_Levels.push_back({nullptr, nullptr, kUndefinedLength, 0, 0, m_Explicit});
    m_File.TakeReadFailure();
    const Status status = ReadLevels();
    // What cannot be read now must not pass for the end of the stream.
    return m_File.TakeReadFailure() ? Refuse(DICOM_ERROR_READ) : status;
}

Status ElementReader::ReadLevels() {
    while (!m_Levels.empty()) {
        Level &level = m_Levels.back();
        Header header;
        const Status status = ReadHeader(&header);
        if (status == DICOM_ERROR_END_OF_STREAM) {
            if (m_Levels.size() > 1) m_CutOff = true;
            return DICOM_SUCCESS;
        }
        if (status != DICOM_SUCCESS) return status;
        const bool fragments = level.parent != nullptr && level.parent->nTag == TAG_PIXEL_DATA;
        if (fragments && header.tag != TAG_ITEM && header.tag != TAG_SEQUENCE_DELIMITATION) {
            return DICOM_ERROR_END_OF_STREAM;
        }
        const size_t depth = m_Levels.size();
        const Status placed = PlaceElement(level, header);
        if (placed != DICOM_SUCCESS) return placed;
        if (m_Levels.size() == depth) CloseFinishedLevels(header.tag);
    }
    return DICOM_SUCCESS;
}

/** The bytes at offset: at least wanted of them unless the stream ends before. */
std::span<const uint8_t> ElementReader::Bytes(uint64_t offset, uint32_t wanted) {
    if (offset >= m_WindowStart && offset - m_WindowStart < m_Window.size()) {
        const auto rest = m_Window.subspan(offset - m_WindowStart);
        if (rest.size() >= wanted) return rest;
    }
    m_Window = m_File.Peek(offset, wanted);
    m_WindowStart = offset;
    return m_Window;
}

/** Reads the header at the position and moves behind it (PS 3.5, 7.1.2 and 7.1.3). */
Status ElementReader::ReadHeader(Header *header) {
    const std::span<const uint8_t> bytes = Bytes(m_Position, kLongestHeader);
    ByteCursor cursor(bytes.first(std::min<size_t>(bytes.size(), kLongestHeader)), m_LittleEndian);
    uint16_t group = cursor.Read16();
    if (cursor.Failed()) return DICOM_ERROR_END_OF_STREAM;
    const bool tellsForm = group != 0x0002 && group != GroupOf(TAG_ITEM);
    if (m_SyntaxKnown && !m_FormSettled && tellsForm) SettleForm(bytes);
    bool isExplicit = m_Levels.back().isExplicit;
    // The meta header is explicit little endian, whatever follows it (PS 3.10, 7.1).
    if (group == 0x0002 || (!m_LittleEndian && group == 0x0200)) {
        group = 0x0002;
        isExplicit = true;
        cursor.SetLittleEndian(true);
    }
    header->tag = uint32_t{group} << 16 | cursor.Read16();
    if (IsItemOrDelimiter(header->tag)) {
        header->vr = vr::OB;
        header->length = cursor.Read32();
        if (header->tag != TAG_ITEM) header->length = 0;
    } else {
        ReadForm(cursor, group == 0x0002, isExplicit, header);
    }
    if (cursor.Failed()) return DICOM_ERROR_READ;
    header->size = static_cast<uint32_t>(cursor.Position());
    m_Position += header->size;
    return CheckOddLength(header->length);
}

/** Reads VR and length of an element that is no item. */
void ElementReader::ReadForm(ByteCursor &cursor, bool meta, bool isExplicit, Header *header) {
    header->vr = vr::Implicit;
    if (isExplicit) {
        const uint8_t first = cursor.Read8();
        const uint8_t second = cursor.Read8();
        header->vr = VrCode(static_cast<char>(first), static_cast<char>(second));
    }
    // Some writers give the meta header the implicit form.
    if (isExplicit && meta && !IsVrCode(header->vr)) {
        isExplicit = false;
        header->vr = vr::Implicit;
        cursor.Back(2);
    }
    if (!isExplicit) {
        header->length = cursor.Read32();
    } else if (!HasLongHeader(header->vr)) {
        header->length = cursor.Read16();
    } else {
        const uint16_t reserved = cursor.Read16();
        // A UT with something in its reserved bytes was written with the short header.
        header->length = header->vr == vr::UT && reserved != 0 ? reserved : cursor.Read32();
    }
}

/** Some files have the VR form that their meta header does not name: the first element behind it
 *  tells by the place where letters or a length stand. */
void ElementReader::SettleForm(std::span<const uint8_t> bytes) {
    constexpr uint8_t kPadding[8] = {};
    const bool tells = bytes.size() >= 8 && std::memcmp(bytes.data(), kPadding, 8) != 0;
    if (!tells) return;
    m_FormSettled = true;
    if (!m_LittleEndian || m_Levels.size() != 1) return;
    const uint16_t code = VrCode(static_cast<char>(bytes[4]), static_cast<char>(bytes[5]));
    const bool beyond = Load32(bytes.data() + 4, true) > m_File.nLength - m_Position;
    const bool wrong = m_Explicit ? !IsVrLetters(code) : IsVrLetters(code) && beyond;
    if (!wrong) return;
    m_Explicit = !m_Explicit;
    m_Levels.back().isExplicit = m_Explicit;
    m_DS.m_nFlags ^= DS_IMPLICIT_VR | DS_EXPLICIT_VR;
}

/** Odd lengths are not DICOM (PS 3.5, 7.1.1); in a file with a preamble a few are repaired. */
Status ElementReader::CheckOddLength(uint32_t length) {
    if (length % 2 == 0 || length == kUndefinedLength) return DICOM_SUCCESS;
    const bool room = m_AllowOdd && m_DS.m_pExtra->nBadElements < kBadElementRoom;
    return room ? DICOM_SUCCESS : DICOM_ERROR_FORMAT;
}

/** Inserts the element of a header; then its content is the next level, or its value is skipped. */
Status ElementReader::PlaceElement(Level &level, const Header &header) {
    const uint64_t start = m_Position - header.size;
    const uint16_t vr = DecideVr(level, header);
    level.consumed += header.size;
    const bool children = HasChildren(level, header, vr);
    const bool asSequence = children && vr == vr::UN;
    uint16_t refusal = 0;
    _DICOMELEMENT *element = m_DS.InsertUnder(level.parent, header.tag, asSequence ? vr::SQ : vr,
                                              children, 0xFFFFFFFF, &refusal);
    if (element == nullptr) {
        if (refusal == DS_DEBUG_NO_MEMORY) return Refuse(DICOM_ERROR_MEMORY);
        if (!IsDelimiter(header.tag)) m_DS.ReportDebug(level.parent, refusal);
    } else {
        if (m_Position > kLargestOffset) return Refuse(DICOM_ERROR_FORMAT);
        level.previous = element;
        if (header.tag == TAG_ITEM) element->nRecordOffset = static_cast<uint32_t>(start);
        if (m_Record) m_DS.RecordOffset(element, static_cast<uint32_t>(start));
    }
    const ElementIndex *index = m_DS.m_pIndex;
    if (index != nullptr && index->StepsWithoutOrder() > kMostStepsWithoutOrder) {
        return Refuse(DICOM_ERROR_FORMAT);
    }
    if (children) return OpenLevel(element, level, header, vr);
    const bool topLevel = level.parent == nullptr;
    level.consumed += header.length;
    if (element != nullptr) {
        const Status status = ReadLeaf(element, header, topLevel);
        if (status != DICOM_SUCCESS) return status;
    }
    m_Position += header.length;
    return DICOM_SUCCESS;
}

uint16_t ElementReader::DecideVr(const Level &level, const Header &header) {
    const bool pixels = header.tag == TAG_PIXEL_DATA;
    if (header.vr != vr::Implicit && header.tag != TAG_ITEM && !pixels) return header.vr;
    // Fragments are bytes, also under a transfer syntax that is not known (PS 3.5, A.4).
    if (pixels && header.length == kUndefinedLength) return vr::OB;
    // Bytes that a big-endian file calls OB are not in words: they must not be turned.
    if (pixels && !m_LittleEndian && header.vr == vr::OB) return vr::OB;
    if (header.tag == TAG_ITEM) {
        const bool fragment = level.parent != nullptr && level.parent->nVR != vr::SQ;
        return fragment ? level.parent->nVR : vr::OB;
    }
    _DICOMELEMENT *near = level.previous != nullptr ? level.previous : level.parent;
    m_Window = {}; // the look-up may read values through the same stream
    return m_DS.GetDefaultVR(near, header.tag, level.previous == nullptr ? 1 : 0);
}

bool ElementReader::HasChildren(const Level &level, const Header &header, uint16_t vr) {
    if (IsDelimiter(header.tag)) return false;
    if (vr == vr::SQ || header.length == kUndefinedLength) return true;
    if (vr == vr::UN && IsUnknownSequence(header)) return true;
    return header.tag == TAG_ITEM && level.parent != nullptr &&
           level.parent->nTag != TAG_PIXEL_DATA;
}

/** True for a value of VR UN that the dictionary knows as a sequence and that begins as one. */
bool ElementReader::IsUnknownSequence(const Header &header) {
    if (!m_LittleEndian) return false;
    if (header.length != 0 && TagAt(m_Position) != TAG_ITEM) return false;
    const _DICOMTAG *row = MDicomTag::Find(header.tag);
    return row != nullptr && row->nVR == vr::SQ;
}

/** The tag that the next bytes hold; 0 where the stream ends. */
uint32_t ElementReader::TagAt(uint64_t offset) {
    const std::span<const uint8_t> bytes = Bytes(offset, 4);
    if (bytes.size() < 4) return 0;
    return uint32_t{Load16(bytes.data(), m_LittleEndian)} << 16 |
           Load16(bytes.data() + 2, m_LittleEndian);
}

/** The content of an element of VR UN is in implicit form (PS 3.5, 6.2.2), but not all writers
 *  know: the first element of its first item tells. */
bool ElementReader::ContentIsExplicit(uint64_t offset) {
    constexpr uint32_t kItemAndHeader = 8 + 6;
    const std::span<const uint8_t> bytes = Bytes(offset, kItemAndHeader);
    if (bytes.size() < kItemAndHeader || TagAt(offset) != TAG_ITEM) return false;
    const auto *letters = reinterpret_cast<const char *>(bytes.data() + kItemAndHeader - 2);
    return IsVrCode(VrCode(letters[0], letters[1]));
}

Status ElementReader::OpenLevel(_DICOMELEMENT *element, const Level &level, const Header &header,
                                uint16_t vr) {
    if (m_Levels.size() >= kMostLevels) return Refuse(DICOM_ERROR_FORMAT);
    if (header.length == 0) return DICOM_SUCCESS;
    bool isExplicit = level.isExplicit;
    if (vr == vr::UN && isExplicit && m_LittleEndian) isExplicit = ContentIsExplicit(m_Position);
    m_Levels.push_back({element, nullptr, header.length, 0, header.tag, isExplicit});
    return DICOM_SUCCESS;
}

/** Notes where the value of an element lies; the position stays before the value. */
Status ElementReader::ReadLeaf(_DICOMELEMENT *element, const Header &header, bool topLevel) {
    // The dictionary knows a sequence by this tag, but the value does not begin as one.
    if (element->nVR == vr::SQ) element->nVR = vr::UN;
    if (m_Position + header.length > m_File.nLength) m_CutOff = true;
    element->nLength = header.length;
    element->pBlockLengths[0] = header.length;
    element->pBlockOffsets[0] = static_cast<uint32_t>(m_Position);
    element->pBlockFiles[0] = &m_File;
    if (header.length % 2 != 0 && m_AllowOdd && m_DS.m_pExtra->nBadElements < kBadElementRoom) {
        m_DS.m_pExtra->pBadElements[m_DS.m_pExtra->nBadElements++] = {sizeof(DICOMBADELEMENT),
                                                                      element, 1};
    }
    if (header.tag == kTagTransferSyntax && topLevel && header.length > 0) {
        const Status status = CheckTransferSyntax(header);
        if (status != DICOM_SUCCESS) return status;
    }
    if (IsDirectoryReference(*element)) {
        const std::span<const uint8_t> bytes = Bytes(m_Position, 4);
        if (bytes.size() < 4) return DICOM_ERROR_READ;
        element->nRecordOffset = Load32(bytes.data(), m_LittleEndian);
    }
    return m_Copy ? CopyValue(element, header.length) : Status{DICOM_SUCCESS};
}

/** Fails a trial whose encoding is not the one that the meta header names. */
Status ElementReader::CheckTransferSyntax(const Header &header) {
    if (header.length > kLongestUid) return DICOM_ERROR_FORMAT;
    const std::span<const uint8_t> bytes = Bytes(m_Position, header.length);
    if (bytes.size() < header.length) return DICOM_ERROR_READ;
    std::string text(reinterpret_cast<const char *>(bytes.data()), header.length);
    text = TrimBlanks(text.c_str());
    uint16_t flags = 0;
    uint32_t compression = 0;
    m_DS.GetTS(&flags, &compression, text.c_str());
    if (text == kDeflated) return Refuse(DICOM_ERROR_FORMAT);
    if (((flags ^ m_DS.m_nFlags) & kEncodingFlags) != 0) return DICOM_ERROR_FORMAT;
    m_SyntaxKnown = true;
    return DICOM_SUCCESS;
}

/** Copies the value at the position to the value store. */
Status ElementReader::CopyValue(_DICOMELEMENT *element, uint32_t length) {
    if (m_Position + length > m_File.nLength) return DICOM_ERROR_READ;
    MDicomFile &store = m_DS.m_TempFile;
    if (!store.Seek(0, 2)) return Refuse(DICOM_ERROR_SEEK);
    const uint64_t end = store.Tell();
    if (end + length > kLargestOffset) return Refuse(DICOM_ERROR_WRITE);
    m_Window = {};
    if (length > 0 && !store.CopyFrom(m_File, m_Position, length)) {
        return Refuse(DICOM_ERROR_WRITE);
    }
    element->pBlockOffsets[0] = static_cast<uint32_t>(end);
    element->pBlockFiles[0] = &store;
    return DICOM_SUCCESS;
}

/** Ends the load for good: no other encoding will do better. */
Status ElementReader::Refuse(Status status) {
    m_Refused = true;
    return status;
}

/** Ends the levels that are complete after an element with this tag. */
void ElementReader::CloseFinishedLevels(uint32_t tag) {
    bool ends = IsDelimiter(tag) && Delimits(tag);
    while (!m_Levels.empty()) {
        const Level &last = m_Levels.back();
        const bool complete = last.length != kUndefinedLength && last.consumed == last.length;
        if (!ends && !complete) return;
        const Level level = last;
        m_Levels.pop_back();
        if (m_Levels.empty()) return;
        Level &outer = m_Levels.back();
        outer.consumed += level.consumed;
        // A sequence delimiter inside an item whose own delimiter is missing ends both.
        ends = ends && tag == TAG_SEQUENCE_DELIMITATION && level.opener == TAG_ITEM &&
               outer.length == kUndefinedLength && outer.opener != 0 && !SequenceGoesOn();
        tag = 0;
    }
}

/** True if a delimiter ends the level it stands in; false for one that is there by mistake. */
bool ElementReader::Delimits(uint32_t tag) {
    const uint32_t opener = m_Levels.back().opener;
    if (opener == 0) return false;
    // An item delimiter between items is one too many; behind the last it ends the sequence.
    return tag == TAG_SEQUENCE_DELIMITATION || opener == TAG_ITEM || !SequenceGoesOn();
}

/** True if what comes next belongs to the sequence that an item stood in. */
bool ElementReader::SequenceGoesOn() {
    const uint32_t next = TagAt(m_Position);
    return next == TAG_ITEM || next == TAG_SEQUENCE_DELIMITATION;
}

} // namespace mdicom
