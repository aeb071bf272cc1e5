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
    ASSERT_EQ(ds.GetFirstKey(nullptr, 0), all.empty() ? nullptr : all.front()->key);
    ASSERT_EQ(ds.GetLastKey(nullptr, 0), all.empty() ? nullptr : all.back()->key);
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
        ASSERT_EQ(ds.GetNextKey(node->key, 1), KeyOf(next));
        ASSERT_EQ(ds.GetPrevKey(node->key, 1), KeyOf(prev));
        ASSERT_EQ(ds.GetNextKey(node->key, 0), i + 1 < all.size() ? all[i + 1]->key : nullptr);
        ASSERT_EQ(ds.GetPrevKey(node->key, 0), i > 0 ? all[i - 1]->key : nullptr);
        ASSERT_EQ(ds.GetChildKey(node->key), KeyOf(child));
        ASSERT_EQ(ds.GetParentKey(node->key), KeyOf(node->parent));
        ASSERT_EQ(ds.GetRootKey(node->key), top->key);
        ASSERT_EQ(ds.GetFirstKey(node->key, 1), level.front()->key);
        ASSERT_EQ(ds.GetLastKey(node->key, 1), level.back()->key);
        ASSERT_EQ(ds.GetFirstKey(node->key, 0), all.front()->key);
        ASSERT_EQ(ds.GetLastKey(node->key, 0), all.back()->key);
    }
}

Model *AnyOf(std::vector<Model *> &all, std::mt19937 &random) {
    return all[random() % all.size()];
}

void CompareAfterReload(MDicomDS &ds, Model &root) {
    support::TemporaryFolder folder;
    ASSERT_EQ(ds.SaveDS(folder.WideFile("DICOMDIR").c_str(), 0), 0);
    MDicomDS again(nullptr);
    ASSERT_EQ(again.LoadDS(folder.WideFile("DICOMDIR").c_str(), 0), 0);
    std::vector<Model *> all;
    root.List(all);
    _DICOMELEMENT *key = again.GetFirstKey(nullptr, 0);
    for (const Model *node : all) {
        ASSERT_EQ(LabelOf(again, key), node->label);
        const Model *parent = node->parent->key != nullptr ? node->parent : nullptr;
        ASSERT_EQ(LabelOf(again, again.GetParentKey(key)), parent != nullptr ? parent->label : -1);
        key = again.GetNextKey(key, 0);
    }
    ASSERT_EQ(key, nullptr);
    ASSERT_TRUE(all.empty() || ds.InsertKey(all.front()->key, L"", 0)->nRecordOffset < 1000);
}

TEST(KeyModel, RandomEditsAgreeWithAPlainTreeAndSurviveAReload) {
    for (unsigned seed = 0; seed < 20; ++seed) {
        std::mt19937 random(seed);
        MDicomDS ds(nullptr);
        Model root;
        for (int step = 1; step <= 120; ++step) {
            std::vector<Model *> all{&root};
            root.List(all);
            Model *node = AnyOf(all, random);
            if (random() % 4 != 0 || node == &root) {
                auto &child = node->children.emplace_back(new Model);
                child->parent = node;
                child->label = step;
                child->key = ds.InsertKey(node->key, L"IMAGE", 0);
                SetLabel(ds, child->key, step);
            } else {
                ds.DeleteKey(node->key);
                auto &level = node->parent->children;
                std::erase_if(level, [node](const auto &each) { return each.get() == node; });
            }
            // Without a comparison in between, edits stand on what edits have kept up to date.
            if (random() % 3 == 0) {
                ASSERT_NO_FATAL_FAILURE(Compare(ds, root)) << seed;
            }
        }
        ASSERT_NO_FATAL_FAILURE(Compare(ds, root)) << seed;
        ASSERT_NO_FATAL_FAILURE(CompareAfterReload(ds, root)) << seed;
    }
}

