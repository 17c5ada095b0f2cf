// KLTDescriptorComputer: the computer that owns a KLT tracker.

#pragma once

#include "DescriptorComputer.h"
#include "KLTWrapper.h"

namespace DP {

/// Has no identifier of its own and answers to that of the plain computer. The tracker
/// lives as long as the computer and takes settings from one property only.
class KLTDescriptorComputer : public TVK::Object<KLTDescriptorComputer, DescriptorComputer> {
public:
    /// A computer whose tracker has the settings of a KLT property.
    /// @throws TVK::NullInterfaceException for a property of another class.
    static Ref<IDescriptorComputer> CreateFor(const Ref<IDescriptorProperty>& inProperty);

    /// With a tracker for lists of length 0, until it is set up.
    KLTDescriptorComputer();

    /// Hands the tracker to the item, then takes the road of every request.
    Ref<IDescriptorData> GetDescriptorData(Ref<IDescriptorWorkerItem> inDescriptorWorkerItem,
                                           bool inStoreInCache) override;

    void SetMaxFeatures(unsigned int inMaxFeatures);
    void SetFrameStep(int inFrameStep);
    void SetSourceID(quillet::WideString inSourceID);
    void SetMinDist(int inMinDist);
    KLTTrackerPtr GetTracker() const { return mTracker; }

private:
    KLTTrackerPtr mTracker;
};

}  // namespace DP
