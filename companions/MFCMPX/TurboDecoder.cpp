// DCT-based decoding of 8 bits: libjpeg-turbo, straight into the caller's rows.

#include <csetjmp>
#include <cstdio>

#include <jpeglib.h>

#include <jerror.h>

#include <algorithm>
#include <array>

#include "companions/MFCMPX/Decoder.h"

namespace jpeg {
namespace {

/**
 * The library's objects and what its callbacks note. Errors leave the library by longjmp, which
 * destroys nothing: this has no destructor, and lives outside the function that calls setjmp.
 */
struct Decoder8 {
    jpeg_decompress_struct library;
    jpeg_error_mgr errors;
    jpeg_source_mgr source;
    jpeg_progress_mgr progress;
    std::jmp_buf escape;
    bool outOfMemory;
    bool isDamaged;
    bool endsBeforeRows; ///< nothing was there behind the headers
};

Decoder8 &Of(j_common_ptr library) {
    return *static_cast<Decoder8 *>(library->client_data);
}

[[noreturn]] void LeaveByError(j_common_ptr library) {
    Decoder8 &decoder = Of(library);
    decoder.outOfMemory = library->err->msg_code == JERR_OUT_OF_MEMORY;
    std::longjmp(decoder.escape, 1);
}

/** The library goes on after a warning; here it is told apart what that is worth. */
void NoteWarning(j_common_ptr library, int level) {
    if (level >= 0) return;
    Decoder8 &decoder = Of(library);
    switch (library->err->msg_code) {
        case JWRN_HIT_MARKER:
            if (decoder.library.unread_marker != JPEG_EOI) decoder.isDamaged = true;
            if (decoder.library.input_scan_number <= 1 && decoder.library.input_iMCU_row == 0) {
                decoder.endsBeforeRows = true;
            }
            break;
        case JWRN_HUFF_BAD_CODE:
        case JWRN_MUST_RESYNC:
            decoder.isDamaged = true;
            break;
        default:
            break;
    }
}

void NoMessage(j_common_ptr) {}

/** A stream of many scans without data would take for ever. */
void LimitScans(j_common_ptr library) {
    if (Of(library).library.input_scan_number > kMaxScans) LeaveByError(library);
}

void NoSource(j_decompress_ptr) {}

/** The bytes are used up: EOI ends a stream that lacks it. */
boolean SupplyEnd(j_decompress_ptr library) {
    static constexpr JOCTET end[] = {0xFF, JPEG_EOI};
    library->src->next_input_byte = end;
    library->src->bytes_in_buffer = sizeof end;
    return TRUE;
}

void SkipBytes(j_decompress_ptr library, long bytes) {
    if (bytes <= 0) return;
    jpeg_source_mgr &source = *library->src;
    const size_t skipped = std::min(static_cast<size_t>(bytes), source.bytes_in_buffer);
    source.next_input_byte += skipped;
    source.bytes_in_buffer -= skipped;
}

void Prepare(Decoder8 &decoder, std::span<const uint8_t> stream) {
    decoder.library.err = jpeg_std_error(&decoder.errors);
    decoder.errors.error_exit = LeaveByError;
    decoder.errors.emit_message = NoteWarning;
    decoder.errors.output_message = NoMessage;
    decoder.library.client_data = &decoder;
    decoder.progress.progress_monitor = LimitScans;
    decoder.source.next_input_byte = stream.data();
    decoder.source.bytes_in_buffer = stream.size();
    decoder.source.init_source = NoSource;
    decoder.source.fill_input_buffer = SupplyEnd;
    decoder.source.skip_input_data = SkipBytes;
    decoder.source.resync_to_restart = jpeg_resync_to_restart;
    decoder.source.term_source = NoSource;
}

/** The library may take another header for the frame's than the one that was checked. */
bool HeaderFits(const jpeg_decompress_struct &library, const Target &target) {
    return library.image_width == target.width && library.image_height == target.height &&
           static_cast<size_t>(library.num_components) == target.components &&
           library.data_precision == 8 && !library.arith_code;
}

ColorMarks MarksOf(const jpeg_decompress_struct &library) {
    ColorMarks marks;
    if (library.saw_Adobe_marker) marks.adobeTransform = library.Adobe_transform;
    marks.hasJfif = library.saw_JFIF_marker;
    for (size_t i = 0; i < 3; ++i) marks.ids[i] = library.comp_info[i].component_id;
    const jpeg_component_info *components = library.comp_info;
    marks.isSubsampled = components[0].h_samp_factor > components[1].h_samp_factor ||
                         components[0].v_samp_factor > components[1].v_samp_factor;
    return marks;
}

void ChooseColors(jpeg_decompress_struct &library, int32_t color) {
    if (library.num_components == 1) {
        library.out_color_space = library.jpeg_color_space = JCS_GRAYSCALE;
    } else if (library.num_components == 4) {
        library.out_color_space = JCS_CMYK;
    } else {
        const bool isYbr = HasChrominance(MarksOf(library), color);
        library.jpeg_color_space = isYbr ? JCS_YCbCr : JCS_RGB;
        library.out_color_space = JCS_EXT_BGR;
    }
    library.dct_method = JDCT_ISLOW;
    library.do_fancy_upsampling = TRUE;
}

void ReadRows(jpeg_decompress_struct &library, const Target &target) {
    constexpr JDIMENSION kRows = 8;
    while (library.output_scanline < library.output_height) {
        std::array<JSAMPROW, kRows> rows;
        const JDIMENSION first = library.output_scanline;
        const JDIMENSION count = std::min(kRows, library.output_height - first);
        for (JDIMENSION i = 0; i < count; ++i) rows[i] = target.Row(first + i);
        jpeg_read_scanlines(&library, rows.data(), count);
    }
}

bool DecodeHeaderAndRows(Decoder8 &decoder, const Target &target, int32_t color) {
    jpeg_decompress_struct &library = decoder.library;
    // Nothing between here and the last call of the library may have a destructor.
    if (setjmp(decoder.escape) != 0) return false;
    jpeg_create_decompress(&library);
    library.src = &decoder.source;
    library.progress = &decoder.progress;
    jpeg_read_header(&library, TRUE);
    if (!HeaderFits(library, target)) return false;
    ChooseColors(library, color);
    jpeg_start_decompress(&library);
    ReadRows(library, target);
    return true;
}

/** Bytes at the start of each row become words. */
void WidenRows(const Target &target) {
    for (size_t y = 0; y < target.height; ++y) {
        uint8_t *row = target.Row(y);
        for (size_t i = target.width * target.components; i-- > 0;) {
            const uint16_t sample = row[i];
            std::memcpy(row + 2 * i, &sample, sizeof sample);
        }
    }
}

} // namespace

int32_t DecodeDct8(std::span<const uint8_t> stream, const Target &target, int32_t color) {
    Decoder8 decoder = {};
    Prepare(decoder, stream);
    const bool finished = DecodeHeaderAndRows(decoder, target, color);
    const size_t rows = std::min<size_t>(decoder.library.output_scanline, target.height);
    jpeg_destroy_decompress(&decoder.library);
    if (!finished) target.Clear(rows);
    if (target.sampleBytes == 2) WidenRows(target);
    if (decoder.outOfMemory) return MFCMPX_ERROR_MEMORY;
    const bool good = finished && !decoder.isDamaged && !decoder.endsBeforeRows;
    return good ? MFCMPX_SUCCESS : MFCMPX_ERROR_FORMAT;
}

} // namespace jpeg
