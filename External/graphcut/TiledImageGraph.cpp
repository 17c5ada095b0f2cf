// One flow graph over an image in tiles.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>

#include "External/graphcut/ImageGraphParts.h"
#include "External/graphcut/LinkEnergies.h"
#include "External/graphcut/imgraphcut.h"
#include "TVK/ContractCheck.h"

using graphcut::NeighborOffset;

// What all copies of a graph have in common: each tile writes its nodes and arcs into one
// flow graph, under one source and one sink.
struct TiledImageGraph::Shared {
    FlowGraph mFlowGraph;
    std::vector<unsigned char> mSegments;
    std::unique_ptr<ImageGraph[]> mTileGraphs;
};

namespace {

// The energy between a pixel and its neighbour at an offset. Rows and columns are those of
// the planes, not of the image: the planes may show a part of it.
template <class Energies>
float EnergyOf(const Energies& inEnergies, std::int64_t inRow, std::int64_t inColumn,
               const NeighborOffset& inOffset) {
    return inEnergies(inEnergies.At(inColumn, inRow),
                      inEnergies.At(inColumn + inOffset.mX, inRow + inOffset.mY),
                      inOffset.mWeight);
}

struct TiledImageGraphReports {
    static constexpr const char* kReportedName =
        "TiledImageGraph::BuildLinksAndSetNeighborEnergies";
};

// In 64 bits: a side may be as long as the range of 32.
std::int64_t HeightOf(const GraphRect& inRect) {
    return std::int64_t{inRect.mBottom} - inRect.mTop;
}
std::int64_t WidthOf(const GraphRect& inRect) {
    return std::int64_t{inRect.mRight} - inRect.mLeft;
}

std::int64_t TilesAlong(std::int64_t inExtent, std::int64_t inTileExtent) {
    return inExtent <= 0 ? 0 : (inExtent + inTileExtent - 1) / inTileExtent;
}

// Tiles row by row from the upper left; those of the last row and column are cut off at the
// bounds.
TileGrid MakeGrid(const GraphRect& inBounds, const GraphRect& inTileBounds) {
    const std::int64_t height = HeightOf(inTileBounds);
    const std::int64_t width = WidthOf(inTileBounds);
    const std::int64_t columns = TilesAlong(WidthOf(inBounds), width);
    const std::int64_t rows = TilesAlong(HeightOf(inBounds), height);
    if (columns != 0 && rows > std::numeric_limits<std::int32_t>::max() / columns)
        // What a vector of so many tiles would say; their number must be an int.
        throw std::length_error("vector<T> too long");

    TileGrid grid;
    grid.mBounds = inBounds;
    grid.mTileBounds = inTileBounds;
    grid.mTileCount = static_cast<std::int32_t>(rows * columns);
    grid.mTiles.reserve(static_cast<std::size_t>(grid.mTileCount));
    for (std::int32_t index = 0; index < grid.mTileCount; ++index) {
        const std::int64_t top = inBounds.mTop + index / columns * height;
        const std::int64_t left = inBounds.mLeft + index % columns * width;
        const std::int64_t bottom = std::min<std::int64_t>(top + height, inBounds.mBottom);
        const std::int64_t right = std::min<std::int64_t>(left + width, inBounds.mRight);
        grid.mTiles.push_back({static_cast<std::int32_t>(top), static_cast<std::int32_t>(left),
                               static_cast<std::int32_t>(bottom),
                               static_cast<std::int32_t>(right), index});
    }
    return grid;
}

}  // namespace

// The tile of a pixel, -1 beside the bounds.
int TileGrid::FindTile(int inX, int inY) const {
    if (inY < mBounds.mTop || inY >= mBounds.mBottom) return -1;
    if (inX < mBounds.mLeft || inX >= mBounds.mRight) return -1;
    const std::int64_t columns = TilesAlong(WidthOf(mBounds), WidthOf(mTileBounds));
    const std::int64_t row = (std::int64_t{inY} - mBounds.mTop) / HeightOf(mTileBounds);
    const std::int64_t column = (std::int64_t{inX} - mBounds.mLeft) / WidthOf(mTileBounds);
    return static_cast<int>(row * columns + column);
}

