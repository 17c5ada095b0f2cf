#include "FloatGreyImage/FloatGreyImageDescriptorWorkerItem.h"

#include "FloatGreyImage/FloatGreyImageDescriptorData.h"
#include "TVK/ContractCheck.h"
#include "image/PixelOps.h"

namespace DP {

void FloatGreyImageDescriptorWorkerItem::SetInputImage(const unsigned char* inCurrImage,
                                                       int inRows, int inColumns,
                                                       int inRowBytes) {
    ContractCheck(inCurrImage != NULL);
    mFrame = {inCurrImage, inRows, inColumns, inRowBytes};
}

Ref<IDescriptorData> FloatGreyImageDescriptorWorkerItem::ComputeData() {
    ConvertFrame<FloatGreyImageDescriptorData, float>(mFrame, kDescriptorDataTypeFloatGreyImage,
                                                      IP::GetFloatGreyImage, mResult);
    return mResult;
}

}  // namespace DP
