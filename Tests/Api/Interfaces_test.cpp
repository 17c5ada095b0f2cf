// The frozen surface: the slot of every virtual operation, the layout of what crosses the
// boundary by value, and the identifiers.

#include "DP/DescriptorFactory.h"
#include "DP/IAPTDescriptor.h"
#include "DP/IFloatGreyImageDescriptor.h"
#include "DP/IGraphCutDescriptor.h"
#include "DP/IGreyImageDescriptor.h"
#include "DP/IInterruptibleWorkerItem.h"
#include "DP/IKLTDescriptor.h"
#include "DP/InterfaceIDs.h"
#include "Src/ClassIDs.h"
#include "Support/Test.h"
#include "image/IPImage.h"

namespace {

std::size_t sAsked = 0;

// Slot of a virtual operation, read from the pointer to it: on this ABI it holds the byte
// offset in the table, plus 1. The destructor has two slots.
template <class Member>
std::size_t SlotOf(Member inMember) {
    ++sAsked;
    std::uintptr_t word = 0;
    std::memcpy(&word, &inMember, sizeof(word));
    return (word - 1) / sizeof(void*);
}

constexpr std::size_t kFirst = 6;  // behind the five operations of the root

TEST(Slots, RootOperationsStandInOrder) {
    EXPECT_EQ(SlotOf(&TVK::TVKUnknown::AddRef), 0u);
    EXPECT_EQ(SlotOf(&TVK::TVKUnknown::Release), 1u);
    EXPECT_EQ(SlotOf(&TVK::TVKUnknown::QueryInterface), 4u);
    EXPECT_EQ(SlotOf(&TVK::TVKUnknown::QueryInterfaceNoAddRef), 5u);
}

TEST(Slots, EveryOperationStandsWhereItWasFrozen) {
    sAsked = 0;
    EXPECT_EQ(SlotOf(&DP::IDescriptorProperty::GetSourceID), kFirst);
    EXPECT_EQ(SlotOf(&DP::IDescriptorProperty::GetDescriptorDataType), kFirst + 1);
    EXPECT_EQ(SlotOf(&DP::IDescriptorProperty::IsEqual), kFirst + 2);

    EXPECT_EQ(SlotOf(&DP::IDescriptorDataKey::GetHash), kFirst);
    EXPECT_EQ(SlotOf(&DP::IDescriptorDataKey::GetSourceID), kFirst + 1);
    EXPECT_EQ(SlotOf(&DP::IDescriptorDataKey::GetFrameNumber), kFirst + 2);
    EXPECT_EQ(SlotOf(&DP::IDescriptorDataKey::GetRows), kFirst + 3);
    EXPECT_EQ(SlotOf(&DP::IDescriptorDataKey::GetColumns), kFirst + 4);
    EXPECT_EQ(SlotOf(&DP::IDescriptorDataKey::IsLessThan), kFirst + 5);

    EXPECT_EQ(SlotOf(&DP::IDescriptorData::GetHash), kFirst);
    EXPECT_EQ(SlotOf(&DP::IDescriptorData::SetHash), kFirst + 1);
    EXPECT_EQ(SlotOf(&DP::IDescriptorData::GetTimeStamp), kFirst + 2);
    EXPECT_EQ(SlotOf(&DP::IDescriptorData::SetTimeStamp), kFirst + 3);
    EXPECT_EQ(SlotOf(&DP::IDescriptorData::GetDataSize), kFirst + 4);
    EXPECT_EQ(SlotOf(&DP::IDescriptorData::CloneData), kFirst + 5);

    EXPECT_EQ(SlotOf(&DP::IDescriptorWorkerItem::SetDataKey), kFirst);
    EXPECT_EQ(SlotOf(&DP::IDescriptorWorkerItem::GetDataKey), kFirst + 1);

    EXPECT_EQ(SlotOf(&DP::IDescriptorComputer::GetDescriptorData), kFirst);
    EXPECT_EQ(SlotOf(&DP::IDescriptorComputer::GetSourceID), kFirst + 1);
    EXPECT_EQ(SlotOf(&DP::IDescriptorComputer::GetDescriptorDataType), kFirst + 2);
    EXPECT_EQ(SlotOf(&DP::IDescriptorComputer::GetDescriptorProperty), kFirst + 3);

    EXPECT_EQ(SlotOf(&DP::IDescriptorComputerMgr::GetDescriptorComputer), kFirst);
    EXPECT_EQ(SlotOf(&DP::IDescriptorComputerMgr::RemoveDescriptorComputers), kFirst + 1);
    EXPECT_EQ(SlotOf(&DP::IDescriptorComputerMgr::RemoveAllDescriptorComputers), kFirst + 2);

    EXPECT_EQ(SlotOf(&DP::IDescriptorDataCache::ClearCache), kFirst);
    EXPECT_EQ(SlotOf(&DP::IDescriptorDataCache::GetCachedData), kFirst + 1);
    EXPECT_EQ(SlotOf(&DP::IDescriptorDataCache::StoreData), kFirst + 2);
    EXPECT_EQ(SlotOf(&DP::IDescriptorDataCache::GetTotalDataSize), kFirst + 3);

    EXPECT_EQ(SlotOf(&DP::IDescriptorDataCacheMgr::GetDescriptorDataCache), kFirst);
    EXPECT_EQ(SlotOf(&DP::IDescriptorDataCacheMgr::ClearAllCaches), kFirst + 1);
    EXPECT_EQ(SlotOf(&DP::IDescriptorDataCacheMgr::GetTotalDataSize), kFirst + 2);

    EXPECT_EQ(SlotOf(&DP::IAPTDescriptorData::GetFeatures), kFirst);
    EXPECT_EQ(SlotOf(&DP::IAPTDescriptorWorkerItem::SetInputs), kFirst);
    EXPECT_EQ(SlotOf(&DP::IGreyImageDescriptorData::GetGreyImageData), kFirst);
    EXPECT_EQ(SlotOf(&DP::IFloatGreyImageDescriptorData::GetFloatGreyImageData), kFirst);
    EXPECT_EQ(SlotOf(&DP::IRegionTrackerDescriptorData::GetRegion), kFirst);
    EXPECT_EQ(SlotOf(&DP::IGreyImageDescriptorWorkerItem::SetInputImage), kFirst);
    EXPECT_EQ(SlotOf(&DP::IFloatGreyImageDescriptorWorkerItem::SetInputImage), kFirst);
    EXPECT_EQ(SlotOf(&DP::IRegionTrackerDescriptorWorkerItem::SetInputs), kFirst);
    EXPECT_EQ(SlotOf(&DP::IKLTDescriptorData::GetFeatureList), kFirst);
    EXPECT_EQ(SlotOf(&DP::IKLTDescriptorWorkerItem::SetInputImages), kFirst);
    EXPECT_EQ(SlotOf(&DP::IGraphCutDescriptorData::GetLabelImage), kFirst);
    EXPECT_EQ(SlotOf(&DP::IGraphCutDescriptorWorkerItem::SetInputs), kFirst);
    EXPECT_EQ(SlotOf(&DP::IInterruptibleWorkerItem::SetProgressCallback), kFirst);
    EXPECT_EQ(SlotOf(&DP::IInterruptibleWorkerItem::WasInterrupted), kFirst + 1);
    EXPECT_EQ(sAsked, std::size_t{DP_VIRTUAL_OPERATIONS}) << "of the public interfaces";
}

TEST(Layout, WhatCrossesTheBoundaryByValueHasItsSize) {
    EXPECT_EQ(sizeof(DP::KLTFeature), 40u);
    EXPECT_EQ(offsetof(DP::KLTFeature, mValue), 8u);
    EXPECT_EQ(offsetof(DP::KLTFeature, mAge), 20u);
    EXPECT_EQ(offsetof(DP::KLTFeature, mDeltaX), 24u);
    EXPECT_EQ(DP::KLTFeature().mValue, 0) << "a new record reads as live";
    EXPECT_EQ(sizeof(DP::APTFeature), 40u);
    EXPECT_EQ(offsetof(DP::APTFeature, mStatus), 8u);
    EXPECT_EQ(offsetof(DP::APTFeature, mAge), 20u);
    EXPECT_EQ(offsetof(DP::APTFeature, mDeltaX), 24u);
    EXPECT_EQ(offsetof(DP::APTFeature, mReservedFlag), 36u);
    EXPECT_EQ(sizeof(DP::Ref<DP::IDescriptorData>), sizeof(void*));
    EXPECT_EQ(sizeof(IP::ImagePtr<float>), 2 * sizeof(void*));
    EXPECT_EQ(sizeof(TVK::ParamRect<float>), 16u);
    EXPECT_EQ(sizeof(TVK::HashValue), 12u);
    EXPECT_EQ(sizeof(TVK::InterfaceID), 16u);
    EXPECT_EQ(sizeof(DP::DescriptorDataType), 4u);
    EXPECT_EQ(sizeof(TVK::MemoryBuffer), 2 * sizeof(void*));
    EXPECT_EQ(offsetof(TVK::MemoryBuffer, mBlock), 0u);
    // Three sizes, the pixels, the buffer, the recycler.
    EXPECT_EQ(sizeof(IP::Image<float>), 16u + sizeof(void*) + 4 * sizeof(void*));
}

// ---- The identifiers -----------------------------------------------------------------

// Every row of the two tables, as the build reads them from their headers.
const std::pair<const char*, TVK::InterfaceID> kRows[] = {
    {"TVKUnknown", TVK::kIdentifierOf<TVK::TVKUnknown>},
#define DP_ROW(inName) {#inName, TVK::kIdentifierOf<DP::inName>},
#include "Identifiers.inc"
};

TEST(Identifiers, AllDifferButTheOnePairThatIsShared) {
    ASSERT_GE(std::size(kRows), 56u) << "rows were lost";
    for (std::size_t i = 0; i < std::size(kRows); ++i)
        for (std::size_t j = i + 1; j < std::size(kRows); ++j) {
            const bool shared =
                std::string(kRows[i].first) == "GreyImageDescriptorWorkerItem" &&
                std::string(kRows[j].first) == "KLTDescriptorWorkerItem";
            EXPECT_EQ(kRows[i].second == kRows[j].second, shared)
                << kRows[i].first << " and " << kRows[j].first;
        }
    EXPECT_EQ(TVK::kIdentifierOf<DP::KLTDescriptorComputer>,
              TVK::kIdentifierOf<DP::DescriptorComputer>);
}

TEST(Identifiers, TellingRowsHaveTheirValues) {
    const auto expect = [](const TVK::InterfaceID& inID, std::uint64_t inFirst,
                           std::uint64_t inSecond) {
        EXPECT_EQ(inID.mFirst, inFirst);
        EXPECT_EQ(inID.mSecond, inSecond);
    };
    expect(TVK::kIdentifierOf<TVK::TVKUnknown>, 0x4f33c5df4f9cb3f7, 0xb93f9cdf4c78a5b5);
    expect(TVK::kIdentifierOf<DP::IDescriptorProperty>, 0x49500afe242f1416, 0x19a36e9599958bad);
    expect(TVK::kIdentifierOf<DP::KLTDescriptorWorkerItem>, 0x4df710cfcdb7d78a,
           0xe78d613ee12fd7bc);
}

// Every object of the surface is asked for every identifier: it answers with success and
// a subobject, or with the one failure and null, and its count is as it was.
TEST(Identifiers, EveryObjectAnswersEveryQuestion) {
    const auto ask = [](const char* inName, auto inObject, std::set<std::string> inNames) {
        SCOPED_TRACE(inName);
        inNames.insert("TVKUnknown");
        for (const auto& [name, id] : kRows) {
            void* found = &inNames;
            const TVK::TVKResult result = inObject->QueryInterface(id, &found);
            EXPECT_EQ(result == TVK::kTVKSuccess, inNames.contains(name)) << name;
            EXPECT_EQ(found != nullptr, inNames.contains(name)) << name;
            if (found) static_cast<TVK::TVKUnknown*>(found)->Release();
        }
    };
    const quillet::WideString source;
    const auto region = TVK::MakeObject<TVK::ParamRect<float>>();
    ask("property", DP::CreateDescriptorProperty(source, DP::kDescriptorDataTypeGreyImage),
        {"IDescriptorProperty", "DescriptorProperty"});
    ask("KLT property",
        DP::CreateKLTDescriptorProperty(1, 1, 1, 1, source, DP::kDescriptorDataTypeKLT),
        {"IDescriptorProperty", "DescriptorProperty", "KLTDescriptorProperty"});
    ask("APT property",
        DP::CreateAPTDescriptorProperty(1, 1, 1, 1, source, DP::kDescriptorDataTypeAPT, 0, 0),
        {"IDescriptorProperty", "DescriptorProperty", "APTDescriptorProperty"});
    ask("region property",
        DP::CreateRegionTrackerDescriptorProperty(1, 1, 1, 1, source, region, 1,
                                                  DP::kDescriptorDataTypeRegionTracker),
        {"IDescriptorProperty", "APTDescriptorProperty", "RegionTrackerDescriptorProperty"});
    ask("key", DP::CreateDescriptorDataKey(source, 1, 1, 1),
        {"IDescriptorDataKey", "DescriptorDataKey"});
    ask("KLT key", DP::CreateKLTDescriptorDataKey(source, 1, 1, 1, 1, 1, 1, 1),
        {"IDescriptorDataKey", "DescriptorDataKey", "KLTDescriptorDataKey"});
    ask("APT key", DP::CreateAPTDescriptorDataKey(source, 1, 1, 1, 1, 1, 1, 1, 0, 0),
        {"IDescriptorDataKey", "DescriptorDataKey", "APTDescriptorDataKey"});
    ask("region key",
        DP::CreateRegionTrackerDescriptorDataKey(source, 1, 1, 1, 1, 1, region, 1, 1, 1),
        {"IDescriptorDataKey", "APTDescriptorDataKey", "RegionTrackerDescriptorDataKey"});
    ask("grey data", DP::CreateDescriptorData(DP::kDescriptorDataTypeGreyImage),
        {"IGreyImageDescriptorData", "GreyImageDescriptorData", "IDescriptorData",
         "DescriptorData"});
    // The class of the grey item shares its identifier with that of KLT.
    ask("grey item", DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeGreyImage),
        {"IGreyImageDescriptorWorkerItem", "GreyImageDescriptorWorkerItem",
         "KLTDescriptorWorkerItem", "IDescriptorWorkerItem", "DescriptorWorkerItem"});
    ask("region data", DP::CreateRegionDescriptorData(region),
        {"IRegionTrackerDescriptorData", "RegionTrackerDescriptorData", "IAPTDescriptorData",
         "APTDescriptorData", "IDescriptorData", "DescriptorData"});
    ask("region item", DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeRegionTracker),
        {"IRegionTrackerDescriptorWorkerItem", "RegionTrackerDescriptorWorkerItem",
         "IDescriptorWorkerItem", "DescriptorWorkerItem", "IInterruptibleWorkerItem"});
    ask("computer manager", DP::CreateDescriptorComputerMgr(),
        {"IDescriptorComputerMgr", "DescriptorComputerMgr"});
    const auto caches = DP::CreateDescriptorDataCacheMgr();
    ask("cache manager", caches, {"IDescriptorDataCacheMgr", "DescriptorDataCacheMgr"});
    ask("cache", caches->GetDescriptorDataCache(DP::kDescriptorDataTypeGreyImage),
        {"IDescriptorDataCache", "DescriptorDataCache"});
    ask("computer",
        DP::CreateDescriptorComputer(
            DP::CreateDescriptorProperty(source, DP::kDescriptorDataTypeGreyImage)),
        {"IDescriptorComputer", "DescriptorComputer"});
    ask("region computer",
        DP::CreateDescriptorComputer(DP::CreateRegionTrackerDescriptorProperty(
            1, 1, 1, 1, source, region, 1, DP::kDescriptorDataTypeRegionTracker)),
        {"IDescriptorComputer", "DescriptorComputer", "RegionTrackerDescriptorComputer"});
    DP::FlushAllDescriptorResources();
}

}  // namespace
