// Frames that stand in a data set, as bitmaps.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "Frames.h"
#include "support/TestFiles.h"

namespace {

struct Format {
    const char *photometric;
    uint32_t allocated;
    uint32_t stored;
    uint32_t samples = 1;
    uint32_t planar = 0;
    uint32_t sign = 0;
    uint32_t lowBit = 0;
};

void Describe(Image &image, const Format &format) {
    image.Syntax(kExplicit);
    image.Set(0x00280002, {format.samples});
    if (format.samples > 1) image.Set(0x00280006, {format.planar});
    image.Set(0x00280100, {format.allocated});
    image.Set(0x00280101, {format.stored});
    image.Set(0x00280102, {format.lowBit + format.stored - 1});
    image.Set(0x00280103, {format.sign});
    image.Photometric(format.photometric);
}

struct DecodeRow {
    const char *name;
    Format format;
    Bytes value; ///< of 2 rows of 3 columns
    int depth;
    Bytes rows;
};

const DecodeRow kRows[] = {
    {"gray 8", {"MONOCHROME2", 8, 8}, {1, 2, 3, 4, 5, 255}, 8, {1, 2, 3, 4, 5, 255}},
    {"gray 8, signed", {"MONOCHROME1", 8, 7, 1, 0, 1}, {1, 2, 3, 4, 5, 6}, 8, {1, 2, 3, 4, 5, 6}},
    {"gray 16",
     {"MONOCHROME2", 16, 16},
     ToBytes({1, 2, 3, 4, 500, 65535}),
     16,
     ToBytes({1, 2, 3, 4, 500, 65535})},
    {"gray 16, shifted",
     {"MONOCHROME2", 16, 12, 1, 0, 1, 4},
     ToBytes({16, 2, 3, 4, 500, 0xFFF0}),
     16,
     ToBytes({16, 2, 3, 4, 500, 0xFFF0})},
    {"gray 32",
     {"MONOCHROME2", 32, 32},
     ToBytes({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}),
     32,
     ToBytes({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12})},
    {"RGB",
     {"RGB", 8, 8, 3},
     {1, 2, 3, 4, 5, 6, 7, 8, 9, 11, 12, 13, 14, 15, 16, 17, 18, 19},
     24,
     {3, 2, 1, 6, 5, 4, 9, 8, 7, 13, 12, 11, 16, 15, 14, 19, 18, 17}},
    {"RGB in planes",
     {"RGB", 8, 8, 3, 1},
     {1, 4, 7, 11, 14, 17, 2, 5, 8, 12, 15, 18, 3, 6, 9, 13, 16, 19},
     24,
     {3, 2, 1, 6, 5, 4, 9, 8, 7, 13, 12, 11, 16, 15, 14, 19, 18, 17}},
    {"RGB 16",
     {"RGB", 16, 16, 3},
     ToBytes({0x100, 0x2FF, 0x300, 0x400, 0x500, 0x600, 0x700, 0x800, 0x900, 0xB00, 0xC00, 0xD00,
              0xE00, 0xF00, 0x1000, 0x1100, 0x1200, 0xFFFF}),
     24,
     {3, 2, 1, 6, 5, 4, 9, 8, 7, 13, 12, 11, 16, 15, 14, 255, 18, 17}},
    {"RGB 10 of 16 in planes",
     {"RGB", 16, 10, 3, 1},
     ToBytes({4, 8, 12, 16, 20, 24, 28, 32, 36, 40, 44, 48, 52, 56, 60, 64, 68, 1023}),
     24,
     {13, 7, 1, 14, 8, 2, 15, 9, 3, 16, 10, 4, 17, 11, 5, 255, 12, 6}},
    // Luminance 16 and 235 are black and white; chrominance moves one pixel.
    {"YBR",
     {"YBR_FULL", 8, 8, 3},
     {16, 128, 128, 235, 128, 128, 100, 108, 158, 0, 128, 128, 255, 128, 128, 16, 255, 255},
     24,
     {0, 0, 0, 254, 254, 254, 57, 81, 145, 0, 0, 0, 255, 255, 255, 255, 0, 202}},
    {"CMYK",
     {"CMYK", 8, 8, 4},
     {0, 0, 0, 0, 255, 0, 0, 0, 0, 255, 0, 0, 0, 0, 255, 0, 10, 20, 30, 40, 200, 0, 0, 100},
     24,
     {255, 255, 255, 255, 255, 0, 255, 0, 255, 0, 255, 255, 185, 195, 205, 155, 155, 0}},
};

/** The same samples as planes of RLE: components one after the other, high bytes first. */
Bytes RleOfValue(const DecodeRow &row) {
    const size_t sampleBytes = row.format.allocated / 8;
    const size_t samples = row.format.samples;
    const size_t pixels = row.value.size() / sampleBytes / samples;
    std::vector<Bytes> planes;
    for (size_t i = 0; i < samples; ++i) {
        for (size_t byte = sampleBytes; byte-- > 0;) {
            Bytes plane;
            for (size_t p = 0; p < pixels; ++p) {
                const size_t at = row.format.planar != 0 ? i * pixels + p : p * samples + i;
                plane.push_back(row.value[at * sampleBytes + byte]);
            }
            planes.push_back(plane);
        }
    }
    return RleOf(planes);
}

TEST(GetImage, ReadsEveryFormNativeAndRunLengthCoded) {
    for (const DecodeRow &row : kRows) {
        for (const bool isRle : {false, true}) {
            SCOPED_TRACE(std::string(row.name) + (isRle ? ", RLE" : ""));
            Image image(2, 3);
            Describe(image, row.format);
            if (isRle) {
                image.Syntax(kRle);
                image.Fragments({"", TextOf(RleOfValue(row))});
            } else {
                PutValue(image, row.value);
            }
            TestBitmap bitmap;
            ASSERT_EQ(Get(image.ds, bitmap), 0);
            EXPECT_EQ(bitmap.nBitsPerPixel, row.depth);
            EXPECT_EQ(RowsOf(bitmap), row.rows);
            const bool isSigned = (bitmap.nBitmapFlags & KERNEL_BITMAP_SIGNED) != 0;
            EXPECT_EQ(isSigned, row.format.sign != 0);
            const bool isGray = row.format.photometric[0] == 'M';
            EXPECT_EQ(bitmap.nLowBit, isGray ? static_cast<int>(row.format.lowBit) : 0);
            if (isGray && row.depth == 8) {
                const bool inverted = row.format.photometric[10] == '1';
                EXPECT_EQ(KernelIsGrayScaleBitmap(&bitmap), inverted ? 2 : 1);
            }
        }
    }
}

TEST(GetImage, ReadsPackedPixelsAndThoseWithRoomBetweenThem) {
    struct {
        uint32_t allocated;
        const char *frames;
        Bytes value;
        uint32_t frame;
        Bytes rows;
    } static const kPacked[] = {
        // Rows 101 and 011, then 110 and 000; the lowest bit is the first pixel.
        {1, "1 ", {0b110101, 0}, 0, {0xA0, 0x60}},
        {1, "2 ", {0b11110101, 0}, 1, {0xC0, 0}},
        {1, "2 ", {0b101, 0b110, 0b011, 0}, 0, {0xA0, 0x60}},
        {1, "2 ", {0b101, 0b110, 0b011, 0}, 1, {0xC0, 0}},
        {12,
         "1 ",
         {1, 0x20, 0, 3, 0x40, 0, 5, 0x60, 0xFF, 0},
         0,
         {1, 0x20, 0, 3, 0, 4, 0x50, 0, 0xF6, 0xF}},
        {12, "1 ", ToBytes({1, 2, 3, 4, 5, 0xFF6}), 0, {1, 0x20, 0, 3, 0, 4, 0x50, 0, 0xF6, 0xF}},
    };
    for (const auto &row : kPacked) {
        SCOPED_TRACE(testing::PrintToString(row.value));
        Image image(2, 3);
        Describe(image, {"MONOCHROME2", row.allocated, row.allocated});
        image.Text(0x00280008, row.frames);
        PutValue(image, row.value);
        TestBitmap bitmap;
        ASSERT_EQ(Get(image.ds, bitmap, row.frame), 0);
        EXPECT_EQ(bitmap.nBitsPerPixel, static_cast<int>(row.allocated));
        EXPECT_EQ(RowsOf(bitmap), row.rows);
    }
}

void PutPalette(Image &image, const std::vector<Words> &tables, uint32_t first, uint32_t bits) {
    for (uint32_t i = 0; i < 3; ++i) {
        image.Set(0x00281101 + i, {static_cast<uint32_t>(tables[i].size()), first, bits});
        PutValue(image, ToBytes(tables[i]), 0x00281201 + i);
    }
}

TEST(GetImage, LooksColorsUp) {
    constexpr auto kMinus2 = 0xFFFEu;
    Words wide[3];
    for (uint32_t i = 0; i < 300; ++i) {
        for (uint32_t c = 0; c < 3; ++c) {
            wide[c].push_back(static_cast<uint16_t>((i * 200 + c * 256) & 0xFFFF));
        }
    }
    struct {
        const char *name;
        Format format;
        std::vector<Words> tables;
        uint32_t first;
        uint32_t bits;
        Bytes value;
        int depth;
        Bytes expected; ///< colours, blue first
    } const kPalettes[] = {
        {"8 bits",
         {"PALETTE COLOR", 8, 8},
         {{1, 2}, {3, 4}, {5, 6}},
         0,
         8,
         {0, 1, 9, 1, 0, 0},
         8,
         {5, 3, 1, 6, 4, 2, 6, 4, 2, 6, 4, 2, 5, 3, 1, 5, 3, 1}},
        {"16 bits of entries",
         {"PALETTE COLOR", 8, 8},
         {{0x100, 0x2FF}, {0x300, 0x400}, {0x500, 0xFFFF}},
         1,
         16,
         {0, 1, 2, 9, 1, 1},
         8,
         {5, 3, 1, 5, 3, 1, 255, 4, 2, 255, 4, 2, 5, 3, 1, 5, 3, 1}},
        {"signed index",
         {"PALETTE COLOR", 16, 16, 1, 0, 1},
         {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}},
         kMinus2,
         8,
         ToBytes({0xFFFD, 0xFFFE, 0xFFFF, 0, 1, 0x8000}),
         8,
         {7, 4, 1, 7, 4, 1, 8, 5, 2, 9, 6, 3, 9, 6, 3, 7, 4, 1}},
        {"many entries",
         {"PALETTE COLOR", 16, 16},
         {wide[0], wide[1], wide[2]},
         0,
         16,
         ToBytes({0, 1, 10, 299, 300, 65535}),
         24,
         {2, 1, 0, 2, 1, 0, 9, 8, 7, 235, 234, 233, 235, 234, 233, 235, 234, 233}},
        {"override",
         {"ARGB", 8, 8, 4},
         {{1, 2}, {3, 4}, {5, 6}},
         0,
         8,
         {0, 10, 20, 30, 1, 10, 20, 30, 0, 0, 0, 0, 7, 1, 1, 1, 0, 1, 1, 1, 0, 3, 2, 1},
         24,
         {30, 20, 10, 6, 4, 2, 0, 0, 0, 6, 4, 2, 1, 1, 1, 1, 2, 3}},
    };
    for (const auto &row : kPalettes) {
        SCOPED_TRACE(row.name);
        Image image(2, 3);
        Describe(image, row.format);
        PutPalette(image, row.tables, row.first, row.bits);
        PutValue(image, row.value);
        TestBitmap bitmap;
        ASSERT_EQ(Get(image.ds, bitmap), 0);
        EXPECT_EQ(bitmap.nBitsPerPixel, row.depth);
        Bytes colors = RowsOf(bitmap);
        if (row.depth == 8) {
            _RGBQUAD palette[256];
            KernelGetBitmapColors(&bitmap, 0, 256, palette);
            const Bytes indices = std::exchange(colors, {});
            for (const uint8_t i : indices) {
                colors.insert(colors.end(),
                              {palette[i].rgbBlue, palette[i].rgbGreen, palette[i].rgbRed});
            }
        }
        EXPECT_EQ(colors, row.expected);
    }
    Image without(2, 3);
    Describe(without, {"ARGB", 8, 8, 4});
    PutValue(without, Bytes(24, 1));
    TestBitmap bitmap;
    EXPECT_EQ(Get(without.ds, bitmap), DICOM_ERROR_PHOTOMETRIC);
}

