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
#include "image/PixelOps.h"
#include "image/RecycledArray.h"

namespace IP {
namespace {

// ---- Kernels -------------------------------------------------------------------------

constexpr int kHalf = MAX_KERNEL_WIDTH / 2;
constexpr float kCutOff = 0.01f;  // of the peak

// C libraries differ in the last bit of the single form, so: in double, rounded once.
float Exp(float inValue) { return static_cast<float>(std::exp(double{inValue})); }

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
        gauss[i + kHalf] = Exp(static_cast<float>(-(i * i)) / denominator);
        deriv[i + kHalf] = static_cast<float>(-i) * gauss[i + kHalf];
    }

    const int gaussWidth = WidthAboveCutOff(gauss, 1.0f);
    const int derivWidth = WidthAboveCutOff(deriv, inSigma * Exp(-0.5f));
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

// Both passes over row y at once, where the kernels are of one width for which that is
// worth while.
bool RunBothPasses(const RowKernels& inKernels, const SeparableJob& inJob, const float* inRow,
                   int inCols, int inFirst, int inEnd, int inY, RowRing& ioRing,
                   float* outRow) {
    const int width = inJob.mHorizontal.mWidth;
    if (width != inJob.mVertical.mWidth || !inJob.mKeepsZeros) return false;
    const Interior interior(inJob.mHorizontal.Radius(), inCols, inFirst, inEnd);
    const int before = interior.mFirst - inFirst;
    const int upTo = interior.mEnd - inFirst;
    float* lines[MAX_KERNEL_WIDTH];
    ioRing.GetLines(inY, before, lines);
    if (!inKernels.mBothSums(inRow + (interior.mFirst - inJob.mHorizontal.Radius()),
                             inJob.mHorizontal.mTaps, lines, inJob.mVertical.mTaps, width,
                             upTo - before, outRow + before))
        return false;
    for (float* const row : {ioRing.Row(inY), outRow}) {
        std::fill(row, row + before, 0.0f);
        std::fill(row + upTo, row + (inEnd - inFirst), 0.0f);
    }
    return true;
}

// `inRowOf(y, first, end)` gives row y of the source, of which the columns from `first` up
// to `end` can be read.
template <class RowOf>
void RunTile(std::span<const SeparableJob> inJobs, int inCols, int inRows, int inFirst,
             int inEnd, RowOf inRowOf, std::deque<RowRing>& ioRings) {
    const RowKernels& kernels = GetRowKernels();
    for (int y = 0; y < inRows; ++y) {
        const float* const row =
            inRowOf(y, std::max(inFirst - MAX_KERNEL_WIDTH / 2, 0),
                    std::min(inEnd, inCols - MAX_KERNEL_WIDTH / 2) + MAX_KERNEL_WIDTH / 2);
        for (std::size_t k = 0; k < inJobs.size(); ++k) {
            const SeparableJob& job = inJobs[k];
            RowRing& ring = ioRings[k];
            float* const outRow =
                job.mOut + std::ptrdiff_t{y - job.mVertical.Radius()} * inCols + inFirst;
            if (y + 1 >= job.mVertical.mWidth &&
                RunBothPasses(kernels, job, row, inCols, inFirst, inEnd, y, ring, outRow))
                continue;
            ConvolveRow(kernels, row, inCols, inFirst, inEnd, job.mHorizontal, ring.Row(y));
            if (y + 1 >= job.mVertical.mWidth)
                ring.ConvolveColumns(kernels, job.mVertical, y, inEnd - inFirst, outRow);
        }
    }
}

void ZeroRows(float* outImage, int inCols, int inFirst, int inEnd) {
    if (inFirst >= inEnd) return;
    const std::ptrdiff_t cols = inCols;
    std::fill(outImage + inFirst * cols, outImage + inEnd * cols, 0.0f);
}

template <class RowOf>
void ConvolveRows(std::span<const SeparableJob> inJobs, int inCols, int inRows, RowOf inRowOf) {
    const int tileWidth = TileWidth(inJobs, inCols);
    std::deque<RowRing> rings;
    for (const SeparableJob& job : inJobs) {
        const Interior interior(job.mVertical.Radius(), inRows, 0, std::max(inRows, 0));
        ZeroRows(job.mOut, inCols, 0, interior.mFirst);
        ZeroRows(job.mOut, inCols, interior.mEnd, inRows);
        rings.emplace_back(job.mVertical.mWidth, tileWidth);
    }
    for (int first = 0; first < inCols; first += tileWidth)
        RunTile(inJobs, inCols, inRows, first, std::min(first + tileWidth, inCols), inRowOf,
                rings);
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
        for (int m = 0; m < inKernel.mWidth; ++m)
            mPhases[PhaseOf(m)] = mPixels.begin() + std::ptrdiff_t{PhaseOf(m)} * (mGroups + 1);
    }

