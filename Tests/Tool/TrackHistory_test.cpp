// What is said of a run of tracked points: errors against the truth, share kept, cuts.

#include "TrackHistory.h"

#include <gtest/gtest.h>

#include "BoxFile.h"
#include "RenderedClip.h"
#include "UserError.h"

namespace {

using descriptor::FramePoints;
using Host::Point;
using Host::RenderedClip;
using Host::TrackHistory;

// Points on a grid of the first frame, carried on by the truth plus a drift each frame. One
// that the truth hides is lost.
class TruePoints {
public:
    TruePoints(const RenderedClip& inClip, double inDrift) : mClip(inClip), mDrift(inDrift) {
        for (int y = 40; y < 200; y += 20)
            for (int x = 60; x < 260; x += 20)
                mStarts.push_back({double(x), double(y)});
    }

    FramePoints At(int inFrame) const {
        FramePoints points;
        for (std::size_t i = 0; i < mStarts.size(); ++i) {
            descriptor::Point point{.id = std::int64_t(i), .slot = std::int32_t(i)};
            if (const auto place = mClip.Move(mStarts[i], 0, inFrame)) {
                point.x = float(place->mX + mDrift * inFrame);
                point.y = float(place->mY);
                point.age = unsigned(inFrame);
                points.live.push_back(point);
            } else if (inFrame > 0 && mClip.Move(mStarts[i], 0, inFrame - 1)) {
                points.lost.push_back(point);
            }
        }
        return points;
    }

private:
    const RenderedClip& mClip;
    double mDrift;
    std::vector<Point> mStarts;
};

RenderedClip SmallClip() {
    RenderedClip::Shape shape;
    shape.mWidth = 320;
    shape.mHeight = 240;
    return RenderedClip(shape);
}

TrackHistory::Summary SummaryOf(double inDrift) {
    const RenderedClip clip = SmallClip();
    const TruePoints points(clip, inDrift);
    TrackHistory history(&clip);
    for (int frame = 0; frame < 10; ++frame)
        history.Add(points.At(frame), frame);
    return history.Summarise();
}

TEST(TrackHistoryTest, PointsThatFollowTheTruthHaveNoErrorAndAreAllKept) {
    const TrackHistory::Summary summary = SummaryOf(0.0);
    // Single precision of a coordinate below 512 is half of 2^-15.
    EXPECT_LT(summary.mStepNinety, 1e-4);
    EXPECT_LT(summary.mStartNinety, 1e-4);
    EXPECT_EQ(summary.mKept, 1.0);
    EXPECT_GT(summary.mMeanLive, 60.0);
    EXPECT_EQ(summary.mMedianAge, 9.0);
}

TEST(TrackHistoryTest, ADriftShowsInTheStepOnceAndInAllAsItGrows) {
    const TrackHistory::Summary summary = SummaryOf(0.1);
    EXPECT_NEAR(summary.mStepMedian, 0.1, 0.02);
    EXPECT_NEAR(summary.mStartMedian, 0.5, 0.11);  // the middle of 0.1 to 0.9
    EXPECT_NEAR(summary.mStartNinety, 0.9, 0.11);
}

TEST(TrackHistoryTest, ASlotThatIsFilledAnewStartsANewTrail) {
    TrackHistory history(nullptr);
    descriptor::Point point{.id = 0};
    for (int frame = 0; frame < 3; ++frame) {
        point.x = float(frame);
        point.age = unsigned(frame);
        FramePoints points;
        points.live = {point};
        history.Add(points, frame);
    }
    EXPECT_EQ(history.Trails()[0].mPlaces.size(), 3u);
    FramePoints points;
    points.lost = {point};
    points.live = {{.id = 1, .x = 100.0f}};
    history.Add(points, 3);
    ASSERT_EQ(history.Trails()[0].mPlaces.size(), 1u);
    EXPECT_EQ(history.Trails()[0].mPlaces[0].mX, 100.0);
}

TEST(TrackHistoryTest, CountsWhatLivesAndNotesCuts) {
    TrackHistory history(nullptr);
    FramePoints points;
    for (std::int32_t slot = 0; slot < 50; ++slot)
        points.live.push_back({.id = slot, .slot = slot});
    history.Add(points, 0);
    for (descriptor::Point& point : points.live)
        point.age = 1;
    history.Add(points, 1);
    points.lost.assign(points.live.begin(), points.live.begin() + 40);
    points.live.erase(points.live.begin(), points.live.begin() + 40);
    points.is_cut = true;
    history.Add(points, 2);
    EXPECT_EQ(history.Cuts(), std::vector<long long>{2});
    EXPECT_EQ(history.LiveNow(), 10);
}

TEST(Quantiles, AreOrderStatisticsAndZeroOfNothing) {
    std::vector<double> values{5.0, 1.0, 4.0, 2.0, 3.0};
    EXPECT_EQ(Host::Quantile(values, 0.5), 3.0);
    EXPECT_EQ(Host::Quantile(values, 1.0), 5.0);
    EXPECT_EQ(Host::Quantile(values, 0.0), 1.0);
    std::vector<double> nothing;
    EXPECT_EQ(Host::Quantile(nothing, 0.5), 0.0);
}

TEST(Overlaps, AreTheSharedAreaOverTheAreaOfEither) {
    const Host::Box box{10.0, 20.0, 40.0, 30.0};
    EXPECT_EQ(Host::Overlap(box, box), 1.0);
    EXPECT_EQ(Host::Overlap(box, {30.0, 20.0, 40.0, 30.0}), 20.0 / 60.0);
    EXPECT_EQ(Host::Overlap(box, {50.0, 20.0, 40.0, 30.0}), 0.0);
    EXPECT_EQ(Host::Overlap(box, {0.0, 0.0, 0.0, 0.0}), 0.0);
    EXPECT_EQ(Host::Overlap({}, {}), 0.0);
}

TEST(ParseBox, TakesFourNumbersWithAnAreaAndNothingElse) {
    const Host::Box box = Host::ParseBox("10,20.5,30,40");
    EXPECT_EQ(box.mX, 10.0);
    EXPECT_EQ(box.mY, 20.5);
    EXPECT_EQ(box.Right(), 40.0);
    EXPECT_EQ(box.Bottom(), 60.5);
    for (const char* text : {"", "1,2,3", "1,2,3,4,5", "1,2,3,0", "1,2,-3,4", "a,b,c,d",
                             "1 2 3 4", "nan,1,2,3", "1,2,3,inf", "1,2,3,4x"})
        EXPECT_THROW(Host::ParseBox(text), Host::UserError) << text;
}

}  // namespace
