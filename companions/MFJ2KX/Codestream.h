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
using MutableBytes = std::span<uint8_t>;

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
MutableBytes FindCodestream(MutableBytes file);

/** Reads the image and tile sizes; nothing if they are none. */
std::optional<Head> ReadHead(Bytes codestream);

/** What a decoder may see of a codestream. */
struct Prepared {
    Bytes bytes;
    size_t missing = 0; ///< bytes that the last tile part and the end lack, for zeros to stand in
};

/**
 * Looks through the heads of the image and of its tile parts. Gives the bytes that a decoder may
 * see: empty if tiles, components, precincts or layers are of a kind that it could not hold in
 * memory in proportion to the image. A tile part that claims to go on behind the end by more than
 * an image has bytes is told to end there, segments of no known marker become comments, and what
 * follows the first tile part without sense is left out, so that the decoder finds the heads that
 * were looked at and no others.
 */
Prepared PrepareCodestream(const Head &head, MutableBytes codestream);

} // namespace j2k
