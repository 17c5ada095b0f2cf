// The smart pointer: which calls each operation makes on the object, in which order.

#include "TVK/InterfaceRef.h"
#include "Support/Test.h"

namespace {

class IProbe : public TVK::TVKUnknown {};
class IOther : public TVK::TVKUnknown {};

}  // namespace

template <>
inline constexpr TVK::InterfaceID TVK::kIdentifierOf<IProbe>{7, 1};
template <>
inline constexpr TVK::InterfaceID TVK::kIdentifierOf<IOther>{7, 2};

namespace {

using TVK::InterfaceRef;
using TVK::NullInterfaceException;

std::string sLog;

// Writes down each call. Answers to IProbe, and to IOther if told to.
class Probe : public IProbe, public IOther {
public:
    Probe(char inName, bool inIsOther) : mName(inName), mIsOther(inIsOther) {}
    void AddRef() override { Note('+'), ++mCount; }
    void Release() override { Note('-'), --mCount; }
    TVK::TVKResult QueryInterface(const TVK::InterfaceID&, void**) override {
        Note('!');
        return TVK::kTVKErrorNoInterface;
    }
    TVK::TVKResult QueryInterfaceNoAddRef(const TVK::InterfaceID& inID, void** out) override {
        Note('?');
        *out = nullptr;
        if (inID == TVK::kIdentifierOf<IProbe>) *out = static_cast<IProbe*>(this);
        if (inID == TVK::kIdentifierOf<IOther> && mIsOther) *out = static_cast<IOther*>(this);
        return *out ? TVK::kTVKSuccess : TVK::kTVKErrorNoInterface;
    }
    IProbe* AsProbe() { return this; }
    int mCount = 0;

private:
    void Note(char inCall) { sLog += inCall, sLog += mName, sLog += ' '; }
    char mName;
    bool mIsOther;
};

class InterfaceRefCalls : public testing::Test {
protected:
    void SetUp() override { sLog.clear(); }
    std::string TakeLog() { return std::exchange(sLog, ""); }
    Probe a{'a', true}, b{'b', true}, deaf{'d', false};
};

TEST_F(InterfaceRefCalls, CopyCountsAndMoveDoesNot) {
    InterfaceRef<IProbe> first(a.AsProbe());
    EXPECT_EQ(TakeLog(), "+a ");
    {
        const InterfaceRef<IProbe> copy = first;
        EXPECT_EQ(TakeLog(), "+a ");
    }
    EXPECT_EQ(TakeLog(), "-a ");
    const InterfaceRef<IProbe> moved = std::move(first);
    EXPECT_EQ(TakeLog(), "");
    EXPECT_TRUE(first == NULL);
    EXPECT_TRUE(moved != NULL);
}

TEST_F(InterfaceRefCalls, AssignmentCountsTheNewBeforeItReleasesTheOld) {
    InterfaceRef<IProbe> target(a.AsProbe());
    const InterfaceRef<IProbe> source(b.AsProbe());
    TakeLog();
    target = source;
    EXPECT_EQ(TakeLog(), "+b -a ");
    target = *&target;
    EXPECT_EQ(TakeLog(), "+b -b ");
}

TEST_F(InterfaceRefCalls, AssignmentFromADyingValueSwaps) {
    InterfaceRef<IProbe> target(a.AsProbe());
    InterfaceRef<IProbe> source(b.AsProbe());
    TakeLog();
    target = std::move(source);
    EXPECT_EQ(TakeLog(), "");
    source = nullptr;
    EXPECT_EQ(TakeLog(), "-a ");
}

TEST_F(InterfaceRefCalls, ConversionByCopyTakesAReferenceOrGivesNull) {
    {
        const InterfaceRef<IProbe> source(a.AsProbe());
        TakeLog();
        const InterfaceRef<IOther> other(source);
        EXPECT_EQ(TakeLog(), "+a ?a ");
        EXPECT_TRUE(other != NULL);
        EXPECT_EQ(a.mCount, 2);
    }
    const InterfaceRef<IProbe> source(deaf.AsProbe());
    TakeLog();
    const InterfaceRef<IOther> none(source);
    EXPECT_EQ(TakeLog(), "+d ?d -d ");
    EXPECT_TRUE(none == NULL);
    EXPECT_EQ(deaf.mCount, 1);
    EXPECT_TRUE(InterfaceRef<IOther>(InterfaceRef<IProbe>()) == NULL);
}

TEST_F(InterfaceRefCalls, ConversionByMovePassesTheReferenceOrLeavesBothSides) {
    InterfaceRef<IProbe> source(a.AsProbe());
    InterfaceRef<IProbe> failing(deaf.AsProbe());
    InterfaceRef<IOther> target;
    TakeLog();
    target = std::move(source);
    EXPECT_EQ(TakeLog(), "?a ");
    EXPECT_TRUE(source == NULL);
    target = std::move(failing);
    EXPECT_EQ(TakeLog(), "?d ");
    EXPECT_TRUE(failing != NULL);
    EXPECT_TRUE(target != NULL);
    InterfaceRef<IProbe> second(b.AsProbe());
    TakeLog();
    target = std::move(second);
    EXPECT_EQ(TakeLog(), "?b -a ");
}

TEST_F(InterfaceRefCalls, AccessThroughNullThrowsAndTheTestForNullDoesNot) {
    const InterfaceRef<IProbe> null;
    EXPECT_TRUE(null == NULL);
    try {
        null->AddRef();
        FAIL();
    } catch (const NullInterfaceException& error) {
        EXPECT_STREQ(error.what(), "A NULL interface pointer has been dereferenced.");
    }
    EXPECT_THROW(null->AddRef(), TVK::Exception);
    EXPECT_THROW(null->AddRef(), std::exception);
}

}  // namespace
