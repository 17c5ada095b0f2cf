// The max-flow engine written out literally: arcs by number, lists as they come, every walk
// in full. What it does by hand the library's engine must do bit for bit.

#pragma once

#include <deque>
#include "Support/Test.h"

namespace Testing {

class PlainFlow {
public:
    static constexpr int kNone = -1;
    enum Side : unsigned char { kSource, kSink, kFree };

    struct Arc {
        int mTail, mHead;
        float mCapacity, mResidual;
    };

    /// Also what the solver holds between solves; arc i ^ 1 is the reverse of arc i.
    std::vector<Arc> mArcs;
    std::vector<std::deque<int>> mLists;  // the arcs of a node, the newest first
    std::vector<unsigned char> mSides;
    float mFlow = 0;

    PlainFlow(bool inPersistent, int inSource, int inSink)
        : mPersistent(inPersistent), mSource(inSource), mSink(inSink) {}

    // ---- The graph -------------------------------------------------------------------

    void AddNode() { mLists.emplace_back(); }

    void AddLinkPair(int inFrom, int inTo, float inCapacity, float inReverseCapacity) {
        const int arc = int(mArcs.size());
        mArcs.push_back({inFrom, inTo, inCapacity, inCapacity});
        mArcs.push_back({inTo, inFrom, inReverseCapacity, inReverseCapacity});
        mLists[std::size_t(inFrom)].push_front(arc);
        mLists[std::size_t(inTo)].push_front(arc + 1);
    }

    int Find(int inFrom, int inTo) {
        for (const int arc : mLists[std::size_t(inFrom)])
            if (At(arc).mHead == inTo) return arc;
        return kNone;
    }

    void SetTerminals(int inNode, float inSource, float inSink) {
        const int toSource = Find(inNode, mSource);
        const int toSink = Find(inNode, mSink);
        if (mSolved) {
            UpdateTerminals(toSource ^ 1, toSink, inSource, inSink);
            return;
        }
        SetPair(toSource, 0, inSource);
        SetPair(toSink, inSink, 0);
    }

    void SetLink(int inFrom, int inTo, float inCapacity, float inReverseCapacity) {
        const int arc = Find(inFrom, inTo);
        if (!mSolved) {
            SetPair(arc, inCapacity, inReverseCapacity);
            return;
        }
        SetOneWay(arc, inCapacity);
        SetOneWay(arc ^ 1, inReverseCapacity);
        if (!mPersistent) return;
        TerminalsChanged(inFrom);
        TerminalsChanged(inTo);
        LinkChanged(arc);
        LinkChanged(arc ^ 1);
    }

    // ---- Solving ---------------------------------------------------------------------

    /// Ends after `inMostPaths` augmentations.
    void Run(int inMostPaths) {
        if (mPersistent && mSolved) {
            ++mTime;
            Adopt();
        } else {
            Start();
            PushDirectPaths();
        }
        mSolved = true;
        for (int meeting; inMostPaths > 0 && (meeting = Grow()) != kNone; --inMostPaths) {
            ++mTime;
            Augment(meeting);
            Adopt();
        }
    }

private:
    struct Node {
        int mParent = kNone;  // an arc that leaves the node
        unsigned int mSteps = 0, mTime = 0;
    };

    Arc& At(int inArc) { return mArcs[std::size_t(inArc)]; }
    Node& NodeAt(int inNode) { return mNodes[std::size_t(inNode)]; }
    unsigned char& SideOf(int inNode) { return mSides[std::size_t(inNode)]; }
    const std::deque<int>& ListOf(int inNode) { return mLists[std::size_t(inNode)]; }
    float Flow(int inArc) { return At(inArc).mCapacity - At(inArc).mResidual; }
    static int TakeFirst(std::deque<int>& ioList) {
        const int node = ioList.front();
        ioList.pop_front();
        return node;
    }

    // ---- Changes of capacity ---------------------------------------------------------

    void SetPair(int inArc, float inCapacity, float inReverseCapacity) {
        At(inArc).mCapacity = At(inArc).mResidual = inCapacity;
        At(inArc ^ 1).mCapacity = At(inArc ^ 1).mResidual = inReverseCapacity;
    }

    void Raise(int inArc, float inBy) {
        At(inArc).mCapacity += inBy;
        At(inArc).mResidual += inBy;
    }

    void UpdateTerminals(int inA, int inB, float inSource, float inSink) {
        const bool sourceFirst = inSink > inSource;
        const int x = sourceFirst ? inA : inB, y = sourceFirst ? inB : inA;
        const float newX = sourceFirst ? inSource : inSink;
        const float newY = sourceFirst ? inSink : inSource;
        SetKeepingFlow(x, newX, y);
        SetKeepingFlow(y, newY - newX + At(x).mCapacity, x);
        if (mPersistent) TerminalsChanged(At(inB).mTail);
    }

