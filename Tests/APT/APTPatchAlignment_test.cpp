// Alignment of one patch: the bits of the plain form for every model and number of
// channels, the limits of the samplers, and the descent from coarse levels.

#include "APT/APTPatchAlignment.h"

#include "APTFrames.h"
#include "ColourPyramid/ColourPyramidData.h"
#include "PlainAlignment.h"
#include "Support/Test.h"
#include "image/Saturate.h"

namespace {

using namespace DP;
using namespace Testing;

// The warp's is nobody's here: who took it would never converge.
constexpr APTTolerances kTolerances{0.1f, 1e-6f, 0.05f, 1.0f};
constexpr int kLevels = 3;
constexpr int kIterations = 15;

constexpr APTSearch SearchBy(APTMotionModel inModel, float inMinCorrelation = 0.5f) {
    return {inModel, kTolerances, inMinCorrelation, kIterations};
}

// Interleaved channels, each a texture of its own.
std::vector<float> ChannelFrame(int inCols, int inRows, int inChannels, double inX,
                                double inY) {
    const auto channels = std::size_t(inChannels);
    std::vector<float> frame(std::size_t(inCols * inRows) * channels);
    for (std::size_t c = 0; c < channels; ++c) {
        const auto plane = TexturedFrame(inCols, inRows, inX, inY, std::uint32_t(5 + c));
        for (std::size_t i = 0; i < plane.size(); ++i)
            frame[i * channels + c] = plane[i];
    }
    return frame;
}

std::unique_ptr<ColourPyramidData> WholePyramid(const std::vector<float>& inFrame, int inCols,
                                                int inRows, int inChannels) {
    return std::unique_ptr<ColourPyramidData>(
        ColourPyramidData::Create(std::uint32_t(inCols), std::uint32_t(inRows), kLevels, 2,
                                  std::uint32_t(inChannels), inFrame.data()));
}

// Two frames, which stay the caller's, and what is needed to align points between them.
struct Aligner {
    Aligner(const std::vector<float>& inFrom, const std::vector<float>& inTo, int inCols,
            int inRows, const APTPatchShape& inShape)
        : mShape(inShape) {
        mFrom.Reset(inFrom.data(), inCols, inRows, inShape.mChannels, kLevels);
        mTo.Reset(inTo.data(), inCols, inRows, inShape.mChannels, kLevels);
        mWorkspace.Init(inShape);
        mTemplates.Init(inShape, kLevels);
        for (int c = 0; c < inShape.mChannels; ++c)
            mStart[2 + 2 * c] = 1.0f;
    }

    // A frame that goes at once would leave the pyramids with nothing to read.
    Aligner(const std::vector<float>&, std::vector<float>&&, int, int,
            const APTPatchShape&) = delete;

    int Align(float inX, float inY, APTMotionModel inModel = kAPTModelTranslation,
              float inCorrelationLimit = 0.5f) {
        mTemplates.Locate(kLevels, {inX, inY}, mFrom);
        return AlignPatch(mWorkspace, mTemplates, mTo, {inX, inY},
                          SearchBy(inModel, inCorrelationLimit), mStart, mResult);
    }

