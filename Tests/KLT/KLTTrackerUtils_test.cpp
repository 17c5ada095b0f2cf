// The steps of one feature on one level: interpolation, windows, the system, and the order
// in which a search comes to its status.

#include "KLT/KLTTrackerUtils.h"

#include "Support/Images.h"
#include "Support/Test.h"
#include "image/IPConvolveImage.h"

namespace {

using namespace DP;
using namespace Testing;

FloatImage Flat(int inCols, int inRows) {
    return ImageOf(inCols, inRows, std::vector<float>(std::size_t(inCols * inRows), 90.0f));
}

FloatWindowPtr Window(int inWidth, int inHeight) {
    return TVK::MakeObject<FloatWindow>(inWidth, inHeight);
}

FloatWindowPtr WindowOf(int inWidth, int inHeight, std::vector<float> inValues) {
    const auto window = Window(inWidth, inHeight);
    std::copy(inValues.begin(), inValues.end(), window->mValues.begin());
    return window;
}

// ---- Interpolation and bounds --------------------------------------------------------

TEST(IsOutOfBounds, BorderItselfIsInsideAndNoNumberIsOutside) {
    EXPECT_FALSE(IsOutOfBounds(24, 24, 100, 80, 24, 24));
    EXPECT_FALSE(IsOutOfBounds(75, 55, 100, 80, 24, 24));
    for (const auto& [x, y] : {std::pair(23.9f, 30.0f),
                               {75.1f, 30.0f},
                               {30.0f, 23.9f},
                               {30.0f, 55.1f},
                               {kNaN, 30.0f},
                               {30.0f, kNaN},
                               {kInfinity, 30.0f},
                               {30.0f, -kInfinity}})
        EXPECT_TRUE(IsOutOfBounds(x, y, 100, 80, 24, 24)) << x << ", " << y;
}

// ---- The system ----------------------------------------------------------------------

TEST(SolveEquation, SolvesTheSystemOrCallsItSingular) {
    float dx = 7, dy = 7;
    EXPECT_EQ(SolveEquation(4, 2, 3, 10, 9, 0.01f, dx, dy), kKLTTracked);
    EXPECT_EQ(dx, 1.5f);
    EXPECT_EQ(dy, 2.0f);
    EXPECT_EQ(SolveEquation(1, 1, 1, 10, 9, 0.01f, dx, dy), kKLTSmallDet);
    EXPECT_EQ(dx, 1.5f) << "a singular system leaves the step alone";
    EXPECT_EQ(SolveEquation(1, 0, 0.01f, 1, 1, 0.01f, dx, dy), kKLTTracked)
        << "the limit itself is no singular system";
}

TEST(GradientSum, IsOfTheFirstImageAtItsPlaceAndOfTheSecondAtItsOwn) {
    FloatImage images[4];
    for (int i = 0; i < 4; ++i)
        images[i] = ImageOf(20, 20, NoiseFrame(20, 20, i + 1));
    const auto gx = Window(3, 3), gy = Window(3, 3);
    ComputeGradientSum(images[0], images[1], images[2], images[3], 9.25f, 8.5f, 7.75f, 6.5f, gx,
                       gy);
    const auto middle = [&](int i) {
        return InterpolateBilinear(images[i], 9.25f, 8.5f) +
               InterpolateBilinear(images[i + 2], 7.75f, 6.5f);
    };
    EXPECT_EQ(gx->mValues[4], middle(0));
    EXPECT_EQ(gy->mValues[4], middle(1));
}

TEST(WindowContracts, GradientWindowsAreOfOneSize) {
    const FloatImage image = Flat(20, 20);
    const auto a = Window(3, 3), taller = Window(3, 5), wider = Window(5, 3);
    float f;
    const std::function<void(FloatWindowPtr)> calls[] = {
        [&](FloatWindowPtr w) {
            ComputeGradientSum(image, image, image, image, 9, 9, 9, 9, a, w);
        },
        [&](FloatWindowPtr w) {
            ComputeGradientSumLightingInsensitive(image, image, image, image, image, image, 9,
                                                  9, 9, 9, a, w);
        },
        [&](FloatWindowPtr w) { Compute2by2GradientMatrix(a, w, f, f, f); },
        [&](FloatWindowPtr w) {
            Compute2by1ErrorVector(a, a, w, 1, f, f);
        }};
    for (const auto& call : calls) {
        const RecordedReports reports;
        EXPECT_ANY_THROW(call(taller));
        EXPECT_ANY_THROW(call(wider));
        EXPECT_EQ(reports.Broken(),
                  "Src/KLT/KLTTrackerUtils.cpp: inGradx->mHeight == inGrady->mHeight\n"
                  "Src/KLT/KLTTrackerUtils.cpp: inGradx->mWidth == inGrady->mWidth\n");
    }
}

TEST(PrintFloatWindow, WritesARowPerLine) {
    testing::internal::CaptureStderr();
    PrintFloatWindow(WindowOf(2, 2, {1.0f, -2.26f, 100.0f, 0.04f}));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "   1.0   -2.3 \n 100.0    0.0 \n");
}

