// Object: the five operations of TVKUnknown, written once for all classes.
//
// A class states its bases, and everything else follows:
//
//     class GreyImageDescriptorData
//         : public TVK::Object<GreyImageDescriptorData, IGreyImageDescriptorData,
//                              DescriptorData> { ... };
//
// The layer between the class and its bases adds a reference count of its own, the two
// count operations on it, and the answer to queries. The answer is derived from the
// bases: the identifier of a name leads to the subobject of that name. One row needs a
// decision, that of TVKUnknown, since every base holds one: it leads to the kind's own
// interface where there is one beside the class, else to the only base.
//
//     bases                                  TVKUnknown, GetUnknown   other rows
//     one                                    it                       the same address
//     kind's interface, framework class      first                    by name
//     framework class, kind's interface      second                   by name
//     the same and further interfaces        second                   by name
//
// A derived class has a new count behind its base's members; the base's count stays 0.

#pragma once

#include <atomic>
#include <cstdint>
#include <type_traits>

#include "TVK/InterfaceRef.h"
#include "TVK/TVKUnknown.h"

namespace TVK {
namespace detail {

// A class of the framework, as against a plain interface, looks identifiers up among its
// own bases.
template <class T>
concept IsClass = requires(T* inObject) {
    T::FindSubobject(inObject, InterfaceID{});
};

template <class First, class... Second>
struct IdentityOf {
    using Type = First;
};
template <class First, class Second, class... Further>
struct IdentityOf<First, Second, Further...> {
    using Type = std::conditional_t<IsClass<First>, Second, First>;
};

}  // namespace detail

/// Answers queries for `Self` and its bases. Not installed; for the library's own classes.
///
/// Ownership: the class's count; see `TVKUnknown`.
/// Threads: the count is atomic; the rest is the class's.
/// Errors: an unknown identifier gives `kTVKErrorNoInterface`.
/// Frozen: nothing here; the slots are those of the bases, then `GetUnknown`.
///
///  `Object` and `Singleton` add the count.
template <class Self, class... Bases>
class Answering : public Bases... {
    using Identity = typename detail::IdentityOf<Bases...>::Type;

    template <class Base>
    static void* FindIn(Base* inBase, const InterfaceID& inID) {
        if constexpr (detail::IsClass<Base>)
            return Base::FindSubobject(inBase, inID);
        else
            return inID == kIdentifierOf<Base> ? inBase : nullptr;
    }

public:
    /// The class itself first, then each base in order; null for a name that is not here.
    static void* FindSubobject(Self* inObject, const InterfaceID& inID) {
        void* found = inID == kIdentifierOf<Self> ? inObject : nullptr;
        (void)(found || ... || (found = FindIn<Bases>(inObject, inID)));
        return found;
    }

    // `GetUnknown` is new in the class next to an interface and overrides in the classes
    // under that one, so it cannot say `override`; and where one does not, compilers want
    // none to.
    virtual TVKResult QueryInterface(const InterfaceID& inID, void** outObject) {
        const TVKResult result = this->QueryInterfaceNoAddRef(inID, outObject);
        if (result == kTVKSuccess) AddRef();
        return result;
    }

    virtual TVKResult QueryInterfaceNoAddRef(const InterfaceID& inID, void** outObject) {
        *outObject = inID == kIdentifierOf<TVKUnknown>
                         ? static_cast<TVKUnknown*>(static_cast<Identity*>(this))
                         : FindSubobject(static_cast<Self*>(this), inID);
        return *outObject ? kTVKSuccess : kTVKErrorNoInterface;
    }

    /// The object as `TVKUnknown`.
    virtual InterfaceRef<TVKUnknown> GetUnknown() {
        return InterfaceRef<TVKUnknown>(static_cast<Identity*>(this));
    }

    virtual void AddRef() = 0;
};

/// A class with a count of its own, made by `Create`.
template <class Self, class... Bases>
class Object : public Answering<Self, Bases...> {
public:
    virtual void AddRef() { mReferenceCount.fetch_add(1); }

    // The value that the subtraction itself returns decides; by the time it could be read
    // again, another thread may have deleted the object.
    virtual void Release() {
        if (mReferenceCount.fetch_sub(1) == 1) delete this;
    }

    /// The small factory of the class: new object, first reference.
    static InterfaceRef<Self> Create() { return InterfaceRef<Self>(new Self); }

private:
    std::atomic<std::int32_t> mReferenceCount{0};
};

}  // namespace TVK
