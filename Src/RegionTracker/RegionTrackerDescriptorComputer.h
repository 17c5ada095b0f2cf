// RegionTrackerDescriptorComputer: answers requests for a tracked rectangle and keeps the
// engine that finds its points.

#pragma once

#include "APT/APTTracker.h"
#include "DescriptorComputer.h"

namespace DP {

class RegionTrackerDescriptorComputer
    : public TVK::Object<RegionTrackerDescriptorComputer, DescriptorComputer> {
public:
    /// A computer whose engine has the settings of a region tracker property.
    /// @throws TVK::NullInterfaceException for a property of another class.
    static Ref<IDescriptorComputer> CreateFor(const Ref<IDescriptorProperty>& inProperty);

    /// Gives the engine its parameters, once, before the first request. All others keep
    /// their defaults.
    void Configure(unsigned int inMaxFeatures, int inTrackerTag, quillet::WideString inSourceID,
                   unsigned int inMinFeatureDistance);

    /// Lends the item the engine first. An item of another class stays without.
    Ref<IDescriptorData> GetDescriptorData(Ref<IDescriptorWorkerItem> inDescriptorWorkerItem,
                                           bool inStoreInCache) override;

private:
    TVK::ObjectPtr<APTTracker> mTracker = TVK::MakeObject<APTTracker>();
};

}  // namespace DP