TiledImageGraph::TiledImageGraph(const GraphRect& inBounds, int inTileSize,
                                 unsigned short inNeighborhood)
    : TiledImageGraph(inBounds, GraphRect{0, 0, inTileSize, inTileSize}, inNeighborhood) {}

TiledImageGraph::TiledImageGraph(const GraphRect& inBounds, const GraphRect& inTileBounds,
                                 unsigned short inNeighborhood)
    : mNeighborhood(inNeighborhood) {
    ContractCheck(HeightOf(inTileBounds) > 0 && WidthOf(inTileBounds) > 0);
    ContractCheck(!graphcut::NeighborOffsets(inNeighborhood).empty());
    mGrid = MakeGrid(inBounds, inTileBounds);
    mShared = TVK::MakeObject<Shared>();
    mFlowGraph = &mShared->mFlowGraph;
    mSegments = &mShared->mSegments;
    // The first two nodes. The source stands for "no node yet" in the node images as well, so
    // that it is no pixel's.
    mSourceNode = mFlowGraph->AddNode();
    mSinkNode = mFlowGraph->AddNode();
    mDefaultNode = mSourceNode;
    if (mGrid.mTileCount > 0)
        mShared->mTileGraphs.reset(new ImageGraph[static_cast<std::size_t>(mGrid.mTileCount)]);
    mTileGraphs = mShared->mTileGraphs.get();
}

TiledImageGraph::TiledImageGraph(const TiledImageGraph& inOther) = default;
TiledImageGraph& TiledImageGraph::operator=(const TiledImageGraph& inOther) = default;
TiledImageGraph::~TiledImageGraph() = default;

void TiledImageGraph::ActivateTile(int inIndex) {
    if (inIndex < 0 || inIndex >= mGrid.mTileCount) return;
    const TileRecord& tile = mGrid.mTiles[static_cast<std::size_t>(inIndex)];
    ImageGraph& graph = mTileGraphs[inIndex];
    if (!graph.mValid) {
        graph.Initialize(tile.bottom - tile.top, tile.right - tile.left, mFlowGraph,
                         mNeighborhood, mSegments, mSourceNode, mSinkNode);
        graph.mTop = tile.top;
        graph.mLeft = tile.left;
        if (!graph.mValid) return;
    } else if (std::find(mActiveTiles.begin(), mActiveTiles.end(), inIndex) !=
               mActiveTiles.end()) {
        return;
    }
    mActiveTiles.push_back(inIndex);
}

void TiledImageGraph::AddPixelNodes() {
    for (int i = 0; i < mGrid.mTileCount; ++i)
        if (mTileGraphs[i].mValid)
            mTileGraphs[i].AddPixelNodes(mTileGraphs[i].mRows, mTileGraphs[i].mColumns);
}

void TiledImageGraph::AddPixelLinks() {
    for (int i = 0; i < mGrid.mTileCount; ++i)
        if (mTileGraphs[i].mValid)
            mTileGraphs[i].AddPixelLinks(mTileGraphs[i].mRows, mTileGraphs[i].mColumns);
}

ImageGraph* TiledImageGraph::GetTile(int inX, int inY) const {
    const int index = mGrid.FindTile(inX, inY);
    return index < 0 ? nullptr : &mTileGraphs[index];
}

// The entry of a pixel in its tile's node image, which has a row for each of the tile's rows.
unsigned int* TiledImageGraph::GetNodeAt(int inX, int inY) const {
    const ImageGraph* const tile = GetTile(inX, inY);
    if (!tile || !tile->mValid) return nullptr;
    const std::ptrdiff_t row = std::ptrdiff_t{inY} - tile->mTop;
    return &tile->mNodeImage[row * tile->mColumns + inX - tile->mLeft];
}

void TiledImageGraph::SetForegroundPixel(int inX, int inY) { BindPixel(inX, inY, true); }
void TiledImageGraph::SetBackgroundPixel(int inX, int inY) { BindPixel(inX, inY, false); }

