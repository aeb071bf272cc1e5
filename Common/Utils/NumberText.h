// Numbers as text, without the C locale.

#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace mdicom {

/** A number at the start of a text, and how many characters it takes (0: there is none). */
template <typename T>
struct ParsedNumber {
    T value;
    size_t length;
};

/** Decimal integer behind optional blanks and a sign; saturates at the limits of 64 bits. */
ParsedNumber<int64_t> ParseInteger(std::string_view text);

/** The same, saturating at the limits of 32 bits. */
int32_t ParseInt32(std::string_view text);

/** Decimal number with optional fraction and exponent behind optional blanks and a sign. */
ParsedNumber<double> ParseDecimal(std::string_view text);

/** Text of a number for VR DS (PS 3.5, 6.2): up to 15 significant digits in at most 16
 *  characters, without a trailing point. */
std::string FormatDecimalString(double value);

} // namespace mdicom
