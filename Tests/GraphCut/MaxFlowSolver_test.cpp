// Minimum cuts: proved by certificates, fresh and resumed.

#include "External/graphcut/MaxFlowSolver.h"

#include "FlowModel.h"
#include "PlainTwins.h"
#include "Support/Test.h"

namespace {

using namespace Testing;

int RandomCapacity(Random& ioRandom, int inMost) {
    return ioRandom.Integer(0, 3) == 0 ? 0 : ioRandom.Integer(1, inMost);
}

FlowModel RandomNodes(Random& ioRandom, int inNodes, int inMost) {
    FlowModel model;
    for (int i = 0; i < inNodes; ++i)
        model.mNodes.push_back(
            {RandomCapacity(ioRandom, inMost), RandomCapacity(ioRandom, inMost)});
    return model;
}

// `inLinks` tries; capacities from 0 to `inMost`, one in four of them 0.
FlowModel RandomModel(Random& ioRandom, int inNodes, int inLinks, int inMost) {
    FlowModel model = RandomNodes(ioRandom, inNodes, inMost);
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

// A rectangle with links to the right and below.
FlowModel GridModel(Random& ioRandom, int inColumns, int inRows, int inMost) {
    FlowModel model = RandomNodes(ioRandom, inColumns * inRows, inMost);
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

// A cut and a flow of one value: no cut is less, and no flow is more.
void ExpectCertificate(const Kept& inKept) {
    EXPECT_EQ(FaultOfFlow(inKept.mGraph), "");
    EXPECT_EQ(FaultOfCut(inKept.mModel, inKept.mSegments), "");
}

// ---- Fresh ---------------------------------------------------------------------------

TEST(MaxFlow, CutEqualsFlowOnRandomGraphsAndGrids) {
    Random random(1);
    for (int i = 0; i < 1000; ++i) {
        SCOPED_TRACE(i);
        const int nodes = random.Integer(1, 24);
        Kept kept(i % 20 ? RandomModel(random, nodes, random.Integer(0, 4 * nodes), 9)
                         : GridModel(random, nodes, random.Integer(1, 40), 1000));
        kept.Solve();
        ExpectCertificate(kept);
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
    Kept kept(model);
    kept.Solve();
    ExpectCertificate(kept);
}

// ---- Paths of two arcs ---------------------------------------------------------------

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
        EXPECT_EQ(segments[node], MaxFlowSolver::kFree);
    }
}

// ---- Resumed -------------------------------------------------------------------------

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
            ExpectCertificate(kept);
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
        ExpectCertificate(kept);
        kept.SetTerminals(std::size_t(random.Integer(0, 63)), random.Integer(0, 25),
                          random.Integer(0, 25));
        kept.SetLink(std::size_t(random.Integer(0, int(kept.mModel.mLinks.size()) - 1)),
                     random.Integer(0, 25), random.Integer(0, 25));
    }
}

// ---- Limits --------------------------------------------------------------------------

struct PauseAt : AbortCallback {
    explicit PauseAt(int inCalls) : mCallsLeft(inCalls) {}
    bool ShouldAbort(int inReason) override {
        mReasonsWereOne = mReasonsWereOne && inReason == 1;
        return --mCallsLeft <= 0;
    }
    bool Pauses() const override { return true; }
    bool WasReached() const { return mCallsLeft <= 0; }
    int mCallsLeft;
    bool mReasonsWereOne = true;
};

TEST(MaxFlowLimits, PausedSolveIsAValidFlowAndGoesOnFromThere) {
    Random random(6);
    Kept kept(GridModel(random, 20, 20, 30));
    int calls = 0;
    for (bool aborted = true; aborted; ++calls) {
        PauseAt pause(1);
        RunMaxFlow(kept.mGraph, 0, 1, kept.mSegments, -1.0, &pause);
        EXPECT_TRUE(pause.mReasonsWereOne);
        aborted = pause.WasReached();
        EXPECT_EQ(FaultOfFlow(kept.mGraph), "");
    }
    EXPECT_GT(calls, 2);
    ExpectCertificate(kept);
}

// All terminals change sides at once, so that most nodes become orphans.
void ExchangeTerminals(Kept& ioKept) {
    for (std::size_t i = 0; i < ioKept.mModel.mNodes.size(); ++i)
        ioKept.SetTerminals(i, ioKept.mModel.mNodes[i].mToSink,
                            ioKept.mModel.mNodes[i].mFromSource);
}

