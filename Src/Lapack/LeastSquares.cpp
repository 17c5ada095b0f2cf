// LAPACK's dgelss behind a test for finite values: the reference one never returns from an
// infinite matrix.

#include "Lapack/LeastSquares.h"

#include <algorithm>
#include <cmath>

extern "C" {
void dgelss_(const int* inRows, const int* inColumns, const int* inRightSides, double* ioMatrix,
             const int* inLeading, double* ioRightSide, const int* inRightLeading,
             double* outSingularValues, const double* inRcond, int* outRank, double* outWork,
             const int* inWorkSize, int* outInfo);
}

namespace DP {
namespace {

bool AreFinite(std::span<const double> inValues) {
    return std::all_of(inValues.begin(), inValues.end(),
                       [](double inValue) { return std::isfinite(inValue); });
}

}  // namespace

LeastSquaresOutcome LeastSquares::Solve(std::span<const double> inMatrix,
                                        std::span<const double> inRightSide, int inColumns,
                                        double inRcond) {
    const int rows = static_cast<int>(inRightSide.size());
    const int longer = std::max(rows, inColumns);
    mColumns = static_cast<std::size_t>(inColumns);
    mRightSide.assign(static_cast<std::size_t>(longer), 0.0);
    std::copy(inRightSide.begin(), inRightSide.end(), mRightSide.begin());
    if (!AreFinite(inMatrix) || !AreFinite(inRightSide)) return LeastSquaresOutcome::kNotFinite;

    mMatrix.resize(inMatrix.size());
    for (std::size_t row = 0; row < inRightSide.size(); ++row)
        for (std::size_t column = 0; column < mColumns; ++column)
            mMatrix[column * inRightSide.size() + row] = inMatrix[row * mColumns + column];

    // The length is part of the result: dgelss chooses the size of its blocks by it. With n
    // columns it needs 5 n for the singular values and 3 n + rows for the rest; of rows, where
    // there are many more than columns, no more than n are left after a first reduction.
    const int workSize = 20 * inColumns;
    mWork.resize(static_cast<std::size_t>(workSize));
    mSingularValues.resize(static_cast<std::size_t>(std::min(rows, inColumns)));

    const int rightSides = 1;
    int rank = 0;
    int info = 0;
    dgelss_(&rows, &inColumns, &rightSides, mMatrix.data(), &rows, mRightSide.data(), &longer,
            mSingularValues.data(), &inRcond, &rank, mWork.data(), &workSize, &info);
    return info == 0 ? LeastSquaresOutcome::kDone : LeastSquaresOutcome::kNotConverged;
}

}  // namespace DP
