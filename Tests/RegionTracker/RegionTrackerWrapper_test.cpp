// The wrapper: first frame and later ones, rectangles of known motion followed over clips,
// rectangles without sense, points outside, and the pictures for a developer.

#include "RegionTracker/RegionTrackerWrapper.h"

#include "DP/DescriptorFactory.h"
#include "DP/IAPTDescriptor.h"
#include "RegionTracker/RegionTrackerDescriptorData.h"
#include "Support/PictureFile.h"
#include "Support/RegionScene.h"
#include "Support/Test.h"
#include "quillet/Error.h"

namespace {

using namespace DP;
using namespace Testing;
using Rect = TVK::ParamRect<float>;

RegionPtr RegionAt(const Rect& inRect) { return TVK::MakeObject<Rect>(inRect); }

APTTrackerPtr MakeTracker(unsigned int inMaxFeatures = 100, unsigned int inDistance = 4) {
    const auto tracker = TVK::MakeObject<APTTracker>();
    tracker->mParams.mMaxFeatures = inMaxFeatures;
    tracker->mParams.mMinFeatureDistance = inDistance;
    tracker->ApplyParams();
    return tracker;
}

Ref<IDescriptorDataKey> KeyOf(long long inFrame) {
    return CreateDescriptorDataKey(Wide("clip"), inFrame, 1, 1);
}

Ref<IRegionTrackerDescriptorData> DataOf(RegionPtr inRegion, APTFeatureListPtr inFeatures) {
    const auto data = RegionTrackerDescriptorData::Create();
    data->SetRegionAndFeatures(inRegion, inFeatures);
    return data;
}

// A run over frames of one size, each result handed to the next frame.
class RegionRun {
public:
    RegionRun(int inCols, int inRows, const Rect& inStart, unsigned int inMaxFeatures = 100)
        : mCols(inCols),
          mRows(inRows),
          mTracker(MakeTracker(inMaxFeatures)),
          mRegion(RegionAt(inStart)) {}

