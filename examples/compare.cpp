// compare: tells whether two files hold the same elements with the same values, however they are
// encoded.
//
//   compare first.dcm second.dcm [gggg,eeee]
//
// A tag as third argument names an element of the top level that is left out. Elements that
// describe the encoding or the places of bytes in the file are left out anyway.

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "ExampleText.h"

namespace {

constexpr uint32_t kOffsetsInDirectories[] = {0x00041200, 0x00041202, 0x00041400, 0x00041420,
                                              0x00041504};

/** A data set and the tag that is skipped in it. */
struct Side {
    MDicomDS ds{nullptr};
    uint32_t skipped = 0;

    bool Skips(_DICOMELEMENT *element) {
        const uint32_t tag = element->nTag;
        if (tag >> 16 == 0x0002) return true;
        if (std::ranges::count(kOffsetsInDirectories, tag) != 0) return true;
        return tag == skipped && ds.GetParentElement(element) == nullptr;
    }

    /** The element itself, or the next one that is compared. */
    _DICOMELEMENT *Compared(_DICOMELEMENT *element) {
        while (element != nullptr && Skips(element)) element = ds.GetNextElement(element, 0, 1);
        return element;
    }
    _DICOMELEMENT *First() { return Compared(ds.GetFirstElement(nullptr, 0, 1)); }
    _DICOMELEMENT *Next(_DICOMELEMENT *element) {
        return Compared(ds.GetNextElement(element, 0, 1));
    }
};

/** Bytes of values come with numbers in host order, so that they can be compared as they are. */
bool SameValue(Side &a, _DICOMELEMENT *first, Side &b, _DICOMELEMENT *second) {
    if (first->nLength != second->nLength) return false;
    if (first->nLength == 0xFFFFFFFF) return true; // the children are the value
    static char bytes[2][64 * 1024];
    for (uint32_t offset = 0; offset < first->nLength;) {
        const auto count = std::min<uint32_t>(sizeof bytes[0], first->nLength - offset);
        if (!a.ds.GetBinaryValue(first, bytes[0], offset, count)) return false;
        if (!b.ds.GetBinaryValue(second, bytes[1], offset, count)) return false;
        if (std::memcmp(bytes[0], bytes[1], count) != 0) return false;
        offset += count;
    }
    return true;
}

bool Same(Side &a, _DICOMELEMENT *first, Side &b, _DICOMELEMENT *second) {
    return first->nTag == second->nTag &&
           a.ds.GetLevelElement(first) == b.ds.GetLevelElement(second) &&
           SameValue(a, first, b, second);
}

} // namespace

int main(int argc, char **argv) {
    Side sides[2];
    const bool usable = argc == 3 || (argc == 4 && ParseTag(argv[3], &sides[0].skipped));
    if (!usable) {
        std::fprintf(stderr, "usage: compare first second [gggg,eeee]\n");
        return 2;
    }
    sides[1].skipped = sides[0].skipped;
    for (int i = 0; i < 2; ++i) {
        const uint16_t status = sides[i].ds.LoadDS(Wide(argv[i + 1]).c_str(), 0);
        if (status == DICOM_SUCCESS) continue;
        std::fprintf(stderr, "%s: %s\n", argv[i + 1], StatusText(status));
        return 2;
    }
    auto &[a, b] = sides;
    _DICOMELEMENT *first = a.First();
    _DICOMELEMENT *second = b.First();
    size_t count = 0;
    for (; first != nullptr && second != nullptr && Same(a, first, b, second); ++count) {
        first = a.Next(first);
        second = b.Next(second);
    }
    if (first == nullptr && second == nullptr) {
        std::printf("%zu elements, all equal\n", count);
        return 0;
    }
    const _DICOMELEMENT *where = first != nullptr ? first : second;
    std::printf("different at %s, behind %zu equal elements\n", TagText(where->nTag).c_str(),
                count);
    return 1;
}
