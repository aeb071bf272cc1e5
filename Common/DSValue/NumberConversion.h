// Numbers of one type from another, for arrays that a caller names by VALUE_ARRAY_ types.

#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "Common/Utils/Vr.h"
#include "MDicomConstants.h"

namespace mdicom {

/**
 * Integers keep their low bits, and those that go to a signed type count as signed themselves.
 * Floating numbers are cut towards zero and stop at the limits of an integer type; an unsigned
 * one takes negative numbers too, as the pattern of its signed twin, since arrays of it serve
 * for both. What is no number is 0.
 */
template <typename To, typename From>
To ConvertNumber(From value) {
    if constexpr (std::is_same_v<To, float> && std::is_same_v<From, double>) {
        constexpr double kLimit = std::numeric_limits<float>::max();
        return static_cast<float>(std::isfinite(value) ? std::clamp(value, -kLimit, kLimit)
                                                       : value);
    } else if constexpr (std::is_floating_point_v<To>) {
        return static_cast<To>(value);
    } else if constexpr (std::is_floating_point_v<From>) {
        if (std::isnan(value)) return 0;
        constexpr double kLeast = std::numeric_limits<std::make_signed_t<To>>::min();
        constexpr double kMost = std::numeric_limits<To>::max();
        return static_cast<To>(static_cast<int64_t>(std::clamp<double>(value, kLeast, kMost)));
    } else if constexpr (std::is_signed_v<To>) {
        return static_cast<To>(static_cast<std::make_signed_t<From>>(value));
    } else {
        return static_cast<To>(value);
    }
}

/** Calls work with a number of the type that one unit of a binary VR has. */
template <typename Work>
auto WithUnitOf(uint16_t code, Work work) {
    switch (code) {
        case vr::OW:
        case vr::US:
            return work(uint16_t{});
        case vr::SS:
            return work(int16_t{});
        case vr::AT:
        case vr::OL:
        case vr::UL:
            return work(uint32_t{});
        case vr::SL:
            return work(int32_t{});
        case vr::FL:
        case vr::OF:
            return work(float{});
        case vr::FD:
        case vr::OD:
            return work(double{});
        default:
            return work(uint8_t{});
    }
}

/** Calls work with a number of the type that an array has; its result is 0 for no such type. */
template <typename Work>
auto WithArrayType(uint32_t arrayType, Work work) -> decltype(work(uint8_t{})) {
    switch (arrayType) {
        case VALUE_ARRAY_BYTE:
            return work(uint8_t{});
        case VALUE_ARRAY_WORD:
            return work(uint16_t{});
        case VALUE_ARRAY_DWORD:
            return work(uint32_t{});
        case VALUE_ARRAY_FLOAT:
            return work(float{});
        case VALUE_ARRAY_DOUBLE:
            return work(double{});
        default:
            return 0;
    }
}

/** The two halves of an attribute tag exchanged. */
constexpr uint32_t ExchangeTagHalves(uint32_t tag) {
    return tag << 16 | tag >> 16;
}

} // namespace mdicom