    void SetKeepingFlow(int inArc, float inCapacity, int inOther) {
        const float flow = Flow(inArc);
        if (inCapacity >= flow) {
            At(inArc).mCapacity = inCapacity;
            At(inArc).mResidual = inCapacity - flow;
        } else {
            At(inArc).mCapacity = flow;
            At(inArc).mResidual = 0;
            Raise(inOther, flow - inCapacity);
        }
    }

    void SetOneWay(int inArc, float inCapacity) {
        const int u = At(inArc).mTail, v = At(inArc).mHead;
        const float flow = Flow(inArc);
        At(inArc).mCapacity = inCapacity;
        if (inCapacity >= flow) {
            At(inArc).mResidual = inCapacity - flow;
            return;
        }
        At(inArc).mResidual = 0;
        At(inArc ^ 1).mResidual = inCapacity + At(inArc ^ 1).mCapacity;
        Carry(Find(u, mSink), flow - inCapacity, Find(u, mSource) ^ 1);
        Carry(Find(v, mSource) ^ 1, flow - inCapacity, Find(v, mSink));
    }

    void Carry(int inArc, float inMore, int inOther) {
        const float wanted = Flow(inArc) + inMore;
        if (At(inArc).mCapacity >= wanted) {
            At(inArc).mResidual = At(inArc).mCapacity - wanted;
        } else {
            Raise(inOther, wanted - At(inArc).mCapacity);
            At(inArc).mCapacity = wanted;
            At(inArc).mResidual = 0;
        }
        At(inArc ^ 1).mResidual = wanted + At(inArc ^ 1).mCapacity;
    }

    void TerminalsChanged(int inNode) {
        const int a = Find(inNode, mSource) ^ 1, b = Find(inNode, mSink);
        const float most = std::min(At(a).mResidual, At(b).mResidual);
        if (most > 0) {
            Push(a, most);
            Push(b, most);
            mFlow += most;
        }
        const int parent = NodeAt(inNode).mParent;
        if ((parent == (a ^ 1) && At(a).mResidual == 0) ||
            (parent == b && At(b).mResidual == 0))
            CutOff(inNode, mOrphans);
        if (SideOf(inNode) == kSource && At(b).mResidual > 0) return Activate(inNode);
        if (SideOf(inNode) == kSink && At(a).mResidual > 0) return Activate(inNode);
        if (SideOf(inNode) == kFree) JoinByTerminals(inNode);
    }

    void LinkChanged(int inArc) {
        const int u = At(inArc).mTail, v = At(inArc).mHead;
        if (At(inArc).mResidual > 0) {
            if (SideOf(u) == kSource) Activate(u);
            if (SideOf(v) == kSink) Activate(v);
            return;
        }
        if (SideOf(u) == kSink && NodeAt(u).mParent == inArc) CutOff(u, mOrphans);
        if (SideOf(v) == kSource && NodeAt(v).mParent == (inArc ^ 1)) CutOff(v, mOrphans);
    }

    // ---- The course of a solve -------------------------------------------------------

    void Start() {
        mSides.assign(mLists.size(), kFree);
        mNodes.assign(mLists.size(), Node());
        mActive = {mSink, mSource};
        SideOf(mSource) = kSource;
        SideOf(mSink) = kSink;
        mTime = 1;
        mFlow = 0;
        NodeAt(mSource).mTime = NodeAt(mSink).mTime = mTime;
    }

    void PushDirectPaths() {
        for (const int in : ListOf(mSource)) {
            const int node = At(in).mHead;
            const int out = Find(node, mSink);
            if (out == kNone) continue;
            const float a = At(in).mResidual, b = At(out).mResidual;
            if (!(a > b || b > a || a == b)) continue;
            Push(in, std::min(a, b));
            Push(out, std::min(a, b));
            mFlow += std::min(a, b);
            if (a > b) Join(node, kSource, in ^ 1, 1, mTime);
            if (b > a) Join(node, kSink, out, 1, mTime);
        }
        std::erase(mActive, mSource);
        std::erase(mActive, mSink);
    }

    int Grow() {
        while (!mActive.empty()) {
            const int n = mActive.front();
            for (const int e : ListOf(n)) {
                if (!(At(SideOf(n) == kSource ? e : e ^ 1).mResidual > 0)) continue;
                const int h = At(e).mHead;
                const Node own = NodeAt(n);
                if (SideOf(h) == kFree)
                    Join(h, SideOf(n), e ^ 1, own.mSteps + 1, own.mTime);
                else if (SideOf(h) != SideOf(n))
                    return e;
                else if (NodeAt(h).mTime <= own.mTime && NodeAt(h).mSteps > own.mSteps)
                    NodeAt(h) = {e ^ 1, own.mSteps + 1, own.mTime};
            }
            mActive.pop_front();
        }
        return kNone;
    }

