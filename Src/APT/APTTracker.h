// APTTracker: the engine behind the exported tracker, the APT kind and the region tracker.
//
//     SelectFeatures      an image        -> lists filled with new points
//     TrackFeatures       two images      -> the lists of one frame carried to the next
//     ReplenishFeatures   an image        -> free slots of the lists filled
//
// When to run which is the caller's decision.

#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "APT/APTCornerSelection.h"
#include "APT/APTImagePyramid.h"
#include "APT/APTPatchAlignment.h"
#include "APT/APTReferenceVerification.h"
#include "APT/APTTrackerParams.h"
#include "DP/APTFeature.h"
#include "TVK/ObjectPtr.h"
#include "TVK/ParamRect.h"
#include "quillet/WideString.h"

namespace DP {

/// Images are dense planes of floats, row 0 the top row; feature positions count y downward.
/// A width or height below 1 stands for an image without pixels.
///
/// Several lists of one selection are treated one after the other, and a second rectangle
/// does not see the image but the mask that the first has left (0 in the discs around the
/// points, 1 elsewhere). Callers pass one.
///
/// Ownership: the engine owns its planes and, with the verification on, one reference patch
///   for each slot. It keeps no image and no list: both frames and the previous list come
///   with each call. The references assume one list an engine.
/// Threads: no lock; one thread at a time, also where several holders share an engine.
/// Errors: a point that cannot be followed says so in its status. A null image or list
///   throws TVK::NullInterfaceException before anything is read. No memory throws
///   std::bad_alloc, with the lists left as far as they were filled.
/// Image size: the size given must be that of the planes passed, and both images of a step
///   have one size. Sizes may change from call to call: the planes follow.
class APTTracker {
public:
    /// Rectangles of interest; list i of a call belongs to rectangle i. A rectangle as wide
    /// and as high as the image is used as it stands, **any other has y counted upward from
    /// the bottom of the image**.
    using Rects = std::vector<TVK::ParamRect<float>>;
    using Lists = std::vector<APTFeatureListPtr>;

    /// Parameters. Selection works on copies that `ApplyParams` takes, the length of the
    /// lists among them; the stationary limit and the numbers of the alignment are read
    /// where they are used. Switching the verification on takes effect with `ApplyParams`.
    APTTrackerParams mParams;

    std::uint64_t mStartFrame = 0;  // of a caller's first selection; nothing reads it
    std::int32_t mTrackerTag = 0;   // the host's mark; nothing reads it
    quillet::WideString mSourceID;  // nothing reads it

    /// Around a step that is watched (image/Interruption.h): if an exception ends it, takes
    /// back what a further step would see of it, the references above all.
    class StepGuard;

    APTTracker() = default;
    APTTracker(const APTTracker&) = delete;
    APTTracker& operator=(const APTTracker&) = delete;

    /// Recomputes all working state. Called once the parameters are final, before any other
    /// operation.
    void ApplyParams();

    /// Each list gets the full number of slots, the first ones holding new points, stamped
    /// with the frame number + 1, the others inactive.
    void SelectFeatures(const float* inImage, int inWidth, int inHeight, unsigned int inFrame,
                        const Rects& inROIRects, const Lists& outFeatureListPtrVec);

    /// Free slots get new points, as far as there are any. Lists keep their length. As many
    /// rectangles as lists: nothing checks that, and what has no counterpart is left out.
    void ReplenishFeatures(const float* inImage, int inWidth, int inHeight,
                           unsigned int inFrame, const Rects& inROIRects,
                           const Lists& ioFeatureListPtrVec);

    /// Output list i becomes the step of input list i, slot by slot. A list that is given
    /// as both is not supported.
    void TrackFeatures(const float* inPrevImage, const float* inCurrImage, int inWidth,
                       int inHeight, unsigned int inFrame, const Lists& inFeatureListPtrVec,
                       const Lists& outFeatureListPtrVec);

private:
    // A point that is being searched, and where its search works.
    struct Lane {
        APTWorkspace mWorkspace;
        APTPatchPyramid mTemplates;
        std::size_t mSlot = 0;
        std::optional<APTPatchSearch> mSearch;
    };

    TVK::ParamRect<float> NormaliseRect(const TVK::ParamRect<float>& inRect, int inWidth,
                                        int inHeight) const;
    void TrackFeatureList(const APTFeatureList& inFeatures, APTFeatureList& outFeatures);
    void AlignFeatures(const APTFeatureList& inFeatures, APTFeatureList& outFeatures);
    void ReadAhead(const APTFeature& inFeature) const;
    void BeginSearch(const APTFeature& inFeature, std::size_t inSlot, const APTSearch& inSearch,
                     const float* inStart, Lane& outLane);
    void RecordSearch(const APTFeature& inFeature, const Lane& inLane, APTFeature& outFeature);
    void FinishStep(const APTFeatureList& inFeatures, APTFeatureList& ioFeatures) const;
    APTSearch GetSearch(APTMotionModel inModel) const;

    static constexpr int kChannels = 1;
    static constexpr std::size_t kSideBySide = 3;

    std::size_t mCapacity = 0;  // slots of a list
    APTCornerSelection mSelection;
    APTImagePyramid mPrevPyramid;
    APTImagePyramid mCurrPyramid;
    Lane mLanes[kSideBySide];
    APTReferenceVerification mVerification;
    std::uint64_t mLost = 0;  // in the frame-to-frame stage; nothing reads it
};

class APTTracker::StepGuard {
public:
    explicit StepGuard(APTTracker& ioTracker);
    ~StepGuard();
    StepGuard(const StepGuard&) = delete;
    StepGuard& operator=(const StepGuard&) = delete;

private:
    struct Memory {
        APTReferenceVerification mVerification;
        std::uint64_t mLost;
        std::uint64_t mStartFrame;
    };
    APTTracker& mTracker;
    int mFailures;
    std::optional<Memory> mBefore;
};

using APTTrackerPtr = TVK::ObjectPtr<APTTracker>;

/// Number of live records.
unsigned int CountLiveFeatures(const APTFeatureList& inFeatures);

}  // namespace DP
