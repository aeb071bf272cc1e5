// DCT-based streams: the two decoders against each other, and what survives encoding.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>

#include "jpeg/Pictures.h"

using namespace jpegtest;

namespace {

/** How the library is to encode colour or gray of 8 bits. */
struct Shape {
    int components;
    int horizontal;
    int vertical;
    bool isProgressive;
    unsigned restart;
    bool isRgb;
    bool isSeparate = false; ///< a scan for each component
};

Bytes SaveByLibrary(const Bytes &samples, uint32_t width, uint32_t height, const Shape &shape) {
    jpeg_compress_struct library;
    jpeg_error_mgr errors;
    library.err = jpeg_std_error(&errors);
    jpeg_create_compress(&library);
    unsigned char *room = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&library, &room, &size);
    library.image_width = width;
    library.image_height = height;
    library.input_components = shape.components;
    library.in_color_space = shape.components == 3 ? JCS_EXT_BGR : JCS_GRAYSCALE;
    jpeg_set_defaults(&library);
    if (shape.isRgb) jpeg_set_colorspace(&library, JCS_RGB);
    jpeg_set_quality(&library, 90, TRUE);
    library.comp_info[0].h_samp_factor = shape.horizontal;
    library.comp_info[0].v_samp_factor = shape.vertical;
    library.restart_interval = shape.restart;
    const jpeg_scan_info scans[] = {
        {1, {0}, 0, 63, 0, 0}, {1, {1}, 0, 63, 0, 0}, {1, {2}, 0, 63, 0, 0}};
    if (shape.isSeparate) {
        library.scan_info = scans;
        library.num_scans = 3;
    }
    if (shape.isProgressive) jpeg_simple_progression(&library);
    jpeg_start_compress(&library, TRUE);
    const size_t stride = size_t{width} * static_cast<size_t>(shape.components);
    while (library.next_scanline < height) {
        auto *row = const_cast<uint8_t *>(samples.data()) + library.next_scanline * stride;
        jpeg_write_scanlines(&library, &row, 1);
    }
    jpeg_finish_compress(&library);
    jpeg_destroy_compress(&library);
    const Bytes stream(room, room + size);
    std::free(room);
    return stream;
}

/** The same picture with 12 bits: quantization steps are 16 times as large. */
Bytes MakeTwelveBits(const Bytes &stream) {
    Bytes changed{0xFF, 0xD8};
    size_t at = 2;
    while (stream[at + 1] != 0xDA) {
        const uint8_t marker = stream[at + 1];
        const size_t length = stream[at + 2] * 256u + stream[at + 3];
        Bytes segment(stream.begin() + static_cast<ptrdiff_t>(at),
                      stream.begin() + static_cast<ptrdiff_t>(at + 2 + length));
        if (marker == 0xDB) {
            Bytes wide{0xFF, 0xDB, 0, 131, static_cast<uint8_t>(segment[4] | 0x10)};
            for (size_t i = 5; i < segment.size(); ++i) {
                wide.push_back(static_cast<uint8_t>(segment[i] >> 4));
                wide.push_back(static_cast<uint8_t>(segment[i] << 4));
            }
            segment = wide;
        } else if (marker == 0xC0 || marker == 0xC1 || marker == 0xC2) {
            segment[1] = marker == 0xC2 ? 0xC2 : 0xC1;
            segment[4] = 12;
        }
        changed.insert(changed.end(), segment.begin(), segment.end());
        at += 2 + length;
    }
    changed.insert(changed.end(), stream.begin() + static_cast<ptrdiff_t>(at), stream.end());
    return changed;
}

double GreatestDifference(const Words &wide, const Words &narrow) {
    double greatest = 0;
    for (size_t i = 0; i < wide.size(); ++i) {
        greatest = std::max(greatest, std::abs(wide[i] / 16.0 - narrow[i]));
    }
    return greatest;
}

