// RenderedScene: a still picture with a known foreground, and strokes to select it by.

#pragma once

#include <vector>

#include "Frame.h"
#include "Mask.h"
#include "descriptor/Stroke.h"

namespace Host {

/// A bird before textured ground. Its body, head and tail differ in colour, so that the
/// first strokes (on the body) select a part of it and the second ones the rest.
struct RenderedScene {
    Frame mPicture;
    Mask mTruth;  ///< 255 where the bird covers more than half of the pixel
    std::vector<descriptor::Strokes> mStrokes;
};

RenderedScene RenderScene(int inWidth, int inHeight);

}  // namespace Host
