// The portable form of the loops over rows, and the choice between it and those of wider
// instruction sets. Four lanes: what every processor of 64 bits has.

#include "image/IPRowKernels.h"

#include "image/VectorTargets.h"

#define DP_LANES 4
#define DP_NAME "portable"
#define DP_TABLE kRowKernelsPortable
#include "image/IPRowKernels.inc"

namespace IP {

const VectorTargets<RowKernels>& GetRowKernelTargets() {
    static const VectorTargets<RowKernels> sTargets(
        kRowKernelsPortable, DP_IF_AVX2(kRowKernelsAVX2), DP_IF_AVX512(kRowKernelsAVX512));
    return sTargets;
}

const RowKernels& GetRowKernels() { return GetRowKernelTargets().Widest(); }

}  // namespace IP
