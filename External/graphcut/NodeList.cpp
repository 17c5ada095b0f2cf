#include "External/graphcut/NodeList.h"

struct NodeCellPool::Block {
    NodeCell mCells[kCellsPerBlock];
    Block* mNext;
};

NodeCellPool& NodeCellPool::Instance() {
    static NodeCellPool sPool;
    return sPool;
}

NodeCellPool::~NodeCellPool() {
    while (mBlocks) {
        Block* const block = mBlocks;
        mBlocks = block->mNext;
        delete block;
    }
}

void NodeCellPool::AddBlock() {
    Block* const block = new Block;
    block->mNext = mBlocks;
    mBlocks = block;
    for (int i = kCellsPerBlock; i-- > 0;)
        GiveBack(&block->mCells[i]);
}
