// Tiles: the grid, activation, seams, and the energies over them.

#include "External/graphcut/MaxFlowSolver.h"
#include "Pictures.h"
#include "Support/Test.h"

namespace {

using namespace Testing;

constexpr unsigned short kNeighborhoods[] = {4, 8, 20};
constexpr GraphRect kBounds{10, 20, 27, 45};  // 17 rows, 25 columns

template <class T>
unsigned int SetEnergies(TiledImageGraph& ioTiles, const Picture<T>& inPicture, int inLeft,
                         int inTop, int inColumns, int inRows, double inScale = 500) {
    unsigned int links = 0;
    ioTiles.BuildLinksAndSetNeighborEnergies(
        inPicture.Plane(0) ? static_cast<const T*>(inPicture.Plane(0)) +
                                 inPicture.At(inLeft - kBounds.mLeft, inTop - kBounds.mTop)
                           : nullptr,
        nullptr, nullptr, nullptr, inRows, inColumns, inLeft, inTop,
        inPicture.mStride * int(sizeof(T)), 1, inPicture.BitDepth(), &links, inScale,
        16.0 / 255, 0.5, true);
    return links;
}

unsigned int SetAllEnergies(TiledImageGraph& ioTiles, const Picture<unsigned char>& inPicture,
                            double inScale = 500) {
    return SetEnergies(ioTiles, inPicture, 20, 10, 25, 17, inScale);
}

void ActivateAll(TiledImageGraph& ioTiles) {
    for (int i = 0; i < ioTiles.mGrid.mTileCount; ++i)
        ioTiles.ActivateTile(i);
    ioTiles.AddPixelNodes();
}

// ---- The grid ------------------------------------------------------------------------

TEST(TileGrid, EveryPixelIsFoundInTheTileThatHoldsItAndNoOtherIs) {
    const TiledImageGraph tiles(kBounds, GraphRect{0, 0, 5, 7}, 8);
    for (int y = 8; y < 30; ++y)
        for (int x = 18; x < 48; ++x) {
            const int index = tiles.mGrid.FindTile(x, y);
            if (y < 10 || y >= 27 || x < 20 || x >= 45) {
                EXPECT_EQ(index, -1);
                continue;
            }
            const TileRecord& tile = tiles.mGrid.mTiles.at(std::size_t(index));
            EXPECT_TRUE(y >= tile.top && y < tile.bottom && x >= tile.left && x < tile.right);
        }
}

TEST(TileGrid, EmptyBoundsHaveNoTiles) {
    const TiledImageGraph tiles(GraphRect{0, 0, 0, 9}, 4, 4);
    EXPECT_EQ(tiles.mGrid.mTileCount, 0);
    EXPECT_EQ(tiles.mTileGraphs, nullptr);
    EXPECT_EQ(tiles.GetNodeAt(0, 0), nullptr);
}

TEST(TileGrid, BadTileSizesAndNeighbourhoodsBreakTheContract) {
    const RecordedReports reports;
    EXPECT_ANY_THROW(TiledImageGraph(kBounds, 0, 8));
    EXPECT_ANY_THROW(TiledImageGraph(kBounds, GraphRect{0, 0, 4, -1}, 8));
    EXPECT_ANY_THROW(TiledImageGraph(kBounds, 4, 6));
    EXPECT_EQ(reports.Contracts().size(), 3u);
}

// ---- Activation ----------------------------------------------------------------------

TEST(TileActivation, TilesHaveNodesOnlyOnceActiveAndNodesWereAdded) {
    TiledImageGraph tiles(kBounds, 8, 8);
    EXPECT_EQ(tiles.GetNodeAt(21, 11), nullptr);
    tiles.SetForegroundPixel(21, 11);
    EXPECT_EQ(tiles.mFlowGraph->mNodeCount, 2u);
    tiles.ActivateTile(11);
    tiles.ActivateTile(0);
    tiles.ActivateTile(0);
    tiles.ActivateTile(-1);
    tiles.ActivateTile(12);
    EXPECT_EQ(tiles.mActiveTiles, (std::list<int>{11, 0}));
    ASSERT_NE(tiles.GetNodeAt(21, 11), nullptr);
    EXPECT_EQ(*tiles.GetNodeAt(21, 11), tiles.mDefaultNode);
    tiles.AddPixelNodes();  // in order of the index: tile 0 first
    EXPECT_EQ(*tiles.GetNodeAt(20, 10), 2u);
    EXPECT_EQ(*tiles.GetNodeAt(44, 26), 66u);
    EXPECT_EQ(tiles.mFlowGraph->mNodeCount, 2u + 64 + 1);
}

TEST(TileActivation, StrokesGiveAPixelItsNode) {
    TiledImageGraph tiles(kBounds, 8, 8);
    tiles.ActivateTile(0);
    tiles.SetForegroundPixel(22, 12);
    tiles.SetBackgroundPixel(23, 12);
    tiles.SetForegroundPixel(0, 0);
    const unsigned int foreground = *tiles.GetNodeAt(22, 12);
    const unsigned int background = *tiles.GetNodeAt(23, 12);
    EXPECT_EQ(foreground, 2u);
    EXPECT_EQ(background, 3u);
    const float hard = float(double(std::numeric_limits<float>::max()) / 2);
    EXPECT_EQ(tiles.mFlowGraph->GetArc(foreground, 1)->mCapacity, hard);
    EXPECT_EQ(tiles.mFlowGraph->GetArc(0, foreground)->mCapacity, 0.0f);
    EXPECT_EQ(tiles.mFlowGraph->GetArc(0, background)->mCapacity, hard);
    tiles.SetBackgroundPixel(22, 12);
    EXPECT_EQ(*tiles.GetNodeAt(22, 12), foreground);
    EXPECT_EQ(tiles.mFlowGraph->GetArc(0, foreground)->mCapacity, hard);
}

// ---- Energies and seams --------------------------------------------------------------

// The links by the positions of their pixels.
using Links = std::map<std::pair<int, int>, std::pair<float, float>>;

template <class NodeAt>
Links LinksOf(const FlowGraph& inGraph, NodeAt inNodeAt) {
    Links links;
    for (int p = 0; p < 25 * 17; ++p)
        for (int q = 0; q < 25 * 17; ++q) {
            const unsigned int u = inNodeAt(20 + p % 25, 10 + p / 25);
            const unsigned int v = inNodeAt(20 + q % 25, 10 + q / 25);
            if (const auto arc = u > 1 && v > 1 ? inGraph.GetArc(u, v) : std::nullopt)
                links[{p, q}] = {arc->mCapacity, arc->mResidual};
        }
    return links;
}

Links LinksOf(const TiledImageGraph& inTiles) {
    return LinksOf(*inTiles.mFlowGraph, [&](int inX, int inY) {
        const unsigned int* const node = inTiles.GetNodeAt(inX, inY);
        return node ? *node : 0;
    });
}

TEST(TileSeams, TiledLinksAreThoseOfOneGraphOverAll) {
    const auto picture = MakePicture<unsigned char>(25, 17, 1, 9, 2);
    for (const unsigned short neighborhood : kNeighborhoods) {
        ImageGraph whole;
        whole.Initialize(kBounds, nullptr, neighborhood, nullptr, 0, 1);
        whole.AddPixelNodes(17, 25);
        SetEnergies(whole, picture, true);
        TiledImageGraph tiles(kBounds, GraphRect{0, 0, 5, 4}, neighborhood);
        ActivateAll(tiles);
        const unsigned int links = SetAllEnergies(tiles, picture);
        EXPECT_EQ(links, whole.mFlowGraph->mLinkPairs);
        EXPECT_EQ(LinksOf(tiles), LinksOf(*whole.mFlowGraph, [&](int inX, int inY) {
                      return whole.mNodeImage[std::size_t((inY - 10) * 25 + inX - 20)];
                  }));
    }
}

TEST(TileSeams, TileActivatedLaterGetsWhatWasMissing) {
    const auto picture = MakePicture<unsigned char>(25, 17, 1, 9);
    TiledImageGraph tiles(kBounds, 9, 8), all(kBounds, 9, 8);
    ActivateAll(all);
    const unsigned int total = SetAllEnergies(all, picture);
    unsigned int sum = 0;
    for (int i = tiles.mGrid.mTileCount; i-- > 0;) {
        tiles.ActivateTile(i);
        ImageGraph& tile = tiles.mTileGraphs[i];
        tile.AddPixelNodes(tile.mRows, tile.mColumns);
        sum += SetAllEnergies(tiles, picture);
    }
    EXPECT_EQ(sum, total);
    EXPECT_EQ(LinksOf(tiles), LinksOf(all));
}

TEST(TileSeams, PartOfTheAreaLinksItsPixelsAlsoToTheOutside) {
    const auto picture = MakePicture<unsigned char>(25, 17, 1, 9);
    TiledImageGraph tiles(kBounds, 9, 4);
    ActivateAll(tiles);
    EXPECT_EQ(SetEnergies(tiles, picture, 30, 15, 2, 1), 4u);
    EXPECT_EQ(SetEnergies(tiles, picture, 20, 10, 1, 1), 0u);
}

TEST(TileSeams, SolvedDynamicTilesAreUpdated) {
    const auto picture = MakePicture<unsigned char>(25, 17, 1, 9);
    TiledImageGraph tiles(kBounds, 9, 8);
    tiles.mFlowGraph->mDynamic = tiles.mFlowGraph->mPersistent = true;
    ActivateAll(tiles);
    tiles.AddPixelLinks();  // not across the seams
    const Links links = LinksOf(tiles);
    EXPECT_TRUE(links.contains({7, 8}) && !links.contains({8, 9}));
    SetAllEnergies(tiles, picture);
    tiles.SetForegroundPixel(22, 12);
    tiles.SetBackgroundPixel(40, 22);
    RunMaxFlow(*tiles.mFlowGraph, 0, 1, *tiles.mSegments, -1.0, nullptr);
    const float flow = tiles.mFlowGraph->GetArc(0, *tiles.GetNodeAt(40, 22))->mCapacity -
                       tiles.mFlowGraph->GetArc(0, *tiles.GetNodeAt(40, 22))->mResidual;
    EXPECT_GE(flow, 0.0f);
    SetAllEnergies(tiles, picture, 2);
    RunMaxFlow(*tiles.mFlowGraph, 0, 1, *tiles.mSegments, -1.0, nullptr);
    unsigned char labels[2] = {};
    tiles.GetTile(22, 12)->ExtractLabels(labels, 1, 1, 22, 12, 1, false);
    tiles.GetTile(40, 22)->ExtractLabels(labels + 1, 1, 1, 40, 22, 1, false);
    EXPECT_EQ(labels[0], 255);
    EXPECT_EQ(labels[1], 0);
}

TEST(TileSeams, UnknownFormatsAreReported) {
    const RecordedReports reports(RecordedReports::Later::kShow);
    TiledImageGraph tiles(kBounds, 9, 8);
    const auto run = [&](int inPlanes, int inDepth) {
        tiles.BuildLinksAndSetNeighborEnergies(nullptr, nullptr, nullptr, nullptr, 1, 1, 20, 10,
                                               4, inPlanes, inDepth, nullptr, 1, 1, 1, true);
    };
    for (const int depth : {8, 16, 32})
        run(0, depth);
    run(3, 9);
    ASSERT_EQ(reports.Asserts().size(), 4u);
    for (const auto& report : reports.Asserts())
        EXPECT_EQ(report.mFunction, "TiledImageGraph::BuildLinksAndSetNeighborEnergies");
}

// ---- Copies --------------------------------------------------------------------------

TEST(TileCopies, ShareGraphAndTilesAndTheLastOneFreesThem) {
    auto first = std::make_unique<TiledImageGraph>(kBounds, 9, 8);
    first->ActivateTile(0);
    TiledImageGraph second = *first;
    EXPECT_EQ(second.mFlowGraph, first->mFlowGraph);
    EXPECT_EQ(second.mActiveTiles, (std::list<int>{0}));
    first->ActivateTile(1);
    EXPECT_EQ(second.mActiveTiles, (std::list<int>{0}));
    first->AddPixelNodes();
    EXPECT_EQ(second.GetNodeAt(21, 11), first->GetNodeAt(21, 11));
    const unsigned int node = *second.GetNodeAt(30, 11);
    first.reset();
    second.ActivateTile(1);  // already has its nodes, joins this copy's list
    EXPECT_EQ(second.mActiveTiles, (std::list<int>{0, 1}));
    EXPECT_EQ(*second.GetNodeAt(30, 11), node);
    second.SetForegroundPixel(21, 11);
    RunMaxFlow(*second.mFlowGraph, 0, 1, *second.mSegments, -1.0, nullptr);
}

}  // namespace
