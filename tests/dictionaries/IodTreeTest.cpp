// The tree of object definitions: its shape against the data files, its edits, and its first use.

#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "DataFile.h"
#include "MDicomDS.h"
#include "MDicomEngine.h"
#include "MDicomIOD.h"
#include "Mvkrnx.h"

namespace {

constexpr uint32_t kClasses = 158;
constexpr uint32_t kModules = 2045;
constexpr uint32_t kElementsWithoutGroups = 117691;

using support::Fields;
using support::ReadTable;
using support::Wide;

uint16_t UsageNumber(const std::string &usage) {
    static const std::map<std::string, uint16_t> numbers = {
        {"M", 0}, {"R", 0},  {"C", 1}, {"U", 2},  {"O", 2},
        {"1", 3}, {"1C", 4}, {"2", 5}, {"2C", 6}, {"3", 7}};
    return numbers.at(usage);
}

/** Compares rows of the tree with the tables that they come from. */
class TreeAgainstTables {
  public:
    TreeAgainstTables() {
        for (Fields &row : ReadTable("iod_elements.tsv")) m_Tables[row[0]].push_back(row);
    }

    /** Compares a level and all below it; leaves the content of functional groups out. */
    void CompareLevel(_DICOMIOD *first, const std::string &table) {
        _DICOMIOD *row = first;
        for (const Fields &fields : m_Tables.at(table)) {
            ASSERT_NE(row, nullptr) << table;
            const bool isModule = fields[2] == "M";
            Compare(row, isModule ? IOD_TYPE_MODULE : IOD_TYPE_ELEMENT,
                    static_cast<uint32_t>(std::stoul(fields[3], nullptr, isModule ? 10 : 16)),
                    fields[5], fields[4], fields[7]);
            if (!fields[6].empty()) {
                CompareLevel(MDicomIOD::GetChild(row), fields[6]);
            } else if (row->nCode != 0x52009229 && row->nCode != 0x52009230) {
                ASSERT_EQ(MDicomIOD::GetChild(row), nullptr);
            }
            row = MDicomIOD::GetNext(row, 1);
        }
        ASSERT_EQ(row, nullptr) << table;
    }

    void Compare(const _DICOMIOD *row, uint8_t type, uint32_t code, const std::string &name,
                 const std::string &usage, const std::string &description) {
        ++m_Counts[type];
        ASSERT_EQ(row->nType, type) << name;
        ASSERT_EQ(row->nCode, code) << name;
        ASSERT_EQ(row->pszName, Wide(name));
        ASSERT_EQ(row->nUsage, UsageNumber(usage)) << name;
        ASSERT_EQ(row->pszDescription, Wide(description)) << name;
    }

    uint32_t Count(uint8_t type) const { return m_Counts[type]; }
    const std::vector<Fields> &Table(const std::string &name) const { return m_Tables.at(name); }

  private:
    std::map<std::string, std::vector<Fields>> m_Tables;
    uint32_t m_Counts[3] = {};
};

class IodTreeTest : public testing::Test {
  protected:
    void TearDown() override {
        KernelSetFaultHook(nullptr);
        MDicomIOD::Default();
    }

    static _DICOMIOD *InsertClass(uint32_t code, const wchar_t *uid) {
        return MDicomIOD::Insert(nullptr, 0, code, L"class", IOD_TYPE_CLASS, 2, uid);
    }

