// Text that switches between sets by escape sequences.

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "Common/CharacterSet/CharacterSets.h"

using namespace mdicom;

namespace {

using Ids = std::vector<uint32_t>;

Ids Sets(std::initializer_list<const char *> names) {
    Ids ids;
    for (const char *name : names) ids.push_back(FindCharacterSet(name).value());
    return ids;
}

const Ids kJapanese = Sets({"", "ISO 2022 IR 87"});
const Ids kKatakana = Sets({"ISO 2022 IR 13", "ISO 2022 IR 87"});
const Ids kKorean = Sets({"", "ISO 2022 IR 149"});
const Ids kChinese = Sets({"", "ISO 2022 IR 58"});
const Ids kLatin = Sets({"ISO 2022 IR 100", "ISO 2022 IR 144", "ISO 2022 IR 126"});
const Ids kAll = Sets({"ISO 2022 IR 13", "ISO 2022 IR 87", "ISO 2022 IR 159", "ISO 2022 IR 149",
                       "ISO 2022 IR 58", "ISO 2022 IR 101", "ISO 2022 IR 138", "ISO 2022 IR 166"});

struct Sample {
    Ids sets;
    std::wstring text;
    std::string bytes;
};

// The names of the standard's annexes H, I and K, and one text that goes through many sets.
const Sample kSamples[] = {
    {kJapanese, L"Yamada^Tarou=\u5C71\u7530^\u592A\u90CE=\u3084\u307E\u3060^\u305F\u308D\u3046",
     "Yamada^Tarou=\x1B$B;3ED\x1B(B^\x1B$BB@O:\x1B(B="
     "\x1B$B$d$^$@\x1B(B^\x1B$B$?$m$&\x1B(B"},
    {kKatakana, L"\uFF94\uFF8F\uFF80\uFF9E^\uFF80\uFF9B\uFF73=\u5C71\u7530^\u592A\u90CE",
     "\xD4\xCF\xC0\xDE^\xC0\xDB\xB3=\x1B$B;3ED\x1B(J^\x1B$BB@O:\x1B(J"},
    {kKorean, L"Hong^Gildong=\u6D2A^\u5409\u6D1E=\uD64D^\uAE38\uB3D9",
     "Hong^Gildong=\x1B$)C\xFB\xF3^\x1B$)C\xD1\xCE\xD4\xD7=\x1B$)C\xC8\xAB^"
     "\x1B$)C\xB1\xE6\xB5\xBF"},
    {kChinese, L"Zhang^XiaoDong=\u5F20^\u5C0F\u4E1C=",
     "Zhang^XiaoDong=\x1B$)A\xD5\xC5^\x1B$)A\xD0\xA1\xB6\xAB="},
    {kLatin, L"\u00E9\u0416a\u0416\u0394\u0416^\u00E9\u0416",
     "\xE9\x1B-L\xB6"
     "a\xB6\x1B-F\xC4\x1B-L\xB6\x1B-A^\xE9\x1B-L\xB6\x1B-A"},
    {kAll, L"\uFF94\u5C71\uFF94\u4E02 \uAE40\u05E9\r\n\uFF94",
     "\xD4\x1B$B;3\x1B(J\x1B)I\xD4\x1B$(D0!\x1B(J \x1B$)C\xB1\xE8\x1B-H\xF9\x1B)I\r\n\xD4"},
};

/** Every character of the basic plane that one of the sets has. */
std::vector<wchar_t> Repertoire(const Ids &sets) {
    std::vector<wchar_t> characters;
    for (wchar_t character = 1; character < 0xFFFD; ++character) {
        if (character >= 0xD800 && character < 0xE000) continue;
        if (EncodeText({&character, 1}, sets)) characters.push_back(character);
    }
    return characters;
}

} // namespace

TEST(CodeExtensions, ConvertSamplesBothWays) {
    for (const Sample &sample : kSamples) {
        EXPECT_EQ(DecodeText(sample.bytes, sample.sets), sample.text);
        EXPECT_EQ(EncodeText(sample.text, sample.sets), sample.bytes);
    }
}

TEST(CodeExtensions, RegistersAreApart) {
    // Korean stays in G1 while G0 changes, and behind a delimiter that has nothing to put there.
    EXPECT_EQ(DecodeText("\x1B$)C\xB1\xE8\x1B$B;3\xB1\xE8\x1B(B\xB1\xE8^\xB1\xE8", kKorean),
              L"\uAE40\u5C71\uAE40\uAE40^\uAE40");
    // A first set that occupies G1 comes back.
    EXPECT_EQ(DecodeText("\x1B-L\xB6^\xE9\n\xE9", kLatin), L"\u0416^\u00E9\n\u00E9");
    // The end of a line ends a two-byte set that nobody left.
    EXPECT_EQ(DecodeText("\x1B$B;3\r\nabc", kJapanese), L"\u5C71\r\nabc");
    EXPECT_EQ(DecodeText("\x1B$B;3 ;3^\x1B(B", kJapanese), L"\u5C71 \u5C71^");
}

