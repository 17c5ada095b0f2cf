// What the image graph and the segmentation do, written out literally: walks of arc lists,
// the formula for each pair, a pixel at a time. The library's faster ways are compared with
// these by bits.

#pragma once

#include <bit>

#include "External/graphcut/MaxFlowSolver.h"
#include "External/graphcut/imgraphcut.h"
#include "Support/Test.h"

namespace Testing {

/// A picture of up to four planes, its rows `mStride` samples apart.
template <class T>
struct Picture {
    int mColumns = 0;
    int mRows = 0;
    int mStride = 0;
    std::vector<std::vector<T>> mPlanes;

    /// Null where there is no such plane.
    const void* Plane(std::size_t inIndex) const {
        const void* planes[4] = {};
        std::size_t count = 0;
        for (const auto& plane : mPlanes)
            planes[count++ % 4] = plane.data();
        return planes[inIndex];
    }
    int PlaneCount() const { return int(mPlanes.size()); }
    static constexpr int BitDepth() { return int(sizeof(T)) * 8; }
    std::size_t At(int inX, int inY) const {
        return std::size_t(inY) * std::size_t(mStride) + std::size_t(inX);
    }
};

inline double FullScale(int inBitDepth) {
    return inBitDepth == 8 ? 255 : inBitDepth == 16 ? 32768 : 1;
}

// ---- Regions -------------------------------------------------------------------------

/// Each region as what can be reached from its seed, by a search without spans.
template <class T>
std::vector<unsigned int> PlainSegment(const Picture<T>& inPicture, float inTolerance,
                                       int inRadius) {
    const float scaled = inTolerance * float(FullScale(inPicture.BitDepth()));
    const float limit = scaled * scaled * float(inPicture.PlaneCount());
    const int columns = inPicture.mColumns, rows = inPicture.mRows;
    std::vector<unsigned int> labels(std::size_t(columns * rows), 0);
    unsigned int region = 2;
    for (int seedY = 0; seedY < rows; ++seedY)
        for (int seedX = 0; seedX < columns; ++seedX) {
            if (labels[std::size_t(seedY * columns + seedX)] != 0) continue;
            std::vector<std::pair<int, int>> open{{seedX, seedY}};
            while (!open.empty()) {
                const auto [x, y] = open.back();
                open.pop_back();
                if (x < 0 || y < 0 || x >= columns || y >= rows) continue;
                unsigned int& label = labels[std::size_t(y * columns + x)];
                const int dx = x - seedX, dy = y - seedY;
                if (label != 0 || dx * dx + dy * dy > inRadius * inRadius) continue;
                float sum = 0;
                for (const auto& plane : inPicture.mPlanes) {
                    const float difference = float(plane[inPicture.At(x, y)]) -
                                             float(plane[inPicture.At(seedX, seedY)]);
                    sum += difference * difference;
                }
                if (!(limit >= sum)) continue;
                label = region;
                open.insert(open.end(), {{x - 1, y}, {x + 1, y}, {x, y - 1}, {x, y + 1}});
            }
            ++region;
        }
    return labels;
}

// ---- Links ---------------------------------------------------------------------------

inline unsigned int PlainFind(const FlowGraph& inGraph, unsigned int inFrom,
                              unsigned int inTo) {
    unsigned int arc = inGraph.mFirstArcs[inFrom];
    while (arc != FlowGraph::kNoArc && inGraph.mArcs[arc].mHead != inTo)
        arc = inGraph.mArcs[arc].mNext;
    return arc;
}

struct PlainOffset {
    int mX, mY;
    double mWeight;
};

inline std::vector<PlainOffset> PlainOffsets(int inNeighborhood) {
    const double diagonal = 1 / std::sqrt(2.0), knight = 1 / std::sqrt(5.0);
    if (inNeighborhood == 4) return {{-1, 0, 1}, {0, -1, 1}};
    std::vector<PlainOffset> offsets{
        {-1, 0, 1}, {-1, -1, diagonal}, {0, -1, 1}, {1, -1, diagonal}};
    if (inNeighborhood == 20)
        offsets.insert(offsets.end(), {{-2, 0, 0.5},
                                       {-2, -1, knight},
                                       {-1, -2, knight},
                                       {0, -2, 0.5},
                                       {1, -2, knight},
                                       {2, -1, knight}});
    return offsets;
}

template <class T>
float PlainEnergy(const Picture<T>& inPicture, int inX, int inY, const PlainOffset& inOffset,
                  double inScale, double inSigma, double inExponent) {
    const double c = inSigma * FullScale(inPicture.BitDepth());
    const double q = c > 0 ? 1.5 / inPicture.PlaneCount() / (c * c) : 1.0;
    double sum = 0;
    for (const auto& plane : inPicture.mPlanes) {
        const double difference =
            double(plane[inPicture.At(inX, inY)]) -
            double(plane[inPicture.At(inX + inOffset.mX, inY + inOffset.mY)]);
        sum += difference * difference;
    }
    return float(std::exp(-std::pow(sum * q, inExponent)) * inScale * inOffset.mWeight);
}

/// `SetNeighborEnergies` over the whole of a graph that has the picture's size.
template <class T>
void PlainNeighborEnergies(ImageGraph& ioGraph, const Picture<T>& inPicture, double inScale,
                           double inSigma, double inExponent, bool inBuildLinks) {
    FlowGraph& graph = *ioGraph.mFlowGraph;
    const int columns = ioGraph.mColumns, rows = ioGraph.mRows;
    const auto offsets = PlainOffsets(ioGraph.mNeighborhood);
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < columns; ++x)
            for (const PlainOffset& offset : offsets) {
                const int nx = x + offset.mX, ny = y + offset.mY;
                if (nx < 0 || nx >= columns || ny < 0) continue;
                const unsigned int u = ioGraph.mNodeImage[std::size_t(y * columns + x)];
                const unsigned int v = ioGraph.mNodeImage[std::size_t(ny * columns + nx)];
                if (u == v) continue;
                const float e =
                    PlainEnergy(inPicture, x, y, offset, inScale, inSigma, inExponent);
                const unsigned int arc = PlainFind(graph, u, v);
                const bool isThere = arc != FlowGraph::kNoArc;
                if (inBuildLinks && (!ioGraph.mRegionMode || !isThere)) {
                    graph.AddLinkPair(u, v, e, e);
                    continue;
                }
                const bool adds = ioGraph.mRegionMode && isThere;
                const float there = adds ? graph.mCapacities[arc] + e : e;
                const float back = adds ? graph.mCapacities[arc ^ 1] + e : e;
                if (graph.IsDynamicAndSolved()) {
                    graph.UpdateLinkCapacities(u, v, there, back, 0, 1);
                } else if (isThere) {
                    graph.mCapacities[arc] = graph.mArcs[arc].mResidual = there;
                    graph.mCapacities[arc ^ 1] = graph.mArcs[arc ^ 1].mResidual = back;
                }
            }
}

