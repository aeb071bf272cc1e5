// Values as text: splitting, parsing, formatting.

#include "Common/DSValue/ValueText.h"

#include <algorithm>
#include <cstdio>
#include <limits>

#include "Common/CharacterSet/CharacterSets.h"
#include "Common/Utils/NumberText.h"

namespace mdicom {

namespace {

/** A number of fixed width, and the separator that may follow it in old forms (0: none). */
struct Field {
    size_t width;
    char separator;
};

constexpr Field kDate[] = {{4, '.'}, {2, '.'}, {2, '.'}};
constexpr Field kTime[] = {{2, ':'}, {2, ':'}, {2, '.'}};
constexpr Field kDateTime[] = {{4, '.'}, {2, '.'}, {2, '.'}, {2, ':'}, {2, ':'}, {2, '.'}};
constexpr Field kPlainDate[] = {{4, 0}, {2, 0}, {2, 0}};
constexpr Field kPlainTime[] = {{2, 0}, {2, 0}, {2, 0}};

constexpr size_t kFractionDigits = 6;
constexpr size_t kOffsetLength = 5; // sign and HHMM
constexpr size_t kYearLength = 4;
constexpr int64_t kLargestOffset = 1400;
constexpr int32_t kLastWrittenOffset = 9999;

constexpr _VALUEDATE kEmptyDate = {kEmptyField, kEmptyField, kEmptyField};
constexpr _VALUETIME kEmptyTime = {kEmptyField, kEmptyField, kEmptyField, kEmptyField};
constexpr _VALUEDATETIME kEmptyDateTime = {kEmptyField, kEmptyField, kEmptyField, kEmptyField,
                                           kEmptyField, kEmptyField, kEmptyField, kEmptyField};

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

bool IsSign(char c) {
    return c == '+' || c == '-';
}

bool IsRange(std::string_view text) {
    return text.find('-') != std::string_view::npos;
}

/** A field is digits: a sign that hides behind white space makes no number of it. */
uint16_t ParseField(std::string_view text) {
    return static_cast<uint16_t>(std::max<int64_t>(ParseInteger(text).value, 0));
}

uint32_t ParseUnsigned(std::string_view text) {
    const int64_t limit = std::numeric_limits<uint32_t>::max();
    return static_cast<uint32_t>(std::clamp<int64_t>(ParseInteger(text).value, 0, limit));
}

/** Takes fields off a text as long as it is wide enough for them. Returns what follows: nothing
 *  when it was cut short, except for the offset that may follow any field of a date-time. */
std::string_view TakeFields(std::string_view text, std::span<const Field> fields, uint16_t *out) {
    for (const auto [width, separator] : fields) {
        if (!text.empty() && IsSign(text[0])) return text;
        if (text.size() < width) return {};
        *out++ = ParseField(text.substr(0, width));
        text.remove_prefix(width);
        if (separator != 0 && text.starts_with(separator)) text.remove_prefix(1);
    }
    return text;
}

/** Millionths of a second of the digits behind a point. */
uint32_t ScaleFraction(std::string_view digits) {
    char padded[kFractionDigits];
    const size_t taken = std::min(digits.size(), kFractionDigits);
    std::fill(std::copy_n(digits.begin(), taken, padded), padded + kFractionDigits, '0');
    return ParseUnsigned({padded, kFractionDigits});
}

/** Takes a point and the digits behind it. A fraction finer than a millionth does not count. */
uint32_t TakeFraction(std::string_view &text) {
    if (!text.starts_with('.')) return 0;
    text.remove_prefix(1);
    const auto end = std::find_if_not(text.begin(), text.end(), IsDigit);
    const std::string_view digits = text.substr(0, static_cast<size_t>(end - text.begin()));
    text.remove_prefix(digits.size());
    return digits.size() <= kFractionDigits ? ScaleFraction(digits) : 0;
}

_VALUEDATE TakePlainDate(std::string_view &text) {
    uint16_t fields[3] = {};
    text = TakeFields(text, kPlainDate, fields);
    return {fields[0], fields[1], fields[2]};
}

_VALUETIME TakePlainTime(std::string_view &text) {
    uint16_t fields[3] = {};
    text = TakeFields(text, kPlainTime, fields);
    return {fields[0], fields[1], fields[2], TakeFraction(text)};
}

_VALUEDATE ParsePlainDate(std::string_view text) {
    return TakePlainDate(text);
}

_VALUETIME ParsePlainTime(std::string_view text) {
    return TakePlainTime(text);
}

_VALUEDATETIME ParsePlainDateTime(std::string_view text) {
    const _VALUEDATE date = TakePlainDate(text);
    const _VALUETIME time = TakePlainTime(text);
    const bool offset = text.size() >= kOffsetLength && IsSign(text[0]);
    return {date.Year,      date.Month,
            date.Day,       time.Hours,
            time.Minutes,   time.Seconds,
            time.Fractions, offset ? ParseInt32(text.substr(0, kOffsetLength)) : 0};
}

struct RangeText {
    uint32_t type;
    std::string_view first;
    std::string_view second;
};

/** True if the hyphen at a place opens the UTC offset of a date-time. */
bool OpensOffset(std::string_view text, size_t place) {
    const std::string_view digits = text.substr(place + 1, kOffsetLength - 1);
    if (place < kYearLength || digits.size() + 1 < kOffsetLength) return false;
    if (!std::all_of(digits.begin(), digits.end(), IsDigit)) return false;
    const size_t end = place + kOffsetLength;
    const bool last = end == text.size() || text[end] == '-';
    return last && ParseInteger(digits).value <= kLargestOffset;
}

size_t FindRangeHyphen(std::string_view text, bool withOffsets) {
    size_t place = text.find('-');
    while (withOffsets && place != std::string_view::npos && OpensOffset(text, place)) {
        place = text.find('-', place + kOffsetLength);
    }
    return place;
}

RangeText SplitRange(std::string_view text, bool withOffsets) {
    if (text.starts_with('-')) {
        text.remove_prefix(1);
        return {VALUE_RANGE_UPPER, text.substr(0, FindRangeHyphen(text, withOffsets)), {}};
    }
    const size_t place = FindRangeHyphen(text, withOffsets);
    if (place == std::string_view::npos) return {VALUE_RANGE_NONE, text, {}};
    const std::string_view first = text.substr(0, place);
    if (text.back() == '-') return {VALUE_RANGE_LOWER, first, {}};
    return {VALUE_RANGE_BOTH, first, text.substr(place + 1)};
}

template <typename Range, typename Value>
Range ParseRange(const RangeText &text, Value (*parse)(std::string_view), const Value &empty) {
    const bool both = text.type == VALUE_RANGE_BOTH;
    return {text.type, parse(text.first), both ? parse(text.second) : empty};
}

template <typename Value>
std::string FormatRange(uint32_t type, std::string (*format)(const Value &), const Value &first,
                        const Value &second) {
    switch (type) {
        case VALUE_RANGE_LOWER:
            return format(first) + '-';
        case VALUE_RANGE_UPPER:
            return '-' + format(first);
        case VALUE_RANGE_BOTH:
            return format(first) + '-' + format(second);
        default:
            return format(first);
    }
}

template <typename... Arguments>
std::string Print(const char *format, Arguments... arguments) {
    char buffer[80]; // more than the widest record with every field at its limit
    const int length = std::snprintf(buffer, sizeof buffer, format, arguments...);
    return std::string(buffer, static_cast<size_t>(length));
}

} // namespace

std::optional<std::string_view> ValueSplitter::Next() {
    if (m_Done) return std::nullopt;
    const size_t end = m_Sets.empty() ? m_Rest.find('\\') : FindValueEnd(m_Rest, m_Sets);
    const std::string_view value = m_Rest.substr(0, end);
    m_Done = end == std::string_view::npos;
    if (!m_Done) m_Rest.remove_prefix(end + 1);
    return value;
}

std::string_view TrimWhiteSpace(std::string_view text) {
    constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";
    const size_t first = text.find_first_not_of(kWhiteSpace);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kWhiteSpace) - first + 1);
}

