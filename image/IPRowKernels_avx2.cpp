// The row kernels for machines with AVX2, compiled with flags of their own.

#include "image/IPRowKernels.h"

#define DP_LANES 8
#include "image/IPRowKernels.inc"

namespace IP {

extern const RowKernels kRowKernelsAVX2;
const RowKernels kRowKernelsAVX2{"AVX2", WeightedSums, BothSums, SplitPhases, ConvertBytes};

}  // namespace IP
