#include "APT/APTCornerRows.h"

#define DP_CORNER_ROWS PlainCornerRows
#include "APT/APTCornerRowLoops.inl"

namespace DP {
namespace {

constexpr APTCornerRowProcs kPlain{
    "plain",
    PlainCornerRows::SmoothAcross,
    PlainCornerRows::SmoothDown,
    PlainCornerRows::Multiply,
    PlainCornerRows::TotalAcross,
    PlainCornerRows::TotalDown,
    PlainCornerRows::Cornerness,
    PlainCornerRows::PickMaxima,
};

}  // namespace

int GetAPTCornerRowVariants(const APTCornerRowProcs** outVariants) {
    outVariants[0] = &kPlain;
    return 1;
}

const APTCornerRowProcs& GetAPTCornerRowProcs() { return kPlain; }

}  // namespace DP
