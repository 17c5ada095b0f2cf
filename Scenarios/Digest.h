// Digest: one number for everything that a run has produced.

#pragma once

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace Scenarios {

/// Takes values in order, not bytes in memory: padding does not count, nor does the order
/// of bytes in a word.
class Digest {
public:
    std::uint64_t Value() const { return mState; }

    void Add(std::uint64_t inValue) {
        mState = (mState ^ inValue) * 0x9e3779b97f4a7c15u;
        mState ^= mState >> 29;
    }

    /// The bits, so that 0 and -0 differ. All NaNs count as one: which of two operands hands
    /// its bits on is the compiler's choice.
    void AddFloat(float inValue) {
        Add(std::isnan(inValue) ? 0x7fc00000u : std::bit_cast<std::uint32_t>(inValue));
    }
    void AddInteger(std::int64_t inValue) { Add(static_cast<std::uint64_t>(inValue)); }

    template <class T>
    void AddPixels(const T* inPixels, std::size_t inCount) {
        AddInteger(static_cast<std::int64_t>(inCount));
        for (std::size_t i = 0; i < inCount; ++i)
            if constexpr (std::is_same_v<T, float>)
                AddFloat(inPixels[i]);
            else
                Add(inPixels[i]);
    }

private:
    std::uint64_t mState = 0x243f6a8885a308d3u;
};

}  // namespace Scenarios