/** The inverse of PS 3.3, C.7.6.3.1.2, in real numbers. */
Bytes FullRangeColor(double y, double cb, double cr) {
    const auto byte = [](double v) { return static_cast<uint8_t>(std::clamp(v, 0., 255.) + .5); };
    return {byte(y + 1.772 * (cb - 128)), byte(y - 0.344136 * (cb - 128) - 0.714136 * (cr - 128)),
            byte(y + 1.402 * (cr - 128))};
}

TEST(GetImage, ConvertsLuminanceOfTheFullRangeWhenAsked) {
    Image image(1, 256);
    Describe(image, {"YBR_FULL", 8, 8, 3, 1});
    Bytes value;
    Bytes expected;
    const auto sample = [](size_t plane, size_t x) {
        return static_cast<uint8_t>(x * (plane * 46 + 1) + plane * 70);
    };
    for (size_t plane = 0; plane < 3; ++plane) {
        for (size_t x = 0; x < 256; ++x) value.push_back(sample(plane, x));
    }
    for (size_t x = 0; x < 256; ++x) {
        const Bytes color = FullRangeColor(sample(0, x), sample(1, x), sample(2, x));
        expected.insert(expected.end(), color.begin(), color.end());
    }
    PutValue(image, value);
    TestBitmap bitmap;
    ASSERT_EQ(Get(image.ds, bitmap, 0, 0, DICOM_GETIMAGE_FULL_RANGE_YBR), 0);
    const Bytes rows = RowsOf(bitmap);
    for (size_t i = 0; i < rows.size(); ++i) ASSERT_NEAR(rows[i], expected[i], 1) << i;
}

