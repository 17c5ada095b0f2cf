// Maximum flow by two search trees that are kept from path to path: Boykov and Kolmogorov,
// "An Experimental Comparison of Min-Cut/Max-Flow Algorithms for Energy Minimization in
// Vision" (2004). It is made for graphs like those of pictures, shallow and with terminal
// arcs everywhere, where the trees change little from one path to the next.
//
//     source          s ----> t           sink          One tree grows from each terminal
//       o--->o--->o---o       o---o--->o--->o            along arcs that can take more flow.
//            |    |           |   |                      Where they touch there is a path:
//            o    o   free    o   o                      it is filled, which cuts at least
//                                                        one tree arc, and the nodes behind
//   such an arc look for a new parent in their tree or become free. Solving ends when the
//   trees can no longer grow: then the source tree is the source's side of a minimum cut.
//
// Three things differ from the paper. All paths source-node-sink are filled at once before
// anything grows, so that in a picture, where nearly each node has a terminal arc, the
// trees cover everything from the start. And a node that became free goes straight back
// to a terminal whose arc still has residual, the source being preferred. And a solve can be
// ended, behind a path, in the middle of growth and between two orphans: a resumed solve goes
// on there, with the same bits.
//
// The trees, the times and the distances outlive a solve (Kohli and Torr: FlowGraph.cpp). A
// changed capacity touches the nodes concerned and a resumed solve looks only there.
//
// Which of several minimum cuts comes out depends on every order in this file: of the arc
// lists, of the active nodes, of the orphans, and on the rule that of several parents at
// the same distance the first in the list is taken. Equality with 0 is exact: a full arc is
// one whose residual is exactly 0.
//
// Home arcs (see FlowGraph) stand at the end of their node's list, and only two of the four
// matter: no residual towards the source or out of the sink ever lets a tree grow, meet or
// adopt.

#include "External/graphcut/MaxFlowSolver.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <limits>
#include <utility>

#include "image/Interruption.h"

namespace {

constexpr unsigned int kNoArc = FlowGraph::kNoArc;

// The residual of an arc seen along the flow of a tree: away from the source, or towards
// the sink for an arc that leaves its node towards the leaves.
float AwayFromRoot(const FlowArc* inArcs, unsigned int inArc, unsigned char inTree) {
    static_assert(MaxFlowSolver::kSourceTree == 0 && MaxFlowSolver::kSinkTree == 1);
    return inArcs[inArc ^ inTree].mResidual;
}
float TowardsTail(const FlowArc* inArcs, unsigned int inArc, unsigned char inTree) {
    return inArcs[inArc ^ inTree ^ 1].mResidual;
}

}  // namespace

// Ticks are milliseconds. Without a limit the clock is not read.
class MaxFlowSolver::Deadline {
public:
    explicit Deadline(double inTimeLimit)
        : mTimeLimit(inTimeLimit), mStart(inTimeLimit < 0 ? 0 : Now()) {}

    bool HasPassed() const {
        return !(mTimeLimit < 0) && static_cast<double>(Now() - mStart) / 1000.0 > mTimeLimit;
    }

private:
    static std::int64_t Now() {
        using namespace std::chrono;
        return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
    }

    double mTimeLimit;
    std::int64_t mStart;
};

MaxFlowSolver::MaxFlowSolver(FlowGraph& inGraph, unsigned int inSource, unsigned int inSink,
                             std::vector<unsigned char>& ioSegments)
    : mGraph(&inGraph),
      mSource(inSource),
      mSink(inSink),
      mNodeCount(inGraph.mNodeCount),
      mActive(mNodeCount),
      mSegments(&ioSegments) {
    FillTable(mNodes, mNodeCount, kUnreached);
    FillTable(mNextOrphans, mNodeCount, 0u);
    FillTable(mMarks, mNodeCount, static_cast<unsigned char>(0));
    FillTable(mPlaces, mNodeCount, 0u);
    std::fill(ioSegments.begin(), ioSegments.end(), kFree);
    MakeActive(mSink);
    MakeActive(mSource);
    ioSegments[mSource] = kSourceTree;
    ioSegments[mSink] = kSinkTree;
    mNodes[mSource].mTime = mNodes[mSink].mTime = mTime;
}

