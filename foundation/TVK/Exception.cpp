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
