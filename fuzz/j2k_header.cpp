// Reads the head of a codestream at once and in pieces, which must come to the same. The first byte
// is the size of the pieces.

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <span>
#include <vector>

#include "Filters/J2k/read_j2k_header/j2k_parser.h"

namespace {

int32_t ReadPieces(J2KHeaderReader &reader, std::span<const uint8_t> bytes, size_t size) {
    int32_t found = 0;
    while (found == 0 && !bytes.empty()) {
        // A piece of its own, so that a read past its end shows.
        const std::vector<uint8_t> piece(bytes.begin(),
                                         bytes.begin() + std::min(size, bytes.size()));
        found = reader.Parse(piece.data(), piece.data() + piece.size());
        bytes = bytes.subspan(piece.size());
    }
    return found;
}

bool SameResult(const J2KHeaderReader &a, const J2KHeaderReader &b) {
    return a.nState == b.nState && a.nSegmentLength == b.nSegmentLength &&
           a.nSegmentFill == b.nSegmentFill && a.nProfile == b.nProfile && a.nXsiz == b.nXsiz &&
           a.nYTOsiz == b.nYTOsiz && a.nCsiz == b.nCsiz && a.nTotalDepth == b.nTotalDepth &&
           std::memcmp(a.pSegment, b.pSegment, 255) == 0 &&
           std::memcmp(a.Components, b.Components, sizeof a.Components) == 0;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 1) return 0;
    const std::span<const uint8_t> bytes(data + 1, size - 1);
    J2KHeaderReader whole;
    J2KHeaderReader pieces;
    const int32_t found = whole.Parse(bytes.data(), bytes.data() + bytes.size());
    if (ReadPieces(pieces, bytes, data[0] + size_t{1}) != found) std::abort();
    if (!SameResult(whole, pieces)) std::abort();
    if (found == 0 && whole.nTotalDepth != 0) std::abort();
    if (whole.GetTotalDepth() > 4 * 128) std::abort();
    return 0;
}
