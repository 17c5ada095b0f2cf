// The kernels of selection and tracking for machines with AVX-512, compiled with flags of their
// own.

#include "KLT/KLTKernels.h"

#define DP_LANES 16
#include "KLT/KLTKernels.inc"

namespace DP {

extern const KLTKernels kKLTKernelsAVX512;
const KLTKernels kKLTKernelsAVX512{"AVX-512", Products,     Trackability, MakePoints,
                                   CloseIn,   SampleWindow, SumWindows,   SumAbsDifference};

}  // namespace DP
