// Text under one declared set.

#include <gtest/gtest.h>

#include "Common/CharacterSet/CharacterSets.h"

using namespace mdicom;

namespace {

struct Word {
    const char *set;
    std::wstring text;
    std::string bytes;
};

const Word kWords[] = {
    {"", L"Buc^Jerome", "Buc^Jerome"},
    {"", L"J\u00E9r\u00F4me", "\x4A\xC3\xA9\x72\xC3\xB4\x6D\x65"},
    {"ISO 2022 IR 6", L"J\u00E9r\u00F4me", "\x4A\xC3\xA9\x72\xC3\xB4\x6D\x65"},
    {"ISO_IR 100", L"J\u00E9r\u00F4me", "\x4A\xE9\x72\xF4\x6D\x65"},
    {"ISO_IR 101", L"\u0141\u00F3d\u017A", "\xA3\xF3\x64\xBC"},
    {"ISO_IR 109", L"\u0108iu\u0135a\u016Dde", "\xC6\x69\x75\xBC\x61\xFD\x64\x65"},
    {"ISO_IR 110", L"\u0160\u0137\u0113de", "\xA9\xF3\xBA\x64\x65"},
    {"ISO_IR 144", L"\u041B\u044E\u043Ace\u043C\u0431yp\u0433",
     "\xBB\xEE\xDA\x63\x65\xDC\xD1\x79\x70\xD3"},
    {"ISO_IR 127", L"\u0642\u0628\u0627\u0646\u064A^\u0644\u0646\u0632\u0627\u0631",
     "\xE2\xC8\xC7\xE6\xEA\x5E\xE4\xE6\xD2\xC7\xD1"},
    {"ISO_IR 126", L"\u0394\u03B9\u03BF\u03BD\u03C5\u03C3\u03B9\u03BF\u03C2",
     "\xC4\xE9\xEF\xED\xF5\xF3\xE9\xEF\xF2"},
    {"ISO_IR 138", L"\u05E9\u05E8\u05D5\u05DF^\u05D3\u05D1\u05D5\u05E8\u05D4",
     "\xF9\xF8\xE5\xEF\x5E\xE3\xE1\xE5\xF8\xE4"},
    {"ISO_IR 148", L"\u0130\u011Fd\u0131r", "\xDD\xF0\x64\xFD\x72"},
    {"ISO_IR 13", L"\uFF94\uFF8F\uFF80\uFF9E^\uFF80\uFF9B\uFF73~",
     "\xD4\xCF\xC0\xDE\x5E\xC0\xDB\xB3\x7E"},
    {"ISO_IR 166", L"\u0E2A\u0E27\u0E31\u0E2A\u0E14\u0E35", "\xCA\xC7\xD1\xCA\xB4\xD5"},
    {"ISO_IR 203", L"\u0152uvre \u20AC", "\xBC\x75\x76\x72\x65\x20\xA4"},
    {"ISO 2022 IR 87", L"a\u5C71\u7530b", "a\x1B$B;3ED\x1B(Bb"},
    {"ISO 2022 IR 159", L"\u4E02\u4E04", "\x1B$(D0!0\"\x1B(B"},
    {"ISO 2022 IR 149", L"\uAE40\uD76C\uC911", "\xB1\xE8\xC8\xF1\xC1\xDF"},
    {"ISO 2022 IR 58", L"\u738B\u4E1C", "\xCD\xF5\xB6\xAB"},
    {"ISO_IR 192", L"\u738B \u0141 \U00020BB7", "\xE7\x8E\x8B\x20\xC5\x81\x20\xF0\xA0\xAE\xB7"},
    {"GB18030", L"\u738B \u0141 \U00020BB7 \u4E57",
     "\xCD\xF5\x20\x81\x30\x91\x39\x20\x95\x34\xB2\x35\x20\x81\\"},
    {"GBK", L"\u738B^\u5C0F\u4E1C", "\xCD\xF5\x5E\xD0\xA1\xB6\xAB"},
};

std::wstring Decode(const char *set, std::string_view bytes) {
    const uint32_t id = FindCharacterSet(set).value();
    return DecodeText(bytes, {&id, 1}).value_or(L"(none)");
}

std::optional<std::string> Encode(const char *set, std::wstring_view text) {
    const uint32_t id = FindCharacterSet(set).value();
    return EncodeText(text, {&id, 1});
}

} // namespace

