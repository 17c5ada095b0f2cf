// Out of line, so that type and table of virtuals stand in this library alone: a host's
// `catch` has to recognise what another library threw.

#include "TVK/Exception.h"

namespace TVK {

Exception::Exception() = default;
Exception::~Exception() = default;
const char* Exception::what() const noexcept { return "A TVK exception."; }

NullInterfaceException::NullInterfaceException() = default;
NullInterfaceException::~NullInterfaceException() = default;
const char* NullInterfaceException::what() const noexcept {
    return "A NULL interface pointer has been dereferenced.";
}

}  // namespace TVK
