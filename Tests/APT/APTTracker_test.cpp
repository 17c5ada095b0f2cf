// The engine: lists, stamps and bookkeeping, and that points follow a motion that is known.

#include "APT/APTTracker.h"

#include "APTFrames.h"
#include "PlainCornerSelection.h"
#include "Support/Test.h"
#include "TVK/Exception.h"

namespace {

using namespace DP;
using namespace Testing;

APTFeatureListPtr Select(APTTracker& inEngine, const MovingClip& inClip, int inFrame) {
    const auto list = EmptyList();
    inEngine.SelectFeatures(inClip.Frame(inFrame).data(), inClip.mCols, inClip.mRows,
                            unsigned(inFrame), {FullFrame(inClip.mCols, inClip.mRows)}, {list});
    return list;
}

void Replenish(APTTracker& inEngine, const MovingClip& inClip, unsigned int inNumber,
               const APTFeatureListPtr& ioList) {
    inEngine.ReplenishFeatures(inClip.Frame(0).data(), inClip.mCols, inClip.mRows, inNumber,
                               {FullFrame(inClip.mCols, inClip.mRows)}, {ioList});
}

APTFeatureListPtr Track(APTTracker& inEngine, const MovingClip& inClip, int inFrame,
                        const APTFeatureListPtr& inList) {
    const auto output = EmptyList();
    inEngine.TrackFeatures(inClip.Frame(inFrame - 1).data(), inClip.Frame(inFrame).data(),
                           inClip.mCols, inClip.mRows, unsigned(inFrame), {inList}, {output});
    return output;
}

// ---- Known motion --------------------------------------------------------------------

class KnownMotion : public testing::TestWithParam<std::pair<double, double>> {};

TEST_P(KnownMotion, PointsFollowItToAFractionOfAPixel) {
    MovingClip clip;
    std::tie(clip.mStepX, clip.mStepY) = GetParam();
    const auto engine = MakeEngine();
    const auto list = Select(*engine, clip, 0);
    const auto tracked = Track(*engine, clip, 1, list);
    ASSERT_GT(CountLiveFeatures(*list), 50u);
    EXPECT_GE(CountLiveFeatures(*tracked), CountLiveFeatures(*list) * 7 / 10);
    std::vector<double> errors;
    for (const APTFeature& feature : *tracked)
        if (feature.mStatus >= 0)
            errors.push_back(
                std::hypot(feature.mDeltaX - clip.mStepX, feature.mDeltaY - clip.mStepY));
    ASSERT_FALSE(errors.empty());
    std::sort(errors.begin(), errors.end());
    EXPECT_LT(errors[errors.size() / 2], 0.05) << "median";
    EXPECT_LT(errors[errors.size() * 9 / 10], 0.2) << "90th percentile";
}

INSTANTIATE_TEST_SUITE_P(Steps, KnownMotion,
                         testing::ValuesIn(std::vector<std::pair<double, double>>{
                             {0.4, 0.3}, {1.3, -0.7}, {-2.6, 1.9}, {4.5, -3.5}, {0.0, 6.0}}));

// Where nothing changes the first step of every model is none: the search starts at gain 1.
TEST(TrackFeatures, AStillPictureNeedsOneIterationOfAnyModel) {
    const MovingClip clip{.mStepX = 0, .mStepY = 0};
    for (const auto model :
         {kAPTModelTranslation, kAPTModelGainOffset, kAPTModelFittedGainOffset}) {
        APTTrackerParams params;
        params.mTrackingModel = model;
        params.mMaxIterations = 1;
        params.mStationaryLimit = -1.0;  // points that stay are kept
        const auto engine = MakeEngine(params);
        const auto list = Select(*engine, clip, 0);
        EXPECT_EQ(CountLiveFeatures(*Track(*engine, clip, 1, list)), CountLiveFeatures(*list));
    }
}

// ---- Selection into lists ------------------------------------------------------------

TEST(SelectFeatures, FirstSlotsHoldTheCandidatesAndTheRestIsInactive) {
    const MovingClip clip;
    const auto engine = MakeEngine();
    const auto list = Select(*engine, clip, 41);
    ASSERT_EQ(list->size(), 500u);
    const unsigned int live = CountLiveFeatures(*list);
    ASSERT_GT(live, 20u);
    ASSERT_LT(live, 500u);
    for (std::size_t i = 0; i < list->size(); ++i) {
        EXPECT_EQ((*list)[i].mStatus, i < live ? 42 : -1);
        EXPECT_EQ((*list)[i].mAge, 0u);
    }
}

TEST(SelectFeatures, StampIsTheFrameNumberPlusOneCutToASignedNumber) {
    const MovingClip clip;
    const auto frame = clip.Frame(0);
    const auto engine = MakeEngine();
    const APTTracker::Rects rects{FullFrame(clip.mCols, clip.mRows)};
    const std::pair<unsigned int, int> kStamps[] = {
        {0u, 1}, {0x7FFFFFFEu, INT_MAX}, {0x7FFFFFFFu, INT_MIN}, {0xFFFFFFFFu, 0}};
    for (const auto& [number, stamp] : kStamps) {
        const auto list = EmptyList();
        engine->SelectFeatures(frame.data(), clip.mCols, clip.mRows, number, rects, {list});
        EXPECT_EQ((*list)[0].mStatus, stamp);
    }
}

TEST(SelectFeatures, AUsedListKeepsWhatSelectionDoesNotSet) {
    const MovingClip clip;
    const auto engine = MakeEngine();
    const auto list = EmptyList();
    list->resize(3);
    (*list)[0].mCorrelation = 0.75f;
    (*list)[0].mDeltaX = 3.0f;
    (*list)[0].mAge = 9;
    engine->SelectFeatures(clip.Frame(0).data(), clip.mCols, clip.mRows, 0,
                           {FullFrame(clip.mCols, clip.mRows)}, {list});
    EXPECT_EQ(list->size(), 500u);
    EXPECT_EQ((*list)[0].mStatus, 1);
    EXPECT_EQ((*list)[0].mAge, 0u);
    EXPECT_EQ((*list)[0].mCorrelation, 0.75f);
    EXPECT_EQ((*list)[0].mDeltaX, 3.0f);
}

// A rectangle smaller than the frame counts upward from the bottom; one as large as the frame
// is used as it stands, wherever that is. Where the points of each lie, downward from the top:
TEST(SelectFeatures, RectanglesCountFromTheBottomUnlessTheyAreAsLargeAsTheFrame) {
    const MovingClip clip;
    const auto frame = clip.Frame(0);
    const auto engine = MakeEngine();
    const struct {
        TVK::ParamRect<float> mRect, mPoints;
    } cases[] = {{{0, 0, 160, 40}, {0, 80, 160, 120}},
                 {{20, 80, 90, 120}, {20, 0, 90, 40}},
                 {{0, 60, 160, 180}, {0, 60, 160, 180}}};
    for (const auto& [rect, points] : cases) {
        const auto list = EmptyList();
        engine->SelectFeatures(frame.data(), clip.mCols, clip.mRows, 0, {rect}, {list});
        EXPECT_GT(CountLiveFeatures(*list), 5u);
        for (const APTFeature& feature : *list)
            EXPECT_TRUE(feature.mStatus < 0 ||
                        (feature.mX > points.mLeft && feature.mX < points.mRight &&
                         feature.mY > points.mTop && feature.mY < points.mBottom));
    }
}

class SelectFeaturesUpTo : public testing::TestWithParam<std::uint64_t> {};

TEST_P(SelectFeaturesUpTo, ASecondRectangleWorksOnTheMaskOfTheFirst) {
    const MovingClip clip;
    const auto frame = clip.Frame(0);
    APTTrackerParams params;
    params.mMinFeatureDistance = 12;
    params.mMinEigenPerPixel = 0.0f;   // a mask of 0 and 1 has little contrast
    params.mMaxFeatures = GetParam();  // behind a full list the last disc is not cleared
    const TVK::ParamRect<float> rect = FullFrame(clip.mCols, clip.mRows);
    PlainCornerSelection plain;
    plain.ApplyParams(params);
    plain.SetImage(frame.data(), clip.mCols, clip.mRows);
    const auto lists = std::vector{EmptyList(), EmptyList(), EmptyList()};
    MakeEngine(params)->SelectFeatures(frame.data(), clip.mCols, clip.mRows, 0,
                                       {rect, rect, rect}, lists);
    for (const auto& list : lists) {
        plain.FindCorners(nullptr, nullptr, rect, SIZE_MAX);
        const auto& expected = plain.GetSelected();
        ASSERT_GT(expected.size(), 4u);
        ASSERT_EQ(CountLiveFeatures(*list), expected.size());
        for (std::size_t i = 0; i < expected.size(); ++i) {
            EXPECT_EQ((*list)[i].mX, expected[i].mX);
            EXPECT_EQ((*list)[i].mY, expected[i].mY);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Slots, SelectFeaturesUpTo, testing::Values(500, 5));

TEST(SelectFeatures, RectanglesAndListsMustBeAsMany) {
    const MovingClip clip;
    const auto engine = MakeEngine();
    const auto frame = clip.Frame(0);
    const auto list = EmptyList();
    const RecordedReports reports;
    EXPECT_ANY_THROW(
        engine->SelectFeatures(frame.data(), clip.mCols, clip.mRows, 0, {}, {list}));
    EXPECT_EQ(reports.Broken(),
              "Src/APT/APTTracker.cpp: inROIRects.size() == outFeatureListPtrVec.size()\n");
    EXPECT_TRUE(list->empty());
    engine->SelectFeatures(nullptr, clip.mCols, clip.mRows, 0, {}, {});
    engine->ReplenishFeatures(nullptr, clip.mCols, clip.mRows, 0, {}, {});
}

TEST(ReplenishFeatures, FillsFreeSlotsInOrderAndLeavesTheOthersAlone) {
    const MovingClip clip;
    const auto engine = MakeEngine();
    const auto full = Select(*engine, clip, 0);
    const auto list = TVK::MakeObject<APTFeatureList>(*full);
    list->resize(CountLiveFeatures(*full));
    (*list)[4].mStatus = kAPTFeatureLost;
    (*list)[4].mDeltaX = 7.0f;
    (*list)[4].mAge = 30;
    (*list)[9].mStatus = kAPTFeatureInactive;
    Replenish(*engine, clip, 5, list);
    // The two corners that were given up are the best that are free now, in their order.
    for (std::size_t i = 0; i < list->size(); ++i) {
        EXPECT_EQ((*list)[i].mX, (*full)[i].mX) << i;
        EXPECT_EQ((*list)[i].mY, (*full)[i].mY) << i;
        EXPECT_EQ((*list)[i].mStatus, i == 4 || i == 9 ? 6 : 1) << i;
    }
    EXPECT_EQ((*list)[4].mAge, 0u);
    EXPECT_EQ((*list)[4].mDeltaX, 7.0f);
}

TEST(ReplenishFeatures, NewPointsKeepTheirDistanceFromLivePoints) {
    const MovingClip clip;
    const auto engine = MakeEngine();
    const auto list = ListOf({NewPoint(80.3f, 60.6f), NewPoint(30.9f, 90.1f)});
    list->resize(300);
    Replenish(*engine, clip, 5, list);
    ASSERT_GT(CountLiveFeatures(*list), 20u);
    for (std::size_t i = 0; i < list->size(); ++i)
        for (std::size_t j = std::max<std::size_t>(i + 1, 2); j < list->size(); ++j) {
            const APTFeature& a = (*list)[i];
            const APTFeature& b = (*list)[j];
            if (a.mStatus < 0 || b.mStatus < 0) continue;
            EXPECT_GT(std::hypot(a.mX - b.mX, a.mY - b.mY), 10.0f) << i << ", " << j;
        }
}

// However few slots are free, the first list's selection is a whole one: its discs are the
// image of the second.
TEST(ReplenishFeatures, ASecondRectangleWorksOnTheWholeMaskOfTheFirst) {
    const MovingClip clip;
    const auto frame = clip.Frame(0);
    APTTrackerParams params;
    params.mMinEigenPerPixel = 0.0f;
    const auto rect = FullFrame(clip.mCols, clip.mRows);
    const auto first = ListOf({NewPoint(80.3f, 60.6f),
                               NewPoint(-14.0f, 30.0f),
                               NewPoint(-14.0f, 60.0f),
                               NewPoint(-14.0f, 90.0f),
                               {}});
    const auto second = ListOf({NewPoint(30.9f, 90.1f)});
    second->resize(40);
    PlainCornerSelection plain;
    plain.ApplyParams(params);
    plain.SetImage(frame.data(), clip.mCols, clip.mRows);
    plain.FindCorners(first->data(), first->data() + first->size(), rect, SIZE_MAX);
    plain.FindCorners(second->data(), second->data() + second->size(), rect, 39);
    const auto& expected = plain.GetSelected();
    ASSERT_GT(expected.size(), 10u);
    MakeEngine(params)->ReplenishFeatures(frame.data(), clip.mCols, clip.mRows, 5, {rect, rect},
                                          {first, second});
    EXPECT_EQ((*first)[4].mStatus, 6);
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ((*second)[i + 1].mX, expected[i].mX) << i;
        EXPECT_EQ((*second)[i + 1].mY, expected[i].mY) << i;
    }
}

TEST(ReplenishFeatures, AListWithoutAFreeSlotStays) {
    const MovingClip clip;
    const auto engine = MakeEngine();
    const auto list = ListOf({NewPoint(1.0f, 2.0f)});
    Replenish(*engine, clip, 5, list);
    ASSERT_EQ(list->size(), 1u);
    EXPECT_EQ((*list)[0].mX, 1.0f);
    EXPECT_EQ((*list)[0].mStatus, 1);
}

// ---- Bookkeeping of a step -----------------------------------------------------------

TEST(TrackFeatures, IdenticalFramesDropEveryPointButCountTheStep) {
    MovingClip clip;
    clip.mStepX = clip.mStepY = 0.0;
    const auto engine = MakeEngine();
    const auto list = Select(*engine, clip, 0);
    const auto next = Track(*engine, clip, 1, list);
    for (std::size_t i = 0; i < list->size(); ++i) {
        EXPECT_EQ((*next)[i].mStatus, -1);
        if ((*list)[i].mStatus < 0) continue;
        EXPECT_EQ((*next)[i].mAge, 1u);
        EXPECT_EQ((*next)[i].mX, (*list)[i].mX);
    }
}

TEST(TrackFeatures, TheStationaryLimitIsInclusiveOnBothAxes) {
    for (const auto& [x, y] : {std::pair{0.8, 0.0}, {0.0, 0.8}}) {
        MovingClip clip;
        clip.mStepX = x;
        clip.mStepY = y;
        const auto engine = MakeEngine();
        const auto list = ListOf({NewPoint(80.0f, 60.0f)});
        const APTFeature moved = (*Track(*engine, clip, 1, list))[0];
        ASSERT_EQ(moved.mStatus, 0);
        const double larger = double{x > y ? moved.mDeltaX : moved.mDeltaY};
        ASSERT_LT(std::abs(x > y ? moved.mDeltaY : moved.mDeltaX), larger);
        engine->mParams.mStationaryLimit = larger;
        EXPECT_EQ((*Track(*engine, clip, 1, list))[0].mStatus, -1);
        engine->mParams.mStationaryLimit = std::nextafter(larger, 0.0);
        EXPECT_EQ((*Track(*engine, clip, 1, list))[0].mStatus, 0);
        engine->mParams.mStationaryLimit = -1.0;
        EXPECT_EQ((*Track(*engine, clip, 1, list))[0].mStatus, 0);
    }
}

TEST(TrackFeatures, ALostPointReadsLostForOneFrame) {
    const MovingClip clip;
    const auto engine = MakeEngine();
    auto list = ListOf({NewPoint(33.0f, 44.0f)});
    engine->TrackFeatures(clip.Frame(0).data(), clip.Frame(1).data(), clip.mCols, clip.mRows, 1,
                          {ListOf({NewPoint(2.0f, 2.0f), NewPoint(80.0f, 60.0f)})}, {list});
    EXPECT_EQ((*list)[0].mStatus, kAPTFeatureLost);
    EXPECT_EQ((*list)[0].mX, 33.0f) << "the record's own position";
    EXPECT_EQ((*list)[0].mY, 44.0f);
    EXPECT_EQ((*list)[1].mStatus, 0);
    list = Track(*engine, clip, 2, list);
    EXPECT_EQ((*list)[0].mStatus, kAPTFeatureInactive);
    EXPECT_EQ((*list)[1].mStatus, 0);
}

TEST(TrackFeatures, AShorterInputLeavesDefaultsBehindItAndALongerOneIsCutOff) {
    const MovingClip clip;
    APTTrackerParams params;
    params.mMaxFeatures = 2;
    const auto engine = MakeEngine(params);
    const auto shorter = Track(*engine, clip, 1, ListOf({NewPoint(80.0f, 60.0f)}));
    ASSERT_EQ(shorter->size(), 2u);
    EXPECT_EQ((*shorter)[0].mStatus, 0);
    EXPECT_EQ((*shorter)[1].mStatus, -1);
    const auto longer =
        Track(*engine, clip, 1,
              ListOf({NewPoint(80.0f, 60.0f), NewPoint(60.0f, 60.0f), NewPoint(40.0f, 60.0f)}));
    EXPECT_EQ(longer->size(), 2u);
}

TEST(TrackFeatures, ListsAreTreatedOneByOne) {
    const MovingClip clip;
    const auto engine = MakeEngine();
    const auto outputs = std::vector{EmptyList(), EmptyList()};
    engine->TrackFeatures(clip.Frame(0).data(), clip.Frame(1).data(), clip.mCols, clip.mRows, 1,
                          {ListOf({NewPoint(80.0f, 60.0f)}), ListOf({NewPoint(50.0f, 40.0f)})},
                          outputs);
    for (const auto& output : outputs) {
        EXPECT_EQ(output->size(), 500u);
        EXPECT_EQ((*output)[0].mStatus, 0);
        EXPECT_NEAR((*output)[0].mDeltaX, clip.mStepX, 0.1);
    }
}

// ---- Bad input -----------------------------------------------------------------------

TEST(BadInput, NullImagesAndListsAreTurnedDownBeforeAnythingIsRead) {
    const MovingClip clip;
    const auto engine = MakeEngine();
    const auto frame = clip.Frame(0);
    const auto output = EmptyList();
    const auto input = ListOf({NewPoint(80.0f, 60.0f)});
    const auto track = [&](const float* inFrom, const float* inTo,
                           const APTTracker::Lists& inIn, const APTTracker::Lists& inOut) {
        engine->TrackFeatures(inFrom, inTo, clip.mCols, clip.mRows, 1, inIn, inOut);
    };
    EXPECT_THROW(track(nullptr, frame.data(), {input}, {output}), TVK::NullInterfaceException);
    EXPECT_THROW(track(frame.data(), nullptr, {input}, {output}), TVK::NullInterfaceException);
    EXPECT_THROW(track(frame.data(), frame.data(), {nullptr}, {output}),
                 TVK::NullInterfaceException);
    EXPECT_THROW(track(frame.data(), frame.data(), {input}, {nullptr}),
                 TVK::NullInterfaceException);
    EXPECT_TRUE(output->empty());
    EXPECT_THROW(engine->SelectFeatures(nullptr, 9, 9, 0, {FullFrame(9, 9)}, {output}),
                 TVK::NullInterfaceException);
    EXPECT_THROW(engine->ReplenishFeatures(frame.data(), 9, 9, 0, {FullFrame(9, 9)}, {nullptr}),
                 TVK::NullInterfaceException);
}

TEST(BadInput, AnEngineWithoutParametersSelectsNothing) {
    const MovingClip clip;
    const auto engine = TVK::MakeObject<APTTracker>();
    const auto frame = clip.Frame(0);
    const auto rect = FullFrame(clip.mCols, clip.mRows);
    const auto lists = std::vector{EmptyList(), EmptyList()};
    engine->SelectFeatures(frame.data(), clip.mCols, clip.mRows, 0, {rect, rect}, lists);
    EXPECT_TRUE(lists[0]->empty());
    EXPECT_TRUE(lists[1]->empty());
}

class SmallImages : public testing::TestWithParam<std::pair<int, int>> {};

TEST_P(SmallImages, GiveNoPointsAndLoseThoseThatCome) {
    const auto [cols, rows] = GetParam();
    const auto frame = NoiseFrame(std::max(cols, 1), std::max(rows, 1), 5);
    const auto engine = MakeEngine();
    const auto list = EmptyList();
    engine->SelectFeatures(frame.data(), cols, rows, 0, {FullFrame(cols, rows)}, {list});
    EXPECT_EQ(list->size(), 500u);
    EXPECT_EQ(CountLiveFeatures(*list), 0u);
    const auto output = EmptyList();
    engine->TrackFeatures(frame.data(), frame.data(), cols, rows, 1,
                          {ListOf({NewPoint(0.5f, 0.5f), NewPoint(6.0f, 6.0f)})}, {output});
    EXPECT_EQ((*output)[0].mStatus, kAPTFeatureLost);
    EXPECT_EQ((*output)[1].mStatus, kAPTFeatureLost);
}

INSTANTIATE_TEST_SUITE_P(Sizes, SmallImages,
                         testing::Values(std::pair{1, 1}, std::pair{0, 0}, std::pair{-1, 5},
                                         std::pair{14, 14}, std::pair{500, 2},
                                         std::pair{2, 500}, std::pair{13, 200}));

TEST(BadInput, BlankImagesAndImagesOfNoNumbersGiveNoPoints) {
    for (const float value : {0.0f, 255.0f, -1e30f, NAN, INFINITY, -INFINITY}) {
        const std::vector<float> frame(64 * 48, value);
        const auto engine = MakeEngine();
        const auto list = EmptyList();
        engine->SelectFeatures(frame.data(), 64, 48, 0, {FullFrame(64, 48)}, {list});
        EXPECT_EQ(CountLiveFeatures(*list), 0u) << value;
        const auto output = EmptyList();
        engine->TrackFeatures(frame.data(), frame.data(), 64, 48, 1,
                              {ListOf({NewPoint(30.0f, 20.0f)})}, {output});
        EXPECT_EQ((*output)[0].mStatus, kAPTFeatureLost) << value;
    }
}

TEST(BadInput, PointsThatAreNowhereAreLostAndClearNoDisc) {
    const MovingClip clip;
    const auto engine = MakeEngine();
    const auto list = ListOf({NewPoint(NAN, 20.0f), NewPoint(20.0f, INFINITY),
                              NewPoint(-3e38f, 3e38f), NewPoint(80.0f, 60.0f)});
    const auto next = Track(*engine, clip, 1, list);
    EXPECT_EQ((*next)[0].mStatus, kAPTFeatureLost);
    EXPECT_EQ((*next)[1].mStatus, kAPTFeatureLost);
    EXPECT_EQ((*next)[2].mStatus, kAPTFeatureLost);
    EXPECT_EQ((*next)[3].mStatus, 0);
    list->pop_back();
    list->resize(400);
    const auto alone = EmptyList();
    alone->resize(400);
    for (const auto& each : {list, alone})
        Replenish(*engine, clip, 0, each);
    EXPECT_EQ(CountLiveFeatures(*list), CountLiveFeatures(*alone) + 3);
}

TEST(BadInput, ADistanceBeyondEveryImageLeavesOnePoint) {
    const MovingClip clip;
    for (const std::uint64_t distance :
         {std::uint64_t{1000}, std::uint64_t{0xFFFFFFFF}, std::uint64_t{UINT64_MAX}}) {
        APTTrackerParams params;
        params.mMinFeatureDistance = distance;
        const auto engine = MakeEngine(params);
        const auto list = Select(*engine, clip, 0);
        EXPECT_EQ(CountLiveFeatures(*list), 1u);
        (*list)[0].mX += 0.3f;
        Replenish(*engine, clip, 0, list);
        EXPECT_EQ(CountLiveFeatures(*list), 1u);
    }
}

TEST(BadInput, NoSlotsAndAMillionSlotsAreBothServed) {
    const MovingClip clip;
    APTTrackerParams params;
    params.mMaxFeatures = 0;
    const auto none = MakeEngine(params);
    EXPECT_TRUE(Select(*none, clip, 0)->empty());
    EXPECT_TRUE(Track(*none, clip, 1, ListOf({NewPoint(80.0f, 60.0f)}))->empty());
    params.mMaxFeatures = 1000000;
    params.mMinFeatureDistance = 0;
    params.mVerifyAgainstReference = true;
    const auto many = MakeEngine(params);
    const auto list = Select(*many, clip, 0);
    EXPECT_EQ(list->size(), 1000000u);
    EXPECT_GT(CountLiveFeatures(*list), 60u);
    EXPECT_EQ(Track(*many, clip, 1, list)->size(), 1000000u);
}

TEST(BadInput, TheImageSizeMayChangeBetweenCalls) {
    const auto engine = MakeEngine();
    for (const auto& [cols, rows] :
         {std::pair{160, 120}, {320, 200}, {40, 30}, {64, 300}, {160, 120}}) {
        MovingClip clip;
        clip.mCols = cols;
        clip.mRows = rows;
        const auto list = Select(*engine, clip, 0);
        const auto fresh = Select(*MakeEngine(), clip, 0);
        ASSERT_EQ(CountLiveFeatures(*list), CountLiveFeatures(*fresh));
        const auto next = Track(*engine, clip, 1, list);
        const auto freshNext = Track(*MakeEngine(), clip, 1, list);
        for (std::size_t i = 0; i < next->size(); ++i)
            ASSERT_EQ((*next)[i].mX, (*freshNext)[i].mX);
    }
}

}  // namespace
