// load_cycles: loads the library, works with it, and unloads it, many times.
//
//     load_cycles MODULE CONTROL COUNT
//
// MODULE is a plug-in that is linked with the library, as a host's is. After each cycle the
// library must be gone from the process. CONTROL is a plug-in that does nothing and is
// linked with the Fortran run time alone: Debian's leaves a block behind at each unloading.
// MODULE may leave no more than that.

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

#include "Resident.h"
#include "Support/Malloc.h"

namespace {

constexpr const char* kLibraries[] = {"libdescriptor.so.0", "libdescriptor-foundation.so.0"};
constexpr int kWarmUp = 20;

bool Fail(const char* inWhat, int inCycle) {
    std::printf("FAIL  cycle %d: %s\n", inCycle, inWhat);
    return false;
}

bool Cycle(const char* inModule, int inCycle) {
    void* const module = dlopen(inModule, RTLD_NOW | RTLD_LOCAL);
    if (!module) return Fail(dlerror(), inCycle);
    const auto work = reinterpret_cast<int (*)()>(dlsym(module, "Work"));
    if (!work || work() != 0) return Fail("the work in between failed", inCycle);
    dlclose(module);
    for (const char* const library : kLibraries)
        if (dlopen(library, RTLD_NOW | RTLD_NOLOAD))
            return Fail("the library stayed in the process", inCycle);
    return true;
}

struct Held {
    long mBlocks = 0;
    double mBytes = 0.0;
};

// What so many cycles left behind, after a few that do not count.
bool HeldByCycles(const char* inModule, int inCount, Held& outHeld) {
    for (int i = 0; i < kWarmUp; ++i)
        if (!Cycle(inModule, i)) return false;
    const long blocks = Testing::LiveMallocBlocks();
    const double bytes = Testing::ResidentBytes();
    for (int i = 0; i < inCount; ++i)
        if (!Cycle(inModule, i)) return false;
    outHeld = {Testing::LiveMallocBlocks() - blocks, Testing::ResidentBytes() - bytes};
    return true;
}

}  // namespace

int main(int inCount, char** inArguments) {
    if (inCount != 4) {
        std::fputs("usage: load_cycles MODULE CONTROL COUNT\n", stderr);
        return 2;
    }
    const int count = std::atoi(inArguments[3]);
    Held control;
    Held module;
    if (!HeldByCycles(inArguments[2], count, control)) return 1;
    if (!HeldByCycles(inArguments[1], count, module)) return 1;
    const bool passed = module.mBlocks <= control.mBlocks && module.mBytes < (4 << 20);
    std::printf(
        "%s  %d cycles left %ld blocks (control: %ld), resident memory grew by %.0f "
        "bytes (control: %.0f)\n",
        passed ? "PASS" : "FAIL", count, module.mBlocks, control.mBlocks, module.mBytes,
        control.mBytes);
    return passed ? 0 : 1;
}
