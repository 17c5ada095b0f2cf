// The promise of a computer: a key is computed once, by one thread, while others run on.
// The interleavings are staged with gates; nothing here depends on how fast a thread is.

#include <atomic>
#include <future>
#include <stdexcept>
#include <thread>

#include "DP/DescriptorFactory.h"
#include "DescriptorComputer.h"
#include "Support/Items.h"
#include "Support/StartLine.h"
#include "Support/Test.h"
#include "quillet/Error.h"

namespace {

using namespace DP;
using namespace Testing;
using Data = Ref<IDescriptorData>;

Ref<IDescriptorDataKey> KeyOf(long long inFrame) {
    return CreateDescriptorDataKey(Wide("clip"), inFrame, 1, 1);
}

class ComputeOnce : public testing::Test {
protected:
    ~ComputeOnce() override {
        mComputer = nullptr;
        FlushAllDescriptorResources();
        EXPECT_EQ(CountedData::Alive(), 0);
        EXPECT_EQ(ScriptedItem::Alive(), 0);
    }

    Data Get(long long inFrame, ScriptedItem::Script inScript, bool inStore = true) {
        return mComputer->GetDescriptorData(ScriptedItem::Make(KeyOf(inFrame), inScript),
                                            inStore);
    }
    // An item whose computation must not run.
    Data GetCached(long long inFrame) {
        return Get(inFrame, [] {
            ADD_FAILURE() << "computed instead of taken from the cache";
            return Data();
        });
    }

