// Decodes a stream. The first four bytes choose the pixels that are asked for: depth, color, width
// and height.

#include <cstdint>
#include <cstdlib>
#include <vector>

#include "companions/MFCMPX/MFCMPX.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    constexpr uint32_t kDepths[] = {8, 16, 24, 32, 48};
    if (size < 4) return 0;
    const uint32_t depth = kDepths[data[0] % 5];
    const uint32_t width = data[2] % 96u + 1;
    const uint32_t height = data[3] % 96u + 1;
    // Exactly the room that the rows need: a write beyond them shows.
    std::vector<uint8_t> rows((width * depth + 31) / 32 * 4 * height);
    const std::vector<uint8_t> stream(data + 4, data + size);
    const int32_t result =
        fltLoadBuffer(stream.data(), static_cast<uint32_t>(stream.size()), rows.data(), data[1] % 3,
                      width, height, static_cast<int32_t>(depth), nullptr, nullptr);
    if (!stream.empty() && result == MFCMPX_ERROR_ARGUMENT) std::abort();
    return 0;
}
