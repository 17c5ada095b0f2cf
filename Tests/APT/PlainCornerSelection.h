// PlainCornerSelection: the selection as one would tell it, step by step over whole planes.
// What the library does row by row is compared with this bit by bit.

#pragma once

#include "APT/APTCornerSelection.h"
#include "Support/Test.h"

namespace Testing {

class PlainCornerSelection {
public:
    struct Corner {
        float mScore;
        std::uint64_t mIndex;
    };

    void ApplyParams(const DP::APTTrackerParams& inParams);
    void SetImage(const float* inImage, int inWidth, int inHeight);

    /// Plane 0 becomes the mask; a further call works on that.
    void FindCorners(const DP::APTFeature* inFirst, const DP::APTFeature* inLast,
                     const TVK::ParamRect<float>& inRect, std::size_t inLimit);

    const std::vector<DP::APTCandidate>& GetSelected() const { return mSelected; }
    /// What the last `FindCorners` left behind.
    const std::vector<float>& GetCornerness() const { return mCornerness; }
    const std::vector<float>& GetMask() const { return mPlanes[0]; }

private:
    void SmoothImage();
    void ComputeCornerness();
    float PickLocalMaxima();
    void ClearDisc(float inX, float inY);

    DP::APTTrackerParams mParams;
    int mWidth = 0;
    int mHeight = 0;
    std::vector<float> mPlanes[4];
    std::vector<float> mCornerness;
    std::vector<Corner> mCorners;
    std::vector<DP::APTCandidate> mSelected;
};

}  // namespace Testing
