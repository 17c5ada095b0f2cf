// Selection: the fixed sort, the minimum distance, regions and modes, and the bits of the
// plain way.

#include "KLT/KLTSelection.h"

#include <pthread.h>

#include "KLT/KLTSupport.h"
#include "KLT/PlainKLT.h"
#include "Support/Images.h"
#include "Support/Test.h"

namespace {

using namespace DP;
using namespace Testing;

constexpr int kCols = 40;  // of the maps and indices

// ---- The sort ------------------------------------------------------------------------

struct Points {
    PointList List() { return {mValues.data(), mIndices.data()}; }
    bool operator==(const Points&) const = default;

    std::vector<std::int32_t> mValues;
    std::vector<std::uint32_t> mIndices;
};

Points PointsOf(const std::vector<PlainPoint>& inPoints) {
    Points points;
    for (const auto& point : inPoints) {
        points.mValues.push_back(point.mValue);
        points.mIndices.push_back(unsigned(point.mY * kCols + point.mX));
    }
    return points;
}

std::vector<PlainPoint> RandomPoints(std::size_t inCount, int inValues, int inSeed) {
    Random random(inSeed);
    std::vector<PlainPoint> points;
    for (std::size_t i = 0; i < inCount; ++i)
        points.push_back({int(i) % kCols, int(i) / kCols, random.Integer(-2, inValues)});
    return points;
}

void Sort(Points& ioPoints) { SortedPoints(ioPoints.List(), ioPoints.mValues.size()).Finish(); }

TEST(SortedPoints, OrderOfEqualValuesIsThatOfTheScheme) {
    Points points{{5, 5, 5, 5}, {0, 1, 2, 3}};
    Sort(points);
    EXPECT_EQ(points.mIndices, (std::vector{0u, 3u, 2u, 1u}));
}

// Sizes around those of the blocks that the two ends are looked through by.
TEST(SortedPoints, StandAsThePlainSortLeavesThem) {
    for (std::size_t count :
         {0, 1, 2, 3, 5, 17, 63, 64, 65, 100, 127, 128, 129, 130, 192, 257, 3000, 20000})
        for (const int values : {-2, -1, 0, 1, 10, 1000000}) {
            auto plain = RandomPoints(count, values, int(count) + values);
            auto walked = PointsOf(plain), finished = walked;
            PlainSort(plain.data(), plain.size());
            const auto expected = PointsOf(plain);

            SortedPoints sorted(walked.List(), count);
            std::vector<unsigned char> map(count);
            Random random(int(count) + values);
            SelectionPoint point;
            for (std::size_t i = 0; i < count / 3; ++i) {
                if (map[expected.mIndices[i]] != 0) continue;
                ASSERT_TRUE(sorted.NextFree(map.data(), point));
                ASSERT_EQ(point.mValue, expected.mValues[i]);
                ASSERT_EQ(point.mIndex, expected.mIndices[i]);
                for (int closed = random.Integer(0, i % 2 ? 9 : 0); closed > 0; --closed)
                    map[std::size_t(random.Integer(0, int(count) - 1))] = 1;
            }
            sorted.Finish();
            EXPECT_TRUE(walked == expected) << count << " points of " << values << " values";
            Sort(finished);
            EXPECT_TRUE(finished == expected);
            SortedPoints none(finished.List(), 0);
            EXPECT_FALSE(none.NextFree(map.data(), point));
        }
}

// Distinct values laid out so that every pivot is the least of its part: nothing but the
// pivot leaves a part, which is as deep as the scheme can go.
Points AdversePoints(std::size_t inCount) {
    Points points{std::vector<std::int32_t>(inCount), std::vector<std::uint32_t>(inCount)};
    for (std::size_t i = 0; i < inCount; ++i) {
        points.mIndices[i] = std::uint32_t(i);
        points.mValues[i] = std::int32_t(inCount - i);
    }
    for (std::size_t count = 2; count <= inCount; ++count) {  // the steps, last to first
        std::swap(points.mValues[0], points.mValues[count - 1]);
        std::swap(points.mValues[0], points.mValues[count / 2]);
    }
    return points;
}

TEST(SortedPoints, AdverseOnesTakeNoStack) {
    constexpr std::size_t kPoints = 60000;
    static Points sPoints = AdversePoints(kPoints);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, 128 << 10), 0);
    pthread_t thread;
    ASSERT_EQ(pthread_create(
                  &thread, &attributes, [](void*) -> void* { return Sort(sPoints), nullptr; },
                  nullptr),
              0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    EXPECT_TRUE(std::is_sorted(sPoints.mValues.rbegin(), sPoints.mValues.rend()));
}

// ---- The minimum distance ------------------------------------------------------------

