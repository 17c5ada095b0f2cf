// The loops behind APTCornerRows.h, written once and compiled for several instruction sets:
// a file that includes this one defines DP_CORNER_ROWS, the name of its variant, and
// includes nothing from the standard library, whose inline functions must not be compiled
// with its flags.
//
// Blocks of neighbouring pixels: every compiler turns the inner loops into vector code.

namespace DP {
namespace DP_CORNER_ROWS {
namespace {

constexpr int kBlock = 16;
constexpr int kUsualTaps = 9;

// With the number of taps known while compiling, the loop over the taps is unrolled and
// the one over the pixels becomes vector code.
template <int kTaps>
inline void SmoothAcrossBy(const float* __restrict inLine, const float* __restrict inTaps,
                           int inCount, float* __restrict outRow) {
    float taps[kTaps];
    for (int k = 0; k < kTaps; ++k)
        taps[k] = inTaps[k];
    for (int i = 0; i < inCount; ++i) {
        float sum = taps[0] * inLine[i];
        for (int k = 1; k < kTaps; ++k)
            sum += taps[k] * inLine[i + k];
        outRow[i] = sum;
    }
}

template <int kTaps>
inline void SmoothDownBy(const float* const* inRows, const float* __restrict inTaps,
                         int inCount, float* __restrict outRow) {
    float taps[kTaps];
    const float* rows[kTaps];
    for (int k = 0; k < kTaps; ++k) {
        taps[k] = inTaps[k];
        rows[k] = inRows[k];
    }
    for (int i = 0; i < inCount; ++i) {
        float sum = taps[0] * rows[0][i];
        for (int k = 1; k < kTaps; ++k)
            sum += taps[k] * rows[k][i];
        outRow[i] = sum;
    }
}

void SmoothAcross(const float* inLine, const float* inTaps, int inTapCount, int inCount,
                  float* outRow) {
    if (inTapCount == kUsualTaps) {
        SmoothAcrossBy<kUsualTaps>(inLine, inTaps, inCount, outRow);
        return;
    }
    for (int i = 0; i < inCount; ++i) {
        float sum = inTaps[0] * inLine[i];
        for (int k = 1; k < inTapCount; ++k)
            sum += inTaps[k] * inLine[i + k];
        outRow[i] = sum;
    }
}

void SmoothDown(const float* const* inRows, const float* inTaps, int inTapCount, int inCount,
                float* outRow) {
    if (inTapCount == kUsualTaps) {
        SmoothDownBy<kUsualTaps>(inRows, inTaps, inCount, outRow);
        return;
    }
    for (int i = 0; i < inCount; ++i) {
        float sum = inTaps[0] * inRows[0][i];
        for (int k = 1; k < inTapCount; ++k)
            sum += inTaps[k] * inRows[k][i];
        outRow[i] = sum;
    }
}

template <bool kHasY>
inline void MultiplyOf(const float* __restrict inAbove, const float* __restrict inRow,
                       const float* __restrict inBelow, int inCount, APTProductRows outRows) {
    float* const __restrict xx = outRows.mXX;
    float* const __restrict yy = outRows.mYY;
    float* const __restrict xy = outRows.mXY;
    const float firstY = kHasY ? inBelow[0] - inAbove[0] : 0.0f;
    xx[0] = 0.0f;
    yy[0] = firstY * firstY;
    xy[0] = 0.0f * firstY;
    for (int x = 1; x < inCount; ++x) {
        const float gx = inRow[x + 1] - inRow[x - 1];
        const float gy = kHasY ? inBelow[x] - inAbove[x] : 0.0f;
        xx[x] = gx * gx;
        yy[x] = gy * gy;
        xy[x] = gx * gy;
    }
}

void Multiply(const float* inAbove, const float* inRow, const float* inBelow, int inCount,
              APTProductRows outRows) {
    if (inAbove)
        MultiplyOf<true>(inAbove, inRow, inBelow, inCount, outRows);
    else
        MultiplyOf<false>(inAbove, inRow, inBelow, inCount, outRows);
}

void TotalAcross(APTProductRows ioRows, int inCount) {
    float* const __restrict xx = ioRows.mXX;
    float* const __restrict yy = ioRows.mYY;
    float* const __restrict xy = ioRows.mXY;
    float totalXX = 0.0f;
    float totalYY = 0.0f;
    float totalXY = 0.0f;
    for (int x = 0; x < inCount; ++x) {
        xx[x] = totalXX += xx[x];
        yy[x] = totalYY += yy[x];
        xy[x] = totalXY += xy[x];
    }
}

inline void TotalDownOf(const float* __restrict inTotals, const float* __restrict inAbove,
                        int inHalf, int inBegin, int inEnd, float* __restrict outRow) {
    for (int x = inBegin; x < inEnd; ++x)
        outRow[x] = inAbove[x] + (inTotals[x + inHalf] - inTotals[x - inHalf - 1]);
}

void TotalDown(APTConstProductRows inTotals, APTConstProductRows inAbove, int inHalf,
               int inBegin, int inEnd, APTProductRows outRows) {
    TotalDownOf(inTotals.mXX, inAbove.mXX, inHalf, inBegin, inEnd, outRows.mXX);
    TotalDownOf(inTotals.mYY, inAbove.mYY, inHalf, inBegin, inEnd, outRows.mYY);
    TotalDownOf(inTotals.mXY, inAbove.mXY, inHalf, inBegin, inEnd, outRows.mXY);
}

// Twice the smaller eigenvalue of ((a, c), (c, b)).
void Cornerness(APTConstProductRows inFoot, APTConstProductRows inHead, int inBegin, int inEnd,
                float* __restrict outRow) {
    const float* const __restrict footXX = inFoot.mXX;
    const float* const __restrict footYY = inFoot.mYY;
    const float* const __restrict footXY = inFoot.mXY;
    const float* const __restrict headXX = inHead.mXX;
    const float* const __restrict headYY = inHead.mYY;
    const float* const __restrict headXY = inHead.mXY;
    for (int x = inBegin; x < inEnd; ++x) {
        const float a = footXX[x] - headXX[x];
        const float b = footYY[x] - headYY[x];
        const float c = footXY[x] - headXY[x];
        const float s = a + b;
        outRow[x] = s - __builtin_sqrtf(s * s - 4.0f * (a * b - c * c));
    }
}

// A NaN compares false: it is no maximum, and neither are its neighbours.
inline int IsMaximum(const float* inAbove, const float* inRow, const float* inBelow, int inX) {
    const float value = inRow[inX];
    return (value > inRow[inX - 1]) & (value > inRow[inX + 1]) & (value > inAbove[inX - 1]) &
           (value > inAbove[inX]) & (value > inAbove[inX + 1]) & (value > inBelow[inX - 1]) &
           (value > inBelow[inX]) & (value > inBelow[inX + 1]);
}

int PickMaxima(const float* inAbove, const float* inRow, const float* inBelow, int inBegin,
               int inEnd, int* outColumns) {
    int count = 0;
    int x = inBegin;
    for (; x + kBlock <= inEnd; x += kBlock) {
        int isMaximum[kBlock];
        int any = 0;
        for (int lane = 0; lane < kBlock; ++lane) {
            isMaximum[lane] = IsMaximum(inAbove, inRow, inBelow, x + lane);
            any |= isMaximum[lane];
        }
        if (!any) continue;
        for (int lane = 0; lane < kBlock; ++lane)
            if (isMaximum[lane]) outColumns[count++] = x + lane;
    }
    for (; x < inEnd; ++x)
        if (IsMaximum(inAbove, inRow, inBelow, x)) outColumns[count++] = x;
    return count;
}

}  // namespace
}  // namespace DP_CORNER_ROWS
}  // namespace DP

#define DP_CORNER_ROW_PROCS(inName)                                                           \
    {                                                                                         \
        inName, DP_CORNER_ROWS::SmoothAcross, DP_CORNER_ROWS::SmoothDown,                     \
            DP_CORNER_ROWS::Multiply, DP_CORNER_ROWS::TotalAcross, DP_CORNER_ROWS::TotalDown, \
            DP_CORNER_ROWS::Cornerness, DP_CORNER_ROWS::PickMaxima                            \
    }
