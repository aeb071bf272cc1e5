// Palettes out of an image: descriptors, plain and segmented tables, and the colours of pixels. An
// input is: descriptors, form, length of the red table in words, tables; all pixel values occur.

#include "Support.h"

namespace {

using namespace fuzz;

void SetNumbers(MDicomDS &ds, uint32_t tag, std::vector<uint32_t> numbers) {
    ds.FindSetValue(nullptr, tag, numbers.data(), static_cast<uint32_t>(numbers.size()),
                    VALUE_ARRAY_DWORD);
}

void SetBytes(MDicomDS &ds, uint32_t tag, uint16_t vr, std::vector<uint8_t> bytes) {
    _DICOMELEMENT *element = ds.InsertElement(nullptr, 0, tag, vr, 0, 0);
    Require(element != nullptr);
    ds.SetBinaryValue(element, bytes.data(), static_cast<uint32_t>(bytes.size()));
}

/** An image in which every pixel value of 8 bits occurs; of 16 bits every 16th. */
void MakePixels(MDicomDS &ds, bool words, bool isSigned) {
    const uint32_t bits = words ? 16 : 8;
    SetNumbers(ds, 0x00280002, {1});
    SetBytes(ds, 0x00280004, 0, {'P', 'A', 'L', 'E', 'T', 'T', 'E', ' ', 'C', 'O', 'L', 'O', 'R'});
    SetNumbers(ds, 0x00280010, {words ? 64u : 16u});
    SetNumbers(ds, 0x00280011, {words ? 64u : 16u});
    SetNumbers(ds, 0x00280100, {bits});
    SetNumbers(ds, 0x00280101, {bits});
    SetNumbers(ds, 0x00280102, {bits - 1});
    SetNumbers(ds, 0x00280103, {isSigned ? 1u : 0u});
    std::vector<uint8_t> pixels;
    for (uint32_t value = 0; value < (words ? 0x10000u : 0x100u); value += words ? 16 : 1) {
        pixels.push_back(static_cast<uint8_t>(value));
        if (words) pixels.push_back(static_cast<uint8_t>(value >> 8));
    }
    SetBytes(ds, TAG_PIXEL_DATA, words ? 0x4F57 : 0x4F42, pixels);
}

/** Descriptors and tables; the green and the blue table share what red leaves. */
void MakePalette(MDicomDS &ds, Input &input, uint8_t form) {
    for (uint32_t colour = 0; colour < 3; ++colour) {
        std::vector<uint32_t> numbers;
        for (int i = 0; i < 3; ++i) numbers.push_back(input.Word());
        SetNumbers(ds, 0x00281101 + colour, numbers);
    }
    const size_t red = input.Byte() * size_t{2};
    const std::vector<uint8_t> tables[] = {input.Bytes(red), input.Bytes(red), input.Rest()};
    for (uint32_t colour = 0; colour < 3; ++colour) {
        const bool segmented = form >> colour & 1;
        const uint16_t vr = form & 8 ? 0x5553 : 0x4F57;
        SetBytes(ds, (segmented ? 0x00281221 : 0x00281201) + colour, vr, tables[colour]);
    }
}

void LoadPicture(MDicomDS &ds, int32_t depth) {
    _BITMAPHANDLE bitmap;
    if (ds.GetImage(nullptr, &bitmap, sizeof bitmap, 0, depth, 0, 0, nullptr, nullptr) == 0) {
        KernelFreeBitmap(&bitmap);
    }
}

/** The tables of a palette, one behind the other; empty unless all three can be read. */
std::vector<uint16_t> TablesOf(MDicomDS &ds, const tagDICOMPALCOLORLUTATTRIBS &attributes) {
    std::vector<uint16_t> tables;
    const _DICOMLUTDESCRIPTOR *descriptors[] = {
        &attributes.RedDescriptor, &attributes.GreenDescriptor, &attributes.BlueDescriptor};
    for (uint32_t type = PALETTE_LUT_RED; type <= PALETTE_LUT_BLUE; ++type) {
        std::vector<uint16_t> table(descriptors[type]->nNumberOfEntries);
        const auto entries = static_cast<uint32_t>(table.size());
        if (ds.GetPaletteColorLUTData(table.data(), entries, type, 0) != DICOM_SUCCESS) return {};
        tables.insert(tables.end(), table.begin(), table.end());
    }
    return tables;
}

/** What the getters give, the setters take. */
void StoreAgain(MDicomDS &ds) {
    tagDICOMPALCOLORLUTATTRIBS attributes;
    if (ds.GetPaletteColorLUTAttributes(&attributes, sizeof attributes, 0) != 0) return;
    std::vector<uint16_t> tables = TablesOf(ds, attributes);
    if (tables.empty() || ds.SetPaletteColorLUTAttributes(&attributes, 0) != 0) return;
    uint16_t *table = tables.data();
    const uint32_t counts[] = {attributes.RedDescriptor.nNumberOfEntries,
                               attributes.GreenDescriptor.nNumberOfEntries,
                               attributes.BlueDescriptor.nNumberOfEntries};
    for (uint32_t type = PALETTE_LUT_RED; type <= PALETTE_LUT_BLUE; ++type) {
        Require(ds.SetPaletteColorLUTData(table, counts[type], type, 0) == DICOM_SUCCESS);
        table += counts[type];
    }
    Require(TablesOf(ds, attributes) == tables);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input(data, size);
    const uint8_t form = input.Byte();
    MDicomDS ds(nullptr);
    MakePixels(ds, form & 0x10, form & 0x20);
    MakePalette(ds, input, form);
    LoadPicture(ds, 0);
    StoreAgain(ds);
    LoadPicture(ds, 24);
    ds.DeletePaletteColorLUT(0);
    return 0;
}
