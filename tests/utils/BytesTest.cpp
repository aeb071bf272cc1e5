// Bytes: the bounded cursor, and checked arithmetic.

#include <gtest/gtest.h>

#include <array>

#include "Common/Utils/ByteCursor.h"
#include "Common/Utils/CheckedMath.h"

using namespace mdicom;

TEST(ByteCursor, ReadsUpToTheEndAndStaysFailedBehindIt) {
    const std::array<uint8_t, 7> bytes = {1, 2, 3, 4, 5, 6, 7};
    ByteCursor cursor(bytes);
    EXPECT_EQ(cursor.Read16(), 0x0201);
    cursor.SetLittleEndian(false);
    EXPECT_EQ(cursor.Read32(), 0x03040506u);
    EXPECT_EQ(cursor.Read16(), 0) << "one byte is left";
    EXPECT_TRUE(cursor.Failed());
    EXPECT_EQ(cursor.Read8(), 0) << "a failed cursor reads nothing";
    EXPECT_TRUE(cursor.Take(0).empty());
    EXPECT_EQ(cursor.Position(), 6u);
}

TEST(ByteCursor, HugeLengthsDoNotWrap) {
    const std::array<uint8_t, 4> bytes = {1, 2, 3, 4};
    ByteCursor cursor(bytes);
    cursor.Skip(2);
    EXPECT_TRUE(cursor.Take(SIZE_MAX).empty());
    EXPECT_TRUE(cursor.Failed());
    ByteCursor other(bytes);
    other.Skip(1);
    other.Back(5);
    EXPECT_EQ(other.Position(), 0u);
    EXPECT_EQ(other.Take(4).size(), 4u);
    EXPECT_FALSE(other.Failed());
}

TEST(CheckedMath, TellsWhatDoesNotFit) {
    EXPECT_EQ(CheckedAdd<uint32_t>(0xFFFFFFFE, 1), 0xFFFFFFFFu);
    EXPECT_EQ(CheckedAdd<uint32_t>(0xFFFFFFFF, 1), std::nullopt);
    EXPECT_EQ(CheckedMultiply<uint32_t>(65536, 65535), 0xFFFF0000u);
    EXPECT_EQ(CheckedMultiply<uint32_t>(65536, 65536), std::nullopt);
    EXPECT_TRUE(FitsInto<uint32_t>(3, 1, 4));
    EXPECT_TRUE(FitsInto<uint32_t>(4, 0, 4));
    EXPECT_FALSE(FitsInto<uint32_t>(3, 2, 4));
    EXPECT_FALSE(FitsInto<uint32_t>(1, 0xFFFFFFFF, 4));
    EXPECT_FALSE(FitsInto<uint32_t>(5, 0, 4));
}
