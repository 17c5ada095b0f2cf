#include "KLT/KLTSelection.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "image/RecycledArray.h"

namespace DP {
namespace {

// A position as a pixel; far out is as good as any place outside the image.
std::int64_t ClippedPixel(float inPosition) {
    return static_cast<std::int64_t>(std::clamp(inPosition, -1.0e18f, 1.0e18f));
}

}  // namespace

float ComputeTrackability(float inGxx, float inGxy, float inGyy) {
    const float difference = inGxx - inGyy;
    return (inGxx + inGyy - std::sqrt(difference * difference + 4.0f * inGxy * inGxy)) / 2.0f;
}

// The pivot comes from the middle; two ends close in on each other and swap what stands on
// the wrong side, equal values among them; then the smaller part is sorted first.
void SortPointList(SelectionPoint* ioPoints, std::size_t inCount) {
    while (inCount > 1) {
        std::swap(ioPoints[0], ioPoints[inCount / 2]);
        const std::int32_t pivot = ioPoints[0].mValue;
        std::size_t i = 0;
        std::size_t j = inCount;
        for (;;) {
            do
                --j;
            while (ioPoints[j].mValue < pivot);
            do
                ++i;
            while (i < j && ioPoints[i].mValue > pivot);
            if (i >= j) break;
            std::swap(ioPoints[i], ioPoints[j]);
        }
        std::swap(ioPoints[j], ioPoints[0]);

        SelectionPoint* const right = ioPoints + j + 1;
        const std::size_t rightCount = inCount - j - 1;
        if (j < rightCount) {
            SortPointList(ioPoints, j);
            ioPoints = right;
            inCount = rightCount;
        } else {
            SortPointList(right, rightCount);
            inCount = j;
        }
    }
}

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

void EnforceMinimumDistance(const SelectionPoint* inPoints, std::size_t inCount, int inCols,
                            int inRows, int inMinDist, int inMinEigenvalue, bool inOverwriteAll,
                            KLTFeatureList& ioList) {
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
    auto slot = ioList.begin();
    for (const SelectionPoint* point = inPoints; point != inPoints + inCount; ++point) {
        slot = std::find_if(slot, ioList.end(), isFree);
        if (slot == ioList.end()) return;
        const std::size_t cell =
            static_cast<std::size_t>(point->mY) * static_cast<std::size_t>(inCols) +
            static_cast<std::size_t>(point->mX);
        if (map[cell] != 0 || point->mValue < leastValue) continue;
        slot->mX = static_cast<float>(point->mX);
        slot->mY = static_cast<float>(point->mY);
        slot->mValue = point->mValue;
        slot->mId = static_cast<std::int32_t>(slot - ioList.begin());
        slot->mAge = 0;
        ++slot;
        FillFeatureMap(point->mX, point->mY, map.begin(), distance, inCols, inRows);
    }
    for (; slot != ioList.end(); ++slot) {
        if (!isFree(*slot)) continue;
        slot->mX = -1.0f;
        slot->mY = -1.0f;
        slot->mValue = kKLTNotFound;
    }
}

}  // namespace DP
