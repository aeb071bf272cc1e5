// The head of a codestream (ISO/IEC 15444-1 annex A).

#include "Codestream.h"

#include <algorithm>
#include <iterator>

namespace j2k {

namespace {

enum Marker : uint32_t {
    kCod = 0xFF52,
    kCoc = 0xFF53,
    kCom = 0xFF64,
    kSot = 0xFF90,
    kSod = 0xFF93,
    kEoc = 0xFFD9,
};

/** Markers of segments in heads that decoders know (A.2, and parts of ISO/IEC 15444-2). */
constexpr uint32_t kKnown[] = {0xFF50, kCod,   kCoc,   0xFF55, 0xFF57, 0xFF58,
                               0xFF5C, 0xFF5D, 0xFF5E, 0xFF5F, 0xFF60, 0xFF61,
                               0xFF63, kCom,   0xFF74, 0xFF75, 0xFF77, 0xFF78};

constexpr uint8_t kStart[] = {0xFF, 0x4F, 0xFF, 0x51}; // SOC, SIZ
constexpr size_t kMarkerBytes = 2;
constexpr size_t kLengthBytes = 2;

/** Reads big-endian numbers; past the end they are 0 and the reader has failed. */
class Reader {
  public:
    explicit Reader(Bytes bytes) : m_Bytes(bytes) {}

    bool Failed() const { return m_Failed; }
    size_t Position() const { return m_Position; }
    size_t Left() const { return m_Bytes.size() - m_Position; }

    uint32_t Read8() { return Read(1); }
    uint32_t Read16() { return Read(2); }
    uint32_t Read32() { return Read(4); }

    /** The next bytes, fewer where they end. */
    Bytes Take(size_t count) {
        count = std::min(count, Left());
        const Bytes taken = m_Bytes.subspan(m_Position, count);
        m_Position += count;
        return taken;
    }
    void MoveTo(uint64_t position) {
        m_Failed = m_Failed || position > m_Bytes.size();
        m_Position = static_cast<size_t>(std::min<uint64_t>(position, m_Bytes.size()));
    }

  private:
    uint32_t Read(size_t count) {
        if (Left() < count) {
            MoveTo(m_Bytes.size());
            m_Failed = true;
            return 0;
        }
        uint32_t number = 0;
        for (const uint8_t byte : Take(count)) number = number << 8 | byte;
        return number;
    }

    Bytes m_Bytes;
    size_t m_Position = 0;
    bool m_Failed = false;
};

uint64_t CountSteps(uint64_t length, uint64_t step) {
    return (length + step - 1) / step;
}

bool ReadComponents(Reader &reader, Head &head) {
    head.componentCount = reader.Read16();
    if (head.componentCount < 1 || head.componentCount > kMostComponents) return false;
    for (uint32_t i = 0; i < head.componentCount; ++i) {
        const uint32_t form = reader.Read8();
        Component &component = head.components[i];
        component.isSigned = (form & 0x80) != 0;
        component.precision = (form & 0x7F) + 1;
        component.xStep = reader.Read8();
        component.yStep = reader.Read8();
    }
    return !reader.Failed();
}

/** The head with its numbers of tiles, or nothing where the edges contradict each other. */
bool CountTiles(uint64_t right, uint64_t bottom, uint64_t tileLeft, uint64_t tileTop, Head &head) {
    if (head.tileWidth == 0 || head.tileHeight == 0) return false;
    if (right <= head.left || bottom <= head.top) return false;
    if (tileLeft > head.left || tileTop > head.top) return false;
    if (tileLeft + head.tileWidth <= head.left || tileTop + head.tileHeight <= head.top) {
        return false;
    }
    head.width = static_cast<uint32_t>(right - head.left);
    head.height = static_cast<uint32_t>(bottom - head.top);
    head.tiles = CountSteps(right - tileLeft, head.tileWidth) *
                 CountSteps(bottom - tileTop, head.tileHeight);
    return true;
}

/** What a coding style (A.6.1, A.6.2) makes a decoder set up for a tile. */
struct CodingStyle {
    uint32_t levels = 0;
    uint64_t precincts = 0; ///< of the resolution that has most
};

bool ReadCodingStyle(Reader &reader, bool ownPrecincts, const Head &head, CodingStyle &style) {
    constexpr uint32_t kMostLevels = 32;
    constexpr uint32_t kBehindLevels = 4; // code block width, height and style, transformation
    style.levels = reader.Read8();
    if (reader.Failed() || style.levels > kMostLevels) return false;
    reader.Take(kBehindLevels);
    style.precincts = 1;
    for (uint32_t i = 0; ownPrecincts && i <= style.levels; ++i) {
        const uint32_t exponents = reader.Read8();
        if (reader.Failed()) return false;
        const uint32_t shift = style.levels - i;
        const uint64_t width = std::min(head.tileWidth, head.width) >> std::min(shift, 31u);
        const uint64_t height = std::min(head.tileHeight, head.height) >> std::min(shift, 31u);
        // The edges may cut one more in each direction.
        const uint64_t precincts =
            ((width >> (exponents & 15)) + 2) * ((height >> (exponents >> 4)) + 2);
        style.precincts = std::max(style.precincts, precincts);
    }
    return true;
}

/** Walks the segments of the image's head and of those of its tile parts. */
class HeadWalk {
  public:
    HeadWalk(const Head &head, MutableBytes codestream)
        : m_Head(head), m_Codestream(codestream), m_Reader(codestream) {}

