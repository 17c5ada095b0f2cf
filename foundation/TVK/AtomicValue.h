// AtomicValue: the counting policy of ObjectPtr.

#pragma once

#include <atomic>
#include <cstdint>

#include "TVK/LanguageCheck.h"

namespace TVK {

/// A 32-bit count that changes only by atomic addition and subtraction.
///
/// Both are sequentially consistent, the default. Less would do on paper (a relaxed addition,
/// and a subtraction that releases, with an acquire before the object dies), but on x86-64 the
/// instructions are the same, and a full barrier is what holders of a reference are promised.
///
/// Ownership: none; `ObjectPtr` places it in a block of its own.
/// Threads: any number at once.
/// Errors: none.
/// Frozen: one 32-bit word.
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
