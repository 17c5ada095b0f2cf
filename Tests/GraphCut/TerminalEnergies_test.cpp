// Strokes, bias and fit into terminal capacities.

#include "Pictures.h"
#include "PlainTwins.h"
#include "Support/GuardedMemory.h"
#include "Support/Test.h"

namespace {

using namespace Testing;

constexpr unsigned char kThreshold = 128;
const float kLogOf510 = float(std::log(510.0));
const float kHardOfAPixel = float(double(std::numeric_limits<float>::max()) / 2);

void SetAll(ImageGraph& ioGraph, const std::vector<unsigned char>& inForeground,
            const std::vector<unsigned char>& inBackground,
            TerminalEnergyMode inMode = kTerminalEnergyStrokesOnly, bool inTowardSource = true,
            const unsigned char* inFit = nullptr) {
    const int columns = ioGraph.mColumns;
    GuardedMemory foreground(inForeground), background(inBackground);
    ioGraph.SetTerminalEnergies(nullptr, inFit, foreground.begin(), background.begin(), 0.5,
                                inMode, inTowardSource, kThreshold, ioGraph.mRows, columns,
                                ioGraph.mLeft, ioGraph.mTop, 0, columns, columns, columns);
}

void SetStrokes(ImageGraph& ioGraph, const std::vector<unsigned char>& inForeground,
                const std::vector<unsigned char>& inBackground) {
    GuardedMemory foreground(inForeground), background(inBackground);
    ioGraph.SetStrokeEnergies(foreground.begin(), background.begin(), kThreshold, ioGraph.mRows,
                              ioGraph.mColumns, ioGraph.mLeft, ioGraph.mTop, ioGraph.mColumns,
                              ioGraph.mColumns);
}

float SourceOf(const ImageGraph& inGraph, unsigned int inNode) {
    return inGraph.mFlowGraph->GetArc(0, inNode)->mCapacity;
}
float SinkOf(const ImageGraph& inGraph, unsigned int inNode) {
    return inGraph.mFlowGraph->GetArc(inNode, 1)->mCapacity;
}

// A row of pixels, each a node of its own.
struct PixelRow {
    explicit PixelRow(int inColumns) {
        mGraph.Initialize({3, 4, 4, 4 + inColumns}, nullptr, 8, nullptr, 0, 1);
        mGraph.AddPixelNodes(1, inColumns);
    }
    ImageGraph mGraph;
};

// A row of equal pixels that is one region.
struct OneRegion {
    explicit OneRegion(int inColumns) {
        BuildRegions(mGraph, Picture<unsigned char>{
                                 inColumns,
                                 1,
                                 inColumns,
                                 {std::vector<unsigned char>(std::size_t(inColumns), 5)}});
        EXPECT_EQ(mGraph.mRegionCount, 1u);
    }
    ImageGraph mGraph;
};

// ---- Against the literal form --------------------------------------------------------

TEST(TerminalEnergies, RegionsHaveTheBitsOfTheLiteralFormFreshAndResumed) {
    const auto picture = MakePicture<unsigned char>(53, 37, 3, 2);
    const std::size_t pixels = 53 * 37;
    ImageGraph graph, plain;
    for (ImageGraph* const each : {&graph, &plain}) {
        BuildRegions(*each, picture);
        SetEnergies(*each, picture, true);
    }
    for (int pass = 0; pass < 6; ++pass) {
        SCOPED_TRACE(pass);
        const bool strokesAlone = pass % 3 != 0;
        auto foreground = NoiseBytes(pixels, std::uint64_t(pass));
        auto background = NoiseBytes(pixels, std::uint64_t(pass + 100));
        for (std::size_t i = 0; i < pixels; ++i)
            if (i % 53 > unsigned(8 * pass) + 4) foreground[i] = background[i] = 128;
        if (strokesAlone)
            SetStrokes(graph, foreground, background);
        else
            SetAll(graph, foreground, background);
        PlainTerminalEnergies(plain, foreground, background, 0.5, kThreshold, strokesAlone);
        ExpectSameGraph(*graph.mFlowGraph, *plain.mFlowGraph);
        EXPECT_EQ(graph.mPixelSourceEnergies, plain.mPixelSourceEnergies);
        EXPECT_EQ(graph.mPixelSinkEnergies, plain.mPixelSinkEnergies);
        for (ImageGraph* const each : {&graph, &plain})
            RunMaxFlow(*each->mFlowGraph, 0, 1, *each->mSegments, -1.0, nullptr);
        EXPECT_EQ(*graph.mSegments, *plain.mSegments);
        ExpectSameGraph(*graph.mFlowGraph, *plain.mFlowGraph);
        if (HasFailure()) return;
    }
}

// Rows of `inStride` samples, of which the first `inColumns` are those of `inDense`.
std::vector<unsigned char> WithPadding(const std::vector<unsigned char>& inDense, int inColumns,
                                       int inStride) {
    std::vector<unsigned char> padded(
        inDense.size() / std::size_t(inColumns) * std::size_t(inStride), 255);
    for (std::size_t i = 0; i < inDense.size(); ++i)
        padded[i / std::size_t(inColumns) * std::size_t(inStride) +
               i % std::size_t(inColumns)] = inDense[i];
    return padded;
}

TEST(TerminalEnergies, FitAndBothStrokesHaveStridesOfTheirOwn) {
    const auto picture = MakePicture<unsigned char>(19, 11, 3, 6);
    auto foreground = NoiseBytes(19 * 11, 1);
    auto background = NoiseBytes(19 * 11, 2);
    for (std::size_t i = 0; i < foreground.size(); ++i)
        if (i % 3 != 0) foreground[i] = background[i] = 0;
    const auto fit = NoiseBytes(19 * 11, 3);
    ImageGraph dense, padded;
    for (ImageGraph* const each : {&dense, &padded})
        BuildRegions(*each, picture);
    SetAll(dense, foreground, background, kTerminalEnergyBlendedFit, true, fit.data());
    padded.SetTerminalEnergies(
        nullptr, WithPadding(fit, 19, 23).data(), WithPadding(foreground, 19, 20).data(),
        WithPadding(background, 19, 31).data(), 0.5, kTerminalEnergyBlendedFit, true,
        kThreshold, 11, 19, 0, 0, 1, 23, 20, 31);
    ExpectSameGraph(*dense.mFlowGraph, *padded.mFlowGraph);

    for (ImageGraph* const each : {&dense, &padded})
        BuildRegions(*each, picture);
    SetAll(dense, foreground, background);
    padded.SetTerminalEnergies(
        nullptr, nullptr, foreground.data(), WithPadding(background, 19, 31).data(), 0.5,
        kTerminalEnergyStrokesOnly, true, kThreshold, 11, 19, 0, 0, 0, 0, 19, 31);
    ExpectSameGraph(*dense.mFlowGraph, *padded.mFlowGraph);

    std::ranges::swap(foreground, background);
    SetStrokes(dense, foreground, background);
    padded.SetStrokeEnergies(WithPadding(foreground, 19, 22).data(),
                             WithPadding(background, 19, 29).data(), kThreshold, 11, 19, 0, 0,
                             22, 29);
    ExpectSameGraph(*dense.mFlowGraph, *padded.mFlowGraph);
}

// ---- Strokes -------------------------------------------------------------------------

// The hard capacity swallowed both biases; what is left to take away is less than nothing.
TEST(TerminalEnergies, CapacitiesDoNotFallBelowNothing) {
    OneRegion region(2);
    const std::vector<unsigned char> none(2, 0);
    SetAll(region.mGraph, none, none);
    SetAll(region.mGraph, none, {255, 0});
    SetAll(region.mGraph, {255, 0}, none);
    EXPECT_EQ(SourceOf(region.mGraph, 2), 0.0f);
    SetAll(region.mGraph, {255, 255}, none);
    EXPECT_EQ(SourceOf(region.mGraph, 2), 0.0f);
}

TEST(TerminalEnergies, PixelsWithoutANodeAreNoErrors) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    ImageGraph graph;
    BuildRegions(graph, Picture<float>{3, 1, 3, {{0.5f, nan, 0.5f}}});
    SetAll(graph, {0, 255, 255}, {0, 0, 0});
    RunMaxFlow(*graph.mFlowGraph, 0, 1, *graph.mSegments, -1.0, nullptr);
    SetStrokes(graph, {0, 0, 0}, {0, 255, 0});
    RunMaxFlow(*graph.mFlowGraph, 0, 1, *graph.mSegments, -1.0, nullptr);
    unsigned char labels[3];
    graph.ExtractLabels(labels, 1, 3, 0, 0, 3, false);
    EXPECT_EQ(std::vector<int>(labels, labels + 3), (std::vector<int>{0, 0, 255}));
}

