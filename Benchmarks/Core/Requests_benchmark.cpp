// What the road of a request costs when there is nothing to compute.
//
// A hit is read beside a lookup of the same key in a bare std::map, with the same order and a
// mutex around it; what they find is the same object. `Parallel` is a computation of some
// milliseconds under one and two threads; its rate should double.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <map>
#include <mutex>
#include <vector>

#include "Benchmarks/Support/Turns.h"
#include "ClassIDs.h"
#include "DP/DescriptorFactory.h"
#include "DescriptorComputer.h"
#include "Support/Items.h"
#include "Support/Textures.h"
#include "Support/WideStrings.h"

namespace {

using DP::IDescriptorData;
using DP::Ref;
using Testing::CountedData;
using Testing::ScriptedItem;
using Testing::Wide;

Ref<DP::IDescriptorDataKey> KeyOf(long long inFrame) {
    return DP::CreateDescriptorDataKey(Wide("clip"), inFrame, 1080, 1920);
}

// A computer of a kind whose cache takes 501 entries, whatever the kind computes: the
// items are the benchmark's own.
Ref<DP::IDescriptorComputer> MakeComputer() {
    auto computer = DP::DescriptorComputer::Create();
    computer->SetDescriptorProperty(
        DP::CreateDescriptorProperty(Wide("clip"), DP::kDescriptorDataTypeGraphCut));
    return computer;
}

std::vector<Ref<DP::IDescriptorWorkerItem>> FilledCache(
    const Ref<DP::IDescriptorComputer>& inComputer, int inEntries) {
    DP::FlushAllDescriptorResources();
    std::vector<Ref<DP::IDescriptorWorkerItem>> items;
    for (int frame = 0; frame < inEntries; ++frame) {
        items.push_back(ScriptedItem::Make(KeyOf(frame), [] { return CountedData::Make(); }));
        inComputer->GetDescriptorData(items.back(), true);
        inComputer->GetDescriptorData(items.back(), true);  // makes the key's mutex
    }
    return items;
}

struct BareMap {
    std::map<Ref<DP::IDescriptorDataKey>, Ref<IDescriptorData>, DP::DataKeyLess> mMap;
    std::mutex mMutex;

    Ref<IDescriptorData> Find(const Ref<DP::IDescriptorDataKey>& inKey) {
        const std::lock_guard lock(mMutex);
        return mMap.find(inKey)->second;
    }
};

// Rounds of 1,000 lookups: a counter's milliseconds are a lookup's microseconds.
void Hit(benchmark::State& ioState) {
    const auto computer = MakeComputer();
    const auto items = FilledCache(computer, static_cast<int>(ioState.range(0)));
    BareMap map;
    for (const auto& item : items)
        map.mMap.emplace(item->GetDataKey(), computer->GetDescriptorData(item, true));
    for (const auto& item : items)
        if (computer->GetDescriptorData(item, true) != map.Find(item->GetDataKey()))
            return ioState.SkipWithError("a hit is another object");
    std::vector<std::size_t> order;
    std::vector<Ref<DP::IDescriptorDataKey>> keys;  // of their own, as a host's request has
    Testing::Random random(1);
    for (int i = 0; i < 1000; ++i) {
        order.push_back(random.Next() % items.size());
        keys.push_back(KeyOf(static_cast<long long>(order.back())));
    }
    Bench::RunRounds(
        ioState,
        [&] {
            for (const std::size_t i : order)
                benchmark::DoNotOptimize(computer->GetDescriptorData(items[i], true));
        },
        [&] {
            for (const auto& key : keys)
                benchmark::DoNotOptimize(map.Find(key));
        });
}

void MissWithAnEmptyComputation(benchmark::State& ioState) {
    const auto computer = MakeComputer();
    FilledCache(computer, 0);
    const auto data = CountedData::Make();
    long long frame = 0;
    for (auto _ : ioState)
        benchmark::DoNotOptimize(computer->GetDescriptorData(
            ScriptedItem::Make(KeyOf(frame++), [&] { return data; }), true));
    ioState.SetItemsProcessed(ioState.iterations());
}

// A fixed amount of work, a millisecond and more on one core.
Ref<IDescriptorData> Work() {
    std::uint32_t state = 1;
    for (int i = 0; i < 1'000'000; ++i) {
        state = state * 1664525u + 1013904223u;
        benchmark::DoNotOptimize(state);
    }
    return CountedData::Make();
}

void Parallel(benchmark::State& ioState) {
    static Ref<DP::IDescriptorComputer> sComputer;
    if (ioState.thread_index() == 0) {
        DP::FlushAllDescriptorResources();
        sComputer = MakeComputer();
    }
    long long frame = ioState.thread_index() * 1000000LL;
    for (auto _ : ioState)
        benchmark::DoNotOptimize(
            sComputer->GetDescriptorData(ScriptedItem::Make(KeyOf(frame++), Work), true));
    ioState.SetItemsProcessed(ioState.iterations());
}

BENCHMARK(Hit)->Arg(1)->Arg(60)->Arg(500)->UseManualTime();
BENCHMARK(MissWithAnEmptyComputation);
BENCHMARK(Parallel)->Threads(1)->Threads(2)->UseRealTime()->MinTime(0.3);

}  // namespace

int main(int inCount, char** inArguments) {
    return Bench::RunOverClips(inCount, inArguments, {});
}
