// As APT's item, but that the first frame has previous data too: the rectangle to begin with.
// An item without it is a host's mistake and throws, where APT's begins a run.

#include "RegionTracker/RegionTrackerDescriptorWorkerItem.h"

#include <tuple>

#include "RegionTracker/RegionTrackerDescriptorData.h"
#include "RegionTracker/RegionTrackerWrapper.h"
#include "TVK/ContractCheck.h"

namespace DP {

void RegionTrackerDescriptorWorkerItem::SetInputs(IP::ImagePtr<float> inPrevImage,
                                                  IP::ImagePtr<float> inCurrImage,
                                                  Ref<IRegionTrackerDescriptorData> inPrevData,
                                                  unsigned int inWidth, unsigned int inHeight) {
    ContractCheck(inCurrImage != NULL);
    std::tie(mPrevImage, mCurrImage, mPrevData, mWidth, mHeight) =
        std::tie(inPrevImage, inCurrImage, inPrevData, inWidth, inHeight);
}

void RegionTrackerDescriptorWorkerItem::SetTracker(TVK::ObjectPtr<APTTracker> inAPTTracker) {
    ContractCheck(inAPTTracker != NULL);
    mTracker = inAPTTracker;
}

Ref<IDescriptorData> RegionTrackerDescriptorWorkerItem::ComputeData() {
    return RunWatched([this] { return Compute(); });
}

Ref<IDescriptorData> RegionTrackerDescriptorWorkerItem::Compute() {
    FormatProgressText(" *** Computing Data (%d) **** \n", GetDataKey());
    if (mTracker == NULL || mCurrImage == NULL) return mResult;

    RegionTrackerWrapper wrapper(static_cast<int>(mHeight), static_cast<int>(mWidth), mTracker);
    APTFeatureListPtr features;
    RegionPtr region;
    wrapper.UpdateRegion(mPrevImage != NULL ? mPrevImage->GetData() : nullptr,
                         mCurrImage->GetData(), GetDataKey(), mPrevData, features, region);
    if (features != NULL && region != NULL)
        FillNewData<RegionTrackerDescriptorData>(
            kDescriptorDataTypeRegionTracker, mResult,
            [&](auto& outData) { outData.SetRegionAndFeatures(region, features); });
    return mResult;
}

}  // namespace DP