// An infinite sample fails its own test, and within an infinite tolerance may belong to a
// region whose seed lies below it.
// Infinite pixels belong to no region of their own; small pictures hold hardly more than one.
TEST(TerminalEnergies, SeedsMayBelongToNoRegionOrToOneBelow) {
    const float infinite = std::numeric_limits<float>::infinity();
    Random random(4);
    for (int picture = 0; picture < 800 && !HasFailure(); ++picture) {
        const int rows = random.Integer(1, 7), columns = random.Integer(1, 7);
        const auto pixels = std::size_t(rows * columns);
        std::vector<float> plane(pixels);
        std::vector<unsigned char> foreground(pixels), background(pixels);
        for (std::size_t i = 0; i < pixels; ++i) {
            plane[i] = random.Integer(0, 2) == 0 ? 0.5f : infinite;
            foreground[i] = random.Integer(0, 5) == 0 ? 255 : 0;
        }
        ImageGraph graph, plain;
        for (ImageGraph* const each : {&graph, &plain}) {
            each->Initialize({0, 0, rows, columns}, nullptr, 8, nullptr, 0, 1);
            each->BuildRegionGraph(plane.data(), nullptr, nullptr, nullptr, rows, columns, 0, 0,
                                   columns, 1, 32, infinite, 2);
        }
        SetAll(graph, foreground, background);
        PlainTerminalEnergies(plain, foreground, background, 0.5, kThreshold, false);
        ExpectSameGraph(*graph.mFlowGraph, *plain.mFlowGraph);
    }
}

