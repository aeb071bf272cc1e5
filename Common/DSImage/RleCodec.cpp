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
constexpr size_t kChunk = 16;

/** Runs that this encoder makes. */
constexpr size_t kMostLiterals = 126;
constexpr size_t kMostRepeats = 127;

/** Marks that eight bytes hold from any place on, and one behind them that ends a search. */
constexpr size_t kMarks = 56;
constexpr uint64_t kEndOfMarks = uint64_t{1} << kMarks;

size_t LengthOfRun(uint8_t control) {
    return control < kNoOperation ? size_t{control} + 1 : size_t{257} - control;
}

/** Expands runs up to the end of what is wanted, while whole ones and a chunk more fit on both
 *  sides. */
void ExpandInside(const uint8_t *&from, const uint8_t *fromEnd, uint8_t *&to,
                  const uint8_t *wantedEnd, const uint8_t *roomEnd) {
    constexpr std::ptrdiff_t kFits = kLongestRun + kChunk;
    static_assert(kFits <= kRleSurplus);
    while (to < wantedEnd && roomEnd - to >= kFits && fromEnd - from > kFits) {
        const uint8_t control = *from++;
        if (control == kNoOperation) continue;
        const size_t count = LengthOfRun(control);
        if (control < kNoOperation) {
            for (size_t i = 0; i < count; i += kChunk) std::memcpy(to + i, from + i, kChunk);
            from += count;
        } else {
            uint8_t chunk[kChunk];
            std::memset(chunk, *from++, kChunk);
            for (size_t i = 0; i < count; i += kChunk) std::memcpy(to + i, chunk, kChunk);
        }
        to += count;
    }
}

/** Expands one run as far as both sides reach. */
void ExpandRun(const uint8_t *&from, const uint8_t *fromEnd, uint8_t *&to, const uint8_t *roomEnd) {
    const uint8_t control = *from++;
    if (control == kNoOperation || from == fromEnd) return;
    size_t count = std::min(LengthOfRun(control), static_cast<size_t>(roomEnd - to));
    if (control > kNoOperation) {
        std::memset(to, *from++, count);
    } else {
        count = std::min(count, static_cast<size_t>(fromEnd - from));
        std::memcpy(to, from, count);
        from += count;
    }
    to += count;
}

uint64_t LoadWord(const uint8_t *bytes) {
    uint64_t word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

/** A bit for each of eight bytes, the first in the lowest: set where the byte is zero. */
uint64_t ZeroBytes(uint64_t word) {
    constexpr uint64_t kLow = 0x7F7F7F7F7F7F7F7Fu;
    const uint64_t zeros = ~(((word & kLow) + kLow) | word | kLow);
    return (zeros >> 7) * 0x0102040810204080u >> 56;
}

void Gather(const uint8_t *from, size_t stride, size_t count, uint8_t *to) {
    switch (stride) {
        case 1:
            std::memcpy(to, from, count);
            break;
        case 2:
            for (size_t i = 0; i < count; ++i) to[i] = from[2 * i];
            break;
        default:
            for (size_t i = 0; i < count; ++i) to[i] = from[stride * i];
    }
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

size_t RleExpander::Expand(uint8_t *to, size_t wanted, size_t room) {
    uint8_t *const begin = to;
    const uint8_t *const wantedEnd = to + wanted;
    const uint8_t *const roomEnd = to + room;
    ExpandInside(m_From, m_End, to, wantedEnd, roomEnd);
    while (to < wantedEnd && m_From < m_End) ExpandRun(m_From, m_End, to, roomEnd);
    return static_cast<size_t>(to - begin);
}

size_t MostRleBytes(size_t plane) {
    // Literals cost a byte for each run, and the shortest run of repeats makes two of two.
    return plane + plane / 2 + 2 + kChunk;
}

void RlePacker::Add(const uint8_t *from, size_t stride, size_t count) {
    while (count > 0) {
        const size_t taken = std::min(count, kPiece - m_Count);
        Gather(from, stride, taken, m_Bytes.data() + m_Count);
        m_Count += taken;
        from += taken * stride;
        count -= taken;
        // What the last runs become depends on bytes that are still to come.
        if (m_Count == kPiece) Pack(kPiece - kLongestPair);
    }
}

uint8_t *RlePacker::Finish() {
    Pack(m_Count);
    return m_Target;
}

/** Marks each byte that the next one equals; the last one has no next. */
void RlePacker::MarkPairs() {
    for (size_t i = 0; i < m_Count; i += sizeof(uint64_t)) {
        const uint8_t *bytes = m_Bytes.data() + i;
        m_Pairs[i / 8] = static_cast<uint8_t>(ZeroBytes(LoadWord(bytes) ^ LoadWord(bytes + 1)));
    }
    // Behind the last pair there is none as far as anyone looks.
    const size_t end = m_Count > 0 ? m_Count - 1 : 0;
    m_Pairs[end / 8] &= static_cast<uint8_t>((1u << end % 8) - 1);
    std::memset(m_Pairs.data() + end / 8 + 1, 0, kLongestPair / 8 - 1);
}

/** The marks from a place on, of which kMarks are sure to be there. */
uint64_t RlePacker::PairsAt(size_t place) const {
    return LoadWord(m_Pairs.data() + place / 8) >> place % 8;
}

/** Number of marks from a place on that are like each other: those that are flipped to zero. */
size_t RlePacker::CountPairs(size_t place, uint64_t flip, size_t limit) const {
    for (size_t count = 0; count < limit; count += kMarks) {
        const uint64_t marks = PairsAt(place + count) ^ flip;
        const auto more = static_cast<size_t>(std::countr_zero(marks | kEndOfMarks));
        if (more < kMarks) return std::min(count + more, limit);
    }
    return limit;
}

/** Packs runs that begin before a place: by turns literals up to the first pair of equal bytes, and
 *  repeats, either of which may be none. Where runs are short nobody can tell the next one's kind,
 *  so both are written without asking. */
void RlePacker::Pack(size_t stop) {
    MarkPairs();
    size_t at = 0;
    uint8_t *target = m_Target;
    while (at < stop) {
        const uint64_t pairs = PairsAt(at);
        auto literals = static_cast<size_t>(std::countr_zero(pairs | kEndOfMarks));
        auto repeats = static_cast<size_t>(std::countr_zero(~(pairs >> literals)));
        if (literals + repeats >= kMarks) {
            literals = CountPairs(at, 0, std::min(m_Count - at, kMostLiterals));
            repeats = CountPairs(at + literals, ~uint64_t{0}, kMostRepeats - 1);
        }
        const uint8_t *bytes = m_Bytes.data() + at;
        target[0] = static_cast<uint8_t>(literals - 1);
        for (size_t i = 0; i < literals; i += kChunk)
            std::memcpy(target + 1 + i, bytes + i, kChunk);
        target += literals + (literals > 0 ? 1 : 0);
        target[0] = static_cast<uint8_t>(-repeats);
        target[1] = bytes[literals];
        target += repeats > 0 ? 2 : 0;
        at += literals + repeats + (repeats > 0 ? 1 : 0);
    }
    m_Target = target;
    m_Count -= at;
    std::memmove(m_Bytes.data(), m_Bytes.data() + at, m_Count);
}

} // namespace mdicom
