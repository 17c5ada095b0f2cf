// TrackerImpl: what stands behind the exported tracker.

#pragma once

#include "APT/APTTracker.h"
#include "DP/APTFeature.h"
#include "image/IPImage.h"

namespace DP {

inline constexpr unsigned int kAPTTrackerMaxFeatures = 500;
inline constexpr unsigned int kAPTTrackerMinFeatures = 450;
inline constexpr unsigned int kAPTNoFrame = 0xFFFFFFFF;

/// Keeps the last image and the last list between calls; see DP/Tracker.h.
class TrackerImpl {
public:
    TrackerImpl(unsigned int inWidth, unsigned int inHeight);

    void TrackFeatures(IP::ImagePtr<float> inCurrentFloatGrayImage, unsigned int inFrameNumber,
                       APTFeatureListPtr& outFeatures);

private:
    void TrackFromLastFrame(const IP::ImagePtr<float>& inCurrentFloatGrayImage,
                            unsigned int inFrameNumber, const APTFeatureListPtr& outFeatures);

    unsigned int mWidth;
    unsigned int mHeight;
    APTTrackerPtr mTracker;
    IP::ImagePtr<float> mPrevImage;
    APTFeatureListPtr mPrevFeatures;
    unsigned int mLastFrame = kAPTNoFrame;
};

}  // namespace DP
