// JPEG 2000 frames through the library's host of the codec, beside OpenJPEG alone in the same run
// with as many threads.

#include <random>

#include "BareJ2k.h"
#include "Measure.h"
#include "j2k_codec/Codec.h"

namespace {

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

/** Noise in the low bits, as pictures of the body have it. */
void AddNoise(Bitmap &bitmap) {
    std::mt19937 random(1);
    const int32_t step = bitmap.nBitsPerPixel == 16 ? 2 : 1;
    const int32_t bytes = bitmap.nWidth * bitmap.nBitsPerPixel / 8;
    for (int32_t y = 0; y < bitmap.nHeight; ++y) {
        uint8_t *row = KernelLendBitmapRow(&bitmap, y);
        for (int32_t i = 0; i < bytes; i += step) row[i] ^= random() & 7;
    }
}

struct Form {
    const char *input;
    int32_t size;
    int32_t depth;
    int rounds;
};

void Print(const char *way, const Form &form, const bench::Work &ours, const bench::Work &bare) {
    const double megabytes = static_cast<double>(form.size) * form.size * form.depth / 8 / 1e6;
    const double peak = bench::PeakMegabytes(ours);
    const bench::Times times = bench::Compare(form.rounds, {ours, bare});
    const double ratio = times.Ratio(0, 1);
    bench::Row{std::string("JPEG 2000 filter, ") + way,
               form.input,
               bench::Rate(megabytes, times.Of(0)),
               "OpenJPEG alone, all cores: " + bench::Rate(megabytes, times.Of(1)),
               bench::Text("%.2f", ratio),
               bench::Megabytes(peak),
               ">= 0.9",
               ratio >= 0.9}
        .Print();
}

void Measure(const Form &form) {
    Bitmap source(form.size, form.size, form.depth);
    if (form.depth == 16) source.nHighBit = 11;
    source.Paint(form.depth == 16 ? 12 : 8);
    AddNoise(source);
    _FILEJ2KOPTIONS options = DefaultOptions();
    options.nXTsiz = options.nYTsiz = static_cast<uint32_t>(form.size);
    Bytes stream = Encode(source, 0, options);
    Bitmap target(form.size, form.size, form.depth);
    const int32_t bits = form.depth == 16 ? 12 : form.depth;
    Print(
        "decode", form, [&] { bench::Check(Decode(stream, target, bits) == 1); },
        [&] { opj_image_destroy(bare::DecodeJ2k(stream)); });
    // Bare encoding uses planes up; they are made outside the time that counts.
    std::vector<opj_image_t *> planes;
    for (int i = 0; i <= form.rounds; ++i) planes.push_back(bare::DecodeJ2k(stream));
    Print(
        "encode", form, [&] { Encode(source, 0, options); },
        [&] {
            bench::Check(BareEncode(planes.back()) == stream.size());
            opj_image_destroy(planes.back());
            planes.pop_back();
        });
    for (opj_image_t *image : planes) opj_image_destroy(image);
}

} // namespace

int main(int count, char **arguments) {
    bench::Start(count, arguments);
    const MDicomDS keepsCodecLoaded(nullptr);
    Measure({"8 bits, 512 x 512", 512, 8, 25});
    Measure({"12 bits, 2048 x 2048", 2048, 16, 7});
    Measure({"8 bits, colour, 1024 x 1024", 1024, 24, 9});
    return 0;
}
