// Minimum cuts: proved by certificates, fresh and resumed.

#include "External/graphcut/MaxFlowSolver.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "FlowModel.h"

namespace {

using Testing::ExpectMinimumCut;
using Testing::ExpectValidFlow;
using Testing::FlowModel;
using Testing::GridModel;
using Testing::Random;
using Testing::RandomModel;
using Testing::ReferenceFlow;

constexpr unsigned char kSource = MaxFlowSolver::kSourceTree;
constexpr unsigned char kSink = MaxFlowSolver::kSinkTree;
constexpr unsigned char kFree = MaxFlowSolver::kFree;

// A graph that is solved and resumed, beside its model.
struct Kept {
    explicit Kept(FlowModel inModel) : mModel(std::move(inModel)) {
        mGraph.mDynamic = mGraph.mPersistent = true;
        mModel.BuildInto(mGraph);
    }
    void Solve() { RunMaxFlow(mGraph, 0, 1, mSegments, -1.0, nullptr); }
    void SetTerminals(std::size_t inIndex, int inFromSource, int inToSink) {
        mModel.mNodes[inIndex] = {inFromSource, inToSink};
        mGraph.SetTerminalCapacities(unsigned(inIndex) + 2, float(inFromSource),
                                     float(inToSink), 0, 1);
    }
    void SetLink(std::size_t inIndex, int inCapacity, int inReverseCapacity) {
        auto& link = mModel.mLinks[inIndex];
        link.mCapacity = inCapacity;
        link.mReverseCapacity = inReverseCapacity;
        mGraph.SetLinkCapacities(link.mFrom, link.mTo, float(inCapacity),
                                 float(inReverseCapacity));
    }

