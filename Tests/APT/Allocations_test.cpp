// In the steady state a frame takes a few small blocks from the heap and nothing of the
// size of an image, and never a block for a point.

#include "APTFrames.h"
#include "DP/Tracker.h"
#include "Support/HeapCounter.h"
#include "Support/Images.h"
#include "Support/Test.h"

namespace {

using namespace Testing;

constexpr std::size_t kListBytes = 500 * sizeof(DP::APTFeature);

TEST(Allocations, AnEngineStepTakesTheOutputListAlone) {
    const MovingClip clip;
    for (const bool isVerified : {false, true}) {
        DP::APTTrackerParams params;
        params.mVerifyAgainstReference = isVerified;
        const auto engine = MakeEngine(params);
        const DP::APTTracker::Rects rects{FullFrame(clip.mCols, clip.mRows)};
        std::vector<std::vector<float>> frames;
        for (int i = 0; i < 6; ++i)
            frames.push_back(clip.Frame(i));
        DP::APTTracker::Lists lists[2] = {{EmptyList()}, {EmptyList()}};
        engine->SelectFeatures(frames[0].data(), clip.mCols, clip.mRows, 0, rects, lists[0]);
        lists[1][0]->resize(500);
        const auto step = [&](std::size_t inFrame) {
            const auto& from = lists[(inFrame - 1) % 2];
            const auto& to = lists[inFrame % 2];
            std::fill(to[0]->begin(), to[0]->end(), DP::APTFeature());
            engine->TrackFeatures(frames[inFrame - 1].data(), frames[inFrame].data(),
                                  clip.mCols, clip.mRows, unsigned(inFrame), from, to);
            engine->ReplenishFeatures(frames[inFrame].data(), clip.mCols, clip.mRows,
                                      unsigned(inFrame), rects, to);
        };
        for (std::size_t frame = 1; frame < 5; ++frame)
            step(frame);
        ASSERT_GT(DP::CountLiveFeatures(*lists[0][0]), 30u);
        const long before = HeapAllocations();
        step(5);
        EXPECT_EQ(HeapAllocations() - before, 0) << (isVerified ? "verified" : "plain");
    }
}

TEST(Allocations, ACallOfTheExportedTrackerTakesTheListAndAFewSmallBlocks) {
    const MovingClip clip;
    DP::Tracker* const tracker =
        DP::Tracker::CreateTracker(unsigned(clip.mCols), unsigned(clip.mRows));
    DP::APTFeatureListPtr features;
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

// A clip of three frames through every operation of a new engine, the n-th allocation of
// all failing, and the call that threw made once more. Answers whether one did.
class FailingRun {
public:
    FailingRun(const std::vector<std::vector<float>>& inFrames, bool inIsVerified)
        : mFrames(inFrames) {
        mEngine->mParams.mMaxFeatures = 20;
        mEngine->mParams.mVerifyAgainstReference = inIsVerified;
    }

    bool Run(long inFailure) {
        FailHeapAllocation(inFailure);
        Attempt([&] { mEngine->ApplyParams(); });
        Attempt([&] {
            mEngine->SelectFeatures(mFrames[0].data(), kCols, kRows, 0, mRects, mLists[0]);
        });
        for (std::size_t frame = 1; frame < 3; ++frame) {
            const auto number = unsigned(frame);
            Attempt([&] {
                mEngine->TrackFeatures(mFrames[frame - 1].data(), mFrames[frame].data(), kCols,
                                       kRows, number, mLists[frame - 1], mLists[frame]);
            });
            Attempt([&] {
                mEngine->ReplenishFeatures(mFrames[frame].data(), kCols, kRows, number, mRects,
                                           mLists[frame]);
            });
        }
        FailHeapAllocation(0);
        return mHasFailed;
    }

    const DP::APTFeatureList& GetList(std::size_t inFrame) const { return *mLists[inFrame][0]; }

    static constexpr int kCols = 80;
    static constexpr int kRows = 60;

private:
    template <class Call>
    void Attempt(Call inCall) {
        try {
            inCall();
        } catch (const std::bad_alloc&) {
            mHasFailed = true;
            inCall();
        }
    }

    const std::vector<std::vector<float>>& mFrames;
    DP::APTTrackerPtr mEngine = TVK::MakeObject<DP::APTTracker>();
    const DP::APTTracker::Rects mRects{FullFrame(kCols, kRows)};
    const DP::APTTracker::Lists mLists[3] = {{EmptyList()}, {EmptyList()}, {EmptyList()}};
    bool mHasFailed = false;
};

TEST(Allocations, ACallRepeatedAfterAnyFailureGivesWhatAFreshEngineGives) {
    MovingClip clip;
    clip.mCols = FailingRun::kCols;
    clip.mRows = FailingRun::kRows;
    const std::vector<std::vector<float>> frames{clip.Frame(0), clip.Frame(1), clip.Frame(2)};
    for (const bool isVerified : {false, true}) {
        FailingRun expected(frames, isVerified);
        ASSERT_FALSE(expected.Run(0));
        ASSERT_GT(DP::CountLiveFeatures(expected.GetList(2)), 5u);
        long failures = 0;
        for (bool hasFailed = true; hasFailed; ++failures) {
            SCOPED_TRACE(failures + 1);
            FailingRun actual(frames, isVerified);
            hasFailed = actual.Run(failures + 1);
            for (std::size_t frame = 0; frame < 3; ++frame) {
                ASSERT_EQ(actual.GetList(frame).size(), expected.GetList(frame).size());
                // Up to the flag, behind which there is padding.
                for (std::size_t i = 0; i < actual.GetList(frame).size(); ++i)
                    ASSERT_EQ(
                        std::memcmp(&actual.GetList(frame)[i], &expected.GetList(frame)[i],
                                    offsetof(DP::APTFeature, mReservedFlag)),
                        0)
                        << "frame " << frame << ", slot " << i;
            }
        }
        EXPECT_GT(failures, 20);
    }
}

}  // namespace
