// U2A_Class and A2U_Class.

#include <algorithm>
#include <new>

#include "Common/Utils/Text.h"
#include "MDicomText.h"

namespace {

/** A NUL-terminated copy; null when memory is short. */
template <typename String>
auto CopyOut(const String &text) {
    using Unit = typename String::value_type;
    auto *copy = new (std::nothrow) Unit[text.size() + 1];
    if (copy != nullptr) std::copy_n(text.c_str(), text.size() + 1, copy);
    return copy;
}

} // namespace

U2A_Class::U2A_Class(const wchar_t *pszSource) : pszText(nullptr) {
    if (pszSource == nullptr) return;
    try {
        pszText = CopyOut(mdicom::NarrowUtf8(pszSource));
    } catch (const std::bad_alloc &) {
    }
}

U2A_Class::~U2A_Class() {
    delete[] pszText;
}

A2U_Class::A2U_Class(const char *pszSource) : pszText(nullptr) {
    if (pszSource == nullptr) return;
    try {
        pszText = CopyOut(mdicom::WidenDefault(pszSource));
    } catch (const std::bad_alloc &) {
    }
}

A2U_Class::~A2U_Class() {
    delete[] pszText;
}
