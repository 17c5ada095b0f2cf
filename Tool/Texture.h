// Textures that can be looked up between pixels, the same on every machine.

#pragma once

#include <cstdint>

namespace Host {

/// A colour of three samples, 0 to 255.
struct Colour {
    double mRed = 0.0;
    double mGreen = 0.0;
    double mBlue = 0.0;
};

/// `inShare` of the second colour.
Colour Mix(const Colour& inFirst, const Colour& inSecond, double inShare);
/// Every sample times `inFactor`.
Colour Scale(const Colour& inColour, double inFactor);

/// A wave of period 1 and height 1 made of parabolas: a sine for the eye, but its bits do
/// not depend on a mathematics library. Its steepest slope is 8.
double Wave(double inPhase);

/// An even spread of bits over three whole numbers.
std::uint32_t Hash(std::int32_t inX, std::int32_t inY, std::uint32_t inSeed);

/// Smooth noise between about -1 and 1: a random slope at each whole place, blended.
double GradientNoise(double inX, double inY, std::uint32_t inSeed);

/// Noise at five scales from 96 pixels down to 6, each weaker than the one above
/// it, as in photographs. About -1 to 1.
double FractalNoise(double inX, double inY, std::uint32_t inSeed);

/// The same at the whole places of a square from (`inLeft`, `inTop`) on, row by row, to the
/// same bits, and several times faster than one by one.
void FractalNoiseOfSquare(std::int32_t inLeft, std::int32_t inTop, int inSide,
                          std::uint32_t inSeed, double* outNoise);

/// Ground with stones: noise at several scales, and on it discs and slabs with clear
/// edges and corners.
Colour GroundTexture(double inX, double inY, std::uint32_t inSeed);
/// The same, of a place whose fractal noise is known.
Colour GroundTexture(double inX, double inY, std::uint32_t inSeed, double inFractalNoise);

/// The skin of the moving object, over the unit square: stripes, windows, and noise of
/// `inGrain` cycles from side to side.
Colour PanelTexture(double inU, double inV, double inGrain, std::uint32_t inSeed);

/// The noise of one row of one frame, pixel by pixel, with a standard deviation of 1.
class NoiseRow {
public:
    NoiseRow(int inRow, std::int32_t inFrame, std::uint32_t inSeed)
        : mBits(Hash(inRow, inFrame, inSeed) | 1u) {}

    double Next() {
        // Four even spreads: variance 1/3.
        return (NextSum() / 255.0 - 2.0) * 1.7320508075688772;
    }
    /// The same as a whole number from 0 to 1020.
    int NextSum() {
        mBits ^= mBits << 13;  // Marsaglia's xorshift
        mBits ^= mBits >> 17;
        mBits ^= mBits << 5;
        const std::uint32_t pairs = (mBits & 0xff00ff) + ((mBits >> 8) & 0xff00ff);
        return int((pairs & 0xffff) + (pairs >> 16));
    }

private:
    std::uint32_t mBits;
};

}  // namespace Host
