// Overlay slots and bit planes.

#include <gtest/gtest.h>

#include "Bitmap.h"

namespace {

_OVERLAYATTRIBUTES Attributes(uint16_t columns, uint16_t rows, int x, int y, uint16_t bit) {
    _OVERLAYATTRIBUTES attributes{};
    attributes.nStructSize = sizeof attributes;
    attributes.nColumns = columns;
    attributes.nRows = rows;
    attributes.nOriginX = x;
    attributes.nOriginY = y;
    attributes.nBitPosition = bit;
    attributes.nOverlayFlags = OVERLAY_IN_BIT_PLANE;
    attributes.crColor = 0xFFFFFF;
    attributes.szLabel[0] = L'a';
    return attributes;
}

TEST(OverlaySlot, MaskChoosesTheMembers) {
    TestBitmap bitmap(4, 4, 16);
    const _OVERLAYATTRIBUTES given = Attributes(3, 2, 7, 8, 15);
    ASSERT_EQ(KernelSetOverlayAttributes(&bitmap, 0, &given, 23), 1);
    _OVERLAYATTRIBUTES read;
    ASSERT_EQ(KernelGetOverlayAttributes(&bitmap, 0, &read, sizeof read, 29), 1);
    EXPECT_EQ(read.nBitPosition, 0);
    EXPECT_EQ(read.crColor, 0u);
    EXPECT_EQ(read.nOriginY, 8);
    EXPECT_STREQ(read.szLabel, L"a");
    _OVERLAYATTRIBUTES flags{};
    flags.nStructSize = sizeof flags;
    ASSERT_EQ(KernelSetOverlayAttributes(&bitmap, 0, &flags, 12), 1);
    ASSERT_EQ(KernelGetOverlayAttributes(&bitmap, 0, &read, sizeof read, 31), 1);
    EXPECT_EQ(read.nOverlayFlags, 0u);
    EXPECT_EQ(read.crColor, 0xFFFFFFu);
    EXPECT_EQ(read.nColumns, 3);
    EXPECT_LT(KernelSetOverlayAttributes(&bitmap, 2, &given, 31), 0);
    for (uint32_t i = 1; i < 16; ++i) {
        EXPECT_EQ(KernelSetOverlayAttributes(&bitmap, i, &given, 31), 1);
    }
    EXPECT_LT(KernelSetOverlayAttributes(&bitmap, 16, &given, 31), 0);
    _BITMAPHANDLE none;
    EXPECT_LT(KernelGetOverlayBitmap(&bitmap, 0, &none, sizeof none, 1), 0);
}

TEST(OverlaySlot, TakesABitmapOverOrCopiesIt) {
    TestBitmap bitmap(4, 4, 16);
    const _OVERLAYATTRIBUTES given = Attributes(8, 1, 0, 0, 0);
    ASSERT_EQ(KernelSetOverlayAttributes(&bitmap, 0, &given, 31), 1);
    TestBitmap gray(8, 1, 8);
    EXPECT_EQ(KernelSetOverlayBitmap(&bitmap, 0, &gray, 3), KERNEL_ERROR_FORMAT);
    for (const uint8_t value : {0x5A, 0xC3}) {
        _BITMAPHANDLE plane;
        KernelCreateBitmap(&plane, sizeof plane, 1, 8, 1, 1, 1, nullptr, 1, nullptr, 0);
        KernelPutBitmapRow(&plane, &value, 0, 1);
        ASSERT_EQ(KernelSetOverlayBitmap(&bitmap, 0, &plane, 3), 1);
        TestBitmap copy;
        ASSERT_EQ(KernelGetOverlayBitmap(&bitmap, 0, &copy, sizeof plane, 0), 1);
        ASSERT_EQ(KernelSetOverlayBitmap(&bitmap, 0, &copy, 0), 1);
        EXPECT_EQ(copy.Bytes(0, 1), Bytes{value});
    }
}

TEST(OverlayPlane, ComesOutAndGoesBackAtItsOrigin) {
    struct Case {
        int Depth;
        uint16_t Bit;
        int X, Y;
    };
    for (const Case &entry :
         {Case{16, 12, 1, 1}, {16, 15, -1, 0}, {8, 7, 3, -1}, {12, 11, 0, 0}, {32, 31, 0, 0}}) {
        TestBitmap bitmap(4, 2, entry.Depth);
        bitmap.PutBytes(1, Bytes(bitmap.nBytesPerLine, 0xFF));
        const _OVERLAYATTRIBUTES given = Attributes(4, 2, entry.X, entry.Y, entry.Bit);
        ASSERT_EQ(KernelSetOverlayAttributes(&bitmap, 0, &given, 31), 1);
        ASSERT_EQ(KernelUpdateOverlayBits(&bitmap, 0, 2), 1);
        TestBitmap plane;
        ASSERT_EQ(KernelGetOverlayBitmap(&bitmap, 0, &plane, sizeof(_BITMAPHANDLE), 0), 1);
        uint8_t expected = 0;
        for (int x = 0; x < 4; ++x) {
            if (x + entry.X >= 0 && x + entry.X < 4) expected |= 0x80 >> x;
        }
        const int row = 1 - entry.Y;
        if (row < 2) {
            EXPECT_EQ(plane.Bytes(row, 1), Bytes{expected});
        }
        if (row > 0) {
            EXPECT_EQ(plane.Bytes(row - 1, 1), Bytes{0}) << "what lies behind its end is not of it";
        }
        // Back into a picture without the plane: the same bits are set, no others.
        bitmap.PutBytes(1, Bytes(bitmap.nBytesPerLine, 0));
        ASSERT_EQ(KernelUpdateOverlayBits(&bitmap, 0, 1), 1);
        TestBitmap again;
        ASSERT_EQ(KernelUpdateOverlayBits(&bitmap, 0, 2), 1);
        ASSERT_EQ(KernelGetOverlayBitmap(&bitmap, 0, &again, sizeof(_BITMAPHANDLE), 0), 1);
        for (int y = 0; y < 2; ++y) EXPECT_EQ(again.Bytes(y, 1), plane.Bytes(y, 1));
        if (entry.Depth == 16) {
            for (const uint16_t sample : bitmap.Words(1, 4)) {
                EXPECT_EQ(sample & ~(1 << entry.Bit), 0);
            }
        }
    }
}

TEST(OverlayPlane, StaysOutsideOfNothing) {
    TestBitmap bitmap(4, 2, 16);
    _OVERLAYATTRIBUTES given = Attributes(4, 2, 0x7FFFFFFF, -0x7FFFFFFF, 15);
    ASSERT_EQ(KernelSetOverlayAttributes(&bitmap, 0, &given, 31), 1);
    EXPECT_EQ(KernelUpdateOverlayBits(&bitmap, 0, 2), 1);
    given.nBitPosition = 16;
    ASSERT_EQ(KernelSetOverlayAttributes(&bitmap, 0, &given, 31), 1);
    EXPECT_LT(KernelUpdateOverlayBits(&bitmap, 0, 2), 0);
    TestBitmap colour(4, 2, 24, KERNEL_ORDER_BGR);
    ASSERT_EQ(KernelSetOverlayAttributes(&colour, 0, &given, 31), 1);
    EXPECT_LT(KernelUpdateOverlayBits(&colour, 0, 1), 0);
    // Overlays stay with a picture that changes its depth.
    uint32_t count = 0;
    ASSERT_EQ(KernelGrayScaleBitmap(&colour, 16), 1);
    EXPECT_EQ(KernelGetOverlayCount(&colour, &count, 0), 1);
    EXPECT_EQ(count, 1u);
}

} // namespace
