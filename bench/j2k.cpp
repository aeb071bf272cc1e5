// JPEG 2000 frames through the library's host of the codec, beside OpenJPEG alone in the same run
// with as many threads.

#include <openjpeg.h>
#include <time.h>

#include <cstdio>
#include <functional>
#include <random>
#include <thread>

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

struct Cursor {
    Bytes &bytes;
    size_t position = 0;
};

OPJ_SIZE_T Read(void *buffer, OPJ_SIZE_T count, void *data) {
    auto &cursor = *static_cast<Cursor *>(data);
    count = std::min<size_t>(count, cursor.bytes.size() - cursor.position);
    if (count == 0) return static_cast<OPJ_SIZE_T>(-1);
    std::memcpy(buffer, cursor.bytes.data() + cursor.position, count);
    cursor.position += count;
    return count;
}

OPJ_SIZE_T Write(void *buffer, OPJ_SIZE_T count, void *data) {
    auto &cursor = *static_cast<Cursor *>(data);
    if (cursor.bytes.size() < cursor.position + count) cursor.bytes.resize(cursor.position + count);
    std::memcpy(cursor.bytes.data() + cursor.position, buffer, count);
    cursor.position += count;
    return count;
}

OPJ_OFF_T Skip(OPJ_OFF_T count, void *data) {
    static_cast<Cursor *>(data)->position += static_cast<size_t>(count);
    return count;
}

OPJ_BOOL Seek(OPJ_OFF_T place, void *data) {
    static_cast<Cursor *>(data)->position = static_cast<size_t>(place);
    return OPJ_TRUE;
}

opj_stream_t *Open(Cursor &cursor, bool reading) {
    opj_stream_t *stream = opj_stream_default_create(reading);
    opj_stream_set_user_data(stream, &cursor, nullptr);
    opj_stream_set_user_data_length(stream, cursor.bytes.size());
    opj_stream_set_read_function(stream, Read);
    opj_stream_set_write_function(stream, Write);
    opj_stream_set_skip_function(stream, Skip);
    opj_stream_set_seek_function(stream, Seek);
    return stream;
}

int Threads() {
    return static_cast<int>(std::thread::hardware_concurrency());
}

/** Into the planes of OpenJPEG, which the caller destroys. */
opj_image_t *BareDecode(Bytes &bytes) {
    Cursor cursor{bytes};
    opj_stream_t *stream = Open(cursor, true);
    opj_codec_t *codec = opj_create_decompress(OPJ_CODEC_J2K);
    opj_dparameters_t parameters;
    opj_set_default_decoder_parameters(&parameters);
    opj_setup_decoder(codec, &parameters);
    opj_codec_set_threads(codec, Threads());
    opj_image_t *image = nullptr;
    if (!opj_read_header(stream, codec, &image) || !opj_decode(codec, stream, image)) {
        std::puts("bare decoding failed");
    }
    opj_destroy_codec(codec);
    opj_stream_destroy(stream);
    return image;
}

/** From planes that are there, which it uses up. */
size_t BareEncode(opj_image_t *image) {
    Bytes bytes;
    Cursor cursor{bytes};
    opj_stream_t *stream = Open(cursor, false);
    opj_codec_t *codec = opj_create_compress(OPJ_CODEC_J2K);
    opj_cparameters_t parameters;
    opj_set_default_encoder_parameters(&parameters);
    parameters.tcp_numlayers = 1;
    parameters.cp_disto_alloc = 1;
    parameters.tcp_mct = image->numcomps == 3;
    opj_setup_encoder(codec, &parameters, image);
    opj_codec_set_threads(codec, Threads());
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
        [] {}, [&] { opj_image_destroy(BareDecode(stream)); });
    Row((std::string("decode ") + name).c_str(), megabytes, decode);
    opj_image_t *planes = nullptr;
    const Pair encode = Best(
        runs, [&] { Encode(source, 0, options); }, [&] { planes = BareDecode(stream); },
        [&] {
            if (BareEncode(planes) != stream.size()) std::puts("streams differ");
            opj_image_destroy(planes);
        });
    Row((std::string("encode ") + name).c_str(), megabytes, encode);
}

} // namespace

int main() {
    std::printf("threads: %d\n", Threads());
    const MDicomDS keepsCodecLoaded(nullptr);
    Measure("512 x 512, 8 bits", 512, 8);
    Measure("2048 x 2048, 12 of 16 bits", 2048, 16);
    Measure("1024 x 1024, colour", 1024, 24);
}
