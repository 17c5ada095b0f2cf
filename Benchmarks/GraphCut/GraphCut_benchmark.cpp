// The graph cut in its steps, beside what an editor would else use. Counters of the same
// benchmark that are no peers are the steps.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "Benchmarks/Support/Turns.h"
#include "External/graphcut/MaxFlowSolver.h"
#include "External/graphcut/imgraphcut.h"
#include "Frames.h"
#include "GraphCut/GraphCutWrapper.h"
#include "GraphCut/Scene.h"
#include "Image.h"
#include "Peers.h"

namespace {

using Bench::ByteImage;
using Bench::Frame;
using Bench::GraphList;
using Bench::Turns;

constexpr float kTolerance = 10.0f / 255.0f;
constexpr double kSigma = double{16.0f / 255.0f};

// ---- The stages of a first cut, as the wrapper goes through them ----------------------

struct Stages {
    explicit Stages(const Frame& inFrame) : mFrame(inFrame) {
        for (auto& plane : mPlanes)
            plane = TVK::MakeObject<IP::Image<unsigned char>>(inFrame.mColumns, inFrame.mRows);
        mLabels = TVK::MakeObject<IP::Image<unsigned char>>(inFrame.mColumns, inFrame.mRows);
        mGraph.Initialize({0, 0, inFrame.mRows, inFrame.mColumns}, NULL, 8, NULL, 0, 1);
    }
    void Split() {
        CAFU::SplitPackedPixels(mFrame.mPixels.data(), mFrame.mRows, mFrame.mColumns,
                                static_cast<int>(mFrame.RowBytes()), mPlanes[0]->GetData(),
                                mPlanes[1]->GetData(), mPlanes[2]->GetData());
    }
    void Fill() {
        mGraph.BuildRegionGraph(mPlanes[0]->GetData(), mPlanes[1]->GetData(),
                                mPlanes[2]->GetData(), NULL, mFrame.mRows, mFrame.mColumns, 0,
                                0, mFrame.mColumns, 3, 8, kTolerance, 5);
    }
    void Links() {
        mGraph.SetNeighborEnergies(mPlanes[0]->GetData(), mPlanes[1]->GetData(),
                                   mPlanes[2]->GetData(), NULL, mFrame.mRows, mFrame.mColumns,
                                   0, 0, mFrame.mColumns, 3, 8, 500, kSigma, 0.5, true);
    }
    void Terminals(const ByteImage& inForeground, const ByteImage& inBackground) {
        const int columns = mFrame.mColumns;
        mGraph.SetTerminalEnergies(NULL, NULL, inForeground->GetData(), inBackground->GetData(),
                                   0.5, kTerminalEnergyStrokesOnly, true, 128, mFrame.mRows,
                                   columns, 0, 0, columns, columns, columns, columns);
    }
    void Strokes(const ByteImage& inForeground, const ByteImage& inBackground) {
        const int columns = mFrame.mColumns;
        mGraph.SetStrokeEnergies(inForeground->GetData(), inBackground->GetData(), 128,
                                 mFrame.mRows, columns, 0, 0, columns, columns);
    }
    void Flow() { RunMaxFlow(*mGraph.mFlowGraph, 0, 1, *mGraph.mSegments, -1.0, NULL); }
    void Labels() {
        mGraph.ExtractLabels(mLabels->GetData(), mFrame.mRows, mFrame.mColumns, 0, 0,
                             mFrame.mColumns, false);
    }
    void BuildGraph() {
        Split();
        Fill();
        Links();
    }

