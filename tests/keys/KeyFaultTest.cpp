// The key view with memory that fails at every place.

#include <gtest/gtest.h>

#include "Directory.h"
#include "values/FailingMemory.h"

namespace {

/** The types of all records in the order of the tree. */
std::wstring Outline(MDicomDS &ds) {
    std::wstring text;
    for (_DICOMELEMENT *key = ds.GetFirstKey(nullptr, 0); key != nullptr;
         key = ds.GetNextKey(key, 0)) {
        text += ds.GetValueKey(key);
        text += L' ';
    }
    return text;
}

void Fill(MDicomDS &ds) {
    _DICOMELEMENT *patient = ds.InsertKey(nullptr, L"PATIENT", 0);
    ds.InsertKey(patient, L"STUDY", 0);
    ds.InsertKey(nullptr, L"PATIENT", 0);
    ASSERT_EQ(Outline(ds), L"PATIENT STUDY PATIENT ");
}

bool Saves(MDicomDS &ds) {
    support::TemporaryFolder folder;
    return ds.SaveDS(folder.WideFile("D").c_str(), 0) == 0;
}

TEST(KeyFault, AnInsertionIsWholeOrNotThere) {
    for (const bool atRoot : {true, false}) {
        for (int place = 0, reached = 1; reached != 0; ++place) {
            ASSERT_LT(place, 1000);
            MDicomDS ds(nullptr);
            Fill(ds);
            ds.DeleteElement(ds.FindFirstElement(nullptr, 0x00041202, 1)); // so it is inserted
            _DICOMELEMENT *parent = atRoot ? nullptr : ds.GetFirstKey(nullptr, 0);
            FailAllocation(place);
            const bool inserted =
                ds.InsertKey(parent, atRoot ? L"PATIENT" : L"STUDY", 0) != nullptr;
            reached = AllocationFailed();
            FailAllocation(-1);
            const std::wstring more =
                atRoot ? L"PATIENT STUDY PATIENT PATIENT " : L"PATIENT STUDY STUDY PATIENT ";
            ASSERT_EQ(Outline(ds), inserted ? more : L"PATIENT STUDY PATIENT ") << place;
            ASSERT_TRUE(Saves(ds)) << place;
            ASSERT_TRUE(inserted || reached);
        }
    }
}

TEST(KeyFault, ADeletionIsWholeOrNothing) {
    for (int place = 0, reached = 1; reached != 0; ++place) {
        ASSERT_LT(place, 1000);
        MDicomDS ds(nullptr);
        Fill(ds);
        _DICOMELEMENT *first = ds.GetFirstKey(nullptr, 0);
        FailAllocation(place);
        ds.DeleteKey(first);
        reached = AllocationFailed();
        FailAllocation(-1);
        const std::wstring left = Outline(ds);
        ASSERT_TRUE(left == L"PATIENT " || (reached && left == L"PATIENT STUDY PATIENT "));
        ASSERT_TRUE(Saves(ds)) << place;
    }
}

} // namespace
