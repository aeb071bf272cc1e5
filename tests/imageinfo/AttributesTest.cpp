// What the attributes of an image make of its description.

#include <gtest/gtest.h>

#include "Image.h"

namespace {

TEST(ImageAttributes, PhotometricInterpretationAndBitsMakeTheDepth) {
    const struct {
        const char *photometric;
        uint32_t allocated, samples, number, depth, gray;
    } cases[] = {
        {"MONOCHROME1", 8, 1, PHOTOMETRIC_MONOCHROME1, 8, 1},
        {"MONOCHROME2", 12, 1, PHOTOMETRIC_MONOCHROME2, 12, 1},
        {"MONOCHROME2", 32, 1, PHOTOMETRIC_MONOCHROME2, 32, 1},
        {"MONOCHROME2", 1, 1, PHOTOMETRIC_MONOCHROME2, 1, 0},
        {"PALETTE COLOR ", 12, 1, PHOTOMETRIC_PALETTE_COLOR, 8, 0},
        {"RGB ", 8, 3, PHOTOMETRIC_RGB, 24, 0},
        {"ARGB", 8, 4, PHOTOMETRIC_ARGB, 24, 0},
        {"CMYK", 8, 4, PHOTOMETRIC_CMYK, 24, 0},
        {"YBR_FULL_422", 8, 3, PHOTOMETRIC_YBR_FULL_422, 24, 0},
        {"YBR_FULL", 16, 1, PHOTOMETRIC_YBR_FULL, 16, 1},
        {"YBR_RCT ", 8, 3, PHOTOMETRIC_YBR_RCT, 24, 0},
        {"YBR_ICT ", 8, 1, PHOTOMETRIC_YBR_ICT, 8, 1},
    };
    for (const auto &each : cases) {
        Image image(4, 4, each.allocated);
        image.Set(0x00280002, {each.samples});
        image.Photometric(each.photometric);
        image.Native(64);
        _DICOMIMAGE info{};
        EXPECT_EQ(image.Describe(&info), 0) << each.photometric;
        EXPECT_EQ(info.nPhotometric, each.number) << each.photometric;
        EXPECT_EQ(info.nBitsPerPixel, each.depth) << each.photometric;
        EXPECT_EQ(info.bGray, each.gray) << each.photometric;
    }
    Image image(4, 4, 8);
    image.ds.DeleteElement(image.ds.FindFirstElement(nullptr, 0x00280004, 1));
    image.Native(16);
    EXPECT_EQ(image.Info().nPhotometric, 0u);
    EXPECT_EQ(image.Info().nBitsPerPixel, 8u);
    EXPECT_EQ(image.Info().bGray, 1u);
}

TEST(ImageAttributes, WhatCannotBeDescribedHasAStatus) {
    Image image;
    EXPECT_EQ(image.Status(), DICOM_ERROR_IMAGE) << "no Pixel Data";
    image.Native(40);
    EXPECT_EQ(image.Status(), 0);
    EXPECT_EQ(image.Status(1), DICOM_ERROR_IMAGE) << "no such frame";
    EXPECT_EQ(image.ds.GetInfoImage(image.pixels, static_cast<_DICOMIMAGE *>(nullptr), 0),
              DICOM_ERROR_PARAMETER);
    _DICOMIMAGE info;
    _DICOMELEMENT *rows = image.ds.FindFirstElement(nullptr, 0x00280010, 1);
    EXPECT_EQ(image.ds.GetInfoImage(rows, &info, 0), DICOM_ERROR_IMAGE);
    image.Photometric("HSV");
    EXPECT_EQ(image.Status(), DICOM_ERROR_PHOTOMETRIC);
    image.Photometric("MONOCHROME2");
    image.Set(0x00280100, {24});
    EXPECT_EQ(image.Status(), DICOM_ERROR_IMAGE);
    image.Set(0x00280010, {65535});
    image.Set(0x00280011, {65535});
    image.Set(0x00280100, {16});
    EXPECT_EQ(image.Status(), DICOM_ERROR_IMAGE_ATTRIBUTE) << "more than 32 bits hold";
    image.Set(0x00280100, {8});
    EXPECT_EQ(image.Status(), 0) << "one short frame";
    image.Set(0x00280002, {65535});
    EXPECT_EQ(image.Status(), DICOM_ERROR_IMAGE_ATTRIBUTE);
    image.ds.DeleteElement(rows);
    EXPECT_EQ(image.Status(), DICOM_ERROR_IMAGE_ATTRIBUTE);
    EXPECT_EQ(image.ds.GetCountImage(image.pixels), 0u);
}

TEST(ImageAttributes, PaletteAndExtremesAreRead) {
    Image image(4, 4, 16);
    image.Photometric("PALETTE COLOR");
    image.Set(0x00280103, {1});
    image.Set(0x00281101, {0, 16, 8});
    image.Set(0x00281102, {200, 4, 16});
    image.Set(0x00280104, {0xFFFE});
    image.Set(0x00280107, {70});
    image.Native(32);
    const _DICOMIMAGE info = image.Info();
    EXPECT_EQ(info.nRedEntries, 65536u);
    EXPECT_EQ(info.nRedFirstValue, 16u);
    EXPECT_EQ(info.nGreenBits, 16u);
    EXPECT_EQ(info.nBlueEntries, 0u);
    EXPECT_EQ(info.nMaxEntries, 65536u);
    EXPECT_EQ(info.nMinFirstValue, 0u);
    EXPECT_EQ(info.nBitsPerPixel, 24u);
    EXPECT_EQ(static_cast<int32_t>(info.nSmallestPixelValue), -2);
    EXPECT_EQ(info.nLargestPixelValue, 70u);
    EXPECT_EQ(info.bSmallestPixelValue + info.bLargestPixelValue, 2u);
    EXPECT_EQ(info.nPixelRepresentation, 1u);
}

TEST(ImageAttributes, ResolutionComesFromTheFirstSpacing) {
    Image image;
    image.Native(40);
    image.Text(0x00182010, "1\\1 ");
    EXPECT_EQ(image.Info().nXResolution, 25u);
    image.Text(0x00280030, "0.5\\0.25");
    EXPECT_EQ(image.Info().nYResolution, 51u);
    EXPECT_EQ(image.Info().nXResolution, 102u);
    image.Text(0x00280030, "1e-300\\-1 ");
    EXPECT_EQ(image.Info().nYResolution, 0xFFFFFFFFu);
    EXPECT_EQ(image.Info().nXResolution, 0u);
}

TEST(ImageAttributes, AnIconIsDescribedByItsOwnLevel) {
    Image image(100, 100, 16);
    _DICOMELEMENT *icons = image.ds.InsertElement(nullptr, 0, 0x00880200, 0, 1, 0);
    _DICOMELEMENT *item = image.ds.InsertElement(icons, 1, TAG_ITEM, 0, 1, 0);
    image.pixels = image.ds.InsertElement(item, 1, TAG_PIXEL_DATA, 'O' << 8 | 'W', 0, 0);
    for (const uint32_t tag : {0x00280010u, 0x00280011u, 0x00280100u}) {
        const uint32_t eight = 8;
        image.ds.FindSetValue(image.pixels, tag, &eight, 1, VALUE_ARRAY_DWORD);
    }
    std::vector<uint8_t> bytes(64);
    image.ds.SetBinaryValue(image.pixels, bytes.data(), 64);
    EXPECT_EQ(image.Info().nRows, 8u);
    EXPECT_EQ(image.Info().nBitsPerPixel, 8u);
    EXPECT_EQ(image.ds.GetCountImage(nullptr), 1u);
    EXPECT_EQ(image.ds.IsBadPixelData(nullptr, nullptr), 1) << "none on the top level";
}

} // namespace
