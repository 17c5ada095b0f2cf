// Strokes as masks, and masks as strokes: for pictures of strokes, and for what was painted in
// another program.

#pragma once

#include <string>

#include "descriptor/Frame.h"
#include "descriptor/Stroke.h"
#include "descriptor/detail/Brush.h"

namespace descriptor {

/// The pixels that strokes paint for one side: 255 there, else 0. Where two overlap, the later
/// counts, as in a selection.
/// @throws ArgumentError for strokes that cannot be drawn, or a size that cannot be.
inline Frame mask_of(const Strokes& inStrokes, Label inLabel, int inWidth, int inHeight) {
    check(inStrokes);
    detail::check_range("width", inWidth, 1, 65535);
    detail::check_range("height", inHeight, 1, 65535);
    detail::StrokeImages images(inWidth, inHeight);
    for (const Stroke& stroke : inStrokes)
        images.draw(stroke);
    return detail::frame_of(
        inLabel == Label::foreground ? images.mForeground : images.mBackground, {});
}

/// Strokes that paint just the pixels of a mask above 128: a thin line for each run of them
/// in a row. None for an empty mask.
/// @throws ArgumentError for a frame that is not of 8-bit grey.
inline Strokes strokes_of_mask(const Frame& inMask, Label inLabel) {
    check(inMask);
    if (inMask.format != PixelFormat::grey8)
        throw ArgumentError("mask.format",
                            std::string(to_string(inMask.format)) + ": a mask is grey8");
    constexpr double kThin = 0.5;  // reaches no other row
    Strokes strokes;
    for (int y = 0; y < inMask.height; ++y) {
        const unsigned char* const row = inMask.row(y);
        for (int x = 0; x < inMask.width; ++x) {
            const int from = x;
            while (x < inMask.width && row[x] > 128)
                ++x;
            if (x == from) continue;
            strokes.push_back({.path = {{double(from), double(y)}, {double(x - 1), double(y)}},
                               .radius = kThin,
                               .label = inLabel});
        }
    }
    return strokes;
}

}  // namespace descriptor