    void Step(const std::vector<float>& inFrame) {
        RegionTrackerWrapper wrapper(mRows, mCols, mTracker);
        wrapper.UpdateRegion(mPrevious.empty() ? nullptr : mPrevious.data(), inFrame.data(),
                             KeyOf(mFrame++), DataOf(mRegion, mFeatures), mFeatures, mRegion);
        mPrevious = inFrame;
    }
    const Rect& Region() const { return *mRegion; }
    Box RegionBox() const { return BoxOf(*mRegion, mRows); }
    APTFeatureList& Features() const { return *mFeatures; }
    unsigned int Live() const { return CountLiveFeatures(*mFeatures); }

private:
    int mCols;
    int mRows;
    APTTrackerPtr mTracker;
    RegionPtr mRegion;
    APTFeatureListPtr mFeatures;
    std::vector<float> mPrevious;
    long long mFrame = 0;
};

// An error that was measured and rounded up: neither above the bound nor far below, where
// the bound would say nothing any more.
void ExpectMeasured(double inError, double inBound) {
    EXPECT_LE(inError, inBound);
    EXPECT_GE(inError, 0.75 * inBound) << "better than measured: lower the bound";
}

// How far a run falls short of the true rectangles, at its worst: 1 - overlap.
double WorstMiss(const RegionScene& inScene, int inFrames) {
    RegionRun run(inScene.mCols, inScene.mRows, RectOf(inScene.At(0), inScene.mRows));
    double worst = 0.0;
    for (int frame = 0; frame < inFrames; ++frame) {
        run.Step(inScene.Frame(frame));
        worst = std::max(worst, 1.0 - Overlap(run.RegionBox(), inScene.At(frame)));
    }
    return worst;
}

// ---- First frame -----------------------------------------------------------------------

TEST(RegionTrackerFirstFrame, SelectsPointsInsideAndSharesTheRegion) {
    const RegionScene scene;
    const RegionPtr region = RegionAt(RectOf(scene.At(0), scene.mRows));
    const auto tracker = MakeTracker();
    APTFeatureListPtr features;
    RegionPtr result;
    RegionTrackerWrapper(scene.mRows, scene.mCols, tracker)
        .UpdateRegion(nullptr, scene.Frame(0).data(), KeyOf((1ll << 32) + 7),
                      DataOf(region, {}), features, result);
    EXPECT_TRUE(result == region) << "the very rectangle, not a copy";
    EXPECT_EQ(tracker->mStartFrame, (1ull << 32) + 7);
    ASSERT_EQ(features->size(), 100u);
    EXPECT_GT(CountLiveFeatures(*features), 10u);
    const Box box = scene.At(0);
    for (const APTFeature& feature : *features) {
        if (feature.mStatus < 0) continue;
        EXPECT_EQ(feature.mStatus, 8) << "the frame number, cut to 32 bits, + 1";
        EXPECT_TRUE(feature.mX > box.mX && feature.mX < box.mX + box.mWidth &&
                    feature.mY > box.mY && feature.mY < box.mY + box.mHeight)
            << feature.mX << ", " << feature.mY;
    }
}

// ---- Rectangles of known motion --------------------------------------------------------

TEST(RegionTrackerClips, AnObjectIsFollowedOverAStillBackground) {
    RegionScene scene;
    scene.mSpeedX = 1.7;
    scene.mSpeedY = 0.8;
    ExpectMeasured(WorstMiss(scene, 20), 0.04);
}

TEST(RegionTrackerClips, TheRectangleGrowsAndShrinksWithTheObject) {
    RegionScene scene;
    scene.mObject = {60, 45, 40, 32};
    scene.mGrowth = 1.02;
    ExpectMeasured(WorstMiss(scene, 20), 0.04);
    scene.mObject = {40, 30, 80, 64};
    scene.mGrowth = 1 / 1.02;
    ExpectMeasured(WorstMiss(scene, 20), 0.015);
}

TEST(RegionTrackerClips, IdenticalFramesLoseTheRegionForGood) {
    const RegionScene scene;
    RegionRun run(scene.mCols, scene.mRows, RectOf(scene.At(0), scene.mRows));
    const Rect lost{0.0f, float(scene.mRows), 0.0f, float(scene.mRows)};
    run.Step(scene.Frame(0));
    EXPECT_GT(run.Live(), 0u);
    for (const int frame : {0, 1, 2}) {
        run.Step(scene.Frame(frame));
        EXPECT_EQ(run.Region(), lost);
        EXPECT_EQ(run.Live(), 0u);
    }
}

// ---- Rectangles without sense ----------------------------------------------------------

class RegionTrackerOddRegions : public testing::TestWithParam<Rect> {};

TEST_P(RegionTrackerOddRegions, ARunGoesOnWhateverTheRectangleIs) {
    RegionScene scene;
    scene.mSpeedX = 1.0;
    scene.mBackgroundX = 1.0;
    RegionRun run(scene.mCols, scene.mRows, GetParam());
    for (int frame = 0; frame < 4; ++frame) {
        run.Step(scene.Frame(frame));
        ASSERT_EQ(run.Features().size(), 100u);
        for (const APTFeature& feature : run.Features())
            EXPECT_TRUE(feature.mStatus < 0 ||
                        (feature.mX >= 0.0f && feature.mX < float(scene.mCols) &&
                         feature.mY >= 0.0f && feature.mY < float(scene.mRows)));
    }
}

INSTANTIATE_TEST_SUITE_P(Rects, RegionTrackerOddRegions,
                         testing::Values(Rect{300, 300, 400, 400},      // outside
                                         Rect{-200, -200, -100, -100},  //
                                         Rect{-50, -50, 80, 80},        // across two edges
                                         Rect{0, 0, 160, 120},          // all
                                         Rect{50, 50, 50, 50},          // no area
                                         Rect{90, 90, 40, 40},          // turned over
                                         Rect{60, 60, 61, 61},          // one pixel
                                         Rect{kNaN, kNaN, kNaN, kNaN},  //
                                         Rect{40, kNaN, 100, 90},       //
                                         Rect{-kInfinity, -kInfinity, kInfinity, kInfinity},
                                         Rect{-3e38f, -3e38f, 3e38f, 3e38f}));

TEST(RegionTrackerBadInput, NullImageAndNullEngineBreakTheContract) {
    const RegionScene scene;
    const auto frame = scene.Frame(0);
    const auto data = DataOf(RegionAt({0, 0, 10, 10}), {});
    APTFeatureListPtr features;
    RegionPtr region;
    const RecordedReports reports;
    EXPECT_THROW(RegionTrackerWrapper(120, 160, MakeTracker())
                     .UpdateRegion(nullptr, nullptr, KeyOf(0), data, features, region),
                 quillet::config::ReportedError);
    EXPECT_THROW(RegionTrackerWrapper(120, 160, {})
                     .UpdateRegion(nullptr, frame.data(), KeyOf(0), data, features, region),
                 quillet::config::ReportedError);
    EXPECT_EQ(reports.Broken(),
              "Src/RegionTracker/RegionTrackerWrapper.cpp: inCurrImage != NULL\n"
              "Src/RegionTracker/RegionTrackerWrapper.cpp: mTracker != NULL\n");
}

TEST(RegionTrackerBadInput, NullDataRegionKeyOrPreviousImageThrow) {
    const RegionScene scene;
    const auto frame = scene.Frame(0);
    RegionTrackerWrapper wrapper(scene.mRows, scene.mCols, MakeTracker());
    const RegionPtr start = RegionAt(RectOf(scene.At(0), scene.mRows));
    const auto update = [&](const float* inPrevious, Ref<IDescriptorDataKey> inKey,
                            Ref<IRegionTrackerDescriptorData> inData) {
        APTFeatureListPtr features;
        RegionPtr region;
        wrapper.UpdateRegion(inPrevious, frame.data(), inKey, inData, features, region);
        return DataOf(region, features);
    };
    using Null = TVK::NullInterfaceException;
    EXPECT_THROW(update(nullptr, KeyOf(0), nullptr), Null);
    EXPECT_THROW(update(nullptr, nullptr, DataOf(start, {})), Null);
    EXPECT_THROW(update(nullptr, KeyOf(0), DataOf({}, {})), Null);

    const auto first = update(nullptr, KeyOf(0), DataOf(start, {}));
    const auto points = Ref<IAPTDescriptorData>(first)->GetFeatures();
    EXPECT_THROW(update(frame.data(), nullptr, first), Null);
    EXPECT_THROW(update(frame.data(), KeyOf(1), DataOf({}, points)), Null);
    EXPECT_THROW(update(nullptr, KeyOf(1), first), Null);
    EXPECT_NO_THROW(update(frame.data(), KeyOf(1), first));
}

// A list of another length, as a host might hand over from another computer.
TEST(RegionTrackerBadInput, APreviousListOfAnotherLengthIsTrackedAsFarAsItGoes) {
    RegionScene scene;
    scene.mSpeedX = scene.mBackgroundX = 1.0;
    const auto first = scene.Frame(0), second = scene.Frame(1);
    for (const unsigned int slots : {0u, 30u, 250u}) {
        RegionRun run(scene.mCols, scene.mRows, {40, 40, 120, 100}, slots);
        run.Step(first);
        RegionTrackerWrapper wrapper(scene.mRows, scene.mCols, MakeTracker(100));
        APTFeatureListPtr features;
        RegionPtr region;
        wrapper.UpdateRegion(
            first.data(), second.data(), KeyOf(1),
            DataOf(RegionAt(run.Region()), TVK::MakeObject<APTFeatureList>(run.Features())),
            features, region);
        EXPECT_EQ(features->size(), 100u);
        EXPECT_NEAR(region->mLeft, slots != 0 ? 41.0f : 0.0f, 0.2f);
    }
}

// ---- Points outside --------------------------------------------------------------------

APTFeature At(float inX, float inY, int inStatus = 0) {
    APTFeature feature;
    feature.mX = inX;
    feature.mY = inY;
    feature.mStatus = inStatus;
    return feature;
}

TEST(MarkFeaturesOutsideRects, TheEdgesAreInsideAndNothingButTheStatusChanges) {
    // 100 rows: y upward 20 to 40 is rows 80 to 60.
    const Rect rect{10, 20, 50, 40};
    const std::vector<APTFeature> inside = {At(10, 70), At(50.9f, 70), At(30, 80),
                                            At(30, 59.1f, 12)};
    const std::vector<APTFeature> outside = {At(9.9f, 70),  At(51, 70),   At(30, 80.1f, 3),
                                             At(30, 59.0f), At(kNaN, 70), At(30, kNaN),
                                             At(1e20f, 70), At(0, 0, -4)};
    const auto list = TVK::MakeObject<APTFeatureList>(inside);
    list->insert(list->end(), outside.begin(), outside.end());
    std::vector<APTFeatureListPtr> lists = {list};
    EXPECT_FALSE(RegionTrackerWrapper::MarkFeaturesOutsideRects({rect}, 100, lists));
    for (std::size_t i = 0; i < inside.size(); ++i)
        EXPECT_EQ((*list)[i].mStatus, inside[i].mStatus) << "point " << i;
    for (std::size_t i = 0; i < outside.size(); ++i)
        EXPECT_EQ((*list)[inside.size() + i].mStatus, -1) << "point " << i;
    EXPECT_EQ((*list)[5].mX, 51.0f);
}

TEST(MarkFeaturesOutsideRects, EachListHasItsRectangle) {
    std::vector<APTFeatureListPtr> lists = {TVK::MakeObject<APTFeatureList>(1, At(5, 95)),
                                            TVK::MakeObject<APTFeatureList>(1, At(5, 95))};
    RegionTrackerWrapper::MarkFeaturesOutsideRects({{20, 20, 30, 30}, {0, 0, 10, 10}}, 100,
                                                   lists);
    EXPECT_EQ(lists[0]->front().mStatus, -1);
    EXPECT_EQ(lists[1]->front().mStatus, 0);
}

TEST(MarkFeaturesOutsideRects, UnequalNumbersBreakTheContract) {
    std::vector<APTFeatureListPtr> lists;
    const RecordedReports reports;
    EXPECT_THROW(RegionTrackerWrapper::MarkFeaturesOutsideRects({{}}, 100, lists),
                 quillet::config::ReportedError);
    EXPECT_EQ(reports.Broken(),
              "Src/RegionTracker/RegionTrackerWrapper.cpp: inRects.size() == ioFls.size()\n");
}

// ---- Pictures --------------------------------------------------------------------------

TEST(RegionPictures, AFrameIsTwoPixelsThickAboveAndBelow) {
    const int cols = 80, rows = 100;
    Bytes plane(std::size_t(cols * rows), 7);
    RegionTrackerWrapper::DrawRectOnPlane(plane.data(), cols, rows, RegionAt({10, 20, 50, 40}));
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < cols; ++x) {
            const bool across = x >= 10 && x < 50 && (y == 60 || y == 61 || y == 80 || y == 81);
            const bool down = (x == 10 || x == 50) && y >= 60 && y < 80;
            ASSERT_EQ(plane[std::size_t(y * cols + x)], across || down ? 255 : 7)
                << x << ", " << y;
        }
}

