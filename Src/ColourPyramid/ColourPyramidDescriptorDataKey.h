// ColourPyramidDescriptorDataKey: the name of one frame's colour pyramid.

#pragma once

#include "DescriptorObjects.h"

namespace DP {

class ColourPyramidDescriptorDataKey
    : public TVK::Object<ColourPyramidDescriptorDataKey, DescriptorDataKey> {
public:
    void Init(quillet::WideString inSourceID, long long inFrameNumber, int inRows, int inCols,
              unsigned int inColourVariant, unsigned int inLevelCount, unsigned int inChannels);

    unsigned int GetColourVariant() const { return mColourVariant; }
    unsigned int GetLevelCount() const { return mLevelCount; }
    unsigned int GetChannels() const { return mChannels; }

    /// Source, frame, levels, rows, columns, variant, channels.
    bool IsLessThan(Ref<IDescriptorDataKey> inDataKey) override;

private:
    unsigned int mColourVariant = 0;  // identity only
    unsigned int mLevelCount = 0;
    unsigned int mChannels = 0;
};

/// Rows come before columns here.
Ref<IDescriptorDataKey> CreateColourPyramidDescriptorDataKey(
    quillet::WideString inSourceID, long long inFrameNumber, int inRows, int inColumns,
    unsigned int inColourVariant, unsigned int inLevelCount, unsigned int inChannels);

}  // namespace DP
