// Pixels to nodes, and pictures to the capacities of links.
//
// A link between two regions is met once for each pixel pair along their border:
//
//        a a a b b           pairs behind a pixel (left, and the three above) are visited
//        a a b b b           in raster order, so each pair is met once; the energies of
//        a c c b b           the pairs of two regions add up in that order, in single
//                            precision, and the first pair adds the link.
//
// The order in which links are added is the order of the arc lists, and so is behaviour.

#include "External/graphcut/imgraphcut.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>
#include <utility>

#include "External/graphcut/ImageGraphParts.h"
#include "External/graphcut/LinkEnergies.h"
#include "External/graphcut/MWSegment.h"
#include "External/graphcut/MaxFlowSolver.h"
#include "TVK/ContractCheck.h"
#include "image/Interruption.h"
#include "image/Saturate.h"

using graphcut::NeighborOffset;

// ---- Neighbourhoods ------------------------------------------------------------------

namespace graphcut {

// The neighbours of a pixel p that come before it in raster order, in the order in which the
// pairs with them are taken, and how much a pair counts: 1 / distance.
//
//      4:      .  1  .         8:    1  2  3         20:     .  6  7  8  .
//              0  p  .               0  p  .                 5  1  2  3  9
//                                                            4  0  p  .  .
std::span<const NeighborOffset> NeighborOffsets(unsigned short inNeighborhood) {
    static const double kDiagonal = 1.0 / std::sqrt(2.0);
    static const double kKnight = 1.0 / std::sqrt(5.0);
    static const NeighborOffset kFour[] = {{-1, 0, 1.0}, {0, -1, 1.0}};
    static const NeighborOffset kTwenty[] = {
        {-1, 0, 1.0},     {-1, -1, kDiagonal}, {0, -1, 1.0},      {1, -1, kDiagonal},
        {-2, 0, 0.5},     {-2, -1, kKnight},   {-1, -2, kKnight}, {0, -2, 0.5},
        {1, -2, kKnight}, {2, -1, kKnight},
    };
    switch (inNeighborhood) {
        case 4:
            return kFour;
        case 8:
            return std::span(kTwenty).first(4);
        case 20:
            return kTwenty;
        default:
            return {};
    }
}

}  // namespace graphcut

// ---- Building ------------------------------------------------------------------------

ImageGraph::~ImageGraph() { ReleaseGraph(); }

void ImageGraph::Initialize(const GraphRect& inBounds, FlowGraph* inSharedGraph,
                            unsigned short inNeighborhood,
                            std::vector<unsigned char>* inSharedSegments, unsigned int inSource,
                            unsigned int inSink) {
    mLeft = inBounds.mLeft;
    mTop = inBounds.mTop;
    const auto extent = [](int inFirst, int inEnd) {
        return static_cast<int>(static_cast<unsigned>(inEnd) - static_cast<unsigned>(inFirst));
    };
    Initialize(extent(inBounds.mTop, inBounds.mBottom), extent(inBounds.mLeft, inBounds.mRight),
               inSharedGraph, inNeighborhood, inSharedSegments, inSource, inSink);
}

void ImageGraph::Initialize(int inRows, int inColumns, FlowGraph* inSharedGraph,
                            unsigned short inNeighborhood,
                            std::vector<unsigned char>* inSharedSegments, unsigned int inSource,
                            unsigned int inSink) {
    ReleaseGraph();
    mRows = inRows;
    mColumns = inColumns;
    mRegionMode = false;
    mRegionCount = 0;
    mMaxRegionPixels = 1;
    mPixelSourceEnergies.clear();
    mPixelSinkEnergies.clear();
    mRegions.clear();
    mHasNoEnergies = false;
    const std::int64_t pixels = std::int64_t{inRows} * inColumns;
    if (inRows <= 0 || inColumns <= 0 || pixels > INT32_MAX) return;

    mNodeImage.reset(new unsigned int[static_cast<std::size_t>(pixels)]);
    if (inSharedGraph) {
        mFlowGraph = inSharedGraph;
        mSegments = inSharedSegments;
        mSourceNode = inSource;
        mSinkNode = inSink;
    } else {
        MakeOwnFlowGraph(std::make_unique<std::vector<unsigned char>>());
    }
    mDefaultNode = mSourceNode;
    IP::FillPages(mNodeImage.get(), static_cast<std::size_t>(pixels), mDefaultNode);
    mNeighborhood = inNeighborhood;
    mValid = true;
}

