// Strokes to a label image: new frames, further strokes, and what breaks the contract.

#include "GraphCut/GraphCutWrapper.h"

#include "PlainTwins.h"
#include "Scene.h"
#include "Support/Test.h"
#include "image/Interruption.h"
#include "quillet/Error.h"

namespace {

using namespace DP;
using namespace Testing;

ByteImage FirstCut(GraphCutWrapper& ioWrapper, const Scene& inScene, ByteImage inForeground,
                   ByteImage inBackground) {
    return ioWrapper.ComputeLabelImage(inScene.mPixels.data(), inScene.mRowBytes, inForeground,
                                       inBackground, {});
}

// ---- New frames ----------------------------------------------------------------------

TEST(GraphCutWrapper, FindsTheForegroundOfASceneFromADabAndFourCorners) {
    const Scene scene(160, 120);
    GraphCutWrapper wrapper;
    const auto labels =
        FirstCut(wrapper, scene, scene.ForegroundStrokes(), scene.BackgroundStrokes());
    EXPECT_GT(scene.Agreement(labels), 0.97);
    for (const unsigned char label : PixelsOf(labels))
        EXPECT_TRUE(label == 0 || label == 255);
}

TEST(GraphCutWrapper, FrameOfOnePixelIsItsStroke) {
    const Scene scene(1, 1);
    GraphCutWrapper wrapper;
    EXPECT_EQ(PixelsOf(FirstCut(wrapper, scene, FlatImage(1, 1, 255), FlatImage(1, 1, 0))),
              std::vector<unsigned char>{255});
    EXPECT_EQ(PixelsOf(FirstCut(wrapper, scene, FlatImage(1, 1, 128), FlatImage(1, 1, 0))),
              std::vector<unsigned char>{0});
    EXPECT_EQ(PixelsOf(FirstCut(wrapper, scene, FlatImage(1, 1, 129), FlatImage(1, 1, 255))),
              std::vector<unsigned char>{255});
}

// The samples are bytes 0, 2 and 4 of a pixel, byte 4 being that of the right neighbour, and
// at the end of the frame the byte behind it.
TEST(GraphCutWrapper, ByteBehindTheLastPixelIsItsRed) {
    Scene scene(2, 1);
    std::fill(scene.mPixels.begin(), scene.mPixels.end(), 10);
    GraphCutWrapper wrapper;
    const auto none = FlatImage(2, 1, 0);
    FirstCut(wrapper, scene, none, none);
    EXPECT_EQ(wrapper.GetImageGraph()->mRegionCount, 1u);
    scene.mPixels.back() = 200;
    FirstCut(wrapper, scene, none, none);
    EXPECT_EQ(wrapper.GetImageGraph()->mRegionCount, 2u);
}

TEST(GraphCutWrapper, RowsMayBeLongerThanTheirPixels) {
    const Scene scene(33, 21);
    std::vector<unsigned char> padded;
    for (int y = 0; y < 21; ++y) {
        const auto row = scene.mPixels.begin() + y * 33 * 4;
        padded.insert(padded.end(), row, row + 33 * 4 + 1);  // with the next row's first byte
        padded.insert(padded.end(), 6, 77);
    }
    GraphCutWrapper plain, withPadding;
    const auto foreground = scene.ForegroundStrokes(), background = scene.BackgroundStrokes();
    EXPECT_EQ(PixelsOf(FirstCut(plain, scene, foreground, background)),
              PixelsOf(withPadding.ComputeLabelImage(padded.data(), 33 * 4 + 7, foreground,
                                                     background, {})));
}

// ---- The whole way, literally --------------------------------------------------------

TEST(GraphCutWrapper, FirstCutAndFurtherStrokesHaveTheLabelsOfTheLiteralForm) {
    const Scene scene(97, 71, 5);
    Picture<unsigned char> picture{97, 71, 97, {}};
    picture.mPlanes.assign(3, std::vector<unsigned char>(97 * 71));
    for (std::size_t i = 0; i < 97 * 71; ++i)
        for (std::size_t plane = 0; plane < 3; ++plane)
            picture.mPlanes[plane][i] = scene.mPixels[4 * i + 4 - 2 * plane];

    ImageGraph plain;
    plain.Initialize({0, 0, 71, 97}, nullptr, 8, nullptr, 0, 1);
    const auto regions = PlainSegment(picture, 10.0f / 255.0f, 5);
    plain.mRegionMode = true;
    plain.mMaxRegionPixels = 121;
    for (std::size_t i = 0; i < regions.size(); ++i) {
        plain.mNodeImage[i] = regions[i];
        if (regions[i] == plain.mFlowGraph->mNodeCount)
            plain.mFlowGraph->AddNodeWithTerminals(0, 1);
    }
    plain.mPixelSourceEnergies.assign(regions.size(), 0);
    plain.mPixelSinkEnergies.assign(regions.size(), 0);
    PlainNeighborEnergies(plain, picture, 500, double{16.0f / 255.0f}, 0.5, true);

    GraphCutWrapper wrapper;
    auto foreground = scene.ForegroundStrokes(), background = scene.BackgroundStrokes();
    ByteImage labels;
    for (int stroke = 0; stroke < 8; ++stroke) {
        SCOPED_TRACE(stroke);
        labels = wrapper.ComputeLabelImage(scene.mPixels.data(), scene.mRowBytes, foreground,
                                           background, labels);
        PlainTerminalEnergies(plain, PixelsOf(foreground), PixelsOf(background), 0.5, 128,
                              stroke > 0);
        RunMaxFlow(*plain.mFlowGraph, 0, 1, *plain.mSegments, -1.0, nullptr);
        for (std::size_t i = 0; i < regions.size(); ++i)
            ASSERT_EQ(labels->GetData()[i], (*plain.mSegments)[regions[i]] == 1 ? 255 : 0);
        ExpectSameGraph(*wrapper.GetImageGraph()->mFlowGraph, *plain.mFlowGraph);
        foreground = FlatImage(97, 71, 128);  // the threshold itself is no stroke
        background = FlatImage(97, 71, 0);
        PaintDab(stroke % 2 ? foreground : background, (stroke * 37) % 97, (stroke * 23) % 71,
                 6);
    }
}

// ---- Further strokes -----------------------------------------------------------------

struct KeptFrame : testing::Test {
    KeptFrame() {
        mLabels =
            FirstCut(mWrapper, mScene, mScene.ForegroundStrokes(), mScene.BackgroundStrokes());
    }
    ByteImage Stroke(ByteImage inForeground, ByteImage inBackground) {
        return mWrapper.ComputeLabelImage(nullptr, 0, inForeground, inBackground, mLabels);
    }
    ByteImage None() const { return FlatImage(80, 60, 0); }
    static unsigned char At(const ByteImage& inImage, int inX, int inY) {
        return inImage->GetData()[inY * 80 + inX];
    }

