// Collecting and writing of wide texts.

#include "TextPool.h"

#include <iomanip>

#include "Common/Utils/Text.h"

namespace generator {

namespace {

void WriteCharacter(std::ostream &out, wchar_t character) {
    if (character == L'"' || character == L'\\') {
        out << '\\' << static_cast<char>(character);
    } else if (character >= 0x20 && character < 0x7F) {
        out << static_cast<char>(character);
    } else {
        out << "\\U" << std::hex << std::setw(8) << std::setfill('0')
            << static_cast<uint32_t>(character) << std::dec;
    }
}

} // namespace

uint32_t TextPool::Add(std::string_view text) {
    std::wstring wide = mdicom::WidenDefault(text);
    const auto [entry, added] = m_Offsets.try_emplace(wide, m_Length);
    if (added) {
        m_Length += static_cast<uint32_t>(wide.size() + 1);
        m_Texts.push_back(std::move(wide));
    }
    return entry->second;
}

void TextPool::Write(std::ostream &out) const {
    for (const std::wstring &text : m_Texts) {
        out << "L\"";
        for (const wchar_t character : text) WriteCharacter(out, character);
        out << "\\0\"\n";
    }
}

} // namespace generator
