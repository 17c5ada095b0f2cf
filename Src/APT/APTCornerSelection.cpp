// From cornerness to points.
//
// A corner is a pixel that stands above its eight neighbours. Corners below a threshold or
// outside the rectangle go; of the others the best is taken, its disc is closed to the rest,
// and so on.
//
// The threshold is a part of the best corner of the whole image, clamped from above and
// with a floor:
//
//     0 ....... floor ............ limit ............... clamp ..... cornerness
//       never          depends on            always
//       taken          the whole image       taken           limit = relative * clamp
//
// so for a rectangle that is a part of the image mostly the rectangle alone is looked at.
// The rest of the image matters only when the corner whose turn it is lies between floor and
// limit, and only until one is found that is strong enough to rule it out. A clip that needed
// the whole image once will mostly need it again: the next call then walks the image in one go,
// and leaves what is outside the rectangle as soon as a corner beyond the clamp, which none can
// raise further, is found.
//
// Cornerness is twice the smaller eigenvalue of the gradient matrix: Shi and Tomasi, "Good
// Features to Track" (1994).

#include "APT/APTCornerSelection.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "APT/APTCornerRows.h"
#include "image/Interruption.h"
#include "image/Saturate.h"

namespace DP {
namespace {

constexpr float kNoCorner = -100000.0f;
constexpr float kEverything = std::numeric_limits<float>::infinity();

}  // namespace

void APTCornerSelection::ApplyParams(const APTTrackerParams& inParams) {
    mParams = inParams;
    mStream.ApplyParams(inParams);
}

void APTCornerSelection::SetImage(const float* inImage, int inWidth, int inHeight) {
    mImage = inImage;
    mWidth = std::max(inWidth, 0);
    mHeight = std::max(inHeight, 0);
}

void APTCornerSelection::FindCorners(const APTFeature* inFirst, const APTFeature* inLast,
                                     const TVK::ParamRect<float>& inRect, std::size_t inLimit,
                                     bool inIsLast) {
    mSelected.clear();
    mCorners.clear();
    const std::size_t limit = std::min<std::size_t>(inLimit, mParams.mMaxFeatures);
    if (limit == 0 && inIsLast) return;

    const APTPixelRange scan = mStream.GetScanRange(mWidth, mHeight);
    const APTPixelRange inside = GetRangeInside(inRect);
    if (!inside.IsEmpty()) {
        mKnowsLargest = mNeededLargest || inside == scan;
        mLargest = CollectCorners(mKnowsLargest ? scan : inside, inside, kEverything);
        mNeededLargest = false;
    }
    const float lowest = GetThreshold(mLargest);
    std::erase_if(mCorners, [=](const Corner& inCorner) { return inCorner.mScore < lowest; });
    if (mCorners.empty() && inIsLast) return;
    MakeMask(inFirst, inLast);
    SelectBest(limit);
    if (inIsLast) return;
    mMaskImage.assign(mMask.begin(), mMask.end());
    mImage = mMaskImage.data();
}

APTPixelRange APTCornerSelection::GetRangeInside(const TVK::ParamRect<float>& inRect) const {
    const APTPixelRange scan = mStream.GetScanRange(mWidth, mHeight);
    if (scan.IsEmpty()) return {};
    return {IP::FirstAboveNaNEnd(inRect.mLeft, scan.mLeft, scan.mRight),
            IP::FirstAboveNaNEnd(inRect.mTop, scan.mTop, scan.mBottom),
            IP::EndBelowNaNBegin(inRect.mRight, scan.mLeft, scan.mRight),
            IP::EndBelowNaNBegin(inRect.mBottom, scan.mTop, scan.mBottom)};
}

// Walks the corners of a range, keeps those in `inKept`, a part of it, and returns the
// largest cornerness of all, or one at the clamp, behind which the walk goes on in `inKept`
// alone. Stops behind the row with which the threshold passes `inDropped`.
float APTCornerSelection::CollectCorners(const APTPixelRange& inRange,
                                         const APTPixelRange& inKept, float inDropped) {
    float largest = kNoCorner;
    APTPixelRange range = inRange;
    mColumns.resize(static_cast<std::size_t>(mWidth));
    mStream.Start(mImage, mWidth, mHeight, range);
    while (!(GetThreshold(largest) > inDropped) && mStream.NextRow()) {
        const int y = mStream.GetRowNumber() - 1;
        IP::Checkpoint(y, mHeight);
        if (y < range.mTop) continue;
        const float* const row = mStream.GetRow(y);
        const int count =
            mStream.GetProcs().mPickMaxima(mStream.GetRow(y - 1), row, mStream.GetRow(y + 1),
                                           range.mLeft, range.mRight, mColumns.data());
        const bool isKeptRow = y >= inKept.mTop && y < inKept.mBottom;
        for (int i = 0; i < count; ++i) {
            const int x = mColumns[static_cast<std::size_t>(i)];
            largest = std::max(largest, row[x]);
            if (isKeptRow && x >= inKept.mLeft && x < inKept.mRight)
                mCorners.push_back({row[x], static_cast<std::uint64_t>(y) *
                                                    static_cast<std::uint64_t>(mWidth) +
                                                static_cast<std::uint64_t>(x)});
        }
        if (range != inKept && GetThreshold(largest) >= GetThreshold(kEverything)) {
            range = inKept;
            mStream.Narrow(range);
        }
    }
    return largest;
}

float APTCornerSelection::GetThreshold(float inLargest) const {
    const float pixels = static_cast<float>((2 * mParams.mPatchHalfWidth + 1) *
                                            (2 * mParams.mPatchHalfHeight + 1));
    return std::max(
        mParams.mMinEigenRelative * std::min(inLargest, pixels * mParams.mMaxEigenPerPixel),
        pixels * mParams.mMinEigenPerPixel);
}

// Whether a corner is at or above the threshold of the whole image. It is at or above that
// of the largest corner known; a larger one never lowers the threshold.
bool APTCornerSelection::IsGoodEnough(const Corner& inCorner) {
    if (inCorner.mScore >= GetThreshold(kEverything)) return true;
    mNeededLargest = true;
    if (!mKnowsLargest) {
        const APTPixelRange scan = mStream.GetScanRange(mWidth, mHeight);
        mLargest = CollectCorners(scan, {}, inCorner.mScore);
        mKnowsLargest = true;
    }
    return inCorner.mScore >= GetThreshold(mLargest);
}

// Best first, without sorting more corners than are looked at.
void APTCornerSelection::SelectBest(std::size_t inLimit) {
    const auto isBetter = [](const Corner& inA, const Corner& inB) {
        return inA.mScore != inB.mScore ? inA.mScore > inB.mScore : inA.mIndex < inB.mIndex;
    };
    const auto width = static_cast<std::uint64_t>(mWidth);
    std::size_t sorted = 0;
    std::size_t portion = 4 * std::min(inLimit, mCorners.size());
    for (std::size_t i = 0; i < mCorners.size() && mSelected.size() < inLimit; ++i) {
        if (i == sorted) {
            const auto begin = mCorners.begin() + static_cast<std::ptrdiff_t>(i);
            sorted += std::min(portion, mCorners.size() - i);
            const auto end = mCorners.begin() + static_cast<std::ptrdiff_t>(sorted);
            std::nth_element(begin, end - 1, mCorners.end(), isBetter);
            std::sort(begin, end, isBetter);
            portion *= 2;
        }
        const Corner& corner = mCorners[i];
        if (mMask[corner.mIndex] == 0) continue;
        if (!IsGoodEnough(corner)) return;  // nor is any behind it
        const int x = static_cast<int>(corner.mIndex % width);
        const int y = static_cast<int>(corner.mIndex / width);
        mSelected.push_back({static_cast<float>(x), static_cast<float>(y), corner.mScore});
        if (mSelected.size() < inLimit) ClearDisc(x, y);
    }
}

// A large frame's mask is fresh pages, which take the system long: some rows at a time.
void APTCornerSelection::MakeMask(const APTFeature* inFirst, const APTFeature* inLast) {
    constexpr int kRowsAtOnce = 64;
    const auto width = static_cast<std::size_t>(mWidth);
    mMask.clear();
    mMask.reserve(width * static_cast<std::size_t>(mHeight));
    for (int rows = 0, y = 0; y < mHeight; y += rows) {
        IP::Checkpoint(y, mHeight);
        rows = std::min(kRowsAtOnce, mHeight - y);
        mMask.insert(mMask.end(), width * static_cast<std::size_t>(rows), 1);
    }
    for (const APTFeature* feature = inFirst; feature != inLast; ++feature)
        if (feature->mStatus >= 0) ClearDisc(feature->mX, feature->mY);
}

// A whole position and a whole radius, in integers: a radius beyond the image is as good as
// one that just covers it.
void APTCornerSelection::ClearDisc(int inX, int inY) {
    const auto most = static_cast<std::uint64_t>(mWidth) + static_cast<std::uint64_t>(mHeight);
    const auto radius = static_cast<std::int64_t>(std::min(mParams.mMinFeatureDistance, most));
    const std::int64_t top = std::max<std::int64_t>(0, inY - radius);
    const std::int64_t bottom = std::min<std::int64_t>(mHeight - 1, inY + radius);
    for (std::int64_t v = top; v <= bottom; ++v) {
        const auto s = static_cast<std::int64_t>(
            std::sqrt(static_cast<double>(radius * radius - (v - inY) * (v - inY))));
        const std::int64_t first = std::max<std::int64_t>(0, inX - s);
        const std::int64_t last = std::min<std::int64_t>(mWidth - 1, inX + s);
        std::fill_n(mMask.begin() + (v * mWidth + first), last - first + 1, std::uint8_t{0});
    }
}

// A real position, in single precision. A point that is nowhere clears nothing.
void APTCornerSelection::ClearDisc(float inX, float inY) {
    if (!std::isfinite(inX) || !std::isfinite(inY)) return;
    const float radius = static_cast<float>(mParams.mMinFeatureDistance);
    const int top = std::max(0, IP::ClipNaNBefore(std::ceil(inY - radius), mHeight));
    const int bottom =
        std::min(mHeight - 1, IP::ClipNaNBefore(std::floor(inY + radius), mHeight));
    for (int v = top; v <= bottom; ++v) {
        const float away = static_cast<float>(v) - inY;
        const float root = radius * radius - away * away;
        if (!(root >= 0.0f)) continue;
        const float s = std::sqrt(root);
        const int first = std::max(0, IP::ClipNaNBefore(std::ceil(inX - s), mWidth));
        const int last = std::min(mWidth - 1, IP::ClipNaNBefore(std::floor(inX + s), mWidth));
        if (first > last) continue;
        std::fill_n(mMask.begin() + (std::ptrdiff_t{v} * mWidth + first), last - first + 1,
                    std::uint8_t{0});
    }
}

}  // namespace DP
