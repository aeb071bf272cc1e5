// Bitmaps into codestreams: the options as the encoder knows them.

#include "Encoder.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>

#include "Library.h"
#include "MDicomTypes.h"
#include "MFJ2KX.h"
#include "SourceImage.h"

namespace j2k {

namespace {

enum class Control : uint32_t { Lossless, Ratio, Size, Quality };

constexpr uint32_t kMostInt = std::numeric_limits<int32_t>::max();

struct QualityRow {
    int32_t quality;
    float decibels;
};

/** Peak signal to noise by quality; in between on straight lines. */
constexpr QualityRow kQualities[] = {{1, 66},  {2, 60},   {10, 52}, {25, 46},
                                     {50, 41}, {100, 35}, {255, 25}};

float DecibelsOf(int32_t quality) {
    const QualityRow *above = std::begin(kQualities);
    while (above->quality < quality) ++above;
    if (above->quality == quality) return above->decibels;
    const QualityRow *below = above - 1;
    const float part = static_cast<float>(quality - below->quality) /
                       static_cast<float>(above->quality - below->quality);
    return below->decibels + part * (above->decibels - below->decibels);
}

/** What the codec's peak, that of the precision, is above the span of the samples. Gray of more
 * than 8 bits mostly fills a small part of its range, where noise by the whole range would drown
 * it. */
float DecibelsUnused(const opj_image_t &image) {
    const opj_image_comp_t &gray = image.comps[0];
    if (image.numcomps != 1 || gray.prec <= 8) return 0;
    const size_t count = size_t{gray.w} * gray.h;
    const auto [least, most] = std::minmax_element(gray.data, gray.data + count);
    const double span = std::max(1.0, static_cast<double>(*most) - *least);
    const double peak = static_cast<double>((uint64_t{1} << gray.prec) - 1);
    return static_cast<float>(20 * std::log10(peak / span));
}

bool IsCodeBlock(uint32_t width, uint32_t height) {
    constexpr uint32_t kMostSamples = 4096;
    if (!std::has_single_bit(width) || !std::has_single_bit(height)) return false;
    return width >= 4 && height >= 4 && width <= kMostSamples && height <= kMostSamples / width;
}

/** True if a first tile of this offset and size reaches an image that begins at origin. */
bool ReachesImage(uint32_t tileOffset, uint32_t tileSize, uint32_t origin) {
    return tileSize > 0 && tileOffset <= origin && uint64_t{tileOffset} + tileSize > origin &&
           origin <= kMostInt;
}

bool IsControl(const _FILEJ2KOPTIONS &options, Control control) {
    switch (control) {
        case Control::Ratio:
            return options.fCompressionRatio > 0 &&
                   options.fCompressionRatio < std::numeric_limits<float>::max();
        case Control::Size:
            return options.nTargetFileSize > 0;
        default:
            return true;
    }
}

bool AreValid(const _FILEJ2KOPTIONS &options) {
    constexpr uint32_t kMostLevels = 32;
    constexpr uint32_t kMostStyles = 63;
    constexpr uint32_t kMostProgressions = 4;
    const auto isOne = [](uint32_t step) { return step == 1; };
    return options.nStructSize == sizeof options &&
           options.nCompressionControl <= static_cast<uint32_t>(Control::Quality) &&
           options.nDecompositionLevels <= kMostLevels &&
           options.nProgressionOrder <= kMostProgressions &&
           options.nCodeBlockStyle <= kMostStyles &&
           IsCodeBlock(options.nCodeBlockWidth, options.nCodeBlockHeight) &&
           ReachesImage(options.nXTOsiz, options.nXTsiz, options.nXOsiz) &&
           ReachesImage(options.nYTOsiz, options.nYTsiz, options.nYOsiz) &&
           std::all_of(std::begin(options.nXRsiz), std::end(options.nXRsiz), isOne) &&
           std::all_of(std::begin(options.nYRsiz), std::end(options.nYRsiz), isOne);
}

/** Edge of a tile along one direction, at most as long as the tiled area. */
uint32_t TileEdge(uint32_t size, uint32_t offset, uint32_t imageEnd) {
    return std::min(size, imageEnd - offset);
}

/** Sets tiles and as many decomposition levels as they have halves; false for too many tiles. */
bool SetTiles(const _FILEJ2KOPTIONS &options, const opj_image_t &image, opj_cparameters_t &out) {
    constexpr uint64_t kMostTiles = 65535;
    const uint32_t width = TileEdge(options.nXTsiz, options.nXTOsiz, image.x1);
    const uint32_t height = TileEdge(options.nYTsiz, options.nYTOsiz, image.y1);
    const auto count = [](uint64_t length, uint64_t step) { return (length + step - 1) / step; };
    if (count(image.x1 - options.nXTOsiz, width) * count(image.y1 - options.nYTOsiz, height) >
        kMostTiles) {
        return false;
    }
    out.tile_size_on = OPJ_TRUE;
    out.cp_tx0 = static_cast<int>(options.nXTOsiz);
    out.cp_ty0 = static_cast<int>(options.nYTOsiz);
    out.cp_tdx = static_cast<int>(width);
    out.cp_tdy = static_cast<int>(height);
    const uint32_t shortest = std::min({width, height, image.x1 - image.x0, image.y1 - image.y0});
    const auto halves = static_cast<uint32_t>(std::bit_width(shortest)) - 1;
    out.numresolution = static_cast<int>(std::min(options.nDecompositionLevels, halves)) + 1;
    return true;
}

uint64_t RawBytes(const opj_image_t &image) {
    uint64_t bits = 0;
    for (uint32_t i = 0; i < image.numcomps; ++i) {
        bits += uint64_t{image.comps[i].w} * image.comps[i].h * image.comps[i].prec;
    }
    return (bits + 7) / 8;
}

/** Sets what the size of the stream is decided by. A rate of 1 keeps everything. */
void SetRate(const _FILEJ2KOPTIONS &options, Control control, int32_t quality,
             const opj_image_t &image, opj_cparameters_t &out) {
    out.tcp_numlayers = 1;
    out.cp_disto_alloc = 1;
    out.tcp_rates[0] = 0;
    out.irreversible = control != Control::Lossless;
    switch (control) {
        case Control::Lossless:
            break;
        case Control::Ratio:
            out.tcp_rates[0] = std::max(1.0f, options.fCompressionRatio);
            break;
        case Control::Size:
            out.tcp_rates[0] = std::max(1.0f, static_cast<float>(RawBytes(image)) /
                                                  static_cast<float>(options.nTargetFileSize));
            break;
        case Control::Quality:
            out.cp_disto_alloc = 0;
            out.cp_fixed_quality = 1;
            out.tcp_distoratio[0] = DecibelsOf(quality) + DecibelsUnused(image);
    }
}

void SetCoding(const _FILEJ2KOPTIONS &options, const opj_image_t &image, opj_cparameters_t &out) {
    out.prog_order = static_cast<OPJ_PROG_ORDER>(options.nProgressionOrder);
    out.cblockw_init = static_cast<int>(options.nCodeBlockWidth);
    out.cblockh_init = static_cast<int>(options.nCodeBlockHeight);
    out.mode = static_cast<int>(options.nCodeBlockStyle);
    out.tcp_mct = image.numcomps == 3 && options.bUseColorTransform != 0 ? 1 : 0;
}

int32_t Compress(opj_cparameters_t &parameters, opj_image_t &image, Sink &sink) {
    const Codec codec(opj_create_compress(OPJ_CODEC_J2K));
    if (codec == nullptr) return MFJ2KX_ERROR_MEMORY;
    if (!opj_setup_encoder(codec.get(), &parameters, &image)) return MFJ2KX_ERROR_ARGUMENT;
    UseThreads(codec.get(), uint64_t{image.comps[0].w} * image.comps[0].h * image.numcomps);
    const Stream stream = OpenStream(sink);
    const bool done = stream != nullptr && opj_start_compress(codec.get(), &image, stream.get()) &&
                      opj_encode(codec.get(), stream.get()) &&
                      opj_end_compress(codec.get(), stream.get());
    if (sink.error != 0) return static_cast<int32_t>(sink.error);
    return done ? MFJ2KX_SUCCESS : MFJ2KX_ERROR_MEMORY;
}

} // namespace

int32_t Encode(const _FILTERSAVE &argument, M_HFILE__ *file) {
    constexpr int32_t kWorstQuality = 255;
    _FILEJ2KOPTIONS options;
    std::memcpy(&options, argument.nOptions, sizeof options);
    if (!AreValid(options)) return MFJ2KX_ERROR_ARGUMENT;
    if (argument.nQuality < 0 || argument.nQuality > kWorstQuality) return MFJ2KX_ERROR_ARGUMENT;
    const auto control =
        argument.nQuality == 0 ? Control::Lossless : Control{options.nCompressionControl};
    if (!IsControl(options, control)) return MFJ2KX_ERROR_ARGUMENT;
    Image image;
    const int32_t result = ReadImage(argument, {options.nXOsiz, options.nYOsiz}, image);
    if (result != MFJ2KX_SUCCESS) return result;
    opj_cparameters_t parameters;
    opj_set_default_encoder_parameters(&parameters);
    if (!SetTiles(options, *image, parameters)) return MFJ2KX_ERROR_ARGUMENT;
    SetRate(options, control, argument.nQuality, *image, parameters);
    SetCoding(options, *image, parameters);
    Sink sink{file};
    return Compress(parameters, *image, sink);
}

} // namespace j2k
