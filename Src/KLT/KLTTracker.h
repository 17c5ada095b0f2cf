// KLTTracker: selects points that a window match can follow, and follows them.

#pragma once

#include <cstdint>
#include <vector>

#include "DP/KLTFeature.h"
#include "KLT/KLTTrackingContext.h"
#include "TVK/ParamRect.h"
#include "image/FrameView.h"
#include "image/IPFramePyramids.h"
#include "quillet/WideString.h"

namespace DP {

/// The engine behind one KLT computer. It remembers settings and no features: those travel
/// in the lists that a caller hands in and gets out.
///
/// Images are raw 8-bit grey planes without gaps, row 0 the top row; feature positions
/// count y downward. Regions of interest count y **upward from the bottom of the image**;
/// a side that no 32-bit integer can hold is clipped to the nearest that one can.
///
/// Threads: no lock. One tracker runs one frame at a time.
/// Errors: failures of single features are statuses in their records. Windows of a bad size
///   are corrected and reported.
class KLTTracker {
public:
    using Lists = std::vector<KLTFeatureListPtr>;
    using Rects = std::vector<TVK::ParamRect<float>>;

    enum SelectionMode : std::int32_t { kSelectAll = 0, kReplaceLost = 1 };

    explicit KLTTracker(unsigned int inMaxFeatures);

    TrackingContext& GetContext() { return mTrackingContext; }
    void SetMaxFeatures(unsigned int inMaxFeatures) { mMaxFeatures = inMaxFeatures; }
    void SetFrameStep(int inFrameStep) { mFrameStep = inFrameStep; }
    void SetSourceID(quillet::WideString inSourceID) { mSourceID = inSourceID; }
    void SetMinDist(int inMinDist) { mTrackingContext.mMinDist = inMinDist; }
    void SetFirstFrame(long long inFrame) { mFirstFrame = inFrame; }

    float ComputeSmoothSigma() const { return SmoothSigmaOf(mTrackingContext); }
    float ComputePyramidSigma() const { return PyramidSigmaOf(mTrackingContext); }
    void ChangeTCPyramid(int inSearchRange) {
        DP::ChangeTCPyramid(mTrackingContext, inSearchRange);
    }
    void UpdateTCBorder() { DP::UpdateTCBorder(mTrackingContext); }

    /// Fills each list from its region, best points first, whatever it held.
    void SelectGoodFeatures(const unsigned char* inImage, int inCols, int inRows,
                            long long inFrame, const Rects& inROIRects,
                            Lists& outFeatureListPtrVec);

    /// Keeps the live features of each input list and fills the other slots.
    ///
    /// @param inSmoothed  the frame after smoothing, as `TrackFeatures` returns it for this
    ///        very image; null to smooth it here.
    void ReplaceLostFeatures(const unsigned char* inImage, int inCols, int inRows,
                             const Rects& inROIRects, Lists inFeatureListPtrVec,
                             Lists& outFeatureListPtrVec,
                             const IP::ImagePtr<float>& inSmoothed = {});

    void SelectGoodFeaturesWithMode(const unsigned char* inImage, int inCols, int inRows,
                                    int inMode, const Rects& inROIRects,
                                    Lists inFeatureListPtrVec, Lists& outFeatureListPtrVec);

    /// Carries every live feature of the input lists to the frame `inFrame`. There is one
    /// output list for each input list. The previous image may be null if its pyramids are
    /// in the cache.
    ///
    /// @return  the current frame after smoothing, if this call made it from `inCurrImage`;
    ///          else null: what the cache has may be of other pixels.
    /// @throws TVK::NullInterfaceException if a frame has no pyramids and a feature lives.
    IP::ImagePtr<float> TrackFeatures(const unsigned char* inPrevImage,
                                      const unsigned char* inCurrImage, int inCols, int inRows,
                                      long long inFrame, Lists inFeatureListPtrVec,
                                      Lists& outFeatureListPtrVec);

private:
    // `inKept` is null where all slots are to be filled.
    void SelectIn(const IP::FrameView& inFrame, const IP::ImagePtr<float>& inSmoothed,
                  const Rects& inROIRects, const Lists* inKept, Lists& outFeatureListPtrVec);

    TrackingContext mTrackingContext;
    long long mCurrentFrame = 0;
    unsigned int mMaxFeatures;
    long long mFirstFrame = 0;
    std::int32_t mFrameStep = 0;
    quillet::WideString mSourceID;
};

}  // namespace DP
