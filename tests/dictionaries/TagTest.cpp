// Look-ups of tags: masks, and the rule that the first match of the list wins.

#include <gtest/gtest.h>

#include <random>

#include "MDicomTag.h"

namespace {

class TagTest : public testing::Test {
  protected:
    void TearDown() override { MDicomTag::Default(); }

    /** Compares a look-up with the rule that the index has to keep. */
    static void ExpectFirstMatch(uint32_t tag) {
        _DICOMTAG *row = MDicomTag::GetFirst();
        while (row != nullptr && (tag & row->nMask) != row->nCode) row = MDicomTag::GetNext(row);
        ASSERT_EQ(MDicomTag::Find(tag), row) << std::hex << tag;
    }
};

TEST_F(TagTest, EveryLookupAgreesWithAWalkOfTheList) {
    for (_DICOMTAG *row = MDicomTag::GetFirst(); row != nullptr; row = MDicomTag::GetNext(row)) {
        for (const uint32_t bits : {0u, 0x00000050u, 0x00020000u, 0x00010000u, 0x000000FFu}) {
            ASSERT_NO_FATAL_FAILURE(ExpectFirstMatch(row->nCode ^ bits));
        }
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
            ASSERT_NO_FATAL_FAILURE(ExpectFirstMatch(tag)) << step;
        }
    }
}

} // namespace
