// The tree of object definitions: its shape against the data files, its edits, and its first use.

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "DataFile.h"
#include "MDicomDS.h"
#include "MDicomEngine.h"
#include "MDicomFlat.h"
#include "MDicomIOD.h"
#include "support/FailingKernel.h"

namespace {

constexpr uint32_t kClasses = 158;
constexpr uint32_t kModules = 2045;
constexpr uint32_t kElements = 122678;

using support::FailingKernel;
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

    /** Compares a level of a class and all below it. */
    void CompareLevel(const std::string &iodClass, _DICOMIOD *first, const std::string &table) {
        _DICOMIOD *row = first;
        for (const Fields &fields : m_Tables.at(table)) {
            ASSERT_NE(row, nullptr) << table;
            const bool isModule = fields[2] == "M";
            Compare(row, isModule ? IOD_TYPE_MODULE : IOD_TYPE_ELEMENT,
                    static_cast<uint32_t>(std::stoul(fields[3], nullptr, isModule ? 10 : 16)),
                    fields[5], fields[4], fields[7]);
            if (!fields[6].empty()) {
                CompareLevel(iodClass, M_DicomGetChildIOD(row), fields[6]);
            } else if (row->nCode == 0x52009229 || row->nCode == 0x52009230) {
                CompareGroups(iodClass, M_DicomGetChildIOD(row), row->nCode == 0x52009229 ? 3 : 4);
            } else {
                ASSERT_EQ(M_DicomGetChildIOD(row), nullptr);
            }
            row = M_DicomGetNextIOD(row, 1);
        }
        ASSERT_EQ(row, nullptr) << table;
    }

    /** Compares the functional groups that a column of their table puts into a sequence. */
    void CompareGroups(const std::string &iodClass, _DICOMIOD *row, size_t column) {
        for (const Fields &group : m_Groups) {
            if (group[0] != iodClass || group[column] != "Y") continue;
            ASSERT_NE(row, nullptr) << group[0] << group[1];
            const Fields &attribute = m_Tables.at(group[5]).at(0);
            Compare(row, IOD_TYPE_ELEMENT,
                    static_cast<uint32_t>(std::stoul(attribute[3], nullptr, 16)), attribute[5],
                    group[2] == "M"   ? "1"
                    : group[2] == "C" ? "1C"
                                      : "3",
                    attribute[7]);
            CompareLevel(iodClass, M_DicomGetChildIOD(row), attribute[6]);
            row = M_DicomGetNextIOD(row, 1);
        }
        ASSERT_EQ(row, nullptr) << iodClass;
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

  private:
    const std::vector<Fields> m_Groups = ReadTable("iod_functional_groups.tsv");
    std::map<std::string, std::vector<Fields>> m_Tables;
    uint32_t m_Counts[3] = {};
};

class IodTreeTest : public testing::Test {
  protected:
    void TearDown() override { M_DicomDefaultIOD(); }