// Source and sink come first, so that they are nodes 0 and 1 and terminal arcs are home.
void ImageGraph::MakeOwnFlowGraph(std::unique_ptr<std::vector<unsigned char>> inSegments) {
    auto graph = std::make_unique<FlowGraph>();
    mSourceNode = graph->AddNode();
    mSinkNode = graph->AddNode();
    graph->mDynamic = true;
    graph->mPersistent = true;
    mSegments = inSegments.release();
    mFlowGraph = graph.release();
    mOwnsFlowGraph = true;
}

void ImageGraph::BuildRegionGraph(const void* inPlane0, const void* inPlane1,
                                  const void* inPlane2, const void* inPlane3, int inRows,
                                  int inColumns, int inLeft, int inTop, int inRowStride,
                                  int inPlanes, int inBitDepth, float inTolerance,
                                  int inRadius) {
    ContractCheck(mNodeImage != NULL);
    ContractCheck(inRows <= mRows && inColumns <= mColumns);
    mRegionMode = true;
    mRegionCount = 0;
    mRegions.clear();
    // Moving a large table takes longer than a stop may; of room that is not touched the system
    // fills 16 MiB at most.
    constexpr std::size_t kLeastUsualPixels = 4;
    mRegions.reserve(static_cast<std::size_t>(std::max(inRows, 0)) *
                     static_cast<std::size_t>(std::max(inColumns, 0)) / kLeastUsualPixels);
    MWSegment(inPlane0, inPlane1, inPlane2, inPlane3, inRows, inColumns, inLeft, inTop,
              mNodeImage.get(), inRowStride, mColumns, inPlanes, inBitDepth, inTolerance,
              inRadius, &mRegionCount, &mRegions);
    // Small regions of the whole area are found again in the window below their seeds. Not so
    // where a seed, as one that is no number, did not belong to its own region: it may belong
    // to none, or to one that has its seed further down and reaches up to it.
    constexpr int kMostRadius = 7;
    const bool isSmall = inRadius >= -kMostRadius && inRadius <= kMostRadius;
    bool haveSeeds = true;
    std::int64_t labelled = 0;
    for (const SegmentRegion& region : mRegions) {
        haveSeeds = haveSeeds && region.mPixels != 0;
        labelled += region.mPixels;
    }
    const bool isWhole = inRows == mRows && inColumns == mColumns &&
                         labelled == std::int64_t{inRows} * inColumns;
    if (!isSmall || !isWhole || !haveSeeds) mRegions.clear();
    mRegionRadius = isSmall ? std::abs(inRadius) : 0;

    mFlowGraph->AddNodesWithTerminals(mRegionCount, mSourceNode, mSinkNode);

    // One entry for each pixel of the node image, by which they are found.
    const std::size_t pixels =
        static_cast<std::size_t>(mRows) * static_cast<unsigned>(mColumns);
    mHasNoEnergies = mPixelSourceEnergies.empty() && mPixelSinkEnergies.empty();
    for (auto* const energies : {&mPixelSourceEnergies, &mPixelSinkEnergies})
        FillTable(*energies, pixels, 0.0f);
    mMaxRegionPixels = IP::SquareOrMost(2 * std::int64_t{inRadius} + 1);
}

