// NodeList: a doubly linked list of node numbers whose cells come from one pool for all
// solvers of the process.

#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>

/// A cell of a list: three words.
struct NodeCell {
    NodeCell* mNext;
    NodeCell* mPrevious;
    std::uintptr_t mNode;
};

/// Cells that are in no list, in a chain through `mNext`.
///
/// Ownership: blocks of 256 cells are the pool's and are given back when the library is
///   unloaded, and not before.
/// Threads: one thread at a time, in the whole process. There is no lock.
/// Errors: `std::bad_alloc` passes through.
class NodeCellPool {
public:
    /// The pool of the process. It is built on first use and outlives whoever asked for it
    /// before being built itself.
    static NodeCellPool& Instance();

    NodeCell* Take() {
        if (!mFreeCells) AddBlock();
        NodeCell* const cell = mFreeCells;
        mFreeCells = cell->mNext;
        return cell;
    }
    void GiveBack(NodeCell* inCell) {
        inCell->mNext = mFreeCells;
        mFreeCells = inCell;
    }

    NodeCellPool(const NodeCellPool&) = delete;
    NodeCellPool& operator=(const NodeCellPool&) = delete;

private:
    static constexpr int kCellsPerBlock = 256;
    struct Block;

    NodeCellPool() = default;
    ~NodeCellPool();
    void AddBlock();

    NodeCell* mFreeCells = nullptr;
    Block* mBlocks = nullptr;
};

/// Ownership: the cells are the list's; its end gives them back to the pool.
/// Threads: as the pool.
/// Errors: a list at its maximum size throws `std::length_error`.
class NodeList {
public:
    explicit NodeList(NodeCellPool& inPool) : mPool(inPool) {
        mEnd.mNext = mEnd.mPrevious = &mEnd;
        mEnd.mNode = 0;
    }
    ~NodeList() {
        while (!IsEmpty())
            PopFront();
    }
    NodeList(const NodeList&) = delete;
    NodeList& operator=(const NodeList&) = delete;

    bool IsEmpty() const { return mEnd.mNext == &mEnd; }

    /// The end marker, which is no cell of any node.
    NodeCell* End() { return &mEnd; }

    unsigned int Front() const { return static_cast<unsigned int>(mEnd.mNext->mNode); }

    NodeCell* PushFront(unsigned int inNode) { return Insert(inNode, mEnd.mNext); }
    NodeCell* PushBack(unsigned int inNode) { return Insert(inNode, &mEnd); }

    unsigned int PopFront() {
        const unsigned int node = Front();
        Erase(mEnd.mNext);
        return node;
    }
    void Erase(NodeCell* inCell) {
        inCell->mPrevious->mNext = inCell->mNext;
        inCell->mNext->mPrevious = inCell->mPrevious;
        mPool.GiveBack(inCell);
        --mSize;
    }

private:
    static constexpr std::size_t kMaxSize = SIZE_MAX / sizeof(NodeCell);

    NodeCell* Insert(unsigned int inNode, NodeCell* inBefore) {
        if (mSize == kMaxSize) throw std::length_error("list<T> too long");
        NodeCell* const cell = mPool.Take();
        cell->mNode = inNode;
        cell->mNext = inBefore;
        cell->mPrevious = inBefore->mPrevious;
        inBefore->mPrevious->mNext = cell;
        inBefore->mPrevious = cell;
        ++mSize;
        return cell;
    }

    NodeCellPool& mPool;
    NodeCell mEnd;
    std::size_t mSize = 0;
};