TEST(CodeExtensions, UnknownAndCutSequencesVanish) {
    EXPECT_EQ(DecodeText("a\x1B%Gb\xC3\xA9", kJapanese), L"ab\u00E9");
    EXPECT_EQ(DecodeText("\x1B$B;3\x1B*xab", kJapanese),
              L"\u5C71"
              L"ab");
    for (const char *cut : {"a\x1B", "a\x1B(", "a\x1B$", "a\x1B(B", "a\x1B$)C"}) {
        EXPECT_EQ(DecodeText(cut, kJapanese), L"a");
    }
}

TEST(CodeExtensions, SetsWithoutSwitchingTakeTheWholeText) {
    const Ids utf8First = Sets({"ISO_IR 192", "ISO 2022 IR 87"});
    EXPECT_EQ(DecodeText("\xC3\xA9\x1B$B", utf8First), L"\u00E9\x1B$B");
    EXPECT_EQ(EncodeText(L"\u5C71", utf8First), "\xE5\xB1\xB1");
    EXPECT_EQ(DecodeText("\x1B$B;3", Sets({"ISO_IR 100"})), L"\x1B$B;3");
}

TEST(CodeExtensions, RefuseWhatNoSetHas) {
    for (const wchar_t *text : {L"\u5C71\uAE40", L"\u5C71\x1B(B", L"\u00E9"}) {
        EXPECT_EQ(EncodeText(text, kJapanese), std::nullopt);
    }
}

TEST(CodeExtensions, ValuesEndAtRealSeparatorsOnly) {
    constexpr size_t kNone = std::string_view::npos;
    const Ids gb = Sets({"GB18030"});
    const Ids katakana = Sets({"ISO_IR 13"});
    EXPECT_EQ(FindValueEnd("ab\\c", {}), 2u);
    EXPECT_EQ(FindValueEnd("\xC3\\", Sets({"ISO_IR 100"})), 1u);
    EXPECT_EQ(FindValueEnd("\x81\\\\", gb), 2u);
    EXPECT_EQ(FindValueEnd("\xB1\xED\\", gb), 2u);
    EXPECT_EQ(FindValueEnd("\x81\x30\x91\x39\\", gb), 4u);
    EXPECT_EQ(FindValueEnd("\x81\\", Sets({"GBK"})), kNone);
    EXPECT_EQ(FindValueEnd("\x83\\\\", katakana), 2u);
    EXPECT_EQ(FindValueEnd("\xD4\\\xD4", katakana), 1u);
    EXPECT_EQ(FindValueEnd("\x1B$B0\\\\1\x1B(B\\", kJapanese), 10u);
    EXPECT_EQ(FindValueEnd("\x1B$(D0\\\x1B(B", kJapanese), kNone);
    EXPECT_EQ(FindValueEnd("\x1B$B;3\\\x1B$B;3", kJapanese), 5u);
    EXPECT_EQ(FindValueEnd("\x1B(\\", kJapanese), 2u);
    EXPECT_EQ(FindValueEnd("\x1B$)C\xB1\xE8\\", kKorean), 6u);
}

TEST(CodeExtensions, RandomTextComesBackAndSeparatorsStayApart) {
    std::vector<Ids> lists = {{}, kJapanese, kKorean, kKatakana, kChinese, kLatin, kAll};
    for (const uint32_t id : {2, 10, 24, 25, 26, 27, 28, 29}) lists.push_back({id});
    std::mt19937 random(1);
    for (const Ids &sets : lists) {
        const std::vector<wchar_t> repertoire = Repertoire(sets);
        ASSERT_GT(repertoire.size(), 100u);
        for (int round = 0; round < 500; ++round) {
            std::wstring text;
            const size_t length = random() % 12;
            while (text.size() < length) {
                text += random() % 5 != 0 ? repertoire[random() % (repertoire.size())]
                                          : L"^=\r\n\ta b"[random() % 8];
            }
            text.erase(std::remove(text.begin(), text.end(), L'\\'), text.end());
            const auto bytes = EncodeText(text, sets);
            ASSERT_TRUE(bytes);
            ASSERT_EQ(DecodeText(*bytes, sets), text);
            ASSERT_EQ(FindValueEnd(*bytes + "\\" + *bytes, sets), bytes->size());
        }
    }
}