// The vector is exactly the image: an address sanitizer sees a pixel beside it.
TEST(RegionPictures, WhatFallsOutsideTheImageIsNotDrawn) {
    const int cols = 20, rows = 16;
    for (const Rect& rect : {Rect{0, 0, 20, 16}, Rect{-5, -5, 40, 40}, Rect{5, 0, 15, 4},
                             Rect{-1e30f, -1e30f, 1e30f, 1e30f}, Rect{kNaN, kNaN, kNaN, kNaN},
                             Rect{100, 100, 200, 200}, Rect{3e9f, 1, 4e9f, 9},
                             Rect{-9, -9, -3, -3}, Rect{12, 12, 4, 4}}) {
        Bytes plane(std::size_t(cols * rows), 7);
        RegionTrackerWrapper::DrawRectOnPlane(plane.data(), cols, rows, RegionAt(rect));
    }
    Bytes plane(std::size_t(cols * rows), 7);
    RegionTrackerWrapper::DrawRectOnPlane(plane.data(), cols, rows, RegionAt({5, 0, 15, 4}));
    EXPECT_EQ(plane[12 * 20 + 7], 255) << "the upper edge";
    EXPECT_EQ(plane[15 * 20 + 5], 255) << "the left edge goes down to the bottom";
    EXPECT_EQ(plane[15 * 20 + 7], 7) << "the lower edge would lie below it";
}

