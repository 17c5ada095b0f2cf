// HashValue: the 96-bit hash of a data key.

#pragma once

#include <cstdint>

#include "TVK/LanguageCheck.h"

namespace TVK {

/// Three 32-bit words with no meaning of their own.
///
/// Ownership: a plain value.
/// Threads: as for any value.
/// Errors: none.
/// Frozen: the three words.
struct HashValue {
    std::uint32_t mWords[3] = {};  ///< in no order

    /// Word by word.
    friend constexpr bool operator==(const HashValue&, const HashValue&) = default;
};

}  // namespace TVK
