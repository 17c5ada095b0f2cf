/// @file
/// Raising a reported error, and what is raised.
///
/// Ownership: an error copies its message.
/// Threads: any number at once; a host's procedure is called on the thread that reports.
/// Errors: this is where they come from.
/// Frozen: the signatures and the class.

#pragma once

#include <cstdint>
#include <exception>
#include <string>

#include "TVK/Export.h"

namespace quillet::config {

/// How grave a reported error is. The library raises level 0 only.
enum ErrorLevel : std::int32_t {
    kErrorLevelContract = 0,  ///< a broken precondition
};

/// A value for a placeholder of the message. A default one stands for an empty text.
class TVK_API ReplacementValue {
public:
    ReplacementValue();
    ~ReplacementValue();
};

/// What `ThrowError` throws unless the host says otherwise. Catch it, or
/// `std::exception`, around any call that may break a contract.
///
/// It does not say which condition was broken: `what()` is a key of the host's own table of
/// messages, the same for all conditions. The condition's text, the file and the line go to
/// the contract dialog just before, on the same thread: set one by
/// `quillet::debug::SetContractDialog` to keep them.
class TVK_API ReportedError : public std::exception {
public:
    /// Copies the message.
    ReportedError(ErrorLevel inLevel, const char* inMessage);
    /// A copy with a message of its own.
    /// @{
    ReportedError(const ReportedError&);
    ReportedError& operator=(const ReportedError&);
    /// @}
    ~ReportedError() override;

    /// The message with its "$$$/path=" head, as it was raised.
    const char* what() const noexcept override;
    /// The level that it was raised with.
    ErrorLevel GetLevel() const noexcept;

private:
    ErrorLevel mLevel;
    std::string mMessage;
};

/// A procedure that raises errors, as `ThrowError` does.
using ThrowErrorProc = void (*)(ErrorLevel inLevel, const char* inMessage, unsigned long, long,
                                bool, const ReplacementValue&, const ReplacementValue&,
                                const ReplacementValue&, const ReplacementValue&);

/// Raises an error as an exception. The two numbers and the flag are private to the error
/// system and are passed on to a host's own procedure as they stand.
///
/// A host's procedure may also return; the operation that reported then ends at once with
/// an empty result.
TVK_API void ThrowError(ErrorLevel inLevel, const char* inMessage, unsigned long inCategory,
                        long inCode, bool inReport, const ReplacementValue& inFirst,
                        const ReplacementValue& inSecond, const ReplacementValue& inThird,
                        const ReplacementValue& inFourth);

/// Puts a host's procedure in place of the built-in one, for the whole process, and
/// returns the one it replaces. Null brings the built-in one back. Any thread may call
/// it; a report that is under way may still use the old one.
TVK_API ThrowErrorProc SetThrowError(ThrowErrorProc inProc) noexcept;

}  // namespace quillet::config