// ---- The course of a solve -----------------------------------------------------------

void RunMaxFlow(FlowGraph& inGraph, unsigned int inSource, unsigned int inSink,
                std::vector<unsigned char>& ioSegments, double inTimeLimit,
                AbortCallback* inAbort) {
    FillTable(ioSegments, inGraph.mNodeCount, static_cast<unsigned char>(0));
    if (inSource != FlowGraph::kHomeSource || inSink != FlowGraph::kHomeSink)
        inGraph.SpreadHomeTerminals();

    if (!inGraph.mPersistent) {
        MaxFlowSolver(inGraph, inSource, inSink, ioSegments).Solve(inTimeLimit, inAbort);
    } else if (!inGraph.mSolver) {
        inGraph.mSolver = new MaxFlowSolver(inGraph, inSource, inSink, ioSegments);
        inGraph.mSolver->Solve(inTimeLimit, inAbort);
    } else {
        inGraph.mSolver->Resume(inTimeLimit, inAbort);
    }
    inGraph.mSolved = true;
}

float MaxFlowSolver::Solve(double inTimeLimit, AbortCallback* inAbort) {
    const Deadline deadline(inTimeLimit);
    PushDirectPaths();
    if (deadline.HasPassed()) return mFlow;
    FindSettledNodes();
    return AugmentLoop(deadline, inAbort);
}

float MaxFlowSolver::Resume(double inTimeLimit, AbortCallback* inAbort) {
    const Deadline deadline(inTimeLimit);
    if (std::exchange(mHasSettledNodes, false))
        std::fill(mMarks.begin(), mMarks.end(), static_cast<unsigned char>(0));
    if (!std::exchange(mIsPaused, false)) ++mTime;
    if (!Adopt(PauseOf(inAbort))) return mFlow;
    return AugmentLoop(deadline, inAbort);
}

// Outside of a run the arcs hold their residuals themselves.
struct MaxFlowSolver::PathsGivenBack {
    MaxFlowSolver& mSolver;
    ~PathsGivenBack() {
        mSolver.ShortenPath(kSourceTree, 0);
        mSolver.ShortenPath(kSinkTree, 0);
    }
};

float MaxFlowSolver::AugmentLoop(const Deadline& inDeadline, AbortCallback* inAbort) {
    const PathsGivenBack whenDone{*this};
    AbortCallback* const pause = PauseOf(inAbort);
    while (Grow(pause)) {
        ++mTime;
        Augment();
        if (!Adopt(pause)) break;
        if (inDeadline.HasPassed()) break;
        if (pause ? Pause(pause) : inAbort && inAbort->ShouldAbort(1)) break;
    }
    return mFlow;
}

AbortCallback* MaxFlowSolver::PauseOf(AbortCallback* inAbort) {
    return inAbort && inAbort->Pauses() ? inAbort : nullptr;
}

// While a solve is paused time stands still: the ways that were marked are right until a
// capacity changes, and a later solve's choices hang on how old they are.
bool MaxFlowSolver::Pause(AbortCallback* inPause) {
    mIsPaused = inPause && inPause->ShouldAbort(1);
    return mIsPaused;
}

// ---- Paths of two arcs ---------------------------------------------------------------

