// MDicomVR: the table of value representations, found by their two letters.

#include "MDicomVR.h"

#include <array>

#include "dictionaries/DefaultTables.h"
#include "dictionaries/RowList.h"

constinit MDicomTreeEx MDicomVR::m_InfoVR;

namespace {

constexpr unsigned kLetters = 26;

/** First row of each code of two capital letters; kept up to date by every edit. */
constinit std::array<_DICOMVR *, kLetters * kLetters> rowsByLetters{};

mdicom::RowList<_DICOMVR> Rows() {
    return mdicom::RowList<_DICOMVR>(MDicomVR::m_InfoVR);
}

/** The place in rowsByLetters, or null for a code that is not two capital letters. */
_DICOMVR **PlaceOf(uint16_t code) {
    const unsigned first = (code >> 8) - 'A';
    const unsigned second = (code & 0xFF) - 'A';
    if (first >= kLetters || second >= kLetters) return nullptr;
    return &rowsByLetters[first * kLetters + second];
}

_DICOMVR *FindByWalk(uint16_t code) {
    return Rows().FindFrom(Rows().First(),
                           [code](const _DICOMVR &row) { return row.nCode == code; });
}

_DICOMVR *AppendRow(const mdicom::DefaultVr &values, wchar_t *name) {
    _DICOMVR *row = Rows().Append();
    if (row == nullptr) return nullptr;
    row->nCode = values.code;
    row->pszName = name;
    row->nLength = values.length;
    row->nRestrict = values.restriction;
    row->nUnitSize = values.unitSize;
    _DICOMVR **place = PlaceOf(values.code);
    if (place != nullptr && *place == nullptr) *place = row;
    return row;
}

} // namespace

void MDicomVR::Default() {
    Reset();
    for (const mdicom::DefaultVr &values : mdicom::DefaultVrs()) {
        AppendRow(values, const_cast<wchar_t *>(mdicom::SharedText(values.name)));
    }
}

void MDicomVR::Reset() {
    Rows().Clear();
    rowsByLetters.fill(nullptr);
}

_DICOMVR *MDicomVR::Insert(uint16_t nCode, const wchar_t *pszName, uint32_t nLength,
                           uint16_t nRestrict, uint16_t nUnitSize) {
    wchar_t *name = mdicom::CopyText(pszName);
    if (name == nullptr) return nullptr;
    _DICOMVR *row = AppendRow({nCode, nRestrict, nUnitSize, nLength, 0}, name);
    if (row == nullptr) mdicom::FreeText(name);
    return row;
}

_DICOMVR *MDicomVR::Delete(_DICOMVR *pRecord) {
    if (pRecord == nullptr) return nullptr;
    const uint16_t code = pRecord->nCode;
    _DICOMVR *neighbor = Rows().Remove(pRecord);
    if (_DICOMVR **place = PlaceOf(code)) *place = FindByWalk(code);
    return neighbor;
}

int32_t MDicomVR::SetName(_DICOMVR *pRecord, const wchar_t *pszName) {
    return Rows().Rename(pRecord, pszName);
}

_DICOMVR *MDicomVR::Find(uint16_t nCode) {
    _DICOMVR **place = PlaceOf(nCode);
    return place != nullptr ? *place : FindByWalk(nCode);
}

_DICOMVR *MDicomVR::FindIndex(uint32_t nIndex) {
    return Rows().At(nIndex);
}

int32_t MDicomVR::Exists(_DICOMVR *pRecord) {
    return Rows().Contains(pRecord);
}

_DICOMVR *MDicomVR::GetFirst() {
    return Rows().First();
}

_DICOMVR *MDicomVR::GetLast() {
    return Rows().Last();
}

_DICOMVR *MDicomVR::GetNext(_DICOMVR *pRecord) {
    return Rows().Next(pRecord);
}

_DICOMVR *MDicomVR::GetPrev(_DICOMVR *pRecord) {
    return Rows().Previous(pRecord);
}

uint32_t MDicomVR::GetCount() {
    return Rows().Count();
}
