// LeastSquares: small dense least-squares problems by LAPACK, in double precision.

#pragma once

#include <span>
#include <vector>

namespace DP {

enum class LeastSquaresOutcome {
    kDone,
    kNotConverged,  // LAPACK gave up
    kNotFinite,     // LAPACK was not asked
};

/// Finds the x that makes |A x - b| smallest, and among several such the shortest one, by
/// the singular values of A. Keeps its arrays from one problem to the next, so that a
/// series of them allocates nothing once it has met its largest.
class LeastSquares {
public:
    /// @param inMatrix  A by rows, `inColumns` to a row and a row for each number of
    ///        `inRightSide`. Neither may be empty.
    /// @param inRcond  singular values up to this part of the largest count as 0.
    LeastSquaresOutcome Solve(std::span<const double> inMatrix,
                              std::span<const double> inRightSide, int inColumns,
                              double inRcond);

    /// x after a problem that is done. After any other, what stands in its place: the head
    /// of b with zeros behind it if LAPACK was not asked, else what LAPACK left there.
    std::span<const double> Solution() const { return std::span(mRightSide).first(mColumns); }

private:
    std::size_t mColumns = 0;
    std::vector<double> mMatrix;     // by columns
    std::vector<double> mRightSide;  // b, and then x; room for the longer of the two
    std::vector<double> mSingularValues;
    std::vector<double> mWork;
};

}  // namespace DP
