// Texts of dictionary rows.

#include "dictionaries/RowList.h"

#include <cwchar>

#include "Mvkrnx.h"
#include "dictionaries/DefaultTables.h"

namespace mdicom {

wchar_t *CopyText(const wchar_t *text) {
    if (text == nullptr) return nullptr;
    const size_t size = std::wcslen(text) + 1;
    auto *copy = static_cast<wchar_t *>(KernelHeapAlloc(size, sizeof(wchar_t), 0, nullptr));
    if (copy != nullptr) std::wmemcpy(copy, text, size);
    return copy;
}

void FreeText(wchar_t *text) {
    if (!IsSharedText(text)) KernelHeapFree(text, 0, nullptr);
}

} // namespace mdicom
