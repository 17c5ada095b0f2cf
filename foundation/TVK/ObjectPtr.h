// ObjectPtr: shared ownership of a plain object that has no count of its own.

#pragma once

#include <cstddef>
#include <new>
#include <utility>

#include "TVK/Allocator.h"
#include "TVK/AtomicValue.h"

namespace TVK {

/// Shares an object made by `new` (an image, a list, a rectangle, a mutex). The count is
/// a separate block of `sizeof(Count)` bytes from `Allocator`.
///
/// Ownership: the constructor from a raw pointer adopts the object; copies share it; the
///   last one destroys it, then gives the count block back. Where the allocator has no
///   block for the count, the object is reached all the same but belongs to nobody.
/// Threads: the count is atomic, one `ObjectPtr` is not.
/// Errors: none are raised; access through a null pointer is undefined, test first.
/// Frozen: the pointer to the count, then the pointer to the object.
template <class T, class Count = AtomicValue>
class ObjectPtr {
public:
    ObjectPtr() noexcept = default;
    /// A null pointer.
    ObjectPtr(std::nullptr_t) noexcept {}

    /// Adopts. A null object takes no count block.
    explicit ObjectPtr(T* inObject) : mObject(inObject) {
        if (!mObject) return;
        if (void* block = Allocator::Allocate(sizeof(Count))) mCount = new (block) Count(1);
    }
    /// Shares; a move hands over.
    /// @{
    ObjectPtr(const ObjectPtr& inOther) : mCount(inOther.mCount), mObject(inOther.mObject) {
        if (mCount) mCount->Add();
    }
    ObjectPtr(ObjectPtr&& ioOther) noexcept { Swap(ioOther); }
    /// @}
    ~ObjectPtr() {
        if (!mCount || !mCount->SubtractWasLast()) return;
        delete mObject;
        Allocator::Dispose(mCount, sizeof(Count));
    }
    /// Shares or takes over the other's object, then lets its own go.
    ObjectPtr& operator=(ObjectPtr inOther) noexcept {
        Swap(inOther);
        return *this;
    }

    /// The object, which belongs to its pointers all the same.
    /// @{
    T* Get() const noexcept { return mObject; }
    T* operator->() const noexcept { return mObject; }
    T& operator*() const noexcept { return *mObject; }
    /// @}

    /// The two change places; no count changes.
    void Swap(ObjectPtr& ioOther) noexcept {
        std::swap(mCount, ioOther.mCount);
        std::swap(mObject, ioOther.mObject);
    }

    /// Whether it is null, or both lead to the same object.
    /// @{
    friend bool operator==(const ObjectPtr& inPtr, std::nullptr_t) noexcept {
        return inPtr.mObject == nullptr;
    }
    friend bool operator==(const ObjectPtr& inLeft, const ObjectPtr& inRight) noexcept {
        return inLeft.mObject == inRight.mObject;
    }
    /// @}

private:
    Count* mCount = nullptr;
    T* mObject = nullptr;
};

/// A new `T` under its first `ObjectPtr`.
template <class T, class... Args>
ObjectPtr<T> MakeObject(Args&&... inArgs) {
    return ObjectPtr<T>(new T(std::forward<Args>(inArgs)...));
}

}  // namespace TVK