void ImageGraph::ResetRegionGraph() {
    std::unique_ptr<std::vector<unsigned char>> segments(mOwnsFlowGraph ? mSegments : nullptr);
    if (mOwnsFlowGraph) delete mFlowGraph;
    mFlowGraph = nullptr;
    mSegments = nullptr;
    mOwnsFlowGraph = false;
    if (!segments) segments = std::make_unique<std::vector<unsigned char>>();
    MakeOwnFlowGraph(std::move(segments));
    mTerminalEnergiesSet = false;
    mLinksBuilt = false;
    mValid = true;
    mBiasTowardSource = true;
    mFlowGraph->AddNodesWithTerminals(mRegionCount, mSourceNode, mSinkNode);
    std::fill(mPixelSourceEnergies.begin(), mPixelSourceEnergies.end(), 0.0f);
    std::fill(mPixelSinkEnergies.begin(), mPixelSinkEnergies.end(), 0.0f);
    mHasNoEnergies = true;
}

void ImageGraph::ReleaseGraph() {
    if (mOwnsFlowGraph) {
        delete mFlowGraph;
        delete mSegments;
    }
    mFlowGraph = nullptr;
    mSegments = nullptr;
    mOwnsFlowGraph = false;
    mNodeImage.reset();
    mRegions.clear();
    mRows = 0;
    mColumns = 0;
    mTerminalEnergiesSet = false;
    mLinksBuilt = false;
    mValid = false;
    mBiasTowardSource = true;
}

// ---- Walking an area -----------------------------------------------------------------

namespace {

// A neighbour as seen from a pixel: how far it is in the node image and among the samples.
struct PairOffset {
    NeighborOffset mOffset;
    std::ptrdiff_t mNodes;
    std::ptrdiff_t mSamples;
};

// The offsets that stay inside the graph from a row.
struct RowOffsets {
    RowOffsets(std::span<const NeighborOffset> inOffsets, std::ptrdiff_t inY,
               std::ptrdiff_t inColumns, std::ptrdiff_t inSampleStride) {
        for (const NeighborOffset& offset : inOffsets)
            if (inY + offset.mY >= 0)
                mOffsets[mCount++] = {offset, offset.mY * inColumns + offset.mX,
                                      offset.mY * inSampleStride + offset.mX};
    }
    PairOffset mOffsets[10];
    int mCount = 0;
};

}  // namespace

// The node of (x, y) in the graph's coordinates is `mNodeImage[y * mColumns + x]`. A plane
// begins at the area's first pixel: its sample is the one at
// `(y - areaTop) * inSampleStride + x - areaLeft`.
//
// Calls `inVisit(node, neighbour's node, index of the sample, of the neighbour's, weight)`
// for the pairs of pixels that have a node each, neither of them the other's, from the
// pixels of the area.
template <class Visit>
void ImageGraph::VisitPairs(const graphcut::PictureArea& inArea, std::ptrdiff_t inSampleStride,
                            Visit inVisit) const {
    const auto offsets = graphcut::NeighborOffsets(mNeighborhood);
    const std::ptrdiff_t columns = mColumns;
    const unsigned int noNode = mDefaultNode;
    for (const GraphRow row :
         GraphRows(*this, inArea.mRows, inArea.mColumns, inArea.mLeft, inArea.mTop)) {
        const RowOffsets usable(offsets, row.mY, columns, inSampleStride);
        const unsigned int* const nodes = mNodeImage.get() + row.mY * columns;
        const std::ptrdiff_t samples = row.mAreaRow * inSampleStride - row.mAreaX;
        for (std::ptrdiff_t x = row.mFirstX; x < row.mEndX; ++x) {
            const unsigned int node = nodes[x];
            if (node == noNode) continue;
            for (int i = 0; i < usable.mCount; ++i) {
                const PairOffset& offset = usable.mOffsets[i];
                const std::ptrdiff_t neighborX = x + offset.mOffset.mX;
                if (neighborX < 0 || neighborX >= columns) continue;
                const unsigned int neighbor = nodes[x + offset.mNodes];
                if (neighbor == node || neighbor == noNode) continue;
                inVisit(node, neighbor, samples + x, samples + x + offset.mSamples,
                        offset.mOffset.mWeight);
            }
        }
    }
}

