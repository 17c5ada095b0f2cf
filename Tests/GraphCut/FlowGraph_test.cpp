// What the comparison with the plain twin (PlainFlow_test.cpp) does not reach.

#include "External/graphcut/FlowGraph.h"

#include <stdexcept>

#include "External/graphcut/MaxFlowSolver.h"
#include "Support/Test.h"

namespace {

using namespace Testing;

// The plain way to an arc.
unsigned int Walk(const FlowGraph& inGraph, unsigned int inFrom, unsigned int inTo) {
    unsigned int arc = inGraph.mFirstArcs[inFrom];
    while (arc != FlowGraph::kNoArc && inGraph.mArcs[arc].mHead != inTo)
        arc = inGraph.mArcs[arc].mNext;
    return arc;
}

TEST(FlowGraphLists, ArcsAreFoundAsByAWalkAlsoAmongDuplicatesAndBothWays) {
    Random random(1);
    FlowGraph graph;
    constexpr int kNodes = 60;
    for (int i = 0; i < kNodes; ++i)
        graph.AddNode();
    for (int i = 0; i < 2000; ++i) {
        const auto from = unsigned(random.Integer(0, kNodes - 1));
        const auto to = unsigned(random.Integer(0, kNodes - 1));
        if (from != to) graph.AddLinkPair(from, to, float(i), 0);
    }
    for (unsigned int from = 0; from < kNodes; ++from)
        for (unsigned int to = 0; to < kNodes; ++to)
            ASSERT_EQ(graph.FindArc(from, to), Walk(graph, from, to)) << from << " " << to;
}

TEST(FlowGraphLists, RoomForMoreNodesThanThereCanBeIsALengthError) {
    FlowGraph graph;
    EXPECT_THROW(graph.ReserveNodes(SIZE_MAX), std::length_error);
}

TEST(FlowGraphCapacities, MissingArcsAndTerminalsAsNodesAreNoErrors) {
    FlowGraph graph;
    graph.mDynamic = graph.mPersistent = true;
    graph.AddNode();
    graph.AddNode();
    const unsigned int one = graph.AddNodeWithTerminals(0, 1);
    const unsigned int two = graph.AddNodeWithTerminals(0, 1);
    const unsigned int bare = graph.AddNode();
    graph.SetTerminalCapacities(one, 5, 2, 0, 1);
    const auto change = [&] {
        graph.SetTerminalCapacities(0, 1, 1, 0, 1);
        graph.SetTerminalCapacities(1, 1, 1, 0, 1);
        graph.SetTerminalCapacities(bare, 1, 1, 0, 1);
        graph.SetLinkCapacities(one, two, 3, 3);
        graph.SetLinkCapacities(bare, one, 3, 3);
        graph.SetLinkCapacities(99, one, 3, 3);
        EXPECT_EQ(graph.GetArc(0, one)->mCapacity, 5.0f);
        EXPECT_EQ(graph.GetArc(one, 1)->mCapacity, 2.0f);
        EXPECT_EQ(graph.mFirstArcs[bare], FlowGraph::kNoArc);
    };
    change();
    std::vector<unsigned char> segments;
    RunMaxFlow(graph, 0, 1, segments, -1.0, nullptr);
    change();
}

TEST(FlowGraphCapacities, SourceAndSinkHaveNoHomeArcs) {
    FlowGraph graph;
    graph.mDynamic = graph.mPersistent = true;
    graph.AddNode();
    graph.AddNode();
    graph.AddNodeWithTerminals(0, 1);
    std::vector<unsigned char> segments;
    RunMaxFlow(graph, 0, 1, segments, -1.0, nullptr);
    for (const unsigned int terminal : {0u, 1u}) {
        graph.SetTerminalCapacities(terminal, 1, 1, 0, 1);
        EXPECT_EQ(graph.GetTerminalCapacities(terminal, 0, 1).mFromSource, 0.0f);
    }
}

}  // namespace
