// The tracker: what it derives from its settings, and the tracking step against the truth
// of rendered motion and the bits of the plain way.

#include "KLT/KLTTracker.h"

#include <unistd.h>

#include "KLT/KLTSupport.h"
#include "KLT/PlainKLT.h"
#include "Pyramid/ImagePyramidDescriptorData.h"
#include "Support/Test.h"

namespace {

using namespace DP;
using namespace Testing;

// ---- Settings ------------------------------------------------------------------------

TEST(KLTSettings, DefaultsComeToTwoLevelsAndABorderOf24) {
    KLTTracker tracker(10);
    const auto& context = tracker.GetContext();
    EXPECT_EQ(context.mPyramidLevels, 2);
    EXPECT_EQ(context.mSubsampling, 4);
    EXPECT_EQ(context.mBorderX, 24);
    EXPECT_EQ(context.mBorderY, 24);
    EXPECT_FLOAT_EQ(tracker.ComputeSmoothSigma(), 0.7f);
    EXPECT_FLOAT_EQ(tracker.ComputePyramidSigma(), 3.6f);
}

TEST(KLTSettings, PyramidFollowsTheSearchRange) {
    KLTTracker tracker(10);
    auto& context = tracker.GetContext();
    const auto shapeFor = [&](int inRange) {
        tracker.ChangeTCPyramid(inRange);
        return std::pair(context.mPyramidLevels, context.mSubsampling);
    };
    EXPECT_EQ(shapeFor(3), std::pair(1, 4)) << "the subsampling stays";
    EXPECT_EQ(shapeFor(4), std::pair(2, 2));
    EXPECT_EQ(shapeFor(10), std::pair(2, 2));
    EXPECT_EQ(shapeFor(11), std::pair(2, 4));
    EXPECT_EQ(shapeFor(17), std::pair(2, 4));
    EXPECT_EQ(shapeFor(18), std::pair(2, 8));
    EXPECT_EQ(shapeFor(31), std::pair(2, 8));
    EXPECT_EQ(shapeFor(32), std::pair(2, 8));
    EXPECT_EQ(shapeFor(33), std::pair(3, 8));
    EXPECT_EQ(shapeFor(1000), std::pair(4, 8));
    EXPECT_EQ(shapeFor(-1000), std::pair(1, 8));
    shapeFor(std::numeric_limits<int>::max());
    tracker.UpdateTCBorder();
    EXPECT_GT(context.mBorderX, 0) << "clamped, not wrapped";
}

TEST(KLTSettings, BorderOfOneLevelIsKernelAndWindow) {
    KLTTracker tracker(10);
    tracker.ChangeTCPyramid(3);
    tracker.UpdateTCBorder();
    EXPECT_EQ(tracker.GetContext().mBorderX, 2 + 3);
}

// Kernel, window and levels worked out by hand; every step down a level rounds up.
TEST(KLTSettings, BorderGrowsWithTheLevelsAndIsRoundedUp) {
    KLTTracker tracker(10);
    const auto borderFor = [&](int inRange) {
        tracker.ChangeTCPyramid(inRange);
        tracker.UpdateTCBorder();
        EXPECT_EQ(tracker.GetContext().mBorderX, tracker.GetContext().mBorderY);
        return tracker.GetContext().mBorderX;
    };
    EXPECT_EQ(borderFor(4), 14);
    EXPECT_EQ(borderFor(18), 48);
    EXPECT_EQ(borderFor(1000), 3072);
    tracker.GetContext().mSmoothSigmaFactor = 0.15f;
    EXPECT_EQ(borderFor(15), 28) << "a quarter of a pixel is one more";
}

// In a process of its own: what is hidden there stays in view for the other tests.
TEST(KLTSettings, WhereAHostGoesOnASizeBelowNothingSelectsNothing) {
    const RecordedReports reports;
    const ThrowErrorReturns host;
    KLTTracker tracker(10);
    KLTTracker::Lists lists{ListOf({FeatureAt(3, 4, 5)})};
    const unsigned char frame[3] = {};
    tracker.SelectGoodFeatures(frame, -1, 5, 0, {WholeFrame(9, 9)}, lists);
    EXPECT_TRUE(SameFeatures(*lists[0], {FeatureAt(3, 4, 5)}));
    EXPECT_FALSE(reports.Contracts().empty());
}

// The operations that correct a window, and how each words it: what stands before the side,
// and the gap behind "odd." for either.
struct Correction {
    std::string mFunction, mHead, mWidthGap, mHeightGap;
    std::function<void(KLTTracker&)> mCall;
};

std::vector<Correction> Corrections() {
    static const std::vector<unsigned char> sFrame(64 * 64, 0);
    const auto select = [](KLTTracker& ioTracker) {
        KLTTracker::Lists lists{ListOf({})};
        ioTracker.SelectGoodFeatures(sFrame.data(), 64, 64, 0, {WholeFrame(64, 64)}, lists);
    };
    const auto track = [](KLTTracker& ioTracker) {
        KLTTracker::Lists lists{ListOf({})};
        ioTracker.TrackFeatures(sFrame.data(), sFrame.data(), 64, 64, 1, {ListOf({})}, lists);
    };
    return {
        {"UpdateTCBorder", "(UpdateTCBorder) Window", " ", " ", &KLTTracker::UpdateTCBorder},
        {"ChangeTCPyramid", "(ChangeTCPyramid) Window", "  ", "  ",
         [](KLTTracker& ioTracker) {
             ioTracker.ChangeTCPyramid(15);
         }},
        {"TrackFeatures", "Tracking context's window", " ", " ", track},
        {"SelectGoodFeaturesWithMode", "Tracking context's window", " ", "  ", select}};
}

TEST(KLTSettings, BadNumbersAreCorrectedAndReportedBySideAndOperation) {
    const RecordedReports reports(RecordedReports::Later::kShow);
    KLTTracker tracker(10);
    auto& context = tracker.GetContext();
    std::vector<std::string> expected, actual;
    for (const Correction& one : Corrections()) {
        for (const auto& [width, height] : {std::pair(6, 2), {-4, -4}}) {
            context.mWindowWidth = width;
            context.mWindowHeight = height;
            one.mCall(tracker);
            EXPECT_EQ(context.mWindowWidth, width == 6 ? 7 : 3);
            EXPECT_EQ(context.mWindowHeight, 3);
        }
        const std::string head = "DP::KLTTracker::" + one.mFunction + ": " + one.mHead;
        const auto must = [&](const char* inSide, const std::string& inWhat) {
            expected.push_back(head + inSide + inWhat + "Changing to %d.\n\r\n");
        };
        for (int twice = 0; twice < 2; ++twice) {
            must(" width must be ", "odd." + one.mWidthGap);
            must(" height must be ", "odd." + one.mHeightGap);
        }
        must(" width must be ", "at least three. ");
        must(" height must be ", "at least three. ");
    }
    context.mMinDist = -4;
    Corrections().back().mCall(tracker);
    EXPECT_EQ(context.mMinDist, 0);
    expected.push_back(
        "DP::KLTTracker::SelectGoodFeaturesWithMode: (_KLTSelectGoodFeatures) Tracking context "
        "field mTrackingContext.mMinDist is negative (%d); setting to zero\r\n");
    for (const Report& report : reports.Asserts()) {
        actual.push_back(report.mFunction + ": " + report.mText);
        EXPECT_EQ(report.mFile, "Src/KLT/KLTTracker.cpp");
    }
    EXPECT_EQ(actual, expected);
    FlushAllDescriptorResources();
}

TEST(KLTSettings, EveryReportOfEveryOperationIsHiddenByItself) {
    const auto countReports = [] {
        const RecordedReports reports(RecordedReports::Later::kHide);
        KLTTracker tracker(10);
        for (int twice = 0; twice < 2; ++twice)
            for (const Correction& one : Corrections()) {
                tracker.GetContext().mWindowWidth = tracker.GetContext().mWindowHeight = -4;
                tracker.GetContext().mMinDist = -1;
                one.mCall(tracker);
            }
        return reports.Asserts().size();
    };
    EXPECT_EXIT(_exit(countReports() == 17 ? 0 : 1), testing::ExitedWithCode(0), "");
}

// ---- The step against the plain way --------------------------------------------------

class Tracking : public KLTTrackerTest {
protected:
    static constexpr int kCols = 173, kRows = 139;

