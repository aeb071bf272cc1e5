// The character sets of DICOM text (PS 3.3, C.12.1.1.2; PS 3.5, 6.1) and conversion by them.
//
// A set is named by a small identifier; 0 is the default repertoire. A list of sets is the
// content of Specific Character Set: with two or more entries text switches between them by
// ISO 2022 escape sequences, starting in the first.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

class MDicomDS;
struct _DICOMELEMENT;

namespace mdicom {

namespace charset {
constexpr uint32_t Default = 0;
constexpr uint32_t Utf8 = 27;
constexpr uint32_t Gb18030 = 28;
} // namespace charset

constexpr uint32_t kMaxCharacterSets = 10;

/** The sets that hold for an element. */
struct CharacterSetList {
    std::array<uint32_t, kMaxCharacterSets> ids{};
    uint32_t count = 0;

    std::span<const uint32_t> Span() const { return {ids.data(), count}; }
};

/** Name of a set in (0008,0005); empty for the default repertoire and unknown identifiers. */
std::string_view CharacterSetName(uint32_t id);

/** Identifier of a name, compared exactly; nothing for an unknown one. */
std::optional<uint32_t> FindCharacterSet(std::string_view name);

/** Identifier of a selector of SetStringValue (0 to 14); nothing for any other number. */
std::optional<uint32_t> CharacterSetOfSelector(uint32_t selector);

/** Wide text of stored bytes, with U+FFFD for what is not valid in its set; nothing when memory
 *  is short or the system lacks the conversion. */
std::optional<std::wstring> DecodeText(std::string_view bytes, std::span<const uint32_t> sets);

/** Stored bytes of wide text; nothing when a character has no place in any of the sets. With no
 *  set but the default repertoire, text that is not ASCII becomes UTF-8. */
std::optional<std::string> EncodeText(std::wstring_view text, std::span<const uint32_t> sets);

/** Place of the first backslash that separates values, and is not the second byte of a
 *  character; npos when there is none. */
size_t FindValueEnd(std::string_view bytes, std::span<const uint32_t> sets);

/** The Specific Character Set of the innermost item around an element that declares one; null
 *  where that of the data set holds. */
_DICOMELEMENT *FindNestedDeclaration(MDicomDS &dataSet, _DICOMELEMENT *element);

} // namespace mdicom
