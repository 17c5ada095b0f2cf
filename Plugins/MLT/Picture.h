// What a filter reads and paints: the picture of an MLT frame.

#pragma once

#include <framework/mlt.h>

#include <cstdint>
#include <span>

#include "Size.h"
#include "descriptor/client.h"

namespace descriptor_mlt {

/// A colour as it lies in one of the formats that are painted on.
struct Ink {
    std::uint8_t mValues[4] = {};  // R, G, B, alpha; or Y, U, V, alpha
};

/// The picture that a filter has got.
///
/// Ownership: the pixels are the frame's. Threads: one.
class Picture {
public:
    /// Asks the frame for its picture, to be painted on: in the format wanted where that is
    /// one of rgb, rgba and yuv422, else in yuv422.
    /// @return  MLT's error; the picture is good for 0 alone.
    int Get(mlt_frame ioFrame, std::uint8_t** outImage, mlt_image_format* ioFormat,
            int* ioWidth, int* ioHeight);

    mlt_image_format Format() const { return mFormat; }
    int Width() const { return mWidth; }
    int Height() const { return mHeight; }
    descriptor_mlt::Size Size() const { return {mWidth, mHeight}; }
    std::uint8_t* Row(int inRow) const;

    /// In grey for the trackers: a copy. Of an interlaced frame the first field, at half the
    /// height: the second one shows another time.
    descriptor::Frame Grey() const;
    /// Its colours, to be selected from; of the formats rgb and rgba alone.
    descriptor::Frame Colours() const;

    /// Mixes the ink into a row from a column on; a coverage of 1 hides what was there.
    void Blend(int inRow, int inColumn, std::span<const float> inCoverage,
               const Ink& inInk) const;
    /// The colour in this picture's format.
    Ink InkOf(mlt_color inColour) const;

private:
    std::uint8_t* mPixels = nullptr;
    mlt_image_format mFormat = mlt_image_none;
    int mWidth = 0;
    int mHeight = 0;
    int mField = -1;  // of an interlaced frame the first row of its first field
    bool mIsRec709 = false;
};

}  // namespace descriptor_mlt
