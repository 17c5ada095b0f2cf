// One block of floats for all levels:
//
//     level 0: height x width x channels | level 1: half of each side, rounded up | ...
//
// Rows run from the top, channels are interleaved, and there are no gaps.

#include "ColourPyramid/ColourPyramidData.h"

#include <algorithm>
#include <memory>
#include <new>

#include "ColourPyramid/ReduceByTwo.h"
#include "TVK/Exception.h"

namespace DP {
namespace {

// From this level on every side is 1 pixel, or 0.
constexpr std::size_t kSmallestLevel = 32;

// Sizes come from a caller as they are: a product that wraps would be a block too small.
void AddProduct(std::size_t& ioSum, std::size_t inA, std::size_t inB, std::size_t inC) {
    std::size_t product = 0;
    if (__builtin_mul_overflow(inA, inB, &product) ||
        __builtin_mul_overflow(product, inC, &product) ||
        __builtin_add_overflow(ioSum, product, &ioSum) || ioSum > PTRDIFF_MAX / sizeof(float))
        throw std::bad_alloc();
}

}  // namespace

std::size_t ColourPyramidShape::LevelWidth(std::size_t inLevel) const {
    return LevelSide(mWidth, inLevel);
}

std::size_t ColourPyramidShape::LevelHeight(std::size_t inLevel) const {
    return LevelSide(mHeight, inLevel);
}

std::size_t ColourPyramidShape::FloatsBefore(std::size_t inLevel) const {
    std::size_t sum = 0;
    // Any number of levels may be asked for; those of 1 pixel are counted in one go.
    const std::size_t shrinking = std::min(inLevel, kSmallestLevel);
    for (std::size_t level = 0; level < shrinking; ++level)
        AddProduct(sum, mChannels, LevelWidth(level), LevelHeight(level));
    AddProduct(sum, inLevel - shrinking,
               LevelWidth(kSmallestLevel) * LevelHeight(kSmallestLevel), mChannels);
    return sum;
}

void ColourPyramidShape::BuildLevels(float* ioBlock, float* ioScratch) const {
    if (mLevelCount < 2 || FloatsBefore(1) == 0) return;
    float* source = ioBlock;
    for (std::size_t level = 0; level + 1 < mLevelCount; ++level) {
        const std::size_t width = LevelWidth(level);
        const std::size_t height = LevelHeight(level);
        float* const target = source + mChannels * width * height;
        ReduceByTwo(source, width, height, mChannels, target, ioScratch);
        source = target;
    }
}

ColourPyramidData::~ColourPyramidData() { delete[] mData; }

ColourPyramidData* ColourPyramidData::Create(std::uint32_t inWidth, std::uint32_t inHeight,
                                             std::uint32_t inLevels, std::uint32_t,
                                             std::uint32_t inChannels, const float* inPixels) {
    auto pyramid = std::make_unique<ColourPyramidData>();
    pyramid->InitPyramid(inWidth, inHeight, inChannels, inLevels);
    if (inLevels == 0) return pyramid.release();
    const std::size_t floats = pyramid->mShape.FloatsBefore(1);
    if (floats == 0) return pyramid.release();
    if (!inPixels) throw TVK::NullInterfaceException();
    const std::unique_ptr<float[]> scratch(new float[floats]());
    std::copy_n(inPixels, floats, pyramid->GetLevelData(0));
    pyramid->BuildLevels(scratch.get());
    return pyramid.release();
}

void ColourPyramidData::InitPyramid(std::uint32_t inWidth, std::uint32_t inHeight,
                                    std::uint32_t inChannels, std::uint32_t inLevels) {
    const ColourPyramidShape shape{inWidth, inHeight, inChannels, inLevels};
    // Cleared: some levels are never written.
    float* const data = new float[shape.TotalFloats()]();
    delete[] mData;
    mData = data;
    mShape = shape;
}

}  // namespace DP