    Ref<IDescriptorComputer> mComputer = CreateDescriptorComputer(
        CreateDescriptorProperty(Wide("clip"), kDescriptorDataTypeGreyImage));
    std::atomic<int> mComputed{0};
    ScriptedItem::Script mCount = [this] {
        ++mComputed;
        return CountedData::Make();
    };
};

// ---- One thread ----------------------------------------------------------------------

TEST_F(ComputeOnce, WithoutStoringEachRequestComputes) {
    const Data first = Get(1, mCount, false);
    const Data second = Get(1, mCount, false);
    EXPECT_FALSE(first == second);
    EXPECT_EQ(mComputed, 2);
    const Data third = Get(1, mCount, true);
    EXPECT_EQ(GetCached(1), third);
}

TEST_F(ComputeOnce, AComputationThatComesToNothingIsNoErrorAndIsTriedAgain) {
    EXPECT_TRUE(Get(1, [] { return Data(); }) == NULL);
    EXPECT_TRUE(Get(1, mCount) != NULL);
    EXPECT_EQ(mComputed, 1);
}

TEST_F(ComputeOnce, AComputationThatThrowsStoresNothingAndLocksNothing) {
    EXPECT_THROW(Get(1, []() -> Data { throw std::runtime_error("no frame"); }),
                 std::runtime_error);
    std::thread([&] { EXPECT_TRUE(Get(1, mCount) != NULL); }).join();
    EXPECT_EQ(mComputed, 1);
}

TEST_F(ComputeOnce, AComputationMayAskForItsOwnKey) {
    Data inner;
    const Data outer = Get(1, [&] {
        inner = Get(1, mCount);
        return CountedData::Make();
    });
    EXPECT_EQ(mComputed, 1);
    EXPECT_FALSE(outer == inner) << "each computation gives its own result back";
    EXPECT_EQ(GetCached(1), inner) << "the one that was stored first stays";
}

TEST_F(ComputeOnce, AComputationMayAskForOtherKeys) {
    const Data outer = Get(1, [&] {
        Get(2, [&] {
            Get(3, mCount);
            return CountedData::Make();
        });
        return CountedData::Make();
    });
    EXPECT_EQ(GetCached(1), outer);
    EXPECT_TRUE(GetCached(2) != NULL);
    EXPECT_TRUE(GetCached(3) != NULL);
}

TEST_F(ComputeOnce, ResultsOfBeforeAFlushAreNotFoundAfterIt) {
    const Data before = Get(1, mCount);
    FlushAllDescriptorResources();
    // The held computer stays usable: it asks for its cache afresh on every call.
    EXPECT_FALSE(Get(1, mCount) == before);
    EXPECT_EQ(mComputed, 2);
    const Data third = Get(1, mCount);
    CreateDescriptorDataCacheMgr()->ClearAllCaches();
    EXPECT_FALSE(Get(1, mCount) == third);
}

// ---- Bad input -----------------------------------------------------------------------

TEST_F(ComputeOnce, NullItemBreaksTheContract) {
    const RecordedReports reports;
    EXPECT_THROW(mComputer->GetDescriptorData(nullptr, true), quillet::config::ReportedError);
    EXPECT_EQ(reports.Broken(), "Src/DescriptorComputer.cpp: inDescriptorWorkerItem != NULL\n");
}

TEST_F(ComputeOnce, AnItemWithoutAKeyBreaksTheContractAndLocksNothing) {
    const RecordedReports reports;
    Get(1, mCount);
    EXPECT_THROW(mComputer->GetDescriptorData(ScriptedItem::Make(nullptr, mCount), true),
                 quillet::config::ReportedError);
    EXPECT_EQ(mComputed, 1);
    std::thread([&] { GetCached(1); }).join();
}

// On an empty cache the first lookup passes and enters the null key; the second one
// throws, and so does everybody until the caches are cleared.
TEST_F(ComputeOnce, AnItemWithoutAKeyOnAnEmptyCacheSpoilsItUntilCleared) {
    const RecordedReports reports;
    EXPECT_THROW(mComputer->GetDescriptorData(ScriptedItem::Make(nullptr, mCount), true),
                 quillet::config::ReportedError);
    EXPECT_THROW(Get(1, mCount), quillet::config::ReportedError);
    CreateDescriptorDataCacheMgr()->ClearAllCaches();
    EXPECT_TRUE(Get(1, mCount) != NULL);
    EXPECT_EQ(mComputed, 1);
}

TEST_F(ComputeOnce, AComputerWithoutAPropertyThrows) {
    const Ref<IDescriptorComputer> bare = DescriptorComputer::Create();
    EXPECT_THROW(bare->GetDescriptorData(ScriptedItem::Make(KeyOf(1), mCount), true),
                 TVK::NullInterfaceException);
}

// ---- Many threads --------------------------------------------------------------------

TEST_F(ComputeOnce, ASecondThreadWaitsForTheFirstAndGetsItsObject) {
    std::promise<void> inside, mayFinish;
    Data first;
    Data second;
    std::thread one([&] {
        first = Get(1, [&] {
            inside.set_value();
            mayFinish.get_future().wait();
            return mCount();
        });
    });
    inside.get_future().wait();
    // The second is on its way before the first may finish. Whether it already waits on
    // the key cannot be seen from here; that it never computes can.
    std::promise<void> onItsWay;
    std::thread two([&] {
        onItsWay.set_value();
        second = GetCached(1);
    });
    onItsWay.get_future().wait();
    // Another key passes while the first is being computed; it would hang here otherwise.
    EXPECT_TRUE(Get(2, mCount) != NULL);
    mayFinish.set_value();
    one.join();
    two.join();
    EXPECT_EQ(first, second);
    EXPECT_EQ(mComputed, 2);
}

TEST_F(ComputeOnce, WhenTheFirstThrowsOneOfThoseWhoWaitedComputes) {
    std::promise<void> inside, mayFail;
    std::vector<Data> results(4);
    std::thread failing([&] {
        EXPECT_THROW(Get(1,
                         [&]() -> Data {
                             inside.set_value();
                             mayFail.get_future().wait();
                             throw std::runtime_error("no frame");
                         }),
                     std::runtime_error);
    });
    inside.get_future().wait();
    std::vector<std::thread> waiting;
    for (auto& result : results)
        waiting.emplace_back([&] { result = Get(1, mCount); });
    mayFail.set_value();
    failing.join();
    for (auto& thread : waiting)
        thread.join();
    EXPECT_EQ(mComputed, 1);
    for (const auto& result : results) {
        EXPECT_TRUE(result != NULL);
        EXPECT_EQ(result, results[0]);
    }
}

// Two computations that each wait for the other to have begun: possible only if they run
// at the same time.
TEST_F(ComputeOnce, DifferentKeysAreComputedAtTheSameTime) {
    StartLine both(2);
    const auto meet = [&] {
        both.Meet();
        return CountedData::Make();
    };
    std::thread other([&] { Get(1, meet); });
    Get(2, meet);
    other.join();
}

TEST_F(ComputeOnce, ManyThreadsOnManyKeysComputeEachOnce) {
    constexpr int kThreads = 8;
    constexpr int kKeys = 40;  // below the limit, so that nothing is dropped between
    std::vector<std::atomic<int>> computed(kKeys);
    StartLine start(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            Random random(std::uint64_t(t) + 1);
            start.Meet();
            for (int i = 0; i < 400; ++i) {
                const int frame = random.Integer(0, kKeys - 1);
                const Data data = Get(frame, [&] {
                    // Every key fails the first time.
                    if (++computed[std::size_t(frame)] == 1) return Data();
                    return CountedData::Make(unsigned(frame));
                });
                EXPECT_TRUE(data == NULL || data->GetDataSize() == unsigned(frame));
            }
        });
    for (auto& thread : threads)
        thread.join();
    for (int frame = 0; frame < kKeys; ++frame)
        EXPECT_LE(computed[std::size_t(frame)], 2) << "frame " << frame;
}

}  // namespace
