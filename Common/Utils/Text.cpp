// Text: trimming, and conversion between wide text and UTF-8.

#include "Common/Utils/Text.h"

#include <cstdint>

namespace mdicom {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

struct Decoded {
    char32_t character;
    unsigned length; ///< bytes taken; 0 if they are no UTF-8
};

bool IsContinuation(char byte) {
    return (static_cast<uint8_t>(byte) & 0xC0) == 0x80;
}

unsigned SequenceLength(uint8_t lead) {
    if (lead < 0x80) return 1;
    if (lead < 0xC2) return 0;
    if (lead < 0xE0) return 2;
    if (lead < 0xF0) return 3;
    return lead < 0xF5 ? 4 : 0;
}

Decoded DecodeUtf8(std::string_view bytes) {
    const auto lead = static_cast<uint8_t>(bytes[0]);
    const unsigned length = SequenceLength(lead);
    if (length == 1) return {lead, 1};
    if (length == 0 || length > bytes.size()) return {0, 0};
    char32_t character = lead & (0x7F >> length);
    for (unsigned i = 1; i < length; ++i) {
        if (!IsContinuation(bytes[i])) return {0, 0};
        character = character << 6 | (static_cast<uint8_t>(bytes[i]) & 0x3F);
    }
    static constexpr char32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = character >= 0xD800 && character < 0xE000;
    if (character < kLeast[length] || character > 0x10FFFF || surrogate) return {0, 0};
    return {character, length};
}

void AppendUtf8(std::string &out, char32_t character) {
    if (character < 0x80) {
        out += static_cast<char>(character);
    } else if (character < 0x800) {
        out += static_cast<char>(0xC0 | character >> 6);
        out += static_cast<char>(0x80 | (character & 0x3F));
    } else if (character < 0x10000) {
        out += static_cast<char>(0xE0 | character >> 12);
        out += static_cast<char>(0x80 | (character >> 6 & 0x3F));
        out += static_cast<char>(0x80 | (character & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | character >> 18);
        out += static_cast<char>(0x80 | (character >> 12 & 0x3F));
        out += static_cast<char>(0x80 | (character >> 6 & 0x3F));
        out += static_cast<char>(0x80 | (character & 0x3F));
    }
}

} // namespace

std::string_view TrimBlanks(std::string_view text) {
    const size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

bool IsValidUtf8(std::string_view bytes) {
    while (!bytes.empty()) {
        const Decoded next = DecodeUtf8(bytes);
        if (next.length == 0) return false;
        bytes.remove_prefix(next.length);
    }
    return true;
}

std::wstring WidenDefault(std::string_view bytes) {
    std::wstring result;
    result.reserve(bytes.size());
    std::string_view rest = bytes;
    while (!rest.empty()) {
        const Decoded next = DecodeUtf8(rest);
        if (next.length == 0) break;
        result += static_cast<wchar_t>(next.character);
        rest.remove_prefix(next.length);
    }
    if (rest.empty()) return result;
    result.clear();
    for (const char byte : bytes) result += static_cast<wchar_t>(static_cast<uint8_t>(byte));
    return result;
}

std::string NarrowUtf8(std::wstring_view text) {
    std::string result;
    result.reserve(text.size());
    for (const wchar_t unit : text) {
        const auto character = static_cast<char32_t>(unit);
        const bool invalid = character > 0x10FFFF || (character >= 0xD800 && character < 0xE000);
        AppendUtf8(result, invalid ? kReplacement : character);
    }
    return result;
}

} // namespace mdicom
