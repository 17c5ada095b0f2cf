// Cholesky: small symmetric systems by LAPACK, in single precision.

#pragma once

namespace DP {

enum class CholeskyOutcome {
    kDone,
    kNotPositiveDefinite,  // LAPACK says no
    kNotFinite,            // LAPACK was not asked, or its answer is no number
};

/// Factorises a symmetric matrix of `inOrder` rows in place. It is stored by columns, and
/// only its lower triangle is read and written.
CholeskyOutcome CholeskyFactorise(float* ioMatrix, int inOrder);

/// Solves with a factor of `CholeskyFactorise` that was done; the right-hand side becomes the
/// solution.
CholeskyOutcome CholeskySolve(const float* inFactor, int inOrder, float* ioRightSide);

}  // namespace DP
