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
    EXPECT_EQ(M_DicomGetFirstKey(&ds, nullptr, 1), nullptr);
    EXPECT_EQ(M_DicomGetLastKey(&ds, nullptr, 0), nullptr);
    EXPECT_EQ(M_DicomFindFirstKey(&ds, nullptr, L"PATIENT", 0), nullptr);
    M_DicomDeleteKey(&ds, nullptr);
    _DICOMELEMENT *patient = M_DicomInsertKey(&ds, nullptr, L"PATIENT", 0);
    ASSERT_NE(patient, nullptr);
    EXPECT_EQ(patient->nRecordOffset, 1u);
    EXPECT_EQ(TopReference(ds, 0x00041200), 1u);
    EXPECT_EQ(TopReference(ds, 0x00041202), 1u);
    EXPECT_STREQ(M_DicomGetValueKey(&ds, patient), L"PATIENT");
    for (const uint32_t tag : {0x00041400u, 0x00041410u, 0x00041420u, 0x00041432u, 0x00041500u,
                               0x00041510u, 0x00041511u, 0x00041512u}) {
        EXPECT_NE(Child(ds, patient, tag), nullptr) << std::hex << tag;
    }
}

TEST(KeyView, WhatStandsInsideOfARecordStandsForIt) {
    MDicomDS ds(nullptr);
    _DICOMELEMENT *patient = M_DicomInsertKey(&ds, nullptr, L"PATIENT", 1);
    _DICOMELEMENT *study = M_DicomInsertKey(&ds, patient, L"STUDY", 1);
    EXPECT_NE(Child(ds, study, 0x0020000D), nullptr) << "elements of a study";
    EXPECT_EQ(M_DicomGetChildKey(&ds, Child(ds, patient, 0x00041430)), study);
    EXPECT_EQ(M_DicomGetParentKey(&ds, Child(ds, study, 0x0020000D)), patient);
    // What is no record has no place in the view.
    _DICOMELEMENT *records = ds.FindFirstElement(nullptr, kRecords, 1);
    EXPECT_EQ(M_DicomGetChildKey(&ds, records), nullptr);
    EXPECT_EQ(M_DicomInsertKey(&ds, records, L"STUDY", 0), nullptr);
}

TEST(KeyView, ANewRecordHasTheTypeOfItsLevelAndAModuleForIt) {
    MDicomDS ds(nullptr);
    EXPECT_NE(Child(ds, M_DicomInsertKey(&ds, nullptr, L"SOMETHING", 1), 0x00100010), nullptr)
        << "the patient's module serves for types without one";
    EXPECT_STREQ(M_DicomGetValueKey(&ds, M_DicomInsertKey(&ds, nullptr, L"STUDY", 0)),
                 L"SOMETHING");
    MDicomDS plain(nullptr);
    EXPECT_EQ(Child(plain, M_DicomInsertKey(&plain, nullptr, nullptr, 1), 0x00100010), nullptr);
}

TEST(KeyView, DeletionFreesNumbersAndReferences) {
    MDicomDS ds(nullptr);
    _DICOMELEMENT *a = M_DicomInsertKey(&ds, nullptr, L"PATIENT", 0);
    _DICOMELEMENT *b = M_DicomInsertKey(&ds, nullptr, L"PATIENT", 0);
    _DICOMELEMENT *c = M_DicomInsertKey(&ds, nullptr, L"PATIENT", 0);
    M_DicomDeleteKey(&ds, b);
    EXPECT_EQ(Child(ds, a, 0x00041400)->nRecordOffset, c->nRecordOffset);
    EXPECT_EQ(*ds.GetLongValue(Child(ds, a, 0x00041400), 0, 1), 3);
    EXPECT_EQ(M_DicomInsertKey(&ds, a, L"STUDY", 0)->nRecordOffset, 2u)
        << "the number of b is free";
    M_DicomDeleteKey(&ds, c);
    EXPECT_EQ(TopReference(ds, 0x00041202), a->nRecordOffset);
    EXPECT_EQ(Child(ds, a, 0x00041400)->nRecordOffset, 0u);
    M_DicomDeleteKey(&ds, a);
    EXPECT_EQ(TopReference(ds, 0x00041200), 0u);
    EXPECT_EQ(TopReference(ds, 0x00041202), 0u);
    EXPECT_EQ(ds.GetChildElement(ds.FindFirstElement(nullptr, kRecords, 1), 1), nullptr);
}

