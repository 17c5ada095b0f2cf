// Two motions in one rectangle.
//
// What a host draws a rectangle around seldom fills it: between the object and the rim
// stands background, which moves otherwise. So the points are not asked for one motion but
// for two, each affine:
//
//     +-----------------+
//     | . . . . . . . . |      . starts in group 1: the outer tenth at each side
//     | . # # # # # # . |      # starts in group 0: the inner box
//     | . # # # # # # . |
//     | . . . . . . . . |
//     +-----------------+
//
// Each pass fits both motions by least squares and then lets every live point choose the
// motion that explains it, or neither; it ends when the points lie within half a pixel of
// their motions in the mean, or after 20 passes. The groups need not keep to their places:
// at last the rectangle follows the group that stands closest to its centre.
//
// Precision. Systems are solved in double; a motion is rounded to single before it is
// applied, and points and rectangles are single throughout. The order of each sum is part
// of the result.

#include "RegionTracker/RegionMotionFit.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <utility>

#include "image/Saturate.h"

namespace DP {
namespace {

constexpr int kMostPasses = 20;
constexpr float kGoodMeanResidual = 0.5f;  // pixels

// A point is taken into a group if it is explained this well, or well and clearly better
// than by the other motion.
constexpr float kCertainResidual = 0.75f;
constexpr float kUsableResidual = 2.0f;
constexpr double kClearRatio = 1.5;

// The inner box leaves a tenth of a side free at each end. The sign is that of the definition:
// a proper rectangle has a negative margin, which is taken off the lower edge and added to the
// upper one, so that both move inward. One that is turned over has a positive margin and no
// inside.
constexpr double kInnerMargin = -10.0;
constexpr double kCentreScore = 10.0;

struct Motion {
    float a, b, c;
};

Motion InSingle(const std::vector<double>& inCoefficients) {
    return {static_cast<float>(inCoefficients[0]), static_cast<float>(inCoefficients[1]),
            static_cast<float>(inCoefficients[2])};
}

bool IsLive(const APTFeature& inFeature) { return inFeature.mStatus >= 0; }

// Distance in whole pixels. Squares of differences of two integers need all 64 bits.
float Distance(std::int64_t inX, std::int64_t inY) {
    const auto square = [](std::int64_t inValue) {
        const auto magnitude = static_cast<std::uint64_t>(inValue < 0 ? -inValue : inValue);
        return magnitude * magnitude;
    };
    return std::sqrt(static_cast<float>(square(inX) + square(inY)));
}

void SolveMotions(const MotionGroups& inGroups, MotionSystems& ioSystems,
                  LeastSquares& ioSolver) {
    for (std::size_t m = 0; m < ioSystems.size(); ++m) {
        if (inGroups[m].empty()) continue;  // keeps the motion of its last solve
        MotionSystem& system = ioSystems[m];
        SolveLeastSquares(system.mA, system.mBx, system.mCx, 0.0, ioSolver);
        SolveLeastSquares(system.mA, system.mBy, system.mCy, 0.0, ioSolver);
    }
}

// What a pass makes the next one of: the groups, and the motions, which an empty group keeps
// from its last solve.
struct PassState {
    MotionGroups mGroups;
    std::array<std::array<double, 3>, 4> mMotions;

    PassState(const MotionGroups& inGroups, const MotionSystems& inSystems)
        : mGroups(inGroups) {
        auto target = mMotions.begin();
        for (const MotionSystem& system : inSystems)
            for (const auto* coefficients : {&system.mCx, &system.mCy})
                std::ranges::copy(*coefficients, (target++)->begin());
    }

    void Restore(MotionGroups& outGroups, MotionSystems& outSystems) const {
        outGroups = mGroups;
        auto source = mMotions.begin();
        for (MotionSystem& system : outSystems)
            for (auto* coefficients : {&system.mCx, &system.mCy})
                std::ranges::copy(*source++, coefficients->begin());
    }

