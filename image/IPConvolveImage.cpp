// Separable convolution of float images.
//
// A pass works along one axis; two passes through a temporary make the whole. A pass
// never reads beyond the image. Where the kernel would, it writes an exact 0:
//
//     0 0 0 | s s s s ... s s | 0 0 0        one row, kernel width 7, radius 3
//
// so a smoothed image carries a frame of zeros one radius wide, and the trackers keep
// their points out of it. Every output pixel is written: an image fresh from the
// recycler holds old pixels and needs no clearing.
//
// Sums. The products of one pixel are added one after the other in single precision, from
// the last tap to the first, starting at 0. Both passes are sums of lines: the horizontal
// one of a row and its shifts, the vertical one of neighbouring rows; the row kernels put
// neighbouring outputs side by side and leave the order inside a sum alone.
//
// Memory. The two passes run together, so that the rows under the vertical kernel stay in
// the caches near by, with narrow kernels even vector by vector: then the memory is never
// idle. Very wide images go in tiles of columns:
//
//     image  ->  row of the tile, horizontal pass  ->  ring of the last rows
//                                                        -> vertical pass -> output row

#include "image/IPConvolveImage.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <deque>
#include <span>
#include <vector>

#include "TVK/ContractCheck.h"
#include "image/IPRowKernels.h"
#include "image/Interruption.h"
#include "image/PixelOps.h"
#include "image/RecycledArray.h"
#include "image/RoundedExp.h"

namespace IP {
namespace {

// ---- Kernels -------------------------------------------------------------------------

constexpr int kHalf = MAX_KERNEL_WIDTH / 2;
constexpr float kCutOff = 0.01f;  // of the peak

// The width that is left when the tails below the cut-off are taken away, two taps at a
// time. A derivative whose taps all lie below it (a sigma that is tiny or negative) comes
// out at a width below 1.
int WidthAboveCutOff(const float* inTaps, float inPeak) {
    int width = MAX_KERNEL_WIDTH;
    for (int i = 0; i < MAX_KERNEL_WIDTH && std::abs(inTaps[i]) / inPeak < kCutOff; ++i)
        width -= 2;
    return width;
}

// Moves the taps from `inShift` on to the front; behind the array there are zeros. A kernel
// without taps becomes a single 0. Returns whether there is something to normalise.
bool MoveToFront(const float* inTaps, int inShift, int inWidth, ConvolutionKernel& outKernel) {
    outKernel = {};
    if (inWidth < 1) return false;
    outKernel.mWidth = inWidth;
    const int count = std::min(inWidth, MAX_KERNEL_WIDTH - inShift);
    std::copy(inTaps + inShift, inTaps + inShift + count, outKernel.mTaps);
    return true;
}

void DivideBy(float inDivisor, ConvolutionKernel& ioKernel) {
    for (int tap = 0; tap < ioKernel.mWidth; ++tap)
        ioKernel.mTaps[tap] /= inDivisor;
}

}  // namespace

// Taps are cut off where they fall below a hundredth of their peak. Both kernels are moved by
// the shift of the Gaussian: where the widths differ, the derivative stands off centre by
// half the difference.
void ComputeKernels(float inSigma, ConvolutionKernel& outGauss,
                    ConvolutionKernel& outGaussDeriv) {
    float gauss[MAX_KERNEL_WIDTH];
    float deriv[MAX_KERNEL_WIDTH];
    const float denominator = 2.0f * inSigma * inSigma;
    for (int i = -kHalf; i <= kHalf; ++i) {
        gauss[i + kHalf] = RoundedExp(static_cast<float>(-(i * i)) / denominator);
        deriv[i + kHalf] = static_cast<float>(-i) * gauss[i + kHalf];
    }

    const int gaussWidth = WidthAboveCutOff(gauss, 1.0f);
    const int derivWidth = WidthAboveCutOff(deriv, inSigma * RoundedExp(-0.5f));
    if (gaussWidth == MAX_KERNEL_WIDTH || derivWidth == MAX_KERNEL_WIDTH)
        AssertWithMessage(
            "IP::`anonymous-namespace'::ComputeKernels",
            "(ComputeKernels) MAX_KERNEL_WIDTH %d is too small for a inSigma of %f");

    const int shift = (MAX_KERNEL_WIDTH - gaussWidth) / 2;
    if (MoveToFront(gauss, shift, gaussWidth, outGauss)) {
        float sum = 0.0f;
        for (int tap = 0; tap < outGauss.mWidth; ++tap)
            sum += outGauss.mTaps[tap];
        DivideBy(sum, outGauss);
    }
    if (MoveToFront(deriv, shift, derivWidth, outGaussDeriv)) {
        float sum = 0.0f;
        for (int i = -outGaussDeriv.Radius(); i <= outGaussDeriv.Radius(); ++i)
            sum -= static_cast<float>(i) * outGaussDeriv.mTaps[i + outGaussDeriv.Radius()];
        DivideBy(sum, outGaussDeriv);
    }
}

namespace {

// ---- Rows ----------------------------------------------------------------------------

// The part of a line that a kernel can be laid on; empty where the line is too short.
struct Interior {
    Interior(int inRadius, int inSize, int inFirst, int inEnd)
        : mFirst(std::clamp(inRadius, inFirst, inEnd)),
          mEnd(std::clamp(inSize - inRadius, mFirst, inEnd)) {}
    int mFirst;
    int mEnd;
};

// The horizontal pass over the columns from `inFirst` up to, and without, `inEnd` of a row
// of `inCols` pixels. Writes from `outRow` on.
void ConvolveRow(const RowKernels& inKernels, const float* inRow, int inCols, int inFirst,
                 int inEnd, const ConvolutionKernel& inKernel, float* outRow) {
    const int radius = inKernel.Radius();
    const Interior interior(radius, inCols, inFirst, inEnd);
    const float* lines[MAX_KERNEL_WIDTH];
    std::fill(outRow, outRow + (interior.mFirst - inFirst), 0.0f);
    if (interior.mFirst < interior.mEnd) {
        for (int m = 0; m < inKernel.mWidth; ++m)
            lines[m] = inRow + (interior.mFirst - radius + m);
        inKernels.mWeightedSums(lines, inKernel.mTaps, inKernel.mWidth,
                                interior.mEnd - interior.mFirst,
                                outRow + (interior.mFirst - inFirst));
    }
    std::fill(outRow + (interior.mEnd - inFirst), outRow + (inEnd - inFirst), 0.0f);
}

// The last rows of a horizontal pass, as many as the vertical kernel is high.
class RowRing {
public:
    RowRing(int inHeight, int inCols)
        : mHeight(inHeight),
          mCols((std::ptrdiff_t{inCols} + kBoundary - 1) / kBoundary * kBoundary),
          mPixels(static_cast<std::size_t>(inHeight) * static_cast<std::size_t>(mCols)) {}

