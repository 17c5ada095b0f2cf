// All levels lie in one block of the recycler, one behind the other, each with its rows from
// the top and its channels interleaved.

#include "ColourPyramid/ColourPyramidDescriptorData.h"

#include <algorithm>
#include <new>

namespace DP {

ColourPyramidDescriptorData::~ColourPyramidDescriptorData() {
    if (mRecycler != NULL) mRecycler->RecycleBuffer(mBuffer);
}

void ColourPyramidDescriptorData::InitPyramid(std::uint32_t inWidth, std::uint32_t inHeight,
                                              std::uint32_t inChannels,
                                              std::uint32_t inLevels) {
    const ColourPyramidShape shape{inWidth, inHeight, inChannels, inLevels};
    const std::size_t floats = shape.TotalFloats();
    mRecycler = TVK::MemoryRecycler::Instance();
    if (mRecycler == NULL) throw std::bad_alloc();
    const auto buffer =
        mRecycler->AllocateBuffer(static_cast<std::int64_t>(floats * sizeof(float)));
    if (!buffer.mBlock) throw std::bad_alloc();
    // Not before there is a new one: a caller whose memory runs out keeps what it had.
    if (mData) mRecycler->RecycleBuffer(mBuffer);
    mBuffer = buffer;
    mShape = shape;
    mData = static_cast<float*>(mBuffer.mBlock);
    // A recycled block holds what its last user left, and not every level is filled.
    std::fill_n(mData, floats, 0.0f);
}

unsigned int ColourPyramidDescriptorData::GetDataSize() {
    return static_cast<unsigned int>(mShape.TotalFloats() * sizeof(float));
}

}  // namespace DP
