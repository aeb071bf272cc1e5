#include <gtest/gtest.h>

#include "Codec.h"

namespace {

struct Case {
    const char *what;
    int32_t width, height;
    Kind kind;
    void (*change)(_FILEJ2KOPTIONS &) = [](_FILEJ2KOPTIONS &) {};
};

const Case kCases[] = {
    {"signed bytes, odd size", 33, 47, {8, 8, true}},
    {"packed and signed", 64, 33, {12, 12, true}},
    {"packed, odd size", 101, 64, {12, 12}},
    {"words", 257, 129, {16, 16}},
    {"signed words", 257, 129, {16, 16, true}},
    {"words of 12 bits, signed", 128, 128, {16, 12, true}},
    {"words of 10 bits", 128, 128, {16, 10}},
    {"colour as it is", 150, 99, {24, 8}, [](_FILEJ2KOPTIONS &o) { o.bUseColorTransform = 0; }},
    {"one pixel", 1, 1, {8, 8}},
    {"one row", 500, 1, {16, 16}},
    {"several tiles of the defaults", 1300, 500, {8, 8}},
    {"small tiles off the edge",
     200,
     150,
     {16, 16},
     [](_FILEJ2KOPTIONS &o) {
         o.nXTsiz = o.nYTsiz = 64;
         o.nXOsiz = 10;
         o.nYOsiz = 7;
         o.nXTOsiz = 3;
     }},
    {"other blocks and order",
     200,
     150,
     {8, 8},
     [](_FILEJ2KOPTIONS &o) {
         o.nCodeBlockWidth = 256;
         o.nCodeBlockHeight = 16;
         o.nProgressionOrder = 3;
         o.nDecompositionLevels = 32;
         o.nCodeBlockStyle = 63;
     }},
};

TEST(J2kRoundTrip, LosslessGivesTheSameSamples) {
    for (const auto &[what, width, height, kind, change] : kCases) {
        SCOPED_TRACE(what);
        const int32_t bits = kind.depth == 24 ? 24 : static_cast<int32_t>(kind.bits);
        Bitmap source(width, height, kind.depth, kind.isSigned);
        if (kind.depth == 16) source.nHighBit = bits - 1;
        source.Paint(kind.bits);
        _FILEJ2KOPTIONS options = DefaultOptions();
        change(options);
        Bitmap target(width, height, kind.depth);
        ASSERT_EQ(Decode(Encode(source, 0, options), target, bits), 1);
        EXPECT_EQ(target.Rows(), source.Rows());
        if (kind.depth == 16) {
            EXPECT_EQ(target.nHighBit, bits - 1);
        }
    }
}

TEST(J2kRoundTrip, SamplesBeyondTheHighBitAreKept) {
    Bitmap source(40, 40, 16);
    source.Paint(16);
    source.nHighBit = 11;
    Bitmap target(40, 40, 16);
    ASSERT_EQ(Decode(Encode(source, 0, DefaultOptions()), target, 16), 1);
    EXPECT_EQ(target.Rows(), source.Rows());
}

TEST(J2kRoundTrip, QualityRulesOverLossAndSize) {
    for (const int32_t depth : {8, 16, 24}) {
        SCOPED_TRACE(depth);
        const uint32_t bits = depth == 16 ? 12 : 8;
        Bitmap source(400, 300, depth);
        if (depth == 16) source.nHighBit = 11;
        source.Paint(bits);
        size_t last = Encode(source, 0, DefaultOptions()).size();
        for (const auto &[quality, least] : {std::pair{2, 45.0}, {25, 40.0}, {255, 22.0}}) {
            const Bytes stream = Encode(source, quality, DefaultOptions());
            Bitmap target(400, 300, depth);
            ASSERT_EQ(Decode(stream, target, depth == 16 ? 12 : depth), 1);
            EXPECT_GT(Decibels(SamplesOf(source), SamplesOf(target), bits), least) << quality;
            EXPECT_LT(stream.size(), last) << quality;
            last = stream.size();
        }
    }
}

TEST(J2kRoundTrip, SamplesThatFillLittleOfTheirRangeStayNear) {
    constexpr uint32_t kUsedBits = 9;
    Bitmap source(200, 200, 16);
    source.Paint(kUsedBits);
    Bitmap target(200, 200, 16);
    ASSERT_EQ(Decode(Encode(source, 2, DefaultOptions()), target, 16), 1);
    EXPECT_GT(Decibels(SamplesOf(source), SamplesOf(target), kUsedBits), 45);
}

TEST(J2kRoundTrip, RatioAndSizeAreMet) {
    Bitmap source(512, 400, 8);
    source.Paint(8);
    _FILEJ2KOPTIONS options = DefaultOptions();
    options.nCompressionControl = 1;
    options.fCompressionRatio = 20;
    EXPECT_NEAR(Encode(source, 2, options).size(), 512 * 400 / 20, 800);
    options.nCompressionControl = 2;
    options.nTargetFileSize = 5000;
    EXPECT_NEAR(Encode(source, 2, options).size(), 5000, 500);
}

TEST(J2kRoundTrip, RowsChangeDepthOnlyWithoutLoss) {
    Bitmap bytes(31, 20, 8, true);
    bytes.Paint(8);
    Bitmap widened(31, 20, 16, true);
    widened.Paint(8);
    Bitmap words(31, 20, 16);
    ASSERT_EQ(Decode(Encode(bytes, 0, DefaultOptions()), words, 8), 1);
    EXPECT_EQ(words.Rows(), widened.Rows());
    Bitmap source12(31, 20, 16);
    source12.nHighBit = 11;
    source12.Paint(12);
    const Bytes stream12 = Encode(source12, 0, DefaultOptions());
    Bitmap narrow(31, 20, 8);
    EXPECT_EQ(Decode(stream12, narrow, 12), COMPRESSION_ERROR_LOSSY_DEPTH);
    EXPECT_EQ(Decode(stream12, narrow, 8), -9) << "the codec sees that its samples are larger";
    Bitmap packed(31, 20, 12);
    Bitmap painted(31, 20, 12);
    painted.Paint(12);
    ASSERT_EQ(Decode(stream12, packed, 12), 1);
    EXPECT_EQ(packed.Rows(), painted.Rows());
}

TEST(J2kRoundTrip, TheOrderOfColoursIsTheBitmaps) {
    Bitmap rgb(20, 10, 24, false, KERNEL_ORDER_RGB);
    rgb.Paint(8);
    _FILEJ2KOPTIONS options = DefaultOptions();
    options.bUseColorTransform = 0;
    Bytes stream = Encode(rgb, 0, options);
    for (const bool isSigned : {false, true}) {
        // A sign lowers samples by half their range, which is what they are shown without.
        for (const size_t form : {42, 45, 48}) stream[form] |= isSigned ? 0x80 : 0;
        Bitmap bgr(20, 10, 24);
        ASSERT_EQ(Decode(stream, bgr, 24), 1);
        Bytes swapped = bgr.Rows();
        for (size_t i = 0; i < swapped.size(); i += 3) std::swap(swapped[i], swapped[i + 2]);
        EXPECT_EQ(swapped, rgb.Rows()) << isSigned;
    }
}

TEST(J2kRoundTrip, BadOptionsAreRefused) {
    Bitmap source(64, 64, 8);
    void (*const changes[])(_FILEJ2KOPTIONS &) = {
        [](auto &o) { o.nStructSize = 0; },
        [](auto &o) { o.nCompressionControl = 4; },
        [](auto &o) { o.nProgressionOrder = 5; },
        [](auto &o) { o.nCodeBlockWidth = 48; },
        [](auto &o) { o.nCodeBlockHeight = 128; },
        [](auto &o) { o.nXTsiz = 0; },
        [](auto &o) { o.nYTOsiz = 1; },
        [](auto &o) { o.nXRsiz[1] = 2; },
        [](auto &o) {
            o.nCompressionControl = 1;
            o.fCompressionRatio = std::nanf("");
        },
    };
    for (const auto &change : changes) {
        _FILEJ2KOPTIONS options = DefaultOptions();
        change(options);
        int32_t result = 0;
        Encode(source, 2, options, &result);
        EXPECT_EQ(result, -13) << std::distance(std::begin(changes), &change);
    }
    Bitmap bilevel(64, 64, 1);
    int32_t result = 0;
    Encode(bilevel, 0, DefaultOptions(), &result);
    EXPECT_EQ(result, -16);
}

} // namespace
