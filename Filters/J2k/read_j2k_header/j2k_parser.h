// The head of a JPEG 2000 codestream: sizes, tiles and depths of its components.

#pragma once

#include <cstdint>

namespace mdicom {
class ByteCursor;
}

/**
 * Finds the SIZ marker segment of a codestream (ISO/IEC 15444-1 A.5.1) and reads it. Bytes may
 * arrive in pieces of any size; the reader keeps its place between calls. Fields are valid once
 * Parse gave 1 and nTotalDepth is not 0.
 */
class J2KHeaderReader {
  public:
    /** One component, in the units of the codestream. */
    struct Component {
        uint32_t bSigned; /**< 1 if samples are signed. */
        uint32_t nDepth;  /**< Bits of a sample, 1 to 128 as stored; nothing holds it to 38. */
        uint32_t nXRsiz;  /**< Horizontal distance of samples on the reference grid. */
        uint32_t nYRsiz;  /**< Vertical distance of samples on the reference grid. */
    };

    J2KHeaderReader() = default;
    ~J2KHeaderReader() = default;
    J2KHeaderReader(const J2KHeaderReader &) = delete;
    J2KHeaderReader &operator=(const J2KHeaderReader &) = delete;

    /**
     * Feeds the bytes from pBegin up to pEnd; null or an empty range feeds none. Gives 1 when the
     * segment is complete, 0 when the bytes ran out first. A segment that is refused (too short or
     * too long, of an unknown profile, or without the components it counts) gives 1 as well, with
     * nTotalDepth 0. Bytes behind the segment are not looked at.
     */
    int32_t Parse(const uint8_t *pBegin, const uint8_t *pEnd);

    /** Sum of the depths of the components that were read, four at most; 0 if there are none. */
    uint32_t GetTotalDepth() const { return nTotalDepth; }

    uint16_t nMarker = 0; /**< The last two bytes seen ahead of the segment's content. */
    uint32_t nState = 1;  /**< Place in the stream, from 1 ahead of SOC to 5 in SIZ. */
    uint8_t *const pSegment = m_Segment; /**< Room of 255 bytes for the segment's content. */
    uint32_t nSegmentLength = 0; /**< Length of the content; beyond 255 if it is impossible. */
    uint32_t nSegmentFill = 0;   /**< Bytes of the content that have arrived. */
    uint32_t nProfile = 0; /**< From Rsiz: 0 profile 0, 1 profile 1, 2 none, 3 extended, 4 and 5
                                digital cinema. */
    uint32_t nXsiz = 0;    /**< Right edge of the image on the reference grid. */
    uint32_t nYsiz = 0;    /**< Lower edge of the image. */
    uint32_t nXOsiz = 0;   /**< Left edge of the image. */
    uint32_t nYOsiz = 0;   /**< Upper edge of the image. */
    uint32_t nXTsiz = 0;   /**< Width of a tile. */
    uint32_t nYTsiz = 0;   /**< Height of a tile. */
    uint32_t nXTOsiz = 0;  /**< Left edge of the first tile. */
    uint32_t nYTOsiz = 0;  /**< Upper edge of the first tile. */
    uint32_t nCsiz = 0;    /**< Components as stored; only the first four are read. */
    Component Components[4] = {};
    uint32_t nTotalDepth = 0; /**< Sum of nDepth over the components read. */

  private:
    static constexpr uint32_t kSegmentRoom = 255;

    void Shift(mdicom::ByteCursor &cursor);
    bool FindMarker(mdicom::ByteCursor &cursor, uint16_t marker);
    void Scan(mdicom::ByteCursor &cursor);
    void Collect(mdicom::ByteCursor &cursor);
    void ReadSegment();
    void ReadGeometry(mdicom::ByteCursor &cursor);
    uint32_t ReadComponents(mdicom::ByteCursor &cursor);

    uint8_t m_Segment[kSegmentRoom] = {};
};
