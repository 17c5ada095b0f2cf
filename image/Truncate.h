// Truncate: a real number as a pixel index.

#pragma once

#include <cstdint>

namespace IP {

/// `inValue` without its fraction. NaN, and what no 32-bit integer can hold, give -2^31 on
/// every machine: the conversion of the language leaves those open.
constexpr std::int32_t TruncateToInt(double inValue) noexcept {
    return inValue > -2147483649.0 && inValue < 2147483648.0
               ? static_cast<std::int32_t>(inValue)
               : INT32_MIN;
}

}  // namespace IP
