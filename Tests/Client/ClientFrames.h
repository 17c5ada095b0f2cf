// Frames for the client layer's tests, which keep their pixels alive themselves.

#pragma once

#include <span>

#include "Support/RegionScene.h"
#include "Support/Test.h"
#include "descriptor/Frame.h"
#include "descriptor/Points.h"

namespace Testing {

template <class T>
descriptor::Frame FrameOf(std::vector<T> inPixels, int inWidth, int inHeight) {
    const auto owner = std::make_shared<std::vector<T>>(std::move(inPixels));
    return {.pixels = owner->data(),
            .format = sizeof(T) == 1 ? descriptor::PixelFormat::grey8
                                     : descriptor::PixelFormat::grey_float,
            .width = inWidth,
            .height = inHeight,
            .owner = owner};
}

/// 8-bit grey; the content moves by (1.5, 0.75) from frame to frame.
inline descriptor::Frame MovingFrame(int inFrame, int inWidth = 200, int inHeight = 160,
                                     std::uint32_t inSeed = 1) {
    return FrameOf(TexturedBytes(inWidth, inHeight, -1.5 * inFrame, -0.75 * inFrame, inSeed),
                   inWidth, inHeight);
}

inline descriptor::Frame SceneFrame(const RegionScene& inScene, int inFrame) {
    return FrameOf(inScene.Frame(inFrame), inScene.mCols, inScene.mRows);
}

/// What two runs of the same bits have in common, point by point: slot, place, age, score.
inline auto PlacesOf(std::span<const descriptor::Point> inPoints) {
    std::vector<std::tuple<int, float, float, unsigned, float>> places;
    for (const descriptor::Point& p : inPoints)
        places.emplace_back(p.slot, p.x, p.y, p.age, p.score);
    return places;
}

inline descriptor::Rect RectAt(const Box& inBox) {
    return {inBox.mX, inBox.mY, inBox.mWidth, inBox.mHeight};
}
inline double Overlap(const descriptor::Rect& inRect, const Box& inBox) {
    return Overlap(Box{inRect.x, inRect.y, inRect.width, inRect.height}, inBox);
}

}  // namespace Testing
