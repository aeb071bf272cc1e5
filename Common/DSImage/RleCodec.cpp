// Run length coding of bytes.

#include "Common/DSImage/RleCodec.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "Common/Utils/ByteOrder.h"

namespace mdicom {

namespace {

constexpr uint8_t kNoOperation = 128;
constexpr size_t kLongestRun = 128;
/** Runs are written in pieces of this size where there is room behind them. */
constexpr size_t kPiece = 16;

/** Runs that this encoder makes. */
constexpr size_t kMostLiterals = 126;
constexpr size_t kMostRepeats = 127;

size_t LengthOfRun(uint8_t control) {
    return control < kNoOperation ? size_t{control} + 1 : size_t{257} - control;
}

/** Expands runs while whole ones and a piece more fit on both sides. */
void ExpandInside(const uint8_t *&from, const uint8_t *fromEnd, uint8_t *&to, uint8_t *toEnd) {
    while (fromEnd - from > std::ptrdiff_t{kLongestRun + kPiece} &&
           toEnd - to >= std::ptrdiff_t{kLongestRun + kPiece}) {
        const uint8_t control = *from++;
        if (control == kNoOperation) continue;
        const size_t count = LengthOfRun(control);
        if (control < kNoOperation) {
            for (size_t i = 0; i < count; i += kPiece) std::memcpy(to + i, from + i, kPiece);
            from += count;
        } else {
            uint8_t piece[kPiece];
            std::memset(piece, *from++, kPiece);
            for (size_t i = 0; i < count; i += kPiece) std::memcpy(to + i, piece, kPiece);
        }
        to += count;
    }
}

uint64_t LoadWord(const uint8_t *bytes) {
    uint64_t word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

/** Number of bytes from the first on that equal it, up to a limit. */
size_t CountRepeats(const uint8_t *bytes, size_t limit) {
    const uint64_t pattern = 0x0101010101010101u * bytes[0];
    size_t count = 1;
    while (count + sizeof pattern <= limit) {
        const uint64_t difference = LoadWord(bytes + count) ^ pattern;
        if (difference != 0) {
            return count + static_cast<size_t>(std::countr_zero(difference)) / 8;
        }
        count += sizeof pattern;
    }
    while (count < limit && bytes[count] == bytes[0]) ++count;
    return count;
}

/** Number of bytes in front of the first pair of equal ones, up to a limit; all without a pair. */
size_t CountLiterals(const uint8_t *bytes, size_t limit, size_t available) {
    constexpr uint64_t kLow = 0x0101010101010101u;
    constexpr uint64_t kHigh = 0x8080808080808080u;
    size_t count = 0;
    while (count < limit && count + sizeof(uint64_t) < available) {
        const uint64_t difference = LoadWord(bytes + count) ^ LoadWord(bytes + count + 1);
        // The lowest byte that is zero; those above it may be told wrong.
        const uint64_t equal = (difference - kLow) & ~difference & kHigh;
        if (equal != 0) {
            count += static_cast<size_t>(std::countr_zero(equal)) / 8;
            return std::min(count, limit);
        }
        count += sizeof(uint64_t);
    }
    while (count < limit && count + 1 < available && bytes[count] != bytes[count + 1]) ++count;
    if (count + 1 == available) ++count;
    return std::min(count, limit);
}

} // namespace

std::optional<RleHeader> ReadRleHeader(std::span<const uint8_t> frame) {
    if (frame.size() < kRleHeaderSize) return std::nullopt;
    RleHeader header;
    header.segments = Load32(frame.data(), true);
    if (header.segments == 0 || header.segments > kMostRleSegments) return std::nullopt;
    for (size_t i = 0; i < header.segments; ++i) {
        header.offsets[i] = Load32(frame.data() + 4 * (i + 1), true);
    }
    return header;
}

std::span<const uint8_t> RleSegment(std::span<const uint8_t> frame, const RleHeader &header,
                                    size_t segment) {
    const size_t begin = header.offsets[segment];
    size_t end = frame.size();
    if (segment + 1 < header.segments && header.offsets[segment + 1] != 0) {
        end = std::min<size_t>(end, header.offsets[segment + 1]);
    }
    if (begin < kRleHeaderSize || begin >= end) return {};
    return frame.subspan(begin, end - begin);
}

size_t RleExpander::Expand(std::span<uint8_t> piece) {
    uint8_t *to = piece.data();
    uint8_t *const end = to + piece.size();
    to = GiveRun(to, piece.size());
    if (m_Left == 0) ExpandInside(m_From, m_End, to, end);
    while (to < end && m_From < m_End) {
        TakeRun();
        to = GiveRun(to, static_cast<size_t>(end - to));
    }
    return static_cast<size_t>(to - piece.data());
}

/** The value of a run of repeats stays in front of the reader until the run is given. */
void RleExpander::TakeRun() {
    const uint8_t control = *m_From++;
    if (control == kNoOperation) return;
    m_IsRepeat = control > kNoOperation;
    const auto there = static_cast<size_t>(m_End - m_From);
    m_Left = LengthOfRun(control);
    if (there == 0 || !m_IsRepeat) m_Left = std::min(m_Left, there);
}

uint8_t *RleExpander::GiveRun(uint8_t *to, size_t room) {
    const size_t count = std::min(m_Left, room);
    if (count == 0) return to;
    m_Left -= count;
    if (m_IsRepeat) {
        std::memset(to, *m_From, count);
        if (m_Left == 0) ++m_From;
    } else {
        std::memcpy(to, m_From, count);
        m_From += count;
    }
    return to + count;
}

size_t MostRleBytes(size_t plane) {
    // Literals cost a byte for each run, and the shortest run of repeats makes two of two.
    return plane + plane / 2 + 2;
}

uint8_t *PackRle(std::span<const uint8_t> plane, uint8_t *target) {
    for (size_t i = 0; i < plane.size();) {
        const size_t left = plane.size() - i;
        const uint8_t *bytes = plane.data() + i;
        const size_t literals = CountLiterals(bytes, std::min(left, kMostLiterals), left);
        if (literals > 0) {
            *target++ = static_cast<uint8_t>(literals - 1);
            std::memcpy(target, bytes, literals);
            target += literals;
            i += literals;
            continue;
        }
        const size_t repeats = CountRepeats(bytes, std::min(left, kMostRepeats));
        *target++ = static_cast<uint8_t>(1 - repeats);
        *target++ = bytes[0];
        i += repeats;
    }
    return target;
}

} // namespace mdicom
