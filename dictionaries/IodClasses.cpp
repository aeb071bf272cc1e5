// Finding the IOD class of a UID: in a constant table until somebody edits the classes of the tree.

#include "dictionaries/IodClasses.h"

#include <algorithm>
#include <atomic>

#include "MDicomIOD.h"
#include "dictionaries/DefaultTables.h"

namespace mdicom {

namespace {

constinit std::atomic<bool> classesEdited{false};

/** True if a UID is one of those in a description, which has backslashes between them. */
bool NamesUid(std::wstring_view description, std::string_view uid) {
    const auto isSame = [uid](std::wstring_view part) {
        return std::equal(part.begin(), part.end(), uid.begin(), uid.end(), [](wchar_t a, char b) {
            return a == static_cast<wchar_t>(static_cast<unsigned char>(b));
        });
    };
    for (size_t end; (end = description.find(L'\\')) != std::wstring_view::npos;) {
        if (isSame(description.substr(0, end))) return true;
        description.remove_prefix(end + 1);
    }
    return isSame(description);
}

bool FindInTree(std::string_view uid, uint32_t &iodClass) {
    for (const _DICOMLINK *link = MDicomIOD::m_InfoIOD.pFirst; link != nullptr;
         link = link->pNext) {
        const auto *row = reinterpret_cast<const _DICOMIOD *>(link);
        if (row->nType != IOD_TYPE_CLASS || !NamesUid(row->pszDescription, uid)) continue;
        iodClass = row->nCode;
        return true;
    }
    return false;
}

bool FindInTable(std::string_view uid, uint32_t &iodClass) {
    const std::span<const IodClassUid> classes = IodClassUids();
    const auto found = std::lower_bound(
        classes.begin(), classes.end(), uid,
        [](const IodClassUid &entry, std::string_view wanted) { return entry.uid < wanted; });
    if (found == classes.end() || found->uid != uid) return false;
    iodClass = found->classCode;
    return true;
}

} // namespace

bool FindIodClass(std::string_view uid, uint32_t *pClass) {
    uint32_t ignored = 0;
    uint32_t &iodClass = pClass != nullptr ? *pClass : ignored;
    if (uid.empty()) return false;
    const bool edited = classesEdited.load(std::memory_order_acquire);
    return edited ? FindInTree(uid, iodClass) : FindInTable(uid, iodClass);
}

void SetIodClassesEdited(bool edited) {
    classesEdited.store(edited, std::memory_order_release);
}

} // namespace mdicom
