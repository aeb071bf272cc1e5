// Numbers as text, without the C locale.

#include "Common/Utils/NumberText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace mdicom {

namespace {

constexpr size_t kDecimalStringLength = 16;
constexpr int kSignificantDigits = 15;

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

bool IsSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

size_t SkipSpaces(std::string_view text) {
    size_t place = 0;
    while (place < text.size() && IsSpace(text[place])) ++place;
    return place;
}

/** True for the text of a number too small for a double, false for one too large. */
bool IsTiny(std::string_view number) {
    const size_t mark = std::min(number.find_first_of("eE"), number.size());
    const std::string_view digits = number.substr(0, mark);
    const auto point = static_cast<int64_t>(std::min(digits.find('.'), mark));
    const auto first = static_cast<int64_t>(std::min(digits.find_first_of("123456789"), mark));
    const int64_t exponent = mark < number.size() ? ParseInteger(number.substr(mark + 1)).value : 0;
    constexpr int64_t kFar = 1'000'000'000'000;
    return point - first + std::clamp(exponent, -kFar, kFar) < 0;
}

std::string FormatGeneral(double value, int digits) {
    char buffer[64];
    const auto end =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, digits);
    return std::string(buffer, end.ptr);
}

} // namespace

ParsedNumber<int64_t> ParseInteger(std::string_view text) {
    size_t place = SkipSpaces(text);
    const bool plus = place < text.size() && text[place] == '+';
    const size_t start = plus ? place + 1 : place;
    if (plus && (start == text.size() || !IsDigit(text[start]))) return {0, 0};
    int64_t value = 0;
    const auto [end, error] =
        std::from_chars(text.data() + start, text.data() + text.size(), value);
    const size_t length = static_cast<size_t>(end - text.data());
    if (error == std::errc::invalid_argument) return {0, 0};
    if (error == std::errc::result_out_of_range) {
        value = text[start] == '-' ? std::numeric_limits<int64_t>::min()
                                   : std::numeric_limits<int64_t>::max();
    }
    return {value, length};
}

int32_t ParseInt32(std::string_view text) {
    const int64_t value = ParseInteger(text).value;
    if (value > std::numeric_limits<int32_t>::max()) return std::numeric_limits<int32_t>::max();
    if (value < std::numeric_limits<int32_t>::min()) return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(value);
}

ParsedNumber<double> ParseDecimal(std::string_view text) {
    size_t start = SkipSpaces(text);
    size_t digits = start;
    if (digits < text.size() && (text[digits] == '+' || text[digits] == '-')) ++digits;
    const bool number = digits < text.size() && (IsDigit(text[digits]) || text[digits] == '.');
    if (!number) return {0.0, 0}; // no words such as "inf"
    if (text[start] == '+') ++start;
    double value = 0.0;
    const auto [end, error] =
        std::from_chars(text.data() + start, text.data() + text.size(), value);
    if (error == std::errc::invalid_argument) return {0.0, 0};
    const size_t length = static_cast<size_t>(end - text.data());
    if (error == std::errc::result_out_of_range) {
        const bool tiny = IsTiny(text.substr(start, length - start));
        value = tiny ? 0.0 : std::numeric_limits<double>::infinity();
        if (text[start] == '-') value = -value;
    }
    return {value, length};
}

std::string FormatDecimalString(double value) {
    if (!std::isfinite(value)) return "0";
    std::string text = FormatGeneral(value, kSignificantDigits);
    if (text.size() <= kDecimalStringLength) return text;
    if (text.find('e') == std::string::npos) {
        text.resize(kDecimalStringLength);
        text.resize(text.find_last_not_of('0') + 1); // as in every other text
        if (text.back() == '.') text.pop_back();
        return text;
    }
    // Cutting a text with an exponent would change its magnitude: give up digits instead.
    for (int digits = kSignificantDigits - 1; text.size() > kDecimalStringLength; --digits) {
        text = FormatGeneral(value, digits);
    }
    return text;
}

} // namespace mdicom
