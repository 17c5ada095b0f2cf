// HashValue: the 96-bit hash of a data key.

#pragma once

#include <cstdint>

namespace TVK {

struct HashValue {
    std::uint32_t mWords[3] = {};

    friend constexpr bool operator==(const HashValue&, const HashValue&) = default;
};

}  // namespace TVK
