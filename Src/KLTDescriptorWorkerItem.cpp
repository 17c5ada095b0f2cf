// An item is used for one frame: the host gives it images and the data of the frame before, the
// computer its tracker, and the result stays in it.

#include "KLTDescriptorWorkerItem.h"

#include <cstdint>

#include "KLTDescriptorData.h"
#include "TVK/ContractCheck.h"

namespace DP {
namespace {

using BytesPtr = IP::ImagePtr<unsigned char>;

std::int64_t PixelCount(const BytesPtr& inImage) {
    return std::int64_t{inImage->GetColumns()} * inImage->GetRows();
}

// The tracker reads as many pixels of the previous image as the current one has, whatever
// its size. An image that has fewer counts as none.
const unsigned char* PreviousPixels(const BytesPtr& inPrevImage, const BytesPtr& inCurrImage) {
    if (inPrevImage == NULL || PixelCount(inPrevImage) < PixelCount(inCurrImage))
        return nullptr;
    return inPrevImage->GetData();
}

}  // namespace

void KLTDescriptorWorkerItem::SetInputImages(BytesPtr inPrevImage, BytesPtr inCurrImage,
                                             Ref<IDescriptorData> inPrevData) {
    ContractCheck(inCurrImage != NULL);
    mPrevImage = inPrevImage;
    mCurrImage = inCurrImage;
    mPrevData = inPrevData;
}

void KLTDescriptorWorkerItem::SetTracker(KLTTrackerPtr inKLTTracker) {
    ContractCheck(inKLTTracker != NULL);
    mTracker = inKLTTracker;
}

Ref<IDescriptorData> KLTDescriptorWorkerItem::ComputeData() {
    return RunWatched([this] { return Compute(); });
}

Ref<IDescriptorData> KLTDescriptorWorkerItem::Compute() {
    FormatProgressText(" *** Computing Data (%d) **** \n", GetDataKey());
    if (mTracker == NULL || mCurrImage == NULL) return mData;

    KLTWrapper wrapper(mCurrImage->GetRows(), mCurrImage->GetColumns(), mTracker);
    const KLTFeatureListPtr features = wrapper.UpdateTracking(
        PreviousPixels(mPrevImage, mCurrImage), mCurrImage->GetData(), mPrevData, GetDataKey());
    if (features != NULL)
        FillNewData<KLTDescriptorData>(
            kDescriptorDataTypeKLT, mData,
            [&](KLTDescriptorData& outData) { outData.SetFeatureList(features); });
    return mData;
}

}  // namespace DP
