#include "External/graphcut/FlowArcPool.h"

#include <cstddef>
#include <new>

// An unused arc: the chain runs through its first word.
struct FlowArcPool::FreeArc {
    FreeArc* mNext;
};

// Aligned to two arcs, so that no pair lies across two cache lines.
struct FlowArcPool::Block {
    alignas(2 * sizeof(FlowArc)) unsigned char mArcs[kArcsPerBlock][sizeof(FlowArc)];
    Block* mNext;
};

FlowArcPool::~FlowArcPool() {
    while (mArcBlocks) {
        Block* const block = mArcBlocks;
        mArcBlocks = block->mNext;
        delete block;
    }
}

void FlowArcPool::AddBlock() {
    static_assert(kArcsPerBlock % 2 == 0);
    Block* const block = new Block;
    block->mNext = mArcBlocks;
    mArcBlocks = block;
    for (int i = kArcsPerBlock; i-- > 0;)
        mFreeArcs = new (block->mArcs[i]) FreeArc{mFreeArcs};
}

FlowArc* FlowArcPool::TakePair() {
    if (!mFreeArcs) AddBlock();
    FreeArc* const first = mFreeArcs;
    FreeArc* const second = first->mNext;
    mFreeArcs = second->mNext;
    FlowArc* const arc = new (static_cast<void*>(first)) FlowArc;
    arc->mReverse = new (static_cast<void*>(second)) FlowArc;
    arc->mReverse->mReverse = arc;
    return arc;
}
