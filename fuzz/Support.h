// What several targets need: choices off the front of an input, and walks over a data set.

#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "MDicom.h"
#include "support/TreeCompare.h"

namespace fuzz {

/** Ends the run where something does not hold, and tells where that was. */
inline void Require(bool holds, const char *file = __builtin_FILE(), int line = __builtin_LINE()) {
    if (holds) return;
    std::fprintf(stderr, "%s:%d: does not hold\n", file, line);
    std::abort();
}

/** Takes an input apart: choices first, zeros where there are none left, then what they are for. */
class Input {
  public:
    Input(const uint8_t *data, size_t size) : m_Data(data), m_Size(size) {}

    uint8_t Byte() {
        if (m_Size == 0) return 0;
        --m_Size;
        return *m_Data++;
    }
    uint16_t Word() {
        const uint16_t low = Byte();
        return static_cast<uint16_t>(low | Byte() << 8);
    }
    /** A block of its own, so that a read past its end shows. */
    std::vector<uint8_t> Bytes(size_t count) {
        const size_t taken = std::min(count, m_Size);
        std::vector<uint8_t> bytes(m_Data, m_Data + taken);
        m_Data += taken;
        m_Size -= taken;
        return bytes;
    }
    std::vector<uint8_t> Rest() { return Bytes(m_Size); }

  private:
    const uint8_t *m_Data;
    size_t m_Size;
};

/** All elements of a tree, depth first. */
template <typename Use>
void ForEachElement(MDicomDS &ds, Use use) {
    for (_DICOMELEMENT *element = ds.GetFirstElement(nullptr, 0, 1); element != nullptr;
         element = ds.GetNextElement(element, 0, 1)) {
        use(element);
    }
}

/** False if a value reaches past the end of what was loaded. */
inline bool IsWhole(MDicomDS &ds) {
    bool whole = true;
    ForEachElement(ds, [&](_DICOMELEMENT *element) {
        uint8_t last;
        if (element->nLength == 0 || element->nLength == 0xFFFFFFFF) return;
        whole = whole && ds.GetBinaryValue(element, &last, element->nLength - 1, 1);
    });
    return whole;
}

/** True for an element whose VR a file can tell: one without a VR comes back with that of the
 *  dictionary, and one without a length as a sequence, unless it is Pixel Data. */
inline bool HasVr(const _DICOMELEMENT *element) {
    constexpr uint16_t kSequence = 0x5351;
    const uint16_t vr = element->nVR;
    if (element->nTag == TAG_ITEM) return true;
    if (element->nLength == 0xFFFFFFFF && element->nTag != TAG_PIXEL_DATA) return vr == kSequence;
    const auto isLetter = [](int code) { return code >= 'A' && code <= 'Z'; };
    return isLetter(vr >> 8) && isLetter(vr & 0xFF);
}

/** True for an element whose place a file can tell: group 0200 behind a meta header looks like
 *  group 0002 in big endian, and the dictionary decides what is a sequence in implicit form. */
inline bool HasPlace(const _DICOMELEMENT *element) {
    const uint32_t group = element->nTag >> 16;
    const _DICOMTAG *row = MDicomTag::Find(element->nTag);
    const bool taken = row != nullptr && row->nVR == 0x5351 && element->nVR != 0x5351;
    const bool misplaced = (group == 0x0002 && element->nLength == 0xFFFFFFFF) ||
                           (element->nTag == TAG_ITEM && element->Link.pParent == nullptr);
    return group != 0x0200 && !taken && !misplaced;
}

/** True for a tree that a file can tell: what is saved and loaded again is the same. */
inline bool IsTold(MDicomDS &ds) {
    bool all = true;
    ForEachElement(
        ds, [&](_DICOMELEMENT *element) { all = all && HasVr(element) && HasPlace(element); });
    return all;
}

/** A data set as a file in memory; status and bytes. */
struct Saved {
    uint16_t status = 0;
    std::vector<uint8_t> bytes;
};

inline Saved Save(MDicomDS &ds, uint16_t flags) {
    MDicomFile file;
    Require(file.Open(nullptr, FILE_MODE_MEMORY));
    Saved saved;
    saved.status = ds.SaveDS(&file, flags);
    if (saved.status == DICOM_SUCCESS && file.nLength != 0) {
        saved.bytes.assign(file.pData, file.pData + file.nLength);
    }
    file.Close(1);
    return saved;
}

/** One value of a chosen VR under a chosen Specific Character Set. An input is: VR, length of the
 *  declaration, declaration, value. */
struct OneValue {
    explicit OneValue(Input &input) {
        static constexpr char kVrs[][3] = {"AE", "AS", "AT", "CS", "DA", "DS", "DT", "FD", "FL",
                                           "IS", "LO", "LT", "OB", "OD", "OF", "OL", "OV", "OW",
                                           "PN", "SH", "SL", "SS", "ST", "SV", "TM", "UC", "UI",
                                           "UL", "UN", "UR", "US", "UT", "UV"};
        const char *letters = kVrs[input.Byte() % std::size(kVrs)];
        vr = static_cast<uint16_t>(letters[0] << 8 | letters[1]);
        std::vector<uint8_t> names = input.Bytes(input.Byte() % 64u);
        if (!names.empty()) {
            _DICOMELEMENT *declared = ds.InsertElement(nullptr, 0, 0x00080005, 0, 0, 0);
            ds.SetBinaryValue(declared, names.data(), static_cast<uint32_t>(names.size()));
            ds.UpdateSpecificCharacterSet();
        }
        element = ds.InsertElement(nullptr, 0, 0x00111010, vr, 0, 0);
        Require(element != nullptr);
        SetBytes(input.Rest());
    }

    void SetBytes(std::vector<uint8_t> bytes) {
        ds.SetBinaryValue(element, bytes.data(), static_cast<uint32_t>(bytes.size()));
        ds.FreeValue(element);
    }
    std::vector<uint8_t> Bytes() { return support::ValueOf(ds, element); }

    MDicomDS ds{nullptr};
    uint16_t vr;
    _DICOMELEMENT *element;
};

} // namespace fuzz
