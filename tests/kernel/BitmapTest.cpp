// Records, rows, copies, views and lists of bitmaps.

#include <gtest/gtest.h>

#include <functional>

#include "support/Bitmaps.h"
#include "support/FailingKernel.h"

extern "C" int BitmapOfC(_BITMAPHANDLE *bitmap);

namespace {

int Create(_BITMAPHANDLE *bitmap, int width, int height, int depth, int order = 2, int view = 1) {
    return KernelCreateBitmap(bitmap, sizeof(_BITMAPHANDLE), KERNEL_MEMORY_OWN, width, height,
                              depth, order, nullptr, view, nullptr, 0);
}

TEST(Bitmap, RowsArePaddedAndZeroAtFirst) {
    for (const auto &[depth, bytes] :
         {std::pair{1, 4}, {8, 8}, {12, 8}, {16, 12}, {24, 16}, {32, 20}}) {
        TestBitmap bitmap(5, 2, depth, KERNEL_ORDER_RGB);
        EXPECT_EQ(bitmap.nBytesPerLine, static_cast<uint32_t>(bytes)) << depth;
        EXPECT_EQ(bitmap.Bytes(1, bitmap.nBytesPerLine), Bytes(bitmap.nBytesPerLine, 0));
    }
    TestBitmap turned(5, 2, 8, KERNEL_ORDER_GRAY, 6);
    EXPECT_EQ(turned.nBytesPerLine, 4u) << "rows of two pixels";
    TestBitmap ofC;
    EXPECT_EQ(BitmapOfC(&ofC), 1);
}

TEST(Bitmap, SizesThatDoNotFitFail) {
    _BITMAPHANDLE bitmap;
    constexpr int most = 0x7FFFFFFF;
    EXPECT_LT(Create(&bitmap, most, most, 32), 0);
    EXPECT_LT(Create(&bitmap, most, 1, 32), 0);
    EXPECT_LT(Create(&bitmap, most / 4, most, 8), 0);
    EXPECT_LT(Create(&bitmap, 0, 1, 8), 0);
    EXPECT_LT(Create(&bitmap, 1, -1, 8), 0);
    EXPECT_EQ(Create(&bitmap, 1, 1, 10), KERNEL_ERROR_FORMAT);
    EXPECT_EQ(Create(&bitmap, 1, 1, 24, 2), KERNEL_ERROR_FORMAT);
    EXPECT_LT(Create(&bitmap, 1, 1, 8, 0, 9), 0);
    EXPECT_EQ(KernelInitBitmap(&bitmap, 228, 1, 1, 8), KERNEL_ERROR_STRUCT_SIZE);
}

TEST(Bitmap, FieldsThatContradictTheDataStopAccess) {
    TestBitmap bitmap(4, 4, 8);
    uint8_t row[64];
    EXPECT_EQ(KernelGetBitmapRow(&bitmap, row, 0, 64), 4);
    EXPECT_LT(KernelGetBitmapRow(&bitmap, row, 4, 4), 0);
    EXPECT_LT(KernelPutBitmapRow(&bitmap, row, -1, 4), 0);
    bitmap.nHeight = 5;
    EXPECT_LT(KernelGetBitmapRow(&bitmap, row, 4, 4), 0);
    EXPECT_LT(KernelGrayScaleBitmap(&bitmap, 16), 0);
    bitmap.nHeight = 4;
    bitmap.nBytesPerLine = 64;
    EXPECT_LT(KernelGetBitmapRow(&bitmap, row, 0, 64), 0);
    bitmap.nBytesPerLine = 4;
    bitmap.nBitsPerPixel = 16;
    EXPECT_LT(KernelGetBitmapRow(&bitmap, row, 0, 64), 0);
}

TEST(Bitmap, CallersBlockIsUsedAndKept) {
    Bytes block(8, 7);
    _BITMAPHANDLE bitmap;
    const auto create = [&](uint64_t bytes) {
        return KernelCreateBitmap(&bitmap, sizeof bitmap, KERNEL_MEMORY_CALLER, 3, 2, 8, 2, nullptr,
                                  1, block.data(), bytes);
    };
    EXPECT_LT(create(7), 0);
    ASSERT_EQ(create(8), 1);
    const uint8_t row[]{1, 2, 3};
    EXPECT_EQ(KernelPutBitmapRow(&bitmap, row, 1, 3), 3);
    EXPECT_EQ(block, (Bytes{7, 7, 7, 7, 1, 2, 3, 7}));
    TestBitmap copy;
    EXPECT_EQ(KernelCopyBitmap(&copy, &bitmap, sizeof bitmap), 1);
    EXPECT_EQ(KernelFreeBitmap(&bitmap), 1);
    EXPECT_EQ(copy.Bytes(1, 3), (Bytes{1, 2, 3}));
}

TEST(Bitmap, CopyOwnsItsPaletteLutAndOverlays) {
    TestBitmap source(2, 2, 8);
    source.UseLut16(Words(256, 5));
    _OVERLAYATTRIBUTES attributes{};
    attributes.nStructSize = sizeof attributes;
    attributes.nRows = attributes.nColumns = 2;
    ASSERT_EQ(KernelSetOverlayAttributes(&source, 0, &attributes, 31), 1);
    ASSERT_EQ(KernelUpdateOverlayBits(&source, 0, 2), 1);
    TestBitmap copy;
    ASSERT_EQ(KernelCopyBitmap(&copy, &source, sizeof copy), 1);
    static_cast<_RGBQUAD *>(source.pPalette)[1] = {9, 9, 9, 9};
    KernelGetBitmapLUT16(&source, 0)[255].rgbRed = 9;
    KernelFreeBitmap(&source);
    _RGBQUAD color;
    EXPECT_EQ(KernelGetBitmapColors(&copy, 1, 1, &color), 1);
    EXPECT_EQ(color.rgbGreen, 1);
    EXPECT_LT(KernelGetBitmapColors(&copy, 255, 2, &color), 0);
    EXPECT_EQ(KernelGetBitmapLUT16(&copy, 0)[255].rgbRed, 5);
    _BITMAPHANDLE overlay;
    EXPECT_EQ(KernelGetOverlayBitmap(&copy, 0, &overlay, sizeof overlay, 1), 1);
}

/** The picture "1 2 3 / 4 5 6" as each view stores it. */
TEST(Bitmap, ViewsTurnToTopLeft) {
    const std::vector<Bytes> stored[]{{{1, 2, 3}, {4, 5, 6}},   {{3, 2, 1}, {6, 5, 4}},
                                      {{6, 5, 4}, {3, 2, 1}},   {{4, 5, 6}, {1, 2, 3}},
                                      {{1, 4}, {2, 5}, {3, 6}}, {{3, 6}, {2, 5}, {1, 4}},
                                      {{6, 3}, {5, 2}, {4, 1}}, {{4, 1}, {5, 2}, {6, 3}}};
    for (int view = 1; view <= 8; ++view) {
        for (const size_t depth : {8, 12, 16, 24, 32}) {
            SCOPED_TRACE(testing::Message() << "view " << view << ", depth " << depth);
            const size_t channels = SamplesOfPixel(depth);
            TestBitmap source(3, 2, static_cast<int>(depth), KERNEL_ORDER_RGB, view);
            for (size_t row = 0; row < stored[view - 1].size(); ++row) {
                const Bytes &values = stored[view - 1][row];
                uint8_t *bytes = KernelLendBitmapRow(&source, static_cast<int>(row));
                for (size_t i = 0; i < values.size() * channels; ++i) {
                    const uint32_t value = values[i / channels] + 10 * (i % channels);
                    PutSample(bytes, i, SampleBits(depth), value);
                }
            }
            TestBitmap copy;
            ASSERT_EQ(KernelCopyBitmapView(&copy, &source, sizeof(_BITMAPHANDLE)), 1);
            EXPECT_EQ(copy.nViewPerspective, 1);
            const std::vector<int> samples = SamplesOf(copy);
            ASSERT_EQ(samples.size(), 6 * channels);
            for (size_t i = 0; i < samples.size(); ++i) {
                EXPECT_EQ(samples[i], 1 + i / channels + 10 * (i % channels));
            }
        }
    }
    TestBitmap bits(10, 1, 1, KERNEL_ORDER_BGR, 2);
    bits.PutBytes(0, {0b11010000, 0b01000000});
    TestBitmap copy;
    ASSERT_EQ(KernelCopyBitmapView(&copy, &bits, sizeof(_BITMAPHANDLE)), 1);
    EXPECT_EQ(copy.Bytes(0, 2), (Bytes{0b10000010, 0b11000000}));
}

TEST(BitmapList, OwnsItsItems) {
    HBITMAPLIST__ *list = nullptr;
    ASSERT_EQ(KernelCreateBitmapList(&list), 1);
    constexpr uint32_t size = sizeof(_BITMAPHANDLE);
    _BITMAPHANDLE item;
    for (int width = 1; width <= 20; ++width) {
        ASSERT_EQ(Create(&item, width, 1, 8), 1);
        ASSERT_EQ(KernelListInsertItem(list, width % 2 ? 0xFFFFFFFF : 0, &item, size), 1);
    }
    uint32_t count = 0;
    EXPECT_EQ(KernelListItemCount(list, &count), 1);
    EXPECT_EQ(count, 20u);
    ASSERT_EQ(KernelListGetItem(list, 0, &item, size), 1);
    EXPECT_EQ(item.nWidth, 20);
    // Writing back a changed record keeps what it shares with the item; another bitmap replaces it.
    item.nXResolution = 72;
    EXPECT_EQ(KernelListSetItem(list, 0, &item, size), 1);
    _BITMAPHANDLE deeper;
    ASSERT_EQ(KernelColorResBitmap(&item, &deeper, size, 16, 2, nullptr, 6), 1);
    EXPECT_EQ(KernelListSetItem(list, 0, &deeper, size), 1);
    ASSERT_EQ(KernelListGetItem(list, 19, &item, size), 1);
    EXPECT_EQ(item.nWidth, 19);
    EXPECT_LT(KernelListGetItem(list, 20, &item, size), 0);
    EXPECT_LT(KernelListInsertItem(list, 21, &item, size), 0);
    EXPECT_EQ(KernelListSetItem(list, 0, &item, 228), KERNEL_ERROR_STRUCT_SIZE);
    EXPECT_EQ(KernelDestroyBitmapList(list), 1);
}

/** Each allocation fails in turn; the operation says so, and its source stays as it was. */
void WalkFaults(const std::function<int(_BITMAPHANDLE *)> &operation, int depth, int order) {
    for (int place = 0; place < 100; ++place) {
        TestBitmap bitmap(4, 3, depth, order, 4);
        bitmap.PutBytes(1, {1, 2, 3, 4});
        _OVERLAYATTRIBUTES attributes{};
        attributes.nStructSize = sizeof attributes;
        attributes.nRows = attributes.nColumns = 2;
        KernelSetOverlayAttributes(&bitmap, 0, &attributes, 31);
        TestBitmap overlay(2, 2, 1);
        KernelSetOverlayBitmap(&bitmap, 0, &overlay, 2);
        const _BITMAPHANDLE before = bitmap;
        const support::FailingKernel failing(place, support::FailingKernel::ThereAlone);
        const int result = operation(&bitmap);
        if (!failing.HasFailed()) {
            EXPECT_EQ(result, 1);
            return;
        }
        EXPECT_EQ(result, KERNEL_ERROR_MEMORY) << place;
        EXPECT_EQ(std::memcmp(&before, static_cast<_BITMAPHANDLE *>(&bitmap), sizeof before), 0);
    }
    FAIL() << "never came through";
}

TEST(BitmapFault, EveryOperationSurvivesMissingMemory) {
    const uint32_t size = sizeof(_BITMAPHANDLE);
    const auto recolor = [=](_BITMAPHANDLE *bitmap, _BITMAPHANDLE *target, int depth) {
        return KernelColorResBitmap(bitmap, target, size, depth, 1, nullptr, 6);
    };
    const std::function<int(_BITMAPHANDLE *)> operations[] = {
        [=](_BITMAPHANDLE *bitmap) {
            TestBitmap copy;
            return KernelCopyBitmapView(&copy, bitmap, size);
        },
        [=](_BITMAPHANDLE *bitmap) {
            TestBitmap target;
            return recolor(bitmap, &target, 1);
        },
        [=](_BITMAPHANDLE *bitmap) { return recolor(bitmap, bitmap, 32); },
        [](_BITMAPHANDLE *bitmap) { return KernelGrayScaleBitmap(bitmap, 12); },
        [](_BITMAPHANDLE *bitmap) { return KernelSizeBitmap(bitmap, 2, 9, 2); },
        [](_BITMAPHANDLE *bitmap) { return KernelSizeBitmap(bitmap, 9, 2, 0); },
    };
    for (const auto &operation : operations) {
        WalkFaults(operation, 24, KERNEL_ORDER_BGR);
        WalkFaults(operation, 8, KERNEL_ORDER_RGB);
        WalkFaults(operation, 16, KERNEL_ORDER_RGB);
        WalkFaults(operation, 32, KERNEL_ORDER_GRAY);
    }
}

} // namespace