    FlowModel mModel;
    FlowGraph mGraph;
    std::vector<unsigned char> mSegments;
};

void ExpectSolved(const FlowModel& inModel) {
    Kept kept(inModel);
    kept.Solve();
    ExpectValidFlow(kept.mGraph);
    const auto flow = static_cast<long long>(kept.mGraph.mSolver->GetFlow());
    EXPECT_EQ(inModel.CutOf(kept.mSegments, kSource), flow);
    EXPECT_EQ(inModel.CutOf(kept.mSegments, kSink), flow);
    if (const auto reference = ReferenceFlow(inModel)) {
        EXPECT_EQ(flow, *reference);
    }
}

// ---- Fresh ---------------------------------------------------------------------------

TEST(MaxFlow, CutEqualsFlowAndAnIndependentFlowOnRandomGraphs) {
    Random random(1);
    for (int i = 0; i < 3000; ++i) {
        SCOPED_TRACE(i);
        const int nodes = random.Integer(1, 24);
        ExpectSolved(RandomModel(random, nodes, random.Integer(0, 4 * nodes), 9));
        if (HasFailure()) return;
    }
}

TEST(MaxFlow, CutEqualsFlowAndAnIndependentFlowOnGrids) {
    Random random(2);
    for (int i = 0; i < 60; ++i) {
        SCOPED_TRACE(i);
        ExpectSolved(
            GridModel(random, random.Integer(1, 40), random.Integer(1, 40), i % 2 ? 5 : 1000));
        if (HasFailure()) return;
    }
}

// A long chain with its source at one end: trees far deeper than those of pictures.
TEST(MaxFlow, ReachesThroughALongChain) {
    FlowModel model;
    constexpr int kLength = 20000;
    model.mNodes.resize(kLength);
    model.mNodes.front().mFromSource = 7;
    model.mNodes.back().mToSink = 9;
    for (unsigned int i = 0; i + 1 < kLength; ++i)
        model.mLinks.push_back({i + 2, i + 3, 8, 0});
    ExpectSolved(model);
}

TEST(MaxFlow, NonPersistentGraphKeepsNoSolverAndGivesTheSameSegments) {
    Random random(3);
    const FlowModel model = GridModel(random, 12, 9, 50);
    FlowGraph graph;
    model.BuildInto(graph);
    std::vector<unsigned char> segments;
    RunMaxFlow(graph, 0, 1, segments, -1.0, nullptr);
    EXPECT_EQ(graph.mSolver, nullptr);
    EXPECT_TRUE(graph.mSolved);
    EXPECT_EQ(segments, Testing::SolveFresh(model));
}

// The capacities are rounded, and so are the flows: which arc is exactly full, and with it
// the cut, rests on every order inside. Labels that a host has stored rest on it.
TEST(MaxFlow, ResidualsAreFrozenToTheBit) {
    Random random(77);
    std::uint64_t digest = 0xcbf29ce484222325u;
    const auto add = [&](std::uint32_t inWord) {
        digest = (digest ^ inWord) * 0x100000001b3u;
    };
    const auto set = [](Kept& ioKept, std::size_t inNode, std::size_t inLink) {
        const auto& [fromSource, toSink] = ioKept.mModel.mNodes[inNode];
        ioKept.mGraph.SetTerminalCapacities(unsigned(inNode) + 2, 0.1f * float(fromSource),
                                            0.1f * float(toSink), 0, 1);
        if (inLink >= ioKept.mModel.mLinks.size()) return;
        const auto& link = ioKept.mModel.mLinks[inLink];
        ioKept.mGraph.SetLinkCapacities(link.mFrom, link.mTo, 0.1f * float(link.mCapacity),
                                        0.1f * float(link.mReverseCapacity));
    };
    for (int i = 0; i < 200; ++i) {
        Kept kept(i % 2 ? RandomModel(random, 60, 200, 9) : GridModel(random, 9, 7, 9));
        for (std::size_t k = 0;
             k < std::max(kept.mModel.mNodes.size(), kept.mModel.mLinks.size()); ++k)
            set(kept, std::min(k, kept.mModel.mNodes.size() - 1), k);
        for (int round = 0; round < 4; ++round) {
            kept.Solve();
            for (unsigned int node = 0; node < kept.mGraph.mNodeCount; ++node) {
                add(kept.mSegments[node]);
                // Nothing reads what leads into the source or out of the sink.
                if (node != 1)
                    kept.mGraph.VisitArcs(node, [&](const auto& inArc) {
                        if (inArc.mHead != 0)
                            add(std::bit_cast<std::uint32_t>(inArc.mResidual));
                    });
            }
            for (int change = 0; change < 6; ++change) {
                const auto node = std::size_t(random.Integer(0, 59));
                kept.mModel.mNodes[node] = {random.Integer(0, 9), random.Integer(0, 9)};
                const auto link = std::size_t(random.Integer(0, 99));
                set(kept, node, link);
            }
        }
    }
    EXPECT_EQ(digest, 0x534218b40508f125u);
}

// ---- Paths of two arcs ---------------------------------------------------------------

TEST(MaxFlowDirectPaths, NodeGoesToTheSideThatWantsItMoreAndStaysFreeBetween) {
    const FlowModel model{{{5, 3}, {3, 5}, {4, 4}, {6, 0}, {0, 6}, {0, 0}}, {}};
    float flow = 0;
    EXPECT_EQ(Testing::SolveFresh(model, &flow),
              (std::vector<unsigned char>{kSource, kSink, kSource, kSink, kFree, kSource, kSink,
                                          kFree}));
    EXPECT_EQ(flow, 10.0f);
}

TEST(MaxFlowDirectPaths, NodesWithoutASinkArcAreLeftOut) {
    FlowGraph graph;
    for (int i = 0; i < 3; ++i)
        graph.AddNode();
    graph.AddLinkPair(0, 2, 4, 0);
    std::vector<unsigned char> segments;
    RunMaxFlow(graph, 0, 1, segments, -1.0, nullptr);
    EXPECT_EQ(segments[2], kFree);
}

TEST(MaxFlowDirectPaths, GraphWithoutSinkCapacityHasNoFlow) {
    const FlowModel model{{{5, 0}, {2, 0}}, {{2, 3, 9, 9}}};
    float flow = -1;
    EXPECT_EQ(Testing::SolveFresh(model, &flow)[3], kSource);
    EXPECT_EQ(flow, 0.0f);
}

// Neither residual is above the other, and they are not equal.
TEST(MaxFlowDirectPaths, NothingIsPushedWhereACapacityIsNoNumber) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (const bool atSource : {true, false}) {
        FlowGraph graph;
        graph.AddNode();
        graph.AddNode();
        const unsigned int node = graph.AddNodeWithTerminals(0, 1);
        graph.SetTerminalCapacities(node, atSource ? nan : 4, atSource ? 4 : nan, 0, 1);
        std::vector<unsigned char> segments;
        RunMaxFlow(graph, 0, 1, segments, -1.0, nullptr);
        const float in = graph.GetArc(0, node)->mResidual;
        const float out = graph.GetArc(node, 1)->mResidual;
        EXPECT_TRUE(std::isnan(atSource ? in : out));
        EXPECT_EQ(atSource ? out : in, 4.0f);
        EXPECT_EQ(segments[node], kFree);
    }
}

// ---- Resumed -------------------------------------------------------------------------

TEST(MaxFlowResumed, NothingChangedLeavesFlowAndSegments) {
    Random random(4);
    Kept kept(GridModel(random, 15, 15, 30));
    kept.Solve();
    const auto segments = kept.mSegments;
    const float flow = kept.mGraph.mSolver->GetFlow();
    kept.Solve();
    EXPECT_EQ(kept.mSegments, segments);
    EXPECT_EQ(kept.mGraph.mSolver->GetFlow(), flow);
}

