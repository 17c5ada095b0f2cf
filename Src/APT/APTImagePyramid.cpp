// Level 0 is the caller's image. The others are made in tiles when a patch needs them, which is
// a small part of a frame: level k has its rows of `mWidth` pixels without gaps, channels
// interleaved, and a byte for each tile that says whether it was made.

#include "APT/APTImagePyramid.h"

#include <algorithm>

#include "ColourPyramid/ReduceByTwo.h"
#include "image/ReadAhead.h"

namespace DP {
namespace {

// A tile holds a block of the default patch with some room around it; wide rather than
// high, since a row of it is made in one go.
constexpr int kTileWidth = 64;
constexpr int kTileHeight = 16;

int TilesAcross(int inSize, int inTileSize) { return (inSize + inTileSize - 1) / inTileSize; }

}  // namespace

void APTImagePyramid::Reset(const float* inImage, int inWidth, int inHeight, int inChannels,
                            int inLevels) {
    mChannels = inChannels;
    mLevels.resize(static_cast<std::size_t>(std::max(inLevels, 0)));
    for (std::size_t i = 0; i < mLevels.size(); ++i) {
        Level& level = mLevels[i];
        level.mWidth =
            static_cast<int>(LevelSide(static_cast<std::size_t>(std::max(inWidth, 0)), i));
        level.mHeight =
            static_cast<int>(LevelSide(static_cast<std::size_t>(std::max(inHeight, 0)), i));
        if (i == 0) {
            level.mPixels = inImage;
            continue;
        }
        level.mTileColumns = TilesAcross(level.mWidth, kTileWidth);
        const int tileRows = TilesAcross(level.mHeight, kTileHeight);
        level.mTileIsMade.assign(
            static_cast<std::size_t>(level.mTileColumns) * static_cast<std::size_t>(tileRows),
            0);
        MakeRoom(static_cast<std::size_t>(level.mWidth) *
                     static_cast<std::size_t>(level.mHeight) *
                     static_cast<std::size_t>(inChannels),
                 level);
        level.mPixels = level.mOwned.get();
    }
}

void APTImagePyramid::MakeRoom(std::size_t inFloats, Level& ioLevel) {
    if (inFloats <= ioLevel.mOwnedFloats) return;
    ioLevel.mOwnedFloats = 0;
    ioLevel.mOwned.reset();  // the old one goes first
    ioLevel.mOwned = std::make_unique_for_overwrite<float[]>(inFloats);
    ioLevel.mOwnedFloats = inFloats;
}

const float* APTImagePyramid::GetBlock(int inLevel, int inX, int inY, int inLastX,
                                       int inLastY) {
    Level& level = mLevels[static_cast<std::size_t>(inLevel)];
    if (inLevel > 0)
        for (int row = inY / kTileHeight; row <= inLastY / kTileHeight; ++row)
            for (int column = inX / kTileWidth; column <= inLastX / kTileWidth; ++column) {
                std::uint8_t& isMade =
                    level.mTileIsMade[static_cast<std::size_t>(row) *
                                          static_cast<std::size_t>(level.mTileColumns) +
                                      static_cast<std::size_t>(column)];
                if (isMade) continue;
                // Before the call: the tile is made of the level above, which never asks for
                // this one.
                isMade = 1;
                MakeTile(inLevel, column, row);
            }
    return level.mPixels + inY * GetRowLength(inLevel) + std::ptrdiff_t{inX} * mChannels;
}

void APTImagePyramid::ReadAhead(float inX, float inY, int inReachX, int inReachY) const {
    if (mChannels != 1 || mLevels.empty()) return;
    IP::ReadAhead({mLevels[0].mPixels, mLevels[0].mWidth, mLevels[0].mHeight}, inX, inY,
                  inReachX, inReachY);
}

// The tile's part of the level: a frame of zeros around the reduced interior. A level whose
// source is too small to be reduced is all zero.
void APTImagePyramid::MakeTile(int inLevel, int inTileColumn, int inTileRow) {
    Level& level = mLevels[static_cast<std::size_t>(inLevel)];
    const std::size_t channels = static_cast<std::size_t>(mChannels);
    const int left = inTileColumn * kTileWidth;
    const int right = std::min(left + kTileWidth, level.mWidth);
    const int top = inTileRow * kTileHeight;
    const int bottom = std::min(top + kTileHeight, level.mHeight);
    const bool isReduced =
        GetWidth(inLevel - 1) >= 3 && GetHeight(inLevel - 1) >= 3 && IsReducible(channels);
    constexpr int kRowsAhead = 2;  // the frame is far away
    const int innerLeft = std::max(left, 1);
    const int innerRight = std::min(right, level.mWidth - 1);

    for (int y = top; y < bottom; ++y) {
        float* const row = level.mOwned.get() + y * GetRowLength(inLevel);
        std::fill(row + left * mChannels, row + right * mChannels, 0.0f);
        if (!isReduced || y == 0 || y == level.mHeight - 1 || innerLeft >= innerRight) continue;
        const float* const source =
            GetBlock(inLevel - 1, 2 * innerLeft - 1, 2 * y, 2 * innerRight - 1, 2 * y);
        if (inLevel == 1 && y + kRowsAhead < bottom)
            IP::ReadAhead(source + 2 * kRowsAhead * GetRowLength(0),
                          2 * static_cast<std::size_t>(innerRight - innerLeft) * channels);
        ReduceRow(source - (2 * innerLeft - 1) * mChannels, channels,
                  static_cast<std::size_t>(innerLeft), static_cast<std::size_t>(innerRight),
                  row + innerLeft * mChannels);
    }
}

}  // namespace DP
