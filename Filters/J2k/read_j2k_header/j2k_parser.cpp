#include "Filters/J2k/read_j2k_header/j2k_parser.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <optional>
#include <span>

#include "Common/Utils/ByteCursor.h"

using mdicom::ByteCursor;

namespace {

enum State : uint32_t {
    kAheadOfSoc = 1,
    kAheadOfSiz = 2,
    kLengthHigh = 3,
    kLengthLow = 4,
    kInSegment = 5,
};

constexpr uint16_t kSoc = 0xFF4F;
constexpr uint16_t kSiz = 0xFF51;
constexpr uint32_t kLengthBytes = 2;
/** The fixed fields and one component. */
constexpr uint32_t kShortestSegment = 39;

/** The profile that the capabilities tell; none if they are unknown. */
std::optional<uint32_t> ProfileOf(uint16_t capabilities) {
    constexpr uint16_t kExtended = 0x8000;
    // Announces a segment of further capabilities, which any profile may have.
    constexpr uint16_t kFurtherCapabilities = 0x4000;
    constexpr uint32_t kExtendedProfile = 3;
    constexpr uint32_t kProfiles[] = {2, 0, 1, 4, 5};
    if ((capabilities & kExtended) != 0) return kExtendedProfile;
    const uint32_t code = capabilities & ~uint32_t{kFurtherCapabilities};
    if (code >= std::size(kProfiles)) return std::nullopt;
    return kProfiles[code];
}

/** A tile so much larger than the image means one tile; sums made with it would overflow. */
void LimitTile(uint32_t *tile, uint32_t image) {
    constexpr uint32_t kTopBit = 0x80000000;
    if ((*tile & kTopBit) != 0 && (image & kTopBit) == 0) *tile = image;
}

} // namespace

int32_t J2KHeaderReader::Parse(const uint8_t *pBegin, const uint8_t *pEnd) {
    std::span<const uint8_t> bytes;
    if (pBegin != nullptr && pBegin < pEnd) bytes = std::span(pBegin, pEnd);
    ByteCursor cursor(bytes, false);
    Scan(cursor);
    if (nState != kInSegment) return 0;
    if (nSegmentLength > kSegmentRoom) return 1;
    Collect(cursor);
    if (nSegmentFill < nSegmentLength) return 0;
    ReadSegment();
    return 1;
}

/** Ahead of the segment's content: on to the next state while there are bytes. */
void J2KHeaderReader::Scan(ByteCursor &cursor) {
    while (nState < kInSegment && cursor.Left() > 0) {
        switch (nState) {
            case kAheadOfSoc:
                if (FindMarker(cursor, kSoc)) nState = kAheadOfSiz;
                break;
            case kAheadOfSiz:
                if (FindMarker(cursor, kSiz)) nState = kLengthHigh;
                break;
            case kLengthHigh:
                Shift(cursor);
                nState = kLengthLow;
                break;
            default:
                Shift(cursor);
                // A length below 2 wraps round and so is too long.
                nSegmentLength = nMarker - kLengthBytes;
                nState = kInSegment;
        }
    }
}

void J2KHeaderReader::Shift(ByteCursor &cursor) {
    nMarker = static_cast<uint16_t>(nMarker << 8 | cursor.Read8());
}

bool J2KHeaderReader::FindMarker(ByteCursor &cursor, uint16_t marker) {
    while (cursor.Left() > 0) {
        Shift(cursor);
        if (nMarker == marker) return true;
    }
    return false;
}

void J2KHeaderReader::Collect(ByteCursor &cursor) {
    const size_t missing = nSegmentLength - nSegmentFill;
    const std::span<const uint8_t> bytes = cursor.Take(std::min(missing, cursor.Left()));
    if (bytes.empty()) return;
    std::memcpy(m_Segment + nSegmentFill, bytes.data(), bytes.size());
    nSegmentFill += static_cast<uint32_t>(bytes.size());
}

void J2KHeaderReader::ReadSegment() {
    if (nSegmentLength < kShortestSegment) return;
    ByteCursor cursor({m_Segment, nSegmentLength}, false);
    const std::optional<uint32_t> profile = ProfileOf(cursor.Read16());
    if (!profile) return;
    nProfile = *profile;
    ReadGeometry(cursor);
    const uint32_t depth = ReadComponents(cursor);
    nTotalDepth = cursor.Failed() ? 0 : depth;
}

void J2KHeaderReader::ReadGeometry(ByteCursor &cursor) {
    for (uint32_t *field :
         {&nXsiz, &nYsiz, &nXOsiz, &nYOsiz, &nXTsiz, &nYTsiz, &nXTOsiz, &nYTOsiz}) {
        *field = cursor.Read32();
    }
    LimitTile(&nXTsiz, nXsiz);
    LimitTile(&nYTsiz, nYsiz);
}

/** Reads as many components as there is room for; gives the sum of their depths. */
uint32_t J2KHeaderReader::ReadComponents(ByteCursor &cursor) {
    nCsiz = cursor.Read16();
    const size_t count = std::min<size_t>(nCsiz, std::size(Components));
    uint32_t depth = 0;
    for (Component &component : std::span(Components).first(count)) {
        const uint8_t form = cursor.Read8();
        component.bSigned = form >> 7;
        component.nDepth = (form & 0x7Fu) + 1;
        component.nXRsiz = cursor.Read8();
        component.nYRsiz = cursor.Read8();
        depth += component.nDepth;
    }
    return depth;
}
