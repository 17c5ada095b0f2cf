// Textures from hashes of whole numbers.
//
// Only sums, products, quotients, floor and square root are used: each is rounded the
// same way everywhere, so that a rendered clip has the same bytes on every machine.

#include "Texture.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace Host {
namespace {

double Smooth(double inT) { return inT * inT * inT * (inT * (inT * 6.0 - 15.0) + 10.0); }

double Lerp(double inFirst, double inSecond, double inShare) {
    return inFirst + (inSecond - inFirst) * inShare;
}

// 1 inside, 0 outside, with an edge as soft as a lens makes it.
double Coverage(double inDistanceInside) {
    return std::clamp(inDistanceInside / 1.6 + 0.5, 0.0, 1.0);
}

constexpr double kLargest = 96.0;  // pixels of the first of the five scales
constexpr double kStrength[] = {0.42, 0.27, 0.2, 0.16, 0.12};

// A place on one axis, by the lattice points around it.
struct NoiseAxis {
    NoiseAxis(double inPlace, double inScale) {
        const double place = inPlace / inScale;
        const double low = std::floor(place);
        mCell = std::int32_t(low);
        mFrom = place - low;
        mShare = Smooth(mFrom);
    }
    std::int32_t mCell;
    double mFrom, mShare;
};

std::vector<NoiseAxis> AxisOf(std::int32_t inFirst, int inCount, double inScale) {
    std::vector<NoiseAxis> axis;
    for (int i = 0; i < inCount; ++i)
        axis.emplace_back(inFirst + i, inScale);
    return axis;
}

// The slope at a lattice point, one of eight directions.
struct Slope {
    Slope(std::int32_t inX, std::int32_t inY, std::uint32_t inSeed) {
        constexpr double kDiagonal = 0.70710678118654752;
        constexpr double kX[] = {1.0,       -1.0,       0.0,       0.0,
                                 kDiagonal, -kDiagonal, kDiagonal, -kDiagonal};
        constexpr double kY[] = {0.0,       0.0,       1.0,        -1.0,
                                 kDiagonal, kDiagonal, -kDiagonal, -kDiagonal};
        const std::uint32_t direction = Hash(inX, inY, inSeed) >> 29;
        mX = kX[direction];
        mY = kY[direction];
    }
    double At(double inDx, double inDy) const { return mX * inDx + mY * inDy; }

    double mX, mY;
};

// What lies between four lattice points.
struct NoiseCell {
    NoiseCell(std::int32_t inColumn, std::int32_t inRow, std::uint32_t inSeed)
        : mColumn(inColumn),
          mCorners{{inColumn, inRow, inSeed},
                   {inColumn + 1, inRow, inSeed},
                   {inColumn, inRow + 1, inSeed},
                   {inColumn + 1, inRow + 1, inSeed}} {}

    double At(const NoiseAxis& inAcross, const NoiseAxis& inDown) const {
        const double dx = inAcross.mFrom, dy = inDown.mFrom;
        const double upper =
            Lerp(mCorners[0].At(dx, dy), mCorners[1].At(dx - 1.0, dy), inAcross.mShare);
        const double lower = Lerp(mCorners[2].At(dx, dy - 1.0),
                                  mCorners[3].At(dx - 1.0, dy - 1.0), inAcross.mShare);
        return 1.5 * Lerp(upper, lower, inDown.mShare);
    }

    std::int32_t mColumn;
    Slope mCorners[4];
};

// How far inside a stone's outline a place is, in pixels; negative outside.
struct Stone {
    double mInside = -1.0;
    double mShade = 0.0;
};

// Each cell of the ground may hold one stone, which stays inside its cell.
constexpr double kCell = 84.0;

Stone FindStone(double inX, double inY, std::uint32_t inSeed) {
    const std::int32_t column = std::int32_t(std::floor(inX / kCell));
    const std::int32_t row = std::int32_t(std::floor(inY / kCell));
    const std::uint32_t bits = Hash(column, row, inSeed);
    Stone stone;
    if (bits % 8 >= 5) return stone;

    const auto part = [bits](int inShift) {
        return double((bits >> inShift) & 0xff) / 255.0;
    };
    const double size = Lerp(10.0, 24.0, part(8));
    const double dx = inX - (double(column) + 0.5) * kCell - Lerp(-12.0, 12.0, part(16));
    const double dy = inY - (double(row) + 0.5) * kCell - Lerp(-12.0, 12.0, part(24));
    stone.mShade = (bits & 0x100) ? Lerp(0.25, 0.5, part(12)) : -Lerp(0.2, 0.45, part(12));
    if (bits % 8 < 2) {
        stone.mInside = size - std::sqrt(dx * dx + dy * dy);
        return stone;
    }
    // A slab, turned by an angle whose cosine and sine are a quotient each.
    const double t = Lerp(-0.4, 0.4, part(20));
    const double cosine = (1.0 - t * t) / (1.0 + t * t);
    const double sine = 2.0 * t / (1.0 + t * t);
    const double across = std::abs(cosine * dx + sine * dy);
    const double along = std::abs(cosine * dy - sine * dx);
    stone.mInside = std::min(size * 0.95 - across, size * 0.6 - along);
    return stone;
}

}  // namespace

