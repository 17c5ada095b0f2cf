#include "ColourPyramid/ReduceByTwo.h"

#include <algorithm>

namespace DP {
namespace {

// Output k is the mean of pixels 2k - 1, 2k (twice) and 2k + 1: the kernel (1, 2, 1) / 4 along
// x, and every second column of it. Rows are thinned out without a filter. With the channels
// known the loop becomes vector code.
template <std::size_t kChannels>
void ReduceRowOf(const float* inRow, std::size_t inBegin, std::size_t inEnd, float* outPixels) {
    const float* source = inRow + 2 * inBegin * kChannels;
    for (std::size_t k = inBegin; k < inEnd; ++k, source += 2 * kChannels)
        for (std::size_t c = 0; c < kChannels; ++c) {
            // The order of the sum is part of the result.
            const float middle = source[c];
            const float before =
                source[static_cast<std::ptrdiff_t>(c) - static_cast<std::ptrdiff_t>(kChannels)];
            const float after = source[c + kChannels];
            *outPixels++ = (((middle + before) + middle) + after) * 0.25f;
        }
}

typedef float Lanes __attribute__((vector_size(4 * sizeof(float))));
constexpr std::size_t kLanes = 4;

Lanes Load(const float* inFloats) {
    Lanes lanes;
    __builtin_memcpy(&lanes, inFloats, sizeof(lanes));
    return lanes;
}

// One channel, four pixels side by side: the pixel behind one is the pixel before the next.
template <>
void ReduceRowOf<1>(const float* inRow, std::size_t inBegin, std::size_t inEnd,
                    float* outPixels) {
    std::size_t k = inBegin;
    for (; k + kLanes <= inEnd; k += kLanes, outPixels += kLanes) {
        const float* const source = inRow + 2 * k;
        const Lanes low = Load(source);
        const Lanes high = Load(source + kLanes);
        const Lanes middle = __builtin_shufflevector(low, high, 0, 2, 4, 6);
        const Lanes after = __builtin_shufflevector(low, high, 1, 3, 5, 7);
        const Lanes before =
            __builtin_shufflevector(Load(source - 1), Load(source + kLanes - 1), 0, 2, 4, 6);
        const Lanes sum = (((middle + before) + middle) + after) * 0.25f;
        __builtin_memcpy(outPixels, &sum, sizeof(sum));
    }
    for (; k < inEnd; ++k) {
        const float* const source = inRow + 2 * k;
        *outPixels++ = (((source[0] + source[-1]) + source[0]) + source[1]) * 0.25f;
    }
}

}  // namespace

void ReduceRow(const float* inRow, std::size_t inChannels, std::size_t inBegin,
               std::size_t inEnd, float* outPixels) {
    switch (inChannels) {
        case 1:
            return ReduceRowOf<1>(inRow, inBegin, inEnd, outPixels);
        case 3:
            return ReduceRowOf<3>(inRow, inBegin, inEnd, outPixels);
        case 4:
            return ReduceRowOf<4>(inRow, inBegin, inEnd, outPixels);
        default:
            return;
    }
}

void ReduceByTwo(const float* inSource, std::size_t inWidth, std::size_t inHeight,
                 std::size_t inChannels, float* outTarget, float* ioScratch) {
    const std::size_t width = (inWidth + 1) / 2;
    const std::size_t height = (inHeight + 1) / 2;
    const std::size_t row = width * inChannels;
    if (inWidth < 3 || inHeight < 3) {
        std::fill_n(outTarget, row, 0.0f);
        return;
    }

    // Each row is filtered along x into the scratch, which has `height` rows of `inner` floats;
    // then every second one becomes a row of the target. There is no filter down.
    const std::size_t inner = (width - 2) * inChannels;
    for (std::size_t y = 0; y < inHeight; ++y)
        ReduceRow(inSource + y * inWidth * inChannels, inChannels, 1, width - 1,
                  ioScratch + y * inner);

    std::fill_n(outTarget, row, 0.0f);
    for (std::size_t j = 1; j + 1 < height; ++j) {
        float* const target = outTarget + j * row;
        std::fill_n(target, inChannels, 0.0f);
        std::copy_n(ioScratch + 2 * j * inner, inner, target + inChannels);
        std::fill_n(target + inChannels + inner, inChannels, 0.0f);
    }
    std::fill_n(outTarget + (height - 1) * row, row, 0.0f);
}

}  // namespace DP
