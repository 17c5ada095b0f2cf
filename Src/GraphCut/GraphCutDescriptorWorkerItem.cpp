#include "GraphCut/GraphCutDescriptorWorkerItem.h"

#include <cstdio>

#include "GraphCut/GraphCutDescriptorData.h"
#include "GraphCut/GraphCutWrapper.h"
#include "platform/Debugger.h"

namespace DP {

void GraphCutDescriptorWorkerItem::SetInputs(
    const unsigned char* inRGBImage, unsigned int inRowBytes,
    IP::ImagePtr<unsigned char> inForegroundStrokeImage,
    IP::ImagePtr<unsigned char> inBackgroundStrokeImage,
    IP::ImagePtr<unsigned char> inCurrentLabelImage) {
    mRGBImage = inRGBImage;
    mRowBytes = inRowBytes;
    mForegroundStrokeImage = inForegroundStrokeImage;
    mBackgroundStrokeImage = inBackgroundStrokeImage;
    mCurrentLabelImage = inCurrentLabelImage;
}

Ref<IDescriptorData> GraphCutDescriptorWorkerItem::ComputeData() {
    return RunWatched([this] { return Compute(); });
}

Ref<IDescriptorData> GraphCutDescriptorWorkerItem::Compute() {
    // The one kind whose line of progress is sent.
    char text[128];
    std::snprintf(text, sizeof(text), " *** Computing Graph cut segmentation Data (%d) **** \n",
                  static_cast<int>(GetDataKey()->GetFrameNumber()));
    platform::OutputDebugStringA(text);

    const IP::ImagePtr<unsigned char> labels = GraphCutWrapper::Instance().ComputeLabelImage(
        mRGBImage, mRowBytes, mForegroundStrokeImage, mBackgroundStrokeImage,
        mCurrentLabelImage);
    FillNewData<GraphCutDescriptorData>(
        kDescriptorDataTypeGraphCut, mResult,
        [&](GraphCutDescriptorData& outData) { outData.SetLabelImage(labels); });
    return mResult;
}

}  // namespace DP
