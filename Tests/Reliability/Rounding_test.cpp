// Results do not hang on the last bits of the C library. Every value that it computes for a
// result is taken here with many digits, and moved by four last places of a double to either
// side, which is more than C libraries err: what is made of it in single precision is the same.

#include <mpfr.h>

#include <bit>
#include <cstdio>

#include "External/graphcut/LinkEnergies.h"
#include "Support/Test.h"
#include "image/RoundedExp.h"

namespace {

constexpr int kLibraryError = 4;  // last places of a double

// A number with 200 binary digits.
class Exact {
public:
    explicit Exact(double inValue) {
        mpfr_init2(mValue, 200);
        mpfr_set_d(mValue, inValue, MPFR_RNDN);
    }
    ~Exact() { mpfr_clear(mValue); }
    Exact(const Exact&) = delete;
    Exact& operator=(const Exact&) = delete;

    using Function = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);
    Exact& Apply(Function inFunction) {
        inFunction(mValue, mValue, MPFR_RNDN);
        return *this;
    }
    double Double(mpfr_rnd_t inRounding) const { return mpfr_get_d(mValue, inRounding); }
    float Float() const { return mpfr_get_flt(mValue, MPFR_RNDN); }
    double Minus(double inValue) const {
        Exact difference(0);
        mpfr_sub_d(difference.mValue, mValue, inValue, MPFR_RNDN);
        return difference.Double(MPFR_RNDN);
    }

private:
    mpfr_t mValue;
};

double LastPlace(double inValue) {
    return std::nextafter(std::abs(inValue), INFINITY) - std::abs(inValue);
}

// The doubles that C libraries may give for one value, and what is computed of them: sums and
// products of doubles are the same everywhere and keep the order.
struct Doubles {
    double mLow;
    double mHigh;

    static Doubles Of(double inArgument, Exact::Function inFunction) {
        Exact value(inArgument);
        value.Apply(inFunction);
        double low = value.Double(MPFR_RNDD), high = value.Double(MPFR_RNDU);
        for (int place = 0; low != high && place < kLibraryError; ++place) {
            low = std::nextafter(low, -INFINITY);
            high = std::nextafter(high, INFINITY);
        }
        return {low, high};
    }
    Doubles operator-() const { return {-mHigh, -mLow}; }
    Doubles operator+(Doubles inOther) const {
        return {mLow + inOther.mLow, mHigh + inOther.mHigh};
    }
    Doubles operator-(Doubles inOther) const { return *this + -inOther; }
    Doubles operator*(double inFactor) const {  // not negative
        return {mLow * inFactor, mHigh * inFactor};
    }
    bool Holds(double inValue) const { return mLow <= inValue && inValue <= mHigh; }
};

// Adds up what is certified: how near the doubles come to the middle between two floats, in
// last places of a double.
class Certificate {
public:
    // The float of all the doubles.
    float Round(Doubles inDoubles) {
        const float low = static_cast<float>(inDoubles.mLow);
        EXPECT_EQ(low, static_cast<float>(inDoubles.mHigh)) << inDoubles.mLow;
        for (const float other :
             {std::nextafter(low, -INFINITY), std::nextafter(low, INFINITY)})
            for (const double value : {inDoubles.mLow, inDoubles.mHigh}) {
                const double middle = (double{low} + double{other}) / 2;
                mMargin = std::min(mMargin, std::abs(value - middle) / LastPlace(value));
            }
        ++mCount;
        return low;
    }
    ~Certificate() {
        std::printf("%ld values; beyond the %d last places another %.4g\n", mCount,
                    kLibraryError, mMargin);
    }

private:
    long mCount = 0;
    double mMargin = INFINITY;
};

// The middle between two floats that is nearest to a double.
double NearestMiddle(double inValue) {
    const float here = static_cast<float>(inValue);
    const float other = std::nextafter(here, inValue >= double{here} ? INFINITY : -INFINITY);
    return (double{here} + double{other}) / 2;
}

// Whether a double is surely 4096 last places or more from a middle: by the bits that a float
// has no room for, of which there are 29, and more below the normal floats.
bool IsFarFromMiddles(double inValue) {
    constexpr std::uint64_t kHalf = 1u << 28;
    const auto rest = std::bit_cast<std::uint64_t>(inValue) % (2 * kHalf);
    return inValue > 0x1p-126 ? rest - (kHalf - 4096) > 2 * 4096
                              : std::abs(inValue - NearestMiddle(inValue)) > 0x1p-40 * inValue;
}

