// The loops over a patch: every form that this machine can run gives the bits of the portable
// one, whose results the alignments are compared by.

#include "APT/APTPatchKernels.h"

#include "Support/Test.h"
#include "image/VectorTargets.h"

namespace {

using namespace Testing;
using Floats = std::vector<float>;

Floats Noise(int inCount, int inSeed) { return NoiseFrame(inCount, 1, inSeed); }

// What all loops of a form make of the same input, one after the other.
Floats Outputs(const DP::APTPatchKernels& inKernels, int inFloats, int inRows, int inChannels) {
    const Floats image = Noise(80 * 80, 7);
    Floats outputs;
    const auto keep = [&](const Floats& inBlock) {
        outputs.insert(outputs.end(), inBlock.begin(), inBlock.end());
    };
    const auto size = std::size_t(inFloats * inRows);
    // Behind a block stand guards that nothing may write.
    Floats block(size + 16, 5.0f);
    inKernels.mInterpolate({image.data() + 3, 80, inChannels, 0.3f, 0.7f}, {inFloats, inRows},
                           block.data());
    keep(block);
    Floats planes[3] = {block, block, block};
    inKernels.mDifferentiate(image.data(), {inFloats, inRows}, inChannels, planes[0].data(),
                             planes[1].data(), planes[2].data());
    for (const Floats& plane : planes)
        keep(plane);

    const int count = (inFloats * inRows + 15) / 16 * 16;
    const Floats a = Noise(count, 1), gx = Noise(count, 2), gy = Noise(count, 3);
    const Floats b = Noise(count, 4), dx = Noise(count, 5), dy = Noise(count, 6);
    const DP::APTTemplate level{a.data(), gx.data(), gy.data()};
    Floats sums(18);
    inKernels.mGradientSums(level, count, sums.data());
    inKernels.mTranslationSums(level, b.data(), count, sums.data() + 3);
    inKernels.mCorrelationSums(a.data(), b.data(), count, sums.data() + 5);
    inKernels.mWarpSums(level, {dx.data(), dy.data()}, b.data(), count, sums.data() + 10);
    keep(sums);

    const int pixels = inFloats * inRows / inChannels;
    Floats offsetsX((pixels + 15) / 16 * 16 + 0u), offsetsY(offsetsX.size());
    for (int i = 0; i < pixels; ++i) {
        offsetsX[std::size_t(i)] = float(i % 9 - 4);
        offsetsY[std::size_t(i)] = float(i / 9 % 9 - 4);
    }
    Floats patch(std::size_t(pixels * inChannels) + 16, 5.0f);
    inKernels.mSampleWarped({1.1f, 0.2f, -0.3f, 0.9f, 9.3f, 38.7f, 0.1f, -0.4f},
                            {offsetsX.data(), offsetsY.data()}, {image.data(), 80, inChannels},
                            pixels, patch.data());
    keep(patch);
    return outputs;
}

TEST(APTPatchKernels, EveryFormGivesTheBitsOfThePortableOne) {
    for (const auto* kernels : DP::GetAPTPatchKernelTargets().All())
        for (const int channels : {1, 2, 3, 4})
            for (const int columns : {1, 3, 4, 5, 7, 8, 9, 11, 15, 17})
                for (const int rows : {1, 2, 11}) {
                    const int floats = columns * channels;
                    const Floats expected =
                        Outputs(DP::kAPTPatchKernelsPortable, floats, rows, channels);
                    const Floats actual = Outputs(*kernels, floats, rows, channels);
                    ASSERT_EQ(std::memcmp(actual.data(), expected.data(),
                                          expected.size() * sizeof(float)),
                              0)
                        << kernels->mName << ", " << columns << "x" << rows << ", " << channels;
                }
}

TEST(APTPatchKernels, NothingIsWrittenBehindABlock) {
    const Floats outputs = Outputs(DP::GetAPTPatchKernels(), 11, 11, 1);
    for (const std::size_t end : {121u, 121u + 137u, 121u + 2u * 137u, 121u + 3u * 137u})
        for (std::size_t i = 0; i < 16; ++i)
            EXPECT_EQ(outputs[end + i], 5.0f) << end;
    for (std::size_t i = outputs.size() - 16; i < outputs.size(); ++i)
        EXPECT_EQ(outputs[i], 5.0f);
}

}  // namespace
