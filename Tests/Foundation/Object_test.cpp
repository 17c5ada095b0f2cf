// The layer between a class and its bases: which subobject an identifier leads to, in
// every arrangement of bases that the kinds use, and the count.

#include "TVK/Object.h"
#include "Support/Test.h"

namespace {

class IFirst : public TVK::TVKUnknown {};
class IOwn : public TVK::TVKUnknown {
public:
    virtual int Own() = 0;
};
class IThird : public TVK::TVKUnknown {};
class Base;
class DataLike;
class ItemLike;
class Derived;

}  // namespace

template <>
inline constexpr TVK::InterfaceID TVK::kIdentifierOf<IFirst>{1, 1};
template <>
inline constexpr TVK::InterfaceID TVK::kIdentifierOf<IOwn>{1, 2};
template <>
inline constexpr TVK::InterfaceID TVK::kIdentifierOf<IThird>{1, 3};
template <>
inline constexpr TVK::InterfaceID TVK::kIdentifierOf<Base>{2, 1};
template <>
inline constexpr TVK::InterfaceID TVK::kIdentifierOf<DataLike>{2, 2};
template <>
inline constexpr TVK::InterfaceID TVK::kIdentifierOf<ItemLike>{2, 3};
template <>
inline constexpr TVK::InterfaceID TVK::kIdentifierOf<Derived>{2, 4};

namespace {

using TVK::InterfaceID;
using TVK::InterfaceRef;
using TVK::kIdentifierOf;
using TVK::TVKUnknown;

int sAlive = 0;

class Base : public TVK::Object<Base, IFirst> {
public:
    Base() { ++sAlive; }
    ~Base() override { --sAlive; }
};
class DataLike : public TVK::Object<DataLike, IOwn, Base> {
public:
    int Own() override { return 1; }
};
class ItemLike : public TVK::Object<ItemLike, Base, IOwn> {
public:
    int Own() override { return 2; }
};
class Derived : public TVK::Object<Derived, IThird, DataLike> {};

template <class T>
void* Find(T& inObject, const InterfaceID& inID) {
    void* found = &sAlive;
    const TVK::TVKResult result = inObject.QueryInterfaceNoAddRef(inID, &found);
    EXPECT_EQ(result, found ? TVK::kTVKSuccess : TVK::kTVKErrorNoInterface);
    return found;
}

TEST(Object, OneBaseAnswersToItselfItsBaseAndTheRootAtOneAddress) {
    const auto object = Base::Create();
    Base& base = *object.operator->();
    EXPECT_EQ(Find(base, kIdentifierOf<Base>), static_cast<Base*>(&base));
    EXPECT_EQ(Find(base, kIdentifierOf<IFirst>), static_cast<IFirst*>(&base));
    EXPECT_EQ(Find(base, kIdentifierOf<TVKUnknown>), static_cast<TVKUnknown*>(&base));
    EXPECT_EQ(Find(base, kIdentifierOf<IOwn>), nullptr);
}

TEST(Object, InterfaceThenClassIsTheInterfaceAsRoot) {
    const auto object = DataLike::Create();
    DataLike& data = *object.operator->();
    EXPECT_EQ(Find(data, kIdentifierOf<TVKUnknown>),
              static_cast<TVKUnknown*>(static_cast<IOwn*>(&data)));
    EXPECT_EQ(Find(data, kIdentifierOf<IOwn>), static_cast<IOwn*>(&data));
    EXPECT_EQ(Find(data, kIdentifierOf<Base>), static_cast<Base*>(&data));
    EXPECT_EQ(Find(data, kIdentifierOf<IFirst>),
              static_cast<IFirst*>(static_cast<Base*>(&data)));
    EXPECT_EQ(Find(data, kIdentifierOf<DataLike>), &data);
    EXPECT_NE(Find(data, kIdentifierOf<IOwn>), Find(data, kIdentifierOf<Base>));
}

TEST(Object, ClassThenInterfaceIsTheInterfaceAsRootToo) {
    const auto object = ItemLike::Create();
    ItemLike& item = *object.operator->();
    EXPECT_EQ(Find(item, kIdentifierOf<TVKUnknown>),
              static_cast<TVKUnknown*>(static_cast<IOwn*>(&item)));
    EXPECT_EQ(Find(item, kIdentifierOf<Base>), static_cast<Base*>(&item));
    EXPECT_EQ(Find(item, kIdentifierOf<ItemLike>), &item);
    EXPECT_EQ(Find(item, kIdentifierOf<ItemLike>), Find(item, kIdentifierOf<Base>))
        << "a class leads to its primary base";
}

TEST(Object, ABaseTwoLayersDownIsFound) {
    const auto object = Derived::Create();
    Derived& derived = *object.operator->();
    Base& base = derived;
    EXPECT_EQ(Find(derived, kIdentifierOf<Base>), &base);
    EXPECT_EQ(Find(derived, kIdentifierOf<IOwn>), static_cast<IOwn*>(&derived));
    EXPECT_EQ(Find(derived, kIdentifierOf<TVKUnknown>),
              static_cast<TVKUnknown*>(static_cast<IThird*>(&derived)));
}

// Through whichever base it is asked, an object is one and the same TVKUnknown, and the
// reference that comes with the answer is on its one count.
template <class Made>
void ExpectOneIdentity() {
    auto* const object = Made::Create().Detach();
    Base& base = *object;
    void* root = nullptr;
    object->QueryInterfaceNoAddRef(kIdentifierOf<TVKUnknown>, &root);
    {
        const auto unknown = base.GetUnknown();
        EXPECT_EQ(unknown.operator->(), root);
        object->Release();
        EXPECT_EQ(sAlive, 1) << "the answer holds the object";
    }
    EXPECT_EQ(sAlive, 0);
}

TEST(Object, GetUnknownIsTheIdentityThroughEveryBase) {
    ExpectOneIdentity<Base>();
    ExpectOneIdentity<DataLike>();
    ExpectOneIdentity<ItemLike>();
    ExpectOneIdentity<Derived>();
}

TEST(Object, UnknownIdentifierGivesNullAndTheOneFailureCode) {
    const auto object = Base::Create();
    void* found = &sAlive;
    EXPECT_EQ(object->QueryInterface({9, 9}, &found), static_cast<TVK::TVKResult>(0xa00a0001u));
    EXPECT_LT(TVK::kTVKErrorNoInterface, 0);
    EXPECT_EQ(found, nullptr);
}

TEST(Object, LastReleaseDestroysOnceWhicheverBaseItCameThrough) {
    for (int way = 0; way < 3; ++way) {
        auto* const data = DataLike::Create().Detach();
        data->AddRef();
        EXPECT_EQ(sAlive, 1);
        static_cast<Base*>(data)->Release();
        EXPECT_EQ(sAlive, 1);
        if (way == 0) data->Release();
        if (way == 1) static_cast<IOwn*>(data)->Release();
        if (way == 2) static_cast<IFirst*>(data)->Release();
        EXPECT_EQ(sAlive, 0);
    }
}

TEST(Object, QueryInterfaceTakesAReferenceAndTheOtherDoesNot) {
    auto* const base = Base::Create().Detach();
    void* found = nullptr;
    base->QueryInterface(kIdentifierOf<IFirst>, &found);
    base->QueryInterfaceNoAddRef(kIdentifierOf<IFirst>, &found);
    base->QueryInterface({9, 9}, &found);
    base->Release();
    EXPECT_EQ(sAlive, 1);
    base->Release();
    EXPECT_EQ(sAlive, 0);
}

}  // namespace