TEST(RegionPictures, PointsHaveTheColourOfTheirSlotOrOfTheirGroup) {
    const int cols = 40, rows = 30;
    const Bytes image(std::size_t(cols * rows), 9);
    const auto points = TVK::MakeObject<APTFeatureList>(
        APTFeatureList{At(10, 15), At(20, 15), At(30, 15), At(15, 20, -1)});
    const auto colours = [&](auto... inFit) {
        const PictureFile picture;
        const auto at = [&](int inX, int inY) {
            return picture.At(inX, inY, cols, rows);
        };
        RegionTrackerWrapper::WriteFeatureListRectToPPM(image.data(), cols, rows,
                                                        picture.Path(), points,
                                                        RegionAt({5, 5, 35, 20}), inFit...);
        EXPECT_EQ(at(15, 20), (Bytes{9, 9, 9})) << "a free slot";
        EXPECT_EQ(at(12, 10), (Bytes{255, 255, 255})) << "the frame";
        return std::vector<Bytes>{at(10, 15), at(20, 15), at(30, 15)};
    };
    const Bytes red{255, 9, 9}, green{9, 255, 9}, blue{9, 9, 255};
    const MotionGroups groups = {{0}, {1}};
    EXPECT_EQ(colours(groups, 0), (std::vector<Bytes>{blue, green, red}));
    EXPECT_EQ(colours(groups, 1), (std::vector<Bytes>{green, blue, red}));
    EXPECT_EQ(colours(groups, -1), (std::vector<Bytes>{red, green, red})) << "there is none";
    EXPECT_EQ(colours(groups, 7), (std::vector<Bytes>{green, red, red}));
    const auto slots = colours();
    EXPECT_EQ(slots[0], (Bytes{75, 215, 65}));
    EXPECT_NE(slots[1], slots[0]);
}

