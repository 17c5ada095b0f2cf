// The plain way to kernels, convolution, pyramids and their gradients: one pixel after the
// other, every image whole. The library's own way must give the same bits.

#pragma once
#include "Support/Test.h"

namespace Testing {

struct PlainImage {
    int mCols = 0;
    int mRows = 0;
    std::vector<float> mPixels;

    PlainImage() = default;
    PlainImage(int inCols, int inRows)
        : mCols(inCols),
          mRows(inRows),
          mPixels(std::size_t(inCols > 0 ? inCols : 0) * std::size_t(inRows > 0 ? inRows : 0)) {
    }
    PlainImage(int inCols, int inRows, std::vector<float> inPixels)
        : mCols(inCols), mRows(inRows), mPixels(std::move(inPixels)) {}
    float& At(int inX, int inY) { return mPixels[std::size_t(inY) * mCols + inX]; }
    float At(int inX, int inY) const { return mPixels[std::size_t(inY) * mCols + inX]; }
};

struct PlainKernels {
    std::vector<float> mGauss;
    std::vector<float> mDeriv;
};

inline PlainKernels MakePlainKernels(float inSigma) {
    const auto exponential = [](float inValue) {
        return float(std::exp(double(inValue)));
    };
    float gauss[71], deriv[71];
    for (int i = -35; i <= 35; ++i) {
        const float denominator = 2 * inSigma * inSigma;
        gauss[i + 35] = exponential(float(-(i * i)) / denominator);
        deriv[i + 35] = float(-i) * gauss[i + 35];
    }
    int gaussWidth = 71, derivWidth = 71;
    for (int i = -35; i <= 35 && std::fabs(gauss[i + 35]) / 1.0f < 0.01f; ++i)
        gaussWidth -= 2;
    const float derivPeak = inSigma * exponential(-0.5f);
    for (int i = -35; i <= 35 && std::fabs(deriv[i + 35]) / derivPeak < 0.01f; ++i)
        derivWidth -= 2;

    PlainKernels kernels{{0.0f}, {0.0f}};
    const int shift = (71 - gaussWidth) / 2;
    const auto tapBehind = [&](const float* inTaps, int inIndex) {
        return inIndex > 70 ? 0.0f : inTaps[inIndex];
    };
    if (gaussWidth >= 1) {
        kernels.mGauss.resize(gaussWidth);
        float sum = 0.0f;
        for (int j = 0; j < gaussWidth; ++j)
            sum += kernels.mGauss[j] = tapBehind(gauss, j + shift);
        for (float& tap : kernels.mGauss)
            tap /= sum;
    }
    if (derivWidth >= 1) {
        kernels.mDeriv.resize(derivWidth);
        for (int j = 0; j < derivWidth; ++j)
            kernels.mDeriv[j] = tapBehind(deriv, j + shift);
        const int half = derivWidth / 2;
        float sum = 0.0f;
        for (int i = -half; i <= half; ++i)
            sum -= float(i) * kernels.mDeriv[i + half];
        for (float& tap : kernels.mDeriv)
            tap /= sum;
    }
    return kernels;
}

inline PlainImage PlainHorizontal(const PlainImage& inImage, const std::vector<float>& inTaps) {
    PlainImage result(inImage.mCols, inImage.mRows);
    const int width = int(inTaps.size());
    const int radius = width / 2;
    for (int y = 0; y < inImage.mRows; ++y)
        for (int x = radius; x < inImage.mCols - radius; ++x) {
            float sum = 0.0f;
            for (int k = width - 1; k >= 0; --k)
                sum += inTaps[k] * inImage.At(x - radius + (width - 1 - k), y);
            result.At(x, y) = sum;
        }
    return result;
}

inline PlainImage PlainVertical(const PlainImage& inImage, const std::vector<float>& inTaps) {
    PlainImage result(inImage.mCols, inImage.mRows);
    const int width = int(inTaps.size());
    const int radius = width / 2;
    for (int x = 0; x < inImage.mCols; ++x)
        for (int y = radius; y < inImage.mRows - radius; ++y) {
            float sum = 0.0f;
            for (int k = width - 1; k >= 0; --k)
                sum += inTaps[k] * inImage.At(x, y - radius + (width - 1 - k));
            result.At(x, y) = sum;
        }
    return result;
}

inline PlainImage PlainSmoothed(const PlainImage& inImage, float inSigma) {
    const PlainKernels kernels = MakePlainKernels(inSigma);
    return PlainVertical(PlainHorizontal(inImage, kernels.mGauss), kernels.mGauss);
}

inline PlainImage PlainGradientX(const PlainImage& inImage, float inSigma) {
    const PlainKernels kernels = MakePlainKernels(inSigma);
    return PlainVertical(PlainHorizontal(inImage, kernels.mDeriv), kernels.mGauss);
}

inline PlainImage PlainGradientY(const PlainImage& inImage, float inSigma) {
    const PlainKernels kernels = MakePlainKernels(inSigma);
    return PlainVertical(PlainHorizontal(inImage, kernels.mGauss), kernels.mDeriv);
}

/// The levels of a pyramid, `inImage` itself first.
inline std::vector<PlainImage> PlainPyramid(const PlainImage& inImage, int inSubsampling,
                                            int inLevelCount, float inSigmaFactor) {
    std::vector<PlainImage> levels{inImage};
    const int half = inSubsampling / 2;
    while (int(levels.size()) < inLevelCount) {
        const PlainImage smoothed =
            PlainSmoothed(levels.back(), inSigmaFactor * float(inSubsampling));
        PlainImage level(smoothed.mCols / inSubsampling, smoothed.mRows / inSubsampling);
        for (int y = 0; y < level.mRows; ++y)
            for (int x = 0; x < level.mCols; ++x)
                level.At(x, y) =
                    smoothed.At(inSubsampling * x + half, inSubsampling * y + half);
        levels.push_back(level);
    }
    return levels;
}

}  // namespace Testing
