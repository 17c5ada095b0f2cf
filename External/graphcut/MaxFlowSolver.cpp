// Maximum flow by two search trees that are kept from path to path.
//
//     source          s ----> t           sink          One tree grows from each terminal
//       o--->o--->o---o       o---o--->o--->o            along arcs that can take more flow.
//            |    |           |   |                      Where they touch there is a path:
//            o    o   free    o   o                      it is filled, which cuts at least
//                                                        one tree arc, and the nodes behind
//   such an arc look for a new parent in their tree or become free. Solving ends when the
//   trees can no longer grow: then the source tree is the source's side of a minimum cut.
//
// Two things differ from the textbook. All paths source-node-sink are filled at once before
// anything grows, so that in a picture, where nearly each node has a terminal arc, the
// trees cover everything from the start. And a node that became free goes straight back
// to a terminal whose arc still has residual, the source being preferred.
//
// The trees, the times and the distances outlive a solve. A changed capacity touches the
// nodes concerned and a resumed solve looks only there.
//
// Which of several minimum cuts comes out depends on every order in this file: of the arc
// lists, of the active nodes, of the orphans, and on the first of equals winning. Equality
// with 0 is exact: a full arc is one whose residual is exactly 0.

#include "External/graphcut/MaxFlowSolver.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <limits>
#include <utility>

