// The head of a codestream, read before the decoder sees it, so that the stream alone decides over
// no memory.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace j2k {

using Bytes = std::span<const uint8_t>;

/** A component as SIZ tells (ISO/IEC 15444-1 A.5.1). */
struct Component {
    uint32_t precision; ///< bits of a sample
    bool isSigned;
    uint32_t xStep; ///< horizontal distance of samples on the reference grid
    uint32_t yStep;
};

constexpr uint32_t kMostComponents = 4;

struct Head {
    uint32_t left, top;     ///< of the image on the reference grid
    uint32_t width, height; ///< of the image
    uint64_t tiles;
    uint32_t tileWidth, tileHeight;
    uint32_t componentCount; ///< 1 to kMostComponents
    std::array<Component, kMostComponents> components;
};

/** The codestream within a file: from the start marker on. Empty if there is none. */
Bytes FindCodestream(Bytes file);

/** Reads the image and tile sizes; nothing if they are none. */
std::optional<Head> ReadHead(Bytes codestream);

/** True if tiles, components, precincts and layers are of a kind that a decoder can hold in memory
 *  in proportion to the image. Looks through the heads of the image and of its tile parts. */
bool IsReasonable(const Head &head, Bytes codestream);

} // namespace j2k
