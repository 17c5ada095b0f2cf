// The host's string of 16-bit units.

#pragma once

#include <string>

#include "TVK/Export.h"
#include "quillet/SmallBlockAllocator.h"

namespace quillet {

/// A string of UTF-16 code units. Short strings lie inside the object; longer ones come
/// from the small-block allocator, which the host and the libraries share.
///
/// Ownership: a value.
/// Threads: as for any string.
/// Errors: std::bad_alloc.
/// Frozen: the type, which is part of the exported functions' names.
using WideString = std::basic_string<char16_t, std::char_traits<char16_t>,
                                     utility::SmallBlockAllocator::STLAllocator<char16_t>>;

namespace utility {

/// ASCII, byte by byte; a null pointer gives an empty string. Bytes above 127 are not
/// ASCII and become U+FFFD, **all of them the same**: "Müller.mp4" and "Möller.mp4"
/// give one string. For names of files take `UTF8ToUTF16` of quillet/UTF8ToUTF16.h.
TVK_API WideString AsciiToUTF16(const char* inText);

}  // namespace utility
}  // namespace quillet
