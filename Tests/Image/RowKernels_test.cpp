// Every form of the row kernels that this machine can run, the portable one too, gives the
// bits of the definition.

#include "image/IPRowKernels.h"

#include <gtest/gtest.h>

#include <vector>

#include "Support/Bits.h"
#include "Support/Textures.h"

namespace {

using Testing::SameBits;

TEST(RowKernels, EveryFormGivesTheBitsOfTheDefinition) {
    int targets = 0;
    const IP::RowKernels* const* const forms = IP::GetRowKernelTargets(targets);
    EXPECT_EQ(&IP::GetRowKernels(), forms[targets - 1]);
    for (int t = 0; t < targets; ++t) {
        SCOPED_TRACE(forms[t]->mName);
        for (const int taps : {1, 3, 5, 7, 9, 21, 71})
            for (const long count : {0, 1, 3, 4, 7, 8, 9, 31, 63, 64, 65, 200}) {
                const auto source = Testing::NoiseFrame(int(count) + taps, 1, 5);
                const auto kernel = Testing::NoiseFrame(taps, 1, 6);
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
                const auto row = Testing::NoiseFrame(int(count) * step + 1, 1, 7);
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
        const auto bytes = Testing::NoiseBytes(77, 8);
        std::vector<float> floats(78, -1.0f);
        forms[t]->mConvertBytes(bytes.data(), 77, floats.data());
        for (int i = 0; i < 78; ++i)
            EXPECT_EQ(floats[i], i < 77 ? float(bytes[i]) : -1.0f);
    }
}

}  // namespace
