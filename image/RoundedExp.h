// RoundedExp: the exponential in single precision, the same on every machine.

#pragma once

namespace IP {

/// The float nearest to e to the power of `inValue`, for every float. What is greater than the
/// largest float becomes infinity, and NaN stays NaN.
///
/// The C library's `exp` is asked first and may be wrong by 32 last places of a double: where
/// such an error could lead to the other float, the value is computed here, within 2^-90.
///
/// Threads: stateless. Errors: none; nothing throws.
float RoundedExp(float inValue);

}  // namespace IP
