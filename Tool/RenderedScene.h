// RenderedScene: a still picture with a known foreground, and strokes to select it by.

#pragma once

#include <cstdint>
#include <vector>

#include "Frame.h"

namespace Host {

/// One plane of bytes with the size of its picture.
struct Mask {
    int mWidth = 0;
    int mHeight = 0;
    std::vector<std::uint8_t> mBytes;

    Mask() = default;
    Mask(int inWidth, int inHeight)
        : mWidth(inWidth),
          mHeight(inHeight),
          mBytes(std::size_t(inWidth) * std::size_t(inHeight), 0) {}
    std::uint8_t& At(int inX, int inY) {
        return mBytes[std::size_t(inY) * std::size_t(mWidth) + std::size_t(inX)];
    }
    std::uint8_t At(int inX, int inY) const { return const_cast<Mask*>(this)->At(inX, inY); }
};

/// What a user paints before one cut: 255 where the brush went, else 0.
struct Strokes {
    Mask mForeground;
    Mask mBackground;
};

/// One line of the brush, in pixels as edges count.
struct BrushLine {
    double mFromX, mFromY, mToX, mToY, mRadius;
    bool mIsForeground;
};

/// A bird before textured ground. Its body, head and tail differ in colour, so that the
/// first strokes (on the body) select a part of it and the second ones the rest.
struct RenderedScene {
    Frame mPicture;
    Mask mTruth;  ///< 255 where the bird covers more than half of the pixel
    std::vector<Strokes> mStrokes;
    std::vector<BrushLine> mLines;  ///< what the strokes were painted with, in order
};

RenderedScene RenderScene(int inWidth, int inHeight);

/// Shared area over the area of either; both planes count pixels above 127.
double Overlap(const Mask& inFirst, const Mask& inSecond);

/// Paints a round brush's way along a line, on the mask of the line's own side.
void PaintLine(Strokes& ioStrokes, const BrushLine& inLine);

}  // namespace Host
