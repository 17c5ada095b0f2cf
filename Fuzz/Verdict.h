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
