// One feature, one level: the method of B. D. Lucas and T. Kanade, "An iterative image
// registration technique with an application to stereo vision" (1981).
//
// The point is known in image 1 and estimated in image 2. With the difference d of the two
// windows and the sum (gx, gy) of their gradients, one Newton step solves
//
//     | sum gx gx   sum gx gy | | dx |     | sum d gx |
//     | sum gx gy   sum gy gy | | dy |  =  | sum d gy |
//
// and moves the estimate. The sum of both gradients makes the step symmetric in the two
// frames. All sums run over the window row by row, in single precision, one accumulator
// each: their order is part of the result.

#include "KLT/KLTTrackerUtils.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "KLT/KLTGradientBlock.h"
#include "KLT/KLTKernels.h"
#include "TVK/ContractCheck.h"

namespace DP {
namespace {

std::size_t Area(int inWidth, int inHeight) {
    return static_cast<std::size_t>(inWidth) * static_cast<std::size_t>(inHeight);
}

// Calls `inDo(i, j)` for the offsets of a window, row by row.
template <class Do>
void ForWindow(int inHalfWidth, int inHalfHeight, Do inDo) {
    for (int j = -inHalfHeight; j <= inHalfHeight; ++j)
        for (int i = -inHalfWidth; i <= inHalfWidth; ++i)
            inDo(static_cast<float>(i), static_cast<float>(j));
}

// Whether a window reaches over the edge. The interpolation reads one pixel further, and
// the far edges keep a margin against rounding. Written so that NaN is outside.
bool WindowIsOutside(float inPosition, int inHalf, int inSize) {
    const float kMargin = 1.001f;
    const float half = static_cast<float>(inHalf);
    return !(inPosition - half >= 0.0f) ||
           !(static_cast<float>(inSize) - (inPosition + half) >= kMargin);
}

}  // namespace

FloatWindow::FloatWindow(int inWidth, int inHeight)
    : mWidth(inWidth), mHeight(inHeight), mValues(Area(inWidth, inHeight)) {
    std::fill(mValues.begin(), mValues.end(), 0.0f);
}

namespace {

KLTPlane PlaneOf(const FloatImage& inImage) {
    return {inImage->GetData(), inImage->GetColumns(), 0, 0};
}

float Interpolate(const KLTPlane& inPlane, float inX, float inY) {
    const int xt = static_cast<int>(inX);
    const int yt = static_cast<int>(inY);
    const float ax = inX - static_cast<float>(xt);
    const float ay = inY - static_cast<float>(yt);
    const float* const p =
        inPlane.mPixels + (yt - inPlane.mFirstY) * inPlane.mStride + (xt - inPlane.mFirstX);
    return (1.0f - ax) * (1.0f - ay) * p[0] + ax * (1.0f - ay) * p[1] +
           (1.0f - ax) * ay * p[inPlane.mStride] + ax * ay * p[inPlane.mStride + 1];
}

// A plane under the window of the first image plus one under that of the second.
void SumPlanes(const KLTPlane& inPlane1, const KLTPlane& inPlane2, float inX1, float inY1,
               float inX2, float inY2, FloatWindow& outSum) {
    float* out = outSum.mValues.begin();
    ForWindow(outSum.mWidth / 2, outSum.mHeight / 2, [&](float i, float j) {
        *out++ = Interpolate(inPlane1, inX1 + i, inY1 + j) +
                 Interpolate(inPlane2, inX2 + i, inY2 + j);
    });
}

}  // namespace

float InterpolateBilinear(const FloatImage& inImage, float inX, float inY) {
    return Interpolate(PlaneOf(inImage), inX, inY);
}

// ---- Windows -------------------------------------------------------------------------

void ComputeIntensityDifference(const FloatImage& inImage1, const FloatImage& inImage2,
                                float inX1, float inY1, float inX2, float inY2,
                                FloatWindowPtr outDifference) {
    float* out = outDifference->mValues.begin();
    ForWindow(outDifference->mWidth / 2, outDifference->mHeight / 2, [&](float i, float j) {
        *out++ = InterpolateBilinear(inImage1, inX1 + i, inY1 + j) -
                 InterpolateBilinear(inImage2, inX2 + i, inY2 + j);
    });
}

void ComputeGradientSum(const FloatImage& inGradX1, const FloatImage& inGradY1,
                        const FloatImage& inGradX2, const FloatImage& inGradY2, float inX1,
                        float inY1, float inX2, float inY2, FloatWindowPtr inGradx,
                        FloatWindowPtr inGrady) {
    ContractCheck(inGradx->mHeight == inGrady->mHeight);
    ContractCheck(inGradx->mWidth == inGrady->mWidth);
    SumPlanes(PlaneOf(inGradX1), PlaneOf(inGradX2), inX1, inY1, inX2, inY2, *inGradx);
    SumPlanes(PlaneOf(inGradY1), PlaneOf(inGradY2), inX1, inY1, inX2, inY2, *inGrady);
}

void ComputeIntensityDifferenceLightingInsensitive(const FloatImage& inImage1,
                                                   const FloatImage& inImage2, float inX1,
                                                   float inY1, float inX2, float inY2,
                                                   FloatWindowPtr outDifference) {
    const int halfWidth = outDifference->mWidth / 2;
    const int halfHeight = outDifference->mHeight / 2;
    float sum1 = 0.0f, sum2 = 0.0f, squares1 = 0.0f, squares2 = 0.0f;
    ForWindow(halfWidth, halfHeight, [&](float i, float j) {
        const float g1 = InterpolateBilinear(inImage1, inX1 + i, inY1 + j);
        const float g2 = InterpolateBilinear(inImage2, inX2 + i, inY2 + j);
        sum1 += g1;
        sum2 += g2;
        squares1 += g1 * g1;
        squares2 += g2 * g2;
    });
    const float n = static_cast<float>(Area(outDifference->mWidth, outDifference->mHeight));
    const float alpha = std::sqrt((squares1 / n) / (squares2 / n));
    const float beta = sum1 / n - alpha * (sum2 / n);

    float* out = outDifference->mValues.begin();
    ForWindow(halfWidth, halfHeight, [&](float i, float j) {
        const float g1 = InterpolateBilinear(inImage1, inX1 + i, inY1 + j);
        const float g2 = InterpolateBilinear(inImage2, inX2 + i, inY2 + j);
        *out++ = g1 - alpha * g2 - beta;
    });
}

void ComputeGradientSumLightingInsensitive(
    const FloatImage& inGradX1, const FloatImage& inGradY1, const FloatImage& inGradX2,
    const FloatImage& inGradY2, const FloatImage& inImage1, const FloatImage& inImage2,
    float inX1, float inY1, float inX2, float inY2, FloatWindowPtr inGradx,
    FloatWindowPtr inGrady) {
    ContractCheck(inGradx->mHeight == inGrady->mHeight);
    ContractCheck(inGradx->mWidth == inGrady->mWidth);
    // Halved once here and once more below: the square is a quarter of the window.
    const int width = inGradx->mWidth / 2;
    const int height = inGradx->mHeight / 2;
    float sum1 = 0.0f, sum2 = 0.0f;
    ForWindow(width / 2, height / 2, [&](float i, float j) {
        sum1 += InterpolateBilinear(inImage1, inX1 + i, inY1 + j);
        sum2 += InterpolateBilinear(inImage2, inX2 + i, inY2 + j);
    });
    const float n = static_cast<float>(Area(width, height));
    const float alpha = std::sqrt((sum1 / n) / (sum2 / n));

    float* gradx = inGradx->mValues.begin();
    float* grady = inGrady->mValues.begin();
    ForWindow(width / 2, height / 2, [&](float i, float j) {
        *gradx++ = InterpolateBilinear(inGradX1, inX1 + i, inY1 + j) +
                   alpha * InterpolateBilinear(inGradX2, inX2 + i, inY2 + j);
        *grady++ = InterpolateBilinear(inGradY1, inX1 + i, inY1 + j) +
                   alpha * InterpolateBilinear(inGradY2, inX2 + i, inY2 + j);
    });
}

// ---- The system ----------------------------------------------------------------------

void Compute2by2GradientMatrix(FloatWindowPtr inGradx, FloatWindowPtr inGrady, float& outGxx,
                               float& outGxy, float& outGyy) {
    ContractCheck(inGradx->mHeight == inGrady->mHeight);
    ContractCheck(inGradx->mWidth == inGrady->mWidth);
    outGxx = outGxy = outGyy = 0.0f;
    for (std::size_t k = 0; k < inGradx->mValues.size(); ++k) {
        const float gx = inGradx->mValues[k];
        const float gy = inGrady->mValues[k];
        outGxx += gx * gx;
        outGxy += gx * gy;
        outGyy += gy * gy;
    }
}

void Compute2by1ErrorVector(FloatWindowPtr inDifference, FloatWindowPtr inGradx,
                            FloatWindowPtr inGrady, float inStepFactor, float& outEx,
                            float& outEy) {
    ContractCheck(inGradx->mHeight == inGrady->mHeight);
    ContractCheck(inGradx->mWidth == inGrady->mWidth);
    outEx = outEy = 0.0f;
    for (std::size_t k = 0; k < inDifference->mValues.size(); ++k) {
        outEx += inDifference->mValues[k] * inGradx->mValues[k];
        outEy += inDifference->mValues[k] * inGrady->mValues[k];
    }
    outEx *= inStepFactor;
    outEy *= inStepFactor;
}

std::int32_t SolveEquation(float inGxx, float inGxy, float inGyy, float inEx, float inEy,
                           float inSmall, float& outDx, float& outDy) {
    const float determinant = inGxx * inGyy - inGxy * inGxy;
    if (determinant < inSmall) return kKLTSmallDet;
    outDx = (inGyy * inEx - inGxy * inEy) / determinant;
    outDy = (inGxx * inEy - inGxy * inEx) / determinant;
    return kKLTTracked;
}

float SumAbsFloatWindow(FloatWindowPtr inWindow) {
    float sum = 0.0f;
    for (const float value : inWindow->mValues)
        sum += std::abs(value);
    return sum;
}

// ---- The search ----------------------------------------------------------------------

namespace {

// One level of a frame: planes for the image and its gradients, or the image alone and the
// gradients where the window stands.
class LevelPlanes {
public:
    LevelPlanes(const FloatImage& inImage, const FloatImage& inGradX, const FloatImage& inGradY,
                int inWidth, int inHeight)
        : mImage(inImage),
          mGradX(inGradX),
          mGradY(inGradY),
          mHalfWidth(inWidth / 2),
          mHalfHeight(inHeight / 2),
          mPlanes{{PlaneOf(inImage)}, inImage->GetColumns()} {
        if (mGradX == NULL) return;
        mPlanes.mPlanes[1] = PlaneOf(mGradX);
        mPlanes.mPlanes[2] = PlaneOf(mGradY);
    }
    LevelPlanes(const LevelPlanes&) = delete;
    LevelPlanes& operator=(const LevelPlanes&) = delete;

