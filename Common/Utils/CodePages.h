// Code pages: the encodings that text is stored in, converted by the C library's iconv.

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace mdicom {

/**
 * An encoding of text. In all but the last two a byte below 0x80 that begins a character is
 * ASCII; those two are the 7-bit forms of two-byte sets, as escape sequences call them into G0.
 */
enum class CodePage : uint8_t {
    Default, ///< UTF-8 if the bytes are valid UTF-8, else ISO 8859-1
    Utf8,
    Latin1,
    Latin2,
    Latin3,
    Latin4,
    Cyrillic,
    Arabic,
    Greek,
    Hebrew,
    Latin5,
    Latin9,
    Thai,
    JisX0201, ///< half-width katakana; two-byte characters of Shift JIS are read, too
    KsX1001,
    Gb2312,
    Gbk,
    Gb18030,
    JisX0208,
    JisX0212,
};

/** True for the two-byte sets in their 7-bit form. */
constexpr bool IsSevenBit(CodePage page) {
    return page == CodePage::JisX0208 || page == CodePage::JisX0212;
}

/** True if 0x5C occurs as a later byte of characters. */
constexpr bool HidesBackslash(CodePage page) {
    return page == CodePage::JisX0201 || page >= CodePage::Gbk;
}

/** True if no byte is 0x80 or above. */
bool IsAscii(std::string_view bytes);

/** Bytes of the character at the start of bytes (not empty), by form alone: it may have no
 *  meaning. 1 for a byte that cannot begin a character here. */
size_t CharacterLength(CodePage page, std::string_view bytes);

/** Appends the text of bytes; U+FFFD stands for what is no character. False, with nothing or
 *  some of the text appended, when the system lacks the conversion. */
bool AppendDecoded(CodePage page, std::string_view bytes, std::wstring &text);

/** Appends the bytes of a character; false if the page does not have it. */
bool AppendEncoded(CodePage page, wchar_t character, std::string &bytes);

} // namespace mdicom