TEST(SingleSets, ConvertWordsBothWays) {
    for (const Word &word : kWords) {
        EXPECT_EQ(Decode(word.set, word.bytes), word.text) << word.set;
        EXPECT_EQ(Encode(word.set, word.text), word.bytes) << word.set;
        // Sets of one byte have a second name, for use with code extension.
        const std::string name = word.set;
        if (!name.starts_with("ISO_IR ") || name == "ISO_IR 192") continue;
        const std::string second = "ISO 2022 IR " + name.substr(7);
        EXPECT_EQ(Decode(second.c_str(), word.bytes), word.text) << second;
        EXPECT_EQ(Encode(second.c_str(), word.text), word.bytes) << second;
    }
}

TEST(SingleSets, KeepTheirNumbers) {
    EXPECT_EQ(FindCharacterSet("ISO_IR 166"), 11u);
    EXPECT_EQ(FindCharacterSet("ISO 2022 IR 6"), 12u);
    EXPECT_EQ(FindCharacterSet("ISO 2022 IR 159"), 25u);
    EXPECT_EQ(FindCharacterSet("iso_ir 100"), std::nullopt);
    EXPECT_EQ(CharacterSetName(28), "GB18030");
    EXPECT_EQ(CharacterSetName(1000), "");
    EXPECT_EQ(CharacterSetOfSelector(11), 11u);
    EXPECT_EQ(CharacterSetName(CharacterSetOfSelector(12).value()), "ISO 2022 IR 149");
    EXPECT_EQ(CharacterSetOfSelector(15), std::nullopt);
}

TEST(SingleSets, UndeclaredTextIsUtf8OrElseLatin1) {
    EXPECT_EQ(DecodeText("\xC3\xA9", {}), L"\u00E9");
    EXPECT_EQ(DecodeText("\xE9 \xC3\xA9", {}), L"\u00E9 \u00C3\u00A9");
    EXPECT_EQ(DecodeText("\x1B$B;3", {}), L"\x1B$B;3");
    EXPECT_EQ(EncodeText(L"\u5C71", {}), "\xE5\xB1\xB1");
}

TEST(SingleSets, InvalidBytesCostOnlyThemselves) {
    EXPECT_EQ(Decode("ISO_IR 192", "a\xFF\xE7\x8E\x8B\xE7\x8E"), L"a\uFFFD\u738B\uFFFD\uFFFD");
    EXPECT_EQ(Decode("ISO_IR 127", "\xFF\xE2"), L"\uFFFD\u0642");
    EXPECT_EQ(Decode("GB18030", "\xCD\xF5\xFF\x20\xCD"), L"\u738B\uFFFD \uFFFD");
    // A pair without a character is one error, and what follows it stays in step.
    EXPECT_EQ(Decode("ISO 2022 IR 58", "\xAA\xA1\xCD\xF5"), L"\uFFFD\u738B");
    EXPECT_EQ(Decode("ISO 2022 IR 149", "\xC9\xA1\xB1\xE8\xB1"), L"\uFFFD\uAE40\uFFFD");
    EXPECT_EQ(Decode("ISO 2022 IR 87", "\x1B$B)!;3"), L"\uFFFD\u5C71");
}

TEST(SingleSets, ReadWhatVendorsAddAndDoNotWriteIt) {
    EXPECT_EQ(Decode("ISO_IR 13", "Test-\x84\x44\x83\xA6\xC8"), L"Test-\u0414\u0398\uFF88");
    EXPECT_EQ(Decode("ISO 2022 IR 149", "\x8C\x63\xB1\xE8\xA2\xE8z"), L"\uB620\uAE40\u327Ez");
    EXPECT_EQ(Decode("ISO 2022 IR 87", "\x1B$B;3-!|b"), L"\u5C71\u2460\u9AD9");
    EXPECT_EQ(Encode("ISO_IR 13", L"\u0414"), std::nullopt);
    EXPECT_EQ(Encode("ISO 2022 IR 149", L"\uB620"), std::nullopt);
    EXPECT_EQ(Encode("ISO 2022 IR 87", L"\u2460"), std::nullopt);
}

TEST(SingleSets, RefuseCharactersThatTheyLack) {
    EXPECT_EQ(Encode("ISO_IR 100", L"abc\u0141"), std::nullopt);
    EXPECT_EQ(Encode("ISO_IR 101", L"\u5C71"), std::nullopt);
    EXPECT_EQ(Encode("ISO 2022 IR 149", L"\u20A9"), std::nullopt);
    EXPECT_EQ(Encode("GB18030", std::wstring(1, wchar_t(0xD800))), std::nullopt);
    // Both would come out as the value separator.
    EXPECT_EQ(Encode("ISO_IR 13", L"\u00A5"), std::nullopt);
    EXPECT_EQ(Encode("ISO 2022 IR 87", L"\u00A5"), std::nullopt);
}