// ---- Pixel mode ----------------------------------------------------------------------

void ImageGraph::AddPixelNodes(int inRows, int inColumns) {
    if (inRows <= 0 || inColumns <= 0 || !mNodeImage) return;
    mFlowGraph->ReserveNodes(static_cast<std::size_t>(inRows) *
                             static_cast<std::size_t>(inColumns));
    VisitPixels(
        inRows, inColumns, mLeft, mTop, [&](std::int64_t, std::int64_t, std::int64_t inPlace) {
            mNodeImage[inPlace] = mFlowGraph->AddNodeWithTerminals(mSourceNode, mSinkNode);
        });
}

void ImageGraph::AddPixelLinks(int inRows, int inColumns) {
    const graphcut::PictureArea area{{}, inRows, inColumns, mLeft, mTop, 0};
    VisitPairs(area, 0,
               [&](unsigned int inNode, unsigned int inNeighbor, std::ptrdiff_t, std::ptrdiff_t,
                   double) { mFlowGraph->AddLinkPair(inNode, inNeighbor, 0, 0); });
}

// ---- Link energies -------------------------------------------------------------------

namespace {

struct ImageGraphReports {
    static constexpr const char* kReportedName = "ImageGraph::SetNeighborEnergies";
};

}  // namespace

void ImageGraph::SetNeighborEnergies(const void* inPlane0, const void* inPlane1,
                                     const void* inPlane2, const void* inPlane3, int inRows,
                                     int inColumns, int inLeft, int inTop, int inRowStride,
                                     int inPlanes, int inBitDepth, double inScale,
                                     double inSigma, double inExponent, bool inBuildLinks) {
    const graphcut::PictureArea area{{inPlane0, inPlane1, inPlane2, inPlane3},
                                     inRows,
                                     inColumns,
                                     inLeft,
                                     inTop,
                                     inRowStride};
    graphcut::VisitPairEnergies<ImageGraphReports>(
        area, inPlanes, inBitDepth, {inScale, inSigma, inExponent},
        [&](const auto& inEnergies) {
            if (!mNodeImage) return;
            if (!mRegionMode)
                SetPixelEnergies(inEnergies, inBuildLinks);
            else
                SetRegionEnergies(inEnergies, inBuildLinks);
            mLinksBuilt = true;
        });
}

namespace {

// The links between regions while they are found: each once, in the order in which they
// are met, with the sum of its pairs. Pairs come in runs along a border, and a link is
// looked for where a run begins: at its higher-numbered region among that region's
// lower-numbered neighbours, which are few.
class RegionLinks {
public:
    explicit RegionLinks(std::size_t inNodeCount) {
        FillTable(mNewest, inNodeCount, kNone);
        mLinks.reserve(inNodeCount * kUsualLinksOfNode);
        mOlder.reserve(inNodeCount * kUsualLinksOfNode);
    }

    /// Pairs of the same two nodes, one behind the other, and what their link has come to.
    struct Run {
        unsigned int mNode = 0;
        unsigned int mNeighbor = 0;  // 0 and 0 are no pair
        float mSum = 0;
    };
    void Add(Run& ioRun, unsigned int inNode, unsigned int inNeighbor, float inEnergy) {
        if (inNode != ioRun.mNode || inNeighbor != ioRun.mNeighbor) {
            End(ioRun);
            mLast = Find(std::max(inNode, inNeighbor), std::min(inNode, inNeighbor));
            ioRun = {inNode, inNeighbor, mLinks[mLast].mCapacity};
        }
        ioRun.mSum += inEnergy;
    }
    void End(const Run& inRun) {
        if (mLast != kNone) mLinks[mLast].mCapacity = inRun.mSum;
    }

    const IP::RecycledVector<FlowGraph::Link>& Links() const { return mLinks; }

private:
    static constexpr unsigned int kNone = std::numeric_limits<unsigned int>::max();
    static constexpr std::size_t kUsualLinksOfNode = 4;

