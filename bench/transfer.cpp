// A change of the transfer syntax of many frames against its parts: decoding all of them, and
// encoding all of them. Prints times as ratios, and the peak memory of the change in frames.

#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <functional>
#include <vector>

#include "MDicom.h"
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

double Seconds(const std::function<void()> &work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

long PeakKilobytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

void DecodeAll(MDicomDS &ds) {
    for (uint32_t i = 0; i < kFrames; ++i) {
        _BITMAPHANDLE bitmap;
        if (ds.GetImage(nullptr, &bitmap, sizeof bitmap, i, 0, 0, 0, nullptr, nullptr) != 0) {
            std::printf("frame %u does not decode\n", i);
            return;
        }
        KernelFreeBitmap(&bitmap);
    }
}

struct Step {
    const char *name;
    const wchar_t *uid;
};

/** Encoding alone: from native samples, whose decoding is a read. */
double EncodeSeconds(std::vector<uint16_t> &samples, const wchar_t *uid) {
    MDicomDS ds(nullptr);
    MakeImage(ds, samples);
    return Seconds([&] { ds.ChangeTransferSyntax(uid, 0, 0); });
}

} // namespace

int main() {
    std::vector<uint16_t> samples = MakeFrames();
    const Step steps[] = {{"RLE", L"1.2.840.10008.1.2.5"},
                          {"JPEG lossless", L"1.2.840.10008.1.2.4.70"},
                          {"RLE again", L"1.2.840.10008.1.2.5"},
                          {"native", L"1.2.840.10008.1.2.1"}};
    MDicomDS ds(nullptr);
    MakeImage(ds, samples);
    std::printf("%u frames of %u x %u, 16 bits\n", kFrames, kSide, kSide);
    for (const Step &step : steps) {
        const double decode = Seconds([&] { DecodeAll(ds); });
        const bool isNative = step.uid == steps[3].uid;
        const double encode = isNative ? 0 : EncodeSeconds(samples, step.uid);
        const long before = PeakKilobytes();
        uint16_t status = 0;
        const double change = Seconds([&] { status = ds.ChangeTransferSyntax(step.uid, 0, 0); });
        const double frames = static_cast<double>(PeakKilobytes() - before) * 1024 / kFrameBytes;
        std::printf(
            "to %-14s status %u, %.0f MB/s, change / (decode + encode) %.2f, "
            "peak memory grew by %.1f frames\n",
            step.name, status, kFrames * kFrameBytes / 1e6 / change, change / (decode + encode),
            frames);
    }
    return 0;
}
