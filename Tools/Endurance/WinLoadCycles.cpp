// win_load_cycles: loads the library, works with it, and unloads it, many times; on Windows.
//
//     win_load_cycles MODULE COUNT
//
// MODULE is a plug-in that is linked with the library, as a host's is. After each cycle the
// library must be gone from the process, and at no time may there be a second thread. After
// some cycles that do not count, no more may leave a block behind.

#include <malloc.h>
#include <windows.h>

#include <tlhelp32.h>

#include <cstdio>
#include <cstdlib>

namespace {

constexpr const char* kLibraries[] = {"descriptor.dll", "descriptor-foundation.dll"};
constexpr int kWarmUp = 20;

bool Fail(const char* inWhat, int inCycle) {
    std::printf("FAIL  cycle %d: %s (error %lu)\n", inCycle, inWhat, GetLastError());
    return false;
}

// Of this process.
int CountThreads() {
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof entry;
    int count = 0;
    for (BOOL more = Thread32First(snapshot, &entry); more;
         more = Thread32Next(snapshot, &entry))
        if (entry.th32OwnerProcessID == GetCurrentProcessId()) ++count;
    CloseHandle(snapshot);
    return count;
}

long CountBlocks() {
    _HEAPINFO block = {};
    long count = 0;
    while (_heapwalk(&block) == _HEAPOK)
        if (block._useflag == _USEDENTRY) ++count;
    return count;
}

bool Cycle(const char* inModule, int inCycle, int inThreads) {
    const HMODULE module = LoadLibraryA(inModule);
    if (!module) return Fail("the plug-in was not loaded", inCycle);
    using WorkProc = int (*)();
    const auto work =
        reinterpret_cast<WorkProc>(reinterpret_cast<void*>(GetProcAddress(module, "Work")));
    if (!work || work() != 0) return Fail("the work in between failed", inCycle);
    if (CountThreads() != inThreads) return Fail("a thread was started", inCycle);
    FreeLibrary(module);
    for (const char* const library : kLibraries)
        if (GetModuleHandleA(library))
            return Fail("the library stayed in the process", inCycle);
    return true;
}

}  // namespace

int main(int inCount, char** inArguments) {
    if (inCount != 3) {
        std::fputs("usage: win_load_cycles MODULE COUNT\n", stderr);
        return 2;
    }
    const int count = std::atoi(inArguments[2]);
    const int threads = CountThreads();
    for (int i = 0; i < kWarmUp; ++i)
        if (!Cycle(inArguments[1], i, threads)) return 1;
    const long before = CountBlocks();
    for (int i = 0; i < count; ++i)
        if (!Cycle(inArguments[1], i, threads)) return 1;
    const long left = CountBlocks() - before;
    const bool passed = before > 0 && left <= 0;
    std::printf("%s  %d cycles left %ld blocks (%ld before), %d threads\n",
                passed ? "PASS" : "FAIL", count, left, before, CountThreads());
    return passed ? 0 : 1;
}
