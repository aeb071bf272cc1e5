// MDicomIOD: the tree of object definitions, unfolded from constant tables on its first use.

#include "MDicomIOD.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <type_traits>

#include "Mvkrnx.h"
#include "dictionaries/DefaultTables.h"
#include "dictionaries/IodClasses.h"
#include "dictionaries/RowIndex.h"

constinit MDicomTreeEx MDicomIOD::m_InfoIOD;
constinit int32_t MDicomIOD::m_bInitialized = 0;

namespace {

_DICOMIOD *AsRow(_DICOMLINK *link) {
    return reinterpret_cast<_DICOMIOD *>(link);
}

_DICOMLINK *AsLink(_DICOMIOD *row) {
    return reinterpret_cast<_DICOMLINK *>(row);
}

/** The first row of a key, after all rows have been added in the order of the tree. */
class FirstRows {
  public:
    struct Entry {
        uint64_t key;
        _DICOMIOD *row;
    };

    void Add(uint64_t key, _DICOMIOD *row) { m_Entries.push_back({key, row}); }

    void Seal() {
        std::stable_sort(m_Entries.begin(), m_Entries.end(), Before);
        const auto sameKey = [](const Entry &a, const Entry &b) { return a.key == b.key; };
        m_Entries.erase(std::unique(m_Entries.begin(), m_Entries.end(), sameKey), m_Entries.end());
    }

    _DICOMIOD *Find(uint64_t key) const {
        const auto found =
            std::lower_bound(m_Entries.begin(), m_Entries.end(), Entry{key, nullptr}, Before);
        return found != m_Entries.end() && found->key == key ? found->row : nullptr;
    }

    const mdicom::IndexVector<Entry> &Entries() const { return m_Entries; }

  private:
    static bool Before(const Entry &a, const Entry &b) { return a.key < b.key; }

    mdicom::IndexVector<Entry> m_Entries;
};

/** The row behind another in the walk through the rows below a root; null at the end. */
_DICOMIOD *NextBelow(_DICOMIOD *row, const _DICOMIOD *root) {
    const _DICOMIOD *end = AsRow(root->Link.pNext);
    _DICOMIOD *next = AsRow(MDicomIOD::m_InfoIOD.GetNext(AsLink(row), 0));
    return next != end ? next : nullptr;
}

/** Classes and modules by their numbers. Of two classes with one number only the first counts. */
class IodIndex {
  public:
    explicit IodIndex(const mdicom::RowList<_DICOMIOD> &list) {
        for (_DICOMIOD *row = list.First(); row != nullptr; row = list.Next(row)) {
            if (row->nType == IOD_TYPE_CLASS) m_Classes.Add(row->nCode, row);
        }
        m_Classes.Seal();
        for (const FirstRows::Entry &entry : m_Classes.Entries()) AddModules(entry.row);
        m_Modules.Seal();
    }

    _DICOMIOD *FindClass(uint32_t iodClass) const { return m_Classes.Find(iodClass); }
    _DICOMIOD *FindModule(uint32_t iodClass, uint32_t module) const {
        return m_Modules.Find(ModuleKey(iodClass, module));
    }

  private:
    static uint64_t ModuleKey(uint32_t iodClass, uint32_t module) {
        return uint64_t{iodClass} << 32 | module;
    }

    void AddModules(_DICOMIOD *root) {
        for (_DICOMIOD *row = NextBelow(root, root); row != nullptr; row = NextBelow(row, root)) {
            if (row->nType != IOD_TYPE_MODULE) continue;
            m_Modules.Add(ModuleKey(root->nCode, row->nCode), row);
        }
    }

    FirstRows m_Classes;
    FirstRows m_Modules;
};

constinit mdicom::LazyIndex<IodIndex> lazyIndex;
/** Held while the tree is built. Recursive, because the builder may come back to the tree through
 *  the hook of the allocator. */
constinit std::recursive_mutex buildMutex;
/** Set while the flag of the class tells of a tree that is not complete. */
constinit std::atomic<bool> building{false};
/** The memory of all default rows. */
constinit _DICOMIOD *defaultRows = nullptr;

static_assert(std::is_trivially_destructible_v<std::recursive_mutex>);
static_assert(std::is_trivially_destructible_v<mdicom::LazyIndex<IodIndex>>);

bool IsInitialized() {
    return std::atomic_ref(MDicomIOD::m_bInitialized).load(std::memory_order_acquire) != 0;
}

/** Comes first in every member: builds the tree, or waits for the thread that builds it. */
void Prepare() {
    // The flag is stored after building begins, so that who sees the one sees the other.
    if (IsInitialized() && !building.load(std::memory_order_acquire)) return;
    const std::lock_guard guard(buildMutex);
    if (!IsInitialized()) MDicomIOD::Default();
}

mdicom::RowList<_DICOMIOD> Rows() {
    return mdicom::RowList<_DICOMIOD>(MDicomIOD::m_InfoIOD);
}

const IodIndex *Index() {
    return lazyIndex.Get(Rows());
}

/** Makes rows of constant tables, level by level, in memory that is sized for all of them. */
class Unfolder {
  public:
    struct Level {
        _DICOMLINK *first = nullptr;
        _DICOMLINK *last = nullptr;
    };

