// Cornerness without planes. Each stage keeps the rows that the next one still needs:
//
//     image row --along x--> ring of 2 radius + 1 rows --along y--> ring of 4 smoothed rows
//       --differences, products--> running totals along x --> window sums along x
//       --running totals down--> ring of 2 half + 3 rows --> window sums --> cornerness
//
// so the image is read once and nothing of the size of the image is written: the steps
// `SmoothImage`, `ComputeCornerness` and `PickLocalMaxima` go through the rows together.
//
// Sums. A window sum is the difference of two running totals, first along x and then along
// y; the totals are single precision, begin at the edge of the area and are never
// recomputed. That makes their roundings part of the result: a part of the image has the
// same cornerness as in the whole one only if its totals begin where the whole one's do, at
// the left and the upper edge. They may end where nothing more is needed.
//
// The area is the image without the margins that no window can reach: with the usual
// numbers the whole image.

#include "APT/APTCornerStream.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "APT/APTCornerRows.h"

namespace DP {
namespace {

// Each tap is the Gaussian integrated over one pixel. In the tail the differences are taken
// of what is missing to 1, which is the more accurate.
std::vector<float> GaussianTaps(double inSigma) {
    const int radius = static_cast<int>(3.5 * inSigma + 0.5);
    const double s = 1.0 / (inSigma * std::sqrt(2.0));
    std::vector<float> taps(static_cast<std::size_t>(2 * radius + 1));
    double sum = 0.0;
    for (int i = 1; i <= radius; ++i) {
        const double tap = i * s < 2.5 ? std::erf((i + 0.5) * s) - std::erf((i - 0.5) * s)
                                       : std::erfc((i - 0.5) * s) - std::erfc((i + 0.5) * s);
        taps[static_cast<std::size_t>(radius - i)] = static_cast<float>(tap);
        taps[static_cast<std::size_t>(radius + i)] = static_cast<float>(tap);
        sum += tap;
    }
    const double centre = std::erf(0.5 * s) - std::erf(-0.5 * s);
    taps[static_cast<std::size_t>(radius)] = static_cast<float>(centre);
    sum = 2.0 * sum + centre;
    for (float& tap : taps)
        tap = static_cast<float>(static_cast<double>(tap) / sum);
    return taps;
}

// Floats from one row of a ring to the next: some 16 more than the image is wide, for the loops
// that read a little beyond, in whole lines of the cache (16 floats). Rows that are a multiple
// of 1 KB (256 floats) apart would crowd into few sets of the cache.
std::size_t StrideOf(int inWidth) {
    const std::size_t stride = (static_cast<std::size_t>(inWidth) + 31) / 16 * 16;
    return stride % 256 == 0 ? stride + 16 : stride;
}

float* RowOf(std::vector<float>& inRing, std::size_t inStride, int inRow) {
    return inRing.data() + static_cast<std::size_t>(inRow) * inStride;
}

APTProductRows ProductsOf(std::vector<float>& inRing, std::size_t inStride, int inRow) {
    float* const first = RowOf(inRing, inStride, 3 * inRow);
    return {first, first + inStride, first + 2 * inStride};
}

APTConstProductRows Const(const APTProductRows& inRows) {
    return {inRows.mXX, inRows.mYY, inRows.mXY};
}

}  // namespace

void APTCornerStream::ApplyParams(const APTTrackerParams& inParams) {
    if (!mProcs) mProcs = &GetAPTCornerRowProcs();
    mHalfWidth = static_cast<int>(inParams.mPatchHalfWidth);
    mHalfHeight = static_cast<int>(inParams.mPatchHalfHeight);
    const int border = static_cast<int>(inParams.mBorder);
    mMarginX = std::max(mHalfWidth + 2, border);
    mMarginY = std::max(mHalfHeight + 2, border);
    mCropX = mMarginX - mHalfWidth - 2;
    mCropY = mMarginY - mHalfHeight - 2;
    mStride = 0;  // the rows are made anew
    std::vector<float> taps;
    if (inParams.mSmoothImage) {
        const int size = 2 * std::max(mHalfWidth, mHalfHeight) + 1;
        taps = GaussianTaps(
            static_cast<double>(static_cast<float>(size) * inParams.mSmoothSigmaFactor));
    }
    mTapRows.resize(taps.size());
    mTaps = std::move(taps);
}

APTPixelRange APTCornerStream::GetScanRange(int inWidth, int inHeight) const {
    if (!mProcs) return {};  // before the parameters there is nothing to scan
    return {mMarginX, mMarginY, inWidth - mMarginX, inHeight - mMarginY};
}

void APTCornerStream::Start(const float* inImage, int inWidth, int inHeight,
                            const APTPixelRange& inRange) {
    mImage = inImage;
    mWidth = inWidth;
    mHeight = inHeight;
    mNextRow = 0;
    Narrow(inRange);
    mNextSmooth = mNextTotal = 0;
    const int radius = static_cast<int>(mTaps.size() / 2);
    mNextAcross = std::max(mCropY - radius, 0);

    const std::size_t stride = StrideOf(inWidth);
    if (stride != mStride) {
        mPadded.resize(stride + mTaps.size());
        mAcross.resize(mTaps.size() * stride);
        mSmooth.resize(kSmoothRows * stride);
        mProducts.resize(2 * 3 * stride);
        mTotals.resize(static_cast<std::size_t>(TotalsRing() + 1) * 3 * stride);
        mRows.resize(3 * stride);
        mStride = stride;  // last: a row that could not be had is asked for again
    }
    // The row above the first one of the totals.
    const APTProductRows zero = ProductsOf(mTotals, mStride, TotalsRing());
    for (float* row : {zero.mXX, zero.mYY, zero.mXY})
        std::fill_n(row, stride, 0.0f);
}

void APTCornerStream::Narrow(const APTPixelRange& inRange) {
    mRange = inRange;
    mNextRow = std::max(mNextRow, inRange.mTop - 1);
    // The last column of cornerness reaches half a window further for its totals, and those
    // one more for the difference.
    mTotalCols = inRange.mRight - mCropX + mHalfWidth + 1;
    mSmoothCols = mTotalCols + 1;
}

const float* APTCornerStream::GetRow(int inRow) const {
    return mRows.data() + static_cast<std::size_t>(inRow % 3) * mStride;
}

bool APTCornerStream::NextRow() {
    if (mNextRow > mRange.mBottom) return false;
    const int areaRow = mNextRow - mCropY;
    while (mNextTotal <= areaRow + mHalfHeight)
        mNextTotal += TotalRows(mNextTotal);
    const int ring = TotalsRing();
    // Totals are indexed by area column, cornerness by image column.
    mProcs->mCornerness(Const(ProductsOf(mTotals, mStride, (areaRow + mHalfHeight) % ring)),
                        Const(ProductsOf(mTotals, mStride, (areaRow - mHalfHeight - 1) % ring)),
                        mRange.mLeft - 1 - mCropX, mRange.mRight + 1 - mCropX,
                        RowOf(mRows, mStride, mNextRow % 3) + mCropX);
    ++mNextRow;
    return true;
}

// Totals of an area row, or of it and the next one: those of the row above and the window sums
// along this one. Returns how many.
int APTCornerStream::TotalRows(int inAreaRow) {
    const int lastRow = mRange.mBottom - mCropY + mHalfHeight;
    const int count = inAreaRow > 0 && inAreaRow < lastRow ? 2 : 1;
    const APTProductRows products[] = {ProductsOf(mProducts, mStride, 0),
                                       ProductsOf(mProducts, mStride, 1)};
    GetSmoothRow(inAreaRow + count);  // makes all of them
    APTGradientRows rows[2];
    for (int k = 0; k < count; ++k) {
        const int row = inAreaRow + k;
        rows[k] = {row > 0 ? GetSmoothRow(row - 1) : nullptr, GetSmoothRow(row),
                   GetSmoothRow(row + 1)};
    }
    mProcs->mTotalProducts(rows, count, mTotalCols, products);
    const int ring = TotalsRing();
    for (int k = 0; k < count; ++k) {
        const int row = inAreaRow + k;
        const int aboveRow = row > 0 ? (row - 1) % ring : ring;
        mProcs->mTotalDown(Const(products[k]), Const(ProductsOf(mTotals, mStride, aboveRow)),
                           mHalfWidth, mRange.mLeft - 1 - mCropX, mRange.mRight + 1 - mCropX,
                           ProductsOf(mTotals, mStride, row % ring));
    }
    return count;
}

const float* APTCornerStream::GetImageRow(int inAreaRow) const {
    return mImage +
           static_cast<std::size_t>(mCropY + inAreaRow) * static_cast<std::size_t>(mWidth) +
           mCropX;
}

// Rows are asked for in ascending order; the latest can be asked for again.
const float* APTCornerStream::GetSmoothRow(int inAreaRow) {
    if (mTaps.empty()) return GetImageRow(inAreaRow);
    const int taps = static_cast<int>(mTaps.size());
    const int radius = taps / 2;
    for (; mNextSmooth <= inAreaRow; ++mNextSmooth) {
        const int imageRow = mCropY + mNextSmooth;
        for (; mNextAcross <= std::min(imageRow + radius, mHeight - 1); ++mNextAcross)
            SmoothAcross(mNextAcross);
        for (int k = 0; k < taps; ++k) {
            const int row = std::clamp(imageRow - radius + k, 0, mHeight - 1);
            mTapRows[static_cast<std::size_t>(k)] = RowOf(mAcross, mStride, row % taps);
        }
        mProcs->mSmoothDown(mTapRows.data(), mTaps.data(), taps, mSmoothCols,
                            RowOf(mSmooth, mStride, mNextSmooth % kSmoothRows));
    }
    return RowOf(mSmooth, mStride, inAreaRow % kSmoothRows);
}

// One row along x, with the first and the last value repeated beyond the ends.
const float* APTCornerStream::SmoothAcross(int inImageRow) {
    const float* const row =
        mImage + static_cast<std::size_t>(inImageRow) * static_cast<std::size_t>(mWidth);
    const int taps = static_cast<int>(mTaps.size());
    const int radius = taps / 2;
    const int first = mCropX - radius;  // image column under the first tap
    const int count = mSmoothCols + 2 * radius;
    const int begin = std::clamp(-first, 0, count);
    const int end = std::clamp(mWidth - first, 0, count);
    float* const padded = mPadded.data();
    std::fill(padded, padded + begin, row[0]);
    std::copy(row + (first + begin), row + (first + end), padded + begin);
    std::fill(padded + end, padded + count, row[mWidth - 1]);
    float* const target = RowOf(mAcross, mStride, inImageRow % taps);
    mProcs->mSmoothAcross(padded, mTaps.data(), taps, mSmoothCols, target);
    return target;
}

}  // namespace DP
