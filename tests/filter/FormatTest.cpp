#include <gtest/gtest.h>

#include "Host.h"

namespace {

struct FormatCase {
    int32_t format;
    int32_t quality;
    int32_t depth;
    int32_t shownFormat;
    const char *compression;
    const char *syntax;
};

constexpr FormatCase kFormatCases[] = {
    {89, 0, 1, 90, "None", "1.2.840.10008.1.2.1"},
    {89, 0, 8, 89, "None", "1.2.840.10008.1.2.1"},
    {89, 0, 16, 89, "None", "1.2.840.10008.1.2.1"},
    {90, 0, 8, 90, "None", "1.2.840.10008.1.2.1"},
    {90, 50, 24, 90, "None", "1.2.840.10008.1.2.1"},
    {125, 0, 8, 125, "Run Length", "1.2.840.10008.1.2.5"},
    {125, 0, 16, 125, "Run Length", "1.2.840.10008.1.2.5"},
    {126, 0, 8, 126, "Run Length", "1.2.840.10008.1.2.5"},
    {126, 9, 24, 126, "Run Length", "1.2.840.10008.1.2.5"},
    {127, 0, 8, 127, "JPEG Lossless", "1.2.840.10008.1.2.4.70"},
    {127, 0, 16, 127, "JPEG Lossless", "1.2.840.10008.1.2.4.70"},
    {127, 2, 8, 127, "JPEG Lossy", "1.2.840.10008.1.2.4.50"},
    {128, 0, 24, 128, "JPEG Lossless", "1.2.840.10008.1.2.4.70"},
    {128, 2, 24, 128, "JPEG Lossy", "1.2.840.10008.1.2.4.50"},
    {293, 0, 8, 293, "JPEG 2000 Lossless", "1.2.840.10008.1.2.4.90"},
    {293, 0, 16, 293, "JPEG 2000 Lossless", "1.2.840.10008.1.2.4.90"},
    {293, 2, 8, 293, "JPEG 2000", "1.2.840.10008.1.2.4.91"},
    {294, 0, 24, 294, "JPEG 2000 Lossless", "1.2.840.10008.1.2.4.90"},
    {294, 2, 24, 294, "JPEG 2000", "1.2.840.10008.1.2.4.91"},
    {7, 5, 8, 89, "None", "1.2.840.10008.1.2.1"},
};

TEST(FileFilter, EachFormatIsDescribedAndComesBack) {
    const support::TemporaryFolder folder;
    const std::wstring name = folder.WideFile("picture.dcm");
    for (const auto &[format, quality, depth, shownFormat, compression, syntax] : kFormatCases) {
        SCOPED_TRACE(testing::Message() << format << " at " << depth << " bits, " << quality);
        Picture picture(40, 21, depth, OrderOf(depth));
        ASSERT_EQ(SavePicture(name, picture, format, quality), FILTER_SUCCESS);
        MDicomDS ds(nullptr);
        ASSERT_EQ(ds.LoadDS(name.c_str(), 0), DICOM_SUCCESS);
        EXPECT_EQ(support::StoredText(ds, 0x00020010), syntax);

        _FILEINFO info{};
        ASSERT_EQ(Describe(folder.File("picture.dcm"), 1, info), FILTER_SUCCESS);
        EXPECT_EQ(info.nFormat, shownFormat);
        EXPECT_EQ(CompressionOf(info), compression);
        EXPECT_EQ(info.nWidth, 40);
        EXPECT_EQ(info.nHeight, 21);
        EXPECT_EQ(info.nBitsPerPixel, depth);
        EXPECT_EQ(info.nOrder, OrderOf(depth));
        EXPECT_EQ(uint64_t{info.nSizeMem}, uint64_t{picture.nBytesPerLine} * 21);

        Loaded loaded;
        LoadPage(name, 1, loaded);
        ASSERT_EQ(loaded.result, FILTER_SUCCESS);
        EXPECT_TRUE(loaded.inOrder);
        EXPECT_EQ(loaded.bitmap.nBitsPerPixel, depth);
        EXPECT_EQ(loaded.bitmap.nColors, depth == 8 ? 256u : depth == 1 ? 2u : 0u);
        const support::Bytes rows = RowsOf(picture);
        const bool isLossy = syntax == std::string("1.2.840.10008.1.2.4.91") ||
                             syntax == std::string("1.2.840.10008.1.2.4.50");
        if (isLossy) {
            EXPECT_GT(Decibels(loaded.rows, rows, 8), 40);
        } else {
            EXPECT_EQ(loaded.rows, rows);
        }
    }
}

} // namespace
