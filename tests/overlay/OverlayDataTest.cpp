// Overlay data and bitmaps, against loops over single pixels.

#include <gtest/gtest.h>

#include <optional>

#include "overlay/Overlays.h"
#include "support/FailingKernel.h"
#include "support/TestFiles.h"

namespace {

constexpr _RGBQUAD kInverted[] = {{255, 255, 255, 0}, {0, 0, 0, 0}};

/** The frames of an overlay, each read as a bitmap. */
Pixels ReadFrames(MDicomDS &ds, uint32_t frames) {
    Pixels all;
    for (uint32_t i = 0; i < frames; ++i) {
        TestBitmap bitmap;
        EXPECT_EQ(DataSetAccess::GetFrame(ds, 0, &bitmap, i), 0) << i;
        const Pixels frame = PixelsOf(bitmap);
        all.insert(all.end(), frame.begin(), frame.end());
    }
    return all;
}

TEST(OverlayData, RandomFramesArePackedWithoutPaddingAndComeBack) {
    std::mt19937 random(5);
    for (int round = 0; round < 300; ++round) {
        const auto columns = static_cast<uint16_t>(1 + random() % (round % 2 ? 20 : 200));
        const auto rows = static_cast<uint16_t>(1 + random() % 9);
        const uint32_t frames = 1 + random() % 4;
        const size_t count = size_t{columns} * rows;
        const Pixels pixels = RandomPixels(random, count * frames);
        MDicomDS ds(nullptr);
        SetOverlay(ds, 0, OverlayOf(rows, columns, frames));
        // Frames in any order, some of them twice.
        for (uint32_t i = 0; i < frames * 2; ++i) {
            const uint32_t frame = i < frames ? (i + random()) % frames : i - frames;
            const int view = 1 + static_cast<int>(random() % 5);
            const bool inverted = random() & 1;
            TestBitmap bitmap(columns, rows, 1, KERNEL_ORDER_BGR, view,
                              inverted ? kInverted : nullptr);
            Pixels drawn(pixels.begin() + static_cast<long>(frame * count),
                         pixels.begin() + static_cast<long>((frame + 1) * count));
            if (inverted) drawn.flip();
            Draw(bitmap, drawn);
            ASSERT_EQ(DataSetAccess::SetFrame(ds, 0, &bitmap, frame), 0) << round;
        }
        Bytes expected((count * frames + 15) / 16 * 2);
        PutPixels(pixels, 0, expected);
        ASSERT_EQ(DataOf(ds), expected) << round << ": " << columns << " x " << rows;
        ASSERT_EQ(ReadFrames(ds, frames), pixels) << round;
    }
}

TEST(OverlayData, FramesPaddedToBytesAreReadAndKept) {
    std::mt19937 random(6);
    const Pixels pixels = RandomPixels(random, 90);
    Bytes value(18); // three frames of 10 x 3 pixels in 2 x 3 bytes each
    for (size_t f = 0; f < 3; ++f) {
        PutPixels(Pixels(pixels.begin() + static_cast<long>(f) * 30,
                         pixels.begin() + static_cast<long>(f + 1) * 30),
                  f * 48, value);
    }
    MDicomDS ds(nullptr);
    SetOverlay(ds, 0, OverlayOf(3, 10, 3));
    SetData(ds, value);
    EXPECT_EQ(ReadFrames(ds, 3), pixels);
    TestBitmap bitmap(10, 3, 1, KERNEL_ORDER_BGR);
    Draw(bitmap, pixels, 30);
    ASSERT_EQ(DataSetAccess::SetFrame(ds, 0, &bitmap, 1), 0);
    EXPECT_EQ(DataOf(ds), value);
}

TEST(OverlayData, WordsTurnOverInBigEndianFilesAndBytesDoNot) {
    std::mt19937 random(7);
    const Pixels pixels = RandomPixels(random, 9 * 5 * 2);
    Bytes little(12);
    PutPixels(pixels, 0, little);
    Bytes turned = little;
    for (size_t i = 0; i < turned.size(); i += 2) std::swap(turned[i], turned[i + 1]);
    for (const char *vr : {"OW", "OB"}) {
        support::TemporaryFolder folder;
        MDicomDS ds(nullptr);
        SetOverlay(ds, 0, OverlayOf(5, 9, 2));
        SetData(ds, Bytes(12), vr);
        const uint16_t flags = DS_BIG_ENDIAN | DS_EXPLICIT_VR;
        ASSERT_EQ(ds.SaveDS(folder.WideFile("empty").c_str(), flags), 0);
        MDicomDS big(nullptr);
        ASSERT_EQ(big.LoadDS(folder.WideFile("empty").c_str(), flags), 0);
        for (uint32_t frame : {1, 0}) {
            TestBitmap bitmap(9, 5, 1, KERNEL_ORDER_BGR);
            Draw(bitmap, pixels, frame * 45);
            ASSERT_EQ(DataSetAccess::SetFrame(big, 0, &bitmap, frame), 0);
        }
        EXPECT_EQ(ReadFrames(big, 2), pixels) << vr;
        ASSERT_EQ(big.SaveDS(folder.WideFile("full").c_str(), flags), 0);
        const Bytes file = support::ReadFile(folder.File("full"));
        EXPECT_EQ(Bytes(file.end() - 12, file.end()), vr[1] == 'W' ? turned : little);
        MDicomDS again(nullptr);
        ASSERT_EQ(again.LoadDS(folder.WideFile("full").c_str(), flags), 0);
        EXPECT_EQ(ReadFrames(again, 2), pixels) << vr;
    }
}

TEST(OverlayData, ListsMoveAllFrames) {
    std::mt19937 random(8);
    const Pixels pixels = RandomPixels(random, 7 * 4 * 3);
    MDicomDS ds(nullptr);
    SetOverlay(ds, 0, OverlayOf(4, 7));
    HBITMAPLIST__ *list = nullptr;
    ASSERT_EQ(KernelCreateBitmapList(&list), 1);
    EXPECT_EQ(M_DicomSetOverlayBitmapList(&ds, 0, list, 0), DICOM_ERROR_PARAMETER);
    for (size_t i = 0; i < 3; ++i) {
        TestBitmap bitmap(7, 4, 1, KERNEL_ORDER_BGR);
        Draw(bitmap, pixels, i * 28);
        ASSERT_EQ(KernelListInsertItem(list, 0xFFFFFFFF, &bitmap, sizeof(_BITMAPHANDLE)), 1);
        KernelInitBitmap(&bitmap, sizeof(_BITMAPHANDLE), 0, 0, 0);
    }
    EXPECT_EQ(ds.SetOverlayBitmapList(1, list, 0), DICOM_ERROR_PARAMETER);
    bool isReached = true;
    for (int place = 0; isReached; ++place) {
        MDicomDS other(nullptr);
        SetOverlay(other, 0, OverlayOf(4, 7));
        auto fault = std::make_optional<support::FailingKernel>(place);
        const uint16_t status = other.SetOverlayBitmapList(0, list, 0);
        isReached = fault->HasFailed();
        fault.reset();
        const bool hasCount = other.FindFirstElement(nullptr, 0x60000015, 1) != nullptr;
        EXPECT_EQ(hasCount, status == 0) << place;
    }
    ASSERT_EQ(ds.SetOverlayBitmapList(0, list, 0), 0);
    EXPECT_EQ(ReadFrames(ds, 3), pixels) << "the overlay has as many frames as the list";
    EXPECT_EQ(M_DicomGetOverlayBitmapList(&ds, 0, list, 1, 3, 0), DICOM_ERROR_PARAMETER);
    uint32_t count = 0;
    KernelListItemCount(list, &count);
    EXPECT_EQ(count, 5u) << "the frames that there are";
    _BITMAPHANDLE lent;
    KernelListGetItem(list, 4, &lent, sizeof lent);
    uint8_t byte = 0;
    KernelGetBitmapRow(&lent, &byte, 0, 1);
    for (size_t i = 0; i < 7; ++i) EXPECT_EQ(byte >> (7 - i) & 1, pixels[56 + i]);
    // What a smaller overlay leaves would be taken for frames.
    TestBitmap small(4, 2, 1, KERNEL_ORDER_BGR);
    SetOverlay(ds, 0, OverlayOf(2, 4));
    ASSERT_EQ(M_DicomSetOverlayBitmap(&ds, 0, &small, 0), 0);
    EXPECT_EQ(DataOf(ds), Bytes(2));
    KernelDestroyBitmapList(list);
}

TEST(OverlayData, WhatCannotBeReadHasAStatusAndNoBitmap) {
    struct {
        uint16_t rows, columns;
        uint32_t frames;
        uint32_t length; ///< 0xFFFFFFFF: no data
        uint16_t status;
    } const kCases[] = {
        {3, 10, 1, 0xFFFFFFFF, DICOM_ERROR_OVERLAY_DATA},
        {3, 10, 1, 0, DICOM_ERROR_READ},
        {4, 10, 1, 4, DICOM_ERROR_READ},
        {65535, 65535, 1, 2, DICOM_ERROR_READ},
        {65535, 65535, 0x7FFFFFFF, 2, DICOM_ERROR_READ},
        {0, 10, 1, 2, DICOM_ERROR_MEMORY},
        {10, 0, 0xFFFFFFFF, 2, DICOM_ERROR_MEMORY},
        {4, 8, 1, 4, 0},
    };
    for (const auto &[rows, columns, frames, length, status] : kCases) {
        SCOPED_TRACE(testing::Message() << rows << " x " << columns << " in " << length);
        MDicomDS ds(nullptr);
        SetOverlay(ds, 0, OverlayOf(rows, columns));
        SetNumber(ds, 0x60000015, frames);
        if (length != 0xFFFFFFFF) SetData(ds, Bytes(length));
        TestBitmap bitmap;
        EXPECT_EQ(M_DicomGetOverlayBitmap(&ds, 0, &bitmap, sizeof(_BITMAPHANDLE), 0), status);
        EXPECT_EQ(bitmap.nBitmapFlags & 1, status == 0 ? 1u : 0u);
    }
    MDicomDS fragments(nullptr);
    SetOverlay(fragments, 0, OverlayOf(1, 8));
    fragments.InsertElement(nullptr, 0, 0x60003000, 'O' << 8 | 'B', 1, 0);
    TestBitmap read, given(8, 1, 1, KERNEL_ORDER_BGR);
    EXPECT_EQ(M_DicomGetOverlayBitmap(&fragments, 0, &read, sizeof(_BITMAPHANDLE), 0),
              DICOM_ERROR_READ);
    EXPECT_EQ(M_DicomSetOverlayBitmap(&fragments, 0, &given, 0), DICOM_ERROR_WRITE);
}

TEST(OverlayData, BitmapsOfAnotherFormAreRefused) {
    MDicomDS ds(nullptr);
    const _OVERLAYATTRIBUTES attributes = OverlayOf(2, 8, 0x7FFFFFFF);
    TestBitmap fitting(8, 2, 1, KERNEL_ORDER_BGR);
    EXPECT_EQ(M_DicomSetOverlayBitmap(&ds, 0, &fitting, 0), DICOM_ERROR_PARAMETER) << "no overlay";
    ASSERT_EQ(M_DicomSetOverlayAttributes(&ds, 0, &attributes, 0), 0);
    TestBitmap none, wide(9, 2, 1, KERNEL_ORDER_BGR), high(8, 3, 1, KERNEL_ORDER_BGR),
        gray(8, 2, 8);
    for (TestBitmap *bitmap : {&none, &wide, &high, &gray}) {
        EXPECT_EQ(M_DicomSetOverlayBitmap(&ds, 0, bitmap, 0), DICOM_ERROR_PARAMETER);
    }
    EXPECT_EQ(M_DicomSetOverlayBitmap(&ds, 0, nullptr, 0), DICOM_ERROR_PARAMETER);
    EXPECT_EQ(M_DicomSetOverlayBitmap(&ds, 16, &fitting, 0), DICOM_ERROR_PARAMETER);
    EXPECT_EQ(ds.FindFirstElement(nullptr, 0x60003000, 1), nullptr);
    // No room is made for frames that nobody has set, and none beyond what a value can hold.
    ASSERT_EQ(M_DicomSetOverlayBitmap(&ds, 0, &fitting, 0), 0);
    EXPECT_EQ(DataOf(ds).size(), 2u);
    EXPECT_EQ(DataSetAccess::SetFrame(ds, 0, &fitting, 0x7FFFFFFE), DICOM_ERROR_WRITE);
    EXPECT_EQ(DataSetAccess::GetFrame(ds, 0, &none, 1), DICOM_ERROR_READ);
}

} // namespace
