// The loops of corner selection for machines with AVX2, compiled with flags of their own.

#include "APT/APTCornerRows.h"

#define DP_NAME "AVX2"
#define DP_TABLE kAPTCornerRowsAVX2
#include "APT/APTCornerRows.inc"
