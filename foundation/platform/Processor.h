/// @file
/// What the processor has beyond what the compiler takes for granted.
///
/// Ownership: none.
/// Threads: any number at once.
/// Errors: none; what the compiler cannot ask about is not there.
/// Frozen: nothing; the functions are compiled into who asks.

#pragma once

#include "TVK/LanguageCheck.h"

namespace platform {

#if defined(__x86_64__) && defined(__GNUC__)

/// AVX2, with 256 bits of floats.
inline bool HasAVX2() { return __builtin_cpu_supports("avx2") != 0; }

/// AVX-512 of the processors that do not slow down for it: this part of it came with them.
inline bool HasFastAVX512() { return __builtin_cpu_supports("avx512vbmi2") != 0; }

#else

inline bool HasAVX2() { return false; }
inline bool HasFastAVX512() { return false; }

#endif

}  // namespace platform