TEST(TerminalEnergies, AreaIsClippedToTheGraph) {
    PixelRow row(3);  // at (4, 3)
    const std::vector<unsigned char> foreground(8 * 8, 255), background(8 * 8, 0);
    row.mGraph.SetStrokeEnergies(foreground.data(), background.data(), kThreshold, 8, 8, 0, 0,
                                 8, 8);
    for (unsigned int node = 2; node < 5; ++node)
        EXPECT_EQ(SinkOf(row.mGraph, node), kHardOfAPixel);
}

// ---- Fit -----------------------------------------------------------------------------

// Pixels 0 to 255 with that fit, in pixel mode.
struct FitRow : PixelRow {
    FitRow(TerminalEnergyMode inMode, bool inTowardSource) : PixelRow(256), mFit(256) {
        for (std::size_t i = 0; i < 256; ++i)
            mFit[i] = static_cast<unsigned char>(i);
        const std::vector<unsigned char> none(256, 0);
        SetAll(mGraph, none, none, inMode, inTowardSource, mFit.data());
    }
    float Source(unsigned int inFit) const { return SourceOf(mGraph, inFit + 2); }
    float Sink(unsigned int inFit) const { return SinkOf(mGraph, inFit + 2); }
    std::vector<unsigned char> mFit;
};

float LogOfOneOver(double inP) { return inP > 0 ? float(std::log(1 / inP)) : kLogOf510; }

TEST(TerminalFit, ModeTwoIsTheNegativeLogarithm) {
    const FitRow row(kTerminalEnergyFit, true);
    EXPECT_EQ(row.Source(0), kLogOf510);
    EXPECT_EQ(row.Sink(0), 0.0f);
    EXPECT_EQ(row.Source(255), 0.0f);
    EXPECT_EQ(row.Sink(255), kLogOf510);
    EXPECT_EQ(row.Source(51), LogOfOneOver(51 / 255.0));
    EXPECT_EQ(row.Sink(51), LogOfOneOver(1 - 51 / 255.0));
}

TEST(TerminalFit, ModeThreeBlendsTheBiasWithTheLogarithms) {
    const FitRow toSource(kTerminalEnergyBlendedFit, true);
    const FitRow toSink(kTerminalEnergyBlendedFit, false);
    for (unsigned int fit = 0; fit < 256; ++fit) {
        const double p = fit / 255.0, bias = 0.5f, infinity = kLogOf510;
        const double s = LogOfOneOver(p);
        const double t = p < 1 ? LogOfOneOver(1 - p) : kLogOf510;
        EXPECT_EQ(toSource.Source(fit), float((1 - p) * bias * infinity + s * p));
        EXPECT_EQ(toSource.Sink(fit), float(t * p));
        EXPECT_EQ(toSink.Source(fit), float(s * (1 - p)));
        EXPECT_EQ(toSink.Sink(fit), float(bias * p * infinity + t * (1 - p)));
    }
}

TEST(TerminalFit, ModeFourIsHardOnOneSideOfAHalf) {
    const FitRow toSource(kTerminalEnergyClippedFit, true);
    const FitRow toSink(kTerminalEnergyClippedFit, false);
    const FitRow blended(kTerminalEnergyBlendedFit, true);
    EXPECT_EQ(toSource.Source(128), 0.0f);
    EXPECT_EQ(toSource.Sink(128), kHardOfAPixel);
    EXPECT_EQ(toSource.Source(127), blended.Source(127));
    EXPECT_EQ(toSink.Source(127), kHardOfAPixel);
    EXPECT_EQ(toSink.Sink(127), 0.0f);
    EXPECT_NE(toSink.Source(128), kHardOfAPixel);
}

TEST(TerminalFit, StrokesComeBeforeTheFitAndAModeThatThereIsNotLeavesPixelsAlone) {
    PixelRow row(2);
    const unsigned char fit[] = {255, 255};
    SetAll(row.mGraph, {0, 0}, {255, 0}, kTerminalEnergyFit, true, fit);
    EXPECT_EQ(SourceOf(row.mGraph, 2), kHardOfAPixel);
    EXPECT_EQ(SinkOf(row.mGraph, 3), kLogOf510);
    SetAll(row.mGraph, {255, 0}, {0, 0}, TerminalEnergyMode(5), true, fit);
    EXPECT_EQ(SinkOf(row.mGraph, 2), kHardOfAPixel);
    EXPECT_EQ(SinkOf(row.mGraph, 3), kLogOf510);
}

}  // namespace
