// Capacities and a flow that is already there.
//
// Once a solve has pushed a flow, a capacity below the flow on its arc would make the flow
// impossible. Nothing is pushed back then; what is too much is turned over to the two
// terminal arcs of the nodes concerned:
//
//           A                B               Both capacities of a node may rise by one
//   source ---> node ---> ... ---> sink      constant without a change of any cut, so a
//                                            terminal arc can always be made to hold the
//                                            flow that it has, or has to take over.
//
// A link u->v that loses x of its flow leaves x too much at u and x too little at v: u's
// arc to the sink takes x more, and v's arc from the source gives x more.
//
// All sums are single precision in the order written here. A capacity that is huge beside
// the flow swallows it; the differences that remain are part of what a resumed solve sees.

#include "External/graphcut/FlowGraph.h"

#include <algorithm>
#include <stdexcept>

#include "External/graphcut/MaxFlowSolver.h"

namespace {

float FlowOf(const FlowArc& inArc) { return inArc.mCapacity - inArc.mResidual; }

void RaiseBoth(FlowArc& ioArc, float inBy) {
    ioArc.mCapacity += inBy;
    ioArc.mResidual += inBy;
}

// Gives `ioArc` a capacity, or the capacity of its flow if that is more; `ioOther`, the
// node's other terminal arc, then rises with it.
void SetAtLeastFlow(FlowArc& ioArc, float inCapacity, FlowArc& ioOther) {
    const float flow = FlowOf(ioArc);
    if (inCapacity >= flow) {
        ioArc.mCapacity = inCapacity;
        ioArc.mResidual = inCapacity - flow;
    } else {
        ioArc.mCapacity = flow;
        ioArc.mResidual = 0;
        RaiseBoth(ioOther, flow - inCapacity);
    }
}

// Makes the terminal arc `ioArc` carry `inExcess` more, raising both of the node if need be.
void TakeOver(FlowArc& ioArc, float inExcess, FlowArc& ioOther) {
    const float flow = FlowOf(ioArc) + inExcess;
    if (ioArc.mCapacity >= flow) {
        ioArc.mResidual = ioArc.mCapacity - flow;
    } else {
        const float missing = flow - ioArc.mCapacity;
        ioArc.mCapacity = flow;
        ioArc.mResidual = 0;
        RaiseBoth(ioOther, missing);
    }
    ioArc.mReverse->mResidual = flow + ioArc.mReverse->mCapacity;
}

void SetUntouched(FlowArc& ioArc, float inCapacity, float inReverseCapacity) {
    ioArc.mCapacity = ioArc.mResidual = inCapacity;
    ioArc.mReverse->mCapacity = ioArc.mReverse->mResidual = inReverseCapacity;
}

}  // namespace

// The terminal arcs of a node: from the source, and to the sink.
struct FlowGraph::Terminals {
    FlowArc* mFromSource = nullptr;
    FlowArc* mToSink = nullptr;
};

FlowGraph::~FlowGraph() { delete mSolver; }

// ---- Building ------------------------------------------------------------------------

unsigned int FlowGraph::AddNode() {
    // If there was no memory for the second vector, the first has its entry already.
    if (mTerminalArcs.size() == mNodeCount) mTerminalArcs.emplace_back();
    mFirstArcs.push_back(nullptr);
    return mNodeCount++;
}

void FlowGraph::ReserveNodes(std::size_t inCount) {
    if (inCount > mFirstArcs.max_size() - mFirstArcs.size())
        throw std::length_error("vector<T> too long");
    const std::size_t wanted = mFirstArcs.size() + inCount;
    if (wanted <= mFirstArcs.capacity()) return;
    const std::size_t doubled =
        std::min(2 * mFirstArcs.capacity(), mFirstArcs.max_size() / sizeof(TerminalArcs));
    mTerminalArcs.reserve(std::max(wanted, doubled));
    mFirstArcs.reserve(std::max(wanted, doubled));
}

void FlowGraph::PushFront(unsigned int inNode, FlowArc* inArc) {
    inArc->mTail = inNode;
    inArc->mHead = inArc->mReverse->mTail;
    inArc->mNext = mFirstArcs[inNode];
    mFirstArcs[inNode] = inArc;
    if (inArc->mHead >= kHomeTerminals) return;
    FlowArc*& toTerminal = mTerminalArcs[inNode].mTo[inArc->mHead];
    mHasDoubleTerminals |= toTerminal != nullptr;
    toTerminal = inArc;
}

void FlowGraph::AddLinkPair(unsigned int inFrom, unsigned int inTo, float inCapacity,
                            float inReverseCapacity) {
    FlowArc* const arc = mArcPool.TakePair();
    SetUntouched(*arc, inCapacity, inReverseCapacity);
    arc->mTail = inFrom;
    arc->mReverse->mTail = inTo;
    PushFront(inFrom, arc);
    PushFront(inTo, arc->mReverse);
    mLinkPairs += inFrom >= kHomeTerminals && inTo >= kHomeTerminals;
}

unsigned int FlowGraph::AddNodeWithTerminals(unsigned int inSource, unsigned int inSink) {
    const unsigned int node = AddNode();
    AddLinkPair(node, inSource, 0, 0);
    AddLinkPair(node, inSink, 0, 0);
    return node;
}

// ---- Looking up ----------------------------------------------------------------------

