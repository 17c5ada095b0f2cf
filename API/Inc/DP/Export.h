// DP_API marks the exported functions; everything else in the library is hidden.

#pragma once

#include "TVK/LanguageCheck.h"

#if defined(_WIN32)
#if defined(DP_BUILDING_DESCRIPTOR)
#define DP_API __declspec(dllexport)
#else
#define DP_API __declspec(dllimport)
#endif
#else
#define DP_API __attribute__((visibility("default")))
#endif
