// Points and boxes in pictures: x to the right, y downward from the top row.

#pragma once

#include <algorithm>

namespace Host {

/// A place in a picture. Whole numbers are the centres of pixels, as the trackers count.
struct Point {
    double mX = 0.0;
    double mY = 0.0;
};

/// A rectangle by its edges: pixel i reaches from i to i + 1, so that the whole picture is
/// (0, 0, width, height) and the centre of the first pixel is at 0.5.
struct Box {
    double mX = 0.0;
    double mY = 0.0;
    double mWidth = 0.0;
    double mHeight = 0.0;

    double Right() const { return mX + mWidth; }
    double Bottom() const { return mY + mHeight; }
    double Area() const { return std::max(0.0, mWidth) * std::max(0.0, mHeight); }
};

/// The shared area of two boxes over the area that either covers; 0 where there is none.
inline double Overlap(const Box& inFirst, const Box& inSecond) {
    const Box shared{
        std::max(inFirst.mX, inSecond.mX), std::max(inFirst.mY, inSecond.mY),
        std::min(inFirst.Right(), inSecond.Right()) - std::max(inFirst.mX, inSecond.mX),
        std::min(inFirst.Bottom(), inSecond.Bottom()) - std::max(inFirst.mY, inSecond.mY)};
    const double either = inFirst.Area() + inSecond.Area() - shared.Area();
    return either > 0.0 ? shared.Area() / either : 0.0;
}

}  // namespace Host
