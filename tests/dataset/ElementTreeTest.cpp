// The element tree: places, refusals, walks, and searches against plain walks of the tree.

#include <gtest/gtest.h>

#include <random>

#include "support/TestFiles.h"
#include "support/TreeCompare.h"

namespace {

constexpr uint32_t kAppend = 0xFFFFFFFF;

_DICOMELEMENT *Add(MDicomDS &ds, _DICOMELEMENT *parent, uint32_t tag, uint32_t index = kAppend) {
    return ds.InsertElement(parent, 1, tag, 0, 0, index);
}

std::vector<uint32_t> TagsOf(MDicomDS &ds) {
    std::vector<uint32_t> tags;
    for (auto *e = ds.GetFirstElement(nullptr, 1, 1); e != nullptr;
         e = ds.GetNextElement(e, 1, 1)) {
        tags.push_back(e->nTag);
    }
    return tags;
}

TEST(ElementTree, SortsElementsAndPlacesItems) {
    MDicomDS ds(nullptr);
    _DICOMELEMENT *name = Add(ds, nullptr, 0x00100010);
    ASSERT_NE(name, nullptr);
    EXPECT_EQ(name->nVR, 0x504E);
    Add(ds, nullptr, 0x00080016);
    ds.InsertElement(name, 0, 0x00100020, 0, 0, 0);
    EXPECT_EQ(TagsOf(ds), (std::vector<uint32_t>{0x00080016, 0x00100010, 0x00100020}));
    _DICOMELEMENT *sequence = Add(ds, nullptr, 0x00081140);
    ASSERT_EQ(sequence->nLength, 0xFFFFFFFF);
    _DICOMELEMENT *first = Add(ds, sequence, TAG_ITEM);
    _DICOMELEMENT *third = Add(ds, sequence, TAG_ITEM, 5);
    _DICOMELEMENT *second = Add(ds, sequence, TAG_ITEM, 1);
    _DICOMELEMENT *zeroth = Add(ds, sequence, TAG_ITEM, 0);
    EXPECT_EQ(ds.GetChildElement(sequence, 1), zeroth);
    EXPECT_EQ(ds.GetNextElement(zeroth, 1, 1), first);
    EXPECT_EQ(ds.GetNextElement(first, 1, 1), second);
    EXPECT_EQ(ds.GetNextElement(second, 1, 1), third);
    EXPECT_EQ(ds.GetLevelElement(second), 1u);
    EXPECT_EQ(ds.GetRootElement(second), sequence);
    EXPECT_EQ(Add(ds, nullptr, 0x00091001)->nVR, 0);
}

struct Heard {
    std::vector<uint16_t> codes;
    static int32_t Hear(_DICOMELEMENT *, uint16_t code, void *user) {
        static_cast<Heard *>(user)->codes.push_back(code);
        return 0;
    }
};

TEST(ElementTree, TellsWhyItRefuses) {
    MDicomDS ds(nullptr);
    Heard heard;
    ds.SetDebugDS(Heard::Hear, &heard);
    for (const uint32_t tag : {0x00080000u, 0x00100000u, 0xFFFEE00Du, 0xFFFEE0DDu, 0xFFFCFFFCu}) {
        EXPECT_EQ(Add(ds, nullptr, tag), nullptr);
    }
    EXPECT_EQ(heard.codes, std::vector<uint16_t>(5, DS_DEBUG_BAD_TAG));
    heard.codes.clear();
    _DICOMELEMENT *name = Add(ds, nullptr, 0x00100010);
    EXPECT_EQ(Add(ds, nullptr, 0x00100010), nullptr);
    EXPECT_NE(Add(ds, name, 0x00100020), nullptr); // the first child of a leaf is taken
    EXPECT_EQ(Add(ds, name, 0x00100030), nullptr);
    _DICOMELEMENT stale{};
    EXPECT_EQ(ds.GetNextElement(&stale, 1, 1), nullptr);
    EXPECT_EQ(ds.IsVolatileElement(&stale), 1);
    EXPECT_EQ(heard.codes, (std::vector<uint16_t>{DS_DEBUG_DUPLICATE, DS_DEBUG_BAD_ELEMENT,
                                                  DS_DEBUG_BAD_ELEMENT, DS_DEBUG_BAD_ELEMENT}));
    ds.m_bConforming = 1;
    EXPECT_EQ(Add(ds, nullptr, 0x00100040), nullptr);
    EXPECT_EQ(ds.DeleteElement(name), nullptr);
    ds.m_bConforming = 0;
}

TEST(ElementTree, DeletionReturnsTheNearestElement) {
    MDicomDS ds(nullptr);
    _DICOMELEMENT *a = Add(ds, nullptr, 0x00080016);
    _DICOMELEMENT *b = Add(ds, nullptr, 0x00081140);
    _DICOMELEMENT *c = Add(ds, nullptr, 0x00100010);
    _DICOMELEMENT *item = Add(ds, b, TAG_ITEM);
    EXPECT_EQ(ds.DeleteElement(item), b);
    EXPECT_EQ(ds.DeleteElement(b), c);
    EXPECT_EQ(ds.DeleteElement(c), a);
    EXPECT_EQ(ds.DeleteElement(a), nullptr);
    EXPECT_EQ(ds.DeleteElement(nullptr), nullptr);
}

TEST(ElementTree, WalksHideVolatileElements) {
    MDicomDS ds(nullptr);
    Add(ds, nullptr, 0x00020010);
    _DICOMELEMENT *name = Add(ds, nullptr, 0x00100010);
    Add(ds, nullptr, 0x00280010);
    _DICOMELEMENT *pixels = ds.InsertElement(nullptr, 0, TAG_PIXEL_DATA, 0x4F42, 1, 0);
    _DICOMELEMENT *fragment = Add(ds, pixels, TAG_ITEM);
    EXPECT_EQ(ds.GetFirstElement(nullptr, 1, 0), name);
    EXPECT_EQ(ds.GetNextElement(name, 0, 0), pixels);
    EXPECT_EQ(ds.GetLastElement(nullptr, 0, 0), pixels);
    EXPECT_EQ(ds.GetPrevElement(pixels, 1, 0), name);
    EXPECT_EQ(ds.GetChildElement(pixels, 0), nullptr);
    EXPECT_EQ(ds.GetChildElement(pixels, 1), fragment);
    EXPECT_EQ(ds.IsVolatileElement(fragment), 1);
    EXPECT_EQ(ds.IsVolatileElement(nullptr), 0);
}

/** Finds by walking alone. */
_DICOMELEMENT *WalkTo(MDicomDS &ds, _DICOMELEMENT *from, uint32_t tag, int32_t sameLevel) {
    auto *e = ds.GetFirstElement(from, sameLevel, 1);
    while (e != nullptr && e->nTag != tag) e = ds.GetNextElement(e, sameLevel, 1);
    return e;
}

/** Random insertions and deletions at every depth: what the searches find with their index is
 *  what a walk finds, levels stay sorted, and the tree stays sound. */
TEST(ElementTree, SearchesFindWhatWalksFind) {
    std::mt19937 random(3);
    MDicomDS ds(nullptr);
    std::vector<_DICOMELEMENT *> alive;
    const auto anyTag = [&] {
        return (0x0008u + 2 * (random() % 4)) << 16 | (0x1000 + random() % 300);
    };
    for (int step = 0; step < 12000; ++step) {
        _DICOMELEMENT *near = alive.empty() ? nullptr : alive[random() % alive.size()];
        if (random() % 4 == 0) near = nullptr;
        const bool asItem = near != nullptr && near->nVR == 0x5351;
        if (random() % 9 == 0 && near != nullptr) {
            ds.DeleteElement(near);
            alive.clear();
            for (auto *e = ds.GetFirstElement(nullptr, 0, 1); e != nullptr;
                 e = ds.GetNextElement(e, 0, 1)) {
                alive.push_back(e);
            }
        } else if (asItem) {
            alive.push_back(ds.InsertElement(near, 1, TAG_ITEM, 0, 1, random() % 5));
        } else {
            const bool child = near != nullptr && near->nTag == TAG_ITEM;
            const uint32_t tag = anyTag();
            _DICOMELEMENT *parent = child ? near : ds.GetParentElement(near);
            if (parent != nullptr && parent->nTag != TAG_ITEM) continue;
            auto *level = parent != nullptr ? ds.GetChildElement(parent, 1)
                                            : ds.GetFirstElement(nullptr, 1, 1);
            const bool taken = level != nullptr && WalkTo(ds, level, tag, 1) != nullptr;
            auto *e = ds.InsertElement(near, child, tag, random() % 3 == 0 ? 0x5351 : 0x4C4F, 0, 0);
            ASSERT_EQ(e == nullptr, taken);
            if (e != nullptr) alive.push_back(e);
        }
        if (step % 3 != 0) continue;
        const uint32_t tag = random() % 5 == 0 ? TAG_ITEM : anyTag();
        ASSERT_EQ(ds.FindFirstElement(nullptr, tag, 0), WalkTo(ds, nullptr, tag, 0));
        _DICOMELEMENT *from = alive.empty() ? nullptr : alive[random() % alive.size()];
        ASSERT_EQ(ds.FindFirstElement(from, tag, 1), WalkTo(ds, from, tag, 1));
        auto *last = ds.FindLastElement(nullptr, tag, 0);
        ASSERT_EQ(last == nullptr, WalkTo(ds, nullptr, tag, 0) == nullptr);
        if (last != nullptr) {
            ASSERT_EQ(ds.FindNextElement(last, 0), nullptr);
        }
    }
    for (auto *e = ds.GetFirstElement(nullptr, 0, 1); e != nullptr;
         e = ds.GetNextElement(e, 0, 1)) {
        auto *next = ds.GetNextElement(e, 1, 1);
        if (next != nullptr && e->nTag != TAG_ITEM) {
            ASSERT_LT(e->nTag, next->nTag);
        }
    }
    while (ds.m_Tree.GetCount(nullptr, 0) > 1500)
        ds.DeleteElement(ds.GetLastElement(nullptr, 1, 1));
    EXPECT_EQ(ds.m_Tree.Verify(), nullptr);
}

TEST(ElementTree, ResetKeepsPreambleOnly) {
    MDicomDS ds(nullptr);
    const uint8_t preamble[] = {1, 2, 3};
    ds.SetPreamble(preamble, 3);
    _DICOMELEMENT *name = Add(ds, nullptr, 0x00100010);
    char text[] = "A^B ";
    ASSERT_NE(ds.SetBinaryValue(name, text, 4), 0);
    ds.m_nFlags = 40;
    ds.ResetDS();
    uint8_t kept[4] = {};
    ds.GetPreamble(kept, 4);
    EXPECT_EQ(kept[2], 3);
    EXPECT_EQ(ds.m_nFlags, 37);
    EXPECT_EQ(ds.GetFirstElement(nullptr, 0, 1), nullptr);
    EXPECT_EQ(ds.m_TempFile.nLength, 0u);
    EXPECT_EQ(ds.SetKeepPixelDataIntactFlag(1), 0);
    EXPECT_EQ(ds.GetKeepPixelDataIntactFlag(), 1);
}

} // namespace
