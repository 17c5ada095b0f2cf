#include "KLT/KLTKernels.h"

#define DP_LANES 4
#include "KLT/KLTKernels.inc"

namespace DP {
namespace {

constexpr KLTKernels kPortable{"portable", Products,     Trackability, MakePoints,
                               CloseIn,    SampleWindow, SumWindows,   SumAbsDifference};

}  // namespace

#ifdef DP_HAVE_AVX2
extern const KLTKernels kKLTKernelsAVX2;
#endif
#ifdef DP_HAVE_AVX512
extern const KLTKernels kKLTKernelsAVX512;
#endif

const KLTKernels* const* GetKLTKernelTargets(int& outCount) {
    static const KLTKernels* sTargets[] = {&kPortable, nullptr, nullptr};
    static const int sCount = [] {
        int count = 1;
#ifdef DP_HAVE_AVX2
        if (__builtin_cpu_supports("avx2")) sTargets[count++] = &kKLTKernelsAVX2;
#endif
#ifdef DP_HAVE_AVX512
        // Older processors that have AVX-512 slow down for it; this part of it came later.
        if (__builtin_cpu_supports("avx512vbmi2")) sTargets[count++] = &kKLTKernelsAVX512;
#endif
        return count;
    }();
    outCount = sCount;
    return sTargets;
}

const KLTKernels& GetKLTKernels() {
    int count = 0;
    const KLTKernels* const* const targets = GetKLTKernelTargets(count);
    return *targets[count - 1];
}

}  // namespace DP
