#include "GroundTiles.h"

#include <cmath>

namespace Host {
namespace {

constexpr std::int32_t kSide = 64;
// One place before a tile and two behind it, so that no blend needs a second tile.
constexpr std::int32_t kStored = kSide + 3;

}  // namespace

void GroundTiles::StartFrame() {
    ++mFrame;
    mLastTile = nullptr;
    std::erase_if(mTiles,
                  [this](const auto& inTile) { return inTile.second.mLastFrame + 1 < mFrame; });
}

void GroundTiles::Fill(Tile& outTile, std::int32_t inColumn, std::int32_t inRow) const {
    outTile.mSamples.resize(kStored * kStored);
    for (std::int32_t y = 0; y < kStored; ++y)
        for (std::int32_t x = 0; x < kStored; ++x) {
            const Colour colour =
                GroundTexture(inColumn * kSide + x - 1, inRow * kSide + y - 1, mSeed);
            outTile.mSamples[std::size_t(y * kStored + x)] =
                Sample{float(colour.mRed), float(colour.mGreen), float(colour.mBlue), 0.0f};
        }
}

const GroundTiles::Sample* GroundTiles::FindTile(std::int32_t inColumn, std::int32_t inRow) {
    if (mLastTile && inColumn == mLastColumn && inRow == mLastRow) return mLastTile;
    Tile& tile = mTiles[(std::uint64_t(std::uint32_t(inColumn)) << 32) | std::uint32_t(inRow)];
    if (tile.mSamples.empty()) Fill(tile, inColumn, inRow);
    tile.mLastFrame = mFrame;
    mLastColumn = inColumn;
    mLastRow = inRow;
    return mLastTile = tile.mSamples.data();
}

Colour GroundTiles::At(double inX, double inY) {
    const double left = std::floor(inX), top = std::floor(inY);
    const auto x = std::int32_t(left), y = std::int32_t(top);
    const std::int32_t column = x >> 6, row = y >> 6;  // kSide, rounded down
    const Sample* const corner =
        FindTile(column, row) + (y - row * kSide) * kStored + (x - column * kSide);
    const auto blend = [](float t, const Sample& a, const Sample& b, const Sample& c,
                          const Sample& d) {
        return (((-0.5f * t + 1.0f) * t - 0.5f) * t) * a +
               ((1.5f * t - 2.5f) * t * t + 1.0f) * b +
               (((-1.5f * t + 2.0f) * t + 0.5f) * t) * c + ((0.5f * t - 0.5f) * t * t) * d;
    };
    const float across = float(inX - left);
    Sample rows[4];
    for (int i = 0; i < 4; ++i) {
        const Sample* const p = corner + i * kStored;
        rows[i] = blend(across, p[0], p[1], p[2], p[3]);
    }
    const Sample colour = blend(float(inY - top), rows[0], rows[1], rows[2], rows[3]);
    return {double(colour[0]), double(colour[1]), double(colour[2])};
}

}  // namespace Host
