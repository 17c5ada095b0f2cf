// Every form of the kernels that this machine can run gives the bits of the portable one,
// which the tests of selection and tracking hold against the plain way.

#include "KLT/KLTKernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <tuple>
#include <vector>

#include "Support/Bits.h"
#include "Support/Textures.h"

namespace {

using Testing::BitsOf;
using Testing::NoiseFrame;
using Testing::SameBits;

// Calls `inDo(form, portable)` for each form beside the portable one.
template <class Do>
void ForEachForm(Do inDo) {
    int count = 0;
    const DP::KLTKernels* const* const forms = DP::GetKLTKernelTargets(count);
    EXPECT_EQ(&DP::GetKLTKernels(), forms[count - 1]);
    for (int t = 1; t < count; ++t) {
        SCOPED_TRACE(forms[t]->mName);
        inDo(*forms[t], *forms[0]);
    }
}

TEST(KLTKernels, TrackabilityHasTheSameBitsInEveryForm) {
    ForEachForm([](const DP::KLTKernels& inForm, const DP::KLTKernels& inPortable) {
        for (const int width : {3, 7, 9})
            for (const int height : {3, 5, 7})
                for (const int outRows : {1, 2, 3, 4})
                    for (const long count : {1, 7, 8, 9, 40}) {
                        const int cols = int(count) + width;
                        const auto xx = NoiseFrame(cols, 20, 1), xy = NoiseFrame(cols, 20, 2),
                                   yy = NoiseFrame(cols, 20, 3);
                        std::vector<const float*> rows[3];
                        for (int y = 0; y < height + outRows - 1; ++y) {
                            rows[0].push_back(xx.data() + y * cols);
                            rows[1].push_back(xy.data() + y * cols);
                            rows[2].push_back(yy.data() + y * cols);
                        }
                        const auto run = [&](const DP::KLTKernels& inKernels) {
                            std::vector<float> out(4 * count, -1.0f);
                            float* outs[] = {&out[0], &out[count], &out[2 * count],
                                             &out[3 * count]};
                            inKernels.mTrackability(rows[0].data(), rows[1].data(),
                                                    rows[2].data(), width, height, outRows,
                                                    count, outs);
                            return out;
                        };
                        const auto actual = run(inForm), expected = run(inPortable);
                        EXPECT_TRUE(SameBits(actual.data(), expected.data(), expected.size(),
                                             int(count)))
                            << width << " x " << height << ", " << outRows << " rows";
                    }
    });
}

TEST(KLTKernels, ProductsAndPointsAreTheSameInEveryForm) {
    constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
    ForEachForm([&](const DP::KLTKernels& inForm, const DP::KLTKernels& inPortable) {
        const auto gx = NoiseFrame(45, 1, 1), gy = NoiseFrame(45, 1, 2);
        std::vector<float> actual(3 * 45), expected(actual);
        inForm.mProducts(gx.data(), gy.data(), 45, &actual[0], &actual[45], &actual[90]);
        inPortable.mProducts(gx.data(), gy.data(), 45, &expected[0], &expected[45],
                             &expected[90]);
        EXPECT_TRUE(SameBits(actual.data(), expected.data(), actual.size(), 45));

        std::vector<float> values{0.0f,           0.99f,  -0.99f, 2147483520.0f, 2147483648.0f,
                                  -2147483648.0f, -3e9f,  kNaN,   5e9f,          1e38f,
                                  -1e38f,         123.7f, 7.0f};
        const auto run = [&](const DP::KLTKernels& inKernels) {
            std::vector<int> whole(values.size());
            std::vector<unsigned> indices(values.size());
            inKernels.mMakePoints(values.data(), long(values.size()), 0xfffffffeu, whole.data(),
                                  indices.data());
            return std::pair(whole, indices);
        };
        EXPECT_EQ(run(inForm), run(inPortable));
        constexpr int kLowest = std::numeric_limits<int>::min();
        EXPECT_EQ(run(inPortable).first,
                  (std::vector<int>{0, 0, 0, 2147483520, kLowest, kLowest, kLowest, kLowest,
                                    kLowest, kLowest, kLowest, 123, 7}));
        EXPECT_EQ(run(inPortable).second[2], 0u);

        Testing::Random random(9);
        for (const int highest : {1, 30, 1000000}) {
            std::vector<int> a(5000);
            for (int& value : a)
                value = random.Integer(0, highest);
            std::vector<int> b = a;
            std::vector<unsigned> ia(a.begin(), a.end()), ib = ia;
            long i[] = {0, 0}, j[] = {5000, 5000};
            inForm.mCloseIn(a.data(), ia.data(), a[0], &i[0], &j[0]);
            inPortable.mCloseIn(b.data(), ib.data(), b[0], &i[1], &j[1]);
            EXPECT_EQ(std::tuple(a, ia, i[0], j[0]), std::tuple(b, ib, i[1], j[1]));
            EXPECT_TRUE(std::equal(a.begin(), a.end(), ia.begin()))
                << "values and indices move together";
        }
    });
}

TEST(KLTKernels, WindowsHaveTheSameBitsInEveryForm) {
    Testing::Random random(3);
    const auto a = NoiseFrame(60, 50, 1), b = NoiseFrame(60, 50, 2), c = NoiseFrame(60, 50, 3);
    const DP::KLTPlanes planes{{a.data(), b.data(), c.data()}, 60, 50};
    ForEachForm([&](const DP::KLTKernels& inForm, const DP::KLTKernels& inPortable) {
        for (int run = 0; run < 500; ++run) {
            const int width = 3 + 2 * random.Integer(0, 2),
                      height = 3 + 2 * random.Integer(0, 6);
            const auto at = [&](int inSize, int inWindow) {
                return float(inWindow / 2 + random.Real() * (inSize - inWindow - 1.01));
            };
            DP::KLTSamples first[2], second[2];
            const float x1 = at(60, width), y1 = at(50, height);
            const float x2 = at(60, width), y2 = at(50, height);
            const bool fits = inForm.mSampleWindow(planes, 3, x1, y1, width, height, &first[0]);
            ASSERT_EQ(fits,
                      inPortable.mSampleWindow(planes, 3, x1, y1, width, height, &first[1]));
            if (!fits || !inForm.mSampleWindow(planes, 3, x2, y2, width, height, &second[0]) ||
                !inPortable.mSampleWindow(planes, 3, x2, y2, width, height, &second[1]))
                continue;
            const auto s = inForm.mSumWindows(first[0], second[0], width, height);
            const auto p = inPortable.mSumWindows(first[1], second[1], width, height);
            EXPECT_EQ(BitsOf(s.mGxx), BitsOf(p.mGxx));
            EXPECT_EQ(BitsOf(s.mGxy), BitsOf(p.mGxy));
            EXPECT_EQ(BitsOf(s.mGyy), BitsOf(p.mGyy));
            EXPECT_EQ(BitsOf(s.mEx), BitsOf(p.mEx));
            EXPECT_EQ(BitsOf(s.mEy), BitsOf(p.mEy));
            EXPECT_EQ(BitsOf(inForm.mSumAbsDifference(first[0], second[0], width, height)),
                      BitsOf(inPortable.mSumAbsDifference(first[1], second[1], width, height)));
        }
    });
}

}  // namespace
