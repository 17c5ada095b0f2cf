// The steps of tracking one feature on one level, free of state.
//
// Positions are in pixels of the level, y downward. Windows are centred on a position and
// lie between pixels; "1" is the previous frame, "2" the current one. Nothing but
// `TrackFeature` checks that a window lies inside its image.

#pragma once

#include <cstdint>

#include "DP/KLTFeature.h"
#include "image/IPImage.h"
#include "image/RecycledArray.h"

namespace DP {

/// The values of one window, row by row. A new one is all zeros. Both sides are odd: the
/// operations below write from half a side before the centre to half a side behind it.
struct FloatWindow {
    FloatWindow(int inWidth, int inHeight);

    std::int32_t mWidth;
    std::int32_t mHeight;
    IP::RecycledArray<float> mValues;
};

using FloatWindowPtr = TVK::ObjectPtr<FloatWindow>;
using FloatImage = IP::ImagePtr<float>;

/// Finds in image 2, from the estimate (`ioX2`, `ioY2`) on, the window around (`inX1`,
/// `inY1`) of image 1, by Newton steps on the sum of both images' gradients. A position
/// that is NaN counts as outside.
///
/// @param inGradX1, inGradY1, inGradX2, inGradY2  null, all of an image, to have gradients of
///        sigma 1 made from the image under the window. Then the window is one that
///        `KLTGradientBlock` holds, and the light is not compensated for.
/// @param inWidth, inHeight  odd.
/// @param inSmall  determinant below which the system is singular.
/// @param inThreshold  a step smaller than this on both axes ends the search.
/// @return  kKLTTracked, or why the point is lost; `ioX2`, `ioY2` are where it ended.
std::int32_t TrackFeature(float inX1, float inY1, float& ioX2, float& ioY2,
                          const FloatImage& inImage1, const FloatImage& inGradX1,
                          const FloatImage& inGradY1, const FloatImage& inImage2,
                          const FloatImage& inGradX2, const FloatImage& inGradY2, int inWidth,
                          int inHeight, float inStepFactor, int inMaxIterations, float inSmall,
                          float inThreshold, float inMaxResidue, bool inLightingInsensitive);

/// Image 1 minus image 2.
void ComputeIntensityDifference(const FloatImage& inImage1, const FloatImage& inImage2,
                                float inX1, float inY1, float inX2, float inY2,
                                FloatWindowPtr outDifference);

/// Gradients of image 1 plus those of image 2.
void ComputeGradientSum(const FloatImage& inGradX1, const FloatImage& inGradY1,
                        const FloatImage& inGradX2, const FloatImage& inGradY2, float inX1,
                        float inY1, float inX2, float inY2, FloatWindowPtr inGradx,
                        FloatWindowPtr inGrady);

/// Image 1 minus image 2 after a gain, the root of the quotient of the windows' energies, and
/// an offset that then gives both the same mean: the difference sums to zero.
void ComputeIntensityDifferenceLightingInsensitive(const FloatImage& inImage1,
                                                   const FloatImage& inImage2, float inX1,
                                                   float inY1, float inX2, float inY2,
                                                   FloatWindowPtr outDifference);

/// Gradients of image 1 plus those of image 2 times a gain, over a square of a quarter of
/// the window; it fills the windows from their start on and leaves the rest as it was.
void ComputeGradientSumLightingInsensitive(
    const FloatImage& inGradX1, const FloatImage& inGradY1, const FloatImage& inGradX2,
    const FloatImage& inGradY2, const FloatImage& inImage1, const FloatImage& inImage2,
    float inX1, float inY1, float inX2, float inY2, FloatWindowPtr inGradx,
    FloatWindowPtr inGrady);

void Compute2by2GradientMatrix(FloatWindowPtr inGradx, FloatWindowPtr inGrady, float& outGxx,
                               float& outGxy, float& outGyy);

void Compute2by1ErrorVector(FloatWindowPtr inDifference, FloatWindowPtr inGradx,
                            FloatWindowPtr inGrady, float inStepFactor, float& outEx,
                            float& outEy);

/// Solves the 2 by 2 system for the step. Returns kKLTSmallDet, and no step, if its
/// determinant is below `inSmall`; else kKLTTracked.
std::int32_t SolveEquation(float inGxx, float inGxy, float inGyy, float inEx, float inEy,
                           float inSmall, float& outDx, float& outDy);

float SumAbsFloatWindow(FloatWindowPtr inWindow);

/// The value between four pixels; (`inX`, `inY`) and the pixel behind are inside.
float InterpolateBilinear(const FloatImage& inImage, float inX, float inY);

/// Whether a position lies in the border; NaN does.
inline bool IsOutOfBounds(float inX, float inY, int inCols, int inRows, int inBorderX,
                          int inBorderY) {
    const auto isInside = [](float inPosition, int inSize, int inBorder) {
        const auto last = std::int64_t{inSize} - inBorder - 1;
        return inPosition >= static_cast<float>(inBorder) &&
               inPosition <= static_cast<float>(last);
    };
    return !isInside(inX, inCols, inBorderX) || !isInside(inY, inRows, inBorderY);
}

/// Dumps a window to standard error, for a developer.
void PrintFloatWindow(FloatWindowPtr inWindow);

}  // namespace DP
