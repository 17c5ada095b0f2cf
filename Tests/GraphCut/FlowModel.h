// A graph as it was asked for, beside what the engine makes of it: whole-number capacities,
// so that single precision is exact, and the checks that prove a cut.

#pragma once

#include <optional>
#include <vector>

#include "External/graphcut/MaxFlowSolver.h"
#include "Support/Textures.h"

namespace Testing {

struct ModelLink {
    unsigned int mFrom;
    unsigned int mTo;
    int mCapacity;
    int mReverseCapacity;
};

struct ModelNode {
    int mFromSource = 0;
    int mToSink = 0;
};

/// Source 0, sink 1; `mNodes[i]` is node i + 2. At most one link between two nodes.
struct FlowModel {
    std::vector<ModelNode> mNodes;
    std::vector<ModelLink> mLinks;

    /// Adds nodes with terminal links, then links, and sets the capacities.
    void BuildInto(FlowGraph& ioGraph) const;

    /// What the partition cuts. `inFree` is the side that free nodes count for.
    long long CutOf(const std::vector<unsigned char>& inSegments, unsigned char inFree) const;
};

/// `inLinks` tries; capacities from 0 to `inMost`, one in four of them 0.
FlowModel RandomModel(Random& ioRandom, int inNodes, int inLinks, int inMost);

/// A rectangle with links to the right and below.
FlowModel GridModel(Random& ioRandom, int inColumns, int inRows, int inMost);

/// Solves a copy that nobody has touched before; returns the segments.
std::vector<unsigned char> SolveFresh(const FlowModel& inModel, float* outFlow = nullptr);

/// The value of a maximum flow by an independent library, or none where it is not there.
std::optional<long long> ReferenceFlow(const FlowModel& inModel);

/// Fails the running test unless no residual is negative, every pair's flows are opposite,
/// and every node but the terminals passes on what it gets.
void ExpectValidFlow(const FlowGraph& inGraph);

/// Fails the running test unless the partition is a minimum cut of the model, from both
/// sides: its value is that of a fresh solve.
void ExpectMinimumCut(const FlowModel& inModel, const std::vector<unsigned char>& inSegments);

}  // namespace Testing
