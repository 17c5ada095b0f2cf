// A compiler that is set to an older C++ than these headers need is told so in one line,
// before it meets what it can't read. Each header that includes nothing of ours includes it.

#pragma once

#if defined(_MSVC_LANG)
#if _MSVC_LANG <= 201703L
#error "The descriptor library's headers need C++20: set /std:c++20."
#endif
#elif __cplusplus <= 201703L
#error "The descriptor library's headers need C++20: set -std=c++20, or CXX_STANDARD 20."
#endif
