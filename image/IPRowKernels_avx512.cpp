// The row kernels for machines with AVX-512, compiled with flags of their own.

#include "image/IPRowKernels.h"

#define DP_LANES 16
#include "image/IPRowKernels.inc"

namespace IP {

extern const RowKernels kRowKernelsAVX512;
const RowKernels kRowKernelsAVX512{"AVX-512", WeightedSums, BothSums, SplitPhases,
                                   ConvertBytes};

}  // namespace IP
