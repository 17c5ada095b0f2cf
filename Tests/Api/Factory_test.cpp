// The exported functions, from outside: what they make, what they refuse, what they keep.

#include "DP/DescriptorFactory.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "DP/IFloatGreyImageDescriptor.h"
#include "DP/IGreyImageDescriptor.h"
#include "Support/Reports.h"
#include "Support/Textures.h"
#include "Support/WideStrings.h"
#include "quillet/Error.h"

namespace {

using DP::DescriptorDataType;
using DP::Ref;
using Testing::RecordedReports;
using Testing::Wide;

// Must stand first: the flags that hide later reports are the library's own and last for
// the process.
TEST(Factory, AnImpossibleKindIsReportedOnceAndGivesNull) {
    const RecordedReports reports;
    for (int kind : {DP::kDescriptorDataTypeCount, -1, DP::kDescriptorDataTypeCount}) {
        const auto type = static_cast<DescriptorDataType>(kind);
        EXPECT_TRUE(DP::CreateDescriptorData(type) == NULL);
        EXPECT_TRUE(DP::CreateDescriptorWorkerItem(type) == NULL);
        EXPECT_TRUE(DP::CreateDescriptorComputer(
                        DP::CreateDescriptorProperty(Wide("a"), type)) == NULL);
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
    EXPECT_THROW(DP::CreateDescriptorComputer(nullptr), quillet::config::ReportedError);
    const auto plain =
        DP::CreateDescriptorProperty(Wide("a"), DP::kDescriptorDataTypeGreyImage);
    EXPECT_THROW(plain->IsEqual(nullptr), TVK::NullInterfaceException);
}

TEST(Factory, AFrameBecomesAGreyImageThroughPropertyComputerItemAndCache) {
    const int cols = 33;
    const int rows = 9;
    const auto frame = Testing::NoiseBytes(std::size_t(cols * rows * 4), 5);
    const auto computer = DP::CreateDescriptorComputer(
        DP::CreateDescriptorProperty(Wide("clip"), DP::kDescriptorDataTypeGreyImage));
    const auto item = DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeGreyImage);
    item->SetDataKey(DP::CreateDescriptorDataKey(Wide("clip"), 1, rows, cols));
    Ref<DP::IGreyImageDescriptorWorkerItem>(item)->SetInputImage(frame.data(), rows, cols,
                                                                 cols * 4);
    const auto data = computer->GetDescriptorData(item, true);
    const Ref<DP::IGreyImageDescriptorData> grey(data);
    ASSERT_TRUE(grey != NULL);
    EXPECT_EQ(grey->GetGreyImageData()->GetColumns(), cols);
    EXPECT_EQ(computer->GetDescriptorData(item, true), data);
    DP::FlushAllDescriptorResources();
    EXPECT_FALSE(computer->GetDescriptorData(item, true) == data);
    DP::FlushAllDescriptorResources();
}

TEST(Factory, TwoHostsThreadsShareComputersAndCaches) {
    const auto frame = Testing::NoiseBytes(64 * 64 * 4, 5);
    std::vector<Ref<DP::IDescriptorData>> results(4);
    std::vector<std::thread> threads;
    for (auto& result : results)
        threads.emplace_back([&] {
            for (int frameNumber = 0; frameNumber < 30; ++frameNumber) {
                const auto computer = DP::CreateDescriptorComputer(DP::CreateDescriptorProperty(
                    Wide("clip"), DP::kDescriptorDataTypeFloatGreyImage));
                const auto item =
                    DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeFloatGreyImage);
                item->SetDataKey(
                    DP::CreateDescriptorDataKey(Wide("clip"), frameNumber, 64, 64));
                Ref<DP::IFloatGreyImageDescriptorWorkerItem>(item)->SetInputImage(frame.data(),
                                                                                  64, 64, 256);
                result = computer->GetDescriptorData(item, true);
            }
        });
    for (auto& thread : threads)
        thread.join();
    for (const auto& result : results)
        EXPECT_EQ(result, results[0]);
    EXPECT_EQ(DP::CreateDescriptorDataCacheMgr()->GetTotalDataSize(), 30u * 64 * 64 * 4);
    DP::FlushAllDescriptorResources();
}

}  // namespace
