// The kernels of selection and tracking for machines with AVX2, compiled with flags of their
// own.

#include "KLT/KLTKernels.h"

#define DP_LANES 8
#include "KLT/KLTKernels.inc"

namespace DP {

extern const KLTKernels kKLTKernelsAVX2;
const KLTKernels kKLTKernelsAVX2{"AVX2",  Products,     Trackability, MakePoints,
                                 CloseIn, SampleWindow, SumWindows,   SumAbsDifference};

}  // namespace DP