// ---- Terminals -----------------------------------------------------------------------

/// A pixel's energies into its node, as the sum over the region or as they are.
inline void PlainSetPixel(ImageGraph& ioGraph, std::size_t inPlace, float inSource,
                          float inSink, bool inStrokeOnly) {
    FlowGraph& graph = *ioGraph.mFlowGraph;
    const unsigned int node = ioGraph.mNodeImage[inPlace];
    float s = inSource, t = inSink;
    if (ioGraph.mRegionMode) {
        const float ds = s - ioGraph.mPixelSourceEnergies[inPlace];
        const float dt = t - ioGraph.mPixelSinkEnergies[inPlace];
        ioGraph.mPixelSourceEnergies[inPlace] = s;
        ioGraph.mPixelSinkEnergies[inPlace] = t;
        if (inStrokeOnly && ds == 0 && dt == 0) return;
        const auto fromSource = graph.GetArc(0, node), toSink = graph.GetArc(node, 1);
        s = (fromSource ? fromSource->mCapacity : 0) + ds;
        t = (toSink ? toSink->mCapacity : 0) + dt;
        if (s < 0) s = 0;
        if (t < 0) t = 0;
    }
    graph.SetTerminalCapacities(node, s, t, 0, 1);
}

/// Both terminal operations over a whole graph in strokes-only mode, bias to the source.
inline void PlainTerminalEnergies(ImageGraph& ioGraph,
                                  const std::vector<unsigned char>& inForeground,
                                  const std::vector<unsigned char>& inBackground,
                                  double inBiasWeight, unsigned char inThreshold,
                                  bool inStrokesAlone) {
    const float hard =
        float(double(std::numeric_limits<float>::max()) / (ioGraph.mMaxRegionPixels * 2.0));
    const float bias = float(inBiasWeight) * float(std::log(510.0));
    for (std::size_t i = 0; i < inForeground.size(); ++i) {
        if (inForeground[i] > inThreshold)
            PlainSetPixel(ioGraph, i, 0, hard, inStrokesAlone);
        else if (inBackground[i] > inThreshold)
            PlainSetPixel(ioGraph, i, hard, 0, inStrokesAlone);
        else if (!inStrokesAlone)
            PlainSetPixel(ioGraph, i, bias, 0, false);
    }
}

// ---- Comparison ----------------------------------------------------------------------

/// The arcs that leave a node, in list order.
inline std::vector<FlowGraph::ArcState> ArcsOf(const FlowGraph& inGraph, unsigned int inNode) {
    std::vector<FlowGraph::ArcState> arcs;
    inGraph.VisitArcs(inNode, [&](const auto& inArc) { arcs.push_back(inArc); });
    return arcs;
}

/// Fails the running test unless both have the same lists in the same order with the same
/// bits.
inline void ExpectSameGraph(const FlowGraph& inLeft, const FlowGraph& inRight) {
    ASSERT_EQ(inLeft.mNodeCount, inRight.mNodeCount);
    const auto bits = [](float inValue) {
        return std::bit_cast<std::uint32_t>(inValue);
    };
    for (unsigned int node = 0; node < inLeft.mNodeCount; ++node) {
        const auto left = ArcsOf(inLeft, node), right = ArcsOf(inRight, node);
        ASSERT_EQ(left.size(), right.size()) << "at node " << node;
        for (std::size_t at = 0; at < left.size(); ++at) {
            ASSERT_EQ(left[at].mHead, right[at].mHead) << "arc " << at << " of node " << node;
            ASSERT_EQ(bits(left[at].mCapacity), bits(right[at].mCapacity)) << node << ":" << at;
            ASSERT_EQ(bits(left[at].mResidual), bits(right[at].mResidual)) << node << ":" << at;
        }
    }
}

}  // namespace Testing
