// Box: an upright rectangle, and how well two of them agree.

#pragma once

#include <algorithm>

namespace Testing {

/// A rectangle in image coordinates, y downward.
struct Box {
    double mX = 0.0;
    double mY = 0.0;
    double mWidth = 0.0;
    double mHeight = 0.0;
};

/// Intersection over union: 1 for equal boxes, 0 for boxes apart or without area.
inline double Overlap(const Box& inA, const Box& inB) {
    const auto common = [](double inFirst, double inLength, double inSecond, double inOther) {
        return std::max(0.0, std::min(inFirst + inLength, inSecond + inOther) -
                                 std::max(inFirst, inSecond));
    };
    const double both = common(inA.mX, inA.mWidth, inB.mX, inB.mWidth) *
                        common(inA.mY, inA.mHeight, inB.mY, inB.mHeight);
    const double either = inA.mWidth * inA.mHeight + inB.mWidth * inB.mHeight - both;
    return both > 0.0 ? both / either : 0.0;
}

}  // namespace Testing
