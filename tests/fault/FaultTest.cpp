// Whole operations while each allocation and each file operation in turn fails: every outcome is
// a documented status, nothing that stood before is harmed, and the data set stays usable.

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <set>

#include "Mvkrnx.h"
#include "support/TestFiles.h"
#include "support/TreeCompare.h"
#include "values/FailingMemory.h"

namespace {

using support::Bytes;
using support::TemporaryFolder;

std::atomic<int> wantedKind{-1};
std::atomic<int> operationsLeft{0};
std::atomic<bool> operationFailed{false};

int FailOperation(int kind) {
    if (kind != wantedKind || operationsLeft-- != 0) return 0;
    operationFailed = true;
    return 1;
}

bool faultReached = false;

void Disarm() {
    faultReached = faultReached || AllocationFailed() || operationFailed;
    FailAllocation(-1);
    KernelSetFaultHook(nullptr);
    operationFailed = false;
}

/** Runs a scenario with the n-th operation of a kind failing, for every n that it reaches. The
 *  scenario arms the fault by the function it gets, and disarms it. */
void ForEachFault(int kind, const std::function<void(const std::function<void()> &)> &scenario) {
    int place = 0;
    const auto arm = [&] {
        if (kind == KERNEL_FAULT_ALLOCATE) {
            FailAllocation(place);
            return;
        }
        wantedKind = kind;
        operationsLeft = place;
        KernelSetFaultHook(FailOperation);
    };
    for (; place < 20000; ++place) {
        faultReached = false;
        scenario(arm);
        Disarm();
        if (testing::Test::HasFatalFailure()) return;
        if (!faultReached) break;
    }
    ASSERT_LT(place, 20000) << "the scenario does not come to an end";
    testing::Test::RecordProperty("faults", place);
}

Bytes SampleFile() {
    support::Encoder file;
    file.Meta(support::kExplicitUid).Element(0x00080005, "CS", "ISO_IR 100");
    file.Header(0x00081140, "SQ", 0xFFFFFFFF).Plain(TAG_ITEM, 0xFFFFFFFF);
    file.Element(0x00081150, "UI", "1.2.840.10");
    file.Plain(TAG_ITEM_DELIMITATION, 0).Plain(TAG_SEQUENCE_DELIMITATION, 0);
    file.Element(0x00100010, "PN", "Doe^Jane").Element(0x00104000, "LT", "odd text!");
    file.Element(0x00420011, "OB", std::string(150000, 'd'));
    return file.bytes;
}

const std::set<unsigned> kLoadStatuses = {DICOM_SUCCESS,     DICOM_ERROR_MEMORY, DICOM_ERROR_OPEN,
                                          DICOM_ERROR_READ,  DICOM_ERROR_WRITE,  DICOM_ERROR_SEEK,
                                          DICOM_ERROR_FORMAT};
const std::set<unsigned> kSaveStatuses = {DICOM_SUCCESS, DICOM_ERROR_MEMORY, DICOM_ERROR_OPEN,
                                          DICOM_ERROR_WRITE};

class Faults : public testing::TestWithParam<int> {
  protected:
    void SetUp() override { support::WriteFile(folder.File("file"), original); }