TEST(GetImage, SpreadsChrominanceThatPixelsShare) {
    for (const uint32_t bits : {8u, 16u}) {
        Image image(2, 4);
        Describe(image, {"YBR_FULL_422", bits, bits, 3});
        image.Text(0x00280008, "2 ");
        Bytes value;
        const auto put = [&](std::initializer_list<int> samples) {
            for (const int sample : samples) {
                if (bits == 16) value.push_back(7);
                value.push_back(static_cast<uint8_t>(sample));
            }
        };
        for (int frame = 0; frame < 2; ++frame) {
            for (int pair = 0; pair < 4; ++pair) {
                const int y = 100 * frame + 20 * pair;
                put({y, y + 9, 100 + pair * 9, 140});
            }
        }
        PutValue(image, value);
        TestBitmap bitmap;
        ASSERT_EQ(Get(image.ds, bitmap, 1, 0, DICOM_GETIMAGE_FULL_RANGE_YBR), 0);
        const Bytes rows = RowsOf(bitmap);
        for (size_t x = 0; x < 8; ++x) {
            const double pair = static_cast<double>(x / 2);
            const Bytes color =
                FullRangeColor(100 + 20 * pair + (x % 2 ? 9 : 0), 100 + pair * 9, 140);
            for (size_t c = 0; c < 3; ++c) ASSERT_NEAR(rows[3 * x + c], color[c], 1) << x;
        }
    }
}