    explicit Unfolder(_DICOMIOD *memory) : m_Next(memory) {}

    Level Unfold(uint32_t table, _DICOMLINK *parent) {
        const std::span<const mdicom::DefaultIodRow> rows = mdicom::DefaultIodRows(table);
        _DICOMIOD *const level = m_Next;
        m_Next += rows.size();
        for (size_t i = 0; i < rows.size(); ++i) {
            const mdicom::DefaultIodRow &values = rows[i];
            _DICOMLINK *prev = i > 0 ? &level[i - 1].Link : nullptr;
            _DICOMLINK *next = i + 1 < rows.size() ? &level[i + 1].Link : nullptr;
            const Level below = values.child != 0 ? Unfold(values.child, &level[i].Link) : Level();
            level[i] = {{parent, below.first, below.last, prev, next},
                        values.code,
                        const_cast<wchar_t *>(mdicom::SharedText(values.name)),
                        values.type,
                        values.usage,
                        const_cast<wchar_t *>(mdicom::SharedText(values.description))};
        }
        return {&level[0].Link, &level[rows.size() - 1].Link};
    }

  private:
    _DICOMIOD *m_Next;
};

void DeleteSubtree(_DICOMIOD *row) {
    for (_DICOMLINK *node = AsLink(row);;) {
        while (node->pFirstChild != nullptr) node = node->pFirstChild;
        const bool isLast = node == AsLink(row);
        _DICOMLINK *parent = node->pParent;
        if (AsRow(node)->nType != IOD_TYPE_ELEMENT) lazyIndex.Drop();
        mdicom::FreeText(AsRow(node)->pszName);
        mdicom::FreeText(AsRow(node)->pszDescription);
        MDicomIOD::m_InfoIOD.Delete(node);
        if (isLast) return;
        node = parent;
    }
}

/** Links a row without texts; null when memory is short. */
_DICOMIOD *LinkRow(_DICOMIOD *neighbor, bool asChild, uint8_t type) {
    if (type == IOD_TYPE_CLASS) {
        neighbor = nullptr;
        asChild = false;
    } else if (type == IOD_TYPE_MODULE && neighbor->nType == IOD_TYPE_CLASS) {
        asChild = true;
    }
    return AsRow(MDicomIOD::m_InfoIOD.Insert(AsLink(neighbor), sizeof(_DICOMIOD),
                                             asChild ? TREE_LAST_CHILD : TREE_LAST_SIBLING));
}

} // namespace

void MDicomIOD::Default() {
    const std::lock_guard guard(buildMutex);
    building.store(true, std::memory_order_relaxed);
    Reset();
    const uint32_t count = mdicom::DefaultIodRowCount();
    defaultRows = static_cast<_DICOMIOD *>(KernelHeapAlloc(count, sizeof(_DICOMIOD), 0, nullptr));
    if (defaultRows != nullptr) {
        m_InfoIOD.SetBlock(defaultRows, count * sizeof(_DICOMIOD));
        const Unfolder::Level roots = Unfolder(defaultRows).Unfold(0, nullptr);
        m_InfoIOD.pFirst = roots.first;
        m_InfoIOD.pLast = roots.last;
        mdicom::SetIodClassesEdited(false);
    } else {
        SetInitialized(0);
    }
    building.store(false, std::memory_order_release);
}

void MDicomIOD::Reset() {
    const std::lock_guard guard(buildMutex);
    SetInitialized(1);
    while (m_InfoIOD.pFirst != nullptr) DeleteSubtree(AsRow(m_InfoIOD.pFirst));
    lazyIndex.Drop();
    m_InfoIOD.SetBlock(nullptr, 0);
    KernelHeapFree(defaultRows, 0, nullptr);
    defaultRows = nullptr;
    mdicom::SetIodClassesEdited(true);
}

_DICOMIOD *MDicomIOD::Insert(_DICOMIOD *pNeighbor, int32_t bChild, uint32_t nCode,
                             const wchar_t *pszName, uint8_t nType, uint16_t nUsage,
                             const wchar_t *pszDescription) {
    Prepare();
    if (pNeighbor == nullptr && nType != IOD_TYPE_CLASS) return nullptr;
    wchar_t *name = mdicom::CopyText(pszName);
    wchar_t *description = mdicom::CopyText(pszDescription);
    const bool complete = name != nullptr && description != nullptr;
    _DICOMIOD *row = complete ? LinkRow(pNeighbor, bChild != 0, nType) : nullptr;
    if (row == nullptr) {
        mdicom::FreeText(name);
        mdicom::FreeText(description);
        return nullptr;
    }
    row->nCode = nCode;
    row->pszName = name;
    row->nType = nType;
    row->nUsage = nUsage;
    row->pszDescription = description;
    if (nType != IOD_TYPE_ELEMENT) lazyIndex.Drop();
    if (nType == IOD_TYPE_CLASS) mdicom::SetIodClassesEdited(true);
    return row;
}

