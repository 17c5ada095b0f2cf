// The one file of the engine that knows descriptors. A frame's pyramids have a key of their
// own, in which everything stands that their pixels depend on; so two trackers with other
// numbers of points, or a tracker and a host, share them.

#include "KLT/KLTFramePyramids.h"

#include "DP/DescriptorFactory.h"
#include "Pyramid/ImagePyramidDescriptorData.h"
#include "Pyramid/ImagePyramidDescriptorDataKey.h"
#include "Pyramid/ImagePyramidDescriptorWorkerItem.h"

namespace DP {

Ref<IDescriptorComputer> FindPyramidComputer(const quillet::WideString& inSourceID) {
    return CreateDescriptorComputer(
        CreateDescriptorProperty(inSourceID, kDescriptorDataTypeImagePyramid));
}

RequestedPyramids RequestFramePyramids(const Ref<IDescriptorComputer>& inComputer,
                                       const quillet::WideString& inSourceID, long long inFrame,
                                       const IP::FrameView& inView,
                                       const IP::FramePyramidSettings& inSettings,
                                       bool inNeedsPlanes) {
    const Ref<IDescriptorDataKey> key = CreateImagePyramidDescriptorDataKey(
        inSourceID, inFrame, inSettings.mGradientSigma, inSettings.mSmoothSigma,
        inSettings.mPyramidSigmaFactor, inSettings.mSubsampling, inSettings.mLevelCount,
        inView.mColumns, inView.mRows);
    const Ref<IDescriptorWorkerItem> item =
        CreateDescriptorWorkerItem(kDescriptorDataTypeImagePyramid);
    if (item == NULL || inComputer == NULL) return {};

    item->SetDataKey(key);
    const Ref<ImagePyramidDescriptorWorkerItem> pyramidItem(item);
    pyramidItem->SetPyramidImage(inView.mPixels);
    pyramidItem->BelongToStep();
    const Ref<ImagePyramidDescriptorData> data(inComputer->GetDescriptorData(item, true));
    RequestedPyramids result;
    result.mIsNew = pyramidItem->HasComputed();
    // Level 0 of the gradients is two planes of the frame's size. Who samples windows makes
    // those few gradients as it goes; who needs whole planes has them made now.
    result.mLacksLevelZero = data->MakesGradientsLater() && !inNeedsPlanes;
    if (result.mLacksLevelZero)
        result.mPyramids = data->GetFramePyramids();
    else
        result.mPyramids = {data->GetSmoothedPyramid(), data->GetGradientXPyramid(),
                            data->GetGradientYPyramid()};
    return result;
}

}  // namespace DP
