// Lists of arcs, capacities before a solve, and updates after one.

#include "External/graphcut/FlowGraph.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <vector>

#include "FlowModel.h"

namespace {

std::vector<unsigned int> HeadsOf(const FlowGraph& inGraph, unsigned int inNode) {
    std::vector<unsigned int> heads;
    inGraph.VisitArcs(inNode, [&](const auto& inArc) { heads.push_back(inArc.mHead); });
    return heads;
}

// The plain way to an arc.
unsigned int Walk(const FlowGraph& inGraph, unsigned int inFrom, unsigned int inTo) {
    unsigned int arc = inGraph.mFirstArcs[inFrom];
    while (arc != FlowGraph::kNoArc && inGraph.mArcs[arc].mHead != inTo)
        arc = inGraph.mArcs[arc].mNext;
    return arc;
}

TEST(FlowGraphLists, NewestArcIsFirst) {
    FlowGraph graph;
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(graph.AddNode(), unsigned(i));
    graph.AddLinkPair(2, 0, 0, 0);
    graph.AddLinkPair(2, 1, 0, 0);
    graph.AddLinkPair(2, 4, 0, 0);
    graph.AddLinkPair(3, 2, 0, 0);
    EXPECT_EQ(HeadsOf(graph, 2), (std::vector<unsigned int>{3, 4, 1, 0}));
    EXPECT_EQ(HeadsOf(graph, 3), (std::vector<unsigned int>{2}));
}

TEST(FlowGraphLists, PairIsEachOthersReverseWithFullResiduals) {
    FlowGraph graph;
    for (int i = 0; i < 4; ++i)
        graph.AddNode();
    graph.AddLinkPair(2, 3, 5, 7);
    const unsigned int arc = graph.FindArc(2, 3);
    ASSERT_NE(arc, FlowGraph::kNoArc);
    EXPECT_EQ(arc ^ 1, graph.FindArc(3, 2));
    EXPECT_EQ(graph.mCapacities[arc], 5.0f);
    EXPECT_EQ(graph.mArcs[arc].mResidual, 5.0f);
    EXPECT_EQ(graph.mCapacities[arc ^ 1], 7.0f);
    EXPECT_EQ(graph.mArcs[arc ^ 1].mResidual, 7.0f);
}

TEST(FlowGraphLists, ArcsAreFoundAsByAWalkAlsoAmongDuplicatesAndAcrossBlocks) {
    Testing::Random random(1);
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

// ---- Capacities before a solve -------------------------------------------------------

TEST(FlowGraphCapacities, UnsolvedTerminalsAreSetWithTheirResiduals) {
    FlowGraph graph;
    graph.AddNode();
    graph.AddNode();
    const unsigned int node = graph.AddNodeWithTerminals(0, 1);
    EXPECT_EQ(HeadsOf(graph, node), (std::vector<unsigned int>{1, 0}));
    graph.SetTerminalCapacities(node, 3, 8, 0, 1);
    EXPECT_EQ(graph.GetArc(0, node)->mResidual, 3.0f);
    EXPECT_EQ(graph.GetArc(node, 0)->mCapacity, 0.0f);
    EXPECT_EQ(graph.GetArc(node, 1)->mCapacity, 8.0f);
    EXPECT_EQ(graph.GetArc(1, node)->mResidual, 0.0f);
}

TEST(FlowGraphCapacities, TerminalsNeedNotBeNodesZeroAndOne) {
    FlowGraph graph;
    for (int i = 0; i < 5; ++i)
        graph.AddNode();
    graph.AddLinkPair(3, 2, 5, 0);  // source 3
    graph.AddLinkPair(2, 4, 9, 0);  // sink 4
    graph.SetTerminalCapacities(2, 6, 2, 3, 4);
    std::vector<unsigned char> segments;
    RunMaxFlow(graph, 3, 4, segments, -1.0, nullptr);
    EXPECT_EQ(segments[2], MaxFlowSolver::kSourceTree);
    EXPECT_EQ(graph.GetArc(2, 4)->mResidual, 0.0f);
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

// ---- Updates after a solve -----------------------------------------------------------

struct SolvedNode {
    SolvedNode(float inFromSource, float inToSink) {
        mGraph.mDynamic = true;
        mGraph.AddNode();
        mGraph.AddNode();
        mNode = mGraph.AddNodeWithTerminals(0, 1);
        mGraph.SetTerminalCapacities(mNode, inFromSource, inToSink, 0, 1);
        RunMaxFlow(mGraph, 0, 1, mSegments, -1.0, nullptr);
    }
    FlowGraph::ArcState FromSource() const { return *mGraph.GetArc(0, mNode); }
    FlowGraph::ArcState ToSink() const { return *mGraph.GetArc(mNode, 1); }

    FlowGraph mGraph;
    std::vector<unsigned char> mSegments;
    unsigned int mNode = 0;
};

TEST(FlowGraphUpdates, CapacitiesAboveTheFlowAreTakenAsTheyAre) {
    SolvedNode solved(5, 3);  // flow 3
    solved.mGraph.SetTerminalCapacities(solved.mNode, 9, 4, 0, 1);
    EXPECT_EQ(solved.FromSource().mCapacity, 9.0f);
    EXPECT_EQ(solved.FromSource().mResidual, 6.0f);
    EXPECT_EQ(solved.ToSink().mCapacity, 4.0f);
    EXPECT_EQ(solved.ToSink().mResidual, 1.0f);
}

TEST(FlowGraphUpdates, CapacitiesBelowTheFlowRaiseBothByOneConstant) {
    SolvedNode solved(5, 3);  // flow 3
    solved.mGraph.SetTerminalCapacities(solved.mNode, 2, 1, 0, 1);
    EXPECT_EQ(solved.ToSink().mCapacity, 3.0f);
    EXPECT_EQ(solved.ToSink().mResidual, 0.0f);
    EXPECT_EQ(solved.FromSource().mCapacity, 4.0f);
    EXPECT_EQ(solved.FromSource().mResidual, 1.0f);
}

// With a huge capacity on one side, the other side's small flow is lost to rounding, and so
// is the bias beside it: this is what a further stroke works on.
TEST(FlowGraphUpdates, HugeCapacitySwallowsTheBiasBesideIt) {
    const float huge = 1.4061254e36f;
    SolvedNode solved(3.1172054f, 0);
    solved.mGraph.SetTerminalCapacities(solved.mNode, 3.1172054f + huge, 0, 0, 1);
    EXPECT_EQ(solved.FromSource().mCapacity, huge);
    solved.mGraph.SetTerminalCapacities(solved.mNode, 0, huge, 0, 1);
    EXPECT_EQ(solved.FromSource().mCapacity, 0.0f);
    EXPECT_EQ(solved.ToSink().mCapacity, huge);
}

}  // namespace
