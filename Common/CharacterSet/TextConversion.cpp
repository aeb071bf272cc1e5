// Stored bytes to wide text and back, under a list of character sets.

#include <algorithm>
#include <new>

#include "Common/CharacterSet/CharacterSets.h"
#include "Common/CharacterSet/CodeExtensions.h"
#include "Common/Utils/Text.h"

namespace mdicom {

namespace {

using SetIds = std::span<const uint32_t>;

/** Decodes text with escape sequences in runs of characters that are of one page. */
bool AppendSwitched(std::string_view bytes, const CodeExtensions &extensions, std::wstring &text) {
    CodeScanner scanner(bytes, extensions);
    CodePage page = extensions.initial;
    size_t start = 0;
    size_t end = 0;
    while (scanner.Next()) {
        if (scanner.Position() != end || scanner.Page() != page) {
            if (!AppendDecoded(page, bytes.substr(start, end - start), text)) return false;
            start = scanner.Position();
            page = scanner.Page();
        }
        end = scanner.Position() + scanner.Character().size();
    }
    return AppendDecoded(page, bytes.substr(start, end - start), text);
}

bool IsPlainAscii(std::wstring_view text) {
    return std::ranges::all_of(text, [](wchar_t character) {
        return static_cast<char32_t>(character) < 0x80 && character != kEscape;
    });
}

/**
 * Writes text with escape sequences. Each run of characters stands right behind the sequence
 * that calls its set, even where that set is still in G1: many readers cut text at the escape
 * sequences and decode each piece by the last sequence alone.
 */
class CodeWriter {
  public:
    CodeWriter(SetIds sets, const CodeExtensions &extensions)
        : m_Sets(sets),
          m_Extensions(extensions),
          m_Current(extensions.initial),
          m_G1(extensions.initial) {}

    bool Write(wchar_t character) {
        const auto code = static_cast<char32_t>(character);
        if (code >= 0x80) return WriteExtended(character);
        if (m_Extensions.switches && character == kEscape) return false;
        if (EndsCodeElement(code)) {
            Restart();
        } else {
            LeavePairs();
        }
        m_Bytes += static_cast<char>(character);
        return true;
    }

    std::string Finish() {
        Restart();
        return std::move(m_Bytes);
    }

  private:
    bool WriteExtended(wchar_t character) {
        if (m_Current != CodePage::Default && AppendEncoded(m_Current, character, m_Bytes)) {
            return true;
        }
        if (!m_Extensions.switches) return false;
        std::string encoded;
        for (const uint32_t id : m_Sets) {
            const CharacterSetRow &set = CharacterSetOf(id);
            if (set.page == CodePage::Default || set.extension == Extension::Unfit) continue;
            if (!AppendEncoded(set.page, character, encoded)) continue;
            Call(set.page);
            m_Bytes += encoded;
            return true;
        }
        return false;
    }

    void Call(CodePage page) {
        if (!IsSevenBit(page)) {
            LeavePairs();
            m_G1 = page;
        }
        WriteEscape(EscapeOf(page));
        m_Current = page;
    }

    void LeavePairs() {
        if (!IsSevenBit(m_Current)) return;
        WriteEscape(SingleByteEscape(m_Extensions.initial));
        m_Current = CodePage::Default;
    }

    /** Returns to the initial sets. Where G1 is empty at first, what stands in it counts as gone
     *  by itself. */
    void Restart() {
        LeavePairs();
        if (m_Extensions.initial != CodePage::Default && m_G1 != m_Extensions.initial) {
            WriteEscape(EscapeOf(m_Extensions.initial));
        }
        m_G1 = m_Extensions.initial;
        m_Current = m_Extensions.initial;
    }

    void WriteEscape(std::string_view sequence) {
        m_Bytes += kEscape;
        m_Bytes += sequence;
    }

    SetIds m_Sets;
    const CodeExtensions &m_Extensions;
    CodePage m_Current; ///< what the last escape sequence called; Default: ASCII alone
    CodePage m_G1;
    std::string m_Bytes;
};

std::optional<std::string> EncodeByPage(std::wstring_view text, CodePage page) {
    if (page == CodePage::Utf8) return NarrowUtf8(text);
    std::string bytes;
    for (const wchar_t character : text) {
        if (!AppendEncoded(page, character, bytes)) return std::nullopt;
    }
    return bytes;
}

std::optional<std::string> Encode(std::wstring_view text, SetIds sets) {
    const CodeExtensions extensions(sets);
    if (IsPlainAscii(text)) return std::string(text.begin(), text.end());
    if (extensions.onlyDefault) return NarrowUtf8(text);
    if (CharacterSetOf(sets[0]).extension == Extension::Unfit) {
        return EncodeByPage(text, extensions.initial);
    }
    CodeWriter writer(sets, extensions);
    for (const wchar_t character : text) {
        if (!writer.Write(character)) return std::nullopt;
    }
    return writer.Finish();
}

} // namespace

std::optional<std::wstring> DecodeText(std::string_view bytes, SetIds sets) try {
    const CodeExtensions extensions(sets);
    const bool switched = extensions.switches && bytes.find(kEscape) != std::string_view::npos;
    std::wstring text;
    const bool decoded = switched ? AppendSwitched(bytes, extensions, text)
                                  : AppendDecoded(extensions.initial, bytes, text);
    if (!decoded) return std::nullopt;
    return text;
} catch (const std::bad_alloc &) {
    return std::nullopt;
}

std::optional<std::string> EncodeText(std::wstring_view text, SetIds sets) try {
    return Encode(text, sets);
} catch (const std::bad_alloc &) {
    return std::nullopt;
}

size_t FindValueEnd(std::string_view bytes, SetIds sets) {
    const size_t first = bytes.find('\\');
    if (first == std::string_view::npos) return first;
    const CodeExtensions extensions(sets);
    const std::string_view before = bytes.substr(0, first);
    const bool hidden = HidesBackslash(extensions.initial) && !IsAscii(before);
    const bool escaped = extensions.switches && before.find(kEscape) != std::string_view::npos;
    if (!hidden && !escaped) return first;
    CodeScanner scanner(bytes, extensions);
    while (scanner.Next()) {
        if (scanner.Character() == "\\") return scanner.Position();
    }
    return std::string_view::npos;
}

} // namespace mdicom
