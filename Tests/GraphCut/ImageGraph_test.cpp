// Nodes and links of a picture, compared by bits with the literal form.

#include "External/graphcut/imgraphcut.h"

#include "Pictures.h"
#include "PlainTwins.h"
#include "Support/Test.h"
#include "TVK/MemoryRecycler.h"

namespace {

using namespace Testing;

constexpr unsigned short kNeighborhoods[] = {4, 8, 20};

// ---- Building ------------------------------------------------------------------------

TEST(ImageGraph, ASecondAreaStartsWithNothingOfTheFirst) {
    const auto picture = MakePicture<unsigned char>(20, 16, 3, 5);
    ImageGraph graph;
    BuildRegions(graph, picture);
    std::fill(graph.mPixelSourceEnergies.begin(), graph.mPixelSourceEnergies.end(), 7.0f);
    graph.Initialize(16, 20, nullptr, 8, nullptr, 0, 1);
    EXPECT_FALSE(graph.mRegionMode);
    EXPECT_EQ(graph.mRegionCount, 0u);
    EXPECT_TRUE(graph.mPixelSourceEnergies.empty());
    EXPECT_TRUE(graph.mPixelSinkEnergies.empty());
}

TEST(ImageGraph, OwnGraphHasSourceAndSinkFirstAndIsKept) {
    ImageGraph graph;
    graph.Initialize({10, 20, 13, 24}, nullptr, 4, nullptr, 7, 8);
    EXPECT_EQ(graph.mRows, 3);
    EXPECT_EQ(graph.mColumns, 4);
    EXPECT_EQ(graph.mTop, 10);
    EXPECT_EQ(graph.mLeft, 20);
    EXPECT_EQ(graph.mSourceNode, 0u);
    EXPECT_EQ(graph.mSinkNode, 1u);
    EXPECT_EQ(graph.mFlowGraph->mNodeCount, 2u);
    EXPECT_TRUE(graph.mFlowGraph->mDynamic && graph.mFlowGraph->mPersistent);
    EXPECT_TRUE(graph.mValid && graph.mOwnsFlowGraph);
    for (int i = 0; i < 12; ++i)
        EXPECT_EQ(graph.mNodeImage[std::size_t(i)], 0u);
}

TEST(ImageGraph, AreasWithoutPixelsStayEmpty) {
    ImageGraph graph;
    for (const GraphRect& bounds : {GraphRect{0, 0, 0, 5}, GraphRect{0, 0, 5, 0},
                                    GraphRect{5, 5, 4, 9}, GraphRect{0, 0, 65536, 65536},
                                    GraphRect{0, 0, 65536, 65537}, GraphRect{9, 9, 4, 4}}) {
        graph.Initialize(bounds, nullptr, 8, nullptr, 0, 1);
        EXPECT_EQ(graph.mNodeImage, nullptr);
        EXPECT_EQ(graph.mFlowGraph, nullptr);
        EXPECT_FALSE(graph.mValid);
    }
}

TEST(ImageGraph, RegionNodesAreTheLabelsWithTerminalLinksSinkFirst) {
    const auto picture = MakePicture<unsigned char>(40, 30, 3, 1);
    ImageGraph graph;
    BuildRegions(graph, picture);
    EXPECT_EQ(std::vector<unsigned int>(&graph.mNodeImage[0], &graph.mNodeImage[0] + 1200),
              PlainSegment(picture, 10.0f / 255.0f, 5));
    EXPECT_EQ(graph.mFlowGraph->mNodeCount, graph.mRegionCount + 2);
    EXPECT_EQ(graph.mMaxRegionPixels, 121);
    EXPECT_EQ(graph.mPixelSinkEnergies, ImageGraph::PixelEnergies(1200, 0.0f));
    const auto arcs = ArcsOf(*graph.mFlowGraph, 2);
    ASSERT_EQ(arcs.size(), 2u);
    EXPECT_EQ(arcs[0].mHead, 1u);
    EXPECT_EQ(arcs[1].mHead, 0u);
}

// ---- Link energies, against the literal form -----------------------------------------

template <class T>
class LinkEnergies : public testing::Test {};
using SampleTypes = testing::Types<unsigned char, unsigned short, float>;
TYPED_TEST_SUITE(LinkEnergies, SampleTypes);

TYPED_TEST(LinkEnergies, RegionLinksHaveTheListsAndBitsOfTheLiteralForm) {
    for (const int planes : {1, 3, 4})
        for (const unsigned short neighborhood : kNeighborhoods)
            for (const auto& size : {std::pair{41, 29}, {1, 17}, {17, 1}, {2, 2}, {3, 50}}) {
                SCOPED_TRACE(testing::Message()
                             << planes << " planes, " << neighborhood << " neighbours, "
                             << size.first << "x" << size.second);
                const auto picture =
                    MakePicture<TypeParam>(size.first, size.second, planes, 4, 3);
                ImageGraph graph, plain;
                BuildRegions(graph, picture, neighborhood);
                BuildRegions(plain, picture, neighborhood);
                SetEnergies(graph, picture, true);
                PlainNeighborEnergies(plain, picture, 500, 16.0 / 255, 0.5, true);
                ExpectSameGraph(*graph.mFlowGraph, *plain.mFlowGraph);
                EXPECT_TRUE(graph.mLinksBuilt);
                // A second pass finds the links and adds to them.
                SetEnergies(graph, picture, false, 3, 0, 1.3);
                PlainNeighborEnergies(plain, picture, 3, 0, 1.3, false);
                ExpectSameGraph(*graph.mFlowGraph, *plain.mFlowGraph);
                SetEnergies(graph, picture, true, 1, 0.1, 1);
                PlainNeighborEnergies(plain, picture, 1, 0.1, 1, true);
                ExpectSameGraph(*graph.mFlowGraph, *plain.mFlowGraph);
                if (this->HasFailure()) return;
            }
}

TYPED_TEST(LinkEnergies, SolvedRegionLinksAreUpdatedAsInTheLiteralForm) {
    const auto picture = MakePicture<TypeParam>(31, 23, 3, 8);
    ImageGraph graph, plain;
    for (ImageGraph* const each : {&graph, &plain}) {
        BuildRegions(*each, picture);
        SetEnergies(*each, picture, true);
        for (unsigned int node = 2; node < each->mFlowGraph->mNodeCount; ++node)
            each->mFlowGraph->SetTerminalCapacities(node, float(node % 7), float(node % 5), 0,
                                                    1);
        RunMaxFlow(*each->mFlowGraph, 0, 1, *each->mSegments, -1.0, nullptr);
    }
    SetEnergies(graph, picture, false, 20, 0.2);
    PlainNeighborEnergies(plain, picture, 20, 0.2, 0.5, false);
    ExpectSameGraph(*graph.mFlowGraph, *plain.mFlowGraph);
}

TYPED_TEST(LinkEnergies, PixelLinksAreReplacedAsInTheLiteralForm) {
    for (const unsigned short neighborhood : kNeighborhoods) {
        const auto picture = MakePicture<TypeParam>(13, 9, 3, 2, 1);
        ImageGraph graph, plain;
        for (ImageGraph* const each : {&graph, &plain}) {
            each->Initialize({5, -3, 14, 10}, nullptr, neighborhood, nullptr, 0, 1);
            each->AddPixelNodes(9, 13);
        }
        SetEnergies(graph, picture, true);
        PlainNeighborEnergies(plain, picture, 500, 16.0 / 255, 0.5, true);
        ExpectSameGraph(*graph.mFlowGraph, *plain.mFlowGraph);
        SetEnergies(graph, picture, false, 7, 0.3, 1);
        PlainNeighborEnergies(plain, picture, 7, 0.3, 1, false);
        ExpectSameGraph(*graph.mFlowGraph, *plain.mFlowGraph);
    }
}

// ---- Laws of the energies ------------------------------------------------------------

TEST(LinkEnergyLaws, SigmaOfZeroTakesTheDifferenceAsItIs) {
    const Picture<float> two{2, 1, 2, {{0.25f, 0.75f}}};
    ImageGraph graph;
    graph.Initialize({0, 0, 1, 2}, nullptr, 8, nullptr, 0, 1);
    graph.AddPixelNodes(1, 2);
    SetEnergies(graph, two, true, 500, 0, 0.5);
    EXPECT_EQ(graph.GetLinkCapacity(2, 0), float(std::exp(-0.5) * 500));
}

// In memory that held something else before, as the recycler's does.
TEST(LinkEnergyLaws, TheLargestDifferenceOfBytesHasItsEnergy) {
    const auto recycler = TVK::MemoryRecycler::Instance();
    for (const std::size_t planes : {1u, 3u, 4u}) {
        const std::size_t bytes = (255 * 255 * planes + 1) * sizeof(double);
        auto block = recycler->AllocateBuffer(std::int64_t(bytes));
        std::memset(block.mBlock, 0, bytes);
        recycler->RecycleBuffer(block);
        Picture<unsigned char> two{2, 1, 2, {}};
        two.mPlanes.assign(planes, {0, 255});
        ImageGraph graph, plain;
        for (ImageGraph* const each : {&graph, &plain}) {
            each->Initialize({0, 0, 1, 2}, nullptr, 8, nullptr, 0, 1);
            each->AddPixelNodes(1, 2);
        }
        SetEnergies(graph, two, true, 500, 1, 0.5);
        PlainNeighborEnergies(plain, two, 500, 1, 0.5, true);
        EXPECT_GT(graph.GetLinkCapacity(2, 0), 0.0);
        ExpectSameGraph(*graph.mFlowGraph, *plain.mFlowGraph);
    }
}

TEST(LinkEnergyLaws, PixelsWithoutANodeHaveNoLinks) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const Picture<float> picture{3, 1, 3, {{0.5f, nan, 0.5f}}};
    ImageGraph graph;
    BuildRegions(graph, picture);
    SetEnergies(graph, picture, true);
    for (unsigned int node = 2; node < graph.mFlowGraph->mNodeCount; ++node) {
        EXPECT_EQ(graph.GetLinkCount(node), 0);
        EXPECT_EQ(graph.GetTerminalBalance(node), 0.0);
    }
}

