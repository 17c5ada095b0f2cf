#include "PlainAlignment.h"

#include <cmath>

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
                                               int inLevel, int inLeft, int inTop, int inCols,
                                               int inRows, float inFX, float inFY) const {
    const int channels = mShape.mChannels;
    const auto level = static_cast<std::size_t>(inLevel);
    const int rowLength = static_cast<int>(inPyramid.GetShape().LevelWidth(level)) * channels;
    const float* const source =
        inPyramid.GetLevelData(level) + inTop * rowLength + inLeft * channels;
    std::vector<float> block;
    for (int row = 0; row < inRows; ++row)
        for (int i = 0; i < inCols * channels; ++i) {
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
    outPatch = Interpolate(mCurrent, inLevel, ix - hw, iy - hh, 2 * hw + 1, 2 * hh + 1, fx, fy);
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
    const auto block = Interpolate(mPrevious, inLevel, ix - hw - 1, iy - hh - 1, 2 * hw + 3,
                                   2 * hh + 3, fx, fy);
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

int PlainAlignment::SolveLevel(const Templates& inTemplates, float inX, float inY, int inLevel,
                               std::vector<float>& ioParameters, APTMotionModel inModel,
                               const DP::APTTolerances& inTolerances, int inIterationLimit) {
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
    if (inModel == DP::kAPTModelGainOffset) {
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
            return -2 - inIterationLimit;
    }
    std::vector<float> p = ioParameters;
    p.resize(static_cast<std::size_t>(order));
    std::vector<float> update(static_cast<std::size_t>(order));
    std::vector<float> residual(T.size());
    for (int iteration = 0; iteration < inIterationLimit; ++iteration) {
        if (!SamplePatch(inX + p[0], inY + p[1], inLevel, mPatch)) return -1 - iteration;
        if (inModel == DP::kAPTModelReserved) continue;
        const auto& I = mPatch;
        for (std::size_t c = 0; c < static_cast<std::size_t>(channels); ++c) {
            float& gain = p[2 + 2 * c];
            float& offset = p[3 + 2 * c];
            if (inModel == DP::kAPTModelFittedGainOffset) {
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
                residual[i] = inModel == DP::kAPTModelTranslation
                                  ? T[i] - I[i]
                                  : T[i] - (gain * I[i] + offset);
        }
        const float b0 =
            0.5f * Sum(kAllChannels, [&](std::size_t i) { return residual[i] * Gx[i]; });
        const float b1 =
            0.5f * Sum(kAllChannels, [&](std::size_t i) { return residual[i] * Gy[i]; });
        if (inModel == DP::kAPTModelGainOffset) {
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
                return -2 - inIterationLimit;
        } else {
            update[0] = h11 / determinant * b0 + -h01 / determinant * b1;
            update[1] = -h01 / determinant * b0 + h00 / determinant * b1;
        }
        p[0] += update[0];
        p[1] += update[1];
        bool isConverged = std::abs(update[0]) < inTolerances.mTranslation &&
                           std::abs(update[1]) < inTolerances.mTranslation;
        if (inModel == DP::kAPTModelGainOffset)
            for (std::size_t c = 0; c < static_cast<std::size_t>(channels); ++c) {
                const float dGain = update[2 + 2 * c];
                const float dOffset = update[3 + 2 * c];
                const float e = static_cast<float>(std::exp(static_cast<double>(dGain)));
                p[2 + 2 * c] = p[2 + 2 * c] * e;
                p[3 + 2 * c] = (p[3 + 2 * c] + dOffset) * e;
                if (std::abs(dGain) >= inTolerances.mGain ||
                    std::abs(dOffset) >= inTolerances.mOffset)
                    isConverged = false;
            }
        if (!isConverged) continue;
        p.resize(ioParameters.size());
        ioParameters = p;
        return iteration;
    }
    return inIterationLimit;
}

int PlainAlignment::Align(float inX, float inY, const float* inStart, float* outResult,
                          APTMotionModel inModel, const DP::APTTolerances& inTolerances,
                          float inCorrelationLimit, int inIterationLimit) {
    std::vector<Templates> levels;
    float templateX = inX;
    float templateY = inY;
    for (std::uint32_t level = 0; level < mPrevious.GetShape().mLevelCount; ++level) {
        Templates templates;
        if (!SampleTemplate(templateX, templateY, static_cast<int>(level), templates)) break;
        levels.push_back(templates);
        templateX *= 0.5f;
        templateY *= 0.5f;
    }
    const int count = ParameterCountOf(inModel, mShape.mChannels);
    for (std::size_t start = 0; start < levels.size(); ++start) {
        std::vector<float> p(inStart, inStart + count);
        float x = inX;
        float y = inY;
        for (std::size_t i = 0; i < start; ++i) {
            for (float* value : {&p[0], &p[1], &x, &y})
                *value *= 0.5f;
        }
        for (std::size_t level = start;; --level) {
            const int result = SolveLevel(levels[level], x, y, static_cast<int>(level), p,
                                          inModel, inTolerances, inIterationLimit);
            if (result < 0 || result >= inIterationLimit) break;
            if (level == start && inCorrelationLimit > Correlation(levels[level].mT, mPatch))
                break;
            if (level == 0) {
                std::copy(p.begin(), p.end(), outResult);
                return static_cast<int>(start);
            }
            for (float* value : {&p[0], &p[1], &x, &y})
                *value *= 2.0f;
        }
    }
    return -1;
}

}  // namespace Testing