    unsigned int Find(unsigned int inHigher, unsigned int inLower) {
        unsigned int at = mNewest[inHigher];
        while (at != kNone && mLinks[at].mTo != inLower)
            at = mOlder[at];
        if (at != kNone) return at;
        at = static_cast<unsigned int>(mLinks.size());
        mLinks.push_back({inHigher, inLower, 0});
        mOlder.push_back(std::exchange(mNewest[inHigher], at));
        return at;
    }

    IP::RecycledVector<unsigned int> mNewest;  // of a node as the higher one: a link, or none
    IP::RecycledVector<FlowGraph::Link> mLinks;
    IP::RecycledVector<unsigned int> mOlder;  // of a link: the one before it at its node
    unsigned int mLast = kNone;               // the link of the run
};

// What there is to know of the pairs of a row of 8-bit pixels before any link is looked for,
// found for one offset after the other: which pixels stand at a border there, and the
// squared differences over it.
//
//      mBorders   bits of offsets, one entry a pixel      . . 3 3 . . 1 . 2 2 .
//      mSums[i]   one entry a pixel, for offset i
//
class RowBorders {
public:
    explicit RowBorders(std::ptrdiff_t inColumns)
        : mBorders(static_cast<std::size_t>(inColumns)) {
        for (auto& sums : mSums)
            sums.resize(mBorders.size());
    }

    template <class Energies>
    void Find(const Energies& inEnergies, const RowOffsets& inOffsets,
              const unsigned int* inNodes, unsigned int inNoNode, std::ptrdiff_t inFirstX,
              std::ptrdiff_t inEndX, std::ptrdiff_t inSamples) {
        std::fill(mBorders.begin() + inFirstX, mBorders.begin() + inEndX, std::uint16_t{0});
        const auto columns = static_cast<std::ptrdiff_t>(mBorders.size());
        for (int i = 0; i < inOffsets.mCount; ++i) {
            const PairOffset& offset = inOffsets.mOffsets[i];
            const auto first = std::max<std::ptrdiff_t>(inFirstX, -offset.mOffset.mX);
            const auto end = std::min<std::ptrdiff_t>(inEndX, columns - offset.mOffset.mX);
            if (first >= end) continue;
            inEnergies.SquaredDifferences(inSamples + first,
                                          inSamples + first + offset.mSamples, end - first,
                                          &mSums[i][std::size_t(first)]);
            MarkBorders(inNodes, inNodes + offset.mNodes, inNoNode, first, end, 1u << i);
        }
    }

    /// The pairs of the row in raster order, and in that of the offsets at a pixel.
    template <class Energies>
    RegionLinks::Run AddTo(RegionLinks& ioLinks, RegionLinks::Run inRun,
                           const Energies& inEnergies, const RowOffsets& inOffsets,
                           const unsigned int* inNodes, std::ptrdiff_t inFirstX,
                           std::ptrdiff_t inEndX) const {
        RegionLinks::Run run = inRun;  // of this function: its numbers stay in registers
        for (std::ptrdiff_t x = inFirstX; x < inEndX; ++x) {
            const unsigned int node = inNodes[x];
            for (unsigned int bits = mBorders[std::size_t(x)]; bits != 0; bits &= bits - 1) {
                const int i = std::countr_zero(bits);
                const PairOffset& offset = inOffsets.mOffsets[i];
                const float energy = inEnergies.OfSquaredDifference(mSums[i][std::size_t(x)],
                                                                    offset.mOffset.mWeight);
                ioLinks.Add(run, node, inNodes[x + offset.mNodes], energy);
            }
        }
        return run;
    }

private:
    void MarkBorders(const unsigned int* inNodes, const unsigned int* inNeighbors,
                     unsigned int inNoNode, std::ptrdiff_t inFirst, std::ptrdiff_t inEnd,
                     unsigned int inBit) {
        std::uint16_t* const borders = mBorders.data();
        const auto bit = static_cast<std::uint16_t>(inBit);
        for (std::ptrdiff_t x = inFirst; x < inEnd; ++x) {
            const unsigned int node = inNodes[x], neighbor = inNeighbors[x];
            const bool isBorder =
                (node != neighbor) & (node != inNoNode) & (neighbor != inNoNode);
            borders[x] = static_cast<std::uint16_t>(borders[x] | (isBorder ? bit : 0));
        }
    }

