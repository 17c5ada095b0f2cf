// The inner loops of selection over rows of pixels, in one form per instruction set.
//
// All forms are compiled from one text (KLTRowKernels.inc) and give the same bits. Nothing
// here is a header with inline functions, since files with flags of their own include it.

#pragma once

namespace DP {

struct KLTRowKernels {
    const char* mName;

    /// The squares and the product of the gradients, pixel by pixel.
    void (*mProducts)(const float* inGradX, const float* inGradY, long inCount, float* outXX,
                      float* outXY, float* outYY);

    /// Trackability of `inCount` neighbouring windows in each of `inOutRows` neighbouring
    /// rows. Each pointer leads to the upper left pixel of the first window of a row; there
    /// are `inHeight + inOutRows - 1` of each kind. A window's sums run row by row, from
    /// left to right.
    void (*mTrackability)(const float* const* inXX, const float* const* inXY,
                          const float* const* inYY, int inWidth, int inHeight, int inOutRows,
                          long inCount, float* const* outRows);

    /// Pairs of a value without its fraction and an index that counts up. What no 32-bit
    /// integer can hold becomes -2^31.
    void (*mMakePoints)(const float* inValues, long inCount, unsigned inFirstIndex,
                        int* outPairs);
};

/// The forms that this machine can run, the portable one first, the best last.
const KLTRowKernels* const* GetKLTRowKernelTargets(int& outCount);

/// The best one, chosen on first use.
const KLTRowKernels& GetKLTRowKernels();

}  // namespace DP
