// KLTTracker: selects points that a window match can follow, and follows them.

#pragma once

#include <cstdint>
#include <vector>

#include "DP/IDescriptorComputer.h"
#include "DP/KLTFeature.h"
#include "DP/Ref.h"
#include "TVK/ParamRect.h"
#include "image/IPFramePyramids.h"
#include "quillet/WideString.h"

namespace DP {

/// The settings of a tracker. Nothing outside the library reaches them: the defaults are
/// what runs. Sizes and distances are in pixels of the full frame.
struct TrackingContext {
    std::int32_t mMinDist = 10;      // between selected features
    std::int32_t mWindowWidth = 7;   // odd, at least 3
    std::int32_t mWindowHeight = 7;  // odd, at least 3
    bool mSequentialMode = false;    // keep the last pyramids here, not in the cache alone
    bool mSmoothBeforeSelecting = true;
    bool mLightingInsensitive = false;   // match with gain and offset
    std::int32_t mMinEigenvalue = 1;     // least trackability that is selected
    float mMinDeterminant = 0.01f;       // below it there is too little texture
    float mMinDisplacement = 0.1f;       // a smaller step ends the search
    std::int32_t mMaxIterations = 10;    // per feature and level
    float mMaxResidue = 10.0f;           // largest mean absolute difference of the windows
    float mGradSigma = 1.0f;             // of the gradients
    float mSmoothSigmaFactor = 0.1f;     // times the larger side of the window
    float mPyramidSigmaFactor = 0.9f;    // times the subsampling
    float mStepFactor = 1.0f;            // on the error of each iteration
    std::int32_t mSkippedPixels = 0;     // between candidates of selection
    std::int32_t mBorderX = 0;           // lost to the convolutions at each side; computed
    std::int32_t mBorderY = 0;           // the same at top and foot; computed
    std::int32_t mPyramidLevels = 0;     // computed
    std::int32_t mSubsampling = 0;       // computed
    IP::PyramidPtr<float> mLastPyramid;  // these three in sequential mode only
    IP::PyramidPtr<float> mLastPyramidGradX;
    IP::PyramidPtr<float> mLastPyramidGradY;
};

/// The engine behind one KLT computer. It remembers settings and no features: those travel
/// in the lists that a caller hands in and gets out.
///
/// Images are raw 8-bit grey planes without gaps, row 0 the top row; feature positions
/// count y downward. Regions of interest count y **upward from the foot of the image**.
///
/// Threads: no lock. One tracker runs one frame at a time.
/// Errors: failures of single features are statuses in their records. Windows of a bad size
///   are corrected and reported.
class KLTTracker {
public:
    using Lists = std::vector<KLTFeatureListPtr>;
    using Regions = std::vector<TVK::ParamRect<float>>;

    enum SelectionMode : std::int32_t { kSelectAll = 0, kReplaceLost = 1 };

    explicit KLTTracker(unsigned int inMaxFeatures);

    TrackingContext& GetContext() { return mTrackingContext; }
    void SetMaxFeatures(unsigned int inMaxFeatures) { mMaxFeatures = inMaxFeatures; }
    void SetFrameStep(int inFrameStep) { mFrameStep = inFrameStep; }
    void SetSourceID(quillet::WideString inSourceID) { mSourceID = inSourceID; }
    void SetMinDist(int inMinDist) { mTrackingContext.mMinDist = inMinDist; }
    void SetFirstFrame(long long inFrame) { mFirstFrame = inFrame; }

    float ComputeSmoothSigma() const;
    float ComputePyramidSigma() const;

    /// Chooses levels and subsampling for motions up to `inSearchRange` pixels.
    void ChangeTCPyramid(int inSearchRange);

    /// Works out how far from the edges a window lies in valid data on every level.
    void UpdateTCBorder();

    /// Fills each list from its region, best points first, whatever it held.
    void SelectGoodFeatures(const unsigned char* inImage, int inCols, int inRows,
                            long long inFrame, const Regions& inROIRects,
                            Lists& outFeatureListPtrVec);

    /// Keeps the live features of each input list and fills the other slots.
    void ReplaceLostFeatures(const unsigned char* inImage, int inCols, int inRows,
                             const Regions& inROIRects, Lists inFeatureListPtrVec,
                             Lists& outFeatureListPtrVec);

    void SelectGoodFeaturesWithMode(const unsigned char* inImage, int inCols, int inRows,
                                    int inMode, const Regions& inROIRects,
                                    Lists inFeatureListPtrVec, Lists& outFeatureListPtrVec);

    /// Carries every live feature of the input lists to the frame `inFrame`. There is one
    /// output list for each input list. The previous image may be null if its pyramids are
    /// in the cache.
    /// @throws TVK::NullInterfaceException if a frame has no pyramids and a feature lives.
    void TrackFeatures(const unsigned char* inPrevImage, const unsigned char* inCurrImage,
                       int inCols, int inRows, long long inFrame, Lists inFeatureListPtrVec,
                       Lists& outFeatureListPtrVec);

private:
    IP::FramePyramidSettings PyramidSettings() const;
    IP::FramePyramids LastPyramids() const;
    void SetLastPyramids(const IP::FramePyramids& inPyramids);

    IP::FramePyramids RequestPyramids(const Ref<IDescriptorComputer>& inComputer,
                                      const unsigned char* inImage, int inCols, int inRows,
                                      long long inFrame) const;
    IP::FramePyramids FirstPyramids(const Ref<IDescriptorComputer>& inComputer,
                                    const unsigned char* inPrevImage, int inCols, int inRows,
                                    long long inFrame) const;
    void TrackOneFeature(const IP::FramePyramids& inFirst, const IP::FramePyramids& inSecond,
                         int inCols, int inRows, KLTFeature& ioFeature) const;

    TrackingContext mTrackingContext;
    long long mCurrentFrame = 0;
    unsigned int mMaxFeatures;
    long long mFirstFrame = 0;
    std::int32_t mFrameStep = 0;
    quillet::WideString mSourceID;
};

}  // namespace DP