TEST(Lossy, TheDecodersOf8And12BitsAgree) {
    const Shape shapes[] = {
        {1, 1, 1, false, 0, false}, {1, 2, 2, false, 3, false}, {1, 1, 1, true, 0, false},
        {3, 1, 1, false, 0, false}, {3, 2, 1, false, 5, false}, {3, 2, 2, false, 0, false},
        {3, 1, 2, false, 0, false}, {3, 2, 2, true, 4, false},  {3, 1, 1, true, 0, true},
        {3, 4, 1, false, 0, false}, {3, 1, 1, false, 0, true},  {3, 2, 1, false, 7, false, true},
    };
    for (const Shape &shape : shapes) {
        for (const uint32_t width : {1u, 8u, 35u, 64u}) {
            constexpr uint32_t kHeight = 29;
            const auto components = static_cast<size_t>(shape.components);
            const Words samples = MakeSamples(width, kHeight, components, 8, Content::Smooth);
            const Bytes stream =
                SaveByLibrary(Bytes(samples.begin(), samples.end()), width, kHeight, shape);
            const Loaded narrow = Load(stream, width, kHeight, components == 3 ? 24 : 8);
            const Loaded wide =
                Load(MakeTwelveBits(stream), width, kHeight, components == 3 ? 48 : 16);
            ASSERT_EQ(narrow.result, MFCMPX_SUCCESS);
            ASSERT_EQ(wide.result, MFCMPX_SUCCESS) << width;
            // The library rounds chrominance before it converts it, to whole steps of 8 bits.
            EXPECT_LT(GreatestDifference(wide.samples, narrow.samples), components == 3 ? 3.0 : 1.1)
                << "components " << components << " sampling " << shape.horizontal << "x"
                << shape.vertical << " progressive " << shape.isProgressive << " width " << width;
        }
    }
}

TEST(Lossy, MarkersDecideOnColorsBeforeTheCaller) {
    const Bytes pixels(3 * 16 * 16, 200);
    Bytes blue = pixels;
    for (size_t i = 0; i < blue.size(); i += 3) blue[i + 1] = blue[i + 2] = 20;
    const auto isNear = [](const Bytes &stream, int depth, int32_t color, const Words &expected) {
        const Words samples = Load(stream, 16, 16, depth, color).samples;
        const int unit = depth == 48 ? 16 : 1;
        return std::equal(expected.begin(), expected.end(), samples.begin(),
                          [&](int a, int b) { return std::abs(a - b / unit) < 4; });
    };
    const Words picture{200, 20, 20};
    const Words unconverted{113, 218, 40}; // red and blue difference, luminance
    const auto header = HeaderOf(16, 16, 24);
    const Bytes plain = Save(blue, header, 2);
    const Bytes marked = Save(blue, header, 2, MFCMPX_SAVE_RGB);
    for (const bool isWide : {false, true}) {
        const int depth = isWide ? 48 : 24;
        const Bytes ybr = isWide ? MakeTwelveBits(plain) : plain;
        const Bytes rgb = isWide ? MakeTwelveBits(marked) : marked;
        EXPECT_TRUE(isNear(ybr, depth, MFCMPX_COLOR_FROM_STREAM, picture)) << depth;
        EXPECT_TRUE(isNear(ybr, depth, MFCMPX_COLOR_YBR, picture)) << depth;
        EXPECT_TRUE(isNear(ybr, depth, MFCMPX_COLOR_RGB, unconverted)) << depth;
        for (const int32_t color : {MFCMPX_COLOR_FROM_STREAM, MFCMPX_COLOR_YBR, MFCMPX_COLOR_RGB}) {
            EXPECT_TRUE(isNear(rgb, depth, color, picture)) << depth << " color " << color;
        }
    }
    constexpr uint8_t kJfif[] = {0xFF, 0xE0, 0, 16, 'J', 'F', 'I', 'F', 0,
                                 1,    1,    0, 0,  1,   0,   1,   0,   0};
    Bytes jfif = plain;
    jfif.insert(jfif.begin() + 2, std::begin(kJfif), std::end(kJfif));
    EXPECT_TRUE(isNear(jfif, 24, MFCMPX_COLOR_RGB, picture)) << "JFIF is never RGB";
    EXPECT_TRUE(isNear(MakeTwelveBits(jfif), 48, MFCMPX_COLOR_RGB, picture));
    EXPECT_EQ(Behind(plain, 0xE0), plain.size()) << "no JFIF marker";
    EXPECT_EQ(Behind(plain, 0xEE), plain.size()) << "no Adobe marker";
}

