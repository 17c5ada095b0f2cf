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

}  // namespace DP
