// The order of colour pyramids' keys begins with the source, unlike that of plain keys.

#include "ColourPyramid/ColourPyramidDescriptorDataKey.h"

#include "KeyOrder.h"
#include "TVK/ContractCheck.h"

namespace DP {

void ColourPyramidDescriptorDataKey::Init(quillet::WideString inSourceID,
                                          long long inFrameNumber, int inRows, int inCols,
                                          unsigned int inColourVariant,
                                          unsigned int inLevelCount, unsigned int inChannels) {
    DescriptorDataKey::Init(inSourceID, inFrameNumber, inRows, inCols);
    mColourVariant = inColourVariant;
    mLevelCount = inLevelCount;
    mChannels = inChannels;
}

bool ColourPyramidDescriptorDataKey::IsLessThan(Ref<IDescriptorDataKey> inDataKey) {
    ContractCheck(inDataKey != NULL, false);
    const Ref<ColourPyramidDescriptorDataKey> other(inDataKey);
    if (other == NULL) return false;
    const int order = mSourceID.compare(other->GetSourceID());
    if (order != 0) return order < 0;
    return Order(mFrameNumber, other->GetFrameNumber(),  //
                 mLevelCount, other->mLevelCount,        //
                 mRows, other->GetRows(),                //
                 mCols, other->GetColumns(),             //
                 mColourVariant, other->mColourVariant,  //
                 mChannels, other->mChannels) < 0;
}

Ref<IDescriptorDataKey> CreateColourPyramidDescriptorDataKey(
    quillet::WideString inSourceID, long long inFrameNumber, int inRows, int inColumns,
    unsigned int inColourVariant, unsigned int inLevelCount, unsigned int inChannels) {
    return MakeInitialised<ColourPyramidDescriptorDataKey>(inSourceID, inFrameNumber, inRows,
                                                           inColumns, inColourVariant,
                                                           inLevelCount, inChannels);
}

}  // namespace DP
