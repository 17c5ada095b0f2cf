// What nearly every test takes: GoogleTest, the standard library's everyday headers, and the
// support that needs no layer above foundation. A test names only what is special about it.

#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <iterator>
#include <limits>
#include <map>
#include <memory>
#include <new>
#include <numeric>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "Support/Bits.h"
#include "Support/Reports.h"
#include "Support/Textures.h"
#include "Support/WideStrings.h"

namespace Testing {

inline constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
inline constexpr float kInfinity = std::numeric_limits<float>::infinity();

}  // namespace Testing
