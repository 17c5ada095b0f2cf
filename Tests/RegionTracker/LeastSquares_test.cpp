// The least-squares solver: its laws, the shortest solution, and what it does not hand on.

#include "Lapack/LeastSquares.h"
#include "Support/Test.h"

namespace {

using namespace Testing;
using Numbers = std::vector<double>;
using Outcome = DP::LeastSquaresOutcome;

constexpr double kEpsilon = std::numeric_limits<double>::epsilon();

Numbers RandomNumbers(std::size_t inCount, std::uint64_t inSeed) {
    Random random(inSeed);
    Numbers numbers(inCount);
    for (double& number : numbers)
        number = 2.0 * random.Real() - 1.0;
    return numbers;
}

// Rows around the number of columns, and around those at which LAPACK changes its method.
class LeastSquaresSizes : public testing::TestWithParam<int> {};

// At the minimum the residual is at right angles to every column. All entries are below 1,
// so the sum of `rows` products errs by some rows * epsilon times the condition, which
// random columns keep small.
TEST_P(LeastSquaresSizes, TheResidualIsOrthogonalToTheColumns) {
    const int rows = GetParam();
    const Numbers a = RandomNumbers(std::size_t(3 * rows), 5);
    const Numbers b = RandomNumbers(std::size_t(rows), 7);
    DP::LeastSquares solver;
    ASSERT_EQ(solver.Solve(a, b, 3, 0.0), Outcome::kDone);
    const auto x = solver.Solution();
    ASSERT_EQ(x.size(), 3u);

    double products[3] = {};
    for (int row = 0; row < rows; ++row) {
        double residual = -b[std::size_t(row)];
        for (int column = 0; column < 3; ++column)
            residual += a[std::size_t(3 * row + column)] * x[std::size_t(column)];
        for (int column = 0; column < 3; ++column)
            products[column] += a[std::size_t(3 * row + column)] * residual;
    }
    for (const double product : products)
        EXPECT_NEAR(product, 0.0, 1000 * rows * kEpsilon);
}

INSTANTIATE_TEST_SUITE_P(Rows, LeastSquaresSizes,
                         testing::Values(1, 2, 3, 4, 5, 6, 7, 31, 100, 500));

TEST(LeastSquares, OneEquationGivesTheShortestOfItsSolutions) {
    // 3 x + 4 y + 0 z = 50: the foot of the perpendicular from the origin.
    DP::LeastSquares solver;
    ASSERT_EQ(solver.Solve(Numbers{3, 4, 0}, Numbers{50}, 3, 0.0), Outcome::kDone);
    EXPECT_NEAR(solver.Solution()[0], 6.0, 100 * kEpsilon);
    EXPECT_NEAR(solver.Solution()[1], 8.0, 100 * kEpsilon);
    EXPECT_NEAR(solver.Solution()[2], 0.0, 100 * kEpsilon);
}

TEST(LeastSquares, RankThresholdCutsSmallSingularValuesOff) {
    // Diagonal 1 and 1e-3: at a threshold of 0.01 the second unknown is taken as 0.
    const Numbers a = {1, 0, 0, 1e-3};
    const Numbers b = {2, 3};
    DP::LeastSquares solver;
    ASSERT_EQ(solver.Solve(a, b, 2, 0.0), Outcome::kDone);
    EXPECT_NEAR(solver.Solution()[1], 3000.0, 1e-9);
    ASSERT_EQ(solver.Solve(a, b, 2, 0.01), Outcome::kDone);
    EXPECT_NEAR(solver.Solution()[0], 2.0, 100 * kEpsilon);
    EXPECT_EQ(solver.Solution()[1], 0.0);
}

TEST(LeastSquares, WhatIsNotFiniteIsNotHandedOn) {
    for (const double odd :
         {std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
          std::numeric_limits<double>::quiet_NaN()}) {
        for (std::size_t place = 0; place < 12; ++place) {
            Numbers a = RandomNumbers(12, 1);
            a[place] = odd;
            DP::LeastSquares solver;
            EXPECT_EQ(solver.Solve(a, Numbers{1, 2, 3, 4}, 3, 0.0), Outcome::kNotFinite);
            // In place of a solution stands the head of the right-hand side.
            EXPECT_EQ(Numbers(solver.Solution().begin(), solver.Solution().end()),
                      (Numbers{1, 2, 3}));
        }
        DP::LeastSquares solver;
        EXPECT_EQ(solver.Solve(Numbers{1, 1, 1}, Numbers{odd}, 3, 0.0), Outcome::kNotFinite);
        EXPECT_EQ(solver.Solution()[1], 0.0) << "behind a short right-hand side stand zeros";
        EXPECT_EQ(solver.Solution()[2], 0.0);
    }
}

TEST(LeastSquares, ASolverUsedBeforeGivesTheBitsOfAFreshOne) {
    DP::LeastSquares used;
    used.Solve(RandomNumbers(1500, 1), RandomNumbers(500, 2), 3, 0.0);
    used.Solve(Numbers{std::nan(""), 1, 1}, Numbers{1}, 3, 0.0);
    for (const int rows : {2, 3, 40}) {
        const Numbers a = RandomNumbers(std::size_t(3 * rows), 3);
        const Numbers b = RandomNumbers(std::size_t(rows), 4);
        DP::LeastSquares fresh;
        ASSERT_EQ(fresh.Solve(a, b, 3, 0.0), Outcome::kDone);
        ASSERT_EQ(used.Solve(a, b, 3, 0.0), Outcome::kDone);
        for (std::size_t i = 0; i < 3; ++i)
            EXPECT_EQ(used.Solution()[i], fresh.Solution()[i]);
    }
}

}  // namespace
