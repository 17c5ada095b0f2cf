#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>

#include "Host.h"
#include "descriptor/strokes_json.h"

namespace {

using namespace Testing;

TEST(Points, ResultsAreWhatTheClientLayerFollows) {
    Clip clip("descriptor.points", {{"points", "80"}, {"width", "0"}});
    for (const int position : {1, 0, 0, 3, 2})  // seeking as well
        clip.Render(position);
    clip.Play();
    const auto json = nlohmann::json::parse(clip.Get("results"));
    EXPECT_EQ(json.at("width"), 768);

    Clip plain("");
    descriptor::PointTracker tracker({.max_points = 80});
    std::vector<std::int64_t> order;
    std::map<std::int64_t, int> starts;
    std::map<std::int64_t, std::vector<descriptor::Position>> places;
    for (int i = 0; i < 20; ++i)
        for (const descriptor::Point& point : tracker.advance(LumaOf(plain.Render(i)))) {
            if (starts.try_emplace(point.id, i).second) order.push_back(point.id);
            places[point.id].push_back({point.x, point.y});
        }
    const auto& tracks = json.at("tracks");
    ASSERT_EQ(tracks.size(), order.size());
    ASSERT_GE(tracks.size(), 80u);
    std::size_t longest = 0;
    for (std::size_t i = 0; i < order.size(); ++i) {
        EXPECT_EQ(tracks[i].at("start"), starts[order[i]]);
        const auto& way = places[order[i]];
        ASSERT_EQ(tracks[i].at("places").size(), way.size()) << i;
        longest = std::max(longest, way.size());
        EXPECT_NEAR(tracks[i]["places"].back()[0].get<double>(), way.back().x, 0.0051) << i;
        EXPECT_NEAR(tracks[i]["places"].back()[1].get<double>(), way.back().y, 0.0051) << i;
    }
    EXPECT_EQ(longest, 20u) << "some point lives through the clip";

    clip.Set("results", "");
    clip.Render(0);
    EXPECT_EQ(clip.Get("results"), "") << "begun anew";
}

TEST(Points, ASecondPassDrawsTheDotsAndNothingFarFromThem) {
    Clip plain("");
    Clip drawn("descriptor.points",
               {{"results", R"({"format": "descriptor-points", "version": 1, "width": 768,
                 "height": 432, "tracks": [{"start": 3, "places": [[100, 50], [140, 50]]}]})"},
                {"color", "#ff0000"},
                {"width", "4"}});
    for (const int at : {2, 5})
        EXPECT_EQ(drawn.Render(at, mlt_image_rgb).mPixels,
                  plain.Render(at, mlt_image_rgb).mPixels);
    const Image before = plain.Render(4, mlt_image_rgb);
    const Image after = drawn.Render(4, mlt_image_rgb);
    for (int y = 0; y < 432; ++y)
        for (int x = 0; x < 768; ++x) {
            const std::size_t at = std::size_t(y * 768 + x) * 3;
            const bool isSame =
                std::equal(&before.mPixels[at], &before.mPixels[at] + 3, &after.mPixels[at]);
            if (y == 50 && x >= 100 && x <= 143) {
                EXPECT_EQ(after.mPixels[at], 255) << x;
                EXPECT_EQ(after.mPixels[at + 1], 0) << x;
            } else if (x < 95 || x > 146 || y < 44 || y > 56) {
                ASSERT_TRUE(isSame) << x << " " << y;
            }
        }
}

TEST(Points, ATextThatIsNoResultIsToldAndThePictureStays) {
    TakeLog();
    Clip plain("");
    Clip wrong("descriptor.points", {{"results", "{\"format\": 7"}});
    EXPECT_EQ(wrong.Render(4).mPixels, plain.Render(4).mPixels);
    EXPECT_THAT(TakeLog(), testing::HasSubstr("results"));
}

// The red car and the ground round it, in the first frame.
descriptor::StrokeFile CarStrokes() {
    return {768,
            432,
            {{{.path = {{398, 160}, {398, 370}}, .radius = 25},
              {.path = {{300, 100}, {300, 425}, {500, 425}, {500, 100}, {300, 100}},
               .radius = 4,
               .label = descriptor::Label::background}}}};
}

std::vector<std::uint8_t> AlphaOf(const Image& inImage) {
    std::vector<std::uint8_t> alpha;
    for (std::size_t i = 3; i < inImage.mPixels.size(); i += 4)
        alpha.push_back(inImage.mPixels[i]);
    return alpha;
}

TEST(Select, TheFirstFrameHasTheMaskOfItsStrokes) {
    Clip plain("");
    const Image image = plain.Render(0, mlt_image_rgba);
    std::vector<std::uint8_t> expected;
    {
        descriptor::Selection selection({.pixels = image.mPixels.data(),
                                         .format = descriptor::PixelFormat::rgba,
                                         .width = 768,
                                         .height = 432});
        selection.replace(CarStrokes().history);
        const descriptor::Frame mask = selection.mask();
        for (int y = 0; y < 432; ++y)
            expected.insert(expected.end(), mask.row(y), mask.row(y) + 768);
    }
    Clip cut("descriptor.select", {{"strokes", descriptor::to_json(CarStrokes())}});
    EXPECT_EQ(AlphaOf(cut.Render(0, mlt_image_rgba)), expected);
    Clip inverted("descriptor.select",
                  {{"strokes", descriptor::to_json(CarStrokes())}, {"invert", "1"}});
    for (std::uint8_t& value : expected)
        value = static_cast<std::uint8_t>(255 - value);
    EXPECT_EQ(AlphaOf(inverted.Render(0, mlt_image_rgba)), expected);
}

TEST(Select, TheStrokesGoWithTheCar) {
    Clip cut("descriptor.select", {{"strokes", descriptor::to_json(CarStrokes())}});
    cut.Play();
    Clip tracked("descriptor.tracker", {{"rect", "322 124 152 276"}, {"steps", "1"}});
    tracked.Play();
    for (const int at : {5, 10}) {
        const std::vector<std::uint8_t> alpha = AlphaOf(cut.Render(at, mlt_image_rgba));
        const descriptor::Rect car = tracked.Result(at);
        double inside = 0, outside = 0;
        for (int y = 0; y < 432; ++y)
            for (int x = 0; x < 768; ++x) {
                if (alpha[std::size_t(y * 768 + x)] == 0) continue;
                const bool isIn = x > car.x - 6 && x < car.x + car.width + 6 && y > car.y - 6 &&
                                  y < car.y + car.height + 6;
                ++(isIn ? inside : outside);
            }
        EXPECT_GT(inside, 0.6 * car.width * car.height) << at;
        EXPECT_LT(outside, 0.05 * inside) << at;
    }
}

}  // namespace
