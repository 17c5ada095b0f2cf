// Video's planes to BGRA, against the formulas in floating point.

#include "YuvToBgra.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace {

struct Planes {
    Planes(int inWidth, int inHeight, unsigned inSeed) : mWidth(inWidth), mHeight(inHeight) {
        std::mt19937 random(inSeed);
        for (int plane = 0; plane < 3; ++plane) {
            const int columns = plane == 0 ? inWidth : (inWidth + 1) / 2;
            const int rows = plane == 0 ? inHeight : (inHeight + 1) / 2;
            mColumns[plane] = columns;
            mRows[plane] = rows;
            mBytes[plane].resize(std::size_t((columns + 3) * rows));
            for (std::uint8_t& byte : mBytes[plane])
                byte = std::uint8_t(random());
        }
    }
    // Blended by straight lines from the two nearest, the outermost going on.
    double At(int inPlane, double inX, double inY) const {
        const double left = std::floor(inX), top = std::floor(inY);
        const auto at = [&](double inColumn, double inRow) {
            const int x = std::clamp(int(inColumn), 0, mColumns[inPlane] - 1);
            const int y = std::clamp(int(inRow), 0, mRows[inPlane] - 1);
            return double(mBytes[inPlane][std::size_t(y * (mColumns[inPlane] + 3) + x)]);
        };
        const auto row = [&](double inRow) {
            return at(left, inRow) + (inX - left) * (at(left + 1, inRow) - at(left, inRow));
        };
        return row(top) + (inY - top) * (row(top + 1) - row(top));
    }

    int mWidth, mHeight;
    int mColumns[3], mRows[3];
    std::vector<std::uint8_t> mBytes[3];
};

struct Matrix {
    double mRed, mBlue;
    bool mIsFull;
};

double Expected(const Planes& inPlanes, const Matrix& inMatrix, int inX, int inY,
                int inSample) {
    const double u = inPlanes.At(1, inX / 2.0, inY / 2.0 - 0.25) - 128.0;
    const double v = inPlanes.At(2, inX / 2.0, inY / 2.0 - 0.25) - 128.0;
    const double luma = (inPlanes.At(0, inX, inY) - (inMatrix.mIsFull ? 0.0 : 16.0)) *
                        (inMatrix.mIsFull ? 1.0 : 255.0 / 219.0);
    const double colour = inMatrix.mIsFull ? 1.0 : 255.0 / 224.0;
    const double red = luma + 2.0 * (1.0 - inMatrix.mRed) * colour * v;
    const double blue = luma + 2.0 * (1.0 - inMatrix.mBlue) * colour * u;
    const double green = (luma - inMatrix.mRed * red - inMatrix.mBlue * blue) /
                         (1.0 - inMatrix.mRed - inMatrix.mBlue);
    return std::clamp(inSample == 0 ? blue : inSample == 1 ? green : red, 0.0, 255.0);
}

// Half a level for rounding, and for each coefficient half of its last bit times the largest
// sample: 239 brightness, 8 * 128 in two colours, of 2^13.
constexpr double kTolerance = 0.5 + 0.5 * (239.0 + 2 * 8 * 128.0) / 8192.0;

TEST(YuvToBgraTest, IsTheFormulaForOddSizesStridesMatricesAndRanges) {
    unsigned seed = 0;
    for (const Matrix& matrix : {Matrix{0.299, 0.114, false}, Matrix{0.299, 0.114, true},
                                 Matrix{0.2126, 0.0722, false}, Matrix{0.2126, 0.0722, true}})
        for (const auto& size : {std::pair{16, 8}, {37, 11}, {1, 1}, {2, 3}, {131, 2}}) {
            const Planes planes(size.first, size.second, ++seed);
            std::vector<std::uint8_t> pixels(std::size_t(size.first * size.second) * 4);
            Host::YuvToBgra(
                {{planes.mBytes[0].data(), planes.mBytes[1].data(), planes.mBytes[2].data()},
                 {planes.mColumns[0] + 3, planes.mColumns[1] + 3, planes.mColumns[2] + 3},
                 size.first,
                 size.second},
                {matrix.mRed, matrix.mBlue, matrix.mIsFull}, pixels.data());
            for (int y = 0; y < size.second; ++y)
                for (int x = 0; x < size.first; ++x)
                    for (int sample = 0; sample < 4; ++sample) {
                        const double found =
                            pixels[std::size_t((y * size.first + x) * 4 + sample)];
                        const double expected =
                            sample == 3 ? 255.0 : Expected(planes, matrix, x, y, sample);
                        ASSERT_NEAR(found, expected, sample == 3 ? 0.0 : kTolerance)
                            << x << ", " << y << " of " << size.first;
                    }
        }
}

}  // namespace
