// The library's double is rounded where it is clear which float it goes to. For about 60 of
// all floats it is not, since C libraries promise no last bit, and five come within 4 last
// places of a middle: these are evaluated in pairs of doubles, in sums and products alone,
// which are the same on every machine.

#include "image/RoundedExp.h"

#include <cmath>
#include <limits>

namespace IP {
namespace {

using Limits = std::numeric_limits<float>;

constexpr double kLibraryError = 32;                  // last places
constexpr float kLargestArgument = 0x1.62e42ep+6f;    // the next one's result is no float
constexpr float kSmallestArgument = -0x1.9fe368p+6f;  // below it lies less than half a float

// A number as a sum of two: what the first rounds away stands in the second.
struct Pair {
    double mHigh;
    double mLow;
};

Pair SumOf(double inA, double inB) {
    const double sum = inA + inB;
    const double b = sum - inA;
    return {sum, (inA - (sum - b)) + (inB - b)};
}

// The halves of a double, of 26 bits each: their products are exact.
Pair HalvesOf(double inValue) {
    const double scaled = inValue * 0x1.0000002p+27;
    const double high = scaled - (scaled - inValue);
    return {high, inValue - high};
}

Pair ProductOf(double inA, double inB) {
    const double product = inA * inB;
    const Pair a = HalvesOf(inA), b = HalvesOf(inB);
    return {product, ((a.mHigh * b.mHigh - product) + a.mHigh * b.mLow + a.mLow * b.mHigh) +
                         a.mLow * b.mLow};
}

Pair operator*(Pair inA, Pair inB) {
    const Pair product = ProductOf(inA.mHigh, inB.mHigh);
    return SumOf(product.mHigh, product.mLow + (inA.mHigh * inB.mLow + inA.mLow * inB.mHigh));
}

Pair operator/(Pair inA, double inB) {
    const double quotient = inA.mHigh / inB;
    const Pair product = ProductOf(quotient, inB);
    return SumOf(quotient, (((inA.mHigh - product.mHigh) - product.mLow) + inA.mLow) / inB);
}

// e^x = 2^k e^r with r of at most half a log 2, and the series of e^r to r^26 / 26!, from its
// small end. The high part of log 2 has 40 bits, so that k times it, and the difference to x,
// are exact.
struct ScaledExp {
    explicit ScaledExp(double inValue) {
        constexpr double kLogHigh = 0x1.62e42fefa3p-1;
        constexpr double kLogLow = 0x1.3de6af278ece6p-42;
        mExponent = static_cast<int>(std::floor(inValue / kLogHigh + 0.5));
        const Pair low = ProductOf(-mExponent, kLogLow);
        const Pair high = SumOf(inValue - mExponent * kLogHigh, low.mHigh);
        const Pair rest = SumOf(high.mHigh, high.mLow + low.mLow);
        for (int n = 26; n > 0; --n) {
            const Pair term = rest * mValue / n;
            const Pair sum = SumOf(1.0, term.mHigh);
            mValue = SumOf(sum.mHigh, sum.mLow + term.mLow);
        }
    }
    Pair mValue{1.0, 0.0};
    int mExponent;
};

bool IsExpAbove(double inValue, double inBound) {
    const ScaledExp exact(inValue);
    const double bound = std::ldexp(inBound, -exact.mExponent);
    return (exact.mValue.mHigh - bound) + exact.mValue.mLow > 0;
}

}  // namespace

float RoundedExp(float inValue) {
    if (inValue > kLargestArgument) return Limits::infinity();
    if (inValue < kSmallestArgument) return 0.0f;
    const double value = std::exp(double{inValue});
    const float nearest = static_cast<float>(value);
    if (std::isnan(value)) return nearest;

    // The neighbour on the other side of the double, and the middle between the two.
    const bool isAbove = value >= double{nearest};
    const float other =
        std::nextafter(nearest, isAbove ? Limits::infinity() : -Limits::infinity());
    const double middle = (double{nearest} + double{other}) / 2;
    const double lastPlace = std::nextafter(value, 2 * value) - value;
    if (std::abs(value - middle) > kLibraryError * lastPlace) return nearest;
    return IsExpAbove(double{inValue}, middle) == (other > nearest) ? other : nearest;
}

}  // namespace IP
