// Times of ours and of the peers, which take turns in one process, so that a slow spell of the
// machine meets all.

#pragma once

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <time.h>

#include <algorithm>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "Benchmarks/Support/Clips.h"

namespace Bench {

/// Large freed blocks stay with the C library: the peers' better case.
inline void KeepFreedBlocks() {
    mallopt(M_MMAP_THRESHOLD, 1 << 30);
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
}

/// The processor time of this thread: everything here runs on one, and the time that others
/// have the processor is not ours.
template <class Call>
double Milliseconds(Call inCall) {
    const auto now = [] {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return double(time.tv_sec) * 1e3 + double(time.tv_nsec) * 1e-6;
    };
    const double start = now();
    inCall();
    benchmark::ClobberMemory();
    return now() - start;
}

/// Times by name, "ours" and those of the peers, in milliseconds.
class Turns {
public:
    template <class Call>
    double Time(const std::string& inName, Call inCall) {
        const double time = Milliseconds(inCall);
        Add(inName, time);
        return time;
    }
    /// A time that was taken otherwise.
    void Add(const std::string& inName, double inTime) { mTimes[inName].push_back(inTime); }

    /// Sets counters: of each name the median (`ours`) and the least (`ours_min`); of each
    /// peer `per_NAME`, our median over its, below 1 where we are faster, and
    /// `per_NAME_min`, the same of the least.
    void Report(benchmark::State& ioState) {
        for (auto& [name, times] : mTimes)
            std::sort(times.begin(), times.end());
        const auto median = [&](const std::string& inName) {
            return mTimes[inName][mTimes[inName].size() / 2];
        };
        for (const auto& [name, times] : mTimes) {
            ioState.counters[name] = median(name);
            ioState.counters[name + "_min"] = times.front();
            if (name == "ours" || mTimes.count("ours") == 0) continue;
            ioState.counters["per_" + name] = median("ours") / median(name);
            ioState.counters["per_" + name + "_min"] = mTimes["ours"].front() / times.front();
        }
    }

private:
    std::map<std::string, std::vector<double>> mTimes;
};

/// The same work over and over: rounds of `inOurs` and `inPeer`, each begun once before it
/// counts.
template <class Ours, class Peer>
void RunRounds(benchmark::State& ioState, Ours inOurs, Peer inPeer) {
    Turns turns;
    inOurs();
    inPeer();
    for (auto _ : ioState) {
        ioState.SetIterationTime(turns.Time("ours", inOurs) / 1000.0);
        turns.Time("peer", inPeer);
    }
    turns.Report(ioState);
}

struct Work {
    const char* mName;
    std::function<void(benchmark::State&, const Clip&)> mRun;
};

/// Registers each as "NAME/854x480/clip" for every size and every clip, clip by clip.
inline void ForEveryClip(const std::vector<Work>& inWorks) {
    for (const Size& size : TheOptions().mSizes)
        for (const std::string& path : FindClips())
            for (const Work& work : inWorks)
                benchmark::RegisterBenchmark(
                    (std::string(work.mName) + "/" + std::to_string(size.first) + "x" +
                     std::to_string(size.second) + "/" + NameOf(path))
                        .c_str(),
                    [=](benchmark::State& ioState) {
                        work.mRun(ioState, LoadClip(path, size));
                    })
                    ->UseManualTime()
                    ->Iterations(1)
                    ->Unit(benchmark::kMillisecond);
}

}  // namespace Bench
