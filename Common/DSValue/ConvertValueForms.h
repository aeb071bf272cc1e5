// The text forms of values by their VR: what one value reads as for people, and back.
//
// A form is lenient in what it takes: numbers are read from the start of a text, what is no
// number is 0, and any single character stands between two fields.

#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace mdicom {

/** Fields of the value that was entered last, 0 before the first: a text that is cut short keeps
 *  the fields of the value before it. */
using EnteredFields = std::array<int64_t, 8>;

/** Values of a binary VR. */
struct UnitForm {
    uint16_t vr;
    uint32_t unit;  ///< bytes of a value
    uint32_t width; ///< characters of its text; 0 when they vary
    /** Appends the text of a value in host order. */
    void (*show)(const uint8_t *value, std::string &text);
    /** Appends the value of a text, in host order. */
    void (*enter)(std::string_view text, EnteredFields &fields, std::string &value);
};

/** Values that are stored as text, but not as the text that people read. */
struct RecordForm {
    uint16_t vr;
    /** Appends the text of a stored value; null where it reads as it is stored. With asRange a
     *  date or time is written in the form of ranges even if it is none. */
    void (*show)(std::string_view stored, bool asRange, std::string &text);
    /** Appends the stored form of a text. */
    void (*enter)(std::string_view text, EnteredFields &fields, std::string &stored);
};

/** True for the VRs whose values read as they are stored, without padding. */
bool IsPlainText(uint16_t vr);

/** Null for all other VRs. */
const RecordForm *FindRecordForm(uint16_t vr);

/** A VR that is not known has the form of bytes. */
const UnitForm &UnitFormOf(uint16_t vr);

} // namespace mdicom