    static uint32_t ClassOf(const char *uid) {
        MDicomDS dataSet(nullptr);
        _DICOMELEMENT *element = dataSet.InsertElement(nullptr, 0, 0x00080016, 0, 0, 0);
        dataSet.SetStringValueA(element, uid, 1);
        uint32_t iodClass = 0;
        dataSet.GetInfoDS(&iodClass, nullptr);
        return iodClass;
    }
};

TEST_F(IodTreeTest, HoldsTheRowsOfTheTables) {
    std::map<std::string, std::vector<Fields>> modules;
    for (Fields &row : ReadTable("iod_modules.tsv")) modules[row[0]].push_back(row);
    TreeAgainstTables tables;
    std::set<std::string> seen;
    _DICOMIOD *row = MDicomIOD::GetFirst(nullptr, 1);
    for (const Fields &fields : ReadTable("iod_classes.tsv")) {
        ASSERT_NE(row, nullptr);
        const auto code = static_cast<uint32_t>(std::stoul(fields[0]));
        tables.Compare(row, IOD_TYPE_CLASS, code, fields[1], "U", fields[2]);
        EXPECT_EQ(ClassOf(fields[2].c_str()), fields[2].empty()                      ? 0xFFFF
                                              : fields[2] == "1.2.840.10008.5.1.1.4" ? 48
                                                                                     : code);
        _DICOMIOD *child = MDicomIOD::GetChild(row);
        if (!fields[3].empty()) {
            tables.CompareLevel(child, fields[3]);
            child = nullptr;
        }
        const bool isSecond = !seen.insert(fields[0]).second;
        for (const Fields &module : modules[fields[0] + (isSecond ? "C" : "")]) {
            ASSERT_NE(child, nullptr) << fields[1];
            tables.Compare(child, IOD_TYPE_MODULE, static_cast<uint32_t>(std::stoul(module[1])),
                           module[2], module[3], "");
            tables.CompareLevel(MDicomIOD::GetChild(child), module[4]);
            child = MDicomIOD::GetNext(child, 1);
        }
        ASSERT_EQ(child, nullptr) << fields[1];
        if (HasFatalFailure()) return;
        row = MDicomIOD::GetNext(row, 1);
    }
    EXPECT_EQ(row, nullptr);
    EXPECT_EQ(tables.Count(IOD_TYPE_CLASS), kClasses);
    EXPECT_EQ(tables.Count(IOD_TYPE_MODULE), kModules);
    EXPECT_EQ(tables.Count(IOD_TYPE_ELEMENT), kElementsWithoutGroups);
}

TEST_F(IodTreeTest, FunctionalGroupsStandInTheTwoSequencesOfTheirClass) {
    TreeAgainstTables tables;
    std::map<std::tuple<std::string, uint32_t>, _DICOMIOD *> next;
    for (const Fields &group : ReadTable("iod_functional_groups.tsv")) {
        const Fields &attribute = tables.Table(group[5]).at(0);
        const std::string usage = group[2] == "M" ? "1" : group[2] == "C" ? "1C" : "3";
        for (const uint32_t tag : {0x52009229u, 0x52009230u}) {
            if (group[tag == 0x52009229 ? 3 : 4] != "Y") continue;
            const auto iodClass = static_cast<uint32_t>(std::stoul(group[0]));
            _DICOMIOD *module = MDicomIOD::FindModule(iodClass, 222);
            _DICOMIOD *sequence =
                MDicomIOD::Find(MDicomIOD::GetChild(module), tag, IOD_TYPE_ELEMENT, 1);
            const auto place = next.try_emplace({group[0], tag}, MDicomIOD::GetChild(sequence));
            _DICOMIOD *&row = place.first->second;
            ASSERT_NE(row, nullptr) << group[0] << group[1];
            tables.Compare(row, IOD_TYPE_ELEMENT,
                           static_cast<uint32_t>(std::stoul(attribute[3], nullptr, 16)),
                           attribute[5], usage, attribute[7]);
            tables.CompareLevel(MDicomIOD::GetChild(row), attribute[6]);
            if (HasFatalFailure()) return;
            row = MDicomIOD::GetNext(row, 1);
        }
    }
    for (const auto &[place, row] : next) EXPECT_EQ(row, nullptr) << std::get<0>(place);
}

TEST_F(IodTreeTest, FindsClassesAndModules) {
    EXPECT_STREQ(MDicomIOD::FindClass(0)->pszName, L"Computed Radiography Image Storage");
    EXPECT_STREQ(MDicomIOD::FindClass(85)->pszName,
                 L"Grayscale Softcopy Presentation State Storage");
    EXPECT_EQ(MDicomIOD::FindClass(112), nullptr);
    EXPECT_EQ(MDicomIOD::FindClass(0xFFFF), nullptr);

    _DICOMIOD *patient = MDicomIOD::FindModule(0, 0);
    EXPECT_STREQ(patient->pszName, L"Patient");
    EXPECT_EQ(MDicomIOD::GetParent(patient), MDicomIOD::FindClass(0));
    _DICOMIOD *key = MDicomIOD::FindModule(71, 150);
    EXPECT_STREQ(key->pszName, L"Patient Key");
    EXPECT_EQ(MDicomIOD::GetParent(key)->nCode, 0x00041220u);
    EXPECT_EQ(MDicomIOD::GetRoot(key), MDicomIOD::FindClass(71));
    EXPECT_EQ(MDicomIOD::Find(nullptr, 150, IOD_TYPE_MODULE, 0), key);
    EXPECT_EQ(MDicomIOD::Find(nullptr, 150, IOD_TYPE_MODULE, 1), nullptr);
    EXPECT_EQ(MDicomIOD::FindModule(0, 150), nullptr);
    EXPECT_EQ(MDicomIOD::FindModule(112, 0), nullptr);

    EXPECT_EQ(MDicomIOD::GetCountModule(72), 0u);
    EXPECT_EQ(MDicomIOD::FindIndexModule(72, 0), nullptr);
    EXPECT_EQ(MDicomIOD::GetChild(MDicomIOD::FindClass(72))->nType, IOD_TYPE_ELEMENT);
    EXPECT_EQ(MDicomIOD::GetCountModule(112), 0u);
    const uint32_t count = MDicomIOD::GetCountModule(1);
    EXPECT_EQ(MDicomIOD::FindIndexModule(1, 0), MDicomIOD::FindModule(1, 0));
    EXPECT_NE(MDicomIOD::FindIndexModule(1, count - 1), nullptr);
    EXPECT_EQ(MDicomIOD::FindIndexModule(1, count), nullptr);
}

TEST_F(IodTreeTest, InsertedRowsTakeTheirPlace) {
    const auto insert = [](_DICOMIOD *neighbor, int child, uint32_t code, uint8_t type) {
        return MDicomIOD::Insert(neighbor, child, code, L"name", type, 0, L"text");
    };
    EXPECT_EQ(insert(nullptr, 0, 500, IOD_TYPE_MODULE), nullptr);
    EXPECT_EQ(insert(nullptr, 1, 500, IOD_TYPE_ELEMENT), nullptr);
    _DICOMIOD *ct = MDicomIOD::FindClass(1);
    EXPECT_EQ(MDicomIOD::FindModule(1, 500), nullptr);
    _DICOMIOD *module = insert(ct, 0, 500, IOD_TYPE_MODULE);
    EXPECT_EQ(MDicomIOD::GetParent(module), ct);
    EXPECT_EQ(MDicomIOD::FindModule(1, 500), module);
    _DICOMIOD *element = insert(module, 1, 0x00091001, IOD_TYPE_ELEMENT);
    EXPECT_EQ(MDicomIOD::GetParent(element), module);
    _DICOMIOD *nested = insert(element, 1, 501, IOD_TYPE_MODULE);
    EXPECT_EQ(MDicomIOD::GetParent(nested), element);
    EXPECT_EQ(MDicomIOD::FindModule(1, 501), nested);
    _DICOMIOD *sibling = insert(element, 0, 0x00091002, IOD_TYPE_ELEMENT);
    EXPECT_EQ(MDicomIOD::GetNext(element, 1), sibling);

    _DICOMIOD *added = insert(element, 1, 600, IOD_TYPE_CLASS);
    EXPECT_EQ(MDicomIOD::GetParent(added), nullptr);
    EXPECT_EQ(MDicomIOD::GetLast(nullptr, 1), added);
    EXPECT_EQ(MDicomIOD::FindClass(600), added);
    EXPECT_EQ(MDicomIOD::Insert(ct, 0, 1, nullptr, IOD_TYPE_MODULE, 0, L""), nullptr);
    EXPECT_EQ(MDicomIOD::Insert(ct, 0, 1, L"", IOD_TYPE_MODULE, 0, nullptr), nullptr);

    EXPECT_EQ(MDicomIOD::Delete(element), sibling);
    EXPECT_EQ(MDicomIOD::FindModule(1, 501), nullptr);
    EXPECT_EQ(MDicomIOD::Delete(sibling), module);
    EXPECT_EQ(MDicomIOD::GetNext(module, 1), nullptr);
}

TEST_F(IodTreeTest, DeletedDefaultRowsAreGoneUntilDefault) {
    _DICOMIOD *second = MDicomIOD::FindClass(1);
    EXPECT_EQ(MDicomIOD::Delete(MDicomIOD::FindClass(0)), second);
    EXPECT_EQ(MDicomIOD::FindClass(0), nullptr);
    EXPECT_EQ(MDicomIOD::FindModule(0, 0), nullptr);
    EXPECT_STREQ(MDicomIOD::FindModule(1, 0)->pszName, L"Patient");
    _DICOMIOD *last = MDicomIOD::GetLast(nullptr, 1);
    _DICOMIOD *beforeLast = MDicomIOD::GetPrev(last, 1);
    EXPECT_EQ(MDicomIOD::Delete(last), beforeLast);
    EXPECT_EQ(MDicomIOD::Delete(nullptr), nullptr);
    MDicomIOD::Default();
    EXPECT_EQ(MDicomIOD::m_InfoIOD.GetCount(nullptr, 1), kClasses);
    EXPECT_STREQ(MDicomIOD::FindModule(0, 0)->pszName, L"Patient");
}

TEST_F(IodTreeTest, TextsOfOneRowChangeAlone) {
    _DICOMIOD *row = MDicomIOD::FindModule(0, 0);
    EXPECT_TRUE(MDicomIOD::SetName(row, L"one"));
    EXPECT_TRUE(MDicomIOD::SetName(row, row->pszName));
    EXPECT_TRUE(MDicomIOD::SetDescription(row, L"two"));
    EXPECT_STREQ(row->pszName, L"one");
    EXPECT_STREQ(row->pszDescription, L"two");
    EXPECT_STREQ(MDicomIOD::FindModule(1, 0)->pszName, L"Patient");
    EXPECT_FALSE(MDicomIOD::SetName(row, nullptr));
    EXPECT_FALSE(MDicomIOD::SetDescription(nullptr, L"text"));
}

TEST_F(IodTreeTest, DataSetsKnowTheClassesOfAnEditedTree) {
    for (const char *uid : {"1.2.3.4", "1.2.840.10008.5.1.4.1.1", "1.2.840.10008.5.1.4.1.1.2.0"}) {
        EXPECT_EQ(ClassOf(uid), 0xFFFFu) << uid;
    }
    _DICOMIOD *added = InsertClass(600, L"1.2.3\\1.2.3.4");
    EXPECT_EQ(ClassOf("1.2.3.4"), 600u);
    EXPECT_EQ(ClassOf("1.2.3"), 600u);
    EXPECT_EQ(ClassOf("1.2"), 0xFFFFu);
    EXPECT_EQ(ClassOf("1.2.840.10008.5.1.4.1.1.2"), 1u);
    MDicomIOD::SetDescription(MDicomIOD::FindClass(1), L"1.2.3.5");
    EXPECT_EQ(ClassOf("1.2.3.5"), 1u);
    EXPECT_EQ(ClassOf("1.2.840.10008.5.1.4.1.1.2"), 0xFFFFu);
    MDicomIOD::Delete(added);
    EXPECT_EQ(ClassOf("1.2.3"), 0xFFFFu);
    MDicomIOD::Reset();
    EXPECT_EQ(ClassOf("1.2.3.5"), 0xFFFFu);
    MDicomIOD::Default();
    EXPECT_EQ(ClassOf("1.2.840.10008.5.1.4.1.1.2"), 1u);
}

TEST_F(IodTreeTest, StaysEmptyAfterResetAndComesBackAfterAShutdown) {
    MDicomIOD::Reset();
    EXPECT_EQ(MDicomIOD::GetFirst(nullptr, 1), nullptr);
    EXPECT_EQ(MDicomIOD::FindClass(0), nullptr);
    EXPECT_EQ(MDicomIOD::FindModule(0, 0), nullptr);
    _DICOMIOD *only = InsertClass(7, L"");
    EXPECT_EQ(MDicomIOD::FindClass(7), only);
    EXPECT_EQ(MDicomIOD::Delete(only), nullptr);

    M_DicomEngineShutdown();
    EXPECT_EQ(MDicomIOD::m_bInitialized, 0);
    EXPECT_EQ(MDicomIOD::m_InfoIOD.pFirst, nullptr);
    EXPECT_NE(MDicomIOD::FindModule(0, 0), nullptr);
    M_DicomEngineShutdown();
    M_DicomEngineStartup(DICOM_ENGINE_LAZY_IOD);
    EXPECT_EQ(MDicomIOD::m_InfoIOD.pFirst, nullptr);
    M_DicomEngineStartup(0);
    EXPECT_NE(MDicomIOD::m_InfoIOD.pFirst, nullptr);
}

TEST_F(IodTreeTest, DeepTreesAreDeletedWithoutRecursion) {
    _DICOMIOD *top = MDicomIOD::Insert(MDicomIOD::FindClass(1), 1, 0x00091001, L"", 2, 7, L"");
    _DICOMIOD *row = top;
    for (int depth = 0; depth < 300000; ++depth) {
        row = MDicomIOD::Insert(row, 1, 0x00091001, L"", IOD_TYPE_ELEMENT, 7, L"");
    }
    MDicomIOD::Delete(top);
    EXPECT_FALSE(MDicomIOD::Find(MDicomIOD::GetChild(MDicomIOD::FindClass(1)), 0x00091001, 2, 1));
}

std::atomic<int> allocationsLeft{0};

int FailAllocation(int kind) {
    return kind == KERNEL_FAULT_ALLOCATE && allocationsLeft-- <= 0;
}

TEST_F(IodTreeTest, ShortMemoryRefusesAndIsOvercome) {
    MDicomIOD::Default();
    _DICOMIOD *row = MDicomIOD::FindModule(71, 150);
    InsertClass(600, L"1.2.3"); // drops the index
    for (int allocations = 0; allocations < 20; ++allocations) {
        allocationsLeft = allocations;
        KernelSetFaultHook(FailAllocation);
        EXPECT_EQ(MDicomIOD::FindModule(71, 150), row);
        EXPECT_EQ(MDicomIOD::FindModule(71, 2000), nullptr);
        EXPECT_EQ(MDicomIOD::FindClass(112), nullptr);
        KernelSetFaultHook(nullptr);
    }
    for (int allocations = 0; allocations < 2; ++allocations) {
        allocationsLeft = allocations;
        KernelSetFaultHook(FailAllocation);
        EXPECT_EQ(InsertClass(601, L"1.2.4"), nullptr);
        KernelSetFaultHook(nullptr);
        EXPECT_EQ(MDicomIOD::FindClass(601), nullptr);
    }
    allocationsLeft = 0;
    KernelSetFaultHook(FailAllocation);
    MDicomIOD::Default();
    EXPECT_EQ(MDicomIOD::GetFirst(nullptr, 1), nullptr);
    KernelSetFaultHook(nullptr);
    EXPECT_NE(MDicomIOD::FindClass(0), nullptr);
}

TEST_F(IodTreeTest, ManyThreadsMayBeTheFirst) {
    for (int round = 0; round < 10; ++round) {
        M_DicomEngineShutdown();
        std::atomic<int> waiting{8};
        std::atomic<int> misses{0};
        std::vector<std::thread> threads;
        for (int i = 0; i < 8; ++i) {
            threads.emplace_back([&, i] {
                --waiting;
                while (waiting > 0) std::this_thread::yield();
                // The last class and the last row are there only when the tree is complete.
                const bool complete = i % 2 == 0 ? MDicomIOD::FindModule(157, 0) != nullptr
                                                 : MDicomIOD::GetLast(nullptr, 0) != nullptr;
                if (!complete || MDicomIOD::GetLast(nullptr, 1)->nCode != 157) ++misses;
            });
        }
        for (std::thread &thread : threads) thread.join();
        EXPECT_EQ(misses, 0);
    }
    M_DicomEngineStartup(0);
}

} // namespace
