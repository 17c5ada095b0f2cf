// One frame of a run: a first frame is selected in, a later one is tracked into, and its free
// slots are filled when fewer points than the key's minimum are left.

#include "APT/APTWrapper.h"

#include "APT/APTDescriptorDataKey.h"
#include "TVK/ContractCheck.h"
#include "image/Interruption.h"

namespace DP {

APTWrapper::APTWrapper(unsigned int inHeight, unsigned int inWidth, APTTrackerPtr inTracker)
    : mTracker(inTracker), mWidth(inWidth), mHeight(inHeight) {}

unsigned int APTWrapper::CountLiveFeatures(APTFeatureListPtr inFeatures) {
    if (inFeatures == NULL) return 0;
    return DP::CountLiveFeatures(*inFeatures);
}

TVK::ParamRect<float> APTWrapper::WholeFrame() const {
    return {0.0f, 0.0f, static_cast<float>(mWidth), static_cast<float>(mHeight)};
}

APTFeatureListPtr APTWrapper::ComputeFeatures(const float* inPrevImage,
                                              const float* inCurrImage,
                                              Ref<IAPTDescriptorData> inPrevData,
                                              Ref<IDescriptorDataKey> inDataKey) {
    ContractCheck(inCurrImage != NULL, TVK::MakeObject<APTFeatureList>());
    ContractCheck(mTracker != NULL, TVK::MakeObject<APTFeatureList>());
    const int width = static_cast<int>(mWidth);
    const int height = static_cast<int>(mHeight);
    const auto result = TVK::MakeObject<APTFeatureList>();
    const APTTracker::Lists output{result};
    const APTTracker::StepGuard guard(*mTracker);

    if (inPrevData == NULL) {
        const long long frame = inDataKey->GetFrameNumber();
        mTracker->mStartFrame = static_cast<std::uint64_t>(frame);
        mTracker->SelectFeatures(inCurrImage, width, height, static_cast<unsigned int>(frame),
                                 {WholeFrame()}, output);
        return result;
    }

    // The engine turns a null image or list down before it reads anything.
    const APTTracker::Lists input{inPrevData->GetFeatures()};
    const auto frame = static_cast<unsigned int>(inDataKey->GetFrameNumber());
    IP::EnterStage(0.0, 0.6);
    mTracker->TrackFeatures(inPrevImage, inCurrImage, width, height, frame, input, output);
    const Ref<APTDescriptorDataKey> key(inDataKey);
    IP::EnterStage(0.6, 1.0);
    if (CountLiveFeatures(result) < key->GetMinFeatures())
        mTracker->ReplenishFeatures(inCurrImage, width, height, frame, {WholeFrame()}, output);
    return result;
}

}  // namespace DP
