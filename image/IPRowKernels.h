// The inner loops over rows of float pixels, in one form per instruction set.
//
// All forms are compiled from one text (IPRowKernels.inc) and give the same bits: they put
// neighbouring outputs side by side and leave the order inside an output alone. Nothing
// here is a header with inline functions, since files with flags of their own include it.

#pragma once

namespace IP {

template <class Table>
class VectorTargets;

/// The two kernels of gradients, `mCount` taps each, last tap first in a sum.
struct GradientTaps {
    const float* mGauss;
    const float* mDerivative;
    int mCount;
};

/// One of the two derivatives while rows run by: the rows after the horizontal pass that lie
/// under the vertical kernel, the newest last, and the row that comes out.
struct GradientRows {
    float* const* mLines;
    float* mOut;
};

struct RowKernels {
    const char* mName;

    /// outSums[i] = 0 + taps[n - 1] * lines[0][i] + taps[n - 2] * lines[1][i] + ..., in this
    /// order, for `inCount` outputs. What the lines are makes the pass: one row and its
    /// shifts, or neighbouring rows. The output is none of the lines.
    void (*mWeightedSums)(const float* const* inLines, const float* inTaps, int inTapCount,
                          long long inCount, float* outSums);

    /// A row through both passes at once, for kernels of 5 or 7 taps: the loads of one pass
    /// overlap the sums of the other. The horizontal sums of `inSource`, which starts a radius
    /// before the first output, go to `inRows[n - 1]`, the newest of the n rows under the
    /// vertical kernel; the vertical sums over them go to `outSums`. A horizontal sum begins
    /// with its first product instead of 0 and may be -0 where `mWeightedSums` has 0; a
    /// vertical sum begins with 0 and comes out the same.
    ///
    /// @return  false, with nothing written, for other numbers of taps or of outputs.
    bool (*mBothSums)(const float* inSource, const float* inHorizontalTaps,
                      float* const* inRows, const float* inVerticalTaps, int inTapCount,
                      long long inCount, float* outSums);

    /// The same for two kernels of seven taps, the derivative along one axis and the Gaussian
    /// along the other, from one visit of the source: the lines of `inX` hold the derivatives
    /// along x, which are smoothed down, those of `inY` the smoothed rows, which are derived
    /// down.
    bool (*mBothGradients)(const float* inSource, const GradientTaps& inTaps, long long inCount,
                           const GradientRows& inX, const GradientRows& inY);

    /// outPhases[p][j] = inRow[j * inStep + p], for each phase below `inStep` that is not
    /// null, `inCount` of each.
    void (*mSplitPhases)(const float* inRow, int inStep, long long inCount,
                         float* const* outPhases);

    void (*mConvertBytes)(const unsigned char* inBytes, long long inCount, float* outFloats);
};

/// The forms; one that the build left out is not there.
/// @{
extern const RowKernels kRowKernelsPortable;
extern const RowKernels kRowKernelsAVX2;
extern const RowKernels kRowKernelsAVX512;
/// @}

/// Those that this machine can run, and the best of them, chosen on first use.
/// @{
const VectorTargets<RowKernels>& GetRowKernelTargets();
const RowKernels& GetRowKernels();
/// @}

}  // namespace IP
