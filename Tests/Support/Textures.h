// Frames whose content, and so whose motion, is known: a texture that is a function of
// real coordinates, sampled wherever a test likes.

#pragma once

#include <cstdint>
#include <vector>

namespace Testing {

/// Random numbers that are the same on every machine.
class Random {
public:
    explicit Random(std::uint64_t inSeed) : mState(inSeed * 2 + 1) {}

    std::uint32_t Next();
    /// A whole number from `inLow` to `inHigh`, both included.
    int Integer(int inLow, int inHigh);
    /// From 0 up to, and without, 1.
    double Real();

private:
    std::uint64_t mState;
};

/// Grey value 0 to 255 of an endless texture at (x, y): smooth noise of four scales, from
/// 4 to 32 pixels, continuous with its first derivatives.
double TextureAt(double inX, double inY, std::uint32_t inSeed);

/// `inCols` by `inRows` samples of the texture, its origin at (`inX`, `inY`): a frame whose
/// content moved by (dx, dy) is the frame at (-dx, -dy).
std::vector<float> TexturedFrame(int inCols, int inRows, double inX, double inY,
                                 std::uint32_t inSeed = 1);

/// The same in 8 bits, rounded to the nearest.
std::vector<unsigned char> TexturedBytes(int inCols, int inRows, double inX, double inY,
                                         std::uint32_t inSeed = 1);

/// Independent pixels, 0 to 255.
std::vector<float> NoiseFrame(int inCols, int inRows, std::uint64_t inSeed);
std::vector<unsigned char> NoiseBytes(std::size_t inCount, std::uint64_t inSeed);

}  // namespace Testing
