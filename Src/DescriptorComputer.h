// DescriptorComputer: the road of a request, from the item to the result.

#pragma once

#include "ClassIDs.h"
#include "DP/IDescriptorComputer.h"
#include "TVK/Object.h"

namespace DP {

/// Used as it is by the kinds without a tracker. A tracker's computer derives from it,
/// keeps the tracker, hands it to each item and then takes the same road.
class DescriptorComputer : public TVK::Object<DescriptorComputer, IDescriptorComputer> {
public:
    Ref<IDescriptorData> GetDescriptorData(Ref<IDescriptorWorkerItem> inDescriptorWorkerItem,
                                           bool inStoreInCache) override;
    quillet::WideString GetSourceID() override;
    DescriptorDataType GetDescriptorDataType() override;
    Ref<IDescriptorProperty> GetDescriptorProperty() override;

    /// Called once, by the manager that makes the computer.
    virtual void SetDescriptorProperty(Ref<IDescriptorProperty> inProperty);

private:
    Ref<IDescriptorWorkerItem> mReservedItem;  // part of the layout; nothing sets it
    Ref<IDescriptorProperty> mProperty;
};

}  // namespace DP
