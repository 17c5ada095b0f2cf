// UserError: something the user can put right.

#pragma once

#include <stdexcept>

namespace Host {

/// Bad input or a place that cannot be written. The text is one line without a full stop;
/// `main` prints it on standard error and ends with exit code 1.
class UserError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A command line that makes no sense, whatever the input: exit code 2.
class UsageError : public UserError {
public:
    using UserError::UserError;
};

}  // namespace Host
