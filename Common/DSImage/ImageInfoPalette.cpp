// Palettes of an image description.

#include "Common/DSImage/ImageInfoPalette.h"

#include <algorithm>

#include "Common/DSImage/ImageTags.h"
#include "Common/Utils/Memory.h"
#include "MDicomDS.h"

namespace mdicom {

namespace {

/** The attributes of one colour and where they go. */
struct Colour {
    uint32_t descriptorTag;
    uint32_t tableTag;
    uint32_t segmentsTag;
    uint32_t _IMAGEINFO::*entries;
    uint32_t _IMAGEINFO::*firstValue;
    uint32_t _IMAGEINFO::*bits;
    uint16_t *_IMAGEINFO::*table;
};

constexpr Colour kColours[] = {
    {kPaletteDescriptors[0], kPaletteTables[0], kPaletteSegments[0], &_IMAGEINFO::nRedEntries,
     &_IMAGEINFO::nRedFirstValue, &_IMAGEINFO::nRedBits, &_IMAGEINFO::pRedTable},
    {kPaletteDescriptors[1], kPaletteTables[1], kPaletteSegments[1], &_IMAGEINFO::nGreenEntries,
     &_IMAGEINFO::nGreenFirstValue, &_IMAGEINFO::nGreenBits, &_IMAGEINFO::pGreenTable},
    {kPaletteDescriptors[2], kPaletteTables[2], kPaletteSegments[2], &_IMAGEINFO::nBlueEntries,
     &_IMAGEINFO::nBlueFirstValue, &_IMAGEINFO::nBlueBits, &_IMAGEINFO::pBlueTable},
};

constexpr uint32_t kAllEntries = 0x10000;

bool ReadTable(MDicomDS &dataSet, _DICOMELEMENT *pixelData, uint32_t tag, uint32_t bits,
               std::span<uint16_t> table) {
    const auto count = static_cast<uint32_t>(table.size());
    const uint32_t read =
        dataSet.FindGetValue(pixelData, tag, table.data(), 0, count, VALUE_ARRAY_WORD);
    // A table of 8 bits may have two entries in a word.
    if (bits <= 8 && read > 0 && read <= (count + 1) / 2) SpreadBytes(table);
    return read > 0;
}

/** Reads a segmented table. Sets *found if there is one. */
Status ReadSegments(MDicomDS &dataSet, _DICOMELEMENT *pixelData, uint32_t tag,
                    std::span<uint16_t> table, bool *found) {
    const uint32_t count =
        dataSet.FindGetValue(pixelData, tag, nullptr, 0, 0xFFFFFFFE, VALUE_ARRAY_WORD);
    *found = count > 0;
    if (count == 0) return DICOM_SUCCESS;
    // Counted by its declared length: only what is there is worth memory, and what passes the
    // longest sensible list of segments is none.
    constexpr uint32_t kMostWords = 4 * kAllEntries;
    if (count > kMostWords) return DICOM_ERROR_IMAGE_ATTRIBUTE;
    const auto words = MakeDataBlock<uint16_t>(count);
    if (!words) return DICOM_ERROR_MEMORY;
    const uint32_t read =
        dataSet.FindGetValue(pixelData, tag, words.get(), 0, count, VALUE_ARRAY_WORD);
    const bool done = read == count && ExpandSegments({words.get(), count}, table);
    return done ? DICOM_SUCCESS : DICOM_ERROR_IMAGE_ATTRIBUTE;
}

/** Reader of segments that writes the entries they stand for. */
class SegmentExpander {
  public:
    SegmentExpander(std::span<const uint16_t> words, std::span<uint16_t> table)
        : m_Words(words), m_Table(table) {}

    bool Expand() {
        size_t place = 0;
        while (place < m_Words.size()) {
            const bool done = m_Words[place] == kIndirect ? Indirect(&place) : Direct(&place);
            if (!done) return false;
            if (m_Filled >= m_Table.size()) return true;
        }
        return true;
    }

  private:
    static constexpr uint16_t kDiscrete = 0;
    static constexpr uint16_t kLinear = 1;
    static constexpr uint16_t kIndirect = 2;

