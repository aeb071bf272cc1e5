// Baseline DCT-based encoding: libjpeg-turbo, out of the caller's rows.

#include <csetjmp>
#include <cstdio>

#include <jpeglib.h>

#include <jerror.h>

#include "companions/MFCMPX/Encoder.h"

namespace jpeg {
namespace {

/** As for decoding: nothing that a longjmp passes over has a destructor. */
struct Encoder8 {
    jpeg_compress_struct library;
    jpeg_error_mgr errors;
    jpeg_destination_mgr destination;
    std::jmp_buf escape;
    int32_t result;
    size_t size;
};

[[noreturn]] void LeaveByError(j_common_ptr library) {
    auto &encoder = *static_cast<Encoder8 *>(library->client_data);
    encoder.result =
        library->err->msg_code == JERR_OUT_OF_MEMORY ? MFCMPX_ERROR_MEMORY : MFCMPX_ERROR_ARGUMENT;
    std::longjmp(encoder.escape, 1);
}

void NoMessage(j_common_ptr) {}
void NoDestination(j_compress_ptr) {}

boolean LeaveByFullRoom(j_compress_ptr library) {
    auto &encoder = *static_cast<Encoder8 *>(library->client_data);
    encoder.result = MFCMPX_ERROR_CAPACITY;
    std::longjmp(encoder.escape, 1);
}

void Prepare(Encoder8 &encoder, std::span<uint8_t> output) {
    encoder.library.err = jpeg_std_error(&encoder.errors);
    encoder.errors.error_exit = LeaveByError;
    encoder.errors.output_message = NoMessage;
    encoder.library.client_data = &encoder;
    encoder.destination.next_output_byte = output.data();
    encoder.destination.free_in_buffer = output.size();
    encoder.destination.init_destination = NoDestination;
    encoder.destination.empty_output_buffer = LeaveByFullRoom;
    encoder.destination.term_destination = NoDestination;
    encoder.size = output.size();
}

void Describe(jpeg_compress_struct &library, const SourceImage &image, int qualityFactor,
              bool keepsRgb) {
    const bool isGray = image.components == 1;
    library.image_width = static_cast<JDIMENSION>(image.width);
    library.image_height = static_cast<JDIMENSION>(image.height);
    library.input_components = static_cast<int>(image.components);
    library.in_color_space = isGray ? JCS_GRAYSCALE : JCS_EXT_BGR;
    jpeg_set_defaults(&library);
    if (!isGray) jpeg_set_colorspace(&library, keepsRgb ? JCS_RGB : JCS_YCbCr);
    jpeg_set_quality(&library, qualityFactor, TRUE);
    library.write_JFIF_header = FALSE;
    library.dct_method = JDCT_ISLOW;
    if (isGray) return;
    library.comp_info[0].h_samp_factor = keepsRgb || qualityFactor >= 90 ? 1 : 2;
    library.comp_info[0].v_samp_factor = 1;
}

void WriteRows(jpeg_compress_struct &library, const SourceImage &image) {
    constexpr JDIMENSION kRows = 8;
    while (library.next_scanline < library.image_height) {
        JSAMPROW rows[kRows];
        JDIMENSION count = 0;
        for (; count < kRows && library.next_scanline + count < library.image_height; ++count) {
            // The library only reads them.
            rows[count] = const_cast<uint8_t *>(image.Row(library.next_scanline + count));
        }
        jpeg_write_scanlines(&library, rows, count);
    }
}

void EncodeRows(Encoder8 &encoder, const SourceImage &image, int qualityFactor, bool keepsRgb) {
    jpeg_compress_struct &library = encoder.library;
    // Nothing between here and the last call of the library may have a destructor.
    if (setjmp(encoder.escape) != 0) return;
    jpeg_create_compress(&library);
    library.dest = &encoder.destination;
    Describe(library, image, qualityFactor, keepsRgb);
    jpeg_start_compress(&library, TRUE);
    WriteRows(library, image);
    jpeg_finish_compress(&library);
    encoder.result = MFCMPX_SUCCESS;
}

} // namespace

int32_t EncodeDct8(const SourceImage &image, int qualityFactor, bool keepsRgb,
                   std::span<uint8_t> output, size_t *written) {
    Encoder8 encoder = {};
    // The library writes a byte before it asks for room.
    if (output.empty()) return MFCMPX_ERROR_CAPACITY;
    Prepare(encoder, output);
    EncodeRows(encoder, image, qualityFactor, keepsRgb);
    *written = encoder.size - encoder.destination.free_in_buffer;
    jpeg_destroy_compress(&encoder.library);
    return encoder.result;
}

} // namespace jpeg
