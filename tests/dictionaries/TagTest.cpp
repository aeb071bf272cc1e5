// The data dictionary: its default rows, masks, and the rule that the first match wins.

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <vector>

#include "MDicomTag.h"
#include "MDicomVR.h"

namespace {

class TagTest : public testing::Test {
  protected:
    void TearDown() override { MDicomTag::Default(); }
};

/** The rule that the index has to keep. */
const _DICOMTAG *FindByWalk(uint32_t tag) {
    for (_DICOMTAG *row = MDicomTag::GetFirst(); row != nullptr; row = MDicomTag::GetNext(row)) {
        if ((tag & row->nMask) == row->nCode) return row;
    }
    return nullptr;
}

TEST_F(TagTest, FindsRowsByTagAndMask) {
    const struct {
        uint32_t tag;
        const wchar_t *name;
    } cases[] = {
        {0x00000000, L"Command Group Length"},
        {0x00181153, L"Exposure in \u00B5As"},
        {0x7FE00010, L"Pixel Data"},
        {0x60023000, L"Overlay Data"},
        {0x60013000, nullptr},
        {0x00280450, L"Rows For Nth Order Coefficients (Retired)"},
        {0x00280400, L"Transform Label (Retired)"},
        {0x002031AB, L"Source Image IDs (Retired)"},
        {0x1000ABC3, L"Huffman Table Triplet (Retired)"},
        {0x10101234, L"Zonal Map (Retired)"},
        {0x00090010, L"SPI Release 1 - Comments"},
        {0x00190010, L"SIEMENS CM VA0 CMS - Net Frequency"},
        {0xFFFEE0DD, L"Sequence Delimitation Item"},
        {0x00291010, nullptr},
        {0xFFFFFFFF, nullptr},
    };
    for (const auto &expected : cases) {
        const _DICOMTAG *row = MDicomTag::Find(expected.tag);
        EXPECT_EQ(row != nullptr, expected.name != nullptr) << std::hex << expected.tag;
        if (row != nullptr && expected.name != nullptr) {
            EXPECT_STREQ(row->pszName, expected.name) << std::hex << expected.tag;
        }
    }
}

TEST_F(TagTest, DefaultRowsAreComplete) {
    std::map<uint32_t, int> masks;
    int retired = 0;
    for (_DICOMTAG *row = MDicomTag::GetFirst(); row != nullptr; row = MDicomTag::GetNext(row)) {
        ++masks[row->nMask];
        const std::wstring name = row->pszName;
        retired += name.ends_with(L" (Retired)");
        EXPECT_FALSE(name.empty());
        EXPECT_EQ(row->nCode & ~row->nMask, 0u) << name.c_str();
        EXPECT_NE(MDicomVR::Find(row->nVR), nullptr) << name.c_str();
        EXPECT_LE(row->nMinVM, row->nMaxVM) << name.c_str();
        EXPECT_GE(row->nDivideVM, 1u) << name.c_str();
    }
    const std::map<uint32_t, int> expected = {{0xFF01FFFF, 71}, {0xFFFF0000, 1},
                                              {0xFFFF000F, 6},  {0xFFFFFF00, 1},
                                              {0xFFFFFF0F, 9},  {0xFFFFFFFF, 2901}};
    EXPECT_EQ(masks, expected);
    EXPECT_EQ(retired, 371);
}

TEST_F(TagTest, RowsHoldTheirColumns) {
    const _DICOMTAG *orientation = MDicomTag::Find(0x00200037);
    EXPECT_EQ(orientation->nVR, 0x4453);
    EXPECT_EQ(orientation->nMinVM, 6u);
    EXPECT_EQ(orientation->nMaxVM, 6u);
    const _DICOMTAG *contour = MDicomTag::Find(0x30060050);
    EXPECT_EQ(contour->nMinVM, 3u);
    EXPECT_EQ(contour->nMaxVM, 0xFFFFFFFFu);
    EXPECT_EQ(contour->nDivideVM, 3u);
    EXPECT_EQ(MDicomTag::Find(0x60003000)->nVR, 0x4F42);
}

TEST_F(TagTest, EveryLookupAgreesWithAWalkOfTheList) {
    std::vector<uint32_t> tags;
    for (_DICOMTAG *row = MDicomTag::GetFirst(); row != nullptr; row = MDicomTag::GetNext(row)) {
        for (const uint32_t bits : {0u, 0x00000050u, 0x00020000u, 0x00010000u, 0x000000FFu}) {
            tags.push_back(row->nCode ^ bits);
        }
    }
    for (const uint32_t tag : tags) {
        ASSERT_EQ(MDicomTag::Find(tag), FindByWalk(tag)) << std::hex << tag;
    }
}

TEST_F(TagTest, LookupsAgreeWithAWalkAmongRandomEdits) {
    std::mt19937 random(7);
    const uint32_t masks[] = {0xFFFFFFFF, 0xFFFFFFF0, 0xFFFF0000, 0xFF01FFFF, 0};
    for (int step = 0; step < 400; ++step) {
        const uint32_t mask = masks[random() % 5];
        // Few distinct tags, so that rows hide each other; bits outside the mask never match.
        const uint32_t code = 0x00110000 + random() % 48;
        if (random() % 3 != 0) {
            MDicomTag::Insert(random() % 4 != 0 ? code & mask : code, mask, L"row", 0x4C4F, 1, 1,
                              1);
        } else {
            MDicomTag::Delete(MDicomTag::FindIndex(2930 + random() % 80));
        }
        for (uint32_t tag = 0x00110000; tag < 0x00110030; ++tag) {
            ASSERT_EQ(MDicomTag::Find(tag), FindByWalk(tag)) << step << ' ' << std::hex << tag;
        }
    }
}

TEST_F(TagTest, ADeletedDefaultRowMakesRoomForAnotherOne) {
    MDicomTag::Insert(0x00100010, 0xFFFFFFFF, L"Own Name", 0x4C4F, 1, 1, 1);
    EXPECT_STREQ(MDicomTag::Find(0x00100010)->pszName, L"Patient's Name");
    MDicomTag::Delete(MDicomTag::Find(0x00100010));
    EXPECT_STREQ(MDicomTag::Find(0x00100010)->pszName, L"Own Name");
}

} // namespace
