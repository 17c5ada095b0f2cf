// Selection: candidates, their order, and the walk along them.
//
// Score. The smaller eigenvalue of the matrix of a window's gradients, as in J. Shi and
// C. Tomasi, "Good features to track" (1994): large where a motion along any direction shows.
//
// Order. The sort's scheme settles where equal values end up, so the scheme stays: a
// quicksort by Hoare's partition with the middle point as pivot. What it does to a part of
// the list does not depend on the other parts, so the parts are sorted when the walk comes
// to them, from the best end; most of the list never is. A part in which few pixels are
// still free is not sorted either, unless free ones have equal values: the best of a few is
// found by looking.
//
//     [ ..................... n ..................... ]
//     [ greater | p |            not greater           ]      one pass over all
//     [ gr |p|  | p |            not greater           ]      one over the greater part
//     [ looked through ... ^ the walk ends here        ]

#include "KLT/KLTSelection.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <utility>

#include "KLT/KLTFeatureRecord.h"
#include "KLT/KLTKernels.h"
#include "image/Interruption.h"
#include "image/RecycledArray.h"
#include "image/Saturate.h"

namespace DP {

// A region with a side that is NaN has no inside.
SelectionBounds BoundsOf(const TVK::ParamRect<float>& inRegion, const IP::FrameView& inFrame,
                         const TrackingContext& inContext) {
    const std::int64_t step =
        std::max<std::int64_t>(std::int64_t{inContext.mSkippedPixels} + 1, 1);
    for (const float side : {inRegion.mLeft, inRegion.mTop, inRegion.mRight, inRegion.mBottom})
        if (std::isnan(side)) return {0, 0, 0, 0, step};
    const int halfWidth = inContext.mWindowWidth / 2;
    const int halfHeight = inContext.mWindowHeight / 2;
    const float bottom = static_cast<float>(inFrame.mRows) - inRegion.mBottom;
    const float top = static_cast<float>(inFrame.mRows) - inRegion.mTop;
    return {std::max(IP::ClampNaNLowest(std::min(inRegion.mLeft, inRegion.mRight)), halfWidth),
            std::min(IP::ClampNaNLowest(std::max(inRegion.mLeft, inRegion.mRight)),
                     inFrame.mColumns - halfWidth),
            std::max(IP::ClampNaNLowest(std::min(bottom, top)), halfHeight),
            std::min(IP::ClampNaNLowest(std::max(bottom, top)), inFrame.mRows - halfHeight),
            step};
}

namespace {

// ---- Candidates ----------------------------------------------------------------------

constexpr float kMostTrackability = 4294967296.0f;

// The products of gradients (gx gx, gx gy, gy gy) of the rows under the windows, each row in
// the place of the one that is no longer needed.
class ProductRows {
public:
    ProductRows(const IP::Image<float>& inGradX, const IP::Image<float>& inGradY, int inHeight)
        : mGradX(inGradX),
          mGradY(inGradY),
          mHeight(inHeight),
          mCols(inGradX.GetColumns()),
          mPixels(3 * static_cast<std::size_t>(inHeight) * static_cast<std::size_t>(mCols)) {}

    // Makes the rows up to, and without, `inEndY`.
    void Reach(const KLTKernels& inKernels, int inEndY) {
        for (mEndY = std::max(mEndY, inEndY - mHeight); mEndY < inEndY; ++mEndY)
            inKernels.mProducts(mGradX.GetData() + mEndY * mCols,
                                mGradY.GetData() + mEndY * mCols, mCols, Row(0, mEndY),
                                Row(1, mEndY), Row(2, mEndY));
    }

