// APTDescriptorWorkerItem: tracks points into one frame.

#pragma once

#include "APT/APTTracker.h"
#include "DP/IAPTDescriptor.h"
#include "DescriptorObjects.h"
#include "InterruptibleItem.h"

namespace DP {

class APTDescriptorWorkerItem
    : public TVK::Object<APTDescriptorWorkerItem, DescriptorWorkerItem,
                         IAPTDescriptorWorkerItem, InterruptibleItem> {
public:
    void SetInputs(IP::ImagePtr<float> inPrevImage, IP::ImagePtr<float> inCurrImage,
                   Ref<IAPTDescriptorData> inPrevData, unsigned int inWidth,
                   unsigned int inHeight) override;

    /// The computer hands its engine over.
    void SetTracker(APTTrackerPtr inAPTTracker);

    /// Null without an engine or a current image.
    Ref<IDescriptorData> ComputeData() override;

private:
    Ref<IDescriptorData> Compute();

    IP::ImagePtr<float> mPrevImage;
    IP::ImagePtr<float> mCurrImage;
    Ref<IAPTDescriptorData> mPrevData;
    APTTrackerPtr mTracker;
    Ref<IDescriptorData> mResult;
    unsigned int mWidth = 0;
    unsigned int mHeight = 0;
};

}  // namespace DP