// In the order of the source's list.
void MaxFlowSolver::PushDirectPaths() {
    if (mGraph->HasHomeTerminals()) {
        TerminalValues* const home = mGraph->mHomeResiduals.data();
        for (unsigned int node = mNodeCount; node-- > FlowGraph::kFirstHomeNode;) {
            IP::SparseCheckpoint(node, 0);
            PushDirectPath(node, FlowGraph::kHomeToSource, FlowGraph::kHomeToSink,
                           home[node].mFromSource, home[node].mToSink);
        }
    } else {
        auto& arcs = mGraph->mArcs;
        for (unsigned int arc = mGraph->mFirstArcs[mSource]; arc != kNoArc;
             arc = arcs[arc].mNext) {
            const unsigned int toSink = mGraph->FindArc(arcs[arc].mHead, mSink);
            if (toSink == kNoArc) continue;
            const float pushed = PushDirectPath(arcs[arc].mHead, arc ^ 1, toSink,
                                                arcs[arc].mResidual, arcs[toSink].mResidual);
            arcs[arc ^ 1].mResidual += pushed;
            arcs[toSink ^ 1].mResidual += pushed;
        }
    }
    MakePassive(mSource);
    MakePassive(mSink);
}

// Fills the path over the two terminal arcs of a node with the residuals `ioIn` and `ioOut`
// as far as both allow; returns how far.
float MaxFlowSolver::PushDirectPath(unsigned int inNode, unsigned int inToSourceArc,
                                    unsigned int inToSinkArc, float& ioIn, float& ioOut) {
    const float in = ioIn, out = ioOut;
    float pushed = 0;
    if (in > out) {
        pushed = out;
        ioOut = 0;
        ioIn -= pushed;
        JoinAtTerminal(inNode, kSourceTree, inToSourceArc);
    } else if (out > in) {
        pushed = in;
        ioIn = 0;
        ioOut -= pushed;
        JoinAtTerminal(inNode, kSinkTree, inToSinkArc);
    } else if (in == out) {  // not so where one is no number: nothing is pushed then
        pushed = in;
        ioIn = ioOut = 0;
    }
    mFlow += pushed;
    return pushed;
}

// A node is settled while it stands next to the source in its tree, as do all its neighbours:
// growth from it finds nothing and need not look. After the direct paths of a picture that is
// nearly every node; elsewhere it is not worth finding out. A node leaves its place in the
// tree only as an orphan, and the first search for an orphan's parent unsettles all its
// neighbours for the rest of the solve.
void MaxFlowSolver::FindSettledNodes() {
    // The direct paths leave such a node no residual to the sink where there is one arc.
    if (!mGraph->HasHomeTerminals()) return;
    const auto isAtSource = [this](unsigned int inNode) {
        return (*mSegments)[inNode] == kSourceTree && mNodes[inNode].mSteps <= 1;
    };
    unsigned int others = 0;
    for (unsigned int node = 0; node < mNodeCount; ++node)
        others += isAtSource(node) ? 0 : 1;
    if (others > mNodeCount / 4) return;
    IP::Checkpoint(0, 0);
    mHasSettledNodes = true;
    for (unsigned int node = 0; node < mNodeCount; ++node)
        mMarks[node] = isAtSource(node) ? kSettled : 0;
    for (unsigned int node = FlowGraph::kFirstHomeNode; node < mNodeCount; ++node) {
        IP::SparseCheckpoint(node, 0);
        if (!isAtSource(node))
            for (unsigned int arc = mGraph->mFirstArcs[node]; arc != kNoArc;
                 arc = mGraph->mArcs[arc].mNext)
                mMarks[mGraph->mArcs[arc].mHead] = 0;
    }
}

// ---- Growth --------------------------------------------------------------------------

// True with `mMeetingArc` set if the trees touch; the node that they touched at stays at
// the front of the active list. So does the next node where growth is paused.
bool MaxFlowSolver::Grow(AbortCallback* inPause) {
    constexpr unsigned int kNodesAtOnce = 1024;
    for (unsigned int grown = 1; !mActive.IsEmpty(); ++grown) {
        if (grown % kNodesAtOnce == 0 && Pause(inPause)) return false;
        const unsigned int node = mActive.Front();
        if (!(mMarks[node] & kSettled) && GrowFrom(node)) return true;
        MakePassive(node);
    }
    return false;
}

