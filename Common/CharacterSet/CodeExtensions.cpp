// Code extension by ISO 2022: escape sequences, and the walk over text.

#include "Common/CharacterSet/CodeExtensions.h"

#include <algorithm>
#include <iterator>

namespace mdicom {

namespace {

struct EscapeRow {
    std::string_view sequence; ///< without ESC
    CodePage page;             ///< Default: single bytes in G0
};

// A page that several sequences call is written with the first.
constexpr EscapeRow kEscapes[] = {
    {"(B", CodePage::Default},  {"(J", CodePage::Default},   {"$B", CodePage::JisX0208},
    {"$@", CodePage::JisX0208}, {"$(D", CodePage::JisX0212}, {")I", CodePage::JisX0201},
    {"$)C", CodePage::KsX1001}, {"$)A", CodePage::Gb2312},   {"-A", CodePage::Latin1},
    {"-B", CodePage::Latin2},   {"-C", CodePage::Latin3},    {"-D", CodePage::Latin4},
    {"-L", CodePage::Cyrillic}, {"-G", CodePage::Arabic},    {"-F", CodePage::Greek},
    {"-H", CodePage::Hebrew},   {"-M", CodePage::Latin5},    {"-b", CodePage::Latin9},
    {"-T", CodePage::Thai},
};

constexpr size_t kUnknownEscapeLength = 2; // without ESC

} // namespace

CodeExtensions::CodeExtensions(std::span<const uint32_t> sets) {
    for (const uint32_t id : sets) {
        if (CharacterSetOf(id).page != CodePage::Default) onlyDefault = false;
    }
    if (sets.empty()) return;
    const CharacterSetRow &first = CharacterSetOf(sets[0]);
    if (!IsSevenBit(first.page)) initial = first.page;
    // A lone ISO 2022 name is against the standard, yet its text has the escape sequences.
    switches = sets.size() > 1
                   ? first.extension != Extension::Unfit
                   : first.extension == Extension::Switchable && first.page != CodePage::Default;
}

std::string_view EscapeOf(CodePage page) {
    const auto row = std::ranges::find(kEscapes, page, &EscapeRow::page);
    return row != std::end(kEscapes) ? row->sequence : std::string_view();
}

std::string_view SingleByteEscape(CodePage initial) {
    return initial == CodePage::JisX0201 ? "(J" : "(B";
}

bool CodeScanner::Next() {
    m_Position += m_Length;
    m_Length = 0;
    while (m_Switches && m_Position < m_Bytes.size() && m_Bytes[m_Position] == kEscape) {
        TakeEscape();
    }
    if (m_Position >= m_Bytes.size()) return false;
    const std::string_view rest = m_Bytes.substr(m_Position);
    m_Page = m_G0;
    m_Length = m_G0 != CodePage::Default ? CharacterLength(m_G0, rest) : 1;
    // Half a pair is a character that someone forgot to leave the set for.
    if (m_Length == 1) {
        m_Page = m_G1;
        m_Length = CharacterLength(m_G1, rest);
    }
    if (m_Length == 1 && m_Switches && EndsCodeElement(static_cast<uint8_t>(rest[0]))) Restart();
    return true;
}

void CodeScanner::TakeEscape() {
    const std::string_view rest = m_Bytes.substr(m_Position + 1);
    for (const EscapeRow &row : kEscapes) {
        if (!rest.starts_with(row.sequence)) continue;
        const bool inG0 = row.page == CodePage::Default || IsSevenBit(row.page);
        (inG0 ? m_G0 : m_G1) = row.page;
        m_Position += 1 + row.sequence.size();
        return;
    }
    m_G0 = CodePage::Default;
    m_G1 = CodePage::Default;
    // A value separator stays one.
    const size_t end = std::min({kUnknownEscapeLength, rest.size(), rest.find('\\')});
    m_Position += 1 + end;
}

// Without a set that the first name puts into G1, bytes above 127 would have no meaning: the set
// stays for the text that counts on it.
void CodeScanner::Restart() {
    m_G0 = CodePage::Default;
    if (m_Initial != CodePage::Default) {
        m_G1 = m_Initial;
    }
}

} // namespace mdicom
