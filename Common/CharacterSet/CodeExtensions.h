// Code extension by ISO 2022 (PS 3.5, 6.1.2.5): the sets of the standard, the escape sequences
// that call them, and the walk over text that switches between sets.

#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "Common/Utils/CodePages.h"

namespace mdicom {

constexpr char kEscape = '\x1B';

/** How a set takes part in code extension. */
enum class Extension : uint8_t {
    Plain,      ///< declared by a name without code extension
    Switchable, ///< declared by its ISO 2022 name
    Unfit,      ///< cannot be switched to or from
};

struct CharacterSetRow {
    std::string_view name;
    CodePage page;
    Extension extension;
};

/** Row of a set; that of the default repertoire for an unknown identifier. */
const CharacterSetRow &CharacterSetOf(uint32_t id);

/** What a list of sets means for the text under it. */
struct CodeExtensions {
    explicit CodeExtensions(std::span<const uint32_t> sets);

    CodePage initial = CodePage::Default; ///< by which text starts; never a 7-bit one
    bool switches = false;                ///< escape sequences are interpreted
    bool onlyDefault = true;              ///< no set but the default repertoire
};

/** Escape sequence (without ESC) that calls a page; empty if there is none. */
std::string_view EscapeOf(CodePage page);

/** Escape sequence (without ESC) that ends a two-byte set in G0. */
std::string_view SingleByteEscape(CodePage initial);

/** True for the ASCII characters before which text returns to its initial sets. */
constexpr bool EndsCodeElement(char32_t character) {
    switch (character) {
        case '\t':
        case '\n':
        case '\f':
        case '\r':
        case '\\':
        case '^':
        case '=':
            return true;
        default:
            return false;
    }
}

/** Takes text apart into characters, interpreting escape sequences. */
class CodeScanner {
  public:
    CodeScanner(std::string_view bytes, const CodeExtensions &extensions)
        : m_Bytes(bytes),
          m_Switches(extensions.switches),
          m_Initial(extensions.initial),
          m_G1(extensions.initial) {}

    /** Goes to the next character, behind escape sequences; false at the end. */
    bool Next();

    size_t Position() const { return m_Position; }
    std::string_view Character() const { return m_Bytes.substr(m_Position, m_Length); }
    /** The page that the character is of. ASCII counts as of the page in G1. */
    CodePage Page() const { return m_Page; }

  private:
    void TakeEscape();
    void Restart();

    std::string_view m_Bytes;
    bool m_Switches;
    CodePage m_Initial;
    CodePage m_G0 = CodePage::Default; ///< Default: ASCII or its Japanese variant
    CodePage m_G1;
    CodePage m_Page = CodePage::Default;
    size_t m_Position = 0;
    size_t m_Length = 0;
};

} // namespace mdicom