KLTFeatureList Enforce(const std::vector<PlainPoint>& inPoints, int inMinDist, int inLeast,
                       bool inOverwriteAll, KLTFeatureList inList) {
    auto points = PointsOf(inPoints);
    SortedPoints sorted(points.List(), inPoints.size());
    EnforceMinimumDistance(sorted, kCols, 30, inMinDist, inLeast, inOverwriteAll, inList);
    return inList;
}

TEST(EnforceMinimumDistance, FeaturesLieAtLeastTheDistanceApart) {
    const std::vector<PlainPoint> points{
        {20, 15, 90}, {29, 15, 80}, {30, 15, 70}, {20, 24, 60}, {10, 5, 50}};
    const auto list = Enforce(points, 10, 1, true, KLTFeatureList(4));
    EXPECT_EQ(list[0].mX, 20.0f);
    EXPECT_EQ(list[1].mX, 30.0f) << "9 apart is too near, 10 is not";
    EXPECT_EQ(list[2].mX, 10.0f);
    EXPECT_EQ(list[3].mValue, kKLTNotFound);
    EXPECT_EQ(list[3].mX, -1.0f);
    EXPECT_EQ(Enforce(points, 1, 1, true, KLTFeatureList(4))[1].mX, 29.0f);
    const std::vector<PlainPoint> twice{{20, 15, 90}, {20, 15, 80}};
    EXPECT_EQ(CountLive(Enforce(twice, 1, 1, true, KLTFeatureList(2))), 1);
    EXPECT_EQ(CountLive(Enforce(twice, 0, 1, true, KLTFeatureList(2))), 2);
    EXPECT_EQ(CountLive(Enforce(points, INT_MAX, 1, true, KLTFeatureList(4))), 1);
}

TEST(EnforceMinimumDistance, ValuesBelowOneNeverQualify) {
    const std::vector<PlainPoint> points{{5, 5, 1}, {25, 5, 0}, {5, 25, INT_MIN}};
    EXPECT_EQ(CountLive(Enforce(points, 1, -5, true, KLTFeatureList(3))), 1);
    EXPECT_EQ(CountLive(Enforce(points, 1, 2, true, KLTFeatureList(3))), 0);
}

TEST(EnforceMinimumDistance, RefilledSlotStartsAgainButKeepsItsDeltas) {
    KLTFeatureList list{FeatureAt(20, 15, 3), FeatureAt(-1, -1, kKLTSmallDet),
                        FeatureAt(-1, -1, kKLTLargeResidue)};
    for (auto& feature : list) {
        feature.mId = 77;
        feature.mAge = 8;
        feature.mDeltaX = 1.5f;
    }
    const auto result = Enforce({{25, 15, 90}, {5, 5, 80}}, 10, 1, false, list);
    EXPECT_TRUE(SameFeatures({result[0]}, {list[0]})) << "live features stay as they are";
    EXPECT_EQ(result[1].mX, 5.0f) << "the better point is too near to a live feature";
    EXPECT_EQ(result[1].mValue, 80);
    EXPECT_EQ(result[1].mId, 1);
    EXPECT_EQ(result[1].mAge, 0);
    EXPECT_EQ(result[1].mDeltaX, 1.5f);
    EXPECT_EQ(result[2].mValue, kKLTNotFound) << "whatever it was lost to";
    EXPECT_EQ(result[2].mAge, 8);
}

TEST(EnforceMinimumDistance, PositionsThatAreNoPixelsBlockNothing) {
    const KLTFeatureList strange{FeatureAt(kNaN, 5), FeatureAt(5, kInfinity),
                                 FeatureAt(3e38f, -3e38f), FeatureAt(1e10f, 5),
                                 FeatureAt(-1, -1, -1)};
    const auto result = Enforce({{5, 5, 90}}, 10, 1, false, strange);
    EXPECT_EQ(result[4].mX, 5.0f);
    // From outside the image a square still reaches in.
    const auto near =
        Enforce({{5, 5, 90}}, 10, 1, false, {FeatureAt(-3.7f, 5), FeatureAt(-1, -1, -1)});
    EXPECT_EQ(near[1].mValue, kKLTNotFound);
}

// ---- Through the tracker -------------------------------------------------------------

class Selection : public KLTTrackerTest {
protected:
    static constexpr int kCols = 131, kRows = 97;
    const std::vector<unsigned char> mFrame = TexturedBytes(kCols, kRows, 0, 0);