    void Augment(int inMeeting) {
        const int meeting = SideOf(At(inMeeting).mHead) == kSource ? inMeeting ^ 1 : inMeeting;
        std::vector<std::pair<int, int>> way;  // a node, and the arc between it and its root
        for (int n = At(meeting).mTail; n != mSource; n = At(NodeAt(n).mParent).mHead)
            way.emplace_back(n, NodeAt(n).mParent ^ 1);
        for (int n = At(meeting).mHead; n != mSink; n = At(NodeAt(n).mParent).mHead)
            way.emplace_back(n, NodeAt(n).mParent);

        float most = At(meeting).mResidual;
        for (const auto& [node, arc] : way)
            most = std::min(most, At(arc).mResidual);
        Push(meeting, most);
        for (const auto& [node, arc] : way) {
            Push(arc, most);
            if (At(arc).mResidual != 0) continue;
            NodeAt(node).mParent = kNone;
            mOrphans.push_front(node);
        }
        mFlow += most;
    }

    void Adopt() {
        std::deque<int> freed;
        while (!mOrphans.empty()) {
            ProcessOrphan(TakeFirst(mOrphans), freed);
            while (!mChildOrphans.empty())
                ProcessOrphan(TakeFirst(mChildOrphans), freed);
        }
        for (const int node : freed)
            JoinByTerminals(node);
    }

    void ProcessOrphan(int inNode, std::deque<int>& ioFreed) {
        const unsigned char tree = SideOf(inNode);
        unsigned int bestSteps = std::numeric_limits<unsigned int>::max();
        int best = kNone;
        for (const int e : ListOf(inNode)) {
            if (SideOf(At(e).mHead) != tree || !IsOpenTowardsTail(e, tree)) continue;
            unsigned int steps = 0;
            if (!HasTerminalOrigin(At(e).mHead, steps) || steps >= bestSteps) continue;
            bestSteps = steps;
            best = e;
        }
        if (best != kNone) {
            NodeAt(inNode) = {best, NodeAt(At(best).mHead).mSteps + 1, mTime};
            return;
        }
        for (const int e : ListOf(inNode)) {
            const int h = At(e).mHead;
            if (SideOf(h) != tree) continue;
            if (IsOpenTowardsTail(e, tree)) Activate(h);
            if (NodeAt(h).mParent != kNone && At(NodeAt(h).mParent).mHead == inNode)
                CutOff(h, mChildOrphans);
        }
        SideOf(inNode) = kFree;
        NodeAt(inNode).mParent = kNone;
        std::erase(mActive, inNode);
        ioFreed.push_back(inNode);
    }

    bool HasTerminalOrigin(int inNode, unsigned int& outSteps) {
        const int root = SideOf(inNode) == kSource ? mSource : mSink;
        std::vector<int> way;
        int last = inNode;
        for (; last != root && NodeAt(last).mTime != mTime;
             last = At(NodeAt(last).mParent).mHead) {
            if (NodeAt(last).mParent == kNone) return false;
            way.push_back(last);
        }
        if (last == root) NodeAt(root) = {kNone, 0, mTime};
        outSteps = NodeAt(last).mSteps + unsigned(way.size());
        for (unsigned int i = 0; i < way.size(); ++i) {
            NodeAt(way[i]).mSteps = outSteps - i;
            NodeAt(way[i]).mTime = mTime;
        }
        return true;
    }

    // ---- Small steps -----------------------------------------------------------------

    void Push(int inArc, float inFlow) {
        At(inArc).mResidual -= inFlow;
        At(inArc ^ 1).mResidual += inFlow;
    }
    bool IsOpenTowardsTail(int inArc, unsigned char inTree) {
        return At(inTree == kSource ? inArc ^ 1 : inArc).mResidual > 0;
    }
    void Activate(int inNode) {
        if (std::find(mActive.begin(), mActive.end(), inNode) == mActive.end())
            mActive.push_back(inNode);
    }
    void CutOff(int inNode, std::deque<int>& ioOrphans) {
        NodeAt(inNode).mParent = kNone;
        ioOrphans.push_back(inNode);
    }
    void Join(int inNode, unsigned char inTree, int inParent, unsigned int inSteps,
              unsigned int inTime) {
        SideOf(inNode) = inTree;
        NodeAt(inNode) = {inParent, inSteps, inTime};
        Activate(inNode);
    }
    void JoinByTerminals(int inNode) {
        const int toSource = Find(inNode, mSource), toSink = Find(inNode, mSink);
        if (toSource != kNone && At(toSource ^ 1).mResidual > 0)
            Join(inNode, kSource, toSource, 1, mTime);
        else if (toSink != kNone && At(toSink).mResidual > 0)
            Join(inNode, kSink, toSink, 1, mTime);
    }

    bool mPersistent;
    int mSource, mSink;
    bool mSolved = false;
    std::vector<Node> mNodes;
    std::deque<int> mActive, mOrphans, mChildOrphans;
    unsigned int mTime = 1;
};

}  // namespace Testing
