// Singletons that are torn down with their last reference and built again.

#include "TVK/SingletonGuard.h"
#include "Support/StartLine.h"
#include "Support/Test.h"

#include <atomic>
#include <thread>

namespace {

class IService : public TVK::TVKUnknown {};
class Service;

}  // namespace

template <>
inline constexpr TVK::InterfaceID TVK::kIdentifierOf<IService>{8, 1};
template <>
inline constexpr TVK::InterfaceID TVK::kIdentifierOf<Service>{8, 2};

namespace {

using TVK::gSingleton;
using TVK::InterfaceRef;

std::atomic<int> sBuilt{0};
std::atomic<int> sDestroyed{0};
std::atomic<bool> sFailNext{false};
std::atomic<bool> sWaitForAnother{false};
std::atomic<bool> sLingerForAnother{false};

std::int32_t CallersWhileUnbuilt();

class Service : public TVK::Singleton<Service, IService> {
public:
    Service() {
        if (sFailNext.exchange(false)) throw std::bad_alloc();
        ++sBuilt;
        while (sWaitForAnother && CallersWhileUnbuilt() < 2)
            std::this_thread::yield();
    }
    ~Service() override {
        if (sLingerForAnother.exchange(false)) Linger();
        ++sDestroyed;
    }
    int mState = 0;

private:
    // Until another caller is there, and then long enough for one whom no lock holds back.
    static void Linger() {
        const int built = sBuilt;
        while (CallersWhileUnbuilt() == 0 && sBuilt == built)
            std::this_thread::yield();
        for (int i = 0; i < 200; ++i)
            std::this_thread::yield();
        EXPECT_EQ(sBuilt, built) << "while it is torn down";
    }
};

constexpr int kUnbuilt = TVK::SingletonGuard<Service>::kSingletonUnbuilt;

std::int32_t CallersWhileUnbuilt() { return gSingleton<Service>.GetWord() - kUnbuilt; }

TEST(SingletonGuard, LastReferenceTearsDownAndTheNextInstanceBuildsAnewInPlace) {
    EXPECT_EQ(gSingleton<Service>.GetWord(), kUnbuilt);
    const int built = sBuilt;
    const void* address = nullptr;
    {
        const auto service = gSingleton<Service>.Instance();
        address = service.operator->();
        service->mState = 42;
        EXPECT_EQ(gSingleton<Service>.GetWord(), 1);
        const InterfaceRef<IService> same(gSingleton<Service>.Instance());
        EXPECT_EQ(gSingleton<Service>.GetWord(), 2);
        EXPECT_EQ(sBuilt - built, 1);
    }
    EXPECT_EQ(sDestroyed, sBuilt);
    EXPECT_EQ(gSingleton<Service>.GetWord(), kUnbuilt);
    const auto again = gSingleton<Service>.Instance();
    EXPECT_EQ(again.operator->(), address);
    EXPECT_EQ(again->mState, 0);
}

TEST(SingletonGuard, TeardownLeavesTheStorageZero) {
    const unsigned char* bytes = nullptr;
    {
        const auto service = gSingleton<Service>.Instance();
        service->mState = -1;
        bytes = reinterpret_cast<const unsigned char*>(service.operator->());
    }
    for (std::size_t i = 0; i < sizeof(Service); ++i)
        EXPECT_EQ(bytes[i], 0) << "byte " << i;
}

TEST(SingletonGuard, AConstructorThatThrowsLeavesNoCountBehind) {
    sFailNext = true;
    EXPECT_THROW(gSingleton<Service>.Instance(), std::bad_alloc);
    EXPECT_EQ(gSingleton<Service>.GetWord(), kUnbuilt);
    { const auto service = gSingleton<Service>.Instance(); }
    EXPECT_EQ(gSingleton<Service>.GetWord(), kUnbuilt) << "and it can be torn down again";
}

// The first caller is still building when the second has announced itself.
TEST(SingletonGuard, WhoComesInWhileAnotherBuildsTakesWhatThatOneBuilt) {
    const int built = sBuilt;
    sWaitForAnother = true;
    InterfaceRef<Service> fromAnotherThread;
    std::thread another([&] { fromAnotherThread = gSingleton<Service>.Instance(); });
    const auto service = gSingleton<Service>.Instance();
    another.join();
    sWaitForAnother = false;
    EXPECT_EQ(sBuilt - built, 1);
    EXPECT_EQ(gSingleton<Service>.GetWord(), 2);
}

// It is half torn down when the second caller announces itself.
TEST(SingletonGuard, WhoComesInWhileItIsTornDownBuildsBehindThat) {
    auto service = gSingleton<Service>.Instance();
    sLingerForAnother = true;
    std::thread another([] {
        while (gSingleton<Service>.GetWord() >= 0)
            std::this_thread::yield();
        gSingleton<Service>.Instance()->mState = 1;
    });
    service = nullptr;
    another.join();
    EXPECT_EQ(sBuilt, sDestroyed);
    EXPECT_EQ(gSingleton<Service>.GetWord(), kUnbuilt);
}

TEST(SingletonGuard, EightThreadsBuildAsOftenAsTheyDestroy) {
    Testing::StartLine start(8);
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t)
        threads.emplace_back([&] {
            start.Meet();
            for (int i = 0; i < 20000; ++i)
                gSingleton<Service>.Instance();
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(sBuilt, sDestroyed);
    EXPECT_EQ(gSingleton<Service>.GetWord(), kUnbuilt);
}

// Two first callers may both store the reference that keeps the singleton; no count may
// be lost by it, or the object could never be torn down again.
TEST(KeptRef, FirstCallersInARaceLoseNoCount) {
    for (int round = 0; round < 200; ++round) {
        TVK::KeptRef<IService> kept;
        Testing::StartLine start(4);
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t)
            threads.emplace_back([&] {
                start.Meet();
                if (kept.Get() == NULL) kept.Set(gSingleton<Service>.Instance());
                EXPECT_TRUE(kept.Get() != NULL);
            });
        for (auto& thread : threads)
            thread.join();
        EXPECT_EQ(gSingleton<Service>.GetWord(), 1);
        kept.Set(nullptr);
        ASSERT_EQ(gSingleton<Service>.GetWord(), kUnbuilt);
    }
}

}  // namespace
