#include "image/IPRowKernels.h"

#define DP_LANES 4
#include "image/IPRowKernels.inc"

namespace IP {
namespace {

constexpr RowKernels kPortable{"portable", WeightedSums, SplitPhases, ConvertBytes};

}  // namespace

#ifdef DP_HAVE_AVX2
extern const RowKernels kRowKernelsAVX2;
#endif

const RowKernels* const* GetRowKernelTargets(int& outCount) {
    static const RowKernels* sTargets[] = {&kPortable, nullptr};
    static const int sCount = [] {
        int count = 1;
#ifdef DP_HAVE_AVX2
        if (__builtin_cpu_supports("avx2")) sTargets[count++] = &kRowKernelsAVX2;
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
