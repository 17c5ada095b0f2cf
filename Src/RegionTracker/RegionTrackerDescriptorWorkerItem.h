// RegionTrackerDescriptorWorkerItem: carries the rectangle of one frame to the next.

#pragma once

#include "APT/APTTracker.h"
#include "DP/IRegionTrackerDescriptor.h"
#include "DescriptorObjects.h"
#include "InterruptibleItem.h"

namespace DP {

class RegionTrackerDescriptorWorkerItem
    : public TVK::Object<RegionTrackerDescriptorWorkerItem, DescriptorWorkerItem,
                         IRegionTrackerDescriptorWorkerItem, InterruptibleItem> {
public:
    void SetInputs(IP::ImagePtr<float> inPrevImage, IP::ImagePtr<float> inCurrImage,
                   Ref<IRegionTrackerDescriptorData> inPrevData, unsigned int inWidth,
                   unsigned int inHeight) override;

    /// The computer's engine; without one nothing is computed.
    void SetTracker(TVK::ObjectPtr<APTTracker> inAPTTracker);

    /// Null without an engine or a current image.
    /// @throws TVK::NullInterfaceException for an item without a key or previous data.
    Ref<IDescriptorData> ComputeData() override;

private:
    Ref<IDescriptorData> Compute();

    Ref<IRegionTrackerDescriptorData> mPrevData;
    IP::ImagePtr<float> mPrevImage;
    IP::ImagePtr<float> mCurrImage;
    TVK::ObjectPtr<APTTracker> mTracker;
    unsigned int mWidth = 0;
    unsigned int mHeight = 0;
    Ref<IDescriptorData> mResult;
};

}  // namespace DP
