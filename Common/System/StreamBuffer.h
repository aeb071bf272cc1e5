// What an MDicomFile keeps beside its public fields.

#pragma once

#include <atomic>
#include <cstdint>
#include <string>

namespace mdicom {

/** Bytes of a window of the file: read ahead, or written and not yet in the file. */
struct StreamBuffer {
    uint8_t *bytes = nullptr;
    uint32_t capacity = 0;
    uint64_t start = 0;   ///< offset of the window in the stream
    uint32_t size = 0;    ///< bytes in the window
    uint32_t ahead = 0;   ///< bytes to read ahead next time
    bool dirty = false;   ///< the window holds bytes that the file does not
    bool pending = false; ///< a temporary stream without a file; the window is all its content
    std::string folder;   ///< where the file of a pending stream will be made
    std::string path;     ///< name to remove at the end of a stream that is deleted on close
};

/** Counts the streams that share one file or block. */
struct StreamShare {
    std::atomic<int> owners;
};

} // namespace mdicom