    float* Row(int inY) { return mPixels.begin() + std::ptrdiff_t{inY % mHeight} * mCols; }

    // The vertical pass over the rows that end with `inLastY`, all of them in the ring.
    void ConvolveColumns(const RowKernels& inKernels, const ConvolutionKernel& inKernel,
                         int inLastY, int inCount, float* outRow) {
        float* lines[MAX_KERNEL_WIDTH];
        GetLines(inLastY, 0, lines);
        inKernels.mWeightedSums(lines, inKernel.mTaps, mHeight, inCount, outRow);
    }

    // The rows that end with `inLastY`, from column `inFirst` on.
    void GetLines(int inLastY, int inFirst, float** outLines) {
        const int first = (inLastY + 1) % mHeight;
        for (int m = 0; m < mHeight; ++m)
            outLines[m] = mPixels.begin() +
                          (first + m - (first + m < mHeight ? 0 : mHeight)) * mCols + inFirst;
    }

private:
    static constexpr std::ptrdiff_t kBoundary = 16;  // every row starts a line of the cache

    int mHeight;
    std::ptrdiff_t mCols;
    RecycledArray<float> mPixels;
};

// ---- Both passes together ------------------------------------------------------------

// Whether the vertical pass over columns of zeros gives zeros.
bool KeepsZeros(const ConvolutionKernel& inKernel) {
    return std::all_of(inKernel.mTaps, inKernel.mTaps + inKernel.mWidth,
                       [](float inTap) { return std::isfinite(inTap); });
}

struct SeparableJob {
    const ConvolutionKernel& mHorizontal;
    const ConvolutionKernel& mVertical;
    float* mOut;
    bool mKeepsZeros = KeepsZeros(mVertical);
};

struct Tile {
    int mFirst;
    int mEnd;
    int Width() const { return mEnd - mFirst; }
};

// A picture on its way through both passes, a tile of columns at a time.
struct Passes {
    const RowKernels& mKernels;
    std::span<const SeparableJob> mJobs;
    int mCols;
    int mRows;
    std::deque<RowRing> mRings{};  // of each job

