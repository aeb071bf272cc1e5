// The text forms of single values: what each VR reads as, and what texts are taken for.

#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "MDicomText.h"
#include "values/Values.h"

namespace {

template <typename T>
std::string Raw(std::initializer_list<T> numbers) {
    std::string bytes;
    for (const T number : numbers) {
        bytes.append(reinterpret_cast<const char *>(&number), sizeof number);
    }
    return bytes;
}

/** Text by the narrow call; what it measures has to be what it writes. */
std::string NarrowText(MDicomDS &ds, _DICOMELEMENT *element) {
    const uint32_t size = ds.GetConvertValueA(element, nullptr);
    if (size == 0) return "nothing";
    std::string text(size + 1, '#');
    EXPECT_EQ(ds.GetConvertValueA(element, text.data()), size);
    EXPECT_EQ(text[size - 1], '\0');
    EXPECT_EQ(text[size], '#') << "written past the end";
    return text.substr(0, size - 1);
}

std::wstring WideText(MDicomDS &ds, _DICOMELEMENT *element) {
    const uint32_t size = ds.GetConvertValue(element, nullptr, 0);
    if (size == 0) return L"nothing";
    std::wstring text(size + 1, L'#');
    EXPECT_EQ(ds.GetConvertValue(element, text.data(), size), size);
    EXPECT_EQ(text[size - 1], L'\0');
    EXPECT_EQ(text[size], L'#') << "written past the end";
    return text.substr(0, size - 1);
}

struct FormCase {
    const char *vr;
    std::string stored;
    const char *text;
    std::string entered; ///< what the text is stored as; empty: the same bytes
};

constexpr double kInfinity = std::numeric_limits<double>::infinity();

const std::vector<FormCase> &FormCases() {
    static const std::vector<FormCase> cases = {
        {"AE", " STORE \\B ", "STORE\\B", "STORE\\B "},
        {"AS", "005W", "5 weeks", ""},
        {"AS", "018M\\030Y\\004D", "18 months\\30 years\\4 days", ""},
        {"AS", "018?", "18 ", "018Y"},
        {"AT", Raw<uint16_t>({0x28, 0x10, 0xFFFE, 0xE000}), "0028:0010\\FFFE:E000", ""},
        {"DA", "19970815", "08/15/1997", ""},
        {"DA", "1997.08.15", "08/15/1997", "19970815"},
        {"DS", "1.50\\-2e3 ", "1.50\\-2e3 ", "1.5\\-2000 "},
        {"DT", "19970815123005.250000+0130", "08/15/1997  12:30:05.250000+130", ""},
        {"DT", "1997", "00/00/1997  00:00:00.0+0", "19970000000000.000000+0000"},
        {"DT", "19970815123005.000000-0500", "08/15/1997  12:30:05.0-500", ""},
        {"FD", Raw<double>({2.0, -123456789.0, kInfinity}), "2\\-1.2345679e+08\\inf",
         Raw<double>({2.0, -123456790.0, kInfinity})},
        {"FD", Raw<double>({0.1234567891}), "0.1234568", Raw<double>({0.1234568})},
        {"FL", Raw<float>({1.5f, -1e-9f, 3.4e38f}),
         "1.500000\\-0.000000\\339999995214436424907732413799364296704.000000",
         Raw<float>({1.5f, -0.0f, 3.4e38f})},
        {"IS", "1\\-2\\ +3 ", "1\\-2\\3", "1\\-2\\3"},
        {"IS", "99999999999\\-99999999999", "99999999999\\-99999999999", ""},
        {"LO", "a \\ b", "a\\b", "a\\b "},
        {"LT", " two\\lines\r\n  ", " two\\lines\r\n  ", ""},
        {"OB", std::string("\x01\xAB"), "01\\AB", ""},
        {"OD", Raw<double>({0.1234567891, 1e300}), "0.1234567891\\1e+300", ""},
        {"OF", Raw<float>({0.25f}), "0.250000", ""},
        {"OL", Raw<uint32_t>({0xFFFFFFFF, 1}), "4294967295\\1", ""},
        {"OV", Raw<uint64_t>({0xFFFFFFFFFFFFFFFF}), "18446744073709551615", ""},
        {"OW", Raw<uint16_t>({65535, 7}), "65535\\7", ""},
        {"PN", "Doe^Jane", "Doe^Jane", ""},
        {"SL", Raw<int32_t>({-2147483647 - 1, 5}), "-2147483648\\5", ""},
        {"SS", Raw<int16_t>({-32768, 5}), "-32768\\5", ""},
        {"SV", Raw<int64_t>({-5, 1LL << 60}), "-5\\1152921504606846976", ""},
        {"TM", "123005.000005 ", "12:30:05.000005", "123005.000005 "},
        {"TM", "1230", "12:30:00.000000", "123000.000000 "},
        {"UC", "first\\second", "first\\second", ""},
        {"UI", std::string("1.2.3\\1.2.840\0", 14), "1.2.3\\1.2.840", ""},
        {"UL", Raw<uint32_t>({4294967295u}), "4294967295", ""},
        {"UN", "az", "61\\7A", ""},
        {"UR", "http://localhost/a\\b", "http://localhost/a\\b", ""},
        {"US", Raw<uint16_t>({1, 2, 3}), "1\\2\\3", ""},
        {"UV", Raw<uint64_t>({1ULL << 63}), "9223372036854775808", ""},
        {"ZZ", "az", "61\\7A", ""},
    };
    return cases;
}

class Entering : public Values {
  public:
    /** What a text is stored as, without its padding. */
    std::string Enter(const char *vr, const char *text, uint32_t count = kAll) {
        _DICOMELEMENT *element = Add(vr);
        EXPECT_NE(ds.SetConvertValueA(element, text, count), 0) << vr << ' ' << text;
        std::string bytes = Bytes(element);
        while (!bytes.empty() && bytes.back() == ' ') bytes.pop_back();
        return bytes;
    }
};

} // namespace

