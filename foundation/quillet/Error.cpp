#include "quillet/Error.h"

#include <atomic>

namespace quillet::config {
namespace {

void ThrowReportedError(ErrorLevel inLevel, const char* inMessage, unsigned long, long, bool,
                        const ReplacementValue&, const ReplacementValue&,
                        const ReplacementValue&, const ReplacementValue&) {
    throw ReportedError(inLevel, inMessage);
}

// Initialised by the loader: a contract may break in a constructor of a static object.
constinit std::atomic<ThrowErrorProc> sThrowError{&ThrowReportedError};

}  // namespace

ReplacementValue::ReplacementValue() = default;
ReplacementValue::~ReplacementValue() = default;

ReportedError::ReportedError(ErrorLevel inLevel, const char* inMessage)
    : mLevel(inLevel), mMessage(inMessage ? inMessage : "") {}
ReportedError::ReportedError(const ReportedError&) = default;
ReportedError& ReportedError::operator=(const ReportedError&) = default;
ReportedError::~ReportedError() = default;
const char* ReportedError::what() const noexcept { return mMessage.c_str(); }
ErrorLevel ReportedError::GetLevel() const noexcept { return mLevel; }

// What a host has put in place may return; the library then goes on behind the broken contract
// as its headers say.
void ThrowError(ErrorLevel inLevel, const char* inMessage, unsigned long inCategory,
                long inCode, bool inReport, const ReplacementValue& inFirst,
                const ReplacementValue& inSecond, const ReplacementValue& inThird,
                const ReplacementValue& inFourth) {
    sThrowError.load()(inLevel, inMessage, inCategory, inCode, inReport, inFirst, inSecond,
                       inThird, inFourth);
}

ThrowErrorProc SetThrowError(ThrowErrorProc inProc) noexcept {
    return sThrowError.exchange(inProc ? inProc : &ThrowReportedError);
}

}  // namespace quillet::config