    float* OutRow(std::size_t inJob, int inY, const Tile& inTile) const {
        return mJobs[inJob].mOut + std::ptrdiff_t{inY} * mCols + inTile.mFirst;
    }
};

// Whole rows where the rings then fit into half of the second cache: what reads ahead in
// memory likes long rows.
int TileWidth(std::span<const SeparableJob> inJobs, int inCols) {
    constexpr int kFloats = 49152;
    constexpr int kGrain = 64;
    int rows = 0;
    for (const SeparableJob& job : inJobs)
        rows += job.mVertical.mWidth;
    return std::min(std::max(kFloats / rows / kGrain, 1) * kGrain, std::max(inCols, 1));
}

// The columns of a tile that a horizontal kernel can be laid on, counted from its first one.
struct TileInterior {
    TileInterior(const ConvolutionKernel& inHorizontal, int inCols, const Tile& inTile) {
        const Interior interior(inHorizontal.Radius(), inCols, inTile.mFirst, inTile.mEnd);
        mFirst = interior.mFirst - inTile.mFirst;
        mEnd = interior.mEnd - inTile.mFirst;
    }
    void ZeroOutside(const Tile& inTile, float* outRow) const {
        std::fill(outRow, outRow + mFirst, 0.0f);
        std::fill(outRow + mEnd, outRow + inTile.Width(), 0.0f);
    }
    int mFirst;
    int mEnd;
};

// Both passes over row y at once, where the kernels are of one width for which that is
// worth while.
bool RunBothPasses(Passes& ioPasses, std::size_t inJob, const float* inRow, const Tile& inTile,
                   int inY, float* outRow) {
    const SeparableJob& job = ioPasses.mJobs[inJob];
    const int width = job.mHorizontal.mWidth;
    if (width != job.mVertical.mWidth || !job.mKeepsZeros) return false;
    const TileInterior interior(job.mHorizontal, ioPasses.mCols, inTile);
    float* lines[MAX_KERNEL_WIDTH];
    RowRing& ring = ioPasses.mRings[inJob];
    ring.GetLines(inY, interior.mFirst, lines);
    if (!ioPasses.mKernels.mBothSums(
            inRow + (inTile.mFirst + interior.mFirst - job.mHorizontal.Radius()),
            job.mHorizontal.mTaps, lines, job.mVertical.mTaps, width,
            interior.mEnd - interior.mFirst, outRow + interior.mFirst))
        return false;
    interior.ZeroOutside(inTile, ring.Row(inY));
    interior.ZeroOutside(inTile, outRow);
    return true;
}

// The same for the two jobs of the gradients, which read one row.
bool RunBothGradients(Passes& ioPasses, const float* inRow, const Tile& inTile, int inY) {
    if (ioPasses.mJobs.size() != 2) return false;
    const SeparableJob& x = ioPasses.mJobs[0];
    const SeparableJob& y = ioPasses.mJobs[1];
    const int width = x.mHorizontal.mWidth;
    if (width != x.mVertical.mWidth || inY + 1 < width || !x.mKeepsZeros || !y.mKeepsZeros)
        return false;
    const TileInterior interior(x.mHorizontal, ioPasses.mCols, inTile);
    const int outY = inY - x.mVertical.Radius();
    float* const outRows[] = {ioPasses.OutRow(0, outY, inTile),
                              ioPasses.OutRow(1, outY, inTile)};
    float *linesX[MAX_KERNEL_WIDTH], *linesY[MAX_KERNEL_WIDTH];
    ioPasses.mRings[0].GetLines(inY, interior.mFirst, linesX);
    ioPasses.mRings[1].GetLines(inY, interior.mFirst, linesY);
    if (!ioPasses.mKernels.mBothGradients(
            inRow + (inTile.mFirst + interior.mFirst - x.mHorizontal.Radius()),
            {x.mVertical.mTaps, x.mHorizontal.mTaps, width}, interior.mEnd - interior.mFirst,
            {linesX, outRows[0] + interior.mFirst}, {linesY, outRows[1] + interior.mFirst}))
        return false;
    for (const std::size_t job : {0u, 1u}) {
        interior.ZeroOutside(inTile, ioPasses.mRings[job].Row(inY));
        interior.ZeroOutside(inTile, outRows[job]);
    }
    return true;
}

// `inRowOf(y, first, end)` gives row y of the source, of which the columns from `first` up
// to `end` can be read. `inRowDone(y, row)` is told of each row of the first job's output.
template <class RowOf, class RowDone>
void RunTile(Passes& ioPasses, const Tile& inTile, RowOf inRowOf, RowDone inRowDone) {
    constexpr int kMargin = MAX_KERNEL_WIDTH / 2;
    for (int y = 0; y < ioPasses.mRows; ++y) {
        Checkpoint(0, 0);
        const float* const row =
            inRowOf(y, std::max(inTile.mFirst - kMargin, 0),
                    std::min(inTile.mEnd, ioPasses.mCols - kMargin) + kMargin);
        if (RunBothGradients(ioPasses, row, inTile, y)) continue;
        for (std::size_t k = 0; k < ioPasses.mJobs.size(); ++k) {
            const SeparableJob& job = ioPasses.mJobs[k];
            RowRing& ring = ioPasses.mRings[k];
            const int outY = y - job.mVertical.Radius();
            const bool givesRow = y + 1 >= job.mVertical.mWidth;
            float* const outRow = givesRow ? ioPasses.OutRow(k, outY, inTile) : nullptr;
            if (!givesRow || !RunBothPasses(ioPasses, k, row, inTile, y, outRow)) {
                ConvolveRow(ioPasses.mKernels, row, ioPasses.mCols, inTile.mFirst, inTile.mEnd,
                            job.mHorizontal, ring.Row(y));
                if (!givesRow) continue;
                ring.ConvolveColumns(ioPasses.mKernels, job.mVertical, y, inTile.Width(),
                                     outRow);
            }
            if (k == 0) inRowDone(outY, outRow);
        }
    }
}

void ZeroRows(float* outImage, int inCols, int inFirst, int inEnd) {
    if (inFirst >= inEnd) return;
    const std::ptrdiff_t cols = inCols;
    std::fill(outImage + inFirst * cols, outImage + inEnd * cols, 0.0f);
}

template <class RowOf, class RowDone>
void ConvolveRows(std::span<const SeparableJob> inJobs, int inCols, int inRows, RowOf inRowOf,
                  RowDone inRowDone) {
    const int tileWidth = TileWidth(inJobs, inCols);
    Passes passes{GetRowKernels(), inJobs, inCols, inRows};
    for (const SeparableJob& job : inJobs) {
        const Interior interior(job.mVertical.Radius(), inRows, 0, std::max(inRows, 0));
        ZeroRows(job.mOut, inCols, 0, interior.mFirst);
        ZeroRows(job.mOut, inCols, interior.mEnd, inRows);
        passes.mRings.emplace_back(job.mVertical.mWidth, tileWidth);
    }
    for (int first = 0; first < inCols; first += tileWidth)
        RunTile(passes, {first, std::min(first + tileWidth, inCols)}, inRowOf, inRowDone);
}

template <class RowOf>
void ConvolveRows(std::span<const SeparableJob> inJobs, int inCols, int inRows, RowOf inRowOf) {
    ConvolveRows(inJobs, inCols, inRows, inRowOf, [](int, const float*) {});
}

auto RowsOf(const ImagePtr<float>& inImage) {
    return [pixels = inImage->GetData(), cols = std::ptrdiff_t{inImage->GetColumns()}](
               int inY, int, int) {
        return pixels + inY * cols;
    };
}

// ---- Samples of a smoothed image -----------------------------------------------------

// The middles of the blocks that a kernel can be laid on, as indices of blocks.
struct BlockInterior {
    BlockInterior(int inRadius, int inSize, int inStep, int inBlocks)
        : mFirst(0), mEnd(inBlocks) {
        const int half = inStep / 2;
        while (mFirst < inBlocks && mFirst * inStep + half < inRadius)
            ++mFirst;
        while (mEnd > mFirst && (mEnd - 1) * inStep + half >= inSize - inRadius)
            --mEnd;
    }
    int mFirst;
    int mEnd;
};

// The horizontal pass at the middles of the blocks of a row. Every `inStep`-th pixel is put
// beside its like first, so that the pixels under one tap of neighbouring outputs are
// neighbours:
//
//     a b c d a b c d a b c d   ->   a a a   b b b   c c c   d d d
class SampledRows {
public:
    SampledRows(const ConvolutionKernel& inKernel, int inStep, int inCols, int inBlocks)
        : mKernel(inKernel),
          mStep(inStep),
          mCols(inCols),
          mGroups(inCols / inStep),
          mBlocks(inBlocks),
          mInterior(inKernel.Radius(), inCols, inStep, inBlocks),
          mPhases(static_cast<std::size_t>(inStep), nullptr),
          mPixels(static_cast<std::size_t>(inStep) * static_cast<std::size_t>(mGroups + 1)) {
        for (int m = 0; m < inKernel.mWidth; ++m) {
            float* const phase = mPixels.begin() + std::ptrdiff_t{PhaseOf(m)} * (mGroups + 1);
            mPhases[PhaseOf(m)] = phase;
            if (mInterior.mFirst < mInterior.mEnd)
                mLines[m] = phase + (mInterior.mFirst + GroupOf(m));
        }
    }

