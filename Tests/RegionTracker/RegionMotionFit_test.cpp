// The motion fit: motions that are known come back, the right one of two moves the
// rectangle, each rule of the steps, and what a point list without sense gives.

#include "RegionTracker/RegionMotionFit.h"

#include "Support/Test.h"
#include "image/Saturate.h"

namespace {

using namespace DP;
using namespace Testing;
using Rect = TVK::ParamRect<float>;

constexpr int kRows = 200;

APTFeature At(float inX, float inY, int inStatus = kAPTFeatureTracked) {
    APTFeature feature;
    feature.mX = inX;
    feature.mY = inY;
    feature.mStatus = inStatus;
    return feature;
}

// Six numbers of an affine motion in image coordinates.
struct Affine {
    double a, b, c, d, e, f;
    APTFeature operator()(const APTFeature& inFeature) const {
        return At(float(a * inFeature.mX + b * inFeature.mY + c),
                  float(d * inFeature.mX + e * inFeature.mY + f));
    }
};
constexpr Affine kStill{1, 0, 0, 0, 1, 0};

struct Fit {
    Rect mRect;
    MotionGroups mGroups;
    int mSelected = -1;
};

Fit FitOf(const APTFeatureList& inCurrent, const APTFeatureList& inPrevious,
          const Rect& inRect) {
    Fit fit;
    FitRegionMotion(TVK::MakeObject<APTFeatureList>(inCurrent),
                    TVK::MakeObject<APTFeatureList>(inPrevious), kRows, &inRect, &fit.mRect,
                    fit.mGroups, &fit.mSelected);
    return fit;
}

// Points all over a rectangle, y upward, as the host gives it.
APTFeatureList PointsIn(const Rect& inRect, int inCount, std::uint64_t inSeed) {
    Random random(inSeed);
    APTFeatureList points;
    for (int i = 0; i < inCount; ++i) {
        const double x = inRect.mLeft + random.Real() * (inRect.mRight - inRect.mLeft);
        const double y = inRect.mTop + random.Real() * (inRect.mBottom - inRect.mTop);
        points.push_back(At(float(x), float(kRows - y)));
    }
    return points;
}

template <class Motion>
APTFeatureList Moved(const APTFeatureList& inPoints, const Motion& inMotion) {
    APTFeatureList moved(inPoints.size());
    std::transform(inPoints.begin(), inPoints.end(), moved.begin(), inMotion);
    return moved;
}

void ExpectRectNear(const Rect& inRect, const Rect& inExpected, double inTolerance) {
    EXPECT_NEAR(inRect.mLeft, inExpected.mLeft, inTolerance);
    EXPECT_NEAR(inRect.mTop, inExpected.mTop, inTolerance);
    EXPECT_NEAR(inRect.mRight, inExpected.mRight, inTolerance);
    EXPECT_NEAR(inRect.mBottom, inExpected.mBottom, inTolerance);
}

// Positions are below 256: a coordinate is off by 2^-17 at the most when it is rounded,
// and a corner adds three such terms of a motion fitted to many points.
constexpr double kPositionError = 8.0 / 131072.0;

// ---- Known motions ---------------------------------------------------------------------

constexpr Rect kRect{40.0f, 60.0f, 140.0f, 160.0f};

TEST(RegionMotionFit, ATranslationMovesTheRectangleByItself) {
    const APTFeatureList points = PointsIn(kRect, 60, 1);
    const Fit fit = FitOf(Moved(points, Affine{1, 0, 3, 0, 1, -2}), points, kRect);
    // Two rows up in the image are +2 in a rectangle's y.
    ExpectRectNear(fit.mRect, {43.0f, 62.0f, 143.0f, 162.0f}, kPositionError);
    EXPECT_EQ(fit.mGroups[0].size() + fit.mGroups[1].size(), 60u) << "no point is left out";
}

TEST(RegionMotionFit, FreeSlotsTakeNoPart) {
    const APTFeatureList previous = PointsIn(kRect, 60, 6);
    const APTFeatureList current = Moved(previous, Affine{1, 0, 3, 0, 1, -2});
    const Fit clean = FitOf(current, previous, kRect);
    APTFeatureList currentSlots, previousSlots;
    for (std::size_t i = 0; i < current.size(); ++i) {
        currentSlots.push_back(At(kNaN, 1e30f, -1 - int(i % 4)));
        previousSlots.push_back(At(0.0f, kInfinity, kAPTFeatureInactive));
        currentSlots.push_back(current[i]);
        previousSlots.push_back(previous[i]);
    }
    const Fit fit = FitOf(currentSlots, previousSlots, kRect);
    EXPECT_EQ(fit.mRect, clean.mRect);
    EXPECT_EQ(fit.mSelected, clean.mSelected);
}

// ---- Partition -------------------------------------------------------------------------

TEST(PartitionFeatures, TheEdgeOfTheInnerBoxBelongsToIt) {
    // Inner box: x 20 to 100 of (10, 30) to (110, 130), y 40 to 120 upward.
    const Rect rect{10.0f, 30.0f, 110.0f, 130.0f};
    const auto isInner = [&](float inX, float inY) {
        MotionGroups groups;
        PartitionFeatures({At(inX, inY)}, kRows, rect, groups);
        EXPECT_EQ(groups.size(), 2u);
        EXPECT_EQ(groups[0].size() + groups[1].size(), 1u);
        return groups[0].size() == 1;
    };
    for (const float x : {20.0f, 60.5f, 100.0f, 100.99f})
        for (const float y : {kRows - 40.0f, kRows - 80.0f, kRows - 120.0f, kRows - 120.9f})
            EXPECT_TRUE(isInner(x, y)) << x << ", " << y;
    for (const float x : {19.99f, 101.0f, -5.0f, kNaN, kInfinity, -1e20f}) {
        EXPECT_FALSE(isInner(x, kRows - 80.0f)) << x;
        if (std::isnan(x)) continue;
        EXPECT_FALSE(isInner(60.0f, x == 19.99f ? kRows - 39.0f : kRows - 121.0f));
    }
    EXPECT_FALSE(isInner(60.0f, kNaN));
}

TEST(PartitionFeatures, ARectangleTurnedOverHasNoInside) {
    MotionGroups groups;
    PartitionFeatures({At(60.0f, 120.0f)}, kRows, {110.0f, 30.0f, 10.0f, 130.0f}, groups);
    EXPECT_TRUE(groups[0].empty());
    groups.clear();
    PartitionFeatures({At(60.0f, 120.0f)}, kRows, {kNaN, 30.0f, 110.0f, 130.0f}, groups);
    EXPECT_TRUE(groups[0].empty());
}

// ---- Reassignment ----------------------------------------------------------------------

MotionSystem Translation(double inX, double inY) {
    MotionSystem system;
    system.mCx = {1.0, 0.0, inX};
    system.mCy = {0.0, 1.0, inY};
    return system;
}

// A point that moves by (m, 0) is m from motion 0, which stands still, and |m - far| from
// motion 1, which moves by (far, 0). Numbers are exact in single precision.
struct ReassignCase {
    float mMotion;
    float mFar;
    int mGroup;  // -1 for neither
};

class Reassign : public testing::TestWithParam<ReassignCase> {};

TEST_P(Reassign, FollowsTheTwoLimitsAndTheRatio) {
    const auto [motion, farMotion, expected] = GetParam();
    const MotionSystems systems = {Translation(0, 0), Translation(farMotion, 0)};
    MotionGroups groups = {{7}, {8}};  // what stood there before is forgotten
    ReassignFeatures({At(8.0f + motion, 16.0f)}, {At(8.0f, 16.0f)}, systems, groups);
    EXPECT_EQ(groups[0].size(), expected == 0 ? 1u : 0u);
    EXPECT_EQ(groups[1].size(), expected == 1 ? 1u : 0u);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, Reassign,
    testing::Values(ReassignCase{0.0f, 8.0f, 0},     // exact, and the other far
                    ReassignCase{8.0f, 8.0f, 1},     //
                    ReassignCase{0.5f, 1.0f, 0},     // equal and good: group 0
                    ReassignCase{0.5f, 0.875f, 1},   // close together, the better one
                    ReassignCase{0.75f, 1.5f, -1},   // equal and not good enough
                    ReassignCase{1.0f, 2.25f, -1},   // 1.25 : 1, not clear
                    ReassignCase{1.0f, 2.5f, -1},    // 1.5 : 1 exactly, not clear
                    ReassignCase{1.0f, 2.625f, 0},   // 1.625 : 1, clear
                    ReassignCase{1.9375f, 8.0f, 0},  // just usable
                    ReassignCase{2.0f, 64.0f, -1},   // just not
                    ReassignCase{kNaN, 8.0f, -1}));  // never

TEST(MotionResidual, IsTheSumOfBothAxes) {
    const MotionSystem motion = Translation(3, -2);
    EXPECT_EQ(FeatureMotionResidual(At(8, 8), At(11, 6), motion), 0.0f);
    EXPECT_EQ(FeatureMotionResidual(At(8, 8), At(10, 7.5f), motion), 2.5f);
}

TEST(MotionResidual, OfNoPointIsNotANumber) {
    EXPECT_TRUE(std::isnan(MeanMotionResidual({{}, {}}, {}, {}, {})));
}

TEST(MotionResidual, IsTakenOverBothGroupsEachUnderItsOwnMotion) {
    const APTFeatureList previous = {At(0, 0), At(0, 0), At(0, 0), At(0, 0)};
    const APTFeatureList current = {At(1, 0), At(5, 0), At(9, 9), At(6, 0)};
    EXPECT_EQ(MeanMotionResidual({{0}, {1, 3}}, current, previous,
                                 {Translation(0, 0), Translation(5, 0)}),
              2.0f / 3.0f);
}

// ---- Score -----------------------------------------------------------------------------

// The definition, with its linear search through the group.
float LiteralScore(const MotionGroup& inGroup, const APTFeatureList& inFeatures,
                   const Rect& inRect, int inRows) {
    const int cx = IP::TruncateNaNLowest(float((inRect.mLeft + inRect.mRight) * 0.5));
    const int cy = IP::TruncateNaNLowest(float((inRect.mTop + inRect.mBottom) * 0.5));
    const long long dx = IP::TruncateNaNLowest(inRect.mLeft) - cx;
    const long long dy = IP::TruncateNaNLowest(inRect.mTop) - cy;
    const float D = float(std::sqrt(float(dx * dx + dy * dy)) + 1.0);
    float score = 0.0f;
    for (int i = 0; i < int(inFeatures.size()); ++i) {
        if (std::find(inGroup.begin(), inGroup.end(), i) == inGroup.end()) continue;
        const long long px = IP::TruncateNaNLowest(inFeatures[std::size_t(i)].mX);
        const long long py =
            IP::TruncateNaNLowest(float(inRows) - inFeatures[std::size_t(i)].mY);
        const float d = std::sqrt(float((cx - px) * (cx - px) + (cy - py) * (cy - py)));
        score = float(score + (10.0 - d * 10.0 / D));
    }
    return score;
}

TEST(ScoreMotionGroup, GivesTheBitsOfItsDefinition) {
    Random random(17);
    for (int round = 0; round < 30; ++round) {
        const Rect rect{float(random.Real() * 80), float(random.Real() * 80),
                        float(90 + random.Real() * 80), float(90 + random.Real() * 80)};
        const APTFeatureList points = PointsIn({0, 0, 200, 200}, 100, std::uint64_t(round));
        MotionGroup group;
        for (int i = 0; i < 100; ++i)
            if (random.Integer(0, 2) == 0) group.push_back(i);
        EXPECT_EQ(ScoreMotionGroup(group, points, rect, kRows),
                  LiteralScore(group, points, rect, kRows));
    }
}

// ---- The whole ---------------------------------------------------------------------------

// The loop and the corners by their definition, from the steps. Returns the passes that
// reassigned.
int LiteralFit(const APTFeatureList& inCurrent, const APTFeatureList& inPrevious,
               const Rect& inRect, Fit& outFit) {
    MotionSystems systems;
    LeastSquares solver;
    MotionGroups& groups = outFit.mGroups;
    PartitionFeatures(inCurrent, kRows, inRect, groups);
    int count = 0;
    float error = 100000.0f;
    while (error > 0.5f && count != 20) {
        BuildMotionSystems(groups, inCurrent, inPrevious, systems);
        for (std::size_t m = 0; m < 2; ++m) {
            if (groups[m].empty()) continue;
            SolveLeastSquares(systems[m].mA, systems[m].mBx, systems[m].mCx, 0.0, solver);
            SolveLeastSquares(systems[m].mA, systems[m].mBy, systems[m].mCy, 0.0, solver);
        }
        error = MeanMotionResidual(groups, inCurrent, inPrevious, systems);
        if (error < 0.5f) break;
        ReassignFeatures(inCurrent, inPrevious, systems, groups);
        ++count;
    }
    const float score0 = ScoreMotionGroup(groups[0], inCurrent, inRect, kRows);
    const float score1 = ScoreMotionGroup(groups[1], inCurrent, inRect, kRows);
    outFit.mSelected = score0 > score1 ? 0 : 1;
    const MotionSystem& chosen = systems[std::size_t(outFit.mSelected)];
    const auto at = [](const std::vector<double>& inC, float inX, float inY) {
        return (inY * float(inC[1]) + inX * float(inC[0])) + float(inC[2]);
    };
    const float H = kRows, yT = H - inRect.mTop, yB = H - inRect.mBottom;
    const float L = inRect.mLeft, R = inRect.mRight;
    outFit.mRect.mLeft = (at(chosen.mCx, L, yB) + at(chosen.mCx, L, yT)) * 0.5f;
    outFit.mRect.mRight = (at(chosen.mCx, R, yB) + at(chosen.mCx, R, yT)) * 0.5f;
    outFit.mRect.mTop = H - (at(chosen.mCy, R, yT) + at(chosen.mCy, L, yT)) * 0.5f;
    outFit.mRect.mBottom = H - (at(chosen.mCy, R, yB) + at(chosen.mCy, L, yB)) * 0.5f;
    return count;
}

// Each group is off its own motion by exactly half a pixel, left and right in turn, which no
// affine motion takes up; reassigned, half of the points change sides.
TEST(RegionMotionFit, AMeanOfExactlyHalfAPixelIsReassignedOnceAndNotFittedAgain) {
    APTFeatureList previous, current;
    for (const float away : {16.0f, 48.0f})  // inner and outer
        for (const float x : {-away, away})
            for (const float y : {-away, away}) {
                const float half = x == y ? 0.5f : -0.5f;
                previous.push_back(At(90.0f + x, 90.0f + y));
                current.push_back(At(90.0f + x + half + (away > 20 ? 0.25f : 0.0f), 90.0f + y));
            }
    Fit expected;
    ASSERT_EQ(LiteralFit(current, previous, kRect, expected), 1);
    const Fit fit = FitOf(current, previous, kRect);
    EXPECT_EQ(fit.mRect, expected.mRect);
    EXPECT_EQ(fit.mGroups, expected.mGroups);
    EXPECT_NE(fit.mGroups, (MotionGroups{{0, 1, 2, 3}, {4, 5, 6, 7}}));
}

// Two motions under noise of all strengths: fits that end at once, later, and never; among
// few points the passes come back to where they were, or take turns.
TEST(RegionMotionFit, GivesTheBitsOfItsDefinition) {
    Random random(31);
    int atOnce = 0, later = 0, never = 0;
    for (int round = 0; round < 600; ++round) {
        const double noise = 0.02 * (round % 200);
        const APTFeatureList previous =
            PointsIn(kRect, round < 200 ? 80 : 6 + round % 17, std::uint64_t(round));
        APTFeatureList current = previous;
        for (std::size_t i = 0; i < current.size(); ++i) {
            current[i].mX += float((i % 3 ? 5.3 : -2.1) + noise * (random.Real() - 0.5));
            current[i].mY += float((i % 3 ? 1.7 : 0.4) + noise * (random.Real() - 0.5));
        }
        Fit expected;
        const int passes = LiteralFit(current, previous, kRect, expected);
        const Fit fit = FitOf(current, previous, kRect);
        ASSERT_EQ(fit.mRect, expected.mRect) << "round " << round;
        ASSERT_EQ(fit.mGroups, expected.mGroups) << "round " << round;
        ASSERT_EQ(fit.mSelected, expected.mSelected) << "round " << round;
        ++(passes == 0 ? atOnce : passes < 20 ? later : never);
    }
    // One motion alone is met at once.
    const APTFeatureList previous = PointsIn(kRect, 30, 5);
    Fit expected;
    atOnce += LiteralFit(Moved(previous, kStill), previous, kRect, expected) == 0;
    EXPECT_GT(atOnce, 0);
    EXPECT_GT(later, 0);
    EXPECT_GT(never, 0);
}

// ---- Few points, and none --------------------------------------------------------------

TEST(RegionMotionFitDegenerate, WithoutALivePointTheRectangleHasNoArea) {
    const Rect gone{0.0f, float(kRows), 0.0f, float(kRows)};
    for (const APTFeatureList& list : {APTFeatureList{}, APTFeatureList{At(50, 50, -1)}}) {
        const Fit fit = FitOf(list, list, kRect);
        EXPECT_EQ(fit.mRect, gone);
        EXPECT_EQ(fit.mSelected, 1);
        ASSERT_EQ(fit.mGroups.size(), 2u);
        EXPECT_TRUE(fit.mGroups[0].empty() && fit.mGroups[1].empty());
    }
}

TEST(RegionMotionFitDegenerate, OnePointAtTheCentreGivesTheShortestMotion) {
    // The shortest c with c . (90, 90, 1) = 93 is 93 (90, 90, 1) / (90^2 + 90^2 + 1).
    const Fit fit = FitOf({At(93, 91)}, {At(90, 90)}, kRect);
    EXPECT_EQ(fit.mSelected, 0);
    const double scale = 1.0 / (2 * 90.0 * 90.0 + 1);
    const auto moved = [&](double inTo, double inX, double inY) {
        return inTo * scale * (90.0 * inX + 90.0 * inY + 1.0);
    };
    // Rows of the rectangle's sides: 140 and 40; their mean is 90.
    EXPECT_NEAR(fit.mRect.mLeft, moved(93, 40, 90), 1e-4);
    EXPECT_NEAR(fit.mRect.mRight, moved(93, 140, 90), 1e-4);
    EXPECT_NEAR(fit.mRect.mTop, kRows - moved(91, 90, 140), 1e-4);
    EXPECT_NEAR(fit.mRect.mBottom, kRows - moved(91, 90, 40), 1e-4);
}

TEST(RegionMotionFitDegenerate, AGroupThatIsOutsideLosesToAnEmptyOne) {
    // All points are far from the rectangle, so group 1 holds them and scores below 0; group
    // 0 is empty and scores 0, which is more; its motion is the one that was never solved.
    const APTFeatureList previous = {At(500, 10), At(600, 20), At(700, 5), At(650, 90)};
    const Fit fit = FitOf(Moved(previous, Affine{1, 0, 1, 0, 1, 1}), previous, kRect);
    EXPECT_EQ(fit.mSelected, 0);
    EXPECT_EQ(fit.mRect, (Rect{0.0f, float(kRows), 0.0f, float(kRows)}));
}

TEST(RegionMotionFitDegenerate, AGroupThatGoesEmptyKeepsItsLastMotion) {
    // The inner points scatter about standing still, each too far for any group; the points
    // beyond the rectangle follow a motion of their own and score below 0.
    const APTFeatureList previous = {At(60, 60),  At(120, 60), At(60, 120), At(120, 120),
                                     At(500, 10), At(600, 20), At(700, 5),  At(650, 90)};
    APTFeatureList current = Moved(previous, Affine{1, 0, 30, 0, 1, 0});
    const float scatter[] = {8, -8, -8, 8};  // no affine motion has any part of this
    for (std::size_t i = 0; i < 4; ++i)
        current[i] = At(previous[i].mX + scatter[i], previous[i].mY + scatter[i]);
    const Fit fit = FitOf(current, previous, kRect);
    EXPECT_EQ(fit.mGroups, (MotionGroups{{}, {4, 5, 6, 7}}));
    EXPECT_EQ(fit.mSelected, 0);
    ExpectRectNear(fit.mRect, kRect, 1e-3);
}

// A fit with numbers that are none must end, and read and write only where it may.
TEST(RegionMotionFitDegenerate, OddNumbersEndTheFitAllTheSame) {
    Random random(23);
    const float odd[] = {kNaN,   kInfinity, -kInfinity, 3e38f, -3e38f,
                         1e-42f, 0.0f,      -1e10f,     4e9f,  2147483648.0f};
    const auto pick = [&] {
        return odd[random.Integer(0, 9)];
    };
    for (int round = 0; round < 300; ++round) {
        APTFeatureList previous = PointsIn(kRect, random.Integer(1, 12), std::uint64_t(round));
        APTFeatureList current = Moved(previous, Affine{1, 0, 3, 0, 1, -2});
        for (APTFeatureList* list : {&previous, &current})
            for (APTFeature& point : *list) {
                if (random.Integer(0, 3) == 0) point.mX = pick();
                if (random.Integer(0, 3) == 0) point.mY = pick();
            }
        Rect rect = kRect;
        if (round % 2) rect = {pick(), pick(), pick(), pick()};
        const Fit fit = FitOf(current, previous, rect);
        EXPECT_TRUE(fit.mSelected == 0 || fit.mSelected == 1);
        EXPECT_LE(fit.mGroups[0].size() + fit.mGroups[1].size(), current.size());
    }
}

// The matrix is not finite, so the head of each right-hand side stands in for the motion.
TEST(RegionMotionFitDegenerate, AFailedSolveLeavesTheHeadOfTheRightHandSide) {
    std::vector<double> x = {9, 9, 9};
    LeastSquares solver;
    EXPECT_FALSE(SolveLeastSquares({kNaN, 0, 1, 0, 0, 1}, {5, 6}, x, 0.0, solver));
    EXPECT_EQ(x, (std::vector<double>{5, 6, 0}));
    EXPECT_FALSE(SolveLeastSquares({}, {}, x, 0.0, solver));
    EXPECT_EQ(x, (std::vector<double>{5, 6, 0})) << "nothing to solve changes nothing";
    EXPECT_TRUE(SolveLeastSquares({1, 0, 0, 0, 1, 0}, {5, 7}, x, 0.0, solver));
}

}  // namespace
