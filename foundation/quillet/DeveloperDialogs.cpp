// What a developer is shown, and by whom. A host puts dialogs of its own in the place of the
// two here, which write a line to standard error in debug builds and are silent in others.

#include "quillet/DeveloperDialogs.h"

#include <cstdio>
#include <sstream>
#include <string>

#include "platform/Debugger.h"
#include "quillet/Error.h"

namespace quillet::debug {
namespace {

#ifdef NDEBUG
constexpr bool kShowOnStandardError = false;
#else
constexpr bool kShowOnStandardError = true;
#endif

bool ContractOnStandardError(const char* inExpression, const char* inFile, long inLine) {
    if (kShowOnStandardError)
        std::fprintf(stderr, "%s:%ld: contract broken: %s\n", inFile, inLine, inExpression);
    return false;
}

bool AssertOnStandardError(bool& ioHide, const char*, const unsigned char* inMessage,
                           const char* inFile, long inLine, const char* inFunction) {
    ioHide = true;
    if (kShowOnStandardError) {
        // The message ends in line breaks of its own; the report is one line.
        std::string text(reinterpret_cast<const char*>(inMessage));
        while (!text.empty() && (text.back() == '\n' || text.back() == '\r'))
            text.pop_back();
        std::fprintf(stderr, "%s:%ld: %s: %s\n", inFile, inLine, inFunction, text.c_str());
    }
    return false;
}

constinit std::atomic<ContractDialog> sContractDialog{&ContractOnStandardError};
constinit std::atomic<AssertDialog> sAssertDialog{&AssertOnStandardError};

void BreakIfWanted(bool inWanted) {
    if (inWanted && IsDebuggerAttached()) platform::BreakIntoDebugger();
}

}  // namespace

ContractDialog SetContractDialog(ContractDialog inDialog) noexcept {
    return sContractDialog.exchange(inDialog ? inDialog : &ContractOnStandardError);
}

AssertDialog SetAssertDialog(AssertDialog inDialog) noexcept {
    return sAssertDialog.exchange(inDialog ? inDialog : &AssertOnStandardError);
}

bool BreakAfterContractDialog(const char* inExpression, const char* inFile, long inLine) {
    return sContractDialog.load()(inExpression, inFile, inLine);
}

bool BreakAfterAssertDialog(bool& ioHide, const char* inExpression,
                            const unsigned char* inMessage, const char* inFile, long inLine,
                            const char* inFunction) {
    return sAssertDialog.load()(ioHide, inExpression, inMessage, inFile, inLine, inFunction);
}

bool IsDebuggerAttached() { return platform::IsDebuggerAttached(); }

// A broken contract ends in the host's `ThrowError`, which need not return.
void ReportContract(const char* inExpression, const char* inFile, long inLine) {
    BreakIfWanted(BreakAfterContractDialog(inExpression, inFile, inLine));
    config::ThrowError(config::kErrorLevelContract,
                       "$$$/quillet/utility/Error/Contract/InputContractViolation=An input "
                       "contract violation has occurred!",
                       105, 25, true, config::ReplacementValue(), config::ReplacementValue(),
                       config::ReplacementValue(), config::ReplacementValue());
}

void ReportImpossible(std::atomic<bool>& ioHidden, const char* inMessage, const char* inFile,
                      long inLine, const char* inFunction) {
    // Two threads that come here at once may both show it: a lock held over a dialog would stop
    // one thread until a person has answered to another.
    bool hide = ioHidden.load();
    if (hide) return;
    std::ostringstream text;
    text << inMessage << "\r\n" << std::flush;
    const std::string message = text.str();
    const bool wantsBreak = BreakAfterAssertDialog(
        hide, "false", reinterpret_cast<const unsigned char*>(message.c_str()), inFile, inLine,
        inFunction);
    // Each place has a flag of its own, a static object beside the report.
    if (hide) ioHidden.store(true);
    BreakIfWanted(wantsBreak);
}

}  // namespace quillet::debug
