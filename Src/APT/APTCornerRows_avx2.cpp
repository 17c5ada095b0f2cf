// The loops of corner selection for AVX2; built with that flag, so nothing here may come
// from a standard header.

#include "APT/APTCornerRows.h"

#if defined(__AVX2__)

#define DP_CORNER_ROWS AVX2CornerRows
#include "APT/APTCornerRowLoops.inl"

namespace DP {

const APTCornerRowProcs* GetAVX2CornerRowProcs() {
    static constexpr APTCornerRowProcs kProcs = DP_CORNER_ROW_PROCS("avx2");
    return &kProcs;
}

}  // namespace DP

#else

namespace DP {

const APTCornerRowProcs* GetAVX2CornerRowProcs() { return nullptr; }

}  // namespace DP

#endif
