// The key view against a plain tree, with damaged references, and on large directories.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <random>

#include "Directory.h"

namespace {

/** A tree as anyone would write it. */
struct Model {
    Model *parent = nullptr;
    std::vector<std::unique_ptr<Model>> children;
    _DICOMELEMENT *key = nullptr;
    int label = 0;

    void List(std::vector<Model *> &out) {
        for (const auto &child : children) {
            out.push_back(child.get());
            child->List(out);
        }
    }
};

_DICOMELEMENT *KeyOf(const Model *node) {
    return node != nullptr ? node->key : nullptr;
}

/** Compares every step from every record. */
void Compare(MDicomDS &ds, Model &root) {
    std::vector<Model *> all;
    root.List(all);
    ASSERT_EQ(M_DicomGetFirstKey(&ds, nullptr, 0), all.empty() ? nullptr : all.front()->key);
    ASSERT_EQ(M_DicomGetLastKey(&ds, nullptr, 0), all.empty() ? nullptr : all.back()->key);
    for (size_t i = 0; i < all.size(); ++i) {
        const Model *node = all[i];
        const auto &level = node->parent->children;
        const auto at = std::find_if(level.begin(), level.end(),
                                     [node](const auto &each) { return each.get() == node; });
        const Model *next = at + 1 != level.end() ? at[1].get() : nullptr;
        const Model *prev = at != level.begin() ? at[-1].get() : nullptr;
        const Model *child = node->children.empty() ? nullptr : node->children.front().get();
        const Model *top = node;
        while (top->parent->parent != nullptr) top = top->parent;
        ASSERT_EQ(M_DicomGetNextKey(&ds, node->key, 1), KeyOf(next));
        ASSERT_EQ(M_DicomGetPrevKey(&ds, node->key, 1), KeyOf(prev));
        ASSERT_EQ(M_DicomGetNextKey(&ds, node->key, 0),
                  i + 1 < all.size() ? all[i + 1]->key : nullptr);
        ASSERT_EQ(M_DicomGetPrevKey(&ds, node->key, 0), i > 0 ? all[i - 1]->key : nullptr);
        ASSERT_EQ(M_DicomGetChildKey(&ds, node->key), KeyOf(child));
        ASSERT_EQ(M_DicomGetParentKey(&ds, node->key), KeyOf(node->parent));
        ASSERT_EQ(M_DicomGetRootKey(&ds, node->key), top->key);
        ASSERT_EQ(M_DicomGetFirstKey(&ds, node->key, 1), level.front()->key);
        ASSERT_EQ(M_DicomGetLastKey(&ds, node->key, 1), level.back()->key);
        ASSERT_EQ(M_DicomGetFirstKey(&ds, node->key, 0), all.front()->key);
        ASSERT_EQ(M_DicomGetLastKey(&ds, node->key, 0), all.back()->key);
    }
}

void CompareAfterReload(MDicomDS &ds, Model &root, uint16_t flags) {
    support::TemporaryFolder folder;
    ASSERT_EQ(ds.SaveDS(folder.WideFile("DICOMDIR").c_str(), flags), 0);
    MDicomDS again(nullptr);
    ASSERT_EQ(again.LoadDS(folder.WideFile("DICOMDIR").c_str(), 0), 0);
    std::vector<Model *> all;
    root.List(all);
    _DICOMELEMENT *key = M_DicomGetFirstKey(&again, nullptr, 0);
    for (const Model *node : all) {
        ASSERT_EQ(LabelOf(again, key), node->label);
        const Model *parent = node->parent->key != nullptr ? node->parent : nullptr;
        ASSERT_EQ(LabelOf(again, M_DicomGetParentKey(&again, key)),
                  parent != nullptr ? parent->label : -1);
        key = M_DicomGetNextKey(&again, key, 0);
    }
    ASSERT_EQ(key, nullptr);
    ASSERT_TRUE(all.empty() ||
                M_DicomInsertKey(&ds, all.front()->key, L"", 0)->nRecordOffset < 1000);
}

TEST(KeyModel, RandomEditsAgreeWithAPlainTreeAndSurviveAReload) {
    for (unsigned seed = 0; seed < 20; ++seed) {
        std::mt19937 random(seed);
        MDicomDS ds(nullptr);
        Model root;
        for (int step = 1; step <= 120; ++step) {
            std::vector<Model *> all{&root};
            root.List(all);
            Model *node = all[random() % all.size()];
            if (random() % 4 != 0 || node == &root) {
                auto &child = node->children.emplace_back(new Model);
                child->parent = node;
                child->label = step;
                child->key = M_DicomInsertKey(&ds, node->key, L"IMAGE", 0);
                SetLabel(ds, child->key, step);
            } else {
                M_DicomDeleteKey(&ds, node->key);
                auto &level = node->parent->children;
                std::erase_if(level, [node](const auto &each) { return each.get() == node; });
            }
            // Without a comparison in between, edits stand on what edits have kept up to date.
            if (random() % 3 == 0) {
                ASSERT_NO_FATAL_FAILURE(Compare(ds, root)) << seed;
            }
        }
        ASSERT_NO_FATAL_FAILURE(Compare(ds, root)) << seed;
        const uint16_t forms[] = {0, DS_LENGTH_EXPLICIT, DS_GROUP_LENGTHS, DS_IMPLICIT_VR};
        ASSERT_NO_FATAL_FAILURE(CompareAfterReload(ds, root, forms[seed % 4])) << seed;
    }
}

/** Walks in all ways from a record: each walk ends, and each step back undoes a step forward. */
void CheckSteps(MDicomDS &ds, _DICOMELEMENT *key, size_t records) {
    for (const int32_t sameLevel : {0, 1}) {
        size_t steps = 0;
        for (_DICOMELEMENT *at = key; at != nullptr && steps <= records; ++steps) {
            _DICOMELEMENT *next = M_DicomGetNextKey(&ds, at, sameLevel);
            if (next != nullptr) {
                ASSERT_EQ(M_DicomGetPrevKey(&ds, next, sameLevel), at);
            }
            at = next;
        }
        ASSERT_LE(steps, records);
        ASSERT_EQ(M_DicomGetNextKey(&ds, M_DicomGetLastKey(&ds, key, sameLevel), sameLevel),
                  nullptr);
        ASSERT_EQ(M_DicomGetPrevKey(&ds, M_DicomGetFirstKey(&ds, key, sameLevel), sameLevel),
                  nullptr);
    }
    size_t steps = 0;
    for (_DICOMELEMENT *at = key; at != nullptr && steps <= records; ++steps) {
        _DICOMELEMENT *child = M_DicomGetChildKey(&ds, at);
        if (child != nullptr) {
            ASSERT_EQ(M_DicomGetParentKey(&ds, child), at);
        }
        at = child;
    }
    ASSERT_LE(steps, records);
    ASSERT_EQ(M_DicomGetParentKey(&ds, M_DicomGetRootKey(&ds, key)), nullptr);
}

void CheckAllSteps(MDicomDS &ds) {
    std::vector<_DICOMELEMENT *> keys;
    _DICOMELEMENT *records = ds.FindFirstElement(nullptr, kRecords, 1);
    for (_DICOMELEMENT *item = ds.GetChildElement(records, 1); item != nullptr;
         item = ds.GetNextElement(item, 1, 1)) {
        keys.push_back(item);
    }
    for (_DICOMELEMENT *key : keys) ASSERT_NO_FATAL_FAILURE(CheckSteps(ds, key, keys.size()));
}

/** Most of these references lead in circles, to one record in two ways, or nowhere. */
TEST(KeyModel, WalksAndEditsOfRandomReferencesEnd) {
    for (unsigned seed = 0; seed < 400; ++seed) {
        std::mt19937 random(seed);
        std::vector<RawRecord> records(1 + random() % 9);
        const auto any = [&] { return static_cast<uint32_t>(random() % (records.size() + 3)); };
        for (RawRecord &record : records) record = {any(), any()};
        support::Bytes bytes = EncodeDirectory(any(), records);
        MDicomDS ds(nullptr);
        ASSERT_EQ(support::LoadBytes(ds, bytes, DS_IMPLICIT_VR | DS_LITTLE_ENDIAN), 0);
        ASSERT_NO_FATAL_FAILURE(CheckAllSteps(ds)) << seed;
        for (int edit = 0; edit < 6; ++edit) {
            _DICOMELEMENT *sequence = ds.FindFirstElement(nullptr, kRecords, 1);
            _DICOMELEMENT *key = ds.GetChildElement(sequence, 1);
            for (uint32_t i = random() % 5; i > 0 && key != nullptr; --i) {
                key = ds.GetNextElement(key, 1, 1);
            }
            if (random() % 2 == 0) {
                M_DicomDeleteKey(&ds, key);
            } else {
                _DICOMELEMENT *added = M_DicomInsertKey(&ds, key, L"IMAGE", 0);
                ASSERT_NE(added, nullptr);
                ASSERT_EQ(M_DicomGetParentKey(&ds, added), key);
                ASSERT_EQ(M_DicomGetLastKey(
                              &ds, key == nullptr ? nullptr : M_DicomGetChildKey(&ds, key), 1),
                          added);
            }
            ASSERT_NO_FATAL_FAILURE(CheckAllSteps(ds)) << seed;
        }
    }
}

TEST(KeyModel, LongLevelsAndDeepChainsTakeLinearTimeAndNoStack) {
    constexpr uint32_t kCount = 30'000;
    const auto start = std::chrono::steady_clock::now();
    MDicomDS level(nullptr);
    _DICOMELEMENT *series = M_DicomInsertKey(&level, nullptr, L"SERIES", 0);
    for (uint32_t i = 0; i < kCount; ++i) {
        _DICOMELEMENT *key = M_DicomInsertKey(&level, series, L"IMAGE", 0);
        ASSERT_EQ(M_DicomGetParentKey(&level, key), series);
        ASSERT_EQ(M_DicomGetLastKey(&level, key, 1), key);
    }
    uint32_t count = 0;
    for (_DICOMELEMENT *key = M_DicomGetFirstKey(&level, nullptr, 0); key != nullptr; ++count) {
        key = M_DicomGetNextKey(&level, key, 0);
    }
    EXPECT_EQ(count, kCount + 1);
    while (_DICOMELEMENT *key = M_DicomGetChildKey(&level, series)) {
        M_DicomDeleteKey(&level, --count % 2 == 0 ? key : M_DicomGetLastKey(&level, key, 1));
    }
    EXPECT_EQ(count, 1u);

    MDicomDS chain(nullptr);
    _DICOMELEMENT *key = nullptr;
    for (uint32_t i = 0; i < kCount; ++i) key = M_DicomInsertKey(&chain, key, L"IMAGE", 0);
    EXPECT_EQ(M_DicomGetRootKey(&chain, key), M_DicomGetFirstKey(&chain, nullptr, 1));
    EXPECT_EQ(M_DicomGetLastKey(&chain, nullptr, 0), key);
    EXPECT_EQ(key->nRecordOffset, kCount);
    M_DicomDeleteKey(&chain, M_DicomGetChildKey(&chain, M_DicomGetFirstKey(&chain, nullptr, 1)));
    EXPECT_EQ(M_DicomGetNextKey(&chain, M_DicomGetFirstKey(&chain, nullptr, 0), 0), nullptr);
    // A quadratic step would take minutes.
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

} // namespace