TEST(LinkEnergyLaws, AreaIsClippedToTheGraph) {
    const auto picture = MakePicture<unsigned char>(20, 20, 1, 3);
    ImageGraph graph;
    graph.Initialize({4, 6, 10, 12}, nullptr, 8, nullptr, 0, 1);
    graph.AddPixelNodes(6, 6);
    graph.SetNeighborEnergies(picture.Plane(0), nullptr, nullptr, nullptr, 20, 20, 0, 0, 20, 1,
                              8, 500, 0.1, 0.5, true);
    EXPECT_EQ(graph.mFlowGraph->mLinkPairs, 6u * 5 * 2 + 5 * 5 * 2);

    // The same from the picture's part under the graph.
    ImageGraph part;
    part.Initialize({4, 6, 10, 12}, nullptr, 8, nullptr, 0, 1);
    part.AddPixelNodes(6, 6);
    const auto* const first = static_cast<const unsigned char*>(picture.Plane(0));
    part.SetNeighborEnergies(first + picture.At(6, 4), nullptr, nullptr, nullptr, 6, 6, 6, 4,
                             20, 1, 8, 500, 0.1, 0.5, true);
    ExpectSameGraph(*graph.mFlowGraph, *part.mFlowGraph);
}

// ---- Formats that there are not ------------------------------------------------------

