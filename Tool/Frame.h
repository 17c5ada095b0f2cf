// Frame: one picture as the library takes it.

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

struct AVPacket;

namespace Host {

/// The length of one unit of time, as a fraction of a second.
struct TimeBase {
    int mNumerator = 1;
    int mDenominator = 25;

    double Seconds(std::int64_t inTime) const {
        return double(inTime) * mNumerator / mDenominator;
    }
};

/// Encoded sound, shared and not changed.
using SoundPackets = std::vector<std::shared_ptr<const AVPacket>>;

/// One picture of 8-bit BGRA: four bytes a pixel, row 0 the top row, no padding between
/// rows, and one more byte behind the last pixel.
///
/// The graph cut reads that byte: it takes a pixel's red from the byte behind the pixel.
/// `Finish` sets it, so that a result never depends on what memory held.
struct Frame {
    int mWidth = 0;
    int mHeight = 0;
    std::vector<std::uint8_t> mPixels;

    /// The grey bytes of the source as they stood in the file, where the source is 8-bit
    /// grey (a PGM); empty otherwise. A tracker that takes them sees what was written.
    std::vector<std::uint8_t> mGrey;

    /// When it is shown, and for how long (0 where that is not known), in units of the
    /// source's time base.
    std::int64_t mTime = 0;
    std::int64_t mDuration = 0;

    /// The sound that the file holds up to this frame and behind the frame before.
    SoundPackets mSound;

    int RowBytes() const { return mWidth * 4; }
    std::size_t PixelCount() const { return std::size_t(mWidth) * std::size_t(mHeight); }
    std::uint8_t* Pixel(int inX, int inY) {
        return mPixels.data() + (std::size_t(inY) * std::size_t(mWidth) + std::size_t(inX)) * 4;
    }
    const std::uint8_t* Pixel(int inX, int inY) const {
        return const_cast<Frame*>(this)->Pixel(inX, inY);
    }

    void Resize(int inWidth, int inHeight) {
        mWidth = inWidth;
        mHeight = inHeight;
        mPixels.resize(PixelCount() * 4 + 1);
        mGrey.clear();
    }

    /// Sets the byte behind the last pixel to that pixel's blue.
    void Finish() { mPixels.back() = mPixels[mPixels.size() - 5]; }
};

}  // namespace Host
