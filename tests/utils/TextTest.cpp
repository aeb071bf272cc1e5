// Text and numbers as text.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <tuple>

#include "Common/Utils/CodePages.h"
#include "Common/Utils/NumberText.h"
#include "Common/Utils/Text.h"

using namespace mdicom;

TEST(Text, TrimmingTakesBlanksAlone) {
    EXPECT_EQ(TrimBlanks("  a b "), "a b");
    EXPECT_EQ(TrimBlanks("\ta\n"), "\ta\n");
    EXPECT_EQ(TrimBlanks("   "), "");
}

TEST(Text, OnlyWellFormedUtf8IsUtf8) {
    for (const char *good : {"", "abc", "\xC2\x80", "\xEF\xBF\xBF", "\xF4\x8F\xBF\xBF"}) {
        EXPECT_TRUE(IsValidUtf8(good)) << good;
        EXPECT_EQ(NarrowUtf8(WidenDefault(good)), good);
    }
    const char *const bad[] = {"\x80",         "\xC0\x80",         "\xC3",
                               "\xE0\x80\x80", "\xED\xA0\x80",     "\xE7\x8E",
                               "\xF8\x88\x80", "\xF4\x90\x80\x80", "a\xC3z"};
    for (const char *bytes : bad) {
        EXPECT_FALSE(IsValidUtf8(bytes)) << bytes;
        EXPECT_EQ(WidenDefault(bytes).size(), std::string_view(bytes).size());
    }
}

TEST(Text, WideNumbersThatAreNoCharactersAreReplaced) {
    for (const uint32_t number : {0xD800u, 0xDFFFu, 0x110000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(NarrowUtf8(std::wstring(1, static_cast<wchar_t>(number))), "\xEF\xBF\xBD");
    }
}

TEST(NumberText, ParsesIntegersAndSaturates) {
    const std::tuple<const char *, int64_t, size_t> cases[] = {
        {"  -7 ", -7, 4},
        {"+9x", 9, 2},
        {"", 0, 0},
        {"+-3", 0, 0},
        {"12.5", 12, 2},
        {"99999999999999999999", INT64_MAX, 20},
        {"-99999999999999999999", INT64_MIN, 21},
    };
    for (const auto &[text, value, length] : cases) {
        const auto parsed = ParseInteger(text);
        EXPECT_EQ(parsed.value, value) << text;
        EXPECT_EQ(parsed.length, length) << text;
    }
    EXPECT_EQ(ParseInt32("3000000000"), INT32_MAX);
    EXPECT_EQ(ParseInt32("-3000000000"), INT32_MIN);
}

TEST(NumberText, ParsesDecimals) {
    const std::tuple<const char *, double, size_t> cases[] = {
        {" 1.5e3 ", 1500, 6}, {"+.5", 0.5, 3}, {"-0.25mm", -0.25, 5}, {"1e", 1, 1},   {"inf", 0, 0},
        {"nan", 0, 0},        {"-", 0, 0},     {"1e-999", 0, 6},      {"0x10", 0, 1}, {"1,5", 1, 1},
    };
    for (const auto &[text, value, length] : cases) {
        const auto parsed = ParseDecimal(text);
        EXPECT_EQ(parsed.value, value) << text;
        EXPECT_EQ(parsed.length, length) << text;
    }
    const std::string zeros(400, '0');
    EXPECT_EQ(ParseDecimal("0." + zeros + "1").value, 0);
    for (const std::string &large :
         {std::string("-1e999"), "-1" + zeros, "-0.1" + zeros + "e+999"}) {
        EXPECT_EQ(ParseDecimal(large).value, -std::numeric_limits<double>::infinity()) << large;
    }
}

TEST(NumberText, DecimalStringsFitAndKeepTheirMagnitude) {
    EXPECT_EQ(FormatDecimalString(0.1), "0.1");
    EXPECT_EQ(FormatDecimalString(-3), "-3");
    EXPECT_EQ(FormatDecimalString(std::nan("")), "0");
    for (const double value : {1.0 / 3, -1.0 / 3, 1e-5 / 3, -1e300 / 7, 123456789012345.6, -1e-310,
                               -0.000123456789012345, 1e15, 1e16}) {
        const std::string text = FormatDecimalString(value);
        EXPECT_LE(text.size(), 16u) << text;
        EXPECT_NE(text.back(), '.');
        EXPECT_NEAR(ParseDecimal(text).value, value, std::abs(value) * 1e-8) << text;
    }
}

TEST(CodePages, LongTextPassesInPieces) {
    std::string bytes;
    std::wstring text;
    for (int i = 0; i < 1000; ++i) {
        bytes += i % 97 == 0 ? "\xFF" : "\xCB";
        text += i % 97 == 0 ? L'\uFFFD' : L'\u039B';
    }
    std::wstring decoded;
    EXPECT_TRUE(AppendDecoded(CodePage::Greek, bytes, decoded));
    EXPECT_TRUE(decoded == text);
    decoded.clear();
    EXPECT_TRUE(AppendDecoded(CodePage::Gb2312, std::string(1000, '\xB1') + "\xFF", decoded));
    EXPECT_TRUE(decoded == std::wstring(500, L'\u5317') + L'\uFFFD');
}

TEST(CodePages, CharactersHaveTheLengthOfTheirForm) {
    const std::tuple<CodePage, const char *, size_t> cases[] = {
        {CodePage::Gb18030, "\x81\x30\x81\x30", 4},
        {CodePage::Gb18030, "\x81\x30\x81", 1},
        {CodePage::Gb18030, "\x81\x30\x81:", 1},
        {CodePage::Gb18030, "\x81\x7F", 1},
        {CodePage::JisX0201, "\xB1\x5C", 1},
        {CodePage::JisX0201, "\x83\x5C", 2},
        {CodePage::JisX0201, "\xE0\xFC", 2},
        {CodePage::JisX0201, "\xFD\x40", 1},
        {CodePage::JisX0201, "\x83\x7F", 1},
        {CodePage::JisX0201, "\x83", 1},
        {CodePage::KsX1001, "\xB0\x5C", 1},
        {CodePage::JisX0208, "\x21\x20", 1},
        {CodePage::JisX0208, "\x21\x7E", 2},
        {CodePage::JisX0208, "\x7F\x21", 1},
        {CodePage::JisX0208, "\x21", 1},
    };
    for (const auto &[page, bytes, length] : cases) {
        EXPECT_EQ(CharacterLength(page, bytes), length) << bytes;
    }
}
