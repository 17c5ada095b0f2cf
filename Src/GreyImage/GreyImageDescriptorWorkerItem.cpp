// BGRA in, one byte a pixel out, rows in the frame's order without gaps.

#include "GreyImage/GreyImageDescriptorWorkerItem.h"

#include "GreyImage/GreyImageDescriptorData.h"
#include "TVK/ContractCheck.h"
#include "image/PixelOps.h"

namespace DP {

void GreyImageDescriptorWorkerItem::SetInputImage(const unsigned char* inCurrImage, int inRows,
                                                  int inColumns, int inRowBytes) {
    ContractCheck(inCurrImage != NULL);
    mFrame = {inCurrImage, inRows, inColumns, inRowBytes};
}

Ref<IDescriptorData> GreyImageDescriptorWorkerItem::ComputeData() {
    FormatProgressText(" *** Computing Grey Image Data (%d) **** \n", GetDataKey());
    ConvertFrame<GreyImageDescriptorData, unsigned char>(mFrame, kDescriptorDataTypeGreyImage,
                                                         IP::GetGreyImage, mResult);
    return mResult;
}

}  // namespace DP
