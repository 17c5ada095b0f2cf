#include "External/graphcut/FlowArcPool.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>

// Aligned to two arcs, so that no pair lies across two cache lines.
struct FlowArcPool::Block {
    alignas(2 * sizeof(FlowArc)) unsigned char mArcs[kArcsPerBlock][sizeof(FlowArc)];
    Block* mNext;
    TVK::MemoryBuffer mSlab;  // of the first block of a slab, else empty
};

FlowArcPool::~FlowArcPool() {
    // First blocks hold their slab: gather them before any slab goes.
    Block* firsts = nullptr;
    for (Block* chain : {mArcBlocks, mUnusedBlocks})
        while (chain) {
            Block* const block = chain;
            chain = block->mNext;
            if (!block->mSlab.mBlock) continue;
            block->mNext = firsts;
            firsts = block;
        }
    while (firsts) {
        TVK::MemoryBuffer slab = firsts->mSlab;
        firsts = firsts->mNext;
        mRecycler->RecycleBuffer(slab);
    }
}

// Slabs double up to the size at which their number no longer matters.
void FlowArcPool::AddSlab() {
    static_assert(alignof(Block) <= TVK::MemoryRecycler::kAlignment);
    constexpr int kMostBlocksInSlab = 63;  // 2 MiB with their headers
    if (mRecycler == NULL) mRecycler = TVK::MemoryRecycler::Instance();
    const TVK::MemoryBuffer slab =
        mRecycler->AllocateBuffer(std::int64_t{sizeof(Block)} * mBlocksInSlab);
    if (!slab.mBlock) throw std::bad_alloc();
    auto* const bytes = static_cast<unsigned char*>(slab.mBlock);
    for (int i = mBlocksInSlab; i-- > 0;) {
        Block* const block = new (bytes + std::size_t{sizeof(Block)} * i) Block;
        block->mNext = mUnusedBlocks;
        block->mSlab = i == 0 ? slab : TVK::MemoryBuffer{};
        mUnusedBlocks = block;
    }
    mBlocksInSlab = std::min(2 * mBlocksInSlab, kMostBlocksInSlab);
}

void FlowArcPool::AddBlock() {
    static_assert(kArcsPerBlock % 2 == 0);
    if (!mUnusedBlocks) AddSlab();
    Block* const block = mUnusedBlocks;
    mUnusedBlocks = block->mNext;
    block->mNext = mArcBlocks;
    mArcBlocks = block;
    for (int i = kArcsPerBlock; i-- > 0;)
        mFreeArcs = new (block->mArcs[i]) FreeArc{mFreeArcs};
}
