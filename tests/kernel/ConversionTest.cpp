// Gray scale, colour resolution and size of bitmaps.

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>

#include "Bitmap.h"

namespace {

constexpr uint32_t size = sizeof(_BITMAPHANDLE);

TEST(GrayScale, SpreadsTheSignificantBits) {
    TestBitmap bitmap(4, 1, 16);
    bitmap.SetBits(4, 15, false);
    bitmap.PutWords(0, {0, 0x800F, 0xFFF0, 0x0FFF});
    ASSERT_EQ(KernelGrayScaleBitmap(&bitmap, 8), 1);
    EXPECT_EQ(bitmap.Bytes(0, 4), (Bytes{0, 128, 255, 15}));
    EXPECT_EQ(KernelIsGrayScaleBitmap(&bitmap), 1);
    ASSERT_EQ(KernelGrayScaleBitmap(&bitmap, 16), 1);
    EXPECT_EQ(bitmap.Words(0, 4), (Words{0, 128 * 257, 65535, 15 * 257}));
    EXPECT_EQ(bitmap.nHighBit, 15);
}

TEST(GrayScale, SignRangeAndLutDecideTheBrightness) {
    const Words samples{0x800, 0xFFF, 0, 0x7FF}; // -2048, -1, 0, 2047 in 12 bits
    const auto convert = [&](auto prepare) {
        TestBitmap bitmap(4, 1, 16);
        bitmap.SetBits(0, 11, true);
        bitmap.PutWords(0, samples);
        prepare(bitmap);
        EXPECT_EQ(KernelGrayScaleBitmap(&bitmap, 8), 1);
        EXPECT_EQ(bitmap.nBitmapFlags & 0xA00, 0u);
        return bitmap.Bytes(0, 4);
    };
    EXPECT_EQ(convert([](TestBitmap &) {}), (Bytes{0, 127, 128, 255}));
    EXPECT_EQ(convert([](TestBitmap &bitmap) {
                  bitmap.nMinVal = -1;
                  bitmap.nMaxVal = 1;
              }),
              (Bytes{0, 0, 128, 255}));
    EXPECT_EQ(convert([](TestBitmap &bitmap) {
                  Words lut(4096, 0);
                  lut[0x800] = 0x1234;
                  lut[0xFFF] = 0xFF00;
                  bitmap.UseLut16(lut);
              }),
              (Bytes{0x12, 0xFF, 0, 0}));
    // A LUT shorter than the bits: its last entry serves for the rest.
    EXPECT_EQ(convert([](TestBitmap &bitmap) {
                  bitmap.UseLut16({0x100, 0x300});
              }),
              (Bytes{3, 3, 1, 3}));
}

TEST(GrayScale, KeepsValuesThatFit) {
    TestBitmap bitmap(5, 1, 12);
    bitmap.SetBits(0, 9, true);
    bitmap.PutBytes(0, {0x21, 0x43, 0x65, 0x87, 0xA9, 0xCB, 0xED, 0x0F});
    bitmap.UseLut16(Words(1024, 7));
    bitmap.nMaxVal = 500;
    const Words values{0x321, 0x654, 0x987, 0xCBA, 0xFED};
    ASSERT_EQ(KernelGrayScaleBitmap(&bitmap, 16), 1);
    EXPECT_EQ(bitmap.Words(0, 5), values);
    EXPECT_EQ(bitmap.nHighBit, 9);
    EXPECT_EQ(bitmap.nMaxVal, 500);
    EXPECT_NE(bitmap.nBitmapFlags & KERNEL_BITMAP_SIGNED, 0u);
    EXPECT_NE(KernelGetBitmapLUT16(&bitmap, 0), nullptr);
    ASSERT_EQ(KernelGrayScaleBitmap(&bitmap, 32), 1);
    ASSERT_EQ(KernelGrayScaleBitmap(&bitmap, 12), 1);
    EXPECT_EQ(bitmap.Bytes(0, 8), (Bytes{0x21, 0x43, 0x65, 0x87, 0xA9, 0xCB, 0xED, 0x0F}));
    TestBitmap high(2, 1, 16);
    high.SetBits(4, 15, false);
    high.PutWords(0, {0x1230, 0xFFFF});
    ASSERT_EQ(KernelGrayScaleBitmap(&high, 12), 1);
    EXPECT_EQ(high.Bytes(0, 3), (Bytes{0x23, 0xF1, 0xFF}));
    EXPECT_EQ(high.nHighBit, 11);
}

TEST(GrayScale, ColoursBecomeTheirBrightness) {
    const Bytes colours{255, 0, 0, 0, 255, 0, 0, 0, 255, 90, 90, 90}; // three primaries, gray
    for (const int order : {KERNEL_ORDER_RGB, KERNEL_ORDER_BGR}) {
        TestBitmap bitmap(4, 1, 24, order);
        bitmap.PutBytes(0, colours);
        EXPECT_EQ(KernelIsGrayScaleBitmap(&bitmap), 0);
        ASSERT_EQ(KernelGrayScaleBitmap(&bitmap, 8), 1);
        const Bytes grays = bitmap.Bytes(0, 4);
        EXPECT_NEAR(grays[order == KERNEL_ORDER_RGB ? 0 : 2], 76, 1);
        EXPECT_NEAR(grays[1], 149, 1);
        EXPECT_NEAR(grays[order == KERNEL_ORDER_RGB ? 2 : 0], 29, 1);
        EXPECT_EQ(grays[3], 90);
        TestBitmap deep(4, 1, 24, order);
        deep.PutBytes(0, colours);
        ASSERT_EQ(KernelGrayScaleBitmap(&deep, 32), 1);
        const Bytes bytes = deep.Bytes(0, 16);
        EXPECT_EQ(Bytes(bytes.end() - 4, bytes.end()), Bytes(4, 90))
            << "the whole range of 32 bits";
    }
}

TEST(GrayScale, InvertedPaletteIsSeenWhenTheDepthChanges) {
    std::vector<_RGBQUAD> palette(256);
    for (int i = 0; i < 256; ++i) std::memset(&palette[i], 255 - i, 3);
    TestBitmap bitmap(2, 1, 8, KERNEL_ORDER_RGB, 1, palette.data());
    bitmap.PutBytes(0, {0, 200});
    EXPECT_EQ(KernelIsGrayScaleBitmap(&bitmap), 2);
    ASSERT_EQ(KernelGrayScaleBitmap(&bitmap, 8), 1);
    EXPECT_EQ(bitmap.Bytes(0, 2), (Bytes{0, 200}));
    ASSERT_EQ(KernelGrayScaleBitmap(&bitmap, 16), 1);
    EXPECT_EQ(bitmap.Words(0, 2), (Words{65535, 55 * 257}));
    palette[3].rgbRed = 0;
    TestBitmap coloured(1, 1, 8, KERNEL_ORDER_RGB, 1, palette.data());
    EXPECT_EQ(KernelIsGrayScaleBitmap(&coloured), 0);
}

TEST(GrayScale, LutsAreStraightOrNot) {
    const auto kind = [](auto curve, bool isSigned) {
        TestBitmap bitmap(1, 1, 16);
        bitmap.SetBits(0, 11, isSigned);
        Words lut(4096);
        for (int i = 0; i < 4096; ++i) {
            const int value = isSigned ? i - 2048 : i;
            lut[value & 4095] = static_cast<uint16_t>(std::clamp<double>(curve(i), 0, 65535));
        }
        bitmap.UseLut16(lut);
        return KernelIsGrayScaleBitmap(&bitmap);
    };
    const auto window = [](double x) { return (x - 1000.3) * 65535 / 400; };
    const auto eightBits = [](double x) { return std::floor(x * 255 / 4095) * 257; };
    const auto sigmoid = [](double x) { return 65535 / (1 + std::exp(-4 * (x - 2000) / 800)); };
    for (const bool isSigned : {false, true}) {
        EXPECT_EQ(kind(window, isSigned), 1);
        EXPECT_EQ(kind([&](double x) { return 65535 - window(x); }, isSigned), 2);
        EXPECT_EQ(kind(eightBits, isSigned), 1);
        EXPECT_EQ(kind(sigmoid, isSigned), 3);
    }
    EXPECT_EQ(kind([](double) { return 5; }, false), 3);
}

TEST(Range, CoversDeepSamplesOfBothSigns) {
    TestBitmap bitmap(2, 2, 32);
    const uint32_t row[]{0xFFFFFFFF, 5};
    KernelPutBitmapRow(&bitmap, row, 1, 8);
    int64_t low = 1;
    int64_t high = 1;
    ASSERT_EQ(KernelGetBitmapRange(&bitmap, &low, &high), 1);
    EXPECT_EQ(low, 0);
    EXPECT_EQ(high, 0xFFFFFFFF);
    bitmap.SetBits(0, 31, true);
    ASSERT_EQ(KernelGetBitmapRange(&bitmap, &low, &high), 1);
    EXPECT_EQ(low, -1);
    EXPECT_EQ(high, 5);
    ASSERT_EQ(KernelGrayScaleBitmap(&bitmap, 8), 1);
    EXPECT_EQ(bitmap.Bytes(1, 2), (Bytes{0, 255}));
}

TEST(ColorRes, TrueColourKeepsItsComponents) {
    const Bytes pixel{8, 100, 248}; // blue, green, red
    const struct {
        int Depth, Order;
        Bytes Expected;
    } cases[]{{24, 0, {248, 100, 8}},
              {32, 1, {8, 100, 248, 0}},
              {32, 0, {248, 100, 8, 0}},
              {16, 1, {0x21, 0xFB}},
              {16, 0, {0x3F, 0x0B}}};
    for (const auto &entry : cases) {
        TestBitmap bitmap(1, 1, 24, KERNEL_ORDER_BGR);
        bitmap.PutBytes(0, pixel);
        ASSERT_EQ(
            KernelColorResBitmap(&bitmap, &bitmap, size, entry.Depth, entry.Order, nullptr, 6), 1);
        EXPECT_EQ(bitmap.Bytes(0, entry.Expected.size()), entry.Expected) << entry.Depth;
        ASSERT_EQ(KernelColorResBitmap(&bitmap, &bitmap, size, 24, 1, nullptr, 6), 1);
        for (size_t i = 0; i < 3; ++i) EXPECT_NEAR(bitmap.Bytes(0, 3)[i], pixel[i], 7);
    }
}

TEST(ColorRes, GrayBecomesColourAsItIsSeen) {
    TestBitmap bitmap(2, 1, 16);
    bitmap.PutWords(0, {0, 0x8000});
    ASSERT_EQ(KernelColorResBitmap(&bitmap, &bitmap, size, 24, 1, nullptr, 6), 1);
    EXPECT_EQ(bitmap.Bytes(0, 6), (Bytes{0, 0, 0, 128, 128, 128}));
    ASSERT_EQ(KernelColorResBitmap(&bitmap, &bitmap, size, 12, 2, nullptr, 6), 1);
    EXPECT_EQ(bitmap.Bytes(0, 3), (Bytes{0, 0x80, 0x80}));
}

TEST(ColorRes, NearestColourOfThePalette) {
    std::vector<_RGBQUAD> palette(256);
    Bytes row;
    for (int i = 0; i < 256; ++i) {
        const Bytes colour{static_cast<uint8_t>(i * 7), static_cast<uint8_t>(i * 11),
                           static_cast<uint8_t>(i * 3)};
        palette[i] = {colour[0], colour[1], colour[2], 0};
        row.insert(row.end(), colour.begin(), colour.end());
    }
    TestBitmap bitmap(256, 1, 24, KERNEL_ORDER_BGR);
    bitmap.PutBytes(0, row);
    EXPECT_LT(KernelColorResBitmap(&bitmap, &bitmap, size, 8, 1, nullptr, 20), 0);
    ASSERT_EQ(KernelColorResBitmap(&bitmap, &bitmap, size, 8, 1, palette.data(), 20), 1);
    Bytes identity(256);
    std::iota(identity.begin(), identity.end(), uint8_t{0});
    EXPECT_EQ(bitmap.Bytes(0, 256), identity);
}

TEST(ColorRes, ErrorDiffusionKeepsTheMeanColour) {
    for (const auto &[depth, colour] :
         {std::pair{1, Bytes{77, 77, 77}}, {8, {255, 255, 255}}, {8, {20, 130, 210}}}) {
        TestBitmap bitmap(64, 64, 24, KERNEL_ORDER_BGR);
        Bytes row;
        for (int x = 0; x < 64; ++x) row.insert(row.end(), colour.begin(), colour.end());
        for (int y = 0; y < 64; ++y) bitmap.PutBytes(y, row);
        ASSERT_EQ(KernelColorResBitmap(&bitmap, &bitmap, size, depth, 1, nullptr, 6), 1);
        ASSERT_EQ(KernelColorResBitmap(&bitmap, &bitmap, size, 24, 1, nullptr, 6), 1);
        double sums[3] = {};
        for (int y = 0; y < 64; ++y) {
            row = bitmap.Bytes(y, row.size());
            for (size_t i = 0; i < row.size(); ++i) sums[i % 3] += row[i];
        }
        for (int c = 0; c < 3; ++c) EXPECT_NEAR(sums[c] / (64 * 64), colour[c], 1.5) << depth;
    }
}

TEST(Size, ShrinkingAverages) {
    TestBitmap gray(4, 2, 16);
    gray.SetBits(0, 11, true);
    gray.PutWords(0, {0xFFF, 1, 10, 20});
    gray.PutWords(1, {0xFFF, 1, 30, 40});
    ASSERT_EQ(KernelSizeBitmap(&gray, 2, 1, 2), 1);
    EXPECT_EQ(gray.Words(0, 2), (Words{0, 25}));
    TestBitmap colour(3, 1, 24, KERNEL_ORDER_BGR);
    colour.PutBytes(0, {0, 10, 90, 30, 10, 90, 60, 10, 0});
    ASSERT_EQ(KernelSizeBitmap(&colour, 2, 1, 2), 1);
    EXPECT_EQ(colour.Bytes(0, 6), (Bytes{10, 10, 90, 50, 10, 30}));
}

TEST(Size, FlatPicturesStayFlatAtEveryDepth) {
    for (const int depth : {1, 8, 12, 16, 24, 32}) {
        for (const int order : {KERNEL_ORDER_BGR, KERNEL_ORDER_GRAY}) {
            if (depth == 24 && order == KERNEL_ORDER_GRAY) continue;
            for (const uint32_t flags : {0u, 2u}) {
                TestBitmap bitmap(7, 5, depth, order, 6);
                for (int y = 0; y < 7; ++y) bitmap.PutBytes(y, Bytes(bitmap.nBytesPerLine, 0xFF));
                for (const auto &[width, height] : {std::pair{11, 3}, {2, 40}, {40, 1}}) {
                    ASSERT_EQ(KernelSizeBitmap(&bitmap, width, height, flags), 1);
                    const size_t bytes = static_cast<size_t>(height * depth / 8);
                    EXPECT_EQ(bitmap.Bytes(width - 1, bytes),
                              // The fourth byte of colour is not averaged away either.
                              Bytes(bytes, 0xFF))
                        << depth << " " << order << " " << flags;
                }
            }
        }
    }
}

TEST(Size, GrowingIsSmoothOrRepeats) {
    const auto grown = [](uint32_t flags) {
        TestBitmap bitmap(2, 1, 8);
        bitmap.PutBytes(0, {0, 200});
        EXPECT_EQ(KernelSizeBitmap(&bitmap, 8, 1, flags), 1);
        EXPECT_LT(KernelSizeBitmap(&bitmap, 0x7FFFFFFF, 0x7FFFFFFF, flags), 0);
        EXPECT_EQ(bitmap.nWidth, 8);
        return bitmap.Bytes(0, 8);
    };
    EXPECT_EQ(grown(0), (Bytes{0, 0, 0, 0, 200, 200, 200, 200}));
    TestBitmap square(3, 3, 8);
    for (int y = 0; y < 3; ++y) square.PutBytes(y, Bytes{0, static_cast<uint8_t>(y), 9});
    ASSERT_EQ(KernelSizeBitmap(&square, 1, 1, 0), 1);
    EXPECT_EQ(square.Bytes(0, 1), Bytes{1}) << "the middle is nearest";
    const Bytes row = grown(2);
    EXPECT_TRUE(std::is_sorted(row.begin() + 1, row.end() - 1));
    EXPECT_NEAR(row[3] + row[4], 200, 1);
    EXPECT_GT(row[3], 40);
}

} // namespace
