#include "ColourPyramid/ColourPyramidDescriptorWorkerItem.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>

#include "ColourPyramid/ColourPyramidDescriptorData.h"
#include "ColourPyramid/ColourPyramidDescriptorDataKey.h"

namespace DP {
namespace {

struct FreeBlock {
    void operator()(float* inBlock) const { std::free(inBlock); }
};

// Cleared: for some numbers of channels it is copied without having been written.
std::unique_ptr<float[], FreeBlock> MakeScratch(std::size_t inFloats) {
    auto* const block =
        static_cast<float*>(std::calloc(std::max<std::size_t>(inFloats, 1), sizeof(float)));
    if (!block) throw std::bad_alloc();
    return std::unique_ptr<float[], FreeBlock>(block);
}

}  // namespace

Ref<IDescriptorData> ColourPyramidDescriptorWorkerItem::ComputeData() {
    const Ref<ColourPyramidDescriptorDataKey> key(GetDataKey());
    Ref<IDescriptorData> result;
    FillNewData<ColourPyramidDescriptorData>(
        kDescriptorDataTypeColourPyramid, result, [&](ColourPyramidDescriptorData& outData) {
            outData.InitPyramid(static_cast<std::uint32_t>(key->GetColumns()),
                                static_cast<std::uint32_t>(key->GetRows()), key->GetChannels(),
                                mCurrImage ? key->GetLevelCount() : 0);
            if (outData.GetShape().mLevelCount == 0) return;
            // Level 0 is the frame itself; the scratch never needs more than that.
            const std::size_t floats = outData.GetShape().FloatsBefore(1);
            const auto scratch = MakeScratch(floats);
            std::copy_n(mCurrImage, floats, outData.GetLevelData(0));
            outData.BuildLevels(scratch.get());
        });
    // Without a frame there is nothing to store, but a bad key has thrown by now.
    return mCurrImage ? result : Ref<IDescriptorData>();
}

}  // namespace DP
