// A compiler that is set to an older C++ than these headers need is told so in one line,
// before it meets what it can't read. So is one for a machine that the library is not made for:
// sizes of memory are 64-bit, and pixels are read as words whose low byte is their first.
//
// Each header that includes nothing of ours includes it.

#pragma once

#if defined(_MSVC_LANG)
#if _MSVC_LANG <= 201703L
#error "The descriptor library's headers need C++20: set /std:c++20."
#endif
#elif __cplusplus <= 201703L
#error "The descriptor library's headers need C++20: set -std=c++20, or CXX_STANDARD 20."
#endif

static_assert(sizeof(void*) == 8, "The descriptor library needs a 64-bit machine.");
#if defined(__BYTE_ORDER__)
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__,
              "The descriptor library needs a little-endian machine.");
#endif
