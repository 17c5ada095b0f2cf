// InterfaceID: the 128-bit name by which an object is asked for an interface or a class.

#pragma once

#include <cstdint>

#include "TVK/LanguageCheck.h"

namespace TVK {

/// Two 64-bit words with no meaning of their own, compared word by word.
///
/// Ownership: a plain value.
/// Threads: as for any value.
/// Errors: none.
/// Frozen: the two words.
struct InterfaceID {
    std::uint64_t mFirst = 0;   ///< the word written first
    std::uint64_t mSecond = 0;  ///< the word after it

    /// Word by word.
    friend constexpr bool operator==(const InterfaceID&, const InterfaceID&) = default;
};

/// Result of a query: 0 is success, negative is failure.
using TVKResult = std::int32_t;

/// The object answers.
inline constexpr TVKResult kTVKSuccess = 0;

/// The object does not answer to the identifier. It is the only failure code there is.
inline constexpr TVKResult kTVKErrorNoInterface = static_cast<TVKResult>(0xa00a0001u);

/// The identifier of the interface or class `T`, one specialisation a row. A table of
/// specialisations and not a member of each class: a class that forgot its member would
/// silently inherit that of its base and answer for it, whereas a missing row does not
/// compile.
template <class T>
inline constexpr InterfaceID kIdentifierOf = T::thisTypeHasNoRowInTheIdentifierTable;

}  // namespace TVK
