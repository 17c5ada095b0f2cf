// Sums over patches, in the order that all forms of the loops share: element i is added to
// partial sum i mod 16, and the sixteen are folded in halves. A patch is `GetRows()` rows of
// `GetColumns()` pixels of `mChannels` interleaved floats; a block is a patch with zeros behind
// it up to whole lanes, so that a sum over a block needs no remainder.
//
// Matrices are square and stored by columns, of which the lower half is filled: the form that
// LAPACK's Cholesky factorisation reads.

#include "APT/APTPatchSums.h"

#include <algorithm>
#include <cmath>

#include "APT/APTPatchKernels.h"
#include "image/RoundedExp.h"

namespace DP {
namespace {

// sum over pixels of inTerm(index of the channel's float). With the stride known at compile
// time, one channel runs as vector code.
template <int kStride, class Term>
float SumStrided(int inPixels, Term inTerm) {
    float lanes[kAPTLanes] = {};
    int pixel = 0;
    for (; pixel + kAPTLanes <= inPixels; pixel += kAPTLanes)
        for (int lane = 0; lane < kAPTLanes; ++lane)
            lanes[lane] += inTerm((pixel + lane) * kStride);
    for (int lane = 0; pixel + lane < inPixels; ++lane)
        lanes[lane] += inTerm((pixel + lane) * kStride);
    return FoldLanes(lanes);
}

template <class Term>
float SumOverChannel(const APTPatchShape& inShape, Term inTerm) {
    switch (inShape.mChannels) {
        case 1:
            return SumStrided<1>(inShape.GetPixels(), inTerm);
        case 2:
            return SumStrided<2>(inShape.GetPixels(), inTerm);
        case 3:
            return SumStrided<3>(inShape.GetPixels(), inTerm);
        case 4:
            return SumStrided<4>(inShape.GetPixels(), inTerm);
        default:
            return 0.0f;
    }
}

}  // namespace

float BlockDot(const float* inA, const float* inB, const APTPatchShape& inShape) {
    return SumStrided<1>(inShape.GetBlockFloats(), [=](int i) { return inA[i] * inB[i]; });
}

float ChannelDot(const float* inA, const float* inB, const APTPatchShape& inShape,
                 int inChannel) {
    return SumOverChannel(inShape,
                          [=](int i) { return inA[i + inChannel] * inB[i + inChannel]; });
}

float ChannelSum(const float* inA, const APTPatchShape& inShape, int inChannel) {
    return SumOverChannel(inShape, [=](int i) { return inA[i + inChannel]; });
}

namespace {

// sum a, b, a a, b b, a b over one channel. A block of one channel has zeros behind the patch.
void CorrelationSums(const float* inA, const float* inB, const APTPatchShape& inShape,
                     int inChannel, float* outSums) {
    if (inShape.mChannels == 1) {
        GetAPTPatchKernels().mCorrelationSums(inA, inB, inShape.GetBlockFloats(), outSums);
        return;
    }
    outSums[0] = ChannelSum(inA, inShape, inChannel);
    outSums[1] = ChannelSum(inB, inShape, inChannel);
    outSums[2] = ChannelDot(inA, inA, inShape, inChannel);
    outSums[3] = ChannelDot(inB, inB, inShape, inChannel);
    outSums[4] = ChannelDot(inA, inB, inShape, inChannel);
}

}  // namespace

bool NormalisedCorrelation(const float* inA, const float* inB, const APTPatchShape& inShape,
                           float& outCorrelation) {
    if (!inShape.HasSupportedChannels()) return false;
    const float pixels = static_cast<float>(inShape.GetPixels());
    float total = 0.0f;
    for (int c = 0; c < inShape.mChannels; ++c) {
        float sums[5];
        CorrelationSums(inA, inB, inShape, c, sums);
        const auto [sumA, sumB, sumAA, sumBB, sumAB] = sums;
        const float varianceA = pixels * sumAA - sumA * sumA;
        const float varianceB = pixels * sumBB - sumB * sumB;
        if (varianceA == 0.0f || varianceB == 0.0f) continue;
        total += (pixels * sumAB - sumA * sumB) / std::sqrt(varianceB * varianceA);
    }
    outCorrelation = total / static_cast<float>(inShape.mChannels);
    return true;
}

// J'J of the Jacobian J whose columns are those of the motion, gradients times what a
// parameter moves, followed for each channel by the template (gain) and by ones (offset).
// Gradients are differences over two pixels, twice the slope: hence a factor of a half for each
// of them, 0.25 where two meet.
void FillNormalMatrix(const APTColumns& inColumns, const APTPatchShape& inShape,
                      float* outMatrix) {
    const int order = inColumns.GetOrder(inShape.mChannels);
    const int geometric = inColumns.mGeometricCount;
    std::fill_n(outMatrix, order * order, 0.0f);
    for (int j = 0; j < geometric; ++j)
        for (int i = j; i < geometric; ++i)
            outMatrix[j * order + i] =
                0.25f * BlockDot(inColumns.mGeometric[i], inColumns.mGeometric[j], inShape);
    if (!inColumns.mHasGain) return;
    for (int c = 0; c < inShape.mChannels; ++c) {
        const int gain = geometric + 2 * c;
        const int offset = gain + 1;
        for (int j = 0; j < geometric; ++j) {
            const float* const column = inColumns.mGeometric[j];
            outMatrix[j * order + gain] =
                0.5f * ChannelDot(column, inColumns.mTemplate, inShape, c);
            outMatrix[j * order + offset] = 0.5f * ChannelSum(column, inShape, c);
        }
        outMatrix[gain * order + gain] =
            ChannelDot(inColumns.mTemplate, inColumns.mTemplate, inShape, c);
        outMatrix[gain * order + offset] = ChannelSum(inColumns.mTemplate, inShape, c);
        outMatrix[offset * order + offset] = static_cast<float>(inShape.GetPixels());
    }
}

// J'r for the residual r, with the same halves.
void FillRightSide(const APTColumns& inColumns, const float* inResidual,
                   const APTPatchShape& inShape, float* outRightSide) {
    const int geometric = inColumns.mGeometricCount;
    for (int i = 0; i < geometric; ++i)
        outRightSide[i] = 0.5f * BlockDot(inResidual, inColumns.mGeometric[i], inShape);
    if (inColumns.mHasGain)
        FillGainRightSide(inColumns.mTemplate, inResidual, inShape, outRightSide + geometric);
}

void FillGainRightSide(const float* inTemplate, const float* inResidual,
                       const APTPatchShape& inShape, float* outRightSide) {
    for (int c = 0; c < inShape.mChannels; ++c) {
        outRightSide[2 * c] = ChannelDot(inTemplate, inResidual, inShape, c);
        outRightSide[2 * c + 1] = ChannelSum(inResidual, inShape, c);
    }
}

void FillGainResidual(const float* inTemplate, const float* inPatch, const float* inGains,
                      const APTPatchShape& inShape, float* outResidual) {
    const int channels = inShape.mChannels;
    for (int c = 0; c < channels; ++c) {
        const float gain = inGains[2 * c];
        const float offset = inGains[2 * c + 1];
        for (int i = c; i < inShape.GetFloats(); i += channels)
            outResidual[i] = inTemplate[i] - (gain * inPatch[i] + offset);
    }
}

void FillResidual(const float* inTemplate, const float* inPatch, const APTPatchShape& inShape,
                  float* outResidual) {
    for (int i = 0; i < inShape.GetFloats(); ++i)
        outResidual[i] = inTemplate[i] - inPatch[i];
}

// Composes the update (g, o) of a channel with its gain and offset, by the exponential: a gain
// stays positive whatever the step, and the offset is scaled with it.
bool UpdateGains(const float* inUpdate, float inGainTolerance, float inOffsetTolerance,
                 int inChannels, float* ioGains) {
    bool isSmall = true;
    for (int c = 0; c < inChannels; ++c) {
        const float gainUpdate = inUpdate[2 * c];
        const float offsetUpdate = inUpdate[2 * c + 1];
        const float factor = IP::RoundedExp(gainUpdate);
        ioGains[2 * c] = ioGains[2 * c] * factor;
        ioGains[2 * c + 1] = (ioGains[2 * c + 1] + offsetUpdate) * factor;
        if (std::abs(gainUpdate) >= inGainTolerance ||
            std::abs(offsetUpdate) >= inOffsetTolerance)
            isSmall = false;
    }
    return isSmall;
}

}  // namespace DP
