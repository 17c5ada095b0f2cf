// Canvas: a picture to draw on, by Cairo.

#pragma once

#include <cairo.h>

#include <cstdint>
#include <memory>
#include <string>

#include "Frame.h"
#include "Geometry.h"
#include "Texture.h"

namespace Host {

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
    /// Draws a frame, scaled to fill the box.
    void DrawFrame(const Frame& inFrame, const Box& inWhere);
    /// Draws one plane of grey bytes, scaled to fill the box.
    void DrawGrey(const std::uint8_t* inGrey, int inWidth, int inHeight, const Box& inWhere);

    void SetColour(const Colour& inColour, double inAlpha = 1.0);
    /// White text on a dark plate whose upper left corner is at (`inX`, `inY`).
    void Label(double inX, double inY, const std::string& inText, double inSize = 14.0);
    /// A rectangle's outline with a dark rim, so that it shows on any ground.
    void Outline(const Box& inBox, const Colour& inColour, double inWidth = 2.0);
    /// A dot with a dark rim.
    void Dot(double inX, double inY, double inRadius, const Colour& inColour);

    void WritePng(const std::string& inFile) const;

private:
    struct Deleter {
        void operator()(cairo_surface_t* inSurface) const { cairo_surface_destroy(inSurface); }
        void operator()(cairo_t* inCairo) const { cairo_destroy(inCairo); }
    };
    void DrawPixels(const std::uint8_t* inPixels, int inWidth, int inHeight, int inStride,
                    const Box& inWhere);

    int mWidth, mHeight;
    std::unique_ptr<cairo_surface_t, Deleter> mSurface;
    std::unique_ptr<cairo_t, Deleter> mCairo;
};

}  // namespace Host
