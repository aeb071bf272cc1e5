// Speed of the JPEG codec. Pictures are made here: slow gradients under noise of a few bits.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <vector>

#include "BareJpeg.h"
#include "companions/MFCMPX/MFCMPX.h"

namespace {

using Bytes = std::vector<uint8_t>;

constexpr uint32_t kWidth = 2048;
constexpr uint32_t kHeight = 2048;
constexpr int kRuns = 9;

double Seconds(const std::function<void()> &work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/** The shortest of several runs: others share the machine. */
double Least(const std::function<void()> &work) {
    double least = Seconds(work);
    for (int i = 1; i < kRuns; ++i) least = std::min(least, Seconds(work));
    return least;
}

void Check(bool good) {
    if (!good) std::abort();
}

/** A value of some bits at a place, with noise of some bits. */
uint32_t Sample(uint32_t x, uint32_t y, int bits, int noiseBits, uint32_t &random) {
    random = random * 1664525 + 1013904223;
    const double wave = 0.5 + 0.25 * std::sin(x / 97.0) + 0.2 * std::cos(y / 61.0 + x / 301.0);
    const auto level = static_cast<uint32_t>(wave * ((1 << bits) - 1));
    return std::min((level + (random >> 20 & ((1u << noiseBits) - 1))), (1u << bits) - 1);
}

Bytes Picture(int depth) {
    const size_t stride = (size_t{kWidth} * static_cast<size_t>(depth) + 31) / 32 * 4;
    Bytes rows(stride * kHeight);
    uint32_t random = 1;
    for (uint32_t y = 0; y < kHeight; ++y) {
        uint8_t *row = rows.data() + y * stride;
        for (uint32_t x = 0; x < kWidth; ++x) {
            if (depth == 16) {
                const auto sample = static_cast<uint16_t>(Sample(x, y, 16, 7, random));
                std::memcpy(row + 2 * x, &sample, sizeof sample);
            } else if (depth == 12) {
                const uint32_t sample = Sample(x, y, 12, 5, random) << (x % 2 * 4);
                row[x / 2 * 3 + x % 2] |= static_cast<uint8_t>(sample);
                row[x / 2 * 3 + x % 2 + 1] |= static_cast<uint8_t>(sample >> 8);
            } else {
                for (uint32_t i = 0; i < 3; ++i) {
                    row[3 * x + i] = static_cast<uint8_t>(Sample(x + 40 * i, y, 8, 3, random));
                }
            }
        }
    }
    return rows;
}

Bytes Save(const Bytes &rows, int depth, int quality, Bytes &room) {
    _MFCMPXBITMAP header = {};
    header.nSize = sizeof header;
    header.nWidth = kWidth;
    header.nHeight = -static_cast<int32_t>(kHeight);
    header.nPlanes = 1;
    header.nBitCount = static_cast<uint16_t>(depth);
    auto size = static_cast<uint32_t>(room.size());
    Check(fltSaveBuffer(rows.data(), &header, room.data(), &size, quality, 0, 0, nullptr,
                        nullptr) == MFCMPX_SUCCESS);
    return Bytes(room.begin(), room.begin() + size);
}

void Load(const Bytes &stream, int bitsPerPixel, Bytes &rows) {
    Check(fltLoadBuffer(stream.data(), static_cast<uint32_t>(stream.size()), rows.data(),
                        MFCMPX_COLOR_YBR, kWidth, kHeight, bitsPerPixel, nullptr,
                        nullptr) == MFCMPX_SUCCESS);
}

/** Megabytes of pixels per second, a sample of more than 8 bits counting as two bytes. */
double Rate(size_t pixelBytes, double seconds) {
    return static_cast<double>(pixelBytes) * kWidth * kHeight / 1e6 / seconds;
}

void Row(const char *what, double value, const char *unit, const char *wanted) {
    std::printf("%-44s %9.2f %-6s wanted: %s\n", what, value, unit, wanted);
}

void Gray(const char *what, int depth, int quality, const char *decodeGoal,
          const char *encodeGoal) {
    const Bytes rows = Picture(depth);
    Bytes room(size_t{kWidth} * kHeight * 4);
    Bytes decoded(size_t{kWidth} * kHeight * 2);
    Bytes stream;
    const double encoding = Least([&] { stream = Save(rows, depth, quality, room); });
    const double decoding = Least([&] { Load(stream, 16, decoded); });
    const double copying = Least([&] {
        std::memcpy(room.data(), decoded.data(), decoded.size());
        asm volatile("" : : "r"(room.data()) : "memory");
    });
    std::printf("%s: %.2f bits per pixel\n", what,
                8.0 * static_cast<double>(stream.size()) / kWidth / kHeight);
    Row("  decode", Rate(2, decoding), "MB/s", decodeGoal);
    Row("  encode", Rate(2, encoding), "MB/s", encodeGoal);
    Row("  decode, times of a memory copy", decoding / copying, "", "-");
}

void Color() {
    const Bytes rows = Picture(24);
    Bytes room(size_t{kWidth} * kHeight * 4);
    Bytes decoded(size_t{kWidth} * kHeight * 3);
    Bytes stream;
    const double encoding = Least([&] { stream = Save(rows, 24, 25, room); });
    double own = 1e9;
    double bare = 1e9;
    for (int i = 0; i < 2 * kRuns; ++i) { // in turns: the machine's speed changes
        own = std::min(own, Seconds([&] { Load(stream, 24, decoded); }));
        bare = std::min(bare, Seconds([&] { bare::DecodeJpeg(stream, decoded); }));
    }
    std::printf("8 bits, colour, lossy: %.2f bits per pixel\n",
                8.0 * static_cast<double>(stream.size()) / kWidth / kHeight);
    Row("  decode", Rate(3, own), "MB/s", "-");
    Row("  encode", Rate(3, encoding), "MB/s", "-");
    Row("  decode, part of libjpeg-turbo's speed", 100 * bare / own, "%", "> 90");
}

} // namespace

int main() {
    Gray("16 bits, lossless", 16, 0, "> 150", "> 120");
    Gray("12 bits, lossless", 12, 0, "> 150", "> 120");
    Gray("12 bits, lossy", 12, 25, "> 130", "> 80");
    Color();
}
