// Speed of frames on their way out of data sets and into them: megabytes of pixels per second in
// one thread, data sets in the page cache.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "BareJ2k.h"
#include "BareJpeg.h"
#include "MDicom.h"
#include "support/TestFiles.h"

namespace {

using Bytes = std::vector<uint8_t>;

constexpr int kRuns = 9;

double Seconds(const std::function<void()> &work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/** The shortest times of several runs in turns: others share the machine. */
std::vector<double> Least(const std::vector<std::function<void()>> &works) {
    std::vector<double> least(works.size(), 1e9);
    for (int run = 0; run < kRuns; ++run) {
        for (size_t i = 0; i < works.size(); ++i) least[i] = std::min(least[i], Seconds(works[i]));
    }
    return least;
}

void Check(bool good) {
    if (!good) std::abort();
}

/** A slow gradient under noise of a few bits. */
void Paint(_BITMAPHANDLE &bitmap, uint32_t bits, uint32_t noiseBits) {
    uint32_t random = 1;
    const uint32_t noise = (1u << noiseBits) - 1;
    const uint32_t most = (1u << bits) - 1;
    const size_t bytes = bitmap.nBitsPerPixel == 16 ? 2 : 1;
    for (int32_t y = 0; y < bitmap.nHeight; ++y) {
        uint8_t *row = KernelLendBitmapRow(&bitmap, y);
        for (uint32_t at = 0; at < bitmap.nBytesPerLine; at += static_cast<uint32_t>(bytes)) {
            random = random * 1664525 + 1013904223;
            const uint32_t ramp = (at + 2 * static_cast<uint32_t>(y)) % 4096;
            const uint32_t wave = (ramp < 2048 ? ramp : 4095 - ramp) * most / 2048;
            const uint32_t sample = std::min(wave + (random >> 20 & noise), most);
            std::memcpy(row + at, &sample, bytes);
        }
    }
}

struct Source {
    Source(int size, int depth, uint32_t bits, uint32_t noiseBits) {
        const int order = depth == 16 ? KERNEL_ORDER_GRAY : depth == 24 ? KERNEL_ORDER_BGR : 0;
        KernelCreateBitmap(&bitmap, sizeof bitmap, KERNEL_MEMORY_OWN, size, size, depth, order,
                           nullptr, 1, nullptr, 0);
        if (depth == 16) bitmap.nHighBit = static_cast<int32_t>(bits) - 1;
        Paint(bitmap, bits, noiseBits);
        megabytes = static_cast<double>(bitmap.nBytesPerLine) * size / 1e6;
    }
    ~Source() { KernelFreeBitmap(&bitmap); }
    Source(const Source &) = delete;
    Source &operator=(const Source &) = delete;

    _BITMAPHANDLE bitmap;
    double megabytes;
};

void Store(MDicomDS &ds, Source &source, uint32_t compression) {
    const int32_t photometric =
        source.bitmap.nBitsPerPixel == 24 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MONOCHROME2;
    Check(ds.SetImage(nullptr, &source.bitmap, compression, photometric, 0, 25, 0, nullptr,
                      nullptr) == DICOM_SUCCESS);
}

/** A data set with one frame, out of a file. */
std::unique_ptr<MDicomDS> Saved(const support::TemporaryFolder &folder, Source &source,
                                uint32_t compression) {
    static int number = 0;
    const std::wstring file = folder.WideFile(std::to_string(++number));
    MDicomDS ds(nullptr);
    Store(ds, source, compression);
    Check(ds.SaveDS(file.c_str(), 0) == DICOM_SUCCESS);
    auto loaded = std::make_unique<MDicomDS>(nullptr);
    Check(loaded->LoadDS(file.c_str(), 0) == DICOM_SUCCESS);
    return loaded;
}

void Decode(MDicomDS &ds) {
    _BITMAPHANDLE bitmap;
    Check(ds.GetImage(nullptr, &bitmap, sizeof bitmap, 0, 0, 0, 0, nullptr, nullptr) ==
          DICOM_SUCCESS);
    KernelFreeBitmap(&bitmap);
}

Bytes StreamOf(MDicomDS &ds) {
    _DICOMELEMENT *element = ds.FindFirstElement(nullptr, TAG_PIXEL_DATA, 1);
    uint32_t size = 0;
    ds.GetFrameBinaryData(element, 0, nullptr, &size);
    Bytes stream(size);
    Check(ds.GetFrameBinaryData(element, 0, stream.data(), &size) == DICOM_SUCCESS);
    return stream;
}

void Row(const char *what, double value, const char *unit, const char *wanted) {
    std::printf("%-52s %9.2f %-6s wanted: %s\n", what, value, unit, wanted);
}

void Native(const support::TemporaryFolder &folder, int size) {
    Source source(size, 16, 16, 7);
    MDicomDS made(nullptr);
    Store(made, source, IMAGE_COMPRESSION_NONE);
    Check(made.SaveDS(folder.WideFile("native").c_str(), 0) == DICOM_SUCCESS);
    MDicomDS fromFile(nullptr);
    Check(fromFile.LoadDS(folder.WideFile("native").c_str(), 0) == DICOM_SUCCESS);
    support::Bytes saved = support::ReadFile(folder.File("native"));
    MDicomDS inMemory(nullptr);
    Check(support::LoadBytes(inMemory, saved) == DICOM_SUCCESS);
    const size_t bytes = size_t{source.bitmap.nBytesPerLine} * static_cast<size_t>(size);
    Bytes target(bytes);
    const uint8_t *rows = KernelLendBitmapRow(&source.bitmap, 0);
    const auto copy = [bytes, rows](uint8_t *to) {
        std::memcpy(to, rows, bytes);
        asm volatile("" : : "r"(to) : "memory");
    };
    const auto times =
        Least({[&] { Decode(inMemory); }, [&] { Decode(fromFile); }, [&] { copy(target.data()); }});
    std::printf("native, 16 bits, %d x %d: %.0f MB/s\n", size, size, source.megabytes / times[0]);
    Row("  part of memcpy's speed, from memory", times[2] / times[0], "", ">= 0.5");
    Row("  part of memcpy's speed, from a file", times[2] / times[1], "", "-");
}

void RunLength(const support::TemporaryFolder &folder) {
    struct {
        const char *name;
        uint32_t noiseBits;
        const char *decodeGoal;
        const char *encodeGoal;
    } const kPictures[] = {{"noise of 5 bits", 5, "> 1000", "> 400"}, {"no noise", 0, "-", "-"}};
    for (const auto &row : kPictures) {
        Source source(2048, 16, 16, row.noiseBits);
        const auto ds = Saved(folder, source, IMAGE_COMPRESSION_RLE);
        MDicomDS target(nullptr);
        const auto times =
            Least({[&] { Decode(*ds); }, [&] { Store(target, source, IMAGE_COMPRESSION_RLE); }});
        std::printf("RLE, 16 bits, %s\n", row.name);
        Row("  decode", source.megabytes / times[0], "MB/s", row.decodeGoal);
        Row("  encode", source.megabytes / times[1], "MB/s", row.encodeGoal);
    }
}

void Jpeg(const support::TemporaryFolder &folder) {
    Source deep(2048, 16, 16, 7);
    Source twelve(2048, 16, 12, 5);
    Source color(2048, 24, 8, 3);
    const auto lossless = Saved(folder, deep, IMAGE_COMPRESSION_JPEG_LOSSLESS);
    const auto extended = Saved(folder, twelve, IMAGE_COMPRESSION_JPEG_LOSSY);
    const auto baseline = Saved(folder, color, IMAGE_COMPRESSION_JPEG_LOSSY);
    const Bytes stream = StreamOf(*baseline);
    Bytes rows(size_t{2048} * 2048 * 3);
    const auto times = Least({[&] { Decode(*lossless); }, [&] { Decode(*extended); },
                              [&] { Decode(*baseline); }, [&] { bare::DecodeJpeg(stream, rows); }});
    Row("JPEG lossless, 16 bits", deep.megabytes / times[0], "MB/s", "> 150");
    Row("JPEG, 12 bits", twelve.megabytes / times[1], "MB/s", "> 130");
    Row("JPEG, colour", color.megabytes / times[2], "MB/s", "-");
    Row("  part of libjpeg-turbo's speed", times[3] / times[2], "", ">= 0.9");
}

void Jpeg2000(const support::TemporaryFolder &folder) {
    Source twelve(2048, 16, 12, 3);
    const auto ds = Saved(folder, twelve, IMAGE_COMPRESSION_J2K_LOSSLESS);
    Bytes stream = StreamOf(*ds);
    const auto times =
        Least({[&] { Decode(*ds); }, [&] { opj_image_destroy(bare::DecodeJ2k(stream)); }});
    Row("JPEG 2000 lossless, 12 of 16 bits", twelve.megabytes / times[0], "MB/s", "-");
    Row("  part of OpenJPEG's speed, as many threads", times[1] / times[0], "", ">= 0.9");
}

/** Work that nothing but the processor has a part in. */
void Spin() {
    uint32_t random = 1;
    for (int i = 0; i < 40'000'000; ++i) {
        random = random * 1664525 + 1013904223;
        asm volatile("" : "+r"(random));
    }
}

void Threads(const support::TemporaryFolder &folder) {
    struct {
        const char *name;
        uint32_t compression;
    } const kForms[] = {{"RLE", IMAGE_COMPRESSION_RLE},
                        {"JPEG lossless", IMAGE_COMPRESSION_JPEG_LOSSLESS}};
    for (const auto &form : kForms) {
        Source source(512, 16, 16, 5);
        const std::unique_ptr<MDicomDS> sets[] = {Saved(folder, source, form.compression),
                                                  Saved(folder, source, form.compression)};
        const auto many = [](MDicomDS &ds) {
            for (int i = 0; i < 40; ++i) Decode(ds);
        };
        const auto twice = [](const std::function<void(int)> &work) {
            std::thread other([&] { work(1); });
            work(0);
            other.join();
        };
        const auto times =
            Least({[&] { many(*sets[0]); }, [&] { twice([&](int i) { many(*sets[i]); }); },
                   [] { Spin(); }, [&] { twice([](int) { Spin(); }); }});
        Row((std::string("two threads of two data sets against one, ") + form.name).c_str(),
            2 * times[0] / times[1], "", ">= 1.7");
        Row("  what the machine gives to arithmetic alone", 2 * times[2] / times[3], "", "-");
    }
}

} // namespace

int main() {
    const support::TemporaryFolder folder;
    const MDicomDS keepsCodecsLoaded(nullptr);
    Native(folder, 512);
    Native(folder, 2048);
    RunLength(folder);
    Jpeg(folder);
    Jpeg2000(folder);
    Threads(folder);
}