    static _DICOMIOD *InsertClass(uint32_t code, const wchar_t *uid) {
        return M_DicomInsertIOD(nullptr, 0, code, L"class", IOD_TYPE_CLASS, 2, uid);
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
    _DICOMIOD *row = M_DicomGetFirstIOD(nullptr, 1);
    for (const Fields &fields : ReadTable("iod_classes.tsv")) {
        ASSERT_NE(row, nullptr);
        const auto code = static_cast<uint32_t>(std::stoul(fields[0]));
        tables.Compare(row, IOD_TYPE_CLASS, code, fields[1], "U", fields[2]);
        EXPECT_EQ(ClassOf(fields[2].c_str()), fields[2].empty()                      ? 0xFFFF
                                              : fields[2] == "1.2.840.10008.5.1.1.4" ? 48
                                                                                     : code);
        _DICOMIOD *child = M_DicomGetChildIOD(row);
        if (!fields[3].empty()) {
            tables.CompareLevel(fields[0], child, fields[3]);
            child = nullptr;
        }
        const bool isSecond = !seen.insert(fields[0]).second;
        for (const Fields &module : modules[fields[0] + (isSecond ? "C" : "")]) {
            ASSERT_NE(child, nullptr) << fields[1];
            tables.Compare(child, IOD_TYPE_MODULE, static_cast<uint32_t>(std::stoul(module[1])),
                           module[2], module[3], "");
            tables.CompareLevel(fields[0], M_DicomGetChildIOD(child), module[4]);
            child = M_DicomGetNextIOD(child, 1);
        }
        ASSERT_EQ(child, nullptr) << fields[1];
        if (HasFatalFailure()) return;
        row = M_DicomGetNextIOD(row, 1);
    }
    EXPECT_EQ(row, nullptr);
    EXPECT_EQ(tables.Count(IOD_TYPE_CLASS), kClasses);
    EXPECT_EQ(tables.Count(IOD_TYPE_MODULE), kModules);
    EXPECT_EQ(tables.Count(IOD_TYPE_ELEMENT), kElements);
}

TEST_F(IodTreeTest, FindsClassesAndModules) {
    EXPECT_STREQ(M_DicomFindClassIOD(85)->pszName,
                 L"Grayscale Softcopy Presentation State Storage");
    EXPECT_EQ(M_DicomFindClassIOD(112), nullptr);
    _DICOMIOD *patient = M_DicomFindModuleIOD(0, 0);
    EXPECT_STREQ(patient->pszName, L"Patient");
    EXPECT_EQ(M_DicomGetParentIOD(patient), M_DicomFindClassIOD(0));
    _DICOMIOD *key = M_DicomFindModuleIOD(71, 150);
    EXPECT_STREQ(key->pszName, L"Patient Key");
    EXPECT_EQ(M_DicomGetRootIOD(key), M_DicomFindClassIOD(71));
    EXPECT_EQ(M_DicomFindIOD(nullptr, 150, IOD_TYPE_MODULE, 0), key);
    EXPECT_EQ(M_DicomFindIOD(nullptr, 150, IOD_TYPE_MODULE, 1), nullptr);
    EXPECT_EQ(M_DicomFindModuleIOD(0, 150), nullptr);
    EXPECT_EQ(M_DicomFindModuleIOD(112, 0), nullptr);

    EXPECT_EQ(M_DicomFindIndexModuleIOD(72, 0), nullptr) << "a class of elements";
    EXPECT_EQ(M_DicomGetCountModuleIOD(112), 0u);
    const uint32_t count = M_DicomGetCountModuleIOD(1);
    EXPECT_EQ(M_DicomFindIndexModuleIOD(1, 0), M_DicomFindModuleIOD(1, 0));
    EXPECT_NE(M_DicomFindIndexModuleIOD(1, count - 1), nullptr);
    EXPECT_EQ(M_DicomFindIndexModuleIOD(1, count), nullptr);
}

TEST_F(IodTreeTest, InsertedRowsTakeTheirPlace) {
    const auto insert = [](_DICOMIOD *neighbor, int child, uint32_t code, uint8_t type) {
        return M_DicomInsertIOD(neighbor, child, code, L"name", type, 0, L"text");
    };
    EXPECT_EQ(insert(nullptr, 0, 500, IOD_TYPE_MODULE), nullptr);
    EXPECT_EQ(insert(nullptr, 1, 500, IOD_TYPE_ELEMENT), nullptr);
    _DICOMIOD *ct = M_DicomFindClassIOD(1);
    EXPECT_EQ(M_DicomFindModuleIOD(1, 500), nullptr);
    _DICOMIOD *module = insert(ct, 0, 500, IOD_TYPE_MODULE);
    EXPECT_EQ(M_DicomFindModuleIOD(1, 500), module);
    _DICOMIOD *element = insert(module, 1, 0x00091001, IOD_TYPE_ELEMENT);
    EXPECT_EQ(M_DicomGetParentIOD(element), module);
    EXPECT_EQ(M_DicomFindModuleIOD(1, 501), nullptr);
    _DICOMIOD *nested = insert(element, 1, 501, IOD_TYPE_MODULE);
    EXPECT_EQ(M_DicomFindModuleIOD(1, 501), nested);
    _DICOMIOD *sibling = insert(element, 0, 0x00091002, IOD_TYPE_ELEMENT);
    EXPECT_EQ(M_DicomGetNextIOD(element, 1), sibling);
    _DICOMIOD *added = insert(element, 1, 600, IOD_TYPE_CLASS);
    EXPECT_EQ(M_DicomGetLastIOD(nullptr, 1), added);
    EXPECT_EQ(M_DicomFindClassIOD(600), added);
    EXPECT_EQ(M_DicomInsertIOD(ct, 0, 1, nullptr, IOD_TYPE_MODULE, 0, L""), nullptr);
    EXPECT_EQ(M_DicomInsertIOD(ct, 0, 1, L"", IOD_TYPE_MODULE, 0, nullptr), nullptr);

    EXPECT_EQ(M_DicomDeleteIOD(element), sibling);
    EXPECT_EQ(M_DicomFindModuleIOD(1, 501), nullptr);
    EXPECT_TRUE(M_DicomExistsIOD(sibling));
    EXPECT_EQ(M_DicomDeleteIOD(sibling), module);
    EXPECT_FALSE(M_DicomExistsIOD(sibling));
    EXPECT_EQ(M_DicomGetNextIOD(module, 1), nullptr);
}

TEST_F(IodTreeTest, DefaultRowsChangeUntilDefault) {
    _DICOMIOD *row = M_DicomFindModuleIOD(0, 0);
    EXPECT_TRUE(M_DicomSetNameIOD(row, L"one"));
    EXPECT_TRUE(M_DicomSetNameIOD(row, row->pszName));
    EXPECT_TRUE(M_DicomSetDescriptionIOD(row, L"two"));
    EXPECT_STREQ(row->pszName, L"one");
    EXPECT_STREQ(row->pszDescription, L"two");
    EXPECT_FALSE(M_DicomSetNameIOD(row, nullptr));
    EXPECT_FALSE(M_DicomSetDescriptionIOD(nullptr, L"text"));
    EXPECT_STREQ(M_DicomFindModuleIOD(1, 0)->pszName, L"Patient");

    _DICOMIOD *second = M_DicomFindClassIOD(1);
    EXPECT_EQ(M_DicomDeleteIOD(M_DicomFindClassIOD(0)), second);
    EXPECT_EQ(M_DicomFindClassIOD(0), nullptr);
    EXPECT_EQ(M_DicomFindModuleIOD(0, 0), nullptr);
    _DICOMIOD *last = M_DicomGetLastIOD(nullptr, 1);
    _DICOMIOD *beforeLast = M_DicomGetPrevIOD(last, 1);
    EXPECT_EQ(M_DicomDeleteIOD(last), beforeLast);
    EXPECT_EQ(M_DicomDeleteIOD(nullptr), nullptr);
    M_DicomDefaultIOD();
    EXPECT_EQ(MDicomIOD::m_InfoIOD.GetCount(nullptr, 1), kClasses);
    EXPECT_STREQ(M_DicomFindModuleIOD(0, 0)->pszName, L"Patient");
}

TEST_F(IodTreeTest, DataSetsKnowTheClassesOfAnEditedTree) {
    EXPECT_EQ(ClassOf("1.2.840.10008.5.1.4.1.1"), 0xFFFFu);
    EXPECT_EQ(ClassOf("1.2.840.10008.5.1.4.1.1.2.0"), 0xFFFFu);
    _DICOMIOD *added = InsertClass(600, L"1.2.3\\1.2.3.4");
    EXPECT_EQ(ClassOf("1.2.3.4"), 600u);
    EXPECT_EQ(ClassOf("1.2.3"), 600u);
    EXPECT_EQ(ClassOf("1.2"), 0xFFFFu);
    EXPECT_EQ(ClassOf("1.2.840.10008.5.1.4.1.1.2"), 1u);
    M_DicomSetDescriptionIOD(M_DicomFindClassIOD(1), L"1.2.3.5");
    EXPECT_EQ(ClassOf("1.2.3.5"), 1u);
    EXPECT_EQ(ClassOf("1.2.840.10008.5.1.4.1.1.2"), 0xFFFFu);
    M_DicomDeleteIOD(added);
    EXPECT_EQ(ClassOf("1.2.3"), 0xFFFFu);
    M_DicomDefaultIOD();
    EXPECT_EQ(ClassOf("1.2.840.10008.5.1.4.1.1.2"), 1u);
}

TEST_F(IodTreeTest, StaysEmptyAfterResetAndComesBackAfterAShutdown) {
    M_DicomResetIOD();
    EXPECT_EQ(M_DicomGetFirstIOD(nullptr, 1), nullptr);
    EXPECT_EQ(M_DicomFindClassIOD(0), nullptr);
    EXPECT_EQ(M_DicomFindModuleIOD(0, 0), nullptr);
    _DICOMIOD *only = InsertClass(7, L"");
    EXPECT_EQ(M_DicomFindClassIOD(7), only);
    EXPECT_EQ(M_DicomDeleteIOD(only), nullptr);

    M_DicomEngineShutdown();
    EXPECT_EQ(MDicomIOD::m_bInitialized, 0);
    EXPECT_EQ(MDicomIOD::m_InfoIOD.pFirst, nullptr);
    EXPECT_NE(M_DicomFindModuleIOD(0, 0), nullptr);
    M_DicomEngineShutdown();
    M_DicomEngineStartup(DICOM_ENGINE_LAZY_IOD);
    EXPECT_EQ(MDicomIOD::m_InfoIOD.pFirst, nullptr);
    M_DicomEngineStartup(0);
    EXPECT_NE(MDicomIOD::m_InfoIOD.pFirst, nullptr);
}

TEST_F(IodTreeTest, DeepTreesAreDeletedWithoutRecursion) {
    _DICOMIOD *top = M_DicomInsertIOD(M_DicomFindClassIOD(1), 1, 0x00091001, L"", 2, 7, L"");
    _DICOMIOD *row = top;
    for (int depth = 0; depth < 300000; ++depth) {
        row = M_DicomInsertIOD(row, 1, 0x00091001, L"", IOD_TYPE_ELEMENT, 7, L"");
    }
    M_DicomDeleteIOD(top);
    EXPECT_FALSE(M_DicomFindIOD(M_DicomGetChildIOD(M_DicomFindClassIOD(1)), 0x00091001, 2, 1));
}

TEST_F(IodTreeTest, ShortMemoryRefusesAndIsOvercome) {
    M_DicomDefaultIOD();
    _DICOMIOD *row = M_DicomFindModuleIOD(71, 150);
    InsertClass(600, L"1.2.3"); // drops the index
    for (int place = 0; place < 20; ++place) {
        const FailingKernel failing(place);
        EXPECT_EQ(M_DicomFindModuleIOD(71, 150), row);
        EXPECT_EQ(M_DicomFindModuleIOD(71, 2000), nullptr);
        EXPECT_EQ(M_DicomFindClassIOD(112), nullptr);
    }
    for (int place = 0; place < 2; ++place) {
        const FailingKernel failing(place);
        EXPECT_EQ(InsertClass(601, L"1.2.4"), nullptr);
        EXPECT_EQ(M_DicomFindClassIOD(601), nullptr);
    }
    {
        const FailingKernel failing(0);
        M_DicomDefaultIOD();
        EXPECT_EQ(M_DicomGetFirstIOD(nullptr, 1), nullptr);
    }
    EXPECT_NE(M_DicomFindClassIOD(0), nullptr);
}

} // namespace
