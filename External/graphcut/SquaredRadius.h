// A square in 32 bits.

#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

/// The square of a length, or the largest 32-bit integer where it is more than that.
inline std::int32_t SquareOrMost(std::int64_t inLength) {
    constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();
    const std::int64_t length = std::clamp(inLength, -kMost, kMost);
    return static_cast<std::int32_t>(std::min(length * length, kMost));
}
