#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

#include "Codec.h"

namespace {

struct Case {
    const char *what;
    int32_t width, height, depth;
    bool isSigned;
    int32_t highBit; ///< 0 for the record's own
    void (*change)(_FILEJ2KOPTIONS &);
};

const Case kCases[] = {
    {"bytes", 300, 200, 8, false, 0, [](_FILEJ2KOPTIONS &) {}},
    {"signed bytes, odd size", 33, 47, 8, true, 0, [](_FILEJ2KOPTIONS &) {}},
    {"packed", 101, 64, 12, false, 0, [](_FILEJ2KOPTIONS &) {}},
    {"packed and signed", 64, 33, 12, true, 0, [](_FILEJ2KOPTIONS &) {}},
    {"words", 257, 129, 16, false, 0, [](_FILEJ2KOPTIONS &) {}},
    {"signed words", 257, 129, 16, true, 0, [](_FILEJ2KOPTIONS &) {}},
    {"words of 12 bits, signed", 128, 128, 16, true, 11, [](_FILEJ2KOPTIONS &) {}},
    {"words of 10 bits", 128, 128, 16, false, 9, [](_FILEJ2KOPTIONS &) {}},
    {"colour", 150, 99, 24, false, 0, [](_FILEJ2KOPTIONS &) {}},
    {"colour as it is", 150, 99, 24, false, 0,
     [](_FILEJ2KOPTIONS &o) { o.bUseColorTransform = 0; }},
    {"one pixel", 1, 1, 8, false, 0, [](_FILEJ2KOPTIONS &) {}},
    {"one row", 500, 1, 16, false, 0, [](_FILEJ2KOPTIONS &) {}},
    {"several tiles of the defaults", 1300, 500, 8, false, 0, [](_FILEJ2KOPTIONS &) {}},
    {"small tiles off the edge", 200, 150, 16, false, 0,
     [](_FILEJ2KOPTIONS &o) {
         o.nXTsiz = o.nYTsiz = 64;
         o.nXOsiz = 10;
         o.nYOsiz = 7;
         o.nXTOsiz = 3;
     }},
    {"other blocks and order", 200, 150, 8, false, 0,
     [](_FILEJ2KOPTIONS &o) {
         o.nCodeBlockWidth = 256;
         o.nCodeBlockHeight = 16;
         o.nProgressionOrder = 3;
         o.nDecompositionLevels = 32;
         o.nCodeBlockStyle = 63;
     }},
};

TEST(J2kRoundTrip, LosslessGivesTheSameSamples) {
    for (const Case &each : kCases) {
        SCOPED_TRACE(each.what);
        Bitmap source(each.width, each.height, each.depth, each.isSigned);
        if (each.highBit != 0) source.record.nHighBit = each.highBit;
        const auto bits = static_cast<uint32_t>(
            each.depth == 24 ? 8 : (each.highBit != 0 ? each.highBit + 1 : each.depth));
        source.Paint(bits);
        _FILEJ2KOPTIONS options = DefaultOptions();
        each.change(options);
        const Bytes stream = Encode(source, 0, options);
        Bitmap target(each.width, each.height, each.depth);
        ASSERT_EQ(Decode(stream, target, each.depth == 24 ? 24 : static_cast<int32_t>(bits)), 1);
        EXPECT_EQ(target.Rows(), source.Rows());
        if (each.depth != 16) continue;
        EXPECT_EQ(target.record.nHighBit, static_cast<int32_t>(bits) - 1);
    }
}

TEST(J2kRoundTrip, SamplesBeyondTheHighBitAreKept) {
    Bitmap source(40, 40, 16);
    source.Paint(16);
    source.record.nHighBit = 11;
    Bitmap target(40, 40, 16);
    ASSERT_EQ(Decode(Encode(source, 0, DefaultOptions()), target, 16), 1);
    EXPECT_EQ(target.Rows(), source.Rows());
}

/** Between bytes of two bitmaps; words for depth 16. */
double Decibels(const Bitmap &a, const Bitmap &b, uint32_t bits) {
    const Bytes first = a.Rows();
    const Bytes second = b.Rows();
    const size_t step = a.record.nBitsPerPixel == 16 ? 2 : 1;
    double sum = 0;
    for (size_t i = 0; i < first.size(); i += step) {
        const int high = step == 2 ? first[i + 1] - second[i + 1] : 0;
        const double difference = high * 256 + first[i] - second[i];
        sum += difference * difference;
    }
    const double peak = static_cast<double>((1u << bits) - 1);
    return 10 *
           std::log10(peak * peak * static_cast<double>(first.size() / step) / std::max(sum, 1e-9));
}

TEST(J2kRoundTrip, QualityRulesOverLossAndSize) {
    for (const int32_t depth : {8, 16, 24}) {
        SCOPED_TRACE(depth);
        const uint32_t bits = depth == 16 ? 12 : 8;
        Bitmap source(400, 300, depth);
        if (depth == 16) source.record.nHighBit = 11;
        source.Paint(bits);
        size_t last = Encode(source, 0, DefaultOptions()).size();
        for (const auto &[quality, least] : {std::pair{2, 45.0}, {25, 40.0}, {255, 22.0}}) {
            const Bytes stream = Encode(source, quality, DefaultOptions());
            Bitmap target(400, 300, depth);
            ASSERT_EQ(Decode(stream, target, depth == 16 ? 12 : depth), 1);
            EXPECT_GT(Decibels(source, target, bits), least) << quality;
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
    EXPECT_GT(Decibels(source, target, kUsedBits), 45);
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
    Bitmap source(31, 20, 8, true);
    source.Paint(8);
    const Bytes stream = Encode(source, 0, DefaultOptions());
    const Bytes bytes = source.Rows();
    Bitmap words(31, 20, 16);
    ASSERT_EQ(Decode(stream, words, 8), 1);
    const Bytes wide = words.Rows();
    for (size_t i = 0; i < bytes.size(); ++i) {
        const auto word = static_cast<int16_t>(wide[i * 2] | wide[i * 2 + 1] << 8);
        ASSERT_EQ(word, static_cast<int8_t>(bytes[i]));
    }
    Bitmap source12(31, 20, 16);
    source12.record.nHighBit = 11;
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
    Bitmap bgr(20, 10, 24);
    ASSERT_EQ(Decode(Encode(rgb, 0, DefaultOptions()), bgr, 24), 1);
    Bytes swapped = bgr.Rows();
    for (size_t i = 0; i < swapped.size(); i += 3) std::swap(swapped[i], swapped[i + 2]);
    EXPECT_EQ(swapped, rgb.Rows());
}

TEST(J2kRoundTrip, BadOptionsAreRefused) {
    Bitmap source(64, 64, 8);
    const auto codeOf = [&](const std::function<void(_FILEJ2KOPTIONS &)> &change) {
        _FILEJ2KOPTIONS options = DefaultOptions();
        change(options);
        int32_t result = 0;
        Encode(source, 2, options, &result);
        return result;
    };
    EXPECT_EQ(codeOf([](auto &) {}), 1);
    EXPECT_EQ(codeOf([](auto &o) { o.nStructSize = 0; }), -13);
    EXPECT_EQ(codeOf([](auto &o) { o.nCompressionControl = 4; }), -13);
    EXPECT_EQ(codeOf([](auto &o) { o.nCodeBlockWidth = 48; }), -13);
    EXPECT_EQ(codeOf([](auto &o) { o.nCodeBlockHeight = 128; }), -13);
    EXPECT_EQ(codeOf([](auto &o) { o.nXTsiz = 0; }), -13);
    EXPECT_EQ(codeOf([](auto &o) { o.nYTOsiz = 1; }), -13);
    EXPECT_EQ(codeOf([](auto &o) { o.nXRsiz[1] = 2; }), -13);
    EXPECT_EQ(codeOf([](auto &o) {
                  o.nCompressionControl = 1;
                  o.fCompressionRatio = std::nanf("");
              }),
              -13);
    Bitmap bilevel(64, 64, 1);
    int32_t result = 0;
    Encode(bilevel, 0, DefaultOptions(), &result);
    EXPECT_EQ(result, -16);
}

TEST(J2kRoundTrip, ThreadsDecodeSideBySide) {
    Bitmap source(300, 300, 16);
    source.Paint(16);
    const Bytes stream = Encode(source, 0, DefaultOptions());
    const Bytes expected = source.Rows();
    std::vector<int> good(4);
    std::vector<std::thread> threads;
    for (int &count : good) {
        threads.emplace_back([&] {
            for (int i = 0; i < 5; ++i) {
                Bitmap target(300, 300, 16);
                if (Decode(stream, target, 16) == 1 && target.Rows() == expected) ++count;
            }
        });
    }
    for (std::thread &thread : threads) thread.join();
    EXPECT_EQ(good, std::vector<int>(4, 5));
}

} // namespace