    std::vector<std::uint16_t> mBorders;
    std::vector<int> mSums[10];
};

}  // namespace

// The links of a graph that has none: they are found in a small table of their own and
// added when their sums are known.
template <class Energies>
void ImageGraph::BuildRegionLinks(const Energies& inEnergies) {
    const graphcut::PictureArea& area = inEnergies.Area();
    const bool coversGraph =
        area.mLeft <= mLeft && area.mTop <= mTop &&
        std::int64_t{area.mLeft} + area.mColumns >= std::int64_t{mLeft} + mColumns &&
        std::int64_t{area.mTop} + area.mRows >= std::int64_t{mTop} + mRows;
    RegionLinks links(mFlowGraph->mNodeCount);
    RegionLinks::Run run;
    if constexpr (Energies::kHasMemo)
        if (coversGraph) {
            AddBorders(inEnergies, links, run);
            mFlowGraph->AddLinks(links.Links());
            return;
        }
    VisitPairs(area, inEnergies.RowStride(),
               [&](unsigned int inNode, unsigned int inNeighbor, std::ptrdiff_t inAt,
                   std::ptrdiff_t inNeighborAt, double inWeight) {
                   links.Add(run, inNode, inNeighbor, inEnergies(inAt, inNeighborAt, inWeight));
               });
    links.End(run);
    mFlowGraph->AddLinks(links.Links());
}

// The same pairs as `VisitPairs` and in the same order. Differences are taken inside of
// regions too: the picture must cover the graph, so that there are samples.
template <class Energies, class Links, class Run>
void ImageGraph::AddBorders(const Energies& inEnergies, Links& ioLinks, Run inRun) const {
    const graphcut::PictureArea& area = inEnergies.Area();
    const auto offsets = graphcut::NeighborOffsets(mNeighborhood);
    RowBorders borders(mColumns);
    for (const GraphRow row :
         GraphRows(*this, area.mRows, area.mColumns, area.mLeft, area.mTop)) {
        IP::Checkpoint(row.mY, mRows);
        const RowOffsets usable(offsets, row.mY, mColumns, inEnergies.RowStride());
        const unsigned int* const nodes = mNodeImage.get() + row.mY * mColumns;
        borders.Find(inEnergies, usable, nodes, mDefaultNode, row.mFirstX, row.mEndX,
                     row.mAreaRow * inEnergies.RowStride() - row.mAreaX);
        inRun =
            borders.AddTo(ioLinks, inRun, inEnergies, usable, nodes, row.mFirstX, row.mEndX);
    }
    ioLinks.End(inRun);
}

// The sum over the border of two regions.
template <class Energies>
void ImageGraph::SetRegionEnergies(const Energies& inEnergies, bool inBuildLinks) {
    if (inBuildLinks && mFlowGraph->mLinkPairs == 0 && !mFlowGraph->IsDynamicAndSolved()) {
        BuildRegionLinks(inEnergies);
        return;
    }
    VisitPairs(inEnergies.Area(), inEnergies.RowStride(),
               [&](unsigned int inNode, unsigned int inNeighbor, std::ptrdiff_t inAt,
                   std::ptrdiff_t inNeighborAt, double inWeight) {
                   const float energy = inEnergies(inAt, inNeighborAt, inWeight);
                   const unsigned int arc = mFlowGraph->FindArc(inNode, inNeighbor);
                   if (arc == FlowGraph::kNoArc) {
                       if (inBuildLinks)
                           mFlowGraph->AddLinkPair(inNode, inNeighbor, energy, energy);
                       return;
                   }
                   const auto& capacities = mFlowGraph->mCapacities;
                   mFlowGraph->SetArcCapacities(arc, capacities[arc] + energy,
                                                capacities[arc ^ 1] + energy, mSourceNode,
                                                mSinkNode);
               });
}