    // The planes, with gradients round (`inX`, `inY`): the window lies in the image.
    const KLTPlanes& At(float inX, float inY) {
        if (mGradX == NULL) {
            const long long firstX =
                static_cast<long long>(inX - static_cast<float>(mHalfWidth));
            const long long firstY =
                static_cast<long long>(inY - static_cast<float>(mHalfHeight));
            mBlock.Reach(*mImage, firstX, firstY);
            mPlanes.mPlanes[1] = mBlock.X();
            mPlanes.mPlanes[2] = mBlock.Y();
        }
        return mPlanes;
    }

    const FloatImage& mImage;
    const FloatImage& mGradX;
    const FloatImage& mGradY;

private:
    int mHalfWidth;
    int mHalfHeight;
    KLTPlanes mPlanes;
    KLTGradientBlock mBlock;
};

// The windows of one search. A small window is sampled a row at a time, that of image 1 only
// once; one that is large, or lies so that this cannot be, goes through the windows above.
// Both ways give the same bits.
class SearchWindows {
public:
    SearchWindows(LevelPlanes& inFirst, LevelPlanes& inSecond, float inX1, float inY1,
                  int inWidth, int inHeight, bool inLightingInsensitive)
        : mFirst(inFirst),
          mSecond(inSecond),
          mX1(inX1),
          mY1(inY1),
          mWidth(inWidth),
          mHeight(inHeight),
          mLighting(inLightingInsensitive) {}

