// Comparison by bits: what a fast form owes to the plain one.

#pragma once

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace Testing {

/// All NaNs count as one: which of two operands hands its bits on is the compiler's choice.
inline std::uint32_t BitsOf(float inValue) {
    return std::isnan(inValue) ? 0x7fc00000u : std::bit_cast<std::uint32_t>(inValue);
}

inline testing::AssertionResult SameBits(const float* inActual, const float* inExpected,
                                         std::size_t inCount, int inCols) {
    for (std::size_t i = 0; i < inCount; ++i)
        if (BitsOf(inActual[i]) != BitsOf(inExpected[i]))
            return testing::AssertionFailure()
                   << inActual[i] << " instead of " << inExpected[i] << " at ("
                   << i % std::size_t(inCols) << ", " << i / std::size_t(inCols) << ")";
    return testing::AssertionSuccess();
}

}  // namespace Testing