/** Walks in all ways from a record: each walk ends, and each step back undoes a step forward. */
void CheckSteps(MDicomDS &ds, _DICOMELEMENT *key, size_t records) {
    for (const int32_t sameLevel : {0, 1}) {
        size_t steps = 0;
        for (_DICOMELEMENT *at = key; at != nullptr && steps <= records; ++steps) {
            _DICOMELEMENT *next = ds.GetNextKey(at, sameLevel);
            if (next != nullptr) {
                ASSERT_EQ(ds.GetPrevKey(next, sameLevel), at);
            }
            at = next;
        }
        ASSERT_LE(steps, records);
        ASSERT_EQ(ds.GetNextKey(ds.GetLastKey(key, sameLevel), sameLevel), nullptr);
        ASSERT_EQ(ds.GetPrevKey(ds.GetFirstKey(key, sameLevel), sameLevel), nullptr);
    }
    size_t steps = 0;
    for (_DICOMELEMENT *at = key; at != nullptr && steps <= records; ++steps) {
        _DICOMELEMENT *child = ds.GetChildKey(at);
        if (child != nullptr) {
            ASSERT_EQ(ds.GetParentKey(child), at);
        }
        at = child;
    }
    ASSERT_LE(steps, records);
    ASSERT_EQ(ds.GetParentKey(ds.GetRootKey(key)), nullptr);
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

TEST(KeyModel, WalksOverDamagedReferencesEnd) {
    const std::vector<std::vector<RawRecord>> loops = {
        {{1, 0}},                         // its own neighbour
        {{0, 1}},                         // its own child
        {{2, 0}, {3, 0}, {1, 0}},         // siblings in a ring
        {{0, 2}, {0, 3}, {0, 1}},         // parents in a ring
        {{2, 3}, {0, 0}, {2, 1}},         // a child whose level is that of its parent
        {{2, 2}, {3, 3}, {4, 4}, {0, 0}}, // two ways to each record
        {{0, 2}, {3, 9}, {8, 0}, {5, 0}, {4, 0}},
    };
    for (const auto &records : loops) {
        support::Bytes bytes = EncodeDirectory(1, records);
        MDicomDS ds(nullptr);
        ASSERT_EQ(support::LoadBytes(ds, bytes, DS_IMPLICIT_VR | DS_LITTLE_ENDIAN), 0);
        ASSERT_NO_FATAL_FAILURE(CheckAllSteps(ds));
        ds.DeleteKey(ds.GetFirstKey(nullptr, 0));
        ASSERT_NO_FATAL_FAILURE(CheckAllSteps(ds));
    }
}

TEST(KeyModel, EditsOfRandomReferencesEnd) {
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
                ds.DeleteKey(key);
            } else {
                _DICOMELEMENT *added = ds.InsertKey(key, L"IMAGE", 0);
                ASSERT_NE(added, nullptr);
                ASSERT_EQ(ds.GetParentKey(added), key);
                ASSERT_EQ(ds.GetLastKey(key == nullptr ? nullptr : ds.GetChildKey(key), 1), added);
            }
            ASSERT_NO_FATAL_FAILURE(CheckAllSteps(ds)) << seed;
        }
    }
}

/** A quadratic step would take minutes. */
class Limit {
  public:
    ~Limit() {
        const auto elapsed = std::chrono::steady_clock::now() - m_Start;
        EXPECT_LT(elapsed, std::chrono::seconds(10));
    }

  private:
    std::chrono::steady_clock::time_point m_Start = std::chrono::steady_clock::now();
};

TEST(KeyModel, ALongLevelTakesLinearTime) {
    constexpr int kCount = 30'000;
    const Limit limit;
    MDicomDS ds(nullptr);
    _DICOMELEMENT *series = ds.InsertKey(nullptr, L"SERIES", 0);
    for (int i = 0; i < kCount; ++i) {
        _DICOMELEMENT *key = ds.InsertKey(series, L"IMAGE", 0);
        ASSERT_EQ(ds.GetParentKey(key), series);
        ASSERT_EQ(ds.GetLastKey(key, 1), key);
    }
    int count = 0;
    for (_DICOMELEMENT *key = ds.GetFirstKey(nullptr, 0); key != nullptr; ++count) {
        key = ds.GetNextKey(key, 0);
    }
    EXPECT_EQ(count, kCount + 1);
    while (_DICOMELEMENT *key = ds.GetChildKey(series)) {
        ds.DeleteKey(count % 2 == 0 ? key : ds.GetLastKey(key, 1));
        --count;
    }
    EXPECT_EQ(count, 1);
}

TEST(KeyModel, ADeepChainTakesLinearTimeAndNoStack) {
    constexpr uint32_t kCount = 30'000;
    const Limit limit;
    MDicomDS ds(nullptr);
    _DICOMELEMENT *key = nullptr;
    for (uint32_t i = 0; i < kCount; ++i) key = ds.InsertKey(key, L"IMAGE", 0);
    EXPECT_EQ(ds.GetRootKey(key), ds.GetFirstKey(nullptr, 1));
    EXPECT_EQ(ds.GetLastKey(nullptr, 0), key);
    EXPECT_EQ(key->nRecordOffset, kCount);
    ds.DeleteKey(ds.GetChildKey(ds.GetFirstKey(nullptr, 1)));
    EXPECT_EQ(ds.GetNextKey(ds.GetFirstKey(nullptr, 0), 0), nullptr);
}

} // namespace
