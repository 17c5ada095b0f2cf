// The loops over a patch for machines with AVX-512, compiled with flags of their own.

#include "APT/APTPatchKernels.h"

#define DP_LANES 16
#define DP_NAME "AVX-512"
#define DP_TABLE kAPTPatchKernelsAVX512
#include "APT/APTPatchKernels.inc"
