// APTDescriptorComputer: owns the engine of one APT property.

#pragma once

#include "APT/APTTracker.h"
#include "DescriptorComputer.h"

namespace DP {

/// The engine is one for all frames, and has no lock: a host asks for the frames of one
/// computer one after the other.
class APTDescriptorComputer : public TVK::Object<APTDescriptorComputer, DescriptorComputer> {
public:
    /// A computer whose engine has the settings of an APT property.
    /// @throws TVK::NullInterfaceException for a property of another class.
    static Ref<IDescriptorComputer> CreateFor(const Ref<IDescriptorProperty>& inProperty);

    APTDescriptorComputer();

    /// Hands the engine to an APT item. An item of another kind stays without one.
    Ref<IDescriptorData> GetDescriptorData(Ref<IDescriptorWorkerItem> inDescriptorWorkerItem,
                                           bool inStoreInCache) override;

    /// Sets the engine up. Called once, by the manager.
    void Configure(unsigned int inMaxFeatures, int inTrackerTag, quillet::WideString inSourceID,
                   unsigned int inMinFeatureDistance, float inStationaryLimit,
                   unsigned int inVerifyAgainstReference);

    /// These write the engine's parameter alone and do not set the engine up again: what
    /// it copied in `Configure` stays. The library does not call them.
    void SetMaxFeatures(unsigned int inMaxFeatures);
    void SetTrackerTag(int inTrackerTag);
    void SetMinFeatureDistance(unsigned int inMinFeatureDistance);
    void SetStationaryLimit(float inStationaryLimit);
    void SetVerifyAgainstReference(unsigned int inVerifyAgainstReference);

    APTTrackerPtr GetTracker() const { return mTracker; }

private:
    APTTrackerPtr mTracker;
};

}  // namespace DP