FlowArc* FlowGraph::FindArc(unsigned int inFrom, unsigned int inTo) const {
    if (inFrom >= mNodeCount || inTo >= mNodeCount) return nullptr;
    if (inTo < kHomeTerminals) return mTerminalArcs[inFrom].mTo[inTo];
    if (inFrom < kHomeTerminals) {
        FlowArc* const back = mTerminalArcs[inTo].mTo[inFrom];
        return back ? back->mReverse : nullptr;
    }
    FlowArc* arc = mFirstArcs[inFrom];
    while (arc && arc->mHead != inTo)
        arc = arc->mNext;
    return arc;
}

// False where one is missing, as for the source and the sink themselves, whose lists are
// as long as the graph is large and are not walked.
bool FlowGraph::FindTerminals(unsigned int inNode, unsigned int inSource, unsigned int inSink,
                              Terminals& outTerminals) const {
    if (inNode == inSource || inNode == inSink) return false;
    FlowArc* const toSource = FindArc(inNode, inSource);
    outTerminals.mToSink = FindArc(inNode, inSink);
    if (!toSource || !outTerminals.mToSink) return false;
    outTerminals.mFromSource = toSource->mReverse;
    return true;
}

// ---- Capacities ----------------------------------------------------------------------

void FlowGraph::SetLinkCapacities(unsigned int inFrom, unsigned int inTo, float inCapacity,
                                  float inReverseCapacity) {
    if (FlowArc* const arc = FindArc(inFrom, inTo))
        SetLinkCapacities(*arc, inCapacity, inReverseCapacity, 0, 1);
}

void FlowGraph::SetLinkCapacities(FlowArc& ioArc, float inCapacity, float inReverseCapacity,
                                  unsigned int inSource, unsigned int inSink) {
    if (IsDynamicAndSolved())
        UpdateLinkCapacities(ioArc.mTail, ioArc.mHead, inCapacity, inReverseCapacity, inSource,
                             inSink);
    else
        SetUntouched(ioArc, inCapacity, inReverseCapacity);
}

void FlowGraph::SetTerminalCapacities(unsigned int inNode, float inSourceCapacity,
                                      float inSinkCapacity, unsigned int inSource,
                                      unsigned int inSink) {
    if (IsDynamicAndSolved()) {
        UpdateTerminalCapacities(inNode, inSourceCapacity, inSinkCapacity, inSource, inSink);
        return;
    }
    if (inNode == inSource || inNode == inSink) return;
    if (FlowArc* const toSource = FindArc(inNode, inSource))
        SetUntouched(*toSource, 0, inSourceCapacity);
    if (FlowArc* const toSink = FindArc(inNode, inSink))
        SetUntouched(*toSink, inSinkCapacity, 0);
}

void FlowGraph::UpdateTerminalCapacities(unsigned int inNode, float inSourceCapacity,
                                         float inSinkCapacity, unsigned int inSource,
                                         unsigned int inSink) {
    Terminals terminals;
    if (!FindTerminals(inNode, inSource, inSink, terminals)) return;

    const bool sourceFirst = inSinkCapacity > inSourceCapacity;
    FlowArc& first = sourceFirst ? *terminals.mFromSource : *terminals.mToSink;
    FlowArc& second = sourceFirst ? *terminals.mToSink : *terminals.mFromSource;
    const float firstCapacity = sourceFirst ? inSourceCapacity : inSinkCapacity;
    const float secondCapacity = sourceFirst ? inSinkCapacity : inSourceCapacity;

    SetAtLeastFlow(first, firstCapacity, second);
    // As much above the first as was asked for.
    SetAtLeastFlow(second, secondCapacity - firstCapacity + first.mCapacity, first);

    if (mPersistent && mSolver)
        mSolver->TerminalCapacitiesChanged(*terminals.mFromSource, *terminals.mToSink);
}

void FlowGraph::UpdateLinkCapacities(unsigned int inFrom, unsigned int inTo, float inCapacity,
                                     float inReverseCapacity, unsigned int inSource,
                                     unsigned int inSink) {
    Terminals from, to;
    if (!FindTerminals(inFrom, inSource, inSink, from)) return;
    if (!FindTerminals(inTo, inSource, inSink, to)) return;
    FlowArc* const arc = FindArc(inFrom, inTo);
    if (!arc) return;

    // One direction: from the node of `inLeaving` to the node of `inEntering`.
    const auto setOneWay = [](FlowArc& ioArc, float inNew, Terminals& inLeaving,
                              Terminals& inEntering) {
        const float flow = FlowOf(ioArc);
        ioArc.mCapacity = inNew;
        if (inNew >= flow) {
            ioArc.mResidual = inNew - flow;
            return;
        }
        const float excess = flow - inNew;
        ioArc.mResidual = 0;
        ioArc.mReverse->mResidual = inNew + ioArc.mReverse->mCapacity;
        TakeOver(*inLeaving.mToSink, excess, *inLeaving.mFromSource);
        TakeOver(*inEntering.mFromSource, excess, *inEntering.mToSink);
    };
    setOneWay(*arc, inCapacity, from, to);
    setOneWay(*arc->mReverse, inReverseCapacity, to, from);

    if (!mPersistent || !mSolver) return;
    mSolver->TerminalCapacitiesChanged(*from.mFromSource, *from.mToSink);
    mSolver->TerminalCapacitiesChanged(*to.mFromSource, *to.mToSink);
    mSolver->LinkChanged(*arc);
    mSolver->LinkChanged(*arc->mReverse);
}

// ---- Solving -------------------------------------------------------------------------

void RunMaxFlow(FlowGraph& inGraph, unsigned int inSource, unsigned int inSink,
                std::vector<unsigned char>& ioSegments, double inTimeLimit,
                AbortCallback* inAbort) {
    if (ioSegments.size() < inGraph.mNodeCount) ioSegments.resize(inGraph.mNodeCount);

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
