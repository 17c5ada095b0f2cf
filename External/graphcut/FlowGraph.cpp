// Capacities and a flow that is already there: the re-use of a flow in the manner of Kohli
// and Torr, "Dynamic Graph Cuts for Efficient Inference in Markov Random Fields" (2007).
//
// Once a solve has pushed a flow, a capacity below the flow on its arc would make the flow
// impossible. Nothing is pushed back then; what is too much is turned over to the two
// terminal arcs of the nodes concerned, which gives another graph with the same minimum
// cuts (a re-parametrisation):
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

#include "image/Interruption.h"

namespace {

float FlowOf(const ArcNumbers& inArc) { return *inArc.mCapacity - *inArc.mResidual; }

void RaiseBoth(const ArcNumbers& ioArc, float inBy) {
    *ioArc.mCapacity += inBy;
    *ioArc.mResidual += inBy;
}

// Gives `ioArc` a capacity, or the capacity of its flow if that is more; `ioOther`, the
// node's other terminal arc, then rises with it.
void SetAtLeastFlow(const ArcNumbers& ioArc, float inCapacity, const ArcNumbers& ioOther) {
    const float flow = FlowOf(ioArc);
    if (inCapacity >= flow) {
        *ioArc.mCapacity = inCapacity;
        *ioArc.mResidual = inCapacity - flow;
    } else {
        *ioArc.mCapacity = flow;
        *ioArc.mResidual = 0;
        RaiseBoth(ioOther, flow - inCapacity);
    }
}

// Makes the terminal arc `ioArc` carry `inExcess` more, raising both of the node if need be.
void TakeOver(const ArcNumbers& ioArc, float inExcess, const ArcNumbers& ioOther) {
    const float flow = FlowOf(ioArc) + inExcess;
    if (*ioArc.mCapacity >= flow) {
        *ioArc.mResidual = *ioArc.mCapacity - flow;
    } else {
        const float missing = flow - *ioArc.mCapacity;
        *ioArc.mCapacity = flow;
        *ioArc.mResidual = 0;
        RaiseBoth(ioOther, missing);
    }
    if (ioArc.mReverseResidual) *ioArc.mReverseResidual = flow + *ioArc.mReverseCapacity;
}

// The capacity that an arc is asked to have from now on, where the flow may leave less.
void SetOneWay(const ArcNumbers& ioArc, float inCapacity, const TerminalArcs& inLeaving,
               const TerminalArcs& inEntering) {
    const float flow = FlowOf(ioArc);
    *ioArc.mCapacity = inCapacity;
    if (inCapacity >= flow) {
        *ioArc.mResidual = inCapacity - flow;
        return;
    }
    const float excess = flow - inCapacity;
    *ioArc.mResidual = 0;
    *ioArc.mReverseResidual = inCapacity + *ioArc.mReverseCapacity;
    TakeOver(inLeaving.mToSink, excess, inLeaving.mFromSource);
    TakeOver(inEntering.mFromSource, excess, inEntering.mToSink);
}

void SetUntouched(const ArcNumbers& ioArc, float inCapacity, float inReverseCapacity) {
    *ioArc.mCapacity = *ioArc.mResidual = inCapacity;
    if (ioArc.mReverseCapacity)
        *ioArc.mReverseCapacity = *ioArc.mReverseResidual = inReverseCapacity;
}

ArcNumbers Reversed(const ArcNumbers& inArc) {
    return {inArc.mReverseCapacity, inArc.mReverseResidual, inArc.mCapacity, inArc.mResidual};
}

template <class T>
void ReserveDoubling(IP::RecycledVector<T>& ioVector, std::size_t inMore, std::size_t inMost) {
    if (ioVector.size() > inMost || inMore > inMost - ioVector.size())
        throw std::length_error("vector<T> too long");
    const std::size_t wanted = ioVector.size() + inMore;
    if (wanted <= ioVector.capacity()) return;
    ioVector.reserve(std::max(wanted, std::min(2 * ioVector.capacity(), inMost)));
}

}  // namespace

FlowGraph::~FlowGraph() { delete mSolver; }

// ---- Building ------------------------------------------------------------------------

void FlowGraph::ReserveNodes(std::size_t inCount) {
    constexpr std::size_t kMost = ~0u;
    ReserveDoubling(mFirstArcs, inCount, kMost);
    ReserveDoubling(mHomeResiduals, inCount, kMost);
    ReserveDoubling(mHomeCapacities, inCount, kMost);
}

