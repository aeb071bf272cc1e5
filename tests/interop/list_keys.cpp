// Prints the records of directories as a script can compare them: depth, place in the file and
// type, in the order of a depth-first walk. Arguments: files. Each begins with a line of "file",
// status and name.

#include <cinttypes>
#include <cstdio>

#include "MDicom.h"

namespace {

uint32_t DepthOf(MDicomDS &ds, _DICOMELEMENT *key) {
    uint32_t depth = 0;
    while ((key = ds.GetParentKey(key)) != nullptr) ++depth;
    return depth;
}

void List(MDicomDS &ds) {
    for (_DICOMELEMENT *key = ds.GetFirstKey(nullptr, 0); key != nullptr;
         key = ds.GetNextKey(key, 0)) {
        const wchar_t *type = ds.GetValueKey(key);
        std::printf("%" PRIu32 " %" PRIu32 " %ls\n", DepthOf(ds, key), key->nRecordOffset,
                    type != nullptr ? type : L"");
    }
}

} // namespace

int main(int count, char **arguments) {
    for (int i = 1; i < count; ++i) {
        const A2U_Class name(arguments[i]);
        MDicomDS ds(nullptr);
        std::printf("file %u %s\n", static_cast<unsigned>(ds.LoadDS(name.pszText, 0)),
                    arguments[i]);
        List(ds);
    }
    return 0;
}
