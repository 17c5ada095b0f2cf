// The exported tracker is the APT engine without descriptors: no key, no cache, and the frame
// before is the one that was handed in last.

#include "TrackerImpl.h"

#include <memory>

#include "DP/Tracker.h"
#include "TVK/ContractCheck.h"
#include "image/Interruption.h"

namespace DP {

TrackerImpl::TrackerImpl(unsigned int inWidth, unsigned int inHeight)
    : mWidth(inWidth), mHeight(inHeight), mTracker(TVK::MakeObject<APTTracker>()) {
    mTracker->mParams.mMaxFeatures = kAPTTrackerMaxFeatures;
    mTracker->mParams.mMinFeatureDistance = 3;
    mTracker->mParams.mVerifyAgainstReference = false;
    mTracker->mParams.mStationaryLimit = 0.0;
    mTracker->ApplyParams();
}

void TrackerImpl::TrackFeatures(IP::ImagePtr<float> inCurrentFloatGrayImage,
                                unsigned int inFrameNumber, APTFeatureListPtr& outFeatures) {
    ContractCheck(inCurrentFloatGrayImage != NULL);
    // Nothing ever sets the last frame, so this guard does not fire: frames come in any
    // order, and each call is a full step from the image of the call before.
    if (mLastFrame != kAPTNoFrame) {
        if (mLastFrame > inFrameNumber) return;
        if (mLastFrame == inFrameNumber) {
            outFeatures = mPrevFeatures;
            return;
        }
    }

    // Handed out before it is filled, as the header says; a caller sees an empty list where
    // this throws.
    outFeatures = TVK::MakeObject<APTFeatureList>();
    const APTFeatureListPtr features = outFeatures;
    if (mPrevFeatures == NULL) {
        mTracker->mStartFrame = inFrameNumber;
        mTracker->SelectFeatures(
            inCurrentFloatGrayImage->GetData(), static_cast<int>(mWidth),
            static_cast<int>(mHeight), inFrameNumber,
            {{0.0f, 0.0f, static_cast<float>(mWidth), static_cast<float>(mHeight)}},
            {features});
    } else {
        TrackFromLastFrame(inCurrentFloatGrayImage, inFrameNumber, features);
    }
    // Both or none: a step that threw leaves the pair of the frame before.
    mPrevImage = inCurrentFloatGrayImage;
    mPrevFeatures = features;
}

void TrackerImpl::TrackFromLastFrame(const IP::ImagePtr<float>& inCurrentFloatGrayImage,
                                     unsigned int inFrameNumber,
                                     const APTFeatureListPtr& outFeatures) {
    ContractCheck(inCurrentFloatGrayImage != NULL);
    const int width = static_cast<int>(mWidth);
    const int height = static_cast<int>(mHeight);
    const APTTracker::Lists output{outFeatures};
    mTracker->TrackFeatures(mPrevImage->GetData(), inCurrentFloatGrayImage->GetData(), width,
                            height, inFrameNumber, {mPrevFeatures}, output);
    if (CountLiveFeatures(*outFeatures) >= kAPTTrackerMinFeatures) return;
    mTracker->ReplenishFeatures(
        inCurrentFloatGrayImage->GetData(), width, height, inFrameNumber,
        {{0.0f, 0.0f, static_cast<float>(mWidth), static_cast<float>(mHeight)}}, output);
}

// ---- The exported class ----------------------------------------------------------------

Tracker* Tracker::CreateTracker(unsigned int inWidth, unsigned int inHeight) {
    auto impl = std::make_unique<TrackerImpl>(inWidth, inHeight);
    auto* const tracker = new Tracker(impl.get());
    static_cast<void>(impl.release());  // the tracker's from here on
    return tracker;
}

Tracker::~Tracker() {
    delete mImpl;
    mImpl = nullptr;
}

unsigned int Tracker::GetMaxFeatures() const { return kAPTTrackerMaxFeatures; }

unsigned int Tracker::GetMinFeatures() const { return kAPTTrackerMinFeatures; }

void Tracker::TrackFeatures(IP::ImagePtr<float> inCurrentFloatGrayImage,
                            unsigned int inFrameNumber, APTFeatureListPtr& outFeatures) {
    // A host's object may call this in the middle of a computation that somebody watches.
    const IP::Unwatched unwatched;
    mImpl->TrackFeatures(inCurrentFloatGrayImage, inFrameNumber, outFeatures);
}

}  // namespace DP
