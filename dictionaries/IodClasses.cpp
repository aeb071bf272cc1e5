// Finding the IOD class of a UID.

#include "dictionaries/IodClasses.h"

#include <algorithm>

#include "dictionaries/DefaultTables.h"

namespace mdicom {

bool FindIodClass(std::string_view uid, uint32_t *pClass) {
    const std::span<const IodClassUid> classes = IodClassUids();
    // Two classes share a UID; the first one is the answer.
    const auto found = std::find_if(classes.begin(), classes.end(),
                                    [uid](const IodClassUid &entry) { return uid == entry.uid; });
    if (found == classes.end()) return false;
    if (pClass != nullptr) *pClass = found->classCode;
    return true;
}

} // namespace mdicom
