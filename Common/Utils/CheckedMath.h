// Arithmetic on sizes that come from outside.

#pragma once

#include <concepts>
#include <optional>

namespace mdicom {

/** Sum, or nothing when it does not fit. */
template <std::unsigned_integral T>
constexpr std::optional<T> CheckedAdd(T first, T second) {
    T result = 0;
    if (__builtin_add_overflow(first, second, &result)) return std::nullopt;
    return result;
}

/** Product, or nothing when it does not fit. */
template <std::unsigned_integral T>
constexpr std::optional<T> CheckedMultiply(T first, T second) {
    T result = 0;
    if (__builtin_mul_overflow(first, second, &result)) return std::nullopt;
    return result;
}

/** True if count units from index on lie within total. */
template <std::unsigned_integral T>
constexpr bool FitsInto(T index, T count, T total) {
    return index <= total && count <= total - index;
}

} // namespace mdicom
