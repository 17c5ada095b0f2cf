// RegionMotionFit: moves a rectangle by the motion of the points in it.

#pragma once

#include <array>
#include <vector>

#include "DP/APTFeature.h"
#include "Lapack/LeastSquares.h"
#include "TVK/ParamRect.h"

namespace DP {

/// Indices of features, ascending, each once.
using MotionGroup = std::vector<int>;

/// Group 0 and group 1.
using MotionGroups = std::vector<MotionGroup>;

/// The motion of one group, and the system that it solves. A point at (x, y) in the
/// previous frame is sent to
///
///     x' = cx[0] x + cx[1] y + cx[2]        y' = cy[0] x + cy[1] y + cy[2]
///
/// in image coordinates, y downward. The two rows share their matrix and are solved apart.
struct MotionSystem {
    std::vector<double> mA;                  // previous x, y and 1, a row for each point
    std::vector<double> mBx;                 // current x
    std::vector<double> mBy;                 // current y
    std::vector<double> mCx{0.0, 0.0, 0.0};  // all zero until the first solve
    std::vector<double> mCy{0.0, 0.0, 0.0};
};

using MotionSystems = std::array<MotionSystem, 2>;

/// Fits two motions to the points and moves the rectangle by the one that holds its centre.
///
/// The lists are index-aligned: a live record of the current list is the point of the same
/// index in the previous one, which is at least as long as the last live index. Points
/// count y downward, **both rectangles count y upward from the bottom of the image**.
///
/// Nothing is an error. Without a live point, or where the motion chosen was never solved,
/// `outRect` is (0, rows, 0, rows), a rectangle without area; a motion that is no number
/// gives a rectangle that is none.
///
/// @param inRows  rows of the image.
/// @param ioGroups  empty; receives the two groups as the last pass left them. A live point
///        in neither fits neither motion.
/// @param outSelectedGroup  0 or 1.
void FitRegionMotion(APTFeatureListPtr inCurrFeatures, APTFeatureListPtr inPrevFeatures,
                     int inRows, const TVK::ParamRect<float>* inRect,
                     TVK::ParamRect<float>* outRect, MotionGroups& ioGroups,
                     int* outSelectedGroup);

/// @name The steps
/// @{

/// Appends the live points inside the rectangle without a tenth at each side, and then all
/// other live ones. The current position decides.
void PartitionFeatures(const APTFeatureList& inCurrFeatures, int inRows,
                       const TVK::ParamRect<float>& inRect, MotionGroups& ioGroups);

/// Fills matrix and right-hand sides of both systems; the motions stay.
void BuildMotionSystems(const MotionGroups& inGroups, const APTFeatureList& inCurrFeatures,
                        const APTFeatureList& inPrevFeatures, MotionSystems& ioSystems);

/// Replaces `ioX` by the shortest of the best solutions. False, and `ioX` as it was, if
/// there is nothing to solve. A solver that fails is told by false too, but what it left
/// becomes `ioX` all the same.
bool SolveLeastSquares(const std::vector<double>& inA, const std::vector<double>& inB,
                       std::vector<double>& ioX, double inRcond, LeastSquares& ioSolver);

/// How far from where the motion sends it the point has gone: the sum of both axes, in
/// pixels.
float FeatureMotionResidual(const APTFeature& inPrevFeature, const APTFeature& inCurrFeature,
                            const MotionSystem& inSystem);

/// Over the points in groups, each under its own group's motion. Not a number without any.
float MeanMotionResidual(const MotionGroups& inGroups, const APTFeatureList& inCurrFeatures,
                         const APTFeatureList& inPrevFeatures, const MotionSystems& inSystems);

/// Builds both groups anew from all live points: each joins the motion that explains it
/// better, or neither if both explain it badly, or equally and not well.
void ReassignFeatures(const APTFeatureList& inCurrFeatures,
                      const APTFeatureList& inPrevFeatures, const MotionSystems& inSystems,
                      MotionGroups& ioGroups);

/// 10 for a point at the rectangle's centre, falling with the distance to next to nothing
/// at its corners and below 0 beyond. Distances are in whole pixels: a side of the rectangle
/// or a position that no 32-bit integer can hold counts as -2^31.
float ScoreMotionGroup(const MotionGroup& inGroup, const APTFeatureList& inCurrFeatures,
                       const TVK::ParamRect<float>& inRect, int inRows);

/// @}

}  // namespace DP