bool MaxFlowSolver::GrowFrom(unsigned int inNode) {
    unsigned char* const segments = mSegments->data();
    const FlowArc* const arcs = mGraph->mArcs.data();
    const unsigned char tree = segments[inNode];
    const Node own = mNodes[inNode];
    for (unsigned int arc = mGraph->mFirstArcs[inNode]; arc != kNoArc; arc = arcs[arc].mNext) {
        if (!(AwayFromRoot(arcs, arc, tree) > 0)) continue;
        const unsigned int head = arcs[arc].mHead;
        if (segments[head] == kFree) {
            segments[head] = tree;
            MakeActive(head);
        } else if (segments[head] != tree) {
            MeetOn(segments[head] == kSourceTree ? arc ^ 1 : arc);
            return true;
        } else if (mNodes[head].mTime > own.mTime || mNodes[head].mSteps <= own.mSteps) {
            continue;
        }
        // New in the tree, or nearer to the root by this way than by its own.
        SetParent(head, {arc ^ 1, inNode, own.mSteps + 1, own.mTime});
    }
    return MeetsTerminal(inNode, tree);
}

void MaxFlowSolver::MeetOn(unsigned int inArc) {
    FlowArc* const arcs = mGraph->mArcs.data();
    mMeetingArc = {arcs[inArc ^ 1].mHead, arcs[inArc].mHead, &arcs[inArc].mResidual,
                   &arcs[inArc ^ 1].mResidual};
}

// Whether the node's home arc with the other tree's root has residual.
bool MaxFlowSolver::MeetsTerminal(unsigned int inNode, unsigned char inTree) {
    TerminalValues& home = mGraph->mHomeResiduals[inNode];
    if (inTree == kSourceTree && home.mToSink > 0)
        mMeetingArc = {inNode, mSink, &home.mToSink, nullptr};
    else if (inTree == kSinkTree && home.mFromSource > 0)
        mMeetingArc = {mSource, inNode, &home.mFromSource, nullptr};
    else
        return false;
    return true;
}

// ---- Augmentation --------------------------------------------------------------------

void MaxFlowSolver::Augment() {
    FollowToRoot(mMeetingArc.mTail, kSourceTree);
    FollowToRoot(mMeetingArc.mHead, kSinkTree);
    const float flow =
        mPaths[kSinkTree].Bottleneck(mPaths[kSourceTree].Bottleneck(*mMeetingArc.mResidual));

    *mMeetingArc.mResidual -= flow;
    if (mMeetingArc.mReverseResidual) *mMeetingArc.mReverseResidual += flow;
    PushTowardsRoot(kSourceTree, flow);
    PushTowardsRoot(kSinkTree, flow);
    mFlow += flow;
}

// Makes the tree's path the way from `inLeaf`. What it has in common with the last one stays:
//
//      last one      o --> o --> o --> o --> o | orphaned here
//                          ^
//      inLeaf  o --> o ----+                     fresh, then common, then on to the root
//
void MaxFlowSolver::FollowToRoot(unsigned int inLeaf, unsigned char inTree) {
    TreePath& path = mPaths[inTree];
    const unsigned int root = Root(inTree);
    mFresh.clear();
    unsigned int node = inLeaf;
    for (; node != root && !(mMarks[node] & kOnPath); node = mNodes[node].mParentNode)
        mFresh.push_back(node);

    const std::size_t passed = node == root ? path.GetSize() : path.IndexOf(mPlaces[node]);
    path.MakeRoom(path.GetSize() - passed + mFresh.size());
    for (std::size_t i = 0; i < passed; ++i)
        GiveBackStep(path.StepAt(i), inTree);
    path.ReplaceFront(passed, mFresh.size());
    for (std::size_t i = 0; i < mFresh.size(); ++i)
        path.SetStep(i, TakeStep(mFresh[i], inTree, path.PlaceOf(i)));

    if (path.IsEmpty()) return;
    mFresh.clear();
    for (node = mNodes[path.LastStep().mNode].mParentNode; node != root;
         node = mNodes[node].mParentNode)
        mFresh.push_back(node);
    path.MakeRoom(path.GetSize() + mFresh.size());
    for (const unsigned int onward : mFresh)
        path.Append(TakeStep(onward, inTree, path.PlaceOf(path.GetSize())));
}

