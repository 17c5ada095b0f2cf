// Rounds of ours and the peer's, one after the other in one run, so that a slow spell of
// the machine meets both.

#pragma once

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <time.h>

#include <algorithm>
#include <vector>

namespace Bench {

/// Large freed blocks stay with the C library: the peer's better case.
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

/// Times `inOurs` as the benchmark's own and `inPeer` beside it. Counters in milliseconds:
/// medians and minima of both; `ratio` is the median of ours over the peer's by round, below
/// 1 where ours is faster.
template <class Ours, class Peer>
void RunRounds(benchmark::State& ioState, Ours inOurs, Peer inPeer) {
    std::vector<double> ours, peer, ratios;
    inOurs();
    inPeer();
    for (auto _ : ioState) {
        ours.push_back(Milliseconds(inOurs));
        peer.push_back(Milliseconds(inPeer));
        ratios.push_back(ours.back() / peer.back());
        ioState.SetIterationTime(ours.back() / 1000.0);
    }
    const auto at = [&](std::vector<double>& ioTimes, double inPart) {
        std::sort(ioTimes.begin(), ioTimes.end());
        return ioTimes[static_cast<std::size_t>(inPart * double(ioTimes.size() - 1))];
    };
    ioState.counters["ours"] = at(ours, 0.5);
    ioState.counters["peer"] = at(peer, 0.5);
    ioState.counters["ours_min"] = at(ours, 0.0);
    ioState.counters["peer_min"] = at(peer, 0.0);
    ioState.counters["ratio"] = at(ratios, 0.5);
}

}  // namespace Bench