void FlowGraph::ReserveLinks(std::size_t inCount) {
    constexpr std::size_t kMost = kHomeToSink;
    if (inCount > kMost / 2) throw std::length_error("vector<T> too long");
    ReserveDoubling(mArcs, 2 * inCount, kMost);
    ReserveDoubling(mCapacities, 2 * inCount, kMost);
}

unsigned int FlowGraph::AppendNode() {
    ReserveNodes(1);
    mFirstArcs.push_back(kNoArc);
    mHomeResiduals.push_back({});
    mHomeCapacities.push_back({});
    return mNodeCount++;
}

// A node without terminal links, unless it is a terminal itself, has no home arcs.
unsigned int FlowGraph::AddNode() {
    if (mNodeCount >= kFirstHomeNode) SpreadHomeTerminals();
    return AppendNode();
}

unsigned int FlowGraph::AddNodeWithTerminals(unsigned int inSource, unsigned int inSink) {
    const bool atHome = AreHome(inSource, inSink) && mNodeCount >= kFirstHomeNode;
    if (!atHome) SpreadHomeTerminals();
    const unsigned int node = AppendNode();
    if (atHome) return node;
    AddLinkPair(node, inSource, 0, 0);
    AddLinkPair(node, inSink, 0, 0);
    return node;
}

void FlowGraph::AddNodesWithTerminals(std::size_t inCount, unsigned int inSource,
                                      unsigned int inSink) {
    ReserveNodes(inCount);
    if (!AreHome(inSource, inSink) || mNodeCount < kFirstHomeNode) {
        while (inCount-- > 0)
            AddNodeWithTerminals(inSource, inSink);
        return;
    }
    constexpr std::size_t kNodesAtOnce = 1 << 18;
    for (const std::size_t end = mFirstArcs.size() + inCount; mFirstArcs.size() < end;) {
        IP::Checkpoint(0, 0);
        mFirstArcs.resize(std::min(mFirstArcs.size() + kNodesAtOnce, end), kNoArc);
        mHomeResiduals.resize(mFirstArcs.size());
        mHomeCapacities.resize(mFirstArcs.size());
    }
    mNodeCount += static_cast<unsigned int>(inCount);
}

// There is room for the two arcs.
void FlowGraph::AppendPair(unsigned int inFrom, unsigned int inTo, float inCapacity,
                           float inReverseCapacity) {
    const auto arc = static_cast<unsigned int>(mArcs.size());
    mArcs.push_back({inTo, mFirstArcs[inFrom], inCapacity});
    mFirstArcs[inFrom] = arc;
    mArcs.push_back({inFrom, mFirstArcs[inTo], inReverseCapacity});
    mFirstArcs[inTo] = arc + 1;
    mCapacities.push_back(inCapacity);
    mCapacities.push_back(inReverseCapacity);
}

void FlowGraph::AddLinkPair(unsigned int inFrom, unsigned int inTo, float inCapacity,
                            float inReverseCapacity) {
    const bool isLink = inFrom >= kFirstHomeNode && inTo >= kFirstHomeNode;
    if (!isLink && !SpreadHomeTerminals()) return;
    ReserveLinks(1);
    AppendPair(inFrom, inTo, inCapacity, inReverseCapacity);
    mLinkPairs += isLink;
}

void FlowGraph::AddLinks(std::span<const Link> inLinks) {
    ReserveLinks(inLinks.size());
    for (const Link& link : inLinks) {
        IP::SparseCheckpoint(&link - inLinks.data(), 0);
        AppendPair(link.mFrom, link.mTo, link.mCapacity, link.mCapacity);
    }
    mLinkPairs += inLinks.size();
}

// Home nodes have got their terminal arcs before any other and in the order of their
// numbers: that is where the arcs go in all lists.
bool FlowGraph::SpreadHomeTerminals() {
    if (!mHasHomeTerminals) return true;
    if (mSolver) return false;
    const std::size_t nodes = std::max(mNodeCount, kFirstHomeNode) - kFirstHomeNode;
    ReserveLinks(2 * nodes);
    mHasHomeTerminals = false;
    for (unsigned int node = kFirstHomeNode; node < mNodeCount; ++node) {
        const TerminalValues capacities = mHomeCapacities[node];
        const TerminalValues residuals = mHomeResiduals[node];
        const unsigned int newest = mFirstArcs[node];
        mFirstArcs[node] = kNoArc;
        const auto oldest = static_cast<unsigned int>(mArcs.size());
        AppendPair(node, kHomeSource, 0, capacities.mFromSource);
        AppendPair(node, kHomeSink, capacities.mToSink, 0);
        mArcs[oldest].mResidual = capacities.mFromSource - residuals.mFromSource;
        mArcs[oldest + 1].mResidual = residuals.mFromSource;
        mArcs[oldest + 2].mResidual = residuals.mToSink;
        mArcs[oldest + 3].mResidual = capacities.mToSink - residuals.mToSink;
        if (newest != kNoArc) {
            unsigned int last = newest;
            while (mArcs[last].mNext != kNoArc)
                last = mArcs[last].mNext;
            mArcs[last].mNext = oldest + 2;
            mFirstArcs[node] = newest;
        }
        mHomeCapacities[node] = mHomeResiduals[node] = {};
    }
    return true;
}