    void Convolve(const RowKernels& inKernels, const float* inRow, float* outRow) {
        std::fill(outRow, outRow + mInterior.mFirst, 0.0f);
        std::fill(outRow + mInterior.mEnd, outRow + mBlocks, 0.0f);
        if (mInterior.mFirst >= mInterior.mEnd) return;
        inKernels.mSplitPhases(inRow, mStep, mGroups, mPhases.data());
        for (int p = 0; p < mCols - mGroups * mStep; ++p)
            if (mPhases[p]) mPhases[p][mGroups] = inRow[mGroups * mStep + p];

        const float* lines[MAX_KERNEL_WIDTH];
        for (int m = 0; m < mKernel.mWidth; ++m)
            lines[m] = mPhases[PhaseOf(m)] + (mInterior.mFirst + GroupOf(m));
        inKernels.mWeightedSums(lines, mKernel.mTaps, mKernel.mWidth,
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
};

void SampleRows(const Image<float>& inImage, const ConvolutionKernel& inKernel, int inStep,
                Image<float>& outSamples) {
    const RowKernels& kernels = GetRowKernels();
    const int cols = outSamples.GetColumns();
    const int radius = inKernel.Radius();
    const BlockInterior interior(radius, inImage.GetRows(), inStep, outSamples.GetRows());
    ZeroRows(outSamples.GetData(), cols, 0, interior.mFirst);
    ZeroRows(outSamples.GetData(), cols, interior.mEnd, outSamples.GetRows());

    SampledRows sampled(inKernel, inStep, inImage.GetColumns(), cols);
    RowRing ring(inKernel.mWidth, cols);
    int nextY = 0;
    for (int block = interior.mFirst; block < interior.mEnd; ++block) {
        const int middle = block * inStep + inStep / 2;
        for (nextY = std::max(nextY, middle - radius); nextY <= middle + radius; ++nextY)
            sampled.Convolve(kernels,
                             inImage.GetData() + std::ptrdiff_t{nextY} * inImage.GetColumns(),
                             ring.Row(nextY));
        ring.ConvolveColumns(kernels, inKernel, middle + radius, cols,
                             outSamples.GetData() + std::ptrdiff_t{block} * cols);
    }
}

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

void ComputeSmoothedBytes(const unsigned char* inBytes, int inCols, int inRows, float inSigma,
                          ImagePtr<float> outSmoothImage) {
    ContractCheck(outSmoothImage->GetColumns() >= inCols);
    ContractCheck(outSmoothImage->GetRows() >= inRows);
    ConvolutionKernel gauss, gaussDeriv;
    ComputeKernels(inSigma, gauss, gaussDeriv);
    if (outSmoothImage->GetData() == NULL)  // nor would an image of the floats have pixels
        return ConvolveSeparable(outSmoothImage, gauss, gauss, outSmoothImage);
    const SeparableJob job{gauss, gauss, outSmoothImage->GetData()};
    RecycledArray<float> converted(static_cast<std::size_t>(std::max(inCols, 0)));
    const RowKernels& kernels = GetRowKernels();
    ConvolveRows({&job, 1}, inCols, inRows, [&](int inY, int inFirst, int inEnd) {
        kernels.mConvertBytes(inBytes + std::ptrdiff_t{inY} * inCols + inFirst, inEnd - inFirst,
                              converted.begin() + inFirst);
        return static_cast<const float*>(converted.begin());
    });
}

void ComputeSmoothedSamples(ImagePtr<float> inImage, float inSigma, int inStep,
                            ImagePtr<float> outSamples) {
    ContractCheck(inImage->GetData() != NULL);
    ConvolutionKernel gauss, gaussDeriv;
    ComputeKernels(inSigma, gauss, gaussDeriv);
    if (outSamples->GetColumns() < 1 || outSamples->GetRows() < 1) return;
    ContractCheck(outSamples->GetData() != NULL);
    SampleRows(*inImage, gauss, inStep, *outSamples);
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
