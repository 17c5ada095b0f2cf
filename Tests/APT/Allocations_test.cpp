// In the steady state a frame takes a few small blocks from the heap and nothing of the
// size of an image, and never a block for a point.

#include "APTFrames.h"
#include "DP/Tracker.h"
#include "Support/HeapCounter.h"
#include "Support/Images.h"
#include "Support/Test.h"

namespace {

using namespace DP;
using namespace Testing;

constexpr std::size_t kListBytes = 500 * sizeof(APTFeature);

TEST(Allocations, AnEngineStepTakesTheOutputListAlone) {
    const MovingClip clip;
    for (const bool isVerified : {false, true}) {
        APTTrackerParams params;
        params.mVerifyAgainstReference = isVerified;
        const auto engine = MakeEngine(params);
        const APTTracker::Rects rects{FullFrame(clip.mCols, clip.mRows)};
        std::vector<std::vector<float>> frames;
        for (int i = 0; i < 6; ++i)
            frames.push_back(clip.Frame(i));
        APTTracker::Lists lists[2] = {{EmptyList()}, {EmptyList()}};
        engine->SelectFeatures(frames[0].data(), clip.mCols, clip.mRows, 0, rects, lists[0]);
        lists[1][0]->resize(500);
        const auto step = [&](std::size_t inFrame) {
            const auto& from = lists[(inFrame - 1) % 2];
            const auto& to = lists[inFrame % 2];
            std::fill(to[0]->begin(), to[0]->end(), APTFeature());
            engine->TrackFeatures(frames[inFrame - 1].data(), frames[inFrame].data(),
                                  clip.mCols, clip.mRows, unsigned(inFrame), from, to);
            engine->ReplenishFeatures(frames[inFrame].data(), clip.mCols, clip.mRows,
                                      unsigned(inFrame), rects, to);
        };
        for (std::size_t frame = 1; frame < 5; ++frame)
            step(frame);
        ASSERT_GT(CountLiveFeatures(*lists[0][0]), 30u);
        const long before = HeapAllocations();
        step(5);
        EXPECT_EQ(HeapAllocations() - before, 0) << (isVerified ? "verified" : "plain");
    }
}

TEST(Allocations, ACallOfTheExportedTrackerTakesTheListAndAFewSmallBlocks) {
    const MovingClip clip;
    Tracker* const tracker = Tracker::CreateTracker(unsigned(clip.mCols), unsigned(clip.mRows));
    APTFeatureListPtr features;
    long most = 0;
    for (int frame = 0; frame < 12; ++frame) {
        const auto image = ImageOf(clip.mCols, clip.mRows, clip.Frame(frame));
        const long before = HeapAllocations();
        ResetLargestHeapAllocation();
        tracker->TrackFeatures(image, unsigned(frame), features);
        if (frame < 6) continue;
        most = std::max<long>(most, HeapAllocations() - before);
        EXPECT_LE(LargestHeapAllocation(), kListBytes);
    }
    delete tracker;
    EXPECT_GT(most, 0) << "the counter counts";
    EXPECT_LE(most, 10);
}

// ---- Memory that runs out ------------------------------------------------------------

constexpr int kCols = 80, kRows = 60;

// A clip of three frames through every operation of a new engine, the n-th allocation of
// all failing, and the call that threw made once more. The lists of the frames.
std::vector<APTFeatureList> RunWithFailure(const std::vector<float> (&inFrames)[3],
                                           bool inIsVerified, long inFailure,
                                           bool& outHasFailed) {
    const auto engine = TVK::MakeObject<APTTracker>();
    engine->mParams.mMaxFeatures = 20;
    engine->mParams.mVerifyAgainstReference = inIsVerified;
    const APTTracker::Rects rects{FullFrame(kCols, kRows)};
    const APTTracker::Lists lists[3] = {{EmptyList()}, {EmptyList()}, {EmptyList()}};
    const auto track = [&](std::size_t inFrame) {
        engine->TrackFeatures(inFrames[inFrame - 1].data(), inFrames[inFrame].data(), kCols,
                              kRows, unsigned(inFrame), lists[inFrame - 1], lists[inFrame]);
    };
    const auto replenish = [&](std::size_t inFrame) {
        engine->ReplenishFeatures(inFrames[inFrame].data(), kCols, kRows, unsigned(inFrame),
                                  rects, lists[inFrame]);
    };
    const std::function<void()> calls[] = {
        [&] { engine->ApplyParams(); },
        [&] { engine->SelectFeatures(inFrames[0].data(), kCols, kRows, 0, rects, lists[0]); },
        [&] { track(1); },
        [&] { replenish(1); },
        [&] { track(2); },
        [&] {
            replenish(2);
        }};
    outHasFailed = false;
    FailHeapAllocation(inFailure);
    for (const auto& call : calls)
        try {
            call();
        } catch (const std::bad_alloc&) {
            outHasFailed = true;
            call();
        }
    FailHeapAllocation(0);
    return {*lists[0][0], *lists[1][0], *lists[2][0]};
}

TEST(Allocations, ACallRepeatedAfterAnyFailureGivesWhatAFreshEngineGives) {
    MovingClip clip;
    clip.mCols = kCols;
    clip.mRows = kRows;
    const std::vector<float> frames[] = {clip.Frame(0), clip.Frame(1), clip.Frame(2)};
    for (const bool isVerified : {false, true}) {
        bool hasFailed = false;
        const auto expected = RunWithFailure(frames, isVerified, 0, hasFailed);
        ASSERT_FALSE(hasFailed);
        ASSERT_GT(CountLiveFeatures(expected[2]), 5u);
        long failures = 0;
        do {
            SCOPED_TRACE(++failures);
            const auto actual = RunWithFailure(frames, isVerified, failures, hasFailed);
            for (std::size_t frame = 0; frame < 3; ++frame) {
                ASSERT_EQ(actual[frame].size(), expected[frame].size());
                // Up to the flag, behind which there is padding.
                for (std::size_t i = 0; i < actual[frame].size(); ++i)
                    ASSERT_EQ(std::memcmp(&actual[frame][i], &expected[frame][i],
                                          offsetof(APTFeature, mReservedFlag)),
                              0)
                        << "frame " << frame << ", slot " << i;
            }
        } while (hasFailed);
        EXPECT_GT(failures, 20);
    }
}

}  // namespace