    // Both windows lie inside their images.
    KLTSystemSums ComputeSums(float inX2, float inY2) {
        const KLTPlanes& second = mSecond.At(inX2, inY2);
        if (Sample(second, 3, inX2, inY2))
            return mKernels.mSumWindows(mSamples1, mSamples2, mWidth, mHeight);
        KLTSystemSums sums{};
        ComputeDifference(inX2, inY2);
        if (mLighting) {
            ComputeGradientSumLightingInsensitive(mFirst.mGradX, mFirst.mGradY, mSecond.mGradX,
                                                  mSecond.mGradY, mFirst.mImage, mSecond.mImage,
                                                  mX1, mY1, inX2, inY2, Window(1), Window(2));
        } else {
            const KLTPlanes& first = mFirst.At(mX1, mY1);
            for (int k = 1; k < 3; ++k)
                SumPlanes(first.mPlanes[k], second.mPlanes[k], mX1, mY1, inX2, inY2,
                          *Window(k));
        }
        Compute2by2GradientMatrix(Window(1), Window(2), sums.mGxx, sums.mGxy, sums.mGyy);
        Compute2by1ErrorVector(Window(0), Window(1), Window(2), 1.0f, sums.mEx, sums.mEy);
        return sums;
    }

    float ComputeResidue(float inX2, float inY2) {
        const float area = static_cast<float>(Area(mWidth, mHeight));
        if (Sample({{PlaneOf(mSecond.mImage)}, mSecond.mImage->GetColumns()}, 1, inX2, inY2))
            return mKernels.mSumAbsDifference(mSamples1, mSamples2, mWidth, mHeight) / area;
        ComputeDifference(inX2, inY2);
        return SumAbsFloatWindow(Window(0)) / area;
    }

private:
    bool Sample(const KLTPlanes& inSecond, int inPlaneCount, float inX2, float inY2) {
        if (mLighting) return false;
        if (!mTriedFirst) {
            mTriedFirst = true;
            mHasFirst = mKernels.mSampleWindow(mFirst.At(mX1, mY1), 3, mX1, mY1, mWidth,
                                               mHeight, &mSamples1);
        }
        return mHasFirst && mKernels.mSampleWindow(inSecond, inPlaneCount, inX2, inY2, mWidth,
                                                   mHeight, &mSamples2);
    }

