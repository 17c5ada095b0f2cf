// BGRA in, one float a pixel out, 0 to 255, rows in the frame's order without gaps. The key is
// not asked: size and stride are those that came with the frame.

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
