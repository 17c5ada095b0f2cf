// The colour pyramid: sizes, the filter with its frame of zeros, and the descriptor.

#include "ColourPyramid/ColourPyramidData.h"
#include "ColourPyramid/ColourPyramidDescriptorData.h"
#include "ColourPyramid/ColourPyramidDescriptorDataKey.h"
#include "ColourPyramid/ColourPyramidDescriptorWorkerItem.h"
#include "ColourPyramid/ReduceByTwo.h"
#include "Support/Test.h"
#include "TVK/Exception.h"
#include "TVK/MemoryRecycler.h"

namespace {

using namespace DP;
using namespace Testing;

std::unique_ptr<ColourPyramidData> Whole(std::uint32_t inWidth, std::uint32_t inHeight,
                                         std::uint32_t inLevels, std::uint32_t inChannels,
                                         const std::vector<float>& inPixels) {
    return std::unique_ptr<ColourPyramidData>(
        ColourPyramidData::Create(inWidth, inHeight, inLevels, 2, inChannels, inPixels.data()));
}

std::vector<float> Floats(std::size_t inCount) { return NoiseFrame(int(inCount), 1, 4); }

TEST(ColourPyramidShape, SidesAreHalvedAndRoundedUp) {
    const ColourPyramidShape shape{5, 9, 3, 5};
    const std::size_t widths[] = {5, 3, 2, 1, 1};
    const std::size_t heights[] = {9, 5, 3, 2, 1};
    std::size_t before = 0;
    for (std::size_t level = 0; level < 5; ++level) {
        EXPECT_EQ(shape.LevelWidth(level), widths[level]);
        EXPECT_EQ(shape.LevelHeight(level), heights[level]);
        EXPECT_EQ(shape.FloatsBefore(level), before);
        before += 3 * widths[level] * heights[level];
    }
    EXPECT_EQ(shape.TotalFloats(), before);
}

TEST(ColourPyramidShape, NumbersBeyondEveryMemoryThrowAndManyLevelsAreCountedAtOnce) {
    EXPECT_THROW((ColourPyramidShape{UINT32_MAX, UINT32_MAX, UINT32_MAX, 1}.TotalFloats()),
                 std::bad_alloc);
    constexpr std::uint32_t kHalf = 1u << 31;  // 2^62 floats have a number, but no address
    EXPECT_THROW((ColourPyramidShape{kHalf, kHalf, 1, 1}.TotalFloats()), std::bad_alloc);
    EXPECT_EQ((ColourPyramidShape{1, 1, 2, UINT32_MAX}.TotalFloats()),
              std::size_t{2} * UINT32_MAX);
    EXPECT_EQ((ColourPyramidShape{0, 7, 1, UINT32_MAX}.TotalFloats()), 0u);
}

// The rule, pixel by pixel, for the channel counts that have a filter.
TEST(ReduceByTwo, FiltersAlongXTakesEverySecondRowAndFramesWithZeros) {
    for (const std::uint32_t channels : {1u, 3u, 4u})
        for (std::uint32_t width = 3; width < 40; width += 3)
            for (const std::uint32_t height : {3u, 4u, 9u, 16u}) {
                const auto pixels = Floats(std::size_t{width} * height * channels);
                const auto pyramid = Whole(width, height, 2, channels, pixels);
                const std::uint32_t w = (width + 1) / 2;
                const std::uint32_t h = (height + 1) / 2;
                const float* actual = pyramid->GetLevelData(1);
                for (std::uint32_t y = 0; y < h; ++y)
                    for (std::uint32_t x = 0; x < w; ++x)
                        for (std::uint32_t c = 0; c < channels; ++c, ++actual) {
                            float expected = 0.0f;
                            if (x > 0 && y > 0 && x + 1 < w && y + 1 < h) {
                                const float* const at =
                                    &pixels[(2 * y * width + 2 * x) * channels + c];
                                expected = at[0] + *(at - channels);
                                expected += at[0];
                                expected += at[channels];
                                expected *= 0.25f;
                            }
                            ASSERT_EQ(*actual, expected) << x << ", " << y << ", " << c;
                        }
            }
}

// Near 1e8 a sum is a multiple of 8, so that the order shows.
TEST(ReduceByTwo, TheOrderOfASumIsMiddleBeforeMiddleAfter) {
    std::vector<float> pixels(25, 1000.0f);
    pixels[11] = -1e8f;  // row 2
    pixels[12] = 3.0f;
    pixels[13] = 1e8f;
    // Each 3 alone is lost; 3 + 3 first would leave 8.
    EXPECT_EQ(Whole(5, 5, 2, 1, pixels)->GetLevelData(1)[4], 0.0f);
    pixels[11] = 2.0f;
    // 3 + 2 + 3 are 8 and stay; behind 1e8 each would be lost.
    EXPECT_EQ(Whole(5, 5, 2, 1, pixels)->GetLevelData(1)[4], 25000002.0f);
}

TEST(ReduceByTwo, ASmallSourceWritesTheFirstRowAndLeavesTheOthers) {
    const auto pixels = Floats(2 * 6);
    std::vector<float> target(3, 7.0f);
    ReduceByTwo(pixels.data(), 2, 6, 1, target.data(), nullptr);
    EXPECT_EQ(target, (std::vector<float>{0.0f, 7.0f, 7.0f}));
    float scratch[3];
    target.assign(4, 7.0f);
    ReduceByTwo(pixels.data(), 3, 3, 1, target.data(), scratch);
    EXPECT_EQ(target, std::vector<float>(4, 0.0f)) << "large enough to be written as a whole";
}

TEST(ColourPyramidData, LevelsThatNothingFillsReadZero) {
    const auto twoChannels = Whole(8, 8, 3, 2, Floats(128));
    for (std::size_t i = 128; i < twoChannels->GetShape().TotalFloats(); ++i)
        EXPECT_EQ(twoChannels->GetLevelData(0)[i], 0.0f);
    const auto narrow = Whole(2, 9, 3, 1, Floats(18));
    for (std::size_t i = 18; i < narrow->GetShape().TotalFloats(); ++i)
        EXPECT_EQ(narrow->GetLevelData(0)[i], 0.0f);
}

TEST(ColourPyramidData, NoLevelsAndNoPixelsAreServed) {
    EXPECT_EQ(Whole(8, 8, 0, 1, Floats(64))->GetByteSize(), 0u);
    EXPECT_EQ(Whole(0, 0, 3, 1, {})->GetByteSize(), 0u);
    EXPECT_EQ(Whole(1, 1, 3, 1, {2.0f})->GetByteSize(), 12u);
}

TEST(ColourPyramidData, NullPixelsThrowAndASecondInitReplacesTheBlock) {
    EXPECT_THROW(ColourPyramidData::Create(3, 3, 1, 0, 1, nullptr),
                 TVK::NullInterfaceException);
    ColourPyramidData data;
    data.InitPyramid(4, 4, 1, 1);
    data.GetLevelData(0)[0] = 5.0f;
    data.InitPyramid(8, 2, 3, 1);  // the first block would be reported as a leak
    EXPECT_EQ(data.GetByteSize(), 192u);
    EXPECT_EQ(data.GetLevelData(0)[0], 0.0f);
}

// ---- The descriptor ------------------------------------------------------------------

Ref<IDescriptorData> Compute(const Ref<IDescriptorDataKey>& inKey, const float* inPixels) {
    const Ref<ColourPyramidDescriptorWorkerItem> item(
        CreateDescriptorWorkerItem(kDescriptorDataTypeColourPyramid));
    item->SetDataKey(inKey);
    item->SetCurrImage(inPixels);
    return item->ComputeData();
}

Ref<IDescriptorDataKey> Key(int inRows, int inCols, unsigned int inLevels,
                            unsigned int inChannels) {
    return CreateColourPyramidDescriptorDataKey(Wide("clip"), 1, inRows, inCols, 0, inLevels,
                                                inChannels);
}

TEST(ColourPyramidDescriptor, HoldsTheLevelsOfThePlainPyramid) {
    for (const auto& [cols, channels] :
         {std::pair{33, 1u}, {33, 2u}, {33, 3u}, {33, 4u}, {33, 5u}, {2, 1u}}) {
        const auto pixels = Floats(std::size_t(cols) * 21 * channels);
        const auto plain = Whole(std::uint32_t(cols), 21, 4, channels, pixels);
        const auto recycler = TVK::MemoryRecycler::Instance();
        auto block = recycler->AllocateBuffer(std::int64_t(plain->GetByteSize()));
        std::memset(block.mBlock, 0x7f, plain->GetByteSize());  // what the next one gets
        recycler->RecycleBuffer(block);
        const Ref<ColourPyramidDescriptorData> data(
            Compute(Key(21, cols, 4, channels), pixels.data()));
        ASSERT_TRUE(data != NULL);
        ASSERT_EQ(data->GetDataSize(), plain->GetByteSize());
        for (std::size_t i = 0; i < plain->GetShape().TotalFloats(); ++i)
            ASSERT_EQ(data->GetLevelData(0)[i], plain->GetLevelData(0)[i]) << channels;
        EXPECT_TRUE(data->CloneData() == NULL);
    }
}

TEST(ColourPyramidDescriptor, ASecondInitGivesTheFirstBlockBack) {
    const auto recycler = TVK::MemoryRecycler::Instance();
    const std::size_t before = recycler->GetUsedBytes();
    {
        const auto data = ColourPyramidDescriptorData::Create();
        data->InitPyramid(40, 40, 3, 2);
        data->InitPyramid(8, 2, 3, 1);
        EXPECT_EQ(data->GetDataSize(), 192u);
    }
    EXPECT_EQ(recycler->GetUsedBytes(), before);
}

TEST(ColourPyramidDescriptor, BadKeysThrowAndANullFrameGivesNull) {
    const auto pixels = Floats(48);
    EXPECT_THROW(Compute(nullptr, pixels.data()), TVK::NullInterfaceException);
    EXPECT_THROW(Compute(CreateDescriptorDataKey(Wide("clip"), 1, 4, 4), pixels.data()),
                 TVK::NullInterfaceException);
    EXPECT_TRUE(Compute(Key(4, 4, 2, 3), nullptr) == NULL);
    EXPECT_THROW(Compute(Key(-1, -1, 1, 4), pixels.data()), std::bad_alloc);
}

}  // namespace
