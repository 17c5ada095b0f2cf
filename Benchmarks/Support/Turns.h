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
    /// `per_NAME_min`, the same of the least. Without a list all others are peers.
    void Report(benchmark::State& ioState, const std::vector<std::string>& inPeers = {}) {
        for (auto& [name, times] : mTimes) {
            std::sort(times.begin(), times.end());
            ioState.counters[name] = Median(name);
            ioState.counters[name + "_min"] = times.front();
        }
        for (const auto& [name, times] : mTimes) {
            const bool isPeer =
                inPeers.empty() || std::count(inPeers.begin(), inPeers.end(), name) > 0;
            if (name == "ours" || mTimes.count("ours") == 0 || !isPeer) continue;
            ioState.counters["per_" + name] = Median("ours") / Median(name);
            ioState.counters["per_" + name + "_min"] = mTimes["ours"].front() / times.front();
        }
    }

private:
    // Of times that are sorted.
    double Median(const std::string& inName) const {
        const std::vector<double>& times = mTimes.at(inName);
        return times[times.size() / 2];
    }

    std::map<std::string, std::vector<double>> mTimes;
};

/// The same work over and over: in turns as often as a run has frames, each begun once before
/// it counts.
template <class Ours, class Peer>
void RunRounds(benchmark::State& ioState, Ours inOurs, Peer inPeer) {
    Turns turns;
    inOurs();
    inPeer();
    for (auto _ : ioState) {
        double time = 0;
        for (int round = 0; round < TheOptions().mFrames; ++round) {
            time += turns.Time("ours", inOurs);
            turns.Time("peer", inPeer);
        }
        ioState.SetIterationTime(time / 1000.0);
    }
    turns.Report(ioState);
}

/// Where there is no peer.
template <class Ours>
void RunAlone(benchmark::State& ioState, Ours inOurs) {
    Turns turns;
    inOurs();
    for (auto _ : ioState) {
        double time = 0;
        for (int round = 0; round < TheOptions().mFrames; ++round)
            time += turns.Time("ours", inOurs);
        ioState.SetIterationTime(time / 1000.0);
    }
    turns.Report(ioState);
}

/// A benchmark over clips. It takes as many frames as a run has and iterates once, or, where
/// an iteration is long, once for each `mFramesARound` of them.
struct Work {
    const char* mName;
    std::function<void(benchmark::State&, const Clip&)> mRun;
    int mFramesARound = 0;
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
                    ->Iterations(work.mFramesARound > 0
                                     ? std::max(TheOptions().mFrames / work.mFramesARound, 1)
                                     : 1)
                    ->Unit(benchmark::kMillisecond);
}

/// The `main` of a program that runs over clips.
inline int RunOverClips(int inCount, char** inArguments, const std::vector<Work>& inWorks) {
    if (!ReadOptions(inCount, inArguments)) return 1;
    KeepFreedBlocks();
    ForEveryClip(inWorks);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

}  // namespace Bench