    // By bits: 0 and -0 do not lead to the same.
    bool operator==(const PassState& inOther) const {
        // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison): doubles without padding
        return std::memcmp(&mMotions, &inOther.mMotions, sizeof(mMotions)) == 0 &&
               mGroups == inOther.mGroups;
    }
};

// The states that the passes have come through. A pass that comes back to one of them is
// followed by what followed then: mostly by itself, sometimes by a few that take turns.
class PassHistory {
public:
    /// Takes the state after no, one, two passes and so on. True, and the state after the
    /// last pass in its place, if all further ones are known.
    bool Ends(MotionGroups& ioGroups, MotionSystems& ioSystems) {
        const PassState state(ioGroups, ioSystems);
        const auto met = std::ranges::find(mStates, state);
        if (met == mStates.end()) {
            mStates.push_back(state);
            return false;
        }
        const auto first = met - mStates.begin();
        const auto length = mStates.end() - met;
        const auto last = first + (kMostPasses - first) % length;
        mStates[static_cast<std::size_t>(last)].Restore(ioGroups, ioSystems);
        return true;
    }

private:
    std::vector<PassState> mStates;
};

// The rectangle stays upright: each side goes to the mean of its two corners.
TVK::ParamRect<float> MoveRect(const TVK::ParamRect<float>& inRect, float inRows,
                               const Motion& inMotionX, const Motion& inMotionY) {
    const float yTop = inRows - inRect.mTop;
    const float yBottom = inRows - inRect.mBottom;
    const auto moved = [](const Motion& inMotion, float inX, float inY) {
        return (inY * inMotion.b + inX * inMotion.a) + inMotion.c;
    };
    const float x1 = moved(inMotionX, inRect.mLeft, yTop);
    const float y1 = moved(inMotionY, inRect.mLeft, yTop);
    const float x2 = moved(inMotionX, inRect.mLeft, yBottom);
    const float y2 = moved(inMotionY, inRect.mLeft, yBottom);
    const float x3 = moved(inMotionX, inRect.mRight, yTop);
    const float y3 = moved(inMotionY, inRect.mRight, yTop);
    const float x4 = moved(inMotionX, inRect.mRight, yBottom);
    const float y4 = moved(inMotionY, inRect.mRight, yBottom);
    return {.mLeft = (x2 + x1) * 0.5f,
            .mTop = inRows - (y3 + y1) * 0.5f,
            .mRight = (x4 + x3) * 0.5f,
            .mBottom = inRows - (y4 + y2) * 0.5f};
}

}  // namespace

void FitRegionMotion(APTFeatureListPtr inCurrFeatures, APTFeatureListPtr inPrevFeatures,
                     int inRows, const TVK::ParamRect<float>* inRect,
                     TVK::ParamRect<float>* outRect, MotionGroups& ioGroups,
                     int* outSelectedGroup) {
    const APTFeatureList& current = *inCurrFeatures;
    const APTFeatureList& previous = *inPrevFeatures;
    MotionSystems systems;
    LeastSquares solver;
    PartitionFeatures(current, inRows, *inRect, ioGroups);

    PassHistory history;
    for (int pass = 0; pass < kMostPasses && !history.Ends(ioGroups, systems); ++pass) {
        BuildMotionSystems(ioGroups, current, previous, systems);
        SolveMotions(ioGroups, systems, solver);
        const float error = MeanMotionResidual(ioGroups, current, previous, systems);
        if (error < kGoodMeanResidual) break;
        ReassignFeatures(current, previous, systems, ioGroups);
        if (!(error > kGoodMeanResidual)) break;  // just good, or not a number
    }

    const float score0 = ScoreMotionGroup(ioGroups[0], current, *inRect, inRows);
    const float score1 = ScoreMotionGroup(ioGroups[1], current, *inRect, inRows);
    const int selected = score0 > score1 ? 0 : 1;
    const MotionSystem& chosen = systems[static_cast<std::size_t>(selected)];
    *outRect = MoveRect(*inRect, static_cast<float>(inRows), InSingle(chosen.mCx),
                        InSingle(chosen.mCy));
    *outSelectedGroup = selected;
}

void PartitionFeatures(const APTFeatureList& inCurrFeatures, int inRows,
                       const TVK::ParamRect<float>& inRect, MotionGroups& ioGroups) {
    const double w = (inRect.mRight - inRect.mLeft) / kInnerMargin;
    const double h = (inRect.mBottom - inRect.mTop) / kInnerMargin;
    const float left = static_cast<float>(inRect.mLeft - w);
    const float right = static_cast<float>(inRect.mRight + w);
    const float lower = static_cast<float>(inRect.mTop - h);
    const float upper = static_cast<float>(inRect.mBottom + h);
    const float rows = static_cast<float>(inRows);

    MotionGroup inner;
    MotionGroup outer;
    for (std::size_t i = 0; i < inCurrFeatures.size(); ++i) {
        const APTFeature& feature = inCurrFeatures[i];
        if (!IsLive(feature)) continue;
        const float px = static_cast<float>(IP::TruncateNaNLowest(feature.mX));
        const float py = static_cast<float>(IP::TruncateNaNLowest(rows - feature.mY));
        const bool isInner = px >= left && px <= right && py >= lower && py <= upper;
        (isInner ? inner : outer).push_back(static_cast<int>(i));
    }
    ioGroups.push_back(std::move(inner));
    ioGroups.push_back(std::move(outer));
}

void BuildMotionSystems(const MotionGroups& inGroups, const APTFeatureList& inCurrFeatures,
                        const APTFeatureList& inPrevFeatures, MotionSystems& ioSystems) {
    for (std::size_t m = 0; m < ioSystems.size(); ++m) {
        MotionSystem& system = ioSystems[m];
        system.mA.clear();
        system.mBx.clear();
        system.mBy.clear();
        for (const int index : inGroups[m]) {
            const APTFeature& from = inPrevFeatures[static_cast<std::size_t>(index)];
            const APTFeature& to = inCurrFeatures[static_cast<std::size_t>(index)];
            system.mA.insert(system.mA.end(), {from.mX, from.mY, 1.0});
            system.mBx.push_back(to.mX);
            system.mBy.push_back(to.mY);
        }
    }
}

bool SolveLeastSquares(const std::vector<double>& inA, const std::vector<double>& inB,
                       std::vector<double>& ioX, double inRcond, LeastSquares& ioSolver) {
    if (inB.empty() || ioX.empty()) return false;
    const auto outcome = ioSolver.Solve(inA, inB, static_cast<int>(ioX.size()), inRcond);
    std::ranges::copy(ioSolver.Solution(), ioX.begin());
    return outcome == LeastSquaresOutcome::kDone;
}

float FeatureMotionResidual(const APTFeature& inPrevFeature, const APTFeature& inCurrFeature,
                            const MotionSystem& inSystem) {
    const auto moved = [&](const Motion& inMotion) {
        return (inMotion.b * inPrevFeature.mY + inMotion.a * inPrevFeature.mX) + inMotion.c;
    };
    return std::abs(inCurrFeature.mY - moved(InSingle(inSystem.mCy))) +
           std::abs(inCurrFeature.mX - moved(InSingle(inSystem.mCx)));
}

float MeanMotionResidual(const MotionGroups& inGroups, const APTFeatureList& inCurrFeatures,
                         const APTFeatureList& inPrevFeatures, const MotionSystems& inSystems) {
    float sum = 0.0f;
    std::size_t count = 0;
    for (std::size_t m = 0; m < inSystems.size(); ++m) {
        for (const int index : inGroups[m])
            sum += FeatureMotionResidual(inPrevFeatures[static_cast<std::size_t>(index)],
                                         inCurrFeatures[static_cast<std::size_t>(index)],
                                         inSystems[m]);
        count += inGroups[m].size();
    }
    return sum / static_cast<float>(count);
}

void ReassignFeatures(const APTFeatureList& inCurrFeatures,
                      const APTFeatureList& inPrevFeatures, const MotionSystems& inSystems,
                      MotionGroups& ioGroups) {
    ioGroups[0].clear();
    ioGroups[1].clear();
    for (std::size_t i = 0; i < inCurrFeatures.size(); ++i) {
        const APTFeature& feature = inCurrFeatures[i];
        if (!IsLive(feature)) continue;
        const float e0 = FeatureMotionResidual(inPrevFeatures[i], feature, inSystems[0]);
        const float e1 = FeatureMotionResidual(inPrevFeatures[i], feature, inSystems[1]);
        const float lo = std::min(e0, e1);
        const float hi = std::max(e0, e1);
        const bool isTaken =
            (lo < kUsableResidual && hi / lo > kClearRatio) || lo < kCertainResidual;
        if (isTaken) ioGroups[e0 <= e1 ? 0 : 1].push_back(static_cast<int>(i));
    }
}

float ScoreMotionGroup(const MotionGroup& inGroup, const APTFeatureList& inCurrFeatures,
                       const TVK::ParamRect<float>& inRect, int inRows) {
    const auto middle = [](float inLow, float inHigh) {
        return std::int64_t{IP::TruncateNaNLowest(static_cast<float>((inLow + inHigh) * 0.5))};
    };
    const std::int64_t centreX = middle(inRect.mLeft, inRect.mRight);
    const std::int64_t centreY = middle(inRect.mTop, inRect.mBottom);
    const float halfDiagonal = Distance(IP::TruncateNaNLowest(inRect.mLeft) - centreX,
                                        IP::TruncateNaNLowest(inRect.mTop) - centreY) +
                               1.0f;
    const float rows = static_cast<float>(inRows);

    float score = 0.0f;
    for (const int index : inGroup) {
        const APTFeature& feature = inCurrFeatures[static_cast<std::size_t>(index)];
        const float distance = Distance(centreX - IP::TruncateNaNLowest(feature.mX),
                                        centreY - IP::TruncateNaNLowest(rows - feature.mY));
        score = static_cast<float>(
            score + (kCentreScore - double{distance} * kCentreScore / halfDiagonal));
    }
    return score;
}

}  // namespace DP
