// Threads with data sets of their own, side by side. Run under the thread sanitizer in CI.

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>

#include "fault/Scenarios.h"
#include "support/Images.h"
#include "support/RealFiles.h"
#include "support/TreeCompare.h"

namespace {

constexpr int kThreads = 8;

void InThreads(const std::function<void(int)> &work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) threads.emplace_back(work, i);
    for (std::thread &thread : threads) thread.join();
}

Outcome Perform(const Scenario &scenario) {
    const support::TemporaryFolder folder;
    MDicomDS ds(nullptr), other(nullptr);
    Trial run{ds, other, folder};
    scenario.make(run.source);
    Prepare(scenario, run);
    const unsigned status = scenario.work(run);
    Outcome outcome = OutcomeOf(scenario, run, status);
    if ((scenario.traits & kUnique) != 0) outcome.files.clear(); // made anew for each run
    return outcome;
}

/** Loads and walks in every encoding, typed values in many character sets, text forms, decoding
 *  with LUTs and overlays, insertions and changes in every syntax, keys, copies, saves, the file
 *  filter: the threads begin at different ones, and end as one thread alone does. */
TEST(Threads, DoEverythingSideBySide) {
    const std::vector<Scenario> scenarios = AllScenarios();
    std::vector<Outcome> expected;
    for (const Scenario &scenario : scenarios) expected.push_back(Perform(scenario));
    std::atomic<int> good = 0;
    InThreads([&](int number) {
        const size_t first = static_cast<size_t>(number) * scenarios.size() / kThreads;
        for (size_t i = 0; i < 2 * scenarios.size(); ++i) {
            const size_t which = (first + i) % scenarios.size();
            if (!(Perform(scenarios[which]) == expected[which])) {
                ADD_FAILURE() << scenarios[which].name;
                return;
            }
        }
        ++good;
    });
    EXPECT_EQ(good, kThreads);
}

/** All that a file holds, as a text. */
std::string Digest(const std::filesystem::path &path) {
    MDicomDS ds(nullptr);
    std::string text = std::to_string(ds.LoadDS(path.wstring().c_str(), 0));
    for (auto *element = ds.GetFirstElement(nullptr, 0, 1); element != nullptr;
         element = ds.GetNextElement(element, 0, 1)) {
        wchar_t form[200] = {};
        ds.GetConvertValue(element, form, 200);
        text += support::Describe(element) + std::string(form, form + std::wcslen(form));
    }
    for (const support::Picture &picture : support::LoadAll(ds)) {
        text +=
            std::to_string(picture.status) + std::string(picture.rows.begin(), picture.rows.end());
    }
    return text;
}

TEST(Threads, ReadRealFilesSideBySide) {
    std::vector<std::filesystem::path> files = support::RealFiles();
    std::erase_if(files, [](const auto &path) { return std::filesystem::file_size(path) > 60000; });
    if (files.empty()) GTEST_SKIP() << "no real files";
    std::vector<std::string> expected;
    for (const auto &path : files) expected.push_back(Digest(path));
    InThreads([&](int number) {
        for (size_t i = 0; i < files.size(); ++i) {
            const size_t which = (i * 7 + static_cast<size_t>(number) * 5) % files.size();
            if (Digest(files[which]) != expected[which]) ADD_FAILURE() << files[which];
        }
    });
}

/** No data set is left between the rounds, so that the companions go and come. */
TEST(Threads, MakeTheFirstUseOfTheCompanions) {
    constexpr support::Form kGray = {"gray", "MONOCHROME2", 1, 16, 12, 11, 0, 0, 2};
    const wchar_t *const kSyntaxes[] = {L"1.2.840.10008.1.2.4.70", L"1.2.840.10008.1.2.4.90"};
    std::atomic<int> good = 0;
    for (int round = 0; round < 10; ++round) {
        std::atomic<int> waiting = kThreads;
        InThreads([&](int number) {
            --waiting;
            while (waiting > 0) std::this_thread::yield();
            MDicomDS ds(nullptr);
            support::MakeImage(ds, kGray);
            if (ds.ChangeTransferSyntax(kSyntaxes[number % 2], 0, 0) == DICOM_SUCCESS) ++good;
        });
    }
    EXPECT_EQ(good, 10 * kThreads);
}

