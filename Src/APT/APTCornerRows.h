// APTCornerRows: the loops of corner selection over one row, chosen once for the machine.
//
// Each works on neighbouring pixels side by side and leaves the order of operations inside
// a pixel alone, so every form gives the same bits. Nothing here is a header with inline
// functions, since files with flags of their own include it.

#pragma once

namespace IP {
template <class Table>
class VectorTargets;
}

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

/// A row and its neighbours.
struct APTGradientRows {
    const float* mAbove;
    const float* mRow;
    const float* mBelow;
};

struct APTCornerRowProcs {
    const char* mName;

    /// out[i] = sum over k of taps[k] line[i + k], k ascending.
    void (*mSmoothAcross)(const float* inLine, const float* inTaps, int inTapCount, int inCount,
                          float* outRow);
    /// out[i] = sum over k of taps[k] rows[k][i], k ascending.
    void (*mSmoothDown)(const float* const* inRows, const float* inTaps, int inTapCount,
                        int inCount, float* outRow);
    /// Running totals from the left, each started at 0, of the products of the differences to
    /// the neighbours on both sides, for columns 0 to `inCount` - 1 of one row or two; column
    /// `inCount` is read too. Column 0 has no neighbour on the left: its difference along x
    /// is 0. With a null row above, a single one, that along y is.
    void (*mTotalProducts)(const APTGradientRows* inRows, int inRowCount, int inCount,
                           const APTProductRows* outRows);
    /// Adds the window sums along x of columns `inBegin` to `inEnd` - 1 to the running
    /// totals from the top: out = above + (totals[x + half] - totals[x - half - 1]).
    void (*mTotalDown)(APTConstProductRows inTotals, APTConstProductRows inAbove, int inHalf,
                       int inBegin, int inEnd, APTProductRows outRows);
    /// Twice the smaller eigenvalue of the windows' gradient matrices, from the totals at the
    /// windows' bottom rows and those above their top rows.
    void (*mCornerness)(APTConstProductRows inBottom, APTConstProductRows inTop, int inBegin,
                        int inEnd, float* outRow);
    /// Writes the columns from `inBegin` to `inEnd` - 1 that are greater than all their
    /// eight neighbours, in ascending order; returns their number.
    int (*mPickMaxima)(const float* inAbove, const float* inRow, const float* inBelow,
                       int inBegin, int inEnd, int* outColumns);
};

/// The forms; one that the build left out is not there.
/// @{
extern const APTCornerRowProcs kAPTCornerRowsPortable;
extern const APTCornerRowProcs kAPTCornerRowsAVX2;
/// @}

/// Those that this machine can run, and the best of them, chosen on first use.
/// @{
const IP::VectorTargets<APTCornerRowProcs>& GetAPTCornerRowTargets();
const APTCornerRowProcs& GetAPTCornerRowProcs();
/// @}

}  // namespace DP