TEST(MaxFlowLimits, PausedResumeGoesOnToTheBitsOfOneThatWasNot) {
    Random random(8);
    const FlowModel model = GridModel(random, 40, 40, 30);
    Kept whole(model);
    whole.Solve();
    ExchangeTerminals(whole);
    whole.Solve();
    int aborted = 0;
    for (int calls = 1; calls <= 60; ++calls) {
        SCOPED_TRACE(calls);
        Kept stopped(model);
        stopped.Solve();
        ExchangeTerminals(stopped);
        for (int again = 0; again < 3; ++again) {
            PauseAt pause(calls);
            RunMaxFlow(stopped.mGraph, 0, 1, stopped.mSegments, -1.0, &pause);
            aborted += pause.WasReached();
        }
        stopped.Solve();
        EXPECT_EQ(stopped.mSegments, whole.mSegments);
        EXPECT_EQ(stopped.mGraph.mSolver->GetFlow(), whole.mGraph.mSolver->GetFlow());
        ExpectSameGraph(stopped.mGraph, whole.mGraph);
        if (HasFailure()) return;
    }
    EXPECT_GT(aborted, 60);
}

TEST(MaxFlowLimits, APlainAbortIsAskedBehindPathsAlone) {
    struct Plain : PauseAt {
        using PauseAt::PauseAt;
        bool Pauses() const override { return false; }
    } plain(1 << 30);
    PauseAt pause(1 << 30);
    for (PauseAt* const asked : {&pause, static_cast<PauseAt*>(&plain)}) {
        Random random(8);
        Kept kept(GridModel(random, 40, 40, 30));
        kept.Solve();
        ExchangeTerminals(kept);
        RunMaxFlow(kept.mGraph, 0, 1, kept.mSegments, -1.0, asked);
    }
    EXPECT_LT(plain.mCallsLeft, 1 << 30);
    EXPECT_GT(plain.mCallsLeft, pause.mCallsLeft) << "growth and adoption ask for a pause";
}

// Strokes of some nodes on a grid with few terminals; the first one may be paused, and is
// brought to its end then.
struct Strokes {
    Strokes(unsigned int inSeed, int inPauseAt) : mRandom(inSeed), mKept(Grid()) {
        mKept.Solve();
        PauseAt pause(inPauseAt);
        for (int stroke = 0; stroke < 3; ++stroke) {
            for (int i = 0; i < 4; ++i) {
                const bool isSource = mRandom.Integer(0, 1) == 1;
                const int capacity = mRandom.Integer(0, 5);
                mKept.SetTerminals(std::size_t(mRandom.Integer(0, 35)), isSource ? capacity : 0,
                                   isSource ? 0 : capacity);
            }
            RunMaxFlow(mKept.mGraph, 0, 1, mKept.mSegments, -1.0, stroke ? nullptr : &pause);
            if (stroke == 0 && pause.WasReached()) mKept.Solve();
        }
        mWasPaused = pause.WasReached();
    }
    FlowModel Grid() {
        FlowModel model = GridModel(mRandom, 6, 6, 2);
        for (auto& node : model.mNodes)
            node = mRandom.Integer(0, 3)
                       ? ModelNode{}
                       : ModelNode{mRandom.Integer(0, 5), mRandom.Integer(0, 5)};
        return model;
    }

    Random mRandom;
    Kept mKept;
    bool mWasPaused;
};

// Of 100,000 grids these are the ones that tell whether time stands still in a pause.
TEST(MaxFlowLimits, StrokesBehindAPausedOneHaveTheBitsOfAnUndisturbedRun) {
    for (const unsigned int seed : {31262u, 32260u, 60927u}) {
        SCOPED_TRACE(seed);
        const Strokes whole(seed, 1 << 30);
        for (int calls = 1; calls < 100; ++calls) {
            const Strokes paused(seed, calls);
            if (!paused.mWasPaused) break;
            EXPECT_EQ(paused.mKept.mSegments, whole.mKept.mSegments);
            ExpectSameGraph(paused.mKept.mGraph, whole.mKept.mGraph);
        }
    }
}

TEST(MaxFlowLimits, CapacitiesMayChangeBehindAPausedResume) {
    Random random(9);
    for (int calls = 1; calls <= 30; ++calls) {
        Kept kept(GridModel(random, 30, 30, 30));
        kept.Solve();
        ExchangeTerminals(kept);
        for (int step = 0; step < 4; ++step) {
            PauseAt pause(calls);
            RunMaxFlow(kept.mGraph, 0, 1, kept.mSegments, -1.0, &pause);
            for (int change = 0; change < 300; ++change) {
                kept.SetTerminals(std::size_t(random.Integer(0, 899)), random.Integer(0, 25),
                                  random.Integer(0, 25));
                if (calls % 2)  // else the terminals alone
                    kept.SetLink(
                        std::size_t(random.Integer(0, int(kept.mModel.mLinks.size()) - 1)),
                        random.Integer(0, 25), random.Integer(0, 25));
            }
        }
        kept.Solve();
        ExpectCertificate(kept);
        if (HasFailure()) return;
    }
}

TEST(MaxFlowLimits, GenerousTimeLimitChangesNothing) {
    Random random(7);
    Kept kept(GridModel(random, 20, 20, 30));
    RunMaxFlow(kept.mGraph, 0, 1, kept.mSegments, 1e6, nullptr);
    ExpectCertificate(kept);
}

}  // namespace