// Mean squares and means are divided by the area before anything else. On whole pixels, where a
// bilinear value is the pixel's.
TEST(LightingInsensitive, DifferenceHasTheBitsOfItsFormula) {
    for (int seed = 1; seed <= 20; ++seed) {
        const auto first = NoiseFrame(9, 9, seed), second = NoiseFrame(9, 9, seed + 50);
        float sum1 = 0, sum2 = 0, squares1 = 0, squares2 = 0;
        for (std::size_t i = 10; i < 71; i = i % 9 == 7 ? i + 3 : i + 1) {
            sum1 += first[i], sum2 += second[i];
            squares1 += first[i] * first[i], squares2 += second[i] * second[i];
        }
        const float alpha = std::sqrt((squares1 / 49.0f) / (squares2 / 49.0f));
        const float beta = sum1 / 49.0f - alpha * (sum2 / 49.0f);
        const auto window = Window(7, 7);
        ComputeIntensityDifferenceLightingInsensitive(
            ImageOf(9, 9, first), ImageOf(9, 9, second), 4, 4, 4, 4, window);
        for (std::size_t k = 0, i = 10; k < 49; ++k, i = i % 9 == 7 ? i + 3 : i + 1)
            ASSERT_EQ(window->mValues[k], first[i] - alpha * second[i] - beta) << seed;
    }
}

// ---- The search ----------------------------------------------------------------------

// Frame, moved frame and their gradients, unsmoothed.
class TrackFeature : public testing::Test {
protected:
    static constexpr int kCols = 60, kRows = 50;

    struct Frame {
        FloatImage mImage, mGradX, mGradY;
    };
    static Frame FrameOf(FloatImage inImage) {
        const auto make = [] {
            return TVK::MakeObject<IP::Image<float>>(kCols, kRows);
        };
        Frame frame{inImage, make(), make()};
        IP::ComputeGradients(inImage, 1.0f, frame.mGradX, frame.mGradY);
        return frame;
    }
    static Frame Moved(double inDx, double inDy) {
        return FrameOf(ImageOf(kCols, kRows, TexturedFrame(kCols, kRows, -inDx, -inDy)));
    }
    struct Limits {
        int mMaxIterations = 10;
        float mMaxResidue = 10.0f;
    };
    int Track(float inX1, float inY1, float& ioX2, float& ioY2, const Frame& inFirst,
              const Frame& inSecond, Limits inLimits) {
        return DP::TrackFeature(inX1, inY1, ioX2, ioY2, inFirst.mImage, inFirst.mGradX,
                                inFirst.mGradY, inSecond.mImage, inSecond.mGradX,
                                inSecond.mGradY, 7, 7, 1.0f, inLimits.mMaxIterations, 0.01f,
                                0.1f, inLimits.mMaxResidue, false);
    }
};

TEST_F(TrackFeature, IdenticalFramesSettleAtOnce) {
    const Frame frame = Moved(0, 0);
    float x = 30.25f, y = 25.5f;
    EXPECT_EQ(Track(30.25f, 25.5f, x, y, frame, frame, {2, 0.0f}), kKLTTracked)
        << "a residue at the limit is none too many";
    EXPECT_EQ(x, 30.25f);
    EXPECT_EQ(y, 25.5f);
}

