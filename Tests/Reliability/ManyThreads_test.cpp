// Eight threads, a thousand keys over the kinds, computations that fail at first, flushes at
// agreed points: between two flushes every key is computed with success exactly once.

#include <atomic>
#include <barrier>
#include <deque>
#include <stdexcept>
#include <thread>

#include "DP/DescriptorFactory.h"
#include "Kinds.h"
#include "Support/Items.h"
#include "Support/KindTable.h"
#include "Support/Test.h"

namespace {

using namespace DP;
using namespace Testing;

constexpr int kThreads = 8;
constexpr int kRounds = 4;
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr int kRequests = 50'000;
#else
constexpr int kRequests = 1'000'000;  // over all threads and rounds
#endif

// As many keys of each kind as fit into its cache, and about a thousand in all.
int KeysOf(const KindRow& inRow) {
    const int limit = int(FindKind(inRow.mType)->mMaxCachedResults);
    return std::min(limit - limit / 6, 219);
}

class ManyThreads : public testing::Test {
protected:
    struct Key {
        const KindRow* mKind = nullptr;
        int mFrame = 0;
        std::atomic<int> mTries{0};
        std::atomic<int> mSuccesses{0};
        std::atomic<IDescriptorData*> mResult{nullptr};
    };

    ManyThreads() {
        for (const KindRow& row : KindTable())
            for (int frame = 0; frame < KeysOf(row); ++frame) {
                Key& key = mKeys.emplace_back();
                key.mKind = &row;
                key.mFrame = frame;
            }
    }

    // The first two computations of a key in a round throw.
    Ref<IDescriptorData> Compute(Key& ioKey) {
        if (ioKey.mTries++ < 2) throw std::runtime_error("not yet");
        ++ioKey.mSuccesses;
        return CountedData::Make();
    }

    void Request(Key& ioKey) {
        const auto item =
            ScriptedItem::Make(CreateDescriptorDataKey(Wide("clip"), ioKey.mFrame, 1, 1),
                               [&] { return Compute(ioKey); });
        const auto computer = CreateDescriptorComputer(ioKey.mKind->mMakeProperty());
        try {
            const auto data = computer->GetDescriptorData(item, true);
            IDescriptorData* const now = data.operator->();
            IDescriptorData* first = nullptr;
            if (!ioKey.mResult.compare_exchange_strong(first, now) && first != now) ++mOthers;
        } catch (const std::runtime_error&) {
        }
    }

    void CheckAndFlush() {
        for (Key& key : mKeys) {
            EXPECT_EQ(key.mSuccesses.exchange(0), 1) << key.mKind->mName << " " << key.mFrame;
            EXPECT_EQ(key.mTries.exchange(0), 3);
            key.mResult = nullptr;
        }
        EXPECT_EQ(CountedData::Alive(), int(mKeys.size()));
        FlushAllDescriptorResources();
        EXPECT_EQ(CountedData::Alive(), 0);
        EXPECT_EQ(ScriptedItem::Alive(), 0);
    }

    std::deque<Key> mKeys;
    std::atomic<int> mOthers{0};  // results that were not the key's first one
};

TEST_F(ManyThreads, EveryKeySucceedsExactlyOnceBetweenFlushes) {
    std::barrier all_done(kThreads, [&]() noexcept { CheckAndFlush(); });
    std::vector<std::jthread> threads;
    for (std::uint64_t thread = 0; thread < kThreads; ++thread)
        threads.emplace_back([&, thread] {
            Random random(thread + 1);
            for (int round = 0; round < kRounds; ++round) {
                // Chance alone may leave out a key that needs three requests to succeed.
                for (std::size_t key = 0; thread < 3 && key < mKeys.size(); ++key)
                    Request(mKeys[key]);
                for (int i = 0; i < kRequests / kThreads / kRounds; ++i)
                    Request(mKeys[std::size_t(random.Integer(0, int(mKeys.size()) - 1))]);
                all_done.arrive_and_wait();
            }
        });
    threads.clear();
    EXPECT_EQ(mOthers, 0);
}

}  // namespace
