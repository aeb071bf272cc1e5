// Threads with data sets of their own, side by side. Run under the thread sanitizer in CI.

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>

#include "support/Images.h"
#include "support/TestFiles.h"
#include "support/TreeCompare.h"

namespace {

constexpr int kThreads = 8;

void InThreads(const std::function<void(int)> &work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) threads.emplace_back(work, i);
    for (std::thread &thread : threads) thread.join();
}

TEST(Threads, LoadEditAndSaveSideBySide) {
    support::TemporaryFolder folder;
    support::Encoder file;
    file.Meta(support::kExplicitUid).Element(0x00080005, "CS", "ISO_IR 100");
    file.Element(0x00100010, "PN", "M\xFCller^Eva");
    file.Element(0x00280010, "US", std::string("\x10\0", 2));
    file.Element(0x00420011, "OB", std::string(100000, 'd'));
    support::WriteFile(folder.File("source"), file.bytes);
    std::atomic<int> good = 0;
    InThreads([&](int number) {
        for (int round = 0; round < 20; ++round) {
            const std::wstring name = folder.WideFile("out" + std::to_string(number));
            MDicomDS ds(nullptr);
            if (ds.LoadDS(folder.WideFile("source").c_str(), 0) != DICOM_SUCCESS) return;
            auto *patient = ds.FindFirstElement(nullptr, 0x00100010, 1);
            const wchar_t *text = ds.GetStringValue(patient, 0, 1);
            if (text == nullptr || std::wcscmp(text, L"M\u00FCller^Eva") != 0) return;
            if (!ds.SetStringValue(patient, L"L\u00F8vstr\u00F8m^Bo", 1, 1)) return;
            const uint16_t flags = round % 2 != 0 ? DS_BIG_ENDIAN : DS_IMPLICIT_VR;
            if (ds.SaveDS(name.c_str(), flags) != DICOM_SUCCESS) return;
            MDicomDS again(nullptr);
            if (again.LoadDS(name.c_str(), 0) != DICOM_SUCCESS) return;
            if (!support::Difference(ds, again, {.compareVr = round % 2 != 0}).empty()) return;
        }
        ++good;
    });
    EXPECT_EQ(good, kThreads);
}

TEST(Threads, DecodeAndChangeImagesSideBySide) {
    constexpr support::Form kForms[] = {
        {"gray", "MONOCHROME2", 1, 16, 12, 11, 0, 0, 2},
        {"colour", "RGB", 3, 8, 8, 7, 0, 0, 2},
    };
    const wchar_t *const kSyntaxes[] = {L"1.2.840.10008.1.2.5", L"1.2.840.10008.1.2.4.70",
                                        L"1.2.840.10008.1.2.4.90", L"1.2.840.10008.1.2.2"};
    const support::TemporaryFolder folder;
    std::atomic<int> good = 0;
    InThreads([&](int number) {
        for (int round = 0; round < 4; ++round) {
            MDicomDS ds(nullptr);
            support::MakeImage(ds, kForms[number % 2]);
            const std::vector<support::Picture> pictures = support::LoadAll(ds);
            for (const wchar_t *uid : kSyntaxes) {
                if (ds.ChangeTransferSyntax(uid, 0, 0) != DICOM_SUCCESS) return;
                const std::wstring name = folder.WideFile("image" + std::to_string(number));
                if (ds.SaveDS(name.c_str(), DS_METAHEADER_PRESENT) != DICOM_SUCCESS) return;
                MDicomDS again(nullptr);
                if (again.LoadDS(name.c_str(), 0) != DICOM_SUCCESS) return;
                if (support::LoadAll(again) != pictures) return;
            }
        }
        ++good;
    });
    EXPECT_EQ(good, kThreads);
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
