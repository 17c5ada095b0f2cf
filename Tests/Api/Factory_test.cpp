// The exported functions, from outside: what they make, what they refuse, what they keep.

#include "DP/DescriptorFactory.h"

#include <thread>

#include "DP/IFloatGreyImageDescriptor.h"
#include "DP/IGreyImageDescriptor.h"
#include "Support/Test.h"
#include "quillet/Error.h"

namespace {

using namespace DP;
using namespace Testing;

// Must stand first: the flags that hide later reports are the library's own and last for
// the process.
TEST(Factory, AnImpossibleKindIsReportedOnceAndGivesNull) {
    const RecordedReports reports;
    for (int kind : {kDescriptorDataTypeCount, -1, kDescriptorDataTypeCount}) {
        const auto type = static_cast<DescriptorDataType>(kind);
        EXPECT_TRUE(CreateDescriptorData(type) == NULL);
        EXPECT_TRUE(CreateDescriptorWorkerItem(type) == NULL);
        EXPECT_TRUE(CreateDescriptorComputer(CreateDescriptorProperty(Wide("a"), type)) ==
                    NULL);
    }
    const auto asserts = reports.Asserts();
    ASSERT_EQ(asserts.size(), 3u);
    EXPECT_EQ(asserts[0].mText, "Invalid Data Type\r\n");
    EXPECT_EQ(asserts[0].mFunction, "DP::CreateDescriptorData");
    EXPECT_EQ(asserts[0].mFile, "Src/DescriptorFactory.cpp");
    EXPECT_EQ(asserts[1].mText, "Descriptor Type Unavailable !!!!\r\n");
    EXPECT_EQ(asserts[1].mFunction, "DP::CreateDescriptorWorkerItem");
    EXPECT_EQ(asserts[2].mText, "Unsupported Descriptor Type !!!\r\n");
}

// A host catches by type what either library throws.
TEST(Factory, BrokenContractsAndNullReferencesAreCaughtByType) {
    const RecordedReports reports;
    EXPECT_THROW(CreateDescriptorComputer(nullptr), quillet::config::ReportedError);
    const auto plain = CreateDescriptorProperty(Wide("a"), kDescriptorDataTypeGreyImage);
    EXPECT_THROW(plain->IsEqual(nullptr), TVK::NullInterfaceException);
}

TEST(Factory, AFrameBecomesAGreyImageThroughPropertyComputerItemAndCache) {
    const int cols = 33;
    const int rows = 9;
    const auto frame = NoiseBytes(std::size_t(cols * rows * 4), 5);
    const auto computer = CreateDescriptorComputer(
        CreateDescriptorProperty(Wide("clip"), kDescriptorDataTypeGreyImage));
    const auto item = CreateDescriptorWorkerItem(kDescriptorDataTypeGreyImage);
    item->SetDataKey(CreateDescriptorDataKey(Wide("clip"), 1, rows, cols));
    Ref<IGreyImageDescriptorWorkerItem>(item)->SetInputImage(frame.data(), rows, cols,
                                                             cols * 4);
    const auto data = computer->GetDescriptorData(item, true);
    const Ref<IGreyImageDescriptorData> grey(data);
    ASSERT_TRUE(grey != NULL);
    EXPECT_EQ(grey->GetGreyImageData()->GetColumns(), cols);
    EXPECT_EQ(computer->GetDescriptorData(item, true), data);
    FlushAllDescriptorResources();
    EXPECT_FALSE(computer->GetDescriptorData(item, true) == data);
    FlushAllDescriptorResources();
}

TEST(Factory, TwoHostsThreadsShareComputersAndCaches) {
    const auto frame = NoiseBytes(64 * 64 * 4, 5);
    std::vector<Ref<IDescriptorData>> results(4);
    std::vector<std::thread> threads;
    for (auto& result : results)
        threads.emplace_back([&] {
            for (int frameNumber = 0; frameNumber < 30; ++frameNumber) {
                const auto computer = CreateDescriptorComputer(
                    CreateDescriptorProperty(Wide("clip"), kDescriptorDataTypeFloatGreyImage));
                const auto item = CreateDescriptorWorkerItem(kDescriptorDataTypeFloatGreyImage);
                item->SetDataKey(CreateDescriptorDataKey(Wide("clip"), frameNumber, 64, 64));
                Ref<IFloatGreyImageDescriptorWorkerItem>(item)->SetInputImage(frame.data(), 64,
                                                                              64, 256);
                result = computer->GetDescriptorData(item, true);
            }
        });
    for (auto& thread : threads)
        thread.join();
    for (const auto& result : results)
        EXPECT_EQ(result, results[0]);
    EXPECT_EQ(CreateDescriptorDataCacheMgr()->GetTotalDataSize(), 30u * 64 * 64 * 4);
    FlushAllDescriptorResources();
}

}  // namespace
