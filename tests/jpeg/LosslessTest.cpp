// Lossless streams: what goes in comes out.

#include <gtest/gtest.h>

#include "jpeg/Pictures.h"

using namespace jpegtest;

namespace {

constexpr uint32_t kWidths[] = {1, 2, 3, 7, 64, 129};
constexpr uint32_t kHeights[] = {1, 2, 5, 16};

TEST(Lossless, EveryPrecisionAndPredictorComesBackUnchanged) {
    unsigned turn = 0;
    for (unsigned precision = 2; precision <= 16; ++precision) {
        for (unsigned predictor = 1; predictor <= 7; ++predictor) {
            for (const Content content : kContents) {
                for (const uint32_t width : kWidths) {
                    const uint32_t height = kHeights[++turn % 4];
                    const size_t components = turn % 3 == 0 ? 3 : 1;
                    jpeg::LosslessOptions options;
                    options.precision = precision;
                    options.predictor = predictor;
                    options.pointTransform = turn % 5 == 0 ? turn % precision : 0;
                    options.restartRows = turn / 2 % 3;
                    options.isInterleaved = turn % 2 == 0;
                    Words samples = MakeSamples(width, height, components, precision, content);
                    const Bytes stream = SaveLossless(samples, width, height, components, options);
                    const Loaded loaded = Load(stream, width, height, components == 3 ? 48 : 16);
                    const unsigned lost = (1u << options.pointTransform) - 1;
                    for (uint16_t &sample : samples) sample = static_cast<uint16_t>(sample & ~lost);
                    ASSERT_EQ(loaded.result, MFCMPX_SUCCESS);
                    ASSERT_TRUE(loaded.samples == samples)
                        << "precision " << precision << " predictor " << predictor << " width "
                        << width << " height " << height << " components " << components
                        << " transform " << options.pointTransform;
                }
            }
        }
    }
}

TEST(Lossless, BitmapsOfEveryDepthComeBackUnchanged) {
    constexpr int kDepths[][2] = {{8, 8},   {8, 16},  {12, 16}, {16, 16},
                                  {24, 24}, {24, 48}, {48, 48}}; // saved and loaded
    for (const auto &[depth, loadedDepth] : kDepths) {
        const auto wide = static_cast<size_t>(depth);
        for (const uint32_t width : kWidths) {
            const auto bits = static_cast<unsigned>(SampleBits(wide));
            const Words samples =
                MakeSamples(width, 9, SamplesOfPixel(wide), bits, Content::Smooth);
            const Bytes stream = Save(PackRows(samples, 9, wide), HeaderOf(width, 9, depth), 0);
            const Loaded loaded = Load(stream, width, 9, loadedDepth);
            EXPECT_EQ(loaded.result, MFCMPX_SUCCESS) << depth;
            EXPECT_TRUE(loaded.samples == samples) << depth << " width " << width;
        }
    }
}

TEST(Lossless, ABitmapOfPositiveHeightBeginsWithItsLastRow) {
    const Bytes rows{1, 2, 0, 0, 3, 4, 0, 0, 5, 6, 0, 0};
    _MFCMPXBITMAP header = HeaderOf(2, 3, 8);
    header.nHeight = 3;
    EXPECT_EQ(Load(Save(rows, header, 0), 2, 3, 8).samples, (Words{5, 6, 3, 4, 1, 2}));
}

TEST(Lossless, ColorIsStoredRedFirst) {
    const Bytes pixel{1, 2, 3, 0}; // blue, green, red
    const Bytes stream = Save(pixel, HeaderOf(1, 1, 24), 0);
    // Differences to 128 of category 7, whose code is 0: -125, -126 and -127.
    EXPECT_EQ(Bytes(stream.end() - 5, stream.end()), (Bytes{2, 1, 0, 0xFF, 0xD9}));
    EXPECT_EQ(Load(stream, 1, 1, 24).samples, (Words{1, 2, 3}));
}

TEST(Lossless, FourComponentsKeepTheirOrder) {
    // Category 3 has the code 0: differences 4, 5, 6 and 7 to 128.
    const Bytes stream{0xFF, 0xD8, 0xFF, 0xC3, 0, 20,   8, 0,          1,          0,    1,
                       4,    1,    0x11, 0,    2, 0x11, 0, 3,          0x11,       0,    4,
                       0x11, 0,    0xFF, 0xC4, 0, 20,   0, 1,          0,          0,    0,
                       0,    0,    0,    0,    0, 0,    0, 0,          0,          0,    0,
                       0,    3,    0xFF, 0xDA, 0, 14,   4, 1,          0,          2,    0,
                       3,    0,    4,    0,    1, 0,    0, 0b01000101, 0b01100111, 0xFF, 0xD9};
    const Loaded loaded = Load(stream, 1, 1, 32);
    EXPECT_EQ(loaded.result, MFCMPX_SUCCESS);
    EXPECT_EQ(loaded.samples, (Words{132, 133, 134, 135}));
}

/** What streams in the field have that they should not, or lack. */
TEST(Lossless, StrayBytesAroundMarkersAreMet) {
    const Words samples = MakeSamples(40, 12, 1, 16, Content::Smooth);
    jpeg::LosslessOptions options;
    options.restartRows = 3;
    const Bytes stream = SaveLossless(samples, 40, 12, 1, options);
    const auto inserted = [&stream](size_t place, const Bytes &bytes) {
        Bytes changed = stream;
        changed.insert(changed.begin() + static_cast<ptrdiff_t>(place), bytes.begin(), bytes.end());
        return changed;
    };
    const Bytes withoutEnd(stream.begin(), stream.end() - 2);
    const std::pair<const char *, Bytes> cases[] = {
        {"fill bytes before a header", inserted(Behind(stream, 0xC4) - 2, {0xFF, 0xFF, 0xFF})},
        {"fill bytes before a restart", inserted(Behind(stream, 0xD1) - 2, {0xFF, 0xFF})},
        {"padding before a restart", inserted(Behind(stream, 0xD0) - 2, {0, 0, 0xFF, 0, 7})},
        {"padding before the end", inserted(stream.size() - 2, {0, 1, 2, 0xFF, 0})},
        {"bytes behind the end", inserted(stream.size(), {1, 2, 3, 0xFF, 0xD8, 0xFF, 0xC0})},
        {"an unknown segment", inserted(2, {0xFF, 0xE5, 0, 4, 0xFF, 0xD9})},
        {"no end", withoutEnd},
    };
    for (const auto &[what, changed] : cases) {
        const Loaded loaded = Load(changed, 40, 12, 16);
        EXPECT_EQ(loaded.result, MFCMPX_SUCCESS) << what;
        EXPECT_TRUE(loaded.samples == samples) << what;
    }
}

TEST(Lossless, AStreamThatEndsEarlyKeepsItsRowsAndTheRestIsZero) {
    const Words samples = MakeSamples(50, 20, 1, 12, Content::Noise);
    jpeg::LosslessOptions options;
    options.precision = 12;
    Bytes stream = SaveLossless(samples, 50, 20, 1, options);
    stream.resize(stream.size() / 2);
    const Loaded loaded = Load(stream, 50, 20, 16);
    EXPECT_EQ(loaded.result, MFCMPX_SUCCESS);
    const auto good = std::mismatch(samples.begin(), samples.end(), loaded.samples.begin()).first;
    const size_t rows = static_cast<size_t>(good - samples.begin()) / 50;
    EXPECT_GT(rows, 6u);
    EXPECT_LT(rows, 13u);
    EXPECT_EQ(
        Words(loaded.samples.begin() + static_cast<ptrdiff_t>(rows * 50), loaded.samples.end()),
        Words((20 - rows) * 50));
}

} // namespace
