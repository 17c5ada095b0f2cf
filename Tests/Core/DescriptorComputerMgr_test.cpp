// One computer for each distinct property, and the life of both managers.

#include "DescriptorComputerMgr.h"

#include <thread>

#include "DP/DescriptorFactory.h"
#include "DescriptorComputer.h"
#include "DescriptorDataCacheMgr.h"
#include "RegionTracker/HidesName.h"
#include "Support/Items.h"
#include "Support/StartLine.h"
#include "Support/Test.h"
#include "quillet/Error.h"

namespace {

class OddProperty;

}  // namespace

template <>
inline constexpr TVK::InterfaceID TVK::kIdentifierOf<OddProperty>{0x7e57, 31};

namespace {

using namespace DP;
using namespace Testing;

class ComputerMgr : public testing::Test {
protected:
    ~ComputerMgr() override { FlushAllDescriptorResources(); }

    static Ref<IDescriptorComputer> Grey(const char* inSource) {
        return CreateDescriptorComputer(
            CreateDescriptorProperty(Wide(inSource), kDescriptorDataTypeGreyImage));
    }
    static Ref<IDescriptorComputer> FloatGrey(const char* inSource) {
        return CreateDescriptorComputer(
            CreateDescriptorProperty(Wide(inSource), kDescriptorDataTypeFloatGreyImage));
    }
};

TEST_F(ComputerMgr, EqualPropertiesShareAComputerAndOthersDoNot) {
    const auto computer = Grey("a");
    ASSERT_TRUE(computer != NULL);
    EXPECT_EQ(Grey("a"), computer);
    EXPECT_FALSE(Grey("b") == computer);
    EXPECT_FALSE(FloatGrey("a") == computer);
    EXPECT_EQ(computer->GetSourceID(), Wide("a"));
    EXPECT_EQ(computer->GetDescriptorDataType(), kDescriptorDataTypeGreyImage);
    EXPECT_TRUE(computer->GetDescriptorProperty() != NULL);
}

TEST_F(ComputerMgr, NullPropertyBreaksTheContractAndAnUnknownKindIsReported) {
    const RecordedReports reports(RecordedReports::Later::kShow);
    EXPECT_THROW(CreateDescriptorComputer(nullptr), quillet::config::ReportedError);
    EXPECT_EQ(reports.Broken(),
              "Src/DescriptorComputerMgr.cpp: inDescriptorProperty != NULL\n");
    for (int kind : {kDescriptorDataTypeCount, -1}) {
        const auto property =
            CreateDescriptorProperty(Wide("a"), static_cast<DescriptorDataType>(kind));
        EXPECT_TRUE(CreateDescriptorComputer(property) == NULL);
    }
    ASSERT_EQ(reports.Asserts().size(), 2u);
    EXPECT_EQ(reports.Asserts()[0].mText, "Unsupported Descriptor Type !!!\r\n");
    EXPECT_EQ(reports.Asserts()[0].mFunction,
              "DP::DescriptorComputerMgr::GetDescriptorComputer");
    // No lock stayed behind.
    std::thread([] { EXPECT_TRUE(Grey("a") != NULL); }).join();
}

TEST_F(ComputerMgr, APlainPropertyOfATrackersKindThrowsAndLeavesNothingBehind) {
    const auto grey = Grey("a");
    for (const auto kind :
         {kDescriptorDataTypeKLT, kDescriptorDataTypeAPT, kDescriptorDataTypeRegionTracker}) {
        const auto property = CreateDescriptorProperty(Wide("a"), kind);
        EXPECT_THROW(CreateDescriptorComputer(property), TVK::NullInterfaceException);
        EXPECT_THROW(CreateDescriptorComputer(property), TVK::NullInterfaceException)
            << "no half-made computer is found";
    }
    std::thread([&] { EXPECT_EQ(Grey("a"), grey); }).join();
}

TEST_F(ComputerMgr, ComputerWithoutAPropertyHasNoSourceAndThrowsForItsKind) {
    const auto computer = DescriptorComputer::Create();
    EXPECT_TRUE(computer->GetSourceID().empty());
    EXPECT_TRUE(computer->GetDescriptorProperty() == NULL);
    EXPECT_THROW(computer->GetDescriptorDataType(), TVK::NullInterfaceException);
}

// ---- Many computers ------------------------------------------------------------------

/// Equal to what its number says, and of another source at each step.
// It does not answer to the plain name, as no host's class does.
class OddProperty : public HidesName<OddProperty, DescriptorProperty, DescriptorProperty> {
public:
    bool IsEqual(Ref<IDescriptorProperty> inOther) override {
        return inOther->GetSourceID().size() % 7 == mNumber % 7;
    }
    quillet::WideString GetSourceID() override {
        return SourceOf((mNumber + sStep) % kSources);
    }
    static quillet::WideString SourceOf(std::size_t inNumber) {
        return quillet::WideString(inNumber, u's');
    }
    static constexpr std::size_t kSources = 20;
    static inline std::size_t sStep = 0;
    std::size_t mNumber = 0;
};

// The list that the manager holds, walked from its first computer to its last.
struct PlainWalk {
    Ref<IDescriptorComputer> Find(const Ref<IDescriptorProperty>& inProperty) const {
        for (const auto& computer : mComputers)
            if (inProperty->IsEqual(computer->GetDescriptorProperty())) return computer;
        return {};
    }
    void Remove(const quillet::WideString& inSource) {
        const auto at = std::ranges::find_if(mComputers, [&](const auto& inComputer) {
            return inComputer->GetSourceID() == inSource;
        });
        if (at != mComputers.end()) mComputers.erase(at);
    }
    std::vector<Ref<IDescriptorComputer>> mComputers;
};

TEST_F(ComputerMgr, FindsAndRemovesWhatAPlainWalkDoes) {
    const auto mgr = CreateDescriptorComputerMgr();
    Random random(3);
    PlainWalk walk;
    int found = 0, made = 0;
    const auto number = [&] {
        return std::size_t(random.Integer(0, int(OddProperty::kSources) - 1));
    };
    for (OddProperty::sStep = 0; OddProperty::sStep < 4000 && !HasFailure();
         ++OddProperty::sStep) {
        const auto source = OddProperty::SourceOf(number());
        if (random.Integer(0, 2) == 0) {
            walk.Remove(source);
            mgr->RemoveDescriptorComputers(source);
            continue;
        }
        const auto kind = static_cast<DescriptorDataType>(random.Integer(2, 6));
        auto property = CreateDescriptorProperty(source, kind);
        if (random.Integer(0, 9) == 0) {
            const auto odd = MakeInitialised<OddProperty>(source, kind);
            odd->mNumber = number();
            property = odd;
        }
        const auto expected = walk.Find(property);
        const auto computer = mgr->GetDescriptorComputer(property);
        ++(expected == NULL ? made : found);
        if (expected != NULL) {
            EXPECT_EQ(computer, expected);
            continue;
        }
        EXPECT_TRUE(std::ranges::find(walk.mComputers, computer) == walk.mComputers.end());
        walk.mComputers.push_back(computer);
    }
    EXPECT_GT(found, 500);
    EXPECT_GT(made, 500);
}

// ---- The life of the managers --------------------------------------------------------

TEST_F(ComputerMgr, FlushWithNothingBuiltBuildsAndTearsDown) {
    FlushAllDescriptorResources();
    EXPECT_LT(TVK::gSingleton<DescriptorComputerMgr>.GetWord(), 0);
    EXPECT_LT(TVK::gSingleton<DescriptorDataCacheMgr>.GetWord(), 0);
    FlushAllDescriptorResources();
    EXPECT_LT(TVK::gSingleton<DescriptorComputerMgr>.GetWord(), 0);
}

TEST_F(ComputerMgr, AManagerHeldAcrossAFlushIsTheSameObjectEmptied) {
    const auto held = CreateDescriptorComputerMgr();
    const auto computer = Grey("a");
    FlushAllDescriptorResources();
    EXPECT_EQ(CreateDescriptorComputerMgr(), held);
    EXPECT_FALSE(Grey("a") == computer);
}

TEST_F(ComputerMgr, FirstCallersInARaceLoseNoCount) {
    for (int round = 0; round < 100; ++round) {
        StartLine start(4);
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t)
            threads.emplace_back([&] {
                start.Meet();
                EXPECT_TRUE(CreateDescriptorComputerMgr() != NULL);
                EXPECT_TRUE(CreateDescriptorDataCacheMgr() != NULL);
            });
        for (auto& thread : threads)
            thread.join();
        FlushAllDescriptorResources();
        ASSERT_LT(TVK::gSingleton<DescriptorComputerMgr>.GetWord(), 0);
        ASSERT_LT(TVK::gSingleton<DescriptorDataCacheMgr>.GetWord(), 0);
    }
}