// A pixel of a stroke: made a node, if it is none, and tied to one side by a capacity that no
// cut can afford.
void TiledImageGraph::BindPixel(int inX, int inY, bool inToForeground) {
    unsigned int* const node = GetNodeAt(inX, inY);
    if (!node) return;
    if (*node == mDefaultNode) *node = mFlowGraph->AddNodeWithTerminals(mSourceNode, mSinkNode);
    const float hard = graphcut::HardCapacity(GetTile(inX, inY)->mMaxRegionPixels);
    mFlowGraph->SetTerminalCapacities(*node, inToForeground ? 0 : hard,
                                      inToForeground ? hard : 0, mSourceNode, mSinkNode);
}

void TiledImageGraph::BuildLinksAndSetNeighborEnergies(
    const void* inPlane0, const void* inPlane1, const void* inPlane2, const void* inPlane3,
    int inRows, int inColumns, int inLeft, int inTop, int inRowStride, int inPlanes,
    int inBitDepth, unsigned int* ioLinkCount, double inScale, double inSigma,
    double inExponent, bool inBuildLinks) {
    const graphcut::PictureArea area{{inPlane0, inPlane1, inPlane2, inPlane3},
                                     inRows,
                                     inColumns,
                                     inLeft,
                                     inTop,
                                     inRowStride};
    graphcut::VisitPairEnergies<TiledImageGraphReports>(
        area, inPlanes, inBitDepth, {inScale, inSigma, inExponent},
        [&](const auto& inEnergies) {
            for (const int index : mActiveTiles)
                SetTileEnergies(mGrid.mTiles[static_cast<std::size_t>(index)], inEnergies,
                                ioLinkCount, inBuildLinks);
        });
}

// The pairs of one tile's pixels with their neighbours, of which some lie in other tiles. Only
// pairs of pixels that are both nodes count.
template <class Energies>
void TiledImageGraph::SetTileEnergies(const TileRecord& inTile, const Energies& inEnergies,
                                      unsigned int* ioLinkCount, bool inBuildLinks) {
    const graphcut::PictureArea& area = inEnergies.Area();
    const std::int64_t areaBottom = std::int64_t{area.mTop} + area.mRows;
    const std::int64_t areaRight = std::int64_t{area.mLeft} + area.mColumns;
    const int top = std::max(inTile.top, area.mTop);
    const int left = std::max(inTile.left, area.mLeft);
    const int bottom = static_cast<int>(std::min<std::int64_t>(inTile.bottom, areaBottom));
    const int right = static_cast<int>(std::min<std::int64_t>(inTile.right, areaRight));
    const auto offsets = graphcut::NeighborOffsets(mNeighborhood);

    for (int y = top; y < bottom; ++y)
        for (int x = left; x < right; ++x) {
            const unsigned int node = *GetNodeAt(x, y);
            if (node == mDefaultNode) continue;
            for (const NeighborOffset& offset : offsets) {
                const unsigned int* const neighbor = GetNodeAt(x + offset.mX, y + offset.mY);
                if (!neighbor || *neighbor == mDefaultNode) continue;
                const float energy = EnergyOf(inEnergies, std::int64_t{y} - area.mTop,
                                              std::int64_t{x} - area.mLeft, offset);
                SetPairEnergy(node, *neighbor, energy, ioLinkCount, inBuildLinks);
            }
        }
}

// Both directions at once: an energy is the same from either side.
void TiledImageGraph::SetPairEnergy(unsigned int inNode, unsigned int inNeighbor,
                                    float inEnergy, unsigned int* ioLinkCount,
                                    bool inBuildLinks) {
    const unsigned int arc = mFlowGraph->FindArc(inNode, inNeighbor);
    if (arc == FlowGraph::kNoArc) {
        if (!inBuildLinks) return;
        mFlowGraph->AddLinkPair(inNode, inNeighbor, inEnergy, inEnergy);
        if (ioLinkCount) ++*ioLinkCount;
        return;
    }
    mFlowGraph->SetArcCapacities(arc, inEnergy, inEnergy, mSourceNode, mSinkNode);
}
