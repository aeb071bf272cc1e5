// Attributes of overlays and the groups that indexes stand for; overlays of a bitmap.

#include <gtest/gtest.h>

#include <algorithm>

#include "overlay/Overlays.h"

namespace {

constexpr uint32_t kNone = 0xFFFF;

uint32_t GroupOf(MDicomDS &ds, uint32_t index) {
    _OVERLAYATTRIBUTES attributes;
    uint32_t group = kNone;
    int32_t isOverlay = 0;
    M_DicomGetOverlayAttributes(&ds, index, &attributes, sizeof attributes, &group, &isOverlay, 0);
    return group;
}

uint32_t CountOf(MDicomDS &ds) {
    uint32_t count = 77;
    EXPECT_EQ(M_DicomGetOverlayCount(&ds, &count), 0);
    return count;
}

void PutOverlay(MDicomDS &ds, uint32_t group) {
    for (const uint32_t element : {0x10u, 0x11u, 0x100u, 0x102u}) {
        SetNumber(ds, 0x60000000 + (group << 16) + element, 4);
    }
    _DICOMELEMENT *type = ds.InsertElement(nullptr, 0, 0x60000040 + (group << 16), 0, 0, 0);
    ds.SetStringValueA(type, "G", 1);
}

void PutLayer(MDicomDS &ds, uint32_t group, const char *text) {
    ds.SetStringValueA(ds.InsertElement(nullptr, 0, 0x60001001 + (group << 16), 0, 0, 0), text, 1);
}

TEST(OverlayGroups, AreCountedInOrder) {
    MDicomDS ds(nullptr);
    EXPECT_EQ(CountOf(ds), 0u);
    EXPECT_EQ(M_DicomGetOverlayCount(&ds, nullptr), DICOM_ERROR_PARAMETER);
    PutOverlay(ds, 0);
    PutOverlay(ds, 4);
    PutOverlay(ds, 0x20); // beyond the overlay groups
    _DICOMELEMENT *sequence = ds.InsertElement(nullptr, 0, 0x00880200, 0, 0, 0);
    _DICOMELEMENT *item = ds.InsertElement(sequence, 1, TAG_ITEM, 0, 1, 0);
    for (const uint32_t tag : {0x60020010u, 0x60020011u}) {
        ASSERT_NE(ds.InsertElement(item, 1, tag, 0, 0, 0), nullptr) << "of another image";
    }
    EXPECT_EQ(CountOf(ds), 2u);
    EXPECT_EQ(GroupOf(ds, 0), 0u);
    EXPECT_EQ(GroupOf(ds, 1), 4u);
    EXPECT_EQ(GroupOf(ds, 2), kNone);
    SetNumber(ds, 0x60060010, 4);
    EXPECT_EQ(CountOf(ds), 0u) << "rows without columns";
    ds.DeleteElement(ds.FindFirstElement(nullptr, 0x60060010, 1));
    EXPECT_EQ(M_DicomDeleteOverlay(&ds, 0, 0), 0);
    EXPECT_EQ(M_DicomDeleteOverlay(&ds, 7, 0), 0);
    EXPECT_EQ(GroupOf(ds, 0), 4u);
    EXPECT_EQ(ds.FindFirstElement(nullptr, 0x60000040, 1), nullptr);
}

TEST(OverlayGroups, ActivationLayerMayStandAlone) {
    MDicomDS ds(nullptr);
    PutLayer(ds, 2, "LAYER1");
    _OVERLAYATTRIBUTES attributes;
    uint32_t group = 0;
    int32_t isOverlay = 1;
    ASSERT_EQ(
        M_DicomGetOverlayAttributes(&ds, 0, &attributes, sizeof attributes, &group, &isOverlay, 0),
        0);
    EXPECT_EQ(isOverlay, 0);
    EXPECT_EQ(group, 2u);
    EXPECT_STREQ(attributes.szActivationLayer, L"LAYER1");
    TestBitmap bitmap;
    EXPECT_EQ(M_DicomGetOverlayBitmap(&ds, 0, &bitmap, sizeof(_BITMAPHANDLE), 0),
              DICOM_ERROR_OVERLAY_DATA);
    wchar_t text[8] = L"1234567";
    ASSERT_EQ(M_DicomGetOverlayActivationLayer(&ds, 0, text, 4), 0);
    EXPECT_STREQ(text, L"LAY");
    ASSERT_EQ(M_DicomGetOverlayActivationLayer(&ds, 0, text, 8), 0);
    EXPECT_STREQ(text, L"LAYER1");
    EXPECT_EQ(M_DicomGetOverlayActivationLayer(&ds, 1, text, 8), DICOM_ERROR_PARAMETER);
    PutOverlay(ds, 4);
    PutOverlay(ds, 6);
    EXPECT_EQ(M_DicomGetOverlayActivationLayer(&ds, 1, text, 8), DICOM_ERROR_OVERLAY_LAYER);
}

/** Every set of planes and layers in the first and the last groups, and every index. */
TEST(OverlayGroups, AttributesAndDataOfAnIndexGoToOneGroupAndToNoOtherOverlay) {
    const uint32_t places[] = {0, 1, 2, 3, 14, 15};
    TestBitmap bitmap(4, 4, 1, KERNEL_ORDER_BGR);
    bitmap.PutBytes(0, {0xF0});
    for (uint32_t set = 0; set < 729; ++set) {
        for (uint32_t index = 0; index < 17; ++index) {
            MDicomDS ds(nullptr);
            bool used[16] = {};
            bool hasLayers = false;
            uint32_t rest = set;
            for (const uint32_t place : places) {
                const uint32_t kind = rest % 3;
                rest /= 3;
                if (kind == 1) PutOverlay(ds, place * 2);
                if (kind == 2) PutLayer(ds, place * 2, "L");
                used[place] = kind == 1;
                hasLayers = hasLayers || kind == 2;
            }
            const uint32_t count = CountOf(ds);
            const uint32_t meant = GroupOf(ds, index);
            const _OVERLAYATTRIBUTES attributes = OverlayOf(4, 4);
            const uint16_t status = M_DicomSetOverlayAttributes(&ds, index, &attributes, 0);
            if (status == 0) {
                ASSERT_EQ(M_DicomSetOverlayBitmap(&ds, index, &bitmap, 0), 0)
                    << set << " " << index;
            }
            uint32_t written = 0;
            for (uint32_t i = 0; i < 16; ++i) {
                const bool hasOrigin = ds.FindFirstElement(nullptr, 0x60000050 + i * 0x20000, 1);
                const bool hasData = !DataOf(ds, 0x60003000 + i * 0x20000).empty();
                ASSERT_EQ(hasOrigin, hasData) << set << " " << index << " " << i;
                if (!hasData) continue;
                ++written;
                const bool isMeant = index < count    ? i * 2 == meant
                                     : index == count ? !used[i]
                                                      : i == index || !used[i];
                ASSERT_TRUE(isMeant) << set << " " << index << " " << i;
            }
            ASSERT_EQ(written, status == 0 ? 1u : 0u) << set << " " << index;
            // With room behind the last group there is a place, but for layers that hide planes.
            const bool hasRoom = set < 81 && index < 14 && !hasLayers;
            ASSERT_TRUE(status == 0 || !hasRoom) << set << " " << index;
        }
    }
}

TEST(OverlayAttributes, ComeBackAsTheyWereSet) {
    MDicomDS ds(nullptr);
    ds.SetStringValueA(ds.InsertElement(nullptr, 0, 0x00080005, 0, 0, 0), "ISO_IR 192", 1);
    SetNumber(ds, 0x00280100, 16);
    _OVERLAYATTRIBUTES given = OverlayOf(100, 200, 3);
    given.nOriginX = 6;
    given.nOriginY = -26;
    given.nOverlayFlags = OVERLAY_IN_BIT_PLANE;
    given.nBitPosition = 12;
    wcscpy(given.szType, L"ROI");
    wcscpy(given.szDescription, L"\u00DCberlagerung");
    wcscpy(given.szSubtype, L"USER");
    wcscpy(given.szLabel, L"label");
    wcscpy(given.szActivationLayer, L"LAYER");
    given.nROIArea = 1234;
    given.fROIMean = -1.5;
    given.fROIStandardDeviation = 0.25;
    given.nImageFrameOrigin = 2;
    SetOverlay(ds, 0, given);
    _OVERLAYATTRIBUTES read;
    int32_t isOverlay = 0;
    ASSERT_EQ(M_DicomGetOverlayAttributes(&ds, 0, &read, sizeof read, nullptr, &isOverlay, 0), 0);
    EXPECT_EQ(read.nBitsAllocated, 16);
    read.nBitsAllocated = 0;
    EXPECT_EQ(memcmp(&read, &given, sizeof read), 0);
    uint32_t origin[2] = {};
    ds.FindGetValue(nullptr, 0x60000050, origin, 0, 2, VALUE_ARRAY_DWORD);
    EXPECT_EQ(static_cast<int16_t>(origin[0]), -25);
    EXPECT_EQ(origin[1], 7u);
    // Flag 1 leaves it; without, one frame takes the place of three.
    const _OVERLAYATTRIBUTES other = OverlayOf(1, 1);
    ASSERT_EQ(M_DicomSetOverlayAttributes(&ds, 0, &other, 1), 0);
    M_DicomGetOverlayAttributes(&ds, 0, &read, sizeof read, nullptr, &isOverlay, 0);
    EXPECT_EQ(read.nRows, 100);
    SetOverlay(ds, 0, other);
    M_DicomGetOverlayAttributes(&ds, 0, &read, sizeof read, nullptr, &isOverlay, 0);
    EXPECT_EQ(read.nRows, 1);
    EXPECT_EQ(read.nFramesInOverlay, 1u);
    EXPECT_STREQ(read.szLabel, L"label") << "an empty text says nothing";
}

TEST(OverlayAttributes, WhatIsWrongHasAStatus) {
    MDicomDS ds(nullptr);
    PutOverlay(ds, 0);
    _OVERLAYATTRIBUTES record = OverlayOf(4, 4);
    int32_t is = 0;
    EXPECT_EQ(M_DicomGetOverlayAttributes(&ds, 0, nullptr, 512, nullptr, &is, 0),
              DICOM_ERROR_PARAMETER);
    EXPECT_EQ(M_DicomGetOverlayAttributes(&ds, 0, &record, 511, nullptr, &is, 0),
              DICOM_ERROR_STRUCT_SIZE);
    EXPECT_EQ(M_DicomGetOverlayAttributes(&ds, 1, &record, sizeof record, nullptr, &is, 0),
              DICOM_ERROR_PARAMETER);
    ds.DeleteElement(ds.FindFirstElement(nullptr, 0x60000100, 1));
    EXPECT_EQ(M_DicomGetOverlayAttributes(&ds, 0, &record, sizeof record, nullptr, &is, 0),
              DICOM_ERROR_OVERLAY_ATTRIBUTE);
    record = OverlayOf(4, 4);
    EXPECT_EQ(M_DicomSetOverlayAttributes(&ds, 0, nullptr, 0), DICOM_ERROR_PARAMETER);
    EXPECT_EQ(M_DicomSetOverlayAttributes(&ds, 16, &record, 0), DICOM_ERROR_PARAMETER);
    record.nOriginX = 0x7FFF;
    EXPECT_EQ(M_DicomSetOverlayAttributes(&ds, 0, &record, 0), DICOM_ERROR_PARAMETER)
        << "not in 16 bits";
    record.nStructSize = 8;
    EXPECT_EQ(M_DicomSetOverlayAttributes(&ds, 0, &record, 0), DICOM_ERROR_STRUCT_SIZE);
}

TEST(OverlayTransfer, PlanesAndDataBecomeSlotsAndBack) {
    MDicomDS ds(nullptr);
    SetNumber(ds, 0x00280100, 16);
    _OVERLAYATTRIBUTES plane = OverlayOf(2, 10);
    plane.nOverlayFlags = OVERLAY_IN_BIT_PLANE;
    plane.nBitPosition = 15;
    const _OVERLAYATTRIBUTES own = OverlayOf(3, 5, 2);
    SetOverlay(ds, 1, plane);
    SetOverlay(ds, 4, own);
    PutLayer(ds, 0, "L"); // would hide the plane from an index
    SetData(ds, {0xFF, 0x7F, 0, 0}, "OW", 0x60083000);
    TestBitmap image(10, 2, 16);
    image.PutWords(1, {0x8001, 0x7FFF, 0x8000});
    ASSERT_EQ(DataSetAccess::Load(ds, &image), 0);
    uint32_t count = 0;
    ASSERT_EQ(KernelGetOverlayCount(&image, &count, 0), 1);
    ASSERT_EQ(count, 2u);
    TestBitmap overlay, second;
    ASSERT_EQ(KernelGetOverlayBitmap(&image, 0, &overlay, sizeof(_BITMAPHANDLE), 0), 1);
    EXPECT_EQ(overlay.Bytes(0, 2), (Bytes{0, 0}));
    EXPECT_EQ(overlay.Bytes(1, 2), (Bytes{0xA0, 0}));
    ASSERT_EQ(KernelGetOverlayBitmap(&image, 1, &second, sizeof(_BITMAPHANDLE), 0), 1);
    EXPECT_EQ(PixelsOf(second), Pixels(15, true));
    _OVERLAYATTRIBUTES slot;
    KernelGetOverlayAttributes(&image, 0, &slot, sizeof slot, 31);
    EXPECT_EQ(slot.nOverlayFlags, 3u);
    EXPECT_EQ(slot.nBitPosition, 0);
    EXPECT_EQ(slot.crColor, 0xFFFFFFu);
    // Saved, both have data of their own, one frame each, in the first groups.
    ASSERT_EQ(DataSetAccess::Save(ds, &image), 0);
    EXPECT_EQ(CountOf(ds), 2u);
    EXPECT_EQ(DataOf(ds), (Bytes{0, 0x14, 0, 0}));
    EXPECT_EQ(DataOf(ds, 0x60023000), (Bytes{0xFF, 0x7F}));
    EXPECT_EQ(ds.FindFirstElement(nullptr, 0x60020015, 1), nullptr) << "one frame";
    EXPECT_EQ(ds.FindFirstElement(nullptr, 0x60080010, 1), nullptr);
    // In a bit plane again, the overlay is in the samples as well.
    slot.nOverlayFlags = OVERLAY_IN_BIT_PLANE;
    slot.nBitPosition = 14;
    ASSERT_EQ(KernelSetOverlayAttributes(&image, 0, &slot, 12), 1);
    ASSERT_EQ(DataSetAccess::Save(ds, &image), 0);
    EXPECT_EQ(image.Words(1, 3), (Words{0xC001, 0x3FFF, 0xC000}));
    EXPECT_EQ(DataOf(ds), (Bytes{0, 0x14, 0, 0}));
}

TEST(OverlayTransfer, WithoutOverlaysNothingChanges) {
    MDicomDS ds(nullptr);
    TestBitmap image(4, 4, 16);
    EXPECT_EQ(DataSetAccess::Load(ds, nullptr), DICOM_ERROR_NULL_POINTER);
    EXPECT_EQ(DataSetAccess::Load(ds, &image), 0);
    PutOverlay(ds, 2);
    EXPECT_EQ(DataSetAccess::Save(ds, &image), 0);
    EXPECT_EQ(CountOf(ds), 1u);
    SetData(ds, {1, 2}, "OW", 0x60023000);
    SetNumber(ds, 0x60020010, 5);
    EXPECT_EQ(DataSetAccess::Load(ds, &image), DICOM_ERROR_READ) << "data too short";
    uint32_t count = 9;
    KernelGetOverlayCount(&image, &count, 0);
    EXPECT_EQ(count, 0u);
}

} // namespace
