// APTWrapper: one frame of APT tracking, from images, data and key to the engine.

#pragma once

#include "APT/APTTracker.h"
#include "DP/IAPTDescriptor.h"
#include "DP/IDescriptorDataKey.h"

namespace DP {

/// Lives for one computation. Previous data decides: without it points are selected anew,
/// with it the list is carried over, and filled up when too few points are left.
///
/// Ownership: holds the engine; the lists and images are those of the call.
/// Threads: one at a time, and no two on one engine.
/// Errors: see `ComputeFeatures`.
class APTWrapper {
public:
    APTWrapper(unsigned int inHeight, unsigned int inWidth, APTTrackerPtr inTracker);

    /// Returns a new list.
    /// @throws the contract error for a null current image or a null engine;
    ///         TVK::NullInterfaceException for a null key and, with previous data, for a
    ///         null previous image or list or a key that is not an APT key.
    APTFeatureListPtr ComputeFeatures(const float* inPrevImage, const float* inCurrImage,
                                      Ref<IAPTDescriptorData> inPrevData,
                                      Ref<IDescriptorDataKey> inDataKey);

    /// Number of live records; 0 for no list.
    static unsigned int CountLiveFeatures(APTFeatureListPtr inFeatures);

private:
    TVK::ParamRect<float> WholeFrame() const;

    APTTrackerPtr mTracker;
    unsigned int mWidth;
    unsigned int mHeight;
};

}  // namespace DP