Colour Mix(const Colour& inFirst, const Colour& inSecond, double inShare) {
    return {Lerp(inFirst.mRed, inSecond.mRed, inShare),
            Lerp(inFirst.mGreen, inSecond.mGreen, inShare),
            Lerp(inFirst.mBlue, inSecond.mBlue, inShare)};
}

Colour Scale(const Colour& inColour, double inFactor) {
    return {inColour.mRed * inFactor, inColour.mGreen * inFactor, inColour.mBlue * inFactor};
}

double Wave(double inPhase) {
    const double x = 2.0 * (inPhase - std::floor(inPhase)) - 1.0;
    return -4.0 * x * (1.0 - std::abs(x));
}

std::uint32_t Hash(std::int32_t inX, std::int32_t inY, std::uint32_t inSeed) {
    std::uint32_t bits = inSeed * 0x9e3779b9u;
    for (const std::uint32_t value : {std::uint32_t(inX), std::uint32_t(inY)}) {
        bits ^= value * 0x85ebca6bu;
        bits ^= bits >> 15;
        bits *= 0x2c1b3c6du;
        bits ^= bits >> 12;
        bits *= 0x297a2d39u;
        bits ^= bits >> 15;
    }
    return bits;
}

double GradientNoise(double inX, double inY, std::uint32_t inSeed) {
    const NoiseAxis across(inX, 1.0), down(inY, 1.0);
    return NoiseCell(across.mCell, down.mCell, inSeed).At(across, down);
}

double FractalNoise(double inX, double inY, std::uint32_t inSeed) {
    double sum = 0.0;
    double scale = kLargest;
    for (std::uint32_t octave = 0; octave < 5; ++octave, scale *= 0.5)
        sum += kStrength[octave] * GradientNoise(inX / scale, inY / scale, inSeed + octave);
    return sum;
}

void FractalNoiseOfSquare(std::int32_t inLeft, std::int32_t inTop, int inSide,
                          std::uint32_t inSeed, double* outNoise) {
    std::fill_n(outNoise, inSide * inSide, 0.0);
    double scale = kLargest;
    for (std::uint32_t octave = 0; octave < 5; ++octave, scale *= 0.5) {
        const std::vector<NoiseAxis> across = AxisOf(inLeft, inSide, scale);
        for (int y = 0; y < inSide; ++y) {
            const NoiseAxis down = NoiseAxis(inTop + y, scale);
            double* const row = outNoise + y * inSide;
            NoiseCell cell(across[0].mCell, down.mCell, inSeed + octave);
            for (int x = 0; x < inSide; ++x) {
                if (across[std::size_t(x)].mCell != cell.mColumn)
                    cell = NoiseCell(across[std::size_t(x)].mCell, down.mCell, inSeed + octave);
                row[x] += kStrength[octave] * cell.At(across[std::size_t(x)], down);
            }
        }
    }
}

Colour GroundTexture(double inX, double inY, std::uint32_t inSeed) {
    return GroundTexture(inX, inY, inSeed, FractalNoise(inX, inY, inSeed));
}

Colour GroundTexture(double inX, double inY, std::uint32_t inSeed, double inFractalNoise) {
    constexpr Colour kMoss{52.0, 84.0, 62.0};
    constexpr Colour kSand{196.0, 178.0, 142.0};
    constexpr Colour kSlate{118.0, 128.0, 142.0};
    const Colour ground = Mix(kMoss, kSand, std::clamp(0.42 + 0.75 * inFractalNoise, 0.0, 1.0));

    const Stone stone = FindStone(inX, inY, inSeed + 17);
    if (stone.mInside <= -0.8) return ground;
    const double grain = GradientNoise(inX / 9.0, inY / 9.0, inSeed + 31);
    const Colour rock =
        Scale(kSlate, 1.0 + stone.mShade + 0.16 * grain + 0.25 * inFractalNoise);
    return Mix(ground, rock, Coverage(stone.mInside));
}

Colour PanelTexture(double inU, double inV, double inGrain, std::uint32_t inSeed) {
    constexpr Colour kPaint{186.0, 74.0, 46.0};
    constexpr Colour kStripe{240.0, 214.0, 150.0};
    constexpr Colour kGlass{44.0, 54.0, 76.0};
    const double noise =
        0.6 * GradientNoise(inU * inGrain, inV * inGrain, inSeed) +
        0.4 * GradientNoise(inU * inGrain * 0.4, inV * inGrain * 0.4, inSeed + 1);

    // Edges are as wide as two hundredths of the side, which is a pixel or two.
    const auto band = [](double inAt, double inFrom, double inTo) {
        return std::clamp((inAt - inFrom) * 50.0 + 0.5, 0.0, 1.0) *
               std::clamp((inTo - inAt) * 50.0 + 0.5, 0.0, 1.0);
    };
    Colour colour = Scale(kPaint, 1.0 + 0.35 * noise);
    colour = Mix(colour, Scale(kStripe, 1.0 + 0.2 * noise), band(inV, 0.68, 0.82));
    for (int window = 0; window < 4; ++window) {
        const double left = 0.07 + 0.23 * window;
        const double pane = band(inU, left, left + 0.17) * band(inV, 0.16, 0.5);
        colour = Mix(colour, Scale(kGlass, 1.0 + 0.9 * noise + 0.5 * (inU - left)), pane);
    }
    return colour;
}

}  // namespace Host
