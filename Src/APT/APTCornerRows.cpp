// The portable form of the rows of the corner measure, and the choice between it and those of
// wider instruction sets.

#include "APT/APTCornerRows.h"

#include "image/VectorTargets.h"

#define DP_NAME "portable"
#define DP_TABLE kAPTCornerRowsPortable
#include "APT/APTCornerRows.inc"

namespace DP {

const IP::VectorTargets<APTCornerRowProcs>& GetAPTCornerRowTargets() {
    static const IP::VectorTargets<APTCornerRowProcs> sTargets(
        kAPTCornerRowsPortable, DP_IF_AVX2(kAPTCornerRowsAVX2), nullptr);
    return sTargets;
}

const APTCornerRowProcs& GetAPTCornerRowProcs() { return GetAPTCornerRowTargets().Widest(); }

}  // namespace DP
