// Speed of frames on their way out of data sets and into them: in one thread where nothing else is
// said, data sets in the page cache.

#include <filesystem>
#include <memory>
#include <thread>

#include "BareJ2k.h"
#include "BareJpeg.h"
#include "MDicom.h"
#include "Measure.h"
#include "support/TestFiles.h"

namespace {

using bench::Check;
using bench::Compare;
using bench::Duration;
using bench::Row;
using bench::Text;
using bench::Times;
using support::Bytes;

constexpr int kRounds = 11;

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

/** A copy of as many bytes from memory to memory. */
class Copy {
  public:
    explicit Copy(Source &source)
        : m_Source(source), m_Target(static_cast<size_t>(source.megabytes * 1e6)) {}
    void operator()() {
        std::memcpy(m_Target.data(), KernelLendBitmapRow(&m_Source.bitmap, 0), m_Target.size());
        asm volatile("" : : "r"(m_Target.data()) : "memory");
    }

  private:
    Source &m_Source;
    Bytes m_Target;
};

std::string Named(const char *peer, double megabytes, double seconds) {
    return std::string(peer) + ": " + bench::Rate(megabytes, seconds);
}

void Native(const support::TemporaryFolder &folder, int size) {
    Source source(size, 16, 16, 7);
    MDicomDS made(nullptr);
    Store(made, source, IMAGE_COMPRESSION_NONE);
    Check(made.SaveDS(folder.WideFile("native").c_str(), 0) == DICOM_SUCCESS);
    MDicomDS fromFile(nullptr);
    Check(fromFile.LoadDS(folder.WideFile("native").c_str(), 0) == DICOM_SUCCESS);
    Bytes saved = support::ReadFile(folder.File("native"));
    MDicomDS inMemory(nullptr);
    Check(support::LoadBytes(inMemory, saved) == DICOM_SUCCESS);
    const std::string side = std::to_string(size);
    const std::string input = "16 bits, " + side + " x " + side;
    const double peak = bench::PeakMegabytes([&] { Decode(inMemory); });
    Copy copy(source);
    const Times times = Compare(101, {[&] { Decode(inMemory); }, [&] { Decode(fromFile); }, copy});
    const auto print = [&](const char *place, size_t which, bool isWanted) {
        const double ratio = times.Ratio(which, 2);
        Row{"GetImage, native",
            input + place,
            bench::Rate(source.megabytes, times.Of(which)),
            Named("memcpy", source.megabytes, times.Of(2)),
            Text("%.2f", ratio),
            bench::Megabytes(peak),
            isWanted ? ">= 0.5" : "-",
            !isWanted || ratio >= 0.5}
            .Print();
    };
    print(", in memory", 0, true);
    print(", in a file", 1, false);
}

struct Goals {
    double decode; ///< megabytes per second; 0 for none
    double encode;
};

/** Decoding and encoding of one form against a copy of the pixels. */
void Codec(const support::TemporaryFolder &folder, const char *name, const char *input,
           Source &source, uint32_t compression, Goals goals) {
    const auto ds = Saved(folder, source, compression);
    MDicomDS target(nullptr);
    const double decodePeak = bench::PeakMegabytes([&] { Decode(*ds); });
    const double encodePeak = bench::PeakMegabytes([&] { Store(target, source, compression); });
    const Times times = Compare(
        kRounds, {[&] { Decode(*ds); }, [&] { Store(target, source, compression); }, Copy(source)});
    const auto print = [&](const char *way, size_t which, double peak, double goal) {
        const double rate = source.megabytes / times.Of(which);
        Row{std::string(way) + name,
            input,
            Text("%.0f MB/s", rate),
            Named("memcpy", source.megabytes, times.Of(2)),
            Text("%.2f", times.Ratio(which, 2)),
            bench::Megabytes(peak),
            goal > 0 ? Text(">= %.0f MB/s", goal) : "-",
            rate >= goal}
            .Print();
    };
    print("GetImage, ", 0, decodePeak, goals.decode);
    print("SetImage, ", 1, encodePeak, goals.encode);
}

void Codecs(const support::TemporaryFolder &folder) {
    Source noisy(2048, 16, 16, 5);
    Codec(folder, "RLE", "16 bits, noise of 5 bits, 2048 x 2048", noisy, IMAGE_COMPRESSION_RLE,
          {1000, 400});
    Source smooth(2048, 16, 16, 0);
    Codec(folder, "RLE", "16 bits, no noise, 2048 x 2048", smooth, IMAGE_COMPRESSION_RLE, {});
    Source deep(2048, 16, 16, 7);
    Codec(folder, "lossless JPEG", "16 bits, noise of 7 bits, 2048 x 2048", deep,
          IMAGE_COMPRESSION_JPEG_LOSSLESS, {150, 120});
    Source twelve(2048, 16, 12, 5);
    Codec(folder, "lossy JPEG", "12 bits, noise of 5 bits, 2048 x 2048", twelve,
          IMAGE_COMPRESSION_JPEG_LOSSY, {130, 80});
}

/** Against the library that does the work inside, alone. */
void AgainstBare(const char *operation, const char *input, const char *library, double megabytes,
                 const bench::Work &ours, const bench::Work &bare) {
    const double peak = bench::PeakMegabytes(ours);
    const Times times = Compare(kRounds, {ours, bare});
    const double ratio = times.Ratio(0, 1);
    Row{operation,
        input,
        bench::Rate(megabytes, times.Of(0)),
        Named(library, megabytes, times.Of(1)),
        Text("%.2f", ratio),
        bench::Megabytes(peak),
        ">= 0.9",
        ratio >= 0.9}
        .Print();
}

void BareCodecs(const support::TemporaryFolder &folder) {
    Source color(2048, 24, 8, 3);
    const auto baseline = Saved(folder, color, IMAGE_COMPRESSION_JPEG_LOSSY);
    const Bytes jpeg = StreamOf(*baseline);
    Bytes rows(size_t{2048} * 2048 * 3);
    AgainstBare(
        "GetImage, baseline JPEG", "8 bits, colour, 2048 x 2048", "libjpeg-turbo alone",
        color.megabytes, [&] { Decode(*baseline); }, [&] { bare::DecodeJpeg(jpeg, rows); });
    Source twelve(2048, 16, 12, 3);
    const auto lossless = Saved(folder, twelve, IMAGE_COMPRESSION_J2K_LOSSLESS);
    Bytes j2k = StreamOf(*lossless);
    AgainstBare(
        "GetImage, lossless JPEG 2000", "12 bits, 2048 x 2048", "OpenJPEG alone, all cores",
        twelve.megabytes, [&] { Decode(*lossless); },
        [&] { opj_image_destroy(bare::DecodeJ2k(j2k)); });
}

/** Work that nothing but the processor has a part in. */
void Spin() {
    uint32_t random = 1;
    for (int i = 0; i < 20'000'000; ++i) {
        random = random * 1664525 + 1013904223;
        asm volatile("" : "+r"(random));
    }
}

/** Work that memory alone has a part in: copies of frames that the nearest caches cannot hold. */
class FrameCopies {
  public:
    void operator()(int which) {
        Bytes *frames = m_Frames[which];
        for (int i = 0; i < 1000; ++i) {
            std::memcpy(frames[0].data(), frames[1].data(), kFrame);
            asm volatile("" : : "r"(frames[0].data()) : "memory");
        }
    }

