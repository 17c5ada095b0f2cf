// A graph that is solved, changed and solved again, beside a plain search for augmenting
// paths. Capacities are whole numbers, so that single precision is exact: every cut must
// cost just what the plain search lets through. With capacities far apart, which round, a
// solve must only end.

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include "External/graphcut/MaxFlowSolver.h"
#include "Fuzz/Input.h"
#include "Fuzz/Verdict.h"

namespace {

using Fuzz::Input;
using Fuzz::Require;

constexpr unsigned int kMost = 12;  // nodes, with source 0 and sink 1

using Capacities = std::array<std::array<int, kMost>, kMost>;

// Edmonds and Karp: shortest augmenting paths until there is none.
int PlainFlow(Capacities inResidual) {
    for (int flow = 0;;) {
        std::array<unsigned int, kMost> parent;
        parent.fill(kMost);
        std::vector<unsigned int> open{0};
        for (std::size_t i = 0; i < open.size() && parent[1] == kMost; ++i)
            for (unsigned int to = 1; to < kMost; ++to)
                if (parent[to] == kMost && inResidual[open[i]][to] > 0) {
                    parent[to] = open[i];
                    open.push_back(to);
                }
        if (parent[1] == kMost) return flow;
        int room = INT32_MAX;
        for (unsigned int node = 1; node != 0; node = parent[node])
            room = std::min(room, inResidual[parent[node]][node]);
        for (unsigned int node = 1; node != 0; node = parent[node]) {
            inResidual[parent[node]][node] -= room;
            inResidual[node][parent[node]] += room;
        }
        flow += room;
    }
}

// Ends a solve after some augmentations.
struct Abort : AbortCallback {
    explicit Abort(int inLeft) : mLeft(inLeft) {}
    bool ShouldAbort(int) override { return --mLeft < 0; }
    int mLeft;
};

class Twin {
public:
    explicit Twin(Input& ioInput)
        : mNodes(static_cast<unsigned int>(ioInput.Between(3, int(kMost)))) {
        const int kinds = ioInput.Byte();
        mGraph.mPersistent = kinds % 4 != 0;
        mGraph.mDynamic = kinds % 16 >= 2;
        mIsExact = kinds % 64 < 48;
        mGraph.AddNode();
        mGraph.AddNode();
        for (unsigned int node = 2; node < mNodes; ++node)
            mGraph.AddNodeWithTerminals(0, 1);
        for (unsigned int to = 2; to < mNodes; ++to)
            for (unsigned int from = 2; from < to; ++from)
                if (ioInput.Flag()) {
                    mGraph.AddLinkPair(from, to, 0, 0);
                    SetLink(ioInput, from, to);
                }
    }

    void Change(Input& ioInput) {
        const auto from = static_cast<unsigned int>(ioInput.Between(0, int(mNodes)));
        const auto to = static_cast<unsigned int>(ioInput.Between(0, int(mNodes)));
        if (from == to)
            SetTerminals(ioInput, from);
        else if (mGraph.GetArc(from, to) && from > 1 && to > 1)
            SetLink(ioInput, from, to);
        else
            mGraph.UpdateLinkCapacities(from, to, 1, 1, 0, 1);  // a missing arc: nothing
    }

    // Where a flow need not be preserved, capacities are final once it is there.
    bool MayChange() const { return mGraph.mDynamic || !mGraph.mSolved; }

    void Solve(AbortCallback* inAbort) { RunMaxFlow(mGraph, 0, 1, mSegments, -1.0, inAbort); }

    void Check() const {
        if (!mIsExact) return;
        const int flow = PlainFlow(mCapacities);
        Require(CutOf(MaxFlowSolver::kSourceTree) == flow, "a minimum cut, free to the source");
        Require(CutOf(MaxFlowSolver::kSinkTree) == flow, "a minimum cut, free to the sink");
        for (unsigned int node = 0; node < mNodes; ++node) {
            float leaving = 0;
            mGraph.VisitArcs(node, [&](const FlowGraph::ArcState& inArc) {
                Require(inArc.mResidual >= 0, "a residual is not negative");
                leaving += inArc.mCapacity - inArc.mResidual;
            });
            if (node > 1) Require(leaving == 0, "a node passes on what it gets");
        }
    }

private:
    int CutOf(unsigned char inFree) const {
        const auto isSink = [&](unsigned int inNode) {
            const auto side = mSegments[inNode];
            return (side == MaxFlowSolver::kFree ? inFree : side) == MaxFlowSolver::kSinkTree;
        };
        int cut = 0;
        for (unsigned int from = 0; from < mNodes; ++from)
            for (unsigned int to = 0; to < mNodes; ++to)
                if (!isSink(from) && isSink(to)) cut += mCapacities[from][to];
        return cut;
    }
    static int ReadCapacity(Input& ioInput) {
        const int value = ioInput.Byte();
        return value < 0xf0 ? value % 32 : value * 4096;
    }
    float InSingle(Input& ioInput, int inCapacity) const {
        constexpr float kUnits[] = {1e-30f, 0.1f, 1.0f, 1e7f, 1e30f};
        return static_cast<float>(inCapacity) * (mIsExact ? 1.0f : ioInput.OneOf(kUnits));
    }
    void SetLink(Input& ioInput, unsigned int inFrom, unsigned int inTo) {
        const int there = mCapacities[inFrom][inTo] = ReadCapacity(ioInput);
        const int back = mCapacities[inTo][inFrom] = ReadCapacity(ioInput);
        const float thereSingle = InSingle(ioInput, there),
                    backSingle = InSingle(ioInput, back);
        mGraph.SetLinkCapacities(inFrom, inTo, thereSingle, backSingle);
    }
    void SetTerminals(Input& ioInput, unsigned int inNode) {
        const int in = ReadCapacity(ioInput), out = ReadCapacity(ioInput);
        const float inSingle = InSingle(ioInput, in), outSingle = InSingle(ioInput, out);
        mGraph.SetTerminalCapacities(inNode, inSingle, outSingle, 0, 1);
        if (inNode < 2 || inNode >= mNodes) return;
        mCapacities[0][inNode] = in;
        mCapacities[inNode][1] = out;
    }

    unsigned int mNodes;
    bool mIsExact = true;
    Capacities mCapacities{};
    FlowGraph mGraph;
    std::vector<unsigned char> mSegments;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize) {
    Input input(inData, inSize);
    Twin twin(input);
    for (int solves = 0; solves < 8; ++solves) {
        for (int changes = input.Between(0, 15); changes > 0 && twin.MayChange(); --changes)
            twin.Change(input);
        const int stops = input.Byte();
        Abort abort(stops % 8);
        twin.Solve(stops >= 0xc0 ? &abort : nullptr);
        if (stops < 0xc0) twin.Check();
        if (input.IsAtEnd()) break;
    }
    twin.Solve(nullptr);
    twin.Check();
    return 0;
}
