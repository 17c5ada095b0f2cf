#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <thread>

#include "Host.h"

namespace {

using namespace Testing;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr char kTracker[] = "descriptor.tracker";
const std::pair<std::string, std::string> kCar{"rect", "322 124 152 276"};
const std::pair<std::string, std::string> kEach{"steps", "1"};
const std::pair<std::string, std::string> kHidden{"shape_width", "0"};

// What the client layer says of the clip, without MLT's filter.
const std::vector<descriptor::Rect>& Expected() {
    static const std::vector<descriptor::Rect> sRects = [] {
        Clip plain("");
        descriptor::RegionTracker tracker({.x = 322, .y = 124, .width = 152, .height = 276});
        std::vector<descriptor::Rect> rects;
        for (int i = 0; i < plain.Count(); ++i)
            rects.push_back(tracker.advance(LumaOf(plain.Render(i))).rect);
        return rects;
    }();
    return sRects;
}

void ExpectAsTheClientLayer(const Clip& inClip) {
    ASSERT_EQ(Expected().size(), 20u);
    for (int i = 0; i < 20; ++i) {
        const descriptor::Rect found = inClip.Result(i);
        const descriptor::Rect& rect = Expected()[std::size_t(i)];
        EXPECT_NEAR(found.x, rect.x, 0.0051) << i;
        EXPECT_NEAR(found.y, rect.y, 0.0051) << i;
        EXPECT_NEAR(found.width, rect.width, 0.0051) << i;
        EXPECT_NEAR(found.height, rect.height, 0.0051) << i;
    }
}

TEST(Tracker, TheFirstPassWritesWhatTheClientLayerFinds) {
    Clip clip(kTracker, {kCar, kEach});
    for (int i = 0; i < 19; ++i) {
        clip.Render(i);
        EXPECT_THAT(clip.Get("results"), IsEmpty()) << "before the last frame";
    }
    clip.Render(19);
    ExpectAsTheClientLayer(clip);
    EXPECT_EQ(clip.Get("state"), "0|=key;1|=tracked");
}

TEST(Tracker, KeyFramesAreWrittenEveryFewFramesAndAtTheEnds) {
    Clip clip(kTracker, {kCar, {"steps", "7"}});
    clip.Play();
    const std::string results = clip.Get("results");
    EXPECT_THAT(results,
                testing::MatchesRegex("0~=322 124 152 276 1;7~=[^;]*;14~=[^;]*;19~=[^;]*"));
}

TEST(Tracker, SeekingBackAndForthChangesNothing) {
    Clip clip(kTracker, {kCar, kEach});
    for (const int position : {5, 0,  0, 3, 1,  19, 2, 1,  0,  4,  3,  8,  7,
                               6, 12, 5, 9, 11, 10, 2, 18, 13, 17, 14, 16, 15})
        clip.Render(position);
    ExpectAsTheClientLayer(clip);
}

TEST(Tracker, FramesInParallelAreFollowedInOrder) {
    Clip clip(kTracker, {kCar, kEach, kHidden});
    std::atomic<int> next{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int at = next++; at < 20; at = next++)
                clip.Render(at);
        });
    for (std::thread& thread : threads)
        thread.join();
    ExpectAsTheClientLayer(clip);
}

TEST(Tracker, AMissingFrameIsToldAndNoResultIsWritten) {
    TakeLog();
    Clip clip(kTracker, {kCar, kHidden}, 200);
    ASSERT_GT(clip.Count(), 100);
    for (int i = 0; i < clip.Count(); ++i)
        if (i != 7) clip.Render(i);
    EXPECT_THAT(clip.Get("results"), IsEmpty());
    const std::string log = TakeLog();
    EXPECT_THAT(log, HasSubstr("frame 7 has not come"));
    EXPECT_EQ(log.find("has not come"), log.rfind("has not come")) << "told once";
}

