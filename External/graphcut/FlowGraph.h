// FlowGraph: a directed graph with float capacities, and what happens to a flow in it when
// the capacities change.

#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

#include "image/RecycledAllocator.h"

/// Asked after each augmentation of a solve, every 1024 nodes of growth, and every 64 orphans
/// and freed nodes of an adoption.
///
/// Ownership: the caller's; a solve keeps no pointer to it.
/// Threads: called on the thread that solves.
/// Errors: what it throws passes to the caller of the solve.
/// Frozen: `ShouldAbort` is the first slot.
class AbortCallback {
public:
    /// True ends the solve. `inReason` is always 1.
    virtual bool ShouldAbort(int inReason) = 0;

    /// Whether a solve is only paused by it: it is asked within growth and adoption too, and
    /// the next solve goes on as if this one had not ended. Else it is asked behind each path
    /// alone, and the next solve is a resume like any other.
    virtual bool Pauses() const { return false; }

protected:
    ~AbortCallback() = default;
};

/// One directed arc in a table of arcs. Arcs exist in pairs: the reverse of arc i is arc
/// i ^ 1, and so the tail of an arc is the head of its reverse.
struct FlowArc {
    unsigned int mHead;
    unsigned int mNext;  // the next arc with the same tail, or FlowGraph::kNoArc
    float mResidual;     // the capacity minus the flow
};

/// The two terminal arcs of a node: from the source, and to the sink.
struct TerminalValues {
    float mFromSource = 0;
    float mToSink = 0;
};

/// Where the numbers of an arc and of its reverse lie. The reverse of a terminal arc may
/// have none: nothing ever flows into the source or out of the sink.
struct ArcNumbers {
    float* mCapacity = nullptr;
    float* mResidual = nullptr;
    float* mReverseCapacity = nullptr;
    float* mReverseResidual = nullptr;
};

/// The terminal arcs of one node, for whoever changes them. The two indices are those of the
/// arcs that leave the node, and so what a solver keeps as the parent of a node next to its
/// terminal.
struct TerminalArcs {
    unsigned int mNode = 0;
    unsigned int mToSourceArc = 0;
    unsigned int mToSinkArc = 0;
    ArcNumbers mFromSource;
    ArcNumbers mToSink;
};

/// Who has solved a persistent graph, and hears of each change of its capacities after that.
///
/// Ownership: the graph's. Threads: those of the graph. Errors: those of the solver.
class FlowSolver {
public:
    virtual ~FlowSolver() = default;

    /// The first solve, and any later one. Both return the flow that has been pushed.
    virtual float Solve(double inTimeLimit, AbortCallback* inAbort) = 0;
    virtual float Resume(double inTimeLimit, AbortCallback* inAbort) = 0;
    virtual float GetFlow() const = 0;

    virtual void TerminalCapacitiesChanged(const TerminalArcs& inArcs) = 0;
    /// The arc from `inFrom` to `inTo`. Comes behind the call for the terminals of each.
    virtual void LinkChanged(unsigned int inArc, unsigned int inFrom, unsigned int inTo) = 0;
};

/// Nodes, numbered from 0 in the order in which they were added, and pairs of arcs.
///
///          mFirstArcs[n] --> newest arc of n --> ... --> oldest arc of n --> kNoArc
///
/// A pair between two nodes is a link; a pair with the source or the sink is a terminal
/// link. An arc goes to the front of its tail's list, and the order of the lists decides
/// which of several minimum cuts a solve finds: it is behaviour.
///
/// Source and sink are nodes like others and are named by whoever solves. The builders of
/// this module add the source first and the sink second, so they are 0 and 1, and then only
/// nodes by `AddNodeWithTerminals`. As long as a graph is made like that, its terminal arcs
/// are **home**: no arcs, but two numbers a node, which stand for the last two arcs of its
/// list, that to the sink in front of that to the source. Where a client does otherwise the
/// terminal arcs become arcs like others, at the places in the lists where they stood.
///
/// Ownership: owns the solver.
/// Threads: one thread at a time.
/// Errors: `std::bad_alloc` passes through. More arcs or nodes than 32-bit indices reach are
///   a `std::length_error`. An update that names a missing arc, the source or sink as its
///   node, or other terminals than a living solver has, does nothing. While a solver lives
///   on home terminals, a link that has one of them at its end cannot be added or set.
/// Frozen: the order of `mNodeCount`, `mSolved`, `mDynamic`, `mPersistent`, `mSolver`.
class FlowGraph {
public:
    /// @name Indices that are no arc's
    /// @{
    static constexpr unsigned int kNoArc = ~0u;
    static constexpr unsigned int kHomeToSource = ~0u - 1;  ///< a node's home arcs
    static constexpr unsigned int kHomeToSink = ~0u - 2;
    /// @}

    static constexpr unsigned int kHomeSource = 0;
    static constexpr unsigned int kHomeSink = 1;
    static constexpr unsigned int kFirstHomeNode = 2;

    FlowGraph() = default;
    ~FlowGraph();
    FlowGraph(const FlowGraph&) = delete;
    FlowGraph& operator=(const FlowGraph&) = delete;

    // ---- Building --------------------------------------------------------------------

    /// Returns the number of the new node.
    unsigned int AddNode();

    /// Makes room for further nodes, or links; many small steps of it still grow by doubling.
    void ReserveNodes(std::size_t inCount);
    void ReserveLinks(std::size_t inCount);