    /** What may be decoded, from the start on. */
    Prepared Accepted() {
        const size_t length = AcceptedLength();
        // What is left out leaves the tile parts before it whole.
        const size_t missing = length == m_Codestream.size() ? m_Missing : 0;
        return {m_Codestream.first(length), missing + kMarkerBytes};
    }

  private:
    size_t AcceptedLength() {
        m_Reader.MoveTo(sizeof kStart);
        m_Reader.MoveTo(sizeof kStart + m_Reader.Read16());
        while (!m_Done && m_Reader.Left() >= kMarkerBytes + kLengthBytes) {
            if (m_Reader.Failed() || !Step()) return m_TilePart;
        }
        return m_Accepted;
    }

    /** One marker; false if what it stands in is without sense. */
    bool Step() {
        const size_t place = m_Reader.Position();
        const uint32_t marker = m_Reader.Read16();
        if (m_Behind && marker != kSot) {
            m_Accepted = marker == kEoc ? place + kMarkerBytes : place;
            m_Done = true;
            return true;
        }
        if (marker == kSod) return LeaveHead();
        return CheckSegment(marker, place);
    }

    /** On to the next tile part. */
    bool LeaveHead() {
        if (m_TilePart == 0) return false;
        const bool isOpen = m_TilePartLength == 0; // it goes on to the end
        if (isOpen && !EndsWithMarker()) m_Missing = MostMissing();
        m_Done = isOpen || m_Missing > 0;
        if (m_Done) return true;
        const size_t next = m_TilePart + m_TilePartLength;
        if (next < m_Reader.Position()) return false;
        m_Reader.MoveTo(next);
        m_Behind = true;
        return true;
    }

    bool CheckSegment(uint32_t marker, size_t place) {
        const uint32_t length = m_Reader.Read16();
        if (length < kLengthBytes) return false;
        Reader segment(m_Reader.Take(length - kLengthBytes));
        switch (marker) {
            case kSot:
                return ReadTilePart(segment, place);
            case kCod:
                return CheckDefault(segment);
            case kCoc:
                return CheckComponent(segment);
            default:
                return CheckOther(marker, place);
        }
    }

    bool CheckOther(uint32_t marker, size_t place) {
        constexpr uint32_t kFirst = 0xFF4F;
        constexpr uint32_t kLastOfHeads = 0xFF8F;
        if (marker <= kFirst || marker > kLastOfHeads) return false;
        if (std::find(std::begin(kKnown), std::end(kKnown), marker) == std::end(kKnown)) {
            m_Codestream[place + 1] = kCom & 0xFF;
        }
        return true;
    }

    bool ReadTilePart(Reader &segment, size_t place) {
        constexpr size_t kPlaceOfLength = 6;
        if (m_TilePart != 0 && !m_Behind) return false;
        m_Behind = false;
        m_TilePart = place;
        segment.Read16(); // number of the tile
        m_TilePartLength = segment.Read32();
        if (segment.Failed()) return false;
        const size_t left = m_Codestream.size() - place;
        if (m_TilePartLength <= left) return true;
        m_Missing = m_TilePartLength - left;
        if (m_Missing <= MostMissing()) return true;
        // A decoder would make room for what is not there.
        m_Missing = 0;
        m_TilePartLength = static_cast<uint32_t>(left);
        for (size_t i = 0; i < sizeof m_TilePartLength; ++i) {
            m_Codestream[place + kPlaceOfLength + i] =
                static_cast<uint8_t>(m_TilePartLength >> (24 - 8 * i));
        }
        return true;
    }

