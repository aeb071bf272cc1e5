// The text forms of values by their VR.

#include "Common/DSValue/ConvertValueForms.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <limits>
#include <span>
#include <type_traits>

#include "Common/DSValue/NumberConversion.h"
#include "Common/DSValue/ValueText.h"
#include "Common/Utils/ByteOrder.h"
#include "Common/Utils/NumberText.h"

namespace mdicom {

namespace {

constexpr size_t kFractionDigits = 6;

template <typename... Arguments>
void AppendPrinted(std::string &text, const char *format, Arguments... arguments) {
    char buffer[128]; // more than the widest record with every field at its limit
    const int length = std::snprintf(buffer, sizeof buffer, format, arguments...);
    text.append(buffer, static_cast<size_t>(length));
}

template <typename... Arguments>
void AppendNumber(std::string &text, Arguments... arguments) {
    char buffer[64]; // a float with all its digits in front of the point, and six behind it
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, arguments...);
    text.append(buffer, end.ptr);
}

template <typename T>
void AppendUnit(std::string &bytes, T value) {
    char unit[sizeof value];
    std::memcpy(unit, &value, sizeof value);
    bytes.append(unit, sizeof value);
}

ParsedNumber<int64_t> ParseHexadecimal(std::string_view text) {
    const size_t start = std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size());
    const std::string_view number = text.substr(start);
    const bool prefixed = number.starts_with("0x") || number.starts_with("0X");
    const size_t digits = start + (prefixed ? 2 : 0);
    int64_t value = 0;
    const auto [end, error] =
        std::from_chars(text.data() + digits, text.data() + text.size(), value, 16);
    if (error == std::errc::invalid_argument) return {0, prefixed ? start + 1 : 0};
    if (error == std::errc::result_out_of_range) value = std::numeric_limits<int64_t>::max();
    return {value, static_cast<size_t>(end - text.data())};
}

uint64_t ParseUnsigned64(std::string_view text) {
    text = TrimWhiteSpace(text);
    if (text.starts_with('-')) return static_cast<uint64_t>(ParseInteger(text).value);
    if (text.starts_with('+')) text.remove_prefix(1);
    uint64_t value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool beyond = result.ec == std::errc::result_out_of_range;
    return beyond ? std::numeric_limits<uint64_t>::max() : value;
}

/** Unlike the decimal strings, binary numbers can be infinite, or none. */
double ParseReal(std::string_view text) {
    const auto number = ParseDecimal(text);
    if (number.length != 0) return number.value;
    text = TrimWhiteSpace(text);
    double value = 0.0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

using NumberParser = ParsedNumber<int64_t> (*)(std::string_view);

/** Reads fields as long as there is text. One character is skipped behind each of the first
 *  `separated`. Returns what is left. */
std::string_view TakeFields(std::string_view text, std::span<int64_t> fields, size_t separated,
                            NumberParser parse = ParseInteger) {
    for (size_t i = 0; i < fields.size() && !text.empty(); ++i) {
        const auto number = parse(text);
        fields[i] = number.value;
        text.remove_prefix(number.length);
        if (i < separated && !text.empty()) text.remove_prefix(1);
    }
    return text;
}

uint16_t Low16(int64_t number) {
    return static_cast<uint16_t>(number);
}

uint32_t ClampFraction(int64_t number) {
    return static_cast<uint32_t>(
        std::clamp<int64_t>(number, 0, std::numeric_limits<uint32_t>::max()));
}

void ShowByte(const uint8_t *value, std::string &text) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    text += kDigits[*value >> 4];
    text += kDigits[*value & 0xF];
}

void EnterByte(std::string_view text, EnteredFields &, std::string &value) {
    value += static_cast<char>(ParseHexadecimal(text).value);
}

void ShowTag(const uint8_t *value, std::string &text) {
    AppendPrinted(text, "%04X:%04X", LoadNative<uint16_t>(value), LoadNative<uint16_t>(value + 2));
}

void EnterTag(std::string_view text, EnteredFields &fields, std::string &value) {
    TakeFields(text, std::span(fields).first(2), 1, ParseHexadecimal);
    AppendUnit(value, Low16(fields[0]));
    AppendUnit(value, Low16(fields[1]));
}

template <typename T>
void ShowInteger(const uint8_t *value, std::string &text) {
    AppendNumber(text, LoadNative<T>(value));
}

