#include "KLT/KLTRowKernels.h"

#define DP_LANES 4
#include "KLT/KLTRowKernels.inc"

namespace DP {
namespace {

constexpr KLTRowKernels kPortable{"portable", Products, Trackability, MakePoints};

}  // namespace

#ifdef DP_HAVE_AVX2
extern const KLTRowKernels kKLTRowKernelsAVX2;
#endif

const KLTRowKernels* const* GetKLTRowKernelTargets(int& outCount) {
    static const KLTRowKernels* sTargets[] = {&kPortable, nullptr};
    static const int sCount = [] {
        int count = 1;
#ifdef DP_HAVE_AVX2
        if (__builtin_cpu_supports("avx2")) sTargets[count++] = &kKLTRowKernelsAVX2;
#endif
        return count;
    }();
    outCount = sCount;
    return sTargets;
}

const KLTRowKernels& GetKLTRowKernels() {
    int count = 0;
    const KLTRowKernels* const* const targets = GetKLTRowKernelTargets(count);
    return *targets[count - 1];
}

}  // namespace DP