    void Convolve(const RowKernels& inKernels, const float* inRow, float* outRow) {
        std::fill(outRow, outRow + mInterior.mFirst, 0.0f);
        std::fill(outRow + mInterior.mEnd, outRow + mBlocks, 0.0f);
        if (mInterior.mFirst >= mInterior.mEnd) return;
        inKernels.mSplitPhases(inRow, mStep, mGroups, mPhases.data());
        for (int p = 0; p < mCols - mGroups * mStep; ++p)
            if (mPhases[p]) mPhases[p][mGroups] = inRow[mGroups * mStep + p];
        inKernels.mWeightedSums(mLines, mKernel.mTaps, mKernel.mWidth,
                                mInterior.mEnd - mInterior.mFirst, outRow + mInterior.mFirst);
    }

private:
    // Tap m of block 0 lies this far from column 0; a remainder and a quotient that round
    // down make a phase and a group of it.
    int OffsetOf(int inM) const { return mStep / 2 - mKernel.Radius() + inM; }
    int PhaseOf(int inM) const { return (OffsetOf(inM) % mStep + mStep) % mStep; }
    int GroupOf(int inM) const { return (OffsetOf(inM) - PhaseOf(inM)) / mStep; }

    const ConvolutionKernel& mKernel;
    int mStep;
    int mCols;
    int mGroups;
    int mBlocks;
    BlockInterior mInterior;
    std::vector<float*> mPhases;  // null for those that no tap meets
    RecycledArray<float> mPixels;
    const float* mLines[MAX_KERNEL_WIDTH];  // under each tap, for the first output
};

// Takes the rows of an image one after the other, from the top, and makes the samples.
class BlockSamples {
public:
    BlockSamples(const ConvolutionKernel& inKernel, int inStep, int inCols, int inRows,
                 Image<float>& outSamples)
        : mKernel(inKernel),
          mStep(inStep),
          mOut(outSamples.GetData()),
          mOutCols(outSamples.GetColumns()),
          mInterior(inKernel.Radius(), inRows, inStep, outSamples.GetRows()),
          mBlock(mInterior.mFirst),
          mSampled(inKernel, inStep, inCols, mOutCols),
          mRing(inKernel.mWidth, mOutCols) {
        ZeroRows(mOut, mOutCols, 0, mInterior.mFirst);
        ZeroRows(mOut, mOutCols, mInterior.mEnd, outSamples.GetRows());
    }