TEST(ImageGraphFormats, UnknownFormatsAreReportedAndNothingIsDone) {
    const RecordedReports reports(RecordedReports::Later::kShow);
    ImageGraph graph;
    graph.Initialize({0, 0, 2, 2}, nullptr, 8, nullptr, 0, 1);
    graph.AddPixelNodes(2, 2);
    const float samples[4] = {};
    const auto run = [&](int inPlanes, int inBitDepth) {
        graph.SetNeighborEnergies(samples, samples, samples, samples, 2, 2, 0, 0, 8, inPlanes,
                                  inBitDepth, 1, 1, 1, true);
        EXPECT_FALSE(graph.mLinksBuilt);
        EXPECT_EQ(graph.GetLinkCount(2), 0);
    };
    for (const int depth : {8, 16, 32})
        run(2, depth);
    run(7, 24);  // the depth is looked at first
    graph.StampBorderRegionMask(nullptr, 2, 2, 0, 0, 2, 24, nullptr);
    const auto asserts = reports.Asserts();
    ASSERT_EQ(asserts.size(), 5u);
    EXPECT_EQ(asserts[0].mText.find("WARNING: Unexpected # of image planes."), 0u);
    EXPECT_EQ(asserts[0].mFunction, "ImageGraph::SetNeighborEnergies");
    EXPECT_EQ(asserts[3].mText.find("WARNING: Unexpected image bit depth."), 0u);
    for (const auto& report : asserts)
        EXPECT_EQ(report.mFile, "External/graphcut/imgraphcut.cpp");
    EXPECT_EQ(asserts[4].mText.find("WARNING - unexpected bitdepth"), 0u);
    EXPECT_EQ(asserts[4].mFunction, "ImageGraph::StampBorderRegionMask");
}

