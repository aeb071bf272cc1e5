#include <gtest/gtest.h>

#include "Codec.h"

namespace {

constexpr size_t kSizOfStream = 4; // behind SOC and the marker of SIZ

Bytes Valid() {
    Bitmap source(90, 70, 8);
    source.Paint(8);
    return Encode(source, 0, DefaultOptions());
}

int32_t DecodeInto(const Bytes &stream, int32_t depth = 8) {
    Bitmap target(90, 70, depth);
    return Decode(stream, target, depth);
}

void Put32(Bytes &stream, size_t place, uint32_t value) {
    for (size_t i = 0; i < 4; ++i) stream[place + i] = static_cast<uint8_t>(value >> (24 - 8 * i));
}

TEST(J2kHostile, SizesThatLieAreRefused) {
    struct Lie {
        const char *what;
        size_t place; ///< in SIZ behind its marker
        uint32_t value;
    };
    const Lie lies[] = {
        {"width", 4, 0x7FFFFFFF},   {"height", 8, 0x7FFFFFFF},     {"offset", 12, 95},
        {"no tile", 20, 0},         {"tiles of no height", 24, 0}, {"tiles far away", 28, 9999},
        {"halved", 38, 0x07020200},
    };
    for (const Lie &lie : lies) {
        Bytes stream = Valid();
        Put32(stream, kSizOfStream + lie.place, lie.value);
        EXPECT_EQ(DecodeInto(stream), -9) << lie.what;
    }
    Bytes tiny = Valid();
    Put32(tiny, kSizOfStream + 20, 1);
    Put32(tiny, kSizOfStream + 24, 1);
    EXPECT_EQ(DecodeInto(tiny), -9) << "a tile for each pixel";
    EXPECT_EQ(DecodeInto(Valid(), 24), -9) << "one component is no colour";
    EXPECT_EQ(DecodeInto({0xFF, 0x4F, 0xFF, 0x51}), -9);
    EXPECT_EQ(DecodeInto({1, 2, 3}), -9);
}

TEST(J2kHostile, WhatHeadsSayTooMuchIsMended) {
    const uint8_t tilePart[] = {0xFF, 0x90};
    Bytes longTile = Valid();
    const auto sot =
        std::search(longTile.begin(), longTile.end(), std::begin(tilePart), std::end(tilePart));
    const size_t place = static_cast<size_t>(sot - longTile.begin());
    Put32(longTile, place + 6, 0x80000000); // would be room for 2 GB
    EXPECT_EQ(DecodeInto(longTile), 1);
    const struct {
        const char *what;
        Bytes segment; ///< ahead of the tile part
        int32_t result;
    } kSegments[] = {
        {"unknown", {0xFF, 0x7F, 0, 4, 0xFF, 0x90}, 1},
        {"style of a component", {0xFF, 0x53, 0, 9, 0, 0, 5, 4, 4, 0, 1}, 1},
        {"its many precincts", {0xFF, 0x53, 0, 10, 0, 1, 0, 4, 4, 0, 1, 0}, -9},
    };
    for (const auto &[what, segment, result] : kSegments) {
        Bytes stream = Valid();
        stream.insert(stream.begin() + static_cast<long>(place), segment.begin(), segment.end());
        stream.resize(place + segment.size() + 14); // of the tile part its head: any style fits
        EXPECT_EQ(DecodeInto(stream), result) << what;
    }
}

/** Ends the coding style with a precinct size for each resolution. */
Bytes WithPrecincts(uint8_t exponents, uint8_t layersHigh) {
    Bytes stream = Valid();
    const uint8_t marker[] = {0xFF, 0x52};
    auto cod = std::search(stream.begin(), stream.end(), std::begin(marker), std::end(marker));
    const uint8_t levels = cod[9];
    cod[3] = static_cast<uint8_t>(cod[3] + levels + 1);
    cod[4] |= 1;
    cod[6] = layersHigh;
    stream.insert(cod + 14, levels + 1u, exponents);
    return stream;
}

TEST(J2kHostile, PrecinctsAndLayersBeyondReasonAreRefused) {
    EXPECT_EQ(DecodeInto(WithPrecincts(0xFF, 0)), 1) << "precincts of the largest size";
    EXPECT_EQ(DecodeInto(WithPrecincts(0x00, 0)), -9);
    EXPECT_EQ(DecodeInto(WithPrecincts(0x33, 0xFF)), -9);
}

TEST(J2kHostile, BoxesAroundAStreamAndItsEndAreNotNeeded) {
    Bytes file = {0,    0,  0, 12, 'j', 'P', ' ', ' ', 13,  10,
                  0x87, 10, 0, 0,  0,   0,   'j', 'p', '2', 'c'};
    const Bytes stream = Valid();
    file.insert(file.end(), stream.begin(), stream.end());
    EXPECT_EQ(DecodeInto(file), 1);
    EXPECT_EQ(DecodeInto({stream.begin(), stream.end() - 20}), 1) << "what is there is shown";
}

TEST(J2kHostile, RequestsThatMissSomethingAreRefused) {
    const Bytes stream = Valid();
    const auto load = [&](size_t size, MEMORYLOADREQUEST *request) {
        return CEmbeddedCompressionBase().LoadMemory(stream.data(), size, request);
    };
    Bitmap bitmap(90, 70, 8);
    LoadRequest request(bitmap, 8);
    EXPECT_EQ(load(0, &request), -13);
    EXPECT_EQ(load(stream.size(), nullptr), -13);
    KernelFreeBitmap(&bitmap);
    EXPECT_EQ(load(stream.size(), &request), -13);
    request.nFlags = 0; // to be created
    ASSERT_EQ(load(stream.size(), &request), 1);
    EXPECT_EQ(bitmap.nWidth, 90);
    request.info.nFormat = 0;
    EXPECT_EQ(load(stream.size(), &request), -16);
    MEMORYLOADREQUEST none{};
    EXPECT_EQ(load(stream.size(), &none), -13);
}

TEST(J2kHostile, ABlockOfTheCallerThatIsTooSmallStaysItsOwn) {
    Bitmap source(90, 70, 8);
    source.Paint(8);
    _FILEJ2KOPTIONS options = DefaultOptions();
    MEMORYSAVEREQUEST request{};
    request.pBitmap = &source;
    request.nFormat = kFileFormatJ2k;
    request.nBitsPerPixel = 8;
    request.pOptions = &options;
    uint8_t block[500] = {};
    uint8_t *data = block;
    uint64_t size = sizeof block;
    CEmbeddedCompressionBase codec;
    EXPECT_EQ(codec.SaveMemory(&data, &size, &request), -290);
    EXPECT_EQ(data, block);
}

} // namespace
