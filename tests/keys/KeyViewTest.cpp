// The key view on small directories: what each operation does to records and references.

#include <gtest/gtest.h>

#include "Directory.h"

namespace {

_DICOMELEMENT *Child(MDicomDS &ds, _DICOMELEMENT *key, uint32_t tag) {
    return ds.FindFirstElement(ds.GetChildElement(key, 1), tag, 1);
}

uint32_t TopReference(MDicomDS &ds, uint32_t tag) {
    const _DICOMELEMENT *element = ds.FindFirstElement(nullptr, tag, 1);
    return element != nullptr ? element->nRecordOffset : 0xFFFFFFFF;
}

TEST(KeyView, AnEmptyDataSetHasNoKeysAndTakesTheFirst) {
    MDicomDS ds(nullptr);
    EXPECT_EQ(ds.GetFirstKey(nullptr, 1), nullptr);
    EXPECT_EQ(ds.GetLastKey(nullptr, 0), nullptr);
    EXPECT_EQ(ds.FindFirstKey(nullptr, L"PATIENT", 0), nullptr);
    ds.DeleteKey(nullptr);
    _DICOMELEMENT *patient = ds.InsertKey(nullptr, L"PATIENT", 0);
    ASSERT_NE(patient, nullptr);
    EXPECT_EQ(patient->nRecordOffset, 1u);
    EXPECT_NE(ds.FindFirstElement(nullptr, kRecords, 1), nullptr);
    EXPECT_EQ(ds.GetFirstKey(nullptr, 1), patient);
    EXPECT_EQ(TopReference(ds, 0x00041200), 1u);
    EXPECT_EQ(TopReference(ds, 0x00041202), 1u);
    EXPECT_STREQ(ds.GetValueKey(patient), L"PATIENT");
    for (const uint32_t tag : {0x00041400u, 0x00041410u, 0x00041420u, 0x00041432u, 0x00041500u,
                               0x00041510u, 0x00041511u, 0x00041512u}) {
        EXPECT_NE(Child(ds, patient, tag), nullptr) << std::hex << tag;
    }
}

TEST(KeyView, ASecondRecordOfALevelFollowsTheFirst) {
    MDicomDS ds(nullptr);
    _DICOMELEMENT *patient = ds.InsertKey(nullptr, L"PATIENT", 1);
    _DICOMELEMENT *first = ds.InsertKey(patient, L"STUDY", 1);
    _DICOMELEMENT *second = ds.InsertKey(patient, L"STUDY", 1);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(Child(ds, patient, 0x00041420)->nRecordOffset, first->nRecordOffset);
    EXPECT_EQ(*ds.GetLongValue(Child(ds, first, 0x00041400), 0, 1),
              static_cast<int32_t>(second->nRecordOffset));
    EXPECT_NE(Child(ds, first, 0x0020000D), nullptr) << "elements of a study";
    // An element inside of a record stands for the record.
    EXPECT_EQ(ds.GetChildKey(Child(ds, patient, 0x00041430)), first);
    EXPECT_EQ(ds.GetParentKey(Child(ds, second, 0x0020000D)), patient);
    EXPECT_EQ(ds.GetNextKey(first, 1), second);
    EXPECT_EQ(ds.GetPrevKey(second, 1), first);
    EXPECT_EQ(ds.GetLastKey(nullptr, 0), second);
    // What is no record has no place in the view.
    _DICOMELEMENT *records = ds.FindFirstElement(nullptr, kRecords, 1);
    EXPECT_EQ(ds.GetChildKey(records), nullptr);
    EXPECT_EQ(ds.InsertKey(records, L"STUDY", 0), nullptr);
}

TEST(KeyView, TheFirstRecordOfALevelRulesItsType) {
    MDicomDS ds(nullptr);
    ds.InsertKey(nullptr, L"PATIENT", 0);
    EXPECT_STREQ(ds.GetValueKey(ds.InsertKey(nullptr, L"STUDY", 0)), L"PATIENT");
}

TEST(KeyView, ATypeWithoutModuleTakesThePatientModule) {
    MDicomDS ds(nullptr);
    _DICOMELEMENT *key = ds.InsertKey(nullptr, L"SOMETHING", 1);
    EXPECT_NE(Child(ds, key, 0x00100010), nullptr);
    MDicomDS plain(nullptr);
    EXPECT_EQ(Child(plain, plain.InsertKey(nullptr, nullptr, 1), 0x00100010), nullptr);
}

TEST(KeyView, DeletionClosesTheGap) {
    MDicomDS ds(nullptr);
    _DICOMELEMENT *a = ds.InsertKey(nullptr, L"PATIENT", 0);
    _DICOMELEMENT *b = ds.InsertKey(nullptr, L"PATIENT", 0);
    _DICOMELEMENT *c = ds.InsertKey(nullptr, L"PATIENT", 0);
    ds.InsertKey(ds.InsertKey(b, L"STUDY", 0), L"SERIES", 0);
    ds.DeleteKey(b);
    EXPECT_EQ(ds.GetNextKey(a, 0), c);
    EXPECT_EQ(Child(ds, a, 0x00041400)->nRecordOffset, c->nRecordOffset);
    EXPECT_EQ(ds.InsertKey(a, L"STUDY", 0)->nRecordOffset, 2u) << "the number of b is free";
    ds.DeleteKey(c);
    EXPECT_EQ(TopReference(ds, 0x00041202), a->nRecordOffset);
    EXPECT_EQ(Child(ds, a, 0x00041400)->nRecordOffset, 0u);
    ds.DeleteKey(a);
    EXPECT_EQ(TopReference(ds, 0x00041200), 0u);
    EXPECT_EQ(TopReference(ds, 0x00041202), 0u);
    EXPECT_EQ(ds.GetFirstKey(nullptr, 0), nullptr);
    EXPECT_EQ(ds.GetChildElement(ds.FindFirstElement(nullptr, kRecords, 1), 1), nullptr);
}

TEST(KeyView, SearchesByTypeSkipOtherTypes) {
    support::Bytes bytes = EncodeDirectory(1, {{2, 0}, {3, 0}, {0, 0}});
    MDicomDS ds(nullptr);
    ASSERT_EQ(support::LoadBytes(ds, bytes, DS_IMPLICIT_VR | DS_LITTLE_ENDIAN), 0);
    _DICOMELEMENT *first = ds.GetFirstKey(nullptr, 1);
    _DICOMELEMENT *second = ds.GetNextKey(first, 1);
    _DICOMELEMENT *third = ds.GetNextKey(second, 1);
    ds.SetStringValueA(Child(ds, second, 0x00041430), "PRESENTATION", 1);
    EXPECT_EQ(ds.FindNextKey(first, 1), third);
    EXPECT_EQ(ds.FindPrevKey(third, 0), first);
    EXPECT_EQ(ds.FindFirstKey(nullptr, L"PRESENTATION", 0), second);
    EXPECT_EQ(ds.FindLastKey(nullptr, L"IMAGE", 1), third);
    EXPECT_EQ(ds.FindFirstKey(nullptr, L"SERIES", 0), nullptr);
    EXPECT_EQ(ds.FindNextKey(second, 0), nullptr);
}

TEST(KeyView, ChangesOfElementsAreNoticed) {
    MDicomDS ds(nullptr);
    _DICOMELEMENT *patient = ds.InsertKey(nullptr, L"PATIENT", 0);
    _DICOMELEMENT *study = ds.InsertKey(patient, L"STUDY", 0);
    _DICOMELEMENT *other = ds.InsertKey(patient, L"STUDY", 0);
    ds.DeleteElement(other);
    EXPECT_EQ(ds.GetNextKey(study, 1), nullptr);
    EXPECT_EQ(ds.GetLastKey(nullptr, 0), study);
    ds.DeleteElement(Child(ds, patient, 0x00041420));
    EXPECT_EQ(ds.GetChildKey(patient), nullptr);
    EXPECT_EQ(ds.GetParentKey(study), nullptr);
    ds.InsertElement(patient, 1, 0x00041420, 0, 0, 0)->nRecordOffset = study->nRecordOffset;
    EXPECT_EQ(ds.GetChildKey(patient), study);
    ds.DeleteElement(ds.FindFirstElement(nullptr, 0x00041200, 1));
    EXPECT_EQ(ds.GetFirstKey(nullptr, 1), nullptr);
    ds.ResetDS();
    EXPECT_EQ(ds.GetFirstKey(nullptr, 1), nullptr);
    EXPECT_EQ(ds.InsertKey(nullptr, L"PATIENT", 0)->nRecordOffset, 1u);
}

TEST(KeyView, StaleHandlesAreRefusedWhileTheyAreLookedUp) {
    MDicomDS ds(nullptr);
    _DICOMELEMENT *key = ds.InsertKey(nullptr, L"PATIENT", 0);
    ds.DeleteKey(key);
    int reports = 0;
    const auto count = [](_DICOMELEMENT *, uint16_t, void *data) {
        return ++*static_cast<int *>(data);
    };
    ds.SetDebugDS(count, &reports);
    EXPECT_EQ(ds.GetFirstKey(key, 0), nullptr);
    EXPECT_EQ(ds.GetLastKey(key, 1), nullptr);
    EXPECT_EQ(ds.GetNextKey(key, 0), nullptr);
    EXPECT_EQ(ds.GetValueKey(key), nullptr);
    EXPECT_EQ(ds.InsertKey(key, L"STUDY", 0), nullptr);
    ds.DeleteKey(key);
    EXPECT_EQ(reports, 6);
}

TEST(KeyView, NumbersOfItemsInsideOfRecordsAreNotGivenAway) {
    support::Bytes bytes = EncodeDirectory(1, {{0, 0}});
    MDicomDS ds(nullptr);
    ASSERT_EQ(support::LoadBytes(ds, bytes, DS_IMPLICIT_VR | DS_LITTLE_ENDIAN), 0);
    _DICOMELEMENT *top = ds.GetFirstKey(nullptr, 1);
    for (int i = 2; i < 200; ++i) SetLabel(ds, ds.InsertKey(top, L"IMAGE", 0), i);
    support::TemporaryFolder folder;
    ASSERT_EQ(ds.SaveDS(folder.WideFile("D").c_str(), 0), 0);
    MDicomDS again(nullptr);
    ASSERT_EQ(again.LoadDS(folder.WideFile("D").c_str(), 0), 0);
    int expected = 1;
    for (_DICOMELEMENT *key = again.GetFirstKey(nullptr, 0); key != nullptr;
         key = again.GetNextKey(key, 0)) {
        EXPECT_EQ(LabelOf(again, key), expected++);
    }
    EXPECT_EQ(expected, 200);
}

} // namespace
