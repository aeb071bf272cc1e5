// The three dictionaries: their default rows against the data files, their edits, and what happens
// when memory is short.

#include <gtest/gtest.h>

#include <string>

#include "DataFile.h"
#include "MDicomFlat.h"
#include "MDicomTag.h"
#include "MDicomUID.h"
#include "MDicomVR.h"
#include "support/FailingKernel.h"

namespace {

using support::FailingKernel;
using support::Fields;
using support::Wide;

uint32_t Number(const std::string &text, int base = 10) {
    return static_cast<uint32_t>(std::stoul(text, nullptr, base));
}

uint32_t CodeOf(const std::string &letters) {
    return static_cast<uint32_t>(letters[0] << 8 | letters[1]);
}

/** The flat functions of a dictionary, by the names of its class. */
#define DICTIONARY(Kind)                                      \
    static constexpr auto Default = M_DicomDefault##Kind;     \
    static constexpr auto Reset = M_DicomReset##Kind;         \
    static constexpr auto Insert = M_DicomInsert##Kind;       \
    static constexpr auto Delete = M_DicomDelete##Kind;       \
    static constexpr auto SetName = M_DicomSetName##Kind;     \
    static constexpr auto Find = M_DicomFind##Kind;           \
    static constexpr auto FindIndex = M_DicomFindIndex##Kind; \
    static constexpr auto Exists = M_DicomExists##Kind;       \
    static constexpr auto GetFirst = M_DicomGetFirst##Kind;   \
    static constexpr auto GetLast = M_DicomGetLast##Kind;     \
    static constexpr auto GetNext = M_DicomGetNext##Kind;     \
    static constexpr auto GetPrev = M_DicomGetPrev##Kind;     \
    static constexpr auto GetCount = M_DicomGetCount##Kind

struct Vr {
    DICTIONARY(VR);
    using Row = _DICOMVR;
    static constexpr const char *kFile = "vrs.tsv";
    static Row *Add(const wchar_t *name) { return Insert(0x5A5A, name, 1, VR_BINARY, 1); }
    static Row *FindAdded() { return Find(0x5A5A); }
    static Row *FindOwn(const Row &row) { return Find(row.nCode); }
    static void Compare(const Row &row, const Fields &fields) {
        EXPECT_EQ(row.nCode, CodeOf(fields[0]));
        EXPECT_EQ(Find(row.nCode), &row);
        EXPECT_EQ(row.nLength, Number(fields[1]));
        EXPECT_EQ(row.nRestrict, Number(fields[2], 16));
        EXPECT_EQ(row.nUnitSize, Number(fields[3]));
    }
};

struct Tag {
    DICTIONARY(Tag);
    using Row = _DICOMTAG;
    static constexpr const char *kFile = "tags.tsv";
    static Row *Add(const wchar_t *name) {
        return Insert(0x00770011, 0xFFFFFFFF, name, 0x4C4F, 1, 1, 1);
    }
    static Row *FindAdded() { return Find(0x00770011); }
    static Row *FindOwn(const Row &row) { return Find(row.nCode); }
    static void Compare(const Row &row, const Fields &fields) {
        EXPECT_EQ(row.nCode, Number(fields[0], 16));
        EXPECT_EQ(row.nMask, Number(fields[1], 16));
        EXPECT_EQ(row.nCode & ~row.nMask, 0u) << fields[0] << " never matches";
        EXPECT_EQ(row.nVR, CodeOf(fields[2]));
        EXPECT_NE(MDicomVR::Find(row.nVR), nullptr) << fields[2];
        EXPECT_EQ(row.nMinVM, Number(fields[3]));
        EXPECT_EQ(row.nMaxVM, Number(fields[4]));
        EXPECT_EQ(row.nDivideVM, Number(fields[5]));
    }
};

struct Uid {
    DICTIONARY(UID);
    using Row = _DICOMUID;
    static constexpr const char *kFile = "uids.tsv";
    static Row *Add(const wchar_t *name) { return Insert(L"1.2.3.4", name, UID_TYPE_OTHER); }
    static Row *FindAdded() { return Find(L"1.2.3.4"); }
    static Row *FindOwn(const Row &row) { return Find(row.pszCode); }
    static void Compare(const Row &row, const Fields &fields) {
        EXPECT_EQ(row.pszCode, Wide(fields[0]));
        EXPECT_EQ(Find(row.pszCode), &row);
        EXPECT_EQ(row.nType, Number(fields[1]));
    }
};

template <typename Table>
class DictionaryTest : public testing::Test {
  protected:
    void TearDown() override { Table::Default(); }

