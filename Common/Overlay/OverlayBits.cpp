// Bits of overlay data: where a frame lies among them (PS 3.5, 8.1.2), and their way to and from
// rows of one-bit bitmaps.

#include "Common/Overlay/OverlayBits.h"

#include <cstring>

#include "Common/Utils/ByteOrder.h"

namespace mdicom {

namespace {

constexpr uint64_t EvenBytes(uint64_t bits) {
    return (bits + 15) / 16 * 2;
}

constexpr uint64_t FrameStride(const OverlaySize &size) {
    return (uint64_t{size.columns} + 7) / 8 * size.rows;
}

/** Turns the bits within each of eight bytes over. */
constexpr uint64_t MirrorBytes(uint64_t bits) {
    constexpr uint64_t kSingles = 0x5555555555555555;
    constexpr uint64_t kPairs = 0x3333333333333333;
    constexpr uint64_t kNibbles = 0x0F0F0F0F0F0F0F0F;
    bits = (bits >> 1 & kSingles) | (bits & kSingles) << 1;
    bits = (bits >> 2 & kPairs) | (bits & kPairs) << 2;
    return (bits >> 4 & kNibbles) | (bits & kNibbles) << 4;
}

void Store(uint8_t *bytes, uint64_t value) {
    std::memcpy(bytes, &value, sizeof value);
}

/** The low bits that count pixels take; all for 64 or more. */
constexpr uint64_t LowBits(uint32_t count) {
    return count >= 64 ? ~uint64_t{0} : (uint64_t{1} << count) - 1;
}

} // namespace

uint64_t OverlaySize::DataLength() const {
    return EvenBytes(FrameBits() * frames);
}

bool OverlaySize::IsPaddedLength(uint64_t length) const {
    const uint64_t padded = FrameStride(*this) * frames;
    if (frames < 2 || EvenBytes(padded * 8) == DataLength()) return false;
    return length == padded || length == EvenBytes(padded * 8);
}

uint64_t OverlaySize::FirstBit(uint32_t frame, uint64_t length) const {
    return IsPaddedLength(length) ? FrameStride(*this) * 8 * frame : FrameBits() * frame;
}

void UnpackRow(const uint8_t *stream, uint64_t bit, uint32_t count, uint8_t *row) {
    stream += bit / 8;
    const unsigned shift = bit % 8;
    for (uint32_t done = 0; done < count; done += 64, stream += 8, row += 8) {
        uint64_t bits = LoadNative<uint64_t>(stream) >> shift;
        // Twice, since a shift by 64 has no result.
        bits |= uint64_t{stream[8]} << 1 << (63 - shift);
        Store(row, MirrorBytes(bits & LowBits(count - done)));
    }
}

void PackRow(const uint8_t *row, uint32_t count, uint8_t inversion, uint8_t *stream, uint64_t bit) {
    constexpr uint64_t kEachByte = 0x0101010101010101;
    stream += bit / 8;
    const unsigned shift = bit % 8;
    for (uint32_t done = 0; done < count; done += 64, stream += 8, row += 8) {
        uint64_t bits = MirrorBytes(LoadNative<uint64_t>(row) ^ kEachByte * inversion);
        bits &= LowBits(count - done);
        Store(stream, LoadNative<uint64_t>(stream) | bits << shift);
        stream[8] = static_cast<uint8_t>(stream[8] | bits >> 1 >> (63 - shift));
    }
}

} // namespace mdicom
