// Source names for tests.

#pragma once

#include "quillet/WideString.h"

namespace Testing {

inline quillet::WideString Wide(const char* inText) {
    return quillet::utility::AsciiToUTF16(inText);
}

/// Longer than the string object has room for, so that its characters are on the heap.
inline quillet::WideString LongWide() {
    return Wide("a source name that is far too long to be kept inside a string object");
}

}  // namespace Testing
