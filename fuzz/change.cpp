// Changes the transfer syntax of any data set, and its frames: a change without loss keeps the
// pictures, a refused one all bytes. The first two bytes choose syntaxes, quality and edits.

#include <algorithm>
#include <string_view>

#include "Images.h"

namespace {

using namespace fuzz;

constexpr const wchar_t *kSyntaxes[] = {L"1.2.840.10008.1.2",      L"1.2.840.10008.1.2.1",
                                        L"1.2.840.10008.1.2.2",    L"1.2.840.10008.1.2.5",
                                        L"1.2.840.10008.1.2.4.57", L"1.2.840.10008.1.2.4.70",
                                        L"1.2.840.10008.1.2.4.90", L"1.2.840.10008.1.2.4.50",
                                        L"1.2.840.10008.1.2.4.51", L"1.2.840.10008.1.2.4.91"};
constexpr size_t kLossless = 7; // as many of them are

/** What a frame looks like. */
struct Picture {
    uint16_t status = 0;
    int32_t depth = 0;
    std::vector<uint8_t> rows;
    bool operator==(const Picture &) const = default;
};

Picture LookAt(MDicomDS &ds, _DICOMELEMENT *pixels) {
    _BITMAPHANDLE bitmap;
    Picture picture;
    picture.status = ds.GetImage(pixels, &bitmap, sizeof bitmap, 0, 0, 0,
                                 DICOM_GETIMAGE_FULL_RANGE_YBR, nullptr, nullptr);
    if (picture.status != DICOM_SUCCESS) return picture;
    picture.depth = bitmap.nBitsPerPixel;
    const int32_t bytes = (bitmap.nWidth * bitmap.nBitsPerPixel + 7) / 8;
    for (int32_t row = 0; row < bitmap.nHeight; ++row) {
        const uint8_t *data = KernelLendBitmapRow(&bitmap, row);
        picture.rows.insert(picture.rows.end(), data, data + bytes);
    }
    KernelFreeBitmap(&bitmap);
    return picture;
}

/** False where the colours of a stream are guessed. */
bool TellsItsColours(MDicomDS &ds, _DICOMELEMENT *pixels) {
    static constexpr std::wstring_view kKnown[] = {
        L"MONOCHROME1", L"MONOCHROME2", L"PALETTE COLOR", L"RGB", L"YBR_FULL",
        L"YBR_RCT",     L"YBR_ICT",     L"YBR_FULL_422",  L"CMYK"};
    _DICOMIMAGE image{};
    if (ds.FindFirstElement(nullptr, 0x00280002, 1) == nullptr) return false;
    if (ds.GetInfoImage(pixels, &image, 0) != DICOM_SUCCESS) return false;
    const std::wstring_view told(image.szPhotometricInterpretation);
    return std::find(std::begin(kKnown), std::end(kKnown), told) != std::end(kKnown);
}

void Change(MDicomDS &ds, size_t syntax, int32_t quality) {
    const Saved before = Save(ds, 0);
    _DICOMELEMENT *pixels = ds.FindFirstElement(nullptr, TAG_PIXEL_DATA, 1);
    const Picture picture = LookAt(ds, pixels);
    const uint32_t frames = ds.GetCountImage(pixels);
    const bool comparable = picture.status == DICOM_SUCCESS && TellsItsColours(ds, pixels);
    const uint16_t status = ds.ChangeTransferSyntax(kSyntaxes[syntax], quality, 0);
    if (status != DICOM_SUCCESS) {
        Require(Save(ds, 0).bytes == before.bytes);
        return;
    }
    if (pixels == nullptr) return; // icons may stay as they are
    Require(ds.GetCountImage(pixels) == frames);
    const Picture after = LookAt(ds, pixels);
    if (!comparable) return;
    Require(after.status == DICOM_SUCCESS);
    Require(syntax >= kLossless || after == picture);
}

/** Puts a copy of a frame in, with all that an encoder is asked for, and takes frames out. */
void EditFrames(MDicomDS &ds, uint8_t choice) {
    _BITMAPHANDLE bitmap;
    if (ds.GetImage(nullptr, &bitmap, sizeof bitmap, 0, 0, 0, 0, nullptr, nullptr) != 0) return;
    const uint32_t frames = ds.GetCountImage(nullptr);
    if (choice & 1) ds.DeleteImage(nullptr, 0, frames);
    const uint32_t left = ds.GetCountImage(nullptr);
    const uint16_t status =
        ds.InsertImage(nullptr, &bitmap, choice & 2 ? 0 : 0xFFFF, choice >> 2 & 7, choice >> 5 & 3,
                       0, 20, 0, nullptr, nullptr);
    // A frame that was cut short no longer counts behind a whole one.
    Require(status == DICOM_SUCCESS || ds.GetCountImage(nullptr) == left);
    KernelFreeBitmap(&bitmap);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input(data, size);
    const uint8_t first = input.Byte();
    const uint8_t edit = input.Byte();
    std::vector<uint8_t> bytes = input.Rest();
    MDicomDS ds(nullptr);
    if (bytes.empty() || ds.LoadDSMemory(bytes.data(), bytes.size(), 0) != DICOM_SUCCESS) return 0;
    if (!AreImagesSmall(ds)) return 0;
    constexpr size_t kCount = std::size(kSyntaxes);
    Change(ds, first % kCount, first);
    EditFrames(ds, edit);
    Change(ds, first / kCount % kCount, 50);
    return 0;
}
