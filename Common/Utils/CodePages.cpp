// Code pages: the encodings that text is stored in, converted by the C library's iconv.

#include "Common/Utils/CodePages.h"

#include <iconv.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>

#include "Common/Utils/Text.h"

namespace mdicom {

namespace {

constexpr wchar_t kReplacement = 0xFFFD;
constexpr char32_t kFirstHalfwidth = 0xFF61;
constexpr uint8_t kFirstKatakana = 0xA1;
constexpr uint8_t kLastKatakana = 0xDF;
constexpr char kSingleShift3 = '\x8F';

bool IsWithin(char byte, uint8_t first, uint8_t last) {
    const auto value = static_cast<uint8_t>(byte);
    return value >= first && value <= last;
}

size_t OneByte(std::string_view) {
    return 1;
}

size_t ShiftJisLength(std::string_view bytes) {
    const bool lead = IsWithin(bytes[0], 0x81, 0x9F) || IsWithin(bytes[0], 0xE0, 0xFC);
    if (!lead || bytes.size() < 2) return 1;
    return IsWithin(bytes[1], 0x40, 0x7E) || IsWithin(bytes[1], 0x80, 0xFC) ? 2 : 1;
}

size_t KoreanLength(std::string_view bytes) {
    if (!IsWithin(bytes[0], 0x81, 0xFE) || bytes.size() < 2) return 1;
    const bool trail = IsWithin(bytes[1], 0x41, 0x5A) || IsWithin(bytes[1], 0x61, 0x7A) ||
                       IsWithin(bytes[1], 0x81, 0xFE);
    return trail ? 2 : 1;
}

size_t EightBitPairLength(std::string_view bytes) {
    const bool pair =
        bytes.size() >= 2 && IsWithin(bytes[0], 0xA1, 0xFE) && IsWithin(bytes[1], 0xA1, 0xFE);
    return pair ? 2 : 1;
}

size_t SevenBitPairLength(std::string_view bytes) {
    const bool pair =
        bytes.size() >= 2 && IsWithin(bytes[0], 0x21, 0x7E) && IsWithin(bytes[1], 0x21, 0x7E);
    return pair ? 2 : 1;
}

size_t GbkLength(std::string_view bytes) {
    if (!IsWithin(bytes[0], 0x81, 0xFE) || bytes.size() < 2) return 1;
    return IsWithin(bytes[1], 0x40, 0x7E) || IsWithin(bytes[1], 0x80, 0xFE) ? 2 : 1;
}

size_t Gb18030Length(std::string_view bytes) {
    const bool four = bytes.size() >= 4 && IsWithin(bytes[0], 0x81, 0xFE) &&
                      IsWithin(bytes[1], '0', '9') && IsWithin(bytes[2], 0x81, 0xFE) &&
                      IsWithin(bytes[3], '0', '9');
    return four ? 4 : GbkLength(bytes);
}

size_t EucJpLength(std::string_view bytes) {
    if (bytes[0] == kSingleShift3 && bytes.size() >= 3) return 3;
    return EightBitPairLength(bytes);
}

using LengthFunction = size_t (*)(std::string_view);

// What vendors' systems add to a set stands in text that is declared as the plain set: Korean
// syllables outside the upper quarter, and the circled digits and name kanji in free rows of JIS.
// It is read, and never written.

bool IsKoreanExtension(std::string_view character) {
    return static_cast<uint8_t>(character[0]) >= 0x80 && EightBitPairLength(character) != 2;
}

bool IsJisExtension(std::string_view character) {
    const bool standard = IsWithin(character[0], 0x21, 0x28) || IsWithin(character[0], 0x30, 0x74);
    return !standard && SevenBitPairLength(character) == 2;
}

bool NeverExtension(std::string_view) {
    return false;
}

struct PageRow {
    const char *decoding; ///< names for iconv
    const char *encoding;
    LengthFunction length;
    const char *extension = nullptr; ///< decodes characters for which isExtension holds
    bool (*isExtension)(std::string_view character) = NeverExtension;
};

constexpr PageRow kPages[] = {
    {nullptr, nullptr, OneByte}, // Default
    {"UTF-8", "UTF-8", OneByte},
    {"ISO-8859-1", "ISO-8859-1", OneByte},
    {"ISO-8859-2", "ISO-8859-2", OneByte},
    {"ISO-8859-3", "ISO-8859-3", OneByte},
    {"ISO-8859-4", "ISO-8859-4", OneByte},
    {"ISO-8859-5", "ISO-8859-5", OneByte},
    {"ISO-8859-6", "ISO-8859-6", OneByte},
    {"ISO-8859-7", "ISO-8859-7", OneByte},
    {"ISO-8859-8", "ISO-8859-8", OneByte},
    {"ISO-8859-9", "ISO-8859-9", OneByte},
    {"ISO-8859-15", "ISO-8859-15", OneByte},
    {"ISO-8859-11", "ISO-8859-11", OneByte},
    {"CP932", nullptr, ShiftJisLength},
    {"EUC-KR", "EUC-KR", KoreanLength, "CP949", IsKoreanExtension},
    {"EUC-CN", "EUC-CN", EightBitPairLength},
    {"GBK", "GBK", GbkLength},
    {"GB18030", "GB18030", Gb18030Length},
    {"EUC-JP", "EUC-JP", SevenBitPairLength, "CP932", IsJisExtension},
    {"EUC-JP", "EUC-JP", SevenBitPairLength},
};

constexpr size_t kPageCount = std::size(kPages);
static_assert(kPageCount == static_cast<size_t>(CodePage::JisX0212) + 1);

const PageRow &RowOf(CodePage page) {
    return kPages[static_cast<size_t>(page)];
}

/** The conversions that a thread has used: opening one costs far more than a short text. */
class Converters {
  public:
    Converters() { m_Open.fill(kClosed); }
    Converters(const Converters &) = delete;
    Converters &operator=(const Converters &) = delete;
    ~Converters() {
        for (const iconv_t converter : m_Open) {
            if (converter != kClosed) iconv_close(converter);
        }
    }