TEST_F(TrackFeature, SettlingOnTheLastIterationCountsAsNotSettled) {
    const Frame frame = Moved(0, 0);
    float x = 30, y = 25;
    EXPECT_EQ(Track(30, 25, x, y, frame, frame, {1}), kKLTMaxIterations);
}

TEST_F(TrackFeature, FlatGroundIsSingular) {
    const Frame flat = FrameOf(Flat(kCols, kRows));
    float x = 30, y = 25;
    EXPECT_EQ(Track(30, 25, x, y, flat, flat, {}), kKLTSmallDet);
}

TEST_F(TrackFeature, PoorMatchIsToldBeforeTheIterations) {
    const Frame first = Moved(0, 0), second = Moved(0.2, 0);
    float x = 30, y = 25;
    EXPECT_EQ(Track(30, 25, x, y, first, second, {1, 0.0f}), kKLTLargeResidue);
}

// x + 3 must stay 1.001 below the columns, since the interpolation reads a pixel further.
TEST_F(TrackFeature, WindowsAtTheEdgesAreOutside) {
    const Frame frame = Moved(0, 0);
    const auto statusAt = [&](float inX1, float inY1, float inX2, float inY2) {
        return Track(inX1, inY1, inX2, inY2, frame, frame, {});
    };
    EXPECT_EQ(statusAt(3, 3, 3, 3), kKLTTracked);
    EXPECT_EQ(statusAt(55.99f, 45.99f, 55.99f, 45.99f), kKLTTracked);
    for (const float bad : {2.99f, 56.0f, -100.0f, 1e9f, kNaN, kInfinity, -kInfinity}) {
        EXPECT_EQ(statusAt(bad, 25, 30, 25), kKLTOutOfBounds) << bad;
        EXPECT_EQ(statusAt(30, 25, bad, 25), kKLTOutOfBounds) << bad;
    }
    for (const float bad : {2.99f, 46.0f, kNaN}) {
        EXPECT_EQ(statusAt(30, bad, 30, 25), kKLTOutOfBounds) << bad;
        EXPECT_EQ(statusAt(30, 25, 30, bad), kKLTOutOfBounds) << bad;
    }
}

// Everywhere in the image, its edges and numbers that round unevenly included.
TEST_F(TrackFeature, GradientsMadeUnderTheWindowGiveTheBitsOfPlanes) {
    const Frame first = Moved(0, 0), second = Moved(1.7, -1.2);
    const Frame firstAlone{first.mImage, {}, {}}, secondAlone{second.mImage, {}, {}};
    Random random(4);
    int tracked = 0;
    for (int run = 0; run < 3000; ++run) {
        const auto at = [&](int inSize) {
            const float place = float(3 + random.Real() * (inSize - 7.01));
            const int power = 1 << random.Integer(2, 5);
            return run % 3 ? place : std::nextafter(float(power + 3), run % 2 ? 0.0f : 99.0f);
        };
        const float x1 = at(kCols), y1 = at(kRows), startX = at(kCols), startY = at(kRows);
        const bool isNear = run % 4 != 0;
        float x = isNear ? x1 + 1 : startX, y = isNear ? y1 - 1 : startY;
        float blockX = x, blockY = y;
        const int status = Track(x1, y1, x, y, first, second, {});
        EXPECT_EQ(Track(x1, y1, blockX, blockY, firstAlone, secondAlone, {}), status);
        EXPECT_EQ(BitsOf(blockX), BitsOf(x)) << x1 << " " << y1;
        EXPECT_EQ(BitsOf(blockY), BitsOf(y)) << x1 << " " << y1;
        tracked += status == kKLTTracked;
    }
    EXPECT_GT(tracked, 1000);
}

TEST_F(TrackFeature, ASmallerSecondImageIsNeverReadOutside) {
    const Frame first = Moved(0, 0);
    const auto small = ImageOf(20, 20, NoiseFrame(20, 20, 1));
    for (const auto& [startX, startY] :
         {std::pair{30.0f, 25.0f}, {30.0f, 9.0f}, {9.0f, 25.0f}}) {
        float x = startX, y = startY;
        EXPECT_EQ(Track(startX, startY, x, y, first, {small, small, small}, {}),
                  kKLTOutOfBounds);
    }
}

}  // namespace