TEST(GetImage, FindsFramesThroughAllElementsAndIconsAmongThem) {
    Image image(1, 3, 8);
    image.Syntax(kRle);
    image.Fragments({"", TextOf(RleOf({{1, 2, 3}})), TextOf(RleOf({{4, 5, 6}}))});
    _DICOMELEMENT *sequence =
        image.ds.InsertElement(nullptr, 0, 0x00880200, 'S' << 8 | 'Q', 1, 0xFFFFFFFF);
    _DICOMELEMENT *item = image.ds.InsertElement(sequence, 1, TAG_ITEM, 0, 1, 0);
    _DICOMELEMENT *rows = image.ds.InsertElement(item, 1, 0x00280010, 0, 0, 0);
    for (const auto &[tag, number] : {std::pair{0x00280010u, 1u},
                                      {0x00280011u, 2u},
                                      {0x00280100u, 8u},
                                      {0x00280101u, 8u},
                                      {0x00280102u, 7u}}) {
        image.ds.FindSetValue(rows, tag, &number, 1, VALUE_ARRAY_DWORD);
    }
    image.ds.FindSetValue(rows, 0x00280004, "MONOCHROME2", 11, VALUE_ARRAY_BYTE);
    _DICOMELEMENT *icon = image.ds.InsertElement(rows, 0, TAG_PIXEL_DATA, 'O' << 8 | 'B', 0, 0);
    uint8_t bytes[] = {8, 9};
    image.ds.SetBinaryValue(icon, bytes, 2);

    std::vector<Bytes> found;
    TestBitmap bitmap;
    for (uint32_t i = 0; i < 3; ++i) {
        ASSERT_EQ(Get(image.ds, bitmap, i), 0) << i;
        found.push_back(RowsOf(bitmap));
    }
    std::sort(found.begin(), found.end());
    EXPECT_EQ(found, (std::vector<Bytes>{{1, 2, 3}, {4, 5, 6}, {8, 9}}));
    EXPECT_EQ(Get(image.ds, bitmap, 3), DICOM_ERROR_IMAGE);
    ASSERT_EQ(Get(image.ds, bitmap, 1, 0, 0, image.pixels), 0);
    EXPECT_EQ(RowsOf(bitmap), (Bytes{4, 5, 6}));
    EXPECT_EQ(Get(image.ds, bitmap, 2, 0, 0, image.pixels), DICOM_ERROR_IMAGE);

    HBITMAPLIST__ *list = nullptr;
    KernelCreateBitmapList(&list);
    EXPECT_EQ(image.ds.GetImageList(image.pixels, list, 1, 0xFFFFFFFF, 0, 0, 0), 0);
    uint32_t count = 0;
    KernelListItemCount(list, &count);
    EXPECT_EQ(count, 1u);
    KernelDestroyBitmapList(list);
}

