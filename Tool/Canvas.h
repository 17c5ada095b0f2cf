// Canvas: a picture to draw on, by Cairo.

#pragma once

#include <cairo.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>

#include "Frame.h"
#include "Geometry.h"
#include "Texture.h"

namespace Host {

/// How large things are drawn on a picture, so that they look the same at every size: 1 at a
/// height of 480.
inline double UnitOf(const Box& inPicture) {
    return std::max(0.5, std::min(inPicture.mWidth, inPicture.mHeight * 1.5) / 640.0);
}

/// A picture without transparency. Everything that the commands draw is drawn here; for
/// lines and dots of their own they take `Cairo()`.
///
/// Cairo's coordinates go by edges, like `Box`: the centre of the first pixel is at 0.5.
///
/// Ownership: plain object, one owner.
/// Threads: one thread at a time.
/// Errors: a file that cannot be written throws `UserError`.
class Canvas {
public:
    Canvas(int inWidth, int inHeight);

    int Width() const { return mWidth; }
    int Height() const { return mHeight; }

    /// The pixels as BGRA, rows `Stride()` bytes apart.
    const std::uint8_t* Pixels() const;
    int Stride() const;

    cairo_t* Cairo() const { return mCairo.get(); }

    void Fill(const Colour& inColour);
    /// Draws a frame, scaled to fill the box; `inShade` below 1 darkens it.
    void DrawFrame(const Frame& inFrame, const Box& inWhere, double inShade = 1.0);
    /// Draws one plane of grey bytes, scaled to fill the box.
    void DrawGrey(const std::uint8_t* inGrey, int inWidth, int inHeight, const Box& inWhere);

    void SetColour(const Colour& inColour, double inAlpha = 1.0);
    /// White text on a dark plate whose upper left corner is at (`inX`, `inY`). Text that is
    /// wider than `inMostWidth` is made smaller.
    void Label(double inX, double inY, const std::string& inText, double inSize = 14.0,
               double inMostWidth = 1e9);
    /// A rectangle's outline with a dark rim, so that it shows on any ground.
    void Outline(const Box& inBox, const Colour& inColour, double inWidth = 2.0);
    /// A round-ended line inside a box. There are thousands of short ones in a picture, so
    /// they do not go through Cairo.
    void Line(const Point& inFrom, const Point& inTo, double inWidth, const Colour& inColour,
              double inAlpha, const Box& inClip);
    /// A dot with a dark rim.
    void Dot(const Point& inCentre, double inRadius, const Colour& inColour, const Box& inClip);

    void WritePng(const std::string& inFile) const;

private:
    struct Deleter {
        void operator()(cairo_surface_t* inSurface) const { cairo_surface_destroy(inSurface); }
        void operator()(cairo_t* inCairo) const { cairo_destroy(inCairo); }
    };
    std::uint8_t* MutablePixels();
    void DrawPixels(const std::uint8_t* inPixels, int inWidth, int inHeight, int inStride,
                    const Box& inWhere);

    int mWidth, mHeight;
    std::unique_ptr<cairo_surface_t, Deleter> mSurface;
    std::unique_ptr<cairo_t, Deleter> mCairo;
};

}  // namespace Host
