// RegionScene: a textured object that moves over a textured background, and where it is.

#pragma once

#include <cmath>
#include <cstddef>
#include <vector>

#include "Support/Box.h"
#include "Support/Textures.h"
#include "TVK/ParamRect.h"

namespace Testing {

/// The trackers' form: y upward from the foot of an image of `inRows` rows.
inline TVK::ParamRect<float> RectOf(const Box& inBox, int inRows) {
    return {.mLeft = static_cast<float>(inBox.mX),
            .mTop = static_cast<float>(inRows - inBox.mY - inBox.mHeight),
            .mRight = static_cast<float>(inBox.mX + inBox.mWidth),
            .mBottom = static_cast<float>(inRows - inBox.mY)};
}

inline Box BoxOf(const TVK::ParamRect<float>& inRect, int inRows) {
    return {.mX = inRect.mLeft,
            .mY = static_cast<double>(inRows) - inRect.mBottom,
            .mWidth = static_cast<double>(inRect.mRight) - inRect.mLeft,
            .mHeight = static_cast<double>(inRect.mBottom) - inRect.mTop};
}

/// Speeds are pixels a frame. The object keeps its shape and is scaled about its centre;
/// independent noise of some grey levels lies over every frame.
struct RegionScene {
    int mCols = 160;
    int mRows = 120;
    Box mObject{50, 40, 50, 40};  // in frame 0
    double mSpeedX = 0.0;
    double mSpeedY = 0.0;
    double mGrowth = 1.0;  // a frame
    double mBackgroundX = 0.0;
    double mBackgroundY = 0.0;
    double mNoise = 1.0;

    Box At(int inFrame) const {
        const double scale = std::pow(mGrowth, inFrame);
        const double width = mObject.mWidth * scale;
        const double height = mObject.mHeight * scale;
        return {mObject.mX + mSpeedX * inFrame + (mObject.mWidth - width) / 2,
                mObject.mY + mSpeedY * inFrame + (mObject.mHeight - height) / 2, width, height};
    }

    std::vector<float> Frame(int inFrame) const {
        const Box box = At(inFrame);
        const double scale = box.mWidth / mObject.mWidth;
        Random random(static_cast<std::uint64_t>(inFrame) + 1);
        std::vector<float> frame;
        frame.reserve(static_cast<std::size_t>(mCols) * static_cast<std::size_t>(mRows));
        for (int y = 0; y < mRows; ++y)
            for (int x = 0; x < mCols; ++x) {
                const bool isObject = x >= box.mX && x < box.mX + box.mWidth && y >= box.mY &&
                                      y < box.mY + box.mHeight;
                const double grey =
                    isObject
                        ? TextureAt((x - box.mX) / scale, (y - box.mY) / scale, 2)
                        : TextureAt(x - mBackgroundX * inFrame, y - mBackgroundY * inFrame, 1);
                frame.push_back(
                    static_cast<float>(grey + mNoise * (2.0 * random.Real() - 1.0)));
            }
        return frame;
    }
};

}  // namespace Testing
