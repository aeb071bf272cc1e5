// Owners of what the JPEG 2000 library hands out, and streams for it.

#pragma once

#include <openjpeg.h>

#include <memory>

#include "Codestream.h"
#include "Mvkrnx.h"

namespace j2k {

struct Destroyer {
    void operator()(opj_codec_t *codec) const { opj_destroy_codec(codec); }
    void operator()(opj_image_t *image) const { opj_image_destroy(image); }
};
using Codec = std::unique_ptr<opj_codec_t, Destroyer>;
using Image = std::unique_ptr<opj_image_t, Destroyer>;

/** opj_stream_t is void, which Destroyer could not tell from a codec. */
struct StreamDestroyer {
    void operator()(opj_stream_t *stream) const { opj_stream_destroy(stream); }
};
using Stream = std::unique_ptr<opj_stream_t, StreamDestroyer>;

/** Bytes that a stream reads, and zeros behind them. */
struct Source {
    Bytes bytes;
    size_t zeros = 0;
    size_t position = 0;

    size_t Size() const { return bytes.size() + zeros; }
};

/** A kernel file that a stream writes from its start on. */
struct Sink {
    M_HFILE__ *file;
    uint64_t position = 0;
    int64_t error = 0; ///< code of the first write that failed
};

/** The streams keep a reference. Null when memory is short. */
Stream OpenStream(Source &source);
Stream OpenStream(Sink &sink);

/** Gives a codec the threads that an image of so many samples is worth. */
void UseThreads(opj_codec_t *codec, uint64_t samples);

} // namespace j2k
