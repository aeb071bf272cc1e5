#include <gtest/gtest.h>

#include "Codec.h"
#include "imageinfo/Image.h"

using mdicom::DataSetAccess;

namespace {

TEST(J2kFrame, TellsTheDepthOfItsStream) {
    Bitmap bitmap(128, 96, 16);
    bitmap.nHighBit = 11;
    bitmap.Paint(12);
    const Bytes stream = Encode(bitmap, 0, DefaultOptions());
    Image image(96, 128, 16);
    image.Syntax(kJ2k);
    image.Fragments({"", {stream.begin(), stream.end()}});
    Bytes pixels(256 * 96);
    _IMAGEINFO info{};
    ASSERT_EQ(DataSetAccess::Locate(image.ds, image.pixels, &info, 0), 0);
    ASSERT_EQ(DataSetAccess::Decode(image.ds, &info, pixels), 0);
    EXPECT_EQ(info.nBitsStored, 12u);
    EXPECT_EQ(info.nHighBit, 11u);
    EXPECT_EQ(pixels, bitmap.Rows());
}

TEST(J2kFrame, EncodesWithTheOptionsOfItsDataSet) {
    MDicomDS ds(nullptr);
    Bitmap source(200, 100, 8);
    source.Paint(8);
    _FILEJ2KOPTIONS &options = ds.m_pExtra->J2KOptions;
    const _FILEJ2KOPTIONS before = options;
    uint8_t *data = nullptr;
    uint32_t size = 0;
    ASSERT_EQ(DataSetAccess::Encode(ds, &data, &source, 25, &size, true), 0);
    EXPECT_EQ(0, std::memcmp(&before, &options, sizeof before));
    EXPECT_EQ(KernelMemSize(data), size);
    Bitmap target(200, 100, 8);
    ASSERT_EQ(Decode(Bytes(data, data + size), target, 8), 1);
    EXPECT_EQ(target.Rows(), source.Rows());
    KernelFree(data, 0, nullptr);
    const uint32_t lossless = size;
    ASSERT_EQ(DataSetAccess::Encode(ds, &data, &source, 25, &size, false), 0);
    EXPECT_LT(size, lossless);
    KernelFree(data, 0, nullptr);
    options.nCodeBlockWidth = 5;
    EXPECT_EQ(DataSetAccess::Encode(ds, &data, &source, 25, &size, false), 10);
    EXPECT_EQ(data, nullptr);
}

} // namespace
