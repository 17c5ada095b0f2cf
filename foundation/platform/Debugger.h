/// @file
/// What the library tells and asks a debugger.
///
/// Ownership: texts are the caller's and are read before the call returns.
/// Threads: any number at once; a receiver is called on the thread that has the text.
/// Errors: none.
/// Frozen: the signatures.

#pragma once

#include "TVK/Export.h"

namespace platform {

/// Whether a debugger holds this process at this moment. Linux: the tracer named in
/// /proc/self/status; false where that cannot be read.
TVK_API bool IsDebuggerAttached();

/// Stops in the debugger. Without one the process dies; ask `IsDebuggerAttached` first.
TVK_API void BreakIntoDebugger();

/// Sends a line of text to the debugger. Where the system has no such channel (Linux) it
/// goes to standard error, and only while a debugger is attached: a host's console stays
/// its own.
TVK_API void OutputDebugStringA(const char* inText);

/// What a host gets the lines with.
using DebugStringReceiver = void (*)(const char* inText);
/// Sets a receiver, which then gets every line, and returns the one it replaces; null takes
/// it away.
TVK_API DebugStringReceiver SetDebugStringReceiver(DebugStringReceiver inReceiver) noexcept;

}  // namespace platform