    void AddRow(int inY, const float* inRow) {
        const int middle = mBlock * mStep + mStep / 2;
        if (mBlock == mInterior.mEnd || inY < middle - mKernel.Radius()) return;
        mSampled.Convolve(mKernels, inRow, mRing.Row(inY));
        if (inY < middle + mKernel.Radius()) return;
        mRing.ConvolveColumns(mKernels, mKernel, inY, mOutCols,
                              mOut + std::ptrdiff_t{mBlock} * mOutCols);
        ++mBlock;
    }

private:
    const RowKernels& mKernels = GetRowKernels();
    const ConvolutionKernel& mKernel;
    int mStep;
    float* mOut;
    int mOutCols;
    BlockInterior mInterior;
    int mBlock;  // the next row of samples
    SampledRows mSampled;
    RowRing mRing;
};

}  // namespace

// ---- The passes ----------------------------------------------------------------------

void ConvolveImageHorizontal(ImagePtr<float> inImage, const ConvolutionKernel& inKernel,
                             ImagePtr<float> outImage) {
    ContractCheck(inImage->GetData() != NULL);
    ContractCheck(outImage->GetData() != NULL);
    const std::ptrdiff_t cols = inImage->GetColumns();
    for (int y = 0; y < inImage->GetRows(); ++y)
        ConvolveRow(GetRowKernels(), inImage->GetData() + y * cols, inImage->GetColumns(), 0,
                    inImage->GetColumns(), inKernel, outImage->GetData() + y * cols);
}

void ConvolveImageVertical(ImagePtr<float> inImage, const ConvolutionKernel& inKernel,
                           ImagePtr<float> outImage) {
    ContractCheck(inImage->GetData() != NULL);
    ContractCheck(outImage->GetData() != NULL);
    const std::ptrdiff_t cols = inImage->GetColumns();
    const int rows = inImage->GetRows();
    const Interior interior(inKernel.Radius(), rows, 0, rows);
    ZeroRows(outImage->GetData(), inImage->GetColumns(), 0, interior.mFirst);
    ZeroRows(outImage->GetData(), inImage->GetColumns(), interior.mEnd, rows);
    const float* lines[MAX_KERNEL_WIDTH];
    for (int y = interior.mFirst; y < interior.mEnd; ++y) {
        for (int m = 0; m < inKernel.mWidth; ++m)
            lines[m] = inImage->GetData() + (y - inKernel.Radius() + m) * cols;
        GetRowKernels().mWeightedSums(lines, inKernel.mTaps, inKernel.mWidth, cols,
                                      outImage->GetData() + y * cols);
    }
}

void ConvolveSeparable(ImagePtr<float> inImage, const ConvolutionKernel& inHorizontal,
                       const ConvolutionKernel& inVertical, ImagePtr<float> outImage) {
    ContractCheck(inImage->GetData() != NULL);
    ContractCheck(outImage->GetData() != NULL);
    const SeparableJob job{inHorizontal, inVertical, outImage->GetData()};
    ConvolveRows({&job, 1}, inImage->GetColumns(), inImage->GetRows(), RowsOf(inImage));
}

// ---- Smoothing and gradients ---------------------------------------------------------

void ComputeSmoothedImage(ImagePtr<float> inImage, float inSigma,
                          ImagePtr<float> outSmoothImage) {
    ContractCheck(outSmoothImage->GetColumns() >= inImage->GetColumns());
    ContractCheck(outSmoothImage->GetRows() >= inImage->GetRows());
    ConvolutionKernel gauss, gaussDeriv;
    ComputeKernels(inSigma, gauss, gaussDeriv);
    ConvolveSeparable(inImage, gauss, gauss, outSmoothImage);
}

namespace {

// Rows of bytes as floats.
class ConvertedRows {
public:
    ConvertedRows(const unsigned char* inBytes, int inCols)
        : mBytes(inBytes), mCols(inCols), mFloats(static_cast<std::size_t>(inCols)) {}

