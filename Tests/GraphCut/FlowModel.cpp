#include "FlowModel.h"

#include <gtest/gtest.h>

#include <set>
#include <utility>

namespace Testing {

void FlowModel::BuildInto(FlowGraph& ioGraph) const {
    ioGraph.AddNode();
    ioGraph.AddNode();
    for (const ModelNode& node : mNodes)
        ioGraph.SetTerminalCapacities(ioGraph.AddNodeWithTerminals(0, 1),
                                      float(node.mFromSource), float(node.mToSink), 0, 1);
    for (const ModelLink& link : mLinks)
        ioGraph.AddLinkPair(link.mFrom, link.mTo, float(link.mCapacity),
                            float(link.mReverseCapacity));
}

long long FlowModel::CutOf(const std::vector<unsigned char>& inSegments,
                           unsigned char inFree) const {
    const auto isSink = [&](std::size_t inNode) {
        const unsigned char segment = inSegments[inNode];
        return (segment == MaxFlowSolver::kFree ? inFree : segment) == MaxFlowSolver::kSinkTree;
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

namespace {

int RandomCapacity(Random& ioRandom, int inMost) {
    return ioRandom.Integer(0, 3) == 0 ? 0 : ioRandom.Integer(1, inMost);
}

}  // namespace

FlowModel RandomModel(Random& ioRandom, int inNodes, int inLinks, int inMost) {
    FlowModel model;
    for (int i = 0; i < inNodes; ++i)
        model.mNodes.push_back(
            {RandomCapacity(ioRandom, inMost), RandomCapacity(ioRandom, inMost)});
    std::set<std::pair<int, int>> taken;
    for (int i = 0; i < inLinks; ++i) {
        const int from = ioRandom.Integer(2, inNodes + 1);
        const int to = ioRandom.Integer(2, inNodes + 1);
        if (from == to || !taken.insert(std::minmax(from, to)).second) continue;
        model.mLinks.push_back({unsigned(from), unsigned(to), RandomCapacity(ioRandom, inMost),
                                RandomCapacity(ioRandom, inMost)});
    }
    return model;
}

FlowModel GridModel(Random& ioRandom, int inColumns, int inRows, int inMost) {
    FlowModel model;
    for (int i = 0; i < inColumns * inRows; ++i)
        model.mNodes.push_back(
            {RandomCapacity(ioRandom, inMost), RandomCapacity(ioRandom, inMost)});
    for (int y = 0; y < inRows; ++y)
        for (int x = 0; x < inColumns; ++x) {
            const auto node = unsigned(y * inColumns + x + 2);
            for (const unsigned int other : {x + 1 < inColumns ? node + 1 : 0u,
                                             y + 1 < inRows ? node + unsigned(inColumns) : 0u})
                if (other != 0)
                    model.mLinks.push_back({node, other, RandomCapacity(ioRandom, inMost),
                                            RandomCapacity(ioRandom, inMost)});
        }
    return model;
}

std::vector<unsigned char> SolveFresh(const FlowModel& inModel, float* outFlow) {
    FlowGraph graph;
    graph.mPersistent = true;
    inModel.BuildInto(graph);
    std::vector<unsigned char> segments;
    RunMaxFlow(graph, 0, 1, segments, -1.0, nullptr);
    if (outFlow) *outFlow = graph.mSolver->GetFlow();
    return segments;
}

void ExpectValidFlow(const FlowGraph& inGraph) {
    const auto flow = [&](unsigned int inArc) {
        return inGraph.mCapacities[inArc] - inGraph.mArcs[inArc].mResidual;
    };
    for (unsigned int arc = 0; arc < inGraph.mArcs.size(); arc += 2)
        ASSERT_EQ(flow(arc), -flow(arc + 1)) << "arc " << arc;
    for (unsigned int node = 0; node < inGraph.mNodeCount; ++node) {
        float leaving = 0;
        inGraph.VisitArcs(node, [&](const FlowGraph::ArcState& inArc) {
            EXPECT_GE(inArc.mResidual, 0.0f) << node << " to " << inArc.mHead;
            leaving += inArc.mCapacity - inArc.mResidual;
        });
        if (node >= 2) {
            ASSERT_EQ(leaving, 0.0f) << "at node " << node;
        }
    }
}

void ExpectMinimumCut(const FlowModel& inModel, const std::vector<unsigned char>& inSegments) {
    float flow = 0;
    const auto fresh = SolveFresh(inModel, &flow);
    const auto least = static_cast<long long>(flow);
    EXPECT_EQ(inModel.CutOf(fresh, MaxFlowSolver::kSourceTree), least);
    EXPECT_EQ(inModel.CutOf(inSegments, MaxFlowSolver::kSourceTree), least);
    EXPECT_EQ(inModel.CutOf(inSegments, MaxFlowSolver::kSinkTree), least);
}

}  // namespace Testing
