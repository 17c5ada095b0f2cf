// APTCornerRows: the loops of corner selection over one row, chosen once for the machine.
//
// Each works on neighbouring pixels side by side and leaves the order of operations inside
// a pixel alone, so every variant gives the same bits.

#pragma once

namespace DP {

/// Three rows of one kind for gx gx, gy gy and gx gy.
struct APTProductRows {
    float* mXX;
    float* mYY;
    float* mXY;
};
struct APTConstProductRows {
    const float* mXX;
    const float* mYY;
    const float* mXY;
};

struct APTCornerRowProcs {
    const char* mName;

    /// out[i] = sum over k of taps[k] line[i + k], k ascending.
    void (*mSmoothAcross)(const float* inLine, const float* inTaps, int inTapCount, int inCount,
                          float* outRow);
    /// out[i] = sum over k of taps[k] rows[k][i], k ascending.
    void (*mSmoothDown)(const float* const* inRows, const float* inTaps, int inTapCount,
                        int inCount, float* outRow);
    /// Products of the differences to the neighbours on both sides, for columns 1 to
    /// `inCount` - 1; column `inCount` of the row is read too. Column 0 has no neighbour on
    /// the left: its difference along x is 0. With null rows above and below, that along y
    /// is.
    void (*mMultiply)(const float* inAbove, const float* inRow, const float* inBelow,
                      int inCount, APTProductRows outRows);
    /// Running totals from the left, each row started at 0.
    void (*mTotalAcross)(APTProductRows ioRows, int inCount);
    /// Adds the window sums along x of columns `inBegin` to `inEnd` - 1 to the running
    /// totals from the top: out = above + (totals[x + half] - totals[x - half - 1]).
    void (*mTotalDown)(APTConstProductRows inTotals, APTConstProductRows inAbove, int inHalf,
                       int inBegin, int inEnd, APTProductRows outRows);
    /// Cornerness from the totals at the window's foot and above its head.
    void (*mCornerness)(APTConstProductRows inFoot, APTConstProductRows inHead, int inBegin,
                        int inEnd, float* outRow);
    /// Writes the columns from `inBegin` to `inEnd` - 1 that are greater than all their
    /// eight neighbours, in ascending order; returns their number.
    int (*mPickMaxima)(const float* inAbove, const float* inRow, const float* inBelow,
                       int inBegin, int inEnd, int* outColumns);
};

inline constexpr int kAPTCornerRowVariants = 2;

/// The variants that this machine can run, the plain one first and the widest last.
int GetAPTCornerRowVariants(const APTCornerRowProcs** outVariants);

/// The widest.
const APTCornerRowProcs& GetAPTCornerRowProcs();

}  // namespace DP
