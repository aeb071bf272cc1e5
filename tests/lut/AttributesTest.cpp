// Modality and VOI LUTs, windows and palettes as attributes.

#include <gtest/gtest.h>

#include <cmath>

#include "Lut.h"
#include "support/Bitmaps.h"

namespace {

constexpr uint16_t kWrongSize = DICOM_ERROR_STRUCT_SIZE;
constexpr uint16_t kWrongSizeSet = DICOM_ERROR_STRUCT_SIZE_SET;

/** A table; those of different numbers differ. */
std::vector<uint16_t> Entries(uint32_t count, uint32_t bits = 16, uint32_t number = 0) {
    std::vector<uint16_t> entries;
    for (uint32_t i = 0; i < count; ++i) {
        entries.push_back(static_cast<uint16_t>((i * 5 + 3 + number) & MaskOf(bits)));
    }
    return entries;
}

TEST(ModalityLut, RescaleIsStoredAndReplacedByATable) {
    MDicomDS ds(nullptr);
    EXPECT_EQ(RescaleText(ds), "205");
    auto rescale = MakeRescale(2.5, -1024);
    ASSERT_EQ(M_DicomSetModalityLUT(&ds, 0, &rescale, nullptr, 0, 0), 0);
    EXPECT_EQ(RescaleText(ds), "2.5x-1024");
    EXPECT_EQ(StoredText(ds, 0x00281054), "HU");
    for (const uint32_t bits : {8u, 16u}) {
        for (const uint32_t count : {1u, 3u, 10000u, 40000u, 65536u}) {
            SCOPED_TRACE(count);
            auto entries = Entries(count, bits);
            const auto table = MakeTable(count, 0xFFFF, bits);
            ASSERT_EQ(M_DicomSetModalityLUT(&ds, 0, &table, entries.data(), count, 0), 0);
            tagDICOMMLUTATTRIBS read;
            ASSERT_EQ(M_DicomGetModalityLUTAttributes(&ds, 5, &read, sizeof read, 0), 0);
            EXPECT_EQ(read.bIsModalityLUT, 1u);
            EXPECT_EQ(read.LUTDescriptor.nStructSize, 16u);
            EXPECT_EQ(read.LUTDescriptor.nNumberOfEntries, count);
            EXPECT_EQ(read.LUTDescriptor.nFirstStoredPixelValueMapped, 0xFFFF);
            EXPECT_EQ(read.LUTDescriptor.nEntryBits, bits);
            EXPECT_EQ(read.fRescaleSlope, 1.0);
            EXPECT_STREQ(read.szLUTExplanation, L"curve");
            EXPECT_STREQ(read.szLUTType, L"OD");
            std::vector<uint16_t> back(count + 2, 77);
            ASSERT_EQ(M_DicomGetModalityLUTData(&ds, back.data(), count + 2, 0), 0);
            entries.resize(count + 2);
            ASSERT_EQ(back, entries);
            EXPECT_EQ(M_DicomGetModalityLUTData(&ds, back.data(), count - 1, 0),
                      DICOM_ERROR_PARAMETER);
        }
    }
    EXPECT_EQ(ds.FindFirstElement(nullptr, 0x00283006, 0)->nVR, 'O' << 8 | 'W');
    EXPECT_EQ(StoredText(ds, 0x00281052), "");
    ASSERT_EQ(M_DicomSetModalityLUT(&ds, 0, &rescale, nullptr, 0, 0), 0);
    EXPECT_EQ(StoredText(ds, 0x00283000), "");
    EXPECT_EQ(M_DicomDeleteModalityLUT(&ds, 0, 0), 0);
    EXPECT_EQ(ds.GetFirstElement(nullptr, 0, 1), nullptr);
}

TEST(ModalityLut, HalfARescaleIsNone) {
    MDicomDS ds(nullptr);
    Put(ds, 0x00281052, {-1024});
    EXPECT_EQ(RescaleText(ds), "1x+0");
}

TEST(ModalityLut, BadRecordsAreRefused) {
    MDicomDS ds(nullptr);
    auto entries = Entries(4);
    auto both = MakeTable(4, 0, 16);
    both.bIsRescaleSlopeIntercept = 1;
    auto odd = MakeTable(4, 0, 12);
    auto cut = MakeRescale(1, 0);
    cut.nStructSize -= 4;
    auto infinite = MakeRescale(HUGE_VAL, 0);
    const auto good = MakeTable(4, 0, 16);
    const auto negative = MakeTable(4, -1, 16);
    const auto set = [&](const tagDICOMMLUTATTRIBS *record, uint16_t *data, uint32_t count,
                         uint32_t flags) {
        return M_DicomSetModalityLUT(&ds, 0, record, data, count, flags);
    };
    EXPECT_EQ(set(nullptr, nullptr, 0, 0), DICOM_ERROR_NULL_POINTER);
    EXPECT_EQ(set(&cut, nullptr, 0, 0), kWrongSizeSet);
    EXPECT_EQ(set(&both, entries.data(), 4, 0), DICOM_ERROR_PARAMETER);
    EXPECT_EQ(set(&odd, entries.data(), 4, 0), DICOM_ERROR_PARAMETER);
    EXPECT_EQ(set(&infinite, nullptr, 0, 0), DICOM_ERROR_PARAMETER);
    EXPECT_EQ(set(&good, nullptr, 4, 0), DICOM_ERROR_PARAMETER);
    EXPECT_EQ(set(&good, entries.data(), 3, 0), DICOM_ERROR_PARAMETER);
    EXPECT_EQ(set(&good, entries.data(), 4, 0x30), DICOM_ERROR_PARAMETER);
    EXPECT_EQ(set(&negative, entries.data(), 4, 0), DICOM_ERROR_PARAMETER);
    EXPECT_EQ(M_DicomDeleteModalityLUT(&ds, 0, 0xC0), DICOM_ERROR_PARAMETER);
    EXPECT_EQ(ds.GetFirstElement(nullptr, 0, 1), nullptr) << "nothing was left";
    Put(ds, 0x00280103, {2});
    EXPECT_EQ(set(&good, entries.data(), 4, 0), DICOM_ERROR_PIXEL_REPRESENTATION);
    tagDICOMMLUTATTRIBS read;
    EXPECT_EQ(M_DicomGetModalityLUTAttributes(&ds, 0, &read, sizeof read - 1, 0), kWrongSize);
    EXPECT_EQ(M_DicomGetModalityLUTAttributes(&ds, 0, nullptr, sizeof read, 0),
              DICOM_ERROR_NULL_POINTER);
}

TEST(ModalityLut, DamagedSequencesHaveAStatus) {
    MDicomDS ds(nullptr);
    std::vector<uint16_t> data(65536);
    const auto read = [&] { return M_DicomGetModalityLUTData(&ds, data.data(), 65536, 0); };
    _DICOMELEMENT *sequence = ds.InsertElement(nullptr, 0, 0x00283000, 0, 1, 0);
    EXPECT_EQ(read(), DICOM_ERROR_FILE) << "no item";
    _DICOMELEMENT *item = ds.InsertElement(sequence, 1, TAG_ITEM, 0, 1, 0);
    EXPECT_EQ(read(), DICOM_ERROR_LUT_CONTENT) << "empty item";
    _DICOMELEMENT *descriptor = ds.InsertElement(item, 1, 0x00283002, 0, 0, 0);
    EXPECT_EQ(read(), DICOM_ERROR_LUT_CONTENT) << "empty descriptor";
    Put(ds, 0x00283002, {0, 5}, descriptor);
    EXPECT_EQ(read(), DICOM_ERROR_LUT_CONTENT) << "two words";
    Put(ds, 0x00283002, {0, 5, 16}, descriptor);
    EXPECT_EQ(read(), DICOM_ERROR_FILE) << "no table";
    PutBytes(ds, 0x00283006, {}, descriptor);
    EXPECT_EQ(read(), DICOM_ERROR_READ) << "empty table";
    PutBytes(ds, 0x00283006, {1, 2, 3, 4}, descriptor);
    EXPECT_EQ(read(), 0) << "fewer entries than announced";
    EXPECT_EQ(data[1], 0x0403);
    EXPECT_EQ(data[2], 0);
}

TEST(ModalityLut, EntriesOf8BitsAreReadPackedAndInWords) {
    MDicomDS ds(nullptr);
    auto entries = Entries(4);
    const auto table = MakeTable(4, 0, 8);
    ASSERT_EQ(M_DicomSetModalityLUT(&ds, 0, &table, entries.data(), 4, 0), 0);
    EXPECT_EQ(StoredText(ds, 0x00283006), "\3\10\15\22");
    _DICOMELEMENT *level = ds.FindFirstElement(nullptr, 0x00283006, 0);
    _DICOMELEMENT *neighbor = ds.GetPrevElement(level, 1, 1);
    std::vector<uint16_t> data(4);
    for (const std::vector<uint8_t> &bytes :
         {std::vector<uint8_t>{3, 8, 13, 18}, std::vector<uint8_t>{3, 0, 8, 0, 13, 0, 18, 0}}) {
        PutBytes(ds, 0x00283006, bytes, neighbor);
        ASSERT_EQ(M_DicomGetModalityLUTData(&ds, data.data(), 4, 0), 0);
        EXPECT_EQ(data, entries);
    }
}

TEST(VoiLut, ItemsAreSetReadAndDeleted) {
    MDicomDS ds(nullptr);
    uint32_t count = 9;
    EXPECT_EQ(M_DicomGetVOILUTCount(&ds, &count), 0);
    EXPECT_EQ(count, 0u);
    auto lut = Fresh<tagDICOMVOILUTATTRIBS>();
    std::wcscpy(lut.szLUTExplanation, L"lung");
    const uint32_t sizes[] = {4, 65536, 300, 5};
    const uint32_t places[] = {0, 7, 99, 0}; // the last replaces the first
    for (int i = 0; i < 4; ++i) {
        lut.LUTDescriptor = {0, sizes[i], 100 + i, i == 2 ? 8u : 12u};
        auto entries = Entries(sizes[i], lut.LUTDescriptor.nEntryBits);
        ASSERT_EQ(M_DicomSetVOILUT(&ds, places[i], &lut, entries.data(), sizes[i], 0), 0);
    }
    M_DicomGetVOILUTCount(&ds, &count);
    ASSERT_EQ(count, 3u);
    const uint32_t expected[] = {5, 65536, 300};
    for (uint32_t i = 0; i < 3; ++i) {
        tagDICOMVOILUTATTRIBS read;
        ASSERT_EQ(M_DicomGetVOILUT(&ds, i, &read, sizeof read, 0), 0);
        EXPECT_EQ(read.LUTDescriptor.nNumberOfEntries, expected[i]);
        EXPECT_STREQ(read.szLUTExplanation, L"lung");
        std::vector<uint16_t> data(expected[i]);
        ASSERT_EQ(M_DicomGetVOILUTData(&ds, i, data.data(), expected[i], 0), 0);
        EXPECT_EQ(data, Entries(expected[i], i == 2 ? 8 : 12));
        EXPECT_EQ(M_DicomGetVOILUTData(&ds, i, data.data(), expected[i] - 1, 0),
                  DICOM_ERROR_PARAMETER);
    }
    tagDICOMVOILUTATTRIBS read;
    uint16_t entry = 0;
    EXPECT_EQ(M_DicomGetVOILUT(&ds, 3, &read, sizeof read, 0), DICOM_ERROR_PARAMETER);
    EXPECT_EQ(M_DicomGetVOILUT(&ds, 0, &read, 152, 0), kWrongSize);
    EXPECT_EQ(M_DicomGetVOILUT(&ds, 0, nullptr, sizeof read, 0), DICOM_ERROR_PARAMETER);
    EXPECT_EQ(M_DicomGetVOILUTData(&ds, 3, &entry, 1, 0), DICOM_ERROR_PARAMETER);
    EXPECT_EQ(M_DicomSetVOILUT(&ds, 0, &lut, nullptr, 1, 0), DICOM_ERROR_PARAMETER);
    lut.LUTDescriptor.nFirstStoredPixelValueMapped = -5;
    EXPECT_EQ(M_DicomSetVOILUT(&ds, 9, &lut, &entry, 1, 0), DICOM_ERROR_PARAMETER);
    M_DicomGetVOILUTCount(&ds, &count);
    EXPECT_EQ(count, 3u) << "a failure leaves no item";
    lut.nStructSize = 0;
    EXPECT_EQ(M_DicomSetVOILUT(&ds, 0, &lut, &entry, 1, 0), kWrongSizeSet);
    EXPECT_EQ(M_DicomDeleteVOILUT(&ds, 0), 0);
    EXPECT_EQ(ds.GetFirstElement(nullptr, 0, 1), nullptr);
}

TEST(VoiLut, SignOfTheFirstValueFollowsTheModalityOutput) {
    struct Case {
        double representation;
        double stored;
        std::vector<double> rescale; ///< intercept and slope, or none
        int32_t first;
    };
    const Case cases[] = {
        {0, 12, {}, 65520},        {1, 12, {}, -16},          {0, 12, {-1024, 1}, -16},
        {0, 12, {-0.5, 1}, 65520}, {1, 12, {2048, 1}, 65520}, {1, 12, {2047, 1}, -16},
        {1, 0, {0, 1}, 65520},     {1, 4e9, {5, 1}, -16},     {0, 12, {5, -3}, 65520},
    };
    for (const Case &test : cases) {
        MDicomDS ds(nullptr);
        _DICOMELEMENT *sequence = ds.InsertElement(nullptr, 0, 0x00283010, 0, 1, 0);
        _DICOMELEMENT *item = ds.InsertElement(sequence, 1, TAG_ITEM, 0, 1, 0);
        _DICOMELEMENT *descriptor = ds.InsertElement(item, 1, 0x00283002, 0, 0, 0);
        Put(ds, 0x00283002, {256, 0xFFF0, 12}, descriptor);
        Put(ds, 0x00280103, {test.representation});
        Put(ds, 0x00280101, {test.stored});
        if (!test.rescale.empty()) {
            Put(ds, 0x00281052, {test.rescale[0]});
            Put(ds, 0x00281053, {test.rescale[1]});
        }
        tagDICOMVOILUTATTRIBS read;
        ASSERT_EQ(M_DicomGetVOILUT(&ds, 0, &read, sizeof read, 0), 0);
        EXPECT_EQ(read.LUTDescriptor.nFirstStoredPixelValueMapped, test.first)
            << test.representation << " " << test.stored;
    }
}

TEST(Window, WindowsAreReplacedAndAppended) {
    MDicomDS ds(nullptr);
    Put(ds, 0x00281050, {40, -600});
    Put(ds, 0x00281051, {400, 1500});
    const auto window = MakeWindow(12.5, 33,
                                   L"bone and a very long explanation that passes "
                                   L"the sixty-four characters of its room");
    ASSERT_EQ(M_DicomSetWindow(&ds, 0, 7, &window, 0), 0);
    uint32_t count = 0;
    M_DicomGetWindowCount(&ds, 0, &count);
    EXPECT_EQ(count, 3u);
    EXPECT_EQ(WindowText(ds, 0, 2), "12.5/33");
    EXPECT_EQ(WindowText(ds, 0, 1), "-600/1500");
    ASSERT_EQ(M_DicomSetWindow(&ds, 0, 0, &window, 0), 0);
    EXPECT_EQ(WindowText(ds, 0, 0), "12.5/33");
    EXPECT_EQ(WindowText(ds, 0, 3), "9");
    tagDICOMWINDOWATTRIBS read;
    M_DicomGetWindow(&ds, 0, 0, &read, sizeof read, 0);
    EXPECT_EQ(std::wcslen(read.szWindowCenterWidthExplanation), 64u);
    for (uint32_t i = 3; i < 30; ++i) ASSERT_EQ(M_DicomSetWindow(&ds, 0, 99, &window, 0), 0);
    EXPECT_EQ(M_DicomSetWindow(&ds, 0, 0, &window, 0), DICOM_ERROR_FILE);
    ASSERT_EQ(M_DicomDeleteWindow(&ds, 0, 0x30), 0);
    EXPECT_EQ(ds.GetFirstElement(nullptr, 0, 1), nullptr);
}

TEST(Window, BadArgumentsAreRefused) {
    MDicomDS ds(nullptr);
    auto window = MakeWindow(1, 2);
    tagDICOMWINDOWATTRIBS read;
    EXPECT_EQ(M_DicomGetWindow(&ds, 0, 0, nullptr, sizeof read, 0), DICOM_ERROR_PARAMETER);
    EXPECT_EQ(M_DicomGetWindow(&ds, 0, 0, &read, sizeof read + 4, 0), kWrongSize);
    EXPECT_EQ(M_DicomSetWindow(&ds, 0, 0, nullptr, 0), DICOM_ERROR_NULL_POINTER);
    EXPECT_EQ(M_DicomSetWindow(&ds, 0, 0, &window, 0x30), DICOM_ERROR_PARAMETER);
    EXPECT_EQ(M_DicomSetWindow(&ds, 0, 0, &window, 0xC0), DICOM_ERROR_PARAMETER);
    window.fWidth = NAN;
    EXPECT_EQ(M_DicomSetWindow(&ds, 0, 0, &window, 0), DICOM_ERROR_PARAMETER);
    window.nStructSize = 0;
    EXPECT_EQ(M_DicomSetWindow(&ds, 0, 0, &window, 0), kWrongSizeSet);
    Put(ds, 0x00281050, {1});
    EXPECT_EQ(WindowText(ds, 0), "209") << "no width";
}

TEST(Window, WritesStayOnTheirLevel) {
    MDicomDS ds(nullptr);
    _DICOMELEMENT *sequence = ds.InsertElement(nullptr, 0, 0x00281011, 'S' << 8 | 'Q', 1, 0);
    _DICOMELEMENT *item = ds.InsertElement(sequence, 1, TAG_ITEM, 0, 1, 0);
    _DICOMELEMENT *inner = ds.InsertElement(item, 1, 0x00281052, 0, 0, 0);
    Put(ds, 0x00281052, {5}, inner);
    Put(ds, 0x00281050, {6}, inner);
    const auto rescale = MakeRescale(2, 1);
    const auto window = MakeWindow(40, 400);
    ASSERT_EQ(M_DicomSetModalityLUT(&ds, 0, &rescale, nullptr, 0, 0), 0);
    ASSERT_EQ(M_DicomSetWindow(&ds, 0, 0, &window, 0), 0);
    EXPECT_EQ(RescaleText(ds), "2x+1");
    EXPECT_EQ(WindowText(ds, 0), "40/400");
    double number = 0;
    ds.FindGetValue(inner, 0x00281052, &number, 0, 1, VALUE_ARRAY_DOUBLE);
    EXPECT_EQ(number, 5);
}

tagDICOMPALCOLORLUTATTRIBS MakePalette(uint32_t entries, uint32_t bits) {
    auto palette = Fresh<tagDICOMPALCOLORLUTATTRIBS>();
    palette.RedDescriptor = palette.GreenDescriptor =
        palette.BlueDescriptor = {0, entries, 0, bits};
    return palette;
}

TEST(Palette, TablesAreSetReadAndDeleted) {
    for (const uint32_t bits : {8u, 16u}) {
        for (const uint32_t count : {3u, 256u, 65536u}) {
            MDicomDS ds(nullptr);
            auto palette = MakePalette(count, bits);
            std::wcscpy(palette.szPaletteColorLUTUID, L"1.2.3");
            ASSERT_EQ(M_DicomSetPaletteColorLUTAttributes(&ds, &palette, 0), 0);
            tagDICOMPALCOLORLUTATTRIBS read;
            ASSERT_EQ(M_DicomGetPaletteColorLUTAttributes(&ds, &read, sizeof read, 0), 0);
            EXPECT_EQ(read.BlueDescriptor.nNumberOfEntries, count);
            EXPECT_STREQ(read.szPaletteColorLUTUID, L"1.2.3");
            EXPECT_EQ(read.bIsSegmented, 0u);
            std::vector<uint16_t> data(count);
            EXPECT_EQ(M_DicomGetPaletteColorLUTData(&ds, data.data(), count, 0, 0),
                      DICOM_ERROR_NO_PALETTE_DATA);
            for (uint32_t type = 0; type < 3; ++type) {
                auto entries = Entries(count + 10, bits, type);
                ASSERT_EQ(M_DicomSetPaletteColorLUTData(&ds, entries.data(), count + 10, type, 0),
                          0);
            }
            for (uint32_t type = 0; type < 3; ++type) {
                ASSERT_EQ(M_DicomGetPaletteColorLUTData(&ds, data.data(), count, type, 0), 0);
                ASSERT_EQ(data, Entries(count, bits, type));
            }
            EXPECT_EQ(M_DicomGetPaletteColorLUTData(&ds, data.data(), count - 1, 0, 0),
                      DICOM_ERROR_PARAMETER);
            EXPECT_EQ(M_DicomGetPaletteColorLUTData(&ds, data.data(), count, 3, 0),
                      DICOM_ERROR_PARAMETER);
            ASSERT_EQ(M_DicomDeletePaletteColorLUT(&ds, 0), 0);
            EXPECT_EQ(ds.GetFirstElement(nullptr, 0, 1), nullptr);
        }
    }
}

TEST(Palette, BadRecordsAreRefused) {
    MDicomDS ds(nullptr);
    tagDICOMPALCOLORLUTATTRIBS read;
    auto palette = MakePalette(4, 16);
    palette.GreenDescriptor.nEntryBits = 12;
    uint16_t entry = 0;
    EXPECT_EQ(M_DicomGetPaletteColorLUTAttributes(&ds, &read, sizeof read, 0),
              DICOM_ERROR_LUT_CONTENT);
    EXPECT_EQ(M_DicomGetPaletteColorLUTAttributes(&ds, &read, 188, 0), kWrongSize);
    EXPECT_EQ(M_DicomGetPaletteColorLUTAttributes(&ds, nullptr, sizeof read, 0),
              DICOM_ERROR_NULL_POINTER);
    EXPECT_EQ(M_DicomSetPaletteColorLUTAttributes(&ds, nullptr, 0), DICOM_ERROR_NULL_POINTER);
    EXPECT_EQ(M_DicomSetPaletteColorLUTAttributes(&ds, &palette, 0), DICOM_ERROR_PARAMETER);
    EXPECT_EQ(M_DicomSetPaletteColorLUTData(&ds, &entry, 1, 0, 0), DICOM_ERROR_LUT_CONTENT);
    EXPECT_EQ(M_DicomSetPaletteColorLUTData(&ds, nullptr, 1, 0, 0), DICOM_ERROR_PARAMETER);
    for (const uint32_t entries : {0u, 65537u}) {
        palette = MakePalette(entries, 16);
        EXPECT_EQ(M_DicomSetPaletteColorLUTAttributes(&ds, &palette, 0), DICOM_ERROR_PARAMETER);
    }
    palette.nStructSize = 188;
    EXPECT_EQ(M_DicomSetPaletteColorLUTAttributes(&ds, &palette, 0), kWrongSizeSet);
}

TEST(LutAttributes, WhatCannotBeStoredLeavesWhatIsThere) {
    MDicomDS ds(nullptr);
    uint16_t table[] = {1, 2, 3, 4};
    auto modality = MakeTable(4, 0, 16);
    auto voi = Fresh<tagDICOMVOILUTATTRIBS>();
    voi.LUTDescriptor = {0, 4, 0, 16};
    auto palette = MakePalette(4, 16);
    for (const uint32_t tag : {0x00283000, 0x00283010}) {
        // A value takes no items.
        _DICOMELEMENT *element = ds.InsertElement(nullptr, 0, tag, 0x4F42, 0, 0);
        ASSERT_NE(ds.SetBinaryValue(element, table, 8), 0);
    }
    ASSERT_EQ(ds.SetModalityLUT(0, &modality, table, 4, 0), 0);
    ASSERT_EQ(ds.SetVOILUT(0, &voi, table, 4, 0), 0);
    ASSERT_EQ(ds.SetPaletteColorLUTAttributes(&palette, 0), 0);
    EXPECT_EQ(ds.FindFirstElement(nullptr, 0x00283000, 1)->nLength, 0xFFFFFFFFu);
    EXPECT_EQ(ds.FindFirstElement(nullptr, 0x00283010, 1)->nLength, 0xFFFFFFFFu);
    // No first value of unsigned pixels.
    modality.LUTDescriptor.nFirstStoredPixelValueMapped = -1;
    voi.LUTDescriptor.nFirstStoredPixelValueMapped = -1;
    palette = MakePalette(9, 16);
    palette.BlueDescriptor.nFirstStoredPixelValueMapped = -1;
    EXPECT_EQ(M_DicomSetModalityLUT(&ds, 0, &modality, table, 4, 0), DICOM_ERROR_PARAMETER);
    EXPECT_EQ(M_DicomSetVOILUT(&ds, 0, &voi, table, 4, 0), DICOM_ERROR_PARAMETER);
    EXPECT_EQ(M_DicomSetPaletteColorLUTAttributes(&ds, &palette, 0), DICOM_ERROR_PARAMETER);
    uint16_t read[4] = {};
    EXPECT_EQ(M_DicomGetModalityLUTData(&ds, read, 4, 0), 0);
    EXPECT_EQ(read[3], 4);
    EXPECT_EQ(M_DicomGetVOILUTData(&ds, 0, read, 4, 0), 0);
    EXPECT_EQ(M_DicomGetPaletteColorLUTAttributes(&ds, &palette, sizeof palette, 0), 0);
    EXPECT_EQ(palette.RedDescriptor.nNumberOfEntries, 4u);
}

TEST(Palette, SegmentsAreExpandedAndGiveWayToAPlainTable) {
    MDicomDS ds(nullptr);
    const auto palette = MakePalette(6, 16);
    M_DicomSetPaletteColorLUTAttributes(&ds, &palette, 0);
    const auto segments = [&](const std::vector<uint16_t> &words) {
        std::vector<uint8_t> bytes;
        for (const uint16_t word : words) {
            bytes.push_back(static_cast<uint8_t>(word));
            bytes.push_back(static_cast<uint8_t>(word >> 8));
        }
        PutBytes(ds, 0x00281222, bytes);
        std::vector<uint16_t> table(8, 99);
        const uint16_t status =
            M_DicomGetPaletteColorLUTData(&ds, table.data(), 8, PALETTE_LUT_GREEN, 0);
        table.resize(6);
        return status == 0 ? table : std::vector<uint16_t>{status};
    };
    using Table = std::vector<uint16_t>;
    EXPECT_EQ(segments({0, 2, 10, 20, 1, 4, 60}), (Table{10, 20, 30, 40, 50, 60}));
    EXPECT_EQ(segments({0, 1, 7, 2, 1, 0, 0, 1, 9, 700}).size(), 6u) << "runs over the end";
    EXPECT_EQ(segments({0, 2, 1, 2, 2, 1, 0, 0}), (Table{1, 2, 1, 2, 0, 0}));
    for (const Table &bad : {Table{3, 1, 1}, Table{1, 4, 60}, Table{0, 9, 1}, Table{2, 1, 50, 0},
                             Table{2, 1, 0, 0}, Table{0}}) {
        EXPECT_EQ(segments(bad), Table{DICOM_ERROR_FILE});
    }
    tagDICOMPALCOLORLUTATTRIBS read;
    M_DicomGetPaletteColorLUTAttributes(&ds, &read, sizeof read, 0);
    EXPECT_EQ(read.bIsSegmented, 1u);
    auto entries = Entries(6);
    ASSERT_EQ(M_DicomSetPaletteColorLUTData(&ds, entries.data(), 6, PALETTE_LUT_GREEN, 0), 0);
    std::vector<uint16_t> table(6);
    ASSERT_EQ(M_DicomGetPaletteColorLUTData(&ds, table.data(), 6, PALETTE_LUT_GREEN, 0), 0);
    EXPECT_EQ(table, entries);
    const auto narrow = MakePalette(6, 8);
    M_DicomSetPaletteColorLUTAttributes(&ds, &narrow, 0);
    EXPECT_EQ(segments({0, 1, 7}), Table{DICOM_ERROR_UNSUPPORTED});
}

} // namespace
