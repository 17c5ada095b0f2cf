#include "PlainCornerSelection.h"
#include "Support/Test.h"

namespace Testing {
namespace {

int Crop(int inMargin, int inReach) { return std::max(inMargin - inReach, 0); }

// Halves of Gaussians from the middle outwards, by sigma, as another program integrated them.
std::vector<float> GaussianTaps(float inSigma) {
    static const std::map<float, std::vector<float>> sHalves{
        {11 * 0.1f,
         {0x1.66fe1ep-2f, 0x1.e837a2p-3f, 0x1.327988p-4f, 0x1.619124p-7f, 0x1.7468d4p-11f}},
        {13 * 0.1f,
         {0x1.32ac14p-2f, 0x1.ced122p-3f, 0x1.8d82eep-4f, 0x1.8419cp-6f, 0x1.add9cep-9f,
          0x1.0d63cep-12f}},
        {11 * 0.3f,
         {0x1.ed5bdcp-4f, 0x1.d76256p-4f, 0x1.9b28fep-4f, 0x1.4764d8p-4f, 0x1.dbf958p-5f,
          0x1.3bdae8p-5f, 0x1.7eafd2p-6f, 0x1.a7456ap-7f, 0x1.ab60aep-8f, 0x1.89ee8cp-9f,
          0x1.4b7858p-10f, 0x1.fd3984p-12f, 0x1.651204p-13f}}};
    const auto& half = sHalves.at(inSigma);
    std::vector<float> taps(half.rbegin(), half.rend());
    taps.insert(taps.end(), half.begin() + 1, half.end());
    return taps;
}

// A line of `inCount` floats, `inStep` apart, with its ends repeated.
void ConvolveLine(float* ioLine, std::ptrdiff_t inStep, int inCount,
                  const std::vector<float>& inTaps, std::vector<float>& ioPadded) {
    const int radius = int(inTaps.size() / 2);
    ioPadded.clear();
    for (int i = -radius; i < inCount + radius; ++i)
        ioPadded.push_back(ioLine[std::clamp(i, 0, inCount - 1) * inStep]);
    for (int i = 0; i < inCount; ++i) {
        float sum = 0.0f;
        for (std::size_t k = 0; k < inTaps.size(); ++k)
            sum += inTaps[k] * ioPadded[std::size_t(i) + k];
        ioLine[i * inStep] = sum;
    }
}

// out[i] = P[min(n - 1, i + half)] - P[i - half - 1], P the running total.
void SumLine(float* ioLine, std::ptrdiff_t inStep, int inCount, int inHalf,
             std::vector<float>& ioTotals) {
    ioTotals.clear();
    float total = 0.0f;
    for (int i = 0; i < inCount; ++i)
        ioTotals.push_back(total += ioLine[i * inStep]);
    for (int i = 0; i < inCount; ++i) {
        float sum = ioTotals[std::size_t(std::min(inCount - 1, i + inHalf))];
        if (i - inHalf - 1 >= 0) sum -= ioTotals[std::size_t(i - inHalf - 1)];
        ioLine[i * inStep] = sum;
    }
}

}  // namespace

void PlainCornerSelection::ApplyParams(const DP::APTTrackerParams& inParams) {
    mParams = inParams;
}

void PlainCornerSelection::SetImage(const float* inImage, int inWidth, int inHeight) {
    mWidth = std::max(inWidth, 0);
    mHeight = std::max(inHeight, 0);
    const auto pixels = std::size_t(mWidth) * std::size_t(mHeight);
    for (auto& plane : mPlanes)
        plane.resize(pixels);
    mCornerness.resize(pixels);
    std::copy_n(inImage, pixels, mPlanes[0].begin());
}

void PlainCornerSelection::FindCorners(const DP::APTFeature* inFirst,
                                       const DP::APTFeature* inLast,
                                       const TVK::ParamRect<float>& inRect,
                                       std::size_t inLimit) {
    mSelected.clear();
    if (mParams.mSmoothImage) SmoothImage();
    ComputeCornerness();
    const float largest = PickLocalMaxima();

    const float pixels =
        float((2 * mParams.mPatchHalfWidth + 1) * (2 * mParams.mPatchHalfHeight + 1));
    const float threshold = std::max(
        mParams.mMinEigenRelative * std::min(largest, pixels * mParams.mMaxEigenPerPixel),
        pixels * mParams.mMinEigenPerPixel);
    const auto width = std::uint64_t(mWidth);
    std::erase_if(mCorners, [&](const Corner& inCorner) {
        const float x = float(inCorner.mIndex % width);
        const float y = float(inCorner.mIndex / width);
        return inCorner.mScore < threshold || !(inRect.mLeft < x && x < inRect.mRight &&
                                                inRect.mTop < y && y < inRect.mBottom);
    });

    std::fill(mPlanes[0].begin(), mPlanes[0].end(), 1.0f);
    for (const DP::APTFeature* feature = inFirst; feature != inLast; ++feature)
        if (feature->mStatus >= 0) ClearDisc(feature->mX, feature->mY);

    std::sort(mCorners.begin(), mCorners.end(), [](const Corner& inA, const Corner& inB) {
        return inA.mScore != inB.mScore ? inA.mScore > inB.mScore : inA.mIndex < inB.mIndex;
    });
    const std::size_t limit = std::min<std::size_t>(inLimit, mParams.mMaxFeatures);
    for (const Corner& corner : mCorners) {
        if (mSelected.size() >= limit) break;
        if (mPlanes[0][corner.mIndex] == 0.0f) continue;
        const int x = int(corner.mIndex % width);
        const int y = int(corner.mIndex / width);
        mSelected.push_back({float(x), float(y), corner.mScore});
        if (mSelected.size() < limit) ClearDisc(float(x), float(y));
    }
}

void PlainCornerSelection::SmoothImage() {
    const int hw = int(mParams.mPatchHalfWidth);
    const int hh = int(mParams.mPatchHalfHeight);
    const int border = int(mParams.mBorder);
    const std::vector<float> taps =
        GaussianTaps(float(2 * std::max(hw, hh) + 1) * mParams.mSmoothSigmaFactor);
    const int radius = int(taps.size() / 2);
    const int cropX = Crop(border, hw + radius + 2);
    const int cropY = Crop(border, hh + radius + 2);
    const int cols = mWidth - 2 * cropX;
    const int rows = mHeight - 2 * cropY;
    if (cols <= 0 || rows <= 0) return;
    float* const area = mPlanes[0].data() + std::ptrdiff_t{cropY} * mWidth + cropX;
    std::vector<float> padded;
    for (int y = 0; y < rows; ++y)
        ConvolveLine(area + std::ptrdiff_t{y} * mWidth, 1, cols, taps, padded);
    for (int x = 0; x < cols; ++x)
        ConvolveLine(area + x, mWidth, rows, taps, padded);
}

void PlainCornerSelection::ComputeCornerness() {
    const int hw = int(mParams.mPatchHalfWidth);
    const int hh = int(mParams.mPatchHalfHeight);
    const int border = int(mParams.mBorder);
    const int cropX = Crop(border, hw + 2);
    const int cropY = Crop(border, hh + 2);
    const int cols = mWidth - 2 * cropX;
    const int rows = mHeight - 2 * cropY;
    if (cols <= 0 || rows <= 0) return;
    const std::ptrdiff_t start = std::ptrdiff_t{cropY} * mWidth + cropX;
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < cols; ++x) {
            const std::ptrdiff_t i = start + std::ptrdiff_t{y} * mWidth + x;
            const float* const at = mPlanes[0].data() + i;
            const float gx = x > 0 && x < cols - 1 ? at[1] - at[-1] : 0.0f;
            const float gy = y > 0 && y < rows - 1 ? at[mWidth] - at[-mWidth] : 0.0f;
            mPlanes[1][std::size_t(i)] = gx * gx;
            mPlanes[2][std::size_t(i)] = gy * gy;
            mPlanes[3][std::size_t(i)] = gx * gy;
        }
    std::vector<float> totals;
    for (int plane = 1; plane <= 3; ++plane) {
        float* const area = mPlanes[plane].data() + start;
        for (int y = 0; y < rows; ++y)
            SumLine(area + std::ptrdiff_t{y} * mWidth, 1, cols, hw, totals);
        for (int x = 0; x < cols; ++x)
            SumLine(area + x, mWidth, rows, hh, totals);
    }
    if (cols - 2 * hw - 2 <= 0 || rows - 2 * hh - 2 <= 0) return;
    std::fill(mCornerness.begin(), mCornerness.end(), 0.0f);
    for (int y = hh + 1; y < rows - hh - 1; ++y)
        for (int x = hw + 1; x < cols - hw - 1; ++x) {
            const auto i = std::size_t(start + std::ptrdiff_t{y} * mWidth + x);
            const float a = mPlanes[1][i];
            const float b = mPlanes[2][i];
            const float c = mPlanes[3][i];
            const float s = a + b;
            mCornerness[i] = s - std::sqrt(s * s - 4.0f * (a * b - c * c));
        }
}

