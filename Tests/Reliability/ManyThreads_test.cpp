// Eight threads, a thousand keys over the kinds, computations that fail at first, flushes at
// agreed points: between two flushes every key is computed with success exactly once.

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <barrier>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "DP/DescriptorFactory.h"
#include "Support/Items.h"
#include "Support/Textures.h"
#include "Support/WideStrings.h"

namespace {

using DP::IDescriptorData;
using DP::Ref;
using Testing::CountedData;
using Testing::ScriptedItem;
using Testing::Wide;

constexpr int kThreads = 8;
constexpr int kRounds = 4;
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr int kRequests = 50'000;
#else
constexpr int kRequests = 1'000'000;  // over all threads and rounds
#endif

struct KindShare {
    DP::DescriptorDataType mType;
    int mKeys;  // below the limit of the kind's cache
};
constexpr KindShare kShares[] = {
    {DP::kDescriptorDataTypeGreyImage, 50},    {DP::kDescriptorDataTypeFloatGreyImage, 50},
    {DP::kDescriptorDataTypeImagePyramid, 12}, {DP::kDescriptorDataTypeColourPyramid, 12},
    {DP::kDescriptorDataTypeGraphCut, 438},    {DP::kDescriptorDataTypeKLT, 438}};
constexpr int kKeys = 1000;

Ref<DP::IDescriptorProperty> PropertyOf(DP::DescriptorDataType inType) {
    return inType == DP::kDescriptorDataTypeKLT
               ? DP::CreateKLTDescriptorProperty(20, 1, 10, 10, Wide("clip"), inType)
               : DP::CreateDescriptorProperty(Wide("clip"), inType);
}

class ManyThreads : public testing::Test {
protected:
    struct Key {
        DP::DescriptorDataType mType{};
        int mFrame = 0;
        std::atomic<int> mTries{0};
        std::atomic<int> mSuccesses{0};
        std::atomic<IDescriptorData*> mResult{nullptr};
    };

    ManyThreads() {
        std::size_t next = 0;
        for (const KindShare& share : kShares)
            for (int frame = 0; frame < share.mKeys; ++frame) {
                mKeys[next].mType = share.mType;
                mKeys[next++].mFrame = frame;
            }
        EXPECT_EQ(next, std::size_t{kKeys});
    }

    // The first two computations of a key in a round throw.
    Ref<IDescriptorData> Compute(Key& ioKey) {
        if (ioKey.mTries++ < 2) throw std::runtime_error("not yet");
        ++ioKey.mSuccesses;
        return CountedData::Make();
    }

    void Request(Key& ioKey) {
        const auto item =
            ScriptedItem::Make(DP::CreateDescriptorDataKey(Wide("clip"), ioKey.mFrame, 1, 1),
                               [&] { return Compute(ioKey); });
        const auto computer = DP::CreateDescriptorComputer(PropertyOf(ioKey.mType));
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
            EXPECT_EQ(key.mSuccesses.exchange(0), 1) << key.mType << " " << key.mFrame;
            EXPECT_EQ(key.mTries.exchange(0), 3);
            key.mResult = nullptr;
        }
        EXPECT_EQ(CountedData::Alive(), kKeys);
        DP::FlushAllDescriptorResources();
        EXPECT_EQ(CountedData::Alive(), 0);
        EXPECT_EQ(ScriptedItem::Alive(), 0);
    }

    std::array<Key, kKeys> mKeys;
    std::atomic<int> mOthers{0};  // results that were not the key's first one
};

TEST_F(ManyThreads, EveryKeySucceedsExactlyOnceBetweenFlushes) {
    std::barrier all_done(kThreads, [&]() noexcept { CheckAndFlush(); });
    std::vector<std::jthread> threads;
    for (std::uint64_t thread = 0; thread < kThreads; ++thread)
        threads.emplace_back([&, thread] {
            Testing::Random random(thread + 1);
            for (int round = 0; round < kRounds; ++round) {
                for (int i = 0; i < kRequests / kThreads / kRounds; ++i)
                    Request(mKeys[std::size_t(random.Integer(0, kKeys - 1))]);
                all_done.arrive_and_wait();
            }
        });
    threads.clear();
    EXPECT_EQ(mOthers, 0);
}

}  // namespace
