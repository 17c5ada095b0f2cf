// The exceptions of the foundation. Both are exported, so that a host catches by type
// what either library throws.

#pragma once

#include <exception>

#include "TVK/Export.h"

namespace TVK {

class TVK_API Exception : public std::exception {
public:
    Exception();
    Exception(const Exception&) = default;
    Exception& operator=(const Exception&) = default;
    ~Exception() override;
    const char* what() const noexcept override;
};

/// Thrown by the access through a null `InterfaceRef`.
class TVK_API NullInterfaceException : public Exception {
public:
    NullInterfaceException();
    NullInterfaceException(const NullInterfaceException&) = default;
    NullInterfaceException& operator=(const NullInterfaceException&) = default;
    ~NullInterfaceException() override;
    const char* what() const noexcept override;
};

}  // namespace TVK