TEST(Tracker, AnAnalysisThatIsStoppedSaysSoAndASecondOneEnds) {
    Clip clip(kTracker, {kCar, kEach});
    clip.Consume(8);
    EXPECT_THAT(clip.Get("results"), IsEmpty());
    EXPECT_EQ(clip.Get("state"), "unfinished");
    clip.Consume();
    ExpectAsTheClientLayer(clip);
    EXPECT_EQ(clip.Get("state"), "0|=key;1|=tracked");

    Clip seen(kTracker, {kCar});
    seen.Render(0);
    seen.Set("results", clip.Get("results"));
    seen.Render(1);
    EXPECT_THAT(seen.Get("state"), IsEmpty()) << "analysed elsewhere";
    seen.Set("results", "");
    seen.Render(0);
    EXPECT_EQ(seen.Get("state"), "unfinished") << "begun anew";
}

TEST(Tracker, MltsOwnIsStoodInForWhereItsModuleIsMissing) {
    // As Kdenlive sets it: of the hidden rectangle it keeps the first number alone.
    Clip clip("opencv.tracker", {{"results", kCar.second}, {"rect", "50"}, kEach});
    clip.Play();
    ExpectAsTheClientLayer(clip);
}

TEST(Tracker, InstancesKnowNothingOfEachOther) {
    Clip one(kTracker, {kCar, kEach});
    Clip other(kTracker, {{"rect", "88 94 160 320"}, kEach});
    for (int i = 0; i < 20; ++i) {
        one.Render(i);
        other.Render(i);
    }
    ExpectAsTheClientLayer(one);
    EXPECT_GT(other.Result(19).y, 200) << "the white car goes down, the red one up";
}

TEST(Tracker, AProxyGivesRectanglesOfTheProfile) {
    Clip clip(kTracker, {kCar, kEach});
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(clip.Render(i, mlt_image_yuv422, 384, 216).mWidth, 384);
    for (int i = 0; i < 20; ++i)
        EXPECT_GT(Overlap(clip.Result(i), Expected()[std::size_t(i)]), 0.9) << i;
}

TEST(Tracker, EachFormatIsFollowed) {
    for (const mlt_image_format format : {mlt_image_rgb, mlt_image_rgba}) {
        Clip clip(kTracker, {kCar, kEach});
        for (int i = 0; i < 20; ++i)
            clip.Render(i, format);
        for (int i = 0; i < 20; ++i)
            EXPECT_GT(Overlap(clip.Result(i), Expected()[std::size_t(i)]), 0.95) << i;
    }
}

TEST(Tracker, AKeyFrameCorrectsAndIsKept) {
    Clip clip(kTracker, {{"rect", "0=322 124 152 276;10=300 30 140 200"}, {"steps", "4"}});
    clip.Play();
    EXPECT_EQ(clip.Result(10), (descriptor::Rect{300, 30, 140, 200}));
    EXPECT_NEAR(clip.Result(9).x, Expected()[9].x, 2.0) << "before it all is as without";
    EXPECT_EQ(clip.Get("state"), "0|=key;1|=tracked;10|=key;11|=tracked");
    EXPECT_LT(clip.Result(19).y, 0) << "and it is followed from there";
}

TEST(Tracker, BackwardARectangleIsThatOfTheLastFrame) {
    const descriptor::Rect last = Expected()[19];
    const std::string rect = std::to_string(last.x) + " " + std::to_string(last.y) + " " +
                             std::to_string(last.width) + " " + std::to_string(last.height);
    Clip clip(kTracker, {{"rect", rect}, {"backward", "1"}, kEach});
    clip.Play();
    for (int i = 0; i < 20; ++i)
        EXPECT_GT(Overlap(clip.Result(i), Expected()[std::size_t(i)]), 0.8) << i;
    EXPECT_EQ(clip.Get("state"), "0|=tracked;19|=key");
}

