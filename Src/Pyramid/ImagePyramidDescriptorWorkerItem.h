// ImagePyramidDescriptorWorkerItem: makes the pyramids of a frame.

#pragma once

#include "DescriptorObjects.h"

namespace DP {

class ImagePyramidDescriptorWorkerItem
    : public TVK::Object<ImagePyramidDescriptorWorkerItem, DescriptorWorkerItem> {
public:
    /// 8-bit grey pixels in the size of the key, rows without gaps. Not owned; null is
    /// allowed.
    void SetPyramidImage(const unsigned char* inCurrImage) { mCurrImage = inCurrImage; }

    /// The pyramids are part of a tracker's step: who watches that watches them. Those that
    /// somebody else requests in between are not.
    void BelongToStep() { mBelongsToStep = true; }

    /// Empty data if there is no frame, or if the key is not that of an image pyramid.
    Ref<IDescriptorData> ComputeData() override;

    /// Whether `ComputeData` has made pyramids from the frame, as against a request that the
    /// cache answered.
    bool HasComputed() const { return mHasComputed; }

private:
    const unsigned char* mCurrImage = nullptr;
    bool mBelongsToStep = false;
    bool mHasComputed = false;
};

}  // namespace DP