// Here alone orphans enter at the front: the one nearest its terminal comes out first.
void MaxFlowSolver::PushTowardsRoot(unsigned char inTree, float inFlow) {
    mFull.clear();
    mFull.reserve(mPaths[inTree].GetSize());
    mPaths[inTree].Push(inFlow, mFull);
    for (const unsigned int node : mFull) {
        DropParent(node);
        mOrphans.PushFront(node);
    }
}

// ---- The path's residuals ------------------------------------------------------------

MaxFlowSolver::TreeArc MaxFlowSolver::ParentArcOf(unsigned int inNode, unsigned char inTree) {
    const unsigned int parent = mNodes[inNode].mParent;
    TerminalValues& home = mGraph->mHomeResiduals[inNode];
    if (parent == FlowGraph::kHomeToSource) return {&home.mFromSource, nullptr};
    if (parent == FlowGraph::kHomeToSink) return {&home.mToSink, nullptr};
    FlowArc* const arcs = mGraph->mArcs.data();
    return {&arcs[parent ^ inTree ^ 1].mResidual, &arcs[parent ^ inTree].mResidual};
}

// While a step is on the path, its arcs' own residuals say no more than whether there is
// any. That of the reverse will be above 0 as soon as the path is filled.
TreePath::Step MaxFlowSolver::TakeStep(unsigned int inNode, unsigned char inTree,
                                       unsigned int inPlace) {
    mPlaces[inNode] = inPlace;
    mMarks[inNode] |= kOnPath;
    const TreeArc arc = ParentArcOf(inNode, inTree);
    const TreePath::Step step{inNode, *arc.mAlong, arc.mBack ? *arc.mBack : 0};
    if (arc.mBack && step.mBack == 0) *arc.mBack = step.mAlong;
    return step;
}

void MaxFlowSolver::GiveBackStep(const TreePath::Step& inStep, unsigned char inTree) {
    mMarks[inStep.mNode] &= static_cast<unsigned char>(~kOnPath);
    const TreeArc arc = ParentArcOf(inStep.mNode, inTree);
    *arc.mAlong = inStep.mAlong;
    if (arc.mBack) *arc.mBack = inStep.mBack;
}

void MaxFlowSolver::ShortenPath(unsigned char inTree, std::size_t inSize) {
    TreePath& path = mPaths[inTree];
    while (path.GetSize() > inSize) {
        GiveBackStep(path.LastStep(), inTree);
        path.RemoveLast();
    }
}

// The node and all between it and the root, before it lets go of its parent.
void MaxFlowSolver::LeavePath(unsigned int inNode) {
    if (!(mMarks[inNode] & kOnPath)) return;
    const unsigned char tree = (*mSegments)[inNode];
    ShortenPath(tree, mPaths[tree].IndexOf(mPlaces[inNode]));
}

// ---- Adoption ------------------------------------------------------------------------

// The children of an orphan that became free come before the next orphan. False if it was
// paused: the next call goes on there.
bool MaxFlowSolver::Adopt(AbortCallback* inPause) {
    constexpr unsigned int kNodesAtOnce = 64;
    unsigned int nodes = 0;
    const auto isPaused = [&] {
        return ++nodes % kNodesAtOnce == 0 && Pause(inPause);
    };
    while (!mChildOrphans.IsEmpty() || !mOrphans.IsEmpty()) {
        ProcessOrphan((mChildOrphans.IsEmpty() ? mOrphans : mChildOrphans).PopFront());
        if (isPaused()) return false;
    }
    while (!mFreed.IsEmpty()) {
        RejoinByTerminalArc(mFreed.PopFront());
        if (isPaused()) return false;
    }
    return true;
}

void MaxFlowSolver::ProcessOrphan(unsigned int inNode) {
    const unsigned char tree = (*mSegments)[inNode];
    const Node parent = FindParent(inNode, tree);
    if (parent.mParent == kNoParent)
        Free(inNode, tree);
    else
        SetParent(inNode, parent);
}

