// FlowArc, and the pool that a graph takes its arcs from.

#pragma once

#include <new>

#include "TVK/MemoryRecycler.h"

/// One directed arc. The flow on it is `mCapacity` minus `mResidual`.
///
/// Frozen: the order of the members.
struct FlowArc {
    unsigned int mTail;
    unsigned int mHead;
    float mCapacity;
    float mResidual;
    FlowArc* mReverse;
    FlowArc* mNext;  // the next arc leaving mTail
};

/// Hands out arcs in pairs from blocks of 1024. The two arcs of a pair are neighbours and
/// share a cache line: whoever looks at one looks at the other. The arcs of a frame are
/// many megabytes; blocks come from the recycler, a few at first and then dozens at a time,
/// so that the next frame finds pages that the system need not clear again.
///
/// Ownership: owns the blocks and gives them all back at its end; no arc is given back.
/// Threads: one thread at a time.
/// Errors: `std::bad_alloc` passes through.
class FlowArcPool {
public:
    static constexpr int kArcsPerBlock = 1024;

    FlowArcPool() = default;
    ~FlowArcPool();
    FlowArcPool(const FlowArcPool&) = delete;
    FlowArcPool& operator=(const FlowArcPool&) = delete;

    /// Returns the first of two arcs, members not set but for `mReverse`, each the other's.
    FlowArc* TakePair() {
        if (!mFreeArcs) AddBlock();
        FreeArc* const first = mFreeArcs;
        FreeArc* const second = first->mNext;
        mFreeArcs = second->mNext;
        FlowArc* const arc = new (static_cast<void*>(first)) FlowArc;
        arc->mReverse = new (static_cast<void*>(second)) FlowArc;
        arc->mReverse->mReverse = arc;
        return arc;
    }

private:
    // An unused arc: the chain runs through its first word.
    struct FreeArc {
        FreeArc* mNext;
    };
    struct Block;

    void AddSlab();
    void AddBlock();

    FreeArc* mFreeArcs = nullptr;
    Block* mArcBlocks = nullptr;
    Block* mUnusedBlocks = nullptr;  // of the newest slab
    int mBlocksInSlab = 1;
    TVK::ObjectPtr<TVK::MemoryRecycler> mRecycler;
};
