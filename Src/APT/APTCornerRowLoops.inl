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

// kTaps 0: the number is not known while compiling.
template <int kTaps>
inline void SmoothAcrossOf(const float* __restrict inLine, const float* __restrict inTaps,
                           int inTapCount, int inCount, float* __restrict outRow) {
    const int taps = kTaps ? kTaps : inTapCount;
    int i = 0;
    for (; i + kBlock <= inCount; i += kBlock) {
        float sums[kBlock] = {};
        for (int k = 0; k < taps; ++k)
            for (int lane = 0; lane < kBlock; ++lane)
                sums[lane] += inTaps[k] * inLine[i + k + lane];
        for (int lane = 0; lane < kBlock; ++lane)
            outRow[i + lane] = sums[lane];
    }
    for (; i < inCount; ++i) {
        float sum = 0.0f;
        for (int k = 0; k < taps; ++k)
            sum += inTaps[k] * inLine[i + k];
        outRow[i] = sum;
    }
}

void SmoothAcross(const float* inLine, const float* inTaps, int inTapCount, int inCount,
                  float* outRow) {
    if (inTapCount == kUsualTaps)
        SmoothAcrossOf<kUsualTaps>(inLine, inTaps, inTapCount, inCount, outRow);
    else
        SmoothAcrossOf<0>(inLine, inTaps, inTapCount, inCount, outRow);
}

template <int kTaps>
inline void SmoothDownOf(const float* const* inRows, const float* __restrict inTaps,
                         int inTapCount, int inCount, float* __restrict outRow) {
    const int taps = kTaps ? kTaps : inTapCount;
    int i = 0;
    for (; i + kBlock <= inCount; i += kBlock) {
        float sums[kBlock] = {};
        for (int k = 0; k < taps; ++k)
            for (int lane = 0; lane < kBlock; ++lane)
                sums[lane] += inTaps[k] * inRows[k][i + lane];
        for (int lane = 0; lane < kBlock; ++lane)
            outRow[i + lane] = sums[lane];
    }
    for (; i < inCount; ++i) {
        float sum = 0.0f;
        for (int k = 0; k < taps; ++k)
            sum += inTaps[k] * inRows[k][i];
        outRow[i] = sum;
    }
}

void SmoothDown(const float* const* inRows, const float* inTaps, int inTapCount, int inCount,
                float* outRow) {
    if (inTapCount == kUsualTaps)
        SmoothDownOf<kUsualTaps>(inRows, inTaps, inTapCount, inCount, outRow);
    else
        SmoothDownOf<0>(inRows, inTaps, inTapCount, inCount, outRow);
}

template <bool kHasY>
inline void MultiplyOf(const float* inAbove, const float* inRow, const float* inBelow,
                       int inCount, APTProductRows outRows) {
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

inline void TotalDownOf(const float* inTotals, const float* __restrict inAbove, int inHalf,
                        int inBegin, int inEnd, float* __restrict outRow) {
    const float* const __restrict foot = inTotals + inHalf;
    const float* const __restrict head = inTotals - inHalf - 1;
    for (int x = inBegin; x < inEnd; ++x)
        outRow[x] = inAbove[x] + (foot[x] - head[x]);
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
