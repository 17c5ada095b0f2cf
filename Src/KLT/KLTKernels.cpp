// The portable form of the tracker's inner loops, and the choice between it and those of wider
// instruction sets.

#include "KLT/KLTKernels.h"

#include "image/VectorTargets.h"

#define DP_LANES 4
#define DP_NAME "portable"
#define DP_TABLE kKLTKernelsPortable
#include "KLT/KLTKernels.inc"

namespace DP {

const IP::VectorTargets<KLTKernels>& GetKLTKernelTargets() {
    static const IP::VectorTargets<KLTKernels> sTargets(
        kKLTKernelsPortable, DP_IF_AVX2(kKLTKernelsAVX2), DP_IF_AVX512(kKLTKernelsAVX512));
    return sTargets;
}

const KLTKernels& GetKLTKernels() { return GetKLTKernelTargets().Widest(); }

}  // namespace DP
