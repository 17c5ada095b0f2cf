// APTCornerSelection: the points of an image that are worth following.
//
// Up to a given number of points, best first: well-textured, inside a rectangle, and at a
// minimum distance from each other and from the points that are followed already.

#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "APT/APTCornerStream.h"
#include "APT/APTTrackerParams.h"
#include "DP/APTFeature.h"
#include "TVK/ParamRect.h"

namespace DP {

/// A selected point.
struct APTCandidate {
    float mX;
    float mY;
    float mScore;  // cornerness
};

/// Ownership: its planes are its own and are reused from call to call.
/// Threads: one at a time.
/// Errors: no memory throws std::bad_alloc. An image too small for the margins gives no
///   points.
class APTCornerSelection {
public:
    /// Takes the working copies from the parameters.
    void ApplyParams(const APTTrackerParams& inParams);

    /// Starts a call: the image that the first `FindCorners` works on. It is read, and must
    /// stay, until that has returned.
    void SetImage(const float* inImage, int inWidth, int inHeight);

    /// Selects points strictly inside `inRect` (y downward), which keep their distance from
    /// the live points of [inFirst, inLast). At most `inLimit` points and at most the
    /// parameters' number.
    ///
    /// `inIsLast` says that no further call for this image follows. A further call works
    /// not on the image but on what this one leaves behind: the mask, 0 in the discs around
    /// points and 1 elsewhere. For the mask's sake only the last call may stop at a limit
    /// below the parameters' number.
    void FindCorners(const APTFeature* inFirst, const APTFeature* inLast,
                     const TVK::ParamRect<float>& inRect, std::size_t inLimit, bool inIsLast);

    /// The points of the last `FindCorners`, in descending score; of equal ones the upper,
    /// then the left one first.
    const std::vector<APTCandidate>& GetSelected() const { return mSelected; }

    /// For tests: the stream of cornerness, to choose its loops.
    APTCornerStream& GetStream() { return mStream; }

private:
    struct Corner {
        float mScore;
        std::uint64_t mIndex;
    };

    APTPixelRange GetRangeInside(const TVK::ParamRect<float>& inRect) const;
    float CollectCorners(const APTPixelRange& inRange, const APTPixelRange& inKept,
                         float inDropped);
    float GetThreshold(float inLargest) const;
    bool IsGoodEnough(const Corner& inCorner);
    void SelectBest(std::size_t inLimit);
    void MakeMask(const APTFeature* inFirst, const APTFeature* inLast);
    void ClearDisc(int inX, int inY);
    void ClearDisc(float inX, float inY);

    APTTrackerParams mParams;
    APTCornerStream mStream;
    const float* mImage = nullptr;
    int mWidth = 0;
    int mHeight = 0;
    float mLargest = 0.0f;        // of the corners that were looked at
    bool mKnowsLargest = false;   // these are all of the image's
    bool mNeededLargest = false;  // the last call could not do without
    std::vector<int> mColumns;    // maxima of a row
    std::vector<Corner> mCorners;
    std::vector<std::uint8_t> mMask;  // 0 in the discs
    std::vector<float> mMaskImage;    // what a further call works on
    std::vector<APTCandidate> mSelected;
};

}  // namespace DP
