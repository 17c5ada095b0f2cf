// Shared ownership of plain objects.

#include "TVK/ObjectPtr.h"
#include "Support/Test.h"

#include <atomic>
#include <thread>

namespace {

using TVK::MakeObject;
using TVK::ObjectPtr;

struct Counted {
    Counted() { ++sAlive; }
    ~Counted() { --sAlive; }
    static inline std::atomic<int> sAlive{0};
};

TEST(ObjectPtr, LastCopyDestroysTheObject) {
    {
        const auto first = MakeObject<Counted>();
        {
            const ObjectPtr<Counted> second = first;
            EXPECT_EQ(second, first);
        }
        EXPECT_EQ(Counted::sAlive, 1);
    }
    EXPECT_EQ(Counted::sAlive, 0);
}

TEST(ObjectPtr, NullHasNoCountAndCopiesFreely) {
    const ObjectPtr<Counted> null(static_cast<Counted*>(nullptr));
    const ObjectPtr<Counted> copy = null;
    EXPECT_TRUE(null == NULL);
    EXPECT_TRUE(copy == nullptr);
}

TEST(ObjectPtr, AssignmentLetsTheOldObjectGo) {
    auto pointer = MakeObject<Counted>();
    pointer = *&pointer;
    EXPECT_EQ(Counted::sAlive, 1);
    pointer = MakeObject<Counted>();
    EXPECT_EQ(Counted::sAlive, 1);
    pointer = nullptr;
    EXPECT_EQ(Counted::sAlive, 0);
}

TEST(ObjectPtr, MoveHandsTheObjectOver) {
    auto source = MakeObject<Counted>();
    const Counted* const object = source.Get();
    const ObjectPtr<Counted> target = std::move(source);
    EXPECT_EQ(target.Get(), object);
    EXPECT_EQ(Counted::sAlive, 1);
}

// The count block and the object, in the order in which the pointer holds them.
std::int32_t CountOf(const void* inPointer) {
    const void* words[2];
    std::memcpy(words, inPointer, sizeof(words));
    std::int32_t count = 0;
    std::memcpy(&count, words[0], sizeof(count));
    return count;
}

TEST(ObjectPtr, LayoutIsCountThenObject) {
    const auto pointer = MakeObject<int>(7);
    const void* words[2];
    static_assert(sizeof(words) == sizeof(pointer));
    std::memcpy(words, static_cast<const void*>(&pointer), sizeof(words));
    EXPECT_EQ(words[1], pointer.Get());
    EXPECT_EQ(CountOf(&pointer), 1);
    const ObjectPtr<int> copy = pointer;
    EXPECT_EQ(CountOf(&pointer), 2);
}

TEST(ObjectPtr, EightThreadsOfCopiesLeaveOneOwner) {
    const auto shared = MakeObject<Counted>();
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 5000; ++i) {
                ObjectPtr<Counted> copy = shared;
                copy = ObjectPtr<Counted>(copy);
            }
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(CountOf(&shared), 1);
    EXPECT_EQ(Counted::sAlive, 1);
}

}  // namespace
