// Regions: the laws that they keep, and the fill behind them.

#include "External/graphcut/MWSegment.h"

#include <stdexcept>

#include "External/graphcut/MWSegmentSeedFill.h"
#include "Pictures.h"
#include "PlainTwins.h"
#include "Support/Test.h"
#include "image/Saturate.h"

namespace {

using namespace Testing;

struct Segments {
    std::vector<unsigned int> mLabels;
    unsigned int mCount = 0;
};

constexpr unsigned int kUntouched = 0xdeadbeef;

template <class T>
Segments Segment(const Picture<T>& inPicture, float inTolerance, int inRadius) {
    Segments result;
    result.mLabels.assign(std::size_t(inPicture.mColumns * inPicture.mRows), kUntouched);
    MWSegment(inPicture.Plane(0), inPicture.Plane(1), inPicture.Plane(2), inPicture.Plane(3),
              inPicture.mRows, inPicture.mColumns, 17, -4, result.mLabels.data(),
              inPicture.mStride, inPicture.mColumns, inPicture.PlaneCount(),
              inPicture.BitDepth(), inTolerance, inRadius, &result.mCount);
    return result;
}

template <class T>
void ExpectPlainLabels(const Picture<T>& inPicture, float inTolerance, int inRadius) {
    const Segments segments = Segment(inPicture, inTolerance, inRadius);
    EXPECT_EQ(segments.mLabels, PlainSegment(inPicture, inTolerance, inRadius));
    const auto most = std::max_element(segments.mLabels.begin(), segments.mLabels.end());
    EXPECT_EQ(segments.mCount + 1, *most);
    EXPECT_EQ(std::count(segments.mLabels.begin(), segments.mLabels.end(), 0u), 0);
}

// ---- Sizes, depths, planes -----------------------------------------------------------

TEST(MWSegment, RegionsAreWhatIsReachedFromTheirSeedsAtOddSizes) {
    for (const int columns : {1, 2, 3, 10, 11, 12, 31, 64})
        for (const int rows : {1, 2, 5, 13, 40}) {
            SCOPED_TRACE(testing::Message() << columns << "x" << rows);
            ExpectPlainLabels(MakePicture<unsigned char>(columns, rows, 3, 5), 10.0f / 255, 5);
        }
}

TEST(MWSegment, RegionsAreWhatIsReachedFromTheirSeedsForAllFormats) {
    for (const int planes : {1, 3, 4})
        for (const int padding : {0, 5})
            for (const float tolerance : {0.0f, 0.02f, 10.0f / 255, 0.3f, 5.0f, -0.1f})
                for (const int radius : {0, 1, 2, 5, 6, 9, -3}) {
                    SCOPED_TRACE(testing::Message() << planes << " planes, tolerance "
                                                    << tolerance << ", radius " << radius);
                    const auto seed = std::uint64_t(planes * 10 + padding);
                    ExpectPlainLabels(MakePicture<unsigned char>(37, 23, planes, seed, padding),
                                      tolerance, radius);
                    ExpectPlainLabels(
                        MakePicture<unsigned short>(37, 23, planes, seed, padding), tolerance,
                        radius);
                    ExpectPlainLabels(MakePicture<float>(37, 23, planes, seed, padding),
                                      tolerance, radius);
                    if (HasFailure()) return;
                }
}

TEST(MWSegment, NoiseOfFewLevelsMakesCrookedRegionsThatAreReachedAllTheSame) {
    Picture<unsigned char> picture{50, 40, 50, {}};
    Random random(3);
    picture.mPlanes.assign(1, std::vector<unsigned char>(2000));
    for (auto& sample : picture.mPlanes[0])
        sample = static_cast<unsigned char>(random.Integer(0, 2) * 100);
    ExpectPlainLabels(picture, 0.1f, 5);
    picture.mPlanes.assign(3, picture.mPlanes[0]);
    ExpectPlainLabels(picture, 0.1f, 5);
    // Two levels make ways that lead up and down several times.
    for (int round = 0; round < 40; ++round) {
        SCOPED_TRACE(round);
        for (auto& sample : picture.mPlanes[0])
            sample = random.Integer(0, 9) < 6 ? 100 : 200;
        picture.mPlanes.resize(1);
        ExpectPlainLabels(picture, 0.1f, 7);
    }
}

TEST(MWSegment, LabelsOutsideTheAreaStay) {
    const auto picture = MakePicture<unsigned char>(7, 5, 3, 1);
    std::vector<unsigned int> labels(5 * 10, kUntouched);
    unsigned int count = 0;
    MWSegment(picture.Plane(0), picture.Plane(1), picture.Plane(2), nullptr, 5, 7, 0, 0,
              labels.data(), 7, 10, 3, 8, 0.1f, 5, &count);
    for (int y = 0; y < 5; ++y)
        for (int x = 7; x < 10; ++x)
            EXPECT_EQ(labels[std::size_t(y * 10 + x)], kUntouched);
}

TEST(MWSegment, AreaWithoutPixelsHasNoRegions) {
    unsigned int count = 9;
    MWSegment(nullptr, nullptr, nullptr, nullptr, 0, 0, 0, 0, nullptr, 0, 0, 3, 8, 0.1f, 5,
              &count);
    EXPECT_EQ(count, 0u);
    MWSegment(nullptr, nullptr, nullptr, nullptr, 4, -2, 0, 0, nullptr, 0, 0, 3, 8, 0.1f, 5,
              &count);
    EXPECT_EQ(count, 0u);
}

// ---- The two limits ------------------------------------------------------------------

TEST(SquareOrMost, StopsAtTheLargestInteger) {
    constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
    EXPECT_EQ(IP::SquareOrMost(-46340), 46340 * 46340);
    for (const std::int64_t length : {std::int64_t{46341}, std::int64_t{1} << 32,
                                      -(std::int64_t{1} << 32), std::int64_t{INT64_MAX}})
        EXPECT_EQ(IP::SquareOrMost(length), kMost) << length;
}

// ---- Odd samples and formats ---------------------------------------------------------

TEST(MWSegment, SampleThatIsNoNumberUsesItsRegionUpAndStaysUnlabelled) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    const Picture<float> picture{3, 2, 3, {{0.5f, nan, 0.5f, 0.5f, 0.5f, infinity}}};
    const Segments segments = Segment(picture, 0.1f, 5);
    EXPECT_EQ(segments.mLabels, (std::vector<unsigned int>{2, 0, 4, 2, 2, 0}));
    EXPECT_EQ(segments.mCount, 4u);
}

