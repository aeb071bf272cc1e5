// The text form of every element of real files, entered into a copy: the same value comes out,
// but for the cases that the rules below tell.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iostream>
#include <map>
#include <optional>
#include <set>

#include "support/RealFiles.h"
#include "support/TestFiles.h"
#include "support/TreeCompare.h"
#include "values/Values.h"

namespace {

std::string LettersOf(uint16_t vr) {
    return {static_cast<char>(vr >> 8), static_cast<char>(vr)};
}

/** The characters of a text: escape sequences between character sets may differ. */
std::string Characters(const wchar_t *text) {
    std::wstring_view value(text != nullptr ? text : L"");
    value.remove_prefix(std::min(value.find_first_not_of(L' '), value.size()));
    value = value.substr(0, value.find_last_not_of(L' ') + 1);
    return {reinterpret_cast<const char *>(value.data()), value.size() * sizeof(wchar_t)};
}

/** A value as the typed getters give it, as comparable text. Binary values are their bytes. */
std::string Typed(MDicomDS &ds, _DICOMELEMENT *element) {
    static const std::set<std::string> kRecords = {"AS", "DA", "DS", "DT", "IS", "TM"};
    static const std::set<std::string> kTexts = {"AE", "CS", "LO", "LT", "PN", "SH",
                                                 "ST", "UC", "UI", "UR", "UT"};
    const std::string vr = LettersOf(element->nVR);
    const uint32_t count = ds.GetCountValue(element);
    std::string all;
    for (uint32_t i = 0; i < count; ++i) {
        if (kTexts.contains(vr)) {
            all += Characters(ds.GetStringValue(element, i, 1)) + "\\";
        } else if (vr == "IS") {
            int64_t number = 0;
            EXPECT_EQ(ds.GetLong64Value(element, &number, i, 1), 0);
            all += std::to_string(number) + "\\";
        } else if (vr == "DS") {
            const double number = *ds.GetDoubleValue(element, i, 1);
            all.append(reinterpret_cast<const char *>(&number), sizeof number);
        } else if (vr == "AS") {
            const auto *age = ds.GetAgeValue(element, i, 1);
            all += std::to_string(age->Number) + age->Reference;
        } else if (vr == "DA") {
            const auto *date = ds.GetDateValue(element, i, 1);
            all.append(reinterpret_cast<const char *>(date), date != nullptr ? sizeof *date : 0);
        } else if (vr == "TM") {
            const auto *t = ds.GetTimeValue(element, i, 1);
            if (t == nullptr) continue;
            for (const uint32_t field :
                 {uint32_t{t->Hours}, uint32_t{t->Minutes}, uint32_t{t->Seconds}, t->Fractions}) {
                all += std::to_string(field) + ":";
            }
        } else if (vr == "DT") {
            // The form of ranges, in which fractions have their weight.
            _VALUEDATETIMERANGE range{};
            EXPECT_EQ(ds.GetDateTimeRangeValue(element, i, &range), 0);
            all += std::to_string(range.Type);
            for (const auto &t : {range.DateTime1, range.DateTime2}) {
                for (const int64_t field :
                     {int64_t{t.Year}, int64_t{t.Month}, int64_t{t.Day}, int64_t{t.Hours},
                      int64_t{t.Minutes}, int64_t{t.Seconds}, int64_t{t.Fractions},
                      int64_t{t.Offset}}) {
                    all += std::to_string(field) + ":";
                }
            }
        }
    }
    if (kRecords.contains(vr) || kTexts.contains(vr)) return all;
    const auto bytes = support::ValueOf(ds, element);
    return std::string(bytes.begin(), bytes.end());
}

std::string Stored(MDicomDS &ds, _DICOMELEMENT *element) {
    const auto bytes = support::ValueOf(ds, element);
    return std::string(bytes.begin(), bytes.end());
}

template <typename T>
bool AnyNumber(const std::string &bytes, bool (*test)(T)) {
    for (size_t place = 0; place + sizeof(T) <= bytes.size(); place += sizeof(T)) {
        T number;
        std::memcpy(&number, bytes.data() + place, sizeof number);
        if (test(number)) return true;
    }
    return false;
}

bool NeedsMoreDigits(double number) {
    char text[32];
    std::snprintf(text, sizeof text, std::floor(number) == number ? "%.8g" : "%.7g", number);
    return std::strtod(text, nullptr) != number;
}

bool NeedsMorePlaces(float number) {
    char text[64];
    std::snprintf(text, sizeof text, "%f", static_cast<double>(number));
    return std::strtof(text, nullptr) != number;
}

bool IsOneOf(const std::string &vr, const char *list) {
    return std::string(list).find(vr) != std::string::npos;
}

struct Case {
    std::string vr;
    std::string stored;
    std::wstring text;
    std::string characterSet;
};

struct Irreversible {
    const char *why;
    bool (*applies)(const Case &);
};

constexpr Irreversible kIrreversible[] = {
    {"FD has 7 digits in its text, 8 for a whole number",
     [](const Case &c) { return c.vr == "FD" && AnyNumber<double>(c.stored, NeedsMoreDigits); }},
    {"FL and OF have six places behind the point",
     [](const Case &c) {
         return IsOneOf(c.vr, "FL OF") && AnyNumber<float>(c.stored, NeedsMorePlaces);
     }},
    {"a range is not taken back",
     [](const Case &c) {
         return IsOneOf(c.vr, "DA TM DT") && c.stored.find('-') != std::string::npos;
     }},
    {"fractions of DT are entered as they are shown, without their weight",
     [](const Case &c) { return c.vr == "DT" && c.stored.find('.') != std::string::npos; }},
    {"DS is stored with 15 digits",
     [](const Case &c) {
         const auto isDigit = [](char d) { return d >= '0' && d <= '9'; };
         return c.vr == "DS" && std::count_if(c.stored.begin(), c.stored.end(), isDigit) > 15;
     }},
    {"an age has one of four units",
     [](const Case &c) {
         return c.vr == "AS" && c.stored.find_first_of("DWMY") == std::string::npos;
     }},
    {"text beyond half-width katakana is read under ISO_IR 13, but not written",
     [](const Case &c) {
         return c.characterSet == "ISO_IR 13" &&
                std::any_of(c.text.begin(), c.text.end(), [](wchar_t character) {
                    return character >= 0x80 && (character < 0xFF61 || character > 0xFF9F);
                });
     }},
    {"a value of padding alone has no text and ends up empty",
     [](const Case &c) { return c.text.empty(); }},
    {"bytes that are no text of their character set",
     [](const Case &c) { return c.text.find(L'\uFFFD') != std::wstring::npos; }},
};

const char *ReasonFor(const Case &c) {
    for (const Irreversible &rule : kIrreversible) {
        if (rule.applies(c)) return rule.why;
    }
    return nullptr;
}

struct Tally {
    std::map<std::string, int> same;
    std::map<std::string, int> reasons;
};

void CheckElement(MDicomDS &ds, _DICOMELEMENT *element, Tally *tally) {
    const std::string vr = LettersOf(element->nVR);
    const uint32_t size = ds.GetConvertValue(element, nullptr, 0);
    ASSERT_NE(size, 0u) << support::Describe(element);
    std::wstring text(size, L'#');
    ASSERT_EQ(ds.GetConvertValue(element, text.data(), size), size);
    text.pop_back();
    const std::string stored = Stored(ds, element);
    const std::string before = Typed(ds, element);
    const int32_t entered = ds.SetConvertValue(element, text.c_str(), kAll);
    if (entered && Typed(ds, element) == before) {
        ++tally->same[vr];
        return;
    }
    if (!entered) {
        EXPECT_EQ(Stored(ds, element), stored);
    }
    const char *reason = ReasonFor({vr, stored, text, support::StoredText(ds, 0x00080005)});
    ASSERT_NE(reason, nullptr) << support::Describe(element) << " set: " << entered;
    ++tally->reasons[reason];
}

void CheckFile(const std::filesystem::path &path, Tally *tally) {
    MDicomDS ds(nullptr);
    if (ds.LoadDS(path.wstring().c_str(), 0) != DICOM_SUCCESS) return;
    ds.UpdateSpecificCharacterSet();
    constexpr uint32_t kLongestChecked = 1 << 18;
    for (auto *element = ds.GetFirstElement(nullptr, 0, 1); element != nullptr;
         element = ds.GetNextElement(element, 0, 1)) {
        if (element->nLength == 0 || element->nLength > kLongestChecked) continue;
        // What says which character sets hold is not edited while they are in use.
        if (element->nTag == 0x00080005) continue;
        // What is shorter than one value, or cut off with its file.
        if (ds.GetCountValue(element) == 0) continue;
        CheckElement(ds, element, tally);
        if (testing::Test::HasFatalFailure()) return;
    }
}

} // namespace

TEST(RealFiles, TextFormsAreReversible) {
    const auto files = support::RealFiles();
    if (files.empty()) GTEST_SKIP() << "no real files here";
    Tally tally;
    for (const auto &path : files) {
        CheckFile(path, &tally);
        ASSERT_FALSE(HasFatalFailure()) << path;
    }
    for (const auto &[vr, count] : tally.same) std::cout << vr << ' ' << count << "; ";
    std::cout << '\n';
    for (const auto &[reason, count] : tally.reasons) std::cout << count << ' ' << reason << '\n';
    EXPECT_GT(tally.same["LO"], 100);
}
