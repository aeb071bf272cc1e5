// The key view with memory that fails at every place.

#include <gtest/gtest.h>

#include <functional>

#include "Directory.h"
#include "values/FailingMemory.h"

namespace {

/** The types of all records in the order of the tree. */
std::wstring Outline(MDicomDS &ds) {
    std::wstring text;
    for (_DICOMELEMENT *key = ds.GetFirstKey(nullptr, 0); key != nullptr;
         key = ds.GetNextKey(key, 0)) {
        text += std::wstring(ds.GetValueKey(key)) + L' ';
    }
    return text;
}

struct Edit {
    const char *name;
    std::function<void(MDicomDS &)> work;
    const wchar_t *outcome;
};

TEST(KeyFault, AnEditIsWholeOrNothing) {
    const wchar_t *const before = L"PATIENT STUDY PATIENT ";
    const Edit edits[] = {
        {"at the root", [](MDicomDS &ds) { ds.InsertKey(nullptr, L"PATIENT", 0); },
         L"PATIENT STUDY PATIENT PATIENT "},
        {"below", [](MDicomDS &ds) { ds.InsertKey(ds.GetFirstKey(nullptr, 0), L"STUDY", 0); },
         L"PATIENT STUDY STUDY PATIENT "},
        {"deletion", [](MDicomDS &ds) { ds.DeleteKey(ds.GetFirstKey(nullptr, 0)); }, L"PATIENT "},
    };
    const support::TemporaryFolder folder;
    for (const Edit &edit : edits) {
        for (int place = 0, reached = 1; reached != 0; ++place) {
            ASSERT_LT(place, 1000);
            MDicomDS ds(nullptr);
            ds.InsertKey(ds.InsertKey(nullptr, L"PATIENT", 0), L"STUDY", 0);
            ds.InsertKey(nullptr, L"PATIENT", 0);
            ds.DeleteElement(ds.FindFirstElement(nullptr, 0x00041202, 1)); // so it is inserted
            ASSERT_EQ(Outline(ds), before);
            FailAllocation(place);
            edit.work(ds);
            reached = AllocationFailed();
            FailAllocation(-1);
            const std::wstring left = Outline(ds);
            ASSERT_TRUE(left == edit.outcome || (reached && left == before)) << edit.name << place;
            ASSERT_EQ(ds.SaveDS(folder.WideFile("D").c_str(), 0), 0) << edit.name << place;
        }
    }
}

} // namespace