    /** More than any codestream of the image has. */
    size_t MostMissing() const {
        constexpr uint64_t kFreeBytes = 4096;
        constexpr uint64_t kBytesPerSample = 4;
        constexpr uint64_t kMost = uint64_t{1} << 30;
        const uint64_t samples = uint64_t{m_Head.width} * m_Head.height * m_Head.componentCount;
        return static_cast<size_t>(std::min(kFreeBytes + samples * kBytesPerSample, kMost));
    }

    bool EndsWithMarker() const {
        Reader end(m_Codestream.last(kMarkerBytes));
        return end.Read16() == kEoc;
    }

    bool CheckDefault(Reader &segment) {
        const bool ownPrecincts = (segment.Read8() & 1) != 0;
        segment.Read8(); // progression order
        m_Layers = std::max(m_Layers, segment.Read16());
        segment.Read8(); // component transformation
        return CheckStyle(segment, ownPrecincts);
    }

    bool CheckComponent(Reader &segment) {
        segment.Read8(); // number of the component, a byte for fewer than 257
        return CheckStyle(segment, (segment.Read8() & 1) != 0);
    }

    bool CheckStyle(Reader &segment, bool ownPrecincts) {
        constexpr uint64_t kFreePrecincts = 4096;
        constexpr uint64_t kPixelsPerPrecinct = 64;
        constexpr uint64_t kFreePackets = uint64_t{1} << 22;
        CodingStyle style;
        if (!ReadCodingStyle(segment, ownPrecincts, m_Head, style)) return false;
        m_Levels = std::max(m_Levels, style.levels);
        m_Precincts = std::max(m_Precincts, style.precincts);
        const uint64_t pixels = uint64_t{m_Head.width} * m_Head.height;
        if (m_Precincts > kFreePrecincts + pixels / kPixelsPerPrecinct) return false;
        const uint64_t packetsOfLayer =
            m_Precincts * (m_Levels + 1) * m_Head.componentCount; // far below 2^48
        return packetsOfLayer <= (kFreePackets + pixels) / std::max(m_Layers, 1u);
    }

    const Head &m_Head;
    MutableBytes m_Codestream;
    Reader m_Reader;
    size_t m_Accepted = m_Codestream.size();
    size_t m_TilePart = 0; ///< place of the tile part; 0 in the image's head
    uint32_t m_TilePartLength = 0;
    size_t m_Missing = 0;
    bool m_Behind = false; ///< behind a tile part, ahead of the head of the next
    bool m_Done = false;
    uint32_t m_Layers = 0;
    uint32_t m_Levels = 0;
    uint64_t m_Precincts = 0;
};

bool HasReasonableSteps(const Head &head) {
    constexpr uint32_t kMostSteps = 2;
    // The first component carries the image.
    if (head.components[0].xStep != 1 || head.components[0].yStep != 1) return false;
    for (uint32_t i = 0; i < head.componentCount; ++i) {
        const Component &component = head.components[i];
        if (component.xStep < 1 || component.xStep > kMostSteps) return false;
        if (component.yStep < 1 || component.yStep > kMostSteps) return false;
    }
    return true;
}

} // namespace

MutableBytes FindCodestream(MutableBytes file) {
    const auto found = std::search(file.begin(), file.end(), std::begin(kStart), std::end(kStart));
    return file.subspan(static_cast<size_t>(found - file.begin()));
}

std::optional<Head> ReadHead(Bytes codestream) {
    Reader reader(codestream);
    reader.MoveTo(sizeof kStart);
    const uint32_t length = reader.Read16();
    if (length < kLengthBytes) return std::nullopt;
    Reader segment(reader.Take(length - kLengthBytes));
    segment.Read16(); // capabilities
    Head head{};
    const uint32_t right = segment.Read32();
    const uint32_t bottom = segment.Read32();
    head.left = segment.Read32();
    head.top = segment.Read32();
    head.tileWidth = segment.Read32();
    head.tileHeight = segment.Read32();
    const uint32_t tileLeft = segment.Read32();
    const uint32_t tileTop = segment.Read32();
    if (!ReadComponents(segment, head)) return std::nullopt;
    if (!CountTiles(right, bottom, tileLeft, tileTop, head)) return std::nullopt;
    return head;
}

Prepared PrepareCodestream(const Head &head, MutableBytes codestream) {
    constexpr uint64_t kFreeTiles = 256;
    constexpr uint64_t kPixelsPerTile = 1024;
    const uint64_t pixels = uint64_t{head.width} * head.height;
    if (head.tiles > kFreeTiles + pixels / kPixelsPerTile) return {};
    if (!HasReasonableSteps(head)) return {};
    return HeadWalk(head, codestream).Accepted();
}

} // namespace j2k
