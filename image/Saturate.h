// Conversions to whole numbers that are defined for every number: the conversion of the
// language leaves open what NaN becomes, and what the target cannot hold. Each name says what
// becomes of NaN.

#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace IP {

// ---- Positions and sizes -------------------------------------------------------------

/// `inValue` without its fraction. NaN, and what no 32-bit integer can hold, give -2^31.
constexpr std::int32_t TruncateNaNLowest(double inValue) noexcept {
    return inValue > -2147483649.0 && inValue < 2147483648.0
               ? static_cast<std::int32_t>(inValue)
               : INT32_MIN;
}

/// `inValue` without its fraction, and no further out than 32-bit integers go; NaN gives
/// -2^31.
constexpr std::int32_t ClampNaNLowest(float inValue) noexcept {
    return TruncateNaNLowest(std::clamp(double{inValue}, -2147483648.0, 2147483647.0));
}

/// A position as a pixel; far out is as good as any place outside an image. Not for NaN: the
/// caller has asked whether it is finite.
constexpr std::int64_t ClampNoNaN(float inValue) noexcept {
    return static_cast<std::int64_t>(std::clamp(inValue, -1.0e18f, 1.0e18f));
}

/// Whether floor(inValue) is an int, which `outFloor` is then; NaN is none.
constexpr bool FloorUnlessNaN(float inValue, int& outFloor) noexcept {
    constexpr float kLimit = 2147483648.0f;
    if (!(inValue >= -kLimit && inValue < kLimit)) return false;
    const int towardsZero = static_cast<int>(inValue);
    outFloor = towardsZero - (static_cast<float>(towardsZero) > inValue);
    return true;
}

// ---- Ranges of pixels ----------------------------------------------------------------

/// A whole number as an int, brought into [-1, inSize] first; NaN gives -1.
constexpr int ClipNaNBefore(float inValue, int inSize) noexcept {
    if (!(inValue > -1.0f)) return -1;
    if (inValue >= static_cast<float>(inSize)) return inSize;
    return static_cast<int>(inValue);
}

/// The first of [inBegin, inEnd) above `inValue`, `inEnd` where none is; none is above NaN.
inline int FirstAboveNaNEnd(float inValue, int inBegin, int inEnd) noexcept {
    if (!(inValue < static_cast<float>(inEnd))) return inEnd;
    if (inValue < static_cast<float>(inBegin)) return inBegin;
    return static_cast<int>(std::floor(inValue)) + 1;
}

/// The end of those of [inBegin, inEnd) below `inValue`; none is below NaN.
inline int EndBelowNaNBegin(float inValue, int inBegin, int inEnd) noexcept {
    if (!(inValue > static_cast<float>(inBegin))) return inBegin;
    if (inValue >= static_cast<float>(inEnd)) return inEnd;
    return static_cast<int>(std::ceil(inValue));
}

// ---- Whole numbers -------------------------------------------------------------------

constexpr std::int32_t ClampToInt(std::int64_t inValue) noexcept {
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(inValue, INT32_MIN, INT32_MAX));
}

/// The square of a length, or the largest 32-bit integer where it is more than that.
constexpr std::int32_t SquareOrMost(std::int64_t inLength) noexcept {
    const std::int64_t length = std::clamp<std::int64_t>(inLength, -INT32_MAX, INT32_MAX);
    return static_cast<std::int32_t>(std::min<std::int64_t>(length * length, INT32_MAX));
}

}  // namespace IP
