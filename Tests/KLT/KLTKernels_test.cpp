// Every form of the kernels that this machine can run, the portable one too, gives the bits
// of a few literal lines.

#include "KLT/KLTKernels.h"

#include "Support/Images.h"
#include "Support/Test.h"
#include "image/IPConvolveImage.h"
#include "image/VectorTargets.h"

namespace {

using namespace Testing;

// Calls `inDo(form)` for each form.
template <class Do>
void ForEachForm(Do inDo) {
    const auto forms = DP::GetKLTKernelTargets().All();
    EXPECT_EQ(&DP::GetKLTKernels(), forms.back());
    for (const DP::KLTKernels* const form : forms) {
        SCOPED_TRACE(form->mName);
        inDo(*form);
    }
}

float PlainTrackability(const std::vector<const float*>* inRows, int inFirstRow, long long inX,
                        int inWidth, int inHeight) {
    float sums[3] = {};
    for (int row = inFirstRow; row < inFirstRow + inHeight; ++row)
        for (int i = 0; i < inWidth; ++i)
            for (int kind = 0; kind < 3; ++kind)
                sums[kind] += inRows[kind][row][inX + i];
    const float d = sums[0] - sums[2];
    return (sums[0] + sums[2] - std::sqrt(d * d + 4 * sums[1] * sums[1])) / 2;
}

TEST(KLTKernels, TrackabilityHasTheBitsOfPlainSums) {
    ForEachForm([](const DP::KLTKernels& inForm) {
        for (const int width : {3, 7, 9})
            for (const int height : {3, 5, 7})
                for (const int outRows : {1, 3, 4, 8, 13})
                    for (const long long count : {1, 7, 8, 9, 16, 40}) {
                        const int cols = int(count) + width;
                        const auto xx = NoiseFrame(cols, 20, 1), xy = NoiseFrame(cols, 20, 2),
                                   yy = NoiseFrame(cols, 20, 3);
                        std::vector<const float*> rows[3];
                        for (int y = 0; y < height + outRows - 1; ++y) {
                            rows[0].push_back(xx.data() + y * cols);
                            rows[1].push_back(xy.data() + y * cols);
                            rows[2].push_back(yy.data() + y * cols);
                        }
                        std::vector<float> actual(outRows * count, -1.0f), expected(actual);
                        std::vector<float*> outs;
                        for (int row = 0; row < outRows; ++row)
                            outs.push_back(&actual[row * count]);
                        inForm.mTrackability({rows[0].data(), rows[1].data(), rows[2].data()},
                                             width, height, outRows, count, outs.data());
                        for (int row = 0; row < outRows; ++row)
                            for (long long x = 0; x < count; ++x)
                                expected[row * count + x] =
                                    PlainTrackability(rows, row, x, width, height);
                        EXPECT_TRUE(SameBits(actual.data(), expected.data(), expected.size(),
                                             int(count)))
                            << width << " x " << height << ", " << outRows << " rows";
                    }
    });
}

TEST(KLTKernels, ProductsAndPointsAreThePlainOnes) {
    ForEachForm([&](const DP::KLTKernels& inForm) {
        const auto gx = NoiseFrame(45, 1, 1), gy = NoiseFrame(45, 1, 2);
        std::vector<float> actual(3 * 45), expected(actual);
        inForm.mProducts(gx.data(), gy.data(), 45, &actual[0], &actual[45], &actual[90]);
        for (int i = 0; i < 45; ++i) {
            expected[i] = gx[i] * gx[i];
            expected[45 + i] = gx[i] * gy[i];
            expected[90 + i] = gy[i] * gy[i];
        }
        EXPECT_TRUE(SameBits(actual.data(), expected.data(), actual.size(), 45));

        std::vector<float> values{0.0f,           0.99f,  -0.99f, 2147483520.0f, 2147483648.0f,
                                  -2147483648.0f, -3e9f,  kNaN,   5e9f,          1e38f,
                                  -1e38f,         123.7f, 7.0f};
        std::vector<int> whole(values.size());
        std::vector<unsigned> indices(values.size());
        EXPECT_FALSE(inForm.mMakePoints(values.data(), static_cast<long long>(values.size()),
                                        0xfffffffeu, whole.data(), indices.data()));
        EXPECT_TRUE(
            inForm.mMakePoints(values.data(), 4, 0xfffffffeu, whole.data(), indices.data()));
        constexpr int kLowest = std::numeric_limits<int>::min();
        EXPECT_EQ(whole, (std::vector<int>{0, 0, 0, 2147483520, kLowest, kLowest, kLowest,
                                           kLowest, kLowest, kLowest, kLowest, 123, 7}));
        for (unsigned i = 0; i < indices.size(); ++i)
            EXPECT_EQ(indices[i], 0xfffffffeu + i);
    });
}

// One by one, from where a kernel left off or from the start.
void PartitionPlainly(std::vector<int>& ioValues, std::vector<unsigned>& ioIndices, int inPivot,
                      long long inI, long long inJ) {
    while (true) {
        do {
            --inJ;
        } while (ioValues[inJ] < inPivot);
        do {
            ++inI;
        } while (inI < inJ && ioValues[inI] > inPivot);
        if (inI >= inJ) break;
        std::swap(ioValues[inI], ioValues[inJ]);
        std::swap(ioIndices[inI], ioIndices[inJ]);
    }
}

TEST(KLTKernels, PartitionGoesOnAsIfItHadBeenOneByOne) {
    ForEachForm([](const DP::KLTKernels& inForm) {
        Random random(9);
        for (const int highest : {1, 30, 1000000}) {
            std::vector<int> a(5000);
            for (int& value : a)
                value = random.Integer(0, highest);
            std::vector<int> b = a;
            std::vector<unsigned> ia(a.begin(), a.end()), ib = ia;
            const int pivot = a[0];
            long long i = 0, j = 5000;
            for (const int least : {4000, 3999, 2345, 0})
                inForm.mPartitionBlocks(a.data(), ia.data(), pivot, least, &i, &j);
            EXPECT_LE(j - i, 130) << "most of the work is done";
            PartitionPlainly(a, ia, pivot, i, j);
            PartitionPlainly(b, ib, pivot, 0, 5000);
            EXPECT_EQ(std::tuple(a, ia), std::tuple(b, ib));
            EXPECT_TRUE(std::equal(a.begin(), a.end(), ia.begin()))
                << "values and indices move together";
        }
    });
}

TEST(KLTKernels, GradientsOfABlockAreThoseOfTheWholeImage) {
    constexpr int kCols = 40, kRows = 30, kBlock = DP::KLTKernels::kBlockColumns;
    const auto image = ImageOf(kCols, kRows, NoiseFrame(kCols, kRows, 5));
    const auto x = StaleImage(kCols, kRows), y = StaleImage(kCols, kRows);
    IP::ComputeGradients(image, 1.0f, x, y);
    IP::ConvolutionKernel gauss, derivative;
    IP::ComputeKernels(1.0f, gauss, derivative);
    ForEachForm([&](const DP::KLTKernels& inForm) {
        for (const int rows : {1, 9, DP::KLTKernels::kBlockRows}) {
            std::vector<float> blockX(rows * kBlock), blockY(blockX);
            inForm.mBlockGradients(image->GetData() + 2 * kCols + 5, kCols, gauss.mTaps,
                                   derivative.mTaps, rows, blockX.data(), blockY.data());
            for (int j = 0; j < rows; ++j) {
                const int from = (2 + 3 + j) * kCols + 5 + 3;
                EXPECT_TRUE(SameBits(&blockX[j * kBlock], x->GetData() + from, kBlock, kBlock));
                EXPECT_TRUE(SameBits(&blockY[j * kBlock], y->GetData() + from, kBlock, kBlock));
            }
        }
    });
}

// The first `inWidth` values of row `inJ` of a window, sampled one by one.
std::vector<float> PlainRow(const float* inPixels, int inCols, float inX, float inY,
                            int inWidth, int inJ) {
    std::vector<float> row;
    for (int i = -(inWidth / 2); i <= inWidth / 2; ++i) {
        const float x = inX + float(i), y = inY + float(inJ);
        const int xt = int(x), yt = int(y);
        const float ax = x - float(xt), ay = y - float(yt);
        const float* const p = inPixels + yt * inCols + xt;
        row.push_back((1 - ax) * (1 - ay) * p[0] + ax * (1 - ay) * p[1] +
                      (1 - ax) * ay * p[inCols] + ax * ay * p[inCols + 1]);
    }
    return row;
}

TEST(KLTKernels, WindowsHaveTheBitsOfPlainSums) {
    constexpr int kCols = 60, kRows = 50;
    const std::vector<float> pixels[] = {
        NoiseFrame(kCols, kRows, 1), NoiseFrame(kCols, kRows, 2), NoiseFrame(kCols, kRows, 3)};
    const DP::KLTPlanes planes{{{pixels[0].data(), kCols, 0, 0},
                                {pixels[1].data(), kCols, 0, 0},
                                {pixels[2].data(), kCols, 0, 0}},
                               kCols};
    ForEachForm([&](const DP::KLTKernels& inForm) {
        Random random(3);
        int compared = 0;
        for (int run = 0; run < 500; ++run) {
            const int width = 3 + 2 * random.Integer(0, 2),
                      height = 3 + 2 * random.Integer(0, 6);
            const auto at = [&](int inSize, int inWindow) {
                return float(inWindow / 2 + random.Real() * (inSize - inWindow - 1.01));
            };
            const float x1 = at(kCols, width), y1 = at(kRows, height);
            const float x2 = at(kCols, width), y2 = at(kRows, height);
            DP::KLTSamples first, second;
            if (!inForm.mSampleWindow(planes, 3, x1, y1, width, height, &first) ||
                !inForm.mSampleWindow(planes, 3, x2, y2, width, height, &second))
                continue;
            ++compared;
            float gxx = 0, gxy = 0, gyy = 0, ex = 0, ey = 0, residue = 0;
            for (int j = -(height / 2); j <= height / 2; ++j) {
                std::vector<float> a[3], b[3];
                for (int plane = 0; plane < 3; ++plane) {
                    a[plane] = PlainRow(pixels[plane].data(), kCols, x1, y1, width, j);
                    b[plane] = PlainRow(pixels[plane].data(), kCols, x2, y2, width, j);
                }
                for (int i = 0; i < width; ++i) {
                    const float d = a[0][i] - b[0][i];
                    const float gx = a[1][i] + b[1][i], gy = a[2][i] + b[2][i];
                    gxx += gx * gx;
                    gxy += gx * gy;
                    gyy += gy * gy;
                    ex += d * gx;
                    ey += d * gy;
                    residue += std::fabs(d);
                }
            }
            const auto sums = inForm.mSumWindows(first, second, width, height);
            EXPECT_EQ(BitsOf(sums.mGxx), BitsOf(gxx));
            EXPECT_EQ(BitsOf(sums.mGxy), BitsOf(gxy));
            EXPECT_EQ(BitsOf(sums.mGyy), BitsOf(gyy));
            EXPECT_EQ(BitsOf(sums.mEx), BitsOf(ex));
            EXPECT_EQ(BitsOf(sums.mEy), BitsOf(ey));
            EXPECT_EQ(BitsOf(inForm.mSumAbsDifference(first, second, width, height)),
                      BitsOf(residue));
        }
        EXPECT_GT(compared, 200);
    });
}

// Planes that end with their last pixel, and a window at the last place where it fits: the
// eight columns that are read side by side would reach further.
TEST(KLTKernels, WindowsAtTheEndOfTheImageAreLeftToTheOtherWay) {
    constexpr int kSide = 20, kWindow = 7;
    std::unique_ptr<float[]> planes[3];
    for (auto& plane : planes) {
        plane.reset(new float[kSide * kSide]);
        const auto noise = NoiseFrame(kSide, kSide, 4);
        std::copy(noise.begin(), noise.end(), plane.get());
    }
    const DP::KLTPlanes all{{{planes[0].get(), kSide, 0, 0},
                             {planes[1].get(), kSide, 0, 0},
                             {planes[2].get(), kSide, 0, 0}},
                            kSide};
    const float last = kSide - 1 - kWindow / 2 - 0.5f;
    ForEachForm([&](const DP::KLTKernels& inForm) {
        DP::KLTSamples samples;
        EXPECT_FALSE(inForm.mSampleWindow(all, 3, last, last, kWindow, kWindow, &samples));
        // Six less a half unit, and three more: rounded up to nine.
        const float uneven = std::nextafter(6.0f, 0.0f);
        EXPECT_FALSE(inForm.mSampleWindow(all, 3, uneven, last, kWindow, kWindow, &samples));
        ASSERT_TRUE(inForm.mSampleWindow(all, 3, last - 1, last, kWindow, kWindow, &samples));
        for (int j = 0; j < kWindow; ++j) {
            const auto row =
                PlainRow(planes[2].get(), kSide, last - 1, last, kWindow, j - kWindow / 2);
            EXPECT_TRUE(SameBits(samples.mPlanes[2] + j * DP::KLTSamples::kMostColumns,
                                 row.data(), row.size(), kWindow));
        }
    });
}

}  // namespace