    std::vector<KLTFeatureList> SelectIn(const KLTTracker::Rects& inRegions, int inMode = 0,
                                         const std::vector<KLTFeatureList>& inLists = {}) {
        KLTTracker::Lists inputs, outputs;
        for (const auto& list : inLists)
            inputs.push_back(ListOf(list));
        for (std::size_t k = 0; k < inRegions.size(); ++k)
            outputs.push_back(ListOf({}));
        mTracker.SelectGoodFeaturesWithMode(mFrame.data(), kCols, kRows, inMode, inRegions,
                                            inputs, outputs);
        std::vector<KLTFeatureList> results;
        for (const auto& list : outputs)
            results.push_back(*list);
        return results;
    }
    void ExpectPlain(const KLTTracker::Rects& inRegions,
                     const std::vector<KLTFeatureList>& inReplace = {}) {
        const auto actual = SelectIn(inRegions, inReplace.empty() ? 0 : 1, inReplace);
        const auto expected = PlainSelect(mTracker.GetContext(), 60, mFrame.data(), kCols,
                                          kRows, inRegions, inReplace);
        for (std::size_t k = 0; k < inRegions.size(); ++k)
            EXPECT_TRUE(SameFeatures(actual[k], expected[k])) << "region " << k;
    }
};

TEST_F(Selection, DefaultsGiveTheFeaturesOfThePlainWay) {
    ExpectPlain({WholeFrame(kCols, kRows)});
    EXPECT_GT(CountLive(SelectIn({WholeFrame(kCols, kRows)})[0]), 30);
}

TEST_F(Selection, RegionsGiveTheFeaturesOfThePlainWayAlsoWithLeftovers) {
    ExpectPlain({{20.5f, 30.9f, 90.1f, 70.0f}});
    ExpectPlain({{90.1f, 70.0f, 20.5f, 30.9f}});
    // The points of an earlier region that a smaller one leaves standing are walked again.
    ExpectPlain({WholeFrame(kCols, kRows), {20, 20, 60, 60}, {0, 0, 131, 40}});
    ExpectPlain({{20, 20, 60, 60}, {-50, -50, -20, -20}, WholeFrame(kCols, kRows)});
}

TEST_F(Selection, RandomSettingsGiveTheFeaturesOfThePlainWay) {
    Random random(5);
    for (int run = 0; run < 60; ++run) {
        SCOPED_TRACE(run);
        auto& context = mTracker.GetContext();
        context.mWindowWidth = 3 + 2 * random.Integer(0, 6);
        context.mWindowHeight = 3 + 2 * random.Integer(0, 6);
        context.mMinDist = random.Integer(0, 14);
        context.mMinEigenvalue = random.Integer(-1, 400);
        context.mSkippedPixels = random.Integer(0, 3) / 2;
        context.mSmoothBeforeSelecting = run % 3 != 0;
        context.mGradSigma = float(0.5 + random.Real());
        const auto side = [&](int inSize) {
            return float((random.Real() * 1.4 - 0.2) * inSize);
        };
        const TVK::ParamRect<float> region{side(kCols), side(kRows), side(kCols), side(kRows)};
        ExpectPlain({region});
        auto lists = SelectIn({WholeFrame(kCols, kRows)});
        for (auto& feature : lists[0])
            if (random.Integer(0, 1)) feature.mValue = kKLTLargeResidue;
        ExpectPlain({region}, lists);
    }
}

TEST_F(Selection, WholeFrameReachesUpToTheHalfWindow) {
    mTracker.GetContext().mMinDist = 0;
    mTracker.SetMaxFeatures(kCols * kRows);
    int left = kCols, right = 0, top = kRows, foot = 0, points = 0;
    const auto list = SelectIn({WholeFrame(kCols, kRows)})[0];
    for (const auto& feature : list) {
        if (feature.mValue < 0) continue;
        ++points;
        left = std::min(left, int(feature.mX));
        right = std::max(right, int(feature.mX));
        top = std::min(top, int(feature.mY));
        foot = std::max(foot, int(feature.mY));
    }
    EXPECT_EQ(points, (kCols - 6) * (kRows - 6));
    EXPECT_EQ(std::tuple(left, right, top, foot), std::tuple(3, kCols - 4, 3, kRows - 4));
}

TEST_F(Selection, RegionsWithoutRoomGiveNoFeatures) {
    for (const TVK::ParamRect<float>& region : {TVK::ParamRect<float>{-90, -90, -20, -20},
                                                {500, 500, 900, 900},
                                                {20, 20, 20, 20},
                                                {kNaN, 0, 100, 90},
                                                {0, kNaN, 100, 90},
                                                {0, 0, kNaN, 90},
                                                {0, 0, 100, kNaN}}) {
        EXPECT_EQ(CountLive(SelectIn({region})[0]), 0);
        const KLTFeatureList kept{FeatureAt(50, 50, 9), FeatureAt(-1, -1, -4)};
        const auto replaced = SelectIn({region}, 1, {kept})[0];
        EXPECT_TRUE(SameFeatures({replaced[0]}, {kept[0]}));
        EXPECT_EQ(replaced[1].mValue, kKLTNotFound);
    }
    EXPECT_GT(CountLive(SelectIn({{-kInfinity, -1e30f, kInfinity, 3e9f}})[0]), 30);
}