TEST(RegionPictures, ContractsAndNoMemoryAreReported) {
    const RecordedReports reports;
    unsigned char plane[16];
    unsigned char *const p = plane, *const none = nullptr;
    const auto region = RegionAt({0, 0, 4, 4});
    const auto draw = [&](unsigned char* inR, unsigned char* inG, unsigned char* inB,
                          const RegionPtr& inRegion) {
        EXPECT_ANY_THROW(RegionTrackerWrapper::DrawRectOnPlanes(inR, inG, inB, 4, 4, inRegion));
    };
    EXPECT_ANY_THROW(RegionTrackerWrapper::DrawRectOnPlane(p, 4, 4, nullptr));
    EXPECT_ANY_THROW(RegionTrackerWrapper::DrawRectOnPlane(none, 4, 4, region));
    draw(p, p, p, nullptr);
    draw(none, p, p, region);
    draw(p, none, p, region);
    draw(p, p, none, region);
    const auto list = TVK::MakeObject<APTFeatureList>();
    EXPECT_ANY_THROW(
        RegionTrackerWrapper::WriteFeatureListRectToPPM(nullptr, -1, 4, "", list, region));
    std::vector<std::string> texts;
    for (const Report& report : reports.Contracts())
        texts.push_back(report.mText);
    EXPECT_EQ(texts, (std::vector<std::string>{"inRegion != NULL", "inImage != NULL",
                                               "inRegion != NULL", "inRedImage != NULL",
                                               "inGreenImage != NULL", "inBlueImage != NULL",
                                               "inRedImage != NULL"}));
    ASSERT_EQ(reports.Asserts().size(), 1u);
    EXPECT_EQ(reports.Asserts()[0].mFunction,
              "DP::RegionTrackerWrapper::WriteFeatureListRectToPPM");
}

}  // namespace