// The energy of the pair itself.
template <class Energies>
void ImageGraph::SetPixelEnergies(const Energies& inEnergies, bool inBuildLinks) {
    VisitPairs(inEnergies.Area(), inEnergies.RowStride(),
               [&](unsigned int inNode, unsigned int inNeighbor, std::ptrdiff_t inAt,
                   std::ptrdiff_t inNeighborAt, double inWeight) {
                   const float energy = inEnergies(inAt, inNeighborAt, inWeight);
                   if (inBuildLinks) {
                       mFlowGraph->AddLinkPair(inNode, inNeighbor, energy, energy);
                       return;
                   }
                   const unsigned int arc = mFlowGraph->FindArc(inNode, inNeighbor);
                   if (arc != FlowGraph::kNoArc)
                       mFlowGraph->SetArcCapacities(arc, energy, energy, mSourceNode,
                                                    mSinkNode);
               });
}

// ---- Results -------------------------------------------------------------------------

void ImageGraph::ExtractLabels(unsigned char* outLabels, int inRows, int inColumns, int inLeft,
                               int inTop, int inStride, bool inKeepDefault) const {
    if (!mSegments || mSegments->empty()) return;
    const unsigned char* const segments = mSegments->data();
    const auto last = static_cast<unsigned int>(mSegments->size() - 1);
    for (const GraphRow row : GraphRows(*this, inRows, inColumns, inLeft, inTop)) {
        const unsigned int* const nodes = mNodeImage.get() + row.mY * mColumns;
        unsigned char* const labels = outLabels + row.mAreaRow * inStride - row.mAreaX;
        for (std::ptrdiff_t x = row.mFirstX; x < row.mEndX; ++x) {
            if (inKeepDefault && nodes[x] == mDefaultNode) continue;
            // A node that the table has no entry of is on the source's side. Minus 1 is 255.
            const bool isSink = segments[std::min(nodes[x], last)] == MaxFlowSolver::kSinkTree;
            labels[x] = static_cast<unsigned char>(-(isSink & (nodes[x] <= last)));
        }
    }
}

// Most strokes change the side of few regions: segments are compared in blocks, and a region
// that did change is written by its seed and window.
void ImageGraph::UpdateLabels(unsigned char* ioLabels,
                              std::vector<unsigned char>& ioSegments) const {
    if (!mSegments || mRegions.empty()) {
        ExtractLabels(ioLabels, mRows, mColumns, mLeft, mTop, mColumns, false);
        return;
    }
    if (ioSegments.size() != mSegments->size()) {
        // The segments come last: a stop before they are whole begins here again.
        IP::FillPages(ioLabels, mPixelSourceEnergies.size(), static_cast<unsigned char>(0));
        ioSegments.clear();
        FillTable(ioSegments, mSegments->size(), MaxFlowSolver::kSourceTree);
        const std::size_t terminals = std::min<std::size_t>(kFirstRegion, mSegments->size());
        std::copy_n(mSegments->begin(), terminals, ioSegments.begin());
    }
    constexpr std::size_t kBlock = 256;  // nodes that are compared at once
    constexpr std::size_t kBlocksAtOnce = 64;
    const std::size_t count = ioSegments.size();
    for (std::size_t begin = 0; begin < count; begin += kBlock) {
        const std::size_t end = std::min(begin + kBlock, count);
        // What is done is done: a stop leaves labels and segments that fit each other.
        if (begin / kBlock % kBlocksAtOnce == 0) IP::Checkpoint(0, 0);
        if (std::equal(&ioSegments[begin], &ioSegments[begin] + (end - begin),
                       &(*mSegments)[begin]))
            continue;
        for (std::size_t node = std::max<std::size_t>(begin, kFirstRegion); node < end;
             ++node) {
            const bool wasSink = ioSegments[node] == MaxFlowSolver::kSinkTree;
            const bool isSink = (*mSegments)[node] == MaxFlowSolver::kSinkTree;
            ioSegments[node] = (*mSegments)[node];
            if (isSink != wasSink && node - kFirstRegion < mRegions.size())
                VisitRegion(static_cast<unsigned int>(node), [&](std::ptrdiff_t inIndex) {
                    ioLabels[inIndex] = isSink ? 255 : 0;
                });
        }
    }
}

