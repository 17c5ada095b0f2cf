// APTCornerSelection: the points of an image that are worth following.
//
// Up to a given number of points, best first: well-textured, inside a rectangle, and at a
// minimum distance from each other and from the points that are followed already.

#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

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

private:
    struct Corner {
        float mScore;
        std::uint64_t mIndex;
    };

    void SmoothImage();
    void ComputeCornerness();
    float PickLocalMaxima();
    void SumWindows(std::vector<float>& ioPlane);
    void ClearDisc(int inX, int inY);
    void ClearDisc(float inX, float inY);

    APTTrackerParams mParams;
    int mWidth = 0;
    int mHeight = 0;
    std::vector<float> mPlanes[4];
    std::vector<float> mCornerness;
    std::vector<Corner> mCorners;
    std::vector<APTCandidate> mSelected;
};

}  // namespace DP
