// The library works on its callers' threads and makes none.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <thread>

#include "Support/EveryKind.h"

namespace {
std::atomic<int> sCreated{0};
}

// In front of the C library's own, for the whole program.
extern "C" __attribute__((visibility("default"))) int pthread_create(
    pthread_t* outThread, const pthread_attr_t* inAttributes, void* (*inRoutine)(void*),
    void* inArgument) {
    ++sCreated;
    static const auto sNext =
        reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    return sNext(outThread, inAttributes, inRoutine, inArgument);
}

namespace {

TEST(NoThreads, ARunOverAllKindsMakesNone) {
    const auto scenarios = Testing::EveryKind();
    sCreated = 0;
    const auto digests = Scenarios::RunScenarios(scenarios, 1);
    EXPECT_EQ(sCreated, 0);
    std::thread([] {}).join();
    EXPECT_EQ(sCreated, 1) << "the trap sees nothing";
}

}  // namespace