_DICOMIOD *MDicomIOD::Delete(_DICOMIOD *pIOD) {
    Prepare();
    if (pIOD == nullptr) return nullptr;
    const _DICOMLINK &link = pIOD->Link;
    _DICOMLINK *left = link.pNext != nullptr ? link.pNext : link.pPrev;
    if (left == nullptr) left = link.pParent;
    if (pIOD->nType == IOD_TYPE_CLASS) mdicom::SetIodClassesEdited(true);
    DeleteSubtree(pIOD);
    return AsRow(left);
}

int32_t MDicomIOD::SetName(_DICOMIOD *pIOD, const wchar_t *pszName) {
    Prepare();
    return pIOD != nullptr && mdicom::ReplaceText(pIOD->pszName, pszName);
}

int32_t MDicomIOD::SetDescription(_DICOMIOD *pIOD, const wchar_t *pszDescription) {
    Prepare();
    if (pIOD == nullptr || !mdicom::ReplaceText(pIOD->pszDescription, pszDescription)) return 0;
    if (pIOD->nType == IOD_TYPE_CLASS) mdicom::SetIodClassesEdited(true);
    return 1;
}

_DICOMIOD *MDicomIOD::Find(_DICOMIOD *pIOD, uint32_t nCode, uint8_t nType, int32_t bSameLevel) {
    _DICOMIOD *row = GetFirst(pIOD, bSameLevel);
    while (row != nullptr && (row->nCode != nCode || row->nType != nType)) {
        row = GetNext(row, bSameLevel);
    }
    return row;
}

_DICOMIOD *MDicomIOD::FindClass(uint32_t nClass) {
    Prepare();
    if (const IodIndex *index = Index()) return index->FindClass(nClass);
    return Find(nullptr, nClass, IOD_TYPE_CLASS, 1);
}

_DICOMIOD *MDicomIOD::FindModule(uint32_t nClass, uint32_t nModule) {
    Prepare();
    if (const IodIndex *index = Index()) return index->FindModule(nClass, nModule);
    _DICOMIOD *const root = FindClass(nClass);
    _DICOMIOD *row = root;
    while (row != nullptr && (row->nCode != nModule || row->nType != IOD_TYPE_MODULE)) {
        row = NextBelow(row, root);
    }
    return row;
}

_DICOMIOD *MDicomIOD::FindIndexModule(uint32_t nClass, uint32_t nIndex) {
    _DICOMIOD *row = GetChild(FindClass(nClass));
    for (; row != nullptr; row = AsRow(row->Link.pNext)) {
        if (row->nType == IOD_TYPE_MODULE && nIndex-- == 0) break;
    }
    return row;
}

uint32_t MDicomIOD::GetCountModule(uint32_t nClass) {
    uint32_t count = 0;
    _DICOMIOD *row = GetChild(FindClass(nClass));
    for (; row != nullptr; row = AsRow(row->Link.pNext)) count += row->nType == IOD_TYPE_MODULE;
    return count;
}

_DICOMIOD *MDicomIOD::GetFirst(_DICOMIOD *pIOD, int32_t bSameLevel) {
    Prepare();
    return AsRow(m_InfoIOD.GetFirst(AsLink(pIOD), bSameLevel));
}

_DICOMIOD *MDicomIOD::GetLast(_DICOMIOD *pIOD, int32_t bSameLevel) {
    Prepare();
    return AsRow(m_InfoIOD.GetLast(AsLink(pIOD), bSameLevel));
}

_DICOMIOD *MDicomIOD::GetNext(_DICOMIOD *pIOD, int32_t bSameLevel) {
    Prepare();
    return AsRow(m_InfoIOD.GetNext(AsLink(pIOD), bSameLevel));
}

_DICOMIOD *MDicomIOD::GetPrev(_DICOMIOD *pIOD, int32_t bSameLevel) {
    Prepare();
    return AsRow(m_InfoIOD.GetPrev(AsLink(pIOD), bSameLevel));
}

_DICOMIOD *MDicomIOD::GetChild(_DICOMIOD *pIOD) {
    Prepare();
    return AsRow(m_InfoIOD.GetChild(AsLink(pIOD)));
}

_DICOMIOD *MDicomIOD::GetParent(_DICOMIOD *pIOD) {
    Prepare();
    return AsRow(m_InfoIOD.GetParent(AsLink(pIOD)));
}

_DICOMIOD *MDicomIOD::GetRoot(_DICOMIOD *pIOD) {
    Prepare();
    return AsRow(m_InfoIOD.GetRoot(AsLink(pIOD)));
}

int32_t MDicomIOD::Exists(_DICOMIOD *pIOD) {
    Prepare();
    return m_InfoIOD.Exists(AsLink(pIOD));
}

void MDicomIOD::SetInitialized(int32_t bInitialized) {
    // A tree that is to be built anew has the classes of the constant tables.
    if (bInitialized == 0) mdicom::SetIodClassesEdited(false);
    std::atomic_ref(m_bInitialized).store(bInitialized, std::memory_order_release);
}