float PlainCornerSelection::PickLocalMaxima() {
    const int marginX = std::max(int(mParams.mPatchHalfWidth) + 2, int(mParams.mBorder));
    const int marginY = std::max(int(mParams.mPatchHalfHeight) + 2, int(mParams.mBorder));
    mCorners.clear();
    float largest = -100000.0f;
    for (int y = marginY; y < mHeight - marginY; ++y)
        for (int x = marginX; x < mWidth - marginX; ++x) {
            const float* const at = mCornerness.data() + std::ptrdiff_t{y} * mWidth + x;
            const float* const up = at - mWidth;
            const float* const down = at + mWidth;
            const float value = *at;
            if (!(value > up[-1] && value > up[0] && value > up[1] && value > at[-1] &&
                  value > at[1] && value > down[-1] && value > down[0] && value > down[1]))
                continue;
            mCorners.push_back(
                {value, std::uint64_t(y) * std::uint64_t(mWidth) + std::uint64_t(x)});
            largest = std::max(largest, value);
        }
    return largest;
}

// Every pixel is asked: a distance equal to the radius is cleared.
void PlainCornerSelection::ClearDisc(float inX, float inY) {
    if (!std::isfinite(inX) || !std::isfinite(inY)) return;
    const auto radius = double(mParams.mMinFeatureDistance);
    for (int y = 0; y < mHeight; ++y)
        for (int x = 0; x < mWidth; ++x) {
            const double dx = x - double(inX);
            const double dy = y - double(inY);
            if (dx * dx + dy * dy <= radius * radius)
                mPlanes[0][std::size_t(y) * std::size_t(mWidth) + std::size_t(x)] = 0.0f;
        }
}

}  // namespace Testing
