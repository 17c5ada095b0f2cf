/// @file
/// The exported functions: everything a host makes comes from here.
///
/// Ownership: arguments travel by value and are released before the function returns; a
///   returned reference is new and belongs to the caller.
/// Threads: any number of threads may call any function, but for the flush.
/// Errors: running out of memory throws std::bad_alloc. Numbers are stored as they are
///   given; nothing checks that a kind fits the function. What is recommended for each, and
///   what it costs, stands in Docs/Parameters.md. A broken precondition throws
///   `quillet::config::ReportedError`, of quillet/Error.h.
/// Frozen: names and arguments are binary interface.

#pragma once

#include "DP/DescriptorDataType.h"
#include "DP/Export.h"
#include "DP/IDescriptorComputer.h"
#include "DP/IDescriptorComputerMgr.h"
#include "DP/IDescriptorData.h"
#include "DP/IDescriptorDataCacheMgr.h"
#include "DP/IDescriptorDataKey.h"
#include "DP/IDescriptorProperty.h"
#include "DP/IDescriptorWorkerItem.h"
#include "DP/IRegionTrackerDescriptor.h"
#include "DP/Ref.h"
#include "quillet/WideString.h"

namespace DP {

/// @name Properties: what a computer computes
/// @{

/// For the kinds without parameters: grey, float grey, graph cut and the pyramids.
DP_API Ref<IDescriptorProperty> CreateDescriptorProperty(quillet::WideString inSourceID,
                                                         DescriptorDataType inType);

/// @param inMaxFeatures  length of the feature lists.
/// @param inFrameStep  distance from a frame back to its previous frame, in frames. May be
///        negative: with -1 the previous frame of n is n + 1, for a clip played backward.
/// @param inMinFeatureDistance  only compared; the tracker's own distance is 10 pixels.
/// @param inMinFeatures  only compared; the key's number steers the tracker.
DP_API Ref<IDescriptorProperty> CreateKLTDescriptorProperty(
    unsigned int inMaxFeatures, int inFrameStep, unsigned int inMinFeatureDistance,
    unsigned int inMinFeatures, quillet::WideString inSourceID, DescriptorDataType inType);

/// @param inMaxFeatures  slots of the feature lists.
/// @param inTrackerTag  the host's own mark; tells otherwise equal trackers apart.
/// @param inMinFeatureDistance  radius, in pixels, cleared around each selected point.
/// @param inMinFeatures  only compared; the key's number steers the tracker.
/// @param inStationaryLimit  a point that moves no more than this on both axes, in
///        pixels, is dropped.
/// @param inVerifyAgainstReference  1 or more checks each point against its first patch.
DP_API Ref<IDescriptorProperty> CreateAPTDescriptorProperty(
    unsigned int inMaxFeatures, int inTrackerTag, unsigned int inMinFeatureDistance,
    unsigned int inMinFeatures, quillet::WideString inSourceID, DescriptorDataType inType,
    float inStationaryLimit, unsigned int inVerifyAgainstReference);

/// The parameters of the APT property, and:
/// @param inRegion  compared by left, right and height only: two regions of one size at
///        another height share a computer. A null region throws
///        TVK::NullInterfaceException where properties are compared: a computer that was
///        made for one makes later requests throw until it is removed.
/// @param inRegionTag  the host's own mark; only compared.
DP_API Ref<IDescriptorProperty> CreateRegionTrackerDescriptorProperty(
    unsigned int inMaxFeatures, int inTrackerTag, unsigned int inMinFeatureDistance,
    unsigned int inMinFeatures, quillet::WideString inSourceID, RegionPtr inRegion,
    int inRegionTag, DescriptorDataType inType);

/// @}
/// @name Keys: which result
/// @{

/// For the kinds without parameters. Rows come before columns.
DP_API Ref<IDescriptorDataKey> CreateDescriptorDataKey(quillet::WideString inSourceID,
                                                       long long inFrameNumber, int inRows,
                                                       int inColumns);

/// @param inMinFeatures  the tracker selects again when fewer live points than this are
///        left. The other three numbers repeat the property's and only tell keys apart.
DP_API Ref<IDescriptorDataKey> CreateKLTDescriptorDataKey(
    quillet::WideString inSourceID, long long inFrameNumber, int inFrameStep,
    unsigned int inMaxFeatures, int inRows, int inColumns, unsigned int inMinFeatureDistance,
    unsigned int inMinFeatures);

/// @param inMinFeatures  as for KLT. The other numbers repeat the property's. Keys that
///        differ only in `inStationaryLimit` or `inVerifyAgainstReference` are one key.
DP_API Ref<IDescriptorDataKey> CreateAPTDescriptorDataKey(
    quillet::WideString inSourceID, long long inFrameNumber, int inTrackerTag,
    unsigned int inMaxFeatures, int inRows, int inColumns, unsigned int inMinFeatureDistance,
    unsigned int inMinFeatures, float inStationaryLimit, unsigned int inVerifyAgainstReference);

/// @param inRegion  the rectangle that the run was started with, the same in the key of
///        every frame: it tells runs apart, and all four sides count. A null region throws
///        TVK::NullInterfaceException where keys are compared.
DP_API Ref<IDescriptorDataKey> CreateRegionTrackerDescriptorDataKey(
    quillet::WideString inSourceID, long long inFrameNumber, int inTrackerTag,
    unsigned int inMaxFeatures, int inRows, int inColumns, RegionPtr inRegion, int inRegionTag,
    unsigned int inMinFeatureDistance, unsigned int inMinFeatures);

/// @}
/// @name Objects
/// @{

/// An empty result of a kind. Null for an unknown kind, which is reported once.
DP_API Ref<IDescriptorData> CreateDescriptorData(DescriptorDataType inType);

/// The start of a region tracker's run: a result that holds a rectangle and no points. The
/// region is shared, not copied; leave it alone afterwards.
DP_API Ref<IRegionTrackerDescriptorData> CreateRegionDescriptorData(RegionPtr inRegion);

/// A worker item of a kind. Null for an unknown kind, which is reported once.
DP_API Ref<IDescriptorWorkerItem> CreateDescriptorWorkerItem(DescriptorDataType inType);

/// @}
/// @name Services
/// @{

/// The shared computer for a property: equal properties get the same one, whatever the
/// name says. See `IDescriptorComputerMgr::GetDescriptorComputer` for the errors.
DP_API Ref<IDescriptorComputer> CreateDescriptorComputer(Ref<IDescriptorProperty> inProperty);

/// The one manager of the computers; built where there is none.
DP_API Ref<IDescriptorComputerMgr> CreateDescriptorComputerMgr();

/// The one manager of the caches; built where there is none.
DP_API Ref<IDescriptorDataCacheMgr> CreateDescriptorDataCacheMgr();

/// Empties all caches, removes all computers and lets both managers go. The next call
/// builds them anew. Results and computers that the host holds stay good.
///
/// No other call into the library may run meanwhile. A host that unloads the library calls
/// this first: nothing is torn down at unload, and what lay in the caches would stay behind.
DP_API void FlushAllDescriptorResources();

/// @}

}  // namespace DP
