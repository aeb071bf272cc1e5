// Windows and rescales in functional groups of multi-frame data sets.

#include <gtest/gtest.h>

#include "Lut.h"
#include "support/RealFiles.h"

namespace {

constexpr uint32_t kShared = 0x52009229;
constexpr uint32_t kPerFrame = 0x52009230;
constexpr const wchar_t *kEnhancedCt = L"1.2.840.10008.5.1.4.1.1.2.1";

uint32_t Items(MDicomDS &ds, uint32_t tag) {
    _DICOMELEMENT *group = ds.FindFirstElement(nullptr, tag, 1);
    uint32_t count = 0;
    if (group == nullptr) return count;
    for (auto *item = ds.GetChildElement(group, 1); item; item = ds.GetNextElement(item, 1, 1)) {
        ++count;
    }
    return count;
}

uint16_t Set(MDicomDS &ds, uint32_t frame, double center, uint32_t flags) {
    const auto window = MakeWindow(center, 10);
    return M_DicomSetWindow(&ds, frame, 0, &window, flags);
}

TEST(FunctionalGroups, TopLevelAttributesKeepThemOutUnlessTheClassHasThem) {
    MDicomDS ds(nullptr);
    PutText(ds, 0x00020002, L"1.2.840.10008.5.1.4.1.1.2");
    EXPECT_EQ(DataSetAccess::CanAdd(ds), 1);
    Put(ds, 0x00281053, {1});
    EXPECT_EQ(DataSetAccess::CanAdd(ds), 0);
    EXPECT_EQ(Set(ds, 0, 5, DICOM_SETIMAGE_VOI_SHARED), 0);
    EXPECT_EQ(Items(ds, kShared), 0u);
    EXPECT_EQ(StoredText(ds, 0x00281050), "5.");
    PutText(ds, 0x00020002, kEnhancedCt);
    EXPECT_EQ(DataSetAccess::CanAdd(ds), 1);
    EXPECT_EQ(Set(ds, 0, 6, DICOM_SETIMAGE_VOI_SHARED), 0);
    EXPECT_EQ(Items(ds, kShared), 1u);
    EXPECT_TRUE(DataSetAccess::IsShared(ds, DataSetAccess::VoiOf(ds, 3)));
}

TEST(FunctionalGroups, FlagsChooseTheGroupOfNewAttributes) {
    MDicomDS ds(nullptr);
    EXPECT_EQ(DataSetAccess::PlaceOfVoi(ds, 0, 0), nullptr);
    ASSERT_EQ(Set(ds, 3, 40, DICOM_SETIMAGE_VOI_PER_FRAME), 0);
    EXPECT_EQ(Items(ds, kPerFrame), 4u);
    EXPECT_EQ(WindowText(ds, 3), "40/10");
    EXPECT_EQ(WindowText(ds, 2), "9");
    EXPECT_TRUE(DataSetAccess::IsPerFrame(ds, DataSetAccess::VoiOf(ds, 3)));
    EXPECT_FALSE(DataSetAccess::IsShared(ds, DataSetAccess::VoiOf(ds, 3)));
    ASSERT_EQ(Set(ds, 0, 41, DICOM_SETIMAGE_VOI_PER_FRAME), 0);
    // Frame 0 has its own, so the others get their own.
    ASSERT_EQ(Set(ds, 1, 42, DICOM_SETIMAGE_VOI_SHARED), 0);
    EXPECT_EQ(Items(ds, kShared), 0u);
    EXPECT_EQ(WindowText(ds, 1), "42/10");
    EXPECT_EQ(StoredText(ds, 0x00281050), "41.") << "the first";
}

TEST(FunctionalGroups, SharedAttributesChangeOnlyWhenAllowed) {
    MDicomDS ds(nullptr);
    ASSERT_EQ(Set(ds, 0, 1, DICOM_SETIMAGE_VOI_SHARED), 0);
    ASSERT_EQ(Set(ds, 5, 2, 0), 0);
    EXPECT_EQ(WindowText(ds, 5), "1/10");
    ASSERT_EQ(Set(ds, 5, 3, DICOM_SETIMAGE_UPDATE_SHARED), 0);
    EXPECT_EQ(WindowText(ds, 0), "3/10");
    M_DicomDeleteWindow(&ds, 0, 0);
    EXPECT_EQ(WindowText(ds, 0), "3/10");
    const auto rescale = MakeRescale(2, 1);
    const auto other = MakeRescale(4, 1);
    ASSERT_EQ(M_DicomSetModalityLUT(&ds, 0, &rescale, nullptr, 0, DICOM_SETIMAGE_MODALITY_SHARED),
              0);
    ASSERT_EQ(M_DicomSetModalityLUT(&ds, 0, &other, nullptr, 0, 0), 0);
    EXPECT_EQ(RescaleText(ds, 7), "2x+1");
    EXPECT_EQ(RescaleText(ds), "205") << "without a frame";
    M_DicomDeleteModalityLUT(&ds, 0, 0);
    EXPECT_EQ(RescaleText(ds, 7), "2x+1");
    M_DicomDeleteModalityLUT(&ds, 0, DICOM_SETIMAGE_UPDATE_SHARED);
    M_DicomDeleteWindow(&ds, 0, DICOM_SETIMAGE_UPDATE_SHARED);
    EXPECT_EQ(RescaleText(ds, 7), "205");
    EXPECT_EQ(WindowText(ds, 0), "9");
}

TEST(FunctionalGroups, AWindowWithoutWidthIsSoughtFurtherDown) {
    MDicomDS ds(nullptr);
    Set(ds, 0, 8, DICOM_SETIMAGE_VOI_SHARED);
    Put(ds, 0x00281050, {99});
    EXPECT_EQ(WindowText(ds, 0), "8/10");
}

TEST(FunctionalGroups, FramesEnterAndLeave) {
    MDicomDS ds(nullptr);
    DataSetAccess::InsertFrame(ds, 0);
    EXPECT_EQ(Items(ds, kPerFrame), 0u);
    Set(ds, 0, 40, DICOM_SETIMAGE_VOI_PER_FRAME);
    Set(ds, 1, 41, DICOM_SETIMAGE_VOI_PER_FRAME);
    DataSetAccess::InsertFrame(ds, 1);
    EXPECT_EQ(Items(ds, kPerFrame), 3u);
    EXPECT_EQ(WindowText(ds, 2), "41/10");
    double number = 5;
    ds.FindGetValue(DataSetAccess::VoiOf(ds, 1), 0x00281050, &number, 0, 1, VALUE_ARRAY_DOUBLE);
    EXPECT_EQ(number, 0);
    const auto rescale = MakeRescale(2, 1);
    M_DicomSetModalityLUT(&ds, 0, &rescale, nullptr, 0, DICOM_SETIMAGE_MODALITY_PER_FRAME);
    DataSetAccess::InsertFrame(ds, 0);
    EXPECT_EQ(Items(ds, kPerFrame), 4u) << "one item for both macros";
    EXPECT_EQ(RescaleText(ds, 1), "2x+1");
    EXPECT_EQ(RescaleText(ds, 0), "1x+0");
    DataSetAccess::InsertFrame(ds, 0xFFFFFFFF);
    EXPECT_EQ(Items(ds, kPerFrame), 5u);
    EXPECT_EQ(DataSetAccess::DeleteMacro(ds, 0x00289145, 1), 1);
    EXPECT_EQ(DataSetAccess::DeleteMacro(ds, 0x00289145, 1), 0);
    DataSetAccess::DeleteFrames(ds, 0, 1);
    EXPECT_EQ(Items(ds, kPerFrame), 3u);
    EXPECT_EQ(WindowText(ds, 1), "41/10");
    DataSetAccess::DeleteFrames(ds, 9, 3);
    DataSetAccess::DeleteFrames(ds, 2, 0xFFFFFFFF);
    EXPECT_EQ(Items(ds, kPerFrame), 2u);
}

TEST(FunctionalGroups, FramesFarBeyondTheDataSetAreRefused) {
    MDicomDS ds(nullptr);
    const auto rescale = MakeRescale(2, 1);
    for (const uint32_t frame : {4000000000u, 0xFFFFFFFFu, 5000u}) {
        EXPECT_EQ(Set(ds, frame, 1, DICOM_SETIMAGE_VOI_PER_FRAME), DICOM_ERROR_WRITE);
        EXPECT_EQ(M_DicomSetModalityLUT(&ds, frame, &rescale, nullptr, 0,
                                        DICOM_SETIMAGE_MODALITY_PER_FRAME),
                  DICOM_ERROR_WRITE);
    }
    EXPECT_EQ(ds.GetFirstElement(nullptr, 0, 1), nullptr);
    Put(ds, 0x00280008, {6000});
    EXPECT_EQ(Set(ds, 5000, 1, DICOM_SETIMAGE_VOI_PER_FRAME), 0);
    EXPECT_EQ(WindowText(ds, 5000), "1/10");
    Put(ds, 0x00280008, {2e9});
    EXPECT_EQ(Set(ds, 1999999999, 1, DICOM_SETIMAGE_VOI_PER_FRAME), DICOM_ERROR_WRITE);
}

TEST(FunctionalGroups, RealEnhancedFilesHaveAWindowForEveryFrame) {
    int seen = 0;
    for (const auto &path : support::RealFiles()) {
        const bool wanted = path.filename().string().rfind("emri_small", 0) == 0 ||
                            path.parent_path().filename() == "enhanced";
        MDicomDS ds(nullptr);
        if (!wanted || ds.LoadDS(path.wstring().c_str(), 0) != 0) continue;
        if (ds.FindFirstElement(nullptr, 0x00281050, 0) == nullptr) continue;
        SCOPED_TRACE(path.string());
        ++seen;
        const uint32_t frames = Items(ds, kPerFrame);
        for (uint32_t frame = 0; frame < frames; ++frame) {
            ASSERT_NE(WindowText(ds, frame), "9");
            ASSERT_NE(WindowText(ds, frame), "209");
        }
        const std::string before = WindowText(ds, 1);
        const bool shared = DataSetAccess::IsShared(ds, DataSetAccess::VoiOf(ds, 0));
        ASSERT_EQ(Set(ds, 0, 77, DICOM_SETIMAGE_UPDATE_SHARED), 0);
        EXPECT_EQ(WindowText(ds, 0), "77/10");
        EXPECT_EQ(WindowText(ds, 1), shared ? "77/10" : before);
    }
    if (seen == 0) GTEST_SKIP() << "no such files here";
}

} // namespace
