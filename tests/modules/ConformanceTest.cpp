// Findings of ConformanceDS, each kind of which is provoked by itself.

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "MDicom.h"
#include "MDicomFlat.h"
#include "support/TestFiles.h"
#include "values/Values.h"

namespace {

using Findings = std::map<uint32_t, uint16_t>;

int32_t Collect(_DICOMELEMENT *element, uint16_t findings, void *userData) {
    (*static_cast<Findings *>(userData))[element->nTag] |= findings;
    return 1;
}

_DICOMELEMENT *Add(MDicomDS &ds, uint32_t tag, uint16_t vr, std::string bytes) {
    _DICOMELEMENT *element = ds.InsertElement(nullptr, 0, tag, vr, 0, 0);
    if (!bytes.empty()) {
        ds.SetBinaryValue(element, bytes.data(), static_cast<uint32_t>(bytes.size()));
    }
    return element;
}

void NameClass(MDicomDS &ds) {
    Add(ds, 0x00080016, 0, "1.2.840.10008.5.1.4.1.1.2");
}

TEST(Conformance, TellsEachKindOfFinding) {
    struct Case {
        uint32_t tag;
        const char *vr;
        const char *value;
        uint32_t findings;
    };
    const Case cases[] = {
        {0x00080018, "UI", "1.2.3", 0},
        {0x00080008, "CS", "A\\B\\C", 0},
        {0x00080018, "UI", "1.2\\1.3", CONFORMANCE_MAX_VM},
        {0x00080018, "UI", "", CONFORMANCE_MIN_VM},
        {0x00200032, "DS", "1\\2", CONFORMANCE_MIN_VM},
        {0x00280009, "AT", "", CONFORMANCE_MIN_VM},
        {0x00280030, "DS", "1\\2\\3\\4", CONFORMANCE_MAX_VM},
        {0x00080018, "LO", "1.2.3", CONFORMANCE_BAD_VR},
        {0x00090010, "LO", "OWN", 0},
        {0x00091001, "LO", "1", CONFORMANCE_NO_TAG | CONFORMANCE_BAD_VR},
        {0x00080008, "QQ", "1", CONFORMANCE_NO_VR | CONFORMANCE_BAD_VR},
        {0x00104000, "LT", "a\\b", 0},
        {0x00281201, "OW", "", 0},
    };
    for (const Case &each : cases) {
        MDicomDS ds(nullptr);
        NameClass(ds);
        Add(ds, each.tag, Code(each.vr), each.value);
        Findings found;
        const int32_t result = M_DicomConformanceDS(&ds, Collect, &found);
        EXPECT_EQ(found[each.tag], each.findings) << std::hex << each.tag << ' ' << each.value;
        EXPECT_EQ(result, each.findings == 0);
        EXPECT_EQ(ds.m_bConforming, 0);
    }
}

TEST(Conformance, TellsOfTheClassOnTheFirstElementOnly) {
    MDicomDS ds(nullptr);
    Findings found;
    EXPECT_EQ(ds.ConformanceDS(Collect, &found), 1) << "an empty data set";
    Add(ds, 0x00080018, 0, "1.2.3");
    Add(ds, 0x00100010, 0, "A");
    EXPECT_EQ(ds.ConformanceDS(Collect, &found), 0);
    EXPECT_EQ(found, (Findings{{0x00080018, CONFORMANCE_NO_CLASS}}));
}

TEST(Conformance, CountsByTheRowsOfPrograms) {
    MDicomTag::Insert(0x00110001, 0xFFFFFFFF, L"Pairs", Code("US"), 2, 8, 2);
    MDicomTag::Insert(0x00110002, 0xFFFFFFFF, L"Any", Code("US"), 1, 8, 0);
    MDicomDS ds(nullptr);
    NameClass(ds);
    Add(ds, 0x00110001, 0, "aabbcc");
    Add(ds, 0x00110002, 0, "aabbcc");
    Findings found;
    ds.ConformanceDS(Collect, &found);
    EXPECT_EQ(found, (Findings{{0x00110001, CONFORMANCE_DIVIDE_VM}}));
    MDicomTag::Default();
}

TEST(Conformance, LooksIntoItemsAndKeepsTexts) {
    MDicomDS ds(nullptr);
    NameClass(ds);
    _DICOMELEMENT *sequence = ds.InsertElement(nullptr, 0, 0x00081140, 0, 1, 0);
    _DICOMELEMENT *item = ds.InsertElement(sequence, 1, TAG_ITEM, Code("OB"), 1, 0);
    ds.InsertElement(item, 1, 0x00081150, 0, 0, 0);
    _DICOMELEMENT *name = Add(ds, 0x00100010, 0, "Doe^Jane");
    const wchar_t *text = ds.GetStringValue(name, 0, 1);
    Findings found;
    ds.ConformanceDS(Collect, &found);
    EXPECT_EQ(found, (Findings{{0x00081150, CONFORMANCE_MIN_VM}}));
    EXPECT_STREQ(text, L"Doe^Jane") << "what a program holds stays valid";
}

TEST(Conformance, IsNotMisledByLengths) {
    MDicomDS ds(nullptr);
    NameClass(ds);
    _DICOMELEMENT *name = Add(ds, 0x00100010, 0, "Doe^Jane");
    name->nLength = name->pBlockLengths[0] = 0xFFFFFFF0; // as a header may say
    Findings found;
    ds.ConformanceDS(Collect, &found);
    EXPECT_EQ(found[0x00100010], CONFORMANCE_MIN_VM);
}

/** A callback that tries to change the tree. */
int32_t Meddle(_DICOMELEMENT *element, uint16_t, void *userData) {
    MDicomDS &ds = *static_cast<MDicomDS *>(userData);
    EXPECT_EQ(ds.ConformanceDS(nullptr, nullptr), 0);
    EXPECT_EQ(ds.InsertElement(element, 0, 0x00100020, 0, 0, 0), nullptr);
    EXPECT_EQ(ds.DeleteElement(element), nullptr);
    ds.InitDS(2, 0);
    ds.InitCS(1, 1);
    ds.DeleteModule(0);
    return 0;
}

TEST(Conformance, KeepsTheTreeWhileItRuns) {
    MDicomDS ds(nullptr);
    ds.InitDS(1, DS_ADD_MANDATORY_MODULES_ONLY);
    const uint32_t count = ds.m_Tree.GetCount(nullptr, 0);
    EXPECT_EQ(ds.ConformanceDS(Meddle, &ds), 0);
    EXPECT_EQ(ds.m_bConforming, 0);
    EXPECT_EQ(ds.m_Tree.GetCount(nullptr, 0), count);
    EXPECT_EQ(support::StoredText(ds, 0x00080060), "CT");
}

TEST(Conformance, TestsImages) {
    MDicomDS ds(nullptr);
    NameClass(ds);
    Add(ds, TAG_PIXEL_DATA, Code("OW"), std::string(8, '\0'));
    Findings found;
    EXPECT_EQ(ds.ConformanceDS(Collect, &found), 0);
    EXPECT_EQ(found, (Findings{{TAG_PIXEL_DATA, CONFORMANCE_IMAGE}})) << "without rows and columns";
    found.clear();
    const std::pair<uint32_t, uint16_t> numbers[] = {
        {0x00280002, 1},  {0x00280010, 2},  {0x00280011, 2}, {0x00280100, 16},
        {0x00280101, 16}, {0x00280102, 15}, {0x00280103, 0}};
    for (const auto &[tag, number] : numbers) {
        ds.FindSetValue(nullptr, tag, &number, 1, VALUE_ARRAY_WORD);
    }
    Add(ds, 0x00280004, 0, "MONOCHROME2 ");
    EXPECT_EQ(ds.ConformanceDS(Collect, &found), 1);
    EXPECT_EQ(found, Findings());
}

} // namespace
