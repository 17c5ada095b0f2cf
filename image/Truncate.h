// Conversions to pixel indices that are defined for every number.

#pragma once

#include <algorithm>

#include <cstdint>

namespace IP {

/// `inValue` without its fraction. NaN, and what no 32-bit integer can hold, give -2^31 on
/// every machine: the conversion of the language leaves those open.
constexpr std::int32_t TruncateToInt(double inValue) noexcept {
    return inValue > -2147483649.0 && inValue < 2147483648.0
               ? static_cast<std::int32_t>(inValue)
               : INT32_MIN;
}

/// `inValue` without its fraction, and no further out than 32-bit integers go; NaN gives
/// -2^31.
constexpr std::int32_t TruncateClamped(float inValue) noexcept {
    return TruncateToInt(std::clamp(double{inValue}, -2147483648.0, 2147483647.0));
}

/// A finite position as a pixel; far out is as good as any place outside an image. NaN is the
/// caller's fault.
constexpr std::int64_t TruncateFiniteClamped(float inValue) noexcept {
    return static_cast<std::int64_t>(std::clamp(inValue, -1.0e18f, 1.0e18f));
}

constexpr std::int32_t ClampToInt(std::int64_t inValue) noexcept {
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(inValue, INT32_MIN, INT32_MAX));
}

}  // namespace IP
