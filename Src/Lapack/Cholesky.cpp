// LAPACK's spotrf and spotrs behind a test for finite values: the reference spotrf can
// report success for an infinite matrix.

#include "Lapack/Cholesky.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

// Column-major. Behind the arguments Fortran takes the length of each string: 1 for "L", the
// lower triangle, which alone is read and written.
extern "C" {
void spotrf_(const char* inUplo, const int* inOrder, float* ioMatrix, const int* inLeading,
             int* outInfo, std::size_t inUploLength);
void spotrs_(const char* inUplo, const int* inOrder, const int* inColumns,
             const float* inFactor, const int* inLeading, float* ioRightSide,
             const int* inRightLeading, int* outInfo, std::size_t inUploLength);
}

namespace DP {
namespace {

bool IsFinite(float inValue) { return std::isfinite(inValue); }

bool LowerTriangleIsFinite(const float* inMatrix, int inOrder) {
    for (int column = 0; column < inOrder; ++column) {
        const float* const start = inMatrix + column * inOrder;
        if (!std::all_of(start + column, start + inOrder, IsFinite)) return false;
    }
    return true;
}

CholeskyOutcome OutcomeOf(int inInfo) {
    return inInfo == 0 ? CholeskyOutcome::kDone : CholeskyOutcome::kNotPositiveDefinite;
}

}  // namespace

// Looked at again behind a success: finite entries of very different size can overflow on the
// way.
CholeskyOutcome CholeskyFactorise(float* ioMatrix, int inOrder) {
    if (!LowerTriangleIsFinite(ioMatrix, inOrder)) return CholeskyOutcome::kNotFinite;
    int info = 0;
    spotrf_("L", &inOrder, ioMatrix, &inOrder, &info, 1);
    if (info == 0 && !LowerTriangleIsFinite(ioMatrix, inOrder))
        return CholeskyOutcome::kNotFinite;
    return OutcomeOf(info);
}

CholeskyOutcome CholeskySolve(const float* inFactor, int inOrder, float* ioRightSide) {
    if (!std::all_of(ioRightSide, ioRightSide + inOrder, IsFinite))
        return CholeskyOutcome::kNotFinite;
    const int columns = 1;
    int info = 0;
    spotrs_("L", &inOrder, &columns, inFactor, &inOrder, ioRightSide, &inOrder, &info, 1);
    return OutcomeOf(info);
}

}  // namespace DP