  private:
    static constexpr size_t kFrame = 512 * 512 * 2;
    Bytes m_Frames[2][2] = {{Bytes(kFrame, 1), Bytes(kFrame, 2)},
                            {Bytes(kFrame, 3), Bytes(kFrame, 4)}};
};

void Twice(const std::function<void(int)> &work) {
    std::thread other([&] { work(1); });
    work(0);
    other.join();
}

void Threads(const support::TemporaryFolder &folder) {
    struct {
        const char *name;
        uint32_t compression;
    } const kForms[] = {{"RLE", IMAGE_COMPRESSION_RLE},
                        {"lossless JPEG", IMAGE_COMPRESSION_JPEG_LOSSLESS}};
    for (const auto &form : kForms) {
        Source source(512, 16, 16, 5);
        const std::unique_ptr<MDicomDS> sets[] = {Saved(folder, source, form.compression),
                                                  Saved(folder, source, form.compression)};
        const auto many = [&](int which) {
            for (int i = 0; i < 100; ++i) Decode(*sets[which]);
        };
        FrameCopies copies;
        const auto copy = [&](int which) { copies(which); };
        const Times times = Compare(
            kRounds, {[&] { many(0); }, [&] { Twice(many); }, Spin,
                      [] { Twice([](int) { Spin(); }); }, [&] { copy(0); }, [&] { Twice(copy); }});
        const double ours = 2 * times.Ratio(1, 0);
        const double arithmetic = 2 * times.Ratio(3, 2);
        const double memory = 2 * times.Ratio(5, 4);
        Row{std::string("two threads against one, ") + form.name,
            "frames of 16 bits, 512 x 512",
            Text("%.2f times as many", ours),
            "arithmetic alone: " + Text("%.2f", arithmetic) +
                ", copies alone: " + Text("%.2f", memory),
            Text("%.2f", ours / std::min(arithmetic, memory)),
            "-",
            ">= 1.7",
            ours >= 1.7}
            .Print();
    }
}

} // namespace

int main(int count, char **arguments) {
    bench::Start(count, arguments);
    const support::TemporaryFolder folder;
    const MDicomDS keepsCodecsLoaded(nullptr);
    Native(folder, 512);
    Native(folder, 2048);
    Codecs(folder);
    BareCodecs(folder);
    if (!bench::countsProcessor) Threads(folder);
    return 0;
}
