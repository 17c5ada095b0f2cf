// ColourPyramidDescriptorWorkerItem: makes the colour pyramid of a frame.

#pragma once

#include "DescriptorObjects.h"

namespace DP {

/// Has no interface of its own: clients convert to the class.
class ColourPyramidDescriptorWorkerItem
    : public TVK::Object<ColourPyramidDescriptorWorkerItem, DescriptorWorkerItem> {
public:
    /// The frame: interleaved floats without gaps, as many rows, columns and channels as
    /// the key says. Not owned.
    void SetCurrImage(const float* inCurrImage) { mCurrImage = inCurrImage; }

    /// Null without a frame.
    /// @throws TVK::NullInterfaceException for a null key or one of another class.
    Ref<IDescriptorData> ComputeData() override;

private:
    const float* mCurrImage = nullptr;
};

}  // namespace DP
