// What a bitmap makes of the description of an image.

#include <gtest/gtest.h>

#include <tuple>

#include "Access.h"
#include "kernel/Bitmap.h"
#include "support/TestFiles.h"

namespace {

using mdicom::DataSetAccess;

struct Case {
    const char *name;
    int depth, low, high;
    bool isSigned;
    int least, greatest; ///< as the bitmap knows them
    int photometric;
    const char *text;
    uint32_t samples, allocated, stored, highBit, representation, gray;
    int smallest, largest; ///< as written; both 1 for none
    double center, width;  ///< width 0 for no window
};

const Case kCases[] = {
    {"8", 8, 0, 7, false, 0, 0, 1, "MONOCHROME2", 1, 8, 8, 7, 0, 1, 0, 255, 127, 255},
    {"8 inverted", 8, 0, 7, false, 0, 0, 0, "MONOCHROME1", 1, 8, 8, 7, 0, 1, 0, 255, 127, 255},
    {"12", 12, 0, 11, false, 0, 0, 1, "MONOCHROME2", 1, 12, 12, 11, 0, 1, 0, 4095, 2047, 4095},
    {"16", 16, 0, 15, false, 0, 0, 1, "MONOCHROME2", 1, 16, 16, 15, 0, 1, 0, 65535, 32767, 65535},
    {"range", 16, 2, 11, false, 7, 90, 1, "MONOCHROME2", 1, 16, 10, 11, 0, 1, 7, 90, 48, 83},
    {"one value", 16, 0, 15, false, 7, 7, 1, "MONOCHROME2", 1, 16, 16, 15, 0, 1, 7, 7, 7, 1},
    {"signed", 16, 0, 11, true, 0, 0, 1, "MONOCHROME2", 1, 16, 12, 11, 1, 1, -2048, 2047, 0, 4095},
    {"signed range", 16, 0, 15, true, -100, 0, 1, "MONOCHROME2", 1, 16, 16, 15, 1, 1, -100, 0, -50,
     100},
    {"no high bit", 16, -3, -1, false, 0, 9, 7, "YBR_FULL", 1, 16, 16, 15, 0, 1, 0, 9, 4, 9},
    {"32", 32, 0, 31, true, 0, 0, 1, "MONOCHROME2", 1, 32, 32, 31, 0, 1, 1, 1, 0, 0},
    {"palette", 8, 0, 7, false, 0, 0, 2, "PALETTE COLOR", 1, 8, 8, 7, 0, 0, 1, 1, 0, 0},
    {"colour", 24, 0, 7, false, 0, 0, 3, "RGB", 3, 8, 8, 7, 0, 0, 0, 255, 127, 255},
    {"one bit", 1, 0, 0, false, 0, 0, 1, "MONOCHROME2", 1, 1, 1, 0, 0, 0, 1, 1, 0, 0},
};

/** A bitmap of 5 x 3 pixels. */
void Make(TestBitmap &bitmap, const Case &each) {
    const int order = each.depth == 24 || each.depth == 1 ? KERNEL_ORDER_BGR : KERNEL_ORDER_GRAY;
    KernelCreateBitmap(&bitmap, sizeof(_BITMAPHANDLE), 1, 5, 3, each.depth, order, nullptr, 1,
                       nullptr, 0);
    bitmap.SetBits(each.low, each.high, each.isSigned);
    bitmap.nMinVal = each.least;
    bitmap.nMaxVal = each.greatest;
}

/** Attributes of an image that another one takes the place of. */
void PutOldAttributes(Image &image, const Case &each) {
    image.Set(0x00280006, {1});
    for (const uint32_t tag : {0x00280106u, 0x00280107u}) {
        const char *vr = each.isSigned ? "US" : "SS";
        image.ds.InsertElement(nullptr, 0, tag, static_cast<uint16_t>(vr[0] << 8 | vr[1]), 0, 0);
        image.Set(tag, {5});
    }
    for (const uint32_t tag : {0x00281050u, 0x00281051u, 0x00281052u, 0x00281053u}) {
        image.Set(tag, {5});
    }
    for (uint32_t i = 0; i < 3; ++i) {
        image.Set(0x00281101 + i, {2, 0, 16});
        image.Set(0x00281201 + i, {1, 2});
        image.Set(0x00281221 + i, {0, 1, 2});
    }
}

double NumberOf(MDicomDS &ds, uint32_t tag) {
    double number = -77777;
    ds.FindGetValue(nullptr, tag, &number, 0, 1, VALUE_ARRAY_DOUBLE);
    return number;
}

bool Has(MDicomDS &ds, uint32_t tag) {
    return ds.FindFirstElement(nullptr, tag, 0) != nullptr;
}

/** What a description that is read from attributes has in common with the one that wrote them. */
auto Fields(const _IMAGEINFO &info) {
    const bool deep = info.nBitsPerPixel == 32; // its extremes are not written
    return std::tuple(std::wstring(info.szPhotometricInterpretation), +info.nPhotometric,
                      +info.nRows, +info.nColumns, +info.nSamplesPerPixel, +info.nBitsAllocated,
                      +info.nBitsStored, +info.nHighBit, +info.nPixelRepresentation,
                      +info.nBitsPerPixel, +info.bGray, +info.nMaxEntries, +info.nBlueBits,
                      deep ? 0 : +info.bSmallestPixelValue, deep ? 0 : +info.nSmallestPixelValue,
                      deep ? 0 : +info.bLargestPixelValue, deep ? 0 : +info.nLargestPixelValue);
}

TEST(SetImageInfo, AttributesSayWhatTheBitmapIs) {
    for (const Case &each : kCases) {
        Image image;
        PutOldAttributes(image, each);
        TestBitmap bitmap;
        Make(bitmap, each);
        _IMAGEINFO record;
        ASSERT_EQ(
            DataSetAccess::Set(image.ds, nullptr, &record, &bitmap, each.photometric, true, 0), 0)
            << each.name;
        EXPECT_EQ(record.nSamplesPerPixel, each.samples) << each.name;
        EXPECT_EQ(record.nBitsAllocated, each.allocated) << each.name;
        EXPECT_EQ(record.nBitsStored, each.stored) << each.name;
        EXPECT_EQ(record.nHighBit, each.highBit) << each.name;
        EXPECT_EQ(record.nPixelRepresentation, each.representation) << each.name;
        EXPECT_EQ(record.bGray, each.gray) << each.name;
        EXPECT_EQ(Has(image.ds, 0x00280006), each.samples == 3) << each.name;
        const bool hasWindow = each.width != 0;
        EXPECT_EQ(Has(image.ds, 0x00280106), hasWindow || each.depth == 32) << each.name;
        if (hasWindow) {
            const uint16_t vr = image.ds.FindFirstElement(nullptr, 0x00280107, 1)->nVR;
            EXPECT_EQ(vr, each.isSigned ? 'S' << 8 | 'S' : 'U' << 8 | 'S') << each.name;
            EXPECT_EQ(NumberOf(image.ds, 0x00280106), each.smallest) << each.name;
            EXPECT_EQ(NumberOf(image.ds, 0x00280107), each.largest) << each.name;
            EXPECT_EQ(NumberOf(image.ds, 0x00281050), each.center) << each.name;
            EXPECT_EQ(NumberOf(image.ds, 0x00281051), each.width) << each.name;
        }
        EXPECT_EQ(Has(image.ds, 0x00281201), each.photometric == 2) << each.name;
        EXPECT_FALSE(Has(image.ds, 0x00281222)) << each.name;
        support::TemporaryFolder folder;
        image.Native(record.nFrameSize);
        ASSERT_EQ(image.ds.SaveDS(folder.WideFile("a").c_str(), DS_LITTLE_ENDIAN | DS_EXPLICIT_VR),
                  0);
        Image loaded;
        ASSERT_EQ(loaded.ds.LoadDS(folder.WideFile("a").c_str(), 0), 0) << each.name;
        loaded.pixels = loaded.ds.FindFirstElement(nullptr, TAG_PIXEL_DATA, 1);
        _IMAGEINFO read;
        ASSERT_EQ(DataSetAccess::Describe(loaded, &read, 0, 0), 0) << each.name;
        EXPECT_TRUE(Fields(record) == Fields(read)) << each.name;
        EXPECT_TRUE(record.nFrameSize == read.nFrameSize || record.nBitsPerPixel == 1) << each.name;
    }
}

TEST(SetImageInfo, PaletteHasTheColoursOfTheBitmapIn16Bits) {
    std::vector<_RGBQUAD> colors(256);
    for (size_t i = 0; i < 256; ++i) {
        colors[i] = {static_cast<uint8_t>(255 - i), 7, static_cast<uint8_t>(i), 0};
    }
    TestBitmap bitmap(5, 3, 8, KERNEL_ORDER_BGR, 1, colors.data());
    Image image;
    _IMAGEINFO info;
    ASSERT_EQ(DataSetAccess::Set(image.ds, nullptr, &info, &bitmap, 2, true, 0), 0);
    image.Native(16);
    ASSERT_EQ(DataSetAccess::Describe(image, &info, 0, 1), 0);
    EXPECT_EQ(info.pRedTable[3], 3 * 257);
    EXPECT_EQ(info.pGreenTable[255], 7 * 257);
    EXPECT_EQ(info.pBlueTable[0], 65535);
    DataSetAccess::Free(image, &info);
}

TEST(SetImageInfo, LutElementsStayWhenTheyAreNotWanted) {
    Image image;
    PutOldAttributes(image, kCases[3]);
    TestBitmap bitmap(5, 3, 16);
    _IMAGEINFO info;
    ASSERT_EQ(DataSetAccess::Set(image.ds, nullptr, &info, &bitmap, 1, true,
                                 DICOM_SETIMAGE_NO_LUT_ELEMENTS),
              0);
    EXPECT_EQ(NumberOf(image.ds, 0x00280010), 3);
    EXPECT_EQ(NumberOf(image.ds, 0x00280106), 5);
    EXPECT_EQ(NumberOf(image.ds, 0x00281052), 5);
    image.Set(0x00280010, {77});
    ASSERT_EQ(DataSetAccess::Set(image.ds, nullptr, &info, &bitmap, 1, false, 0), 0);
    EXPECT_EQ(NumberOf(image.ds, 0x00280010), 77) << "only the record was wanted";
}

TEST(SetImageInfo, WhatHoldsForAllFramesChangesOnlyWhereThatIsAllowed) {
    Image image;
    const double old = 5;
    _DICOMELEMENT *shared = nullptr;
    for (const uint32_t tag : {0x52009229u, TAG_ITEM}) {
        shared = image.ds.InsertElement(shared, shared != nullptr, tag, 0, tag == TAG_ITEM, 0);
    }
    for (const auto &[macro, tag] :
         {std::pair{0x00289132u, 0x00281050u}, {0x00289145u, 0x00281052u}}) {
        _DICOMELEMENT *sequence = image.ds.InsertElement(shared, 1, macro, 0, 0, 0);
        _DICOMELEMENT *item = image.ds.InsertElement(sequence, 1, TAG_ITEM, 0, 1, 0);
        _DICOMELEMENT *element = image.ds.InsertElement(item, 1, tag, 0, 0, 0);
        ASSERT_NE(image.ds.FindSetValue(element, tag, &old, 1, VALUE_ARRAY_DOUBLE), nullptr);
    }
    TestBitmap bitmap(5, 3, 8);
    _IMAGEINFO info;
    for (const uint32_t flags : {0u, uint32_t{DICOM_SETIMAGE_UPDATE_SHARED}}) {
        ASSERT_EQ(DataSetAccess::Set(image.ds, nullptr, &info, &bitmap, 1, true, flags), 0);
        EXPECT_EQ(NumberOf(image.ds, 0x00281050), flags == 0 ? 5 : 127);
        EXPECT_EQ(Has(image.ds, 0x00281052), flags == 0);
        EXPECT_EQ(image.ds.FindFirstElement(nullptr, 0x00281050, 1), nullptr);
    }
}

TEST(SetImageInfo, BadArgumentsHaveAStatus) {
    Image image;
    _IMAGEINFO info;
    TestBitmap bitmap(5, 3, 16), none, wide(70000, 1, 8);
    const auto set = [&](_IMAGEINFO *record, _BITMAPHANDLE *source, int photometric,
                         uint32_t flags) {
        return DataSetAccess::Set(image.ds, nullptr, record, source, photometric, true, flags);
    };
    EXPECT_EQ(set(nullptr, &bitmap, 1, 0), DICOM_ERROR_PARAMETER);
    EXPECT_EQ(set(&info, nullptr, 1, 0), DICOM_ERROR_PARAMETER);
    EXPECT_EQ(set(&info, &none, 1, 0), DICOM_ERROR_PARAMETER);
    EXPECT_EQ(set(&info, &wide, 1, 0), DICOM_ERROR_PARAMETER);
    for (const int photometric : {-1, 10}) {
        EXPECT_EQ(set(&info, &bitmap, photometric, 0), DICOM_ERROR_PARAMETER);
    }
    for (const uint32_t flags : {16u | 32u, 64u | 128u, 0xFFu}) {
        EXPECT_EQ(set(&info, &bitmap, 1, flags), DICOM_ERROR_PARAMETER);
    }
    bitmap.SetBits(5, 4, false);
    EXPECT_EQ(set(&info, &bitmap, 1, 0), DICOM_ERROR_PARAMETER);
    bitmap.SetBits(0, 16, false);
    EXPECT_EQ(set(&info, &bitmap, 1, 0), DICOM_ERROR_PARAMETER);
}

TEST(SetImageInfo, SingleBitCapturesNumberTheirPages) {
    for (const bool isSingleBit : {true, false}) {
        Image image;
        image.Text(0x00080016,
                   std::string("1.2.840.10008.5.1.4.1.1.7.") + (isSingleBit ? "1" : "2"));
        image.Set(0x00182001, {9, 9});
        _IMAGEINFO info{};
        info.nFrameCount = 3;
        ASSERT_EQ(DataSetAccess::AddSpecific(image.ds, &info), 0);
        uint32_t pages[4] = {};
        EXPECT_EQ(image.ds.FindGetValue(nullptr, 0x00182001, pages, 0, 4, VALUE_ARRAY_DWORD),
                  isSingleBit ? 3u : 2u);
        EXPECT_EQ(pages[1], isSingleBit ? 2u : 9u);
        EXPECT_EQ(NumberOf(image.ds, 0x00280009), isSingleBit ? 0x00182001 : -77777);
    }
}

} // namespace
