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
#include <cmath>
#include <limits>
#include <memory>
#include <utility>

#include "External/graphcut/ImageGraphParts.h"
#include "External/graphcut/LinkEnergies.h"
#include "External/graphcut/MWSegment.h"
#include "External/graphcut/MaxFlowSolver.h"
#include "External/graphcut/SquaredRadius.h"
#include "TVK/ContractCheck.h"

using graphcut::NeighborOffset;

// ---- Neighbourhoods ------------------------------------------------------------------

namespace graphcut {

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
    std::fill_n(mNodeImage.get(), pixels, mDefaultNode);
    mNeighborhood = inNeighborhood;
    mValid = true;
}

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
    MWSegment(inPlane0, inPlane1, inPlane2, inPlane3, inRows, inColumns, inLeft, inTop,
              mNodeImage.get(), inRowStride, mColumns, inPlanes, inBitDepth, inTolerance,
              inRadius, &mRegionCount);

    mFlowGraph->AddNodesWithTerminals(mRegionCount, mSourceNode, mSinkNode);

    // One entry for each pixel of the node image, by which they are found.
    const std::size_t pixels =
        static_cast<std::size_t>(mRows) * static_cast<unsigned>(mColumns);
    mPixelSourceEnergies.resize(pixels, 0.0f);
    mPixelSinkEnergies.resize(pixels, 0.0f);
    mMaxRegionPixels = SquareOrMost(2 * std::int64_t{inRadius} + 1);
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
    mRows = 0;
    mColumns = 0;
    mTerminalEnergiesSet = false;
    mLinksBuilt = false;
    mValid = false;
    mBiasTowardSource = true;
}

// ---- Walking an area -----------------------------------------------------------------

namespace {

// A neighbour as seen from a pixel's place in the node image and among the samples.
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

// Columns that an offset may lead over the sides from.
constexpr std::ptrdiff_t kMostOffset = 2;

}  // namespace

// Calls `inVisit(node, neighbour's node, place of the sample, of the neighbour's, weight)`
// for the pairs of pixels that have a node each, neither of them the other's, from the
// pixels of the area.
template <class Visit>
void ImageGraph::VisitPairs(const graphcut::PictureArea& inArea, std::ptrdiff_t inSampleStride,
                            Visit inVisit) const {
    const auto offsets = graphcut::NeighborOffsets(mNeighborhood);
    const std::ptrdiff_t columns = mColumns;
    const unsigned int noNode = mDefaultNode;
    VisitRows(
        inArea.mRows, inArea.mColumns, inArea.mLeft, inArea.mTop, [&](const GraphRow& inRow) {
            const RowOffsets usable(offsets, inRow.mY, columns, inSampleStride);
            const unsigned int* const nodes = mNodeImage.get() + inRow.mY * columns;
            const std::ptrdiff_t samples = inRow.mAreaRow * inSampleStride - inRow.mAreaX;

            const auto visitColumns = [&](std::ptrdiff_t inEnd, std::ptrdiff_t& ioX,
                                          auto inIsInterior) {
                for (; ioX < inEnd; ++ioX) {
                    const unsigned int node = nodes[ioX];
                    if (node == noNode) continue;
                    for (int i = 0; i < usable.mCount; ++i) {
                        const PairOffset& offset = usable.mOffsets[i];
                        if constexpr (!inIsInterior) {
                            const std::ptrdiff_t x = ioX + offset.mOffset.mX;
                            if (x < 0 || x >= columns) continue;
                        }
                        const unsigned int neighbor = nodes[ioX + offset.mNodes];
                        if (neighbor == node || neighbor == noNode) continue;
                        inVisit(node, neighbor, samples + ioX, samples + ioX + offset.mSamples,
                                offset.mOffset.mWeight);
                    }
                }
            };
            std::ptrdiff_t x = inRow.mFirstX;
            visitColumns(std::min(inRow.mEndX, kMostOffset), x, std::false_type{});
            visitColumns(std::min(inRow.mEndX, columns - kMostOffset), x, std::true_type{});
            visitColumns(inRow.mEndX, x, std::false_type{});
        });
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
// are met, with the sum of its pairs. A link is looked for at its higher-numbered region
// among that region's lower-numbered neighbours, which are few, and only where the last
// pair was not one of its own.
class RegionLinks {
public:
    explicit RegionLinks(std::size_t inNodeCount) : mNewest(inNodeCount, kNone) {
        mLinks.reserve(inNodeCount * kUsualLinksOfNode);
        mOlder.reserve(inNodeCount * kUsualLinksOfNode);
    }

    void Add(unsigned int inNode, unsigned int inNeighbor, float inEnergy) {
        if (inNode != mLastNode || inNeighbor != mLastNeighbor) {
            mLast = Find(std::max(inNode, inNeighbor), std::min(inNode, inNeighbor));
            mLastNode = inNode;
            mLastNeighbor = inNeighbor;
        }
        mLinks[mLast].mCapacity += inEnergy;
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
    unsigned int mLastNode = 0;
    unsigned int mLastNeighbor = 0;  // nodes 0 and 0 are no pair
    unsigned int mLast = 0;
};

}  // namespace

// The links of a graph that has none: they are found in a small table of their own and
// added when their sums are known.
template <class Energies>
void ImageGraph::BuildRegionLinks(const Energies& inEnergies) {
    RegionLinks links(mFlowGraph->mNodeCount);
    VisitPairs(inEnergies.Area(), inEnergies.RowStride(),
               [&](unsigned int inNode, unsigned int inNeighbor, std::ptrdiff_t inAt,
                   std::ptrdiff_t inNeighborAt, double inWeight) {
                   links.Add(inNode, inNeighbor, inEnergies(inAt, inNeighborAt, inWeight));
               });
    mFlowGraph->AddLinks(links.Links());
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
    const std::size_t count = mSegments->size();
    const unsigned int* const nodes = mNodeImage.get();
    const std::ptrdiff_t stride = inStride;
    VisitPixels(inRows, inColumns, inLeft, inTop,
                [=, this](std::int64_t inRow, std::int64_t inColumn, std::int64_t inPlace) {
                    const unsigned int node = nodes[inPlace];
                    if (inKeepDefault && node == mDefaultNode) return;
                    const bool inside =
                        node < count && segments[node] == MaxFlowSolver::kSinkTree;
                    outLabels[inRow * stride + inColumn] = inside ? 255 : 0;
                });
}

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