TEST(TextForm, OfEachVrIsReadAndEntered) {
    for (const uint16_t flags : {37, 40}) { // little endian, big endian
        Values v;
        v.ds.m_nFlags = flags;
        for (const auto &[vr, stored, text, entered] : FormCases()) {
            _DICOMELEMENT *element = v.Add(vr, stored);
            EXPECT_EQ(NarrowText(v.ds, element), text) << vr;
            const A2U_Class wide(text);
            EXPECT_EQ(WideText(v.ds, element), wide.pszText) << vr;
            _DICOMELEMENT *first = v.Add(vr);
            EXPECT_NE(v.ds.SetConvertValueA(first, text, kAll), 0) << vr;
            EXPECT_EQ(v.Bytes(first), entered.empty() ? stored : entered) << vr << ' ' << text;
            _DICOMELEMENT *second = v.Add(vr);
            EXPECT_NE(v.ds.SetConvertValue(second, wide.pszText, kAll), 0) << vr;
            EXPECT_EQ(v.Bytes(second), v.Bytes(first)) << vr << ' ' << text;
        }
    }
}

TEST(TextForm, OfRanges) {
    const FormCase cases[] = {
        {"DA", "19970815-", "08/15/1997-", "19970815"},
        {"DA", "-19970815\\19970816 ", "-08/15/1997\\08/16/1997", ""},
        {"DA", "19970815-19970820", "08/15/1997-08/20/1997", "19970815"},
        {"DA", "19970815\\19970816-", "08/15/1997\\08/16/1997-", "19970815\\19970816"},
        {"TM", "123005.000005-", "12:30:05.5-", "123005.000005"},
        {"TM", "-123005.25 ", "-12:30:05.250000", ""},
        {"TM", "10-11\\123005.000005 ", "10:00:00.0-11:00:00.0\\12:30:05.5", ""},
    };
    Entering v;
    for (const auto &[vr, stored, text, entered] : cases) {
        EXPECT_EQ(NarrowText(v.ds, v.Add(vr, stored)), text);
        // A range is not taken back: the hyphen ends its first number.
        if (entered.empty()) continue;
        EXPECT_EQ(v.Enter(vr, text), entered);
    }
}