    void Put(uint16_t entry) {
        if (m_Filled < m_Table.size()) m_Table[m_Filled++] = entry;
    }

    bool Direct(size_t *place) {
        const auto rest = m_Words.subspan(*place);
        if (rest.size() < 3 || rest[0] > kLinear) return false;
        const uint32_t count = rest[1];
        if (rest[0] == kDiscrete) {
            if (rest.size() - 2 < count) return false;
            for (uint32_t i = 0; i < count; ++i) Put(rest[2 + i]);
            *place += 2 + size_t{count};
            return true;
        }
        if (m_Filled == 0) return false; // a line needs a point to begin at
        const int64_t from = m_Table[m_Filled - 1];
        const int64_t step = rest[2] - from;
        for (uint32_t i = 1; i <= count; ++i) {
            Put(static_cast<uint16_t>(from + step * i / count));
        }
        *place += 3;
        return true;
    }

    /** Repeats segments that stand before; their offset counts bytes. */
    bool Indirect(size_t *place) {
        const auto rest = m_Words.subspan(*place);
        if (rest.size() < 4) return false;
        const uint32_t offset = rest[2] | uint32_t{rest[3]} << 16;
        size_t source = offset / 2;
        if (offset % 2 != 0) return false;
        for (uint32_t i = 0; i < rest[1] && m_Filled < m_Table.size(); ++i) {
            if (source >= m_Words.size() || !Direct(&source)) return false;
        }
        *place += 4;
        return true;
    }

    std::span<const uint16_t> m_Words;
    std::span<uint16_t> m_Table;
    size_t m_Filled = 0;
};

} // namespace

void SpreadBytes(std::span<uint16_t> table) {
    const auto *bytes = reinterpret_cast<const uint8_t *>(table.data());
    for (size_t i = table.size(); i-- > 0;) table[i] = bytes[i];
}

bool ExpandSegments(std::span<const uint16_t> words, std::span<uint16_t> table) {
    return SegmentExpander(words, table).Expand();
}

void DescribePalettes(MDicomDS &dataSet, _DICOMELEMENT *pixelData, _IMAGEINFO &info) {
    info.nMinFirstValue = 0xFFFFFFFF;
    for (const Colour &colour : kColours) {
        uint32_t values[3] = {};
        const uint32_t count =
            dataSet.FindGetValue(pixelData, colour.descriptorTag, values, 0, 3, VALUE_ARRAY_DWORD);
        if (count > 0) info.*colour.entries = values[0] & 0xFFFF;
        if (count > 0 && info.*colour.entries == 0) info.*colour.entries = kAllEntries;
        info.*colour.firstValue = values[1] & 0xFFFF;
        info.*colour.bits = values[2] & 0xFFFF;
        info.nMaxEntries = std::max(info.nMaxEntries, info.*colour.entries);
        info.nMinFirstValue = std::min(info.nMinFirstValue, info.*colour.firstValue);
    }
}

Status LoadPalettes(MDicomDS &dataSet, _DICOMELEMENT *pixelData, _IMAGEINFO &info) {
    constexpr uint32_t kSegmentBits = 16;
    bool segmented = false;
    for (const Colour &colour : kColours) {
        const uint32_t entries = info.*colour.entries;
        if (entries == 0) continue;
        auto *words = static_cast<uint16_t *>(DataAlloc(entries, sizeof(uint16_t)));
        if (words == nullptr) return DICOM_ERROR_MEMORY;
        info.*colour.table = words;
        const std::span table(words, entries);
        std::ranges::fill(table, uint16_t{0});
        if (ReadTable(dataSet, pixelData, colour.tableTag, info.*colour.bits, table)) continue;
        bool found = false;
        const Status status = ReadSegments(dataSet, pixelData, colour.segmentsTag, table, &found);
        if (status != DICOM_SUCCESS) return status;
        segmented = segmented || found;
    }
    const bool wide = info.nRedBits == kSegmentBits && info.nGreenBits == kSegmentBits &&
                      info.nBlueBits == kSegmentBits;
    return segmented && !wide ? DICOM_ERROR_IMAGE_ATTRIBUTE : DICOM_SUCCESS;
}

} // namespace mdicom
