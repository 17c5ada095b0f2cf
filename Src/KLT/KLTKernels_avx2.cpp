// The kernels of selection and tracking for machines with AVX2, compiled with flags of their
// own.

#include "KLT/KLTKernels.h"

#define DP_LANES 8
#define DP_NAME "AVX2"
#define DP_TABLE kKLTKernelsAVX2
#include "KLT/KLTKernels.inc"
