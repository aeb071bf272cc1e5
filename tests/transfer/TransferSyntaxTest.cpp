// Changes of the transfer syntax: what every syntax keeps, what it refuses, and that a change which
// fails leaves nothing behind.

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <set>

#include "support/Images.h"
#include "support/RealFiles.h"
#include "support/TestFiles.h"
#include "support/TreeCompare.h"

namespace {

using namespace support;

const std::wstring kImplicit = L"1.2.840.10008.1.2";
const std::wstring kExplicit = L"1.2.840.10008.1.2.1";
const std::wstring kBig = L"1.2.840.10008.1.2.2";
const std::wstring kRle = L"1.2.840.10008.1.2.5";
const std::wstring kBaseline = L"1.2.840.10008.1.2.4.50";
const std::wstring kExtended = L"1.2.840.10008.1.2.4.51";
const std::wstring kLossless14 = L"1.2.840.10008.1.2.4.57";
const std::wstring kLossless = L"1.2.840.10008.1.2.4.70";
const std::wstring kJ2kLossless = L"1.2.840.10008.1.2.4.90";
const std::wstring kJ2k = L"1.2.840.10008.1.2.4.91";

constexpr Form kForms[] = {
    {"gray8", "MONOCHROME2", 1, 8, 8, 7, 0, 0, 3},
    {"gray8inverted", "MONOCHROME1", 1, 8, 8, 7, 0, 0, 1},
    {"gray10", "MONOCHROME2", 1, 16, 10, 9, 0, 0, 2},
    {"gray12", "MONOCHROME2", 1, 16, 12, 11, 0, 0, 3},
    {"gray12high", "MONOCHROME2", 1, 16, 12, 15, 0, 0, 2},
    {"gray16", "MONOCHROME2", 1, 16, 16, 15, 0, 0, 2},
    {"signed12", "MONOCHROME2", 1, 16, 12, 11, 1, 0, 2},
    {"signed16", "MONOCHROME2", 1, 16, 16, 15, 1, 0, 2},
    {"palette8", "PALETTE COLOR", 1, 8, 8, 7, 0, 0, 2},
    {"rgb", "RGB", 3, 8, 8, 7, 0, 0, 2},
    {"planes", "RGB", 3, 8, 8, 7, 0, 1, 2},
    {"ybr", "YBR_FULL", 3, 8, 8, 7, 0, 0, 2},
    {"bits", "MONOCHROME2", 1, 1, 1, 0, 0, 0, 3},
    {"gray32", "MONOCHROME2", 1, 32, 32, 31, 0, 0, 2},
};

bool Is(const Form &form, const char *name) {
    return std::string(form.name) == name;
}

/** Status that a change to a syntax is expected to give. */
uint16_t Expected(const Form &form, const std::wstring &uid) {
    const bool isNative = uid == kImplicit || uid == kExplicit || uid == kBig;
    if (isNative || uid == kRle) return DICOM_SUCCESS;
    if (uid == kBaseline && form.stored > 8) return DICOM_ERROR_PARAMETER;
    if (uid == kExtended && form.stored != 12) return DICOM_ERROR_PARAMETER;
    if (form.allocated == 1) return DICOM_ERROR_COMPRESSION;
    if (form.allocated == 32) return DICOM_ERROR_PARAMETER;
    const bool isLossy = uid == kBaseline || uid == kExtended || uid == kJ2k;
    if (isLossy && Is(form, "palette8")) return DICOM_ERROR_PHOTOMETRIC;
    const bool isLossyJpeg = uid == kBaseline || uid == kExtended;
    return isLossyJpeg && form.isSigned ? DICOM_ERROR_PARAMETER : DICOM_SUCCESS;
}

double PeakOf(const Form &form) {
    return std::pow(2.0, form.allocated > 8 ? form.stored : 8) - 1;
}

/** Peak signal to noise ratio of two pictures in dB. The second one may have its stored bits moved
 *  down. */
double Psnr(const Form &form, const Picture &first, const Picture &second, int shift) {
    const size_t bytes = first.depth == 16 ? 2 : 1;
    const size_t count = first.rows.size() / bytes;
    const int low = static_cast<int>(form.high + 1 - form.stored);
    const auto value = [&](const Picture &picture, size_t i, int bits) -> double {
        if (bytes == 1) return picture.rows[i];
        const int word = picture.rows[2 * i] | picture.rows[2 * i + 1] << 8;
        return form.isSigned ? static_cast<int16_t>(word) : word >> bits;
    };
    double sum = 0;
    for (size_t i = 0; i < count; ++i) {
        sum += std::pow(value(first, i, low) - value(second, i, low - shift), 2);
    }
    const double peak = PeakOf(form);
    return sum == 0 ? 200 : 10 * std::log10(peak * peak * static_cast<double>(count) / sum);
}

/** Bytes of all frames as they are stored. */
double BytesOfFrames(MDicomDS &ds) {
    double total = 0;
    for (uint32_t i = 0, size = 0; i < M_DicomGetCountImage(&ds, nullptr); ++i, total += size) {
        ds.GetFrameBinaryData(ds.FindFirstElement(nullptr, TAG_PIXEL_DATA, 1), i, nullptr, &size);
    }
    return total;
}

class EachForm : public testing::TestWithParam<Form> {};

TEST_P(EachForm, KeepsItsPixelsThroughEverySyntaxWithoutLoss) {
    const Form &form = GetParam();
    const support::TemporaryFolder folder;
    MDicomDS ds(nullptr);
    MakeImage(ds, form);
    const std::vector<Picture> before = LoadAll(ds);
    ASSERT_EQ(before.size(), form.frames);
    ASSERT_EQ(before[0].status, DICOM_SUCCESS);
    const std::wstring chain[] = {kRle,         kBig,      kLossless,   kImplicit,
                                  kJ2kLossless, kExplicit, kLossless14, kRle,
                                  kJ2kLossless, kLossless, kBig};
    for (const std::wstring &uid : chain) {
        const uint16_t status = M_DicomChangeTransferSyntax(&ds, uid.c_str(), 0, 0);
        ASSERT_EQ(status, Expected(form, uid)) << std::string(uid.begin(), uid.end());
        if (status != DICOM_SUCCESS) continue;
        EXPECT_EQ(support::StoredText(ds, 0x00020010), std::string(uid.begin(), uid.end()));
        EXPECT_TRUE(LoadAll(ds) == before) << std::string(uid.begin(), uid.end());
        EXPECT_EQ(ds.FindFirstElement(nullptr, 0x7FE0000F, 0), nullptr);
        ASSERT_EQ(ds.SaveDS(folder.WideFile("changed.dcm").c_str(), DS_METAHEADER_PRESENT), 0);
        MDicomDS again(nullptr);
        ASSERT_EQ(again.LoadDS(folder.WideFile("changed.dcm").c_str(), 0), 0);
        EXPECT_TRUE(LoadAll(again) == before) << std::string(uid.begin(), uid.end());
    }
}

TEST_P(EachForm, StaysAboveFortyDecibelsAtBestQuality) {
    const Form &form = GetParam();
    for (const std::wstring &uid : {kBaseline, kExtended, kJ2k}) {
        MDicomDS ds(nullptr);
        MakeImage(ds, form);
        const std::vector<Picture> before = LoadAll(ds);
        const uint16_t status = M_DicomChangeTransferSyntax(&ds, uid.c_str(), 2, 0);
        ASSERT_EQ(status, Expected(form, uid)) << std::string(uid.begin(), uid.end());
        if (status != DICOM_SUCCESS) continue;
        const std::vector<Picture> after = LoadAll(ds);
        ASSERT_EQ(after.size(), before.size());
        for (size_t i = 0; i < before.size(); ++i) {
            ASSERT_EQ(after[i].rows.size(), before[i].rows.size());
            // JPEG of 12 bits has them at the low end.
            const int shift = uid == kExtended && Is(form, "gray12high") ? 4 : 0;
            EXPECT_GT(Psnr(form, before[i], after[i], shift), 40)
                << std::string(uid.begin(), uid.end());
        }
        EXPECT_EQ(support::StoredText(ds, 0x00282110), "01");
        EXPECT_NEAR(std::stod(support::StoredText(ds, 0x00282112)) * BytesOfFrames(ds),
                    MakeValue(form).size(), 0.02 * BytesOfFrames(ds));
        EXPECT_EQ(support::StoredText(ds, 0x00282114), uid == kJ2k ? "ISO_15444_1" : "ISO_10918_1");
        // A second compression with loss is told of behind the first.
        const std::wstring &other =
            uid == kJ2k ? (form.stored == 12 ? kExtended : kBaseline) : kJ2k;
        if (M_DicomChangeTransferSyntax(&ds, other.c_str(), 2, 0) != DICOM_SUCCESS) continue;
        EXPECT_EQ(support::StoredText(ds, 0x00282114),
                  uid == kJ2k ? "ISO_15444_1\\ISO_10918_1" : "ISO_10918_1\\ISO_15444_1");
    }
}

INSTANTIATE_TEST_SUITE_P(Images, EachForm, testing::ValuesIn(kForms),
                         [](const auto &info) { return std::string(info.param.name); });

TEST(TransferSyntax, RefusesWhatItDoesNotKnowAndChangesNothingForItself) {
    MDicomDS ds(nullptr);
    MakeImage(ds, kForms[0]);
    EXPECT_EQ(M_DicomChangeTransferSyntax(&ds, nullptr, 0, 0), DICOM_ERROR_PARAMETER);
    EXPECT_EQ(M_DicomChangeTransferSyntax(&ds, L"1.2.840.10008.1.2.4.80", 0, 0),
              DICOM_ERROR_PARAMETER);
    EXPECT_EQ(M_DicomChangeTransferSyntax(&ds, kExplicit.c_str(), 0, 0), DICOM_SUCCESS);
    EXPECT_EQ(ds.GetKeepPixelDataIntactFlag(), 0);
    EXPECT_EQ(M_DicomChangeTransferSyntax(&ds, kLossless14.c_str(), 0, 0), DICOM_SUCCESS);
    EXPECT_NE(ds.GetKeepPixelDataIntactFlag(), 0);
    // The other process of the same class: the stored data stand.
    EXPECT_EQ(M_DicomChangeTransferSyntax(&ds, kLossless.c_str(), 0, 0), DICOM_SUCCESS);
    EXPECT_EQ(support::StoredText(ds, 0x00020010), "1.2.840.10008.1.2.4.57");
    EXPECT_EQ(M_DicomChangeTransferSyntax(&ds, kBig.c_str(), 0, 0), DICOM_SUCCESS);
    EXPECT_EQ(ds.GetKeepPixelDataIntactFlag(), 0);
}

/** Icons are native within any syntax, also those whose rows do not end where a byte does. */
TEST(TransferSyntax, AnIconStaysThroughOthers) {
    constexpr Form kBits = {"bits", "MONOCHROME2", 1, 1, 1, 0, 0, 0, 1};
    MDicomDS ds(nullptr);
    MakeImage(ds, kBits);
    _DICOMELEMENT *icons = ds.InsertElement(nullptr, 0, 0x00880200, 0, 1, 0);
    _DICOMELEMENT *item = ds.InsertElement(icons, 1, TAG_ITEM, 0, 1, 0);
    _DICOMELEMENT *icon = ds.InsertElement(item, 1, TAG_PIXEL_DATA, 'O' << 8 | 'B', 0, 0);
    Bytes value = MakeValue(kBits);
    std::reverse(value.begin(), value.end());
    ds.SetBinaryValue(icon, value.data(), static_cast<uint32_t>(value.size()));
    const std::vector<Picture> before = LoadAll(ds);
    for (const std::wstring &uid : {kRle, kExplicit}) {
        ASSERT_EQ(M_DicomChangeTransferSyntax(&ds, uid.c_str(), 0, 0), DICOM_SUCCESS);
        EXPECT_TRUE(LoadAll(ds) == before) << std::string(uid.begin(), uid.end());
    }
    // One with a codec of its own is compressed as the image is.
    ASSERT_EQ(M_DicomChangeTransferSyntax(&ds, kRle.c_str(), 0, 0), DICOM_SUCCESS);
    _DICOMELEMENT *frame = ds.FindLastElement(nullptr, TAG_ITEM, 0);
    Bytes fragment = support::ValueOf(ds, frame);
    ds.DeleteElement(icon);
    icon = ds.InsertElement(item, 1, TAG_PIXEL_DATA, 'O' << 8 | 'B', 1, 0);
    ds.InsertElement(icon, 1, TAG_ITEM, 'O' << 8 | 'B', 0, 0);
    frame = ds.InsertElement(icon, 1, TAG_ITEM, 'O' << 8 | 'B', 0, 1);
    ds.SetBinaryValue(frame, fragment.data(), static_cast<uint32_t>(fragment.size()));
    const std::vector<Picture> both = LoadAll(ds);
    ASSERT_EQ(both.size(), 2u);
    ASSERT_EQ(M_DicomChangeTransferSyntax(&ds, kExplicit.c_str(), 0, 0), DICOM_SUCCESS);
    EXPECT_TRUE(LoadAll(ds) == both);
}

TEST(TransferSyntax, TurnsEveryValueOfADataSetWithoutPixels) {
    support::Encoder file;
    file.Meta(support::kExplicitUid).Element(0x00080060, "CS", "MR");
    file.Header(0x00081140, "SQ", 0xFFFFFFFF).Plain(TAG_ITEM, 0xFFFFFFFF);
    file.Element(0x00280010, "US", "\x01\x02");
    file.Plain(TAG_ITEM_DELIMITATION, 0).Plain(TAG_SEQUENCE_DELIMITATION, 0);
    std::string pieces(150000, 'x'); // more than are turned at a time
    for (size_t i = 0; i < pieces.size(); ++i) pieces[i] = static_cast<char>(i * 7 + i / 1000);
    file.Element(0x00281201, "OW", pieces);
    file.Element(0x00280103, "US", "\x03\x04").Element(0x00189087, "FD", "12345678");
    MDicomDS original(nullptr);
    MDicomDS ds(nullptr);
    ASSERT_EQ(support::LoadBytes(original, file.bytes), 0);
    ASSERT_EQ(support::LoadBytes(ds, file.bytes), 0);
    const support::TemporaryFolder folder;
    for (const std::wstring &uid : {kBig, kImplicit, kBig, kExplicit}) {
        ASSERT_EQ(M_DicomChangeTransferSyntax(&ds, uid.c_str(), 0, 0), DICOM_SUCCESS);
        EXPECT_EQ(support::Difference(original, ds), "");
        ASSERT_EQ(ds.SaveDS(folder.WideFile("turned.dcm").c_str(), 0), 0);
        MDicomDS again(nullptr);
        ASSERT_EQ(again.LoadDS(folder.WideFile("turned.dcm").c_str(), 0), 0);
        EXPECT_EQ(support::Difference(original, again), "");
    }
}

/** All elements with their values, as a text that two moments can be compared by. */
std::string Snapshot(MDicomDS &ds) {
    std::string text;
    for (_DICOMELEMENT *element = ds.GetFirstElement(nullptr, 0, 1); element != nullptr;
         element = ds.GetNextElement(element, 0, 1)) {
        text += support::Describe(element) + std::to_string(ds.GetLevelElement(element));
        for (const uint8_t byte : support::ValueOf(ds, element)) text += static_cast<char>(byte);
    }
    return text + std::to_string(ds.m_nFlags);
}

TEST(TransferSyntax, KeepsTheFramesOfRealFiles) {
    unsigned changes = 0;
    std::map<std::string, unsigned> refusals;
    for (const auto &path : support::RealFiles()) {
        for (const std::wstring &uid : {kExplicit, kRle, kLossless, kJ2kLossless, kBig}) {
            MDicomDS ds(nullptr);
            if (ds.LoadDS(path.wstring().c_str(), 0) != DICOM_SUCCESS) break;
            _DICOMELEMENT *pixels = ds.FindFirstElement(nullptr, TAG_PIXEL_DATA, 1);
            if (pixels == nullptr || Load(ds, 0).status != DICOM_SUCCESS) break;
            // Packed samples of 12 bits get words of their own in most syntaxes.
            const int32_t depth = Load(ds, 0).depth == 12 ? 16 : 0;
            const Picture before = Load(ds, 0, depth);
            const uint32_t frames = M_DicomGetCountImage(&ds, pixels);
            const std::string snapshot = Snapshot(ds);
            const uint16_t status = M_DicomChangeTransferSyntax(&ds, uid.c_str(), 0, 0);
            if (status != DICOM_SUCCESS) {
                ++refusals[path.filename().string() + " " + std::to_string(status)];
                EXPECT_EQ(Snapshot(ds), snapshot) << path;
                continue;
            }
            ++changes;
            EXPECT_EQ(M_DicomGetCountImage(&ds, pixels), frames) << path;
            EXPECT_TRUE(Load(ds, 0, depth) == before)
                << path << std::string(uid.begin(), uid.end());
        }
    }
    RecordProperty("changes", static_cast<int>(changes));
    for (const auto &[name, count] : refusals)
        std::printf("refused: %s (%u)\n", name.c_str(), count);
}

} // namespace
