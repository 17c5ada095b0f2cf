// ColourPyramidData: one frame at halved resolutions, all levels in one block of floats.
//
//     [ level 0: w x h ][ level 1: w/2 x h/2 ][ level 2 ]...      sides rounded up
//
// The channels of a pixel stand side by side, rows and levels follow without gaps. Levels
// from 1 on have a frame of zeros one pixel wide; see ReduceByTwo.h.

#pragma once

#include <cstddef>
#include <cstdint>

namespace DP {

/// Sizes and places of the levels. Shared by the plain pyramid and the descriptor.
struct ColourPyramidShape {
    std::uint32_t mWidth = 0;
    std::uint32_t mHeight = 0;
    std::uint32_t mChannels = 0;
    std::uint32_t mLevelCount = 0;

    std::size_t LevelWidth(std::size_t inLevel) const;
    std::size_t LevelHeight(std::size_t inLevel) const;

    /// Floats in front of a level; with the level count, floats of the whole block.
    /// @throws std::bad_alloc where the number is beyond every memory.
    std::size_t FloatsBefore(std::size_t inLevel) const;
    std::size_t TotalFloats() const { return FloatsBefore(mLevelCount); }

    /// Fills the levels from 1 on, in `ioBlock`, from level 0. `ioScratch` holds as many
    /// floats as level 0.
    void BuildLevels(float* ioBlock, float* ioScratch) const;
};

/// Ownership: owns its block; made by `Create` or filled by hand after `InitPyramid`.
/// Threads: one thread fills it, any number may read.
/// Errors: no memory throws std::bad_alloc, and null pixels where there should be some
///   TVK::NullInterfaceException.
class ColourPyramidData {
public:
    ColourPyramidData() = default;
    virtual ~ColourPyramidData();
    ColourPyramidData(const ColourPyramidData&) = delete;
    ColourPyramidData& operator=(const ColourPyramidData&) = delete;

    /// A whole pyramid of an image. The caller owns it. `inUnused` is not read.
    static ColourPyramidData* Create(std::uint32_t inWidth, std::uint32_t inHeight,
                                     std::uint32_t inLevels, std::uint32_t inUnused,
                                     std::uint32_t inChannels, const float* inPixels);

    /// A second call replaces the block. It is cleared: a level that nothing fills reads 0.
    void InitPyramid(std::uint32_t inWidth, std::uint32_t inHeight, std::uint32_t inChannels,
                     std::uint32_t inLevels);

    float* GetLevelData(std::size_t inLevel) { return mData + mShape.FloatsBefore(inLevel); }
    const float* GetLevelData(std::size_t inLevel) const {
        return mData + mShape.FloatsBefore(inLevel);
    }
    void BuildLevels(float* inScratch) { mShape.BuildLevels(mData, inScratch); }
    std::size_t GetByteSize() const { return mShape.TotalFloats() * sizeof(float); }
    const ColourPyramidShape& GetShape() const { return mShape; }

private:
    ColourPyramidShape mShape;
    float* mData = nullptr;
};

}  // namespace DP
