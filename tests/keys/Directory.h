// Directories for the tests of the key view.

#pragma once

#include <string>
#include <vector>

#include "MDicom.h"
#include "MDicomFlat.h"
#include "support/TestFiles.h"

constexpr uint32_t kLabel = 0x00100020;
constexpr uint32_t kRecords = 0x00041220;

/** Puts a name on a record, to know it again after a reload. */
inline void SetLabel(MDicomDS &ds, _DICOMELEMENT *key, int number) {
    _DICOMELEMENT *element = ds.InsertElement(key, 1, kLabel, 0, 0, 0);
    ds.SetStringValueA(element, std::to_string(number).c_str(), 1);
}

inline int LabelOf(MDicomDS &ds, _DICOMELEMENT *key) {
    if (key == nullptr) return -1;
    _DICOMELEMENT *child = ds.GetChildElement(key, 1);
    _DICOMELEMENT *label = ds.FindFirstElement(child, kLabel, 1);
    return label != nullptr ? std::stoi(ds.GetStringValueA(label, 0, 1)) : -2;
}

/** A record of a directory that is encoded by hand: numbers of records from 1, 0 for none, larger
 *  ones for places where no record is. */
struct RawRecord {
    uint32_t next = 0;
    uint32_t lower = 0;
};

/** A directory in implicit little endian. Every record has the same size, and in it a sequence
 *  with one item. */
inline support::Bytes EncodeDirectory(uint32_t first, const std::vector<RawRecord> &records) {
    constexpr uint32_t kStart = 12 + 8; // (0004,1200), header of (0004,1220)
    constexpr uint32_t kItem = 12 + 12 + 14 + 10 + 8 + 8;
    const auto place = [](uint32_t number) {
        return number == 0 ? 0 : kStart + (number - 1) * (8 + kItem);
    };
    support::Encoder out(true, false);
    out.Plain(0x00041200, 4).Put32(place(first));
    out.Plain(kRecords, static_cast<uint32_t>(records.size()) * (8 + kItem));
    for (size_t i = 0; i < records.size(); ++i) {
        std::string label = std::to_string(i + 1);
        label.resize(2, ' ');
        out.Plain(TAG_ITEM, kItem);
        out.Plain(0x00041400, 4).Put32(place(records[i].next));
        out.Plain(0x00041420, 4).Put32(place(records[i].lower));
        out.Element(0x00041430, "CS", "IMAGE ");
        out.Element(kLabel, "LO", label);
        out.Plain(0x00880200, 8).Plain(TAG_ITEM, 0);
    }
    return out.bytes;
}
