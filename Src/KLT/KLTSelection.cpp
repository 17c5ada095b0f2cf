// Selection: candidates, their order, and the walk along them.
//
// Order. The sort's scheme settles where equal values end up, so the scheme stays: pivot
// from the middle, two ends that close in on each other and swap. What it does to a part of
// the list does not depend on the other parts, so the parts are sorted when the walk comes
// to them, from the best end; most of the list never is.
//
//     [ ..................... n ..................... ]
//     [ greater | p |            not greater           ]      one pass over all
//     [ gr |p|  | p |            not greater           ]      one over the greater part
//     [ sorted... ^ the walk ends here                 ]

#include "KLT/KLTSelection.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <utility>

#include "KLT/KLTKernels.h"
#include "image/RecycledArray.h"

namespace DP {
namespace {

// A position as a pixel; far out is as good as any place outside the image.
std::int64_t ClippedPixel(float inPosition) {
    return static_cast<std::int64_t>(std::clamp(inPosition, -1.0e18f, 1.0e18f));
}

}  // namespace

// ---- Candidates ----------------------------------------------------------------------

namespace {

constexpr float kMostTrackability = 4294967296.0f;

// The products of gradients of the rows under the windows, each row in the place of the one
// that is no longer needed.
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

constexpr int kRowsAtOnce = 4;

// Values of one row to points: all of them, or those in steps.
SelectionPoint* WritePoints(const KLTKernels& inKernels, const float* inValues,
                            const SelectionBounds& inBounds, std::int64_t inY, int inCols,
                            void (*inReportTooLarge)(), SelectionPoint* outPoints) {
    const long count = inBounds.mEndX - inBounds.mFirstX;
    const auto index = static_cast<std::uint32_t>(inY * inCols + inBounds.mFirstX);
    SelectionPoint* const first = outPoints;
    if (inBounds.mStep == 1) {
        inKernels.mMakePoints(inValues, count, index, &outPoints->mValue);
        outPoints += count;
    } else {
        for (std::int64_t x = 0; x < count; x += inBounds.mStep)
            inKernels.mMakePoints(inValues + x, 1, index + static_cast<std::uint32_t>(x),
                                  &(outPoints++)->mValue);
    }
    if (std::any_of(first, outPoints,
                    [](const SelectionPoint& inPoint) { return inPoint.mValue == INT32_MIN; }))
        for (std::int64_t x = 0; x < count; x += inBounds.mStep)
            if (inValues[x] > kMostTrackability) inReportTooLarge();
    return outPoints;
}

}  // namespace

std::size_t CollectPoints(const IP::Image<float>& inGradX, const IP::Image<float>& inGradY,
                          const SelectionBounds& inBounds, int inWindowWidth,
                          int inWindowHeight, void (*inReportTooLarge)(),
                          SelectionPoint* outPoints) {
    if (inBounds.mFirstX >= inBounds.mEndX || inBounds.mFirstY >= inBounds.mEndY) return 0;
    const KLTKernels& kernels = GetKLTKernels();
    const bool isDense = inBounds.mStep == 1;
    const int rowsAtOnce = isDense ? kRowsAtOnce : 1;
    const long count = inBounds.mEndX - inBounds.mFirstX;
    const int rowsUnder = inWindowHeight + rowsAtOnce - 1;
    ProductRows products(inGradX, inGradY, rowsUnder);
    IP::RecycledArray<float> values(static_cast<std::size_t>(count) * kRowsAtOnce);
    std::vector<const float*> rows[3];
    for (auto& row : rows)
        row.resize(static_cast<std::size_t>(rowsUnder));

    SelectionPoint* point = outPoints;
    std::int64_t y = inBounds.mFirstY;
    while (y < inBounds.mEndY) {
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
        kernels.mTrackability(rows[0].data(), rows[1].data(), rows[2].data(), inWindowWidth,
                              inWindowHeight, outRows, count, outs);
        for (int row = 0; row < outRows; ++row)
            point = WritePoints(kernels, outs[row], inBounds, y + row, inGradX.GetColumns(),
                                inReportTooLarge, point);
        y += isDense ? outRows : inBounds.mStep;
    }
    return static_cast<std::size_t>(point - outPoints);
}

// ---- The order -----------------------------------------------------------------------

namespace {

// Blocks of both ends are looked through without branches, for the places where a swap is
// due; then the swaps of the scheme are done two by two.
struct EndBlock {
    static constexpr std::size_t kSize = 128;

