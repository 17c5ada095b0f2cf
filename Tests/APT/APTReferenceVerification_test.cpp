// The verification: the warp is found, brightness may change, and a point that is no
// longer what was selected is dropped with the right status.

#include "APT/APTReferenceVerification.h"

#include "APTFrames.h"
#include "ColourPyramid/ColourPyramidData.h"
#include "PlainAlignment.h"
#include "Support/Test.h"

namespace {

using namespace DP;
using namespace Testing;

constexpr int kCols = 96;
constexpr int kRows = 80;
constexpr APTTolerances kTolerances{0.1f, 0.05f, 0.05f, 1.0f};
const APTPatchShape kShape{5, 5, 1};

// The frame in which offset (dx, dy) from (inX, inY) of the first lies at the warped place:
// each pixel is looked up by the inverse warp.
struct Warped {
    double mX = 45.0, mY = 40.0;
    double mTX = 0.0, mTY = 0.0;
    double mA = 0.0, mB = 0.0, mC = 0.0, mD = 0.0;
    double mGain = 1.0, mOffset = 0.0;

    std::vector<float> Frame() const {
        const double m00 = 1.0 + mA;
        const double m11 = 1.0 + mD;
        const double determinant = m00 * m11 - mB * mC;
        std::vector<float> frame;
        for (int y = 0; y < kRows; ++y)
            for (int x = 0; x < kCols; ++x) {
                const double px = x - mX - mTX;
                const double py = y - mY - mTY;
                const double dx = (m11 * px - mB * py) / determinant;
                const double dy = (-mC * px + m00 * py) / determinant;
                const double value = TextureAt(mX + dx, mY + dy, 1);
                frame.push_back(float((value - mOffset) / mGain));
            }
        return frame;
    }
};

struct Verifier {
    Verifier(std::vector<float> inFrom, std::vector<float> inTo, float inX, float inY)
        : mFromFrame(std::move(inFrom)), mToFrame(std::move(inTo)), mX(inX), mY(inY) {
        mFrom.Reset(mFromFrame.data(), kCols, kRows, 1, 3);
        mTo.Reset(mToFrame.data(), kCols, kRows, 1, 3);
        mWorkspace.Init(kShape);
        mTemplates.Init(kShape, 3);
        mTemplates.Capture({inX, inY}, mFrom);
        mParameters[6] = 1.0f;
    }
    int Align(APTMotionModel inModel, int inIterations = 15) {
        return AlignReferencePatch(mWorkspace, mTemplates, mTo, {mX, mY},
                                   {inModel, kTolerances, 0.5f, inIterations}, mParameters);
    }

