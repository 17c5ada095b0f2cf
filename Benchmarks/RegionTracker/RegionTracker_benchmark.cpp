// The fit of two motions to a region's points by itself; a whole step stands beside
// MedianFlow in whole_frames_benchmark.

#include <benchmark/benchmark.h>

#include <cmath>

#include "Benchmarks/Support/Turns.h"
#include "RegionTracker/RegionMotionFit.h"
#include "Support/Textures.h"

namespace {

// Points all over a rectangle, of which the inner ones move otherwise; noise keeps the mean
// residual above the limit that ends the passes early if `inNoise` is above it.
void Fit(benchmark::State& ioState, double inNoise) {
    const auto count = static_cast<std::size_t>(ioState.range(0));
    const TVK::ParamRect<float> rect{400, 200, 800, 430};
    const int rows = 720;
    const auto previous = TVK::MakeObject<DP::APTFeatureList>(count);
    const auto current = TVK::MakeObject<DP::APTFeatureList>(count);
    Testing::Random random(3);
    for (std::size_t i = 0; i < count; ++i) {
        DP::APTFeature& from = (*previous)[i];
        from.mX = static_cast<float>(400 + 400 * random.Real());
        from.mY = static_cast<float>(290 + 230 * random.Real());
        from.mStatus = 0;
        const bool isInner = std::abs(from.mX - 600) < 150 && std::abs(from.mY - 405) < 85;
        const auto noise = [&] {
            return inNoise * (2 * random.Real() - 1);
        };
        (*current)[i] = from;
        (*current)[i].mX += static_cast<float>((isInner ? 4.0 : -1.0) + noise());
        (*current)[i].mY += static_cast<float>((isInner ? 1.5 : 0.2) + noise());
    }
    TVK::ParamRect<float> result;
    for (auto _ : ioState) {
        DP::MotionGroups groups;
        int selected = 0;
        DP::FitRegionMotion(current, previous, rows, &rect, &result, groups, &selected);
        benchmark::DoNotOptimize(result);
    }
    if (inNoise < 0.5 && std::abs(result.mLeft - 404.0f) > 0.5f)
        ioState.SkipWithError("the fit followed the wrong motion");
    ioState.counters["fits/s"] =
        benchmark::Counter(1, benchmark::Counter::kIsIterationInvariantRate);
}

BENCHMARK_CAPTURE(Fit, TwoMotions, 0.2)->Arg(100)->Arg(500)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Fit, AllPasses, 6.0)->Arg(500)->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int inCount, char** inArguments) {
    return Bench::RunOverClips(inCount, inArguments, {});
}
