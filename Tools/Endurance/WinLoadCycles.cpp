// win_load_cycles: loads the library, works with it, and unloads it, many times; on Windows.
//
//     win_load_cycles MODULE CONTROL COUNT
//
// MODULE is a plug-in that is linked with the library, as a host's is. After each cycle the
// library must be gone from the process, and at no time may there be a second thread. After
// some cycles that do not count, no more may leave memory of the system's behind, from which
// the recycler's blocks are, nor more blocks of the heap than CONTROL does, a plug-in with one
// variable of each thread and nothing else: GCC keeps the place of such a variable until the
// thread ends, though its library is gone, and ours has one.

#include <malloc.h>
#include <windows.h>

#include <tlhelp32.h>

#include <cstdio>
#include <cstdlib>
#include <initializer_list>

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

// Of the C library's heap.
long CountBlocks() {
    _HEAPINFO block = {};
    long count = 0;
    while (_heapwalk(&block) == _HEAPOK)
        if (block._useflag == _USEDENTRY) ++count;
    return count;
}

// From the system itself, as the recycler's are.
long CountAllocations() {
    long count = 0;
    MEMORY_BASIC_INFORMATION region = {};
    for (const char* place = nullptr; VirtualQuery(place, &region, sizeof region) != 0;
         place = static_cast<const char*>(region.BaseAddress) + region.RegionSize)
        if (region.State == MEM_COMMIT && region.Type == MEM_PRIVATE &&
            region.BaseAddress == region.AllocationBase)
            ++count;
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

struct Left {
    long mBlocks = 0, mAllocations = 0;
};

// What so many cycles left behind, after some that do not count.
bool LeftByCycles(const char* inModule, int inCount, Left& outLeft) {
    const int threads = CountThreads();
    for (int i = 0; i < kWarmUp; ++i)
        if (!Cycle(inModule, i, threads)) return false;
    const Left before{CountBlocks(), CountAllocations()};
    for (int i = 0; i < inCount; ++i)
        if (!Cycle(inModule, i, threads)) return false;
    outLeft = {CountBlocks() - before.mBlocks, CountAllocations() - before.mAllocations};
    return true;
}

}  // namespace

int main(int inCount, char** inArguments) {
    if (inCount != 4) {
        std::fputs("usage: win_load_cycles MODULE CONTROL COUNT\n", stderr);
        return 2;
    }
    const int count = std::atoi(inArguments[3]);
    // A host has the compiler's run times loaded for good. They leave blocks behind at each
    // unloading of their own.
    for (const char* const runTime : {"libstdc++-6.dll", "libwinpthread-1.dll"})
        if (!LoadLibraryA(runTime)) {
            Fail(runTime, 0);
            return 1;
        }
    Left control, module;
    if (!LeftByCycles(inArguments[2], count, control)) return 1;
    if (!LeftByCycles(inArguments[1], count, module)) return 1;
    const bool passed = module.mBlocks <= control.mBlocks && module.mAllocations <= 0;
    std::printf(
        "%s  %d cycles left %ld blocks (control: %ld) and %ld allocations, %d threads\n",
        passed ? "PASS" : "FAIL", count, module.mBlocks, control.mBlocks, module.mAllocations,
        CountThreads());
    return passed ? 0 : 1;
}
