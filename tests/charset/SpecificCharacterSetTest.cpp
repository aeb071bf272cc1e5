// The character sets of a data set: what it declares, and text that is read and written under it.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Common/Utils/Vr.h"
#include "MDicomDS.h"
#include "MDicomText.h"

namespace {

constexpr uint32_t kCharacterSet = 0x00080005;
constexpr uint32_t kPatientName = 0x00100010;
constexpr uint32_t kRequestSequence = 0x00400275;
constexpr uint32_t kItem = 0xFFFEE000;

class SpecificCharacterSet : public testing::Test {
  protected:
    /** Sets the stored bytes of an element, which is inserted beside neighbor if missing. */
    _DICOMELEMENT *Store(uint32_t tag, const char *bytes, _DICOMELEMENT *neighbor = nullptr,
                         int32_t child = 0) {
        _DICOMELEMENT *element = child ? nullptr : dataSet.FindFirstElement(neighbor, tag, 1);
        if (element == nullptr) element = dataSet.InsertElement(neighbor, child, tag, 0, 0, 0);
        EXPECT_NE(dataSet.SetStringValueA(element, bytes, 1), 0);
        return element;
    }

    void Declare(const char *names) {
        Store(kCharacterSet, names);
        EXPECT_EQ(dataSet.UpdateSpecificCharacterSet(), 0);
    }

    std::vector<uint32_t> Table() const {
        return {dataSet.m_pCharacterSets, dataSet.m_pCharacterSets + dataSet.m_nCharacterSets};
    }

    std::wstring Text(_DICOMELEMENT *element, uint32_t index = 0) {
        const wchar_t *text = dataSet.GetStringValue(element, index, 1);
        return text != nullptr ? text : L"(null)";
    }

    std::string Stored(_DICOMELEMENT *element) {
        const char *text = dataSet.GetStringValueA(element, 0, 1);
        return text != nullptr ? text : "(null)";
    }

    MDicomDS dataSet{nullptr};
};

using Ids = std::vector<uint32_t>;

} // namespace

TEST_F(SpecificCharacterSet, TableFollowsTheDeclaration) {
    EXPECT_EQ(dataSet.m_nCharacterSets, 0u);
    EXPECT_EQ(dataSet.UpdateSpecificCharacterSet(), 0);
    EXPECT_EQ(Table(), Ids{0});
    Declare("\\ISO 2022 IR 87");
    EXPECT_EQ(Table(), (Ids{0, 24}));
    Declare("ISO_IR 192");
    EXPECT_EQ(Table(), Ids{27});
    Declare("No such set\\ISO 2022 IR 149\\ISO 2022 IR 13");
    EXPECT_EQ(Table(), (Ids{0, 26, 22}));
    Declare("");
    EXPECT_EQ(Table(), Ids{0});
    Declare("\\ISO 2022 IR 87\\\\\\\\\\\\\\\\");
    Store(kCharacterSet, "\\ISO 2022 IR 87\\\\\\\\\\\\\\\\\\");
    EXPECT_EQ(dataSet.UpdateSpecificCharacterSet(), DICOM_ERROR_PARAMETER) << "eleven";
    EXPECT_LE(dataSet.m_nCharacterSets, 10u);
}

TEST_F(SpecificCharacterSet, SelectorDeclaresItsSetOrFitsTheDeclaredOne) {
    _DICOMELEMENT *name = dataSet.InsertElement(nullptr, 0, kPatientName, 0, 0, 0);
    EXPECT_NE(dataSet.SetStringValue(name, L"J\u00E9r\u00F4me", 1, 0), 0);
    EXPECT_EQ(dataSet.SetStringValue(name, L"\u4E97", 1, 1), 0) << "not in ISO 8859-1";
    EXPECT_EQ(dataSet.FindFirstElement(nullptr, kCharacterSet, 1), nullptr);
    EXPECT_EQ(Text(name), L"J\u00E9r\u00F4me");

    EXPECT_NE(dataSet.SetStringValue(name, L"\u0141\u00F3d\u017A", 1, 2), 0);
    EXPECT_EQ(Stored(dataSet.FindFirstElement(nullptr, kCharacterSet, 1)), "ISO_IR 101");
    EXPECT_EQ(Stored(name), "\xA3\xF3\x64\xBC");
    EXPECT_EQ(Text(name), L"\u0141\u00F3d\u017A");

    EXPECT_EQ(dataSet.SetStringValue(name, L"x", 1, 13), 0) << "another set is declared";
    EXPECT_EQ(dataSet.SetStringValue(name, L"\u5C71", 1, 2), 0) << "not in the set";
    EXPECT_EQ(Text(name), L"\u0141\u00F3d\u017A");
}

