// Video's planes to BGRA, in whole numbers.

#pragma once

#include <cstddef>
#include <cstdint>

namespace Host {

/// A picture of three planes of bytes; those of the colours have half of the columns and rows,
/// rounded up, and lie as MPEG-2 has them: on the even columns, between two rows.
struct YuvPicture {
    const std::uint8_t* mPlanes[3];
    std::ptrdiff_t mStrides[3];
    int mWidth, mHeight;
};

/// What a matrix and a range come to: 0 to 255 from bytes less their offsets.
struct YuvCoefficients {
    /// @param inRed, inBlue  what red and blue weigh in brightness: 0.299 and 0.114 (BT.601),
    ///        0.2126 and 0.0722 (BT.709).
    YuvCoefficients(double inRed, double inBlue, bool inIsFullRange);

    int mOffset;                                          // of brightness: 0 or 16
    std::int16_t mLuma, mRedV, mGreenU, mGreenV, mBlueU;  // 13 bits behind the point
};

/// Colours between their places are blended by straight lines. The same bits on every machine:
/// nothing is rounded but the result, to the nearest, ties upward.
///
/// @param outPixels  4 bytes a pixel, rows without a gap.
void YuvToBgra(const YuvPicture& inPicture, const YuvCoefficients& inCoefficients,
               std::uint8_t* outPixels);

}  // namespace Host
