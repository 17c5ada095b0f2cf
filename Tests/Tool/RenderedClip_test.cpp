// The rendered clip: what it says of its motion is what its frames show.

#include "RenderedClip.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <optional>
#include <utility>

#include "RenderedScene.h"
#include "descriptor/StrokeMasks.h"

namespace {

using Host::Box;
using Host::Frame;
using Host::Point;
using Host::RenderedClip;

RenderedClip SmallClip(double inNoise) {
    RenderedClip::Shape shape;
    shape.mWidth = 320;
    shape.mHeight = 240;
    shape.mNoise = inNoise;
    return RenderedClip(shape);
}

Frame Rendered(const RenderedClip& inClip, int inFrame) {
    Frame frame;
    inClip.Render(inFrame, frame);
    return frame;
}

// The green sample between pixels, by cubics through the four neighbours on each axis;
// whole numbers are pixel centres.
double Sample(const Frame& inFrame, const Point& inPoint) {
    const int x = int(std::floor(inPoint.mX));
    const int y = int(std::floor(inPoint.mY));
    const auto weights = [](double t) {
        return std::array<double, 4>{((-0.5 * t + 1.0) * t - 0.5) * t,
                                     (1.5 * t - 2.5) * t * t + 1.0,
                                     ((-1.5 * t + 2.0) * t + 0.5) * t, (0.5 * t - 0.5) * t * t};
    };
    const auto across = weights(inPoint.mX - x);
    const auto down = weights(inPoint.mY - y);
    double sum = 0.0;
    for (int j = 0; j < 4; ++j)
        for (int i = 0; i < 4; ++i)
            sum += down[std::size_t(j)] * across[std::size_t(i)] *
                   inFrame.Pixel(x + i - 1, y + j - 1)[1];
    return sum;
}

bool IsWellInside(const Frame& inFrame, const Point& inPoint) {
    return inPoint.mX >= 2 && inPoint.mY >= 2 && inPoint.mX < inFrame.mWidth - 3 &&
           inPoint.mY < inFrame.mHeight - 3;
}

// The mean difference between a frame and a later one that is moved back by the truth,
// `inOffset` pixels beside the right place.
double MeanDifference(const RenderedClip& inClip, int inFrom, int inTo, bool inOnObject,
                      double inOffset) {
    const Frame from = Rendered(inClip, inFrom);
    const Frame to = Rendered(inClip, inTo);
    double sum = 0.0;
    int count = 0;
    for (int y = 0; y < from.mHeight; ++y)
        for (int x = 0; x < from.mWidth; ++x) {
            const Point point{double(x), double(y)};
            if (inClip.IsOnObject(point, inFrom) != inOnObject) continue;
            std::optional<Point> moved = inClip.Move(point, inFrom, inTo);
            if (!moved) continue;
            moved->mX += inOffset;
            if (!IsWellInside(to, *moved)) continue;
            sum += std::abs(Sample(to, *moved) - from.Pixel(x, y)[1]);
            ++count;
        }
    EXPECT_GT(count, 1000);
    return sum / count;
}

// ---- The motion ------------------------------------------------------------------------

class RenderedClipMotion : public testing::TestWithParam<int> {};

// Without noise only interpolation and the soft edge of the panel are left: both are far
// below what half a pixel of false motion does.
TEST_P(RenderedClipMotion, TheGroundIsFoundWhereTheTruthSaysAndNotBesideIt) {
    const RenderedClip clip = SmallClip(0.0);
    const double exact = MeanDifference(clip, 10, 10 + GetParam(), false, 0.0);
    EXPECT_LT(exact, 0.6);
    EXPECT_GT(MeanDifference(clip, 10, 10 + GetParam(), false, 0.5), exact * 1.5);
    EXPECT_GT(MeanDifference(clip, 10, 10 + GetParam(), false, -0.5), exact * 1.5);
}

TEST_P(RenderedClipMotion, ThePanelIsFoundWhereTheTruthSaysAndNotBesideIt) {
    const RenderedClip clip = SmallClip(0.0);
    const double exact = MeanDifference(clip, 10, 10 + GetParam(), true, 0.0);
    EXPECT_LT(exact, 1.5);
    EXPECT_GT(MeanDifference(clip, 10, 10 + GetParam(), true, 0.5), exact * 1.5);
    EXPECT_GT(MeanDifference(clip, 10, 10 + GetParam(), true, -0.5), exact * 1.5);
}

INSTANTIATE_TEST_SUITE_P(Steps, RenderedClipMotion, testing::Values(1, 7, 30));

TEST(RenderedClipTruth, MovingThereAndBackIsTheSamePlace) {
    const RenderedClip clip = SmallClip(1.0);
    const Point point{37.25, 101.5};
    const Point ground = clip.MoveGround(clip.MoveGround(point, 3, 71), 71, 3);
    const Point object = clip.MoveObject(clip.MoveObject(point, 3, 71), 71, 3);
    EXPECT_NEAR(ground.mX, point.mX, 1e-9);
    EXPECT_NEAR(ground.mY, point.mY, 1e-9);
    EXPECT_NEAR(object.mX, point.mX, 1e-9);
    EXPECT_NEAR(object.mY, point.mY, 1e-9);
}

TEST(RenderedClipTruth, GroundAndPanelMoveByFractionsAndNeverFast) {
    const RenderedClip clip = SmallClip(1.0);
    int fractions = 0;
    for (int frame = 0; frame < 300; ++frame) {
        const Point ground = clip.MoveGround({60.0, 60.0}, frame, frame + 1);
        const Box box = clip.ObjectBox(frame);
        const Point corner{box.mX, box.mY};
        const Point moved = clip.MoveObject(corner, frame, frame + 1);
        const double groundStep = std::hypot(ground.mX - 60.0, ground.mY - 60.0);
        const double panelStep = std::hypot(moved.mX - corner.mX, moved.mY - corner.mY);
        EXPECT_LT(groundStep, 6.0) << "frame " << frame;
        EXPECT_LT(panelStep, 6.0) << "frame " << frame;
        const double shift = groundStep - std::floor(groundStep);
        if (shift > 0.1 && shift < 0.9) ++fractions;
    }
    EXPECT_GT(fractions, 150);
}

TEST(RenderedClipTruth, ThePanelStaysInThePicture) {
    for (const auto& [width, height] : {std::pair{640, 480}, {64, 48}, {1920, 1080}}) {
        RenderedClip::Shape shape;
        shape.mWidth = width;
        shape.mHeight = height;
        const RenderedClip clip(shape);
        for (int frame = 0; frame < 2000; frame += 7) {
            const Box box = clip.ObjectBox(frame);
            EXPECT_GT(box.mX, 0.0);
            EXPECT_GT(box.mY, 0.0);
            EXPECT_LT(box.Right(), width);
            EXPECT_LT(box.Bottom(), height);
        }
    }
}

TEST(RenderedClipTruth, AGroundPointThatThePanelHidesHasNoPlace) {
    const RenderedClip clip = SmallClip(1.0);
    const Box box = clip.ObjectBox(40);
    const Point middle{box.mX + box.mWidth / 2, box.mY + box.mHeight / 2};
    EXPECT_EQ(clip.Move(clip.MoveGround(middle, 40, 400), 400, 40).has_value(),
              clip.IsOnObject(clip.MoveGround(middle, 40, 400), 400));
}

// ---- The pixels ------------------------------------------------------------------------

// The sum over the bytes of two frames, as it must be on every machine and compiler.
TEST(RenderedClipPixels, AreTheSameOnEveryMachine) {
    const RenderedClip clip = SmallClip(1.0);
    for (const auto& [number, expected] : {std::pair{0, std::uint64_t{0x03113abca44bfc28}},
                                           {57, std::uint64_t{0x8bbadc22f83896cc}}}) {
        const Frame frame = Rendered(clip, number);
        std::uint64_t hash = 0xcbf29ce484222325u;
        for (const std::uint8_t byte : frame.mPixels)
            hash = (hash ^ byte) * 0x100000001b3u;
        EXPECT_EQ(hash, expected) << std::hex << hash << " in frame " << std::dec << number;
    }
}

TEST(RenderedClipPixels, TheNoiseIsAboutOneGreyLevel) {
    const Frame clean = Rendered(SmallClip(0.0), 5);
    const Frame noisy = Rendered(SmallClip(1.0), 5);
    double sum = 0.0;
    double squares = 0.0;
    for (int y = 0; y < clean.mHeight; ++y)
        for (int x = 0; x < clean.mWidth; ++x) {
            const double noise = double(noisy.Pixel(x, y)[1]) - clean.Pixel(x, y)[1];
            sum += noise;
            squares += noise * noise;
        }
    const double count = double(clean.PixelCount());
    EXPECT_NEAR(sum / count, 0.0, 0.05);
    EXPECT_NEAR(std::sqrt(squares / count), 1.04, 0.06);  // with the rounding's own share
}

TEST(RenderedClipPixels, TheByteBehindTheLastPixelIsThatPixelsBlue) {
    const Frame frame = Rendered(SmallClip(1.0), 1);
    ASSERT_EQ(frame.mPixels.size(), 320u * 240u * 4u + 1u);
    EXPECT_EQ(frame.mPixels.back(), frame.Pixel(319, 239)[0]);
}

// ---- The still scene -------------------------------------------------------------------

TEST(RenderedSceneTest, StrokesLieOnTheirOwnSideOfTheTruth) {
    for (const std::pair<int, int>& size : {std::pair{640, 480}, {200, 300}, {97, 65}}) {
        const int width = size.first, height = size.second;
        const Host::RenderedScene scene = Host::RenderScene(width, height);
        int truth = 0;
        for (const descriptor::Strokes& strokes : scene.mStrokes) {
            const auto mask = [&](descriptor::Label inLabel) {
                return descriptor::mask_of(strokes, inLabel, width, height);
            };
            const descriptor::Frame bird = mask(descriptor::Label::foreground);
            const descriptor::Frame rest = mask(descriptor::Label::background);
            int foreground = 0;
            int background = 0;
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x) {
                    const bool isBird = scene.mTruth.At(x, y) != 0;
                    truth += isBird;
                    if (bird.row(y)[x]) {
                        EXPECT_TRUE(isBird) << x << ", " << y;
                        ++foreground;
                    }
                    if (rest.row(y)[x]) {
                        EXPECT_FALSE(isBird) << x << ", " << y;
                        ++background;
                    }
                }
            EXPECT_GT(foreground, 10);
            EXPECT_GT(background, 10);
        }
        EXPECT_GT(truth, width * height / 20);
    }
}

TEST(RenderedSceneTest, OverlapOfATruthWithItselfIsWholeAndWithNothingIsZero) {
    const Host::Mask truth = Host::RenderScene(64, 48).mTruth;
    EXPECT_EQ(Host::Overlap(truth, truth), 1.0);
    EXPECT_EQ(Host::Overlap(truth, Host::Mask(64, 48)), 0.0);
    EXPECT_EQ(Host::Overlap(Host::Mask(64, 48), Host::Mask(64, 48)), 0.0);
}

}  // namespace
