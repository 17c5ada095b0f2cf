// Points as ours and the peers have them in common, and whether two answers agree.

#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

namespace Bench {

struct Point {
    float mX, mY;
    bool mIsLive;
};

inline double CountLive(const std::vector<Point>& inPoints) {
    return double(std::count_if(inPoints.begin(), inPoints.end(),
                                [](const Point& inPoint) { return inPoint.mIsLive; }));
}

/// Both followed the same points: where both found one they are less than half a pixel apart,
/// in the median.
inline bool Agree(const std::vector<Point>& inOurs, const std::vector<Point>& inPeers) {
    std::vector<double> distances;
    for (std::size_t i = 0; i < inOurs.size(); ++i)
        if (inOurs[i].mIsLive && inPeers[i].mIsLive)
            distances.push_back(
                std::hypot(inOurs[i].mX - inPeers[i].mX, inOurs[i].mY - inPeers[i].mY));
    if (distances.empty()) return false;
    const auto middle = distances.begin() + std::ptrdiff_t(distances.size() / 2);
    std::nth_element(distances.begin(), middle, distances.end());
    return *middle < 0.5;
}

/// The part of the live ones that lie within `inDistance` of one of the others.
inline double PartNear(const std::vector<Point>& inPoints, const std::vector<Point>& inOthers,
                       double inDistance) {
    double near = 0;
    for (const Point& point : inPoints)
        near +=
            point.mIsLive &&
            std::any_of(inOthers.begin(), inOthers.end(), [&](const Point& inOther) {
                return std::hypot(inOther.mX - point.mX, inOther.mY - point.mY) <= inDistance;
            });
    return near / std::max(CountLive(inPoints), 1.0);
}

}  // namespace Bench
