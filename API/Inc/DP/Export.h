// DP_API marks the exported functions; everything else in the library is hidden.
//
// MinGW-w64 needs no mark: the linker gets the list of the functions, and a caller reaches one
// through a stub of the import library. So a file can be linked with the library's insides or
// with the library.

#pragma once

#include "TVK/LanguageCheck.h"

#if defined(_MSC_VER)
#if defined(DP_BUILDING_DESCRIPTOR)
#define DP_API __declspec(dllexport)
#else
#define DP_API __declspec(dllimport)
#endif
#elif defined(_WIN32)
#define DP_API
#else
#define DP_API __attribute__((visibility("default")))
#endif
