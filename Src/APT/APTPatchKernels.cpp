// The portable form of the loops over a patch, and the choice between it and those of wider
// instruction sets. Four lanes: what every processor of 64 bits has.

#include "APT/APTPatchKernels.h"

#include "image/VectorTargets.h"

#define DP_LANES 4
#define DP_NAME "portable"
#define DP_TABLE kAPTPatchKernelsPortable
#include "APT/APTPatchKernels.inc"

namespace DP {

const IP::VectorTargets<APTPatchKernels>& GetAPTPatchKernelTargets() {
    static const IP::VectorTargets<APTPatchKernels> sTargets(
        kAPTPatchKernelsPortable, DP_IF_AVX2(kAPTPatchKernelsAVX2),
        DP_IF_AVX512(kAPTPatchKernelsAVX512));
    return sTargets;
}

const APTPatchKernels& GetAPTPatchKernels() { return GetAPTPatchKernelTargets().Widest(); }

}  // namespace DP
