// The order of image pyramids' keys ends with the source: numbers are compared sooner than
// strings. A NaN is equal to every number, here as for all keys with floats.

#include "Pyramid/ImagePyramidDescriptorDataKey.h"

#include "KeyOrder.h"
#include "TVK/ContractCheck.h"

namespace DP {

void ImagePyramidDescriptorDataKey::Init(quillet::WideString inSourceID,
                                         long long inFrameNumber, int inRows, int inCols,
                                         const IP::FramePyramidSettings& inSettings) {
    DescriptorDataKey::Init(inSourceID, inFrameNumber, inRows, inCols);
    mGradientSigma = inSettings.mGradientSigma;
    mSmoothSigma = inSettings.mSmoothSigma;
    mPyramidSigmaFactor = inSettings.mPyramidSigmaFactor;
    mSubsampling = inSettings.mSubsampling;
    mLevelCount = inSettings.mLevelCount;
}

bool ImagePyramidDescriptorDataKey::IsLessThan(Ref<IDescriptorDataKey> inDataKey) {
    ContractCheck(inDataKey != NULL, false);
    const Ref<ImagePyramidDescriptorDataKey> other(inDataKey);
    if (other == NULL) return false;
    const int order = Order(mFrameNumber, other->GetFrameNumber(),            //
                            mGradientSigma, other->mGradientSigma,            //
                            mLevelCount, other->mLevelCount,                  //
                            mPyramidSigmaFactor, other->mPyramidSigmaFactor,  //
                            mRows, other->GetRows(),                          //
                            mCols, other->GetColumns(),                       //
                            mSmoothSigma, other->mSmoothSigma,                //
                            mSubsampling, other->mSubsampling);
    if (order != 0) return order < 0;
    return mSourceID.compare(other->GetSourceID()) < 0;
}

Ref<IDescriptorDataKey> CreateImagePyramidDescriptorDataKey(
    quillet::WideString inSourceID, long long inFrameNumber, float inGradientSigma,
    float inSmoothSigma, float inPyramidSigmaFactor, int inSubsampling, int inLevelCount,
    int inColumns, int inRows) {
    return MakeInitialised<ImagePyramidDescriptorDataKey>(
        inSourceID, inFrameNumber, inRows, inColumns,
        IP::FramePyramidSettings{.mGradientSigma = inGradientSigma,
                                 .mSmoothSigma = inSmoothSigma,
                                 .mPyramidSigmaFactor = inPyramidSigmaFactor,
                                 .mSubsampling = inSubsampling,
                                 .mLevelCount = inLevelCount});
}

}  // namespace DP
