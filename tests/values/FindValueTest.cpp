// FindGetValue and FindSetValue: where they look, and how numbers change their type.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "MDicomFlat.h"
#include "Values.h"

namespace {

constexpr uint32_t kRows = 0x00280010;
constexpr uint32_t kIconSequence = 0x00880200;

template <typename T>
constexpr uint32_t kArrayType = std::is_same_v<T, uint8_t>    ? VALUE_ARRAY_BYTE
                                : std::is_same_v<T, uint16_t> ? VALUE_ARRAY_WORD
                                : std::is_same_v<T, uint32_t> ? VALUE_ARRAY_DWORD
                                : std::is_same_v<T, float>    ? VALUE_ARRAY_FLOAT
                                                              : VALUE_ARRAY_DOUBLE;

template <typename T>
std::vector<T> Read(Values &v, _DICOMELEMENT *element, uint32_t index = 0, uint32_t count = 100) {
    std::vector<T> out(100);
    out.resize(M_DicomFindGetValue(&v.ds, element, element->nTag, out.data(), index, count,
                                   kArrayType<T>));
    EXPECT_EQ(
        M_DicomFindGetValue(&v.ds, element, element->nTag, nullptr, index, count, kArrayType<T>),
        out.size());
    return out;
}

template <typename T>
_DICOMELEMENT *Write(Values &v, _DICOMELEMENT *element, const std::vector<T> &values) {
    return v.ds.FindSetValue(element, element->nTag, values.data(),
                             static_cast<uint32_t>(values.size()), kArrayType<T>);
}

using Bytes8 = std::vector<uint8_t>;
using Words = std::vector<uint16_t>;
using Longs = std::vector<uint32_t>;
using Floats = std::vector<float>;
using Doubles = std::vector<double>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

} // namespace

TEST(FindGetValue, ConvertsNumbersOfText) {
    Values v;
    _DICOMELEMENT *integers = v.Add("IS", " 1 \\-2\\300\\");
    EXPECT_EQ(Read<uint8_t>(v, integers), (Bytes8{1, 254, 44, 0}));
    EXPECT_EQ(Read<double>(v, integers, 1, 2), (Doubles{-2, 300}));
    EXPECT_EQ(Read<double>(v, integers, 4), Doubles{});
    _DICOMELEMENT *decimals = v.Add("DS", "1.9\\-1.9\\1e10\\-1e10\\65535\\-1024");
    EXPECT_EQ(Read<uint16_t>(v, decimals), (Words{1, 0xFFFF, 65535, 0x8000, 65535, 64512}));
    EXPECT_EQ(Read<uint32_t>(v, decimals),
              (Longs{1, 0xFFFFFFFF, 0xFFFFFFFF, 0x80000000, 65535, 0xFFFFFC00}));
    EXPECT_EQ(Read<float>(v, decimals, 0, 2), (Floats{1.9f, -1.9f}));
}

TEST(FindGetValue, ConvertsUnitsInBothByteOrders) {
    for (const uint16_t flags : {37, 40}) {
        Values v;
        v.ds.m_nFlags = flags;
        int16_t shorts[] = {-2, 0x102};
        int32_t longs[] = {-2, 0x00280010};
        double doubles[] = {-2.9, std::nan(""), 1e300, -kInfinity};
        const auto add = [&](const char *vr, auto set, auto &values) {
            _DICOMELEMENT *element = v.Add(vr);
            (v.ds.*set)(element, values, static_cast<uint32_t>(std::size(values)));
            return element;
        };
        _DICOMELEMENT *us = add("US", &MDicomDS::SetShortValue, shorts);
        _DICOMELEMENT *fd = add("FD", &MDicomDS::SetDoubleValue, doubles);
        EXPECT_EQ(Read<float>(v, add("SS", &MDicomDS::SetShortValue, shorts)), (Floats{-2, 0x102}));
        EXPECT_EQ(Read<uint32_t>(v, us), (Longs{0xFFFE, 0x102}));
        EXPECT_EQ(Read<uint8_t>(v, us, 1), (Bytes8{2}));
        EXPECT_EQ(Read<double>(v, add("SL", &MDicomDS::SetLongValue, longs)),
                  (Doubles{-2, 0x280010}));
        EXPECT_EQ(Read<uint32_t>(v, add("AT", &MDicomDS::SetLongValue, longs), 1, 5),
                  (Longs{0x00280010}));
        EXPECT_EQ(Read<uint16_t>(v, fd), (Words{0xFFFE, 0, 0xFFFF, 0x8000}));
        EXPECT_EQ(Read<float>(v, fd, 2, 1), (Floats{std::numeric_limits<float>::max()}));
    }
}