    Scene mScene{80, 60};
    GraphCutWrapper mWrapper;
    ByteImage mLabels;
};

TEST_F(KeptFrame, StrokeOfNothingGivesTheSameLabels) {
    const auto before = PixelsOf(mLabels);
    EXPECT_EQ(PixelsOf(Stroke(None(), None())), before);
    EXPECT_EQ(PixelsOf(mLabels), before);
}

TEST_F(KeptFrame, OnlyFullForegroundReachesTheCallersLabelsAndAbove128TheCut) {
    ASSERT_EQ(At(mLabels, 10, 50), 0);
    const auto foreground = None();
    PaintDab(foreground, 10, 50, 3, 200);
    EXPECT_EQ(At(Stroke(foreground, None()), 10, 50), 255);
    EXPECT_EQ(At(mLabels, 10, 50), 0);
    PaintDab(foreground, 10, 50, 3, 254);
    Stroke(foreground, None());
    EXPECT_EQ(At(mLabels, 10, 50), 0);
    PaintDab(foreground, 10, 50, 3, 255);
    Stroke(foreground, None());
    EXPECT_EQ(At(mLabels, 10, 50), 255);
}

TEST_F(KeptFrame, FrameIsNotReadAgain) {
    const auto before = PixelsOf(mLabels);
    std::fill(mScene.mPixels.begin(), mScene.mPixels.end(), 0);
    EXPECT_EQ(
        PixelsOf(mWrapper.ComputeLabelImage(mScene.mPixels.data(), 1, None(), None(), mLabels)),
        before);
}

TEST_F(KeptFrame, NewFrameForgetsTheStrokesOfTheOld) {
    EXPECT_EQ(PixelsOf(FirstCut(mWrapper, mScene, None(), None())),
              std::vector<unsigned char>(80 * 60, 0));
}

TEST_F(KeptFrame, BuildingAgainKeepsTheGraph) {
    const ImageGraph* const graph = mWrapper.GetImageGraph();
    mWrapper.BuildImageGraph(mScene.mPixels.data(), {0, 0, 20, 20}, 80);
    EXPECT_EQ(mWrapper.GetImageGraph(), graph);
    EXPECT_EQ(graph->mColumns, 80);
}

TEST(GraphCutWrapper, StrokesGoOnFromAFrameThatWasOnlyBuilt) {
    const Scene scene(80, 60);
    const auto foreground = scene.ForegroundStrokes(), background = scene.BackgroundStrokes();
    GraphCutWrapper cut, built;
    built.BuildImageGraph(scene.mPixels.data(), {0, 0, 80, 60}, scene.mRowBytes);
    EXPECT_EQ(PixelsOf(built.ComputeLabelImage(nullptr, 0, foreground, background,
                                               ImageOf(80, 60, PixelsOf(foreground)))),
              PixelsOf(FirstCut(cut, scene, foreground, background)));
}

// ---- Stopped strokes -----------------------------------------------------------------

// Squares in any colours, with noise on them.
Scene Patches(Random& ioRandom, int inColumns, int inRows) {
    Scene scene(inColumns, inRows);
    unsigned int colours[16][16][3];
    for (auto& row : colours)
        for (auto& colour : row)
            for (auto& channel : colour)
                channel = ioRandom.Next() % 200;
    for (int i = 0; i < inColumns * inRows * 4; ++i) {
        const int x = i / 4 % inColumns / 9, y = i / 4 / inColumns / 9;
        scene.mPixels[std::size_t(i)] = static_cast<unsigned char>(
            (i % 4 < 3 ? colours[y % 16][x % 16][i % 4] : 0) + ioRandom.Next() % 24);
    }
    return scene;
}

// One stroke after the other. The second and the fourth are stopped at a question, again at
// one of those that their rest asks, and not asked for again; where they are stopped the host
// paints on. Returns whether any was.
bool CutStopping(GraphCutWrapper& ioWrapper, const Scene& inScene,
                 const std::vector<std::vector<unsigned char>>& inStrokes, long inStopAt,
                 long inStopRestAt) {
    const int columns = inScene.mColumns, rows = inScene.mRows;
    const auto asks = [](void* ioLeft, double) {
        return --*static_cast<long*>(ioLeft) != 0;
    };
    const auto cut = [&](const ByteImage& inForeground, const ByteImage& inBackground,
                         ByteImage inLabels, long inAt) {
        long left = inAt;
        const IP::Watch watch(asks, &left);
        try {
            ioWrapper.ComputeLabelImage(inScene.mPixels.data(), inScene.mRowBytes, inForeground,
                                        inBackground, inLabels);
            return false;
        } catch (const IP::Interrupted&) {
            std::fill_n(inForeground->GetData(), columns * rows, 255);
            std::fill_n(inBackground->GetData(), columns * rows, 255);
            return true;
        }
    };
    bool isStopped = false;
    ByteImage labels;
    for (std::size_t stroke = 0; stroke + 1 < inStrokes.size(); stroke += 2) {
        const bool stops = stroke == 2 || stroke == 6;
        isStopped |=
            cut(ImageOf(columns, rows, inStrokes[stroke]),
                ImageOf(columns, rows, inStrokes[stroke + 1]), labels, stops ? inStopAt : 0);
        labels = FlatImage(columns, rows, 0);
        if (stops && inStopRestAt != 0)
            cut(FlatImage(columns, rows, 0), FlatImage(columns, rows, 0), labels, inStopRestAt);
    }
    return isStopped;
}

// Sums of single floats depend on the order in which strokes and paths come.
TEST(GraphCutWrapper, StrokesThatFollowAStoppedOneGiveTheBitsOfUndisturbedOnes) {
    constexpr int kColumns = 64, kRows = 48, kStrokes = 6;
    for (int seed = 1; seed <= 12; ++seed) {
        Random random{std::uint64_t(seed)};
        const Scene scene = Patches(random, kColumns, kRows);
        std::vector<std::vector<unsigned char>> strokes;
        for (int image = 0; image < 2 * kStrokes; ++image) {
            const ByteImage painted = FlatImage(kColumns, kRows, 0);
            for (int dab = 0; dab < 2; ++dab)
                PaintDab(painted, random.Integer(0, kColumns - 1), random.Integer(0, kRows - 1),
                         random.Integer(2, 9));
            strokes.push_back(PixelsOf(painted));
        }
        for (const long stopRestAt : {0, 1, 3}) {
            GraphCutWrapper undisturbed;
            CutStopping(undisturbed, scene, strokes, 0, stopRestAt == 0 ? 0 : -1);
            long stopAt = 0;
            for (bool isStopped = true; isStopped && !HasFailure();) {
                SCOPED_TRACE(testing::Message() << seed << ", stopped at " << stopAt + 1);
                GraphCutWrapper stopped;
                isStopped = CutStopping(stopped, scene, strokes, ++stopAt, stopRestAt);
                ExpectSameGraph(*stopped.GetImageGraph()->mFlowGraph,
                                *undisturbed.GetImageGraph()->mFlowGraph);
                EXPECT_EQ(*stopped.GetImageGraph()->mSegments,
                          *undisturbed.GetImageGraph()->mSegments);
            }
            EXPECT_GT(stopAt, 4);
        }
    }
}

// ---- Broken contracts ----------------------------------------------------------------

struct BrokenContracts : KeptFrame {
    template <class Call>
    void ExpectReport(const char* inText, Call inCall) {
        const RecordedReports reports;
        const ImageGraph* const graph = mWrapper.GetImageGraph();
        const auto before = PixelsOf(mLabels);
        EXPECT_ANY_THROW(inCall());
        ASSERT_EQ(reports.Contracts().size(), 1u);
        EXPECT_EQ(reports.Contracts()[0].mText, inText);
        EXPECT_EQ(reports.Contracts()[0].mFile, "Src/GraphCut/GraphCutWrapper.cpp");
        EXPECT_EQ(mWrapper.GetImageGraph(), graph);
        EXPECT_EQ(PixelsOf(mLabels), before);
    }
    ByteImage Full() const { return FlatImage(80, 60, 255); }
};

TEST_F(BrokenContracts, StrokesOfDifferentSizes) {
    ExpectReport(
        "(inForegroundStrokeImage->GetColumns() == inBackgroundStrokeImage->GetColumns()) && "
        "(inForegroundStrokeImage->GetRows() == inBackgroundStrokeImage->GetRows())",
        [&] { Stroke(Full(), FlatImage(80, 59, 0)); });
}

TEST_F(BrokenContracts, LabelsOfAnotherSize) {
    ExpectReport(
        "inCurrentLabelImage == NULL || ((inCurrentLabelImage != NULL && "
        "(inForegroundStrokeImage->GetColumns() == inCurrentLabelImage->GetColumns()) && "
        "(inForegroundStrokeImage->GetRows() == inCurrentLabelImage->GetRows())))",
        [&] { Stroke(FlatImage(70, 60, 255), FlatImage(70, 60, 0)); });
}

TEST_F(BrokenContracts, NullImages) {
    ExpectReport("inForegroundStrokeImage != NULL", [&] { Stroke({}, Full()); });
    ExpectReport("inBackgroundStrokeImage != NULL", [&] { Stroke(Full(), {}); });
    ExpectReport("inRGBImage != NULL",
                 [&] { mWrapper.ComputeLabelImage(nullptr, 4, Full(), Full(), {}); });
}

TEST_F(BrokenContracts, WhereAHostGoesOnThereIsNoResult) {
    const RecordedReports reports;
    const ThrowErrorReturns host;
    EXPECT_TRUE(Stroke({}, Full()) == NULL);
    EXPECT_TRUE(Stroke(Full(), FlatImage(79, 60, 0)) == NULL);
    EXPECT_TRUE(mWrapper.ComputeLabelImage(nullptr, 4, Full(), Full(), {}) == NULL);
    EXPECT_EQ(reports.Contracts().size(), 3u);
    EXPECT_TRUE(Stroke(None(), None()) != NULL) << "and nothing is spoilt";
}

TEST_F(BrokenContracts, FramesWithoutPixels) {
    for (const auto& size : {std::pair{0, 0}, {0, 5}, {5, 0}})
        ExpectReport("inRGBImageBounds.Height() > 0 && inRGBImageBounds.Width() > 0", [&] {
            const auto empty =
                TVK::MakeObject<IP::Image<unsigned char>>(size.first, size.second);
            mWrapper.ComputeLabelImage(mScene.mPixels.data(), 4, empty, empty, {});
        });
}

TEST_F(BrokenContracts, FramesOfMorePixelsThanNodesCanBeNumbered) {
    ExpectReport("inRGBImageBounds.Height() * inRGBImageBounds.Width() <= INT32_MAX", [&] {
        const auto huge = FlatImage(1, 1, 0);
        huge->ResizeForReuse(65536, 32768);  // the size alone: nothing of it may be read
        mWrapper.ComputeLabelImage(mScene.mPixels.data(), 4, huge, huge, {});
    });
}

TEST_F(BrokenContracts, RowsOfANewFrameThatOverlapOrLieTooFarApart) {
    constexpr auto kText =
        "inRowBytes <= INT32_MAX && inRowBytes >= 4 * inRGBImageBounds.Width()";
    for (const unsigned int rowBytes : {0u, 1u, 4u * 80 - 1, 1u << 31, ~0u}) {
        SCOPED_TRACE(rowBytes);
        ExpectReport(kText, [&] {
            mWrapper.ComputeLabelImage(mScene.mPixels.data(), rowBytes, None(), None(), {});
        });
        GraphCutWrapper unbuilt;
        EXPECT_ANY_THROW(
            unbuilt.BuildImageGraph(mScene.mPixels.data(), {0, 0, 80, 60}, rowBytes));
        EXPECT_EQ(unbuilt.GetImageGraph(), nullptr);
        EXPECT_TRUE(mWrapper.ComputeLabelImage(nullptr, rowBytes, None(), None(), mLabels) !=
                    NULL);
    }
}

TEST_F(BrokenContracts, StrokeOfAnotherSizeThanTheKeptFrame) {
    ExpectReport("KeepsFrame(columns, rows)", [&] {
        mWrapper.ComputeLabelImage(nullptr, 0, FlatImage(40, 60, 255), FlatImage(40, 60, 0),
                                   FlatImage(40, 60, 0));
    });
}

TEST_F(BrokenContracts, StrokeWithoutAFrame) {
    GraphCutWrapper wrapper;
    const RecordedReports reports;
    EXPECT_ANY_THROW(wrapper.ComputeLabelImage(nullptr, 0, Full(), Full(), mLabels));
    EXPECT_EQ(reports.Contracts().size(), 1u);
}

TEST_F(BrokenContracts, MergeOfDifferentSizes) {
    ExpectReport(
        "inForegroundImage->GetRows() == ioLabelImage->GetRows() && "
        "inForegroundImage->GetColumns() == ioLabelImage->GetColumns()",
        [&] { mWrapper.MergeForegroundIntoLabel(FlatImage(4, 60, 255), mLabels); });
}

}  // namespace
