// ElementWriter: encodes the tree of a data set into a stream.

#include "Common/DS/ElementWriter.h"

#include <algorithm>

#include "Common/DS/ElementIndex.h"
#include "Common/DS/ElementNode.h"
#include "Common/DSValue/ValueStore.h"
#include "Common/Utils/ByteOrder.h"
#include "Common/Utils/Vr.h"
#include "MDicomTag.h"

namespace mdicom {

namespace {

constexpr size_t kStageSize = 64 * 1024;
constexpr uint32_t kLargeBlock = 32 * 1024;
constexpr uint32_t kTurnedPiece = 48 * 1024; ///< holds whole units of every size
constexpr uint32_t kLongestShortValue = 65534;
constexpr uint32_t kDelimiterSize = 8;
constexpr uint32_t kGroupLengthSize = 12;
constexpr uint32_t kPreambleSize = 132;

uint32_t DelimiterOf(const _DICOMELEMENT *element) {
    return element->nTag == TAG_ITEM ? TAG_ITEM_DELIMITATION : TAG_SEQUENCE_DELIMITATION;
}

} // namespace

ElementWriter::ElementWriter(MDicomDS &ds, MDicomFile &target, const SaveOptions &options)
    : m_DS(ds), m_Target(target), m_Options(options) {}

Status ElementWriter::Write() {
    m_Staged.reserve(kStageSize);
    const Status planned = Plan();
    if (planned != DICOM_SUCCESS) return planned;
    if (m_Options.preamble) {
        const bool done = Put(m_DS.m_Preamble, sizeof m_DS.m_Preamble) && Put("DICM", 4);
        if (!done) return DICOM_ERROR_WRITE;
    }
    for (const bool meta : {true, false}) {
        m_MetaTurn = meta;
        const Status written = WriteLevels();
        if (written != DICOM_SUCCESS) return written;
    }
    return PutStaged() && m_Target.Flush() ? DICOM_SUCCESS : DICOM_ERROR_WRITE;
}

/** Group 0002 stands before all else in a file, also before groups with lower numbers. */
bool ElementWriter::IsLeftOut(const _DICOMELEMENT *element) const {
    const bool meta = GroupOf(element->nTag) == 0x0002;
    if (meta && m_Options.withoutMeta) return true;
    return ParentOf(element) == nullptr && meta != m_MetaTurn;
}

/** True if nothing that belongs to this turn can follow. Items stand anywhere. */
bool ElementWriter::IsBehindTurn(const _DICOMELEMENT *element) const {
    if (!m_MetaTurn || ParentOf(element) != nullptr) return false;
    return GroupOf(element->nTag) > 0x0002 && element->nTag != TAG_ITEM;
}

/** True if a group length element stands before this element. */
bool ElementWriter::OpensGroup(const Level &level, const _DICOMELEMENT *element) const {
    if (element->nTag == TAG_ITEM) return false;
    const uint16_t group = GroupOf(element->nTag);
    if (level.group == group) return false;
    return m_Options.groupLengths || (m_Options.preamble && group == 0x0002);
}

/** True for an element without a length whose length is computed, so that no delimiter follows. Of
 *  what does not show as a sequence only the delimiter tells that it holds items. */
bool ElementWriter::HasWrittenLength(const _DICOMELEMENT *element) const {
    if (!m_Options.definedLengths) return false;
    if (element->nTag == TAG_PIXEL_DATA) return false;
    if (element->nTag == TAG_ITEM) { // elsewhere than in a sequence one with a length holds bytes
        const _DICOMELEMENT *sequence = ParentOf(element);
        return sequence != nullptr && FormOf(sequence).vr == vr::SQ;
    }
    const EncodedForm form = FormOf(element);
    if (form.isExplicit) return form.vr == vr::SQ;
    const _DICOMTAG *row = MDicomTag::Find(element->nTag);
    return row != nullptr && row->nVR == vr::SQ;
}

EncodedForm ElementWriter::FormOf(const _DICOMELEMENT *element) const {
    const bool meta = GroupOf(element->nTag) == 0x0002;
    EncodedForm form{m_Options.littleEndian || meta, m_Options.isExplicit || meta, element->nVR, 8};
    if (IsItemOrDelimiter(element->nTag) || !form.isExplicit) return form;
    const bool isLong = HasLongHeader(form.vr);
    if (element->nLength == kUndefinedLength) {
        // Readers look for items under SQ alone; fragments are those of Pixel Data.
        if (element->nTag != TAG_PIXEL_DATA || !isLong) form.vr = vr::SQ;
    } else if (!isLong && (!IsVrLetters(form.vr) || ValueLength(element) > kLongestShortValue)) {
        // What the short header cannot hold (PS 3.5, 6.2.2), and what has no VR to be written.
        form.vr = vr::UN;
    }
    form.headerSize = HasLongHeader(form.vr) ? 12 : 8;
    return form;
}

/** True for the element in whose place the transfer syntax of this save is written. */
bool ElementWriter::IsReplaced(const _DICOMELEMENT *element) const {
    return element->nTag == kTagTransferSyntax && ParentOf(element) == nullptr &&
           !m_Options.transferSyntax.empty();
}

uint32_t ElementWriter::ValueLength(const _DICOMELEMENT *element) const {
    if (!IsReplaced(element)) return element->nLength;
    return static_cast<uint32_t>(m_Options.transferSyntax.size());
}

// --- Planning -----------------------------------------------------------------------------------

/** Works out all lengths, and the places of items if directory references ask for them. */
Status ElementWriter::Plan() {
    m_WantsPlaces = false;
    for (const uint32_t tag : kReferenceTags) {
        if (m_DS.m_pIndex == nullptr || m_DS.m_pIndex->MayHold(tag)) m_WantsPlaces = true;
    }
    m_Place = m_Options.preamble ? kPreambleSize : 0;
    for (const bool meta : {true, false}) {
        m_MetaTurn = meta;
        PlanLevels();
    }
    return m_Refused ? DICOM_ERROR_WRITE : DICOM_SUCCESS;
}

void ElementWriter::PlanLevels() {
    m_Levels.clear();
    m_Levels.push_back({nullptr});
    _DICOMLINK *node = m_DS.m_Tree.pFirst;
    while (node != nullptr) {
        _DICOMELEMENT *element = AsElement(node);
        if (IsBehindTurn(element)) return;
        const bool out = IsLeftOut(element);
        if (!out) PlanElement(element);
        if (m_Refused) return;
        if (!out && node->pFirstChild != nullptr) {
            node = node->pFirstChild;
            continue;
        }
        while (node != nullptr && node->pNext == nullptr) {
            node = node->pParent;
            FinishLevel();
        }
        if (node != nullptr) node = node->pNext;
    }
}

void ElementWriter::PlanElement(_DICOMELEMENT *element) {
    Level &level = m_Levels.back();
    PlanGroup(level, element);
    if (m_WantsPlaces && element->nTag == TAG_ITEM && m_Place <= 0xFFFFFFFF) {
        m_ItemPlaces.emplace(element->nRecordOffset, static_cast<uint32_t>(m_Place));
    }
    const uint32_t header = FormOf(element).headerSize;
    m_Place += header;
    if (element->nLength != kUndefinedLength) {
        // A program can insert elements under a value; a file has no place for both.
        if (element->Link.pFirstChild != nullptr) m_Refused = true;
        const uint32_t length = ValueLength(element);
        m_Place += length;
        Account(level, element, uint64_t{header} + length);
        return;
    }
    const bool defined = HasWrittenLength(element);
    const uint64_t overhead = header + (defined ? 0 : kDelimiterSize);
    if (element->Link.pFirstChild == nullptr) {
        if (!defined) m_Place += kDelimiterSize;
        Account(level, element, overhead);
        return;
    }
    Level inner{element};
    inner.overhead = overhead;
    inner.hasContentSlot = defined;
    if (defined) {
        inner.contentSlot = m_Lengths.size();
        m_Lengths.push_back(0);
    }
    m_Levels.push_back(inner);
}

/** Makes room for a group length before an element that opens its group. */
void ElementWriter::PlanGroup(Level &level, const _DICOMELEMENT *element) {
    if (OpensGroup(level, element)) {
        level.group = GroupOf(element->nTag);
        level.groupSlot = m_Lengths.size();
        level.groupOpen = true;
        m_Lengths.push_back(0);
        level.size += kGroupLengthSize;
        m_Place += kGroupLengthSize;
    } else if (element->nTag != TAG_ITEM && level.group != GroupOf(element->nTag)) {
        level.groupOpen = false;
    }
}

/** Adds the bytes of an element to its level and to the group that is open there. */
void ElementWriter::Account(Level &level, const _DICOMELEMENT *element, uint64_t bytes) {
    level.size += bytes;
    if (!level.groupOpen || element->nTag == TAG_ITEM) return;
    const uint64_t sum = m_Lengths[level.groupSlot] + bytes;
    if (sum >= kUndefinedLength) m_Refused = true;
    m_Lengths[level.groupSlot] = static_cast<uint32_t>(sum);
}

void ElementWriter::FinishLevel() {
    const Level level = m_Levels.back();
    m_Levels.pop_back();
    if (m_Levels.empty()) return;
    if (level.hasContentSlot) {
        if (level.size >= kUndefinedLength) m_Refused = true;
        m_Lengths[level.contentSlot] = static_cast<uint32_t>(level.size);
    } else {
        m_Place += kDelimiterSize;
    }
    Account(m_Levels.back(), level.parent, level.overhead + level.size);
}

// --- Writing ------------------------------------------------------------------------------------

Status ElementWriter::WriteLevels() {
    m_Levels.clear();
    m_Levels.push_back({nullptr});
    _DICOMLINK *node = m_DS.m_Tree.pFirst;
    while (node != nullptr) {
        _DICOMELEMENT *element = AsElement(node);
        if (IsBehindTurn(element)) break;
        const bool out = IsLeftOut(element);
        Status status = out ? Status{DICOM_SUCCESS} : WriteOne(m_Levels.back(), element);
        if (status != DICOM_SUCCESS) return status;
        if (!out && node->pFirstChild != nullptr) {
            node = node->pFirstChild;
            continue;
        }
        while (node != nullptr && node->pNext == nullptr) {
            node = node->pParent;
            const bool isOpen = !m_Levels.back().hasContentSlot;
            m_Levels.pop_back();
            if (node != nullptr && isOpen) status = WriteDelimiter(AsElement(node));
            if (status != DICOM_SUCCESS) return status;
        }
        if (node != nullptr) node = node->pNext;
    }
    return DICOM_SUCCESS;
}

/** Writes an element up to its content, of which it makes a level. */
Status ElementWriter::WriteOne(Level &level, _DICOMELEMENT *element) {
    if (OpensGroup(level, element)) {
        level.group = GroupOf(element->nTag);
        const Status status = WriteGroupLength(element, m_Lengths[m_NextLength++]);
        if (status != DICOM_SUCCESS) return status;
    }
    const EncodedForm form = FormOf(element);
    if (element->nLength != kUndefinedLength) {
        const Status status = WriteHeader(element, form, ValueLength(element));
        return status != DICOM_SUCCESS ? status : WriteValue(element, form);
    }
    const bool defined = HasWrittenLength(element);
    const bool empty = element->Link.pFirstChild == nullptr;
    const uint32_t length = !defined ? kUndefinedLength : empty ? 0 : m_Lengths[m_NextLength++];
    const Status status = WriteHeader(element, form, length);
    if (status != DICOM_SUCCESS) return status;
    if (empty) return defined ? Status{DICOM_SUCCESS} : WriteDelimiter(element);
    Level inner{element};
    inner.hasContentSlot = defined;
    m_Levels.push_back(inner);
    return DICOM_SUCCESS;
}

/** Closes an element that was written without a length. */
Status ElementWriter::WriteDelimiter(const _DICOMELEMENT *element) {
    const bool littleEndian = m_Options.littleEndian; // no delimiter is of group 0002
    const uint32_t tag = DelimiterOf(element);
    const bool done = Put16(GroupOf(tag), littleEndian) && Put16(ElementOf(tag), littleEndian) &&
                      Put32(0, littleEndian);
    return done ? DICOM_SUCCESS : DICOM_ERROR_WRITE;
}

Status ElementWriter::WriteHeader(const _DICOMELEMENT *element, const EncodedForm &form,
                                  uint32_t length) {
    const bool little = form.littleEndian;
    bool done = Put16(GroupOf(element->nTag), little) && Put16(ElementOf(element->nTag), little);
    if (!form.isExplicit || IsItemOrDelimiter(element->nTag)) {
        done = done && Put32(length, little);
        return done ? DICOM_SUCCESS : DICOM_ERROR_WRITE;
    }
    done = done && Put16(form.vr, false);
    if (form.headerSize == 12) {
        done = done && Put16(0, little) && Put32(length, little);
    } else {
        done = done && Put16(static_cast<uint16_t>(length), little);
    }
    return done ? DICOM_SUCCESS : DICOM_ERROR_WRITE;
}

Status ElementWriter::WriteGroupLength(const _DICOMELEMENT *element, uint32_t length) {
    _DICOMELEMENT groupLength{};
    groupLength.nTag = element->nTag & 0xFFFF0000;
    groupLength.nVR = vr::UL;
    groupLength.nLength = sizeof length;
    const EncodedForm form = FormOf(&groupLength);
    const Status status = WriteHeader(&groupLength, form, sizeof length);
    if (status != DICOM_SUCCESS) return status;
    return Put32(length, form.littleEndian) ? DICOM_SUCCESS : DICOM_ERROR_WRITE;
}

Status ElementWriter::WriteValue(_DICOMELEMENT *element, const EncodedForm &form) {
    if (IsReplaced(element)) {
        const std::string &uid = m_Options.transferSyntax;
        return Put(uid.data(), uid.size()) ? DICOM_SUCCESS : DICOM_ERROR_WRITE;
    }
    if (element->nLength == 0) return DICOM_SUCCESS;
    if (IsDirectoryReference(*element)) return WriteReference(element, form);
    const unsigned unit = SwapUnitOf(element->nVR);
    const bool turned = unit > 1 && m_DS.IsStoredLittleEndian(element) != form.littleEndian;
    return turned ? CopyTurned(element, unit) : CopyBlocks(element);
}

/** Writes the place of the record that an element refers to (PS 3.3, F.3.2.2). */
Status ElementWriter::WriteReference(const _DICOMELEMENT *element, const EncodedForm &form) {
    uint32_t place = 0;
    if (element->nRecordOffset != 0) {
        const auto item = m_ItemPlaces.find(element->nRecordOffset);
        if (item == m_ItemPlaces.end()) return DICOM_ERROR_WRITE;
        place = item->second;
    }
    return Put32(place, form.littleEndian) ? DICOM_SUCCESS : DICOM_ERROR_WRITE;
}

/** Copies a value as it is stored, block by block. */
Status ElementWriter::CopyBlocks(const _DICOMELEMENT *element) {
    for (uint32_t i = 0; i < element->nBlockCount; ++i) {
        const ValueBlock block = BlockAt(element, i);
        if (uint64_t{block.offset} + block.length > block.file->nLength) return DICOM_ERROR_WRITE;
        if (block.length >= kLargeBlock) {
            if (!PutStaged() || !m_Target.CopyFrom(*block.file, block.offset, block.length)) {
                return DICOM_ERROR_WRITE;
            }
            continue;
        }
        if (m_Staged.size() + block.length > kStageSize && !PutStaged()) return DICOM_ERROR_WRITE;
        const size_t place = m_Staged.size();
        m_Staged.resize(place + block.length);
        const bool done = block.file->Seek(block.offset, 0) &&
                          block.file->Read(m_Staged.data() + place, block.length);
        if (!done) return DICOM_ERROR_WRITE;
    }
    return DICOM_SUCCESS;
}

/** Copies a value in the other byte order. */
Status ElementWriter::CopyTurned(_DICOMELEMENT *element, unsigned unit) {
    const bool toNative = m_DS.IsStoredLittleEndian(element);
    for (uint32_t offset = 0; offset < element->nLength;) {
        const uint32_t count = std::min(kTurnedPiece, element->nLength - offset);
        if (m_Staged.size() + count > kStageSize && !PutStaged()) return DICOM_ERROR_WRITE;
        const size_t place = m_Staged.size();
        m_Staged.resize(place + count);
        uint8_t *bytes = m_Staged.data() + place;
        // The store hands out host order, which is little endian: values of a big-endian data
        // set come out turned already.
        if (!m_DS.GetFileBinaryValue(element, bytes, offset, count)) return DICOM_ERROR_WRITE;
        if (toNative) ReverseUnits({bytes, count}, unit);
        offset += count;
    }
    return DICOM_SUCCESS;
}

bool ElementWriter::Put(const void *bytes, size_t count) {
    if (m_Staged.size() + count > kStageSize && !PutStaged()) return false;
    const auto *first = static_cast<const uint8_t *>(bytes);
    m_Staged.insert(m_Staged.end(), first, first + count);
    return true;
}

bool ElementWriter::Put16(uint16_t value, bool littleEndian) {
    uint8_t bytes[2];
    Store16(bytes, value, littleEndian);
    return Put(bytes, sizeof bytes);
}

bool ElementWriter::Put32(uint32_t value, bool littleEndian) {
    uint8_t bytes[4];
    Store32(bytes, value, littleEndian);
    return Put(bytes, sizeof bytes);
}

bool ElementWriter::PutStaged() {
    if (m_Staged.empty()) return true;
    const bool done = m_Target.Write(m_Staged.data(), static_cast<uint32_t>(m_Staged.size())) != 0;
    m_Staged.clear();
    return done;
}

} // namespace mdicom
