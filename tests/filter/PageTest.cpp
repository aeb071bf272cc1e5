#include <gtest/gtest.h>

#include "Host.h"

namespace {

using support::Bytes;

class FilePages : public testing::Test {
  protected:
    FilePages() {
        MDicomDS ds(nullptr);
        ds.InitDS(0xFFFF, DS_LITTLE_ENDIAN | DS_EXPLICIT_VR);
        for (uint8_t value = 1; value <= 3; ++value) { // of all pixels of a frame
            Picture picture(4, 3, 8, KERNEL_ORDER_RGB);
            for (int32_t y = 0; y < 3; ++y) {
                std::memset(KernelLendBitmapRow(&picture, y), value, 4);
            }
            EXPECT_EQ(ds.InsertImage(nullptr, &picture, 0xFFFFFFFF, 0, PHOTOMETRIC_MONOCHROME2, 8,
                                     0, 0, nullptr, nullptr),
                      DICOM_SUCCESS);
        }
        EXPECT_EQ(ds.SaveDS(m_Name.c_str(), DS_METAHEADER_PRESENT), DICOM_SUCCESS);
    }

    support::TemporaryFolder m_Folder;
    std::string m_Path = m_Folder.File("frames.dcm");
    std::wstring m_Name = m_Folder.WideFile("frames.dcm");
};

TEST_F(FilePages, AreFramesAndTheNearestPageStandsForOneThatIsNot) {
    const std::pair<int32_t, int32_t> cases[] = {{-1, 1}, {0, 1}, {1, 1},         {2, 2},
                                                 {3, 3},  {9, 3}, {0x7FFFFFFF, 3}};
    for (const auto &[asked, given] : cases) {
        SCOPED_TRACE(asked);
        _FILEINFO info{};
        ASSERT_EQ(Describe(m_Path, asked, info), FILTER_SUCCESS);
        EXPECT_EQ(info.nPageNumber, given);
        EXPECT_EQ(info.nTotalPages, 3);
        Loaded loaded;
        LoadPage(m_Name, asked, loaded);
        ASSERT_EQ(loaded.result, FILTER_SUCCESS);
        EXPECT_EQ(loaded.rows, Bytes(12, static_cast<uint8_t>(given)));
    }
}

TEST_F(FilePages, RunThroughIconsFirst) {
    MDicomDS ds(nullptr);
    ASSERT_EQ(ds.LoadDS(m_Name.c_str(), DS_LOAD_CLOSE), DICOM_SUCCESS);
    _DICOMELEMENT *icons = ds.InsertElement(nullptr, 0, 0x00880200, 'S' << 8 | 'Q', 1, 0);
    _DICOMELEMENT *item = ds.InsertElement(icons, 1, TAG_ITEM, 0, 1, 0);
    _DICOMELEMENT *pixels = ds.InsertElement(item, 1, TAG_PIXEL_DATA, 'O' << 8 | 'W', 0, 0);
    for (const auto &[tag, number] :
         {std::pair{0x00280010u, 2u}, {0x00280011u, 2u}, {0x00280008u, 1u}}) {
        ds.FindSetValue(pixels, tag, &number, 1, VALUE_ARRAY_DWORD);
    }
    ASSERT_TRUE(ds.SetBinaryValue(pixels, Bytes(4, 77).data(), 4));
    ASSERT_EQ(ds.SaveDS(m_Name.c_str(), 0), DICOM_SUCCESS);

    _FILEINFO info{};
    ASSERT_EQ(Describe(m_Path, 1, info), FILTER_SUCCESS);
    EXPECT_EQ(info.nTotalPages, 4);
    EXPECT_EQ(info.nWidth, 2);
    ASSERT_EQ(Describe(m_Path, 2, info), FILTER_SUCCESS);
    EXPECT_EQ(info.nWidth, 4);
    Loaded loaded;
    LoadPage(m_Name, 3, loaded);
    EXPECT_EQ(loaded.rows, Bytes(12, 2));
}

TEST_F(FilePages, EndWithTheRowAtWhichTheCallbackStops) {
    Loaded loaded;
    loaded.stopAt = 1;
    LoadPage(m_Name, 1, loaded);
    EXPECT_EQ(loaded.result, kStopped);
    EXPECT_EQ(loaded.calls, 2u);
    EXPECT_TRUE(loaded.bitmap.pPalette != nullptr) << "what was moved belongs to the target";
}

TEST_F(FilePages, LoadWithTheDepthOfTheTarget) {
    Loaded loaded;
    loaded.bitmap.nBitsPerPixel = 24;
    LoadPage(m_Name, 2, loaded);
    ASSERT_EQ(loaded.result, FILTER_SUCCESS);
    EXPECT_EQ(loaded.bitmap.nBitsPerPixel, 24);
    EXPECT_EQ(loaded.rows.size(), 36u);
    Loaded refused;
    refused.bitmap.nBitsPerPixel = 7;
    LoadPage(m_Name, 2, refused);
    EXPECT_EQ(refused.result, FILTER_ERROR_FORMAT);
}

TEST_F(FilePages, BringPaletteWindowAndSignAlong) {
    MDicomDS ds(nullptr);
    ASSERT_EQ(ds.LoadDS(m_Name.c_str(), DS_LOAD_CLOSE), DICOM_SUCCESS);
    for (const auto &[tag, number] : {std::pair{0x00280100u, 16},
                                      {0x00280101u, 16},
                                      {0x00280102u, 15},
                                      {0x00280103u, 1},
                                      {0x00280011u, 2},
                                      {0x00281050u, 100},
                                      {0x00281051u, 200}}) {
        ds.FindSetValue(nullptr, tag, &number, 1, VALUE_ARRAY_DWORD);
    }
    for (const uint32_t tag : {0x00280106u, 0x00280107u}) {
        if (_DICOMELEMENT *extreme = ds.FindFirstElement(nullptr, tag, 1))
            ds.DeleteElement(extreme);
    }
    ASSERT_EQ(ds.SaveDS(m_Name.c_str(), 0), DICOM_SUCCESS);
    Loaded loaded;
    LoadPage(m_Name, 1, loaded);
    ASSERT_EQ(loaded.result, FILTER_SUCCESS);
    EXPECT_EQ(loaded.bitmap.nBitsPerPixel, 16);
    EXPECT_NE(loaded.bitmap.nBitmapFlags & KERNEL_BITMAP_SIGNED, 0u);
    EXPECT_NE(loaded.bitmap.nBitmapFlags & KERNEL_BITMAP_LUT_IN_USE, 0u);
    EXPECT_GT(loaded.bitmap.nLUTLength, 0u);
    EXPECT_EQ(loaded.bitmap.nHighBit, 15);
    EXPECT_EQ(loaded.rows, Bytes(12, 1));
}

} // namespace