    const Frame& mFrame;
    ByteImage mPlanes[3];
    ByteImage mLabels;
    ImageGraph mGraph;
};

void FirstCut(benchmark::State& ioState, const Frame& inFrame) {
    Turns times;
    unsigned int regions = 0;
    double bytes = 0;
    for (auto _ : ioState) {
        {
            Stages stages(inFrame);
            times.Time("split", [&] { stages.Split(); });
            times.Time("fill", [&] { stages.Fill(); });
            times.Time("links", [&] { stages.Links(); });
            times.Time("terminals",
                       [&] { stages.Terminals(inFrame.mForeground, inFrame.mBackground); });
            times.Time("flow", [&] { stages.Flow(); });
            times.Time("labels", [&] { stages.Labels(); });
        }
        const auto inUse = [] {
            const auto info = mallinfo2();
            const auto recycler = TVK::MemoryRecycler::Instance();
            return static_cast<double>(info.uordblks + info.hblkhd) -
                   static_cast<double>(recycler->GetUnusedBytes());
        };
        const double before = inUse();
        auto wrapper = std::make_unique<DP::GraphCutWrapper>();
        ioState.SetIterationTime(1e-3 * times.Time("ours", [&] {
            wrapper->ComputeLabelImage(inFrame.mPixels.data(), inFrame.RowBytes(),
                                       inFrame.mForeground, inFrame.mBackground, {});
        }));
        bytes = inUse() - before;
        regions = wrapper->GetImageGraph()->mRegionCount;
        if (Bench::RunWatershed(inFrame, 10))
            times.Time("watershed", [&] { Bench::RunWatershed(inFrame, 10); });
    }
    times.Report(ioState, {"watershed"});
    ioState.counters["regions"] = regions;
    ioState.counters["bytes/pixel"] = bytes / (double(inFrame.mColumns) * inFrame.mRows);
}

// ---- The engine ----------------------------------------------------------------------

// Hard capacities as finite ones that no cut takes, for the sake of the peers' sums.
GraphList ListOf(const FlowGraph& inGraph) {
    GraphList list;
    const auto capped = [](float inCapacity) {
        return std::min(inCapacity, 1e6f);
    };
    for (unsigned int node = 2; node < inGraph.mNodeCount; ++node) {
        list.mFromSource.push_back(capped(inGraph.GetArc(0, node)->mCapacity));
        list.mToSink.push_back(capped(inGraph.GetArc(node, 1)->mCapacity));
    }
    for (unsigned int node = 2; node < inGraph.mNodeCount; ++node)
        inGraph.VisitArcs(node, [&](const FlowGraph::ArcState& inArc) {
            if (inArc.mHead >= 2 && inArc.mHead < node)
                list.mLinks.push_back({node, inArc.mHead, inArc.mCapacity});
        });
    return list;
}

double SolveByOurs(const GraphList& inList) {
    FlowGraph graph;
    graph.mDynamic = graph.mPersistent = true;
    graph.AddNode();
    graph.AddNode();
    graph.AddNodesWithTerminals(inList.mFromSource.size(), 0, 1);
    for (std::size_t i = 0; i < inList.mFromSource.size(); ++i)
        graph.SetTerminalCapacities(unsigned(i) + 2, inList.mFromSource[i], inList.mToSink[i],
                                    0, 1);
    graph.AddLinks(inList.mLinks);
    std::vector<unsigned char> segments;
    RunMaxFlow(graph, 0, 1, segments, -1.0, NULL);
    return graph.mSolver->GetFlow();
}

// Single precision adds up in another order in each engine.
bool IsSameFlow(double inFlow, double inPeers) {
    return inPeers < 0 || std::abs(inFlow - inPeers) <= 2e-3 * std::abs(inPeers) + 1e-3;
}

void CompareEngines(benchmark::State& ioState, const GraphList& inList) {
    Turns times;
    double ours = 0, gcgraph = 0, boost = 0;
    for (auto _ : ioState) {
        ioState.SetIterationTime(1e-3 *
                                 times.Time("ours", [&] { ours = SolveByOurs(inList); }));
        const auto time = [&](const char* inName, double& outFlow, auto inSolve) {
            const double once = Bench::Milliseconds([&] { outFlow = inSolve(inList); });
            if (outFlow >= 0) times.Add(inName, once);  // a peer that is not there says -1
        };
        time("gcgraph", gcgraph, Bench::SolveByGCGraph);
        time("boost", boost, Bench::SolveByBoost);
    }
    if (!IsSameFlow(ours, gcgraph) || !IsSameFlow(ours, boost)) {
        std::fprintf(stderr, "flows: ours %g, gcgraph %g, boost %g\n", ours, gcgraph, boost);
        ioState.SkipWithError("the flows differ");
        return;
    }
    times.Report(ioState);
    ioState.counters["nodes"] = double(inList.mFromSource.size());
    ioState.counters["links"] = double(inList.mLinks.size());
}

void RegionGraph(benchmark::State& ioState, const Frame& inFrame) {
    Stages stages(inFrame);
    stages.BuildGraph();
    stages.Terminals(inFrame.mForeground, inFrame.mBackground);
    CompareEngines(ioState, ListOf(*stages.mGraph.mFlowGraph));
}

void PixelGrid(benchmark::State& ioState, const Frame& inFrame, unsigned short inNeighborhood) {
    Stages stages(inFrame);
    stages.Split();
    ImageGraph& graph = stages.mGraph;
    graph.mNeighborhood = inNeighborhood;
    graph.AddPixelNodes(inFrame.mRows, inFrame.mColumns);
    stages.Links();
    stages.Terminals(inFrame.mForeground, inFrame.mBackground);
    CompareEngines(ioState, ListOf(*graph.mFlowGraph));
}

// ---- A further stroke ----------------------------------------------------------------

// A foreground dab 40 pixels wide on ground that was background, resumed and fresh; then
// dabs on ground that has their label already.
void FurtherStroke(benchmark::State& ioState, const Frame& inFrame) {
    const int columns = inFrame.mColumns, rows = inFrame.mRows;
    const ByteImage none = Testing::FlatImage(columns, rows, 0);
    const auto copyOf = [&](const ByteImage& inImage) {
        const auto copy = TVK::MakeObject<IP::Image<unsigned char>>(columns, rows);
        copy->CopyPixelsFrom(inImage);
        return copy;
    };
    Turns times;
    for (auto _ : ioState) {
        Stages kept(inFrame);
        kept.BuildGraph();
        kept.Terminals(inFrame.mForeground, inFrame.mBackground);
        kept.Flow();
        kept.Labels();

        // Ground away from the strokes, which are in the middle and along the sides.
        const int x = columns / 5, y = rows / 2;
        const ByteImage dab = Testing::FlatImage(columns, rows, 0);
        Testing::PaintDab(dab, x, y, 20);
        ioState.SetIterationTime(1e-3 * times.Time("ours", [&] {
            kept.Strokes(dab, none);
            kept.Flow();
        }));
        times.Time("labels", [&] { kept.Labels(); });

        // The same strokes on a graph that is built from the regions' links anew.
        const ByteImage both = copyOf(inFrame.mForeground);
        Testing::PaintDab(both, x, y, 20);
        Stages fresh(inFrame);
        fresh.Split();
        fresh.Fill();
        times.Time("fresh", [&] {
            fresh.Links();
            fresh.Terminals(both, inFrame.mBackground);
            fresh.Flow();
        });
        Stages unbuilt(inFrame);
        unbuilt.BuildGraph();
        unbuilt.Terminals(both, inFrame.mBackground);
        const GraphList list = ListOf(*unbuilt.mGraph.mFlowGraph);
        times.Time("fresh_list", [&] { SolveByOurs(list); });

        const ByteImage inside = Testing::FlatImage(columns, rows, 0);
        Testing::PaintDab(inside, x, y, 10);
        times.Time("same_ground_strokes", [&] { kept.Strokes(inside, none); });
        times.Time("same_ground_flow", [&] { kept.Flow(); });
        const ByteImage outside = Testing::FlatImage(columns, rows, 0);
        Testing::PaintDab(outside, columns - columns / 8, rows / 4, 20);
        times.Time("background_strokes", [&] { kept.Strokes(none, outside); });
        times.Time("background_flow", [&] { kept.Flow(); });

        DP::GraphCutWrapper wrapper;
        ByteImage labels =
            wrapper.ComputeLabelImage(inFrame.mPixels.data(), inFrame.RowBytes(),
                                      inFrame.mForeground, inFrame.mBackground, {});
        times.Time("wrapper_dab",
                   [&] { labels = wrapper.ComputeLabelImage(NULL, 0, dab, none, labels); });
        times.Time("wrapper_passes",
                   [&] { labels = wrapper.ComputeLabelImage(NULL, 0, none, none, labels); });
    }
    times.Report(ioState, {"fresh", "fresh_list"});
}

// GrabCut needs seconds: it has a benchmark of its own.
void GrabCut(benchmark::State& ioState, const Frame& inFrame) {
    Turns times;
    for (auto _ : ioState)
        ioState.SetIterationTime(1e-3 *
                                 times.Time("grabcut", [&] { Bench::RunGrabCut(inFrame); }));
    times.Report(ioState);
}

// ---- Registration --------------------------------------------------------------------

template <class... Extra>
Bench::Work MakeWork(const char* inName,
                     void (*inRun)(benchmark::State&, const Frame&, Extra...),
                     Extra... inExtra) {
    constexpr int kFramesARound = 4;
    return {inName,
            [=](benchmark::State& ioState, const Bench::Clip& inClip) {
                inRun(ioState, Frame(inClip), inExtra...);
            },
            kFramesARound};
}

}  // namespace

int main(int inCount, char** inArguments) {
    return Bench::RunOverClips(
        inCount, inArguments,
        {MakeWork("FirstCut", FirstCut), MakeWork("RegionGraph", RegionGraph),
         MakeWork<unsigned short>("PixelGrid4", PixelGrid, 4),
         MakeWork<unsigned short>("PixelGrid8", PixelGrid, 8),
         MakeWork("FurtherStroke", FurtherStroke), MakeWork("GrabCut", GrabCut)});
}
