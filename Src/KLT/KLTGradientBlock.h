// KLTGradientBlock: the gradients of the few pixels round a window.

#pragma once

#include "KLT/KLTKernels.h"
#include "image/IPImage.h"

namespace DP {

/// The gradients of sigma 1 of a block of pixels, made from the image by the sums of
/// `IP::ComputeGradients` in their order, so that they have the bits of its planes. A search
/// makes one where its window stands and again where the window leaves it:
///
///     . . . . . . . . . . . . . . . .
///     . . . . . . . . . . . . . . . .        16 columns, 13 rows or fewer
///     . . . w w w w w w w w . . . . .        w: the pixels under a window of 7 by 7, which
///     . . . w w w w w w w w . . . . .           lies between pixels and reads 8 by 8; one
///     ...                                       more where rounding moves a side
class KLTGradientBlock {
public:
    /// Whether windows of this size fit. Both sides are odd and positive.
    static bool HoldsWindow(int inWidth, int inHeight) { return inWidth <= 7 && inHeight <= 7; }

    /// Makes sure of the pixels under a window of the largest size whose upper left one is
    /// (`inX`, `inY`). The image is always the same. What lies outside it is not read.
    void Reach(const IP::Image<float>& inImage, long long inX, long long inY) {
        if (inX < mFirstX || inX > mFirstX + kColumns - kWindowSide || inY < mFirstY ||
            inY > mFirstY + mRows - kWindowSide)
            Make(inImage, inX, inY);
    }

    /// Fetches what a search from (`inX`, `inY`) is going to read. Any position will do.
    static void ReadAhead(const IP::Image<float>& inImage, float inX, float inY);

    /// The gradients along x and y.
    /// @{
    KLTPlane X() const { return {mX, kColumns, mFirstX, mFirstY}; }
    KLTPlane Y() const { return {mY, kColumns, mFirstX, mFirstY}; }
    /// @}

private:
    static constexpr int kColumns = KLTKernels::kBlockColumns;
    static constexpr int kMostRows = KLTKernels::kBlockRows;
    static constexpr int kWindowSide = 9;

    void Make(const IP::Image<float>& inImage, long long inX, long long inY);
    void MakeAtTheEdge(const IP::Image<float>& inImage);

    long long mFirstX = 0;
    long long mFirstY = 0;
    int mRows = 0;                               // none yet
    alignas(64) float mX[kMostRows * kColumns];  // a row is a line of the cache
    alignas(64) float mY[kMostRows * kColumns];
};

}  // namespace DP