// Changes of terminals, of links, and of both, a few at a time or many.
class MaxFlowChanges : public testing::TestWithParam<int> {};

TEST_P(MaxFlowChanges, ResumedCutIsAMinimumCutOfWhatWasAskedFor) {
    const int kinds = GetParam();
    Random random(10 + std::uint64_t(kinds));
    for (int graphs = 0; graphs < 40; ++graphs) {
        const int nodes = random.Integer(2, 40);
        Kept kept(graphs % 2 ? GridModel(random, random.Integer(2, 9), random.Integer(2, 9), 20)
                             : RandomModel(random, nodes, 3 * nodes, 20));
        kept.Solve();
        for (int step = 0; step < 25; ++step) {
            SCOPED_TRACE(testing::Message() << "graph " << graphs << ", step " << step);
            for (int change = random.Integer(1, step % 5 ? 3 : 30); change > 0; --change) {
                if (kinds & 1)
                    kept.SetTerminals(
                        std::size_t(random.Integer(0, int(kept.mModel.mNodes.size()) - 1)),
                        random.Integer(0, 25), random.Integer(0, 25));
                if ((kinds & 2) && !kept.mModel.mLinks.empty())
                    kept.SetLink(
                        std::size_t(random.Integer(0, int(kept.mModel.mLinks.size()) - 1)),
                        random.Integer(0, 25), random.Integer(0, 25));
            }
            kept.Solve();
            ExpectValidFlow(kept.mGraph);
            ExpectMinimumCut(kept.mModel, kept.mSegments);
            if (HasFailure()) return;
        }
    }
}

std::string NameOf(const testing::TestParamInfo<int>& inInfo) {
    return inInfo.param == 1 ? "Terminals" : inInfo.param == 2 ? "Links" : "Both";
}

INSTANTIATE_TEST_SUITE_P(Kinds, MaxFlowChanges, testing::Values(1, 2, 3), NameOf);

// Without the solver's trees the residual graph alone must carry the flow on.
TEST(MaxFlowResumed, DynamicGraphWithoutAPersistentSolverGivesMinimumCuts) {
    Random random(5);
    Kept kept(GridModel(random, 8, 8, 20));
    kept.mGraph.mPersistent = false;
    for (int step = 0; step < 30; ++step) {
        kept.Solve();
        ExpectValidFlow(kept.mGraph);
        ExpectMinimumCut(kept.mModel, kept.mSegments);
        kept.SetTerminals(std::size_t(random.Integer(0, 63)), random.Integer(0, 25),
                          random.Integer(0, 25));
        kept.SetLink(std::size_t(random.Integer(0, int(kept.mModel.mLinks.size()) - 1)),
                     random.Integer(0, 25), random.Integer(0, 25));
    }
}

TEST(MaxFlowResumed, FreedNodePrefersTheSource) {
    Kept kept(FlowModel{{{4, 4}}, {}});
    kept.Solve();
    EXPECT_EQ(kept.mSegments[2], kFree);
    kept.SetTerminals(0, 9, 4);
    kept.Solve();
    EXPECT_EQ(kept.mSegments[2], kSource);
    kept.SetTerminals(0, 9, 12);
    kept.Solve();
    EXPECT_EQ(kept.mSegments[2], kSink);
}

// ---- Limits --------------------------------------------------------------------------

struct AbortAt : AbortCallback {
    explicit AbortAt(int inCalls) : mCallsLeft(inCalls) {}
    bool ShouldAbort(int inReason) override {
        mReasonsWereOne = mReasonsWereOne && inReason == 1;
        return --mCallsLeft <= 0;
    }
    int mCallsLeft;
    bool mReasonsWereOne = true;
};

TEST(MaxFlowLimits, AbortedSolveIsAValidFlowAndGoesOnFromThere) {
    Random random(6);
    Kept kept(GridModel(random, 20, 20, 30));
    int calls = 0;
    for (bool aborted = true; aborted; ++calls) {
        AbortAt abort(1);
        RunMaxFlow(kept.mGraph, 0, 1, kept.mSegments, -1.0, &abort);
        EXPECT_TRUE(abort.mReasonsWereOne);
        aborted = abort.mCallsLeft <= 0;
        ExpectValidFlow(kept.mGraph);
    }
    EXPECT_GT(calls, 2);
    ExpectMinimumCut(kept.mModel, kept.mSegments);
}

TEST(MaxFlowLimits, GenerousTimeLimitChangesNothing) {
    Random random(7);
    Kept kept(GridModel(random, 20, 20, 30));
    RunMaxFlow(kept.mGraph, 0, 1, kept.mSegments, 1e6, nullptr);
    ExpectMinimumCut(kept.mModel, kept.mSegments);
}

}  // namespace
