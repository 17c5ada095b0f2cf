// The errors of this layer. Each text is one line and says what to do differently.

#pragma once

#include <charconv>
#include <stdexcept>
#include <string>

namespace descriptor {

/// The base of all of them. Running out of memory is std::bad_alloc all the same.
class Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// An argument that makes no sense. The text begins with its name.
class ArgumentError : public Error {
public:
    /// The text becomes "inArgument: inText".
    ArgumentError(const std::string& inArgument, const std::string& inText)
        : Error(inArgument + ": " + inText), mArgument(inArgument) {}

    /// The argument's name, as in "frame.width" or "settings.max_points".
    const std::string& argument() const noexcept { return mArgument; }

private:
    std::string mArgument;
};

/// Somebody else is using what only one may use at a time.
class BusyError : public Error {
public:
    using Error::Error;
};

/// A progress callback said stop.
class Cancelled : public Error {
public:
    using Error::Error;
};

/// The library below refused a request, or had no answer. The text has the condition, the
/// file and the line that it reports to developers.
class LibraryError : public Error {
public:
    using Error::Error;
};

namespace detail {

/// A number as a person would write it, with a point in every country.
inline std::string text_of(double inNumber) {
    char text[32];
    const auto end =
        std::to_chars(text, text + sizeof text, inNumber, std::chars_format::general, 6);
    return {text, end.ptr};
}

/// @throws ArgumentError for a number out of its range, or that is none.
inline void check_range(const std::string& inArgument, double inValue, double inLeast,
                        double inMost) {
    if (!(inValue >= inLeast && inValue <= inMost))
        throw ArgumentError(inArgument, text_of(inValue) + " is not in " + text_of(inLeast) +
                                            " to " + text_of(inMost));
}

}  // namespace detail
}  // namespace descriptor
