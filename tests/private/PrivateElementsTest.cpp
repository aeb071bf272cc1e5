// Private creators and the elements of their blocks.

#include <gtest/gtest.h>

#include <vector>

#include "MDicomFlat.h"
#include "values/Values.h"

namespace {

constexpr uint16_t kFree = 0xFFFF;

class PrivateElements : public testing::Test {
  protected:
    _DICOMELEMENT *Create(const wchar_t *name, uint16_t number = kFree, uint16_t group = 0x0009,
                          _DICOMELEMENT *beside = nullptr) {
        _DICOMELEMENT *creator = nullptr;
        EXPECT_EQ(
            M_DicomCreatePrivateCreatorDataElement(&ds, beside, group, number, name, &creator), 0);
        return creator;
    }

    uint16_t Status(uint16_t group, uint16_t number, const wchar_t *name = L"A") {
        _DICOMELEMENT *creator = nullptr;
        const uint16_t status =
            M_DicomCreatePrivateCreatorDataElement(&ds, nullptr, group, number, name, &creator);
        EXPECT_EQ(creator != nullptr, status == 0);
        return status;
    }

    _DICOMELEMENT *Add(uint32_t tag) {
        return M_DicomInsertElement(&ds, nullptr, 0, tag, Code("LO"), 0, 0);
    }

    MDicomDS ds{nullptr};
};

} // namespace

TEST_F(PrivateElements, CreatorsTakeFreeNumbers) {
    Create(L"EXAMPLE 1.0", 0x13);
    for (uint32_t number = 0x10; number <= 0xFE; ++number) {
        if (number == 0x13) continue;
        ASSERT_EQ(Create(L"EXAMPLE 1.0")->nTag, 0x00090000u + number);
    }
    EXPECT_EQ(Status(9, kFree), 236) << "the last number is only taken when asked for";
    EXPECT_EQ(Status(9, 0xFF), 0);
    EXPECT_EQ(Status(9, 0xFF), 236);
    EXPECT_EQ(M_DicomCreatePrivateCreatorDataElement(&ds, nullptr, 0x000B, kFree, L"A", nullptr),
              0);
}

TEST_F(PrivateElements, CreatorsAreRefused) {
    for (const uint16_t group : {0, 1, 3, 5, 7, 8, 0xFFFE, 0xFFFF}) {
        EXPECT_EQ(Status(group, kFree), 235);
    }
    for (const uint16_t number : {0, 0x0F, 0x100, 0xFFFE}) EXPECT_EQ(Status(9, number), 239);
    EXPECT_EQ(Status(9, 0x10, nullptr), 9);
    EXPECT_EQ(Status(9, 0x10, L"two\\values"), 9);
    EXPECT_EQ(Status(9, 0x10, std::wstring(65, L'x').c_str()), 9);
    EXPECT_EQ(ds.m_Tree.pFirst, nullptr);
    EXPECT_EQ(Status(9, 0x10, std::wstring(64, L'x').c_str()), 0);
}

