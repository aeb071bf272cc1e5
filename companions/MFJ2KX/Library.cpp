// Streams and threads of the JPEG 2000 library.

#include "Library.h"

#include <algorithm>
#include <thread>

namespace j2k {

namespace {

constexpr auto kFailed = static_cast<OPJ_SIZE_T>(-1);
constexpr size_t kMostBuffer = size_t{1} << 20;

OPJ_SIZE_T ReadBytes(void *buffer, OPJ_SIZE_T wanted, void *userData) {
    auto &source = *static_cast<Source *>(userData);
    const size_t count = std::min<size_t>(wanted, source.Size() - source.position);
    if (count == 0) return kFailed;
    const Bytes rest = source.bytes.subspan(std::min(source.position, source.bytes.size()));
    auto *zeros =
        std::copy_n(rest.begin(), std::min(count, rest.size()), static_cast<uint8_t *>(buffer));
    std::fill(zeros, static_cast<uint8_t *>(buffer) + count, uint8_t{0});
    source.position += count;
    return count;
}

OPJ_BOOL SeekSource(OPJ_OFF_T place, void *userData) {
    auto &source = *static_cast<Source *>(userData);
    if (place < 0 || static_cast<uint64_t>(place) > source.Size()) return OPJ_FALSE;
    source.position = static_cast<size_t>(place);
    return OPJ_TRUE;
}

OPJ_OFF_T SkipSource(OPJ_OFF_T distance, void *userData) {
    auto &source = *static_cast<Source *>(userData);
    if (distance < 0) return -1;
    const size_t left = source.Size() - source.position;
    const auto count =
        static_cast<size_t>(std::min<uint64_t>(static_cast<uint64_t>(distance), left));
    source.position += count;
    return static_cast<OPJ_OFF_T>(count);
}

OPJ_SIZE_T WriteBytes(void *buffer, OPJ_SIZE_T count, void *userData) {
    auto &sink = *static_cast<Sink *>(userData);
    if (sink.error != 0) return kFailed;
    const int64_t written = KernelFileWrite(sink.file, buffer, count, sink.position);
    if (written < 0 || static_cast<uint64_t>(written) != count) {
        sink.error = written < 0 ? written : -1;
        return kFailed;
    }
    sink.position += count;
    return count;
}

OPJ_BOOL SeekSink(OPJ_OFF_T place, void *userData) {
    if (place < 0) return OPJ_FALSE;
    static_cast<Sink *>(userData)->position = static_cast<uint64_t>(place);
    return OPJ_TRUE;
}

OPJ_OFF_T SkipSink(OPJ_OFF_T distance, void *userData) {
    auto &sink = *static_cast<Sink *>(userData);
    if (distance < 0) return -1;
    sink.position += static_cast<uint64_t>(distance);
    return distance;
}

} // namespace

Stream OpenStream(Source &source) {
    const size_t buffer = std::clamp<size_t>(source.Size(), 1, kMostBuffer);
    Stream stream(opj_stream_create(buffer, OPJ_TRUE));
    if (stream == nullptr) return stream;
    opj_stream_set_user_data(stream.get(), &source, nullptr);
    opj_stream_set_user_data_length(stream.get(), source.Size());
    opj_stream_set_read_function(stream.get(), ReadBytes);
    opj_stream_set_seek_function(stream.get(), SeekSource);
    opj_stream_set_skip_function(stream.get(), SkipSource);
    return stream;
}

Stream OpenStream(Sink &sink) {
    Stream stream(opj_stream_create(kMostBuffer, OPJ_FALSE));
    if (stream == nullptr) return stream;
    opj_stream_set_user_data(stream.get(), &sink, nullptr);
    opj_stream_set_write_function(stream.get(), WriteBytes);
    opj_stream_set_seek_function(stream.get(), SeekSink);
    opj_stream_set_skip_function(stream.get(), SkipSink);
    return stream;
}

void UseThreads(opj_codec_t *codec, uint64_t samples) {
    // Below, threads take longer to start than they save.
    constexpr uint64_t kWorthThreads = uint64_t{1} << 16;
    constexpr unsigned kMostThreads = 16;
    const unsigned cores = std::min(std::thread::hardware_concurrency(), kMostThreads);
    if (samples < kWorthThreads || cores < 2 || !opj_has_thread_support()) return;
    opj_codec_set_threads(codec, static_cast<int>(cores));
}

} // namespace j2k