    /// Two arcs, each with its residual equal to its capacity. A second pair between the
    /// same nodes is not noticed.
    void AddLinkPair(unsigned int inFrom, unsigned int inTo, float inCapacity,
                     float inReverseCapacity);

    /// A node with its two terminal links of capacity 0, that with the source first.
    unsigned int AddNodeWithTerminals(unsigned int inSource, unsigned int inSink);

    /// So many of them.
    void AddNodesWithTerminals(std::size_t inCount, unsigned int inSource, unsigned int inSink);

    /// A link whose capacity is the same both ways.
    struct Link {
        unsigned int mFrom;
        unsigned int mTo;
        float mCapacity;
    };
    /// As `AddLinkPair` for one after the other. No end may be node 0 or 1.
    void AddLinks(std::span<const Link> inLinks);

    // ---- Looking up ------------------------------------------------------------------

    /// What can be said of an arc.
    struct ArcState {
        unsigned int mHead;
        float mCapacity;
        float mResidual;
    };

    /// The newest arc from `inFrom` to `inTo`, if there is one.
    std::optional<ArcState> GetArc(unsigned int inFrom, unsigned int inTo) const;

    /// Calls `inVisit(ArcState)` for the arcs that leave a node, in list order.
    template <class Visit>
    void VisitArcs(unsigned int inNode, Visit inVisit) const;

    /// 0 where an arc is missing.
    TerminalValues GetTerminalCapacities(unsigned int inNode, unsigned int inSource,
                                         unsigned int inSink) const;

    /// The index of the newest arc, or `kNoArc`; home arcs have none.
    unsigned int FindArc(unsigned int inFrom, unsigned int inTo) const;

    // ---- Capacities ------------------------------------------------------------------

    /// @name Capacities
    ///
    /// Until a solve has run, or where `mDynamic` is off, `Set...` writes capacities and
    /// residuals as they are. After that it goes to `Update...`, which keeps the flow that
    /// has been pushed valid: the capacity that the flow needs stays, and both terminal
    /// capacities of a node rise by one constant where they must, which changes no cut. On
    /// a persistent graph the solver is told, and `RunMaxFlow` then resumes.
    /// @{

    /// With source 0 and sink 1.
    void SetLinkCapacities(unsigned int inFrom, unsigned int inTo, float inCapacity,
                           float inReverseCapacity);
    /// For an arc that has been found.
    void SetArcCapacities(unsigned int inArc, float inCapacity, float inReverseCapacity,
                          unsigned int inSource, unsigned int inSink);
    void SetTerminalCapacities(unsigned int inNode, float inSourceCapacity,
                               float inSinkCapacity, unsigned int inSource,
                               unsigned int inSink);
    void UpdateTerminalCapacities(unsigned int inNode, float inSourceCapacity,
                                  float inSinkCapacity, unsigned int inSource,
                                  unsigned int inSink);
    void UpdateLinkCapacities(unsigned int inFrom, unsigned int inTo, float inCapacity,
                              float inReverseCapacity, unsigned int inSource,
                              unsigned int inSink);
    /// @}

    /// Whether a change of capacity must preserve the flow.
    bool IsDynamicAndSolved() const { return mDynamic && mSolved; }

    /// Whether terminal arcs are home arcs of nodes 0 and 1.
    bool HasHomeTerminals() const { return mHasHomeTerminals; }

    /// Makes home arcs arcs like others, where no solver lives; says whether none are left.
    bool SpreadHomeTerminals();

    // ---- State -----------------------------------------------------------------------

    /// The members are open to the solver and the builders; clients leave them alone, but
    /// for the two switches.
    unsigned int mNodeCount = 0;
    IP::RecycledVector<unsigned int> mFirstArcs;  // one index a node
    IP::RecycledVector<FlowArc> mArcs;
    IP::RecycledVector<float> mCapacities;               // one an arc
    IP::RecycledVector<TerminalValues> mHomeResiduals;   // one a node; 0 where spread
    IP::RecycledVector<TerminalValues> mHomeCapacities;  // the same
    bool mSolved = false;                                // a solve has run
    bool mDynamic = false;     // changes of capacity after a solve preserve the flow
    bool mPersistent = false;  // the solver lives on between solves
    FlowSolver* mSolver = nullptr;

    /// Pairs with neither end at node 0 or 1.
    std::size_t mLinkPairs = 0;

private:
    unsigned int AppendNode();
    void AppendPair(unsigned int inFrom, unsigned int inTo, float inCapacity,
                    float inReverseCapacity);
    bool AreHome(unsigned int inSource, unsigned int inSink) const {
        return mHasHomeTerminals && inSource == kHomeSource && inSink == kHomeSink;
    }
    ArcNumbers NumbersOf(unsigned int inArc);
    bool FindTerminals(unsigned int inNode, unsigned int inSource, unsigned int inSink,
                       TerminalArcs& outTerminals);

    bool mHasHomeTerminals = true;
};

template <class Visit>
void FlowGraph::VisitArcs(unsigned int inNode, Visit inVisit) const {
    for (unsigned int arc = mFirstArcs[inNode]; arc != kNoArc; arc = mArcs[arc].mNext)
        inVisit(ArcState{mArcs[arc].mHead, mCapacities[arc], mArcs[arc].mResidual});
    if (!mHasHomeTerminals) return;
    if (inNode >= kFirstHomeNode) {
        inVisit(*GetArc(inNode, kHomeSink));
        inVisit(*GetArc(inNode, kHomeSource));
    } else {
        for (unsigned int node = mNodeCount; node-- > kFirstHomeNode;)
            inVisit(*GetArc(inNode, node));
    }
}
