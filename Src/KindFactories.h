// The makers of the kinds, as plain functions that return interfaces: who asks for a kind by
// its number includes no class of it.

#pragma once

#include "DP/IDescriptorComputer.h"
#include "DP/IDescriptorData.h"
#include "DP/IDescriptorProperty.h"
#include "DP/IDescriptorWorkerItem.h"
#include "DP/Ref.h"

namespace DP {

// In the order of the kinds. A tracker's computer is set up from the property that it is
// made for; a property of another class throws TVK::NullInterfaceException.

Ref<IDescriptorData> MakeKLTDescriptorData();
Ref<IDescriptorWorkerItem> MakeKLTDescriptorWorkerItem();
Ref<IDescriptorComputer> MakeKLTDescriptorComputer(const Ref<IDescriptorProperty>& inProperty);

Ref<IDescriptorData> MakeAPTDescriptorData();
Ref<IDescriptorWorkerItem> MakeAPTDescriptorWorkerItem();
Ref<IDescriptorComputer> MakeAPTDescriptorComputer(const Ref<IDescriptorProperty>& inProperty);

Ref<IDescriptorData> MakeGreyImageDescriptorData();
Ref<IDescriptorWorkerItem> MakeGreyImageDescriptorWorkerItem();

Ref<IDescriptorData> MakeFloatGreyImageDescriptorData();
Ref<IDescriptorWorkerItem> MakeFloatGreyImageDescriptorWorkerItem();

Ref<IDescriptorData> MakeGraphCutDescriptorData();
Ref<IDescriptorWorkerItem> MakeGraphCutDescriptorWorkerItem();

Ref<IDescriptorData> MakeImagePyramidDescriptorData();
Ref<IDescriptorWorkerItem> MakeImagePyramidDescriptorWorkerItem();

Ref<IDescriptorData> MakeColourPyramidDescriptorData();
Ref<IDescriptorWorkerItem> MakeColourPyramidDescriptorWorkerItem();

/// As for the APT kind, whose property its own derives from.
Ref<IDescriptorData> MakeRegionTrackerDescriptorData();
Ref<IDescriptorWorkerItem> MakeRegionTrackerDescriptorWorkerItem();
Ref<IDescriptorComputer> MakeRegionTrackerDescriptorComputer(
    const Ref<IDescriptorProperty>& inProperty);

}  // namespace DP