template <typename T>
void EnterInteger(std::string_view text, EnteredFields &, std::string &value) {
    if constexpr (std::is_same_v<T, uint64_t>) {
        AppendUnit(value, ParseUnsigned64(text));
    } else if constexpr (std::is_same_v<T, int32_t>) {
        AppendUnit(value, ParseInt32(text));
    } else {
        AppendUnit(value, static_cast<T>(ParseInteger(text).value));
    }
}

void ShowFloat(const uint8_t *value, std::string &text) {
    AppendNumber(text, static_cast<double>(LoadNative<float>(value)), std::chars_format::fixed, 6);
}

void EnterFloat(std::string_view text, EnteredFields &, std::string &value) {
    AppendUnit(value, ConvertNumber<float>(ParseReal(text)));
}

void ShowDouble(const uint8_t *value, std::string &text) {
    const auto number = LoadNative<double>(value);
    const int digits = std::floor(number) == number ? 8 : 7;
    AppendNumber(text, number, std::chars_format::general, digits);
}

/** The shortest text that reads as the same number. */
void ShowExactDouble(const uint8_t *value, std::string &text) {
    AppendNumber(text, LoadNative<double>(value));
}

void EnterDouble(std::string_view text, EnteredFields &, std::string &value) {
    AppendUnit(value, ParseReal(text));
}

template <typename T>
constexpr UnitForm IntegerForm(uint16_t code) {
    return {code, sizeof(T), 0, ShowInteger<T>, EnterInteger<T>};
}

constexpr UnitForm kByteForm = {vr::OB, 1, 2, ShowByte, EnterByte};

constexpr UnitForm kUnitForms[] = {
    {vr::AT, 4, 9, ShowTag, EnterTag},
    {vr::FD, sizeof(double), 0, ShowDouble, EnterDouble},
    {vr::FL, sizeof(float), 0, ShowFloat, EnterFloat},
    {vr::OD, sizeof(double), 0, ShowExactDouble, EnterDouble},
    {vr::OF, sizeof(float), 0, ShowFloat, EnterFloat},
    IntegerForm<uint32_t>(vr::OL),
    IntegerForm<uint64_t>(vr::OV),
    IntegerForm<uint16_t>(vr::OW),
    IntegerForm<int32_t>(vr::SL),
    IntegerForm<int16_t>(vr::SS),
    IntegerForm<int64_t>(vr::SV),
    IntegerForm<uint32_t>(vr::UL),
    IntegerForm<uint16_t>(vr::US),
    IntegerForm<uint64_t>(vr::UV),
};

struct AgeUnit {
    char reference;
    const char *name;
    std::string_view mark; ///< tells the unit in a text, whatever its capital
};

constexpr AgeUnit kAgeUnits[] = {
    {'D', "days", "ays"}, {'W', "weeks", "eeks"}, {'M', "months", "onths"}, {'Y', "years", "ears"}};

void ShowAge(std::string_view stored, bool, std::string &text) {
    const _VALUEAGE age = ParseAge(stored);
    AppendPrinted(text, "%u ", unsigned{age.Number});
    for (const AgeUnit &unit : kAgeUnits) {
        if (unit.reference == age.Reference) text += unit.name;
    }
}

void EnterAge(std::string_view text, EnteredFields &, std::string &stored) {
    char reference = 'Y';
    for (const AgeUnit &unit : kAgeUnits) {
        if (text.find(unit.mark) == std::string_view::npos) continue;
        reference = unit.reference;
        break;
    }
    stored += FormatAge({Low16(ParseInteger(text).value), reference});
}

bool HasRange(std::string_view stored) {
    return stored.find('-') != std::string_view::npos;
}

void AppendDate(const _VALUEDATE &date, std::string &text) {
    AppendPrinted(text, "%02u/%02u/%u", unsigned{date.Month}, unsigned{date.Day},
                  unsigned{date.Year});
}

/** Ranges write millionths without zeros in front. */
void AppendRangeTime(const _VALUETIME &time, std::string &text) {
    AppendPrinted(text, "%02u:%02u:%02u.%u", unsigned{time.Hours}, unsigned{time.Minutes},
                  unsigned{time.Seconds}, time.Fractions);
}

template <typename Value>
void AppendRange(uint32_t type, const Value &first, const Value &second,
                 void (*append)(const Value &, std::string &), std::string &text) {
    if (type == VALUE_RANGE_UPPER) text += '-';
    append(first, text);
    if (type == VALUE_RANGE_LOWER || type == VALUE_RANGE_BOTH) text += '-';
    if (type == VALUE_RANGE_BOTH) append(second, text);
}