TEST(ImageGraphFormats, PlaneReportsAreHiddenOncePerDepth) {
    ImageGraph graph;
    graph.Initialize({0, 0, 1, 1}, nullptr, 8, nullptr, 0, 1);
    const RecordedReports reports(RecordedReports::Later::kHide);
    for (int round = 0; round < 2; ++round)
        for (const int depth : {8, 16, 32})
            graph.SetNeighborEnergies(nullptr, nullptr, nullptr, nullptr, 1, 1, 0, 0, 4, 2,
                                      depth, 1, 1, 1, true);
    EXPECT_EQ(reports.Asserts().size(), 3u);
}

// ---- Results -------------------------------------------------------------------------

struct SolvedStrip {
    // Four pixels in a row; the two on the right are foreground, the last has no node.
    SolvedStrip() {
        mGraph.Initialize({2, 3, 3, 7}, nullptr, 4, nullptr, 0, 1);
        mGraph.AddPixelNodes(1, 3);
        for (unsigned int node = 2; node < 5; ++node)
            mGraph.mFlowGraph->SetTerminalCapacities(node, node < 4 ? 5 : 0, node < 4 ? 0 : 5,
                                                     0, 1);
    }
    void Solve() { RunMaxFlow(*mGraph.mFlowGraph, 0, 1, *mGraph.mSegments, -1.0, nullptr); }
    ImageGraph mGraph;
};

TEST(ImageGraphResults, LabelsAreTheSinksSideInsideTheGraphsArea) {
    SolvedStrip strip;
    std::vector<unsigned char> labels(2 * 7, 9);
    strip.mGraph.ExtractLabels(labels.data(), 2, 6, 2, 2, 7, false);
    EXPECT_EQ(labels, std::vector<unsigned char>(14, 9)) << "before a solve";
    strip.Solve();
    strip.mGraph.ExtractLabels(labels.data(), 2, 6, 2, 2, 7, true);
    EXPECT_EQ(labels, (std::vector<unsigned char>{9, 0, 0, 255, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9}));
    strip.mGraph.ExtractLabels(labels.data(), 2, 6, 2, 2, 7, false);
    EXPECT_EQ(labels, (std::vector<unsigned char>{9, 0, 0, 255, 0, 9, 9, 9, 9, 9, 9, 9, 9, 9}));
}

TEST(ImageGraphResults, MasksReachAllWordsAndLeaveThePaddingOfTheirRows) {
    ImageGraph graph;
    graph.Initialize({0, 0, 3, 30}, nullptr, 4, nullptr, 0, 1);
    graph.AddPixelNodes(3, 30);  // nodes 2 to 91
    const std::uint32_t bits[3] = {1u << 2, 1u << 0 | 1u << 31, 1u << (91 - 64)};
    constexpr int kStride = 37;
    std::vector<unsigned short> mask(3 * kStride, 7);
    graph.StampBorderRegionMask(mask.data(), 3, 30, 0, 0, kStride * 2, 16, bits);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < kStride; ++x) {
            const int node = y * 30 + x + 2;
            const bool isSet = node == 2 || node == 32 || node == 63 || node == 91;
            EXPECT_EQ(mask[std::size_t(y * kStride + x)], x >= 30 ? 7
                                                          : isSet ? 32767
                                                                  : 0)
                << x << ", " << y;
        }
}