    const Bytes original = SampleFile();
    TemporaryFolder folder;
    const std::wstring name = folder.WideFile("file");
};

TEST_P(Faults, LoadAndWalk) {
    for (const uint16_t flags : {0, int(DS_LOAD_CLOSE)}) {
        ForEachFault(GetParam(), [&](const auto &arm) {
            MDicomDS ds(nullptr);
            arm();
            const unsigned status = ds.LoadDS(name.c_str(), flags);
            for (auto *e = ds.GetFirstElement(nullptr, 0, 1); e != nullptr;
                 e = ds.GetNextElement(e, 0, 1)) {
                ds.GetStringValue(e, 0, 1);
                ds.GetCharValue(e, 0, 1);
            }
            Disarm();
            ASSERT_TRUE(kLoadStatuses.contains(status)) << status;
            if (status != DICOM_SUCCESS) {
                ASSERT_EQ(ds.GetFirstElement(nullptr, 0, 1), nullptr);
            }
            ASSERT_EQ(ds.LoadDS(name.c_str(), flags), DICOM_SUCCESS);
            ASSERT_EQ(support::StoredText(ds, 0x00104000), "odd text!");
            ASSERT_EQ(support::StoredText(ds, 0x00420011).size(), 150000u);
        });
    }
}

TEST_P(Faults, EditAndSaveOntoTheLoadedFile) {
    ForEachFault(GetParam(), [&](const auto &arm) {
        support::WriteFile(folder.File("file"), original);
        MDicomDS ds(nullptr);
        ASSERT_EQ(ds.LoadDS(name.c_str(), 0), DICOM_SUCCESS);
        auto *patient = ds.FindFirstElement(nullptr, 0x00100010, 1);
        arm();
        const bool set = ds.SetStringValue(patient, L"New^Name", 1, 0) != 0;
        const unsigned status = ds.SaveDS(name.c_str(), DS_LENGTH_EXPLICIT | DS_GROUP_LENGTHS);
        Disarm();
        ASSERT_TRUE(kSaveStatuses.contains(status)) << status;
        ASSERT_EQ(support::StoredText(ds, 0x00100010), set ? "New^Name" : "Doe^Jane");
        ASSERT_EQ(folder.Count(), 1u);
        if (status != DICOM_SUCCESS) {
            ASSERT_EQ(support::ReadFile(folder.File("file")), original);
        }
        ASSERT_EQ(ds.SaveDS(name.c_str(), 0), DICOM_SUCCESS);
        MDicomDS again(nullptr);
        ASSERT_EQ(again.LoadDS(name.c_str(), 0), DICOM_SUCCESS);
        ASSERT_EQ(support::Difference(ds, again), "");
    });
}

TEST_P(Faults, BuildAndSave) {
    ForEachFault(GetParam(), [&](const auto &arm) {
        const std::wstring target = folder.WideFile("new");
        MDicomDS ds(nullptr);
        arm();
        for (uint32_t i = 0; i < 60; ++i) {
            auto *e = ds.InsertElement(nullptr, 0, 0x00091000 + i, 0x4C4F, 0, 0);
            ds.SetStringValueA(e, "value", 1);
            ds.FindFirstElement(nullptr, 0x00091000 + i, 1);
        }
        const unsigned status = ds.SaveDS(target.c_str(), 0);
        Disarm();
        ASSERT_TRUE(kSaveStatuses.contains(status)) << status;
        ASSERT_EQ(folder.Count(), status == DICOM_SUCCESS ? 2u : 1u);
        std::filesystem::remove(folder.File("new"));
        for (uint32_t i = 0; i < 60; ++i) {
            auto *e = ds.FindFirstElement(nullptr, 0x00091000 + i, 1);
            if (e == nullptr) e = ds.InsertElement(nullptr, 0, 0x00091000 + i, 0x4C4F, 0, 0);
            ASSERT_NE(e, nullptr);
            if (i > 0) {
                ASSERT_LT(0x00091000 + i - 1, e->nTag);
            }
        }
        ASSERT_EQ(ds.m_Tree.Verify(), nullptr);
    });
}

INSTANTIATE_TEST_SUITE_P(EachKind, Faults,
                         testing::Values(int(KERNEL_FAULT_ALLOCATE), int(KERNEL_FAULT_OPEN),
                                         int(KERNEL_FAULT_READ), int(KERNEL_FAULT_WRITE),
                                         int(KERNEL_FAULT_RENAME)));

/** No other encoding is tried where the value store is full. */
TEST(FaultsOfTheStore, EndALoad) {
    TemporaryFolder folder;
    support::WriteFile(folder.File("file"), SampleFile());
    MDicomDS ds(nullptr);
    KernelSetFaultHook([](int kind) { return kind == KERNEL_FAULT_WRITE ? 1 : 0; });
    const unsigned status = ds.LoadDS(folder.WideFile("file").c_str(), DS_LOAD_CLOSE);
    KernelSetFaultHook(nullptr);
    EXPECT_EQ(status, DICOM_ERROR_WRITE);
}

} // namespace
