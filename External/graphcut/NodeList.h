// Lists of nodes that lie in tables with an entry for each node: a node is in a list once or
// not at all, and putting it there takes no memory.

#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "image/Interruption.h"
#include "image/RecycledAllocator.h"

/// Makes a table at least as long as is asked for, a few pages of memory at a time.
///
/// Errors: `std::bad_alloc` and `IP::Interrupted` pass through.
template <class T, class Allocator>
void FillTable(std::vector<T, Allocator>& ioTable, std::size_t inSize, const T& inValue) {
    constexpr std::size_t kEntriesAtOnce = (std::size_t{1} << 20) / sizeof(T);
    ioTable.reserve(inSize);
    while (ioTable.size() < inSize) {
        IP::Checkpoint(0, 0);
        ioTable.resize(std::min(ioTable.size() + kEntriesAtOnce, inSize), inValue);
    }
}

/// A doubly linked list: first in, first out, and any node may leave. The cell of a node is
/// its entry in one table, and says whether the node is in the list.
///
/// Ownership: of its own. Threads: one thread at a time.
/// Errors: those of `FillTable` from the constructor; nothing else throws.
class ActiveNodes {
public:
    explicit ActiveNodes(unsigned int inNodeCount) : mEnd(inNodeCount) {
        FillTable(mCells, std::size_t{inNodeCount} + 1, Cell{kOut, kOut});
        mCells[mEnd] = {mEnd, mEnd};
    }

    bool IsEmpty() const { return mCells[mEnd].mNext == mEnd; }
    unsigned int Front() const { return mCells[mEnd].mNext; }

    /// Nothing happens where it is in the list, or is not.
    void PushBack(unsigned int inNode) {
        Cell& cell = mCells[inNode];
        if (cell.mNext != kOut) return;
        const unsigned int last = mCells[mEnd].mPrevious;
        cell = {mEnd, last};
        mCells[last].mNext = inNode;
        mCells[mEnd].mPrevious = inNode;
    }
    void Remove(unsigned int inNode) {
        const Cell cell = mCells[inNode];
        if (cell.mNext == kOut) return;
        mCells[cell.mPrevious].mNext = cell.mNext;
        mCells[cell.mNext].mPrevious = cell.mPrevious;
        mCells[inNode].mNext = kOut;
    }

private:
    static constexpr unsigned int kOut = ~0u;
    struct Cell {
        unsigned int mNext;
        unsigned int mPrevious;
    };
    unsigned int mEnd;  // the index of the end marker's cell, behind those of the nodes
    IP::RecycledVector<Cell> mCells;
};

/// A singly linked queue. Queues that no node is in two of share one table.
///
/// Ownership: the table is the caller's, an entry for each node. Threads: one at a time.
/// Errors: none.
class NodeQueue {
public:
    explicit NodeQueue(IP::RecycledVector<unsigned int>& ioNext) : mNext(ioNext) {}

    bool IsEmpty() const { return mFront == kNone; }

    void PushFront(unsigned int inNode) {
        if (IsEmpty()) mBack = inNode;
        mNext[inNode] = mFront;
        mFront = inNode;
    }
    void PushBack(unsigned int inNode) {
        mNext[inNode] = kNone;
        (IsEmpty() ? mFront : mNext[mBack]) = inNode;
        mBack = inNode;
    }
    unsigned int PopFront() {
        const unsigned int node = mFront;
        mFront = mNext[node];
        return node;
    }

private:
    static constexpr unsigned int kNone = ~0u;
    IP::RecycledVector<unsigned int>& mNext;
    unsigned int mFront = kNone;
    unsigned int mBack = kNone;
};
