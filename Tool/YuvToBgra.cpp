#include "YuvToBgra.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace Host {
namespace {

constexpr int kBits = 13;
constexpr int kColourScale = 8;  // a colour's sample after both blends

std::int16_t Fixed(double inValue) { return std::int16_t(std::lround(inValue * (1 << kBits))); }

using Samples = std::vector<std::int16_t>;

// One row of a colour plane at all columns, about 0. `inNear` counts three times.
void BlendColour(const std::uint8_t* inNear, const std::uint8_t* inFar, int inWidth,
                 Samples& ioHalf, Samples& outRow) {
    const int half = (inWidth + 1) / 2;
    std::int16_t* __restrict const column = ioHalf.data();
    for (int i = 0; i < half; ++i)
        column[i] = std::int16_t(3 * inNear[i] + inFar[i] - 4 * 128);
    column[half] = column[half - 1];
    std::int16_t* __restrict const row = outRow.data();
    for (int i = 0; i < half; ++i) {
        row[2 * i] = std::int16_t(2 * column[i]);
        row[2 * i + 1] = std::int16_t(column[i] + column[i + 1]);
    }
}

// The sum is a whole number below 2^24, and so are its parts: a float has them exactly, and
// many at once, where whole numbers of this width are multiplied one by one.
std::uint32_t Byte(float inSum) {
    const float value = (inSum + float(1 << (kBits - 1))) * (1.0f / float(1 << kBits));
    const float notBelow = value > 0.0f ? value : 0.0f;
    return std::uint32_t(std::int32_t(notBelow < 255.0f ? notBelow : 255.0f));
}

void WriteRow(const std::uint8_t* inLuma, const Samples& inU, const Samples& inV,
              const YuvCoefficients& inC, int inWidth, std::uint8_t* outRow) {
    const std::int16_t* __restrict const u = inU.data();
    const std::int16_t* __restrict const v = inV.data();
    const float redV = inC.mRedV, greenU = inC.mGreenU, greenV = inC.mGreenV;
    const float blueU = inC.mBlueU, scale = inC.mLuma;
    const int offset = inC.mOffset;
    for (int x = 0; x < inWidth; ++x) {
        const float luma = float(inLuma[x] - offset) * scale;
        const float blueDifference = u[x], redDifference = v[x];
        const std::uint32_t blue = Byte(luma + blueDifference * blueU);
        const std::uint32_t green =
            Byte(luma - blueDifference * greenU - redDifference * greenV);
        const std::uint32_t red = Byte(luma + redDifference * redV);
        const std::uint32_t pixel = blue | green << 8 | red << 16 | 0xff000000u;
        std::memcpy(outRow + std::size_t(x) * 4, &pixel, 4);
    }
}

}  // namespace

YuvCoefficients::YuvCoefficients(double inRed, double inBlue, bool inIsFullRange)
    : mOffset(inIsFullRange ? 0 : 16) {
    const double green = 1.0 - inRed - inBlue;
    const double luma = inIsFullRange ? 1.0 : 255.0 / 219.0;
    const double colour = (inIsFullRange ? 1.0 : 255.0 / 224.0) / kColourScale;
    mLuma = Fixed(luma);
    mRedV = Fixed(2.0 * (1.0 - inRed) * colour);
    mBlueU = Fixed(2.0 * (1.0 - inBlue) * colour);
    mGreenU = Fixed(2.0 * (1.0 - inBlue) * inBlue / green * colour);
    mGreenV = Fixed(2.0 * (1.0 - inRed) * inRed / green * colour);
}

void YuvToBgra(const YuvPicture& inPicture, const YuvCoefficients& inCoefficients,
               std::uint8_t* outPixels) {
    const int rows = (inPicture.mHeight + 1) / 2;
    const auto columns = std::size_t((inPicture.mWidth + 1) / 2);
    Samples half(columns + 1), u(2 * columns), v(2 * columns);
    for (int y = 0; y < inPicture.mHeight; ++y) {
        const int near = y / 2;
        const int far = std::clamp(y % 2 == 0 ? near - 1 : near + 1, 0, rows - 1);
        const auto blend = [&](int inPlane, Samples& outRow) {
            const std::uint8_t* const plane = inPicture.mPlanes[inPlane];
            const std::ptrdiff_t stride = inPicture.mStrides[inPlane];
            BlendColour(plane + near * stride, plane + far * stride, inPicture.mWidth, half,
                        outRow);
        };
        blend(1, u);
        blend(2, v);
        WriteRow(inPicture.mPlanes[0] + y * inPicture.mStrides[0], u, v, inCoefficients,
                 inPicture.mWidth,
                 outPixels + std::size_t(y) * std::size_t(inPicture.mWidth) * 4);
    }
}

}  // namespace Host
