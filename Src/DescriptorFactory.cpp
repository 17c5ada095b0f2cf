#include "DP/DescriptorFactory.h"

#include "APT/APTDescriptorDataKey.h"
#include "APT/APTDescriptorProperty.h"
#include "DescriptorComputerMgr.h"
#include "DescriptorDataCacheMgr.h"
#include "DescriptorObjects.h"
#include "KLTDescriptorDataKey.h"
#include "KLTDescriptorProperty.h"
#include "KindFactories.h"
#include "RegionTracker/RegionTrackerDescriptorData.h"
#include "RegionTracker/RegionTrackerDescriptorDataKey.h"
#include "RegionTracker/RegionTrackerDescriptorProperty.h"
#include "TVK/ContractCheck.h"

namespace DP {
// ---- Properties ----------------------------------------------------------------------

Ref<IDescriptorProperty> CreateDescriptorProperty(quillet::WideString inSourceID,
                                                  DescriptorDataType inType) {
    return MakeInitialised<DescriptorProperty>(inSourceID, inType);
}

Ref<IDescriptorProperty> CreateKLTDescriptorProperty(
    unsigned int inMaxFeatures, int inFrameStep, unsigned int inMinFeatureDistance,
    unsigned int inMinFeatures, quillet::WideString inSourceID, DescriptorDataType inType) {
    return MakeInitialised<KLTDescriptorProperty>(
        inMaxFeatures, inFrameStep, inMinFeatureDistance, inMinFeatures, inSourceID, inType);
}

Ref<IDescriptorProperty> CreateAPTDescriptorProperty(
    unsigned int inMaxFeatures, int inTrackerTag, unsigned int inMinFeatureDistance,
    unsigned int inMinFeatures, quillet::WideString inSourceID, DescriptorDataType inType,
    float inStationaryLimit, unsigned int inVerifyAgainstReference) {
    return MakeInitialised<APTDescriptorProperty>(
        inMaxFeatures, inTrackerTag, inMinFeatureDistance, inMinFeatures, inSourceID, inType,
        inStationaryLimit, inVerifyAgainstReference);
}

Ref<IDescriptorProperty> CreateRegionTrackerDescriptorProperty(
    unsigned int inMaxFeatures, int inTrackerTag, unsigned int inMinFeatureDistance,
    unsigned int inMinFeatures, quillet::WideString inSourceID, RegionPtr inRegion,
    int inRegionTag, DescriptorDataType inType) {
    return MakeInitialised<RegionTrackerDescriptorProperty>(
        inMaxFeatures, inTrackerTag, inMinFeatureDistance, inMinFeatures, inSourceID, inRegion,
        inRegionTag, inType);
}

// ---- Keys ----------------------------------------------------------------------------

Ref<IDescriptorDataKey> CreateDescriptorDataKey(quillet::WideString inSourceID,
                                                long long inFrameNumber, int inRows,
                                                int inColumns) {
    return MakeInitialised<DescriptorDataKey>(inSourceID, inFrameNumber, inRows, inColumns);
}

Ref<IDescriptorDataKey> CreateKLTDescriptorDataKey(quillet::WideString inSourceID,
                                                   long long inFrameNumber, int inFrameStep,
                                                   unsigned int inMaxFeatures, int inRows,
                                                   int inColumns,
                                                   unsigned int inMinFeatureDistance,
                                                   unsigned int inMinFeatures) {
    return MakeInitialised<KLTDescriptorDataKey>(inSourceID, inFrameNumber, inFrameStep,
                                                 inMaxFeatures, inRows, inColumns,
                                                 inMinFeatureDistance, inMinFeatures);
}

Ref<IDescriptorDataKey> CreateAPTDescriptorDataKey(
    quillet::WideString inSourceID, long long inFrameNumber, int inTrackerTag,
    unsigned int inMaxFeatures, int inRows, int inColumns, unsigned int inMinFeatureDistance,
    unsigned int inMinFeatures, float inStationaryLimit,
    unsigned int inVerifyAgainstReference) {
    return MakeInitialised<APTDescriptorDataKey>(
        inSourceID, inFrameNumber, inTrackerTag, inMaxFeatures, inRows, inColumns,
        inMinFeatureDistance, inMinFeatures, inStationaryLimit, inVerifyAgainstReference);
}

Ref<IDescriptorDataKey> CreateRegionTrackerDescriptorDataKey(
    quillet::WideString inSourceID, long long inFrameNumber, int inTrackerTag,
    unsigned int inMaxFeatures, int inRows, int inColumns, RegionPtr inRegion, int inRegionTag,
    unsigned int inMinFeatureDistance, unsigned int inMinFeatures) {
    return MakeInitialised<RegionTrackerDescriptorDataKey>(
        inSourceID, inFrameNumber, inTrackerTag, inMaxFeatures, inRows, inColumns, inRegion,
        inRegionTag, inMinFeatureDistance, inMinFeatures);
}

// ---- Objects -------------------------------------------------------------------------

Ref<IDescriptorData> CreateDescriptorData(DescriptorDataType inType) {
    switch (inType) {
        case kDescriptorDataTypeKLT:
            return MakeKLTDescriptorData();
        case kDescriptorDataTypeAPT:
            return MakeAPTDescriptorData();
        case kDescriptorDataTypeGreyImage:
            return MakeGreyImageDescriptorData();
        case kDescriptorDataTypeFloatGreyImage:
            return MakeFloatGreyImageDescriptorData();
        case kDescriptorDataTypeGraphCut:
            return MakeGraphCutDescriptorData();
        case kDescriptorDataTypeImagePyramid:
            return MakeImagePyramidDescriptorData();
        case kDescriptorDataTypeColourPyramid:
            return MakeColourPyramidDescriptorData();
        case kDescriptorDataTypeRegionTracker:
            return MakeRegionTrackerDescriptorData();
        default:
            AssertWithMessage("DP::CreateDescriptorData", "Invalid Data Type");
            return {};
    }
}

Ref<IRegionTrackerDescriptorData> CreateRegionDescriptorData(RegionPtr inRegion) {
    const auto data = RegionTrackerDescriptorData::Create();
    data->SetRegionAndFeatures(inRegion, {});
    return data;
}

Ref<IDescriptorWorkerItem> CreateDescriptorWorkerItem(DescriptorDataType inType) {
    switch (inType) {
        case kDescriptorDataTypeKLT:
            return MakeKLTDescriptorWorkerItem();
        case kDescriptorDataTypeAPT:
            return MakeAPTDescriptorWorkerItem();
        case kDescriptorDataTypeGreyImage:
            return MakeGreyImageDescriptorWorkerItem();
        case kDescriptorDataTypeFloatGreyImage:
            return MakeFloatGreyImageDescriptorWorkerItem();
        case kDescriptorDataTypeGraphCut:
            return MakeGraphCutDescriptorWorkerItem();
        case kDescriptorDataTypeImagePyramid:
            return MakeImagePyramidDescriptorWorkerItem();
        case kDescriptorDataTypeColourPyramid:
            return MakeColourPyramidDescriptorWorkerItem();
        case kDescriptorDataTypeRegionTracker:
            return MakeRegionTrackerDescriptorWorkerItem();
        default:
            AssertWithMessage("DP::CreateDescriptorWorkerItem",
                              "Descriptor Type Unavailable !!!!");
            return {};
    }
}

// ---- Services ------------------------------------------------------------------------

Ref<IDescriptorComputer> CreateDescriptorComputer(Ref<IDescriptorProperty> inProperty) {
    const Ref<IDescriptorComputerMgr> computerMgr = CreateDescriptorComputerMgr();
    if (computerMgr == NULL) return {};
    return computerMgr->GetDescriptorComputer(inProperty);
}

void FlushAllDescriptorResources() {
    const Ref<IDescriptorDataCacheMgr> cacheMgr = CreateDescriptorDataCacheMgr();
    if (cacheMgr != NULL) cacheMgr->ClearAllCaches();
    DropDescriptorDataCacheMgr();

    const Ref<IDescriptorComputerMgr> computerMgr = CreateDescriptorComputerMgr();
    if (computerMgr != NULL) computerMgr->RemoveAllDescriptorComputers();
    DropDescriptorComputerMgr();
    // Here the two local references go, the computer manager's first; with no other
    // holder the managers go with them.
}

}  // namespace DP