TEST_F(ComputerMgr, TheIncomingPropertyComparesAndOneThreadAtATime) {
    Crossing crossing;
    const auto property = WatchedProperty::Create();
    property->Init(Wide("another"), kDescriptorDataTypeGreyImage);
    property->mCrossing = &crossing;
    const auto computer = Grey("a");
    StartLine start(2);
    const auto ask = [&] {
        start.Meet();
        for (int i = 0; i < 20; ++i)
            EXPECT_EQ(CreateDescriptorComputer(property), computer);
    };
    std::thread other(ask);
    ask();
    other.join();
    EXPECT_FALSE(crossing.HaveMet());
}

// The manager is held: asking for it would put the threads in an order.
TEST_F(ComputerMgr, WhatOneThreadMakesAnotherRemoves) {
    const auto mgr = CreateDescriptorComputerMgr();
    for (const bool all : {false, true}) {
        LooseSignal made;
        std::thread other([&] {
            made.Await();
            all ? mgr->RemoveAllDescriptorComputers()
                : mgr->RemoveDescriptorComputers(Wide("a"));
        });
        const auto computer = mgr->GetDescriptorComputer(
            CreateDescriptorProperty(Wide("a"), kDescriptorDataTypeGreyImage));
        made.Give();
        other.join();
        EXPECT_FALSE(Grey("a") == computer);
        FlushAllDescriptorResources();
    }
}

TEST_F(ComputerMgr, ThreadsWithEqualPropertiesGetOneComputer) {
    StartLine start(8);
    std::vector<Ref<IDescriptorComputer>> computers(8);
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < 8; ++t)
        threads.emplace_back([&, t] {
            start.Meet();
            computers[t] = Grey("shared");
        });
    for (auto& thread : threads)
        thread.join();
    for (const auto& computer : computers)
        EXPECT_EQ(computer, computers[0]);
}

}  // namespace