namespace {

// Lists are longer than the caches: the next arc is asked for before this one is looked at.
void Prefetch([[maybe_unused]] const void* inAddress) {
#if defined(__GNUC__)
    __builtin_prefetch(inAddress);
#endif
}

void Push(FlowArc& ioArc, float inFlow) {
    ioArc.mResidual -= inFlow;
    ioArc.mReverse->mResidual += inFlow;
}

// The residual of an arc seen along the flow of a tree: away from the source, or towards
// the sink for an arc that leaves its node towards the leaves.
float AwayFromRoot(const FlowArc& inArc, unsigned char inTree) {
    return inTree == MaxFlowSolver::kSourceTree ? inArc.mResidual : inArc.mReverse->mResidual;
}
float TowardsTail(const FlowArc& inArc, unsigned char inTree) {
    return inTree == MaxFlowSolver::kSourceTree ? inArc.mReverse->mResidual : inArc.mResidual;
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
      mActive(NodeCellPool::Instance()),
      mSegments(&ioSegments),
      mParents(mNodeCount, nullptr),
      mOrphans(NodeCellPool::Instance()),
      mChildOrphans(NodeCellPool::Instance()),
      mDistances(mNodeCount, Distance{0, 0, kNoNode}),
      mIsSettled(mNodeCount, 0) {
    mActivePosition.assign(mNodeCount, mActive.End());
    std::fill(ioSegments.begin(), ioSegments.end(), kFree);
    MakeActive(mSink);
    MakeActive(mSource);
    ioSegments[mSource] = kSourceTree;
    ioSegments[mSink] = kSinkTree;
    mDistances[mSource] = mDistances[mSink] = {0, mTime, kNoNode};
}

// ---- The course of a solve -----------------------------------------------------------

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
        std::fill(mIsSettled.begin(), mIsSettled.end(), static_cast<unsigned char>(0));
    ++mTime;
    Adopt();
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
    while (Grow()) {
        ++mTime;
        Augment();
        Adopt();
        if (inDeadline.HasPassed()) break;
        if (inAbort && inAbort->ShouldAbort(1)) break;
    }
    return mFlow;
}

// ---- Paths of two arcs ---------------------------------------------------------------

void MaxFlowSolver::PushDirectPaths() {
    for (FlowArc* arc = mGraph->mFirstArcs[mSource]; arc; arc = arc->mNext)
        if (FlowArc* const toSink = mGraph->FindArc(arc->mHead, mSink))
            PushDirectPath(*arc, *toSink);
    MakePassive(mSource);
    MakePassive(mSink);
}

void MaxFlowSolver::PushDirectPath(FlowArc& ioFromSource, FlowArc& ioToSink) {
    const unsigned int node = ioToSink.mTail;
    const float in = ioFromSource.mResidual;
    const float out = ioToSink.mResidual;
    if (in > out) {
        ioToSink.mResidual = 0;
        ioToSink.mReverse->mResidual += out;
        Push(ioFromSource, out);
        mFlow += out;
        JoinAtTerminal(node, kSourceTree, ioFromSource.mReverse);
    } else if (out > in) {
        ioFromSource.mResidual = 0;
        ioFromSource.mReverse->mResidual += in;
        Push(ioToSink, in);
        mFlow += in;
        JoinAtTerminal(node, kSinkTree, &ioToSink);
    } else if (in == out) {  // not so where one is no number: nothing is pushed then
        ioFromSource.mResidual = ioToSink.mResidual = 0;
        ioFromSource.mReverse->mResidual += in;
        ioToSink.mReverse->mResidual += in;
        mFlow += in;
    }
}

// A node is settled while it stands next to the source in its tree, as do all its neighbours:
// growth from it finds nothing and need not look. After the direct paths of a picture that is
// nearly every node; elsewhere it is not worth finding out. A node leaves its place in the
// tree only as an orphan, and who looks for an orphan's parent unsettles its neighbours.
void MaxFlowSolver::FindSettledNodes() {
    const bool isHome =
        mSource < FlowGraph::kHomeTerminals && mSink < FlowGraph::kHomeTerminals;
    // The direct paths leave such a node no residual to the sink, but through a second arc.
    if (!isHome || mGraph->mHasDoubleTerminals) return;
    const auto isAtSource = [this](unsigned int inNode) {
        return (*mSegments)[inNode] == kSourceTree && mDistances[inNode].mSteps <= 1;
    };
    unsigned int others = 0;
    for (unsigned int node = 0; node < mNodeCount; ++node)
        others += isAtSource(node) ? 0 : 1;
    if (others > mNodeCount / 4) return;
    mHasSettledNodes = true;
    for (unsigned int node = 0; node < mNodeCount; ++node)
        mIsSettled[node] = isAtSource(node) ? 1 : 0;
    for (unsigned int node = FlowGraph::kHomeTerminals; node < mNodeCount; ++node)
        if (!isAtSource(node))
            for (const FlowArc* arc = mGraph->mFirstArcs[node]; arc; arc = arc->mNext)
                mIsSettled[arc->mHead] = 0;
}

// ---- Growth --------------------------------------------------------------------------

// True with `mMeetingArc` set if the trees touch; the node that they touched at stays at
// the front of the active list.
bool MaxFlowSolver::Grow() {
    mMeetingArc = mNoParent;
    while (!mActive.IsEmpty()) {
        const unsigned int node = mActive.Front();
        if (!mIsSettled[node] && GrowFrom(node)) return true;
        MakePassive(node);
    }
    return false;
}

bool MaxFlowSolver::GrowFrom(unsigned int inNode) {
    unsigned char* const segments = mSegments->data();
    const unsigned char tree = segments[inNode];
    const Distance own = mDistances[inNode];
    FlowArc* next = nullptr;
    for (FlowArc* arc = mGraph->mFirstArcs[inNode]; arc; arc = next) {
        next = arc->mNext;
        Prefetch(next);
        if (!(AwayFromRoot(*arc, tree) > 0)) continue;
        const unsigned int head = arc->mHead;
        if (segments[head] == kFree) {
            segments[head] = tree;
            MakeActive(head);
        } else if (segments[head] != tree) {
            mMeetingArc = arc;
            return true;
        } else if (mDistances[head].mTime > own.mTime ||
                   mDistances[head].mSteps <= own.mSteps) {
            continue;
        }
        // New in the tree, or nearer to the root by this way than by its own.
        SetParent(head, arc->mReverse, own.mSteps + 1, own.mTime);
    }
    return false;
}

// ---- Augmentation --------------------------------------------------------------------

void MaxFlowSolver::Augment() {
    FlowArc* const meeting =
        (*mSegments)[mMeetingArc->mHead] == kSourceTree ? mMeetingArc->mReverse : mMeetingArc;

    FollowToRoot(meeting->mTail, kSourceTree);
    FollowToRoot(meeting->mHead, kSinkTree);
    const float flow =
        mPaths[kSinkTree].Bottleneck(mPaths[kSourceTree].Bottleneck(meeting->mResidual));

    Push(*meeting, flow);
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
    for (; node != root && mDistances[node].mPlace == TreePath::kNoPlace;
         node = mDistances[node].mParentNode)
        mFresh.push_back(node);

    const std::size_t passed =
        node == root ? path.GetSize() : path.IndexOf(mDistances[node].mPlace);
    path.MakeRoom(path.GetSize() - passed + mFresh.size());
    for (std::size_t i = 0; i < passed; ++i)
        GiveBackStep(path.StepAt(i), inTree);
    path.ReplaceFront(passed, mFresh.size());
    for (std::size_t i = 0; i < mFresh.size(); ++i)
        path.SetStep(i, TakeStep(mFresh[i], inTree, path.PlaceOf(i)));

    if (path.IsEmpty()) return;
    node = mDistances[path.LastStep().mNode].mParentNode;
    for (; node != root; node = mDistances[node].mParentNode) {
        path.MakeRoom(path.GetSize() + 1);
        path.Append(TakeStep(node, inTree, path.PlaceOf(path.GetSize())));
    }
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

// The parent arc, or its reverse: in the direction of the tree's flow.
FlowArc& MaxFlowSolver::CarryingArc(unsigned int inNode, unsigned char inTree) const {
    FlowArc* const parent = mParents[inNode];
    return inTree == kSourceTree ? *parent->mReverse : *parent;
}

// While a step is on the path, its arcs' own residuals say no more than whether there is
// any. That of the reverse will be above 0 as soon as the path is filled.
TreePath::Step MaxFlowSolver::TakeStep(unsigned int inNode, unsigned char inTree,
                                       unsigned int inPlace) {
    mDistances[inNode].mPlace = inPlace;
    const FlowArc& arc = CarryingArc(inNode, inTree);
    const TreePath::Step step{inNode, arc.mResidual, arc.mReverse->mResidual};
    if (step.mBack == 0) arc.mReverse->mResidual = step.mAlong;
    return step;
}

void MaxFlowSolver::GiveBackStep(const TreePath::Step& inStep, unsigned char inTree) {
    mDistances[inStep.mNode].mPlace = TreePath::kNoPlace;
    FlowArc& arc = CarryingArc(inStep.mNode, inTree);
    arc.mResidual = inStep.mAlong;
    arc.mReverse->mResidual = inStep.mBack;
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
    const unsigned int place = mDistances[inNode].mPlace;
    if (place == TreePath::kNoPlace) return;
    const unsigned char tree = (*mSegments)[inNode];
    ShortenPath(tree, mPaths[tree].IndexOf(place));
}

// ---- Adoption ------------------------------------------------------------------------

void MaxFlowSolver::Adopt() {
    NodeList freed(NodeCellPool::Instance());
    while (!mOrphans.IsEmpty()) {
        ProcessOrphan(mOrphans.PopFront(), freed);
        while (!mChildOrphans.IsEmpty())
            ProcessOrphan(mChildOrphans.PopFront(), freed);
    }
    RejoinByTerminalArcs(freed);
}

void MaxFlowSolver::ProcessOrphan(unsigned int inNode, NodeList& ioFreed) {
    const unsigned char tree = (*mSegments)[inNode];
    if (FlowArc* const parent = FindParent(inNode, tree)) {
        SetParent(inNode, parent, mDistances[parent->mHead].mSteps + 1, mTime);
    } else {
        Free(inNode, tree, ioFreed);
    }
}

// The arc to the neighbour in the same tree that is nearest to the root, if any of them is
// still connected to it. Looking marks the ways that were walked: no arc is left out.
FlowArc* MaxFlowSolver::FindParent(unsigned int inNode, unsigned char inTree) {
    const unsigned char* const segments = mSegments->data();
    unsigned int bestSteps = std::numeric_limits<unsigned int>::max();
    FlowArc* best = mNoParent;
    FlowArc* next = nullptr;
    for (FlowArc* arc = mGraph->mFirstArcs[inNode]; arc; arc = next) {
        next = arc->mNext;
        Prefetch(next);
        mIsSettled[arc->mHead] = 0;
        if (!(TowardsTail(*arc, inTree) > 0) || segments[arc->mHead] != inTree) continue;
        unsigned int steps = 0;
        if (!HasTerminalOrigin(arc->mHead, Root(inTree), steps)) continue;
        if (steps < bestSteps) {
            bestSteps = steps;
            best = arc;
        }
    }
    return best;
}

// Neighbours that could reach the node become active again; its children are orphans.
void MaxFlowSolver::Free(unsigned int inNode, unsigned char inTree, NodeList& ioFreed) {
    unsigned char* const segments = mSegments->data();
    for (FlowArc* arc = mGraph->mFirstArcs[inNode]; arc; arc = arc->mNext) {
        const unsigned int head = arc->mHead;
        if (segments[head] != inTree) continue;
        if (TowardsTail(*arc, inTree) > 0) MakeActive(head);
        if (mDistances[head].mParentNode == inNode) {
            DropParent(head);
            mChildOrphans.PushBack(head);
        }
    }
    DropParent(inNode);
    segments[inNode] = kFree;
    MakePassive(inNode);
    ioFreed.PushBack(inNode);
}

void MaxFlowSolver::RejoinByTerminalArcs(NodeList& ioFreed) {
    while (!ioFreed.IsEmpty()) {
        const unsigned int node = ioFreed.PopFront();
        FlowArc* const toSource = mGraph->FindArc(node, mSource);
        FlowArc* const toSink = mGraph->FindArc(node, mSink);
        if (toSource && toSource->mReverse->mResidual > 0)
            JoinAtTerminal(node, kSourceTree, toSource);
        else if (toSink && toSink->mResidual > 0)
            JoinAtTerminal(node, kSinkTree, toSink);
    }
}

// Whether the node's parents still lead to the root, and in how many steps. The way is
// marked with the present time, so that the next one who asks goes no further than here.
bool MaxFlowSolver::HasTerminalOrigin(unsigned int inNode, unsigned int inRoot,
                                      unsigned int& outSteps) {
    unsigned int steps = 0;
    unsigned int last = inNode;
    while (last != inRoot && mDistances[last].mTime != mTime) {
        if (mDistances[last].mParentNode == kNoNode) return false;
        last = mDistances[last].mParentNode;
        ++steps;
    }
    if (last == inRoot) mDistances[inRoot] = {0, mTime, kNoNode};
    outSteps = steps + mDistances[last].mSteps;

    unsigned int remaining = outSteps;
    for (unsigned int node = inNode; node != last; node = mDistances[node].mParentNode) {
        mDistances[node].mSteps = remaining--;
        mDistances[node].mTime = mTime;
    }
    return true;
}

// ---- Changed capacities --------------------------------------------------------------

void MaxFlowSolver::TerminalCapacitiesChanged(FlowArc& ioFromSource, FlowArc& ioToSink) {
    const unsigned int node = ioToSink.mTail;
    const float through = std::min(ioFromSource.mResidual, ioToSink.mResidual);
    if (through > 0) {
        Push(ioFromSource, through);
        Push(ioToSink, through);
        mFlow += through;
    }
    const FlowArc* const parent = mParents[node];
    if ((parent == ioFromSource.mReverse && ioFromSource.mResidual == 0) ||
        (parent == &ioToSink && ioToSink.mResidual == 0))
        MakeOrphan(node);

    const bool hasIn = ioFromSource.mResidual > 0;
    const bool hasOut = ioToSink.mResidual > 0;
    const unsigned char segment = (*mSegments)[node];
    if ((segment == kSourceTree && hasOut) || (segment == kSinkTree && hasIn)) {
        MakeActive(node);
    } else if (segment == kFree && hasIn) {
        JoinAtTerminal(node, kSourceTree, ioFromSource.mReverse);
    } else if (segment == kFree && hasOut) {
        JoinAtTerminal(node, kSinkTree, &ioToSink);
    }
}

void MaxFlowSolver::LinkChanged(FlowArc& inArc) {
    const unsigned int tail = inArc.mTail;
    const unsigned int head = inArc.mHead;
    const bool tailInSinkTree = (*mSegments)[tail] == kSinkTree;
    const bool headInSourceTree = (*mSegments)[head] == kSourceTree;
    if (inArc.mResidual > 0) {
        if ((*mSegments)[tail] == kSourceTree) MakeActive(tail);
        if ((*mSegments)[head] == kSinkTree) MakeActive(head);
    } else if (tailInSinkTree && mParents[tail] == &inArc) {
        MakeOrphan(tail);
    } else if (headInSourceTree && mParents[head] == inArc.mReverse) {
        MakeOrphan(head);
    }
}

// ---- Small steps ---------------------------------------------------------------------

void MaxFlowSolver::MakeActive(unsigned int inNode) {
    if (mActivePosition[inNode] == mActive.End())
        mActivePosition[inNode] = mActive.PushBack(inNode);
}

void MaxFlowSolver::MakePassive(unsigned int inNode) {
    if (mActivePosition[inNode] == mActive.End()) return;
    mActive.Erase(mActivePosition[inNode]);
    mActivePosition[inNode] = mActive.End();
}

void MaxFlowSolver::JoinAtTerminal(unsigned int inNode, unsigned char inTree,
                                   FlowArc* inParent) {
    (*mSegments)[inNode] = inTree;
    SetParent(inNode, inParent, 1, mTime);
    MakeActive(inNode);
}

void MaxFlowSolver::SetParent(unsigned int inNode, FlowArc* inParent, unsigned int inSteps,
                              unsigned int inTime) {
    LeavePath(inNode);
    mParents[inNode] = inParent;
    mDistances[inNode] = {inSteps, inTime, inParent->mHead};
}

void MaxFlowSolver::DropParent(unsigned int inNode) {
    LeavePath(inNode);
    mParents[inNode] = mNoParent;
    mDistances[inNode].mParentNode = kNoNode;
}

void MaxFlowSolver::MakeOrphan(unsigned int inNode) {
    DropParent(inNode);
    mOrphans.PushBack(inNode);
}
