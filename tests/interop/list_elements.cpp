// Prints what a data set holds in lines that a script can compare: depth, tag, VR, length and
// CRC-32 of the value in little-endian order. Arguments: files. Each file begins with a line of
// "file", status, flags and name.

#include <cinttypes>
#include <cstdio>
#include <vector>

#include "MDicom.h"

namespace {

uint32_t Crc32(uint32_t crc, const uint8_t *bytes, size_t count) {
    static const auto table = [] {
        std::vector<uint32_t> entries(256);
        for (uint32_t i = 0; i < 256; ++i) {
            uint32_t entry = i;
            for (int bit = 0; bit < 8; ++bit) entry = entry >> 1 ^ (entry & 1 ? 0xEDB88320u : 0);
            entries[i] = entry;
        }
        return entries;
    }();
    crc = ~crc;
    for (size_t i = 0; i < count; ++i) crc = crc >> 8 ^ table[(crc ^ bytes[i]) & 0xFF];
    return ~crc;
}

void List(MDicomDS &ds) {
    constexpr uint32_t kPiece = 64 * 1024;
    std::vector<uint8_t> bytes(kPiece);
    for (_DICOMELEMENT *element = ds.GetFirstElement(nullptr, 0, 1); element != nullptr;
         element = ds.GetNextElement(element, 0, 1)) {
        uint32_t crc = 0;
        bool readable = true;
        const uint32_t length = element->nLength == 0xFFFFFFFF ? 0 : element->nLength;
        for (uint32_t offset = 0; offset < length && readable; offset += kPiece) {
            const uint32_t count = length - offset < kPiece ? length - offset : kPiece;
            readable = ds.GetBinaryValue(element, bytes.data(), offset, count) != 0;
            if (readable) crc = Crc32(crc, bytes.data(), count);
        }
        std::printf("%" PRIu32 " %08" PRIX32 " %c%c %08" PRIX32 " %s%08" PRIX32 "\n",
                    ds.GetLevelElement(element), element->nTag, element->nVR >> 8,
                    element->nVR & 0xFF, element->nLength, readable ? "" : "!", crc);
    }
}

} // namespace

int main(int count, char **arguments) {
    for (int i = 1; i < count; ++i) {
        const A2U_Class name(arguments[i]);
        MDicomDS ds(nullptr);
        const unsigned status = ds.LoadDS(name.pszText, 0);
        std::printf("file %u %u %s\n", status, static_cast<unsigned>(ds.m_nFlags), arguments[i]);
        if (status == DICOM_SUCCESS) List(ds);
    }
    return 0;
}
