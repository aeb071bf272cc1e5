// create: makes a new data set of a class, fills it, and saves it.
//
//   create out.dcm ct|mr|sc|gsps
//
// InitDS makes the elements that the class must have, empty. What remains is to give each of them
// a value, and to add those that this object has for a condition of its own.

#include <cstdio>
#include <span>
#include <string_view>
#include <vector>

#include "ExampleText.h"

namespace {

struct Text {
    uint32_t tag;
    std::string value; ///< several values have backslashes between them
};

struct Number {
    uint32_t tag;
    std::vector<int32_t> values;
};

/** What objects of a class have beyond what all have. */
struct Recipe {
    std::string_view word;
    uint32_t iodClass;
    bool isImage;
    std::vector<Text> texts;
};

// All that a real program makes gets UIDs of its own, for instance from UUIDs (PS 3.5, B.2).
const std::string kUidRoot = "2.25.32980073569858662929564197851150617291";

const std::vector<Text> kAll = {
    {0x00020001, std::string("\0\1", 2)},
    {0x00020003, kUidRoot + "4"},
    {0x00020012, kUidRoot + "0"},
    {0x00080018, kUidRoot + "4"},
    {0x00080020, "20240229"},
    {0x00080030, "101530"},
    {0x00080050, "A4711"},
    {0x00080070, "Example"},
    {0x00080090, "House^Mary"},
    {0x00100010, "Doe^Jane"},
    {0x00100020, "4711"},
    {0x00100030, "19700131"},
    {0x00100040, "F"},
    {0x00180015, "HEAD"},
    {0x0020000D, kUidRoot + "1"},
    {0x0020000E, kUidRoot + "2"},
    {0x00200010, "1"},
    {0x00200011, "1"},
    {0x00200013, "1"},
};

const std::vector<Text> kSlice = {
    {0x00180050, "5"},
    {0x00200032, "-80\\-80\\0"},
    {0x00200037, "1\\0\\0\\0\\1\\0"},
    {0x00200052, kUidRoot + "3"},
    {0x00280030, "0.625\\0.625"},
    {0x00281050, "128"},
    {0x00281051, "256"},
};

const Recipe kRecipes[] = {
    {"ct",
     1,
     true,
     {{0x00080008, "ORIGINAL\\PRIMARY\\AXIAL"},
      {0x00180060, "120"},
      {0x00185100, "HFS"},
      {0x00200012, "1"},
      {0x00281052, "-1024"},
      {0x00281053, "1"}}},
    {"mr",
     2,
     true,
     {{0x00080008, "ORIGINAL\\PRIMARY\\OTHER"},
      {0x00180020, "SE"},
      {0x00180021, "NONE"},
      {0x00180023, "2D"},
      {0x00180080, "500"},
      {0x00180081, "15"},
      {0x00180091, "1"},
      {0x00185100, "HFS"}}},
    {"sc", 9, true, {{0x00080064, "WSD"}, {0x00200020, "L\\F"}}},
    {"gsps",
     85,
     false,
     {{0x00080060, "PR"},
      {0x00700080, "EXAMPLE"},
      {0x00700081, "A displayed area"},
      {0x00700082, "20240229"},
      {0x00700083, "101530"},
      {0x00700084, "House^Mary"},
      {0x20500020, "IDENTITY"}}},
};

constexpr uint16_t kSize = 256; ///< rows and columns of the image

/** Sets texts on the level of an element; null stands for the top level. */
bool SetTexts(MDicomDS &ds, _DICOMELEMENT *level, std::span<const Text> texts) {
    for (const Text &text : texts) {
        _DICOMELEMENT *element = ds.FindFirstElement(level, text.tag, 1);
        if (element == nullptr) element = ds.InsertElement(level, 0, text.tag, 0, 0, 0);
        std::string bytes = text.value;
        const auto length = static_cast<uint32_t>(bytes.size());
        if (element == nullptr || !ds.SetBinaryValue(element, bytes.data(), length)) return false;
    }
    return true;
}

/** FindSetValue converts numbers to the VR of the element, and inserts it if it is missing. */
bool SetNumbers(MDicomDS &ds, _DICOMELEMENT *level, std::span<const Number> numbers) {
    for (const Number &number : numbers) {
        const auto count = static_cast<uint32_t>(number.values.size());
        if (ds.FindSetValue(level, number.tag, number.values.data(), count, VALUE_ARRAY_DWORD) ==
            nullptr) {
            return false;
        }
    }
    return true;
}

/** First element in the first item of a sequence on the level of an element. */
_DICOMELEMENT *FirstOfItem(MDicomDS &ds, _DICOMELEMENT *level, uint32_t sequence) {
    return ds.GetChildElement(ds.GetChildElement(ds.FindFirstElement(level, sequence, 1), 1), 1);
}

/** A gray image with a ramp from left to right. */
bool SetImage(MDicomDS &ds) {
    const Number description[] = {
        {0x00280002, {1}},  {0x00280010, {kSize}}, {0x00280011, {kSize}}, {0x00280100, {16}},
        {0x00280101, {12}}, {0x00280102, {11}},    {0x00280103, {0}},
    };
    const Text photometric[] = {{0x00280004, "MONOCHROME2"}};
    std::vector<uint16_t> pixels(size_t{kSize} * kSize);
    for (size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<uint16_t>(i % kSize);
    _DICOMELEMENT *element = ds.InsertElement(nullptr, 0, TAG_PIXEL_DATA, 0, 0, 0);
    return SetNumbers(ds, nullptr, description) && SetTexts(ds, nullptr, photometric) &&
           ds.SetBinaryValue(element, pixels.data(),
                             static_cast<uint32_t>(pixels.size() * sizeof pixels[0]));
}

/** A presentation state shows one image, all of it. InitDS made one item in each sequence. */
bool SetPresentation(MDicomDS &ds) {
    _DICOMELEMENT *series = FirstOfItem(ds, nullptr, 0x00081115);
    _DICOMELEMENT *image = FirstOfItem(ds, series, 0x00081140);
    _DICOMELEMENT *area = FirstOfItem(ds, nullptr, 0x0070005A);
    const Text inSeries[] = {{0x0020000E, kUidRoot + "5"}};
    const Text inImage[] = {{0x00081150, "1.2.840.10008.5.1.4.1.1.2"},
                            {0x00081155, kUidRoot + "6"}};
    const Text inArea[] = {{0x00700100, "SCALE TO FIT"}, {0x00700102, "1\\1"}};
    const Number corners[] = {{0x00700052, {1, 1}}, {0x00700053, {kSize, kSize}}};
    return SetTexts(ds, series, inSeries) && SetTexts(ds, image, inImage) &&
           SetTexts(ds, area, inArea) && SetNumbers(ds, area, corners);
}

bool Fill(MDicomDS &ds, const Recipe &recipe) {
    ds.InitDS(recipe.iodClass, DS_ADD_MANDATORY_ELEMENTS_ONLY | DS_ADD_MANDATORY_MODULES_ONLY);
    const bool isSlice = recipe.isImage && ds.FindModule(16) != nullptr; // Image Plane
    return SetTexts(ds, nullptr, kAll) && SetTexts(ds, nullptr, recipe.texts) &&
           (!isSlice || SetTexts(ds, nullptr, kSlice)) &&
           (recipe.isImage ? SetImage(ds) : SetPresentation(ds));
}

const Recipe *FindRecipe(std::string_view word) {
    for (const Recipe &recipe : kRecipes) {
        if (recipe.word == word) return &recipe;
    }
    return nullptr;
}

} // namespace

int main(int argc, char **argv) {
    const Recipe *recipe = argc == 3 ? FindRecipe(argv[2]) : nullptr;
    if (recipe == nullptr) {
        std::fprintf(stderr, "usage: create out ct|mr|sc|gsps\n");
        return 2;
    }
    MDicomDS ds(nullptr);
    if (!Fill(ds, *recipe)) return Fail(argv[2], "a value cannot be set");
    const uint16_t status = ds.SaveDS(Wide(argv[1]).c_str(), 0);
    return status == DICOM_SUCCESS ? 0 : Fail(argv[1], StatusText(status));
}
