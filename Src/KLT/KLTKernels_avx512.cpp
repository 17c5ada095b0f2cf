// The kernels of selection and tracking for machines with AVX-512, compiled with flags of their
// own.

#include "KLT/KLTKernels.h"

#define DP_LANES 16
#define DP_NAME "AVX-512"
#define DP_TABLE kKLTKernelsAVX512
#include "KLT/KLTKernels.inc"
