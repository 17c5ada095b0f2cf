// The inner loops of selection and tracking, in one form per instruction set.
//
// All forms are compiled from one text (KLTKernels.inc) and give the same bits. Nothing
// here is a header with inline functions, since files with flags of their own include it.

#pragma once

namespace IP {
template <class Table>
class VectorTargets;
}

namespace DP {

/// Pixels of one plane of a level, or of a block of it: row by row, `mStride` floats apart;
/// the first is pixel (`mFirstX`, `mFirstY`) of the level.
struct KLTPlane {
    const float* mPixels;
    long long mStride;
    long long mFirstX;
    long long mFirstY;
};

/// One level of a frame: the image and its derivatives along x and y. The level has `mCols`
/// columns; a plane that is a block has those that a window reads, and one more.
struct KLTPlanes {
    KLTPlane mPlanes[3];
    long long mCols;
};

/// The values of a small window in up to three planes. Eight floats a row, of which as many
/// as the window is wide are in use.
struct KLTSamples {
    static const int kMostColumns = 8;
    static const int kMostRows = 16;

    float mPlanes[3][kMostRows * kMostColumns];
};

/// The sums of a search's 2 by 2 system, of which d is the difference of the images and
/// (gx, gy) the sum of the gradients: gx gx, gx gy, gy gy, d gx, d gy.
struct KLTSystemSums {
    float mGxx, mGxy, mGyy, mEx, mEy;
};

/// Rows of the products of gradients gx gx, gx gy and gy gy, from the upper row downward.
struct KLTProductRows {
    const float* const* mXX;
    const float* const* mXY;
    const float* const* mYY;
};

struct KLTKernels {
    static const int kBlockColumns = 16;
    static const int kBlockRows = 13;
    static const int kBlockTaps = 7;

    const char* mName;

    /// The squares and the product of the gradients, pixel by pixel.
    void (*mProducts)(const float* inGradX, const float* inGradY, long long inCount,
                      float* outXX, float* outXY, float* outYY);

    /// The smaller eigenvalue of the gradient matrix (Shi and Tomasi's corner measure) of
    /// `inCount` neighbouring windows in each of `inOutRows` neighbouring rows. Each pointer
    /// leads to the upper left pixel of the first window of a row; there are `inHeight +
    /// inOutRows - 1` of each kind. A window's sums run row by row, from left to right.
    void (*mTrackability)(const KLTProductRows& inRows, int inWidth, int inHeight,
                          int inOutRows, long long inCount, float* const* outRows);

    /// Values without their fractions, and indices that count up. What no 32-bit integer can
    /// hold becomes -2^31. Returns whether none became that.
    bool (*mMakePoints)(const float* inValues, long long inCount, unsigned inFirstIndex,
                        int* outValues, unsigned* outIndices);

    /// The loop of a Hoare partition by falling values, for as long as at least `inLeast`
    /// points, and two blocks of 64, lie between its indices: `*ioI` rises to the next value
    /// that is not above the pivot, `*ioJ` falls to the next that is not below it, and the two
    /// points are swapped. A further call, or the plain loop, a point at a time, can go on
    /// from the indices that are left and gives the order that it would have given alone.
    void (*mPartitionBlocks)(int* ioValues, unsigned* ioIndices, int inPivot, long long inLeast,
                             long long* ioI, long long* ioJ);

    /// Bilinear values of a window around (`inX`, `inY`), which lies inside, in the first
    /// `inPlaneCount` planes. Returns false, and writes nothing of use, where it cannot:
    /// where rounding breaks the columns' step of one pixel, or where it would read behind a
    /// row's end.
    bool (*mSampleWindow)(const KLTPlanes& inPlanes, int inPlaneCount, float inX, float inY,
                          int inWidth, int inHeight, KLTSamples* outSamples);

    /// Gradients of `inRows` (at most 13) rows of 16 pixels by two kernels of seven taps:
    /// the derivative along an axis, whose middle tap is 0, and the Gaussian across it,
    /// horizontal pass first. Pixels are finite: they come from bytes, smoothed.
    /// `inPixels` starts three rows and columns before the block, rows `inStride` apart.
    void (*mBlockGradients)(const float* inPixels, long long inStride, const float* inGaussTaps,
                            const float* inDerivativeTaps, int inRows, float* outX,
                            float* outY);

    /// Row by row, one accumulator each.
    KLTSystemSums (*mSumWindows)(const KLTSamples& inFirst, const KLTSamples& inSecond,
                                 int inWidth, int inHeight);

    /// The sum of the absolute differences of the images.
    float (*mSumAbsDifference)(const KLTSamples& inFirst, const KLTSamples& inSecond,
                               int inWidth, int inHeight);
};

/// The forms; one that the build left out is not there.
/// @{
extern const KLTKernels kKLTKernelsPortable;
extern const KLTKernels kKLTKernelsAVX2;
extern const KLTKernels kKLTKernelsAVX512;
/// @}

/// Those that this machine can run, and the best of them, chosen on first use.
/// @{
const IP::VectorTargets<KLTKernels>& GetKLTKernelTargets();
const KLTKernels& GetKLTKernels();
/// @}

}  // namespace DP
