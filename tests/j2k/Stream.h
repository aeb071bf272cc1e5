// How tests feed codestreams to a reader, and what they compare of it.

#pragma once

#include "Filters/J2k/read_j2k_header/j2k_parser.h"
#include "support/TestFiles.h"

using support::Bytes;

/** Parses a copy of exactly these bytes, so that a sanitizer sees any read beside them. */
inline int32_t Feed(J2KHeaderReader &reader, Bytes::const_iterator begin,
                    Bytes::const_iterator end) {
    const Bytes copy(begin, end);
    return reader.Parse(copy.data(), copy.data() + copy.size());
}

inline int32_t Feed(J2KHeaderReader &reader, const Bytes &bytes) {
    return Feed(reader, bytes.begin(), bytes.end());
}

inline int32_t FeedSingly(J2KHeaderReader &reader, const Bytes &bytes) {
    int32_t found = 0;
    for (auto at = bytes.begin(); at != bytes.end() && found == 0; ++at) {
        found = Feed(reader, at, at + 1);
    }
    return found;
}

using Numbers = std::vector<uint32_t>;

inline Numbers GeometryOf(const J2KHeaderReader &reader) {
    return {reader.nXsiz,  reader.nYsiz,  reader.nXOsiz,  reader.nYOsiz,
            reader.nXTsiz, reader.nYTsiz, reader.nXTOsiz, reader.nYTOsiz};
}

/** All that a reader found out. */
inline Numbers ResultOf(const J2KHeaderReader &reader) {
    Numbers numbers = GeometryOf(reader);
    numbers.insert(numbers.end(), {reader.nState, reader.nSegmentLength, reader.nSegmentFill,
                                   reader.nProfile, reader.nCsiz, reader.nTotalDepth});
    for (const auto &each : reader.Components) {
        numbers.insert(numbers.end(), {each.bSigned, each.nDepth, each.nXRsiz, each.nYRsiz});
    }
    return numbers;
}
