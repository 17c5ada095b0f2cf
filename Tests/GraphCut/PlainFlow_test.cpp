// The engine beside its plain twin: the same bits and the same lists after each run, also
// after runs that end between two paths, through sequences of changes.

#include "PlainFlow.h"

#include <bit>

#include "External/graphcut/MaxFlowSolver.h"
#include "Support/Test.h"

namespace {

using namespace Testing;

struct AbortAfter : AbortCallback {
    explicit AbortAfter(int inPaths) : mPathsLeft(inPaths) {}
    bool ShouldAbort(int) override { return --mPathsLeft == 0; }
    int mPathsLeft;
};

// Mostly few values, so that ties are common; some odd, some that swallow all others.
float AnyCapacity(Random& ioRandom) {
    const int kind = ioRandom.Integer(0, 15);
    if (kind < 4) return 0;
    if (kind < 11) return float(ioRandom.Integer(1, 3));
    return kind < 15 ? float(10 * ioRandom.Real()) : 1e30f;
}

// How a graph gets its terminal links: by the builders' operation, so that they are home
// arcs, as any other links, or with terminals that are not the nodes 0 and 1.
enum class Terminals { kHome, kLinks, kElsewhere };

class Twins {
public:
    Twins(Random& ioRandom, bool inPersistent, int inNodes, Terminals inTerminals)
        : mRandom(ioRandom),
          mNodes(inNodes),
          mTerminals(inTerminals),
          mSource(inTerminals == Terminals::kElsewhere ? 3 : 0),
          mSink(inTerminals == Terminals::kElsewhere ? 2 : 1),
          mPlain(inPersistent, mSource, mSink) {
        mEngine.mDynamic = true;
        mEngine.mPersistent = inPersistent;
        for (int node = 0; node < mNodes; ++node) {
            const bool isHome = mTerminals == Terminals::kHome && !IsTerminal(node);
            isHome ? mEngine.AddNodeWithTerminals(0, 1) : mEngine.AddNode();
            mPlain.AddNode();
            if (!isHome) continue;
            mPlain.AddLinkPair(node, 0, 0, 0);
            mPlain.AddLinkPair(node, 1, 0, 0);
        }
    }

    void AddSecondTerminals() {
        for (int i = 0; i < 3; ++i) {
            const int node = AnyNode();
            AddLink(node, mRandom.Integer(0, 1) ? mSource : mSink);
        }
    }

    void AddLink(int inFrom, int inTo) {
        const float there = AnyCapacity(mRandom), back = AnyCapacity(mRandom);
        mEngine.AddLinkPair(unsigned(inFrom), unsigned(inTo), there, back);
        mPlain.AddLinkPair(inFrom, inTo, there, back);
    }

    // As in a picture, most nodes can be near the source from the start.
    void Build(int inLinks, bool inFavoursSource) {
        for (int node = 0; node < mNodes; ++node)
            if (!IsTerminal(node)) {
                if (mTerminals != Terminals::kHome) {
                    AddLink(node, mSource);
                    AddLink(node, mSink);
                }
                if (inFavoursSource)
                    SetTerminals(node, 3, mRandom.Integer(0, 11) ? 0.0f : 40.0f);
                else if (mRandom.Integer(0, 1))
                    ChangeTerminals(node);
            }
        for (int i = 0; i < inLinks; ++i) {
            const int from = AnyNode(), to = AnyNode();
            if (from != to) AddLink(from, to);
        }
    }

    void ChangeAnything() {
        const int node = AnyNode(), other = AnyNode();
        if (mRandom.Integer(0, 1))
            ChangeTerminals(node);
        else if (mEngine.GetArc(unsigned(node), unsigned(other)))
            ChangeLink(node, other);
    }

    void Run(int inMostPaths) {
        AbortAfter abort(inMostPaths);
        RunMaxFlow(mEngine, unsigned(mSource), unsigned(mSink), mSegments, -1.0, &abort);
        mPlain.Run(inMostPaths);
    }

