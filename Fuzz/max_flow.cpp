// A graph that is solved, changed and solved again, beside its model. Capacities are whole
// numbers, so that single precision is exact: flow and cut must pass the certificate of the
// tests. With capacities far apart, which round, a solve must only end.

#include <algorithm>
#include <cstdint>
#include <vector>

#include "External/graphcut/MaxFlowSolver.h"
#include "Fuzz/Input.h"
#include "Fuzz/Verdict.h"
#include "GraphCut/FlowModel.h"

namespace {

using Fuzz::Input;
using Fuzz::Require;

constexpr unsigned int kMost = 12;  // nodes, with source 0 and sink 1

// Ends a solve after some augmentations, or pauses it at some question.
struct Abort : AbortCallback {
    Abort(int inLeft, bool inPauses) : mLeft(inLeft), mPauses(inPauses) {}
    bool ShouldAbort(int) override { return --mLeft < 0; }
    bool Pauses() const override { return mPauses; }
    int mLeft;
    bool mPauses;
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
        mModel.mNodes.resize(mNodes - 2);
        for (unsigned int to = 2; to < mNodes; ++to)
            for (unsigned int from = 2; from < to; ++from)
                if (ioInput.Flag()) {
                    mGraph.AddLinkPair(from, to, 0, 0);
                    mModel.mLinks.push_back({from, to, 0, 0});
                    SetLink(ioInput, mModel.mLinks.back());
                }
    }

    void Change(Input& ioInput) {
        const auto from = static_cast<unsigned int>(ioInput.Between(0, int(mNodes)));
        const auto to = static_cast<unsigned int>(ioInput.Between(0, int(mNodes)));
        const auto link = std::ranges::find_if(mModel.mLinks, [&](const auto& inLink) {
            return inLink.mFrom == from && inLink.mTo == to;
        });
        if (from == to)
            SetTerminals(ioInput, from);
        else if (link != mModel.mLinks.end())
            SetLink(ioInput, *link);
        else
            mGraph.UpdateLinkCapacities(from, kMost, 1, 1, 0, 1);  // a missing arc: nothing
    }

    // Where a flow need not be preserved, capacities are final once it is there.
    bool MayChange() const { return mGraph.mDynamic || !mGraph.mSolved; }

    void Solve(AbortCallback* inAbort) { RunMaxFlow(mGraph, 0, 1, mSegments, -1.0, inAbort); }

    void Check() const {
        if (!mIsExact) return;
        Require(Testing::FaultOfFlow(mGraph).empty(), "a valid flow");
        Require(Testing::FaultOfCut(mModel, mSegments).empty(), "a minimum cut");
    }

private:
    static int ReadCapacity(Input& ioInput) {
        const int value = ioInput.Byte();
        return value < 0xf0 ? value % 32 : value * 64;
    }
    float InSingle(Input& ioInput, int inCapacity) const {
        constexpr float kUnits[] = {1e-30f, 0.1f, 1.0f, 1e7f, 1e30f};
        return static_cast<float>(inCapacity) * (mIsExact ? 1.0f : ioInput.OneOf(kUnits));
    }
    void SetLink(Input& ioInput, Testing::ModelLink& ioLink) {
        ioLink.mCapacity = ReadCapacity(ioInput);
        ioLink.mReverseCapacity = ReadCapacity(ioInput);
        const float there = InSingle(ioInput, ioLink.mCapacity);
        const float back = InSingle(ioInput, ioLink.mReverseCapacity);
        mGraph.SetLinkCapacities(ioLink.mFrom, ioLink.mTo, there, back);
    }
    void SetTerminals(Input& ioInput, unsigned int inNode) {
        const int in = ReadCapacity(ioInput), out = ReadCapacity(ioInput);
        const float inSingle = InSingle(ioInput, in), outSingle = InSingle(ioInput, out);
        mGraph.SetTerminalCapacities(inNode, inSingle, outSingle, 0, 1);
        if (inNode < 2 || inNode >= mNodes) return;
        mModel.mNodes[inNode - 2] = {in, out};
    }

    unsigned int mNodes;
    bool mIsExact = true;
    Testing::FlowModel mModel;
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
        Abort abort(stops % 8, stops % 16 >= 8);
        twin.Solve(stops >= 0xc0 ? &abort : nullptr);
        if (stops < 0xc0) twin.Check();
        if (input.IsAtEnd()) break;
    }
    twin.Solve(nullptr);
    twin.Check();
    return 0;
}
