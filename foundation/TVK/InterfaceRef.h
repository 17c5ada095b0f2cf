// InterfaceRef: the smart pointer to an interface.

#pragma once

#include <cstddef>
#include <utility>

#include "TVK/Exception.h"
#include "TVK/TVKUnknown.h"

namespace TVK {

/// Holds one counted reference to an object reached as `I`, or null. Both template
/// arguments are the same interface in every use.
///
/// Ownership: construction from a raw pointer and every copy take a reference of their
///   own; a move hands the reference over; destruction releases it.
/// Threads: the object's count is atomic, one `InterfaceRef` is not: two threads that use
///   the same variable need a lock of their own.
/// Errors: access through a null reference throws `NullInterfaceException`. The
///   comparison with null is the separate test that never throws. A failed conversion
///   is no error and gives null.
/// Frozen: one pointer.
///
/// Conversion. A reference of another interface converts by asking the object:
///   - by copy: null if the source is null or the object does not answer to `I`;
///   - by move: on success the source's own reference passes over and the source is
///     null afterwards; on failure both sides keep what they have.
template <class I, class J = I>
class InterfaceRef {
public:
    InterfaceRef() noexcept = default;
    /// A null reference.
    InterfaceRef(std::nullptr_t) noexcept {}

    /// Shares: takes a reference of its own.
    explicit InterfaceRef(I* inPointer) : mPointer(inPointer) {
        if (mPointer) mPointer->AddRef();
    }
    /// Shares; a move hands over.
    /// @{
    InterfaceRef(const InterfaceRef& inOther) : InterfaceRef(inOther.mPointer) {}
    InterfaceRef(InterfaceRef&& ioOther) noexcept { Swap(ioOther); }
    /// @}

    /// Asks the object of another interface's reference; see above.
    /// @{
    template <class K>
    InterfaceRef(const InterfaceRef<K, K>& inOther) {
        InterfaceRef<K, K> taken(inOther);  // counted here, and released here on failure
        TakeFrom(taken);
    }
    template <class K>
    InterfaceRef(InterfaceRef<K, K>&& ioOther) {
        TakeFrom(ioOther);
    }
    /// @}

    ~InterfaceRef() {
        if (mPointer) mPointer->Release();
    }

    /// The new value is counted before the old one is released.
    InterfaceRef& operator=(const InterfaceRef& inOther) {
        InterfaceRef(inOther).Swap(*this);
        return *this;
    }
    /// The two pointers change places; the old value dies with the source.
    InterfaceRef& operator=(InterfaceRef&& ioOther) noexcept {
        Swap(ioOther);
        return *this;
    }
    /// Asks the object, as the constructors do.
    /// @{
    template <class K>
    InterfaceRef& operator=(const InterfaceRef<K, K>& inOther) {
        InterfaceRef(inOther).Swap(*this);
        return *this;
    }
    template <class K>
    InterfaceRef& operator=(InterfaceRef<K, K>&& ioOther) {
        TakeFrom(ioOther);
        return *this;
    }
    /// @}

    /// @throws NullInterfaceException for a null reference.
    I* operator->() const {
        if (!mPointer) throw NullInterfaceException();
        return mPointer;
    }

    /// Takes over a reference that the caller already owns: no `AddRef`.
    static InterfaceRef Adopt(I* inOwned) noexcept {
        InterfaceRef result;
        result.mPointer = inOwned;
        return result;
    }
    /// Gives the reference away: the caller owns it now, this one is null.
    I* Detach() noexcept { return std::exchange(mPointer, nullptr); }

    /// The two pointers change places.
    void Swap(InterfaceRef& ioOther) noexcept { std::swap(mPointer, ioOther.mPointer); }

    /// Whether it is null. Never throws.
    friend bool operator==(const InterfaceRef& inRef, std::nullptr_t) noexcept {
        return inRef.mPointer == nullptr;
    }
    /// Same interface pointer. Two interfaces of one object are compared as `TVKUnknown`.
    friend bool operator==(const InterfaceRef& inLeft, const InterfaceRef& inRight) noexcept {
        return inLeft.mPointer == inRight.mPointer;
    }

private:
    template <class K, class L>
    friend class InterfaceRef;

    template <class K>
    void TakeFrom(InterfaceRef<K, K>& ioSource) {
        if (!ioSource.mPointer) return;
        void* found = nullptr;
        if (ioSource.mPointer->QueryInterfaceNoAddRef(kIdentifierOf<I>, &found) != kTVKSuccess)
            return;
        ioSource.mPointer = nullptr;
        I* const old = std::exchange(mPointer, static_cast<I*>(found));
        if (old) old->Release();
    }

    I* mPointer = nullptr;
};

}  // namespace TVK
