// Kinds: what the library knows about each kind of descriptor, in one table.

#pragma once

#include "DP/DescriptorDataType.h"
#include "DP/IDescriptorComputer.h"
#include "DP/IDescriptorData.h"
#include "DP/IDescriptorProperty.h"
#include "DP/IDescriptorWorkerItem.h"
#include "DP/Ref.h"

namespace DP {

/// One row. Who asks for something of a kind by its number goes through the row and
/// includes no class of the kind.
struct Kind {
    DescriptorDataType mType;
    Ref<IDescriptorData> (*mMakeData)();
    Ref<IDescriptorWorkerItem> (*mMakeWorkerItem)();
    /// A new computer, set up from the property. That of a tracker throws
    /// TVK::NullInterfaceException for a property of another class.
    Ref<IDescriptorComputer> (*mMakeComputer)(const Ref<IDescriptorProperty>& inProperty);
    /// The entries that the kind's cache may hold before a store of a new key empties it.
    unsigned int mMaxCachedResults;
};

/// Null for a number that is no kind.
const Kind* FindKind(DescriptorDataType inType);

/// Whether a property is one that the functions of the library make, and so equal to another
/// only where the sources are. A host's may compare in any way.
bool IsOwnProperty(const Ref<IDescriptorProperty>& inProperty);

}  // namespace DP
