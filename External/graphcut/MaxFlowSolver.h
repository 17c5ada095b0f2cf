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
/// Ownership: neither the graph nor the segment table is owned.
/// Threads: one thread at a time over the graph and its solver.
/// Errors: `std::bad_alloc` and `std::length_error` pass through.
/// Frozen: the values of a segment.
class MaxFlowSolver final : public FlowSolver {
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

    /// After updates of links the flow is no measure of the cut: part of it was turned over
    /// to terminal arcs.
    float Solve(double inTimeLimit, AbortCallback* inAbort) override;
    float Resume(double inTimeLimit, AbortCallback* inAbort) override;
    float GetFlow() const override { return mFlow; }

    void TerminalCapacitiesChanged(const TerminalArcs& inArcs) override;
    void LinkChanged(unsigned int inArc, unsigned int inFrom, unsigned int inTo) override;

private:
    // A node's parent arc, from the node towards the root of its tree, and that arc's head,
    // so that a walk to the root goes through this table alone; the steps to the root, and
    // the time at which they were last known to be right.
    struct alignas(16) Node {
        unsigned int mParent;
        unsigned int mParentNode;
        unsigned int mSteps;
        unsigned int mTime;
    };
    static constexpr unsigned int kNoNode = ~0u;
    static constexpr unsigned int kNoParent = FlowGraph::kNoArc;
    static constexpr Node kUnreached{kNoParent, kNoNode, 0, 0};

    // kSettled, kUnsettler: FindSettledNodes. kOnPath: the node is on its tree's path.
    enum Mark : unsigned char { kSettled = 1, kUnsettler = 2, kOnPath = 4 };
    class Deadline;
    struct PathsGivenBack;

    // An arc on which the trees touch, from the source's tree to the sink's.
    struct Meeting {
        unsigned int mTail = 0;
        unsigned int mHead = 0;
        float* mResidual = nullptr;
        float* mReverseResidual = nullptr;
    };

    // The numbers of a node's parent arc, or its reverse: along the flow of its tree.
    struct TreeArc {
        float* mAlong;
        float* mBack;  // null for home arcs
    };

    unsigned int Root(unsigned char inTree) const {
        return inTree == kSourceTree ? mSource : mSink;
    }

    void PushDirectPaths();
    float PushDirectPath(unsigned int inNode, unsigned int inToSourceArc,
                         unsigned int inToSinkArc, float& ioIn, float& ioOut);
    void FindSettledNodes();
    float AugmentLoop(const Deadline& inDeadline, AbortCallback* inAbort);
    static AbortCallback* PauseOf(AbortCallback* inAbort);
    bool Pause(AbortCallback* inPause);
    void EndPause();
    bool Grow(AbortCallback* inPause);
    bool GrowFrom(unsigned int inNode);
    bool MeetsTerminal(unsigned int inNode, unsigned char inTree);
    void MeetOn(unsigned int inArc);
    void Augment();
    void FollowToRoot(unsigned int inLeaf, unsigned char inTree);
    void PushTowardsRoot(unsigned char inTree, float inFlow);
    TreeArc ParentArcOf(unsigned int inNode, unsigned char inTree);
    TreePath::Step TakeStep(unsigned int inNode, unsigned char inTree, unsigned int inPlace);
    void GiveBackStep(const TreePath::Step& inStep, unsigned char inTree);
    void ShortenPath(unsigned char inTree, std::size_t inSize);
    void LeavePath(unsigned int inNode);
    bool Adopt(AbortCallback* inPause);
    void ProcessOrphan(unsigned int inNode);
    Node FindParent(unsigned int inNode, unsigned char inTree);
    void UnsettleNeighbors(unsigned int inNode);
    void Free(unsigned int inNode, unsigned char inTree);
    void RejoinByTerminalArc(unsigned int inNode);
    bool HasTerminalOrigin(unsigned int inNode, unsigned int inRoot, unsigned int& outSteps);

    void MakeActive(unsigned int inNode) { mActive.PushBack(inNode); }
    void MakePassive(unsigned int inNode) { mActive.Remove(inNode); }
    void JoinAtTerminal(unsigned int inNode, unsigned char inTree, unsigned int inParent);
    void SetParent(unsigned int inNode, const Node& inParent);
    void DropParent(unsigned int inNode);
    void MakeOrphan(unsigned int inNode);

    FlowGraph* mGraph;
    unsigned int mSource;
    unsigned int mSink;
    unsigned int mNodeCount;
    float mFlow = 0;
    ActiveNodes mActive;
    std::vector<unsigned char>* mSegments;
    IP::RecycledVector<Node> mNodes;
    Meeting mMeetingArc;
    IP::RecycledVector<unsigned int> mNextOrphans;  // of the three queues of an adoption
    NodeQueue mOrphans{mNextOrphans};
    NodeQueue mChildOrphans{mNextOrphans};
    NodeQueue mFreed{mNextOrphans};
    bool mIsPaused = false;
    unsigned int mTime = 1;
    IP::RecycledVector<unsigned char> mMarks;  // of a node: a sum of `Mark`
    bool mHasSettledNodes = false;
    IP::RecycledVector<unsigned int> mPlaces;  // of the nodes on a path: TreePath
    TreePath mPaths[2];                // the last in the source tree, and in the sink tree
    std::vector<unsigned int> mFresh;  // of FollowToRoot
    std::vector<unsigned int> mFull;   // of PushTowardsRoot
};

/// Finds the minimum cut between `inSource` and `inSink`, or improves on the one that a
/// persistent graph's solver has. `ioSegments` gets the side of each node: 0 the source's,
/// 1 the sink's, 2 neither (no arc with residual leads there from either side).
///
/// @param ioSegments  grown to one byte per node. On a persistent graph it must live as
///        long as the graph: the solver keeps pointing at it.
/// @param inTimeLimit  in seconds, negative for none. A solve that ran out of time, or was
///        aborted, leaves no minimum cut, but valid trees that the next call goes on with. One
///        that was paused (`AbortCallback::Pauses`) is brought to its end by the next call bit
///        by bit as if it had not been, and so is what follows. Its trees are valid, but for
///        orphans where they were being mended: these lead to no root until that call, or the
///        next change of a capacity.
void RunMaxFlow(FlowGraph& inGraph, unsigned int inSource, unsigned int inSink,
                std::vector<unsigned char>& ioSegments, double inTimeLimit,
                AbortCallback* inAbort);
