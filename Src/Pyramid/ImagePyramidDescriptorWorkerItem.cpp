// Without a key or a frame the result is empty data, which is stored like any other: it
// stands for a frame that was asked for before it was there, until the caches are flushed.

#include "Pyramid/ImagePyramidDescriptorWorkerItem.h"

#include <optional>

#include "Pyramid/ImagePyramidDescriptorData.h"
#include "Pyramid/ImagePyramidDescriptorDataKey.h"
#include "image/IPFramePyramids.h"
#include "image/Interruption.h"

namespace DP {

Ref<IDescriptorData> ImagePyramidDescriptorWorkerItem::ComputeData() {
    const Ref<ImagePyramidDescriptorDataKey> key(GetDataKey());
    const Ref<IDescriptorData> result = CreateDescriptorData(kDescriptorDataTypeImagePyramid);
    if (key == NULL || result == NULL || !mCurrImage) return result;

    std::optional<IP::Unwatched> unwatched;
    if (!mBelongsToStep) unwatched.emplace();
    const IP::FramePyramids pyramids = IP::ComputeFramePyramids(
        {mCurrImage, key->GetColumns(), key->GetRows()},
        {key->GetGradientSigma(), key->GetSmoothSigma(), key->GetPyramidSigmaFactor(),
         key->GetSubsampling(), key->GetLevelCount()},
        IP::ImagePyramidImpl<float>::LevelZero::kLater);
    Ref<ImagePyramidDescriptorData>(result)->SetFramePyramids(pyramids,
                                                              key->GetGradientSigma());
    mHasComputed = true;
    return result;
}

}  // namespace DP
