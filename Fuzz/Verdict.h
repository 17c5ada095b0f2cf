// What is a finding, and what is an answer that a caller may get.

#pragma once

#include <cstdio>
#include <cstdlib>

#include "TVK/Exception.h"
#include "quillet/Error.h"

namespace Fuzz {

/// Ends the process, as a finding, where the condition does not hold.
inline void Require(bool inHolds, const char* inWhat) {
    if (inHolds) return;
    std::fprintf(stderr, "does not hold: %s\n", inWhat);
    std::abort();
}

/// For its lifetime, and where the flag says so, a broken contract is reported and the
/// operation goes back to its caller, as with a host whose `ThrowError` returns.
class ReturningErrors {
public:
    explicit ReturningErrors(bool inReturns) {
        if (inReturns) quillet::config::SetThrowError(&Return);
    }
    ~ReturningErrors() { quillet::config::SetThrowError(nullptr); }
    ReturningErrors(const ReturningErrors&) = delete;
    ReturningErrors& operator=(const ReturningErrors&) = delete;

private:
    using Value = quillet::config::ReplacementValue;
    static void Return(quillet::config::ErrorLevel, const char*, unsigned long, long, bool,
                       const Value&, const Value&, const Value&, const Value&) {}
};

/// Runs a call that may break a contract or meet a null reference. Whether it came through;
/// any other exception passes, and is a finding.
template <class Call>
bool ComesThrough(Call&& inCall) {
    try {
        inCall();
        return true;
    } catch (const quillet::config::ReportedError&) {
        return false;
    } catch (const TVK::NullInterfaceException&) {
        return false;
    }
}

}  // namespace Fuzz