    void ExpectSame() {
        const auto bits = std::bit_cast<std::uint32_t, float>;
        ASSERT_EQ(mSegments, mPlain.mSides);
        if (mEngine.mSolver) {
            ASSERT_EQ(bits(mEngine.mSolver->GetFlow()), bits(mPlain.mFlow));
        }
        for (int node = 0; node < mNodes; ++node) {
            std::vector<FlowGraph::ArcState> arcs;
            mEngine.VisitArcs(unsigned(node),
                              [&](const auto& inArc) { arcs.push_back(inArc); });
            ASSERT_EQ(arcs.size(), mPlain.mLists[unsigned(node)].size()) << "node " << node;
            for (std::size_t i = 0; i < arcs.size(); ++i) {
                const auto& plain = mPlain.mArcs[unsigned(mPlain.mLists[unsigned(node)][i])];
                ASSERT_EQ(arcs[i].mHead, unsigned(plain.mHead)) << "node " << node;
                ASSERT_EQ(bits(arcs[i].mCapacity), bits(plain.mCapacity)) << "node " << node;
                // Nothing reads what leads into the source or out of the sink.
                if (plain.mHead == mSource || node == mSink) continue;
                ASSERT_EQ(bits(arcs[i].mResidual), bits(plain.mResidual)) << "node " << node;
            }
        }
    }

private:
    bool IsTerminal(int inNode) const { return inNode == mSource || inNode == mSink; }
    int AnyNode() {
        int node = mSource;
        while (IsTerminal(node))
            node = mRandom.Integer(0, mNodes - 1);
        return node;
    }

    void ChangeTerminals(int inNode) {
        const float source = AnyCapacity(mRandom), sink = AnyCapacity(mRandom);
        SetTerminals(inNode, source, sink);
    }
    void SetTerminals(int inNode, float inSource, float inSink) {
        mEngine.SetTerminalCapacities(unsigned(inNode), inSource, inSink, unsigned(mSource),
                                      unsigned(mSink));
        mPlain.SetTerminals(inNode, inSource, inSink);
    }

    void ChangeLink(int inFrom, int inTo) {
        const float there = AnyCapacity(mRandom), back = AnyCapacity(mRandom);
        if (mEngine.IsDynamicAndSolved())
            mEngine.UpdateLinkCapacities(unsigned(inFrom), unsigned(inTo), there, back,
                                         unsigned(mSource), unsigned(mSink));
        else
            mEngine.SetLinkCapacities(unsigned(inFrom), unsigned(inTo), there, back);
        mPlain.SetLink(inFrom, inTo, there, back);
    }

    Random& mRandom;
    int mNodes;
    Terminals mTerminals;
    int mSource, mSink;
    FlowGraph mEngine;
    PlainFlow mPlain;
    std::vector<unsigned char> mSegments;
};

// Half of the runs end after a path or two and are taken up again later.
TEST(PlainFlow, EngineDoesAsItsPlainTwinThroughAnySequenceOfChanges) {
    Random random(1);
    for (int graph = 0; graph < 5000; ++graph) {
        const int nodes = random.Integer(4, graph % 50 ? 20 : 100);
        const auto terminals = graph % 5 == 0   ? Terminals::kElsewhere
                               : graph % 5 == 1 ? Terminals::kLinks
                                                : Terminals::kHome;
        Twins twins(random, graph % 4 != 0, nodes, terminals);
        twins.Build(random.Integer(0, 4 * nodes), graph % 3 == 0);
        if (graph % 7 == 0) twins.AddSecondTerminals();
        for (int step = 0; step < 10; ++step) {
            SCOPED_TRACE(testing::Message() << "graph " << graph << ", step " << step);
            twins.Run(random.Integer(0, 1) ? INT_MAX : random.Integer(1, 2));
            twins.ExpectSame();
            if (HasFatalFailure()) return;
            for (int i = random.Integer(0, 4); i > 0; --i)
                twins.ChangeAnything();
        }
    }
}

}  // namespace
