#include "Support/Textures.h"

#include <cmath>
#include <cstddef>

namespace Testing {
namespace {

// 0 to 1, from the whole-numbered corner of a lattice.
double LatticeValue(std::int64_t inX, std::int64_t inY, std::uint32_t inSeed) {
    std::uint64_t hash = static_cast<std::uint64_t>(inX) * 0x9e3779b97f4a7c15u ^
                         static_cast<std::uint64_t>(inY) * 0xc2b2ae3d27d4eb4fu ^
                         std::uint64_t{inSeed} * 0x165667b19e3779f9u;
    hash ^= hash >> 29;
    hash *= 0xbf58476d1ce4e5b9u;
    hash ^= hash >> 32;
    return static_cast<double>(hash & 0xffffff) / 16777216.0;
}

double SmoothStep(double inT) { return inT * inT * (3.0 - 2.0 * inT); }

double LatticeNoise(double inX, double inY, std::uint32_t inSeed) {
    const double left = std::floor(inX);
    const double top = std::floor(inY);
    const double u = SmoothStep(inX - left);
    const double v = SmoothStep(inY - top);
    const auto x = static_cast<std::int64_t>(left);
    const auto y = static_cast<std::int64_t>(top);
    const double upper =
        LatticeValue(x, y, inSeed) * (1 - u) + LatticeValue(x + 1, y, inSeed) * u;
    const double lower =
        LatticeValue(x, y + 1, inSeed) * (1 - u) + LatticeValue(x + 1, y + 1, inSeed) * u;
    return upper * (1 - v) + lower * v;
}

unsigned char ToByte(double inGrey) {
    return static_cast<unsigned char>(std::floor(inGrey + 0.5));
}

}  // namespace

std::uint32_t Random::Next() {
    mState ^= mState << 13;
    mState ^= mState >> 7;
    mState ^= mState << 17;
    return static_cast<std::uint32_t>(mState >> 32);
}

int Random::Integer(int inLow, int inHigh) {
    const auto span = static_cast<std::uint64_t>(std::int64_t{inHigh} - inLow + 1);
    return static_cast<int>(inLow + static_cast<std::int64_t>((Next() * span) >> 32));
}

double Random::Real() { return Next() / 4294967296.0; }

double TextureAt(double inX, double inY, std::uint32_t inSeed) {
    constexpr double kScales[] = {4.0, 8.0, 16.0, 32.0};
    constexpr double kWeights[] = {0.3, 0.3, 0.2, 0.2};
    double sum = 0.0;
    for (std::uint32_t i = 0; i < 4; ++i)
        sum += kWeights[i] * LatticeNoise(inX / kScales[i], inY / kScales[i], inSeed * 4 + i);
    return 255.0 * sum;
}

std::vector<float> TexturedFrame(int inCols, int inRows, double inX, double inY,
                                 std::uint32_t inSeed) {
    std::vector<float> frame;
    frame.reserve(static_cast<std::size_t>(inCols) * static_cast<std::size_t>(inRows));
    for (int y = 0; y < inRows; ++y)
        for (int x = 0; x < inCols; ++x)
            frame.push_back(static_cast<float>(TextureAt(inX + x, inY + y, inSeed)));
    return frame;
}

std::vector<unsigned char> TexturedBytes(int inCols, int inRows, double inX, double inY,
                                         std::uint32_t inSeed) {
    std::vector<unsigned char> frame;
    frame.reserve(static_cast<std::size_t>(inCols) * static_cast<std::size_t>(inRows));
    for (int y = 0; y < inRows; ++y)
        for (int x = 0; x < inCols; ++x)
            frame.push_back(ToByte(TextureAt(inX + x, inY + y, inSeed)));
    return frame;
}

std::vector<float> NoiseFrame(int inCols, int inRows, std::uint64_t inSeed) {
    Random random(inSeed);
    std::vector<float> frame(static_cast<std::size_t>(inCols) *
                             static_cast<std::size_t>(inRows));
    for (float& pixel : frame)
        pixel = static_cast<float>(random.Real() * 255.0);
    return frame;
}

std::vector<unsigned char> NoiseBytes(std::size_t inCount, std::uint64_t inSeed) {
    Random random(inSeed);
    std::vector<unsigned char> bytes(inCount);
    for (unsigned char& byte : bytes)
        byte = static_cast<unsigned char>(random.Next());
    return bytes;
}

}  // namespace Testing
