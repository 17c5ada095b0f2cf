#include "Support/Reports.h"

#include <mutex>

#include "quillet/DeveloperDialogs.h"
#include "quillet/Error.h"

namespace Testing {
namespace {

std::mutex sMutex;
std::vector<Report> sContracts;
std::vector<Report> sAsserts;
bool sHideLater = true;

bool RecordContract(const char* inExpression, const char* inFile, long inLine) {
    const std::lock_guard lock(sMutex);
    sContracts.push_back({inExpression, inFile, inLine, "", inExpression});
    return false;
}

bool RecordAssert(bool& ioHide, const char* inExpression, const unsigned char* inMessage,
                  const char* inFile, long inLine, const char* inFunction) {
    const std::lock_guard lock(sMutex);
    ioHide = sHideLater;
    sAsserts.push_back(
        {reinterpret_cast<const char*>(inMessage), inFile, inLine, inFunction, inExpression});
    return false;
}

}  // namespace

RecordedReports::RecordedReports(Later inLater) {
    const std::lock_guard lock(sMutex);
    sContracts.clear();
    sAsserts.clear();
    sHideLater = inLater == Later::kHide;
    quillet::debug::SetContractDialog(RecordContract);
    quillet::debug::SetAssertDialog(RecordAssert);
}

RecordedReports::~RecordedReports() {
    quillet::debug::SetContractDialog(nullptr);
    quillet::debug::SetAssertDialog(nullptr);
}

std::vector<Report> RecordedReports::Contracts() const {
    const std::lock_guard lock(sMutex);
    return sContracts;
}

std::string RecordedReports::Broken() const {
    std::string lines;
    for (const Report& report : Contracts())
        lines += report.mFile + ": " + report.mText + "\n";
    return lines;
}

std::vector<Report> RecordedReports::Asserts() const {
    const std::lock_guard lock(sMutex);
    return sAsserts;
}

ThrowErrorReturns::ThrowErrorReturns() {
    using quillet::config::ReplacementValue;
    quillet::config::SetThrowError([](quillet::config::ErrorLevel, const char*, unsigned long,
                                      long, bool, const ReplacementValue&,
                                      const ReplacementValue&, const ReplacementValue&,
                                      const ReplacementValue&) {});
}

ThrowErrorReturns::~ThrowErrorReturns() { quillet::config::SetThrowError(nullptr); }

}  // namespace Testing
