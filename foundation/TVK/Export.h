// TVK_API marks what the foundation library exports; everything else in it is hidden.

#pragma once

#include "TVK/LanguageCheck.h"

#if defined(_WIN32)
#if defined(TVK_BUILDING_FOUNDATION)
#define TVK_API __declspec(dllexport)
#else
#define TVK_API __declspec(dllimport)
#endif
#else
#define TVK_API __attribute__((visibility("default")))
#endif