TEST_F(PrivateElements, CreatorsAreFoundByNameAndGroup) {
    _DICOMELEMENT *first = Create(L"EXAMPLE 1.0");
    _DICOMELEMENT *other = Create(L"OTHER");
    _DICOMELEMENT *later = Create(L"EXAMPLE 1.0", 0x20, 0x0011);
    Add(0x00091001); // in a block
    Add(0x00080060);
    _DICOMELEMENT *sequence = M_DicomInsertElement(&ds, nullptr, 0, 0x00400275, Code("SQ"), 0, 0);
    _DICOMELEMENT *item = M_DicomInsertElement(&ds, sequence, 1, TAG_ITEM, 0, 1, 0);
    _DICOMELEMENT *near = M_DicomInsertElement(&ds, item, 1, 0x00400007, Code("LO"), 0, 0);
    _DICOMELEMENT *nested = Create(L"EXAMPLE 1.0", kFree, 0x0009, near);
    ASSERT_EQ(nested->nTag, 0x00090010u);
    EXPECT_EQ(M_DicomGetParentElement(&ds, nested), item);

    const auto find = [&](int32_t sameLevel, const wchar_t *name, uint16_t group) {
        std::vector<_DICOMELEMENT *> found;
        auto *creator =
            M_DicomFindFirstPrivateCreatorDataElement(&ds, nullptr, sameLevel, name, group);
        for (; creator != nullptr; creator = M_DicomFindNextPrivateCreatorDataElement(
                                       &ds, creator, sameLevel, name, group)) {
            found.push_back(creator);
        }
        return found;
    };
    using Found = std::vector<_DICOMELEMENT *>;
    EXPECT_EQ(find(1, L"EXAMPLE 1.0  ", 0), (Found{first, later}));
    EXPECT_EQ(find(0, L"EXAMPLE 1.0", 0), (Found{first, later, nested}));
    EXPECT_EQ(find(0, L"EXAMPLE 1.0", 0x0009), (Found{first, nested}));
    EXPECT_EQ(find(1, nullptr, 0), (Found{first, other, later}));
    EXPECT_EQ(find(1, nullptr, 0x0011), (Found{later}));
    EXPECT_EQ(find(0, L"EXAMPLE", 0), Found{});
    EXPECT_EQ(find(0, L" EXAMPLE 1.0", 0), Found{});
    EXPECT_EQ(find(0, L"", 0), Found{});
    for (const uint16_t group : {4, 7, 0xFFFF}) EXPECT_EQ(find(0, nullptr, group), Found{});
    EXPECT_EQ(M_DicomFindFirstPrivateCreatorDataElement(&ds, near, 1, nullptr, 0), nested);

    // A name that another search has handed out stays while it is looked for.
    const wchar_t *name = ds.GetStringValue(first, 0, 1);
    EXPECT_EQ(find(1, name, 0), (Found{first, later}));
    EXPECT_EQ(std::wstring(name), L"EXAMPLE 1.0");
}

TEST_F(PrivateElements, BlocksAreWalkedAndFilled) {
    Create(L"FIRST");
    _DICOMELEMENT *creator = Create(L"EXAMPLE 1.0");
    Add(0x00091000);
    uint32_t tag = 0;
    EXPECT_EQ(M_DicomFindFirstPrivateElement(&ds, creator), nullptr);
    EXPECT_EQ(M_DicomGetNextUnusedPrivateTag(&ds, creator, &tag), 0);
    EXPECT_EQ(tag, 0x00091100u);
    _DICOMELEMENT *first = Add(0x00091100);
    _DICOMELEMENT *second = Add(0x00091101);
    _DICOMELEMENT *behind = Add(0x00091200);
    Add(0x000B1100);
    EXPECT_EQ(M_DicomGetNextUnusedPrivateTag(&ds, creator, &tag), 0);
    EXPECT_EQ(tag, 0x00091102u);
    EXPECT_EQ(M_DicomFindFirstPrivateElement(&ds, creator), first);
    EXPECT_EQ(M_DicomFindNextPrivateElement(&ds, creator, creator), first);
    EXPECT_EQ(M_DicomFindNextPrivateElement(&ds, first, creator), second);
    EXPECT_EQ(M_DicomFindNextPrivateElement(&ds, second, creator), nullptr);
    EXPECT_EQ(M_DicomFindNextPrivateElement(&ds, behind, creator), nullptr);

    while (M_DicomGetNextUnusedPrivateTag(&ds, creator, &tag) == 0) ASSERT_NE(Add(tag), nullptr);
    EXPECT_EQ(tag, 0x000911FFu);
    EXPECT_EQ(M_DicomGetNextUnusedPrivateTag(&ds, creator, &tag), 238);
}

TEST_F(PrivateElements, WhatIsNoCreatorHasNoBlock) {
    uint32_t tag = 0;
    _DICOMELEMENT *creator = Create(L"EXAMPLE 1.0");
    for (_DICOMELEMENT *element :
         {static_cast<_DICOMELEMENT *>(nullptr), Add(0x00091001), Add(0x00080010)}) {
        EXPECT_EQ(M_DicomFindFirstPrivateElement(&ds, element), nullptr);
        EXPECT_EQ(M_DicomFindNextPrivateElement(&ds, creator, element), nullptr);
        EXPECT_EQ(M_DicomGetNextUnusedPrivateTag(&ds, element, &tag), 9);
    }
    EXPECT_EQ(M_DicomFindNextPrivateElement(&ds, nullptr, creator), nullptr);
    EXPECT_EQ(M_DicomGetNextUnusedPrivateTag(&ds, creator, nullptr), 9);
}
