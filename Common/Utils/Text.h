// Text: trimming, and conversion between wide text and UTF-8 without the process locale.

#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace mdicom {

/** Without leading and trailing blanks (0x20 only). */
std::string_view TrimBlanks(std::string_view text);

/** True for well-formed UTF-8 (no surrogates, no overlong forms). */
bool IsValidUtf8(std::string_view bytes);

/** Wide text of bytes that are taken as UTF-8 if they are valid UTF-8, else as ISO 8859-1. */
std::wstring WidenDefault(std::string_view bytes);

/** UTF-8 of wide text; surrogates and numbers that are no characters become U+FFFD. */
std::string NarrowUtf8(std::wstring_view text);

} // namespace mdicom
