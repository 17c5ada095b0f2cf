// Other people's ways to the same thing, each in its own words and called as it comes.

#pragma once

#include <vector>

#include "External/graphcut/FlowGraph.h"
#include "Frames.h"

namespace Bench {

/// A graph as a list, for whoever builds it.
struct GraphList {
    static constexpr int kFirstNode = 2;  // behind source and sink
    std::vector<float> mFromSource;
    std::vector<float> mToSink;
    std::vector<FlowGraph::Link> mLinks;

    static int Index(unsigned int inNode) { return static_cast<int>(inNode) - kFirstNode; }
};

/// Build and solve; return the flow, or a negative number where the peer is not there.
double SolveByGCGraph(const GraphList& inGraph);
double SolveByBoost(const GraphList& inGraph);

/// Watershed from a grid of markers, one for each square of `inSpacing` pixels.
bool RunWatershed(const Frame& inFrame, int inSpacing);

/// One iteration from a mask of the strokes.
bool RunGrabCut(const Frame& inFrame);

}  // namespace Bench
