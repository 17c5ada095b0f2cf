// The two reporting patterns: what the developer sees, what is thrown, and what happens
// where a host has put its own procedures in place.

#if defined(__linux__)
#include <sys/ptrace.h>
#include <unistd.h>
#endif

#include <csignal>
#include <cstdio>

#include "Support/Test.h"
#include "TVK/ContractCheck.h"
#include "TVK/Exception.h"
#include "platform/Debugger.h"
#include "quillet/Error.h"

namespace {

using quillet::config::ErrorLevel;
using quillet::config::ReplacementValue;
using quillet::config::ReportedError;
using quillet::config::SetThrowError;
using namespace Testing;

int GuardedAnswer(const int* inPointer) {
    ContractCheck(inPointer != NULL, -1);
    return *inPointer;
}

void GuardedStore(int* ioPointer) {
    ContractCheck(ioPointer != NULL);
    *ioPointer = 5;
}

void ReportHere() { AssertWithMessage("Testing::ReportHere", "Odd value %d"); }
void ReportThere() { AssertWithMessage("Testing::ReportThere", "Odd value %d"); }

TEST(ContractCheck, BrokenConditionIsShownAsWrittenAndThrown) {
    const RecordedReports reports;
    std::string message;
    try {
        GuardedAnswer(nullptr);
    } catch (const std::exception& error) {
        message = error.what();
    }
    EXPECT_EQ(message,
              "$$$/quillet/utility/Error/Contract/InputContractViolation=An input contract "
              "violation has occurred!");
    EXPECT_EQ(reports.Broken(), "Tests/Foundation/Reports_test.cpp: inPointer != NULL\n");
}

TEST(ContractCheck, ConditionThatHoldsIsSilent) {
    const RecordedReports reports;
    int value = 3;
    EXPECT_EQ(GuardedAnswer(&value), 3);
    GuardedStore(&value);
    EXPECT_EQ(value, 5);
    EXPECT_TRUE(reports.Contracts().empty());
}

struct ThrownArguments {
    ErrorLevel mLevel{};
    unsigned long mCategory = 0;
    long mCode = 0;
    bool mReport = false;
} sThrown;

void KeepArguments(ErrorLevel inLevel, const char*, unsigned long inCategory, long inCode,
                   bool inReport, const ReplacementValue&, const ReplacementValue&,
                   const ReplacementValue&, const ReplacementValue&) {
    sThrown = {inLevel, inCategory, inCode, inReport};
}

TEST(ContractCheck, AHostsProcedureThatReturnsEndsTheOperationWithItsEmptyResult) {
    const RecordedReports reports;
    const auto builtIn = SetThrowError(KeepArguments);
    EXPECT_EQ(GuardedAnswer(nullptr), -1);
    GuardedStore(nullptr);
    EXPECT_EQ(SetThrowError(nullptr), &KeepArguments);
    EXPECT_EQ(sThrown.mLevel, 0);
    EXPECT_EQ(sThrown.mCategory, 105u);
    EXPECT_EQ(sThrown.mCode, 25);
    EXPECT_TRUE(sThrown.mReport);
    EXPECT_EQ(SetThrowError(nullptr), builtIn);
    EXPECT_THROW(GuardedAnswer(nullptr), ReportedError);
}

TEST(AssertWithMessage, ReportsOncePerPlaceWhenTheDialogHidesLaterOnes) {
    const RecordedReports reports;
    for (int i = 0; i < 3; ++i) {
        ReportHere();
        ReportThere();
    }
    ASSERT_EQ(reports.Asserts().size(), 2u);
    EXPECT_EQ(reports.Asserts()[0].mText, "Odd value %d\r\n");
    EXPECT_EQ(reports.Asserts()[0].mFunction, "Testing::ReportHere");
    EXPECT_EQ(reports.Asserts()[0].mExpression, "false");
    EXPECT_EQ(reports.Asserts()[0].mFile, "Tests/Foundation/Reports_test.cpp");
    EXPECT_LT(reports.Asserts()[0].mLine, reports.Asserts()[1].mLine);
    EXPECT_EQ(reports.Asserts()[1].mFunction, "Testing::ReportThere");
}

TEST(AssertWithMessage, ReportsAgainWhenTheDialogDoesNotHide) {
    const RecordedReports reports(RecordedReports::Later::kShow);
    for (int i = 0; i < 3; ++i)
        AssertWithMessage("Testing::Loop", "again");
    EXPECT_EQ(reports.Asserts().size(), 3u);
}

TEST(BuiltInDialogs, NeverAskForABreakAndHideLaterReports) {
    testing::internal::CaptureStderr();
    bool hide = false;
    EXPECT_FALSE(quillet::debug::BreakAfterContractDialog("a", "b", 1));
    EXPECT_FALSE(quillet::debug::BreakAfterAssertDialog(
        hide, "false", reinterpret_cast<const unsigned char*>("text\r\n"), "f", 1, "g"));
    EXPECT_TRUE(hide);
    const std::string shown = testing::internal::GetCapturedStderr();
#ifdef NDEBUG
    EXPECT_EQ(shown, "");
#else
    EXPECT_EQ(shown, "b:1: contract broken: a\nf:1: g: text\n");
#endif
}

TEST(ReportedError, CarriesLevelAndMessageWhereverItIsCopied) {
    const ReportedError original(ErrorLevel(3), "message"), without(ErrorLevel(4), nullptr);
    ReportedError copy(without);
    EXPECT_STREQ(copy.what(), "");
    EXPECT_EQ(copy.GetLevel(), 4);
    copy = original;
    EXPECT_STREQ(copy.what(), "message");
    EXPECT_EQ(copy.GetLevel(), 3);
    EXPECT_STREQ(TVK::Exception().what(), "A TVK exception.");
}

TEST(Debugger, NoneIsAttachedToATest) { EXPECT_FALSE(quillet::debug::IsDebuggerAttached()); }

#if defined(__linux__)
TEST(Debugger, IsSeenAndIsSentTheText) {
    const auto beDebugged = [] {
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) {
            std::fputs("hello", stderr);  // not allowed here
            _exit(0);
        }
        platform::OutputDebugStringA("hello");
        _exit(quillet::debug::IsDebuggerAttached() ? 0 : 1);
    };
    EXPECT_EXIT(beDebugged(), testing::ExitedWithCode(0), "hello");
}

TEST(Debugger, ABreakIsATrap) {
    EXPECT_EXIT(platform::BreakIntoDebugger(), testing::KilledBySignal(SIGTRAP), "");
}
#endif

}  // namespace
