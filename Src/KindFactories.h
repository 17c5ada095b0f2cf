// The makers of the kinds, as plain functions that return interfaces: those who switch
// over the kinds include no class of any.

#pragma once

#include "DP/IDescriptorComputer.h"
#include "DP/IDescriptorData.h"
#include "DP/IDescriptorProperty.h"
#include "DP/IDescriptorWorkerItem.h"
#include "DP/Ref.h"

namespace DP {

Ref<IDescriptorData> MakeGreyImageDescriptorData();
Ref<IDescriptorWorkerItem> MakeGreyImageDescriptorWorkerItem();

Ref<IDescriptorData> MakeFloatGreyImageDescriptorData();
Ref<IDescriptorWorkerItem> MakeFloatGreyImageDescriptorWorkerItem();

/// The computer is set up from the property.
/// @throws TVK::NullInterfaceException for a property of another class.
Ref<IDescriptorData> MakeAPTDescriptorData();
Ref<IDescriptorWorkerItem> MakeAPTDescriptorWorkerItem();
Ref<IDescriptorComputer> MakeAPTDescriptorComputer(const Ref<IDescriptorProperty>& inProperty);

Ref<IDescriptorData> MakeColourPyramidDescriptorData();
Ref<IDescriptorWorkerItem> MakeColourPyramidDescriptorWorkerItem();

}  // namespace DP
