// Bitmaps on their way into data sets and back, in every form that holds them.

#include <gtest/gtest.h>

#include "Frames.h"
#include "support/Images.h"
#include "support/TestFiles.h"
#include "support/TreeCompare.h"

namespace {

_DICOMIMAGE InfoOf(MDicomDS &ds) {
    _DICOMIMAGE info{};
    ds.GetInfoImage(ds.FindFirstElement(nullptr, TAG_PIXEL_DATA, 1), &info, 0);
    return info;
}

TEST(RoundTrip, AttributesSayWhatIsStoredAndItIsNearWhatWasGiven) {
    struct {
        Kind kind;
        int32_t photometric;
        uint32_t compression;
        const char *syntax;
        const char *text;
        uint32_t allocated;
        uint32_t stored;
        const char *vr;
        uint32_t flags = 0;
    } const kCases[] = {
        {{8, 8}, 1, kNone, "1.2.840.10008.1.2.1", "MONOCHROME2", 8, 8, "OW"},
        {{1, 1}, 0, kNone, "1.2.840.10008.1.2.1", "MONOCHROME2", 1, 1, "OB"},
        {{12, 12}, 1, kNone, "1.2.840.10008.1.2.1", "MONOCHROME2", 16, 12, "OW"},
        {{16, 10}, 0, kRleClass, "1.2.840.10008.1.2.5", "MONOCHROME1", 16, 10, "OB"},
        {{16, 16}, 1, kJpegLossy, "1.2.840.10008.1.2.4.51", "MONOCHROME2", 16, 12, "OB"},
        {{8, 8}, 1, kJpegLossy, "1.2.840.10008.1.2.4.50", "MONOCHROME2", 8, 8, "OB"},
        {{24, 8}, 3, kJpegLossy, "1.2.840.10008.1.2.4.50", "YBR_FULL_422", 8, 8, "OB"},
        {{24, 8},
         3,
         kJpegLossy,
         "1.2.840.10008.1.2.4.50",
         "RGB",
         8,
         8,
         "OB",
         DICOM_SETIMAGE_CODEC_FLAG},
        {{24, 8}, 3, kJpegLossless, "1.2.840.10008.1.2.4.70", "RGB", 8, 8, "OB"},
        {{24, 8}, 3, kJ2kLossless, "1.2.840.10008.1.2.4.90", "YBR_RCT", 8, 8, "OB"},
        {{24, 8}, 3, kJ2kLossy, "1.2.840.10008.1.2.4.91", "YBR_ICT", 8, 8, "OB"},
        {{16, 10}, 1, kJ2kLossy, "1.2.840.10008.1.2.4.91", "MONOCHROME2", 16, 10, "OB"},
    };
    for (const auto &row : kCases) {
        MDicomDS ds(nullptr);
        const auto bitmap = MakeBitmap(64, 33, row.kind);
        ASSERT_EQ(ds.InsertImage(nullptr, bitmap.get(), 0, row.compression, row.photometric, 0, 2,
                                 row.flags, nullptr, nullptr),
                  0);
        SCOPED_TRACE(row.syntax + std::to_string(row.kind.depth));
        EXPECT_EQ(support::StoredText(ds, 0x00020010), row.syntax);
        EXPECT_EQ(support::StoredText(ds, 0x00280004), row.text);
        EXPECT_EQ(support::StoredText(ds, 0x00280008), "1");
        const _DICOMIMAGE info = InfoOf(ds);
        EXPECT_EQ(info.nBitsAllocated, row.allocated);
        EXPECT_EQ(info.nBitsStored, row.stored);
        const _DICOMELEMENT *element = ds.FindFirstElement(nullptr, TAG_PIXEL_DATA, 1);
        EXPECT_EQ(element->nVR, row.vr[0] << 8 | row.vr[1]);
        TestBitmap got;
        ASSERT_EQ(Get(ds, got), 0);
        if (row.kind.bits > row.stored) continue; // to fewer bits
        EXPECT_GT(Decibels(SamplesOf(got), SamplesOf(*bitmap), row.kind.bits), 40);
        if (row.kind.depth == 16) {
            EXPECT_EQ(got.nHighBit + 1, static_cast<int>(row.kind.bits));
        }
    }
}

TEST(RoundTrip, LaterFramesBecomeLikeTheFirst) {
    MDicomDS ds(nullptr);
    const auto first = MakeBitmap(20, 10, {8, 8});
    const auto other = MakeBitmap(31, 40, {24, 8});
    const auto put = [&](TestBitmap &bitmap, uint32_t compression) {
        return ds.InsertImage(nullptr, &bitmap, 99, compression, PHOTOMETRIC_MONOCHROME2, 0, 2, 0,
                              nullptr, nullptr);
    };
    ASSERT_EQ(put(*first, kRleClass), 0);
    ASSERT_EQ(put(*other, kJpegLossless), 0);
    EXPECT_EQ(support::StoredText(ds, 0x00020010), "1.2.840.10008.1.2.5");
    TestBitmap got;
    ASSERT_EQ(Get(ds, got, 1), 0);
    EXPECT_EQ(got.nWidth, 20);
    EXPECT_EQ(got.nHeight, 10);
    EXPECT_EQ(got.nBitsPerPixel, 8);
    EXPECT_EQ(other->nWidth, 31) << "the caller's bitmap stays as it is";
    // So does the transfer syntax, where an icon comes.
    _DICOMELEMENT *icons = ds.InsertElement(nullptr, 0, 0x00880200, 0, 1, 0);
    _DICOMELEMENT *item = ds.InsertElement(icons, 1, TAG_ITEM, 0, 1, 0);
    _DICOMELEMENT *icon = ds.InsertElement(item, 1, TAG_PIXEL_DATA, 0, 0, 0);
    ASSERT_EQ(ds.InsertImage(icon, first.get(), 0, kNone, 1, 0, 0, 0, nullptr, nullptr), 0);
    EXPECT_EQ(support::StoredText(ds, 0x00020010), "1.2.840.10008.1.2.5");
    ASSERT_EQ(Get(ds, got, 0, 0, 0, icon), 0);
    EXPECT_EQ(RowsOf(got), RowsOf(*first));

    // What has no explicit VR has no compression.
    MDicomDS implicit(nullptr);
    implicit.InitDS(0xFFFF, DS_IMPLICIT_VR | DS_LITTLE_ENDIAN);
    ASSERT_EQ(implicit.SetImage(nullptr, first.get(), kJpegLossy, 1, 0, 2, 0, nullptr, nullptr), 0);
    EXPECT_EQ(InfoOf(implicit).nCompression, kNone);
    ASSERT_EQ(Get(implicit, got), 0);
    EXPECT_EQ(RowsOf(got), RowsOf(*first));
}

TEST(RoundTrip, InvertedAndTurnedBitmapsLookTheSame) {
    const _RGBQUAD colors[] = {{255, 255, 255, 0}, {0, 0, 0, 0}};
    TestBitmap inverted(10, 1, 1, KERNEL_ORDER_RGB, 1, colors);
    inverted.PutBytes(0, {0xA5, 0x40});
    MDicomDS ds(nullptr);
    ASSERT_EQ(ds.SetImage(nullptr, &inverted, kNone, 1, 0, 0, 0, nullptr, nullptr), 0);
    TestBitmap got;
    ASSERT_EQ(Get(ds, got), 0);
    EXPECT_EQ(RowsOf(got), (Bytes{0x5A, 0x80}));

    TestBitmap upsideDown(3, 2, 8, KERNEL_ORDER_RGB, 4);
    upsideDown.PutBytes(0, {1, 2, 3});
    upsideDown.PutBytes(1, {4, 5, 6});
    ASSERT_EQ(ds.SetImage(nullptr, &upsideDown, kNone, 1, 0, 0, 0, nullptr, nullptr), 0);
    ASSERT_EQ(Get(ds, got), 0);
    EXPECT_EQ(RowsOf(got), (Bytes{4, 5, 6, 1, 2, 3}));
}

int32_t AddOne(_BITMAPHANDLE *, uint8_t *row, uint32_t number, uint32_t, void *data) {
    auto &stopAt = *static_cast<uint32_t *>(data);
    if (number == stopAt) return -100;
    ++row[0];
    return 1;
}

TEST(RoundTrip, RowsMayBeChangedOrRefusedOnTheirWay) {
    MDicomDS ds(nullptr);
    TestBitmap bitmap(2, 2, 8, KERNEL_ORDER_RGB);
    uint32_t stopAt = 9;
    ASSERT_EQ(ds.InsertImage(nullptr, &bitmap, 0, kRleClass, 1, 0, 0, 0, AddOne, &stopAt), 0);
    TestBitmap got;
    ASSERT_EQ(Get(ds, got), 0);
    EXPECT_EQ(RowsOf(got), (Bytes{1, 0, 1, 0}));
    stopAt = 1;
    EXPECT_EQ(ds.InsertImage(nullptr, &bitmap, 0, kRleClass, 1, 0, 0, 0, AddOne, &stopAt),
              static_cast<uint16_t>(-100));
    constexpr auto kStop = [](_BITMAPHANDLE *, uint8_t *, uint32_t, uint32_t, void *) { return 0; };
    EXPECT_EQ(ds.InsertImage(nullptr, &bitmap, 0, kRleClass, 1, 0, 0, 0, kStop, nullptr),
              DICOM_ERROR_FAILURE);
    EXPECT_EQ(ds.GetCountImage(nullptr), 1u);
}

TEST(RoundTrip, IntactPixelsKeepTheirDescription) {
    Image image(2, 2, 16);
    image.Syntax(kExplicit);
    image.Set(0x00280002, {1});
    image.Set(0x00280103, {0});
    image.Set(0x00280101, {12});
    image.Set(0x00280102, {11});
    PutValue(image, ToBytes({1, 2, 3, 4}));
    image.ds.m_nFlags |= DS_KEEP_PIXEL_DATA_INTACT;
    const auto bitmap = MakeBitmap(2, 2, {16, 16});
    ASSERT_EQ(image.ds.SetImage(nullptr, bitmap.get(), kNone, 1, 0, 0, 0, nullptr, nullptr), 0);
    EXPECT_EQ(image.Info().nBitsAllocated, 16u);
    EXPECT_EQ(image.ds.FindFirstElement(nullptr, 0x00280008, 1), nullptr);
}

TEST(RoundTrip, BadArgumentsHaveAStatusAndNoEffect) {
    const auto gray = MakeBitmap(4, 4, {8, 8});
    const auto bilevel = MakeBitmap(4, 4, {1, 1});
    TestBitmap deep(4, 4, 32);
    constexpr uint32_t kVoi = DICOM_SETIMAGE_VOI_PER_FRAME | DICOM_SETIMAGE_VOI_SHARED;
    constexpr uint32_t kModality =
        DICOM_SETIMAGE_MODALITY_PER_FRAME | DICOM_SETIMAGE_MODALITY_SHARED;
    struct {
        _BITMAPHANDLE *bitmap;
        uint32_t compression;
        int32_t photometric;
        uint32_t flags;
        uint16_t status;
    } const kBad[] = {
        {nullptr, kNone, 1, 0, DICOM_ERROR_NULL_POINTER},
        {gray.get(), kNone, 1, kVoi, DICOM_ERROR_PARAMETER},
        {gray.get(), kNone, 1, kModality, DICOM_ERROR_PARAMETER},
        {gray.get(), kNone, 4, 0, DICOM_ERROR_PARAMETER},
        {gray.get(), kNone, -1, 0, DICOM_ERROR_PARAMETER},
        {gray.get(), 4, 1, 0, DICOM_ERROR_COMPRESSION},
        {gray.get(), 99, 1, 0, DICOM_ERROR_COMPRESSION},
        {gray.get(), kJpegLossy, PHOTOMETRIC_PALETTE_COLOR, 0, DICOM_ERROR_PHOTOMETRIC},
        {bilevel.get(), kJpegLossless, 1, 0, DICOM_ERROR_COMPRESSION},
        {&deep, kRleClass, 1, 0, DICOM_ERROR_COMPRESSION},
    };
    MDicomDS full(nullptr);
    ASSERT_EQ(full.SetImage(nullptr, gray.get(), kNone, 1, 0, 0, 0, nullptr, nullptr), 0);
    for (const auto &[bitmap, compression, photometric, flags, status] : kBad) {
        SCOPED_TRACE(compression * 100 + status);
        MDicomDS ds(nullptr);
        EXPECT_EQ(ds.InsertImage(nullptr, bitmap, 0, compression, photometric, 0, 0, flags, nullptr,
                                 nullptr),
                  status);
        EXPECT_EQ(ds.FindFirstElement(nullptr, TAG_PIXEL_DATA, 0), nullptr);
        EXPECT_EQ(
            full.SetImage(nullptr, bitmap, compression, photometric, 0, 0, flags, nullptr, nullptr),
            status);
        EXPECT_EQ(full.GetCountImage(nullptr), 1u);
    }
    _DICOMELEMENT *other = full.FindFirstElement(nullptr, 0x00280010, 1);
    EXPECT_EQ(full.InsertImage(other, gray.get(), 0, kNone, 1, 0, 0, 0, nullptr, nullptr),
              DICOM_ERROR_PARAMETER);
    TestBitmap got;
    EXPECT_EQ(Get(full, got, 0, 0, 0, other), DICOM_ERROR_IMAGE);
    EXPECT_EQ(full.GetImage(nullptr, nullptr, 272, 0, 0, 0, 0, nullptr, nullptr),
              DICOM_ERROR_PARAMETER);
    EXPECT_EQ(full.GetImage(nullptr, &got, 8, 0, 0, 0, 0, nullptr, nullptr), DICOM_ERROR_PARAMETER);
    EXPECT_EQ(full.SetImage(nullptr, nullptr, kNone, 1, 0, 0, 0, nullptr, nullptr),
              DICOM_ERROR_NULL_POINTER);
    TestBitmap rowless;
    EXPECT_EQ(full.SetImage(nullptr, &rowless, kNone, 1, 0, 0, 0, nullptr, nullptr),
              DICOM_ERROR_BITMAP);
    EXPECT_EQ(full.GetCountImage(nullptr), 1u);
}

/** All elements that are no part of the icon. */
std::vector<std::pair<std::string, Bytes>> ImageElements(MDicomDS &ds) {
    std::vector<std::pair<std::string, Bytes>> all;
    for (_DICOMELEMENT *each = ds.GetFirstElement(nullptr, 0, 1); each != nullptr;
         each = ds.GetNextElement(each, 0, 1)) {
        if (each->nTag == 0x00020010 || ds.GetRootElement(each)->nTag == 0x00880200) continue;
        all.emplace_back(support::Describe(each), support::ValueOf(ds, each));
    }
    return all;
}

TEST(RoundTrip, FramesOfAnIconLeaveTheImage) {
    const struct {
        Kind kind;
        int32_t photometric;
    } kIcons[] = {{{8, 8}, 1},
                  {{1, 1}, 1},
                  {{24, 8}, PHOTOMETRIC_RGB},
                  {{8, 8, false, true}, PHOTOMETRIC_PALETTE_COLOR},
                  {{16, 12}, 1}};
    for (const auto &[kind, photometric] : kIcons) {
        SCOPED_TRACE(kind.depth);
        MDicomDS ds(nullptr);
        support::MakeImage(ds, {"", "MONOCHROME2", 1, 16, 12, 11, 0, 0, 2});
        tagDICOMWINDOWATTRIBS window{};
        window.nStructSize = sizeof window;
        for (const uint32_t frame : {0, 1}) {
            ds.SetWindow(frame, 0, &window, DICOM_SETIMAGE_VOI_PER_FRAME);
        }
        for (const uint32_t tag : {0x00281052, 0x00281053, 0x60000010}) {
            support::SetNumber(ds, tag, 7);
        }
        _DICOMELEMENT *icons = ds.InsertElement(nullptr, 0, 0x00880200, 0, 1, 0);
        _DICOMELEMENT *item = ds.InsertElement(icons, 1, TAG_ITEM, 0, 1, 0);
        _DICOMELEMENT *pixels = ds.InsertElement(item, 1, TAG_PIXEL_DATA, 0x4F57, 0, 0);
        const auto before = ImageElements(ds);
        const auto icon = MakeBitmap(4, 4, kind);
        if (kind.depth == 16) icon->UseLut16({1, 2, 3, 500});
        const auto insert = [&] {
            return ds.InsertImage(pixels, icon.get(), 0, kNone, photometric, 0, 0,
                                  DICOM_SETIMAGE_AUTO_VOI_LUT, nullptr, nullptr);
        };
        EXPECT_EQ(ds.SetImage(pixels, icon.get(), kNone, photometric, 0, 0,
                              DICOM_SETIMAGE_AUTO_VOI_LUT, nullptr, nullptr),
                  0);
        EXPECT_EQ(insert(), 0);
        EXPECT_EQ(ds.DeleteImage(pixels, 0, 1), 0);
        ds.m_nFlags |= DS_KEEP_PIXEL_DATA_INTACT;
        EXPECT_EQ(insert(), 0);
        TestBitmap got;
        ASSERT_EQ(Get(ds, got, 0, 0, 0, pixels), 0);
        EXPECT_EQ(RowsOf(got), RowsOf(*icon));
        EXPECT_EQ(ImageElements(ds), before);
    }
}

TEST(RoundTrip, AFailureLeavesFramesAndAttributes) {
    for (const uint32_t compression : {kNone, kRleClass}) {
        MDicomDS ds(nullptr);
        const auto old = MakeBitmap(4, 4, {16, 12});
        const auto other = MakeBitmap(2, 2, {8, 8});
        ASSERT_EQ(ds.SetImage(nullptr, old.get(), compression, 0, 0, 0, 0, nullptr, nullptr), 0);
        uint32_t stopAt = 1;
        EXPECT_NE(ds.SetImage(nullptr, other.get(), kJpegLossless, 1, 0, 0,
                              DICOM_SETIMAGE_AUTO_VOI_LUT, AddOne, &stopAt),
                  0);
        TestBitmap got;
        ASSERT_EQ(Get(ds, got), 0);
        EXPECT_EQ(RowsOf(got), RowsOf(*old));
        _DICOMIMAGE image;
        _DICOMELEMENT *pixels = ds.FindFirstElement(nullptr, TAG_PIXEL_DATA, 1);
        ASSERT_EQ(ds.GetInfoImage(pixels, &image, 0), 0);
        EXPECT_EQ(image.nPhotometric, 0u);
        EXPECT_EQ(image.nBitsStored, 12u);
        EXPECT_EQ(image.nCompression, compression);
        EXPECT_EQ(ds.FindFirstElement(nullptr, 0x00281050, 1), nullptr);
        EXPECT_EQ(ds.FindLastElement(nullptr, TAG_PIXEL_DATA, 0), pixels);
    }
}

TEST(RoundTrip, FramesThatWouldNotBeLikeTheFirstAreRefused) {
    struct {
        Kind kind;
        uint32_t compression;
        uint32_t tag; ///< that is set to another value behind the first frame
        const char *text;
        uint32_t number;
        uint32_t flags;
        uint16_t status;
    } const kImages[] = {
        {{24, 8}, kRleClass, 0x00280004, "YBR_FULL", 0, 0, DICOM_ERROR_PHOTOMETRIC},
        {{24, 8}, kNone, 0x00280004, "YBR_FULL", 0, 0, DICOM_ERROR_PHOTOMETRIC},
        {{24, 8}, kJpegLossy, 0, nullptr, 0, DICOM_SETIMAGE_CODEC_FLAG, DICOM_ERROR_PHOTOMETRIC},
        {{24, 8}, kJpegLossy, 0, nullptr, 0, 0, 0},
        {{24, 8}, kRleClass, 0x00280100, nullptr, 16, 0, DICOM_ERROR_BITMAP},
        {{24, 8}, kJpegLossless, 0x00280100, nullptr, 16, 0, DICOM_ERROR_BITMAP},
        {{16, 12}, kRleClass, 0x00280100, nullptr, 12, 0, 0},
    };
    for (const auto &row : kImages) {
        SCOPED_TRACE(&row - kImages);
        MDicomDS ds(nullptr);
        const auto bitmap = MakeBitmap(5, 4, row.kind);
        const auto put = [&](uint32_t flags) {
            return ds.InsertImage(nullptr, bitmap.get(), 9, row.compression,
                                  row.kind.depth == 24 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MONOCHROME2,
                                  0, 2, flags, nullptr, nullptr);
        };
        ASSERT_EQ(put(0), 0);
        if (row.text != nullptr) {
            ds.FindSetValue(nullptr, row.tag, row.text, 8, VALUE_ARRAY_BYTE);
        } else if (row.tag != 0) {
            ds.FindSetValue(nullptr, row.tag, &row.number, 1, VALUE_ARRAY_DWORD);
        }
        TestBitmap first;
        TestBitmap later;
        ASSERT_EQ(Get(ds, first), 0);
        EXPECT_EQ(put(row.flags), row.status);
        EXPECT_EQ(ds.GetCountImage(nullptr), row.status == 0 ? 2u : 1u);
        ASSERT_EQ(Get(ds, later, row.status == 0 ? 1 : 0), 0);
        EXPECT_EQ(RowsOf(later), RowsOf(first));
    }
}

TEST(RoundTrip, ATableWithoutFramesGivesWayToAValue) {
    MDicomDS ds(nullptr);
    const auto bitmap = MakeBitmap(4, 4, {8, 8});
    _DICOMELEMENT *pixels = ds.InsertElement(nullptr, 0, TAG_PIXEL_DATA, 0, 1, 0);
    ASSERT_NE(ds.InsertElement(pixels, 1, TAG_ITEM, 0, 0, 0), nullptr);
    ASSERT_EQ(ds.InsertImage(pixels, bitmap.get(), 0, kNone, 1, 0, 0, 0, nullptr, nullptr), 0);
    EXPECT_EQ(pixels->Link.pFirstChild, nullptr);
    EXPECT_EQ(pixels->nLength, 16u);
}

} // namespace
