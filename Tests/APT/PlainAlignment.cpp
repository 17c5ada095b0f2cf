#include "PlainAlignment.h"

#include <cmath>
#include <utility>

#include "Lapack/Cholesky.h"

namespace Testing {

using DP::APTMotionModel;
using DP::CholeskyOutcome;

namespace {

constexpr int kAllChannels = -1;

bool Split(float inValue, int& outWhole, float& outFraction) {
    if (!std::isfinite(inValue) || std::abs(inValue) > 1e9f) return false;
    outWhole = static_cast<int>(std::floor(inValue));
    outFraction = inValue - static_cast<float>(outWhole);
    return true;
}

int ParameterCountOf(APTMotionModel inModel, int inChannels) {
    if (inModel == DP::kAPTModelReserved) return 4;
    return inModel == DP::kAPTModelGainOffset ? 2 * inChannels + 2 : 2;
}

}  // namespace

template <class Term>
float PlainAlignment::Sum(int inChannel, Term inTerm) const {
    float lanes[16] = {};
    int element = 0;
    for (int i = 0; i < mShape.GetFloats(); ++i) {
        if (inChannel != kAllChannels && i % mShape.mChannels != inChannel) continue;
        lanes[element++ % 16] += inTerm(static_cast<std::size_t>(i));
    }
    for (int half = 8; half >= 1; half /= 2)
        for (int i = 0; i < half; ++i)
            lanes[i] += lanes[i + half];
    return lanes[0];
}

std::vector<float> PlainAlignment::Interpolate(const DP::ColourPyramidData& inPyramid,
                                               int inLevel, const Block& inBlock, float inFX,
                                               float inFY) const {
    const int channels = mShape.mChannels;
    const auto level = static_cast<std::size_t>(inLevel);
    const int rowLength = static_cast<int>(inPyramid.GetShape().LevelWidth(level)) * channels;
    const float* const source =
        inPyramid.GetLevelData(level) + inBlock.mTop * rowLength + inBlock.mLeft * channels;
    std::vector<float> block;
    for (int row = 0; row < inBlock.mRows; ++row)
        for (int i = 0; i < inBlock.mCols * channels; ++i) {
            const float* const at = source + row * rowLength + i;
            const float upper = (at[channels] - at[0]) * inFX + at[0];
            const float lower =
                (at[rowLength + channels] - at[rowLength]) * inFX + at[rowLength];
            block.push_back((lower - upper) * inFY + upper);
        }
    return block;
}

bool PlainAlignment::SamplePatch(float inX, float inY, int inLevel,
                                 std::vector<float>& outPatch) const {
    const int hw = mShape.mHalfWidth;
    const int hh = mShape.mHalfHeight;
    const auto level = static_cast<std::size_t>(inLevel);
    const int width = static_cast<int>(mCurrent.GetShape().LevelWidth(level));
    const int height = static_cast<int>(mCurrent.GetShape().LevelHeight(level));
    int ix = 0;
    int iy = 0;
    float fx = 0.0f;
    float fy = 0.0f;
    if (!Split(inX, ix, fx) || !Split(inY, iy, fy)) return false;
    if (width < 2 * hw + 2 || height < 2 * hh + 3 || ix < hw || ix > width - hw - 2 ||
        iy < hh || iy > height - hh - 3)
        return false;
    outPatch =
        Interpolate(mCurrent, inLevel, {ix - hw, iy - hh, 2 * hw + 1, 2 * hh + 1}, fx, fy);
    return true;
}

bool PlainAlignment::SampleTemplate(float inX, float inY, int inLevel,
                                    Templates& outTemplates) const {
    const int hw = mShape.mHalfWidth;
    const int hh = mShape.mHalfHeight;
    const int channels = mShape.mChannels;
    const auto level = static_cast<std::size_t>(inLevel);
    const int width = static_cast<int>(mPrevious.GetShape().LevelWidth(level));
    const int height = static_cast<int>(mPrevious.GetShape().LevelHeight(level));
    int ix = 0;
    int iy = 0;
    float fx = 0.0f;
    float fy = 0.0f;
    if (!Split(inX, ix, fx) || !Split(inY, iy, fy)) return false;
    if (width < 2 * hw + 4 || height < 2 * hh + 5 || ix < hw + 1 || ix > width - hw - 3 ||
        iy < hh + 1 || iy > height - hh - 4)
        return false;
    const auto block = Interpolate(mPrevious, inLevel,
                                   {ix - hw - 1, iy - hh - 1, 2 * hw + 3, 2 * hh + 3}, fx, fy);
    const int rowLength = (2 * hw + 3) * channels;
    outTemplates = {};
    for (int row = 1; row <= 2 * hh + 1; ++row)
        for (int i = channels; i < rowLength - channels; ++i) {
            const float* const at = block.data() + row * rowLength + i;
            outTemplates.mT.push_back(at[0]);
            outTemplates.mGx.push_back(at[channels] - at[-channels]);
            outTemplates.mGy.push_back(at[rowLength] - at[-rowLength]);
        }
    return true;
}

float PlainAlignment::Correlation(const std::vector<float>& inA,
                                  const std::vector<float>& inB) const {
    const float n = static_cast<float>(mShape.GetPixels());
    float total = 0.0f;
    for (int c = 0; c < mShape.mChannels; ++c) {
        const float a = Sum(c, [&](std::size_t i) { return inA[i]; });
        const float b = Sum(c, [&](std::size_t i) { return inB[i]; });
        const float va = n * Sum(c, [&](std::size_t i) { return inA[i] * inA[i]; }) - a * a;
        const float vb = n * Sum(c, [&](std::size_t i) { return inB[i] * inB[i]; }) - b * b;
        const float ab = Sum(c, [&](std::size_t i) { return inA[i] * inB[i]; });
        if (va != 0.0f && vb != 0.0f) total += (n * ab - a * b) / std::sqrt(vb * va);
    }
    return total / static_cast<float>(mShape.mChannels);
}

int PlainAlignment::SolveLevel(const Templates& inTemplates, DP::APTPoint inPoint, int inLevel,
                               std::vector<float>& ioParameters,
                               const DP::APTSearch& inSearch) {
    const APTMotionModel model = inSearch.mModel;
    const int limit = inSearch.mMaxIterations;
    const int channels = mShape.mChannels;
    const int order = 2 * channels + 2;
    const float n = static_cast<float>(mShape.GetPixels());
    const auto& T = inTemplates.mT;
    const auto& Gx = inTemplates.mGx;
    const auto& Gy = inTemplates.mGy;
    const float h00 = 0.25f * Sum(kAllChannels, [&](std::size_t i) { return Gx[i] * Gx[i]; });
    const float h01 = 0.25f * Sum(kAllChannels, [&](std::size_t i) { return Gx[i] * Gy[i]; });
    const float h11 = 0.25f * Sum(kAllChannels, [&](std::size_t i) { return Gy[i] * Gy[i]; });
    const float determinant = h00 * h11 - h01 * h01;
    std::vector<float> matrix(static_cast<std::size_t>(order * order), 0.0f);
    if (model == DP::kAPTModelGainOffset) {
        const auto at = [&](int inRow, int inColumn) -> float& {
            return matrix[static_cast<std::size_t>(inColumn * order + inRow)];
        };
        at(0, 0) = h00;
        at(1, 0) = h01;
        at(1, 1) = h11;
        for (int c = 0; c < channels; ++c) {
            const int gain = 2 + 2 * c;
            const int offset = gain + 1;
            at(gain, 0) = 0.5f * Sum(c, [&](std::size_t i) { return Gx[i] * T[i]; });
            at(offset, 0) = 0.5f * Sum(c, [&](std::size_t i) { return Gx[i]; });
            at(gain, 1) = 0.5f * Sum(c, [&](std::size_t i) { return Gy[i] * T[i]; });
            at(offset, 1) = 0.5f * Sum(c, [&](std::size_t i) { return Gy[i]; });
            at(gain, gain) = Sum(c, [&](std::size_t i) { return T[i] * T[i]; });
            at(offset, gain) = Sum(c, [&](std::size_t i) { return T[i]; });
            at(offset, offset) = n;
        }
        if (DP::CholeskyFactorise(matrix.data(), order) != CholeskyOutcome::kDone)
            return -2 - limit;
    }
    std::vector<float> p = ioParameters;
    p.resize(static_cast<std::size_t>(order));
    std::vector<float> update(static_cast<std::size_t>(order));
    std::vector<float> residual(T.size());
    for (int iteration = 0; iteration < limit; ++iteration) {
        if (!SamplePatch(inPoint.mX + p[0], inPoint.mY + p[1], inLevel, mPatch))
            return -1 - iteration;
        if (model == DP::kAPTModelReserved) continue;
        const auto& I = mPatch;
        for (std::size_t c = 0; c < static_cast<std::size_t>(channels); ++c) {
            float& gain = p[2 + 2 * c];
            float& offset = p[3 + 2 * c];
            if (model == DP::kAPTModelFittedGainOffset) {
                const int channel = static_cast<int>(c);
                const float sumI = Sum(channel, [&](std::size_t i) { return I[i]; });
                const float sumT = Sum(channel, [&](std::size_t i) { return T[i]; });
                const float sumIT = Sum(channel, [&](std::size_t i) { return I[i] * T[i]; });
                const float sumII = Sum(channel, [&](std::size_t i) { return I[i] * I[i]; });
                const float D = n * sumII - sumI * sumI;
                gain = (n * sumIT - sumI * sumT) / D;
                offset = (sumII * sumT - sumIT * sumI) / D;
            }
            for (std::size_t i = c; i < T.size(); i += static_cast<std::size_t>(channels))
                residual[i] = model == DP::kAPTModelTranslation ? T[i] - I[i]
                                                                : T[i] - (gain * I[i] + offset);
        }
        const float b0 =
            0.5f * Sum(kAllChannels, [&](std::size_t i) { return residual[i] * Gx[i]; });
        const float b1 =
            0.5f * Sum(kAllChannels, [&](std::size_t i) { return residual[i] * Gy[i]; });
        if (model == DP::kAPTModelGainOffset) {
            update[0] = b0;
            update[1] = b1;
            for (int c = 0; c < channels; ++c) {
                update[static_cast<std::size_t>(2 + 2 * c)] =
                    Sum(c, [&](std::size_t i) { return T[i] * residual[i]; });
                update[static_cast<std::size_t>(3 + 2 * c)] =
                    Sum(c, [&](std::size_t i) { return residual[i]; });
            }
            if (DP::CholeskySolve(matrix.data(), order, update.data()) !=
                CholeskyOutcome::kDone)
                return -2 - limit;
        } else {
            update[0] = h11 / determinant * b0 + -h01 / determinant * b1;
            update[1] = -h01 / determinant * b0 + h00 / determinant * b1;
        }
        p[0] += update[0];
        p[1] += update[1];
        bool isConverged = std::abs(update[0]) < inSearch.mTolerances.mTranslation &&
                           std::abs(update[1]) < inSearch.mTolerances.mTranslation;
        if (model == DP::kAPTModelGainOffset)
            for (std::size_t c = 0; c < static_cast<std::size_t>(channels); ++c) {
                const float dGain = update[2 + 2 * c];
                const float dOffset = update[3 + 2 * c];
                const float e = static_cast<float>(std::exp(static_cast<double>(dGain)));
                p[2 + 2 * c] = p[2 + 2 * c] * e;
                p[3 + 2 * c] = (p[3 + 2 * c] + dOffset) * e;
                if (std::abs(dGain) >= inSearch.mTolerances.mGain ||
                    std::abs(dOffset) >= inSearch.mTolerances.mOffset)
                    isConverged = false;
            }
        if (!isConverged) continue;
        p.resize(ioParameters.size());
        ioParameters = p;
        return iteration;
    }
    return limit;
}

// Where offset (inDX, inDY) of the patch lies: across, down.
std::pair<float, float> Place(const std::vector<float>& p, DP::APTPoint inPoint, float inDX,
                              float inDY) {
    return {(1.0f + p[2]) * inDX + inPoint.mX + p[3] * inDY + p[0],
            p[4] * inDX + inPoint.mY + (1.0f + p[5]) * inDY + p[1]};
}

bool PlainAlignment::SampleWarped(const std::vector<float>& inParameters, DP::APTPoint inPoint,
                                  int inLevel, std::vector<float>& outPatch) const {
    const int hw = mShape.mHalfWidth;
    const int hh = mShape.mHalfHeight;
    const int channels = mShape.mChannels;
    const auto level = static_cast<std::size_t>(inLevel);
    const int width = static_cast<int>(mCurrent.GetShape().LevelWidth(level));
    const int height = static_cast<int>(mCurrent.GetShape().LevelHeight(level));
    for (const int dx : {-hw, hw})
        for (const int dy : {-hh, hh}) {
            const auto [x, y] =
                Place(inParameters, inPoint, static_cast<float>(dx), static_cast<float>(dy));
            if (!(x > 0.0f && x < static_cast<float>(width - 1) && y > 0.0f &&
                  y < static_cast<float>(height - 1)))
                return false;
        }
    outPatch.clear();
    for (int dy = -hh; dy <= hh; ++dy)
        for (int dx = -hw; dx <= hw; ++dx) {
            const auto [x, y] =
                Place(inParameters, inPoint, static_cast<float>(dx), static_cast<float>(dy));
            const float left = std::floor(x);
            const float top = std::floor(y);
            const auto pixel = Interpolate(
                mCurrent, inLevel, {static_cast<int>(left), static_cast<int>(top), 1, 1},
                x - left, y - top);
            outPatch.insert(outPatch.end(), pixel.begin(), pixel.begin() + channels);
        }
    return true;
}

int PlainAlignment::SolveWarp(const Templates& inTemplates, DP::APTPoint inPoint, int inLevel,
                              std::vector<float>& ioParameters, const DP::APTSearch& inSearch) {
    const int failed = -2 - inSearch.mMaxIterations;
    const bool hasGain = inSearch.mModel == DP::kAPTModelGainOffset;
    if (!hasGain && inSearch.mModel == DP::kAPTModelFittedGainOffset) return failed;
    const int channels = mShape.mChannels;
    const auto& T = inTemplates.mT;
    const auto order = ioParameters.size();
    // The Jacobian by columns, without the halves of the gradients.
    std::vector<std::vector<float>> columns(6);
    for (std::size_t i = 0; i < T.size(); ++i) {
        const int pixel = static_cast<int>(i) / channels;
        const auto dx = static_cast<float>(pixel % mShape.GetColumns() - mShape.mHalfWidth);
        const auto dy = static_cast<float>(pixel / mShape.GetColumns() - mShape.mHalfHeight);
        const float gx = inTemplates.mGx[i];
        const float gy = inTemplates.mGy[i];
        const float row[6] = {gx, gy, dx * gx, dy * gx, dx * gy, dy * gy};
        for (std::size_t k = 0; k < 6; ++k)
            columns[k].push_back(row[k]);
    }
    std::vector<float> matrix(order * order, 0.0f);
    const auto at = [&](std::size_t inRow, std::size_t inColumn) -> float& {
        return matrix[inColumn * order + inRow];
    };
    for (std::size_t j = 0; j < 6; ++j)
        for (std::size_t k = j; k < 6; ++k)
            at(k, j) = 0.25f * Sum(kAllChannels, [&](std::size_t i) {
                           return columns[k][i] * columns[j][i];
                       });
    for (int c = 0; hasGain && c < channels; ++c) {
        const std::size_t gain = 6 + 2 * static_cast<std::size_t>(c);
        for (std::size_t j = 0; j < 6; ++j) {
            at(gain, j) = 0.5f * Sum(c, [&](std::size_t i) { return columns[j][i] * T[i]; });
            at(gain + 1, j) = 0.5f * Sum(c, [&](std::size_t i) { return columns[j][i]; });
        }
        at(gain, gain) = Sum(c, [&](std::size_t i) { return T[i] * T[i]; });
        at(gain + 1, gain) = Sum(c, [&](std::size_t i) { return T[i]; });
        at(gain + 1, gain + 1) = static_cast<float>(mShape.GetPixels());
    }
    if (inSearch.mModel != DP::kAPTModelReserved &&
        DP::CholeskyFactorise(matrix.data(), static_cast<int>(order)) != CholeskyOutcome::kDone)
        return failed;
    std::vector<float> p = ioParameters;
    for (int iteration = 0; iteration < inSearch.mMaxIterations; ++iteration) {
        if (!SampleWarped(p, inPoint, inLevel, mPatch)) return -1 - iteration;
        if (inSearch.mModel == DP::kAPTModelReserved) return failed;
        std::vector<float> residual(T.size());
        for (std::size_t i = 0; i < T.size(); ++i) {
            const std::size_t gain = 6 + 2 * (i % static_cast<std::size_t>(channels));
            residual[i] =
                hasGain ? T[i] - (p[gain] * mPatch[i] + p[gain + 1]) : T[i] - mPatch[i];
        }
        std::vector<float> d(order);
        for (std::size_t k = 0; k < 6; ++k)
            d[k] = 0.5f * Sum(kAllChannels,
                              [&](std::size_t i) { return residual[i] * columns[k][i]; });
        for (int c = 0; hasGain && c < channels; ++c) {
            const std::size_t gain = 6 + 2 * static_cast<std::size_t>(c);
            d[gain] = Sum(c, [&](std::size_t i) { return T[i] * residual[i]; });
            d[gain + 1] = Sum(c, [&](std::size_t i) { return residual[i]; });
        }
        if (DP::CholeskySolve(matrix.data(), static_cast<int>(order), d.data()) !=
            CholeskyOutcome::kDone)
            return failed;
        const float determinant = (1.0f - d[2]) * (1.0f - d[5]) - d[3] * d[4];
        const float inverse[2][2] = {{(1.0f - d[5]) / determinant, d[3] / determinant},
                                     {d[4] / determinant, (1.0f - d[2]) / determinant}};
        const float m[2][2] = {{1.0f + p[2], p[3]}, {p[4], 1.0f + p[5]}};
        for (std::size_t row = 0; row < 2; ++row) {
            float r[2];
            for (std::size_t column = 0; column < 2; ++column)
                r[column] = m[row][0] * inverse[0][column] + m[row][1] * inverse[1][column];
            p[row] += r[0] * d[0] + r[1] * d[1];
            p[2 + 2 * row] = row == 0 ? r[0] - 1.0f : r[0];
            p[3 + 2 * row] = row == 1 ? r[1] - 1.0f : r[1];
        }
        bool isConverged = true;
        for (std::size_t k = 0; k < 6; ++k)
            isConverged &= std::abs(d[k]) < (k < 2 ? inSearch.mTolerances.mTranslation
                                                   : inSearch.mTolerances.mWarp);
        for (std::size_t gain = 6; gain < order; gain += 2) {
            const float e = static_cast<float>(std::exp(static_cast<double>(d[gain])));
            p[gain] = p[gain] * e;
            p[gain + 1] = (p[gain + 1] + d[gain + 1]) * e;
            isConverged &= !(std::abs(d[gain]) >= inSearch.mTolerances.mGain ||
                             std::abs(d[gain + 1]) >= inSearch.mTolerances.mOffset);
        }
        if (!isConverged) continue;
        ioParameters = p;
        return iteration;
    }
    return inSearch.mMaxIterations;
}

std::vector<PlainAlignment::Templates> PlainAlignment::SampleLevels(
    DP::APTPoint inPoint) const {
    std::vector<Templates> levels;
    for (std::uint32_t level = 0; level < mPrevious.GetShape().mLevelCount; ++level) {
        Templates templates;
        if (!SampleTemplate(inPoint.mX, inPoint.mY, static_cast<int>(level), templates)) break;
        levels.push_back(templates);
        inPoint = {inPoint.mX * 0.5f, inPoint.mY * 0.5f};
    }
    return levels;
}

template <class Solve, class Accept>
int PlainAlignment::Descend(std::size_t inLevels, DP::APTPoint inPoint, int inCount,
                            const float* inStart, float* outResult, Solve inSolve,
                            Accept inAccept) const {
    for (std::size_t start = 0; start < inLevels; ++start) {
        std::vector<float> p(inStart, inStart + inCount);
        DP::APTPoint point = inPoint;
        for (std::size_t i = 0; i < start; ++i) {
            for (float* value : {&p[0], &p[1], &point.mX, &point.mY})
                *value *= 0.5f;
        }
        for (std::size_t level = start;; --level) {
            if (!inSolve(level, point, p)) break;
            if (level == start && !inAccept(level)) break;
            if (level == 0) {
                std::copy(p.begin(), p.end(), outResult);
                return static_cast<int>(start);
            }
            for (float* value : {&p[0], &p[1], &point.mX, &point.mY})
                *value *= 2.0f;
        }
    }
    return -1;
}

int PlainAlignment::Align(DP::APTPoint inPoint, const DP::APTSearch& inSearch,
                          const float* inStart, float* outResult) {
    const auto levels = SampleLevels(inPoint);
    return Descend(
        levels.size(), inPoint, ParameterCountOf(inSearch.mModel, mShape.mChannels), inStart,
        outResult,
        [&](std::size_t inLevel, DP::APTPoint inAt, std::vector<float>& ioP) {
            const int r =
                SolveLevel(levels[inLevel], inAt, static_cast<int>(inLevel), ioP, inSearch);
            return r >= 0 && r < inSearch.mMaxIterations;
        },
        [&](std::size_t inLevel) {
            return !(inSearch.mMinCorrelation > Correlation(levels[inLevel].mT, mPatch));
        });
}

int PlainAlignment::AlignReference(DP::APTPoint inPoint, const DP::APTSearch& inSearch,
                                   float* ioParameters) {
    const auto levels = SampleLevels(inPoint);
    const int count =
        6 + (inSearch.mModel == DP::kAPTModelGainOffset ? 2 * mShape.mChannels : 0);
    return Descend(
        levels.size(), inPoint, count, ioParameters, ioParameters,
        [&](std::size_t inLevel, DP::APTPoint inAt, std::vector<float>& ioP) {
            const int r =
                SolveWarp(levels[inLevel], inAt, static_cast<int>(inLevel), ioP, inSearch);
            return r >= 0 && r < inSearch.mMaxIterations;
        },
        [](std::size_t) { return true; });
}

}  // namespace Testing
