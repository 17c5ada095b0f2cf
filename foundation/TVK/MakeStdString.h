// MakeStdString: a wide string as a narrow one.

#pragma once

#include <string>

#include "TVK/Export.h"
#include "quillet/WideString.h"

namespace TVK {

/// UTF-16 to UTF-8. A surrogate without its partner becomes U+FFFD.
///
/// Ownership: the string is the caller's.
/// Threads: any number at once.
/// Errors: std::bad_alloc.
/// Frozen: the signature.
TVK_API std::string MakeStdString(const quillet::WideString& inString);

}  // namespace TVK