TEST_F(SpecificCharacterSet, Utf8ReplacesAnUnknownName) {
    _DICOMELEMENT *name = Store(kPatientName, "x");
    Declare("No such set");
    EXPECT_EQ(dataSet.SetStringValue(name, L"\u5C71", 1, 1), 0);
    EXPECT_NE(dataSet.SetStringValue(name, L"\u5C71", 1, 13), 0);
    EXPECT_EQ(Table(), Ids{27});
    EXPECT_EQ(Text(name), L"\u5C71");
}

TEST_F(SpecificCharacterSet, TextUnderSeveralSetsIsWrittenAsDeclared) {
    Declare("\\ISO 2022 IR 87\\ISO 2022 IR 149");
    _DICOMELEMENT *name = dataSet.InsertElement(nullptr, 0, kPatientName, 0, 0, 0);
    EXPECT_NE(dataSet.SetStringValue(name, L"Y=\u5C71\u7530^\u592A", 1, 0), 0);
    EXPECT_EQ(Stored(name), "Y=\x1B$B;3ED\x1B(B^\x1B$BB@\x1B(B");
    EXPECT_NE(dataSet.SetStringValue(name, L"\uAE40\u5C71", 1, 12), 0);
    EXPECT_EQ(Text(name), L"\uAE40\u5C71");
}

TEST_F(SpecificCharacterSet, ItemsMayDeclareTheirOwn) {
    Declare("ISO_IR 100");
    _DICOMELEMENT *sequence = dataSet.InsertElement(nullptr, 0, kRequestSequence, 0, 0, 0);
    _DICOMELEMENT *own = dataSet.InsertElement(sequence, 1, kItem, 0, 1, 0);
    _DICOMELEMENT *plain = dataSet.InsertElement(sequence, 1, kItem, 0, 1, 1);
    Store(kCharacterSet, "ISO_IR 144", own, 1);
    _DICOMELEMENT *ownText = Store(0x00400007, "\xBB\xEE", own, 1);
    _DICOMELEMENT *codes = dataSet.InsertElement(own, 1, 0x00400008, 0, 0, 0);
    _DICOMELEMENT *inner = dataSet.InsertElement(codes, 1, kItem, 0, 1, 0);
    EXPECT_EQ(Text(ownText), L"\u041B\u044E");
    EXPECT_EQ(Text(Store(0x00080104, "\xBB", inner, 1)), L"\u041B");
    EXPECT_EQ(Text(Store(0x00400007, "\xE9", plain, 1)), L"\u00E9");
    EXPECT_EQ(Text(Store(kPatientName, "\xE9")), L"\u00E9");
    EXPECT_EQ(dataSet.SetStringValue(ownText, L"a", 1, 1), 0) << "would not be read back";
    // The item's set is not what new text of the data set can count on.
    EXPECT_EQ(dataSet.SetStringValue(Store(kPatientName, "x"), L"\u041B", 1, 5), 0);
}

/** To know the text of a declaration of VR LO asks for the declaration. */
TEST_F(SpecificCharacterSet, DeclarationOfATextTypeEnds) {
    Declare("ISO_IR 100");
    dataSet.FindFirstElement(nullptr, kCharacterSet, 1)->nVR = mdicom::vr::LO;
    EXPECT_EQ(Text(dataSet.FindFirstElement(nullptr, kCharacterSet, 1)), L"ISO_IR 100");
    EXPECT_EQ(Text(Store(kPatientName, "\xE9")), L"\u00E9");
}

TEST_F(SpecificCharacterSet, ConversionKeepsToItsBuffer) {
    Declare("ISO_IR 192");
    const std::string text = "\xE7\x8E\x8B^\xE5\xB0\x8F";
    const auto length = static_cast<uint32_t>(text.size());
    EXPECT_EQ(dataSet.ConvertStringValue(text.c_str(), length, nullptr, 0), 4u);
    EXPECT_EQ(dataSet.ConvertStringValue("ab\0cd", 5, nullptr, 0), 3u);
    EXPECT_EQ(dataSet.ConvertStringValue(nullptr, 5, nullptr, 0), 1u);
    for (uint32_t size = 0; size <= 6; ++size) {
        std::vector<wchar_t> out(size + 1, L'#');
        const uint32_t expected = std::min(size, 4u);
        EXPECT_EQ(dataSet.ConvertStringValue(text.c_str(), length, out.data(), size), expected);
        EXPECT_EQ(out[size], L'#');
        if (size == 0) continue;
        EXPECT_EQ(std::wstring(out.data()), std::wstring(L"\u738B^\u5C0F").substr(0, expected - 1));
    }
}

TEST(TextBridges, ConvertAndKeepNull) {
    EXPECT_STREQ(U2A_Class(L"J\u00E9r\u00F4me").pszText, "J\xC3\xA9r\xC3\xB4me");
    EXPECT_STREQ(A2U_Class("J\xE9").pszText, L"J\u00E9");
    EXPECT_EQ(U2A_Class(nullptr).pszText, nullptr);
    EXPECT_EQ(A2U_Class(nullptr).pszText, nullptr);
}