TEST(KeyView, SearchesByTypeSkipOtherTypes) {
    support::Bytes bytes = EncodeDirectory(1, {{2, 0}, {3, 0}, {0, 0}});
    MDicomDS ds(nullptr);
    ASSERT_EQ(support::LoadBytes(ds, bytes, DS_IMPLICIT_VR | DS_LITTLE_ENDIAN), 0);
    _DICOMELEMENT *first = M_DicomGetFirstKey(&ds, nullptr, 1);
    _DICOMELEMENT *second = M_DicomGetNextKey(&ds, first, 1);
    _DICOMELEMENT *third = M_DicomGetNextKey(&ds, second, 1);
    ds.SetStringValueA(Child(ds, second, 0x00041430), "PRESENTATION", 1);
    EXPECT_EQ(M_DicomFindNextKey(&ds, first, 1), third);
    EXPECT_EQ(M_DicomFindPrevKey(&ds, third, 0), first);
    EXPECT_EQ(M_DicomFindFirstKey(&ds, nullptr, L"PRESENTATION", 0), second);
    EXPECT_EQ(M_DicomFindLastKey(&ds, nullptr, L"IMAGE", 1), third);
    EXPECT_EQ(M_DicomFindFirstKey(&ds, nullptr, L"SERIES", 0), nullptr);
    EXPECT_EQ(M_DicomFindNextKey(&ds, second, 0), nullptr);
}

TEST(KeyView, ChangesOfElementsAreNoticed) {
    MDicomDS ds(nullptr);
    _DICOMELEMENT *patient = M_DicomInsertKey(&ds, nullptr, L"PATIENT", 0);
    _DICOMELEMENT *study = M_DicomInsertKey(&ds, patient, L"STUDY", 0);
    ds.DeleteElement(M_DicomInsertKey(&ds, patient, L"STUDY", 0));
    EXPECT_EQ(M_DicomGetLastKey(&ds, nullptr, 0), study);
    ds.DeleteElement(Child(ds, patient, 0x00041420));
    EXPECT_EQ(M_DicomGetChildKey(&ds, patient), nullptr);
    ds.InsertElement(patient, 1, 0x00041420, 0, 0, 0)->nRecordOffset = study->nRecordOffset;
    EXPECT_EQ(M_DicomGetChildKey(&ds, patient), study);
    _DICOMELEMENT *first = ds.FindFirstElement(nullptr, 0x00041200, 1);
    first->nRecordOffset = 77;
    const support::TemporaryFolder folder;
    EXPECT_EQ(ds.SaveDS(folder.WideFile("x").c_str(), 0), DICOM_ERROR_WRITE) << "no such record";
    EXPECT_EQ(folder.Count(), 0u);
    ds.DeleteElement(first);
    EXPECT_EQ(M_DicomGetFirstKey(&ds, nullptr, 1), nullptr);
    ds.ResetDS();
    EXPECT_EQ(M_DicomInsertKey(&ds, nullptr, L"PATIENT", 0)->nRecordOffset, 1u);
}

TEST(KeyView, StaleHandlesAreRefusedWhileTheyAreLookedUp) {
    MDicomDS ds(nullptr);
    _DICOMELEMENT *key = M_DicomInsertKey(&ds, nullptr, L"PATIENT", 0);
    M_DicomDeleteKey(&ds, key);
    int reports = 0;
    const auto count = [](_DICOMELEMENT *, uint16_t, void *data) {
        return ++*static_cast<int *>(data);
    };
    ds.SetDebugDS(count, &reports);
    EXPECT_EQ(M_DicomGetFirstKey(&ds, key, 0), nullptr);
    EXPECT_EQ(M_DicomGetLastKey(&ds, key, 1), nullptr);
    EXPECT_EQ(M_DicomGetNextKey(&ds, key, 0), nullptr);
    EXPECT_EQ(M_DicomGetValueKey(&ds, key), nullptr);
    EXPECT_EQ(M_DicomInsertKey(&ds, key, L"STUDY", 0), nullptr);
    M_DicomDeleteKey(&ds, key);
    EXPECT_EQ(reports, 6);
}

TEST(KeyView, NumbersOfItemsInsideOfRecordsAreNotGivenAway) {
    support::Bytes bytes = EncodeDirectory(1, {{0, 0}});
    MDicomDS ds(nullptr);
    ASSERT_EQ(support::LoadBytes(ds, bytes, DS_IMPLICIT_VR | DS_LITTLE_ENDIAN), 0);
    _DICOMELEMENT *top = M_DicomGetFirstKey(&ds, nullptr, 1);
    for (int i = 2; i < 200; ++i) SetLabel(ds, M_DicomInsertKey(&ds, top, L"IMAGE", 0), i);
    support::TemporaryFolder folder;
    ASSERT_EQ(ds.SaveDS(folder.WideFile("D").c_str(), 0), 0);
    MDicomDS again(nullptr);
    ASSERT_EQ(again.LoadDS(folder.WideFile("D").c_str(), 0), 0);
    int expected = 1;
    for (_DICOMELEMENT *key = M_DicomGetFirstKey(&again, nullptr, 0); key != nullptr;
         key = M_DicomGetNextKey(&again, key, 0)) {
        EXPECT_EQ(LabelOf(again, key), expected++);
    }
    EXPECT_EQ(expected, 200);
}

} // namespace
