// Input: the bytes of one run, read as the numbers that a target asks for.

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>

namespace Fuzz {

/// Reads from front to back; behind the end stand zeros. The same bytes give the same
/// numbers on every machine of one byte order.
class Input {
public:
    Input(const std::uint8_t* inData, std::size_t inSize) : mNext(inData), mLeft(inSize) {}

    bool IsAtEnd() const { return mLeft == 0; }

    /// Any value of a type that takes every pattern of bits.
    template <class T>
    T Bits() {
        T value{};
        const std::size_t count = mLeft < sizeof(T) ? mLeft : sizeof(T);
        if (count != 0) std::memcpy(&value, mNext, count);
        mNext += count;
        mLeft -= count;
        return value;
    }
    int Byte() { return Bits<std::uint8_t>(); }
    bool Flag() { return Byte() % 2 != 0; }

    /// A whole number of a range that a byte spans.
    int Between(int inLow, int inHigh) { return inLow + Byte() % (inHigh - inLow + 1); }

    template <class T, std::size_t kCount>
    T OneOf(const T (&inChoices)[kCount]) {
        return inChoices[static_cast<std::size_t>(Byte()) % kCount];
    }

    /// A small number, or one at an end of the type, or any.
    template <class T>
    T Whole() {
        constexpr T kEnds[] = {std::numeric_limits<T>::min(), std::numeric_limits<T>::max(),
                               T(-1), T(0x7fffffff)};
        const int choice = Byte();
        if (choice < 0xe0) return T(choice % 16);
        return choice < 0xf8 ? kEnds[choice % std::size(kEnds)] : Bits<T>();
    }

    /// A small number with a fraction, or a special one, or any.
    float Float() {
        using Limits = std::numeric_limits<float>;
        constexpr float kSpecial[] = {0.0f,
                                      -0.0f,
                                      1e-30f,
                                      1e10f,
                                      -1e10f,
                                      2147483648.0f,
                                      Limits::denorm_min(),
                                      Limits::max(),
                                      Limits::lowest(),
                                      Limits::infinity(),
                                      -Limits::infinity(),
                                      Limits::quiet_NaN()};
        const int choice = Byte();
        if (choice < 0xd0) return static_cast<float>(choice - 16) / 4.0f;
        return choice < 0xf8 ? kSpecial[choice % std::size(kSpecial)] : Bits<float>();
    }

private:
    const std::uint8_t* mNext;
    std::size_t mLeft;
};

}  // namespace Fuzz

/// What libFuzzer, or the replay, calls with each input.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize);
