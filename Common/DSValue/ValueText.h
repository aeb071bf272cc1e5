// Values as text (PS 3.5, 6.2): how values stand side by side, and the text of ages, dates, times
// and their ranges.
//
// Parsing takes what it finds: no text is malformed, and fields that are missing are 0.

#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "MDicomTypes.h"

namespace mdicom {

/** Fills every field of a record that holds no plain date or time. */
constexpr uint16_t kEmptyField = 0xFFFF;

/** Walks the values of a text that stand between backslashes. */
class ValueSplitter {
  public:
    /** sets: the character sets of a text in which a backslash byte may be part of a character. */
    explicit ValueSplitter(std::string_view text, std::span<const uint32_t> sets = {})
        : m_Rest(text), m_Sets(sets) {}

    /** The next value, untrimmed; nothing behind the last. An empty text has one empty value. */
    std::optional<std::string_view> Next();

  private:
    std::string_view m_Rest;
    std::span<const uint32_t> m_Sets;
    bool m_Done = false;
};

/** Without leading and trailing white space of any kind. */
std::string_view TrimWhiteSpace(std::string_view text);

_VALUEAGE ParseAge(std::string_view text);

/** Takes 19970815 and 1997.08.15. A text with a hyphen gives the empty record. */
_VALUEDATE ParseDate(std::string_view text);

/** Takes 123005.25 and 12:30:05.25. A text with a hyphen gives the empty record. */
_VALUETIME ParseTime(std::string_view text);

/** Takes 19970815123005.25+0130, and the separators of the old forms. Fractions are the digits
 *  behind the point as they stand. */
_VALUEDATETIME ParseDateTime(std::string_view text);

/** The ranges take fixed widths without separators, and scale fractions to millionths. */
_VALUEDATERANGE ParseDateRange(std::string_view text);
_VALUETIMERANGE ParseTimeRange(std::string_view text);

/** A hyphen in front of four digits that name at most 14 hours and end a date-time belongs to its
 *  UTC offset; any other hyphen is that of a range. */
_VALUEDATETIMERANGE ParseDateTimeRange(std::string_view text);

std::string FormatAge(const _VALUEAGE &age);
std::string FormatDate(const _VALUEDATE &date);
std::string FormatTime(const _VALUETIME &time);
std::string FormatDateTime(const _VALUEDATETIME &dateTime);
std::string FormatDateRange(const _VALUEDATERANGE &range);
std::string FormatTimeRange(const _VALUETIMERANGE &range);
std::string FormatDateTimeRange(const _VALUEDATETIMERANGE &range);

bool IsEmptyRecord(const _VALUEDATE &date);
bool IsEmptyRecord(const _VALUETIME &time);

} // namespace mdicom
