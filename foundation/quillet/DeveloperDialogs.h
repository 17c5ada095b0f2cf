/// @file
/// What a developer is shown when a contract is broken or the impossible has happened.
///
/// Ownership: texts belong to whoever reports and are good for the call only.
/// Threads: any number at once; a dialog is called on the thread that reports, which may hold
///   locks of the library.
/// Errors: what a dialog throws passes through the operation that reported.
/// Frozen: the signatures.

#pragma once

#include <atomic>

#include "TVK/Export.h"

namespace quillet::debug {

/// Shows a broken precondition: its text as written in the source, the source file,
/// relative to the repository, and the line. Returns true if the developer asks to break.
using ContractDialog = bool (*)(const char* inExpression, const char* inFile, long inLine);

/// Shows an impossible value. Setting `ioHide` silences later reports from the same place.
/// Returns true if the developer asks to break.
using AssertDialog = bool (*)(bool& ioHide, const char* inExpression,
                              const unsigned char* inMessage, const char* inFile, long inLine,
                              const char* inFunction);

/// Put a host's dialog in place of the built-in one, for the whole process, and return
/// the one it replaces; null brings the built-in one back. A dialog is called on the
/// thread that reports and must not call back into the library.
///
/// The built-in ones never ask for a break. In a release build they show nothing, in a
/// debug build they write one line to standard error; that for impossible values sets the
/// hide flag.
/// @{
TVK_API ContractDialog SetContractDialog(ContractDialog inDialog) noexcept;
TVK_API AssertDialog SetAssertDialog(AssertDialog inDialog) noexcept;
/// @}

/// Call the dialog that is set.
/// @{
TVK_API bool BreakAfterContractDialog(const char* inExpression, const char* inFile,
                                      long inLine);
TVK_API bool BreakAfterAssertDialog(bool& ioHide, const char* inExpression,
                                    const unsigned char* inMessage, const char* inFile,
                                    long inLine, const char* inFunction);
/// @}

/// Whether a debugger holds this process now.
TVK_API bool IsDebuggerAttached();

/// The two reporting patterns behind `ContractCheck` and `AssertWithMessage`; see
/// TVK/ContractCheck.h.
/// @{
TVK_API void ReportContract(const char* inExpression, const char* inFile, long inLine);
TVK_API void ReportImpossible(std::atomic<bool>& ioHidden, const char* inMessage,
                              const char* inFile, long inLine, const char* inFunction);
/// @}

}  // namespace quillet::debug