    std::optional<iconv_t> Decoder(CodePage page) {
        return Ready(static_cast<size_t>(page), "WCHAR_T", RowOf(page).decoding);
    }
    std::optional<iconv_t> ExtensionDecoder(CodePage page) {
        return Ready(2 * kPageCount + static_cast<size_t>(page), "WCHAR_T", RowOf(page).extension);
    }
    std::optional<iconv_t> Encoder(CodePage page) {
        return Ready(kPageCount + static_cast<size_t>(page), RowOf(page).encoding, "WCHAR_T");
    }

  private:
    std::optional<iconv_t> Ready(size_t place, const char *to, const char *from) {
        iconv_t &converter = m_Open[place];
        if (converter == kClosed) converter = iconv_open(to, from);
        if (converter == kClosed) return std::nullopt;
        iconv(converter, nullptr, nullptr, nullptr, nullptr);
        return converter;
    }

    static inline const iconv_t kClosed = reinterpret_cast<iconv_t>(-1);
    std::array<iconv_t, 3 * kPageCount> m_Open;
};

Converters &ThreadConverters() {
    thread_local Converters converters;
    return converters;
}

void AppendWidened(std::string_view bytes, std::wstring &text) {
    const size_t start = text.size();
    text.resize(start + bytes.size());
    for (size_t i = 0; i < bytes.size(); ++i) text[start + i] = static_cast<uint8_t>(bytes[i]);
}

/** Converters of UTF-8 also take what is longer than any character, and halves of pairs. */
bool IsNoCharacter(wchar_t unit) {
    const auto code = static_cast<char32_t>(unit);
    return code > 0x10FFFF || (code >= 0xD800 && code < 0xE000);
}

bool AppendConverted(std::optional<iconv_t> converter, LengthFunction length,
                     std::string_view bytes, std::wstring &text) {
    if (!converter) return false;
    constexpr size_t kRoom = 256;
    wchar_t buffer[kRoom];
    char *from = const_cast<char *>(bytes.data());
    size_t left = bytes.size();
    while (left > 0) {
        char *to = reinterpret_cast<char *>(buffer);
        size_t room = sizeof buffer;
        const size_t result = iconv(*converter, &from, &left, &to, &room);
        const bool stopped = result == static_cast<size_t>(-1) && errno != E2BIG;
        const size_t made = kRoom - room / sizeof(wchar_t);
        std::replace_if(buffer, buffer + made, IsNoCharacter, kReplacement);
        text.append(buffer, made);
        if (!stopped) continue;
        text += kReplacement;
        if (left == 0) break; // some converters step over what they reject
        const size_t skipped = length({from, left});
        from += skipped;
        left -= skipped;
    }
    return true;
}

/** The 8-bit form of 7-bit pairs; a byte that is half of no pair becomes one that is invalid. */
std::string RaisePairs(CodePage page, std::string_view bytes) {
    std::string raised;
    raised.reserve(bytes.size() + bytes.size() / 2);
    while (!bytes.empty()) {
        const size_t length = SevenBitPairLength(bytes);
        if (length == 2) {
            if (page == CodePage::JisX0212) raised += kSingleShift3;
            raised += static_cast<char>(bytes[0] | 0x80);
            raised += static_cast<char>(bytes[1] | 0x80);
        } else {
            raised += '\xFF';
        }
        bytes.remove_prefix(length);
    }
    return raised;
}

/** The Shift JIS form of 7-bit pairs, which folds two rows into one. */
std::string FoldPairs(std::string_view pairs) {
    std::string folded;
    for (size_t i = 0; i + 1 < pairs.size(); i += 2) {
        const int row = pairs[i] - 0x21;
        const int cell = pairs[i + 1] - 0x21;
        const int place = row % 2 != 0 ? 0x9F + cell : 0x40 + cell + (cell >= 63 ? 1 : 0);
        folded += static_cast<char>(row / 2 + (row < 62 ? 0x81 : 0xC1));
        folded += static_cast<char>(place);
    }
    return folded;
}

bool AppendExtension(CodePage page, std::string_view bytes, std::wstring &text) {
    const std::optional<iconv_t> converter = ThreadConverters().ExtensionDecoder(page);
    if (!IsSevenBit(page)) return AppendConverted(converter, RowOf(page).length, bytes, text);
    return AppendConverted(converter, ShiftJisLength, FoldPairs(bytes), text);
}

bool AppendPlain(CodePage page, std::string_view bytes, std::wstring &text) {
    const std::optional<iconv_t> converter = ThreadConverters().Decoder(page);
    if (!IsSevenBit(page)) return AppendConverted(converter, RowOf(page).length, bytes, text);
    return AppendConverted(converter, EucJpLength, RaisePairs(page, bytes), text);
}

/** Length of the run of characters at the start that are all extensions, or all none. */
size_t RunLength(const PageRow &row, std::string_view bytes) {
    if (row.extension == nullptr) return bytes.size();
    const bool extended = row.isExtension(bytes);
    size_t length = 0;
    while (length < bytes.size() && row.isExtension(bytes.substr(length)) == extended) {
        length += row.length(bytes.substr(length));
    }
    return length;
}

/** Takes the 7-bit pair out of a character of EUC-JP; false if it is of another set. */
bool LowerPair(CodePage page, std::string_view character, std::string &bytes) {
    const size_t prefix = page == CodePage::JisX0212 ? 1 : 0;
    if (character.size() != prefix + 2) return false;
    if (prefix != 0 && character[0] != kSingleShift3) return false;
    if (EightBitPairLength(character.substr(prefix)) != 2) return false;
    bytes += static_cast<char>(character[prefix] & 0x7F);
    bytes += static_cast<char>(character[prefix + 1] & 0x7F);
    return true;
}

/** False for control characters, and for the half-width sign that comes out as its full-width
 *  form. */
bool IsKoreanPair(wchar_t character, std::string_view encoded) {
    constexpr wchar_t kHalfwidthWon = 0x20A9;
    return character != kHalfwidthWon && EightBitPairLength(encoded) == 2;
}

bool AppendIconvEncoded(CodePage page, wchar_t character, std::string &bytes) {
    const std::optional<iconv_t> converter = ThreadConverters().Encoder(page);
    if (!converter) return false;
    char buffer[16];
    char *from = reinterpret_cast<char *>(&character);
    char *to = buffer;
    size_t left = sizeof character;
    size_t room = sizeof buffer;
    if (iconv(*converter, &from, &left, &to, &room) != 0) return false; // or only approximated
    const std::string_view encoded(buffer, sizeof buffer - room);
    if (encoded.empty() || static_cast<uint8_t>(encoded[0]) < 0x80) return false;
    if (IsSevenBit(page)) return LowerPair(page, encoded, bytes);
    if (page == CodePage::KsX1001 && !IsKoreanPair(character, encoded)) return false;
    bytes += encoded;
    return true;
}

bool AppendKatakana(char32_t character, std::string &bytes) {
    constexpr char32_t kLastHalfwidth = kFirstHalfwidth + (kLastKatakana - kFirstKatakana);
    if (character < kFirstHalfwidth || character > kLastHalfwidth) return false;
    bytes += static_cast<char>(character - kFirstHalfwidth + kFirstKatakana);
    return true;
}

} // namespace

bool IsAscii(std::string_view bytes) {
    uint8_t bits = 0;
    for (const char byte : bytes) bits |= static_cast<uint8_t>(byte);
    return bits < 0x80;
}

size_t CharacterLength(CodePage page, std::string_view bytes) {
    return RowOf(page).length(bytes);
}

bool AppendDecoded(CodePage page, std::string_view bytes, std::wstring &text) {
    if (page == CodePage::Latin1 || (!IsSevenBit(page) && IsAscii(bytes))) {
        AppendWidened(bytes, text);
        return true;
    }
    if (page == CodePage::Default || (page == CodePage::Utf8 && IsValidUtf8(bytes))) {
        text += WidenDefault(bytes);
        return true;
    }
    const PageRow &row = RowOf(page);
    while (!bytes.empty()) {
        const std::string_view run = bytes.substr(0, RunLength(row, bytes));
        const bool converted =
            row.isExtension(run) ? AppendExtension(page, run, text) : AppendPlain(page, run, text);
        if (!converted) return false;
        bytes.remove_prefix(run.size());
    }
    return true;
}

bool AppendEncoded(CodePage page, wchar_t character, std::string &bytes) {
    const auto code = static_cast<char32_t>(character);
    if (code < 0x80 && !IsSevenBit(page)) {
        bytes += static_cast<char>(code);
        return true;
    }
    switch (page) {
        case CodePage::Default:
        case CodePage::Utf8:
            bytes += NarrowUtf8({&character, 1});
            return true;
        case CodePage::Latin1:
            if (code > 0xFF) return false;
            bytes += static_cast<char>(code);
            return true;
        case CodePage::JisX0201:
            return AppendKatakana(code, bytes);
        default:
            return AppendIconvEncoded(page, character, bytes);
    }
}

} // namespace mdicom
