// Texts of dictionary rows.

#include "dictionaries/RowList.h"

#include <cwchar>

#include "Mvkrnx.h"
#include "dictionaries/DefaultTables.h"

namespace mdicom {

wchar_t *CopyText(std::wstring_view text) {
    void *block = KernelHeapAlloc(text.size() + 1, sizeof(wchar_t), 0, nullptr);
    auto *copy = static_cast<wchar_t *>(block);
    if (copy == nullptr) return nullptr;
    std::wmemcpy(copy, text.data(), text.size());
    copy[text.size()] = L'\0';
    return copy;
}

wchar_t *CopyText(const wchar_t *text) {
    return text != nullptr ? CopyText(std::wstring_view(text)) : nullptr;
}

void FreeText(wchar_t *text) {
    if (!IsSharedText(text)) KernelHeapFree(text, 0, nullptr);
}

bool ReplaceText(wchar_t *&place, const wchar_t *text) {
    wchar_t *copy = CopyText(text);
    if (copy == nullptr) return false;
    FreeText(place);
    place = copy;
    return true;
}

} // namespace mdicom
