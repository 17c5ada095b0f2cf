// FlowGraph: a directed graph with float capacities, and what happens to a flow in it when
// the capacities change.

#pragma once

#include <cstddef>
#include <vector>

#include "External/graphcut/FlowArcPool.h"
#include "image/RecycledAllocator.h"

class MaxFlowSolver;

/// Asked after each augmentation of a solve.
///
/// Ownership: the caller's; a solve keeps no pointer to it.
/// Threads: called on the thread that solves.
/// Errors: what it throws passes to the caller of the solve.
/// Frozen: `ShouldAbort` is the first slot.
class AbortCallback {
public:
    /// True ends the solve. `inReason` is always 1.
    virtual bool ShouldAbort(int inReason) = 0;

protected:
    ~AbortCallback() = default;
};

/// Nodes, numbered from 0 in the order in which they were added, and pairs of arcs.
///
///          mFirstArcs[n] --> newest arc of n --> ... --> oldest arc of n --> null
///
/// A pair between two nodes is a link; a pair with the source or the sink is a terminal
/// link. An arc goes to the front of its tail's list, and the order of the lists decides
/// which of several minimum cuts a solve finds: it is behaviour.
///
/// Source and sink are nodes like others and are named by whoever solves. The builders of
/// this module add the source first and the sink second, so they are 0 and 1, and the
/// terminal arcs of a node with these two are found without a walk of its list.
///
/// Ownership: owns the arcs and the solver. Arcs are never removed one at a time.
/// Threads: one thread at a time, and one solver at a time in the process: see
///   MaxFlowSolver.
/// Errors: `std::bad_alloc` and `std::length_error` pass through. An update that names a
///   missing arc, or the source or sink as its node, does nothing.
/// Frozen: the order of the first nine members.
class FlowGraph {
public:
    static constexpr unsigned int kHomeTerminals = 2;

    FlowGraph() = default;
    ~FlowGraph();
    FlowGraph(const FlowGraph&) = delete;
    FlowGraph& operator=(const FlowGraph&) = delete;

    /// Returns the number of the new node.
    unsigned int AddNode();

    /// Makes room for further nodes; many small steps of it still grow by doubling.
    void ReserveNodes(std::size_t inCount);

    /// Two arcs, each with its residual equal to its capacity. A second pair between the
    /// same nodes is not noticed.
    void AddLinkPair(unsigned int inFrom, unsigned int inTo, float inCapacity,
                     float inReverseCapacity);

    /// A node with its two terminal links of capacity 0, that with the source first.
    unsigned int AddNodeWithTerminals(unsigned int inSource, unsigned int inSink);

    /// The newest arc from `inFrom` to `inTo`, or null.
    FlowArc* FindArc(unsigned int inFrom, unsigned int inTo) const;

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
    void SetLinkCapacities(FlowArc& ioArc, float inCapacity, float inReverseCapacity,
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

    /// The members are open to the solver and the builders; clients leave them alone, but
    /// for the two switches.
    unsigned int mNodeCount = 0;
    IP::RecycledVector<FlowArc*> mFirstArcs;
    FlowArcPool mArcPool;      // two members: the chain of free arcs, the blocks
    bool mSolved = false;      // a solve has run
    bool mDynamic = false;     // changes of capacity after a solve preserve the flow
    bool mPersistent = false;  // the solver lives on between solves
    MaxFlowSolver* mSolver = nullptr;

    /// For each node its arcs to nodes 0 and 1, or null: the index behind `FindArc`.
    struct TerminalArcs {
        FlowArc* mTo[kHomeTerminals] = {};
    };
    IP::RecycledVector<TerminalArcs> mTerminalArcs;

    /// Whether a node has two arcs to node 0, or two to node 1.
    bool mHasDoubleTerminals = false;

    /// Pairs with neither end at node 0 or 1.
    std::size_t mLinkPairs = 0;

private:
    struct Terminals;
    bool FindTerminals(unsigned int inNode, unsigned int inSource, unsigned int inSink,
                       Terminals& outTerminals) const;
    void PushFront(unsigned int inNode, FlowArc* inArc);
};

/// Finds the minimum cut between `inSource` and `inSink`, or improves on the one that a
/// persistent graph's solver has. `ioSegments` gets the side of each node: 0 the source's,
/// 1 the sink's, 2 neither (no arc with residual leads there from either side).
///
/// @param ioSegments  grown to one byte per node. On a persistent graph it must live as
///        long as the graph: the solver keeps pointing at it.
/// @param inTimeLimit  in seconds, negative for none. A solve that ran out of time, or was
///        aborted, leaves valid trees, but no minimum cut; the next call goes on from there.
void RunMaxFlow(FlowGraph& inGraph, unsigned int inSource, unsigned int inSink,
                std::vector<unsigned char>& ioSegments, double inTimeLimit,
                AbortCallback* inAbort);
