// Frames and masks as the client layer has them, and back.

#pragma once

#include "Frame.h"
#include "Geometry.h"
#include "Mask.h"
#include "descriptor/Frame.h"

namespace Host {

/// The picture's colours. The pixels stay the frame's.
inline descriptor::Frame ColourView(const Frame& inFrame, long long inNumber = 0) {
    return {.pixels = inFrame.mPixels.data(),
            .format = descriptor::PixelFormat::bgra,
            .width = inFrame.mWidth,
            .height = inFrame.mHeight,
            .number = inNumber};
}

/// What trackers see: of a grey source its bytes as they stood in the file.
inline descriptor::Frame TrackerView(const Frame& inFrame, long long inNumber) {
    descriptor::Frame view = ColourView(inFrame, inNumber);
    if (inFrame.mGrey.empty()) return view;
    view.pixels = inFrame.mGrey.data();
    view.format = descriptor::PixelFormat::grey8;
    return view;
}

/// The mask's bytes stay its own.
inline descriptor::Frame ViewOf(const Mask& inMask) {
    return {.pixels = inMask.mBytes.data(),
            .format = descriptor::PixelFormat::grey8,
            .width = inMask.mWidth,
            .height = inMask.mHeight};
}
inline Mask ToMask(const descriptor::Frame& inFrame) {
    Mask mask(inFrame.width, inFrame.height);
    std::copy_n(inFrame.row(0), mask.mBytes.size(), mask.mBytes.begin());
    return mask;
}

inline Box ToBox(const descriptor::Rect& inRect) {
    return {inRect.x, inRect.y, inRect.width, inRect.height};
}
inline descriptor::Rect ToRect(const Box& inBox) {
    return {inBox.mX, inBox.mY, inBox.mWidth, inBox.mHeight};
}

}  // namespace Host
