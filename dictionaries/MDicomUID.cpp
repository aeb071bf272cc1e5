// MDicomUID: the registry of UIDs, found by a hash of their text.

#include "MDicomUID.h"

#include <string_view>
#include <type_traits>

#include "dictionaries/DefaultTables.h"
#include "dictionaries/RowIndex.h"

constinit MDicomTreeEx MDicomUID::m_InfoUID;

namespace {

using UidRows = mdicom::RowList<_DICOMUID>;

class UidIndex {
  public:
    explicit UidIndex(const UidRows &list) : m_Rows(list) {
        for (uint32_t position = 0; position < m_Rows.Count(); ++position) {
            const std::wstring_view code = m_Rows.At(position)->pszCode;
            m_Rows.Add(position, Hash(code), HasCode{code});
        }
    }

    uint32_t Count() const { return m_Rows.Count(); }
    _DICOMUID *At(uint32_t position) const { return m_Rows.At(position); }
    _DICOMUID *Find(std::wstring_view code) const {
        return At(m_Rows.Find(Hash(code), HasCode{code}));
    }

  private:
    struct HasCode {
        std::wstring_view code;
        bool operator()(const _DICOMUID &row) const { return code == row.pszCode; }
    };

    /** FNV-1a over whole characters. */
    static uint32_t Hash(std::wstring_view text) {
        uint32_t hash = 0x811C9DC5u;
        for (const wchar_t character : text) {
            hash = (hash ^ static_cast<uint32_t>(character)) * 0x01000193u;
        }
        return hash;
    }

    mdicom::RowIndex<_DICOMUID> m_Rows;
};

constinit mdicom::LazyIndex<UidIndex> lazyIndex;
static_assert(std::is_trivially_destructible_v<mdicom::LazyIndex<UidIndex>>);

UidRows Rows() {
    return UidRows(MDicomUID::m_InfoUID);
}

/** Appends a row that takes over the two texts. */
_DICOMUID *AppendRow(wchar_t *code, wchar_t *name, uint32_t type) {
    _DICOMUID *row = Rows().Append();
    if (row == nullptr) return nullptr;
    row->pszCode = code;
    row->pszName = name;
    row->nType = type;
    return row;
}

} // namespace

void MDicomUID::Default() {
    Reset();
    for (const mdicom::DefaultUid &values : mdicom::DefaultUids()) {
        AppendRow(const_cast<wchar_t *>(mdicom::SharedText(values.code)),
                  const_cast<wchar_t *>(mdicom::SharedText(values.name)), values.type);
    }
}

void MDicomUID::Reset() {
    lazyIndex.Drop();
    Rows().Clear();
}

_DICOMUID *MDicomUID::Insert(const wchar_t *pszCode, const wchar_t *pszName, uint32_t nType) {
    lazyIndex.Drop();
    wchar_t *code = mdicom::CopyText(pszCode);
    wchar_t *name = mdicom::CopyText(pszName);
    const bool complete = code != nullptr && name != nullptr;
    _DICOMUID *row = complete ? AppendRow(code, name, nType) : nullptr;
    if (row != nullptr) return row;
    mdicom::FreeText(code);
    mdicom::FreeText(name);
    return nullptr;
}

_DICOMUID *MDicomUID::Delete(_DICOMUID *pRecord) {
    lazyIndex.Drop();
    return Rows().Remove(pRecord);
}

int32_t MDicomUID::SetName(_DICOMUID *pRecord, const wchar_t *pszName) {
    return Rows().Rename(pRecord, pszName);
}

_DICOMUID *MDicomUID::Find(const wchar_t *pszCode) {
    if (pszCode == nullptr) return nullptr;
    const std::wstring_view code = pszCode;
    if (const UidIndex *index = lazyIndex.Get(Rows())) return index->Find(code);
    return Rows().FindFrom(Rows().First(),
                           [code](const _DICOMUID &row) { return code == row.pszCode; });
}

_DICOMUID *MDicomUID::FindIndex(uint32_t nIndex) {
    const UidIndex *index = lazyIndex.Get(Rows());
    return index != nullptr ? index->At(nIndex) : Rows().At(nIndex);
}

int32_t MDicomUID::Exists(_DICOMUID *pRecord) {
    return Rows().Contains(pRecord);
}

_DICOMUID *MDicomUID::GetFirst() {
    return Rows().First();
}

_DICOMUID *MDicomUID::GetLast() {
    return Rows().Last();
}

_DICOMUID *MDicomUID::GetNext(_DICOMUID *pRecord) {
    return Rows().Next(pRecord);
}

_DICOMUID *MDicomUID::GetPrev(_DICOMUID *pRecord) {
    return Rows().Previous(pRecord);
}

uint32_t MDicomUID::GetCount() {
    const UidIndex *index = lazyIndex.Peek();
    return index != nullptr ? index->Count() : Rows().Count();
}
