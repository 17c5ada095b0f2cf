// ColourPyramidDescriptorData: a frame at halved resolutions, as a descriptor.

#pragma once

#include "ColourPyramid/ColourPyramidData.h"
#include "DescriptorObjects.h"
#include "TVK/MemoryRecycler.h"

namespace DP {

/// Has no interface of its own: clients convert to the class. Does not clone.
class ColourPyramidDescriptorData
    : public TVK::Object<ColourPyramidDescriptorData, DescriptorData> {
public:
    ~ColourPyramidDescriptorData() override;

    /// A second call replaces the block. It is cleared: a level that nothing fills reads 0.
    /// @throws std::bad_alloc where the recycler has no block.
    void InitPyramid(std::uint32_t inWidth, std::uint32_t inHeight, std::uint32_t inChannels,
                     std::uint32_t inLevels);

    float* GetLevelData(std::size_t inLevel) { return mData + mShape.FloatsBefore(inLevel); }
    void BuildLevels(float* inScratch) { mShape.BuildLevels(mData, inScratch); }
    const ColourPyramidShape& GetShape() const { return mShape; }

    unsigned int GetDataSize() override;

private:
    ColourPyramidShape mShape;
    TVK::MemoryBuffer mBuffer;
    TVK::ObjectPtr<TVK::MemoryRecycler> mRecycler;
    float* mData = nullptr;
};

}  // namespace DP
