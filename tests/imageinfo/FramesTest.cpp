// Frames of Pixel Data: how many there are and where each lies.

#include <gtest/gtest.h>

#include <chrono>

#include "Access.h"

namespace {

using mdicom::DataSetAccess;

const std::string kStart("\xFF\xD8\xFF\xE0", 4);
const std::string kMore("\x01\x02\x03\x04", 4);

std::string J2kStart(size_t length, size_t place = 0) {
    std::string bytes(length, '\0');
    bytes.replace(place, 4, "\xFF\x4F\xFF\x51");
    return bytes;
}

std::string Offsets(const std::vector<uint32_t> &offsets) {
    std::string bytes;
    for (const uint32_t offset : offsets) {
        for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(offset >> shift);
    }
    return bytes;
}

/** Which child of Pixel Data a frame begins with; -1 for a failure. */
int StartOf(Image &image, uint32_t frame) {
    _IMAGEINFO info;
    if (DataSetAccess::Describe(image, &info, frame, 0) != 0) return -1;
    int place = 0;
    for (_DICOMELEMENT *item = image.ds.GetChildElement(image.pixels, 1);
         item != info.pFrameElement; item = image.ds.GetNextElement(item, 1, 1)) {
        ++place;
    }
    return place;
}

std::vector<int> Starts(Image &image) {
    std::vector<int> starts;
    const uint32_t count = image.ds.GetCountImage(image.pixels);
    for (uint32_t i = 0; i < count; ++i) starts.push_back(StartOf(image, i));
    EXPECT_EQ(StartOf(image, count), -1) << "behind the last";
    return starts;
}

struct ScanCase {
    const char *name;
    const char *syntax;
    std::vector<std::string> items;
    std::vector<int> starts;
    uint32_t numberOfFrames = 0;
};

void ExpectStarts(const std::vector<ScanCase> &cases) {
    for (const ScanCase &each : cases) {
        Image image;
        image.Syntax(each.syntax);
        if (each.numberOfFrames > 0) image.Set(0x00280008, {each.numberOfFrames});
        image.Fragments(each.items);
        EXPECT_EQ(Starts(image), each.starts) << each.name;
    }
}

TEST(Frames, FragmentsTellWhereAFrameBegins) {
    const std::string j2k = J2kStart(512, 508);
    ExpectStarts({
        {"two JPEG frames", kJpeg, {"", kStart, kMore, kStart}, {1, 3}},
        {"a fragment in front of the first start", kJpeg, {"", kMore, kStart, kMore}, {2}},
        {"fewer than counted", kJpeg, {"", kStart, kMore, kStart}, {1, 3}, 7},
        {"J2K in any of 512 bytes", kJ2k, {"", j2k, kMore, j2k}, {1, 3}},
        {"J2K behind 512 bytes", kJ2k, {"", j2k, J2kStart(600, 510), j2k}, {1, 3}},
        {"short J2K", kJ2k, {"", j2k, J2kStart(510)}, {1}},
        {"a single frame without a sign", kJ2k, {"", J2kStart(600, 510), kMore}, {1}, 1},
        {"several frames without a sign", kJ2k, {"", kMore, kMore}, {}, 3},
        {"short J2K frames as counted", kJ2k, {"", J2kStart(40), j2k, J2kStart(40)}, {1, 2, 3}, 3},
        {"RLE", kRle, {"", kMore, kMore, ""}, {1, 2, 3}},
        {"no table", kJpeg, {std::string(100, 'x')}, {0}},
        {"too short a single item", kJpeg, {"xx"}, {}},
        {"nothing", kJpeg, {}, {}},
    });
}

TEST(Frames, APlausibleOffsetTableIsFollowed) {
    ExpectStarts({
        {"hidden starts", kJpeg, {Offsets({0, 24}), kMore, kMore, kMore}, {1, 3}},
        {"between fragments", kJpeg, {Offsets({0, 20}), kStart, kMore, kStart}, {1, 3}},
        {"not from the first", kJpeg, {Offsets({12, 24}), kStart, kMore, kStart}, {1, 3}},
        {"not ascending", kJpeg, {Offsets({0, 0}), kStart, kMore, kStart}, {1, 3}},
        {"more than fragments", kJpeg, {Offsets({0, 12, 24, 36}), kStart, kMore, kStart}, {1, 3}},
        {"other count", kJpeg, {Offsets({0}), kStart, kMore, kStart}, {1, 3}, 2},
        {"odd table", kJpeg, {Offsets({0, 24}) + "ab", kStart, kStart}, {1, 2}},
    });
}

TEST(Frames, ChangesOfFragmentsAreNoticed) {
    Image image;
    image.Syntax(kJpeg);
    image.Fragments({"", kStart, kMore});
    EXPECT_EQ(Starts(image), (std::vector<int>{1}));
    _DICOMELEMENT *added = image.Fragment(kStart);
    EXPECT_EQ(Starts(image), (std::vector<int>{1, 3}));
    image.ds.SetBinaryValue(added, std::string(kMore).data(), 4);
    EXPECT_EQ(Starts(image), (std::vector<int>{1}));
    image.ds.SetBinaryValue(added, std::string(kStart).data(), 4);
    image.ds.DeleteElement(image.ds.GetPrevElement(added, 1, 1));
    EXPECT_EQ(Starts(image), (std::vector<int>{1, 2}));
    image.Syntax(kRle);
    EXPECT_EQ(Starts(image), (std::vector<int>{1, 2}));
    image.ds.SetBinaryValue(added, nullptr, 0);
    uint32_t bad = 0;
    uint32_t good = 0;
    EXPECT_EQ(image.ds.IsBadPixelData(&bad, &good), 1);
    EXPECT_EQ(bad, 1u);
    EXPECT_EQ(good, 1u);
}

TEST(Frames, ChildrenThatAreNoFragmentsHaveAStatus) {
    Image image;
    image.Syntax(kJpeg);
    image.Fragments({"", kStart});
    image.ds.InsertElement(image.pixels, 1, TAG_ITEM, 'O' << 8 | 'B', 1, 0xFFFFFFFF);
    EXPECT_EQ(image.Status(), DICOM_ERROR_IMAGE);
    EXPECT_EQ(image.ds.GetCountImage(image.pixels), 0u);
}

TEST(Frames, NativeFramesStandBehindEachOther) {
    for (const auto &[length, count] : {std::pair{40u, 1u}, {120, 3}, {130, 3}, {10, 1}, {0, 0}}) {
        Image image;
        image.Set(0x00280008, {5});
        image.Native(length);
        EXPECT_EQ(image.ds.GetCountImage(nullptr), count) << length;
        uint32_t good = 0;
        EXPECT_EQ(image.ds.IsBadPixelData(nullptr, &good), 0) << length;
        EXPECT_EQ(good, count);
        _IMAGEINFO info;
        EXPECT_EQ(DataSetAccess::Describe(image, &info, count, 0), DICOM_ERROR_IMAGE);
        if (count != 3) continue;
        EXPECT_EQ(DataSetAccess::Describe(image, &info, 2, 0), 0);
        EXPECT_EQ(info.nFrameOffset, 80u);
        EXPECT_EQ(info.nOrder, 2u);
    }
}

TEST(Frames, SizeCountsPlanesRowsOfBitsAndSharedChrominance) {
    const auto expect = [](Image &image, uint32_t size, uint32_t frames) {
        _IMAGEINFO info;
        EXPECT_EQ(DataSetAccess::Describe(image, &info, 0, 0), 0);
        EXPECT_EQ(info.nFrameSize, size);
        EXPECT_EQ(info.nFrameCount, frames);
        return info;
    };
    Image planes(4, 6, 8);
    planes.Photometric("RGB");
    planes.Set(0x00280002, {3});
    planes.Set(0x00280006, {1});
    planes.Set(0x00280103, {1});
    planes.Native(144);
    EXPECT_EQ(expect(planes, 72, 2).nPixelRepresentation, 0u);
    Image bits(4, 9, 1);
    bits.Native(8);
    expect(bits, 8, 1);
    Image shared(4, 6, 8);
    shared.Photometric("YBR_FULL_422");
    shared.Set(0x00280002, {3});
    shared.Set(0x00280008, {3});
    shared.Native(144);
    expect(shared, 48, 3);
    shared.Set(0x00280008, {2});
    expect(shared, 72, 2);
}

TEST(Frames, CompressedValuesOfDefinedLengthAreOneFrame) {
    Image image;
    image.Syntax(kJpeg);
    image.Native(400);
    EXPECT_EQ(image.Info().nFrameCount, 1u);
    EXPECT_EQ(image.Status(1), DICOM_ERROR_IMAGE);
}

TEST(Frames, ManyFragmentsTakeLinearTime) {
    constexpr uint32_t kCount = 50'000;
    const auto start = std::chrono::steady_clock::now();
    Image image;
    image.Syntax(kJpeg);
    image.Fragments({""});
    for (uint32_t i = 0; i < kCount; ++i) image.Fragment(i % 2 == 0 ? kStart : "");
    EXPECT_EQ(image.ds.GetCountImage(image.pixels), kCount / 2);
    for (uint32_t i = 0; i < kCount / 2; ++i) ASSERT_EQ(image.Status(i), 0);
    uint32_t good = 0;
    EXPECT_EQ(image.ds.IsBadPixelData(nullptr, &good), 0);
    EXPECT_EQ(good, kCount / 2);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

/** The palettes of an image, or nothing after a failure. */
std::vector<uint16_t> RedOf(Image &image, uint16_t expected) {
    _IMAGEINFO info;
    EXPECT_EQ(DataSetAccess::Describe(image, &info, 0, 1), expected);
    std::vector<uint16_t> red;
    if (info.pRedTable != nullptr) red.assign(info.pRedTable, info.pRedTable + info.nRedEntries);
    DataSetAccess::Free(image, &info);
    EXPECT_EQ(info.pRedTable, nullptr);
    return red;
}

TEST(Palettes, TablesAreLoadedWordsBytesAndSegments) {
    Image image(2, 2, 8);
    image.Photometric("PALETTE COLOR");
    for (const uint32_t tag : {0x00281101u, 0x00281102u, 0x00281103u}) image.Set(tag, {6, 0, 16});
    image.Native(4);
    EXPECT_EQ(RedOf(image, 0), std::vector<uint16_t>(6)) << "no table";
    // discrete 2 (10 20), line 2 to 40, both again
    image.Set(0x00281221, {0, 2, 10, 20, 1, 2, 40, 2, 1, 0, 0});
    EXPECT_EQ(RedOf(image, 0), (std::vector<uint16_t>{10, 20, 30, 40, 10, 20}));
    image.Set(0x00281221, {3, 1, 1});
    RedOf(image, DICOM_ERROR_IMAGE_ATTRIBUTE);
    image.Set(0x00281201, {1, 2, 3, 4, 5, 6});
    EXPECT_EQ(RedOf(image, 0), (std::vector<uint16_t>{1, 2, 3, 4, 5, 6}));
    image.Set(0x00281101, {6, 0, 8});
    image.Set(0x00281201, {0x0201, 0x0403, 0x0605});
    EXPECT_EQ(RedOf(image, 0), (std::vector<uint16_t>{1, 2, 3, 4, 5, 6}));
}

} // namespace
