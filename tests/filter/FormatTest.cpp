#include <gtest/gtest.h>

#include "Host.h"

namespace {

struct FormatCase {
    int32_t format;
    int32_t quality;
    int32_t depth;
    int32_t order;
    int32_t loadedDepth;
    int32_t shownFormat;
    const char *compression;
    const char *syntax;
    int32_t tolerance; ///< difference of bytes that a lossy codec may leave
};

constexpr int32_t kGray = KERNEL_ORDER_GRAY;
constexpr int32_t kColor = KERNEL_ORDER_BGR;
constexpr int32_t kPalette = KERNEL_ORDER_RGB;

constexpr FormatCase kFormatCases[] = {
    {89, 0, 1, kPalette, 1, 90, "None", "1.2.840.10008.1.2.1", 0},
    {89, 0, 8, kPalette, 8, 89, "None", "1.2.840.10008.1.2.1", 0},
    {89, 0, 16, kGray, 16, 89, "None", "1.2.840.10008.1.2.1", 0},
    {90, 0, 8, kPalette, 8, 90, "None", "1.2.840.10008.1.2.1", 0},
    {90, 50, 24, kColor, 24, 90, "None", "1.2.840.10008.1.2.1", 0},
    {125, 0, 8, kPalette, 8, 125, "Run Length", "1.2.840.10008.1.2.5", 0},
    {125, 0, 16, kGray, 16, 125, "Run Length", "1.2.840.10008.1.2.5", 0},
    {126, 0, 8, kPalette, 8, 126, "Run Length", "1.2.840.10008.1.2.5", 0},
    {126, 9, 24, kColor, 24, 126, "Run Length", "1.2.840.10008.1.2.5", 0},
    {127, 0, 8, kPalette, 8, 127, "JPEG Lossless", "1.2.840.10008.1.2.4.70", 0},
    {127, 0, 16, kGray, 16, 127, "JPEG Lossless", "1.2.840.10008.1.2.4.70", 0},
    {127, 2, 8, kPalette, 8, 127, "JPEG Lossy", "1.2.840.10008.1.2.4.50", 3},
    {128, 0, 24, kColor, 24, 128, "JPEG Lossless", "1.2.840.10008.1.2.4.70", 0},
    {128, 2, 24, kColor, 24, 128, "JPEG Lossy", "1.2.840.10008.1.2.4.50", 12},
    {293, 0, 8, kPalette, 8, 293, "JPEG 2000 Lossless", "1.2.840.10008.1.2.4.90", 0},
    {293, 0, 16, kGray, 16, 293, "JPEG 2000 Lossless", "1.2.840.10008.1.2.4.90", 0},
    {293, 2, 8, kPalette, 8, 293, "JPEG 2000", "1.2.840.10008.1.2.4.91", 3},
    {294, 0, 24, kColor, 24, 294, "JPEG 2000 Lossless", "1.2.840.10008.1.2.4.90", 0},
    {294, 2, 24, kColor, 24, 294, "JPEG 2000", "1.2.840.10008.1.2.4.91", 12},
    {7, 5, 8, kPalette, 8, 89, "None", "1.2.840.10008.1.2.1", 0},
};

void ExpectRows(const Picture &picture, const Loaded &loaded, int32_t tolerance) {
    const _BITMAPHANDLE &source = picture.record;
    const auto bytes = static_cast<size_t>((source.nWidth * source.nBitsPerPixel + 7) / 8);
    ASSERT_EQ(loaded.rows.size(), bytes * static_cast<size_t>(source.nHeight));
    int32_t worst = 0;
    for (int32_t y = 0; y < source.nHeight; ++y) {
        const uint8_t *expected = KernelLendBitmapRow(&source, y);
        for (size_t i = 0; i < bytes; ++i) {
            const int32_t found = loaded.rows[static_cast<size_t>(y) * bytes + i];
            worst = std::max(worst, std::abs(found - expected[i]));
        }
    }
    EXPECT_LE(worst, tolerance);
}

TEST(FileFilter, EachFormatIsDescribedAndComesBack) {
    const support::TemporaryFolder folder;
    for (const FormatCase &c : kFormatCases) {
        SCOPED_TRACE(testing::Message() << c.format << " at " << c.depth << " bits, " << c.quality);
        const std::wstring name = folder.WideFile("picture.dcm");
        Picture picture(40, 21, c.depth, c.order);
        ASSERT_EQ(SavePicture(name, picture, c.format, c.quality), FILTER_SUCCESS);
        MDicomDS ds(nullptr);
        ASSERT_EQ(ds.LoadDS(name.c_str(), 0), DICOM_SUCCESS);
        EXPECT_EQ(support::StoredText(ds, 0x00020010), c.syntax);

        _FILEINFO info{};
        ASSERT_EQ(Describe(folder.File("picture.dcm"), 1, info), FILTER_SUCCESS);
        EXPECT_EQ(info.nFormat, c.shownFormat);
        EXPECT_EQ(CompressionOf(info), c.compression);
        EXPECT_EQ(info.nWidth, 40);
        EXPECT_EQ(info.nHeight, 21);
        EXPECT_EQ(info.nBitsPerPixel, c.loadedDepth);
        EXPECT_EQ(info.nOrder, c.depth == 1 || c.depth == 8 ? 0 : c.order);
        const uint64_t size = info.nSizeMem;
        EXPECT_EQ(size, uint64_t{picture.record.nBytesPerLine} * 21);

        Loaded loaded;
        LoadPage(name, 1, loaded);
        ASSERT_EQ(loaded.result, FILTER_SUCCESS);
        EXPECT_TRUE(loaded.inOrder);
        EXPECT_EQ(loaded.bitmap.nBitsPerPixel, c.loadedDepth);
        EXPECT_EQ(loaded.bitmap.nColors, c.depth == 8 ? 256u : c.depth == 1 ? 2u : 0u);
        ExpectRows(picture, loaded, c.tolerance);
    }
}

} // namespace