_VALUEAGE ParseAge(std::string_view text) {
    const auto number = ParseInteger(text);
    const char reference = number.length < text.size() ? text[number.length] : '\0';
    return {static_cast<uint16_t>(number.value), reference};
}

_VALUEDATE ParseDate(std::string_view text) {
    if (IsRange(text)) return kEmptyDate;
    uint16_t fields[3] = {};
    TakeFields(text, kDate, fields);
    return {fields[0], fields[1], fields[2]};
}

_VALUETIME ParseTime(std::string_view text) {
    if (IsRange(text)) return kEmptyTime;
    uint16_t fields[3] = {};
    const std::string_view fraction = TakeFields(text, kTime, fields);
    return {fields[0], fields[1], fields[2], ScaleFraction(fraction)};
}

_VALUEDATETIME ParseDateTime(std::string_view text) {
    uint16_t fields[6] = {};
    std::string_view rest = TakeFields(text, kDateTime, fields);
    uint32_t fractions = 0;
    if (!rest.empty() && !IsSign(rest[0])) {
        fractions = ParseUnsigned(rest);
        rest.remove_prefix(ParseInteger(rest).length);
    }
    return {fields[0], fields[1], fields[2], fields[3],
            fields[4], fields[5], fractions, ParseInt32(rest)};
}

