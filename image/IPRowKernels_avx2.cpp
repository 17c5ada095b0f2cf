// The row kernels for machines with AVX2, compiled with flags of their own.

#include "image/IPRowKernels.h"

#define DP_LANES 8
#define DP_NAME "AVX2"
#define DP_TABLE kRowKernelsAVX2
#include "image/IPRowKernels.inc"