/** Rows of each dictionary, counted by their links, and one found by its key. */
std::vector<size_t> WalkDictionaries() {
    std::vector<size_t> counts(5);
    for (auto *row = MDicomVR::GetFirst(); row != nullptr; row = MDicomVR::GetNext(row)) {
        counts[0] += MDicomVR::Find(row->nCode) != nullptr;
    }
    for (auto *row = MDicomTag::GetFirst(); row != nullptr; row = MDicomTag::GetNext(row)) {
        counts[1] += MDicomTag::Find(row->nCode) != nullptr;
    }
    for (auto *row = MDicomUID::GetFirst(); row != nullptr; row = MDicomUID::GetNext(row)) {
        counts[2] += MDicomUID::Find(row->pszCode) == row;
    }
    for (auto *row = MDicomIOD::GetFirst(nullptr, 0); row != nullptr;
         row = MDicomIOD::GetNext(row, 0)) {
        counts[3] += row->pszName != nullptr;
    }
    for (auto *group = MDicomContextGroup::GetFirst(); group != nullptr;
         group = MDicomContextGroup::GetNext(group)) {
        counts[4] += MDicomContextGroup::GetCountCodedConcept(group);
    }
    return counts;
}

TEST(Threads, WalkFinishedDictionaries) {
    ASSERT_EQ(MDicomContextGroup::Load(nullptr), DICOM_SUCCESS);
    const std::vector<size_t> expected = WalkDictionaries();
    for (const size_t count : expected) EXPECT_GT(count, 20u);
    std::atomic<int> good = 0;
    InThreads([&](int) { good += WalkDictionaries() == expected; });
    EXPECT_EQ(good, kThreads);
    MDicomContextGroup::Reset();
}

TEST(Threads, MakeTheFirstUseOfTheDictionaries) {
    for (int round = 0; round < 3; ++round) {
        M_DicomEngineShutdown();
        M_DicomEngineStartup(3);
        std::atomic<int> good = 0;
        InThreads([&](int number) {
            const bool found = MDicomIOD::FindModule(71, 150) != nullptr &&
                               MDicomTag::Find(0x00100010) != nullptr &&
                               MDicomUID::Find(L"1.2.840.10008.1.2") != nullptr;
            MDicomDS ds(nullptr);
            ds.InitDS(static_cast<uint32_t>(number), 0);
            if (found && ds.GetCountModule() > 0) ++good;
        });
        EXPECT_EQ(good, kThreads);
    }
}

/** The value store of one data set serves readers of several threads. */
TEST(Threads, ReadValuesOfOneDataSet) {
    MDicomDS ds(nullptr);
    std::vector<_DICOMELEMENT *> elements;
    for (uint32_t i = 0; i < 32; ++i) {
        auto *element = ds.InsertElement(nullptr, 0, 0x00091000 + i, 0x4F42, 0, 0);
        support::Bytes bytes(5000, static_cast<uint8_t>(i));
        ASSERT_NE(ds.SetBinaryValue(element, bytes.data(), 5000), 0);
        elements.push_back(element);
    }
    std::atomic<int> good = 0;
    InThreads([&](int number) {
        support::Bytes bytes(5000);
        for (uint32_t i = 0; i < 200; ++i) {
            const uint32_t which = (i * 7 + static_cast<uint32_t>(number)) % 32;
            if (!ds.GetBinaryValue(elements[which], bytes.data(), 0, 5000)) return;
            if (bytes != support::Bytes(5000, static_cast<uint8_t>(which))) return;
        }
        ++good;
    });
    EXPECT_EQ(good, kThreads);
}

} // namespace
