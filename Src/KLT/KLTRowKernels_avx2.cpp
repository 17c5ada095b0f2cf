// The row kernels of selection for machines with AVX2, compiled with flags of their own.

#include "KLT/KLTRowKernels.h"

#define DP_LANES 8
#include "KLT/KLTRowKernels.inc"

namespace DP {

extern const KLTRowKernels kKLTRowKernelsAVX2;
const KLTRowKernels kKLTRowKernelsAVX2{"AVX2", Products, Trackability, MakePoints};

}  // namespace DP
