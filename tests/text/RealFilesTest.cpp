// The text form of every element of real files, entered into the element itself: the text stays as
// it was, and so do the bytes of those VRs whose text says all of them.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/RealFiles.h"
#include "support/TestFiles.h"
#include "support/TreeCompare.h"
#include "values/Values.h"

namespace {

/** True if the text does not determine the stored bytes: blanks, escape sequences, rounding. */
bool HasFreeForm(const std::string &vr) {
    static const std::string kVrs =
        "AE AS CS DA DS DT FD FL IS LO LT OD OF PN SH ST TM UC UI UR UT";
    return kVrs.find(vr) != std::string::npos;
}

/** Text beyond half-width katakana is read under ISO_IR 13, but not written. */
bool IsReadOnly(MDicomDS &ds, const std::wstring &text) {
    const auto isForeign = [](wchar_t character) {
        return character >= 0x80 && (character < 0xFF61 || character > 0xFF9F);
    };
    return support::StoredText(ds, 0x00080005) == "ISO_IR 13" &&
           std::any_of(text.begin(), text.end(), isForeign);
}

std::wstring TextOf(MDicomDS &ds, _DICOMELEMENT *element) {
    std::wstring text(ds.GetConvertValue(element, nullptr, 0), L'#');
    EXPECT_EQ(ds.GetConvertValue(element, text.data(), static_cast<uint32_t>(text.size())),
              text.size());
    return text.substr(0, text.find_last_not_of(std::wstring(L" \0", 2)) + 1);
}

std::vector<double> DecimalsOf(MDicomDS &ds, _DICOMELEMENT *element) {
    const double *numbers = ds.GetDoubleValue(element, 0, kAll);
    return {numbers, numbers + ds.GetCountValue(element)};
}

void CheckElement(MDicomDS &ds, _DICOMELEMENT *element) {
    const std::string vr{static_cast<char>(element->nVR >> 8), static_cast<char>(element->nVR)};
    const support::Bytes stored = support::ValueOf(ds, element);
    const std::wstring text = TextOf(ds, element);
    const std::vector<double> decimals =
        vr == "DS" ? DecimalsOf(ds, element) : std::vector<double>();
    const bool entered = ds.SetConvertValue(element, text.c_str(), kAll) != 0;
    EXPECT_NE(entered, IsReadOnly(ds, text)) << support::Describe(element);
    if (!entered || !HasFreeForm(vr)) {
        EXPECT_EQ(support::ValueOf(ds, element), stored) << support::Describe(element);
    }
    if (vr != "DS") {
        EXPECT_EQ(TextOf(ds, element), text) << support::Describe(element);
        return;
    }
    // Decimals are entered in their shortest form.
    const std::vector<double> again = DecimalsOf(ds, element);
    ASSERT_EQ(again.size(), decimals.size()) << support::Describe(element);
    for (size_t i = 0; i < again.size(); ++i) {
        EXPECT_NEAR(again[i], decimals[i], std::abs(decimals[i]) * 1e-14);
    }
}

} // namespace

TEST(RealFiles, TextFormsAreReversible) {
    constexpr uint32_t kLongestChecked = 1 << 18;
    const auto files = support::RealFiles();
    if (files.empty()) GTEST_SKIP() << "no real files here";
    int checked = 0;
    for (const auto &path : files) {
        MDicomDS ds(nullptr);
        if (ds.LoadDS(path.wstring().c_str(), 0) != DICOM_SUCCESS) continue;
        ds.UpdateSpecificCharacterSet();
        for (auto *element = ds.GetFirstElement(nullptr, 0, 1); element != nullptr;
             element = ds.GetNextElement(element, 0, 1)) {
            // What says which character sets hold is not edited while they are in use.
            if (element->nTag == 0x00080005 || element->nLength > kLongestChecked) continue;
            // What is shorter than one value, or cut off with its file.
            if (ds.GetCountValue(element) == 0) continue;
            CheckElement(ds, element);
            ASSERT_FALSE(HasFailure()) << path;
            ++checked;
        }
    }
    EXPECT_GT(checked, 10000);
}