// ---- Looking up ----------------------------------------------------------------------

// The lists of source and sink may be as long as the graph is large; they are not walked
// where the other end's will do.
unsigned int FlowGraph::FindArc(unsigned int inFrom, unsigned int inTo) const {
    if (inFrom >= mNodeCount || inTo >= mNodeCount) return kNoArc;
    if (inFrom < kFirstHomeNode && inTo >= kFirstHomeNode) {
        const unsigned int back = FindArc(inTo, inFrom);
        return back == kNoArc ? kNoArc : back ^ 1;
    }
    unsigned int arc = mFirstArcs[inFrom];
    while (arc != kNoArc && mArcs[arc].mHead != inTo)
        arc = mArcs[arc].mNext;
    return arc;
}

std::optional<FlowGraph::ArcState> FlowGraph::GetArc(unsigned int inFrom,
                                                     unsigned int inTo) const {
    if (inFrom >= mNodeCount || inTo >= mNodeCount) return std::nullopt;
    const unsigned int arc = FindArc(inFrom, inTo);
    if (arc != kNoArc) return ArcState{inTo, mCapacities[arc], mArcs[arc].mResidual};
    const unsigned int node = std::max(inFrom, inTo), terminal = std::min(inFrom, inTo);
    if (!mHasHomeTerminals || terminal >= kFirstHomeNode || node < kFirstHomeNode)
        return std::nullopt;
    const bool ofSource = terminal == kHomeSource;
    const auto pick = ofSource ? &TerminalValues::mFromSource : &TerminalValues::mToSink;
    const float capacity = mHomeCapacities[node].*pick;
    const float residual = mHomeResiduals[node].*pick;
    const bool isReverse = inTo == kHomeSource || inFrom == kHomeSink;
    if (isReverse) return ArcState{inTo, 0, capacity - residual};
    return ArcState{inTo, capacity, residual};
}

TerminalValues FlowGraph::GetTerminalCapacities(unsigned int inNode, unsigned int inSource,
                                                unsigned int inSink) const {
    if (inNode >= mNodeCount) return {};
    if (AreHome(inSource, inSink)) return mHomeCapacities[inNode];
    const unsigned int toSource = FindArc(inNode, inSource);
    const unsigned int toSink = FindArc(inNode, inSink);
    return {toSource == kNoArc ? 0 : mCapacities[toSource ^ 1],
            toSink == kNoArc ? 0 : mCapacities[toSink]};
}

ArcNumbers FlowGraph::NumbersOf(unsigned int inArc) {
    return {&mCapacities[inArc], &mArcs[inArc].mResidual, &mCapacities[inArc ^ 1],
            &mArcs[inArc ^ 1].mResidual};
}

// False where one is missing, as for the source and the sink themselves.
bool FlowGraph::FindTerminals(unsigned int inNode, unsigned int inSource, unsigned int inSink,
                              TerminalArcs& outTerminals) {
    if (inNode >= mNodeCount || inNode == inSource || inNode == inSink) return false;
    outTerminals.mNode = inNode;
    if (AreHome(inSource, inSink)) {
        TerminalValues& capacities = mHomeCapacities[inNode];
        TerminalValues& residuals = mHomeResiduals[inNode];
        outTerminals.mToSourceArc = kHomeToSource;
        outTerminals.mToSinkArc = kHomeToSink;
        outTerminals.mFromSource = {&capacities.mFromSource, &residuals.mFromSource};
        outTerminals.mToSink = {&capacities.mToSink, &residuals.mToSink};
        return true;
    }
    if (!SpreadHomeTerminals()) return false;
    outTerminals.mToSourceArc = FindArc(inNode, inSource);
    outTerminals.mToSinkArc = FindArc(inNode, inSink);
    if (outTerminals.mToSourceArc == kNoArc || outTerminals.mToSinkArc == kNoArc) return false;
    outTerminals.mFromSource = NumbersOf(outTerminals.mToSourceArc ^ 1);
    outTerminals.mToSink = NumbersOf(outTerminals.mToSinkArc);
    return true;
}