    std::vector<float> mFromFrame;
    std::vector<float> mToFrame;
    float mX;
    float mY;
    APTImagePyramid mFrom;
    APTImagePyramid mTo;
    APTWorkspace mWorkspace;
    APTReferenceTemplates mTemplates;
    float mParameters[kAPTMaxParameters] = {};
};

// ---- Against the plain form, by bits -------------------------------------------------

struct WarpCase {
    int mModel;
    int mChannels;
    int mHalfWidth;
    int mHalfHeight;
};

class WarpAgainstThePlainForm : public testing::TestWithParam<WarpCase> {};

// Several channels carry the same texture at different brightness.
std::vector<float> Interleaved(const std::vector<float>& inPlane, int inChannels) {
    std::vector<float> frame;
    for (const float value : inPlane)
        for (int c = 0; c < inChannels; ++c)
            frame.push_back(value * (1.0f - 0.2f * float(c)));
    return frame;
}

TEST_P(WarpAgainstThePlainForm, EveryPointHasTheSameParametersToTheBit) {
    const int number = GetParam().mModel, channels = GetParam().mChannels;
    const int halfWidth = GetParam().mHalfWidth, halfHeight = GetParam().mHalfHeight;
    const APTPatchShape shape{halfWidth, halfHeight, channels};
    const auto model = static_cast<APTMotionModel>(number);
    const auto whole = [&](const std::vector<float>& inFrame) {
        return std::unique_ptr<ColourPyramidData>(ColourPyramidData::Create(
            kCols, kRows, 3, 2, std::uint32_t(channels), inFrame.data()));
    };
    int converged = 0;
    for (const double strength : {0.2, 1.0, 3.0}) {
        Warped warped;
        warped.mTX = 0.9 * strength;
        warped.mTY = -1.1 * strength;
        warped.mA = 0.04 * strength;
        warped.mB = -0.03 * strength;
        warped.mC = 0.02 * strength;
        warped.mGain = 1.0 - 0.05 * strength;
        const auto from = Interleaved(TexturedFrame(kCols, kRows, 0, 0), channels);
        const auto to = Interleaved(warped.Frame(), channels);
        const auto wholeFrom = whole(from);
        const auto wholeTo = whole(to);
        PlainAlignment plain(shape, *wholeFrom, *wholeTo);
        APTImagePyramid previous;
        APTImagePyramid current;
        previous.Reset(from.data(), kCols, kRows, channels, 3);
        current.Reset(to.data(), kCols, kRows, channels, 3);
        APTWorkspace workspace;
        workspace.Init(shape);
        APTReferenceTemplates templates;
        templates.Init(shape, 3);
        Random random(9);
        for (int point = 0; point < 40; ++point) {
            const APTPoint at{float(random.Real() * kCols), float(random.Real() * kRows)};
            const APTSearch search{model, kTolerances, 0.5f, point % 3 == 0 ? 3 : 15};
            float expected[kAPTMaxParameters] = {};
            for (int i = 6; i < kAPTMaxParameters; i += 2)
                expected[i] = 1.0f;
            float actual[kAPTMaxParameters];
            std::copy(expected, expected + kAPTMaxParameters, actual);
            templates.Capture(at, previous);
            const int start = plain.AlignReference(at, search, expected);
            // Twice: the second time nothing of the template is new.
            for (int round = 0; round < 2; ++round) {
                if (round == 1) plain.AlignReference(at, search, expected);
                const int answer =
                    AlignReferencePatch(workspace, templates, current, at, search, actual);
                if (round == 0) {
                    ASSERT_EQ(answer, start) << at.mX << ", " << at.mY;
                }
                ASSERT_EQ(std::memcmp(expected, actual, sizeof(expected)), 0)
                    << at.mX << ", " << at.mY;
            }
            converged += start >= 0;
        }
    }
    if (number % 2 == 0) {
        EXPECT_GT(converged, 20);
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, WarpAgainstThePlainForm,
                         testing::Values(WarpCase{2, 1, 5, 5}, WarpCase{0, 1, 5, 5},
                                         WarpCase{1, 1, 5, 5}, WarpCase{3, 1, 5, 5},
                                         WarpCase{2, 3, 5, 5}, WarpCase{0, 2, 4, 6},
                                         WarpCase{2, 4, 6, 3}, WarpCase{2, 1, 8, 7},
                                         WarpCase{2, 1, 2, 3}, WarpCase{2, 2, 3, 2}));

// ---- The warp ------------------------------------------------------------------------

TEST(AlignReferencePatch, FailuresLeaveTheParametersAlone) {
    const auto frame = TexturedFrame(kCols, kRows, 0, 0);
    const std::vector<float> flat(frame.size(), 9.0f);
    const auto expectFailure = [](Verifier& ioVerifier, APTMotionModel inModel) {
        const std::vector<float> before(ioVerifier.mParameters, ioVerifier.mParameters + 8);
        EXPECT_EQ(ioVerifier.Align(inModel), -1);
        EXPECT_TRUE(std::equal(before.begin(), before.end(), ioVerifier.mParameters));
    };
    Verifier good(frame, frame, 45.0f, 40.0f);
    expectFailure(good, kAPTModelReserved);
    expectFailure(good, kAPTModelFittedGainOffset);
    Verifier untextured(flat, frame, 45.0f, 40.0f);
    expectFailure(untextured, kAPTModelGainOffset);
    Verifier noTemplate(frame, frame, 3.0f, 40.0f);
    expectFailure(noTemplate, kAPTModelGainOffset);
    for (const float bad : {1000.0f, -45.0f, NAN, INFINITY}) {
        Verifier outside(frame, frame, 45.0f, 40.0f);
        outside.mParameters[0] = bad;
        EXPECT_EQ(outside.Align(kAPTModelGainOffset), -1) << bad;
        Verifier torn(frame, frame, 45.0f, 40.0f);
        torn.mParameters[3] = bad;
        EXPECT_EQ(torn.Align(kAPTModelGainOffset), -1) << bad;
    }
}

TEST(SolveWarpLevel, TheCornersMustBeStrictlyInside) {
    const auto frame = TexturedFrame(kCols, kRows, 0, 0);
    Verifier verifier(frame, frame, 45.0f, 40.0f);
    const auto level =
        verifier.mTemplates.GetLevel(0, kAPTModelGainOffset, verifier.mWorkspace);
    const auto solveAt = [&](float inX, float inY) {
        float parameters[kAPTMaxParameters] = {};
        parameters[6] = 1.0f;
        return SolveWarpLevel(verifier.mWorkspace, level, {verifier.mTo, 0}, {inX, inY},
                              {kAPTModelGainOffset, kTolerances, 0.5f, 1}, parameters);
    };
    EXPECT_EQ(solveAt(5.0f, 40.0f), -1);
    EXPECT_EQ(solveAt(5.01f, 40.0f), 1) << "sampled, and not converged";
    EXPECT_EQ(solveAt(kCols - 6.0f, 40.0f), -1);
    EXPECT_EQ(solveAt(kCols - 6.01f, 40.0f), 1);
    EXPECT_EQ(solveAt(40.0f, 5.0f), -1);
    EXPECT_EQ(solveAt(40.0f, kRows - 6.0f), -1);
    EXPECT_EQ(solveAt(40.0f, kRows - 6.01f), 1);
}

// ---- In the engine -------------------------------------------------------------------

APTTrackerParams VerifyingParams() {
    APTTrackerParams params;
    params.mVerifyAgainstReference = true;
    params.mMaxFeatures = 4;
    return params;
}

APTFeatureListPtr Step(APTTracker& inEngine, const std::vector<float>& inFrom,
                       const std::vector<float>& inTo, const APTFeatureListPtr& inList,
                       APTFeatureListPtr inOutput = EmptyList()) {
    inEngine.TrackFeatures(inFrom.data(), inTo.data(), kCols, kRows, 1, {inList}, {inOutput});
    return inOutput;
}

std::vector<float> Moved(int inFrame, double inGain = 1.0) {
    auto frame = TexturedFrame(kCols, kRows, -0.8 * inFrame, 0.5 * inFrame);
    for (float& value : frame)
        value = float(value * inGain);
    return frame;
}

TEST(VerifiedTracking, ANewPointIsVerifiedInItsFirstStepAndFadingIsNoLoss) {
    const auto engine = MakeEngine(VerifyingParams());
    auto list = ListOf({NewPoint(45.0f, 40.0f)});
    for (int frame = 1; frame <= 8; ++frame) {
        list = Step(*engine, Moved(frame - 1, std::pow(0.97, frame - 1)),
                    Moved(frame, std::pow(0.97, frame)), list);
        ASSERT_EQ((*list)[0].mStatus, 0) << "frame " << frame;
        EXPECT_GT((*list)[0].mCorrelation, 0.95f);
        EXPECT_NEAR((*list)[0].mX, 45.0 + 0.8 * frame, 0.25);
        EXPECT_NEAR((*list)[0].mY, 40.0 - 0.5 * frame, 0.25);
        EXPECT_EQ((*list)[0].mAge, unsigned(frame));
    }
}

// A new point at (45, 40) of one frame, which the step to the next has found at `inFound`.
APTFeature Verified(const std::vector<float>& inFrom, const std::vector<float>& inTo,
                    int inLevels, APTPoint inFound, float inLimit) {
    APTImagePyramid previous, current;
    previous.Reset(inFrom.data(), kCols, kRows, 1, inLevels);
    current.Reset(inTo.data(), kCols, kRows, 1, inLevels);
    APTReferenceVerification verification;
    verification.Init(kShape, inLevels, 1);
    APTFeatureList list{NewPoint(45.0f, 40.0f)};
    verification.Capture(list, previous);
    list[0] = NewPoint(inFound.mX, inFound.mY);
    list[0].mStatus = kAPTFeatureTracked;
    verification.HandOver(list);
    verification.VerifyFeatures(current, {kAPTModelGainOffset, kTolerances, inLimit, 15}, list);
    return list[0];
}

TEST(VerifyFeatures, ACorrelationAtTheLimitPassesAndOneBelowItIsLow) {
    const auto from = Moved(0);
    auto to = Moved(1);
    const auto noise = NoiseFrame(kCols, kRows, 3);
    for (std::size_t i = 0; i < to.size(); ++i)
        to[i] += 0.1f * noise[i];
    const auto verify = [&](float inLimit) {
        return Verified(from, to, 3, {45.0f, 40.0f}, inLimit);
    };
    const APTFeature passed = verify(0.0f);
    ASSERT_EQ(passed.mStatus, 0);
    ASSERT_GT(passed.mCorrelation, 0.5f);
    ASSERT_LT(passed.mCorrelation, 0.999f);
    EXPECT_NE(passed.mX, 45.0f) << "the position found here";
    EXPECT_EQ(verify(passed.mCorrelation).mStatus, 0);
    const APTFeature low = verify(std::nextafter(passed.mCorrelation, 2.0f));
    EXPECT_EQ(low.mStatus, kAPTFeatureLowCorrelation);
    EXPECT_EQ(low.mCorrelation, passed.mCorrelation);
    EXPECT_EQ(low.mX, 45.0f);
}

TEST(VerifyFeatures, BeginsWhereTheFrameToFrameStepEnded) {
    const auto point = Verified(Moved(0), Moved(12), 1, {45.0f + 9.6f, 40.0f - 6.0f}, 0.5f);
    EXPECT_EQ(point.mStatus, kAPTFeatureTracked);
}

TEST(VerifiedTracking, ATrackedPointWithoutAReferenceFails) {
    const auto engine = MakeEngine(VerifyingParams());
    APTFeature tracked = NewPoint(45.0f, 40.0f);
    tracked.mStatus = kAPTFeatureTracked;  // was never new to this engine
    const auto list = ListOf({tracked});
    EXPECT_EQ((*Step(*engine, Moved(0), Moved(1), list))[0].mStatus, kAPTFeatureLowCorrelation);
    // A reused record may hold a correlation from before.
    APTFeature old;
    old.mCorrelation = 0.9f;
    EXPECT_EQ((*Step(*engine, Moved(0), Moved(1), list, ListOf({old})))[0].mStatus,
              kAPTFeatureVerifyFailed);
}

TEST(VerifiedTracking, DriftOntoAnotherPatchIsDropped) {
    // Frame to frame the patch is cross-faded into another texture, slowly enough to be
    // followed; it is no longer what was selected.
    const auto engine = MakeEngine(VerifyingParams());
    APTTrackerParams unverified = VerifyingParams();
    unverified.mVerifyAgainstReference = false;
    const auto plain = MakeEngine(unverified);
    const auto frameAt = [](int inFrame) {
        auto frame = TexturedFrame(kCols, kRows, -0.5 * inFrame, 0, 1);
        const auto other = TexturedFrame(kCols, kRows, -0.5 * inFrame, 0, 77);
        const float share = std::min(1.0f, float(inFrame) / 12.0f);
        for (std::size_t i = 0; i < frame.size(); ++i)
            frame[i] = (1.0f - share) * frame[i] + share * other[i];
        return frame;
    };
    int dropped = 0;
    int followed = 0;
    for (const float x : {30.0f, 38.0f, 46.0f, 54.0f, 62.0f}) {
        auto verified = ListOf({NewPoint(x, 40.0f)});
        auto free = ListOf({NewPoint(x, 40.0f)});
        for (int frame = 1; frame <= 14; ++frame) {
            verified = Step(*engine, frameAt(frame - 1), frameAt(frame), verified);
            free = Step(*plain, frameAt(frame - 1), frameAt(frame), free);
        }
        dropped += (*verified)[0].mStatus < 0;
        followed += (*free)[0].mStatus >= 0;
    }
    EXPECT_GE(followed, 2);
    EXPECT_GE(dropped, 4);
}

TEST(VerifiedTracking, ParametersAppliedAgainGiveWhatANewEngineGives) {
    const auto used = MakeEngine(VerifyingParams());
    Step(*used, Moved(0), Moved(1), ListOf({NewPoint(45.0f, 40.0f)}));
    for (const std::uint64_t half : {9u, 3u}) {
        used->mParams.mPatchHalfWidth = used->mParams.mPatchHalfHeight = half;
        used->mParams.mPyramidLevels = half == 9 ? 1 : 4;
        used->ApplyParams();
        const auto fresh = MakeEngine(used->mParams);
        APTFeatureListPtr lists[2];
        for (int i = 0; i < 2; ++i) {
            const auto& engine = i == 0 ? used : fresh;
            lists[i] = Step(*engine, Moved(0), Moved(1), ListOf({NewPoint(45.0f, 40.0f)}));
            lists[i] = Step(*engine, Moved(1), Moved(2), lists[i]);
        }
        ASSERT_EQ((*lists[1])[0].mStatus, 0);
        EXPECT_EQ((*lists[0])[0].mStatus, 0);
        EXPECT_EQ((*lists[0])[0].mX, (*lists[1])[0].mX);
        EXPECT_EQ((*lists[0])[0].mCorrelation, (*lists[1])[0].mCorrelation);
    }
}

TEST(VerifiedTracking, ReferencesOfAnotherDepthAreForgotten) {
    const auto engine = MakeEngine(VerifyingParams());
    const auto list = Step(*engine, Moved(0), Moved(1), ListOf({NewPoint(45.0f, 40.0f)}));
    ASSERT_EQ((*list)[0].mStatus, 0);
    engine->ApplyParams();
    EXPECT_EQ((*Step(*engine, Moved(1), Moved(2), list))[0].mStatus, 0);
    engine->mParams.mPyramidLevels = 2;
    engine->ApplyParams();
    EXPECT_EQ((*Step(*engine, Moved(1), Moved(2), list))[0].mStatus, kAPTFeatureLowCorrelation);
}

// A tolerance of 0 is never met, and each has its place.
TEST(VerifiedTracking, EveryToleranceCountsForWhatItIsNamedAfter) {
    struct {
        const char* mName;
        double APTTrackerParams::*mTolerance;
        bool mTracks;
        bool mVerifies;
    } const cases[] = {{"none", nullptr, true, true},
                       {"translation", &APTTrackerParams::mTranslationTolerance, false, false},
                       {"warp", &APTTrackerParams::mWarpTolerance, true, false},
                       {"gain", &APTTrackerParams::mGainTolerance, false, false},
                       {"offset", &APTTrackerParams::mOffsetTolerance, false, false}};
    for (const auto& one : cases) {
        SCOPED_TRACE(one.mName);
        APTTrackerParams params = VerifyingParams();
        params.mTrackingModel = kAPTModelGainOffset;
        if (one.mTolerance) params.*one.mTolerance = 0.0;
        const auto list = Step(*MakeEngine(params), Moved(0), Moved(1, 0.9),
                               ListOf({NewPoint(45.0f, 40.0f)}));
        EXPECT_EQ((*list)[0].mStatus != kAPTFeatureLost, one.mTracks);
        EXPECT_EQ((*list)[0].mStatus == 0, one.mVerifies);
    }
}

TEST(VerifiedTracking, SwitchingItOnWithoutApplyParamsHasNoEffect) {
    APTTrackerParams params = VerifyingParams();
    params.mVerifyAgainstReference = false;
    const auto engine = MakeEngine(params);
    engine->mParams.mVerifyAgainstReference = true;
    const auto list = Step(*engine, Moved(0), Moved(1), ListOf({NewPoint(45.0f, 40.0f)}));
    EXPECT_EQ((*list)[0].mStatus, 0);
    EXPECT_EQ((*list)[0].mCorrelation, 0.0f);
}

}  // namespace
