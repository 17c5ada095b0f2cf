// The exported tracker, as a host sees it.

#include "DP/Tracker.h"

#include "Support/Images.h"
#include "Support/Test.h"
#include "TVK/Exception.h"

namespace {

using namespace DP;
using namespace Testing;

constexpr int kCols = 320;
constexpr int kRows = 240;

std::unique_ptr<Tracker> MakeTracker(unsigned int inCols = kCols, unsigned int inRows = kRows) {
    return std::unique_ptr<Tracker>(Tracker::CreateTracker(inCols, inRows));
}

IP::ImagePtr<float> Frame(int inNumber, int inCols = kCols, int inRows = kRows) {
    return ImageOf(inCols, inRows,
                   TexturedFrame(inCols, inRows, -1.2 * inNumber, 0.9 * inNumber));
}

unsigned int CountLive(const APTFeatureListPtr& inList) {
    unsigned int count = 0;
    for (const APTFeature& feature : *inList)
        count += feature.mStatus >= 0;
    return count;
}

TEST(Tracker, SaysItsNumbersBeforeAnyFrame) {
    const auto tracker = MakeTracker();
    EXPECT_EQ(tracker->GetMaxFeatures(), 500u);
    EXPECT_EQ(tracker->GetMinFeatures(), 450u);
    EXPECT_EQ(sizeof(Tracker), sizeof(void*));
}

TEST(Tracker, FollowsAClipAndFillsUp) {
    const auto tracker = MakeTracker();
    APTFeatureListPtr features;
    tracker->TrackFeatures(Frame(0), 10, features);
    ASSERT_EQ(features->size(), 500u);
    for (const APTFeature& feature : *features)
        EXPECT_TRUE(feature.mStatus == 11 || feature.mStatus == -1);
    for (int frame = 1; frame <= 6; ++frame) {
        const APTFeatureListPtr before = features;
        const std::vector<APTFeature> copy = *before;
        tracker->TrackFeatures(Frame(frame), unsigned(10 - frame), features);
        EXPECT_FALSE(features == before) << "a fresh list";
        for (std::size_t i = 0; i < copy.size(); ++i)
            EXPECT_EQ((*before)[i].mStatus, copy[i].mStatus) << "only read";
        unsigned int tracked = 0;
        for (const APTFeature& feature : *features) {
            if (feature.mStatus != 0) continue;
            ++tracked;
            EXPECT_NEAR(feature.mDeltaX, 1.2, 0.5);
            EXPECT_NEAR(feature.mDeltaY, -0.9, 0.5);
        }
        EXPECT_GT(tracked, 200u);
    }
}

TEST(Tracker, PointsStandMoreThanThreePixelsApart) {
    const auto tracker = MakeTracker();
    APTFeatureListPtr features;
    tracker->TrackFeatures(ImageOf(kCols, kRows, NoiseFrame(kCols, kRows, 3)), 0, features);
    float nearest = 1e9f;
    for (const APTFeature& a : *features)
        for (const APTFeature& b : *features)
            if (&a != &b && a.mStatus >= 0 && b.mStatus >= 0)
                nearest = std::min(
                    nearest, (a.mX - b.mX) * (a.mX - b.mX) + (a.mY - b.mY) * (a.mY - b.mY));
    EXPECT_EQ(nearest, 10.0f) << "the least square above 9";
}

TEST(Tracker, FillsUpBelowTheMinimumAndNotAtIt) {
    constexpr int kWide = 800;
    constexpr int kHigh = 600;
    // How many points live behind a step that all but the last ones given up came through.
    const auto liveBehind = [&](unsigned int inKept) {
        const auto tracker = MakeTracker(kWide, kHigh);
        APTFeatureListPtr list;
        tracker->TrackFeatures(Frame(0, kWide, kHigh), 0, list);
        const auto trial = MakeTracker(kWide, kHigh);
        APTFeatureListPtr all;
        trial->TrackFeatures(Frame(0, kWide, kHigh), 0, all);
        trial->TrackFeatures(Frame(1, kWide, kHigh), 1, all);
        unsigned int tracked = 0;
        for (std::size_t i = 0; i < list->size(); ++i)
            if ((*all)[i].mStatus != 0 || ++tracked > inKept) (*list)[i].mStatus = -1;
        EXPECT_GT(tracked, tracker->GetMinFeatures()) << "there is nothing to give up";
        tracker->TrackFeatures(Frame(1, kWide, kHigh), 1, list);
        return CountLive(list);
    };
    EXPECT_EQ(liveBehind(450), 450u);
    EXPECT_GT(liveBehind(449), 450u);
}

TEST(Tracker, EqualFramesEmptyTheListAndFillItAnew) {
    const auto tracker = MakeTracker();
    APTFeatureListPtr first;
    APTFeatureListPtr second;
    tracker->TrackFeatures(Frame(0), 0, first);
    tracker->TrackFeatures(Frame(0), 1, second);
    EXPECT_EQ(CountLive(second), CountLive(first));
    for (const APTFeature& feature : *second)
        EXPECT_TRUE(feature.mStatus == 2 || feature.mStatus == -1);
}

TEST(Tracker, ANullImageBreaksTheContractAndChangesNothing) {
    const auto tracker = MakeTracker();
    APTFeatureListPtr features;
    tracker->TrackFeatures(Frame(0), 0, features);
    const APTFeatureListPtr before = features;
    {
        const RecordedReports reports;
        EXPECT_ANY_THROW(tracker->TrackFeatures({}, 1, features));
        EXPECT_EQ(reports.Broken(), "Src/TrackerImpl.cpp: inCurrentFloatGrayImage != NULL\n");
    }
    EXPECT_TRUE(features == before);
    EXPECT_THROW(tracker->TrackFeatures(TVK::MakeObject<IP::Image<float>>(), 1, features),
                 TVK::NullInterfaceException);
    tracker->TrackFeatures(Frame(1), 1, features);
    EXPECT_GT(CountLive(features), 200u);
}

TEST(Tracker, SmallAndBlankImagesGiveFreeSlotsOnEveryCall) {
    for (const auto& [cols, rows] : {std::pair{1, 1}, {13, 200}, {64, 64}}) {
        const auto tracker = MakeTracker(unsigned(cols), unsigned(rows));
        for (unsigned int frame = 0; frame < 3; ++frame) {
            APTFeatureListPtr features;
            tracker->TrackFeatures(
                ImageOf(cols, rows, std::vector<float>(std::size_t(cols * rows), 9.f)), frame,
                features);
            EXPECT_EQ(features->size(), 500u);
            EXPECT_EQ(CountLive(features), 0u);
        }
    }
}

TEST(Tracker, TrackersShareNothing) {
    const auto first = MakeTracker();
    const auto second = MakeTracker();
    APTFeatureListPtr a;
    APTFeatureListPtr b;
    for (int frame = 0; frame < 3; ++frame) {
        first->TrackFeatures(Frame(frame), unsigned(frame), a);
        second->TrackFeatures(Frame(frame), unsigned(frame), b);
        for (std::size_t i = 0; i < a->size(); ++i) {
            EXPECT_EQ((*a)[i].mX, (*b)[i].mX);
            EXPECT_EQ((*a)[i].mStatus, (*b)[i].mStatus);
        }
    }
}

}  // namespace