TEST(Tracker, BetweenTwoKeyFramesBothSidesCount) {
    const std::vector<descriptor::KeyFrame> keys{{5, {320, 66, 141, 239}},
                                                 {15, {330, -40, 123, 186}}};
    Clip clip(kTracker,
              {{"rect", "5=320 66 141 239;15=330 -40 123 186"}, {"backward", "1"}, kEach});
    clip.Play();
    Clip plain("");
    const auto frames = [&](std::int64_t inAt) {
        return LumaOf(plain.Render(int(inAt)));
    };
    const auto between = descriptor::track_between(frames, keys);
    for (int i = 5; i <= 15; ++i) {
        EXPECT_NEAR(clip.Result(i).x, between[std::size_t(i - 5)].rect.x, 0.0051) << i;
        EXPECT_NEAR(clip.Result(i).y, between[std::size_t(i - 5)].rect.y, 0.0051) << i;
    }
    EXPECT_GT(Overlap(clip.Result(0), Expected()[0]), 0.7) << "before the first key frame";
    EXPECT_LT(clip.Result(19).y, -40) << "after the last one";
}

TEST(Tracker, PerCentAreOfTheProfile) {
    Clip clip(kTracker, {{"rect", "50% 25% 20% 50%"}});
    clip.Play();
    EXPECT_EQ(clip.Result(0), (descriptor::Rect{384, 108, 153.6, 216}));
}

TEST(Tracker, AClipCutInTwoKeepsItsResultsInBothParts) {
    Clip whole(kTracker, {kCar, kEach});
    whole.Play();
    const Playlist list(mlt_playlist_new(whole.RawProfile()));
    mlt_playlist_append_io(list.get(), whole.Raw(), 0, 8);
    mlt_playlist_blank(list.get(), 4);
    mlt_playlist_append_io(list.get(), whole.Raw(), 9, 19);
    for (const auto& [at, from] : {std::pair{3, 3}, {8, 8}, {14, 9}, {20, 15}})
        EXPECT_EQ(
            RenderOf(MLT_PLAYLIST_PRODUCER(list.get()), at, mlt_image_yuv422, 768, 432).mPixels,
            whole.Render(from).mPixels)
            << at;
}

TEST(Tracker, KeyFramesMayCountByTheSource) {
    Clip part(kTracker,
              {{"rect", "0=0 0 9 9;5=320 66 141 239"}, {"source_positions", "1"}, kEach}, 25, 5,
              14);
    part.Play();
    EXPECT_THAT(part.Get("results"), testing::StartsWith("5~=320 66 141 239 1;6~="));
    EXPECT_THAT(part.Get("results"), HasSubstr(";14~="));
    EXPECT_THAT(part.Get("state"), testing::StartsWith("5|=key;6|=tracked"));
    Clip plain("", {}, 25, 5, 14);
    EXPECT_NE(part.Render(9).mPixels, plain.Render(9).mPixels) << "and they are drawn";
}

TEST(Tracker, ResultsAreDrawnWhereTheySay) {
    Clip plain("");
    Clip drawn(kTracker, {{"results", "0=100 100 200 100 1;19=100 100 200 100 1"},
                          {"shape_width", "2"},
                          {"shape_color", "#ff0000"}});
    const Image before = plain.Render(6, mlt_image_rgba);
    const Image after = drawn.Render(6, mlt_image_rgba);
    int changed = 0;
    for (int y = 0; y < 432; ++y)
        for (int x = 0; x < 768; ++x) {
            const std::size_t at = std::size_t(y * 768 + x) * 4;
            const bool isInside = x >= 101 && x < 299 && y >= 101 && y < 199;
            const bool isOutside = x < 99 || x >= 301 || y < 99 || y >= 201;
            const std::array<int, 3> now{after.mPixels[at], after.mPixels[at + 1],
                                         after.mPixels[at + 2]};
            if (isInside || isOutside) {
                if (!std::equal(&before.mPixels[at], &before.mPixels[at] + 4,
                                &after.mPixels[at]))
                    ++changed;
            } else if (now != std::array<int, 3>{255, 0, 0}) {
                ++changed;
            }
        }
    EXPECT_EQ(changed, 0) << "pixels are not as they must be";
}

}  // namespace
