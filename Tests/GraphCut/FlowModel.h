// A graph as it was asked for, with whole-number capacities so that single precision is
// exact, and the certificate of a minimum cut. The tests and the fuzzer judge by it.

#pragma once

#include "External/graphcut/MaxFlowSolver.h"
#include "Support/Test.h"

namespace Testing {

struct ModelLink {
    unsigned int mFrom;
    unsigned int mTo;
    int mCapacity;
    int mReverseCapacity;
};

struct ModelNode {
    int mFromSource = 0;
    int mToSink = 0;
};

/// Source 0, sink 1; `mNodes[i]` is node i + 2. At most one link between two nodes.
struct FlowModel {
    std::vector<ModelNode> mNodes;
    std::vector<ModelLink> mLinks;

    /// Adds nodes with terminal links, then links, and sets the capacities.
    void BuildInto(FlowGraph& ioGraph) const {
        ioGraph.AddNode();
        ioGraph.AddNode();
        for (const ModelNode& node : mNodes)
            ioGraph.SetTerminalCapacities(ioGraph.AddNodeWithTerminals(0, 1),
                                          float(node.mFromSource), float(node.mToSink), 0, 1);
        for (const ModelLink& link : mLinks)
            ioGraph.AddLinkPair(link.mFrom, link.mTo, float(link.mCapacity),
                                float(link.mReverseCapacity));
    }

    /// What the partition cuts. `inFree` is the side that free nodes count for.
    long long CutOf(const std::vector<unsigned char>& inSegments, unsigned char inFree) const {
        const auto isSink = [&](std::size_t inNode) {
            const unsigned char segment = inSegments[inNode];
            return (segment == MaxFlowSolver::kFree ? inFree : segment) ==
                   MaxFlowSolver::kSinkTree;
        };
        long long cut = 0;
        for (std::size_t i = 0; i < mNodes.size(); ++i)
            cut += isSink(i + 2) ? mNodes[i].mFromSource : mNodes[i].mToSink;
        for (const ModelLink& link : mLinks) {
            if (!isSink(link.mFrom) && isSink(link.mTo)) cut += link.mCapacity;
            if (isSink(link.mFrom) && !isSink(link.mTo)) cut += link.mReverseCapacity;
        }
        return cut;
    }
};

/// What is wrong with the flow in a graph, or nothing: a residual is negative, the flows of a
/// pair are not opposite, or a node but the terminals does not pass on what it gets.
inline std::string FaultOfFlow(const FlowGraph& inGraph) {
    const auto flow = [&](unsigned int inArc) {
        return inGraph.mCapacities[inArc] - inGraph.mArcs[inArc].mResidual;
    };
    for (unsigned int arc = 0; arc < inGraph.mArcs.size(); arc += 2)
        if (flow(arc) != -flow(arc + 1)) return "the pair of arc " + std::to_string(arc);
    std::string fault;
    for (unsigned int node = 0; node < inGraph.mNodeCount; ++node) {
        float leaving = 0;
        inGraph.VisitArcs(node, [&](const FlowGraph::ArcState& inArc) {
            if (!(inArc.mResidual >= 0)) fault = "a residual of node " + std::to_string(node);
            leaving += inArc.mCapacity - inArc.mResidual;
        });
        if (node >= 2 && leaving != 0) fault = "the balance of node " + std::to_string(node);
    }
    return fault;
}

/// What is wrong with a partition as a minimum cut of the model, or nothing. The least cut is
/// that of a graph that nobody has solved before, whose own flow proves it: no cut is less
/// than a flow, and here they are equal.
inline std::string FaultOfCut(const FlowModel& inModel,
                              const std::vector<unsigned char>& inSegments) {
    FlowGraph graph;
    graph.mPersistent = true;
    inModel.BuildInto(graph);
    std::vector<unsigned char> fresh;
    RunMaxFlow(graph, 0, 1, fresh, -1.0, nullptr);
    if (const std::string fault = FaultOfFlow(graph); !fault.empty()) return "fresh: " + fault;
    const auto least = static_cast<long long>(graph.mSolver->GetFlow());
    for (const unsigned char free : {MaxFlowSolver::kSourceTree, MaxFlowSolver::kSinkTree}) {
        if (inModel.CutOf(fresh, free) != least) return "the fresh cut is not the flow";
        if (inModel.CutOf(inSegments, free) != least) return "the cut is not the least";
    }
    return {};
}

}  // namespace Testing
