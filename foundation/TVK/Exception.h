// The exceptions of the foundation. Both are exported, so that a host catches by type
// what either library throws.

#pragma once

#include <exception>

#include "TVK/Export.h"

namespace TVK {

/// The base of the exceptions that are thrown by type and not as a reported error.
///
/// Ownership: a plain value.
/// Threads: as for any value.
/// Errors: copying throws nothing.
/// Frozen: both classes, without data, and their virtual operations.
class TVK_API Exception : public std::exception {
public:
    Exception();
    /// A plain copy.
    /// @{
    Exception(const Exception&) = default;
    Exception& operator=(const Exception&) = default;
    /// @}
    ~Exception() override;
    /// A fixed sentence.
    const char* what() const noexcept override;
};

/// Thrown by the access through a null `InterfaceRef`.
class TVK_API NullInterfaceException : public Exception {
public:
    NullInterfaceException();
    /// A plain copy.
    /// @{
    NullInterfaceException(const NullInterfaceException&) = default;
    NullInterfaceException& operator=(const NullInterfaceException&) = default;
    /// @}
    ~NullInterfaceException() override;
    /// A fixed sentence.
    const char* what() const noexcept override;
};

}  // namespace TVK
