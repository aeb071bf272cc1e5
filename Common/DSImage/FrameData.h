// The stored bytes of one compressed frame.

#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "Common/Utils/Memory.h"

namespace mdicom {

/** All fragments of a frame, one behind the other. */
struct FrameData {
    DataBlock<uint8_t> bytes;
    size_t size = 0;

    std::span<uint8_t> Span() const { return {bytes.get(), size}; }
};

} // namespace mdicom
