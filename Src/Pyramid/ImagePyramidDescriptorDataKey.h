// ImagePyramidDescriptorDataKey: the name of one frame's pyramids.

#pragma once

#include "DescriptorObjects.h"
#include "image/IPFramePyramids.h"

namespace DP {

class ImagePyramidDescriptorDataKey
    : public TVK::Object<ImagePyramidDescriptorDataKey, DescriptorDataKey> {
public:
    void Init(quillet::WideString inSourceID, long long inFrameNumber, int inRows, int inCols,
              const IP::FramePyramidSettings& inSettings);

    float GetGradientSigma() const { return mGradientSigma; }
    float GetSmoothSigma() const { return mSmoothSigma; }
    float GetPyramidSigmaFactor() const { return mPyramidSigmaFactor; }
    int GetSubsampling() const { return mSubsampling; }
    int GetLevelCount() const { return mLevelCount; }

    /// Frame, gradient sigma, levels, pyramid sigma factor, rows, columns, smooth sigma,
    /// subsampling, source.
    bool IsLessThan(Ref<IDescriptorDataKey> inDataKey) override;

private:
    float mGradientSigma = 0.0f;
    float mSmoothSigma = 0.0f;
    float mPyramidSigmaFactor = 0.0f;
    int mSubsampling = 0;
    int mLevelCount = 0;
};

/// Columns come before rows here.
Ref<IDescriptorDataKey> CreateImagePyramidDescriptorDataKey(
    quillet::WideString inSourceID, long long inFrameNumber, float inGradientSigma,
    float inSmoothSigma, float inPyramidSigmaFactor, int inSubsampling, int inLevelCount,
    int inColumns, int inRows);

}  // namespace DP