    const uint32_t defaultRows = Table::GetCount();
};

using Tables = testing::Types<Vr, Tag, Uid>;
TYPED_TEST_SUITE(DictionaryTest, Tables);

TYPED_TEST(DictionaryTest, HoldsTheRowsOfItsDataFileHoweverItIsWalked) {
    using Table = TypeParam;
    uint32_t index = 0;
    typename Table::Row *last = nullptr;
    auto *row = Table::GetFirst();
    for (const Fields &fields : support::ReadTable(Table::kFile)) {
        ASSERT_NE(row, nullptr);
        Table::Compare(*row, fields);
        EXPECT_EQ(row->pszName, Wide(fields.back()));
        ASSERT_EQ(Table::FindIndex(index++), row);
        ASSERT_EQ(Table::GetPrev(row), last);
        last = row;
        row = Table::GetNext(row);
    }
    EXPECT_EQ(row, nullptr);
    EXPECT_EQ(Table::GetCount(), index);
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
    EXPECT_EQ(Table::FindIndex(this->defaultRows + 1), second);
    EXPECT_EQ(Table::FindAdded(), first);
    EXPECT_TRUE(Table::Exists(second));

    EXPECT_EQ(Table::Delete(first), second);
    EXPECT_EQ(Table::FindAdded(), second);
    EXPECT_EQ(Table::Delete(second), Table::FindIndex(this->defaultRows - 1));
    EXPECT_EQ(Table::FindAdded(), nullptr);
    EXPECT_FALSE(Table::Exists(second));
    EXPECT_EQ(Table::Delete(nullptr), nullptr);
    EXPECT_EQ(Table::GetCount(), this->defaultRows);

    Table::Reset();
    EXPECT_EQ(Table::GetFirst(), nullptr);
    EXPECT_EQ(Table::FindIndex(0), nullptr);
    auto *only = Table::Add(L"only");
    EXPECT_EQ(Table::FindAdded(), only);
    EXPECT_EQ(Table::Delete(only), nullptr);
    Table::Default();
    Table::Default();
    EXPECT_EQ(Table::GetCount(), this->defaultRows);
}

TYPED_TEST(DictionaryTest, NamesOfDefaultAndAddedRowsChange) {
    using Table = TypeParam;
    wchar_t name[] = L"copied";
    auto *added = Table::Add(name);
    name[0] = L'x';
    EXPECT_STREQ(added->pszName, L"copied");
    auto *row = Table::GetFirst();
    const std::wstring neighborName = Table::GetNext(row)->pszName;
    for (auto *renamed : {row, added}) {
        EXPECT_TRUE(Table::SetName(renamed, L"one"));
        EXPECT_TRUE(Table::SetName(renamed, L"another"));
        EXPECT_TRUE(Table::SetName(renamed, renamed->pszName));
        EXPECT_FALSE(Table::SetName(renamed, nullptr));
        EXPECT_STREQ(renamed->pszName, L"another");
    }
    EXPECT_EQ(Table::GetNext(row)->pszName, neighborName);
    EXPECT_EQ(Table::FindOwn(*row), row);
    EXPECT_FALSE(Table::SetName(nullptr, L"name"));
}

TYPED_TEST(DictionaryTest, ShortMemoryRefusesEditsAndSlowsSearches) {
    using Table = TypeParam;
    EXPECT_EQ(Table::Add(nullptr), nullptr);
    for (int place = 0; place < 2; ++place) {
        {
            const FailingKernel failing(place);
            if (auto *row = Table::Add(L"name")) Table::Delete(row);
            EXPECT_FALSE(Table::SetName(Table::GetFirst(), L"name"));
        }
        EXPECT_EQ(Table::GetCount(), this->defaultRows);
        EXPECT_EQ(Table::FindAdded(), nullptr);
    }
    EXPECT_STRNE(Table::GetFirst()->pszName, L"name");
    auto *row = Table::Add(L"name");
    for (int place = 0; place < 20; ++place) {
        const FailingKernel failing(place);
        EXPECT_EQ(Table::FindAdded(), row);
        EXPECT_EQ(Table::FindIndex(this->defaultRows), row);
    }
}

TEST(VrTest, CodesNeedNoLetters) {
    for (const uint16_t code : {0x0000, 0x2020, 0x4F5B, 0x5B41, 0x4142 + 0x20, 0xFFFF}) {
        EXPECT_EQ(MDicomVR::Find(code), nullptr) << code;
        _DICOMVR *row = MDicomVR::Insert(code, L"Odd", 0, VR_BINARY, 1);
        EXPECT_EQ(MDicomVR::Find(code), row) << code;
        MDicomVR::Delete(row);
        EXPECT_EQ(MDicomVR::Find(code), nullptr) << code;
    }
}

TEST(UidTest, FindsWholeUidsOnly) {
    for (const wchar_t *uid : {L"1.2.840.10008.1.2 ", L" 1.2.840.10008.1.2", L"1.2.840.10008.1",
                               L"1.2.840.10008.1.2.", L"1.2.840.10008.1.2.x", L""}) {
        EXPECT_EQ(MDicomUID::Find(uid), nullptr) << uid;
    }
    EXPECT_EQ(MDicomUID::Find(nullptr), nullptr);
    EXPECT_EQ(MDicomUID::Insert(nullptr, L"name", 0), nullptr);
}

} // namespace
