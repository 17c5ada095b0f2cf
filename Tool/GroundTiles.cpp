#include "GroundTiles.h"

namespace Host {
namespace {

constexpr std::int32_t kSide = 64;
// One place before a tile and two behind it, so that no blend needs a second tile.
constexpr std::int32_t kStored = kSide + 3;

// The library's own function is a call on processors of long ago, for which this is built.
std::int32_t RoundedDown(double inValue) {
    const auto truncated = std::int32_t(inValue);
    return truncated - (double(truncated) > inValue);
}

// What each of four neighbours counts, the second and third `inShare` apart.
GroundTiles::Sample CubicWeights(float inShare) {
    constexpr GroundTiles::Sample kCubic{-0.5f, 1.5f, -1.5f, 0.5f};
    constexpr GroundTiles::Sample kSquare{1.0f, -2.5f, 2.0f, -0.5f};
    constexpr GroundTiles::Sample kLinear{-0.5f, 0.0f, 0.5f, 0.0f};
    constexpr GroundTiles::Sample kConstant{0.0f, 1.0f, 0.0f, 0.0f};
    return ((kCubic * inShare + kSquare) * inShare + kLinear) * inShare + kConstant;
}

}  // namespace

void GroundTiles::StartFrame() {
    ++mFrame;
    mLastTile = nullptr;
    std::erase_if(mTiles,
                  [this](const auto& inTile) { return inTile.second.mLastFrame + 1 < mFrame; });
}

void GroundTiles::Fill(Tile& outTile, std::int32_t inColumn, std::int32_t inRow) const {
    const std::int32_t left = inColumn * kSide - 1, top = inRow * kSide - 1;
    std::vector<double> noise(kStored * kStored);
    FractalNoiseOfSquare(left, top, kStored, mSeed, noise.data());
    outTile.mSamples.resize(noise.size());
    for (std::size_t i = 0; i < noise.size(); ++i) {
        const Colour colour = GroundTexture(left + std::int32_t(i) % kStored,
                                            top + std::int32_t(i) / kStored, mSeed, noise[i]);
        outTile.mSamples[i] =
            Sample{float(colour.mBlue), float(colour.mGreen), float(colour.mRed), 0.0f};
    }
}

const GroundTiles::Sample* GroundTiles::FindTile(std::int32_t inColumn, std::int32_t inRow) {
    Tile& tile = mTiles[(std::uint64_t(std::uint32_t(inColumn)) << 32) | std::uint32_t(inRow)];
    if (tile.mSamples.empty()) Fill(tile, inColumn, inRow);
    tile.mLastFrame = mFrame;
    mLastColumn = inColumn;
    mLastRow = inRow;
    return mLastTile = tile.mSamples.data();
}

void GroundTiles::Row(const Point& inFirst, const Point& inStep, int inCount,
                      Sample* outColours) {
    for (int i = 0; i < inCount; ++i) {
        const double placeX = inFirst.mX + i * inStep.mX, placeY = inFirst.mY + i * inStep.mY;
        const std::int32_t x = RoundedDown(placeX), y = RoundedDown(placeY);
        const std::int32_t column = x >> 6, row = y >> 6;  // kSide, rounded down
        const Sample* corner =
            (mLastTile && column == mLastColumn && row == mLastRow ? mLastTile
                                                                   : FindTile(column, row)) +
            (y - row * kSide) * kStored + (x - column * kSide);
        const Sample across = CubicWeights(float(placeX - x));
        const Sample down = CubicWeights(float(placeY - y));
        Sample colour{};
        for (int line = 0; line < 4; ++line, corner += kStored)
            colour += down[line] * (across[0] * corner[0] + across[1] * corner[1] +
                                    across[2] * corner[2] + across[3] * corner[3]);
        outColours[i] = colour;
    }
}

}  // namespace Host
