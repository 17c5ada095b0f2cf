// The small systems: solved where they have a solution, and one of three answers always.

#include "Lapack/Cholesky.h"
#include "Support/Test.h"

namespace {

using namespace DP;

// A matrix J'J + I of the order, with garbage above the diagonal, which nobody reads.
std::vector<float> PositiveMatrix(int inOrder) {
    const auto n = std::size_t(inOrder);
    std::vector<float> matrix(n * n, std::numeric_limits<float>::quiet_NaN());
    for (std::size_t column = 0; column < n; ++column)
        for (std::size_t row = column; row < n; ++row) {
            float sum = row == column ? 1.0f : 0.0f;
            for (std::size_t k = 0; k < 2 * n; ++k)
                sum += std::sin(float(1 + 3 * row * (k + 1))) *
                       std::sin(float(1 + 3 * column * (k + 1)));
            matrix[column * n + row] = sum;
        }
    return matrix;
}

TEST(Cholesky, SolvesEveryOrderFromOneToFourteen) {
    for (int order = 1; order <= 14; ++order) {
        const auto n = std::size_t(order);
        const std::vector<float> matrix = PositiveMatrix(order);
        std::vector<float> factor = matrix;
        ASSERT_EQ(CholeskyFactorise(factor.data(), order), CholeskyOutcome::kDone);
        std::vector<float> solution(n);
        for (std::size_t i = 0; i < n; ++i)
            solution[i] = float(i) - 2.5f;
        const std::vector<float> right = solution;
        ASSERT_EQ(CholeskySolve(factor.data(), order, solution.data()), CholeskyOutcome::kDone);
        for (std::size_t row = 0; row < n; ++row) {
            double sum = 0.0;
            double magnitude = 0.0;
            for (std::size_t column = 0; column < n; ++column) {
                const float value = matrix[std::min(row, column) * n + std::max(row, column)];
                sum += double{value} * solution[column];
                magnitude += std::abs(double{value} * solution[column]);
            }
            // A backward stable solution errs by some n units of the sum of magnitudes.
            EXPECT_NEAR(sum, right[row],
                        4.0 * order * std::numeric_limits<float>::epsilon() *
                            (magnitude + std::abs(right[row])))
                << order;
        }
    }
}

TEST(Cholesky, AMatrixThatIsNotPositiveDefiniteIsRefused) {
    float zero[4] = {};
    EXPECT_EQ(CholeskyFactorise(zero, 2), CholeskyOutcome::kNotPositiveDefinite);
    float indefinite[4] = {1.0f, 2.0f, 0.0f, 1.0f};
    EXPECT_EQ(CholeskyFactorise(indefinite, 2), CholeskyOutcome::kNotPositiveDefinite);
}

TEST(Cholesky, ValuesThatAreNotFiniteNeverReachTheLibrary) {
    for (const float bad : {NAN, INFINITY, -INFINITY}) {
        float matrix[4] = {4.0f, 1.0f, 0.0f, 3.0f};
        matrix[0] = bad;
        EXPECT_EQ(CholeskyFactorise(matrix, 2), CholeskyOutcome::kNotFinite);
        const float factor[4] = {2.0f, 1.0f, 0.0f, 3.0f};
        float right[2] = {1.0f, bad};
        EXPECT_EQ(CholeskySolve(factor, 2, right), CholeskyOutcome::kNotFinite);
        EXPECT_EQ(right[0], 1.0f) << "left alone";
    }
}

}  // namespace