TEST(TextForm, EmptyAndForeignElementsHaveNone) {
    Values v;
    wchar_t buffer[4] = L"###";
    _DICOMELEMENT *sequence = v.Add("SQ");
    for (_DICOMELEMENT *element :
         {static_cast<_DICOMELEMENT *>(nullptr), v.Add("LO"), sequence, v.Add("UL", "x")}) {
        EXPECT_EQ(v.ds.GetConvertValueA(element, nullptr), 0u);
        EXPECT_EQ(v.ds.GetConvertValue(element, buffer, 4), 0u);
        EXPECT_EQ(buffer[0], L'\0');
    }
    EXPECT_EQ(v.ds.SetConvertValue(nullptr, L"1", 1), 0);
    EXPECT_EQ(v.ds.SetConvertValueA(sequence, "1", 1), 0);
    EXPECT_EQ(v.ds.SetConvertValue(v.Add("US"), nullptr, 0), 0);
    EXPECT_EQ(v.ds.SetConvertValueA(v.Add("US"), nullptr, 1), 0);
}

TEST(TextForm, IsCutToItsBuffer) {
    Values v;
    v.Set(0x00080005, "CS", "ISO_IR 100");
    v.ds.UpdateSpecificCharacterSet();
    for (_DICOMELEMENT *element : {v.Add("US", "aabbccddeeff"), v.Add("LO", "gr\xFC\xDF dich")}) {
        const std::wstring whole = WideText(v.ds, element);
        for (uint32_t size = 0; size <= whole.size() + 3; ++size) {
            std::wstring buffer(size + 2, L'#');
            const uint32_t delivered = v.ds.GetConvertValue(element, buffer.data(), size);
            ASSERT_EQ(delivered, std::min<size_t>(size, whole.size() + 1));
            ASSERT_EQ(buffer.substr(size), L"##");
            if (size == 0) continue;
            ASSERT_EQ(std::wstring(buffer.c_str()), whole.substr(0, delivered - 1));
        }
    }
}

TEST(TextForm, IsInTheCharacterSetOfTheElement) {
    Values v;
    v.Set(0x00080005, "CS", "ISO_IR 100");
    v.ds.UpdateSpecificCharacterSet();
    _DICOMELEMENT *name = v.Add("PN", "M\xFCller\\Gro\xDF");
    EXPECT_EQ(WideText(v.ds, name), L"M\u00FCller\\Gro\u00DF");
    EXPECT_NE(v.ds.SetConvertValue(name, L"\u00C4\\\u00D6", 2), 0);
    EXPECT_EQ(v.ds.SetConvertValue(name, L"\u4E2D", 1), 0) << "not in the set";
    EXPECT_EQ(v.Bytes(name), "\xC4\\\xD6 ");
    // A backslash byte may be half of a character.
    v.Set(0x00080005, "CS", "GB18030");
    v.ds.UpdateSpecificCharacterSet();
    ASSERT_NE(v.ds.SetConvertValueA(name, "\x81\x5C\\b", 2), 0);
    EXPECT_EQ(WideText(v.ds, name), L"\u4E57\\b");
    EXPECT_NE(v.ds.SetConvertValue(name, L"\u4E57\\b\\c", 2), 0);
    EXPECT_EQ(v.Bytes(name), "\x81\x5C\\b");
}

