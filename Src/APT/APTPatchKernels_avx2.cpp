// The loops over a patch for machines with AVX2, compiled with flags of their own.

#include "APT/APTPatchKernels.h"

#define DP_LANES 8
#define DP_NAME "AVX2"
#define DP_TABLE kAPTPatchKernelsAVX2
#include "APT/APTPatchKernels.inc"