    void ExpectPlain(const std::vector<unsigned char>& inPrevious,
                     const std::vector<unsigned char>& inCurrent, const KLTFeatureList& inList,
                     int inCols = kCols, int inRows = kRows) {
        const auto& context = mTracker.GetContext();
        const auto actual =
            Track(inPrevious.data(), inCurrent.data(), inCols, inRows, ++mFrame, inList);
        ++mFrame;  // so that no pyramid is met again
        const auto expected =
            PlainTrack(context, MakePlainPyramids(context, inPrevious.data(), inCols, inRows),
                       MakePlainPyramids(context, inCurrent.data(), inCols, inRows), inList);
        EXPECT_TRUE(SameFeatures(actual, expected));
    }

    // Slots that are all lost, filled again from a frame.
    KLTFeatureList Refill(const std::vector<unsigned char>& inFrame, KLTFeatureList inList,
                          const IP::ImagePtr<float>& inSmoothed = {}) {
        for (KLTFeature& feature : inList)
            feature.mValue = kKLTLargeResidue;
        KLTTracker::Lists lists{ListOf(inList)};
        mTracker.ReplaceLostFeatures(inFrame.data(), kCols, kRows, {WholeFrame(kCols, kRows)},
                                     lists, lists, inSmoothed);
        return *lists[0];
    }

