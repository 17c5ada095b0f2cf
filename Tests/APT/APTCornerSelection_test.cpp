// Corner selection: the rows give the bits of the planes, and the rules of threshold,
// rectangle, disc and order.

#include "APT/APTCornerSelection.h"

#include "APT/APTCornerRows.h"
#include "APTFrames.h"
#include "PlainCornerSelection.h"
#include "Support/Test.h"
#include "image/VectorTargets.h"

namespace {

using namespace DP;
using namespace Testing;

bool SameBits(float inA, float inB) { return std::memcmp(&inA, &inB, sizeof(float)) == 0; }

void ExpectSamePoints(const std::vector<APTCandidate>& inActual,
                      const std::vector<APTCandidate>& inExpected) {
    ASSERT_EQ(inActual.size(), inExpected.size());
    for (std::size_t i = 0; i < inActual.size(); ++i) {
        ASSERT_EQ(inActual[i].mX, inExpected[i].mX) << "point " << i;
        ASSERT_EQ(inActual[i].mY, inExpected[i].mY) << "point " << i;
        ASSERT_TRUE(SameBits(inActual[i].mScore, inExpected[i].mScore)) << "point " << i;
    }
}

std::vector<const APTCornerRowProcs*> Variants() {
    const auto forms = GetAPTCornerRowTargets().All();
    return {forms.begin(), forms.end()};
}

std::vector<APTCandidate> SelectOnce(APTCornerSelection& ioSelection,
                                     const std::vector<float>& inImage, int inCols, int inRows,
                                     const TVK::ParamRect<float>& inRect,
                                     const std::vector<APTFeature>& inPoints = {}) {
    ioSelection.SetImage(inImage.data(), inCols, inRows);
    ioSelection.FindCorners(inPoints.data(), inPoints.data() + inPoints.size(), inRect,
                            SIZE_MAX, true);
    return ioSelection.GetSelected();
}

std::vector<APTCandidate> SelectOnce(const APTTrackerParams& inParams,
                                     const std::vector<float>& inImage, int inCols, int inRows,
                                     const TVK::ParamRect<float>& inRect,
                                     const std::vector<APTFeature>& inPoints = {}) {
    APTCornerSelection selection;
    selection.ApplyParams(inParams);
    return SelectOnce(selection, inImage, inCols, inRows, inRect, inPoints);
}

std::vector<APTCandidate> SelectPlainly(const APTTrackerParams& inParams,
                                        const std::vector<float>& inImage, int inCols,
                                        int inRows, const TVK::ParamRect<float>& inRect,
                                        const std::vector<APTFeature>& inPoints = {}) {
    PlainCornerSelection plain;
    plain.ApplyParams(inParams);
    plain.SetImage(inImage.data(), inCols, inRows);
    plain.FindCorners(inPoints.data(), inPoints.data() + inPoints.size(), inRect, SIZE_MAX);
    return plain.GetSelected();
}

// ---- Rows against planes, by bits ----------------------------------------------------

// Columns, rows, and which parameters.
using SizeAndParams = std::tuple<int, int, int>;

APTTrackerParams ParamsNumber(int inNumber) {
    APTTrackerParams params;
    if (inNumber == 1) params.mSmoothImage = false;
    if (inNumber == 2) params.mPatchHalfWidth = 3, params.mPatchHalfHeight = 6;
    if (inNumber == 3) params.mBorder = 9;   // crops the area
    if (inNumber == 4) params.mBorder = 14;  // and the smoothing's
    if (inNumber == 5) params.mSmoothSigmaFactor = 0.3f, params.mMinFeatureDistance = 3;
    if (inNumber == 6) params.mMinEigenRelative = 0.5f, params.mMaxEigenPerPixel = 20.0f;
    return params;
}

class RowsAgainstPlanes : public testing::TestWithParam<SizeAndParams> {};

TEST_P(RowsAgainstPlanes, EveryVariantGivesTheCornernessOfThePlanes) {
    const auto [cols, rows, number] = GetParam();
    const APTTrackerParams params = ParamsNumber(number);
    const auto image = TexturedFrame(cols, rows, 0.5, 0.25, 7);
    PlainCornerSelection plain;
    plain.ApplyParams(params);
    plain.SetImage(image.data(), cols, rows);
    plain.FindCorners(nullptr, nullptr, FullFrame(cols, rows), SIZE_MAX);
    for (const auto* procs : Variants()) {
        SCOPED_TRACE(procs->mName);
        APTCornerStream stream;
        stream.SetProcs(*procs);
        stream.ApplyParams(params);
        const APTPixelRange range = stream.GetScanRange(cols, rows);
        if (range.IsEmpty()) {
            EXPECT_TRUE(plain.GetSelected().empty());
            continue;
        }
        stream.Start(image.data(), cols, rows, range);
        int expectedRow = range.mTop - 1;
        for (; stream.NextRow(); ++expectedRow) {
            ASSERT_EQ(stream.GetRowNumber(), expectedRow);
            const float* const row = stream.GetRow(expectedRow);
            for (int x = range.mLeft - 1; x <= range.mRight; ++x)
                ASSERT_TRUE(SameBits(
                    row[x], plain.GetCornerness()[std::size_t(expectedRow) * std::size_t(cols) +
                                                  std::size_t(x)]))
                    << x << ", " << expectedRow;
        }
        EXPECT_EQ(expectedRow, range.mBottom + 1);
    }
}

TEST_P(RowsAgainstPlanes, EveryVariantSelectsThePointsOfThePlanes) {
    const auto [cols, rows, number] = GetParam();
    const APTTrackerParams params = ParamsNumber(number);
    const auto image = TexturedFrame(cols, rows, 3.5, 1.25, 8);
    const std::vector<APTFeature> points{NewPoint(20.4f, 11.7f), NewPoint(-3.0f, 30.0f)};
    const auto expected =
        SelectPlainly(params, image, cols, rows, FullFrame(cols, rows), points);
    if (cols >= 97 && rows >= 43) {
        ASSERT_GT(expected.size(), 3u) << "nothing would be compared";
    }
    for (const auto* procs : Variants()) {
        SCOPED_TRACE(procs->mName);
        APTCornerSelection selection;
        selection.GetStream().SetProcs(*procs);
        selection.ApplyParams(params);
        ExpectSamePoints(
            SelectOnce(selection, image, cols, rows, FullFrame(cols, rows), points), expected);
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, RowsAgainstPlanes,
                         testing::Combine(testing::Values(14, 15, 16, 29, 30, 48, 97, 160),
                                          testing::Values(14, 15, 17, 28, 43, 75),
                                          testing::Range(0, 7)));

TEST(RowsAgainstPlanesOnOddImages, NoiseSpikesAndValuesThatAreNoNumbersGiveTheSamePoints) {
    constexpr int kCols = 90;
    constexpr int kRows = 70;
    for (int kind = 0; kind < 6; ++kind) {
        SCOPED_TRACE(kind);
        auto image = NoiseFrame(kCols, kRows, 3);
        const std::size_t at = 35 * kCols + 50;
        if (kind == 1) image[at] = std::numeric_limits<float>::quiet_NaN();
        if (kind == 2) image[at] = std::numeric_limits<float>::infinity();
        if (kind == 3) image[at] = 3e38f;
        if (kind == 4) image[at] = -1e20f, image[at + 1000] = 1e19f;
        if (kind == 5) std::fill(image.begin(), image.end(), NAN);
        for (const bool isSmooth : {true, false}) {
            APTTrackerParams params;
            params.mSmoothImage = isSmooth;
            params.mMinFeatureDistance = 2;
            ExpectSamePoints(
                SelectOnce(params, image, kCols, kRows, FullFrame(kCols, kRows)),
                SelectPlainly(params, image, kCols, kRows, FullFrame(kCols, kRows)));
        }
    }
}

TEST(PickMaxima, APixelThatANeighbourEqualsIsNone) {
    constexpr int kCols = 40;
    for (const auto* procs : Variants())
        for (const int x : {5, 37})  // in a block, and behind the last
            for (int neighbour = 0; neighbour < 9; ++neighbour) {
                float rows[3][kCols] = {};
                rows[1][x] = 1.0f;
                rows[neighbour / 3][x + neighbour % 3 - 1] = 1.0f;
                int columns[kCols];
                const int count =
                    procs->mPickMaxima(rows[0], rows[1], rows[2], 1, kCols - 1, columns);
                ASSERT_EQ(count, neighbour == 4 ? 1 : 0) << procs->mName << ", " << neighbour;
                if (count == 1) {
                    EXPECT_EQ(columns[0], x);
                }
            }
}

// ---- The rules -----------------------------------------------------------------------

TEST(CornerSelection, ALimitBeyondEveryNumberOfCornersIsServed) {
    APTTrackerParams params;
    const auto image = TexturedFrame(90, 70, 0.0, 0.0, 5);
    const auto expected = SelectOnce(params, image, 90, 70, FullFrame(90, 70));
    ASSERT_GT(expected.size(), 5u);
    params.mMaxFeatures = std::uint64_t{1} << 62;
    ExpectSamePoints(SelectOnce(params, image, 90, 70, FullFrame(90, 70)), expected);
    params.mMaxFeatures = 3;
    ExpectSamePoints(SelectOnce(params, image, 90, 70, FullFrame(90, 70)),
                     {expected.begin(), expected.begin() + 3});
}

TEST(CornerSelection, ACornerAtTheThresholdIsTaken) {
    const auto image = TexturedFrame(90, 70, 0.0, 0.0, 5);
    APTTrackerParams params;
    const auto expected = SelectOnce(params, image, 90, 70, FullFrame(90, 70));
    params.mMinEigenRelative = 1.0f;  // the best one is its own threshold
    params.mMaxEigenPerPixel = 1e30f;
    ExpectSamePoints(SelectOnce(params, image, 90, 70, FullFrame(90, 70)), {expected[0]});
}

TEST(CornerSelection, ADiscOnWholePixelsHoldsItsRim) {
    const auto image = TexturedFrame(90, 70, 0.0, 0.0, 5);
    const APTTrackerParams params;
    const auto points = SelectOnce(params, image, 90, 70, FullFrame(90, 70));
    const auto first = [&](float inAwayX, float inAwayY) {
        APTFeature tracked = NewPoint(points[0].mX + inAwayX, points[0].mY + inAwayY);
        tracked.mStatus = kAPTFeatureTracked;
        return SelectOnce(params, image, 90, 70, FullFrame(90, 70), {tracked})[0];
    };
    for (const auto& [x, y] :
         {std::pair{1.0f, 0.0f}, {-1.0f, 0.0f}, {0.0f, 1.0f}, {0.0f, -1.0f}}) {
        EXPECT_FALSE(SameBits(first(10.0f * x, 10.0f * y).mScore, points[0].mScore));
        EXPECT_TRUE(SameBits(first(10.01f * x, 10.01f * y).mScore, points[0].mScore));
    }
}

// ---- A part of the image -------------------------------------------------------------

TEST(PartOfTheImage, ARectangleHasThePointsOfTheFullSelectionInIt) {
    constexpr int kCols = 150;
    constexpr int kRows = 110;
    const TVK::ParamRect<float> rects[] = {
        {30.0f, 20.0f, 90.0f, 70.0f},  {30.5f, 20.5f, 90.5f, 70.5f},
        {-50.0f, -9.0f, 60.0f, 40.0f}, {100.0f, 80.0f, 500.0f, 3e9f},
        {7.0f, 7.0f, 9.0f, 9.0f},      {60.0f, 50.0f, 60.0f, 50.0f},
        {90.0f, 70.0f, 30.0f, 20.0f},  {-9.0f, -9.0f, -1.0f, -1.0f},
        {0.0f, NAN, 150.0f, 110.0f},   {-INFINITY, -INFINITY, INFINITY, INFINITY}};
    // Corners of every strength: the threshold may depend on the whole image or not.
    for (const float contrast : {1.0f, 0.3f, 0.1f, 0.04f, 0.02f, 0.005f}) {
        auto image = TexturedFrame(kCols, kRows, 0.0, 0.0, 5);
        for (std::size_t i = 0; i < image.size(); ++i)
            if (i % kCols > 20) image[i] *= contrast;
        APTTrackerParams params;
        params.mMinFeatureDistance = 4;
        // One selection for all: a call may begin with what the last one learned.
        APTCornerSelection selection;
        selection.ApplyParams(params);
        std::size_t points = 0;
        for (const auto& rect : rects) {
            SCOPED_TRACE(rect.mLeft);
            const auto expected = SelectPlainly(params, image, kCols, kRows, rect);
            ExpectSamePoints(SelectOnce(selection, image, kCols, kRows, rect), expected);
            ExpectSamePoints(SelectOnce(selection, image, kCols, kRows, rect), expected);
            ExpectSamePoints(SelectOnce(params, image, kCols, kRows, rect), expected);
            points += expected.size();
        }
        EXPECT_GT(points, 0u) << "nothing was compared";
    }
}

// A corner at the clamp fixes the threshold wherever it stands; what is skipped behind it
// must not be missed. Every place of it around, on and in a rectangle of weak corners.
TEST(PartOfTheImage, AStrongCornerAnywhereLeavesThePointsOfTheFullSelection) {
    constexpr int kCols = 110;
    constexpr int kRows = 90;
    const TVK::ParamRect<float> rect{35.0f, 30.0f, 75.0f, 62.0f};
    auto weak = TexturedFrame(kCols, kRows, 0.0, 0.0, 5);
    for (float& pixel : weak)
        pixel *= 0.12f;
    APTTrackerParams params;
    params.mMinFeatureDistance = 3;
    APTCornerSelection selection;
    selection.ApplyParams(params);
    const std::size_t without = SelectPlainly(params, weak, kCols, kRows, rect).size();
    int places = 0;
    int risen = 0;
    for (int top = 0; top + 12 <= kRows; top += 6)
        for (int left = 0; left + 12 <= kCols; left += 7) {
            SCOPED_TRACE(testing::Message() << left << ", " << top);
            auto image = weak;
            for (int y = top; y < top + 12; ++y)
                std::fill_n(image.begin() + y * kCols + left, 12, 250.0f);
            const auto expected = SelectPlainly(params, image, kCols, kRows, rect);
            places += 1;
            risen += expected.size() < without / 2;
            for (int round = 0; round < 2; ++round)
                ExpectSamePoints(SelectOnce(selection, image, kCols, kRows, rect), expected);
        }
    EXPECT_GT(without, 15u);
    EXPECT_GT(risen, places / 2) << "the strong corner does not raise the threshold";
}

}  // namespace
