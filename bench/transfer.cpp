// A change of the transfer syntax of many frames against its parts: decoding all of them, and
// encoding all of them.

#include "MDicom.h"
#include "Measure.h"
#include "Mvkrnx.h"

namespace {

constexpr uint32_t kSide = 512;
constexpr uint32_t kFrames = 100;
constexpr uint32_t kFrameBytes = kSide * kSide * 2;

void SetNumber(MDicomDS &ds, uint32_t tag, uint32_t value) {
    ds.FindSetValue(nullptr, tag, &value, 1, VALUE_ARRAY_DWORD);
}

void SetText(MDicomDS &ds, uint32_t tag, const char *text) {
    ds.FindSetValue(nullptr, tag, text, static_cast<uint32_t>(std::char_traits<char>::length(text)),
                    VALUE_ARRAY_BYTE);
}

/** Smooth slices of 12 bits with some noise. */
std::vector<uint16_t> MakeFrames() {
    std::vector<uint16_t> samples(size_t{kSide} * kSide * kFrames);
    uint32_t noise = 1;
    for (size_t i = 0; i < samples.size(); ++i) {
        noise = noise * 1664525 + 1013904223;
        const size_t x = i % kSide;
        const size_t y = i / kSide % kSide;
        samples[i] = static_cast<uint16_t>((x * 3 + y * 2 + (noise >> 29)) & 0xFFF);
    }
    return samples;
}

void MakeImage(MDicomDS &ds, std::vector<uint16_t> &samples) {
    SetText(ds, 0x00020010, "1.2.840.10008.1.2.1");
    SetNumber(ds, 0x00280002, 1);
    SetText(ds, 0x00280004, "MONOCHROME2");
    SetNumber(ds, 0x00280008, kFrames);
    SetNumber(ds, 0x00280010, kSide);
    SetNumber(ds, 0x00280011, kSide);
    SetNumber(ds, 0x00280100, 16);
    SetNumber(ds, 0x00280101, 12);
    SetNumber(ds, 0x00280102, 11);
    SetNumber(ds, 0x00280103, 0);
    _DICOMELEMENT *pixels = ds.InsertElement(nullptr, 0, TAG_PIXEL_DATA, 0x4F57, 0, 0);
    ds.SetBinaryValue(pixels, samples.data(), static_cast<uint32_t>(samples.size() * 2));
}

void DecodeAll(MDicomDS &ds) {
    for (uint32_t i = 0; i < kFrames; ++i) {
        _BITMAPHANDLE bitmap;
        bench::Check(ds.GetImage(nullptr, &bitmap, sizeof bitmap, i, 0, 0, 0, nullptr, nullptr) ==
                     DICOM_SUCCESS);
        KernelFreeBitmap(&bitmap);
    }
}

void Change(MDicomDS &ds, const wchar_t *uid) {
    bench::Check(ds.ChangeTransferSyntax(uid, 0, 0) == DICOM_SUCCESS);
}

constexpr const wchar_t *kNative = L"1.2.840.10008.1.2.1";

struct Step {
    const char *name;
    const char *what; ///< the parts
    const wchar_t *from;
    const wchar_t *to;
};

struct Round {
    double change;
    double parts;
    double peak; ///< megabytes
};

/** Encoding alone is what a change from native samples takes, whose decoding is a read; that of
 *  native samples is to store them. */
Round Measure(std::vector<uint16_t> &samples, const Step &step) {
    MDicomDS ds(nullptr);
    MakeImage(ds, samples);
    Change(ds, step.from);
    Round round{};
    round.parts = bench::Seconds([&] { DecodeAll(ds); });
    MDicomDS native(nullptr);
    const double storing = bench::Seconds([&] { MakeImage(native, samples); });
    const bool isStored = step.to == kNative;
    round.parts += isStored ? storing : bench::Seconds([&] { Change(native, step.to); });
    round.peak =
        bench::PeakMegabytes([&] { round.change = bench::Seconds([&] { Change(ds, step.to); }); });
    return round;
}

void Print(std::vector<uint16_t> &samples, const Step &step) {
    std::vector<double> changes;
    std::vector<double> parts;
    std::vector<double> ratios;
    double peak = 0;
    for (int i = 0; i < bench::Runs(7); ++i) {
        const Round round = Measure(samples, step);
        changes.push_back(round.change);
        parts.push_back(round.parts);
        ratios.push_back(round.parts / round.change);
        peak = std::max(peak, round.peak);
    }
    // At most a tenth more than the parts, and memory for fewer than eight frames.
    const double ratio = bench::Median(ratios);
    const double frames = peak * 1048576 / kFrameBytes;
    bench::Row{std::string("change of syntax, ") + step.name,
               "100 frames of 12 bits, 512 x 512",
               bench::Duration(bench::Median(changes)),
               step.what + (": " + bench::Duration(bench::Median(parts))),
               bench::Text("%.2f", ratio),
               bench::Text("%.1f frames", frames),
               ">= 0.91, < 8 frames",
               ratio >= 0.91 && frames < 8}
        .Print();
}

} // namespace

int main(int count, char **arguments) {
    bench::Start(count, arguments);
    std::vector<uint16_t> samples = MakeFrames();
    constexpr const wchar_t *kRle = L"1.2.840.10008.1.2.5";
    constexpr const wchar_t *kJpeg = L"1.2.840.10008.1.2.4.70";
    const Step steps[] = {
        {"lossless JPEG to RLE", "decoding all and encoding all", kJpeg, kRle},
        {"RLE to lossless JPEG", "decoding all and encoding all", kRle, kJpeg},
        {"RLE to native", "decoding all and storing all", kRle, kNative},
        {"lossless JPEG to native", "decoding all and storing all", kJpeg, kNative},
    };
    for (const Step &step : steps) Print(samples, step);
    return 0;
}
