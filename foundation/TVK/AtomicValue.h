// AtomicValue: the counting policy of ObjectPtr.

#pragma once

#include <atomic>
#include <cstdint>

#include "TVK/LanguageCheck.h"

namespace TVK {

/// A 32-bit count that changes only by atomic addition and subtraction.
class AtomicValue {
public:
    /// A count that starts at `inValue`.
    explicit AtomicValue(std::int32_t inValue) : mValue(inValue) {}

    /// Adds one.
    void Add() { mValue.fetch_add(1); }

    /// Takes one off and says whether that was the last. The answer comes from the
    /// subtraction itself: the count may be gone by the time anyone could read it again.
    bool SubtractWasLast() { return mValue.fetch_sub(1) == 1; }

private:
    std::atomic<std::int32_t> mValue;
};

static_assert(sizeof(AtomicValue) == 4);

}  // namespace TVK