TEST(TextForm, TakesWhatIsTyped) {
    Entering v;
    EXPECT_EQ(v.Enter("DA", " 8/5/1997"), "19970805");
    EXPECT_EQ(v.Enter("DA", "08-15-1997"), "19970815");
    EXPECT_EQ(v.Enter("DA", "08"), "00000800");
    EXPECT_EQ(v.Enter("DA", "08/15/1997\\09"), "19970815\\19970915")
        << "fields of the value before";
    EXPECT_EQ(v.Enter("TM", "7:5"), "070500.000000");
    EXPECT_EQ(v.Enter("TM", "12:30:05.25 "), "123005.250000");
    EXPECT_EQ(v.Enter("TM", "12:30:05.1234567"), "123005.123456");
    EXPECT_EQ(v.Enter("AS", "12 Months"), "012M");
    EXPECT_EQ(v.Enter("AS", "7"), "007Y");
    EXPECT_EQ(v.Enter("IS", "12abc\\x"), "12\\0");
    EXPECT_EQ(v.Enter("DS", "1e3\\-.5"), "1000\\-0.5");
    EXPECT_EQ(v.Enter("AT", "10,20"), Raw<uint16_t>({0x10, 0x20}));
    EXPECT_EQ(v.Enter("AT", "0x123450:0x10"), Raw<uint16_t>({0x3450, 0x10}));
    EXPECT_EQ(v.Enter("OB", "0x1FF\\-1"), "\xFF\xFF");
    EXPECT_EQ(v.Enter("US", "-1\\65537"), Raw<uint16_t>({65535, 1}));
    EXPECT_EQ(v.Enter("SL", "99999999999"), Raw<int32_t>({2147483647}));
    EXPECT_EQ(v.Enter("UV", "99999999999999999999\\-1\\+2"), Raw<uint64_t>({~0ULL, ~0ULL, 2}));
    EXPECT_EQ(v.Enter("FL", "1e99\\-inf\\x"),
              Raw<float>(
                  {std::numeric_limits<float>::max(), -std::numeric_limits<float>::infinity(), 0}));
}

TEST(TextForm, CountsValues) {
    Entering v;
    EXPECT_EQ(v.Enter("LO", "a\\b\\c", 2), "a\\b");
    EXPECT_EQ(v.Enter("ST", "a\\b", 1), "a");
    EXPECT_EQ(v.Enter("ST", "a\\b", 2), "a\\b");
    EXPECT_EQ(v.Enter("US", "1\\2\\3", 2), Raw<uint16_t>({1, 2}));
    for (const uint32_t count : {3u, 0x7FFFFFFFu, kAll}) {
        EXPECT_EQ(v.Enter("LO", "a\\b", count), "a\\b");
        EXPECT_EQ(v.Enter("DS", "1\\2", count), "1\\2");
        EXPECT_EQ(v.Enter("US", "1\\2", count), Raw<uint16_t>({1, 2}));
        EXPECT_EQ(v.Enter("US", "", count), "") << "no value is not a zero";
    }
    _DICOMELEMENT *element = v.Add("DA", "19970815");
    EXPECT_NE(v.ds.SetConvertValue(element, L"01/01/2000", 0), 0);
    EXPECT_EQ(element->nLength, 0u);
}

/** Work stays in proportion to the value, also where each of its values asks for more. */
TEST(TextForm, OfManyValuesEndsSoon) {
    Values v;
    std::string integers, dates;
    for (int i = 0; i < 200000; ++i) {
        integers += "99999999999\\";
        dates += "19970815-\\";
    }
    _DICOMELEMENT *integer = v.Add("IS", integers + "1");
    _DICOMELEMENT *date = v.Add("DA", dates + "-");
    EXPECT_EQ(v.ds.GetConvertValueA(integer, nullptr), 200000u * 12 + 2);
    EXPECT_EQ(v.ds.GetConvertValueA(date, nullptr), 200000u * 12 + 9);
    // Only what has room is read and made.
    _DICOMELEMENT *pixels = v.Add("OW", std::string(60 << 20, 'x'));
    wchar_t start[12];
    for (int i = 0; i < 2000; ++i) ASSERT_EQ(v.ds.GetConvertValue(pixels, start, 12), 12u);
    EXPECT_EQ(std::wstring(start), L"30840\\30840");
}
