// Every form of the row kernels that this machine can run, the portable one too, gives the
// bits of the definition.

#include "image/IPRowKernels.h"

#include "Support/Test.h"
#include "image/VectorTargets.h"

namespace {

using namespace Testing;

// What `mBothSums` writes, or the sums of the definition: the horizontal ones into the last
// row, the vertical ones behind the rows.
std::vector<float> SumsOfBoth(const std::vector<float>& inSource,
                              const std::vector<float>& inAcross,
                              const std::vector<float>& inDown, long inCount,
                              std::vector<float>& ioRows) {
    const int taps = int(inDown.size());
    std::vector<float> sums(inCount);
    for (long i = 0; i < inCount; ++i) {
        float& newest = ioRows[(taps - 1) * inCount + i] = 0.0f;
        for (int m = 0; m < taps; ++m)
            newest += inAcross[taps - 1 - m] * inSource[i + m];
        for (int m = 0; m < taps; ++m)
            sums[i] += inDown[taps - 1 - m] * ioRows[m * inCount + i];
    }
    return sums;
}

// Zeros of both signs among the products: the zeros that come out have the definition's.
TEST(RowKernels, BothPassesAtOnceGiveTheBitsOfOneAfterTheOther) {
    const auto forms = IP::GetRowKernelTargets().All();
    for (std::size_t t = 0; t < forms.size(); ++t)
        for (const int taps : {3, 5, 7})
            for (const long count : {0, 3, 4, 8, 15, 16, 17, 31, 33, 64, 100}) {
                SCOPED_TRACE(testing::Message() << forms[t]->mName << ", " << taps << " taps, "
                                                << count << " sums");
                auto source = NoiseFrame(int(count) + taps, 1, 5);
                auto across = NoiseFrame(taps, 1, 6);
                const auto down = NoiseFrame(taps, 1, 7);
                std::fill(source.begin(), source.begin() + count / 2, 0.0f);
                for (float& tap : across)
                    tap = -tap;
                auto rows = NoiseFrame(taps, int(count), 8);
                for (int m = 0; m < taps; ++m)
                    std::fill_n(rows.begin() + m * count, count / 3, 0.0f);
                auto expectedRows = rows;
                const auto expected = SumsOfBoth(source, across, down, count, expectedRows);
                std::vector<float*> lines;
                for (int m = 0; m < taps; ++m)
                    lines.push_back(rows.data() + m * count);
                std::vector<float> actual(count + 1, -1.0f);
                const bool done =
                    forms[t]->mBothSums(source.data(), across.data(), lines.data(), down.data(),
                                        taps, count, actual.data());
                EXPECT_EQ(done, taps > 3 && count >= 4 << t);
                if (!done) continue;
                EXPECT_TRUE(SameBits(actual.data(), expected.data(), count, 1000));
                EXPECT_EQ(actual[count], -1.0f);
                EXPECT_EQ(rows, expectedRows);  // as numbers
            }
}

TEST(RowKernels, GradientsFromOneVisitHaveTheBitsOfTwo) {
    for (const IP::RowKernels* const form : IP::GetRowKernelTargets().All())
        for (const long count : {0, 3, 4, 8, 15, 16, 17, 31, 33, 100}) {
            SCOPED_TRACE(testing::Message() << form->mName << ", " << count << " sums");
            const auto source = NoiseFrame(int(count) + 7, 1, 5);
            const auto gauss = NoiseFrame(7, 1, 6);
            const auto derivative = NoiseFrame(7, 1, 7);
            auto rowsX = NoiseFrame(7, int(count), 8), expectedX = rowsX;
            auto rowsY = NoiseFrame(7, int(count), 9), expectedY = rowsY;
            const auto sumsX = SumsOfBoth(source, derivative, gauss, count, expectedX);
            const auto sumsY = SumsOfBoth(source, gauss, derivative, count, expectedY);
            std::vector<float*> linesX, linesY;
            for (int m = 0; m < 7; ++m) {
                linesX.push_back(rowsX.data() + m * count);
                linesY.push_back(rowsY.data() + m * count);
            }
            std::vector<float> x(count + 1, -1.0f), y(x);
            if (!form->mBothGradients(source.data(), {gauss.data(), derivative.data(), 7},
                                      count, {linesX.data(), x.data()},
                                      {linesY.data(), y.data()})) {
                EXPECT_LT(count, 16);
                continue;
            }
            EXPECT_TRUE(SameBits(x.data(), sumsX.data(), count, 1000));
            EXPECT_TRUE(SameBits(y.data(), sumsY.data(), count, 1000));
            EXPECT_EQ(x[count] + y[count], -2.0f);
            EXPECT_EQ(rowsX, expectedX);
            EXPECT_EQ(rowsY, expectedY);
        }
}

TEST(RowKernels, EveryFormGivesTheBitsOfTheDefinition) {
    const auto forms = IP::GetRowKernelTargets().All();
    EXPECT_EQ(&IP::GetRowKernels(), forms.back());
    for (std::size_t t = 0; t < forms.size(); ++t) {
        SCOPED_TRACE(forms[t]->mName);
        for (const int taps : {1, 3, 5, 7, 9, 21, 71})
            for (const long count : {0, 1, 3, 4, 7, 8, 9, 31, 63, 64, 65, 200}) {
                const auto source = NoiseFrame(int(count) + taps, 1, 5);
                const auto kernel = NoiseFrame(taps, 1, 6);
                std::vector<const float*> lines;
                for (int m = 0; m < taps; ++m)
                    lines.push_back(source.data() + m);
                std::vector<float> expected(count + 1, -1.0f), actual(expected);
                for (long i = 0; i < count; ++i) {
                    float sum = 0.0f;
                    for (int m = 0; m < taps; ++m)
                        sum += kernel[taps - 1 - m] * source[i + m];
                    expected[i] = sum;
                }
                forms[t]->mWeightedSums(lines.data(), kernel.data(), taps, count,
                                        actual.data());
                EXPECT_TRUE(SameBits(actual.data(), expected.data(), count + 1, 1000))
                    << taps << " taps, " << count << " sums";
            }
        for (const int step : {1, 2, 3, 4, 5, 8})
            for (const long count : {0, 1, 5, 8, 33}) {
                const auto row = NoiseFrame(int(count) * step + 1, 1, 7);
                std::vector<std::vector<float>> phases(step, std::vector<float>(count + 1, -1));
                std::vector<float*> pointers;
                for (auto& phase : phases)
                    pointers.push_back(phase.data());
                if (count == 8) pointers[0] = nullptr;
                forms[t]->mSplitPhases(row.data(), step, count, pointers.data());
                for (int p = count == 8; p < step; ++p)
                    for (long j = 0; j <= count; ++j)
                        EXPECT_EQ(phases[p][j], j < count ? row[j * step + p] : -1.0f);
            }
        const auto bytes = NoiseBytes(77, 8);
        std::vector<float> floats(78, -1.0f);
        forms[t]->mConvertBytes(bytes.data(), 77, floats.data());
        for (int i = 0; i < 78; ++i)
            EXPECT_EQ(floats[i], i < 77 ? float(bytes[i]) : -1.0f);
    }
}

}  // namespace
