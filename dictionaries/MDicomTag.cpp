// MDicomTag: the data dictionary, found by an index that knows the masks of rows.

#include "MDicomTag.h"

#include <algorithm>
#include <type_traits>

#include "dictionaries/DefaultTables.h"
#include "dictionaries/RowIndex.h"

constinit MDicomTreeEx MDicomTag::m_InfoTag;

namespace {

using TagRows = mdicom::RowList<_DICOMTAG>;

bool Matches(const _DICOMTAG &row, uint32_t code) {
    return (code & row.nMask) == row.nCode;
}

/**
 * Rows by code and mask. A tag is looked up once per distinct mask, of which there are few, and
 * the match that stands first in the list wins.
 */
class TagIndex {
  public:
    explicit TagIndex(const TagRows &list) : m_Rows(list) {
        for (uint32_t position = 0; position < m_Rows.Count(); ++position) {
            const _DICOMTAG &row = *m_Rows.At(position);
            NoteMask(row.nMask, position);
            m_Rows.Add(position, Hash(row.nCode, row.nMask), HasKey{row.nCode, row.nMask});
        }
    }

    uint32_t Count() const { return m_Rows.Count(); }
    _DICOMTAG *At(uint32_t position) const { return m_Rows.At(position); }

    _DICOMTAG *Find(uint32_t code) const {
        uint32_t best = kNone;
        for (const Mask &mask : m_Masks) {
            if (mask.firstPosition > best) break;
            const uint32_t key = code & mask.bits;
            best = std::min(best, m_Rows.Find(Hash(key, mask.bits), HasKey{key, mask.bits}));
        }
        return At(best);
    }

  private:
    static constexpr uint32_t kNone = mdicom::RowIndex<_DICOMTAG>::kNone;

    struct Mask {
        uint32_t bits;
        uint32_t firstPosition; ///< of a row with this mask
    };

    struct HasKey {
        uint32_t code;
        uint32_t mask;
        bool operator()(const _DICOMTAG &row) const {
            return row.nCode == code && row.nMask == mask;
        }
    };

    static uint32_t Hash(uint32_t code, uint32_t mask) {
        const uint64_t key = static_cast<uint64_t>(mask) << 32 | code;
        return static_cast<uint32_t>(key * 0x9E3779B97F4A7C15u >> 32);
    }

    /** Keeps the masks in the order of their first rows, which ends the search of Find early. */
    void NoteMask(uint32_t bits, uint32_t position) {
        const auto known = [bits](const Mask &mask) { return mask.bits == bits; };
        if (std::none_of(m_Masks.begin(), m_Masks.end(), known))
            m_Masks.push_back({bits, position});
    }

    mdicom::RowIndex<_DICOMTAG> m_Rows;
    mdicom::IndexVector<Mask> m_Masks;
};

constinit mdicom::LazyIndex<TagIndex> lazyIndex;
static_assert(std::is_trivially_destructible_v<mdicom::LazyIndex<TagIndex>>);

TagRows Rows() {
    return TagRows(MDicomTag::m_InfoTag);
}

_DICOMTAG *AppendRow(const mdicom::DefaultTag &values, wchar_t *name) {
    _DICOMTAG *row = Rows().Append();
    if (row == nullptr) return nullptr;
    row->nCode = values.code;
    row->nMask = values.mask;
    row->pszName = name;
    row->nVR = values.vr;
    row->nMinVM = values.minVm;
    row->nMaxVM = values.maxVm;
    row->nDivideVM = values.divideVm;
    return row;
}

} // namespace

void MDicomTag::Default() {
    Reset();
    for (const mdicom::DefaultTag &values : mdicom::DefaultTags()) {
        AppendRow(values, const_cast<wchar_t *>(mdicom::SharedText(values.name)));
    }
}

void MDicomTag::Reset() {
    lazyIndex.Drop();
    Rows().Clear();
}

_DICOMTAG *MDicomTag::Insert(uint32_t nCode, uint32_t nMask, const wchar_t *pszName, uint16_t nVR,
                             uint32_t nMinVM, uint32_t nMaxVM, uint32_t nDivideVM) {
    lazyIndex.Drop();
    wchar_t *name = mdicom::CopyText(pszName);
    if (name == nullptr) return nullptr;
    _DICOMTAG *row = AppendRow({nCode, nMask, 0, nMinVM, nMaxVM, nDivideVM, nVR}, name);
    if (row == nullptr) mdicom::FreeText(name);
    return row;
}

_DICOMTAG *MDicomTag::Delete(_DICOMTAG *pRecord) {
    lazyIndex.Drop();
    return Rows().Remove(pRecord);
}

int32_t MDicomTag::SetName(_DICOMTAG *pRecord, const wchar_t *pszName) {
    return Rows().Rename(pRecord, pszName);
}

_DICOMTAG *MDicomTag::Find(uint32_t nCode) {
    if (const TagIndex *index = lazyIndex.Get(Rows())) return index->Find(nCode);
    return Rows().FindFrom(Rows().First(),
                           [nCode](const _DICOMTAG &row) { return Matches(row, nCode); });
}

_DICOMTAG *MDicomTag::FindIndex(uint32_t nIndex) {
    const TagIndex *index = lazyIndex.Get(Rows());
    return index != nullptr ? index->At(nIndex) : Rows().At(nIndex);
}

int32_t MDicomTag::Exists(_DICOMTAG *pRecord) {
    return Rows().Contains(pRecord);
}

_DICOMTAG *MDicomTag::GetFirst() {
    return Rows().First();
}

_DICOMTAG *MDicomTag::GetLast() {
    return Rows().Last();
}

_DICOMTAG *MDicomTag::GetNext(_DICOMTAG *pRecord) {
    return Rows().Next(pRecord);
}

_DICOMTAG *MDicomTag::GetPrev(_DICOMTAG *pRecord) {
    return Rows().Previous(pRecord);
}

uint32_t MDicomTag::GetCount() {
    const TagIndex *index = lazyIndex.Peek();
    return index != nullptr ? index->Count() : Rows().Count();
}
