#include <gtest/gtest.h>

#include "Codec.h"
#include "imageinfo/Image.h"

using mdicom::DataSetAccess;

namespace {

std::string Stream(uint32_t number, uint32_t bits) {
    Bitmap bitmap(128, 96, bits > 8 ? 16 : 8);
    if (bits > 8) bitmap.nHighBit = static_cast<int32_t>(bits) - 1;
    bitmap.Paint(bits, number);
    const Bytes stream = Encode(bitmap, 0, DefaultOptions());
    return {stream.begin(), stream.end()};
}

Bytes Pixels(uint32_t number) {
    Bitmap bitmap(128, 96, 8);
    bitmap.Paint(8, number);
    return bitmap.Rows();
}

uint16_t DecodeFrame(Image &image, uint32_t frame, Bytes &pixels, _IMAGEINFO &info) {
    const uint16_t status = DataSetAccess::Locate(image.ds, image.pixels, &info, frame);
    if (status != 0) return status;
    const uint32_t bytes = (info.nColumns * info.nBitsPerPixel + 31) / 32 * 4;
    pixels.assign(size_t{bytes} * info.nRows, 0);
    return DataSetAccess::Decode(image.ds, &info, pixels);
}

TEST(J2kFrame, TakesItsFragmentsUpToTheNextFrame) {
    Image image(96, 128, 8);
    image.Syntax(kJ2k);
    image.Set(0x00280008, {3});
    const std::string first = Stream(7, 8);
    const std::string second = Stream(8, 8);
    const std::string third = Stream(9, 8);
    // A short fragment does not begin a frame, whatever it holds.
    image.Fragments({"", first.substr(0, 900), first.substr(900), second,
                     third.substr(0, third.size() - 100), third.substr(third.size() - 100)});
    for (uint32_t frame = 0; frame < 3; ++frame) {
        Bytes pixels;
        _IMAGEINFO info{};
        ASSERT_EQ(DecodeFrame(image, frame, pixels, info), 0) << frame;
        EXPECT_EQ(pixels, Pixels(7 + frame));
    }
}

TEST(J2kFrame, TellsTheDepthOfItsStream) {
    Image image(96, 128, 16);
    image.Syntax(kJ2k);
    image.Set(0x00280101, {16});
    image.Fragments({"", Stream(7, 12)});
    Bytes pixels;
    _IMAGEINFO info{};
    ASSERT_EQ(DecodeFrame(image, 0, pixels, info), 0);
    EXPECT_EQ(info.nBitsStored, 12u);
    EXPECT_EQ(info.nHighBit, 11u);
}

TEST(J2kFrame, ColourHasNoDepthOfItsOwn) {
    Bitmap source(128, 96, 24);
    source.Paint(8);
    const Bytes stream = Encode(source, 0, DefaultOptions());
    Image image(96, 128, 8);
    image.Syntax(kJ2k);
    image.Set(0x00280002, {3});
    image.Photometric("YBR_RCT");
    image.Fragments({"", {stream.begin(), stream.end()}});
    Bytes pixels;
    _IMAGEINFO info{};
    ASSERT_EQ(DecodeFrame(image, 0, pixels, info), 0);
    EXPECT_EQ(info.nBitsStored, 8u);
    EXPECT_EQ(pixels, source.Rows());
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