void ShowDate(std::string_view stored, bool asRange, std::string &text) {
    if (!asRange && !HasRange(stored)) return AppendDate(ParseDate(stored), text);
    const _VALUEDATERANGE range = ParseDateRange(TrimWhiteSpace(stored));
    AppendRange(range.Type, range.Date1, range.Date2, AppendDate, text);
}

void EnterDate(std::string_view text, EnteredFields &fields, std::string &stored) {
    TakeFields(text, std::span(fields).first(3), 2);
    stored += FormatDate({Low16(fields[2]), Low16(fields[0]), Low16(fields[1])});
}

void ShowTime(std::string_view stored, bool asRange, std::string &text) {
    if (asRange || HasRange(stored)) {
        const _VALUETIMERANGE range = ParseTimeRange(TrimWhiteSpace(stored));
        return AppendRange(range.Type, range.Time1, range.Time2, AppendRangeTime, text);
    }
    const _VALUETIME time = ParseTime(stored);
    AppendPrinted(text, "%02u:%02u:%02u.%06u", unsigned{time.Hours}, unsigned{time.Minutes},
                  unsigned{time.Seconds}, time.Fractions);
}

void EnterTime(std::string_view text, EnteredFields &fields, std::string &stored) {
    const std::string_view fraction = TakeFields(text, std::span(fields).first(3), 3);
    if (!fraction.empty()) {
        std::string digits(fraction.substr(0, kFractionDigits));
        digits.resize(kFractionDigits, '0');
        fields[3] = ParseInteger(digits).value;
    }
    stored += FormatTime(
        {Low16(fields[0]), Low16(fields[1]), Low16(fields[2]), ClampFraction(fields[3])});
}

void ShowDateTime(std::string_view stored, bool, std::string &text) {
    const _VALUEDATETIME value = ParseDateTime(stored);
    AppendPrinted(text, "%02u/%02u/%u  %02u:%02u:%02u.%u%+d", unsigned{value.Month},
                  unsigned{value.Day}, unsigned{value.Year}, unsigned{value.Hours},
                  unsigned{value.Minutes}, unsigned{value.Seconds}, value.Fractions, value.Offset);
}

/** The sign of the offset is part of its number, so nothing is skipped in front of it. */
void EnterDateTime(std::string_view text, EnteredFields &fields, std::string &stored) {
    TakeFields(text, fields, 6);
    constexpr int64_t kLimit = std::numeric_limits<int32_t>::max();
    stored +=
        FormatDateTime({Low16(fields[2]), Low16(fields[0]), Low16(fields[1]), Low16(fields[3]),
                        Low16(fields[4]), Low16(fields[5]), ClampFraction(fields[6]),
                        static_cast<int32_t>(std::clamp(fields[7], -kLimit, kLimit))});
}

/** Numbers beyond 32 bits are not what the VR allows, but are found: they are kept. */
void ShowIntegerText(std::string_view stored, bool, std::string &text) {
    AppendNumber(text, ParseInteger(stored).value);
}

void EnterIntegerText(std::string_view text, EnteredFields &, std::string &stored) {
    AppendNumber(stored, ParseInteger(text).value);
}

void EnterDecimalText(std::string_view text, EnteredFields &, std::string &stored) {
    stored += FormatDecimalString(ParseDecimal(text).value);
}

constexpr RecordForm kRecordForms[] = {
    {vr::AS, ShowAge, EnterAge},
    {vr::DA, ShowDate, EnterDate},
    {vr::DS, nullptr, EnterDecimalText},
    {vr::DT, ShowDateTime, EnterDateTime},
    {vr::IS, ShowIntegerText, EnterIntegerText},
    {vr::TM, ShowTime, EnterTime},
};

constexpr uint16_t kPlainTexts[] = {vr::AE, vr::CS, vr::LO, vr::LT, vr::PN, vr::SH,
                                    vr::ST, vr::UC, vr::UI, vr::UR, vr::UT};

template <typename Form, size_t size>
const Form *FindForm(const Form (&forms)[size], uint16_t code) {
    const auto *row = std::ranges::find(forms, code, &Form::vr);
    return row != std::end(forms) ? row : nullptr;
}

} // namespace

bool IsPlainText(uint16_t code) {
    return std::ranges::find(kPlainTexts, code) != std::end(kPlainTexts);
}

const RecordForm *FindRecordForm(uint16_t code) {
    return FindForm(kRecordForms, code);
}

const UnitForm &UnitFormOf(uint16_t code) {
    const UnitForm *form = FindForm(kUnitForms, code);
    return form != nullptr ? *form : kByteForm;
}

} // namespace mdicom