// Every float is gone through whose exponential is neither 1 nor beyond the floats.
TEST(Rounding, TheExponentialOfEveryFloatIsTheNearest) {
    constexpr std::uint32_t kFirst = 101u << 23, kLast = (133u << 23) | 0x7fffff;
    std::map<double, float> nearest;
    for (const float sign : {1.0f, -1.0f})
        for (std::uint32_t bits = kFirst; bits <= kLast; ++bits) {
            const float argument = sign * std::bit_cast<float>(bits);
            const double value = std::exp(double{argument});
            if (!(value > 0x1p-151 && value < 0x1.ffffffp+127)) break;
            if (IsFarFromMiddles(value)) continue;
            Exact exact(double{argument});
            exact.Apply(&mpfr_exp);
            ASSERT_EQ(IP::RoundedExp(argument), exact.Float()) << argument;
            nearest[std::abs(exact.Minus(NearestMiddle(value))) / LastPlace(value)] = argument;
        }
    int near = 0;
    for (const auto& [margin, argument] : nearest) {
        if (margin >= kLibraryError) break;
        std::printf("exp(%a): %.3f last places from a middle\n", double{argument}, margin);
        ++near;
    }
    EXPECT_EQ(near, 5) << "of these floats no C library's double decides, but RoundedExp";
}

TEST(Rounding, TheExponentialAtItsEnds) {
    using Limits = std::numeric_limits<float>;
    for (const float argument : {0.0f, -0.0f, 1e-30f, -1e-30f})
        EXPECT_EQ(IP::RoundedExp(argument), 1.0f);
    EXPECT_LT(IP::RoundedExp(0x1.62e42ep+6f), Limits::infinity());
    EXPECT_EQ(IP::RoundedExp(0x1.62e430p+6f), Limits::infinity());
    EXPECT_EQ(IP::RoundedExp(Limits::infinity()), Limits::infinity());
    EXPECT_EQ(IP::RoundedExp(-0x1.9fe368p+6f), Limits::denorm_min());
    EXPECT_EQ(IP::RoundedExp(-0x1.9fe36ap+6f), 0.0f);
    EXPECT_EQ(IP::RoundedExp(-Limits::infinity()), 0.0f);
    EXPECT_TRUE(std::isnan(IP::RoundedExp(Limits::quiet_NaN())));
}

// All energies that two pixels of a frame can have, side by side and across.
TEST(Rounding, LinkEnergies) {
    constexpr int kMostDifference = 3 * 255 * 255;
    const double sigma = double{16.0f / 255.0f} * 255;
    const double scale = 1.5 / 3 / (sigma * sigma);
    const graphcut::PairEnergies<unsigned char, 3> energies(
        {}, {500.0, double{16.0f / 255.0f}, 0.5});
    Certificate certificate;
    for (int sum = 0; sum <= kMostDifference; ++sum) {
        const Doubles power = Doubles::Of(sum * scale, &mpfr_sqrt);
        const Doubles energy{Doubles::Of(-power.mHigh, &mpfr_exp).mLow * 500.0,
                             Doubles::Of(-power.mLow, &mpfr_exp).mHigh * 500.0};
        for (const double weight : {1.0, 1.0 / std::sqrt(2.0)})
            ASSERT_EQ(certificate.Round(energy * weight),
                      energies.OfSquaredDifference(sum, weight));
    }
}

// The energies of all fits: the logarithms of their reciprocals, and of twice the full scale.
TEST(Rounding, TerminalEnergies) {
    std::vector<double> arguments{510.0};
    for (int fit = 1; fit < 256; ++fit) {
        arguments.push_back(1 / (fit / 255.0));
        arguments.push_back(1 / (1 - (255 - fit) / 255.0));
    }
    Certificate certificate;
    for (const double argument : arguments) {
        const Doubles value = Doubles::Of(argument, &mpfr_log);
        EXPECT_TRUE(value.Holds(std::log(argument)));
        if (argument != 1.0) certificate.Round(value);
    }
}

// The taps of the corner measure's Gaussian: a tenth of a patch of 11 pixels.
TEST(Rounding, TapsOfTheCornerMeasure) {
    const double sigma = double{11.0f * 0.1f};
    const double s = 1.0 / (sigma * std::sqrt(2.0));
    const auto integral = [&](double inFrom, double inTo, Exact::Function inFunction) {
        const auto there = Doubles::Of(inTo * s, inFunction);
        const auto here = Doubles::Of(inFrom * s, inFunction);
        return inFunction == &mpfr_erf ? there - here : here - there;
    };
    Certificate certificate;
    std::vector<float> taps{certificate.Round(integral(-0.5, 0.5, &mpfr_erf))};
    Doubles sum{0, 0};
    for (int i = 1; i <= static_cast<int>(3.5 * sigma + 0.5); ++i) {
        const auto function = i * s < 2.5 ? &mpfr_erf : &mpfr_erfc;
        const Doubles tap = integral(i - 0.5, i + 0.5, function);
        taps.push_back(certificate.Round(tap));
        sum = sum + tap;
    }
    sum = sum * 2.0 + integral(-0.5, 0.5, &mpfr_erf);
    for (const float tap : taps)
        certificate.Round({double{tap} / sum.mHigh, double{tap} / sum.mLow});
}

}  // namespace