    bool IsEmpty() const { return mAt == mCount; }
    std::size_t Current() const { return mPlaces[mAt]; }

    // Notes the places where the end would stop. The count is a local one: bytes may alias
    // everything that is reached through a pointer.
    template <class Stops>
    void Fill(Stops inStops) {
        std::size_t count = 0;
        for (std::size_t k = 0; k < kSize; ++k) {
            mPlaces[count] = static_cast<unsigned char>(k);
            count += inStops(k) ? 1 : 0;
        }
        mAt = 0;
        mCount = count;
    }

    std::size_t mAt = 0;
    std::size_t mCount = 0;
    unsigned char mPlaces[kSize];
};

// The closing in of the two ends, from `ioI` and `ioJ` on, as long as whole blocks lie
// between them. Leaves both where the scheme, going on step by step, comes to the same.
void CloseInByBlocks(SelectionPoint* ioPoints, std::int32_t inPivot, std::size_t& ioI,
                     std::size_t& ioJ) {
    constexpr std::size_t kSize = EndBlock::kSize;
    EndBlock left, right;
    std::size_t leftStart = ioI + 1;  // of the left block
    std::size_t rightEnd = ioJ;       // behind the right block
    bool hasLeft = false, hasRight = false;
    for (;;) {
        if (rightEnd - leftStart < 2 * kSize) break;
        if (!hasLeft)
            left.Fill(
                [&](std::size_t inK) { return ioPoints[leftStart + inK].mValue <= inPivot; });
        if (!hasRight)
            right.Fill([&](std::size_t inK) {
                return ioPoints[rightEnd - 1 - inK].mValue >= inPivot;
            });
        hasLeft = hasRight = true;
        const std::size_t swaps = std::min(left.mCount - left.mAt, right.mCount - right.mAt);
        for (std::size_t k = 0; k < swaps; ++k)
            std::swap(ioPoints[leftStart + left.mPlaces[left.mAt + k]],
                      ioPoints[rightEnd - 1 - right.mPlaces[right.mAt + k]]);
        left.mAt += swaps;
        right.mAt += swaps;
        if (left.IsEmpty()) {
            leftStart += kSize;
            hasLeft = false;
        }
        if (right.IsEmpty()) {
            rightEnd -= kSize;
            hasRight = false;
        }
    }
    // What was looked through without a swap need not be looked through again.
    ioI = (hasLeft ? leftStart + left.Current() : leftStart) - 1;
    ioJ = hasRight ? rightEnd - right.Current() : rightEnd;
}

// The rest of the closing in, with fewer than 256 points between the ends: where either end
// would stop is noted first, then the stops are swapped two by two until they cross. The
// lower end comes to rest at the upper's next stop, or at the last place swapped into.
std::size_t CloseInToTheEnd(SelectionPoint* ioPoints, std::int32_t inPivot, std::size_t inI,
                            std::size_t inJ) {
    constexpr std::size_t kMost = 2 * EndBlock::kSize;
    unsigned char ups[kMost], downs[kMost];
    SelectionPoint* const between = ioPoints + inI + 1;
    const std::size_t count = inJ - inI - 1;
    std::size_t upCount = 0, downCount = 0;
    for (std::size_t k = 0; k < count; ++k) {
        ups[upCount] = static_cast<unsigned char>(k);
        upCount += between[k].mValue <= inPivot;
        downs[downCount] = static_cast<unsigned char>(count - 1 - k);
        downCount += between[count - 1 - k].mValue >= inPivot;
    }
    const std::size_t most = std::min(upCount, downCount);
    std::size_t k = 0;
    for (; k < most && ups[k] < downs[k]; ++k)
        std::swap(between[ups[k]], between[downs[k]]);
    const std::size_t lastUp = k > 0 ? inI + 1 + ups[k - 1] : inI;
    return k < downCount ? std::max(lastUp, inI + 1 + downs[k]) : lastUp;
}

// One step of the scheme; returns where the pivot ends up. Told step by step:
//
//     swap the first point with the middle one; i = 0, j = count
//     lower j at least once while its point is less than the pivot, then raise i at least
//     once while i < j and its point is greater; swap the two; go on until i meets j
//     swap the first point with the one at j
std::size_t Partition(SelectionPoint* ioPoints, std::size_t inCount) {
    std::swap(ioPoints[0], ioPoints[inCount / 2]);
    const std::int32_t pivot = ioPoints[0].mValue;
    std::size_t i = 0;
    std::size_t j = inCount;
    CloseInByBlocks(ioPoints, pivot, i, j);
    j = CloseInToTheEnd(ioPoints, pivot, i, j);
    std::swap(ioPoints[j], ioPoints[0]);
    return j;
}

// All of a small part at once. Parts do not depend on each other, so the order in which
// they are sorted does not matter.
void SortSmall(SelectionPoint* ioPoints, std::size_t inCount) {
    while (inCount > 1) {
        const std::size_t pivot = Partition(ioPoints, inCount);
        SortSmall(ioPoints, pivot);
        ioPoints += pivot + 1;
        inCount -= pivot + 1;
    }
}

}  // namespace

SortedPoints::SortedPoints(SelectionPoint* ioPoints, std::size_t inCount)
    : mNext(ioPoints), mSortedEnd(ioPoints), mParts{{ioPoints, inCount}} {}

// Sorts on until at least one more point of the first part is in its place.
void SortedPoints::SortTop() {
    constexpr std::size_t kSmall = 64;
    while (mParts.back().mCount > kSmall) {
        const Part part = mParts.back();
        const std::size_t pivot = Partition(part.mPoints, part.mCount);
        mParts.back() = {part.mPoints + pivot + 1, part.mCount - pivot - 1};
        mParts.push_back({part.mPoints + pivot, 1});
        mParts.push_back({part.mPoints, pivot});
    }
    SortSmall(mParts.back().mPoints, mParts.back().mCount);
    mSortedEnd += mParts.back().mCount;
    mParts.pop_back();
}

const SelectionPoint* SortedPoints::Next() {
    while (mNext == mSortedEnd) {
        if (mParts.empty()) return nullptr;
        SortTop();
    }
    return mNext++;
}

void SortedPoints::Finish() {
    while (!mParts.empty())
        SortTop();
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
    std::fill(map.begin(), map.end(), static_cast<unsigned char>(0));
    const int distance = inMinDist - 1;
    const int leastValue = std::max(inMinEigenvalue, 1);
    if (!inOverwriteAll)
        for (const KLTFeature& feature : ioList)
            if (feature.mValue >= 0 && std::isfinite(feature.mX) && std::isfinite(feature.mY))
                FillFeatureMap(ClippedPixel(feature.mX), ClippedPixel(feature.mY), map.begin(),
                               distance, inCols, inRows);

    const auto isFree = [&](const KLTFeature& inFeature) {
        return inOverwriteAll || inFeature.mValue < 0;
    };
    auto slot = std::find_if(ioList.begin(), ioList.end(), isFree);
    while (slot != ioList.end()) {
        const SelectionPoint* const point = ioPoints.Next();
        if (!point || point->mValue < leastValue) break;  // none that comes is better
        if (map[point->mIndex] != 0) continue;
        const auto x = static_cast<int>(point->mIndex % static_cast<unsigned int>(inCols));
        const auto y = static_cast<int>(point->mIndex / static_cast<unsigned int>(inCols));
        slot->mX = static_cast<float>(x);
        slot->mY = static_cast<float>(y);
        slot->mValue = point->mValue;
        slot->mId = static_cast<std::int32_t>(slot - ioList.begin());
        slot->mAge = 0;
        FillFeatureMap(x, y, map.begin(), distance, inCols, inRows);
        slot = std::find_if(slot + 1, ioList.end(), isFree);
    }
    for (; slot != ioList.end(); ++slot) {
        if (!isFree(*slot)) continue;
        slot->mX = -1.0f;
        slot->mY = -1.0f;
        slot->mValue = kKLTNotFound;
    }
}

}  // namespace DP
