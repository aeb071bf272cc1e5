// Run length coding of bytes (PS 3.5, G.3).

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace mdicom {

constexpr size_t kRleHeaderSize = 64;
constexpr size_t kMostRleSegments = 15;

/** The header in front of a frame: where its segments begin, from the start of the header. */
struct RleHeader {
    uint32_t segments = 0;
    std::array<uint32_t, kMostRleSegments> offsets{};
};

/** Reads the header of a frame; nothing for a frame that is shorter, or a number of segments that
 *  no header has room for. */
std::optional<RleHeader> ReadRleHeader(std::span<const uint8_t> frame);

/** The bytes of a segment, cut where the frame ends; empty for an offset outside of it. */
std::span<const uint8_t> RleSegment(std::span<const uint8_t> frame, const RleHeader &header,
                                    size_t segment);

/** What a run and the way it is written may take beyond what is wanted. */
constexpr size_t kRleSurplus = 144;

/** Expands a segment in as many pieces as its reader likes. */
class RleExpander {
  public:
    RleExpander() = default;
    explicit RleExpander(std::span<const uint8_t> segment)
        : m_From(segment.data()), m_End(segment.data() + segment.size()) {}

    /** Makes as many bytes as wanted and what the last run has beyond them, as far as there is
     * room, which is for kRleSurplus more unless this piece is the last. Returns how many it made:
     * fewer than wanted where the segment ends. */
    size_t Expand(uint8_t *to, size_t wanted, size_t room);

  private:
    const uint8_t *m_From = nullptr;
    const uint8_t *m_End = nullptr;
};

/** Expands a segment as one piece. */
inline size_t ExpandRle(std::span<const uint8_t> segment, std::span<uint8_t> plane) {
    return RleExpander(segment).Expand(plane.data(), plane.size(), plane.size());
}

/** Room that packing a plane needs: what it makes at most, and a piece more. */
size_t MostRleBytes(size_t plane);

/** Packs the bytes of a plane as they come: whole frames, wherever their rows end. */
class RlePacker {
  public:
    /** The target has room for MostRleBytes of all that is added. */
    explicit RlePacker(uint8_t *target) : m_Target(target) {}

    /** Adds bytes that stand a stride apart. */
    void Add(const uint8_t *from, size_t stride, size_t count);
    /** Returns the end of what the plane became. */
    uint8_t *Finish();

  private:
    /** What a pair of runs may take, the longest one of each kind. */
    static constexpr size_t kLongestPair = 256;
    static constexpr size_t kPiece = 8192; ///< stays in the cache next to the processor

    void Pack(size_t stop);
    void MarkPairs();
    uint64_t PairsAt(size_t place) const;
    size_t CountPairs(size_t place, uint64_t flip, size_t limit) const;

    uint8_t *m_Target;
    size_t m_Count = 0;
    std::array<uint8_t, kPiece + kLongestPair> m_Bytes;       ///< what is not packed yet
    std::array<uint8_t, (kPiece + kLongestPair) / 8> m_Pairs; ///< a bit for each byte: the next
                                                              ///< one is equal
};

/** Packs a plane in one piece. */
inline uint8_t *PackRle(std::span<const uint8_t> plane, uint8_t *target) {
    RlePacker packer(target);
    packer.Add(plane.data(), 1, plane.size());
    return packer.Finish();
}

} // namespace mdicom