    long long mFrame = 0;
};

TEST_F(Tracking, DefaultsGiveTheBitsOfThePlainWay) {
    const auto first = TexturedBytes(kCols, kRows, 0, 0);
    ExpectPlain(first, TexturedBytes(kCols, kRows, -3.3, 2.1), Select(first, kCols, kRows));
    ExpectPlain(first, TexturedBytes(kCols, kRows, -30, 22), Select(first, kCols, kRows));
    ExpectPlain(first, TexturedBytes(kCols, kRows, 0, 0, 2), Select(first, kCols, kRows));
}

// Places where the parts of a pixel are lost or carried over: at powers of two and just
// below whole numbers the windows' columns do not all have one fraction.
KLTFeatureList StrangePlaces() {
    KLTFeatureList list;
    for (const float x : {24.0f, 31.999998f, 32.0f, 63.999996f, 64.0f, 127.99999f, 128.0f,
                          61.25f, 148.0f, 148.00002f, 60.999996f, 67.0f, 66.99999f})
        for (const float y : {24.0f, 63.999996f, 100.5f, 114.0f, 114.00001f})
            list.push_back(FeatureAt(x, y));
    for (const float bad : {kNaN, kInfinity, -kInfinity, 3e9f, -7.0f, 0.0f, 1e-40f}) {
        list.push_back(FeatureAt(bad, 60));
        list.push_back(FeatureAt(60, bad));
    }
    return list;
}

TEST_F(Tracking, StrangePlacesGiveTheBitsOfThePlainWay) {
    const auto first = TexturedBytes(kCols, kRows, 0, 0);
    ExpectPlain(first, TexturedBytes(kCols, kRows, 0.4, -0.3), StrangePlaces());
    ExpectPlain(first, first, StrangePlaces());
}

TEST_F(Tracking, RandomSettingsGiveTheBitsOfThePlainWay) {
    Random random(11);
    for (int run = 0; run < 40; ++run) {
        SCOPED_TRACE(run);
        auto& context = mTracker.GetContext();
        context.mWindowWidth = 3 + 2 * random.Integer(0, run % 5 == 0 ? 14 : 5);
        context.mWindowHeight = 3 + 2 * random.Integer(0, run % 7 == 0 ? 14 : 5);
        context.mMaxIterations = random.Integer(1, 20);
        context.mMaxResidue = float(2 + 20 * random.Real());
        context.mStepFactor = float(0.5 + random.Real());
        context.mMinDisplacement = float(0.3 * random.Real());
        context.mMinDeterminant = random.Integer(0, 1) ? 0.01f : 1e7f;
        context.mLightingInsensitive = random.Integer(0, 2) == 0;
        mTracker.ChangeTCPyramid(random.Integer(1, 60));
        mTracker.UpdateTCBorder();
        const auto first = TexturedBytes(kCols, kRows, 0, 0, run);
        const double dx = 12 * random.Real() - 6, dy = 12 * random.Real() - 6;
        auto list = Select(first, kCols, kRows);
        const auto strange = StrangePlaces();
        list.insert(list.end(), strange.begin(), strange.end());
        ExpectPlain(first, TexturedBytes(kCols, kRows, dx, dy, run), list);
    }
}

TEST_F(Tracking, TinyFramesGiveTheBitsOfThePlainWay) {
    for (const int side : {1, 3, 7, 9, 16, 30, 50}) {
        SCOPED_TRACE(side);
        const auto first = TexturedBytes(side, side + 1, 0, 0);
        KLTFeatureList list;
        for (float at = 0; at < float(side); at += 2.5f)
            list.push_back(FeatureAt(at, at));
        ExpectPlain(first, TexturedBytes(side, side + 1, 0.5, 0.5), list, side, side + 1);
    }
}

TEST_F(Tracking, PyramidsOfAnotherSourceAreNotMet) {
    for (const char* const source : {"clip", "other"}) {
        SCOPED_TRACE(source);
        mTracker.SetSourceID(Wide(source));
        mFrame = 0;
        const int seed = source[0];
        const auto first = TexturedBytes(kCols, kRows, 0, 0, seed);
        ExpectPlain(first, TexturedBytes(kCols, kRows, -2.3, 1.1, seed),
                    Select(first, kCols, kRows));
    }
}

// ---- Known motion --------------------------------------------------------------------

class KnownMotion : public KLTTrackerTest,
                    public testing::WithParamInterface<std::pair<double, double>> {
protected:
    static constexpr int kCols = 320, kRows = 240;
};

INSTANTIATE_TEST_SUITE_P(All, KnownMotion,
                         testing::Values(std::pair(0.5, 0.25), std::pair(-3.2, 1.7),
                                         std::pair(8.0, -6.0), std::pair(-11.3, 9.9)));

// The search stops at steps below a tenth of a pixel and the frames are rounded to 8 bits;
// the median error stays well inside that step.
TEST_P(KnownMotion, FeaturesFollowTheTexture) {
    const auto [dx, dy] = GetParam();
    const auto first = TexturedBytes(kCols, kRows, 0, 0);
    const auto second = TexturedBytes(kCols, kRows, -dx, -dy);
    const auto before = Select(first, kCols, kRows);
    const auto after = Track(first.data(), second.data(), kCols, kRows, 1, before);
    std::vector<double> errors;
    for (std::size_t i = 0; i < after.size(); ++i) {
        if (after[i].mValue < 0) continue;
        errors.push_back(
            std::hypot(after[i].mX - before[i].mX - dx, after[i].mY - before[i].mY - dy));
        EXPECT_EQ(after[i].mAge, 1);
        EXPECT_EQ(after[i].mDeltaX, after[i].mX - before[i].mX);
        EXPECT_EQ(after[i].mId, int(i));
    }
    ASSERT_GT(errors.size(), 25u);
    std::nth_element(errors.begin(), errors.begin() + errors.size() / 2, errors.end());
    EXPECT_LT(errors[errors.size() / 2], 0.1);
}

// ---- Statuses ------------------------------------------------------------------------

TEST_F(Tracking, BorderLosesWhatTheWindowWouldAllow) {
    const auto frame = TexturedBytes(kCols, kRows, 0, 0);
    const auto after = Track(frame.data(), frame.data(), kCols, kRows, 1,
                             {FeatureAt(24, 60), FeatureAt(23.99f, 60), FeatureAt(60, 23),
                              FeatureAt(kCols - 25, 60), FeatureAt(kCols - 24.9f, 60)});
    EXPECT_EQ(after[0].mValue, 0);
    EXPECT_EQ(after[1].mValue, kKLTOutOfBounds);
    EXPECT_EQ(after[2].mValue, kKLTOutOfBounds);
    EXPECT_EQ(after[3].mValue, 0);
    EXPECT_EQ(after[4].mValue, kKLTOutOfBounds);
    EXPECT_EQ(after[1].mX, -1.0f);
    EXPECT_EQ(after[1].mY, -1.0f);
}

// A singular coarse level leaves the position in that level's scale: at (120, 120) it is
// (30, 30) and passes the border test; at (60, 60) it is (15, 15) and does not.
TEST_F(Tracking, SingularCoarseLevelIsTestedAgainstTheBorderAsItStands) {
    const std::vector<unsigned char> flat(200 * 200, 90);
    const auto after =
        Track(flat.data(), flat.data(), 200, 200, 1, {FeatureAt(120, 120), FeatureAt(60, 60)});
    EXPECT_EQ(after[0].mValue, kKLTSmallDet);
    EXPECT_EQ(after[1].mValue, kKLTOutOfBounds);
}

TEST_F(Tracking, LostSlotsAreCarriedAlongUntouched) {
    const auto frame = TexturedBytes(kCols, kRows, 0, 0);
    KLTFeature lost = FeatureAt(-1, -1, kKLTLargeResidue);
    lost.mAge = 12;
    lost.mId = 3;
    EXPECT_TRUE(
        SameFeatures(Track(frame.data(), frame.data(), kCols, kRows, 1, {lost}), {lost}));
}

TEST_F(Tracking, AgeAtItsEndWraps) {
    const auto frame = TexturedBytes(kCols, kRows, 0, 0);
    KLTFeature old = Select(frame, kCols, kRows)[0];
    old = FeatureAt(80, 70);
    old.mAge = std::numeric_limits<int>::max();
    const auto after = Track(frame.data(), frame.data(), kCols, kRows, 1, {old});
    EXPECT_EQ(after[0].mAge, std::numeric_limits<int>::min());
}

TEST_F(Tracking, SeveralListsGoSideBySideAndInputsKeepTheirFeatures) {
    const auto frame = TexturedBytes(kCols, kRows, 0, 0);
    const auto list = ListOf(Select(frame, kCols, kRows)), empty = ListOf({});
    const KLTFeatureList before = *list;
    KLTTracker::Lists outputs{ListOf({}), ListOf({FeatureAt(1, 1)}), ListOf({})};
    mTracker.TrackFeatures(frame.data(), frame.data(), kCols, kRows, 1, {list, empty, list},
                           outputs);
    EXPECT_TRUE(SameFeatures(*list, before));
    EXPECT_TRUE(SameFeatures(*outputs[0], *outputs[2]));
    EXPECT_TRUE(outputs[1]->empty());
}

// ---- Pyramids in the cache -----------------------------------------------------------

TEST_F(Tracking, PyramidsOfAFrameAreMadeOnceAndServeTheNextStep) {
    const auto cache =
        CreateDescriptorDataCacheMgr()->GetDescriptorDataCache(kDescriptorDataTypeImagePyramid);
    const auto a = TexturedBytes(kCols, kRows, 0, 0), b = TexturedBytes(kCols, kRows, 1, 0);
    const auto list = Select(a, kCols, kRows);
    const auto second = Track(a.data(), b.data(), kCols, kRows, 1, list);
    const unsigned int one =
        (kCols * kRows + (kCols / 4) * (kRows / 4)) * 3 * unsigned(sizeof(float));
    EXPECT_EQ(cache->GetTotalDataSize(), 2 * one);
    // The previous image is not read any more.
    Track(nullptr, a.data(), kCols, kRows, 2, second);
    EXPECT_EQ(cache->GetTotalDataSize(), 3 * one);
}

TEST_F(Tracking, MissingPreviousFrameThrowsOnlyWhenAFeatureLives) {
    const auto frame = TexturedBytes(kCols, kRows, 0, 0);
    EXPECT_THROW(Track(nullptr, frame.data(), kCols, kRows, 1, {FeatureAt(80, 70)}),
                 TVK::NullInterfaceException);
    EXPECT_NO_THROW(Track(nullptr, frame.data(), kCols, kRows, 5, {FeatureAt(-1, -1, -2)}));
    EXPECT_THROW(Track(frame.data(), nullptr, kCols, kRows, 9, {FeatureAt(80, 70)}),
                 TVK::NullInterfaceException);
}

// The difference is one of 32 bits, sign-extended: 2^31 is met as -2^31.
TEST_F(Tracking, FrameNumberOfThePreviousFrameIsOf32Bits) {
    const auto frame = TexturedBytes(kCols, kRows, 0, 0);
    const long long frames[][2] = {{(1ll << 32) + 5, 4},
                                   {(1ll << 31) + 1, -(1ll << 31)},
                                   {-(1ll << 31), (1ll << 31) - 1},
                                   {0, -1}};
    for (const auto& [current, previous] : frames) {
        FlushAllDescriptorResources();
        Track(frame.data(), frame.data(), kCols, kRows, previous, {});
        EXPECT_NO_THROW(
            Track(nullptr, frame.data(), kCols, kRows, current, {FeatureAt(80, 70)}))
            << current;
    }
}

// What the cache had may be of other pixels, though key and size are the same.
TEST_F(Tracking, SmoothedFrameIsHandedOutOnlyWhereThisCallMadeIt) {
    const auto a = TexturedBytes(kCols, kRows, 0, 0), b = TexturedBytes(kCols, kRows, -2, 1);
    KLTTracker::Lists lists{ListOf(Select(a, kCols, kRows))};
    const auto track = [&](const std::vector<unsigned char>& inCurrent) {
        return mTracker.TrackFeatures(a.data(), inCurrent.data(), kCols, kRows, 1, lists,
                                      lists);
    };
    const auto smoothed = track(a);
    ASSERT_TRUE(smoothed != NULL);
    EXPECT_TRUE(track(b) == NULL);
    const KLTFeatureList slots(60, FeatureAt(-1, -1));
    EXPECT_TRUE(SameFeatures(Refill(a, slots, smoothed), Refill(a, slots)));
    mTracker.SetFrameStep(0);  // one key for both frames: a's pyramids are there already
    FlushAllDescriptorResources();
    EXPECT_TRUE(track(b) == NULL);
}

// ---- Sequential mode -----------------------------------------------------------------

TEST_F(Tracking, SequentialModeGivesTheSameFeaturesWithoutThePreviousImage) {
    const auto a = TexturedBytes(kCols, kRows, 0, 0), b = TexturedBytes(kCols, kRows, -2, 1);
    const auto list = Select(a, kCols, kRows);
    const auto expected = Track(a.data(), b.data(), kCols, kRows, 1, list);
    mTracker.GetContext().mSequentialMode = true;
    Select(a, kCols, kRows);
    ASSERT_TRUE(mTracker.GetContext().mLastPyramid != NULL);
    EXPECT_TRUE(SameFeatures(Track(nullptr, b.data(), kCols, kRows, 51, list), expected));
    // Now the second frame's are kept: standing still on it moves nothing.
    const auto still = Track(nullptr, b.data(), kCols, kRows, 61, expected);
    EXPECT_EQ(CountLive(still), CountLive(expected));
    for (const auto& feature : still)
        EXPECT_TRUE(feature.mValue < 0 || feature.mDeltaX == 0.0f);
}

TEST_F(Tracking, SequentialTopUpScoresTheKeptFrame) {
    const auto a = TexturedBytes(kCols, kRows, 0, 0), b = TexturedBytes(kCols, kRows, 0, 0, 9);
    mTracker.GetContext().mSequentialMode = true;
    const auto list = Select(a, kCols, kRows);
    EXPECT_TRUE(SameFeatures(Refill(b, list), list)) << "of frame a, though b was handed in";
    EXPECT_TRUE(SameFeatures(Select(a, kCols, kRows), list)) << "a selection begins anew";
}

TEST_F(Tracking, SequentialFramesOfAnotherSizeAreReportedAndSafe) {
    const RecordedReports reports(RecordedReports::Later::kShow);
    mTracker.GetContext().mSequentialMode = true;
    const auto large = TexturedBytes(kCols, kRows, 0, 0), small = TexturedBytes(90, 80, 0, 0);
    const auto list = Select(large, kCols, kRows);
    Track(nullptr, small.data(), 90, 80, 1, list);
    ASSERT_EQ(reports.Asserts().size(), 1u);
    EXPECT_EQ(reports.Asserts()[0].mText,
              "(TrackFeatures) Size of incoming image (%d by %d) is different from size of "
              "previous image (%d by %d)\n\r\n");
    EXPECT_EQ(reports.Asserts()[0].mFunction, "DP::KLTTracker::TrackFeatures");
    const auto expected = PlainSelect(mTracker.GetContext(), 60, large.data(), kCols, kRows,
                                      {WholeFrame(kCols, kRows)}, {});
    EXPECT_TRUE(SameFeatures(Refill(large, list), expected[0]))
        << "of the frame that was handed in";
}

}  // namespace