TEST(GetImage, TakesShortFramesAsFarAsTheyGo) {
    TestBitmap bitmap;
    for (const bool isWide : {false, true}) { // with rows that are copied, and that are not
        Image image(2, isWide ? 4 : 3, 8);
        image.Syntax(kExplicit);
        PutValue(image, {1, 2, 3, 4});
        ASSERT_EQ(Get(image.ds, bitmap), 0);
        EXPECT_EQ(RowsOf(bitmap),
                  isWide ? (Bytes{1, 2, 3, 4, 0, 0, 0, 0}) : (Bytes{1, 2, 3, 4, 0, 0}));
        PutValue(image, {});
        EXPECT_EQ(Get(image.ds, bitmap), DICOM_ERROR_IMAGE);
        EXPECT_EQ(bitmap.nWidth, 0) << "a failure leaves nothing";
    }
    Image image(2, 3, 16);
    image.Syntax(kRle);
    image.Fragments({"", TextOf(RleOf({{1, 2, 3}, {4, 5, 6, 7, 8, 9}}))});
    ASSERT_EQ(Get(image.ds, bitmap), 0);
    EXPECT_EQ(RowsOf(bitmap), ToBytes({0x104, 0x205, 0x306, 7, 8, 9}));
}

TEST(GetImage, ConvertsToTheDepthAskedFor) {
    Image image(2, 3, 12);
    Describe(image, {"MONOCHROME2", 12, 12});
    PutValue(image, ToBytes({1, 2, 3, 4, 5, 0xFF6}));
    TestBitmap bitmap;
    ASSERT_EQ(Get(image.ds, bitmap, 0, 16), 0);
    EXPECT_EQ(bitmap.nBitsPerPixel, 16);
    EXPECT_EQ(RowsOf(bitmap), ToBytes({1, 2, 3, 4, 5, 0xFF6}));
    EXPECT_EQ(bitmap.nHighBit, 11);
    EXPECT_EQ(bitmap.nMaxVal, 0xFF6);
    for (const int depth : {1, 8, 12, 16, 24, 32}) {
        EXPECT_EQ(Get(image.ds, bitmap, 0, depth), 0) << depth;
        EXPECT_EQ(bitmap.nBitsPerPixel, depth);
    }
    EXPECT_NE(Get(image.ds, bitmap, 0, 7), 0);
    EXPECT_EQ(bitmap.nWidth, 0);
}

