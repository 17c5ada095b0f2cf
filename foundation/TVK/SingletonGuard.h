// SingletonGuard: a singleton in static storage that is built on first use, torn down
// with its last reference, and built again by the next use.

#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <new>

#include "TVK/InterfaceRef.h"
#include "TVK/Object.h"
#include "quillet/RecursiveMutex.h"
#include "quillet/ScopeLock.h"

namespace TVK {

/// A static mutex that is built on first use. Constant-initialised. Its destructor, at
/// exit, deletes the mutex and empties the pointer, so that a static object of the host
/// that releases even later builds another instead of locking a dead one.
class LazyMutex {
public:
    constexpr LazyMutex() = default;
    ~LazyMutex() { delete mMutex.exchange(nullptr); }

    quillet::threads::RecursiveMutex& Get() {
        if (auto* const mutex = mMutex.load()) return *mutex;
        auto made = std::make_unique<quillet::threads::RecursiveMutex>();
        quillet::threads::RecursiveMutex* expected = nullptr;
        if (mMutex.compare_exchange_strong(expected, made.get())) return *made.release();
        return *expected;  // another thread was first; ours goes
    }

private:
    std::atomic<quillet::threads::RecursiveMutex*> mMutex{nullptr};
};

/// One word that says whether the object is built and, if so, how many hold it: negative
/// is not built, zero and more is the reference count.
///
/// Ownership: the object lies in static storage; those who hold references keep it built.
/// Threads: any number at once; building and tearing down exclude each other. The object's
///   destructor must run no code of a host's: it would find the object half gone.
/// Errors: a constructor that throws leaves the word as it was.
/// Frozen: nothing; it is inside the library.
template <class T>
class SingletonGuard {
public:
    static constexpr std::int32_t kSingletonUnbuilt = -10000000;

    void AddRef() { mWord.fetch_add(1); }

    void Release() {
        if (mWord.fetch_sub(1) != 1) return;
        quillet::threads::ScopeLock lock(mCreationMutex.Get());
        // A caller of Instance may have come in since. It shows in the word; then the
        // object stays, and that caller's reference keeps it.
        std::int32_t unused = 0;
        if (!mWord.compare_exchange_strong(unused, kSingletonUnbuilt)) return;
        Object()->~T();
        for (std::uint64_t& word : mStorage)
            word = 0;
    }

    InterfaceRef<T> Instance() {
        // The addition is both the announcement that keeps Release from tearing down and
        // the look at whether there is an object. It is taken back at the end, also when
        // the building throws.
        const bool isBuilt = mWord.fetch_add(1) + 1 >= 0;
        const Announcement announcement{mWord};
        if (!isBuilt) BuildOnce();
        return InterfaceRef<T>(Object());
    }

    /// Negative while there is no object; for tests.
    std::int32_t GetWord() const { return mWord.load(); }

private:
    struct Announcement {
        ~Announcement() { mWord.fetch_sub(1); }
        std::atomic<std::int32_t>& mWord;
    };

    T* Object() { return std::launder(reinterpret_cast<T*>(mStorage)); }

    void BuildOnce() {
        quillet::threads::ScopeLock lock(mCreationMutex.Get());
        if (mWord.load() >= 0) return;
        new (mStorage) T;
        mWord.fetch_add(-kSingletonUnbuilt);
    }

    std::atomic<std::int32_t> mWord{kSingletonUnbuilt};
    LazyMutex mCreationMutex;
    alignas(T) std::uint64_t mStorage[(sizeof(T) + 7) / 8] = {};
};

template <class T>
inline constinit SingletonGuard<T> gSingleton{};

/// A class whose count is its guard.
template <class Self, class Interface>
class Singleton : public Answering<Self, Interface> {
public:
    virtual void AddRef() { gSingleton<Self>.AddRef(); }
    virtual void Release() { gSingleton<Self>.Release(); }
};

/// The static reference that keeps a singleton between calls. Copied by one load,
/// replaced by one exchange: two first callers may both set it, and the later one
/// releases the earlier one's reference to the same object. No work is done at exit.
///
/// `Get` and the `Set(nullptr)` of a flush must not run at the same time.
template <class Interface>
class KeptRef {
public:
    InterfaceRef<Interface> Get() const { return InterfaceRef<Interface>(mPointer.load()); }

    /// The kept reference; where there is none, that of the singleton `T`, kept from now on.
    template <class T>
    InterfaceRef<Interface> GetOrMake() {
        if (auto kept = Get(); kept != NULL) return kept;
        Set(gSingleton<T>.Instance());
        return Get();
    }

    void Set(InterfaceRef<Interface> inRef) {
        InterfaceRef<Interface>::Adopt(mPointer.exchange(inRef.Detach()));
    }

private:
    std::atomic<Interface*> mPointer{nullptr};
};

}  // namespace TVK
