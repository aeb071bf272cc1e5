// The head of a codestream (ISO/IEC 15444-1 annex A).

#include "Codestream.h"

#include <algorithm>

namespace j2k {

namespace {

enum Marker : uint32_t {
    kCod = 0xFF52,
    kCoc = 0xFF53,
    kSot = 0xFF90,
    kSod = 0xFF93,
    kEoc = 0xFFD9,
};

constexpr uint8_t kStart[] = {0xFF, 0x4F, 0xFF, 0x51}; // SOC, SIZ
constexpr size_t kMarkerBytes = 2;

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
class StyleCheck {
  public:
    StyleCheck(const Head &head, Bytes codestream) : m_Head(head), m_Reader(codestream) {}

    bool Passes() {
        m_Reader.MoveTo(kMarkerBytes);
        while (!m_Reader.Failed() && m_Reader.Left() >= 2 * kMarkerBytes) {
            const size_t place = m_Reader.Position();
            const uint32_t marker = m_Reader.Read16();
            if (marker == kEoc) return true;
            if (marker == kSod) {
                // Without a length the tile part goes on to the end.
                if (m_NextTilePart <= place) return true;
                m_Reader.MoveTo(m_NextTilePart);
                continue;
            }
            if (!CheckSegment(marker, place)) return false;
        }
        return true;
    }

  private:
    bool CheckSegment(uint32_t marker, size_t place) {
        const uint32_t length = m_Reader.Read16();
        if (length < kMarkerBytes) return false;
        Reader segment(m_Reader.Take(length - kMarkerBytes));
        switch (marker) {
            case kSot:
                return ReadTilePart(segment, place);
            case kCod:
                return CheckDefault(segment);
            case kCoc:
                return CheckComponent(segment);
            default:
                return true;
        }
    }

    bool ReadTilePart(Reader &segment, size_t place) {
        segment.Read16(); // number of the tile
        const uint32_t length = segment.Read32();
        m_NextTilePart = length != 0 ? uint64_t{place} + length : 0;
        return true;
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
    Reader m_Reader;
    uint64_t m_NextTilePart = 0;
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

Bytes FindCodestream(Bytes file) {
    const auto found = std::search(file.begin(), file.end(), std::begin(kStart), std::end(kStart));
    return file.subspan(static_cast<size_t>(found - file.begin()));
}

std::optional<Head> ReadHead(Bytes codestream) {
    Reader reader(codestream);
    reader.MoveTo(sizeof kStart);
    const uint32_t length = reader.Read16();
    if (length < kMarkerBytes) return std::nullopt;
    Reader segment(reader.Take(length - kMarkerBytes));
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

bool IsReasonable(const Head &head, Bytes codestream) {
    constexpr uint64_t kFreeTiles = 256;
    constexpr uint64_t kPixelsPerTile = 1024;
    const uint64_t pixels = uint64_t{head.width} * head.height;
    if (head.tiles > kFreeTiles + pixels / kPixelsPerTile) return false;
    return HasReasonableSteps(head) && StyleCheck(head, codestream).Passes();
}

} // namespace j2k
