// Wide text values: how they are split and joined, and which of them can be stored.

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "MDicomFlat.h"
#include "Values.h"

namespace {

constexpr uint32_t kSpecificCharacterSet = 0x00080005;
constexpr uint32_t kPatientName = 0x00100010;

std::wstring Text(const wchar_t *text) {
    return text != nullptr ? text : L"(null)";
}

} // namespace

TEST(StringValue, ReadsSingleAndSeveralValues) {
    Values v;
    _DICOMELEMENT *element = v.Add("LO", "eins \\\\drei");
    const wchar_t *texts = M_DicomGetStringValue(&v.ds, element, 0, 3);
    ASSERT_NE(texts, nullptr);
    EXPECT_EQ(std::wstring_view(texts, 11), std::wstring_view(L"eins\0\0drei", 11));
    EXPECT_EQ(Text(M_DicomGetStringValue(&v.ds, element, 1, kAll - 1)), L"");
    EXPECT_EQ(Text(M_DicomGetStringValue(&v.ds, element, 2, kAll)), L"drei");
    EXPECT_EQ(M_DicomGetStringValue(&v.ds, element, 3, 1), nullptr);
    EXPECT_EQ(M_DicomGetStringValue(&v.ds, element, 1, 3), nullptr);
    EXPECT_EQ(M_DicomGetStringValue(&v.ds, v.Add("IS", "1 "), 0, 1), nullptr);
}

TEST(StringValue, BackslashInsideCharacterDoesNotSplit) {
    Values v;
    v.Set(kSpecificCharacterSet, "CS", "GB18030");
    v.ds.UpdateSpecificCharacterSet();
    // 81 5C is one character, as is 83 5C.
    _DICOMELEMENT *name = v.Add("LO", "\x81\x5C\\b\x83\x5C");
    ASSERT_EQ(v.ds.GetCountValue(name), 2u);
    EXPECT_EQ(Text(M_DicomGetStringValue(&v.ds, name, 0, 1)), L"\u4E57");
    EXPECT_EQ(Text(M_DicomGetStringValue(&v.ds, name, 1, 1)).size(), 2u);
    char text[16];
    EXPECT_EQ(v.ds.FindGetValue(name, name->nTag, text, 0, 16, VALUE_ARRAY_BYTE), 7u);
    EXPECT_STREQ(text, "\x81\x5C\\b\x83\x5C");
    EXPECT_EQ(v.ds.GetCountValue(v.Add("CS", "\x81\x5C\\B")), 3u); // not affected by the set
}

TEST(StringValue, WritesInTheDeclaredSet) {
    Values v;
    v.Set(kSpecificCharacterSet, "CS", "ISO_IR 100");
    v.ds.UpdateSpecificCharacterSet();
    _DICOMELEMENT *name = v.Set(kPatientName, "PN", "x");
    ASSERT_TRUE(M_DicomSetStringValue(&v.ds, name, L" M\u00FCller \0B ", 2, 0));
    EXPECT_EQ(v.Bytes(name), "M\xFCller\\B");
    EXPECT_FALSE(M_DicomSetStringValue(&v.ds, name, L"\u4E97", 1, 0)) << "not in the set";
    EXPECT_FALSE(M_DicomSetStringValue(&v.ds, name, L"a", 1, 13)) << "not the declared set";
    EXPECT_FALSE(M_DicomSetStringValue(&v.ds, name, L"a", 1, 15)) << "no set";
    EXPECT_EQ(v.Bytes(name), "M\xFCller\\B");
    // Beyond the reach of the character set text is UTF-8.
    _DICOMELEMENT *code = v.Add("CS");
    EXPECT_TRUE(M_DicomSetStringValue(&v.ds, code, L"\u00E4", 1, 0));
    EXPECT_EQ(v.Bytes(code), "\xC3\xA4");
    EXPECT_EQ(Text(M_DicomGetStringValue(&v.ds, code, 0, 1)), L"\u00E4");
}

TEST(StringValue, DeclarationCanBeSetInASetOfItsOwn) {
    Values v;
    _DICOMELEMENT *name = v.Set(kPatientName, "PN", "x");
    ASSERT_TRUE(M_DicomSetStringValue(&v.ds, name, L"\u4E97^\U0001F600", 1, 13));
    EXPECT_EQ(v.Bytes(name), "\xE4\xBA\x97^\xF0\x9F\x98\x80");
    _DICOMELEMENT *declared = v.ds.FindFirstElement(nullptr, kSpecificCharacterSet, 1);
    EXPECT_TRUE(M_DicomSetStringValue(&v.ds, declared, L"ISO_IR 100", 1, 13));
    EXPECT_EQ(v.Bytes(declared), "ISO_IR 100");
}

TEST(StringValue, ItemHasItsOwnSet) {
    Values v;
    v.Set(kSpecificCharacterSet, "CS", "ISO_IR 192");
    v.ds.UpdateSpecificCharacterSet();
    _DICOMELEMENT *sequence = v.Add("SQ");
    _DICOMELEMENT *item = v.ds.InsertElement(sequence, 1, TAG_ITEM, 0, 1, 0);
    _DICOMELEMENT *set = v.ds.InsertElement(item, 1, kSpecificCharacterSet, Code("CS"), 0, 0);
    ASSERT_TRUE(v.ds.SetStringValueA(set, "ISO_IR 100", 1));
    _DICOMELEMENT *name = v.ds.InsertElement(item, 1, kPatientName, Code("PN"), 0, 0);
    ASSERT_TRUE(v.ds.SetStringValue(name, L"\u00E4", 1, 0));
    EXPECT_EQ(v.Bytes(name), "\xE4 ");
    EXPECT_FALSE(v.ds.SetStringValue(name, L"\u00E4", 1, 13)); // would not be read back
    EXPECT_EQ(Text(v.ds.GetStringValue(name, 0, 1)), L"\u00E4");
    // Neither a refusal nor a text in the item's own set declares anything for the data set.
    v.ds.DeleteElement(v.ds.FindFirstElement(nullptr, kSpecificCharacterSet, 1));
    EXPECT_FALSE(v.ds.SetStringValue(name, L"\u00E4", 1, 13));
    EXPECT_TRUE(v.ds.SetStringValue(name, L"\u00F6", 1, 1));
    EXPECT_EQ(v.ds.FindFirstElement(nullptr, kSpecificCharacterSet, 1), nullptr);
}

TEST(StringValue, TextMayLieInTheCacheOfItsElement) {
    Values v;
    _DICOMELEMENT *element = v.Add("LO", "a\\bcd ");
    ASSERT_TRUE(
        M_DicomSetStringValue(&v.ds, element, M_DicomGetStringValue(&v.ds, element, 1, 1), 1, 0));
    EXPECT_EQ(v.Bytes(element), "bcd ");
    ASSERT_TRUE(v.ds.SetStringValueA(element, v.ds.GetStringValueA(element, 0, 1), 1));
    EXPECT_EQ(v.Bytes(element), "bcd ");
    EXPECT_FALSE(M_DicomSetStringValue(&v.ds, element, nullptr, 1, 0));
    EXPECT_TRUE(M_DicomSetStringValue(&v.ds, element, nullptr, 0, 0));
    EXPECT_EQ(element->nLength, 0u);
}
