// Modules in a data set: found, inserted, deleted.

#include <gtest/gtest.h>

#include <set>

#include "MDicom.h"
#include "MDicomFlat.h"

namespace {

std::set<uint32_t> TagsOf(const _DICOMMODULE *module) {
    std::set<uint32_t> tags;
    for (uint32_t i = 0; module != nullptr && i < module->nCount; ++i) {
        tags.insert(module->pElement[i]->nTag);
    }
    return tags;
}

uint32_t CountElements(MDicomDS &ds) {
    return ds.m_Tree.GetCount(nullptr, 0);
}

constexpr uint32_t kPatient = 0;
constexpr uint32_t kImagePixel = 7;
constexpr uint32_t kXrayAcquisition = 50;
constexpr uint32_t kPatientKey = 150;

TEST(Modules, AreFoundByTheirElements) {
    MDicomDS ds(nullptr);
    M_DicomInitDS(&ds, 1, 0);
    EXPECT_EQ(M_DicomGetCountModule(&ds), MDicomIOD::GetCountModule(1));
    const _DICOMMODULE *patient = M_DicomFindModule(&ds, kPatient);
    ASSERT_EQ(patient, &ds.m_Module);
    EXPECT_EQ(patient->nModule, kPatient);
    EXPECT_TRUE(TagsOf(patient).contains(0x00100010));
    EXPECT_EQ(TagsOf(M_DicomFindIndexModule(&ds, 0)), TagsOf(M_DicomFindModule(&ds, kPatient)));
    EXPECT_EQ(M_DicomFindIndexModule(&ds, M_DicomGetCountModule(&ds)), nullptr);

    const std::set<uint32_t> pixel = TagsOf(M_DicomFindModule(&ds, kImagePixel));
    EXPECT_TRUE(pixel.contains(0x7FE00010));
    EXPECT_FALSE(pixel.contains(0x00280010)) << "derived from the image";
    EXPECT_EQ(M_DicomFindModule(&ds, kXrayAcquisition), nullptr) << "not of this class";
}

TEST(Modules, ComeAndGoAsAWhole) {
    MDicomDS ds(nullptr);
    M_DicomInitDS(&ds, 1, DS_ADD_MANDATORY_MODULES_ONLY);
    const uint32_t before = CountElements(ds);
    ASSERT_EQ(M_DicomFindModule(&ds, 8), nullptr);
    const _DICOMMODULE *contrast = M_DicomInsertModule(&ds, 8, 1);
    ASSERT_NE(contrast, nullptr);
    EXPECT_TRUE(TagsOf(contrast).contains(0x00180010));
    const uint32_t after = CountElements(ds);
    EXPECT_GT(after, before);
    M_DicomInsertModule(&ds, 8, 1);
    EXPECT_EQ(CountElements(ds), after) << "what is there is kept";
    M_DicomDeleteModule(&ds, 8);
    EXPECT_EQ(CountElements(ds), before);

    // Without the optional elements the contrast agent's type 2 row remains.
    ASSERT_NE(M_DicomInsertModule(&ds, 8, 0), nullptr);
    EXPECT_EQ(CountElements(ds), before + 1);
}

TEST(Modules, StayOutOfWrongPlaces) {
    MDicomDS ds(nullptr);
    M_DicomInitDS(&ds, 16, DS_ADD_MANDATORY_MODULES_ONLY);
    const uint32_t before = CountElements(ds);
    EXPECT_EQ(M_DicomInsertModule(&ds, kXrayAcquisition, 1), nullptr)
        << "stands in a sequence here";
    EXPECT_EQ(M_DicomInsertModule(&ds, kPatientKey, 1), nullptr) << "describes directory records";
    EXPECT_EQ(M_DicomInsertModule(&ds, 99999, 1), nullptr);
    EXPECT_EQ(CountElements(ds), before);

    M_DicomInitDS(&ds, 71, 0);
    const uint32_t directory = CountElements(ds);
    EXPECT_EQ(M_DicomFindModule(&ds, 148), nullptr);
    EXPECT_EQ(M_DicomGetCountModule(&ds), 0u);
    EXPECT_EQ(M_DicomFindIndexModule(&ds, 0), nullptr);
    M_DicomDeleteModule(&ds, 148);
    EXPECT_EQ(CountElements(ds), directory);
}

TEST(Modules, OfProgramsMayBeOdd) {
    _DICOMIOD *own = MDicomIOD::Insert(nullptr, 0, 500, L"Own", IOD_TYPE_CLASS, 2, L"1.2.3");
    _DICOMIOD *module = MDicomIOD::Insert(own, 1, 600, L"Long", IOD_TYPE_MODULE, 0, L"");
    for (uint32_t tag = 0x00110001; tag <= 0x00110001 + 1200; ++tag) {
        MDicomIOD::Insert(module, 1, tag, L"", IOD_TYPE_ELEMENT, IOD_USAGE_3, L"");
    }
    // The same tag twice, and an element with a value where the row has a sequence.
    _DICOMIOD *twice = MDicomIOD::Insert(own, 1, 601, L"Twice", IOD_TYPE_MODULE, 0, L"");
    for (int i = 0; i < 2; ++i) {
        _DICOMIOD *row =
            MDicomIOD::Insert(twice, 1, 0x00100010, L"", IOD_TYPE_ELEMENT, IOD_USAGE_3, L"");
        MDicomIOD::Insert(row, 1, 0x00100020, L"", IOD_TYPE_ELEMENT, IOD_USAGE_3, L"");
    }
    MDicomDS ds(nullptr);
    M_DicomInitDS(&ds, 500, 0);
    ASSERT_NE(M_DicomFindModule(&ds, 600), nullptr);
    EXPECT_EQ(ds.m_Module.nCount, 1000u);
    const uint32_t before = CountElements(ds);
    ASSERT_NE(M_DicomFindModule(&ds, 601), nullptr);
    EXPECT_EQ(ds.m_Module.nCount, 2u);
    EXPECT_EQ(ds.GetChildElement(ds.m_Module.pElement[0], 1), nullptr);
    M_DicomDeleteModule(&ds, 601);
    EXPECT_EQ(CountElements(ds), before - 1);
    MDicomIOD::Default();
}

} // namespace