TEST_F(Selection, NoRegionIsNoWork) { SelectIn({}); }

TEST_F(Selection, TopUpOfAListOntoItselfResizesItFirst) {
    const auto list = ListOf({FeatureAt(60, 50, 4), FeatureAt(-1, -1, -2)});
    KLTTracker::Lists lists{list};
    mTracker.SetMaxFeatures(4);
    mTracker.ReplaceLostFeatures(mFrame.data(), kCols, kRows, {WholeFrame(kCols, kRows)}, lists,
                                 lists);
    ASSERT_EQ(list->size(), 4u);
    EXPECT_GT((*list)[1].mValue, 0);
    EXPECT_EQ((*list)[2].mValue, 0) << "a new record reads as live and is kept";
    EXPECT_EQ((*list)[2].mX, 0.0f);
}

// ---- Odd frames ----------------------------------------------------------------------

TEST_F(Selection, TinyFramesAreSafe) {
    for (const int cols : {0, 1, 2, 6, 7, 8, 13})
        for (const int rows : {0, 1, 5, 7, 9}) {
            const auto frame = NoiseBytes(std::size_t(cols) * rows + 1, 3);
            EXPECT_TRUE(SameFeatures(Select(frame, cols, rows),
                                     PlainSelect(mTracker.GetContext(), 60, frame.data(), cols,
                                                 rows, {WholeFrame(cols, rows)}, {})[0]));
        }
    const RecordedReports reports;
    EXPECT_ANY_THROW(Select({1, 2, 3}, -1, 5));
}

// ---- Reports -------------------------------------------------------------------------

// One pixel of each gradient in every window: the trackability is the square of its value.
TEST(CollectPoints, ReportsWhatLiesAboveTheLimitAndNotAtIt) {
    static int sReports;
    for (const auto& [gradient, tooLarge] :
         {std::pair(50000.0f, false), {65536.0f, false}, {65600.0f, true}})
        for (const int step : {1, 3}) {
            std::vector<float> gradX(6 * 3, 0.0f), gradY(gradX);
            gradX[1] = gradX[4] = gradY[6 + 1] = gradY[6 + 4] = gradient;
            int values[4];
            unsigned indices[4];
            sReports = 0;
            const std::size_t count =
                CollectPoints(*ImageOf(6, 3, gradX), *ImageOf(6, 3, gradY), {1, 5, 1, 2, step},
                              3, 3, [] { ++sReports; }, {values, indices});
            ASSERT_EQ(count, step == 1 ? 4u : 2u);
            for (std::size_t i = 0; i < count; ++i) {
                EXPECT_EQ(values[i], std::numeric_limits<int>::min());
                EXPECT_EQ(indices[i], 6u + 1u + unsigned(step) * unsigned(i));
            }
            EXPECT_EQ(sReports, tooLarge ? int(count) : 0) << gradient;
        }
}

// Squares of 3 by 3 pixels of 0 and 255 under a huge window: the sums pass 2 to the 32.
TEST_F(Selection, TrackabilityBeyondTheIntegerIsReportedAndSortsLast) {
    constexpr int kSide = 1209;
    std::vector<unsigned char> frame(kSide * kSide);
    for (int y = 0; y < kSide; ++y)
        for (int x = 0; x < kSide; ++x)
            frame[y * kSide + x] = ((x / 3) ^ (y / 3)) & 1 ? 255 : 0;
    auto& context = mTracker.GetContext();
    context.mWindowWidth = context.mWindowHeight = 1201;
    context.mSmoothBeforeSelecting = false;
    context.mGradSigma = 0.5f;
    context.mSkippedPixels = 3;
    const RecordedReports reports(RecordedReports::Later::kShow);
    EXPECT_EQ(CountLive(Select(frame, kSide, kSide)), 0);
    ASSERT_GE(reports.Asserts().size(), 1u);
    EXPECT_EQ(reports.Asserts()[0].mText,
              "(_KLTSelectGoodFeatures) minimum eigenvalue %f is greater than the capacity of "
              "an TVK::SInt32; setting to maximum value\r\n");
}

TEST_F(Selection, ListsAndRegionsComeInPairs) {
    const RecordedReports reports;
    KLTTracker::Lists none;
    EXPECT_ANY_THROW(
        mTracker.SelectGoodFeatures(mFrame.data(), kCols, kRows, 0, {WholeFrame(1, 1)}, none));
    EXPECT_EQ(reports.Broken(),
              "Src/KLT/KLTTracker.cpp: inROIRects.size() == outFeatureListPtrVec.size()\n");
}

}  // namespace
