// Size: of a picture, and rectangles between pictures of different sizes.

#pragma once

#include "descriptor/Frame.h"

namespace descriptor_mlt {

/// In pixels.
struct Size {
    int mWidth = 0;
    int mHeight = 0;

    friend bool operator==(const Size&, const Size&) = default;
};

/// The same place in a larger or smaller picture of the same thing. Editors give rectangles
/// in pixels of the profile; a preview or a proxy is smaller, a field half as high.
inline descriptor::Rect Rescaled(const descriptor::Rect& inRect, const Size& inFrom,
                                 const Size& inTo) {
    const double x = double(inTo.mWidth) / inFrom.mWidth;
    const double y = double(inTo.mHeight) / inFrom.mHeight;
    return {inRect.x * x, inRect.y * y, inRect.width * x, inRect.height * y};
}

}  // namespace descriptor_mlt