struct Heard {
    std::vector<uint32_t> flags;
    _FILEINFO info;
    int32_t stopAt = -1;
};

int32_t Hear(_FILEINFO *info, _BITMAPHANDLE *, uint8_t *row, uint32_t flags, int32_t number,
             int32_t rows, void *data) {
    auto &heard = *static_cast<Heard *>(data);
    heard.flags.push_back(flags);
    heard.info = *info;
    row[0] = static_cast<uint8_t>(row[0] + 100 * rows);
    return number == heard.stopAt ? -100 : 1;
}

TEST(GetImage, TellsOfItsRowsAndStopsWhenTold) {
    Image image(3, 3, 8);
    image.Syntax(kExplicit);
    PutValue(image, {1, 2, 3, 4, 5, 6, 7, 8, 9, 0});
    Heard heard{};
    TestBitmap bitmap;
    ASSERT_EQ(image.ds.GetImage(nullptr, &bitmap, sizeof(_BITMAPHANDLE), 0, 0, 0, 0, Hear, &heard),
              0);
    EXPECT_EQ(RowsOf(bitmap), (Bytes{101, 2, 3, 104, 5, 6, 107, 8, 9}));
    EXPECT_EQ(heard.flags, (std::vector<uint32_t>{7, 3, 11}));
    EXPECT_EQ(heard.info.nFormat, 89);
    EXPECT_EQ(uint64_t{heard.info.nSizeDisk}, 10u);
    EXPECT_EQ(uint64_t{heard.info.nSizeMem}, 12u);
    EXPECT_EQ(std::u16string(heard.info.szCompression, heard.info.szCompression + 5),
              std::u16string(u"None\0", 5));
    KernelFreeBitmap(&bitmap);
    heard.stopAt = 1;
    heard.flags.clear();
    EXPECT_EQ(image.ds.GetImage(nullptr, &bitmap, sizeof(_BITMAPHANDLE), 0, 0, 0, 0, Hear, &heard),
              static_cast<uint16_t>(-100));
    EXPECT_EQ(heard.flags.size(), 2u);
    EXPECT_EQ(bitmap.nWidth, 0);
}

TEST(GetImage, AppliesLutsAndOverlaysUnlessPixelsStayIntact) {
    Image image(1, 4, 16);
    image.Syntax(kExplicit);
    image.Text(0x00281052, "-100");
    image.Text(0x00281053, "2 ");
    PutValue(image, ToBytes({50, 51, 60, 100}));
    image.Set(0x60000010, {1});
    image.Set(0x60000011, {4});
    image.Text(0x60000040, "G ");
    image.Set(0x60000050, {1, 1});
    image.Set(0x60000100, {1});
    image.Set(0x60000102, {0});
    PutValue(image, {0b0101, 0}, 0x60003000);
    constexpr uint32_t kFlags = DICOM_GETIMAGE_MODALITY_LUT | DICOM_GETIMAGE_OVERLAYS;
    TestBitmap bitmap;
    ASSERT_EQ(Get(image.ds, bitmap, 0, 0, kFlags), 0);
    EXPECT_EQ(bitmap.Words(0, 4), (Words{0, 2, 20, 100}));
    uint32_t overlays = 0;
    KernelGetOverlayCount(&bitmap, &overlays, 0);
    EXPECT_EQ(overlays, 1u);
    image.ds.m_nFlags |= DS_KEEP_PIXEL_DATA_INTACT;
    ASSERT_EQ(Get(image.ds, bitmap, 0, 0, kFlags), 0);
    EXPECT_EQ(bitmap.Words(0, 4), (Words{50, 51, 60, 100}));
}

