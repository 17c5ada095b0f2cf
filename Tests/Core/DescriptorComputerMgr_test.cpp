// One computer for each distinct property, and the life of both managers.

#include "DescriptorComputerMgr.h"

#include <thread>

#include "DP/DescriptorFactory.h"
#include "DescriptorComputer.h"
#include "DescriptorDataCacheMgr.h"
#include "Support/Items.h"
#include "Support/StartLine.h"
#include "Support/Test.h"
#include "quillet/Error.h"

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

TEST_F(ComputerMgr, RemovalTakesTheFirstComputerOfTheSourceOnly) {
    const auto first = Grey("a");
    const auto second = FloatGrey("a");
    const auto other = Grey("b");
    const auto mgr = CreateDescriptorComputerMgr();
    mgr->RemoveDescriptorComputers(Wide("nobody"));
    EXPECT_EQ(Grey("a"), first);
    mgr->RemoveDescriptorComputers(Wide("a"));
    EXPECT_EQ(FloatGrey("a"), second);
    EXPECT_EQ(Grey("b"), other);
    EXPECT_FALSE(Grey("a") == first) << "a removed computer is no longer found";
    EXPECT_EQ(first->GetSourceID(), Wide("a")) << "and stays usable";
    mgr->RemoveAllDescriptorComputers();
    EXPECT_FALSE(Grey("b") == other);
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
