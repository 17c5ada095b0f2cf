#include "descriptor/RegionTracker.h"

#include "Client/ClientFrames.h"
#include "Support/Test.h"
#include "descriptor/Caches.h"
#include "descriptor/KeyFrames.h"

namespace {

using namespace descriptor;
using namespace Testing;

const RegionScene kScene{.mSpeedX = 1.25, .mSpeedY = -0.5, .mGrowth = 1.004};

Frame Flash(int inSeed) {
    return FrameOf(NoiseBytes(std::size_t(kScene.mCols * kScene.mRows), inSeed), kScene.mCols,
                   kScene.mRows);
}

TEST(RegionTracker, FollowsWithYDownward) {
    RegionTracker tracker(RectAt(kScene.At(0)));
    for (int n = 0; n < 12; ++n) {
        Frame frame = SceneFrame(kScene, n);
        frame.time = 0.04 * n;
        const RegionResult result = tracker.advance(frame);
        EXPECT_GT(Overlap(result.rect, kScene.At(n)), 0.9) << n;
        EXPECT_EQ(result.state, n == 0 ? RegionState::key_frame : RegionState::tracked);
        EXPECT_EQ(result.time, 0.04 * n);
        EXPECT_FALSE(result.lost_since);
        EXPECT_GT(result.points.size(), 10u);
        for (const Point& point : result.points) {
            EXPECT_GE(point.y, result.rect.y - 1);
            EXPECT_LE(point.y, result.rect.y + result.rect.height + 1);
        }
    }
}

TEST(RegionTracker, HoldsOverRepeatedFramesToTheBit) {
    RegionTracker plain(RectAt(kScene.At(0)));
    RegionTracker tracker(RectAt(kScene.At(0)));
    for (int n = 0; n < 8; ++n) {
        const Rect rect = plain.advance(SceneFrame(kScene, n)).rect;
        EXPECT_EQ(tracker.advance(SceneFrame(kScene, n)).rect, rect);
        const RegionResult again = tracker.advance(SceneFrame(kScene, n));
        EXPECT_EQ(again.rect, rect);
        EXPECT_EQ(again.state, RegionState::held);
        EXPECT_FALSE(again.lost_since);
        EXPECT_EQ(again.points.size(), plain.result().points.size());
    }
}

TEST(RegionTracker, GoesOnAfterAFrameThatShowsNothing) {
    RegionTracker tracker(RectAt(kScene.At(0)));
    for (int n = 0; n < 8; ++n) {
        if (n == 4) {
            const Rect before = tracker.result().rect;
            const RegionResult flash = tracker.advance(
                FrameOf(std::vector<unsigned char>(std::size_t(kScene.mCols * kScene.mRows), 9),
                        kScene.mCols, kScene.mRows));
            EXPECT_EQ(flash.state, RegionState::held);
            EXPECT_EQ(flash.lost_since, 4);
            EXPECT_EQ(flash.rect, before);
            EXPECT_TRUE(flash.points.empty());
            continue;
        }
        const RegionResult result = tracker.advance(SceneFrame(kScene, n));
        EXPECT_GT(Overlap(result.rect, kScene.At(n)), 0.85) << n;
        if (n > 4) {
            EXPECT_EQ(result.state, RegionState::tracked);
        }
        EXPECT_FALSE(result.lost_since);
    }
}

TEST(RegionTracker, HoldsWhereASideCollapses) {
    constexpr int kSide = 160;
    constexpr int kBand = 16;  // rows of texture at the top and at the bottom of the rectangle
    const std::vector<unsigned char> texture = TexturedBytes(kSide, kSide, 0, 0, 5);
    const auto bands = [&](int inTop, int inBottom) {
        std::vector<unsigned char> bytes(std::size_t(kSide * kSide), 90);
        const auto put = [&](int inFrom, int inTo) {
            std::copy_n(texture.begin() + inFrom * kSide, kBand * kSide,
                        bytes.begin() + inTo * kSide);
        };
        put(0, inTop);
        put(80, inBottom - kBand);
        return FrameOf(bytes, kSide, kSide);
    };
    const Rect start{.x = 20, .y = 40, .width = 120, .height = 70};
    RegionTracker tracker(start);
    tracker.advance(bands(40, 110));
    const RegionResult squeezed = tracker.advance(bands(58, 92));
    EXPECT_EQ(squeezed.state, RegionState::held);
    EXPECT_EQ(squeezed.rect, start);
    EXPECT_EQ(squeezed.lost_since, 1);
    EXPECT_EQ(tracker.advance(bands(40, 110)).state, RegionState::held)
        << "as the last good one";
    EXPECT_FALSE(tracker.result().lost_since);
}

TEST(RegionTracker, IsLostWhereThereIsNothingAndRestartsWhereThereIs) {
    const RegionScene still{.mNoise = 0.5};
    const auto blank = [&] {
        return FrameOf(std::vector<unsigned char>(std::size_t(still.mCols * still.mRows), 40),
                       still.mCols, still.mRows);
    };
    RegionTracker tracker(RectAt(still.At(0)), {.hold_frames = 1});
    tracker.advance(SceneFrame(still, 0));
    tracker.advance(SceneFrame(still, 1));
    const Rect good = tracker.result().rect;
    EXPECT_EQ(tracker.advance(blank()).state, RegionState::held);
    for (int n = 3; n < 5; ++n) {
        EXPECT_EQ(tracker.advance(blank()).state, RegionState::lost);
        EXPECT_EQ(tracker.result().lost_since, 2);
        EXPECT_EQ(tracker.result().rect, good);
    }
    // Another scene altogether: nothing to recognise, but something to follow.
    const RegionResult anew = tracker.advance(FrameOf(
        TexturedBytes(still.mCols, still.mRows, 300, 300, 77), still.mCols, still.mRows));
    if (anew.state != RegionState::tracked) {
        EXPECT_EQ(anew.state, RegionState::restarted);
        EXPECT_EQ(anew.rect, good);
        EXPECT_EQ(anew.lost_since, 2);
        EXPECT_FALSE(anew.points.empty());
    }
    const RegionResult next = tracker.advance(FrameOf(
        TexturedBytes(still.mCols, still.mRows, 299, 300, 77), still.mCols, still.mRows));
    EXPECT_EQ(next.state, RegionState::tracked);
    EXPECT_NEAR(next.rect.x, anew.rect.x + 1, 0.3);
    EXPECT_FALSE(next.lost_since);
}

TEST(RegionTracker, TakesAKeyFrameAtAnyTime) {
    RegionTracker tracker({.x = 5, .y = 5, .width = 20, .height = 20});
    EXPECT_EQ(tracker.correct(RectAt(kScene.At(0))).frame, 0) << "before the first frame";
    EXPECT_EQ(tracker.advance(SceneFrame(kScene, 0)).rect, RectAt(kScene.At(0)));
    tracker.advance(SceneFrame(kScene, 1), {.x = 3, .y = 4, .width = 30, .height = 30});
    EXPECT_EQ(tracker.result().rect.y, 4);
    tracker.correct(RectAt(kScene.At(1)));
    EXPECT_EQ(tracker.result().frame, 1);
    EXPECT_EQ(tracker.result().state, RegionState::key_frame);
    EXPECT_GT(Overlap(tracker.advance(SceneFrame(kScene, 2)).rect, kScene.At(2)), 0.9);
}

TEST(RegionTracker, AnswersARunThatIsMadeAgainFromTheCache) {
    clear_caches();
    const Source clip("region");
    std::vector<Rect> rects[2];
    for (auto& run : rects) {
        RegionTracker tracker(RectAt(kScene.At(0)), {}, clip);
        for (int n = 0; n < 5; ++n)
            run.push_back(tracker.advance(SceneFrame(kScene, n)).rect);
    }
    EXPECT_EQ(rects[0], rects[1]);
    EXPECT_EQ(cache_figures(Kind::region).hits, 5u);
    // Another rectangle of the same left, right and height is another run.
    RegionTracker lower({.x = 50, .y = 60, .width = 50, .height = 40}, {}, clip);
    lower.advance(SceneFrame(kScene, 0));
    EXPECT_EQ(cache_figures(Kind::region).hits, 5u);
}

TEST(KeyFrames, BlendWhatBothWaysSay) {
    const auto frameAt = [](std::int64_t inFrame) {
        return SceneFrame(kScene, int(inFrame));
    };
    const std::vector<KeyFrame> keys{{.frame = 0, .rect = RectAt(kScene.At(0))},
                                     {.frame = 10, .rect = RectAt(kScene.At(10))},
                                     {.frame = 15, .rect = RectAt(kScene.At(15))}};
    const auto results = track_between(frameAt, keys);
    ASSERT_EQ(results.size(), 16u);
    for (int n = 0; n <= 15; ++n) {
        EXPECT_EQ(results[std::size_t(n)].frame, n);
        EXPECT_GT(Overlap(results[std::size_t(n)].rect, kScene.At(n)), 0.9) << n;
    }
    for (const KeyFrame& key : keys) {
        const Rect rect = results[std::size_t(key.frame)].rect;
        EXPECT_NEAR(rect.x, key.rect.x, 1e-4) << "key frames are what they were given as";
        EXPECT_NEAR(rect.height, key.rect.height, 1e-4);
    }
}

// The way forward meets a cover and loses the object; the way back does not.
TEST(KeyFrames, BelieveTheWayThatSawIt) {
    const auto frameAt = [](std::int64_t inFrame) {
        return inFrame >= 2 && inFrame <= 7 ? Flash(int(inFrame))
                                            : SceneFrame(kScene, int(inFrame));
    };
    const std::vector<KeyFrame> keys{{.frame = 0, .rect = RectAt(kScene.At(0))},
                                     {.frame = 12, .rect = RectAt(kScene.At(12))}};
    const auto results = track_between(frameAt, keys);
    for (int n = 8; n <= 12; ++n)
        EXPECT_GT(Overlap(results[std::size_t(n)].rect, kScene.At(n)), 0.85) << n;
}

TEST(KeyFrames, StopBetweenFrames) {
    int asked = 0;
    const auto frameAt = [&](std::int64_t inFrame) {
        ++asked;
        return SceneFrame(kScene, int(inFrame));
    };
    const std::vector<KeyFrame> keys{{.frame = 0, .rect = RectAt(kScene.At(0))},
                                     {.frame = 5, .rect = RectAt(kScene.At(5))}};
    EXPECT_THROW(track_between(frameAt, keys, {},
                               [](const Progress& inProgress) {
                                   EXPECT_EQ(inProgress.total, 12);
                                   return inProgress.done < 4;
                               }),
                 Cancelled);
    EXPECT_EQ(asked, 4);
}

}  // namespace