// ---- Capacities ----------------------------------------------------------------------

void FlowGraph::SetLinkCapacities(unsigned int inFrom, unsigned int inTo, float inCapacity,
                                  float inReverseCapacity) {
    const bool isLink = inFrom >= kFirstHomeNode && inTo >= kFirstHomeNode;
    if (!isLink && !SpreadHomeTerminals()) return;
    const unsigned int arc = FindArc(inFrom, inTo);
    if (arc != kNoArc)
        SetArcCapacities(arc, inCapacity, inReverseCapacity, kHomeSource, kHomeSink);
}

void FlowGraph::SetArcCapacities(unsigned int inArc, float inCapacity, float inReverseCapacity,
                                 unsigned int inSource, unsigned int inSink) {
    if (IsDynamicAndSolved())
        UpdateLinkCapacities(mArcs[inArc ^ 1].mHead, mArcs[inArc].mHead, inCapacity,
                             inReverseCapacity, inSource, inSink);
    else
        SetUntouched(NumbersOf(inArc), inCapacity, inReverseCapacity);
}

void FlowGraph::SetTerminalCapacities(unsigned int inNode, float inSourceCapacity,
                                      float inSinkCapacity, unsigned int inSource,
                                      unsigned int inSink) {
    if (IsDynamicAndSolved()) {
        UpdateTerminalCapacities(inNode, inSourceCapacity, inSinkCapacity, inSource, inSink);
        return;
    }
    if (inNode >= mNodeCount || inNode == inSource || inNode == inSink) return;
    if (AreHome(inSource, inSink)) {
        mHomeCapacities[inNode] = mHomeResiduals[inNode] = {inSourceCapacity, inSinkCapacity};
        return;
    }
    if (!SpreadHomeTerminals()) return;
    const unsigned int toSource = FindArc(inNode, inSource);
    if (toSource != kNoArc) SetUntouched(NumbersOf(toSource), 0, inSourceCapacity);
    const unsigned int toSink = FindArc(inNode, inSink);
    if (toSink != kNoArc) SetUntouched(NumbersOf(toSink), inSinkCapacity, 0);
}

void FlowGraph::UpdateTerminalCapacities(unsigned int inNode, float inSourceCapacity,
                                         float inSinkCapacity, unsigned int inSource,
                                         unsigned int inSink) {
    TerminalArcs terminals;
    if (!FindTerminals(inNode, inSource, inSink, terminals)) return;

    const bool sourceFirst = inSinkCapacity > inSourceCapacity;
    const ArcNumbers& first = sourceFirst ? terminals.mFromSource : terminals.mToSink;
    const ArcNumbers& second = sourceFirst ? terminals.mToSink : terminals.mFromSource;
    const float firstCapacity = sourceFirst ? inSourceCapacity : inSinkCapacity;
    const float secondCapacity = sourceFirst ? inSinkCapacity : inSourceCapacity;

    SetAtLeastFlow(first, firstCapacity, second);
    // As much above the first as was asked for.
    SetAtLeastFlow(second, secondCapacity - firstCapacity + *first.mCapacity, first);

    if (mPersistent && mSolver) mSolver->TerminalCapacitiesChanged(terminals);
}

void FlowGraph::UpdateLinkCapacities(unsigned int inFrom, unsigned int inTo, float inCapacity,
                                     float inReverseCapacity, unsigned int inSource,
                                     unsigned int inSink) {
    TerminalArcs from, to;
    if (!FindTerminals(inFrom, inSource, inSink, from)) return;
    if (!FindTerminals(inTo, inSource, inSink, to)) return;
    const unsigned int arc = FindArc(inFrom, inTo);
    if (arc == kNoArc) return;

    const ArcNumbers there = NumbersOf(arc);
    SetOneWay(there, inCapacity, from, to);
    SetOneWay(Reversed(there), inReverseCapacity, to, from);

    if (!mPersistent || !mSolver) return;
    mSolver->TerminalCapacitiesChanged(from);
    mSolver->TerminalCapacitiesChanged(to);
    mSolver->LinkChanged(arc, inFrom, inTo);
    mSolver->LinkChanged(arc ^ 1, inTo, inFrom);
}
