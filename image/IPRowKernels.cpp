#include "image/IPRowKernels.h"

#define DP_LANES 4
#include "image/IPRowKernels.inc"

namespace IP {
namespace {

constexpr RowKernels kPortable{"portable", WeightedSums, BothSums, SplitPhases, ConvertBytes};

}  // namespace

#ifdef DP_HAVE_AVX2
extern const RowKernels kRowKernelsAVX2;
#endif
#ifdef DP_HAVE_AVX512
extern const RowKernels kRowKernelsAVX512;
#endif

const RowKernels* const* GetRowKernelTargets(int& outCount) {
    static const RowKernels* sTargets[] = {&kPortable, nullptr, nullptr};
    static const int sCount = [] {
        int count = 1;
#ifdef DP_HAVE_AVX2
        if (__builtin_cpu_supports("avx2")) sTargets[count++] = &kRowKernelsAVX2;
#endif
#ifdef DP_HAVE_AVX512
        // Older processors that have AVX-512 slow down for it; this part of it came later.
        if (__builtin_cpu_supports("avx512vbmi2")) sTargets[count++] = &kRowKernelsAVX512;
#endif
        return count;
    }();
    outCount = sCount;
    return sTargets;
}

const RowKernels& GetRowKernels() {
    int count = 0;
    const RowKernels* const* const targets = GetRowKernelTargets(count);
    return *targets[count - 1];
}

}  // namespace IP
