// Heads of the codestreams in real files. What the reader is to find is what an independent
// program prints of the same streams.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "Stream.h"
#include "support/RealFiles.h"

namespace {

/** Image and tile size, components, depth and sign. */
const std::map<std::string, Numbers> kFacts = {
    {"693_J2KI.dcm", {512, 512, 512, 512, 1, 16, 1}},
    {"GDCMJ2K_TextGBR.dcm", {400, 400, 128, 128, 3, 8, 0}}, // behind the boxes of a JP2 file
    {"J2K_pixelrep_mismatch.dcm", {512, 512, 512, 512, 1, 13, 0}},
    {"JPEG2000.dcm", {256, 1024, 256, 1024, 1, 16, 1}},
    {"MR_small_jp2klossless.dcm", {64, 64, 64, 64, 1, 16, 1}},
    {"SC_rgb_gdcm_KY.dcm", {100, 100, 100, 100, 3, 8, 0}},
    {"emri_small_jpeg_2k_lossless.dcm", {64, 64, 64, 64, 1, 16, 0}},
    {"ELSCINT1_JP2vsJ2K.dcm", {512, 512, 512, 512, 1, 12, 0}},
    {"MR4_J2KR", {512, 512, 512, 512, 1, 12, 0}},
    {"US1_J2KR.dcm", {640, 480, 640, 480, 3, 8, 0}},
    {"VL6_J2KI", {756, 486, 756, 486, 3, 8, 0}},
};

/** The first fragment behind the offset table. */
Bytes FirstFragment(const std::filesystem::path &path) {
    MDicomDS ds(nullptr);
    if (ds.LoadDS(path.wstring().c_str(), 0) != DICOM_SUCCESS) return {};
    _DICOMELEMENT *pixels = ds.FindFirstElement(nullptr, TAG_PIXEL_DATA, 1);
    _DICOMELEMENT *table = pixels != nullptr ? ds.GetChildElement(pixels, 1) : nullptr;
    _DICOMELEMENT *item = table != nullptr ? ds.GetNextElement(table, 1, 1) : nullptr;
    if (item == nullptr) return {};
    Bytes bytes(item->nLength);
    if (!ds.GetBinaryValue(item, bytes.data(), item->nLength)) return {};
    return bytes;
}

class RealJ2kHeaders : public testing::Test {
  protected:
    static inline std::map<std::string, Bytes> fragments;

    static void SetUpTestSuite() {
        for (const auto &path : support::RealFiles()) {
            const std::string name = path.filename().string();
            if (kFacts.contains(name)) fragments[name] = FirstFragment(path);
        }
    }
    void SetUp() override {
        if (fragments.empty()) GTEST_SKIP() << "no real files here";
    }

    /** From SOC to the last byte of the SIZ segment. */
    static Bytes HeadOf(const Bytes &fragment) {
        static constexpr uint8_t kStart[] = {0xFF, 0x4F, 0xFF, 0x51};
        const auto soc =
            std::search(fragment.begin(), fragment.end(), std::begin(kStart), std::end(kStart));
        if (fragment.end() - soc < 6) return {};
        return Bytes(soc, soc + 4 + soc[4] * 256 + soc[5]);
    }
};

TEST_F(RealJ2kHeaders, TellWhatAnotherProgramTells) {
    for (const auto &[name, fragment] : fragments) {
        J2KHeaderReader reader;
        ASSERT_EQ(Feed(reader, fragment), 1) << name;
        const auto &first = reader.Components[0];
        EXPECT_EQ((Numbers{reader.nXsiz, reader.nYsiz, reader.nXTsiz, reader.nYTsiz, reader.nCsiz,
                           first.nDepth, first.bSigned}),
                  kFacts.at(name))
            << name;
        EXPECT_EQ(reader.GetTotalDepth(), reader.nCsiz * first.nDepth) << name;
    }
}

TEST_F(RealJ2kHeaders, CutAnywhereAreIncompleteUntilTheRestComes) {
    for (const auto &[name, fragment] : fragments) {
        const Bytes head = HeadOf(fragment);
        J2KHeaderReader whole;
        ASSERT_EQ(Feed(whole, head), 1) << name;
        for (auto cut = head.begin(); cut != head.end(); ++cut) {
            J2KHeaderReader reader;
            ASSERT_EQ(Feed(reader, head.begin(), cut), 0) << name;
            ASSERT_EQ(reader.GetTotalDepth(), 0u) << name;
            ASSERT_EQ(Feed(reader, cut, head.end()), 1) << name;
            ASSERT_EQ(ResultOf(reader), ResultOf(whole)) << name << cut - head.begin();
        }
    }
}

TEST_F(RealJ2kHeaders, WithFlippedBitsReadTheSameInPieces) {
    for (const auto &[name, fragment] : fragments) {
        const Bytes head = HeadOf(fragment);
        for (size_t bit = 0; bit < head.size() * 8; ++bit) {
            Bytes flipped = head;
            flipped[bit / 8] ^= static_cast<uint8_t>(1 << bit % 8);
            J2KHeaderReader whole;
            J2KHeaderReader singly;
            ASSERT_EQ(Feed(whole, flipped), FeedSingly(singly, flipped)) << name << bit;
            ASSERT_EQ(ResultOf(whole), ResultOf(singly)) << name << bit;
        }
    }
}

} // namespace