    const float* Row(int inY, int inFirst, int inEnd) {
        GetRowKernels().mConvertBytes(mBytes + inY * mCols + inFirst, inEnd - inFirst,
                                      mFloats.begin() + inFirst);
        return mFloats.begin();
    }

private:
    const unsigned char* mBytes;
    std::ptrdiff_t mCols;
    RecycledArray<float> mFloats;
};

}  // namespace

void ComputeSmoothedBytes(const unsigned char* inBytes, int inCols, int inRows, float inSigma,
                          ImagePtr<float> outSmoothImage) {
    ContractCheck(outSmoothImage->GetColumns() >= inCols);
    ContractCheck(outSmoothImage->GetRows() >= inRows);
    ConvolutionKernel gauss, gaussDeriv;
    ComputeKernels(inSigma, gauss, gaussDeriv);
    if (outSmoothImage->GetData() == nullptr)  // nor would an image of the floats have pixels
        return ConvolveSeparable(outSmoothImage, gauss, gauss, outSmoothImage);
    const SeparableJob job{gauss, gauss, outSmoothImage->GetData()};
    ConvertedRows converted(inBytes, std::max(inCols, 0));
    ConvolveRows({&job, 1}, inCols, inRows, [&](int inY, int inFirst, int inEnd) {
        return converted.Row(inY, inFirst, inEnd);
    });
}

void ComputeSmoothedSamples(ImagePtr<float> inImage, float inSigma, int inStep,
                            ImagePtr<float> outSamples) {
    ContractCheck(inImage->GetData() != NULL);
    ConvolutionKernel gauss, gaussDeriv;
    ComputeKernels(inSigma, gauss, gaussDeriv);
    if (outSamples->GetColumns() < 1 || outSamples->GetRows() < 1) return;
    ContractCheck(outSamples->GetData() != NULL);
    const std::ptrdiff_t cols = inImage->GetColumns();
    BlockSamples samples(gauss, inStep, inImage->GetColumns(), inImage->GetRows(), *outSamples);
    for (int y = 0; y < inImage->GetRows(); ++y) {
        Checkpoint(0, 0);
        samples.AddRow(y, inImage->GetData() + y * cols);
    }
}

void ComputeSmoothedBytesAndSamples(const unsigned char* inBytes, float inSigma,
                                    ImagePtr<float> outSmoothImage, float inSampleSigma,
                                    int inStep, ImagePtr<float> outSamples) {
    const int cols = outSmoothImage->GetColumns();
    const int rows = outSmoothImage->GetRows();
    ConvolutionKernel smooth, sample, derivative;
    ComputeKernels(inSigma, smooth, derivative);
    const SeparableJob job{smooth, smooth, outSmoothImage->GetData()};
    if (TileWidth({&job, 1}, cols) < cols) {  // there are no whole rows
        ComputeSmoothedBytes(inBytes, cols, rows, inSigma, outSmoothImage);
        return ComputeSmoothedSamples(outSmoothImage, inSampleSigma, inStep, outSamples);
    }
    ComputeKernels(inSampleSigma, sample, derivative);
    BlockSamples samples(sample, inStep, cols, rows, *outSamples);
    const Interior interior(smooth.Radius(), rows, 0, rows);
    const std::vector<float> zeros(static_cast<std::size_t>(cols));
    ConvertedRows converted(inBytes, cols);
    for (int y = 0; y < interior.mFirst; ++y)
        samples.AddRow(y, zeros.data());
    ConvolveRows(
        {&job, 1}, cols, rows,
        [&](int inY, int inFirst, int inEnd) { return converted.Row(inY, inFirst, inEnd); },
        [&](int inY, const float* inRow) { samples.AddRow(inY, inRow); });
    for (int y = interior.mEnd; y < rows; ++y)
        samples.AddRow(y, zeros.data());
}

void ComputeGradients(ImagePtr<float> inImage, float inSigma, ImagePtr<float> outGradX,
                      ImagePtr<float> outGradY) {
    ContractCheck(outGradX->GetColumns() >= inImage->GetColumns());
    ContractCheck(outGradX->GetRows() >= inImage->GetRows());
    ContractCheck(outGradY->GetColumns() >= inImage->GetColumns());
    ContractCheck(outGradY->GetRows() >= inImage->GetRows());
    ConvolutionKernel gauss, gaussDeriv;
    ComputeKernels(inSigma, gauss, gaussDeriv);
    if (inImage->GetData() == NULL || outGradX->GetData() == NULL ||
        outGradY->GetData() == NULL) {  // one after the other, so that each reports its own
        ConvolveSeparable(inImage, gaussDeriv, gauss, outGradX);
        ConvolveSeparable(inImage, gauss, gaussDeriv, outGradY);
        return;
    }
    const SeparableJob jobs[] = {{gaussDeriv, gauss, outGradX->GetData()},
                                 {gauss, gaussDeriv, outGradY->GetData()}};
    ConvolveRows(jobs, inImage->GetColumns(), inImage->GetRows(), RowsOf(inImage));
}

// Declared with the pixel operations, whose callers want no kernels; it stands here, where
// the kernels are.
void GetKernelWidths(float inSigma, int& outGaussWidth, int& outGaussDerivWidth) {
    ConvolutionKernel gauss, gaussDeriv;
    ComputeKernels(inSigma, gauss, gaussDeriv);
    outGaussWidth = gauss.mWidth;
    outGaussDerivWidth = gaussDeriv.mWidth;
}

}  // namespace IP
