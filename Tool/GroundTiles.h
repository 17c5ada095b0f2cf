// GroundTiles: the ground of the rendered clip, computed once and looked up between pixels.

#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "Geometry.h"
#include "Texture.h"

namespace Host {

/// `GroundTexture` at whole places, in square tiles that are made when they are first seen;
/// between the places four by four of them are blended by cubics. The texture has nothing
/// finer than a few pixels, so what is looked up moves as exactly as what is computed.
///
/// Threads: one thread at a time.
class GroundTiles {
public:
    explicit GroundTiles(std::uint32_t inSeed) : mSeed(inSeed) {}

    /// Blue, green, red and nothing, 0 to 255.
    typedef float Sample __attribute__((vector_size(16)));

    /// The colours at places that follow each other in even steps.
    void Row(const Point& inFirst, const Point& inStep, int inCount, Sample* outColours);
    /// Drops tiles that were not looked at since the last call but one.
    void StartFrame();

private:
    struct Tile {
        std::vector<Sample> mSamples;
        long long mLastFrame = 0;
    };
    const Sample* FindTile(std::int32_t inColumn, std::int32_t inRow);
    void Fill(Tile& outTile, std::int32_t inColumn, std::int32_t inRow) const;

    std::uint32_t mSeed;
    std::unordered_map<std::uint64_t, Tile> mTiles;
    long long mFrame = 0;
    std::int32_t mLastColumn = 0, mLastRow = 0;  // of the tile that was used last
    const Sample* mLastTile = nullptr;
};

}  // namespace Host
