// MaxFlowSolver: the minimum cut of a FlowGraph by two search trees, and its repair after
// the graph's capacities have changed.

#pragma once

#include <vector>

#include "External/graphcut/FlowGraph.h"
#include "External/graphcut/NodeList.h"
#include "External/graphcut/TreePath.h"
#include "image/RecycledAllocator.h"

/// The state of a solve: who belongs to which tree, and what is still to be looked at.
///
/// The solver is that of its graph: `RunMaxFlow` makes it, and the graph tells it of
/// changed capacities. No node and no arc may be added while it lives.
///
/// Ownership: neither the graph nor the segment table is owned. List cells go back to
///   their pool at the end.
/// Threads: one thread at a time, and **one solver at a time in the process**: the pool of
///   list cells has no lock.
/// Errors: `std::bad_alloc` and `std::length_error` pass through.
/// Frozen: the values of a segment.
class MaxFlowSolver {
public:
    /// A node's side, as it stands in the segment table.
    static constexpr unsigned char kSourceTree = 0;
    static constexpr unsigned char kSinkTree = 1;
    static constexpr unsigned char kFree = 2;

    /// Every node free, but for the terminals.
    MaxFlowSolver(FlowGraph& inGraph, unsigned int inSource, unsigned int inSink,
                  std::vector<unsigned char>& ioSegments);
    MaxFlowSolver(const MaxFlowSolver&) = delete;
    MaxFlowSolver& operator=(const MaxFlowSolver&) = delete;

    /// The first solve, and any later one. Both return the flow that has been pushed. After
    /// updates of links this sum is no measure of the cut: part of the flow was turned over
    /// to terminal arcs.
    float Solve(double inTimeLimit, AbortCallback* inAbort);
    float Resume(double inTimeLimit, AbortCallback* inAbort);

    float GetFlow() const { return mFlow; }

    /// @name What the graph tells after it has changed capacities
    /// @{

    /// `ioFromSource` and `ioToSink` are the terminal arcs of one node.
    void TerminalCapacitiesChanged(FlowArc& ioFromSource, FlowArc& ioToSink);
    void LinkChanged(FlowArc& inArc);
    /// @}

private:
    // Steps from the terminal, and when that was last known to be so; behind them the head
    // of the parent arc, so that a walk to the root goes through this table alone, and the
    // node's place in its tree's path.
    struct alignas(16) Distance {
        unsigned int mSteps;
        unsigned int mTime;
        unsigned int mParentNode;
        unsigned int mPlace = TreePath::kNoPlace;
    };
    static constexpr unsigned int kNoNode = ~0u;
    class Deadline;
    struct PathsGivenBack;

    unsigned int Root(unsigned char inTree) const {
        return inTree == kSourceTree ? mSource : mSink;
    }

    void PushDirectPaths();
    void PushDirectPath(FlowArc& ioFromSource, FlowArc& ioToSink);
    void FindSettledNodes();
    float AugmentLoop(const Deadline& inDeadline, AbortCallback* inAbort);
    bool Grow();
    bool GrowFrom(unsigned int inNode);
    void Augment();
    void FollowToRoot(unsigned int inLeaf, unsigned char inTree);
    void PushTowardsRoot(unsigned char inTree, float inFlow);
    FlowArc& CarryingArc(unsigned int inNode, unsigned char inTree) const;
    TreePath::Step TakeStep(unsigned int inNode, unsigned char inTree, unsigned int inPlace);
    void GiveBackStep(const TreePath::Step& inStep, unsigned char inTree);
    void ShortenPath(unsigned char inTree, std::size_t inSize);
    void LeavePath(unsigned int inNode);
    void Adopt();
    void ProcessOrphan(unsigned int inNode, NodeList& ioFreed);
    FlowArc* FindParent(unsigned int inNode, unsigned char inTree);
    void Free(unsigned int inNode, unsigned char inTree, NodeList& ioFreed);
    void RejoinByTerminalArcs(NodeList& ioFreed);
    bool HasTerminalOrigin(unsigned int inNode, unsigned int inRoot, unsigned int& outSteps);

    void MakeActive(unsigned int inNode);
    void MakePassive(unsigned int inNode);
    void JoinAtTerminal(unsigned int inNode, unsigned char inTree, FlowArc* inParent);
    void SetParent(unsigned int inNode, FlowArc* inParent, unsigned int inSteps,
                   unsigned int inTime);
    void DropParent(unsigned int inNode);
    void MakeOrphan(unsigned int inNode);

    FlowGraph* mGraph;
    unsigned int mSource;
    unsigned int mSink;
    unsigned int mNodeCount;
    float mFlow = 0;
    IP::RecycledVector<NodeCell*> mActivePosition;  // a node's cell in mActive, or its end
    NodeList mActive;
    std::vector<unsigned char>* mSegments;
    IP::RecycledVector<FlowArc*> mParents;  // from the node towards the root of its tree
    FlowArc* mNoParent = nullptr;
    FlowArc* mMeetingArc = nullptr;
    NodeList mOrphans;
    NodeList mChildOrphans;
    unsigned int mTime = 1;
    IP::RecycledVector<Distance> mDistances;
    IP::RecycledVector<unsigned char> mIsSettled;  // in a first solve: FindSettledNodes
    bool mHasSettledNodes = false;
    TreePath mPaths[2];                // the last in the source tree, and in the sink tree
    std::vector<unsigned int> mFresh;  // of FollowToRoot
    std::vector<unsigned int> mFull;   // of PushTowardsRoot
};
