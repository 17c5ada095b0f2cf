// Clip: frames whose content and motion are a function of the frame number.

#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

#include "image/IPImage.h"

namespace Scenarios {

/// @throws std::bad_alloc where the recycler has no block.
template <class T>
IP::ImagePtr<T> MakeImage(int inColumns, int inRows) {
    const auto image = TVK::MakeObject<IP::Image<T>>(inColumns, inRows);
    if (!image->GetData()) throw std::bad_alloc();
    return image;
}

/// A texture that moves over the frame. Whole-number noise lies over each frame, the same on
/// every machine.
struct Clip {
    int mColumns = 96;
    int mRows = 72;
    double mSpeedX = 1.3;  // pixels a frame, to the right and downward
    double mSpeedY = -0.7;
    int mNoise = 0;  // grey levels, up and down
    std::uint32_t mSeed = 1;

    IP::ImagePtr<unsigned char> Bytes(int inFrame) const;
    IP::ImagePtr<float> Floats(int inFrame) const;

    /// Blue, green, red, alpha; `inPadding` further bytes end each row, and one more byte
    /// ends the frame.
    std::vector<unsigned char> Bgra(int inFrame, int inPadding = 0) const;
    int RowBytes(int inPadding = 0) const { return mColumns * 4 + inPadding; }
    std::size_t Pixels() const { return std::size_t(mColumns) * std::size_t(mRows); }
};

}  // namespace Scenarios
