// APTPatchKernels: the loops over the floats of a patch, in a form for each instruction set.
//
// Every form gives the same bits. Neighbouring floats are worked on side by side; a sum keeps
// the order of APTPatchSums.h, sixteen partial sums that are folded in halves. Nothing here
// is a header with inline functions, since files with flags of their own include it.

#pragma once

namespace IP {
template <class Table>
class VectorTargets;
}

namespace DP {

/// The planes of a template at one level: the patch and its gradients, each a block.
struct APTTemplate {
    const float* mTemplate;
    const float* mGradientX;
    const float* mGradientY;
};

/// What a block is interpolated from, with the same fractions for all of its pixels.
struct APTBlockSource {
    const float* mPixels;  // the block's first pixel; it has a row and a pixel more
    long long mRowLength;  // floats
    int mChannels;
    float mFractionX;
    float mFractionY;
};

/// The floats of a block row by row: `mFloats` to a row, channels side by side.
struct APTBlockSize {
    int mFloats;
    int mRows;
};

/// Offset (dx, dy) of a patch lies in the image at
///     x = (1 + a) dx + X + b dy + tx      y = c dx + Y + (1 + d) dy + ty
/// with each sum added up in this order.
struct APTWarp {
    float mA, mB, mC, mD;  // 1 + a, b, c, 1 + d
    float mX, mY;
    float mTX, mTY;
};

/// Offsets from the middle of a patch, one for each pixel or each float, filled up with zeros
/// like a block.
struct APTOffsets {
    const float* mDX;
    const float* mDY;
};

/// A level as the warp reads it: its first pixel, and where the next row is.
struct APTWarpSource {
    const float* mPixels;
    long long mRowLength;
    int mChannels;
};

/// `inCount` is the length of a block, a multiple of 16.
struct APTPatchKernels {
    const char* mName;

    /// s = (right - left) fx + left along each row, then (lower - upper) fy + upper.
    void (*mInterpolate)(const APTBlockSource& inSource, APTBlockSize inSize, float* outBlock);
    /// The three planes of a template from a block with a ring of one pixel around it, which
    /// is dropped: the inner part, and its differences over two pixels. `inSize` is that of
    /// the inner part.
    void (*mDifferentiate)(const float* inRing, APTBlockSize inSize, int inChannels,
                           float* outTemplate, float* outGradientX, float* outGradientY);
    /// sum gx gx, gx gy, gy gy.
    void (*mGradientSums)(const APTTemplate& inTemplate, int inCount, float* outSums);
    /// sum r gx, r gy with r = T - I.
    void (*mTranslationSums)(const APTTemplate& inTemplate, const float* inPatch, int inCount,
                             float* outSums);
    /// sum a, b, a a, b b, a b.
    void (*mCorrelationSums)(const float* inA, const float* inB, int inCount, float* outSums);
    /// sum r gx, r gy, r (dx gx), r (dy gx), r (dx gy), r (dy gy), T r, r.
    void (*mWarpSums)(const APTTemplate& inTemplate, const APTOffsets& inOffsets,
                      const float* inResidual, int inCount, float* outSums);
    /// Samples `inPixels` pixels at the places that the warp gives the offsets, all of which
    /// have a pixel to the right and below. Writes no float behind them.
    void (*mSampleWarped)(const APTWarp& inWarp, const APTOffsets& inOffsets,
                          const APTWarpSource& inSource, int inPixels, float* outPatch);
};

/// The forms, defined one by one in files with flags of their own.
extern const APTPatchKernels kAPTPatchKernelsPortable;
extern const APTPatchKernels kAPTPatchKernelsAVX2;
extern const APTPatchKernels kAPTPatchKernelsAVX512;

/// All that this machine can run.
const IP::VectorTargets<APTPatchKernels>& GetAPTPatchKernelTargets();
/// The widest.
const APTPatchKernels& GetAPTPatchKernels();

}  // namespace DP
