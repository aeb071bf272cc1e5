// The JPEG library alone, to compare the codec with.

#pragma once

#include <cstdint>
#include <cstdio>
#include <vector>

#include <jpeglib.h>

namespace bare {

/** Decodes colour into rows of a bitmap, with the settings of the codec. */
inline void DecodeJpeg(const std::vector<uint8_t> &stream, std::vector<uint8_t> &rows) {
    jpeg_decompress_struct library;
    jpeg_error_mgr errors;
    library.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&library);
    jpeg_mem_src(&library, stream.data(), stream.size());
    jpeg_read_header(&library, TRUE);
    library.out_color_space = JCS_EXT_BGR;
    library.dct_method = JDCT_ISLOW;
    jpeg_start_decompress(&library);
    while (library.output_scanline < library.output_height) {
        JSAMPROW row = rows.data() + size_t{library.output_scanline} * library.output_width * 3;
        jpeg_read_scanlines(&library, &row, 1);
    }
    jpeg_finish_decompress(&library);
    jpeg_destroy_decompress(&library);
}

} // namespace bare