TEST(FindGetValue, ReadsLongValuesInPieces) {
    Values v;
    std::vector<int16_t> values(10001);
    for (size_t i = 0; i < values.size(); ++i) values[i] = static_cast<int16_t>(i);
    _DICOMELEMENT *element = v.Add("OW");
    ASSERT_TRUE(v.ds.SetShortValue(element, values.data(), 10001));
    std::vector<uint32_t> out(10001);
    ASSERT_EQ(
        M_DicomFindGetValue(&v.ds, element, element->nTag, out.data(), 1, kAll, VALUE_ARRAY_DWORD),
        10000u);
    for (uint32_t i = 0; i < 10000; ++i) ASSERT_EQ(out[i], i + 1);
}

TEST(FindGetValue, ReadsTextByBytes) {
    Values v;
    _DICOMELEMENT *element = v.Add("LO", " ab \\ c  ");
    char text[16] = {};
    const auto read = [&](uint32_t index, uint32_t count) {
        std::memset(text, '#', sizeof text);
        return M_DicomFindGetValue(&v.ds, element, element->nTag, text, index, count,
                                   VALUE_ARRAY_BYTE);
    };
    EXPECT_EQ(read(0, 16), 5u);
    EXPECT_STREQ(text, "ab\\c");
    EXPECT_EQ(read(0, 3), 3u); // the slice is " ab"
    EXPECT_STREQ(text, "ab");
    EXPECT_EQ(read(1, 2), 2u);
    EXPECT_STREQ(text, "a");
    EXPECT_EQ(text[2], '#');
    EXPECT_EQ(read(6, 16), 2u);
    EXPECT_STREQ(text, "c");
    EXPECT_EQ(read(0, 0), 0u);
    EXPECT_EQ(read(10, 1), 0u);
    EXPECT_EQ(Read<uint8_t>(v, v.Add("CS", "\\A")), (Bytes8{'\\', 'A', 0}));
    EXPECT_EQ(Read<uint16_t>(v, v.Add("ST", " \\")), (Words{' ', '\\'}));
}

TEST(FindGetValue, LooksOutward) {
    Values v;
    MDicomDS &ds = v.ds;
    const auto setRows = [&](_DICOMELEMENT *beside, uint16_t rows) {
        return ds.FindSetValue(beside, kRows, &rows, 1, VALUE_ARRAY_WORD);
    };
    const auto rowsSeenFrom = [&](_DICOMELEMENT *element) {
        uint16_t rows = 0;
        ds.FindGetValue(element, kRows, &rows, 0, 1, VALUE_ARRAY_WORD);
        return rows;
    };
    _DICOMELEMENT *sequence = ds.InsertElement(nullptr, 0, kIconSequence, Code("SQ"), 1, 0);
    _DICOMELEMENT *item = ds.InsertElement(sequence, 1, TAG_ITEM, 0, 1, 0);
    _DICOMELEMENT *columns = ds.InsertElement(item, 1, 0x00280011, Code("US"), 0, 0);
    ASSERT_NE(columns, nullptr);
    EXPECT_EQ(rowsSeenFrom(columns), 0);

    _DICOMELEMENT *iconRows = setRows(columns, 64);
    ASSERT_NE(iconRows, nullptr);
    EXPECT_EQ(iconRows->Link.pParent, reinterpret_cast<_DICOMLINK *>(item));
    EXPECT_EQ(rowsSeenFrom(sequence), 64); // nowhere but in the item
    // Setting beside the sequence adds an attribute of its own instead of changing the icon.
    _DICOMELEMENT *rows = setRows(sequence, 512);
    ASSERT_NE(rows, nullptr);
    EXPECT_NE(rows, iconRows);
    EXPECT_EQ(rowsSeenFrom(columns), 64);
    EXPECT_EQ(rowsSeenFrom(sequence), 512);
    EXPECT_EQ(rowsSeenFrom(nullptr), 512);
    ds.DeleteElement(iconRows);
    EXPECT_EQ(rowsSeenFrom(columns), 512);
}