TEST(Lossy, QualityFallsAndSizeShrinksWithTheNumber) {
    struct Case {
        int depth;
        int loadedDepth;
        unsigned bits;
        double best; ///< decibels of the best quality
    };
    for (const Case &each : {Case{8, 8, 8, 44}, Case{24, 24, 8, 38}, Case{12, 16, 12, 66}}) {
        const size_t components = each.depth == 24 ? 3 : 1;
        const Words samples = MakeSamples(211, 83, components, each.bits, Content::Smooth);
        const Bytes rows = PackRows(samples, 83, static_cast<size_t>(each.depth));
        double before = 0;
        size_t sizeBefore = 0;
        for (const int quality : {255, 200, 120, 60, 20, 2}) {
            const Bytes stream = Save(rows, HeaderOf(211, 83, each.depth), quality);
            const Loaded loaded = Load(stream, 211, 83, each.loadedDepth);
            ASSERT_EQ(loaded.result, MFCMPX_SUCCESS);
            const double now = Decibels(samples, loaded.samples, each.bits);
            EXPECT_GT(now, before - 0.1) << each.depth << " quality " << quality;
            EXPECT_GE(stream.size(), sizeBefore) << each.depth << " quality " << quality;
            before = now;
            sizeBefore = stream.size();
        }
        EXPECT_GT(before, each.best) << each.depth;
    }
}

TEST(Lossy, TwelveBitsReachTheEndsOfTheirRange) {
    for (const Content content : {Content::Extremes, Content::Noise}) {
        for (const uint32_t width : {1u, 9u, 64u}) {
            const Words samples = MakeSamples(width, 17, 1, 12, content);
            const Bytes stream = Save(PackRows(samples, 17, 12), HeaderOf(width, 17, 12), 2);
            const Loaded loaded = Load(stream, width, 17, 16);
            ASSERT_EQ(loaded.result, MFCMPX_SUCCESS);
            EXPECT_GT(Decibels(samples, loaded.samples, 12), 60) << width;
        }
    }
}

TEST(Saving, RoomThatIsTooSmallIsToldAndNotLeft) {
    for (const auto &[depth, quality] : {std::pair{16, 0}, {24, 0}, {8, 40}, {24, 40}, {12, 40}}) {
        const Bytes rows(Stride(20, static_cast<size_t>(depth)) * 10, 0xA5);
        const _MFCMPXBITMAP header = HeaderOf(20, 10, depth);
        const size_t whole = Save(rows, header, quality).size();
        ASSERT_GT(whole, 0u);
        for (size_t room = 0; room < whole; ++room) {
            Bytes stream(room + 1, 0x3C);
            auto size = static_cast<uint32_t>(room);
            EXPECT_EQ(fltSaveBuffer(rows.data(), &header, stream.data(), &size, quality, 0, 0,
                                    nullptr, nullptr),
                      MFCMPX_ERROR_CAPACITY)
                << depth << " room " << room;
            EXPECT_EQ(size, room);
            EXPECT_EQ(stream[room], 0x3C);
        }
    }
}

TEST(Saving, WhatCannotBeSavedIsRefused) {
    const Bytes rows(64 * 64 * 8);
    EXPECT_FALSE(Save(rows, HeaderOf(16, 16, 8), 0).empty());
    void (*const changes[])(_MFCMPXBITMAP &) = {
        [](auto &h) { h.nSize = 12; },          [](auto &h) { h.nWidth = 0; },
        [](auto &h) { h.nWidth = -16; },        [](auto &h) { h.nWidth = 65536; },
        [](auto &h) { h.nHeight = INT32_MIN; }, [](auto &h) { h.nBitCount = 32; },
        [](auto &h) { h.nCompression = 1; },    [](auto &h) { h.nPlanes = 2; },
    };
    for (const auto &change : changes) {
        _MFCMPXBITMAP header = HeaderOf(16, 16, 8);
        change(header);
        EXPECT_TRUE(Save(rows, header, 0).empty()) << &change - changes;
    }
    EXPECT_TRUE(Save(rows, HeaderOf(16, 16, 16), 50).empty()) << "lossy words";
    for (const int quality : {-1, 1, 256}) {
        EXPECT_TRUE(Save(rows, HeaderOf(16, 16, 8), quality).empty()) << quality;
    }
}

} // namespace
