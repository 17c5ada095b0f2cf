// The gradients of the full frame round one window, in place of two planes of the frame's size.
// A block is `mRows` rows of `kColumns` floats, larger than the window, so that the steps of
// a search mostly stay inside it.

#include "KLT/KLTGradientBlock.h"

#include <algorithm>
#include <cstddef>

#include "image/IPConvolveImage.h"
#include "image/IPFramePyramids.h"
#include "image/ReadAhead.h"

namespace DP {
namespace {

constexpr int kTaps = KLTKernels::kBlockTaps;
constexpr int kRadius = kTaps / 2;

// Of the one sigma that blocks are made with; another takes planes.
struct Taps {
    Taps() { IP::ComputeKernels(IP::kWindowGradientSigma, mGauss, mDerivative); }
    IP::ConvolutionKernel mGauss, mDerivative;
};

const Taps& GetTaps() {
    static const Taps sTaps;
    return sTaps;
}

}  // namespace

// The pixels under the first block of a search, which begins three columns before the window
// of seven pixels and with its first row.
void KLTGradientBlock::ReadAhead(const IP::Image<float>& inImage, float inX, float inY) {
    constexpr int kToTheRight = 2, kDown = 1;
    IP::ReadAhead({inImage.GetData(), inImage.GetColumns(), inImage.GetRows()},
                  inX + kToTheRight, inY + kDown, kColumns / 2 + kRadius,
                  kWindowSide / 2 + kRadius);
}

// The window in the middle; near an edge the block moves inward as far as it can. The first
// block has no rows to spare: the window of the first frame stays where it is.
void KLTGradientBlock::Make(const IP::Image<float>& inImage, long long inX, long long inY) {
    constexpr int kMarginX = (kColumns - kWindowSide) / 2;
    const int marginY = mRows == 0 ? 0 : (kMostRows - kWindowSide) / 2;
    mRows = kWindowSide + 2 * marginY;
    const long long lastX = inImage.GetColumns() - kRadius - kColumns;
    const long long lastY = inImage.GetRows() - kRadius - mRows;
    constexpr long long kFirst = kRadius;
    mFirstX = std::max(std::min(inX - kMarginX, lastX), kFirst);
    mFirstY = std::max(std::min(inY - marginY, lastY), kFirst);
    const bool reaches = mFirstX <= inX && inX <= mFirstX + kColumns - kWindowSide &&
                         mFirstY <= inY && inY <= mFirstY + mRows - kWindowSide;
    if (!reaches || mFirstX > lastX || mFirstY > lastY) {
        mFirstX = inX;
        mFirstY = inY;
        mRows = kWindowSide;
        return MakeAtTheEdge(inImage);
    }
    const std::ptrdiff_t cols = inImage.GetColumns();
    GetKLTKernels().mBlockGradients(
        inImage.GetData() + (mFirstY - kRadius) * cols + (mFirstX - kRadius), cols,
        GetTaps().mGauss.mTaps, GetTaps().mDerivative.mTaps, mRows, mX, mY);
}

// Works on a copy with room round it, and then sets to zero what no kernel fits on.
void KLTGradientBlock::MakeAtTheEdge(const IP::Image<float>& inImage) {
    constexpr int kWide = kColumns + 2 * kRadius;
    float pixels[(kMostRows + 2 * kRadius) * kWide] = {};
    const long long cols = inImage.GetColumns();
    const long long rows = inImage.GetRows();
    for (int j = 0; j < mRows + 2 * kRadius; ++j)
        for (int i = 0; i < kWide; ++i) {
            const long long x = mFirstX - kRadius + i;
            const long long y = mFirstY - kRadius + j;
            if (x >= 0 && x < cols && y >= 0 && y < rows)
                pixels[j * kWide + i] = inImage.GetData()[y * cols + x];
        }
    GetKLTKernels().mBlockGradients(pixels, kWide, GetTaps().mGauss.mTaps,
                                    GetTaps().mDerivative.mTaps, mRows, mX, mY);
    for (int j = 0; j < mRows; ++j)
        for (int i = 0; i < kColumns; ++i) {
            const long long x = mFirstX + i;
            const long long y = mFirstY + j;
            if (x < kRadius || x >= cols - kRadius || y < kRadius || y >= rows - kRadius)
                mX[j * kColumns + i] = mY[j * kColumns + i] = 0.0f;
        }
}

}  // namespace DP