TEST(MWSegment, UnknownFormatsAreReportedAndLeaveTheLabels) {
    const RecordedReports reports(RecordedReports::Later::kShow);
    std::vector<unsigned int> labels(4, kUntouched);
    const float samples[4] = {};
    const auto run = [&](int inPlanes, int inBitDepth) {
        unsigned int count = 9;
        MWSegment(samples, samples, samples, samples, 2, 2, 0, 0, labels.data(), 2, 2, inPlanes,
                  inBitDepth, 0.1f, 5, &count);
        EXPECT_EQ(count, 0u);
        EXPECT_EQ(labels, std::vector<unsigned int>(4, kUntouched));
    };
    for (const int depth : {8, 16, 32})
        run(2, depth);
    run(3, 12);
    const auto asserts = reports.Asserts();
    ASSERT_EQ(asserts.size(), 4u);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(asserts[std::size_t(i)].mText.find("WARNING: Unexpected # of image planes."),
                  0u);
    EXPECT_EQ(asserts[3].mText.find("WARNING: Unexpected image bit depth."), 0u);
    EXPECT_EQ(asserts[3].mFunction, "MWSegment");
}

// ---- The fill itself -----------------------------------------------------------------

// A field of characters: '.' can be filled. Called through the virtual operations.
class FieldFill : public MWSegmentSeedFill<unsigned int> {
public:
    explicit FieldFill(std::vector<std::string> inField) : mField(std::move(inField)) {}
    bool IsInside(int inX, int inY) override {
        ++mTests;
        if (mTests == mThrowAt) {
            if (mThrowsBadAlloc) throw std::bad_alloc();
            throw std::runtime_error("field");
        }
        return mField.at(std::size_t(inY)).at(std::size_t(inX)) == '.';
    }
    void SetPixel(int inX, int inY) override {
        mField.at(std::size_t(inY)).at(std::size_t(inX)) = 'o';
    }

    std::vector<std::string> mField;
    int mTests = 0;
    int mThrowAt = 0;
    bool mThrowsBadAlloc = false;
};

TEST(SeedFill, StaysInItsAreaAndIgnoresASeedOutside) {
    FieldFill fill({".....", ".....", "....."});
    EXPECT_EQ(SeedFill(4, 0, FillArea{1, 1, 3, 1}, fill), 0);
    EXPECT_EQ(fill.mTests, 0);
    EXPECT_EQ(SeedFill(2, 1, FillArea{1, 1, 3, 1}, fill), 0);
    EXPECT_EQ(fill.mField, (std::vector<std::string>{".....", ".ooo.", "....."}));
}

TEST(SeedFill, WhatIsThrownBecomesAResultAndThePixelsStay) {
    FieldFill fill({"....."});
    fill.mThrowAt = 3;
    EXPECT_EQ(SeedFill(0, 0, FillArea{0, 0, 4, 0}, fill), 1);
    EXPECT_EQ(fill.mField[0], "oo...");
    fill.mThrowsBadAlloc = true;
    fill.mThrowAt = fill.mTests + 1;
    EXPECT_EQ(SeedFill(4, 0, FillArea{0, 0, 4, 0}, fill), 2);
}

}  // namespace
