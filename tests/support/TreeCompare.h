// Comparison of data sets element by element.

#pragma once

#include <cinttypes>
#include <cstdio>
#include <string>
#include <vector>

#include "MDicom.h"

namespace support {

struct CompareOptions {
    bool compareVr = true;
    bool skipTransferSyntax = true; ///< (0002,0010) says how a file is encoded
};

/** Empty for a value that cannot be read; one that is not all there takes no memory. */
inline std::vector<uint8_t> ValueOf(MDicomDS &ds, _DICOMELEMENT *element) {
    uint8_t last;
    if (element->nLength == 0xFFFFFFFF || element->nLength == 0) return {};
    if (!ds.GetBinaryValue(element, &last, element->nLength - 1, 1)) return {};
    std::vector<uint8_t> bytes(element->nLength);
    if (!ds.GetBinaryValue(element, bytes.data(), element->nLength)) bytes.clear();
    return bytes;
}

/** Pixel Data of one big-endian byte string is OB there and OW elsewhere. */
inline bool SameVr(const _DICOMELEMENT *a, const _DICOMELEMENT *b) {
    return a->nVR == b->nVR || (a->nTag == TAG_PIXEL_DATA && b->nTag == TAG_PIXEL_DATA);
}

inline std::string Describe(const _DICOMELEMENT *element) {
    if (element == nullptr) return "nothing";
    char text[64];
    std::snprintf(text, sizeof text, "(%08" PRIX32 ") %c%c %08" PRIX32, element->nTag,
                  element->nVR >> 8, element->nVR & 0xFF, element->nLength);
    return text;
}

inline bool IsDirectoryReference(uint32_t tag) {
    return tag == 0x00041200 || tag == 0x00041202 || tag == 0x00041400 || tag == 0x00041420;
}

/** Which item of the data set a directory reference names, counted in order; 0 for none. */
inline uint32_t TargetOf(MDicomDS &ds, const _DICOMELEMENT *reference) {
    uint32_t number = 0;
    if (reference->nRecordOffset == 0) return 0;
    for (_DICOMELEMENT *item = ds.FindFirstElement(nullptr, TAG_ITEM, 0); item != nullptr;
         item = ds.FindNextElement(item, 0)) {
        ++number;
        if (item->nRecordOffset == reference->nRecordOffset) return number;
    }
    return 0xFFFFFFFF;
}

inline bool SameValue(MDicomDS &first, _DICOMELEMENT *a, MDicomDS &second, _DICOMELEMENT *b) {
    if (IsDirectoryReference(a->nTag)) return TargetOf(first, a) == TargetOf(second, b);
    return ValueOf(first, a) == ValueOf(second, b);
}

/** The next element that a comparison looks at: a data set may lack the meta header. */
inline _DICOMELEMENT *NextCompared(MDicomDS &ds, _DICOMELEMENT *element,
                                   const CompareOptions &options) {
    do {
        element = element == nullptr ? ds.GetFirstElement(nullptr, 0, 1)
                                     : ds.GetNextElement(element, 0, 1);
    } while (element != nullptr && options.skipTransferSyntax && element->nTag == 0x00020010);
    return element;
}

/** Empty if the data sets hold the same elements, else the first difference. */
inline std::string Difference(MDicomDS &first, MDicomDS &second,
                              const CompareOptions &options = {}) {
    _DICOMELEMENT *a = NextCompared(first, nullptr, options);
    _DICOMELEMENT *b = NextCompared(second, nullptr, options);
    while (a != nullptr && b != nullptr) {
        const bool sameForm = a->nTag == b->nTag && a->nLength == b->nLength &&
                              first.GetLevelElement(a) == second.GetLevelElement(b) &&
                              (!options.compareVr || SameVr(a, b));
        if (!sameForm) return Describe(a) + " against " + Describe(b);
        if (!SameValue(first, a, second, b)) return "values of " + Describe(a);
        a = NextCompared(first, a, options);
        b = NextCompared(second, b, options);
        if (a == nullptr || b == nullptr) break;
    }
    if (a == b) return {};
    return Describe(a) + " against " + Describe(b);
}

} // namespace support
