// APTImagePyramid: a frame at halved resolutions, of which only those pixels exist that
// somebody asked for.
//
// Most points are found again at full resolution and never look at a coarser level, and
// one that does looks at a block of some 14 by 14 pixels. So level 0 is the caller's image,
// read in place, and the levels above it are cut into tiles that are made when a block
// that touches them is asked for:
//
//     level 0   the image                       a tile of level 1 needs a part of level 0,
//     level 1   [tile][    ][tile][tile]        a tile of level 2 first makes the tiles of
//     level 2   [    ][tile]                    level 1 under it
//
// A pixel's value does not depend on who asked for it: each is the one that a
// `ColourPyramidData` of the same frame would hold.

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace DP {

/// Ownership: the levels above 0 are its own and are reused from frame to frame; the
///   image is the caller's and must outlive the use of the frame.
/// Threads: one at a time; asking for pixels makes them.
/// Errors: no memory throws std::bad_alloc.
class APTImagePyramid {
public:
    /// Starts a frame. Allocates only when a level grows.
    void Reset(const float* inImage, int inWidth, int inHeight, int inChannels, int inLevels);

    int GetLevelCount() const { return static_cast<int>(mLevels.size()); }
    int GetWidth(int inLevel) const {
        return mLevels[static_cast<std::size_t>(inLevel)].mWidth;
    }
    int GetHeight(int inLevel) const {
        return mLevels[static_cast<std::size_t>(inLevel)].mHeight;
    }
    int GetChannels() const { return mChannels; }
    /// Floats from one row to the next.
    std::ptrdiff_t GetRowLength(int inLevel) const {
        return std::ptrdiff_t{GetWidth(inLevel)} * mChannels;
    }

    /// The first pixel of the block from (inX, inY) to (inLastX, inLastY), which must lie
    /// inside the level. The pixels of the block, and of no other place, can be read.
    const float* GetBlock(int inLevel, int inX, int inY, int inLastX, int inLastY);

    /// Fetches the block of level 0 round a position, as far as it lies inside.
    void ReadAhead(float inX, float inY, int inReachX, int inReachY) const;

private:
    struct Level {
        int mWidth = 0;
        int mHeight = 0;
        int mTileColumns = 0;
        const float* mPixels = nullptr;
        // As the heap gives them, null for level 0: a tile that nobody asks for costs no page.
        std::unique_ptr<float[]> mOwned;
        std::size_t mOwnedFloats = 0;
        std::vector<std::uint8_t> mTileIsMade;
    };

    static void MakeRoom(std::size_t inFloats, Level& ioLevel);
    void MakeTile(int inLevel, int inTileColumn, int inTileRow);

    int mChannels = 0;
    std::vector<Level> mLevels;
};

/// One level of a pyramid, which must outlive it.
class APTImageLevel {
public:
    APTImageLevel(APTImagePyramid& inPyramid, int inLevel)
        : mPyramid(&inPyramid), mLevel(inLevel) {}

    int GetWidth() const { return mPyramid->GetWidth(mLevel); }
    int GetHeight() const { return mPyramid->GetHeight(mLevel); }
    std::ptrdiff_t GetRowLength() const { return mPyramid->GetRowLength(mLevel); }
    const float* GetBlock(int inX, int inY, int inLastX, int inLastY) const {
        return mPyramid->GetBlock(mLevel, inX, inY, inLastX, inLastY);
    }

private:
    APTImagePyramid* mPyramid;
    int mLevel;
};

}  // namespace DP