    APTPatchShape mShape;
    APTImagePyramid mFrom;
    APTImagePyramid mTo;
    APTWorkspace mWorkspace;
    APTPatchPyramid mTemplates;
    float mStart[kAPTMaxParameters] = {};
    float mResult[kAPTMaxParameters] = {};
};

// ---- Against the plain form, by bits -------------------------------------------------

using ModelAndChannels = std::tuple<int, int, int>;  // model, channels, half width

class AgainstThePlainForm : public testing::TestWithParam<ModelAndChannels> {};

TEST_P(AgainstThePlainForm, EveryPointHasTheSameResultToTheBit) {
    const auto model = static_cast<APTMotionModel>(std::get<0>(GetParam()));
    const APTPatchShape shape{std::get<2>(GetParam()), 5, std::get<1>(GetParam())};
    constexpr int kCols = 97;
    constexpr int kRows = 83;
    int converged = 0;
    for (const double motion : {0.6, 3.1, 6.5}) {
        const auto from = ChannelFrame(kCols, kRows, shape.mChannels, 0.0, 0.0);
        const auto to = ChannelFrame(kCols, kRows, shape.mChannels, -motion, 0.4 * motion);
        const auto wholeFrom = WholePyramid(from, kCols, kRows, shape.mChannels);
        const auto wholeTo = WholePyramid(to, kCols, kRows, shape.mChannels);
        PlainAlignment plain(shape, *wholeFrom, *wholeTo);
        Aligner aligner(from, to, kCols, kRows, shape);
        Random random(9);
        for (int point = 0; point < 60; ++point) {
            const float x = float(random.Real() * kCols);
            const float y = float(random.Real() * kRows);
            // Half of the limits are near what the points reach.
            const float limit = point % 2 == 0 ? 0.5f : 0.9f + 0.0999f * float(random.Real());
            float expected[kAPTMaxParameters] = {};
            std::fill_n(aligner.mResult, kAPTMaxParameters, 0.0f);
            const int start =
                plain.Align({x, y}, SearchBy(model, limit), aligner.mStart, expected);
            ASSERT_EQ(aligner.Align(x, y, model, limit), start) << "at " << x << ", " << y;
            ASSERT_EQ(std::memcmp(expected, aligner.mResult, sizeof(expected)), 0)
                << "at " << x << ", " << y;
            converged += start >= 0;
        }
    }
    if (model != kAPTModelReserved) {
        EXPECT_GT(converged, 40);
    }
}

INSTANTIATE_TEST_SUITE_P(ModelsChannelsAndWidths, AgainstThePlainForm,
                         testing::Combine(testing::Range(0, 4), testing::Range(1, 5),
                                          testing::Values(1, 3, 5, 8)));

TEST(APTImagePyramid, BlocksHoldThePixelsOfAWholePyramid) {
    for (const int channels : {1, 2, 3, 4})
        for (const auto& [cols, rows] :
             {std::pair{1, 1}, {2, 9}, {5, 5}, {33, 17}, {130, 70}, {259, 65}}) {
            const auto frame = ChannelFrame(cols, rows, channels, 0.3, 0.2);
            const auto whole = WholePyramid(frame, cols, rows, channels);
            APTImagePyramid pyramid;
            // A frame before it: tiles of the last frame must not survive.
            const auto other = ChannelFrame(cols, rows, channels, 9.3, 0.2);
            for (const auto* image : {&other, &frame}) {
                pyramid.Reset(image->data(), cols, rows, channels, kLevels);
                for (int level = kLevels - 1; level >= 0; --level)
                    pyramid.GetBlock(level, pyramid.GetWidth(level) / 2,
                                     pyramid.GetHeight(level) / 2, pyramid.GetWidth(level) - 1,
                                     pyramid.GetHeight(level) - 1);
            }
            for (int level = 0; level < kLevels; ++level) {
                const auto floats =
                    std::size_t(pyramid.GetRowLength(level) * pyramid.GetHeight(level));
                const float* const pixels = pyramid.GetBlock(
                    level, 0, 0, pyramid.GetWidth(level) - 1, pyramid.GetHeight(level) - 1);
                ASSERT_EQ(std::memcmp(pixels, whole->GetLevelData(std::size_t(level)),
                                      floats * sizeof(float)),
                          0)
                    << cols << "x" << rows << ", channels " << channels << ", level " << level;
            }
        }
}

// ---- The limits ----------------------------------------------------------------------

constexpr int kCols = 64;
constexpr int kRows = 48;
const APTPatchShape kShape{5, 5, 1};

int TemplateLevels(float inX, float inY, int inCols = kCols, int inRows = kRows) {
    const auto frame = TexturedFrame(inCols, inRows, 0, 0);
    APTImagePyramid pyramid;
    pyramid.Reset(frame.data(), inCols, inRows, 1, kLevels);
    APTPatchPyramid templates;
    templates.Init(kShape, kLevels);
    return templates.Locate(kLevels, {inX, inY}, pyramid);
}

bool PatchFits(float inX, float inY, int inCols = kCols, int inRows = kRows) {
    const auto frame = TexturedFrame(inCols, inRows, 0, 0);
    APTImagePyramid pyramid;
    pyramid.Reset(frame.data(), inCols, inRows, 1, kLevels);
    APTWorkspace workspace;
    workspace.Init(kShape);
    return APTBlockSampler(*workspace.mKernels, kShape, 0, {pyramid, 0})
        .Sample({inX, inY}, workspace.mPatch.data());
}

// A patch may use the last column but not the last row; a template needs one pixel more on
// each side. An image just large enough has one place.
TEST(SamplingLimits, AreWhereTheyWereWorkedOut) {
    struct {
        float mX, mY;
        int mCols, mRows;
        bool mPatch, mTemplate;
    } const cases[] = {{4.99f, 20, kCols, kRows, false, false},
                       {5, 20, kCols, kRows, true, false},
                       {5.99f, 24, kCols, kRows, true, false},
                       {6, 24, kCols, kRows, true, true},
                       {56.99f, 24, kCols, kRows, true, true},
                       {57, 24, kCols, kRows, true, false},
                       {57.99f, 20, kCols, kRows, true, false},
                       {58, 20, kCols, kRows, false, false},
                       {20, 4.99f, kCols, kRows, false, false},
                       {20, 5, kCols, kRows, true, false},
                       {24, 5.99f, kCols, kRows, true, false},
                       {24, 6, kCols, kRows, true, true},
                       {24, 39.99f, kCols, kRows, true, true},
                       {24, 40, kCols, kRows, true, false},
                       {20, 40.99f, kCols, kRows, true, false},
                       {20, 41, kCols, kRows, false, false},
                       {5, 5, 12, 13, true, false},
                       {5, 5, 11, 13, false, false},
                       {5, 5, 12, 12, false, false},
                       {6, 6, 14, 15, true, true},
                       {6, 6, 13, 15, true, false},
                       {6, 6, 14, 14, true, false}};
    for (const auto& [x, y, cols, rows, patch, isTemplate] : cases) {
        SCOPED_TRACE(testing::Message() << x << ", " << y << " of " << cols << "x" << rows);
        EXPECT_EQ(PatchFits(x, y, cols, rows), patch);
        EXPECT_EQ(TemplateLevels(x, y, cols, rows) > 0, isTemplate);
    }
    EXPECT_EQ(TemplateLevels(32, 24), 2) << "16 by 12 pixels are too few at level 2";
}

TEST(SamplingLimits, PositionsThatAreNoNumbersOrFarAwayFail) {
    for (const float bad : {kNaN, kInfinity, -kInfinity, 3e38f, -3e38f, 2147483648.0f, -1.0f}) {
        EXPECT_FALSE(PatchFits(bad, 20.0f)) << bad;
        EXPECT_FALSE(PatchFits(20.0f, bad)) << bad;
        EXPECT_EQ(TemplateLevels(bad, 20.0f), 0) << bad;
        EXPECT_EQ(TemplateLevels(20.0f, bad), 0) << bad;
    }
}

TEST(SamplingLimits, PositionsAreRoundedDownAndIntegersAreTheLimit) {
    struct {
        float mValue;
        bool mFits;
        int mFloor;
    } const cases[] = {{-0.25f, true, -1},         {-2.0f, true, -2},
                       {1.75f, true, 1},           {2147483520.0f, true, 2147483520},
                       {2147483648.0f, false, 7},  {-2147483648.0f, true, -2147483647 - 1},
                       {-2147483904.0f, false, 7}, {NAN, false, 7}};
    for (const auto& one : cases) {
        int floor = 7;
        EXPECT_EQ(IP::FloorUnlessNaN(one.mValue, floor), one.mFits) << one.mValue;
        EXPECT_EQ(floor, one.mFloor) << one.mValue;
    }
}

// ---- The descent ---------------------------------------------------------------------

// The first step of a level and no other, with this tolerance.
int SolveOnce(Aligner& ioAligner, float inX, float inTolerance) {
    float parameters[kAPTMaxParameters] = {};
    ioAligner.mTemplates.Locate(1, {30.0f, 22.0f}, ioAligner.mFrom);
    const APTSearch search{kAPTModelTranslation, {inTolerance, 0.0f, 0.0f, 0.0f}, 0.0f, 1};
    return SolveLevel(ioAligner.mWorkspace, ioAligner.mTemplates.GetLevel(0),
                      {ioAligner.mTo, 0}, {inX, 22.0f}, search, parameters);
}

TEST(SolveLevel, AStepAsLongAsTheToleranceAlongEitherAxisHasNotConverged) {
    const auto from = TexturedFrame(kCols, kRows, 0, 0);
    for (const auto& [dx, dy] : {std::pair{0.4, 0.02}, {0.02, 0.4}}) {
        const auto to = TexturedFrame(kCols, kRows, -dx, -dy);
        Aligner aligner(from, to, kCols, kRows, kShape);
        ASSERT_EQ(SolveOnce(aligner, 30.0f, 0.0f), 1);
        const float step = std::max(std::abs(aligner.mWorkspace.mUpdate[0]),
                                    std::abs(aligner.mWorkspace.mUpdate[1]));
        EXPECT_EQ(SolveOnce(aligner, 30.0f, step), 1) << dx;
        EXPECT_EQ(SolveOnce(aligner, 30.0f, std::nextafter(step, 2.0f)), 0) << dx;
    }
}

TEST(SolveLevel, SaysAtWhichIterationThePatchLeftTheLevel) {
    const auto frame = TexturedFrame(kCols, kRows, 0, 0);
    Aligner aligner(frame, frame, kCols, kRows, kShape);
    EXPECT_EQ(SolveOnce(aligner, 2.0f, 0.1f), -1);
    const std::vector<float> flat(frame.size(), 50.0f);
    Aligner untextured(flat, flat, kCols, kRows, kShape);
    float parameters[kAPTMaxParameters] = {};
    untextured.mTemplates.Locate(1, {30.0f, 22.0f}, untextured.mFrom);
    const auto solve = [&](APTMotionModel inModel) {
        return SolveLevel(untextured.mWorkspace, untextured.mTemplates.GetLevel(0),
                          {untextured.mTo, 0}, {30.0f, 22.0f}, SearchBy(inModel), parameters);
    };
    EXPECT_EQ(solve(kAPTModelTranslation), -2)
        << "the first step leads nowhere, and the second sample fails";
    EXPECT_EQ(solve(kAPTModelGainOffset), -2 - kIterations);
}

TEST(AlignPatch, ACorrelationAtTheLimitIsAccepted) {
    const auto from = TexturedFrame(kCols, kRows, 0, 0);
    const auto to = TexturedFrame(kCols, kRows, -0.6, 0.3);
    Aligner aligner(from, to, kCols, kRows, kShape);
    ASSERT_EQ(aligner.Align(30.0f, 22.0f), 0);
    float correlation = 0.0f;
    ASSERT_TRUE(NormalisedCorrelation(aligner.mTemplates.GetLevel(0).mTemplate,
                                      aligner.mWorkspace.mPatch.data(), kShape, correlation));
    EXPECT_EQ(aligner.Align(30.0f, 22.0f, kAPTModelTranslation, correlation), 0);
    EXPECT_NE(
        aligner.Align(30.0f, 22.0f, kAPTModelTranslation, std::nextafter(correlation, 2.0f)),
        0);
}

TEST(AlignPatch, FlatPatchesHaveNoSolutionInAnyModel) {
    const std::vector<float> flat(std::size_t(kCols * kRows), 50.0f);
    Aligner aligner(flat, flat, kCols, kRows, kShape);
    for (int model = 0; model < 4; ++model)
        EXPECT_EQ(aligner.Align(30.0f, 22.0f, static_cast<APTMotionModel>(model), -2.0f), -1);
    EXPECT_EQ(aligner.Align(30.0f, 22.0f, static_cast<APTMotionModel>(17), -2.0f), -1);
}

TEST(AlignPatch, MoreThanFourChannelsAreNotSupported) {
    const APTPatchShape shape{2, 2, 5};
    const auto frame = ChannelFrame(kCols, kRows, 5, 0, 0);
    APTImagePyramid pyramid;
    pyramid.Reset(frame.data(), kCols, kRows, 5, 1);
    APTWorkspace workspace;
    workspace.Init(shape);
    APTPatchPyramid templates;
    templates.Init(shape, 1);
    ASSERT_EQ(templates.Locate(1, {30.0f, 20.0f}, pyramid), 1);
    const float start[12] = {};
    float result[12] = {};
    EXPECT_EQ(AlignPatch(workspace, templates, pyramid, {30.0f, 20.0f},
                         SearchBy(kAPTModelTranslation), start, result),
              -1);
}

TEST(AlignPatch, PixelsThatAreNoNumbersLoseThePointAndNothingElse) {
    const auto from = TexturedFrame(kCols, kRows, 0, 0);
    for (const float bad : {NAN, INFINITY, -INFINITY, 3e38f}) {
        auto to = from;
        to[22 * kCols + 30] = bad;
        for (int model = 0; model < 4; ++model) {
            Aligner aligner(from, to, kCols, kRows, kShape);
            EXPECT_EQ(aligner.Align(30.0f, 22.0f, static_cast<APTMotionModel>(model)), -1);
            Aligner backwards(to, from, kCols, kRows, kShape);
            EXPECT_EQ(backwards.Align(30.0f, 22.0f, static_cast<APTMotionModel>(model)), -1);
        }
    }
}

// ---- Correlation ---------------------------------------------------------------------

TEST(NormalisedCorrelation, HasTheBitsOfItsFormula) {
    const float n = float(kShape.GetPixels());
    for (int seed = 1; seed <= 20; ++seed) {
        auto a = NoiseFrame(kShape.GetBlockFloats(), 1, seed);
        auto b = NoiseFrame(kShape.GetBlockFloats(), 1, seed + 100);
        for (int i = kShape.GetFloats(); i < kShape.GetBlockFloats(); ++i)
            a[std::size_t(i)] = b[std::size_t(i)] = 0.0f;
        const float sumA = ChannelSum(a.data(), kShape, 0);
        const float sumB = ChannelSum(b.data(), kShape, 0);
        const auto dot = [](const auto& inA, const auto& inB) {
            return ChannelDot(inA.data(), inB.data(), kShape, 0);
        };
        const float expected =
            (n * dot(a, b) - sumA * sumB) /
            std::sqrt((n * dot(b, b) - sumB * sumB) * (n * dot(a, a) - sumA * sumA));
        float correlation = 9.0f;
        ASSERT_TRUE(NormalisedCorrelation(a.data(), b.data(), kShape, correlation));
        EXPECT_EQ(correlation, expected) << seed;
    }
}

TEST(UpdateGains, AnUpdateAsLargeAsItsToleranceIsNotSmall) {
    const auto isSmall = [](float inGain, float inOffset) {
        const float update[2] = {inGain, inOffset};
        float gains[2] = {1.0f, 0.0f};
        return UpdateGains(update, 0.25f, 2.0f, 1, gains);
    };
    EXPECT_TRUE(isSmall(std::nextafter(0.25f, 0.0f), -std::nextafter(2.0f, 0.0f)));
    EXPECT_FALSE(isSmall(0.25f, 0.0f));
    EXPECT_FALSE(isSmall(0.0f, -2.0f));
}

TEST(NormalisedCorrelation, AFlatChannelPullsTheMeanDown) {
    const APTPatchShape shape{5, 5, 2};
    std::vector<float> a(std::size_t(shape.GetBlockFloats()), 0.0f);
    for (int i = 0; i < shape.GetFloats(); i += 2)
        a[std::size_t(i)] = float((i * 37) % 101);
    float correlation = 0.0f;
    ASSERT_TRUE(NormalisedCorrelation(a.data(), a.data(), shape, correlation));
    EXPECT_NEAR(correlation, 0.5f, 1e-5f);
}

}  // namespace
