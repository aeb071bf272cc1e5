// JPEG 2000 frames through the library's host of the codec, beside OpenJPEG alone in the same run
// with as many threads.

#include <time.h>

#include <cstdio>
#include <functional>
#include <random>
#include <thread>

#include "BareJ2k.h"
#include "j2k_codec/Codec.h"

namespace {

/** Seconds by the clock, and of work on all cores, which a busy machine disturbs less. */
struct Times {
    double wall = 1e9;
    double work = 1e9;

    void Keep(const Times &other) {
        wall = std::min(wall, other.wall);
        work = std::min(work, other.work);
    }
};

double Now(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

Times Measured(const std::function<void()> &work) {
    const Times start{Now(CLOCK_MONOTONIC), Now(CLOCK_PROCESS_CPUTIME_ID)};
    work();
    return {Now(CLOCK_MONOTONIC) - start.wall, Now(CLOCK_PROCESS_CPUTIME_ID) - start.work};
}

struct Pair {
    Times ours;
    Times bare;
};

/** The best of several runs in turns, so that both meet the same machine. What bare needs is made
 *  outside the time that counts. */
Pair Best(int runs, const std::function<void()> &ours, const std::function<void()> &prepare,
          const std::function<void()> &bare) {
    Pair best;
    for (int i = 0; i < runs; ++i) {
        best.ours.Keep(Measured(ours));
        prepare();
        best.bare.Keep(Measured(bare));
    }
    return best;
}

/** From planes that are there, which it uses up. */
size_t BareEncode(opj_image_t *image) {
    Bytes bytes;
    bare::Cursor cursor{bytes};
    opj_stream_t *stream = bare::Open(cursor, false);
    opj_codec_t *codec = opj_create_compress(OPJ_CODEC_J2K);
    opj_cparameters_t parameters;
    opj_set_default_encoder_parameters(&parameters);
    parameters.tcp_numlayers = 1;
    parameters.cp_disto_alloc = 1;
    parameters.tcp_mct = image->numcomps == 3;
    opj_setup_encoder(codec, &parameters, image);
    opj_codec_set_threads(codec, bare::Threads());
    const bool done = opj_start_compress(codec, image, stream) && opj_encode(codec, stream) &&
                      opj_end_compress(codec, stream);
    if (!done) std::puts("bare encoding failed");
    opj_destroy_codec(codec);
    opj_stream_destroy(stream);
    return bytes.size();
}

void Row(const char *what, double megabytes, const Pair &pair) {
    std::printf(
        "%-34s %6.1f MB/s  OpenJPEG alone %6.1f MB/s  ratio %5.3f, of work %5.3f  "
        "wanted: 0.90\n",
        what, megabytes / pair.ours.wall, megabytes / pair.bare.wall,
        pair.bare.wall / pair.ours.wall, pair.bare.work / pair.ours.work);
}

/** Noise in the low bits, as pictures of the body have it. */
void AddNoise(Bitmap &bitmap) {
    std::mt19937 random(1);
    const size_t step = bitmap.record.nBitsPerPixel == 16 ? 2 : 1;
    for (int32_t y = 0; y < bitmap.record.nHeight; ++y) {
        Bytes row = bitmap.Row(y);
        for (size_t i = 0; i < row.size(); i += step) row[i] ^= random() & 7;
        bitmap.SetRow(y, row);
    }
}

void Measure(const char *name, int32_t size, int32_t depth) {
    Bitmap source(size, size, depth);
    if (depth == 16) source.record.nHighBit = 11;
    source.Paint(depth == 16 ? 12 : 8);
    AddNoise(source);
    _FILEJ2KOPTIONS options = DefaultOptions();
    options.nXTsiz = options.nYTsiz = static_cast<uint32_t>(size);
    Bytes stream = Encode(source, 0, options);
    Bitmap target(size, size, depth);
    const int32_t bits = depth == 16 ? 12 : depth;
    const double megabytes = static_cast<double>(size) * size * depth / 8 / 1e6;
    const int runs = size > 1000 ? 7 : 25;
    const Pair decode = Best(
        runs,
        [&] {
            if (Decode(stream, target, bits) != 1) std::puts("decoding failed");
        },
        [] {}, [&] { opj_image_destroy(bare::DecodeJ2k(stream)); });
    Row((std::string("decode ") + name).c_str(), megabytes, decode);
    opj_image_t *planes = nullptr;
    const Pair encode = Best(
        runs, [&] { Encode(source, 0, options); }, [&] { planes = bare::DecodeJ2k(stream); },
        [&] {
            if (BareEncode(planes) != stream.size()) std::puts("streams differ");
            opj_image_destroy(planes);
        });
    Row((std::string("encode ") + name).c_str(), megabytes, encode);
}

} // namespace

int main() {
    std::printf("threads: %d\n", bare::Threads());
    const MDicomDS keepsCodecLoaded(nullptr);
    Measure("512 x 512, 8 bits", 512, 8);
    Measure("2048 x 2048, 12 of 16 bits", 2048, 16);
    Measure("1024 x 1024, colour", 1024, 24);
}