    void ComputeDifference(float inX2, float inY2) {
        (mLighting ? ComputeIntensityDifferenceLightingInsensitive
                   : ComputeIntensityDifference)(mFirst.mImage, mSecond.mImage, mX1, mY1, inX2,
                                                 inY2, Window(0));
    }

    const FloatWindowPtr& Window(int inWhich) {
        if (mWindows[inWhich] == NULL)
            mWindows[inWhich] = TVK::MakeObject<FloatWindow>(mWidth, mHeight);
        return mWindows[inWhich];
    }

    const KLTKernels& mKernels = GetKLTKernels();
    LevelPlanes& mFirst;
    LevelPlanes& mSecond;
    float mX1, mY1;
    int mWidth, mHeight;
    bool mLighting;
    bool mTriedFirst = false;
    bool mHasFirst = false;
    FloatWindowPtr mWindows[3];  // difference, x and y
    KLTSamples mSamples1;
    KLTSamples mSamples2;
};

}  // namespace

std::int32_t TrackFeature(float inX1, float inY1, float& ioX2, float& ioY2,
                          const FloatImage& inImage1, const FloatImage& inGradX1,
                          const FloatImage& inGradY1, const FloatImage& inImage2,
                          const FloatImage& inGradX2, const FloatImage& inGradY2, int inWidth,
                          int inHeight, float inStepFactor, int inMaxIterations, float inSmall,
                          float inThreshold, float inMaxResidue, bool inLightingInsensitive) {
    const int halfWidth = inWidth / 2;
    const int halfHeight = inHeight / 2;
    const int cols = inImage1->GetColumns();
    const int rows = inImage1->GetRows();
    // The same size but for pyramids kept from a frame of another one.
    const int cols2 = std::min(cols, inImage2->GetColumns());
    const int rows2 = std::min(rows, inImage2->GetRows());
    const auto secondIsOutside = [&] {
        return WindowIsOutside(ioX2, halfWidth, cols2) ||
               WindowIsOutside(ioY2, halfHeight, rows2);
    };
    if (WindowIsOutside(inX1, halfWidth, cols) || WindowIsOutside(inY1, halfHeight, rows))
        return kKLTOutOfBounds;

    LevelPlanes first(inImage1, inGradX1, inGradY1, inWidth, inHeight);
    LevelPlanes second(inImage2, inGradX2, inGradY2, inWidth, inHeight);
    SearchWindows windows(first, second, inX1, inY1, inWidth, inHeight, inLightingInsensitive);
    int iteration = 0;
    float dx = 0.0f, dy = 0.0f;
    bool isSingular = false;
    do {
        if (secondIsOutside()) return kKLTOutOfBounds;
        const KLTSystemSums sums = windows.ComputeSums(ioX2, ioY2);
        isSingular = SolveEquation(sums.mGxx, sums.mGxy, sums.mGyy, sums.mEx * inStepFactor,
                                   sums.mEy * inStepFactor, inSmall, dx, dy) == kKLTSmallDet;
        if (isSingular) break;
        ioX2 += dx;
        ioY2 += dy;
        ++iteration;
    } while ((std::abs(dx) >= inThreshold || std::abs(dy) >= inThreshold) &&
             iteration < inMaxIterations);

    if (secondIsOutside()) return kKLTOutOfBounds;  // comes before the singular system
    if (isSingular) return kKLTSmallDet;
    if (windows.ComputeResidue(ioX2, ioY2) > inMaxResidue) return kKLTLargeResidue;
    return iteration < inMaxIterations ? kKLTTracked : kKLTMaxIterations;
}

void PrintFloatWindow(FloatWindowPtr inWindow) {
    const float* value = inWindow->mValues.begin();
    for (int y = 0; y < inWindow->mHeight; ++y) {
        for (int x = 0; x < inWindow->mWidth; ++x)
            std::fprintf(stderr, "%6.1f ", static_cast<double>(*value++));
        std::fprintf(stderr, "\n");
    }
}

}  // namespace DP