_VALUEDATERANGE ParseDateRange(std::string_view text) {
    return ParseRange<_VALUEDATERANGE>(SplitRange(text, false), ParsePlainDate, kEmptyDate);
}

_VALUETIMERANGE ParseTimeRange(std::string_view text) {
    return ParseRange<_VALUETIMERANGE>(SplitRange(text, false), ParsePlainTime, kEmptyTime);
}

_VALUEDATETIMERANGE ParseDateTimeRange(std::string_view text) {
    return ParseRange<_VALUEDATETIMERANGE>(SplitRange(text, true), ParsePlainDateTime,
                                           kEmptyDateTime);
}

std::string FormatAge(const _VALUEAGE &age) {
    return Print("%03d%c", age.Number, age.Reference);
}

std::string FormatDate(const _VALUEDATE &date) {
    return Print("%04d%02d%02d", date.Year, date.Month, date.Day);
}

std::string FormatTime(const _VALUETIME &time) {
    return Print("%02d%02d%02d.%06u", time.Hours, time.Minutes, time.Seconds, time.Fractions);
}

std::string FormatDateTime(const _VALUEDATETIME &value) {
    const bool written = value.Offset >= -kLastWrittenOffset && value.Offset <= kLastWrittenOffset;
    return Print("%04d%02d%02d%02d%02d%02d.%06u%+05d", value.Year, value.Month, value.Day,
                 value.Hours, value.Minutes, value.Seconds, value.Fractions,
                 written ? value.Offset : 0);
}

std::string FormatDateRange(const _VALUEDATERANGE &range) {
    return FormatRange(range.Type, FormatDate, range.Date1, range.Date2);
}

std::string FormatTimeRange(const _VALUETIMERANGE &range) {
    return FormatRange(range.Type, FormatTime, range.Time1, range.Time2);
}

std::string FormatDateTimeRange(const _VALUEDATETIMERANGE &range) {
    return FormatRange(range.Type, FormatDateTime, range.DateTime1, range.DateTime2);
}

bool IsEmptyRecord(const _VALUEDATE &date) {
    return date.Year == kEmptyField && date.Month == kEmptyField && date.Day == kEmptyField;
}

bool IsEmptyRecord(const _VALUETIME &time) {
    return time.Hours == kEmptyField && time.Minutes == kEmptyField &&
           time.Seconds == kEmptyField && time.Fractions == kEmptyField;
}

} // namespace mdicom
