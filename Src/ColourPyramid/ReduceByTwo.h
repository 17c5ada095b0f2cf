// ReduceByTwo: one level of a colour pyramid from the level before it.

#pragma once

#include <cstddef>

namespace DP {

/// Halves an image of `inWidth` by `inHeight` pixels of `inChannels` interleaved floats
/// into one of (w + 1) / 2 by (h + 1) / 2. Rows have no gaps.
///
/// The filter is (1, 2, 1) / 4 along x and nothing along y, where every second row is
/// taken as it is; the result has a frame of zeros one pixel wide. A side below 3 gives a
/// first row of zeros and leaves the other rows alone. Channel counts other than 1, 3 and
/// 4 are not filtered: the scratch block is copied as it stands.
///
/// `ioScratch` holds inHeight * ((w + 1) / 2 - 2) * inChannels floats.
void ReduceByTwo(const float* inSource, std::size_t inWidth, std::size_t inHeight,
                 std::size_t inChannels, float* outTarget, float* ioScratch);

/// The filter alone: pixels `inBegin` to `inEnd` - 1 of a reduced row, written from
/// `outPixels` on. `inRow` is the first pixel of the source row; `inBegin` is 1 or more.
void ReduceRow(const float* inRow, std::size_t inChannels, std::size_t inBegin,
               std::size_t inEnd, float* outPixels);

/// Whether `ReduceRow` is made for this number of channels.
constexpr bool IsReducible(std::size_t inChannels) {
    return inChannels == 1 || inChannels == 3 || inChannels == 4;
}

/// Size of a side at a level: `inSize` / 2^level, rounded up.
constexpr std::size_t LevelSide(std::size_t inSize, std::size_t inLevel) {
    if (inLevel >= 32) return inSize ? 1 : 0;  // sides have 32 bits
    return (inSize + (std::size_t{1} << inLevel) - 1) >> inLevel;
}

}  // namespace DP