// The arc to the neighbour in the same tree that is nearest to the root, if any of them is
// still connected to it. Looking marks the ways that were walked: no arc is left out.
MaxFlowSolver::Node MaxFlowSolver::FindParent(unsigned int inNode, unsigned char inTree) {
    const unsigned char* const segments = mSegments->data();
    const FlowArc* const arcs = mGraph->mArcs.data();
    const unsigned int root = Root(inTree);
    if (mHasSettledNodes && !(mMarks[inNode] & kUnsettler)) UnsettleNeighbors(inNode);
    unsigned int bestSteps = std::numeric_limits<unsigned int>::max();
    unsigned int best = kNoParent, bestNode = kNoNode;
    for (unsigned int arc = mGraph->mFirstArcs[inNode]; arc != kNoArc; arc = arcs[arc].mNext) {
        const unsigned int head = arcs[arc].mHead;
        if (!(TowardsTail(arcs, arc, inTree) > 0) || segments[head] != inTree) continue;
        unsigned int steps = 0;
        if (!HasTerminalOrigin(head, root, steps) || steps >= bestSteps) continue;
        bestSteps = steps;
        best = arc;
        bestNode = head;
    }
    const TerminalValues& home = mGraph->mHomeResiduals[inNode];
    if ((inTree == kSourceTree ? home.mFromSource : home.mToSink) > 0) {
        HasTerminalOrigin(root, root, bestSteps);
        best = inTree == kSourceTree ? FlowGraph::kHomeToSource : FlowGraph::kHomeToSink;
        bestNode = root;
    }
    return {best, bestNode, bestSteps + 1, mTime};
}

void MaxFlowSolver::UnsettleNeighbors(unsigned int inNode) {
    const FlowArc* const arcs = mGraph->mArcs.data();
    for (unsigned int arc = mGraph->mFirstArcs[inNode]; arc != kNoArc; arc = arcs[arc].mNext)
        mMarks[arcs[arc].mHead] &= static_cast<unsigned char>(~kSettled);
    mMarks[inNode] |= kUnsettler;
}

// Neighbours that could reach the node become active again; its children are orphans.
void MaxFlowSolver::Free(unsigned int inNode, unsigned char inTree) {
    unsigned char* const segments = mSegments->data();
    const FlowArc* const arcs = mGraph->mArcs.data();
    for (unsigned int arc = mGraph->mFirstArcs[inNode]; arc != kNoArc; arc = arcs[arc].mNext) {
        const unsigned int head = arcs[arc].mHead;
        if (segments[head] != inTree) continue;
        if (TowardsTail(arcs, arc, inTree) > 0) MakeActive(head);
        if (mNodes[head].mParentNode == inNode) {
            DropParent(head);
            mChildOrphans.PushBack(head);
        }
    }
    DropParent(inNode);
    segments[inNode] = kFree;
    MakePassive(inNode);
    mFreed.PushBack(inNode);
}

void MaxFlowSolver::RejoinByTerminalArc(unsigned int inNode) {
    const auto residual = [this](unsigned int inArc) {
        return inArc == kNoArc ? 0.0f : mGraph->mArcs[inArc].mResidual;
    };
    unsigned int toSource = FlowGraph::kHomeToSource, toSink = FlowGraph::kHomeToSink;
    TerminalValues residuals = mGraph->mHomeResiduals[inNode];
    if (!mGraph->HasHomeTerminals()) {
        toSource = mGraph->FindArc(inNode, mSource);
        toSink = mGraph->FindArc(inNode, mSink);
        residuals = {residual(toSource == kNoArc ? kNoArc : toSource ^ 1), residual(toSink)};
    }
    if (residuals.mFromSource > 0)
        JoinAtTerminal(inNode, kSourceTree, toSource);
    else if (residuals.mToSink > 0)
        JoinAtTerminal(inNode, kSinkTree, toSink);
}

