// APTPatchSums: sums over a patch, and the small systems that are made of them. Both
// solvers of the tracker, for translation and for the warp, stand on these.
//
// The order of a sum. Element i of a channel goes to partial sum i mod 16; the sixteen are
// then folded in halves, 8 onto 8, 4 onto 4 and so on. This order runs as vector code on
// every machine and gives the same bits on all of them, so it is kept to everywhere.
//
// Patches stand in blocks of floats that are filled up with zeros to a multiple of 16; the
// zeros add nothing.

#pragma once

#include <cstddef>

namespace DP {

inline constexpr int kAPTLanes = 16;
inline constexpr int kAPTMaxChannels = 4;
/// The warp's six and a gain and an offset for each channel.
inline constexpr int kAPTMaxParameters = 2 * kAPTMaxChannels + 6;

/// Size of a patch; the channels of a pixel stand side by side.
struct APTPatchShape {
    int mHalfWidth = 0;
    int mHalfHeight = 0;
    int mChannels = 0;

    int GetColumns() const { return 2 * mHalfWidth + 1; }
    int GetRows() const { return 2 * mHalfHeight + 1; }
    int GetPixels() const { return GetColumns() * GetRows(); }
    int GetFloats() const { return GetPixels() * mChannels; }
    /// Length of a block that holds a patch.
    int GetBlockFloats() const { return (GetFloats() + kAPTLanes - 1) / kAPTLanes * kAPTLanes; }
    bool operator==(const APTPatchShape&) const = default;
    bool HasSupportedChannels() const { return mChannels >= 1 && mChannels <= kAPTMaxChannels; }
};

/// Folds sixteen partial sums; the array is used up.
inline float FoldLanes(float* ioLanes) {
    for (int half = kAPTLanes / 2; half >= 1; half /= 2)
        for (int i = 0; i < half; ++i)
            ioLanes[i] += ioLanes[i + half];
    return ioLanes[0];
}

/// sum a b over all channels of two blocks.
float BlockDot(const float* inA, const float* inB, const APTPatchShape& inShape);

/// sum a b, and sum a, over one channel.
float ChannelDot(const float* inA, const float* inB, const APTPatchShape& inShape,
                 int inChannel);
float ChannelSum(const float* inA, const APTPatchShape& inShape, int inChannel);

/// The mean over the channels of the normalised correlation, a flat channel counting 0.
/// Rounding may carry it a little beyond 1; it is NaN where the pixels are not finite.
/// False, and nothing written, for a number of channels that is not supported.
bool NormalisedCorrelation(const float* inA, const float* inB, const APTPatchShape& inShape,
                           float& outCorrelation);

/// The columns that a linear system is made of: geometric ones, pooled over the channels,
/// given without the factor 1/2 of the gradients; and, with `mHasGain`, for each channel
/// the template and the constant 1.
struct APTColumns {
    const float* const* mGeometric = nullptr;
    int mGeometricCount = 0;
    const float* mTemplate = nullptr;
    bool mHasGain = false;

    int GetOrder(int inChannels) const {
        return mGeometricCount + (mHasGain ? 2 * inChannels : 0);
    }
};

/// The lower triangle of the normal matrix, stored by columns. Entries that join two
/// channels are 0; the upper triangle is too.
void FillNormalMatrix(const APTColumns& inColumns, const APTPatchShape& inShape,
                      float* outMatrix);

/// The right-hand side for a residual.
void FillRightSide(const APTColumns& inColumns, const float* inResidual,
                   const APTPatchShape& inShape, float* outRightSide);
/// The part of it for gain and offset of each channel.
void FillGainRightSide(const float* inTemplate, const float* inResidual,
                       const APTPatchShape& inShape, float* outRightSide);

/// r = T - (g I + o) for each channel; `inGains` holds g and o of channel 0, 1 and so on.
void FillGainResidual(const float* inTemplate, const float* inPatch, const float* inGains,
                      const APTPatchShape& inShape, float* outResidual);
/// r = T - I.
void FillResidual(const float* inTemplate, const float* inPatch, const APTPatchShape& inShape,
                  float* outResidual);

/// Takes over an update of gains and offsets, and says whether it was below both limits in
/// every channel. The gain is multiplied by exp(d), and the offset scaled with it: two
/// affine maps of intensity one after the other.
bool UpdateGains(const float* inUpdate, float inGainTolerance, float inOffsetTolerance,
                 int inChannels, float* ioGains);

}  // namespace DP
