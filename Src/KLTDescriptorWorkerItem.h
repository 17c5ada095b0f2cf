// KLTDescriptorWorkerItem: selects or tracks the KLT features of a frame.

#pragma once

#include "DP/IKLTDescriptor.h"
#include "DescriptorObjects.h"
#include "InterruptibleItem.h"
#include "KLTWrapper.h"

namespace DP {

class KLTDescriptorWorkerItem
    : public TVK::Object<KLTDescriptorWorkerItem, DescriptorWorkerItem,
                         IKLTDescriptorWorkerItem, InterruptibleItem> {
public:
    void SetInputImages(IP::ImagePtr<unsigned char> inPrevImage,
                        IP::ImagePtr<unsigned char> inCurrImage,
                        Ref<IDescriptorData> inPrevData) override;

    /// The computer hands its tracker over before it asks for the result.
    void SetTracker(KLTTrackerPtr inKLTTracker);

    /// Null without a tracker or without a current image.
    /// @throws TVK::NullInterfaceException for an item without a key.
    Ref<IDescriptorData> ComputeData() override;

private:
    Ref<IDescriptorData> Compute();

    IP::ImagePtr<unsigned char> mPrevImage;
    IP::ImagePtr<unsigned char> mCurrImage;
    Ref<IDescriptorData> mPrevData;
    KLTTrackerPtr mTracker;
    Ref<IDescriptorData> mData;
};

}  // namespace DP
