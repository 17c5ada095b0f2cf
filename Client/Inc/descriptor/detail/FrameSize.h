// All frames of a run have one size.

#pragma once

#include <string>

#include "descriptor/Frame.h"

namespace descriptor::detail {

class FrameSize {
public:
    /// @throws ArgumentError for a frame of another size than those before, and for one that
    ///         cannot be.
    void check(const Frame& inFrame) const {
        descriptor::check(inFrame);
        if (mWidth == 0 || (inFrame.width == mWidth && inFrame.height == mHeight)) return;
        throw ArgumentError("frame", text(inFrame.width, inFrame.height) + " after frames of " +
                                         text(mWidth, mHeight) + "; restart for another size");
    }
    void keep(const Frame& inFrame) {
        mWidth = inFrame.width;
        mHeight = inFrame.height;
    }
    int height() const { return mHeight; }

private:
    static std::string text(int inWidth, int inHeight) {
        return std::to_string(inWidth) + "x" + std::to_string(inHeight);
    }

    int mWidth = 0;
    int mHeight = 0;
};

}  // namespace descriptor::detail
