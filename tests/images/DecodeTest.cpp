// Frames that stand in a data set, as bitmaps.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
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

constexpr size_t kPixels = 6; // 2 rows of 3 columns

/** Where a component of a pixel is among the samples. */
size_t PlaceOf(const Format &format, size_t pixel, size_t component) {
    return format.planar != 0 ? component * kPixels + pixel : pixel * format.samples + component;
}

/** Samples that differ in all of their stored bits; components of one pixel are apart. */
Bytes MakeValue(const Format &format) {
    Bytes value(kPixels * format.samples * format.allocated / 8);
    for (size_t i = 0; i < kPixels * format.samples; ++i) {
        const auto sample = static_cast<uint32_t>((i + 1) * 0x9E3779B1) & MaskOf(format.stored);
        PutSample(value.data(), i, format.allocated, sample << format.lowBit);
    }
    return value;
}

/** Rows of a bitmap: gray as it is, colours blue first with the highest 8 bits of each. */
Bytes ExpectedRows(const Format &format, const Bytes &value) {
    if (format.samples == 1) return value;
    Bytes rows;
    for (size_t i = 0; i < kPixels * 3; ++i) {
        const size_t place = PlaceOf(format, i / 3, 2 - i % 3);
        const uint32_t sample = GetSample(value.data(), place, format.allocated);
        rows.push_back(static_cast<uint8_t>(sample >> (format.stored - 8)));
    }
    return rows;
}

/** The same samples as planes of RLE: components one after the other, high bytes first. */
Bytes RleOfValue(const Format &format, const Bytes &value) {
    const size_t sampleBytes = format.allocated / 8;
    std::vector<Bytes> planes;
    for (size_t i = 0; i < format.samples; ++i) {
        for (size_t byte = sampleBytes; byte-- > 0;) {
            Bytes &plane = planes.emplace_back();
            for (size_t p = 0; p < kPixels; ++p) {
                plane.push_back(value[PlaceOf(format, p, i) * sampleBytes + byte]);
            }
        }
    }
    return RleOf(planes);
}

