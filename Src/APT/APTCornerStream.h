// APTCornerStream: the cornerness of an image, row by row from the top.

#pragma once

#include <cstddef>
#include <vector>

#include "APT/APTTrackerParams.h"

namespace DP {

struct APTCornerRowProcs;

/// Columns and rows from the first up to, and without, the end.
struct APTPixelRange {
    int mLeft = 0;
    int mTop = 0;
    int mRight = 0;
    int mBottom = 0;

    friend bool operator==(const APTPixelRange&, const APTPixelRange&) = default;
    bool IsEmpty() const { return mLeft >= mRight || mTop >= mBottom; }
};

/// Reads the image once and keeps a few rows of each stage. What is computed depends on the
/// range that is asked for, the values do not.
///
/// Ownership: the rows are its own; the image is the caller's until the last row.
/// Threads: one at a time.
/// Errors: no memory throws std::bad_alloc.
class APTCornerStream {
public:
    void ApplyParams(const APTTrackerParams& inParams);

    /// For tests: the loops to work with instead of the machine's best.
    void SetProcs(const APTCornerRowProcs& inProcs) { mProcs = &inProcs; }
    const APTCornerRowProcs& GetProcs() const { return *mProcs; }

    /// Where points can be: the pixels that have cornerness on all sides.
    APTPixelRange GetScanRange(int inWidth, int inHeight) const;

    /// Starts an image. `inRange`, not empty, is a part of the scan range; the rows that
    /// follow hold the cornerness of it and of one pixel around it.
    void Start(const float* inImage, int inWidth, int inHeight, const APTPixelRange& inRange);

    /// Asks for no more than `inRange` from the next row on, a part of what was asked for.
    /// Its first row of cornerness is then `inRange.mTop` - 1, or a later one if the stream
    /// is past that.
    void Narrow(const APTPixelRange& inRange);

    /// Computes the next row, the first one being `inRange.mTop` - 1. False behind the
    /// last, `inRange.mBottom`.
    bool NextRow();
    /// The row computed last, and the one or two before it; indexed by image column.
    int GetRowNumber() const { return mNextRow - 1; }
    const float* GetRow(int inRow) const;

private:
    const float* GetImageRow(int inAreaRow) const;
    const float* SmoothAcross(int inImageRow);
    const float* GetSmoothRow(int inAreaRow);
    int TotalRows(int inAreaRow);

    static constexpr int kSmoothRows = 4;  // under two rows of totals
    /// Rows of totals from above a window to below it, and one that is made with the last.
    int TotalsRing() const { return 2 * mHalfHeight + 3; }

    const APTCornerRowProcs* mProcs = nullptr;
    int mHalfWidth = 0;
    int mHalfHeight = 0;
    int mCropX = 0;
    int mCropY = 0;
    int mMarginX = 0;
    int mMarginY = 0;
    std::vector<float> mTaps;  // empty without smoothing

    const float* mImage = nullptr;
    int mWidth = 0;
    int mHeight = 0;
    APTPixelRange mRange;
    int mNextRow = 0;     // image row of cornerness
    int mNextAcross = 0;  // image row to be smoothed along x
    int mNextSmooth = 0;  // area row to be smoothed along y
    int mNextTotal = 0;   // area row of the totals
    int mSmoothCols = 0;  // area columns that are needed of each stage
    int mTotalCols = 0;
    std::size_t mStride = 0;

    std::vector<float> mPadded;
    std::vector<float> mAcross;    // ring of rows smoothed along x
    std::vector<float> mSmooth;    // ring of smoothed rows
    std::vector<float> mProducts;  // two rows of totals along each product
    std::vector<float> mTotals;    // ring of totals from the top, three rows each
    std::vector<float> mRows;      // ring of 3 rows of cornerness
    std::vector<const float*> mTapRows;
};

}  // namespace DP