// Bits in words of 32, the lowest first: node n is bit n % 32 of word n / 32.
void ImageGraph::StampBorderRegionMask(void* outMask, int inRows, int inColumns, int inLeft,
                                       int inTop, int inRowBytes, int inBitDepth,
                                       const std::uint32_t* inRegionBits) const {
    const auto stamp = [&](auto inFull) {
        using Mask = decltype(inFull);
        VisitPixels(inRows, inColumns, inLeft, inTop,
                    [&](std::int64_t inRow, std::int64_t inColumn, std::int64_t inPlace) {
                        const unsigned int node = mNodeImage[inPlace];
                        const bool isSet = (inRegionBits[node / 32] >> (node % 32)) & 1u;
                        auto* const row = reinterpret_cast<Mask*>(
                            static_cast<unsigned char*>(outMask) + inRow * inRowBytes);
                        row[inColumn] = isSet ? inFull : Mask{0};
                    });
    };
    switch (inBitDepth) {
        case 8:
            return stamp(static_cast<unsigned char>(255));
        case 16:
            return stamp(static_cast<unsigned short>(32767));
        case 32:
            return stamp(1.0f);
        default:
            AssertWithMessage("ImageGraph::StampBorderRegionMask",
                              "WARNING - unexpected bitdepth");
    }
}

// ---- Queries -------------------------------------------------------------------------

// Calls `inVisit(capacity)` for the arcs to other regions or pixels, the newest first.
template <class Visit>
void ImageGraph::VisitLinks(unsigned int inNode, Visit inVisit) const {
    if (!mFlowGraph || inNode >= mFlowGraph->mNodeCount) return;
    mFlowGraph->VisitArcs(inNode, [&](const FlowGraph::ArcState& inArc) {
        if (inArc.mHead != mSourceNode && inArc.mHead != mSinkNode)
            inVisit(double{inArc.mCapacity});
    });
}

int ImageGraph::GetLinkCount(unsigned int inNode) const {
    int count = 0;
    VisitLinks(inNode, [&](double) { ++count; });
    return count;
}

double ImageGraph::GetLinkCapacity(unsigned int inNode, int inPosition) const {
    double capacity = 0;
    int position = 0;
    VisitLinks(inNode, [&](double inCapacity) {
        if (position++ == inPosition) capacity = inCapacity;
    });
    return capacity;
}

double ImageGraph::GetLargestLinkCapacity(unsigned int inNode) const {
    double largest = std::numeric_limits<double>::lowest();
    VisitLinks(inNode, [&](double inCapacity) { largest = std::max(largest, inCapacity); });
    return largest;
}

double ImageGraph::GetSmallestLinkCapacity(unsigned int inNode) const {
    double smallest = std::numeric_limits<double>::max();
    VisitLinks(inNode, [&](double inCapacity) { smallest = std::min(smallest, inCapacity); });
    return smallest;
}

double ImageGraph::GetMeanLinkCapacity(unsigned int inNode) const {
    double sum = 0;
    VisitLinks(inNode, [&](double inCapacity) { sum += inCapacity; });
    const int count = GetLinkCount(inNode);
    return count == 0 ? 0 : sum / count;
}

double ImageGraph::GetTerminalBalance(unsigned int inNode) const {
    if (!mFlowGraph) return 0;
    const TerminalValues capacities =
        mFlowGraph->GetTerminalCapacities(inNode, mSourceNode, mSinkNode);
    return double{capacities.mFromSource} - double{capacities.mToSink};
}
