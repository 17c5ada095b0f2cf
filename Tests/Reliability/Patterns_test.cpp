// No result hangs on what was in memory before: all scenarios give their digests with every
// fresh block of the heap, every block of the recycler and the stack filled beforehand.

#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>

#include "DP/DescriptorFactory.h"
#include "Scenario.h"
#include "Support/Test.h"
#include "TVK/MemoryRecycler.h"

namespace {

enum class Pattern { kNone, kNoise, kNaN, kZeros, kOnes };
constexpr const char* kNames[] = {"None", "Noise", "NaN", "Zeros", "Ones"};

std::atomic<Pattern> sPattern{Pattern::kNone};
std::atomic<std::uint64_t> sFilledBlocks{0}, sFilledBuffers{0};

// Floats of noise are of all sizes and signs, some of them no number.
void FillNoise(unsigned char* outBytes, std::size_t inSize) {
    static std::atomic<std::uint64_t> sSeed{1};
    std::uint64_t state = sSeed.fetch_add(0x9e3779b97f4a7c15u);
    for (std::size_t at = 0; at < inSize; at += sizeof state) {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        std::memcpy(outBytes + at, &state, std::min(sizeof state, inSize - at));
    }
}

void Fill(void* outBlock, std::size_t inSize) {
    auto* const bytes = static_cast<unsigned char*>(outBlock);
    constexpr std::uint32_t kNaN = 0x7fc00000;
    switch (sPattern.load(std::memory_order_relaxed)) {
        case Pattern::kNone:
            return;
        case Pattern::kNoise:
            return FillNoise(bytes, inSize);
        case Pattern::kNaN:
            for (std::size_t at = 0; at < inSize; at += sizeof kNaN)
                std::memcpy(bytes + at, &kNaN, std::min(sizeof kNaN, inSize - at));
            return;
        case Pattern::kZeros:
            std::memset(bytes, 0, inSize);
            return;
        case Pattern::kOnes:
            std::memset(bytes, 0xff, inSize);
    }
}

void* Filled(void* inBlock, std::size_t inSize) {
    if (inBlock && sPattern != Pattern::kNone) {
        Fill(inBlock, inSize);
        sFilledBlocks.fetch_add(1, std::memory_order_relaxed);
    }
    return inBlock;
}

}  // namespace

// In front of the C library's and the recycler's own, for the whole program.
#pragma GCC visibility push(default)
extern "C" {

void* __libc_malloc(std::size_t inSize);
void* __libc_memalign(std::size_t inAlignment, std::size_t inSize);

void* malloc(std::size_t inSize) { return Filled(__libc_malloc(inSize), inSize); }
void* memalign(std::size_t inAlignment, std::size_t inSize) {
    return Filled(__libc_memalign(inAlignment, inSize), inSize);
}
void* aligned_alloc(std::size_t inAlignment, std::size_t inSize) {
    return memalign(inAlignment, inSize);
}
int posix_memalign(void** outBlock, std::size_t inAlignment, std::size_t inSize) {
    *outBlock = memalign(inAlignment, inSize);
    return *outBlock ? 0 : ENOMEM;
}

}  // extern "C"

namespace TVK {

MemoryBuffer MemoryRecycler::AllocateBuffer(std::int64_t inSize) noexcept {
    using Allocate = MemoryBuffer (*)(MemoryRecycler*, std::int64_t);
    static const auto sNext = reinterpret_cast<Allocate>(
        dlsym(RTLD_NEXT, "_ZN3TVK14MemoryRecycler14AllocateBufferEl"));
    const MemoryBuffer buffer = sNext(this, inSize);
    if (buffer.mBlock && inSize > 0) {
        Fill(buffer.mBlock, static_cast<std::size_t>(inSize));
        sFilledBuffers.fetch_add(1, std::memory_order_relaxed);
    }
    return buffer;
}

}  // namespace TVK
#pragma GCC visibility pop

namespace {

using Scenarios::Digest;
using Scenarios::Scenario;

// A thread whose stack holds the pattern.
void RunOnFilledStack(void (*inRun)(void*), void* inArgument) {
    struct Call {
        void (*mRun)(void*);
        void* mArgument;
    } call{inRun, inArgument};
    constexpr std::size_t kSize = std::size_t{1} << 20;
    void* const stack = std::aligned_alloc(4096, kSize);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    ASSERT_EQ(pthread_attr_setstack(&attributes, stack, kSize), 0);
    pthread_t thread{};
    const auto start = [](void* inCall) -> void* {
        const Call& toRun = *static_cast<Call*>(inCall);
        toRun.mRun(toRun.mArgument);
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, start, &call), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    std::free(stack);
}

std::uint64_t DigestOf(const Scenario& inScenario) {
    struct Run {
        const Scenario& mScenario;
        Digest mDigest;
    } run{inScenario, {}};
    RunOnFilledStack(
        [](void* ioRun) {
            Run& toRun = *static_cast<Run*>(ioRun);
            toRun.mScenario.mRun(toRun.mDigest);
        },
        &run);
    return run.mDigest.Value();
}

class Patterns : public testing::TestWithParam<Pattern> {
protected:
    Patterns() { sPattern = GetParam(); }
    ~Patterns() override {
        sPattern = Pattern::kNone;
        DP::FlushAllDescriptorResources();
    }
};

TEST_P(Patterns, InMemoryBeforehandChangeNoDigest) {
    std::vector<Scenario> scenarios = Scenarios::HostScenarios();
    for (const Scenario& scenario : Scenarios::InsideScenarios())
        scenarios.push_back(scenario);
    sFilledBlocks = sFilledBuffers = 0;
    for (const Scenario& scenario : scenarios) {
        DP::FlushAllDescriptorResources();
        const auto* const expected = Scenarios::FindExpectedDigest(scenario.mName);
        ASSERT_NE(expected, nullptr) << scenario.mName;
        EXPECT_EQ(DigestOf(scenario), expected->mDigest) << scenario.mName;
    }
    EXPECT_GT(sFilledBlocks, 10'000u) << "the library's blocks are not filled";
    EXPECT_GT(sFilledBuffers, 1'000u) << "the recycler's blocks are not filled";
}

INSTANTIATE_TEST_SUITE_P(All, Patterns,
                         testing::Values(Pattern::kNoise, Pattern::kNaN, Pattern::kZeros,
                                         Pattern::kOnes),
                         [](const auto& inInfo) { return kNames[int(inInfo.param)]; });

}  // namespace