    float* Row(int inKind, std::ptrdiff_t inY) {
        return mPixels.begin() + (inKind * mHeight + inY % mHeight) * mCols;
    }

private:
    const IP::Image<float>& mGradX;
    const IP::Image<float>& mGradY;
    std::ptrdiff_t mHeight;
    std::ptrdiff_t mCols;
    std::ptrdiff_t mEndY = 0;
    IP::RecycledArray<float> mPixels;
};

constexpr int kRowsAtOnce = 8;

// Values of one row to points: all of them, or those in steps.
std::size_t WritePoints(const KLTKernels& inKernels, const float* inValues,
                        const SelectionBounds& inBounds, std::int64_t inY, int inCols,
                        void (*inReportTooLarge)(), PointList outPoints) {
    const long long count = inBounds.mEndX - inBounds.mFirstX;
    const auto index = static_cast<std::uint32_t>(inY * inCols + inBounds.mFirstX);
    std::size_t written = 0;
    bool allFit = true;
    if (inBounds.mStep == 1) {
        allFit = inKernels.mMakePoints(inValues, count, index, outPoints.mValues,
                                       outPoints.mIndices);
        written = static_cast<std::size_t>(count);
    } else {
        for (std::int64_t x = 0; x < count; x += inBounds.mStep, ++written)
            allFit &= inKernels.mMakePoints(
                inValues + x, 1, index + static_cast<std::uint32_t>(x),
                outPoints.mValues + written, outPoints.mIndices + written);
    }
    if (!allFit)
        for (std::int64_t x = 0; x < count; x += inBounds.mStep)
            if (inValues[x] > kMostTrackability) inReportTooLarge();
    return written;
}

}  // namespace

std::size_t CollectPoints(const IP::Image<float>& inGradX, const IP::Image<float>& inGradY,
                          const SelectionBounds& inBounds, int inWindowWidth,
                          int inWindowHeight, void (*inReportTooLarge)(), PointList outPoints) {
    if (inBounds.mFirstX >= inBounds.mEndX || inBounds.mFirstY >= inBounds.mEndY) return 0;
    const KLTKernels& kernels = GetKLTKernels();
    const bool isDense = inBounds.mStep == 1;
    const int rowsAtOnce = isDense ? kRowsAtOnce : 1;
    const long long count = inBounds.mEndX - inBounds.mFirstX;
    const int rowsUnder = inWindowHeight + rowsAtOnce - 1;
    ProductRows products(inGradX, inGradY, rowsUnder);
    IP::RecycledArray<float> values(static_cast<std::size_t>(count) * kRowsAtOnce);
    std::vector<const float*> rows[3];
    for (auto& row : rows)
        row.resize(static_cast<std::size_t>(rowsUnder));

    std::size_t written = 0;
    std::int64_t y = inBounds.mFirstY;
    while (y < inBounds.mEndY) {
        IP::Checkpoint(y - inBounds.mFirstY, inBounds.mEndY - inBounds.mFirstY);
        const int outRows =
            static_cast<int>(std::min<std::int64_t>(rowsAtOnce, inBounds.mEndY - y));
        const int firstY = static_cast<int>(y) - inWindowHeight / 2;
        const int underNow = inWindowHeight + outRows - 1;
        products.Reach(kernels, firstY + underNow);
        for (int kind = 0; kind < 3; ++kind)
            for (int row = 0; row < underNow; ++row)
                rows[kind][static_cast<std::size_t>(row)] =
                    products.Row(kind, firstY + row) + (inBounds.mFirstX - inWindowWidth / 2);
        float* outs[kRowsAtOnce];
        for (int row = 0; row < kRowsAtOnce; ++row)
            outs[row] = values.begin() + row * count;
        kernels.mTrackability({rows[0].data(), rows[1].data(), rows[2].data()}, inWindowWidth,
                              inWindowHeight, outRows, count, outs);
        for (int row = 0; row < outRows; ++row)
            written += WritePoints(kernels, outs[row], inBounds, y + row, inGradX.GetColumns(),
                                   inReportTooLarge, outPoints + written);
        y += isDense ? outRows : inBounds.mStep;
    }
    return written;
}

// ---- The order -----------------------------------------------------------------------

namespace {

// The end of a Hoare partition, with fewer than 128 points between the indices i and j. Lists
// without branches where the rising index would stop (`ups`) and where the falling one would
// (`downs`), and swaps pair by pair until the indices have crossed. Returns where the falling
// index stops then: at its next stop, or at the last point that was swapped upward.
std::size_t FinishPartition(PointList ioPoints, std::int32_t inPivot, std::size_t inI,
                            std::size_t inJ) {
    unsigned char ups[128], downs[128];
    const PointList between = ioPoints + (inI + 1);
    const std::size_t count = inJ - inI - 1;
    std::size_t upCount = 0, downCount = 0;
    for (std::size_t k = 0; k < count; ++k) {
        ups[upCount] = static_cast<unsigned char>(k);
        upCount += between.mValues[k] <= inPivot ? 1 : 0;
        downs[downCount] = static_cast<unsigned char>(count - 1 - k);
        downCount += between.mValues[count - 1 - k] >= inPivot ? 1 : 0;
    }
    const std::size_t most = std::min(upCount, downCount);
    std::size_t k = 0;
    for (; k < most && ups[k] < downs[k]; ++k)
        between.Swap(ups[k], downs[k]);
    const std::size_t lastUp = k > 0 ? inI + 1 + ups[k - 1] : inI;
    return k < downCount ? std::max(lastUp, inI + 1 + downs[k]) : lastUp;
}

// One step of the scheme; returns where the pivot ends up. Told step by step:
//
//     swap the first point with the middle one; i = 0, j = count
//     lower j at least once while its point is less than the pivot, then raise i at least
//     once while i < j and its point is greater; swap the two; go on until i meets j
//     swap the first point with the one at j
std::size_t Partition(PointList ioPoints, std::size_t inCount) {
    ioPoints.Swap(0, inCount / 2);
    const std::int32_t pivot = ioPoints.mValues[0];
    long long i = 0;
    long long j = static_cast<long long>(inCount);
    constexpr long long kPointsAtOnce = 1 << 20;
    for (long long rest = j; rest > 0; rest -= kPointsAtOnce) {
        if (rest > kPointsAtOnce) IP::Checkpoint(0, 1);
        GetKLTKernels().mPartitionBlocks(ioPoints.mValues, ioPoints.mIndices, pivot,
                                         rest - kPointsAtOnce, &i, &j);
    }
    const std::size_t end = FinishPartition(ioPoints, pivot, static_cast<std::size_t>(i),
                                            static_cast<std::size_t>(j));
    ioPoints.Swap(end, 0);
    return end;
}

// Recurses into the smaller part, which keeps the stack shallow whatever the points are.
void Sort(PointList ioPoints, std::size_t inCount) {
    while (inCount > 1) {
        const std::size_t left = Partition(ioPoints, inCount);
        const std::size_t right = inCount - left - 1;
        const PointList rightPoints = ioPoints + (left + 1);
        if (left < right) {
            Sort(ioPoints, left);
            ioPoints = rightPoints;
            inCount = right;
        } else {
            Sort(rightPoints, right);
            inCount = left;
        }
    }
}

}  // namespace

SortedPoints::SortedPoints(PointList ioPoints, std::size_t inCount) {
    if (inCount > 0) mParts.push_back({ioPoints, inCount});
}

bool SortedPoints::NextFree(const unsigned char* inMap, SelectionPoint& outPoint) {
    while (!mParts.empty()) {
        if (!mIsListed && !ListFree(inMap)) {
            IP::Checkpoint(0, 1);
            SplitPart();
            continue;
        }
        std::size_t best = 0;
        const int equals = FindBest(inMap, best);
        if (equals == 1) {
            outPoint = mFree[best];
            mFree[best] = mFree[--mFreeCount];
            return true;
        }
        if (equals > 1) {
            mHighest = mFree[best].mValue;
            SplitPart();
        } else {
            mPassed.push_back(mParts.back());
            mParts.pop_back();
            mIsListed = false;
        }
    }
    return false;
}

// Lists the free points of the first part. Returns false where it seems to have too many.
bool SortedPoints::ListFree(const unsigned char* inMap) {
    const Part& part = mParts.back();
    const double most = static_cast<double>(mFree.size());
    if (static_cast<double>(part.mCount) * mFreeShare > most) return false;
    std::size_t looked = 0;
    for (mFreeCount = 0; looked < part.mCount && mFreeCount < mFree.size(); ++looked) {
        mFree[mFreeCount] = {part.mPoints.mValues[looked], part.mPoints.mIndices[looked]};
        const bool isFree = inMap[mFree[mFreeCount].mIndex] == 0;
        mFreeCount += isFree && mFree[mFreeCount].mValue <= mHighest ? 1 : 0;
    }
    mFreeShare = static_cast<double>(mFreeCount + 1) / static_cast<double>(looked + 1);
    mIsListed = looked == part.mCount;
    return mIsListed;
}

// Finds the best of the listed points, and drops those that are no longer free. Returns how
// many have its value.
int SortedPoints::FindBest(const unsigned char* inMap, std::size_t& outBest) {
    int equals = 0;
    std::size_t kept = 0;
    for (std::size_t k = 0; k < mFreeCount; ++k) {
        const SelectionPoint point = mFree[k];
        if (inMap[point.mIndex] != 0) continue;
        if (equals == 0 || point.mValue > mFree[outBest].mValue) {
            outBest = kept;
            equals = 1;
        } else if (point.mValue == mFree[outBest].mValue) {
            ++equals;
        }
        mFree[kept++] = point;
    }
    mFreeCount = kept;
    return equals;
}

void SortedPoints::SplitPart() {
    const Part part = mParts.back();
    const std::size_t pivot = Partition(part.mPoints, part.mCount);
    mParts.pop_back();
    if (pivot + 1 < part.mCount)
        mParts.push_back({part.mPoints + (pivot + 1), part.mCount - pivot - 1});
    mParts.push_back({part.mPoints + pivot, 1});
    if (pivot > 0) mParts.push_back({part.mPoints, pivot});
    mIsListed = false;
}

void SortedPoints::Finish() {
    for (const std::vector<Part>* const parts : {&mParts, &mPassed})
        for (const Part& part : *parts)
            Sort(part.mPoints, part.mCount);
    mParts.clear();
    mPassed.clear();
}

// ---- The walk ------------------------------------------------------------------------

void FillFeatureMap(std::int64_t inX, std::int64_t inY, unsigned char* ioMap, int inDistance,
                    int inCols, int inRows) {
    const std::int64_t cols = inCols;
    const std::int64_t firstX = std::max<std::int64_t>(inX - inDistance, 0);
    const std::int64_t endX = std::min<std::int64_t>(inX + inDistance + 1, cols);
    const std::int64_t firstY = std::max<std::int64_t>(inY - inDistance, 0);
    const std::int64_t endY = std::min<std::int64_t>(inY + inDistance + 1, inRows);
    if (firstX >= endX) return;
    for (std::int64_t y = firstY; y < endY; ++y)
        std::memset(ioMap + y * cols + firstX, 1, static_cast<std::size_t>(endX - firstX));
}

void EnforceMinimumDistance(SortedPoints& ioPoints, int inCols, int inRows, int inMinDist,
                            int inMinEigenvalue, bool inOverwriteAll, KLTFeatureList& ioList) {
    IP::RecycledArray<unsigned char> map(static_cast<std::size_t>(std::max(inCols, 0)) *
                                         static_cast<std::size_t>(std::max(inRows, 0)));
    IP::FillPages(map.begin(), map.size(), static_cast<unsigned char>(0));
    const int distance = inMinDist - 1;
    const int leastValue = std::max(inMinEigenvalue, 1);
    if (!inOverwriteAll)
        for (const KLTFeature& feature : ioList)
            if (feature.mValue >= 0 && std::isfinite(feature.mX) && std::isfinite(feature.mY))
                FillFeatureMap(IP::ClampNoNaN(feature.mX), IP::ClampNoNaN(feature.mY),
                               map.begin(), distance, inCols, inRows);

    const auto isFree = [&](const KLTFeature& inFeature) {
        return inOverwriteAll || inFeature.mValue < 0;
    };
    auto slot = std::find_if(ioList.begin(), ioList.end(), isFree);
    while (slot != ioList.end()) {
        SelectionPoint point;
        if (!ioPoints.NextFree(map.begin(), point) || point.mValue < leastValue) break;
        const auto x = static_cast<int>(point.mIndex % static_cast<unsigned int>(inCols));
        const auto y = static_cast<int>(point.mIndex / static_cast<unsigned int>(inCols));
        RecordSelected(x, y, point.mValue, static_cast<std::int32_t>(slot - ioList.begin()),
                       *slot);
        FillFeatureMap(x, y, map.begin(), distance, inCols, inRows);
        slot = std::find_if(slot + 1, ioList.end(), isFree);
    }
    for (; slot != ioList.end(); ++slot)
        if (isFree(*slot)) RecordNotFound(*slot);
}

// Works on a copy: a new record reads as live, so a caller whose memory runs out midway must
// find its list as it was.
void FillList(SortedPoints& ioPoints, const IP::FrameView& inFrame,
              const TrackingContext& inContext, unsigned int inMaxFeatures,
              const KLTFeatureListPtr* inKept, KLTFeatureList& ioList) {
    KLTFeatureList list = ioList;
    list.resize(inMaxFeatures);
    if (inKept && &**inKept != &ioList) list = **inKept;
    EnforceMinimumDistance(ioPoints, inFrame.mColumns, inFrame.mRows, inContext.mMinDist,
                           inContext.mMinEigenvalue, inKept == nullptr, list);
    ioList.swap(list);
}

}  // namespace DP
