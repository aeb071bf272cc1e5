// Heads of codestreams made by hand: what real encoders seldom or never write.

#include <gtest/gtest.h>

#include "Stream.h"

namespace {

const Bytes kGray{7, 1, 1};
const Numbers kGeometry{640, 480, 0, 0, 640, 480, 0, 0};

/** A SIZ segment of any length and content, without SOC. */
Bytes Siz(uint16_t length, uint16_t capabilities, const Numbers &geometry, uint16_t count,
          const Bytes &components) {
    support::Encoder encoder(false);
    encoder.Put16(0xFF51).Put16(length).Put16(capabilities);
    for (const uint32_t number : geometry) encoder.Put32(number);
    Bytes bytes = encoder.Put16(count).bytes;
    bytes.insert(bytes.end(), components.begin(), components.end());
    return bytes;
}

Bytes Behind(Bytes ahead, const Bytes &bytes) {
    ahead.insert(ahead.end(), bytes.begin(), bytes.end());
    return ahead;
}

Bytes Stream(uint16_t capabilities, const Numbers &geometry, uint16_t count = 1,
             const Bytes &components = kGray) {
    const auto length = static_cast<uint16_t>(38 + components.size());
    return Behind({0xFF, 0x4F}, Siz(length, capabilities, geometry, count, components));
}

TEST(J2kHeader, GeometryComesInOrderAndImpossibleTilesAreLimited) {
    const Numbers plain{1000, 2000, 3, 4, 500, 600, 7, 8};
    J2KHeaderReader reader;
    ASSERT_EQ(Feed(reader, Stream(0, plain)), 1);
    EXPECT_EQ(GeometryOf(reader), plain);
    J2KHeaderReader wide;
    ASSERT_EQ(Feed(wide, Stream(0, {1000, 0x80000001, 0, 0, 0xFFFFFFFF, 0xFFFFFFFF, 0, 0})), 1);
    EXPECT_EQ(wide.nXTsiz, 1000u);
    EXPECT_EQ(wide.nYTsiz, 0xFFFFFFFFu) << "the image is as high";
}

TEST(J2kHeader, ComponentsAddUpToFour) {
    struct Case {
        const char *name;
        uint16_t count;
        Bytes components;
        uint32_t depth;
    };
    const Case cases[] = {
        {"five", 5, {7, 1, 1, 7, 1, 1, 7, 1, 1, 7, 1, 1, 7, 1, 1}, 32},
        {"signed and unsigned", 2, {0x8B, 1, 2, 0x0F, 3, 4}, 28},
        {"deepest", 1, {0x7F, 1, 1}, 128},
        {"none", 0, kGray, 0},
        {"fewer than counted", 3, {7, 1, 1, 7, 1, 1, 7, 1}, 0},
        {"many more than there", 0xFFFF, kGray, 0},
    };
    for (const Case &each : cases) {
        J2KHeaderReader reader;
        EXPECT_EQ(Feed(reader, Stream(0, kGeometry, each.count, each.components)), 1) << each.name;
        EXPECT_EQ(reader.GetTotalDepth(), each.depth) << each.name;
        EXPECT_EQ(reader.nCsiz, each.count) << each.name;
        if (each.count != 2) continue;
        const auto &[isSigned, depth, across, down] = reader.Components[1];
        EXPECT_EQ((Numbers{isSigned, depth, across, down}), (Numbers{0, 16, 3, 4}));
        EXPECT_EQ(reader.Components[0].bSigned, 1u);
    }
}

TEST(J2kHeader, ProfilesHaveCodesAndUnknownOnesAreRefused) {
    struct Case {
        uint16_t capabilities;
        uint32_t profile;
        uint32_t depth;
    };
    const Case cases[] = {{0, 2, 8}, {2, 1, 8},      {3, 4, 8},      {4, 5, 8},
                          {5, 0, 0}, {0x4001, 0, 8}, {0x4005, 0, 0}, {0xFEFF, 3, 8}};
    for (const Case &each : cases) {
        J2KHeaderReader reader;
        EXPECT_EQ(Feed(reader, Stream(each.capabilities, kGeometry)), 1) << each.capabilities;
        EXPECT_EQ(reader.nProfile, each.profile) << each.capabilities;
        EXPECT_EQ(reader.GetTotalDepth(), each.depth) << each.capabilities;
    }
}

TEST(J2kHeader, LengthsThatCannotBeAreRefused) {
    struct Case {
        uint16_t length;
        int32_t foundWithoutContent;
        uint32_t depth;
    };
    // Too long a segment is refused before any of it arrives; a short one when it is complete.
    const Case cases[] = {{0, 1, 0},  {1, 1, 0},   {2, 1, 0},   {3, 0, 0},     {40, 0, 0},
                          {41, 0, 8}, {257, 0, 8}, {258, 1, 0}, {0xFFFF, 1, 0}};
    for (const Case &each : cases) {
        Bytes stream = Behind({0xFF, 0x4F}, Siz(each.length, 0, kGeometry, 1, kGray));
        stream.resize(700);
        J2KHeaderReader reader;
        EXPECT_EQ(Feed(reader, stream.begin(), stream.begin() + 6), each.foundWithoutContent)
            << each.length;
        EXPECT_EQ(Feed(reader, stream.begin() + 6, stream.end()), 1) << each.length;
        EXPECT_EQ(reader.GetTotalDepth(), each.depth) << each.length;
    }
}

TEST(J2kHeader, MarkersCountOnlyInTheirOrder) {
    struct Case {
        const char *name;
        Bytes ahead;
        bool found;
    };
    const Case cases[] = {
        {"bytes between", {0xFF, 0x4F, 0xFF, 0x64, 0, 2}, true},
        {"SOC twice, marks doubled", {0, 0xFF, 0xFF, 0x4F, 0xFF, 0x4F, 0xFF}, true},
        {"SIZ ahead of SOC as well", {0xFF, 0x51, 0, 2, 0xFF, 0x4F}, true},
        {"no SOC", {0, 1, 2, 0x4F, 0xFF}, false},
    };
    for (const Case &each : cases) {
        J2KHeaderReader reader;
        EXPECT_EQ(Feed(reader, Behind(each.ahead, Siz(41, 0, kGeometry, 1, kGray))), each.found)
            << each.name;
        EXPECT_EQ(reader.GetTotalDepth(), each.found ? 8u : 0u) << each.name;
    }
}

TEST(J2kHeader, EmptyRangesAndBytesBehindTheEndChangeNothing) {
    const Bytes stream = Stream(0, kGeometry);
    J2KHeaderReader reader;
    EXPECT_EQ(reader.Parse(nullptr, nullptr), 0);
    EXPECT_EQ(reader.Parse(stream.data() + 4, stream.data()), 0);
    ASSERT_EQ(Feed(reader, stream), 1);
    const Numbers result = ResultOf(reader);
    EXPECT_EQ(Feed(reader, Stream(0, kGeometry, 1, {15, 1, 1})), 1);
    EXPECT_EQ(ResultOf(reader), result);
}

TEST(J2kHeader, CutAnywhereItIsIncompleteUntilTheRestComes) {
    const Bytes stream =
        Stream(0, {1000, 2000, 3, 4, 500, 600, 7, 8}, 3, {7, 1, 1, 7, 2, 2, 7, 2, 2});
    J2KHeaderReader whole;
    ASSERT_EQ(Feed(whole, stream), 1);
    for (auto cut = stream.begin(); cut != stream.end(); ++cut) {
        J2KHeaderReader reader;
        ASSERT_EQ(Feed(reader, stream.begin(), cut), 0);
        ASSERT_EQ(reader.GetTotalDepth(), 0u);
        ASSERT_EQ(Feed(reader, cut, stream.end()), 1);
        ASSERT_EQ(ResultOf(reader), ResultOf(whole)) << cut - stream.begin();
    }
    for (size_t bit = 0; bit < stream.size() * 8; ++bit) {
        Bytes flipped = stream;
        flipped[bit / 8] ^= static_cast<uint8_t>(1 << bit % 8);
        J2KHeaderReader atOnce;
        J2KHeaderReader singly;
        ASSERT_EQ(Feed(atOnce, flipped), FeedSingly(singly, flipped)) << bit;
        ASSERT_EQ(ResultOf(atOnce), ResultOf(singly)) << bit;
    }
}

} // namespace
