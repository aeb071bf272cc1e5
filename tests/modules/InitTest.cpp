// New data sets of all classes, compared with what the IOD tree says of them.

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <set>
#include <string>

#include "MDicom.h"
#include "MDicomFlat.h"
#include "support/TestFiles.h"
#include "support/TreeCompare.h"

namespace {

/** Tags of a level; below a sequence the level of its only item. */
struct Level {
    std::map<uint32_t, std::unique_ptr<Level>> elements;
};

bool IsKept(const _DICOMIOD *row, bool optional) {
    static const std::set<uint16_t> kMandatory = {0, 3, 5};
    return optional || kMandatory.contains(row->nUsage);
}

/** Adds what stands below a row. Of two rows for a sequence the first one shapes its item. */
void Expect(Level &level, _DICOMIOD *parent, bool optional) {
    for (_DICOMIOD *row = MDicomIOD::GetChild(parent); row != nullptr;
         row = MDicomIOD::GetNext(row, 1)) {
        if (!IsKept(row, optional)) continue;
        if (row->nType == IOD_TYPE_MODULE) {
            Expect(level, row, optional);
            continue;
        }
        std::unique_ptr<Level> &item = level.elements[row->nCode];
        auto fresh = std::make_unique<Level>();
        Expect(*fresh, row, optional);
        if (!item && !fresh->elements.empty()) item = std::move(fresh);
    }
}

Level ExpectClass(_DICOMIOD *row, uint16_t flags) {
    const bool optional = !(flags & DS_ADD_MANDATORY_ELEMENTS_ONLY) && row->nCode != 71;
    const bool allModules = !(flags & DS_ADD_MANDATORY_MODULES_ONLY) || row->nCode == 71;
    Level level;
    if (*row->pszDescription != L'\0') {
        for (const uint32_t tag : {0x00020002, 0x00020016, 0x00080016}) level.elements[tag];
    }
    _DICOMIOD *first = MDicomIOD::GetChild(row);
    if (first != nullptr && first->nType == IOD_TYPE_ELEMENT) Expect(level, row, optional);
    for (_DICOMIOD *module = first; module != nullptr; module = MDicomIOD::GetNext(module, 1)) {
        const bool kept = module->nType == IOD_TYPE_MODULE && IsKept(module, allModules);
        if (kept) Expect(level, module, optional);
    }
    return level;
}

/** Where the elements from one on, to the end of their level, are not those of the level. */
std::string Mismatch(MDicomDS &ds, _DICOMELEMENT *element, const Level &level) {
    std::set<uint32_t> missing;
    for (const auto &[tag, item] : level.elements) missing.insert(tag);
    for (; element != nullptr; element = ds.GetNextElement(element, 1, 1)) {
        const std::string where = support::Describe(element);
        const bool isModality = element->nTag == 0x00080060;
        if (missing.erase(element->nTag) == 0 && !isModality) return where + " too many";
        if (missing.empty() && isModality) continue;
        _DICOMELEMENT *item = ds.GetChildElement(element, 1);
        const auto expected = level.elements.find(element->nTag);
        const bool hasItem = expected != level.elements.end() && expected->second != nullptr;
        if ((item != nullptr) != hasItem) return where + " with or without item";
        if (!hasItem) continue;
        if (ds.GetNextElement(item, 1, 1) != nullptr) return where + " with many items";
        const std::string inner = Mismatch(ds, ds.GetChildElement(item, 1), *expected->second);
        if (!inner.empty()) return where + " > " + inner;
    }
    return missing.empty() ? "" : "lacks " + std::to_string(*missing.begin());
}

constexpr uint16_t kModes[] = {0, DS_ADD_MANDATORY_ELEMENTS_ONLY, DS_ADD_MANDATORY_MODULES_ONLY,
                               DS_ADD_MANDATORY_ELEMENTS_ONLY | DS_ADD_MANDATORY_MODULES_ONLY};

TEST(InitDS, FillsEachClassAsTheTreeSaysAndComesBackEqual) {
    const support::TemporaryFolder folder;
    for (_DICOMIOD *row = MDicomIOD::GetFirst(nullptr, 1); row != nullptr;
         row = MDicomIOD::GetNext(row, 1)) {
        if (MDicomIOD::FindClass(row->nCode) != row) continue;
        for (const uint16_t mode : kModes) {
            MDicomDS ds(nullptr);
            ds.InitDS(row->nCode, mode);
            const Level expected = ExpectClass(row, mode);
            EXPECT_EQ(Mismatch(ds, ds.GetFirstElement(nullptr, 1, 1), expected), "")
                << "class " << row->nCode << " mode " << mode;
            EXPECT_EQ(ds.m_nFlags, 37 | mode);

            ASSERT_EQ(ds.SaveDS(folder.WideFile("new").c_str(), 0), DICOM_SUCCESS) << row->nCode;
            MDicomDS reloaded(nullptr);
            ASSERT_EQ(reloaded.LoadDS(folder.WideFile("new").c_str(), 0), DICOM_SUCCESS);
            EXPECT_EQ(support::Difference(ds, reloaded), "") << row->nCode;
            uint32_t found = 0;
            reloaded.GetInfoDS(&found, nullptr);
            const uint32_t first = row->nCode == 133 ? 48 : row->nCode; // they share their UID
            EXPECT_EQ(found, *row->pszDescription != L'\0' ? first : 0xFFFF);
        }
    }
}

TEST(InitDS, NamesTheClassInTheDataSet) {
    MDicomDS ds(nullptr);
    ds.InitDS(1, DS_BIG_ENDIAN | DS_METAHEADER_ABSENT | DS_LENGTH_EXPLICIT);
    EXPECT_EQ(ds.m_nFlags, DS_BIG_ENDIAN | DS_METAHEADER_ABSENT | DS_EXPLICIT_VR);
    EXPECT_EQ(support::StoredText(ds, 0x00020002), "1.2.840.10008.5.1.4.1.1.2");
    EXPECT_EQ(support::StoredText(ds, 0x00080016), "1.2.840.10008.5.1.4.1.1.2");
    EXPECT_EQ(support::StoredText(ds, 0x00020016), "MORVWORKS");
    for (const auto &[number, modality] : {std::pair{1, "CT"}, {24, "OT"}, {40, ""}}) {
        ds.InitDS(number, 0);
        EXPECT_EQ(support::StoredText(ds, 0x00080060), modality);
    }
    ds.InitDS(9999, 0);
    EXPECT_EQ(ds.GetFirstElement(nullptr, 1, 1), nullptr);
    EXPECT_EQ(ds.m_nFlags, 37);
}

/** Restores the tree that a test changes. */
struct TreeOfDefaults {
    ~TreeOfDefaults() { MDicomIOD::Default(); }
};

TEST(InitDS, FollowsRowsOfPrograms) {
    const TreeOfDefaults restored;
    _DICOMIOD *own = MDicomIOD::Insert(nullptr, 0, 500, L"Own", IOD_TYPE_CLASS, 2, L"1.2.3\\1.2.4");
    _DICOMIOD *module = MDicomIOD::Insert(own, 1, 600, L"Deep", IOD_TYPE_MODULE, 0, L"");
    // Sequences in sequences, far deeper than any stack.
    _DICOMIOD *row = module;
    constexpr int kDepth = 200000;
    for (int i = 0; i < kDepth; ++i) {
        row = MDicomIOD::Insert(row, 1, 0x00081140, L"S", IOD_TYPE_ELEMENT, IOD_USAGE_1, L"");
    }
    MDicomIOD::Insert(module, 1, 0x00100010, L"N", IOD_TYPE_ELEMENT, IOD_USAGE_2, L"");
    MDicomDS ds(nullptr);
    ds.InitDS(500, 0);
    EXPECT_EQ(support::StoredText(ds, 0x00080016), "1.2.3");
    EXPECT_NE(ds.FindFirstElement(nullptr, 0x00100010, 1), nullptr);
    uint32_t depth = 0;
    _DICOMELEMENT *element = ds.FindFirstElement(nullptr, 0x00081140, 1);
    for (; element != nullptr; element = ds.GetChildElement(element, 1)) {
        depth += element->nTag == 0x00081140;
    }
    EXPECT_EQ(depth, kDepth);

    // A class that begins with an optional module has nothing that must be there.
    own = MDicomIOD::Insert(nullptr, 0, 501, L"Other", IOD_TYPE_CLASS, 2, L"1.2.5");
    MDicomIOD::Insert(own, 1, 601, L"A", IOD_TYPE_MODULE, 2, L"");
    module = MDicomIOD::Insert(own, 1, 602, L"B", IOD_TYPE_MODULE, 0, L"");
    MDicomIOD::Insert(module, 1, 0x00100020, L"I", IOD_TYPE_ELEMENT, IOD_USAGE_2, L"");
    ds.InitDS(501, DS_ADD_MANDATORY_MODULES_ONLY);
    EXPECT_EQ(ds.FindFirstElement(nullptr, 0x00100020, 1), nullptr);
    ds.InitDS(501, 0);
    EXPECT_NE(ds.FindFirstElement(nullptr, 0x00100020, 1), nullptr);
}

struct Command {
    uint16_t number;
    int32_t request;
    std::vector<uint32_t> elements;
};

TEST(InitCS, HoldsTheElementsOfTheCommand) {
    const Command commands[] = {
        {0x0001, 1, {0x02, 0x0100, 0x0110, 0x0700, 0x0800, 0x1000, 0x1030, 0x1031}},
        {0x0001, 0, {0x02, 0x0100, 0x0120, 0x0800, 0x0900, 0x1000}},
        {0x0021, 0, {0x02, 0x0100, 0x0120, 0x0800, 0x0900, 0x1020, 0x1021, 0x1022, 0x1023}},
        {0x0030, 0, {0x02, 0x0100, 0x0120, 0x0800, 0x0900}},
        {0x0FFF, 1, {0x0100, 0x0120, 0x0800}},
        {0x0110, 1, {0x03, 0x0100, 0x0110, 0x0800, 0x1001, 0x1005}},
    };
    MDicomDS ds(nullptr);
    for (const Command &command : commands) {
        M_DicomInitCS(&ds, command.number, command.request);
        std::vector<uint32_t> tags;
        _DICOMELEMENT *element = ds.GetFirstElement(nullptr, 0, 1);
        for (; element != nullptr; element = ds.GetNextElement(element, 0, 1)) {
            tags.push_back(element->nTag);
            EXPECT_EQ(element->nVR, MDicomTag::Find(element->nTag)->nVR) << element->nTag;
        }
        EXPECT_EQ(tags, command.elements);
        uint16_t number = 0;
        int32_t request = -1;
        M_DicomGetInfoCS(&ds, &number, &request);
        EXPECT_EQ(number, command.number);
        EXPECT_EQ(request, command.request);
        EXPECT_EQ(ds.m_nFlags, 22);
    }
    M_DicomInitCS(&ds, 0x0FFF, 0);
    EXPECT_EQ(ds.GetFirstElement(nullptr, 0, 1), nullptr) << "a cancel has no response";
    M_DicomGetInfoCS(&ds, nullptr, nullptr);
}

} // namespace