Bytes FrameBytes(MDicomDS &ds) {
    uint32_t size = 0;
    _DICOMELEMENT *element = ds.FindFirstElement(nullptr, TAG_PIXEL_DATA, 1);
    ds.GetFrameBinaryData(element, 0, nullptr, &size);
    Bytes bytes(size);
    EXPECT_EQ(ds.GetFrameBinaryData(element, 0, bytes.data(), &size), 0);
    return bytes;
}

TEST(GetImage, BelievesAColorStreamUnderAttributesOfGray) {
    for (const uint32_t compression : {kJpegLossy, kJpegLossless}) {
        MDicomDS source(nullptr);
        const auto bitmap = MakeBitmap(30, 20, {24, 8});
        ASSERT_EQ(source.InsertImage(nullptr, bitmap.get(), 0, compression, PHOTOMETRIC_RGB, 0, 2,
                                     0, nullptr, nullptr),
                  0);
        for (const char *photometric : {"MONOCHROME1", "MONOCHROME2"}) {
            Image image(20, 30, 8);
            image.Photometric(photometric);
            image.Syntax(kJpeg);
            image.Fragments({"", TextOf(FrameBytes(source))});
            TestBitmap decoded;
            ASSERT_EQ(Get(image.ds, decoded), 0);
            EXPECT_EQ(decoded.nBitsPerPixel, 24);
            TestBitmap direct;
            ASSERT_EQ(Get(source, direct), 0);
            EXPECT_EQ(RowsOf(decoded), RowsOf(direct));
        }
    }
}

/** Runs in processes of their own, each of which lacks one companion; its status is told by the
 *  environment. */
TEST(GetImage, DISABLED_ChildWithoutOneCompanion) {
    const auto status = static_cast<uint16_t>(std::atoi(std::getenv("MISSING_STATUS")));
    struct {
        uint32_t compression;
        uint16_t status;
    } const kNeeds[] = {{kNone, 0},
                        {kRleClass, 0},
                        {kJpegLossless, DICOM_ERROR_FILTER_FUNCTION},
                        {kJ2kLossless, DICOM_ERROR_J2K_CODEC}};
    for (const auto &need : kNeeds) {
        Image image(2, 3, 8);
        const char *uids[] = {kExplicit, kRle, kJpeg, kJ2k};
        image.Syntax(uids[&need - kNeeds]);
        if (need.compression == kNone) {
            PutValue(image, {1, 2, 3, 4, 5, 6});
        } else {
            image.Fragments({"", TextOf(RleOf({{1, 2, 3, 4, 5, 6}}))});
        }
        TestBitmap bitmap;
        const uint16_t got = Get(image.ds, bitmap);
        const bool lacks = need.status == status || status == DICOM_ERROR_IMAGE_LIBRARY;
        EXPECT_EQ(got, lacks ? status : need.status == 0 ? 0 : DICOM_ERROR_IMAGE);
    }
}

TEST(GetImage, EachMissingCompanionHasItsStatus) {
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe");
    const char *folders = std::getenv("LD_LIBRARY_PATH");
    if (folders == nullptr) GTEST_SKIP() << "the companions are nowhere";
    struct {
        const char *missing;
        int status;
    } const kCompanions[] = {{"libMVIMGCORX.so", DICOM_ERROR_IMAGE_LIBRARY},
                             {"libMFCMPX.so", DICOM_ERROR_FILTER_FUNCTION},
                             {"libMFJ2KX.so", DICOM_ERROR_J2K_CODEC}};
    for (const auto &row : kCompanions) {
        const support::TemporaryFolder folder;
        for (const auto &other : kCompanions) {
            if (other.missing == row.missing) continue;
            std::filesystem::create_symlink(std::filesystem::path(folders) / other.missing,
                                            folder.Path() / other.missing);
        }
        const std::string command =
            "LD_LIBRARY_PATH='" + folder.Path().string() +
            "' MISSING_STATUS=" + std::to_string(row.status) + " '" + self.string() +
            "' --gtest_also_run_disabled_tests "
            "--gtest_filter=GetImage.DISABLED_ChildWithoutOneCompanion >/dev/null 2>&1";
        EXPECT_EQ(std::system(command.c_str()), 0) << row.missing;
    }
}

} // namespace
