// Makes the files that whole processes are measured with.
//
//   make_inputs FOLDER [--quick]
//
// Folders of it: ct (500 small slices), slices (60 of 512 x 512), color (20 of 1024 x 1024, RGB),
// reports (10 of 16,000 elements in nested sequences), multi (100 frames in one file), large
// (400 frames). All native, explicit VR little endian.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "MDicom.h"

namespace {

namespace fs = std::filesystem;

const std::string kUidRoot = "2.25.32980073569858662929564197851150617292";
constexpr const char *kCt = "1.2.840.10008.5.1.4.1.1.2";
constexpr const char *kMultiFrame = "1.2.840.10008.5.1.4.1.1.7.3"; // word secondary capture
constexpr const char *kColor = "1.2.840.10008.5.1.4.1.1.7";
constexpr const char *kReport = "1.2.840.10008.5.1.4.1.1.88.33";

struct Text {
    uint32_t tag;
    const char *value;
};

constexpr Text kTexts[] = {
    {0x00080008, "ORIGINAL\\PRIMARY\\AXIAL"},
    {0x00080012, "20240229"},
    {0x00080013, "101529"},
    {0x00080020, "20240229"},
    {0x00080021, "20240229"},
    {0x00080022, "20240229"},
    {0x00080023, "20240229"},
    {0x00080030, "101530"},
    {0x00080031, "101612.25"},
    {0x00080032, "101613.5"},
    {0x00080033, "101614"},
    {0x00080050, "A4711"},
    {0x00080060, "CT"},
    {0x00080070, "Example"},
    {0x00080080, "House of examples"},
    {0x00080081, "1 Example Street"},
    {0x00080090, "House^Mary"},
    {0x00081010, "STATION1"},
    {0x00081030, "Head, plain"},
    {0x0008103E, "Axial 5 mm"},
    {0x00081040, "Radiology"},
    {0x00081050, "Reader^Ann"},
    {0x00081070, "Operator^Otto"},
    {0x00081090, "Model 1"},
    {0x00100010, "Doe^Jane"},
    {0x00100020, "4711"},
    {0x00100030, "19700131"},
    {0x00100040, "F"},
    {0x00101010, "054Y"},
    {0x00101020, "1.72"},
    {0x00101030, "68.5"},
    {0x001021B0, "Headache for two weeks, no injury, no fever"},
    {0x00180015, "HEAD"},
    {0x00180022, "HELICAL MODE"},
    {0x00180050, "5"},
    {0x00180060, "120"},
    {0x00180090, "500"},
    {0x00181000, "123456"},
    {0x00181020, "1.0.17"},
    {0x00181030, "Head"},
    {0x00181100, "250"},
    {0x00181110, "1085.6"},
    {0x00181111, "595"},
    {0x00181120, "0"},
    {0x00181130, "144.5"},
    {0x00181140, "CW"},
    {0x00181150, "1000"},
    {0x00181151, "220"},
    {0x00181152, "220"},
    {0x00181160, "BODY FILTER"},
    {0x00181170, "26"},
    {0x00181190, "1.2"},
    {0x00181210, "STANDARD"},
    {0x00185100, "HFS"},
    {0x00200010, "1"},
    {0x00200011, "2"},
    {0x00200012, "1"},
    {0x00200032, "-125\\-125\\50"},
    {0x00200037, "1\\0\\0\\0\\1\\0"},
    {0x00201040, "SN"},
    {0x00201041, "50"},
    {0x00204000, "Nothing to say about this image"},
};

constexpr Text kGeometry[] = {
    {0x00280030, "0.488281\\0.488281"},
    {0x00281050, "2048"},
    {0x00281051, "4096"},
};

void Check(bool good, const char *what) {
    if (good) return;
    std::fprintf(stderr, "make_inputs: %s\n", what);
    std::exit(1);
}

void SetBytes(MDicomDS &ds, uint32_t tag, const void *bytes, size_t count) {
    _DICOMELEMENT *element = ds.FindFirstElement(nullptr, tag, 0);
    if (element == nullptr) element = ds.InsertElement(nullptr, 0, tag, 0, 0, 0);
    Check(element != nullptr && ds.SetBinaryValue(element, const_cast<void *>(bytes),
                                                  static_cast<uint32_t>(count)) != 0,
          "a value cannot be set");
}

void SetText(MDicomDS &ds, uint32_t tag, std::string_view text) {
    SetBytes(ds, tag, text.data(), text.size());
}

void SetNumber(MDicomDS &ds, uint32_t tag, uint32_t value) {
    Check(ds.FindSetValue(nullptr, tag, &value, 1, VALUE_ARRAY_DWORD) != nullptr,
          "a number cannot be set");
}

void Describe(MDicomDS &ds, const char *sopClass, int number) {
    const std::string instance = kUidRoot + ".3." + std::to_string(number);
    SetText(ds, 0x00020001, std::string_view("\0\1", 2));
    SetText(ds, 0x00020002, sopClass);
    SetText(ds, 0x00020003, instance);
    SetText(ds, 0x00020010, "1.2.840.10008.1.2.1");
    SetText(ds, 0x00020012, kUidRoot + ".0");
    SetText(ds, 0x00080016, sopClass);
    SetText(ds, 0x00080018, instance);
    for (const Text &text : kTexts) SetText(ds, text.tag, text.value);
    SetText(ds, 0x0020000D, kUidRoot + ".1");
    SetText(ds, 0x0020000E, kUidRoot + ".2");
    SetText(ds, 0x00200013, std::to_string(number));
    SetText(ds, 0x00200052, kUidRoot + ".4");
}

struct Shape {
    uint32_t side;
    uint32_t frames;
    uint32_t samples; ///< 1 of 12 bits, or 3 of 8
};

/** Soft round shapes under noise of a few bits, and black around them, as slices have them. */
uint32_t Value(uint32_t x, uint32_t y, uint32_t side, uint32_t shift, uint32_t &random) {
    random = random * 1664525 + 1013904223;
    const auto fromCenter = [side](uint32_t at) {
        return static_cast<int32_t>(2 * at) - static_cast<int32_t>(side);
    };
    const auto across = static_cast<uint32_t>(fromCenter(x) * fromCenter(x));
    const auto down = static_cast<uint32_t>(fromCenter(y) * fromCenter(y));
    const uint32_t square = across + down;
    const uint32_t radius = side * side * 4 / 5;
    if (square >= radius) return 0;
    const uint32_t body = (radius - square) / (radius / 2048 + 1);
    const uint32_t organs = ((x + shift) / 32 + y / 48) % 5 * 160;
    return body + organs + (random >> 28);
}

std::vector<uint8_t> Pixels(const Shape &shape, uint32_t number) {
    const size_t sampleBytes = shape.samples == 1 ? 2 : 1;
    std::vector<uint8_t> pixels;
    pixels.reserve(size_t{shape.side} * shape.side * shape.frames * shape.samples * sampleBytes);
    uint32_t random = number + 1;
    for (uint32_t frame = 0; frame < shape.frames; ++frame) {
        for (uint32_t y = 0; y < shape.side; ++y) {
            for (uint32_t x = 0; x < shape.side; ++x) {
                const uint32_t value = Value(x, y, shape.side, 3 * (number + frame), random);
                if (shape.samples == 1) {
                    pixels.push_back(static_cast<uint8_t>(value));
                    pixels.push_back(static_cast<uint8_t>(value >> 8));
                } else {
                    for (uint32_t i = 0; i < 3; ++i) {
                        pixels.push_back(static_cast<uint8_t>(value >> (4 + i / 2)));
                    }
                }
            }
        }
    }
    return pixels;
}

void SetImage(MDicomDS &ds, const Shape &shape, uint32_t number) {
    const bool isGray = shape.samples == 1;
    for (const Text &text : kGeometry) {
        if (isGray || text.tag == 0x00280030) SetText(ds, text.tag, text.value);
    }
    SetText(ds, 0x00280004, isGray ? "MONOCHROME2" : "RGB");
    SetNumber(ds, 0x00280002, shape.samples);
    if (!isGray) SetNumber(ds, 0x00280006, 0);
    if (shape.frames > 1) SetText(ds, 0x00280008, std::to_string(shape.frames));
    SetNumber(ds, 0x00280010, shape.side);
    SetNumber(ds, 0x00280011, shape.side);
    SetNumber(ds, 0x00280100, isGray ? 16 : 8);
    SetNumber(ds, 0x00280101, isGray ? 12 : 8);
    SetNumber(ds, 0x00280102, isGray ? 11 : 7);
    SetNumber(ds, 0x00280103, 0);
    if (isGray) {
        SetText(ds, 0x00281052, "-1024");
        SetText(ds, 0x00281053, "1");
    }
    const std::vector<uint8_t> pixels = Pixels(shape, number);
    SetBytes(ds, TAG_PIXEL_DATA, pixels.data(), pixels.size());
}

/** Items in items, a few elements in each. */
void AddContent(MDicomDS &ds, _DICOMELEMENT *parent, int depth, int width) {
    constexpr uint32_t kContentSequence = 0x0040A730;
    _DICOMELEMENT *sequence =
        ds.InsertElement(parent, parent != nullptr, kContentSequence, 0, 1, 0);
    Check(sequence != nullptr, "a sequence cannot be inserted");
    for (int i = 0; i < width; ++i) {
        _DICOMELEMENT *item = ds.InsertElement(sequence, 1, TAG_ITEM, 0, 1, 0xFFFFFFFF);
        Check(item != nullptr, "an item cannot be inserted");
        const Text texts[] = {{0x0040A010, "CONTAINS"},
                              {0x0040A040, "TEXT"},
                              {0x0040A160, "a finding that is told in a few words"}};
        for (const Text &text : texts) {
            _DICOMELEMENT *element = ds.InsertElement(item, 1, text.tag, 0, 0, 0);
            Check(element != nullptr &&
                      ds.SetBinaryValue(
                          element, const_cast<char *>(text.value),
                          static_cast<uint32_t>(std::string_view(text.value).size())) != 0,
                  "an item cannot be filled");
        }
        if (depth > 1) AddContent(ds, item, depth - 1, width);
    }
}

void Save(MDicomDS &ds, const fs::path &folder, int number) {
    char name[16];
    std::snprintf(name, sizeof name, "%03d.dcm", number);
    const uint16_t status =
        ds.SaveDS((folder / name).wstring().c_str(), DS_METAHEADER_PRESENT | DS_EXPLICIT_VR);
    Check(status == DICOM_SUCCESS, "a file cannot be saved");
}

void MakeImages(const fs::path &folder, const char *sopClass, int files, const Shape &shape) {
    fs::create_directories(folder);
    for (int i = 0; i < files; ++i) {
        MDicomDS ds(nullptr);
        Describe(ds, sopClass, i + 1);
        SetImage(ds, shape, static_cast<uint32_t>(i));
        Save(ds, folder, i);
    }
}

void MakeReports(const fs::path &folder, int files) {
    fs::create_directories(folder);
    for (int i = 0; i < files; ++i) {
        MDicomDS ds(nullptr);
        Describe(ds, kReport, i + 1);
        SetText(ds, 0x00080060, "SR");
        AddContent(ds, nullptr, 5, 5); // 3,905 items of five elements
        Save(ds, folder, i);
    }
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: make_inputs folder [--quick]\n");
        return 2;
    }
    const fs::path folder = argv[1];
    const bool isQuick = argc > 2 && std::string_view(argv[2]) == "--quick";
    const auto count = [isQuick](int files) { return isQuick ? std::min(files, 3) : files; };
    const auto frames = [isQuick](uint32_t wanted) { return isQuick ? 4u : wanted; };
    MakeImages(folder / "ct", kCt, count(500), {128, 1, 1});
    MakeImages(folder / "slices", kCt, count(60), {512, 1, 1});
    MakeImages(folder / "color", kColor, count(20), {1024, 1, 3});
    MakeImages(folder / "multi", kMultiFrame, 1, {512, frames(100), 1});
    MakeImages(folder / "large", kMultiFrame, 1, {512, frames(400), 1});
    MakeReports(folder / "reports", count(10));
    return 0;
}