// Whether the node's parents still lead to the root, and in how many steps. The way is
// marked with the present time, so that the next one who asks goes no further than here.
bool MaxFlowSolver::HasTerminalOrigin(unsigned int inNode, unsigned int inRoot,
                                      unsigned int& outSteps) {
    Node* const nodes = mNodes.data();
    const unsigned int time = mTime;
    unsigned int steps = 0;
    unsigned int last = inNode;
    while (last != inRoot && nodes[last].mTime != time) {
        if (nodes[last].mParentNode == kNoNode) return false;
        last = nodes[last].mParentNode;
        ++steps;
    }
    if (last == inRoot) nodes[inRoot] = {kNoParent, kNoNode, 0, time};
    outSteps = steps + nodes[last].mSteps;

    unsigned int remaining = outSteps;
    for (unsigned int node = inNode; node != last; node = nodes[node].mParentNode) {
        nodes[node].mSteps = remaining--;
        nodes[node].mTime = time;
    }
    return true;
}

// ---- Changed capacities --------------------------------------------------------------

// An adoption that was paused comes to its end first: a node that it has set free may become
// an orphan here, and can stand in one queue alone. Behind that time has to move again.
void MaxFlowSolver::EndPause() {
    if (std::exchange(mIsPaused, false)) Adopt(nullptr);
}

void MaxFlowSolver::TerminalCapacitiesChanged(const TerminalArcs& inArcs) {
    EndPause();
    const unsigned int node = inArcs.mNode;
    float& in = *inArcs.mFromSource.mResidual;
    float& out = *inArcs.mToSink.mResidual;
    const float through = std::min(in, out);
    if (through > 0) {
        for (const ArcNumbers* const arc : {&inArcs.mFromSource, &inArcs.mToSink}) {
            *arc->mResidual -= through;
            if (arc->mReverseResidual) *arc->mReverseResidual += through;
        }
        mFlow += through;
    }
    const unsigned int parent = mNodes[node].mParent;
    if ((parent == inArcs.mToSourceArc && in == 0) || (parent == inArcs.mToSinkArc && out == 0))
        MakeOrphan(node);

    const unsigned char segment = (*mSegments)[node];
    if ((segment == kSourceTree && out > 0) || (segment == kSinkTree && in > 0)) {
        MakeActive(node);
    } else if (segment == kFree && in > 0) {
        JoinAtTerminal(node, kSourceTree, inArcs.mToSourceArc);
    } else if (segment == kFree && out > 0) {
        JoinAtTerminal(node, kSinkTree, inArcs.mToSinkArc);
    }
}

void MaxFlowSolver::LinkChanged(unsigned int inArc, unsigned int inFrom, unsigned int inTo) {
    const unsigned char fromTree = (*mSegments)[inFrom], toTree = (*mSegments)[inTo];
    if (mGraph->mArcs[inArc].mResidual > 0) {
        if (fromTree == kSourceTree) MakeActive(inFrom);
        if (toTree == kSinkTree) MakeActive(inTo);
    } else if (fromTree == kSinkTree && mNodes[inFrom].mParent == inArc) {
        MakeOrphan(inFrom);
    } else if (toTree == kSourceTree && mNodes[inTo].mParent == (inArc ^ 1)) {
        MakeOrphan(inTo);
    }
}

// ---- Small steps ---------------------------------------------------------------------

void MaxFlowSolver::JoinAtTerminal(unsigned int inNode, unsigned char inTree,
                                   unsigned int inParent) {
    (*mSegments)[inNode] = inTree;
    SetParent(inNode, {inParent, Root(inTree), 1, mTime});
    MakeActive(inNode);
}

void MaxFlowSolver::SetParent(unsigned int inNode, const Node& inParent) {
    LeavePath(inNode);
    mNodes[inNode] = inParent;
}

void MaxFlowSolver::DropParent(unsigned int inNode) {
    LeavePath(inNode);
    mNodes[inNode].mParent = kNoParent;
    mNodes[inNode].mParentNode = kNoNode;
}

void MaxFlowSolver::MakeOrphan(unsigned int inNode) {
    DropParent(inNode);
    mOrphans.PushBack(inNode);
}
