// The row kernels for machines with AVX-512, compiled with flags of their own.

#include "image/IPRowKernels.h"

#define DP_LANES 16
#define DP_NAME "AVX-512"
#define DP_TABLE kRowKernelsAVX512
#include "image/IPRowKernels.inc"
