// Transformations of a data set on the bitmap of a frame.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "Lut.h"
#include "kernel/Bitmap.h"

namespace {

constexpr uint32_t kAutoScale = DICOM_GETIMAGE_AUTOSCALE_MODALITY | DICOM_GETIMAGE_AUTOSCALE_VOI;

/** Four pixels of 12 bits in words. */
struct Pixels : TestBitmap {
    explicit Pixels(::Words words, int high = 11, bool isSigned = false)
        : TestBitmap(static_cast<int>(words.size()), 1, 16) {
        SetBits(0, high, isSigned);
        PutWords(0, words);
        nMinVal = 3;
        nMaxVal = 7;
    }
    ::Words Get() const { return Words(0, static_cast<size_t>(nWidth)); }
    int Level(uint32_t index) const {
        if (pLUT == nullptr || index >= nLUTLength) return -1;
        return static_cast<const _RGBQUAD *>(pLUT)[index].rgbRed;
    }
};

TEST(ApplyLut, RescaleAndWindowOfAFrameReachTheBitmap) {
    MDicomDS ds(nullptr);
    const auto rescale = MakeRescale(1, -1024);
    const auto window = MakeWindow(40, 400);
    M_DicomSetModalityLUT(&ds, 1, &rescale, nullptr, 0, DICOM_SETIMAGE_MODALITY_PER_FRAME);
    M_DicomSetWindow(&ds, 1, 0, &window, DICOM_SETIMAGE_VOI_PER_FRAME);
    Pixels bitmap({0, 1024, 1064, 4095});
    ASSERT_EQ(DataSetAccess::ApplyModality(ds, &bitmap, DICOM_GETIMAGE_MODALITY_SIGNED, 1), 0);
    EXPECT_EQ(bitmap.Get(), (Words{0xFC00, 0, 40, 3071}));
    EXPECT_EQ(bitmap.nMinVal, -1024);
    ASSERT_EQ(DataSetAccess::ApplyVoi(ds, &bitmap, 0, PHOTOMETRIC_MONOCHROME1, 1), 0);
    EXPECT_EQ(bitmap.Level(40), 255 - 128);
    EXPECT_EQ(bitmap.Level(0xFC00), 255);
    Pixels other({5, 6, 6, 5});
    ASSERT_EQ(DataSetAccess::ApplyModality(ds, &other, 8, 0), 0);
    EXPECT_EQ(other.Get(), (Words{5, 6, 6, 5})) << "frame 0 has none";
    EXPECT_EQ(other.nMaxVal, 7);
}

TEST(ApplyLut, TablesReachTheBitmap) {
    MDicomDS ds(nullptr);
    Words table(65536);
    for (size_t i = 0; i < table.size(); ++i) table[i] = static_cast<uint16_t>(65535 - i);
    const auto modality = MakeTable(65536, 0, 16);
    ASSERT_EQ(M_DicomSetModalityLUT(&ds, 0, &modality, table.data(), 65536, 0), 0);
    auto voi = Fresh<tagDICOMVOILUTATTRIBS>();
    voi.LUTDescriptor = {0, 65536, 0, 16};
    ASSERT_EQ(M_DicomSetVOILUT(&ds, 0, &voi, table.data(), 65536, 0), 0);
    Pixels bitmap({0, 1, 500, 4095});
    ASSERT_EQ(DataSetAccess::ApplyModality(ds, &bitmap, 8), 0);
    EXPECT_EQ(bitmap.Get(), (Words{65535, 65534, 65035, 61440}));
    EXPECT_EQ(bitmap.nHighBit, 15);
    ASSERT_EQ(DataSetAccess::ApplyVoi(ds, &bitmap), 0);
    EXPECT_EQ(bitmap.Level(65535), 0);
    EXPECT_EQ(bitmap.Level(0), 255);
    // What such a LUT says can be stored again.
    M_DicomDeleteVOILUT(&ds, 0);
    ASSERT_EQ(DataSetAccess::StoreLut(ds, &bitmap), 0);
    Words back(65536);
    ASSERT_EQ(M_DicomGetVOILUTData(&ds, 0, back.data(), 65536, 0), 0);
    EXPECT_EQ(back, table);
}

TEST(ApplyLut, LutOfSignedValuesIsStoredFromItsFirst) {
    MDicomDS ds(nullptr);
    Put(ds, 0x00280103, {1});
    auto voi = Fresh<tagDICOMVOILUTATTRIBS>();
    voi.LUTDescriptor = {0, 4, -2, 16};
    Words table{500, 100, 900, 700};
    M_DicomSetVOILUT(&ds, 0, &voi, table.data(), 4, 0);
    Pixels bitmap({0, 1, 2, 3}, 11, true);
    DataSetAccess::ApplyVoi(ds, &bitmap);
    M_DicomDeleteVOILUT(&ds, 0);
    const auto window = MakeWindow(1, 2);
    M_DicomSetWindow(&ds, 0, 0, &window, 0);
    ASSERT_EQ(DataSetAccess::StoreLut(ds, &bitmap), 0);
    EXPECT_EQ(WindowText(ds, 0), "9") << "it would go before the LUT";
    ASSERT_EQ(M_DicomGetVOILUT(&ds, 0, &voi, sizeof voi, 0), 0);
    EXPECT_EQ(voi.LUTDescriptor.nNumberOfEntries, 4u);
    EXPECT_EQ(voi.LUTDescriptor.nFirstStoredPixelValueMapped, -2);
    Words back(4);
    M_DicomGetVOILUTData(&ds, 0, back.data(), 4, 0);
    EXPECT_EQ(back, table);
    bitmap.nLUT16Length = 5;
    EXPECT_EQ(DataSetAccess::StoreLut(ds, &bitmap), 0) << "too short a LUT says nothing";
    EXPECT_EQ(DataSetAccess::StoreLut(ds, nullptr), DICOM_ERROR_NULL_POINTER);
}

TEST(ApplyLut, WithoutWindowOrTableTheRangeIsShown) {
    MDicomDS ds(nullptr);
    Pixels bitmap({3, 7, 3, 7});
    ASSERT_EQ(DataSetAccess::ApplyVoi(ds, &bitmap), 0);
    EXPECT_EQ(bitmap.Level(3), 0) << "centre 5, width 4";
    EXPECT_EQ(bitmap.Level(4), 85);
    EXPECT_EQ(bitmap.Level(7), 255);
    bitmap.nMinVal = bitmap.nMaxVal = 0;
    DataSetAccess::ApplyVoi(ds, &bitmap);
    EXPECT_EQ(bitmap.nMaxVal, 1);
    bitmap.nMinVal = bitmap.nMaxVal = 9;
    DataSetAccess::ApplyVoi(ds, &bitmap);
    EXPECT_EQ(bitmap.nMinVal, 8);
    EXPECT_EQ(DataSetAccess::ApplyVoi(ds, &bitmap, 0, PHOTOMETRIC_RGB), DICOM_ERROR_PARAMETER);
    EXPECT_EQ(DataSetAccess::ApplyVoi(ds, nullptr), DICOM_ERROR_NULL_POINTER);
    EXPECT_EQ(DataSetAccess::ApplyModality(ds, nullptr, 0), DICOM_ERROR_NULL_POINTER);
}

TEST(ApplyLut, AutoScaleFitsARescaleThatOverflowsAndItsWindow) {
    struct Case {
        double slope;
        double intercept;
        Words pixels;
        Words expected;
    };
    const Case cases[] = {
        {100, 0, {0, 1, 40, 100}, {0, 41, 1638, 4095}},
        {-100, 50, {0, 10, 40, 100}, {4095, 3686, 2457, 0}},
        {1, 5, {0, 10, 40, 100}, {5, 15, 45, 105}},           // fits
        {100, 0, {40, 40, 40, 40}, {4000, 4000, 4000, 4000}}, // one colour
    };
    for (const Case &test : cases) {
        SCOPED_TRACE(test.slope);
        MDicomDS ds(nullptr);
        const auto rescale = MakeRescale(test.slope, test.intercept);
        M_DicomSetModalityLUT(&ds, 0, &rescale, nullptr, 0, 0);
        const double middle = 40 * test.slope + test.intercept;
        const auto window = MakeWindow(middle, 40 * std::abs(test.slope));
        M_DicomSetWindow(&ds, 0, 0, &window, 0);
        Pixels bitmap(test.pixels);
        ASSERT_EQ(DataSetAccess::ApplyModality(ds, &bitmap, kAutoScale), 0);
        EXPECT_EQ(bitmap.Get(), test.expected);
        ASSERT_EQ(DataSetAccess::ApplyVoi(ds, &bitmap, kAutoScale), 0);
        EXPECT_NEAR(bitmap.Level(test.expected[2]), 128, 5) << "the middle of its window";
    }
}

TEST(ApplyLut, HostileAttributesLeaveTheImage) {
    for (const wchar_t *number : {L"1e308", L"-1e308", L"nan", L"1e-308", L"x", L""}) {
        for (const uint32_t flags : {8u, kAutoScale | 8u}) {
            MDicomDS ds(nullptr);
            for (const uint32_t tag : {0x00281050u, 0x00281051u, 0x00281052u, 0x00281053u}) {
                PutText(ds, tag, number);
            }
            Pixels bitmap({0, 1, 500, 4095});
            EXPECT_EQ(DataSetAccess::ApplyModality(ds, &bitmap, flags), 0);
            bitmap.nMinVal = INT32_MIN;
            bitmap.nMaxVal = INT32_MAX;
            EXPECT_EQ(DataSetAccess::ApplyVoi(ds, &bitmap, flags), 0);
        }
    }
}

/** Runs in a process of its own, which cannot find the companion. */
TEST(ApplyLut, DISABLED_ChildWithoutCompanion) {
    MDicomDS ds(nullptr);
    Pixels bitmap({0, 1, 500, 4095});
    EXPECT_EQ(DataSetAccess::ApplyModality(ds, &bitmap, 8), DICOM_ERROR_IMAGE_LIBRARY);
    EXPECT_EQ(DataSetAccess::ApplyVoi(ds, &bitmap), DICOM_ERROR_IMAGE_LIBRARY);
    EXPECT_EQ(DataSetAccess::StoreLut(ds, &bitmap), DICOM_ERROR_IMAGE_LIBRARY);
    EXPECT_EQ(bitmap.Get(), (Words{0, 1, 500, 4095}));
}

TEST(ApplyLut, WithoutTheCompanionThereIsAStatus) {
    char self[4096] = {};
    ASSERT_GT(readlink("/proc/self/exe", self, sizeof self - 1), 0);
    const std::string command = "env -u LD_LIBRARY_PATH '" + std::string(self) +
                                "' --gtest_also_run_disabled_tests "
                                "--gtest_filter=ApplyLut.DISABLED_ChildWithoutCompanion "
                                ">/dev/null 2>&1";
    EXPECT_EQ(std::system(command.c_str()), 0);
}

} // namespace