TEST(ImageGraphResults, QueriesLeaveTerminalArcsOut) {
    ImageGraph graph;
    graph.Initialize({0, 0, 1, 4}, nullptr, 4, nullptr, 0, 1);
    graph.AddPixelNodes(1, 4);
    graph.mFlowGraph->SetTerminalCapacities(3, 9, 2.5f, 0, 1);
    graph.mFlowGraph->AddLinkPair(3, 2, 4, 0);
    graph.mFlowGraph->AddLinkPair(3, 4, 1, 0);
    EXPECT_EQ(graph.GetLinkCount(3), 2);
    EXPECT_EQ(graph.GetLinkCapacity(3, 0), 1.0);
    EXPECT_EQ(graph.GetLinkCapacity(3, 1), 4.0);
    EXPECT_EQ(graph.GetLinkCapacity(3, 2), 0.0);
    EXPECT_EQ(graph.GetLargestLinkCapacity(3), 4.0);
    EXPECT_EQ(graph.GetSmallestLinkCapacity(3), 1.0);
    EXPECT_EQ(graph.GetMeanLinkCapacity(3), 2.5);
    EXPECT_EQ(graph.GetTerminalBalance(3), 6.5);
    EXPECT_EQ(graph.GetLargestLinkCapacity(5), std::numeric_limits<double>::lowest());
    EXPECT_EQ(graph.GetSmallestLinkCapacity(5), std::numeric_limits<double>::max());
    EXPECT_EQ(graph.GetMeanLinkCapacity(5), 0.0);
}

// ---- Starting over -------------------------------------------------------------------

TEST(ImageGraphLife, ResetGraphSolvesLikeANewOne) {
    const auto picture = MakePicture<unsigned char>(30, 20, 3, 6);
    const std::vector<unsigned char> foreground = NoiseBytes(600, 3);
    const std::vector<unsigned char> background = NoiseBytes(600, 4);
    const auto solve = [&](ImageGraph& ioGraph, unsigned char inThreshold) {
        SetEnergies(ioGraph, picture, true);
        ioGraph.SetTerminalEnergies(nullptr, nullptr, foreground.data(), background.data(), 0.5,
                                    kTerminalEnergyStrokesOnly, true, inThreshold, 20, 30, 0, 0,
                                    30, 30, 30, 30);
        RunMaxFlow(*ioGraph.mFlowGraph, 0, 1, *ioGraph.mSegments, -1.0, nullptr);
    };
    ImageGraph reset, fresh;
    BuildRegions(reset, picture);
    solve(reset, 200);
    reset.mTerminalEnergiesSet = true;
    reset.ResetRegionGraph();
    EXPECT_FALSE(reset.mTerminalEnergiesSet || reset.mLinksBuilt);
    EXPECT_EQ(reset.mPixelSourceEnergies, ImageGraph::PixelEnergies(600, 0.0f));
    solve(reset, 250);
    BuildRegions(fresh, picture);
    solve(fresh, 250);
    ExpectSameGraph(*reset.mFlowGraph, *fresh.mFlowGraph);
    EXPECT_EQ(*reset.mSegments, *fresh.mSegments);
}

TEST(ImageGraphLife, ResetGraphStillHasItsOldLabels) {
    SolvedStrip strip;
    strip.Solve();
    const auto* const segments = strip.mGraph.mSegments;
    strip.mGraph.ResetRegionGraph();
    EXPECT_EQ(strip.mGraph.mSegments, segments);
    std::vector<unsigned char> labels(4, 9);
    strip.mGraph.ExtractLabels(labels.data(), 1, 4, 3, 2, 4, false);
    EXPECT_EQ(labels, (std::vector<unsigned char>{0, 0, 255, 0}));
}

TEST(ImageGraphLife, ResetLeavesASharedGraphToItsOwner) {
    FlowGraph shared;
    shared.AddNode();
    shared.AddNode();
    std::vector<unsigned char> segments;
    ImageGraph graph;
    graph.Initialize({0, 0, 2, 2}, &shared, 8, &segments, 0, 1);
    EXPECT_FALSE(graph.mOwnsFlowGraph);
    graph.ResetRegionGraph();
    EXPECT_NE(graph.mFlowGraph, &shared);
    EXPECT_NE(graph.mSegments, &segments);
    EXPECT_TRUE(graph.mOwnsFlowGraph);
}

TEST(ImageGraphLife, RegionsOfALargerSizeThanTheGraphBreakTheContract) {
    const RecordedReports reports;
    const auto picture = MakePicture<unsigned char>(10, 10, 1, 6);
    ImageGraph graph;
    graph.Initialize({0, 0, 9, 10}, nullptr, 8, nullptr, 0, 1);
    EXPECT_ANY_THROW(graph.BuildRegionGraph(picture.Plane(0), nullptr, nullptr, nullptr, 10, 10,
                                            0, 0, 10, 1, 8, 0.1f, 5));
    ASSERT_EQ(reports.Contracts().size(), 1u);
    EXPECT_EQ(reports.Contracts()[0].mText, "inRows <= mRows && inColumns <= mColumns");
}

}  // namespace