TEST(FindSetValue, ConvertsNumbers) {
    for (const uint16_t flags : {37, 40}) {
        Values v;
        v.ds.m_nFlags = flags;
        const auto written = [&](const char *vr, auto values) {
            _DICOMELEMENT *element = v.Add(vr);
            EXPECT_EQ(Write(v, element, values), element);
            return Read<double>(v, element);
        };
        EXPECT_EQ(written("SS", Bytes8{255, 1}), (Doubles{-1, 1}));
        EXPECT_EQ(written("SS", Doubles{1e9}), Doubles{32767});
        EXPECT_EQ(written("UL", Words{0xFFFF}), Doubles{0xFFFF});
        EXPECT_EQ(written("AT", Longs{0x00280010}), Doubles{0x00280010});
        EXPECT_EQ(written("OF", Floats{1.5f}), Doubles{1.5});
        EXPECT_EQ(written("FD", Words{7}), Doubles{7});
    }
    Values v;
    const auto text = [&](const char *vr, auto values) {
        return v.Bytes(Write(v, v.Add(vr), values));
    };
    EXPECT_EQ(text("IS", Doubles{-1.9, 1e99, std::nan("")}), "-1\\2147483647\\0 ");
    EXPECT_EQ(text("IS", Words{0xFFFF}), "-1");
    EXPECT_EQ(text("DS", Doubles{1, -0.5, 1e300, 123456789012345}),
              "1.\\-0.5\\1e+300\\123456789012345. ");
    EXPECT_EQ(text("LO", Words{'a', 'b' + 256}), "ab");
    // What was parsed before goes.
    _DICOMELEMENT *element = v.Add("SS", "ab");
    v.ds.GetShortValue(element, 0, 1);
    Write(v, element, Words{3, 4});
    EXPECT_EQ(v.ds.GetShortValue(element, 0, 2)[1], 4);
}

TEST(FindSetValue, FailureLeavesTheDataSetAlone) {
    Values v;
    const uint16_t rows = 512;
    _DICOMELEMENT *sequence = v.Add("SQ");
    EXPECT_EQ(v.ds.FindSetValue(nullptr, sequence->nTag, &rows, 1, VALUE_ARRAY_WORD), nullptr);
    EXPECT_EQ(v.ds.FindSetValue(nullptr, kRows, &rows, 1, 5), nullptr);
    EXPECT_EQ(v.ds.FindSetValue(nullptr, kRows, nullptr, 1, VALUE_ARRAY_WORD), nullptr);
    EXPECT_EQ(v.ds.FindFirstElement(nullptr, kRows, 0), nullptr);
    _DICOMELEMENT *element = v.ds.FindSetValue(nullptr, kRows, &rows, 1, VALUE_ARRAY_WORD);
    ASSERT_NE(element, nullptr);
    EXPECT_EQ(element->nVR, Code("US"));
    EXPECT_EQ(v.ds.FindSetValue(nullptr, kRows, &rows, 0xFFFFFFF0u, 9), nullptr);
    EXPECT_EQ(v.ds.FindSetValue(nullptr, kRows, nullptr, 0, VALUE_ARRAY_WORD), element);
    EXPECT_EQ(*v.ds.GetShortValue(element, 0, 1), 512);
}
