// Context groups: what Load brings against the data files, and edits.

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "DataFile.h"
#include "MDicomContextGroup.h"
#include "MDicomEngine.h"
#include "MDicomFlat.h"
#include "support/FailingKernel.h"

namespace {

using Group = tagDICOMCONTEXTGROUP;
using Concept = tagDICOMCODEDCONCEPT;
using support::FailingKernel;
using support::Fields;
using support::ReadTable;
using support::Wide;

constexpr _VALUEDATETIME kVersion = {2020, 2, 3, 4, 5, 6, 7, 100};

class ContextGroupTest : public testing::Test {
  protected:
    void SetUp() override { M_DicomResetContextGroup(); }
    void TearDown() override { M_DicomResetContextGroup(); }

    static Group *Load(const wchar_t *identifier) {
        EXPECT_EQ(M_DicomLoadContextGroup(identifier), 0);
        return M_DicomFindContextGroup(identifier);
    }
    static Group *Insert(const wchar_t *identifier, uint32_t flags = 0) {
        return M_DicomInsertContextGroup(identifier, L"name", 1, &kVersion, flags);
    }
    static Concept *Add(Group *group, const wchar_t *value, uint32_t flags = 0) {
        return M_DicomInsertCodedConcept(group, L"99X", nullptr, value, L"meaning", nullptr,
                                         nullptr, flags);
    }
};

/** The concepts that a group has with those that it includes. */
void Collect(const std::string &identifier, const std::map<std::string, std::string> &includes,
             const std::map<std::string, std::vector<Fields>> &concepts,
             std::vector<Fields> &result) {
    if (const auto own = concepts.find(identifier); own != concepts.end()) {
        result.insert(result.end(), own->second.begin(), own->second.end());
    }
    std::istringstream list(includes.at(identifier));
    for (std::string included; std::getline(list, included, ',');) {
        Collect(included, includes, concepts, result);
    }
}

TEST_F(ContextGroupTest, LoadOfAllBringsTheGroupsOfTheTables) {
    std::map<std::string, std::string> includes;
    std::map<std::string, std::vector<Fields>> concepts;
    const std::vector<Fields> groups = ReadTable("context_groups.tsv");
    for (const Fields &row : groups) includes[row[0]] = row[4];
    for (Fields &row : ReadTable("context_concepts.tsv")) concepts[row[0]].push_back(row);

    ASSERT_EQ(M_DicomLoadContextGroup(nullptr), 0);
    Group *group = M_DicomGetFirstContextGroup();
    for (const Fields &row : groups) {
        ASSERT_NE(group, nullptr);
        EXPECT_EQ(group->pszContextIdentifier, Wide(row[0]));
        EXPECT_EQ(group->pszName, Wide(row[1]));
        EXPECT_EQ(group->bExtensible, row[2] == "1");
        const _VALUEDATETIME &date = *group->pContextGroupVersion;
        EXPECT_EQ(date.Year * 10000 + date.Month * 100 + date.Day, std::stoi(row[3]));
        EXPECT_EQ(date.Hours + date.Minutes + date.Seconds + date.Offset, 0);
        std::vector<Fields> expected;
        Collect(row[0], includes, concepts, expected);
        ASSERT_EQ(M_DicomGetCountCodedConcept(group), expected.size()) << row[0];
        Concept *entry = M_DicomGetFirstCodedConcept(group);
        for (const Fields &values : expected) {
            EXPECT_EQ(entry->pszCodingSchemeDesignator, Wide(values[1]));
            const wchar_t *version = entry->pszCodingSchemeVersion;
            EXPECT_EQ(version == nullptr, values[2].empty());
            EXPECT_EQ(version != nullptr ? version : L"", Wide(values[2]));
            EXPECT_EQ(entry->pszCodeValue, Wide(values[3]));
            EXPECT_EQ(entry->pszCodeMeaning, Wide(values[4]));
            EXPECT_EQ(M_DicomGetCodedConceptGroup(entry), group);
            entry = M_DicomGetNextCodedConcept(entry);
        }
        EXPECT_EQ(entry, nullptr);
        group = M_DicomGetNextContextGroup(group);
    }
    EXPECT_EQ(group, nullptr);
    EXPECT_EQ(M_DicomLoadContextGroup(nullptr), 0);
    EXPECT_EQ(M_DicomGetCountContextGroup(), groups.size());
}

TEST_F(ContextGroupTest, LoadOfOneBringsItOnce) {
    EXPECT_EQ(M_DicomFindContextGroup(L"CID 2"), nullptr);
    for (const wchar_t *unknown : {L"CID 99999", L"", L" \t"}) {
        EXPECT_EQ(M_DicomLoadContextGroup(unknown), DICOM_ERROR_PARAMETER);
    }
    EXPECT_EQ(M_DicomFindContextGroup(nullptr), nullptr);
    Group *group = Load(L" cid 2\t");
    ASSERT_NE(group, nullptr);
    EXPECT_STREQ(group->pszContextIdentifier, L"CID 2");
    EXPECT_EQ(Load(L"CID 2"), group);
    EXPECT_EQ(M_DicomGetCountContextGroup(), 1u);
}

TEST_F(ContextGroupTest, GroupsAreInsertedFoundAndDeleted) {
    Group *known = Load(L"CID 2");
    Group *own = Insert(L"\t Own 1 \n");
    EXPECT_STREQ(own->pszContextIdentifier, L"Own 1");
    EXPECT_EQ(own->pContextGroupVersion->Offset, 100);
    EXPECT_EQ(Insert(L"OWN 1", 1), nullptr);
    Group *twin = Insert(L"OWN 1");
    EXPECT_EQ(M_DicomFindContextGroup(L"own 1"), own);
    EXPECT_EQ(M_DicomFindIndexContextGroup(2), twin);
    EXPECT_EQ(M_DicomGetLastContextGroup(), twin);
    EXPECT_EQ(Insert(L" "), nullptr);
    EXPECT_EQ(Insert(nullptr), nullptr);
    EXPECT_EQ(M_DicomInsertContextGroup(L"a", L"a", 0, nullptr, 0), nullptr);
    EXPECT_EQ(M_DicomDeleteContextGroup(own), twin);
    EXPECT_TRUE(M_DicomExistsContextGroup(twin));
    EXPECT_EQ(M_DicomGetPrevContextGroup(twin), known);
    EXPECT_EQ(M_DicomDeleteContextGroup(twin), known);
    EXPECT_FALSE(M_DicomExistsContextGroup(twin));

    M_DicomEngineShutdown();
    EXPECT_EQ(MDicomContextGroup::m_ContextGroupsTable.pFirst, nullptr);
    EXPECT_EQ(MDicomContextGroup::m_bInitialized, 0);
    M_DicomEngineStartup(DICOM_ENGINE_LAZY_IOD);
    EXPECT_NE(MDicomContextGroup::m_bInitialized, 0);
    EXPECT_EQ(M_DicomGetCountContextGroup(), 0u);
}

TEST_F(ContextGroupTest, ConceptsAreInsertedFoundAndDeleted) {
    Group *group = Load(L"CID 2");
    const uint32_t count = M_DicomGetCountCodedConcept(group);
    Concept *right = M_DicomFindCodedConcept(group, L" 99sdm", L"g-a100 ");
    ASSERT_NE(right, nullptr);
    EXPECT_STREQ(right->pszCodingSchemeDesignator, L"SNM3");
    EXPECT_EQ(M_DicomFindCodedConcept(group, L"DCM", L"G-A100"), nullptr);
    EXPECT_EQ(M_DicomFindCodedConcept(group, L"", L"G-A100"), nullptr);

    Concept *full =
        M_DicomInsertCodedConcept(group, L" 99X ", L" 1 ", L" V ", L" M ", &kVersion, L" 1.2 ", 1);
    EXPECT_STREQ(full->pszCodingSchemeDesignator, L"99X");
    EXPECT_STREQ(full->pszCodingSchemeVersion, L"1");
    EXPECT_STREQ(full->pszCodeValue, L"V");
    EXPECT_STREQ(full->pszCodeMeaning, L"M");
    EXPECT_EQ(full->pContextGroupLocalVersion->Fractions, 7u);
    EXPECT_STREQ(full->pszContextGroupExtensionCreatorUID, L"1.2");
    EXPECT_EQ(M_DicomFindIndexCodedConcept(group, count), full);
    EXPECT_EQ(M_DicomGetLastCodedConcept(group), full);
    EXPECT_EQ(Add(group, L"v", 1), nullptr);
    EXPECT_EQ(Add(group, L" "), nullptr);
    Concept *twin = Add(group, L"v");
    EXPECT_EQ(M_DicomFindCodedConcept(group, L"99x", L"V"), full);
    EXPECT_TRUE(M_DicomExistsCodedConcept(twin));
    EXPECT_EQ(M_DicomGetPrevCodedConcept(twin), full);

    EXPECT_TRUE(M_DicomSetCodedConceptCodeMeaning(right, L" changed "));
    EXPECT_STREQ(right->pszCodeMeaning, L"changed");
    EXPECT_FALSE(M_DicomSetCodedConceptCodeMeaning(right, L" "));

    EXPECT_EQ(M_DicomDeleteCodedConcept(full), twin);
    EXPECT_EQ(M_DicomDeleteCodedConcept(twin), M_DicomFindIndexCodedConcept(group, count - 1));
}

TEST_F(ContextGroupTest, DefaultRestoresKnownGroupsOnly) {
    Group *known = Load(L"CID 6109");
    const uint32_t count = M_DicomGetCountCodedConcept(known);
    Group *own = Insert(L"own");
    Add(own, L"v");
    for (Group *argument : {known, static_cast<Group *>(nullptr)}) {
        Add(known, L"v");
        M_DicomDeleteCodedConcept(M_DicomGetFirstCodedConcept(known));
        EXPECT_EQ(M_DicomDefaultContextGroup(argument), 1);
        EXPECT_EQ(M_DicomGetCountCodedConcept(known), count);
        EXPECT_EQ(M_DicomFindCodedConcept(known, L"99X", L"v"), nullptr);
    }
    EXPECT_EQ(M_DicomDefaultContextGroup(own), 1);
    EXPECT_EQ(M_DicomGetCountCodedConcept(own), 1u);
}

TEST_F(ContextGroupTest, ShortMemoryLeavesNothingBehind) {
    Group *group = Insert(L"own");
    for (int place = 0; place < 6; ++place) {
        const FailingKernel failing(place);
        EXPECT_EQ(M_DicomInsertCodedConcept(group, L"s", L"v", L"c", L"m", &kVersion, L"1.2", 0),
                  nullptr);
    }
    for (int place = 0; place < 3; ++place) {
        const FailingKernel failing(place);
        EXPECT_EQ(Insert(L"other"), nullptr);
    }
    const FailingKernel failing(0);
    EXPECT_EQ(M_DicomLoadContextGroup(L"CID 2"), DICOM_ERROR_MEMORY);
    EXPECT_EQ(M_DicomLoadContextGroup(nullptr), DICOM_ERROR_MEMORY);
    EXPECT_EQ(M_DicomGetCountContextGroup(), 1u);
    EXPECT_EQ(M_DicomGetCountCodedConcept(group), 0u);
}

} // namespace
