// An item is used for one frame. Images have one float a pixel; the host says their size, since
// the tracker reads by that and not by what the image says of itself.

#include "APT/APTDescriptorWorkerItem.h"

#include <tuple>

#include "APT/APTDescriptorData.h"
#include "APT/APTWrapper.h"
#include "TVK/ContractCheck.h"

namespace DP {

void APTDescriptorWorkerItem::SetInputs(IP::ImagePtr<float> inPrevImage,
                                        IP::ImagePtr<float> inCurrImage,
                                        Ref<IAPTDescriptorData> inPrevData,
                                        unsigned int inWidth, unsigned int inHeight) {
    ContractCheck(inCurrImage != NULL);
    std::tie(mPrevImage, mCurrImage, mPrevData, mWidth, mHeight) =
        std::tie(inPrevImage, inCurrImage, inPrevData, inWidth, inHeight);
}

void APTDescriptorWorkerItem::SetTracker(APTTrackerPtr inAPTTracker) {
    ContractCheck(inAPTTracker != NULL);
    mTracker = inAPTTracker;
}

Ref<IDescriptorData> APTDescriptorWorkerItem::ComputeData() {
    return RunWatched([this] { return Compute(); });
}

Ref<IDescriptorData> APTDescriptorWorkerItem::Compute() {
    if (mTracker != NULL && mCurrImage != NULL) {
        APTWrapper wrapper(mHeight, mWidth, mTracker);
        const APTFeatureListPtr features =
            wrapper.ComputeFeatures(mPrevImage != NULL ? mPrevImage->GetData() : nullptr,
                                    mCurrImage->GetData(), mPrevData, GetDataKey());
        if (features != NULL)
            FillNewData<APTDescriptorData>(
                kDescriptorDataTypeAPT, mResult,
                [&](APTDescriptorData& outData) { outData.SetFeatures(features); });
    }
    return mResult;
}

}  // namespace DP
