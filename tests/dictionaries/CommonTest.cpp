// What the three dictionaries have in common: the list, its edits, and what happens when memory
// is short.

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "MDicomTag.h"
#include "MDicomUID.h"
#include "MDicomVR.h"
#include "Mvkrnx.h"

namespace {

std::atomic<int> allocationsLeft{0};

int FailAllocation(int kind) {
    return kind == KERNEL_FAULT_ALLOCATE && allocationsLeft-- <= 0;
}

struct Vr : MDicomVR {
    using Row = _DICOMVR;
    static constexpr uint32_t kDefaultRows = 27;
    static Row *Add(const wchar_t *name) { return Insert(0x5A5A, name, 1, VR_BINARY, 1); }
    static Row *FindAdded() { return Find(0x5A5A); }
    static Row *FindOwn(const Row &row) { return Find(row.nCode); }
};

struct Tag : MDicomTag {
    using Row = _DICOMTAG;
    static constexpr uint32_t kDefaultRows = 2989;
    static Row *Add(const wchar_t *name) {
        return Insert(0x00770011, 0xFFFFFFFF, name, 0x4C4F, 1, 1, 1);
    }
    static Row *FindAdded() { return Find(0x00770011); }
    static Row *FindOwn(const Row &row) { return Find(row.nCode); }
};

struct Uid : MDicomUID {
    using Row = _DICOMUID;
    static constexpr uint32_t kDefaultRows = 295;
    static Row *Add(const wchar_t *name) { return Insert(L"1.2.3.4", name, UID_TYPE_OTHER); }
    static Row *FindAdded() { return Find(L"1.2.3.4"); }
    static Row *FindOwn(const Row &row) { return Find(row.pszCode); }
};

template <typename Table>
class DictionaryTest : public testing::Test {
  protected:
    void TearDown() override {
        KernelSetFaultHook(nullptr);
        Table::Default();
    }
};

using Tables = testing::Types<Vr, Tag, Uid>;
TYPED_TEST_SUITE(DictionaryTest, Tables);

TYPED_TEST(DictionaryTest, WalksTheSameRowsInEveryWay) {
    using Table = TypeParam;
    EXPECT_EQ(Table::GetCount(), Table::kDefaultRows);
    uint32_t index = 0;
    typename Table::Row *last = nullptr;
    for (auto *row = Table::GetFirst(); row != nullptr; row = Table::GetNext(row)) {
        ASSERT_EQ(Table::FindIndex(index), row);
        ASSERT_EQ(Table::GetPrev(row), last);
        last = row;
        ++index;
    }
    EXPECT_EQ(index, Table::GetCount());
    EXPECT_EQ(Table::GetLast(), last);
    EXPECT_EQ(Table::FindIndex(index), nullptr);
    EXPECT_EQ(Table::GetNext(nullptr), nullptr);
    EXPECT_EQ(Table::GetPrev(nullptr), nullptr);
}

TYPED_TEST(DictionaryTest, AddedRowsAreFoundUntilTheyAreDeleted) {
    using Table = TypeParam;
    EXPECT_EQ(Table::FindAdded(), nullptr);
    auto *first = Table::Add(L"first");
    auto *second = Table::Add(L"second");
    EXPECT_EQ(Table::GetLast(), second);
    EXPECT_EQ(Table::FindIndex(Table::kDefaultRows + 1), second);
    EXPECT_EQ(Table::FindAdded(), first);
    EXPECT_TRUE(Table::Exists(second));

    EXPECT_EQ(Table::Delete(first), second);
    EXPECT_EQ(Table::FindAdded(), second);
    EXPECT_EQ(Table::Delete(second), Table::FindIndex(Table::kDefaultRows - 1));
    EXPECT_EQ(Table::FindAdded(), nullptr);
    EXPECT_FALSE(Table::Exists(second));
    EXPECT_EQ(Table::Delete(nullptr), nullptr);
    EXPECT_EQ(Table::GetCount(), Table::kDefaultRows);
}

TYPED_TEST(DictionaryTest, AnEmptiedTableWorksAndFillsAgain) {
    using Table = TypeParam;
    Table::Reset();
    EXPECT_EQ(Table::GetFirst(), nullptr);
    EXPECT_EQ(Table::GetLast(), nullptr);
    EXPECT_EQ(Table::GetCount(), 0u);
    EXPECT_EQ(Table::FindIndex(0), nullptr);
    EXPECT_EQ(Table::FindAdded(), nullptr);
    auto *only = Table::Add(L"only");
    EXPECT_EQ(Table::FindAdded(), only);
    EXPECT_EQ(Table::Delete(only), nullptr);
    Table::Default();
    Table::Default();
    EXPECT_EQ(Table::GetCount(), Table::kDefaultRows);
}

TYPED_TEST(DictionaryTest, NamesOfDefaultAndAddedRowsChange) {
    using Table = TypeParam;
    auto *row = Table::GetFirst();
    const std::wstring neighborName = Table::GetNext(row)->pszName;
    EXPECT_TRUE(Table::SetName(row, L"one"));
    EXPECT_TRUE(Table::SetName(row, L"another"));
    EXPECT_TRUE(Table::SetName(row, row->pszName));
    EXPECT_STREQ(row->pszName, L"another");
    EXPECT_EQ(Table::GetNext(row)->pszName, neighborName);
    EXPECT_EQ(Table::FindOwn(*row), row);
    EXPECT_FALSE(Table::SetName(row, nullptr));
    EXPECT_FALSE(Table::SetName(nullptr, L"name"));
    EXPECT_STREQ(row->pszName, L"another");

    wchar_t name[] = L"copied";
    auto *added = Table::Add(name);
    name[0] = L'x';
    EXPECT_STREQ(added->pszName, L"copied");
    EXPECT_TRUE(Table::SetName(added, L""));
    EXPECT_STREQ(added->pszName, L"");
}

TYPED_TEST(DictionaryTest, RefusedInsertsLeaveTheTableAlone) {
    using Table = TypeParam;
    EXPECT_EQ(Table::Add(nullptr), nullptr);
    for (int allocations = 0; allocations < 2; ++allocations) {
        allocationsLeft = allocations;
        KernelSetFaultHook(FailAllocation);
        auto *row = Table::Add(L"name");
        const bool renamed = Table::SetName(Table::GetFirst(), L"name");
        KernelSetFaultHook(nullptr);
        EXPECT_FALSE(renamed);
        if (row != nullptr) Table::Delete(row);
        EXPECT_EQ(Table::GetCount(), Table::kDefaultRows);
        EXPECT_EQ(Table::FindAdded(), nullptr);
    }
    EXPECT_STRNE(Table::GetFirst()->pszName, L"name");
}

TYPED_TEST(DictionaryTest, FindsWithoutMemoryForAnIndex) {
    using Table = TypeParam;
    auto *row = Table::Add(L"name");
    for (int allocations = 0; allocations < 20; ++allocations) {
        allocationsLeft = allocations;
        KernelSetFaultHook(FailAllocation);
        EXPECT_EQ(Table::FindAdded(), row);
        EXPECT_EQ(Table::FindIndex(Table::kDefaultRows), row);
        EXPECT_EQ(Table::GetCount(), Table::kDefaultRows + 1);
    }
}

TYPED_TEST(DictionaryTest, ManyThreadsMayBeTheFirstToFind) {
    using Table = TypeParam;
    for (int round = 0; round < 20; ++round) {
        auto *added = Table::Add(L"name");
        std::atomic<int> waiting{4};
        std::atomic<int> misses{0};
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&] {
                --waiting;
                while (waiting > 0) std::this_thread::yield();
                if (Table::FindAdded() != added) ++misses;
                if (Table::FindIndex(Table::kDefaultRows) != added) ++misses;
            });
        }
        for (std::thread &thread : threads) thread.join();
        EXPECT_EQ(misses, 0);
        Table::Delete(added);
    }
}

} // namespace
