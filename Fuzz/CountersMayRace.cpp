// libFuzzer counts how often a branch is taken in bytes that all threads share. The thread
// sanitizer of Clang 14 sees these counts too, and is told here that they may race. Those of
// this program only, and so the foundation, a library of its own, has none
// (Fuzz/uncounted.txt). This file has none either: its names for the bounds would take those
// of the compiler's away from all files.

#include <cstddef>

extern "C" {

// From the linker: the bounds of the counters.
extern const volatile unsigned char __start___sancov_cntrs[]
    __attribute__((visibility("hidden")));
extern const volatile unsigned char __stop___sancov_cntrs[]
    __attribute__((visibility("hidden")));

// The sanitizer's.
void AnnotateBenignRaceSized(const char* inFile, int inLine, const volatile void* inBegin,
                             std::size_t inSize, const char* inWhat);

// libFuzzer calls it once, before the first input.
int LLVMFuzzerInitialize(int* ioCount, char*** ioArguments);
int LLVMFuzzerInitialize(int*, char***) {
    AnnotateBenignRaceSized(__FILE__, __LINE__, __start___sancov_cntrs,
                            std::size_t(__stop___sancov_cntrs - __start___sancov_cntrs),
                            "libFuzzer's counters");
    return 0;
}

}  // extern "C"
