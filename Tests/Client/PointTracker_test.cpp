#include "descriptor/PointTracker.h"

#include "Client/ClientFrames.h"
#include "DP/Tracker.h"
#include "Support/Images.h"
#include "Support/Test.h"
#include "descriptor/Caches.h"

namespace {

using namespace descriptor;
using namespace Testing;

constexpr int kWidth = 200;
constexpr int kHeight = 160;

PointSettings Few(Engine inEngine) { return {.engine = inEngine, .max_points = 80}; }

bool IsNearEdge(const Point& inPoint) {
    return inPoint.x < 28 || inPoint.y < 28 || inPoint.x > kWidth - 29 ||
           inPoint.y > kHeight - 29;
}

class BothEngines : public testing::TestWithParam<Engine> {};
INSTANTIATE_TEST_SUITE_P(PointTracker, BothEngines, testing::Values(Engine::apt, Engine::klt),
                         [](const auto& inInfo) { return to_string(inInfo.param); });

TEST_P(BothEngines, FollowTheMotionAndKeepTheNames) {
    PointTracker tracker(Few(GetParam()));
    std::map<std::int64_t, Point> before;
    std::set<std::int64_t> ended;
    for (int n = 0; n < 6; ++n) {
        const FramePoints points = tracker.advance(MovingFrame(n));
        EXPECT_EQ(points.frame, n);
        EXPECT_FALSE(points.is_cut || points.is_repeated);
        int carried = 0;
        for (const Point& point : points) {
            EXPECT_FALSE(ended.count(point.id)) << "a name is given once";
            EXPECT_EQ(point.status == PointStatus::found, point.age == 0);
            const auto old = before.find(point.id);
            ASSERT_EQ(old != before.end(), point.age > 0);
            if (point.age == 0) continue;
            ++carried;
            EXPECT_EQ(old->second.slot, point.slot);
            EXPECT_EQ(old->second.age + 1, point.age);
            EXPECT_NEAR(point.x - old->second.x, 1.5, 0.1);
            EXPECT_NEAR(point.y - old->second.y, 0.75, 0.1);
            EXPECT_NEAR(point.dx, 1.5f, 0.1f);
            EXPECT_NEAR(point.dy, 0.75f, 0.1f);
        }
        EXPECT_GE(carried, n > 0 ? 25 : 0);
        // Who is no longer there is told once, with a reason.
        std::size_t carriedOrLost = std::size_t(carried);
        for (const Point& point : points.lost) {
            ++carriedOrLost;
            EXPECT_TRUE(before.count(point.id));
            EXPECT_GE(point.status, PointStatus::lost);
            ended.insert(point.id);
        }
        EXPECT_EQ(carriedOrLost, before.size());
        before.clear();
        for (const Point& point : points)
            before[point.id] = point;
    }
}

TEST_P(BothEngines, LoseNothingOverARepeatedFrame) {
    PointTracker tracker(Few(GetParam()));
    PointTracker plain(Few(GetParam()));
    for (int n = 0; n < 5; ++n) {
        plain.advance(MovingFrame(n));
        for (int copy = 0; copy < 3; ++copy) {
            const FramePoints points = tracker.advance(MovingFrame(n));
            EXPECT_EQ(points.is_repeated, copy > 0);
            EXPECT_FALSE(points.is_cut);
            EXPECT_EQ(points.frame, 3 * n + copy);
            for (const Point& point : points.lost)  // KLT: near an edge, at its first step
                EXPECT_TRUE(copy == 0 || IsNearEdge(point));
        }
        if (GetParam() == Engine::klt) continue;  // goes on by itself, with steps of nothing
        EXPECT_EQ(PlacesOf(tracker.points()), PlacesOf(plain.points()));
    }
    EXPECT_GT(tracker.points().size(), 30u);
}

TEST_P(BothEngines, TellACutAndOnlyACut) {
    PointTracker tracker({.engine = GetParam(), .max_points = 200});
    for (int n = 0; n < 8; ++n)
        EXPECT_EQ(tracker.advance(MovingFrame(n, 320, 240, n < 4 ? 1 : 9)).is_cut, n == 4) << n;
    EXPECT_GT(tracker.points().size(), 25u) << "and finds new points after it";
}

// In the second frame the right half shows another texture: what was carried into it did not
// come from where it says. The run itself is not changed by being checked.
TEST_P(BothEngines, CheckThePointsByTheWayBack) {
    const auto first = TexturedBytes(kWidth, kHeight, 0, 0, 1);
    auto second = TexturedBytes(kWidth, kHeight, -1.5, -0.75, 1);
    const auto other = TexturedBytes(kWidth, kHeight, 0, 0, 7);
    for (int y = 0; y < kHeight; ++y)
        std::copy_n(other.begin() + y * kWidth + kWidth / 2, kWidth / 2,
                    second.begin() + y * kWidth + kWidth / 2);
    PointSettings settings = Few(GetParam());
    PointTracker plain(settings);
    settings.round_trip = 0.5;
    PointTracker checked(settings);
    for (const auto& pixels : {first, second}) {
        const Frame frame = FrameOf(pixels, kWidth, kHeight);
        plain.advance(frame);
        checked.advance(frame);
    }
    int good = 0;
    int bad = 0;
    ASSERT_EQ(PlacesOf(checked.points()), PlacesOf(plain.points()));
    for (std::size_t i = 0; i < plain.points().size(); ++i) {
        const Point& point = checked.points()[i];
        EXPECT_TRUE(std::isnan(plain.points()[i].round_trip));
        EXPECT_EQ(std::isnan(point.round_trip), point.age == 0);
        if (point.age == 0) continue;
        EXPECT_EQ(point.came_back, point.round_trip <= 0.5f);
        const bool isRight =
            std::fabs(point.dx - 1.5f) < 0.2f && std::fabs(point.dy - 0.75f) < 0.2f;
        if (point.x < kWidth / 2 - 20 && isRight && !IsNearEdge(point)) {
            ++good;
            EXPECT_LT(point.round_trip, 0.1f);
        }
        bad += point.x > kWidth / 2 + 20 && !point.came_back;
    }
    EXPECT_GT(good, 5);
    EXPECT_GT(bad, 0) << "something in the other half was caught";
}

TEST_P(BothEngines, AnswerARunThatIsMadeAgainFromTheCache) {
    clear_caches();
    const auto kind = GetParam() == Engine::apt ? Kind::apt_points : Kind::klt_points;
    const auto run = [&](const Source& inSource, int inFirst, int inStep) {
        PointTracker tracker(Few(GetParam()), inSource);
        std::vector<Point> last;
        for (int n = 0; n < 4; ++n) {
            Frame frame = MovingFrame(inFirst + inStep * n);
            frame.number = inFirst + inStep * n;
            last = tracker.advance(frame).live;
        }
        return last;
    };
    const auto hits = [&] {
        return cache_figures(kind).hits;
    };
    const Source clip("clip \xc3\xa4");
    const auto fresh = run(Source(), 0, 1);
    const auto first = run(clip, 0, 1);
    EXPECT_EQ(hits(), 0u) << "sources differ";
    const auto again = run(clip, 0, 1);
    EXPECT_EQ(hits(), 4u);
    run(clip, 1, 1);
    run(clip, 0, 2);
    EXPECT_EQ(hits(), 5u) << "another start is another run; another step from its second frame";
    EXPECT_EQ(PlacesOf(first), PlacesOf(again));
    EXPECT_EQ(PlacesOf(first), PlacesOf(fresh));
    EXPECT_GT(cache_figures(kind).bytes, 0u);
    clear_caches();
    EXPECT_EQ(cache_figures().bytes, 0u);
}

// The engine's first patches are its own: a tracker may not share them with another of the
// same settings, nor take results that were made with them.
TEST(PointTracker, SharesNoVerificationWithAnother) {
    const PointSettings settings{.max_points = 80, .verify = true};
    const Source clip("verified");
    PointTracker alone(settings);
    PointTracker first(settings, clip);
    PointTracker second(settings, clip);
    for (int n = 0; n < 5; ++n) {
        alone.advance(MovingFrame(n));
        first.advance(MovingFrame(n));
        second.advance(MovingFrame(n, kWidth, kHeight, 5));
        EXPECT_EQ(PlacesOf(alone.points()), PlacesOf(first.points()));
    }
    EXPECT_GT(first.points()[0].score, 0.0f);
}

TEST(PointTracker, GivesTheBitsOfTheRawTracker) {
    const std::unique_ptr<DP::Tracker> raw(DP::Tracker::CreateTracker(kWidth, kHeight));
    PointTracker tracker({.min_distance = 3});
    for (int n = 0; n < 5; ++n) {
        const auto pixels = TexturedFrame(kWidth, kHeight, -1.5 * n, -0.75 * n);
        DP::APTFeatureListPtr features;
        raw->TrackFeatures(ImageOf(kWidth, kHeight, pixels), static_cast<unsigned>(n),
                           features);
        const FramePoints points = tracker.advance(FrameOf(pixels, kWidth, kHeight));
        std::vector<Point> expected;
        for (int slot = 0; slot < int(features->size()); ++slot)
            if (const DP::APTFeature& f = (*features)[std::size_t(slot)]; f.mStatus >= 0)
                expected.push_back({.slot = slot, .x = f.mX, .y = f.mY, .age = f.mAge});
        EXPECT_EQ(PlacesOf(points), PlacesOf(expected));
    }
}

// The numbers begin anew as well, and by them KLT finds its pyramids.
TEST_P(BothEngines, MeetNothingOfTheRunBeforeARestart) {
    PointTracker tracker(Few(GetParam()));
    for (int n = 0; n < 3; ++n)
        tracker.advance(MovingFrame(n));
    tracker.restart();
    PointTracker fresh(Few(GetParam()));
    for (int n = 3; n > 0; --n) {
        tracker.advance(MovingFrame(n, 200, 160, 7));
        fresh.advance(MovingFrame(n, 200, 160, 7));
    }
    ASSERT_GT(fresh.points().size(), 5u);
    EXPECT_EQ(PlacesOf(tracker.points()), PlacesOf(fresh.points()));
}

TEST(PointTracker, RestartsWithFramesOfAnySize) {
    PointTracker tracker(Few(Engine::klt));
    tracker.advance(MovingFrame(0));
    tracker.advance(MovingFrame(1));
    const std::int64_t last = tracker.points().live.back().id;
    tracker.restart();
    for (const Point& point : tracker.advance(MovingFrame(0, 150, 120))) {
        EXPECT_EQ(point.age, 0u);
        EXPECT_GT(point.id, last);
    }
    EXPECT_TRUE(tracker.points().lost.empty()) << "they ended with the restart";
}

}  // namespace
