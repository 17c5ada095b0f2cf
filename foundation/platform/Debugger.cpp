// Whether a debugger watches this process, and how it is told something. Without one a report
// is not written anywhere, unless the program has said who receives it.

#include "platform/Debugger.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#if defined(_WIN32)
#include <windows.h>
#else
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>
#endif

namespace platform {
namespace {

// Initialised by the loader and never destroyed: a static object's destructor may still report.
constinit std::atomic<DebugStringReceiver> sReceiver{nullptr};

}  // namespace

#if defined(_WIN32)

bool IsDebuggerAttached() { return ::IsDebuggerPresent() != 0; }

void BreakIntoDebugger() { __debugbreak(); }

static void SendToDebugger(const char* inText) { ::OutputDebugStringA(inText); }

#else

bool IsDebuggerAttached() {
    // Plain system calls: a report may come from a place where the heap is in question.
    const int file = open("/proc/self/status", O_RDONLY | O_CLOEXEC);
    if (file < 0) return false;
    char text[4096];
    const ssize_t length = read(file, text, sizeof(text) - 1);
    close(file);
    if (length <= 0) return false;
    text[length] = '\0';
    // The process that traces this one, 0 for none. It stands in the file's first lines.
    constexpr char kField[] = "\nTracerPid:";
    const char* const field = std::strstr(text, kField);
    return field && std::strtol(field + sizeof(kField) - 1, nullptr, 10) != 0;
}

void BreakIntoDebugger() { raise(SIGTRAP); }

static void SendToDebugger(const char* inText) {
    if (IsDebuggerAttached()) std::fputs(inText, stderr);
}

#endif

void OutputDebugStringA(const char* inText) {
    if (const DebugStringReceiver receiver = sReceiver.load())
        receiver(inText);
    else
        SendToDebugger(inText);
}

DebugStringReceiver SetDebugStringReceiver(DebugStringReceiver inReceiver) noexcept {
    return sReceiver.exchange(inReceiver);
}

}  // namespace platform