TEST(GetImage, ReadsEveryFormNativeAndRunLengthCoded) {
    struct {
        Format format;
        Bytes value = MakeValue(format);
        Bytes rows = ExpectedRows(format, value);
    } const kForms[] = {
        {{"MONOCHROME2", 8, 8}},
        {{"MONOCHROME1", 8, 7, 1, 0, 1}},
        {{"MONOCHROME2", 16, 16}},
        {{"MONOCHROME2", 16, 12, 1, 0, 1, 4}},
        {{"MONOCHROME2", 32, 32}},
        {{"RGB", 8, 8, 3}},
        {{"RGB", 8, 8, 3, 1}},
        {{"RGB", 16, 16, 3}},
        {{"RGB", 16, 10, 3, 1}},
        // Luminance 16 and 235 are black and white; chrominance moves one pixel.
        {{"YBR_FULL", 8, 8, 3},
         {16, 128, 128, 235, 128, 128, 100, 108, 158, 0, 128, 128, 255, 128, 128, 16, 255, 255},
         {0, 0, 0, 254, 254, 254, 57, 81, 145, 0, 0, 0, 255, 255, 255, 255, 0, 202}},
        {{"CMYK", 8, 8, 4},
         {0, 0, 0, 0, 255, 0, 0, 0, 0, 255, 0, 0, 0, 0, 255, 0, 10, 20, 30, 40, 200, 0, 0, 100},
         {255, 255, 255, 255, 255, 0, 255, 0, 255, 0, 255, 255, 185, 195, 205, 155, 155, 0}},
    };
    for (const auto &[format, value, rows] : kForms) {
        for (const bool isRle : {false, true}) {
            SCOPED_TRACE(format.photometric + std::to_string(format.stored));
            Image image(2, 3);
            Describe(image, format);
            if (isRle) {
                image.Syntax(kRle);
                image.Fragments({"", TextOf(RleOfValue(format, value))});
            } else {
                PutValue(image, value);
            }
            TestBitmap bitmap;
            ASSERT_EQ(Get(image.ds, bitmap), 0);
            const bool isGray = format.samples == 1;
            EXPECT_EQ(bitmap.nBitsPerPixel, isGray ? static_cast<int>(format.allocated) : 24);
            EXPECT_EQ(RowsOf(bitmap), rows);
            EXPECT_EQ((bitmap.nBitmapFlags & KERNEL_BITMAP_SIGNED) != 0, format.sign != 0);
            EXPECT_EQ(bitmap.nLowBit, isGray ? static_cast<int>(format.lowBit) : 0);
            if (!isGray || format.allocated != 8) continue;
            EXPECT_EQ(KernelIsGrayScaleBitmap(&bitmap), format.photometric[10] == '1' ? 2 : 1);
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

/** Entry i of a table of a colour: red, green and blue. */
uint32_t EntryOf(uint32_t color, uint32_t i, uint32_t bits) {
    return (i * 200 + color * 70 + 5) % 256 * (bits == 16 ? 256 : 1) + bits / 16 * 9;
}

void PutPalette(Image &image, uint32_t entries, uint32_t first, uint32_t bits) {
    for (uint32_t color = 0; color < 3; ++color) {
        Bytes table(entries * 2);
        for (uint32_t i = 0; i < entries; ++i) {
            PutSample(table.data(), i, 16, EntryOf(color, i, bits));
        }
        image.Set(0x00281101 + color, {entries, first, bits});
        PutValue(image, table, 0x00281201 + color);
    }
}

TEST(GetImage, LooksColorsUpAndHoldsTheEndsOfTheTable) {
    struct {
        Format format;
        uint32_t entries;
        int first;
        uint32_t bits;
        std::vector<int> indices;
    } const kPalettes[] = {
        {{"PALETTE COLOR", 8, 8}, 2, 0, 8, {0, 1, 9, 1, 0, 0}},
        {{"PALETTE COLOR", 8, 8}, 2, 1, 16, {0, 1, 2, 9, 1, 1}},
        {{"PALETTE COLOR", 16, 16, 1, 0, 1}, 3, -2, 8, {-3, -2, -1, 0, 1, -32768}},
        {{"PALETTE COLOR", 16, 12, 1, 0, 1, 4}, 3, -2, 8, {-3, -2, -1, 0, 1, -2048}},
        {{"PALETTE COLOR", 16, 16}, 300, 0, 16, {0, 1, 10, 299, 300, 65535}},
    };
    for (const auto &row : kPalettes) {
        SCOPED_TRACE(row.entries * row.bits);
        Image image(2, 3);
        Describe(image, row.format);
        PutPalette(image, row.entries, static_cast<uint16_t>(row.first), row.bits);
        Bytes value(kPixels * row.format.allocated / 8);
        std::vector<uint32_t> expected;
        for (size_t i = 0; i < kPixels; ++i) {
            const int index = row.indices[i];
            PutSample(value.data(), i, row.format.allocated,
                      static_cast<uint32_t>(index) << row.format.lowBit);
            const int entry = std::clamp(index - row.first, 0, static_cast<int>(row.entries) - 1);
            for (uint32_t color = 3; color-- > 0;) {
                const uint32_t level = EntryOf(color, static_cast<uint32_t>(entry), row.bits);
                expected.push_back(level >> (row.bits - 8));
            }
        }
        PutValue(image, value);
        TestBitmap bitmap;
        ASSERT_EQ(Get(image.ds, bitmap), 0);
        ASSERT_EQ(bitmap.nBitsPerPixel, row.entries > 256 ? 24 : 8);
        const Bytes rows = RowsOf(bitmap);
        std::vector<uint32_t> colors(rows.begin(), rows.end());
        if (bitmap.nBitsPerPixel == 8) {
            _RGBQUAD palette[256];
            KernelGetBitmapColors(&bitmap, 0, 256, palette);
            colors.clear();
            for (const uint8_t i : rows) {
                colors.insert(colors.end(),
                              {palette[i].rgbBlue, palette[i].rgbGreen, palette[i].rgbRed});
            }
        }
        EXPECT_EQ(colors, expected);
    }
}

TEST(GetImage, LetsAPaletteOverrideColors) {
    Image image(1, 3);
    Describe(image, {"ARGB", 8, 8, 4});
    PutValue(image, {0, 10, 20, 30, 1, 10, 20, 30, 7, 1, 1, 1});
    TestBitmap bitmap;
    EXPECT_EQ(Get(image.ds, bitmap), DICOM_ERROR_PHOTOMETRIC) << "without tables";
    PutPalette(image, 2, 0, 8);
    ASSERT_EQ(Get(image.ds, bitmap), 0);
    EXPECT_EQ(RowsOf(bitmap), (Bytes{30, 20, 10, 89, 19, 205, 89, 19, 205}));
}

/** Luminance and chrominance of the full range as a colour, in real numbers. */
Bytes FullRangeColor(double y, double cb, double cr) {
    const auto byte = [](double v) { return static_cast<uint8_t>(std::clamp(v, 0., 255.) + .5); };
    return {byte(y + 1.772 * (cb - 128)), byte(y - 0.344136 * (cb - 128) - 0.714136 * (cr - 128)),
            byte(y + 1.402 * (cr - 128))};
}

/** Compares a frame with the colours that pixels of a row are to have. */
template <typename YbrOfPixel>
void ExpectFullRange(Image &image, uint32_t frame, YbrOfPixel ybr) {
    TestBitmap bitmap;
    ASSERT_EQ(Get(image.ds, bitmap, frame, 0, DICOM_GETIMAGE_FULL_RANGE_YBR), 0);
    const Bytes rows = RowsOf(bitmap);
    size_t off = 0;
    for (size_t i = 0; i < rows.size(); ++i) {
        const auto [y, cb, cr] = ybr(i / 3);
        const uint8_t expected = FullRangeColor(y, cb, cr)[i % 3];
        ASSERT_NEAR(rows[i], expected, 1) << i;
        off += rows[i] != expected;
    }
    EXPECT_LE(off, rows.size() / 50) << "rounded, not cut";
}

TEST(GetImage, ConvertsLuminanceOfTheFullRangeWhenAsked) {
    Image planes(1, 256);
    Describe(planes, {"YBR_FULL", 8, 8, 3, 1});
    Bytes value;
    for (size_t i = 0; i < 3 * 256; ++i) {
        value.push_back(static_cast<uint8_t>(i % 256 * (i / 256 * 46 + 1) + i / 256 * 70));
    }
    PutValue(planes, value);
    ExpectFullRange(planes, 0, [&](size_t x) {
        return std::array{value[x], value[x + 256], value[x + 512]};
    });
    // Two pixels share their chrominance.
    for (const uint32_t bits : {8u, 16u}) {
        Image shared(2, 4);
        Describe(shared, {"YBR_FULL_422", bits, bits, 3});
        shared.Text(0x00280008, "2 ");
        Bytes stored;
        for (size_t i = 0; i < 32; ++i) {
            if (bits == 16) stored.push_back(7);
            stored.push_back(value[i]);
        }
        PutValue(shared, stored);
        ExpectFullRange(shared, 1, [&](size_t x) {
            const uint8_t *pair = &value[16 + x / 2 * 4];
            return std::array{pair[x % 2], pair[2], pair[3]};
        });
    }
}

TEST(GetImage, FindsFramesThroughAllElementsAndIconsAmongThem) {
    Image image(1, 3, 8);
    image.Syntax(kRle);
    image.Fragments({"", TextOf(RleOf({{1, 2, 3}})), TextOf(RleOf({{4, 5, 6}}))});
    _DICOMELEMENT *sequence =
        image.ds.InsertElement(nullptr, 0, 0x00880200, 'S' << 8 | 'Q', 1, 0xFFFFFFFF);
    _DICOMELEMENT *item = image.ds.InsertElement(sequence, 1, TAG_ITEM, 0, 1, 0);
    _DICOMELEMENT *icon = image.ds.InsertElement(item, 1, TAG_PIXEL_DATA, 'O' << 8 | 'B', 0, 0);
    for (const auto &[tag, number] : {std::pair{0x00280010u, 1u},
                                      {0x00280011u, 2u},
                                      {0x00280100u, 8u},
                                      {0x00280101u, 8u},
                                      {0x00280102u, 7u}}) {
        image.ds.FindSetValue(icon, tag, &number, 1, VALUE_ARRAY_DWORD);
    }
    image.ds.FindSetValue(icon, 0x00280004, "MONOCHROME2", 11, VALUE_ARRAY_BYTE);
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
    EXPECT_EQ(M_DicomGetImageList(&image.ds, image.pixels, list, 1, 0xFFFFFFFF, 0, 0, 0), 0);
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
    Bytes counted = RleOf({{1, 2, 3, 4, 5, 6}}); // a second segment is told of, but not where
    counted[0] = 2;
    struct {
        uint32_t columns, allocated;
        Bytes frame, rows;
    } const kFrames[] = {
        {3, 16, RleOf({{1, 2, 3}, {4, 5, 6, 7, 8, 9}}), ToBytes({0x104, 0x205, 0x306, 7, 8, 9})},
        {3, 8, counted, {1, 2, 3, 4, 5, 6}},
        // Rows of ten bits without anything between them, and a byte that makes their number even.
        {10, 1, RleOf({{0xFF, 0x03, 0x0F, 0}}), {0xFF, 0xC0, 0x03, 0xC0}},
    };
    for (const auto &[columns, allocated, frame, rows] : kFrames) {
        Image image(2, columns, allocated);
        image.Syntax(kRle);
        image.Fragments({"", TextOf(frame)});
        ASSERT_EQ(Get(image.ds, bitmap), 0);
        EXPECT_EQ(RowsOf(bitmap), rows);
    }
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
    int32_t answer = -100;
};

int32_t Hear(_FILEINFO *info, _BITMAPHANDLE *, uint8_t *row, uint32_t flags, int32_t number,
             int32_t rows, void *data) {
    auto &heard = *static_cast<Heard *>(data);
    heard.flags.push_back(flags);
    heard.info = *info;
    row[0] = static_cast<uint8_t>(row[0] + 100 * rows);
    return number == heard.stopAt ? heard.answer : 1;
}

TEST(GetImage, TellsOfItsRowsAndStopsWhenTold) {
    Image image(3, 3, 8);
    image.Syntax(kExplicit);
    PutValue(image, {1, 2, 3, 4, 5, 6, 7, 8, 9, 0});
    Heard heard{};
    TestBitmap bitmap;
    ASSERT_EQ(M_DicomGetImage(&image.ds, nullptr, &bitmap, sizeof(_BITMAPHANDLE), 0, 0, 0, 0, Hear,
                              &heard),
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
    EXPECT_EQ(M_DicomGetImage(&image.ds, nullptr, &bitmap, sizeof(_BITMAPHANDLE), 0, 0, 0, 0, Hear,
                              &heard),
              static_cast<uint16_t>(-100));
    EXPECT_EQ(heard.flags.size(), 2u);
    EXPECT_EQ(bitmap.nWidth, 0);
    for (const auto &[answer, status] : {std::pair{-1, 0xFFFF}, {0, int{DICOM_ERROR_FAILURE}}}) {
        heard.answer = answer;
        EXPECT_EQ(
            image.ds.GetImage(nullptr, &bitmap, sizeof(_BITMAPHANDLE), 0, 0, 0, 0, Hear, &heard),
            status);
    }
}

/** Leaves blocks that are not zero for the next bitmap. */
void DirtyMemory() {
    std::vector<void *> blocks;
    for (size_t size = 16; size <= 256; size += 16) {
        blocks.push_back(KernelAlloc(1, size, 0, nullptr));
        std::memset(blocks.back(), 0xEE, size);
    }
    for (void *block : blocks) KernelFree(block, 0, nullptr);
}

TEST(GetImage, TakesTheFirstOfSeveralPlanesOfGray) {
    for (const uint32_t columns : {4, 5}) {
        const Bytes first(2 * columns, 9);
        const Bytes other(2 * columns, 1);
        for (const char *syntax : {kExplicit, kRle}) {
            Image image(2, columns, 8);
            image.Set(0x00280002, {2});
            image.Set(0x00280006, {1});
            image.Syntax(syntax);
            if (syntax == kRle) {
                image.Fragments({"", TextOf(RleOf({first, other}))});
            } else {
                Bytes planes = first;
                planes.insert(planes.end(), other.begin(), other.end());
                PutValue(image, planes);
            }
            DirtyMemory();
            TestBitmap bitmap;
            ASSERT_EQ(Get(image.ds, bitmap), 0);
            EXPECT_EQ(RowsOf(bitmap), first);
            const uint8_t *rows = KernelLendBitmapRow(&bitmap, 0);
            const auto padding = Bytes(rows + columns, rows + bitmap.nBytesPerLine);
            EXPECT_EQ(padding, Bytes(padding.size()));
        }
    }
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

/** Calls the components 1, 2 and 3, and takes away what else tells of colours. */
Bytes WithoutColors(Bytes stream) {
    for (size_t at = 2; stream[at + 1] != 0xDA;) {
        const uint8_t marker = stream[at + 1];
        const size_t size = 2 + stream[at + 2] * 256u + stream[at + 3];
        const auto begin = stream.begin() + static_cast<std::ptrdiff_t>(at);
        if (marker >> 4 == 0xE) {
            stream.erase(begin, begin + static_cast<std::ptrdiff_t>(size));
            continue;
        }
        at += size;
        const size_t scan = at + 5; // where the next marker is the scan
        for (uint8_t i = 0; i < 3; ++i) {
            if (marker >= 0xC0 && marker <= 0xC3) begin[10 + 3 * i] = i + 1;
            if (stream[at + 1] == 0xDA) stream[scan + 2 * i] = i + 1;
        }
    }
    return stream;
}

TEST(GetImage, BelievesAColorStreamUnderOtherAttributes) {
    for (const uint32_t compression : {kJpegLossy, kJpegLossless}) {
        for (const uint32_t flags : {0, int{DICOM_SETIMAGE_CODEC_FLAG}}) {
            MDicomDS source(nullptr);
            const auto bitmap = MakeBitmap(30, 20, {24, 8});
            ASSERT_EQ(source.InsertImage(nullptr, bitmap.get(), 0, compression, PHOTOMETRIC_RGB, 0,
                                         2, flags, nullptr, nullptr),
                      0);
            TestBitmap direct;
            ASSERT_EQ(Get(source, direct), 0);
            for (const char *photometric :
                 {"MONOCHROME1", "MONOCHROME2", "YBR_FULL", "PALETTE COLOR"}) {
                const bool isGray = *photometric == 'M';
                const bool isPalette = *photometric == 'P';
                // Without loss the components are indices.
                if (isPalette && compression == kJpegLossless) continue;
                Image image(20, 30, 8);
                image.Photometric(photometric);
                image.Syntax(kJpeg);
                if (isPalette) {
                    image.Set(0x00280002, {3});
                    for (const uint32_t colour : {0, 1, 2}) {
                        image.Set(0x00281101 + colour, {300, 0, 16});
                        image.Set(0x00281201 + colour, std::vector<uint32_t>(300, 7));
                    }
                }
                const Bytes stream = FrameBytes(source);
                image.Fragments({"", TextOf(isPalette ? stream : WithoutColors(stream))});
                constexpr uint32_t kFull = DICOM_GETIMAGE_FULL_RANGE_YBR;
                TestBitmap decoded;
                ASSERT_EQ(Get(image.ds, decoded, 0, 0, kFull), 0);
                EXPECT_EQ(decoded.nBitsPerPixel, 24);
                const bool isGuess = isGray && compression == kJpegLossy && flags != 0;
                const bool isYbr =
                    !isGray && !isPalette && (compression != kJpegLossy || flags != 0);
                EXPECT_TRUE(isGuess || isYbr || RowsOf(decoded) == RowsOf(direct)) << photometric;
                if (isPalette) continue;
                // Both find the same colours.
                ASSERT_EQ(image.ds.ChangeTransferSyntax(L"1.2.840.10008.1.2.1", 0, 0), 0);
                TestBitmap changed;
                ASSERT_EQ(Get(image.ds, changed, 0, 0, kFull), 0);
                EXPECT_EQ(RowsOf(changed), RowsOf(decoded)) << photometric;
            }
        }
    }
}

/** Runs in processes of their own, each of which lacks one companion; its status is told by the
 *  environment. */
TEST(GetImage, DISABLED_ChildWithoutOneCompanion) {
    const auto status = static_cast<uint16_t>(std::atoi(std::getenv("MISSING_STATUS")));
    const bool isImageLibrary = status == DICOM_ERROR_IMAGE_LIBRARY;
    struct {
        uint32_t compression;
        const char *uid;
        uint16_t read; ///< statuses without what they need
        uint16_t written;
    } const kNeeds[] = {{kNone, kExplicit, DICOM_ERROR_IMAGE_LIBRARY, 0},
                        {kRleClass, kRle, DICOM_ERROR_IMAGE_LIBRARY, 0},
                        {kJpegLossless, kJpeg, DICOM_ERROR_FILTER_FUNCTION, DICOM_ERROR_WRITE},
                        {kJ2kLossless, kJ2k, DICOM_ERROR_J2K_CODEC, DICOM_ERROR_J2K_CODEC}};
    for (const auto &need : kNeeds) {
        SCOPED_TRACE(need.uid);
        Image image(2, 3, 8);
        image.Syntax(need.uid);
        if (need.compression == kNone) {
            PutValue(image, {1, 2, 3, 4, 5, 6});
        } else {
            image.Fragments({"", TextOf(RleOf({{1, 2, 3, 4, 5, 6}}))});
        }
        TestBitmap bitmap;
        const bool isCodec = need.read != DICOM_ERROR_IMAGE_LIBRARY;
        const bool lacks = need.read == status || isImageLibrary;
        EXPECT_EQ(Get(image.ds, bitmap), lacks ? status : isCodec ? DICOM_ERROR_IMAGE : 0);
        MDicomDS ds(nullptr);
        const uint16_t stored =
            M_DicomInsertImage(&ds, nullptr, MakeBitmap(30, 20, {8, 8}).get(), 0, need.compression,
                               PHOTOMETRIC_MONOCHROME2, 0, 0, 0, nullptr, nullptr);
        EXPECT_EQ(stored, need.read == status ? need.written : 0);
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
