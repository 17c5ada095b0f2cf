#include "APT/APTCornerRows.h"

#define DP_CORNER_ROWS PlainCornerRows
#include "APT/APTCornerRowLoops.inl"

namespace DP {

const APTCornerRowProcs* GetAVX2CornerRowProcs();  // null where it was not built

namespace {

constexpr APTCornerRowProcs kPlain = DP_CORNER_ROW_PROCS("plain");

bool HasAVX2() {
#if defined(__x86_64__) || defined(__i386__)
    return __builtin_cpu_supports("avx2");
#else
    return false;
#endif
}

}  // namespace

int GetAPTCornerRowVariants(const APTCornerRowProcs** outVariants) {
    int count = 0;
    outVariants[count++] = &kPlain;
    if (const APTCornerRowProcs* const procs = GetAVX2CornerRowProcs(); procs && HasAVX2())
        outVariants[count++] = procs;
    return count;
}

const APTCornerRowProcs& GetAPTCornerRowProcs() {
    static const APTCornerRowProcs* const sProcs = [] {
        const APTCornerRowProcs* variants[kAPTCornerRowVariants];
        return variants[GetAPTCornerRowVariants(variants) - 1];
    }();
    return *sProcs;
}

}  // namespace DP
