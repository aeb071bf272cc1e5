// The rows of the VR table and of the UID registry.

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "MDicomUID.h"
#include "MDicomVR.h"

namespace {

TEST(VrTest, RowsHoldTheirColumns) {
    const struct {
        const char *code;
        uint32_t length;
        uint16_t restriction;
        uint16_t unitSize;
    } cases[] = {
        {"AE", 16, VR_STRING | VR_MAXIMUM, 1},
        {"AS", 4, VR_STRING | VR_FIXED, 1},
        {"AT", 4, VR_BINARY | VR_FIXED, 4},
        {"FD", 8, VR_BINARY | VR_FIXED, 8},
        {"LT", 10240, VR_TEXT | VR_MAXIMUM, 1},
        {"OB", 0, VR_BINARY | VR_ANY, 1},
        {"OW", 0, VR_BINARY | VR_ANY, 2},
        {"PN", 64, VR_STRING | VR_MAXIMUM_GROUP, 1},
        {"SQ", 0, VR_NOT_APPLICABLE, 1},
        {"US", 2, VR_BINARY | VR_FIXED, 2},
        {"UT", 0xFFFFFFFE, VR_TEXT | VR_MAXIMUM, 1},
        {"OF", 0xFFFFFFFC, VR_BINARY | VR_MAXIMUM, 4},
    };
    for (const auto &expected : cases) {
        const auto code = static_cast<uint16_t>(expected.code[0] << 8 | expected.code[1]);
        const _DICOMVR *row = MDicomVR::Find(code);
        ASSERT_NE(row, nullptr) << expected.code;
        EXPECT_EQ(row->nCode, code);
        EXPECT_EQ(row->nLength, expected.length) << expected.code;
        EXPECT_EQ(row->nRestrict, expected.restriction) << expected.code;
        EXPECT_EQ(row->nUnitSize, expected.unitSize) << expected.code;
    }
    EXPECT_STREQ(MDicomVR::GetFirst()->pszName, L"Application Entity");
    EXPECT_STREQ(MDicomVR::GetLast()->pszName, L"Other Float String");
}

TEST(VrTest, FindsEveryRowAndCodesThatAreNoLetters) {
    for (_DICOMVR *row = MDicomVR::GetFirst(); row != nullptr; row = MDicomVR::GetNext(row)) {
        EXPECT_EQ(MDicomVR::Find(row->nCode), row);
    }
    for (const uint16_t code : {0x0000, 0x2020, 0x4F5B, 0x5B41, 0x4142 + 0x20, 0xFFFF}) {
        EXPECT_EQ(MDicomVR::Find(code), nullptr) << code;
        _DICOMVR *row = MDicomVR::Insert(code, L"Odd", 0, VR_BINARY, 1);
        EXPECT_EQ(MDicomVR::Find(code), row) << code;
        MDicomVR::Delete(row);
        EXPECT_EQ(MDicomVR::Find(code), nullptr) << code;
    }
}

TEST(UidTest, FindsWholeUidsOnly) {
    EXPECT_STREQ(MDicomUID::Find(L"1.2.840.10008.1.2")->pszName,
                 L"Implicit VR Little Endian: Default Transfer Syntax for DICOM");
    for (const wchar_t *uid : {L"1.2.840.10008.1.2 ", L" 1.2.840.10008.1.2", L"1.2.840.10008.1",
                               L"1.2.840.10008.1.2.", L"1.2.840.10008.1.2.x", L""}) {
        EXPECT_EQ(MDicomUID::Find(uid), nullptr) << uid;
    }
    EXPECT_EQ(MDicomUID::Find(nullptr), nullptr);
    EXPECT_EQ(MDicomUID::Insert(nullptr, L"name", 0), nullptr);
}

TEST(UidTest, DefaultRowsAreDistinctAndHaveTheirKinds) {
    std::map<uint32_t, int> kinds;
    for (_DICOMUID *row = MDicomUID::GetFirst(); row != nullptr; row = MDicomUID::GetNext(row)) {
        ++kinds[row->nType];
        EXPECT_EQ(MDicomUID::Find(row->pszCode), row);
    }
    const std::map<uint32_t, int> expected = {
        {UID_TYPE_OTHER, 8},       {UID_TYPE_TRANSFER1, 6},           {UID_TYPE_TRANSFER2, 29},
        {UID_TYPE_CLASS, 175},     {UID_TYPE_META_CLASS, 9},          {UID_TYPE_INSTANCE, 8},
        {UID_TYPE_APPLICATION, 1}, {UID_TYPE_FRAME_OF_REFERENCE, 20}, {UID_TYPE_LDAP, 39}};
    EXPECT_EQ(kinds, expected);
    EXPECT_EQ(MDicomUID::Find(L"1.2.840.10008.1.2.4.90")->nType, uint32_t(UID_TYPE_TRANSFER2));
    EXPECT_EQ(MDicomUID::Find(L"1.2.840.10008.3.1.1.1")->nType, uint32_t(UID_TYPE_APPLICATION));
}

TEST(UidTest, ASecondRowStaysBehindTheFirst) {
    const _DICOMUID *standard = MDicomUID::Find(L"1.2.840.10008.1.1");
    _DICOMUID *own = MDicomUID::Insert(L"1.2.840.10008.1.1", L"Own", UID_TYPE_OTHER);
    EXPECT_EQ(MDicomUID::GetCount(), 296u);
    EXPECT_EQ(MDicomUID::Find(L"1.2.840.10008.1.1"), standard);
    MDicomUID::Delete(own);
    EXPECT_EQ(MDicomUID::Find(L"1.2.840.10008.1.1"), standard);
}

} // namespace
