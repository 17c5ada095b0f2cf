// The plain way to select and to track KLT features: every sum for itself, every list
// sorted to its end. The library's own way must give the same bits.

#pragma once

#include "DP/KLTFeature.h"
#include "Image/PlainConvolution.h"
#include "KLT/KLTSelection.h"
#include "KLT/KLTTracker.h"
#include "Support/Test.h"

namespace Testing {

using DP::KLTFeature;
using DP::KLTFeatureList;
using DP::TrackingContext;

struct PlainPoint {
    int mX;
    int mY;
    std::int32_t mValue;
};

// ---- Selection -----------------------------------------------------------------------

inline PlainImage PlainFrame(const unsigned char* inBytes, int inCols, int inRows) {
    return {inCols, inRows, {inBytes, inBytes + std::size_t(inCols) * inRows}};
}

inline std::int32_t PlainTrackability(const PlainImage& inGradX, const PlainImage& inGradY,
                                      int inX, int inY, int inHalfWidth, int inHalfHeight) {
    float gxx = 0, gxy = 0, gyy = 0;
    for (int yy = inY - inHalfHeight; yy <= inY + inHalfHeight; ++yy)
        for (int xx = inX - inHalfWidth; xx <= inX + inHalfWidth; ++xx) {
            const float gx = inGradX.At(xx, yy);
            const float gy = inGradY.At(xx, yy);
            gxx += gx * gx;
            gxy += gx * gy;
            gyy += gy * gy;
        }
    const float v = ((gxx + gyy) - std::sqrt((gxx - gyy) * (gxx - gyy) + 4 * gxy * gxy)) / 2;
    return v > -2147483904.0f && v < 2147483648.0f ? std::int32_t(v) : INT32_MIN;
}

inline void PlainSort(PlainPoint* ioList, std::size_t inCount) {
    std::size_t n = inCount;
    while (n > 1) {
        std::swap(ioList[0], ioList[n / 2]);
        const std::int32_t pivot = ioList[0].mValue;
        std::size_t i = 0, j = n;
        while (true) {
            do {
                --j;
            } while (ioList[j].mValue < pivot);
            do {
                ++i;
            } while (i < j && ioList[i].mValue > pivot);
            if (i >= j) break;
            std::swap(ioList[i], ioList[j]);
        }
        std::swap(ioList[j], ioList[0]);
        const std::size_t rightCount = n - j - 1;
        if (j < rightCount) {
            PlainSort(ioList, j);
            ioList += j + 1;
            n = rightCount;
        } else {
            PlainSort(ioList + j + 1, rightCount);
            n = j;
        }
    }
}

inline void PlainFillMap(std::int64_t inX, std::int64_t inY, std::vector<char>& ioMap,
                         std::int64_t inDistance, int inCols, int inRows) {
    for (std::int64_t y = inY - inDistance; y <= inY + inDistance; ++y)
        for (std::int64_t x = inX - inDistance; x <= inX + inDistance; ++x)
            if (x >= 0 && x < inCols && y >= 0 && y < inRows) ioMap[y * inCols + x] = 1;
}

inline void PlainEnforce(const std::vector<PlainPoint>& inPoints, int inCols, int inRows,
                         int inMinDist, int inMinEigenvalue, bool inOverwriteAll,
                         KLTFeatureList& ioList) {
    std::vector<char> map(std::size_t(inCols) * inRows, 0);
    const int least = inMinEigenvalue < 1 ? 1 : inMinEigenvalue;
    if (!inOverwriteAll)
        for (const KLTFeature& feature : ioList)
            if (feature.mValue >= 0 && std::fabs(feature.mX) < 1e6f &&
                std::fabs(feature.mY) < 1e6f)
                PlainFillMap(int(feature.mX), int(feature.mY), map, inMinDist - 1, inCols,
                             inRows);
    std::size_t slot = 0;
    for (const PlainPoint& point : inPoints) {
        if (!inOverwriteAll)
            while (slot < ioList.size() && ioList[slot].mValue >= 0)
                ++slot;
        if (slot >= ioList.size()) return;
        if (map[std::size_t(point.mY) * inCols + point.mX] != 0 || point.mValue < least)
            continue;
        KLTFeature& feature = ioList[slot];
        feature.mX = float(point.mX);
        feature.mY = float(point.mY);
        feature.mValue = point.mValue;
        feature.mId = int(slot);
        feature.mAge = 0;
        ++slot;
        PlainFillMap(point.mX, point.mY, map, inMinDist - 1, inCols, inRows);
    }
    for (; slot < ioList.size(); ++slot)
        if (inOverwriteAll || ioList[slot].mValue < 0) {
            ioList[slot].mX = ioList[slot].mY = -1;
            ioList[slot].mValue = DP::kKLTNotFound;
        }
}

/// Regions with finite sides, lists for each. `inReplace` holds the lists to keep, or none.
inline std::vector<KLTFeatureList> PlainSelect(
    const TrackingContext& inContext, unsigned int inMaxFeatures, const unsigned char* inBytes,
    int inCols, int inRows, const std::vector<TVK::ParamRect<float>>& inRegions,
    const std::vector<KLTFeatureList>& inReplace) {
    PlainImage image = PlainFrame(inBytes, inCols, inRows);
    const float larger = float(std::max(inContext.mWindowWidth, inContext.mWindowHeight));
    if (inContext.mSmoothBeforeSelecting)
        image = PlainSmoothed(image, larger * inContext.mSmoothSigmaFactor);
    const PlainImage gradX = PlainGradientX(image, inContext.mGradSigma);
    const PlainImage gradY = PlainGradientY(image, inContext.mGradSigma);
    const int hw = inContext.mWindowWidth / 2, hh = inContext.mWindowHeight / 2;

    std::vector<PlainPoint> points;  // as long as the count; the writing starts over
    std::vector<KLTFeatureList> results;
    for (std::size_t k = 0; k < inRegions.size(); ++k) {
        const auto& region = inRegions[k];
        const float yb = float(inRows) - region.mBottom, yt = float(inRows) - region.mTop;
        const int x0 = std::max(int(std::min(region.mLeft, region.mRight)), hw);
        const int x1 = std::min(int(std::max(region.mLeft, region.mRight)), inCols - hw);
        const int y0 = std::max(int(std::min(yb, yt)), hh);
        const int y1 = std::min(int(std::max(yb, yt)), inRows - hh);
        std::vector<PlainPoint> found;
        for (int y = y0; y < y1; y += inContext.mSkippedPixels + 1)
            for (int x = x0; x < x1; x += inContext.mSkippedPixels + 1)
                found.push_back({x, y, PlainTrackability(gradX, gradY, x, y, hw, hh)});
        points.resize(points.size() + found.size(), {0, 0, 0});
        std::copy(found.begin(), found.end(), points.begin());
        PlainSort(points.data(), points.size());
        KLTFeatureList list(inMaxFeatures);
        if (!inReplace.empty()) list = inReplace[k];
        PlainEnforce(points, inCols, inRows, inContext.mMinDist, inContext.mMinEigenvalue,
                     inReplace.empty(), list);
        results.push_back(list);
    }
    return results;
}

// ---- Tracking ------------------------------------------------------------------------

struct PlainPyramids {
    std::vector<PlainImage> mImage, mGradX, mGradY;
};

inline PlainPyramids MakePlainPyramids(const TrackingContext& inContext,
                                       const unsigned char* inBytes, int inCols, int inRows) {
    const float larger = float(std::max(inContext.mWindowWidth, inContext.mWindowHeight));
    PlainPyramids result;
    result.mImage = PlainPyramid(PlainSmoothed(PlainFrame(inBytes, inCols, inRows),
                                               larger * inContext.mSmoothSigmaFactor),
                                 inContext.mSubsampling, inContext.mPyramidLevels,
                                 inContext.mPyramidSigmaFactor);
    for (const PlainImage& level : result.mImage) {
        result.mGradX.push_back(PlainGradientX(level, inContext.mGradSigma));
        result.mGradY.push_back(PlainGradientY(level, inContext.mGradSigma));
    }
    return result;
}

inline float PlainBilinear(const PlainImage& inImage, float inX, float inY) {
    const int xt = int(inX), yt = int(inY);
    const float ax = inX - float(xt), ay = inY - float(yt);
    return (1 - ax) * (1 - ay) * inImage.At(xt, yt) + ax * (1 - ay) * inImage.At(xt + 1, yt) +
           (1 - ax) * ay * inImage.At(xt, yt + 1) + ax * ay * inImage.At(xt + 1, yt + 1);
}

// The two frames' pyramids, `inLevel` of which is searched.
inline int PlainTrackFeature(float x1, float y1, float& x2, float& y2,
                             std::pair<const PlainPyramids&, const PlainPyramids&> inFrames,
                             int inLevel, const TrackingContext& c) {
    const auto& [p1, p2] = inFrames;
    const PlainImage &img1 = p1.mImage[inLevel], &gradx1 = p1.mGradX[inLevel],
                     &grady1 = p1.mGradY[inLevel], &img2 = p2.mImage[inLevel],
                     &gradx2 = p2.mGradX[inLevel], &grady2 = p2.mGradY[inLevel];
    const int width = c.mWindowWidth, height = c.mWindowHeight;
    const int hw = width / 2, hh = height / 2;
    const float nc = float(img1.mCols), nr = float(img1.mRows), e = 1.001f;
    const auto outside = [&](float x, float y) {
        const bool inside = x - float(hw) >= 0 && nc - (x + float(hw)) >= e &&
                            y - float(hh) >= 0 && nr - (y + float(hh)) >= e;
        return !inside;
    };
    std::vector<float> difference(std::size_t(width) * height), gx(difference), gy(difference);
    int iteration = 0;
    float dx = 0, dy = 0;
    // Calls inDo(g1, g2) with the values of both images, row by row.
    const auto forWindow = [&](int inHalfWidth, int inHalfHeight, auto inDo) {
        for (int j = -inHalfHeight; j <= inHalfHeight; ++j)
            for (int i = -inHalfWidth; i <= inHalfWidth; ++i)
                inDo(PlainBilinear(img1, x1 + float(i), y1 + float(j)),
                     PlainBilinear(img2, x2 + float(i), y2 + float(j)));
    };
    const auto computeLightingDifference = [&] {
        float sum1 = 0, sum2 = 0, squares1 = 0, squares2 = 0;
        forWindow(hw, hh, [&](float g1, float g2) {
            sum1 += g1;
            sum2 += g2;
            squares1 += g1 * g1;
            squares2 += g2 * g2;
        });
        const float n = float(width * height);
        const float alpha = std::sqrt((squares1 / n) / (squares2 / n));
        const float beta = sum1 / n - alpha * (sum2 / n);
        std::size_t at = 0;
        forWindow(hw, hh,
                  [&](float g1, float g2) { difference[at++] = g1 - g2 * alpha - beta; });
    };
    // A quarter of the window, written from the windows' start on.
    const auto computeLightingGradients = [&] {
        float sum1 = 0, sum2 = 0;
        forWindow(hw / 2, hh / 2, [&](float g1, float g2) {
            sum1 += g1;
            sum2 += g2;
        });
        const float n = float(hw * hh);
        const float alpha = std::sqrt((sum1 / n) / (sum2 / n));
        std::size_t at = 0;
        for (int j = -(hh / 2); j <= hh / 2; ++j)
            for (int i = -(hw / 2); i <= hw / 2; ++i, ++at) {
                gx[at] = PlainBilinear(gradx1, x1 + float(i), y1 + float(j)) +
                         alpha * PlainBilinear(gradx2, x2 + float(i), y2 + float(j));
                gy[at] = PlainBilinear(grady1, x1 + float(i), y1 + float(j)) +
                         alpha * PlainBilinear(grady2, x2 + float(i), y2 + float(j));
            }
    };
    const auto computeDifference = [&] {
        if (c.mLightingInsensitive) return computeLightingDifference();
        std::size_t at = 0;
        for (int j = -hh; j <= hh; ++j)
            for (int i = -hw; i <= hw; ++i)
                difference[at++] = PlainBilinear(img1, x1 + float(i), y1 + float(j)) -
                                   PlainBilinear(img2, x2 + float(i), y2 + float(j));
    };
    bool singular = false;
    do {
        if (outside(x1, y1) || outside(x2, y2)) return DP::kKLTOutOfBounds;
        computeDifference();
        std::size_t at = 0;
        if (c.mLightingInsensitive) computeLightingGradients();
        for (int j = -hh; j <= hh && !c.mLightingInsensitive; ++j)
            for (int i = -hw; i <= hw; ++i, ++at) {
                gx[at] = PlainBilinear(gradx1, x1 + float(i), y1 + float(j)) +
                         PlainBilinear(gradx2, x2 + float(i), y2 + float(j));
                gy[at] = PlainBilinear(grady1, x1 + float(i), y1 + float(j)) +
                         PlainBilinear(grady2, x2 + float(i), y2 + float(j));
            }
        float gxx = 0, gxy = 0, gyy = 0, ex = 0, ey = 0;
        for (at = 0; at < difference.size(); ++at) {
            gxx += gx[at] * gx[at];
            gxy += gx[at] * gy[at];
            gyy += gy[at] * gy[at];
            ex += difference[at] * gx[at];
            ey += difference[at] * gy[at];
        }
        ex *= c.mStepFactor;
        ey *= c.mStepFactor;
        const float det = gxx * gyy - gxy * gxy;
        singular = det < c.mMinDeterminant;
        if (singular) break;
        dx = (gyy * ex - gxy * ey) / det;
        dy = (gxx * ey - gxy * ex) / det;
        x2 += dx;
        y2 += dy;
        ++iteration;
    } while ((std::fabs(dx) >= c.mMinDisplacement || std::fabs(dy) >= c.mMinDisplacement) &&
             iteration < c.mMaxIterations);
    if (outside(x2, y2)) return DP::kKLTOutOfBounds;
    if (singular) return DP::kKLTSmallDet;
    computeDifference();
    float sum = 0;
    for (const float value : difference)
        sum += std::fabs(value);
    if (sum / float(width * height) > c.mMaxResidue) return DP::kKLTLargeResidue;
    return iteration < c.mMaxIterations ? DP::kKLTTracked : DP::kKLTMaxIterations;
}

inline KLTFeatureList PlainTrack(const TrackingContext& c, const PlainPyramids& p1,
                                 const PlainPyramids& p2, KLTFeatureList inList) {
    const int cols = p1.mImage[0].mCols, rows = p1.mImage[0].mRows;
    for (KLTFeature& feature : inList) {
        if (feature.mValue < 0) continue;
        const float subsampling = float(c.mSubsampling);
        float xin = feature.mX, yin = feature.mY;
        for (int r = 0; r < c.mPyramidLevels; ++r) {
            xin /= subsampling;
            yin /= subsampling;
        }
        float xout = xin, yout = yin;
        int status = 0;
        for (int r = c.mPyramidLevels - 1; r >= 0; --r) {
            xin *= subsampling;
            yin *= subsampling;
            xout *= subsampling;
            yout *= subsampling;
            status = PlainTrackFeature(xin, yin, xout, yout, {p1, p2}, r, c);
            if (status == DP::kKLTSmallDet || status == DP::kKLTOutOfBounds) break;
        }
        const bool inside = xout >= float(c.mBorderX) && xout <= float(cols - c.mBorderX - 1) &&
                            yout >= float(c.mBorderY) && yout <= float(rows - c.mBorderY - 1);
        if (!inside) status = DP::kKLTOutOfBounds;
        if (status < 0) {
            feature.mX = feature.mY = -1;
            feature.mValue = status;
            continue;
        }
        feature.mDeltaX = xout - feature.mX;
        feature.mDeltaY = yout - feature.mY;
        feature.mX = xout;
        feature.mY = yout;
        feature.mValue = 0;
        ++feature.mAge;
    }
    return inList;
}

}  // namespace Testing
