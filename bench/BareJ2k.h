// OpenJPEG alone, to compare the codec with.

#pragma once

#include <openjpeg.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <thread>
#include <vector>

namespace bare {

struct Cursor {
    std::vector<uint8_t> &bytes;
    size_t position = 0;
};

inline OPJ_SIZE_T Read(void *buffer, OPJ_SIZE_T count, void *data) {
    auto &cursor = *static_cast<Cursor *>(data);
    count = std::min<size_t>(count, cursor.bytes.size() - cursor.position);
    if (count == 0) return static_cast<OPJ_SIZE_T>(-1);
    std::memcpy(buffer, cursor.bytes.data() + cursor.position, count);
    cursor.position += count;
    return count;
}

inline OPJ_SIZE_T Write(void *buffer, OPJ_SIZE_T count, void *data) {
    auto &cursor = *static_cast<Cursor *>(data);
    if (cursor.bytes.size() < cursor.position + count) cursor.bytes.resize(cursor.position + count);
    std::memcpy(cursor.bytes.data() + cursor.position, buffer, count);
    cursor.position += count;
    return count;
}

inline OPJ_OFF_T Skip(OPJ_OFF_T count, void *data) {
    static_cast<Cursor *>(data)->position += static_cast<size_t>(count);
    return count;
}

inline OPJ_BOOL Seek(OPJ_OFF_T place, void *data) {
    static_cast<Cursor *>(data)->position = static_cast<size_t>(place);
    return OPJ_TRUE;
}

inline opj_stream_t *Open(Cursor &cursor, bool reading) {
    opj_stream_t *stream = opj_stream_default_create(reading);
    opj_stream_set_user_data(stream, &cursor, nullptr);
    opj_stream_set_user_data_length(stream, cursor.bytes.size());
    opj_stream_set_read_function(stream, Read);
    opj_stream_set_write_function(stream, Write);
    opj_stream_set_skip_function(stream, Skip);
    opj_stream_set_seek_function(stream, Seek);
    return stream;
}

inline int Threads() {
    return static_cast<int>(std::thread::hardware_concurrency());
}

/** Into the planes of OpenJPEG, which the caller destroys. */
inline opj_image_t *DecodeJ2k(std::vector<uint8_t> &bytes) {
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

} // namespace bare
