// ReadAhead: memory that is going to be read soon.

#pragma once

#include <cstddef>

namespace IP {

inline constexpr std::ptrdiff_t kFloatsOfALine = 16;  // of the cache

/// Has the processor fetch `inCount` floats while it works on something else.
inline void ReadAhead(const float* inFloats, std::size_t inCount) {
    for (std::size_t i = 0; i < inCount; i += kFloatsOfALine)
        __builtin_prefetch(inFloats + i);
}

/// A plane of floats, row by row without gaps.
struct FloatPlane {
    const float* mPixels;
    std::ptrdiff_t mColumns;
    std::ptrdiff_t mRows;
};

/// The same for the pixels up to `inReachX` and `inReachY` from (`inX`, `inY`). Points lie all
/// over frames that are larger than the caches near by, and waiting for the pixels takes longer
/// than the work on them. Changes nothing; a block that is not inside the plane is left alone,
/// as is one round a NaN.
inline void ReadAhead(const FloatPlane& inPlane, float inX, float inY, int inReachX,
                      int inReachY) {
    const auto fits = [](float inAt, std::ptrdiff_t inReach, std::ptrdiff_t inSize) {
        return inAt >= static_cast<float>(inReach) &&
               inAt < static_cast<float>(inSize - inReach - 1);
    };
    if (!fits(inX, inReachX, inPlane.mColumns) || !fits(inY, inReachY, inPlane.mRows)) return;
    const float* const middle = inPlane.mPixels +
                                static_cast<std::ptrdiff_t>(inY) * inPlane.mColumns +
                                static_cast<std::ptrdiff_t>(inX);
    for (std::ptrdiff_t y = -inReachY; y <= inReachY; ++y) {
        const float* const row = middle + y * inPlane.mColumns;
        for (std::ptrdiff_t x = -inReachX; x < inReachX; x += kFloatsOfALine)
            __builtin_prefetch(row + x);
        __builtin_prefetch(row + inReachX);
    }
}

}  // namespace IP
