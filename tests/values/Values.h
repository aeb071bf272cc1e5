// Elements with values for the tests of typed values.

#pragma once

#include <cstring>
#include <string>
#include <string_view>

#include "MDicomDS.h"

/** The code of a VR from its two letters. */
constexpr uint16_t Code(const char *letters) {
    return static_cast<uint16_t>(letters[0] << 8 | letters[1]);
}

/** A data set with elements of any VR, on private tags of its own. */
class Values {
  public:
    MDicomDS ds{nullptr};

    _DICOMELEMENT *Add(const char *vr) {
        return ds.InsertElement(nullptr, 0, ++m_Tag, Code(vr), 0, 0xFFFFFFFF);
    }

    /** An element with these bytes, which may hold NULs. */
    _DICOMELEMENT *Add(const char *vr, std::string bytes) {
        _DICOMELEMENT *element = Add(vr);
        if (!bytes.empty()) {
            ds.SetBinaryValue(element, bytes.data(), static_cast<uint32_t>(bytes.size()));
        }
        return element;
    }

    _DICOMELEMENT *Set(uint32_t tag, const char *vr, std::string bytes) {
        _DICOMELEMENT *element = ds.FindFirstElement(nullptr, tag, 1);
        if (element == nullptr) element = ds.InsertElement(nullptr, 0, tag, Code(vr), 0, 0);
        ds.SetBinaryValue(element, bytes.data(), static_cast<uint32_t>(bytes.size()));
        ds.FreeValue(element);
        return element;
    }

    /** The bytes of a value with their padding. */
    std::string Bytes(_DICOMELEMENT *element) {
        std::string bytes(element->nLength, '\0');
        if (!bytes.empty()) ds.GetBinaryValue(element, bytes.data(), element->nLength);
        return bytes;
    }

  private:
    uint32_t m_Tag = 0x00091000;
};

constexpr uint32_t kAll = 0xFFFFFFFF;
