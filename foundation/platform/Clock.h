/// @file
/// The two clocks of the stopwatch.
///
/// Ownership: none.
/// Threads: any number at once.
/// Errors: a clock that the system does not have says so by its result.
/// Frozen: the signatures.

#pragma once

#include <cstdint>

#include "TVK/Export.h"

namespace platform {

/// The high-resolution counter: monotonic, in units of `QueryPerformanceFrequency`.
/// Return false where the system has none.
/// @{
TVK_API bool QueryPerformanceCounter(std::int64_t& outCounter);
TVK_API bool QueryPerformanceFrequency(std::int64_t& outCountsPerSecond);
/// @}

/// Milliseconds of a coarse monotonic clock, wrapping at 32 bits.
TVK_API std::uint32_t GetTickCount();

}  // namespace platform
