// IDescriptorProperty: what a computer computes.

#pragma once

#include "DP/DescriptorDataType.h"
#include "DP/Ref.h"
#include "quillet/WideString.h"

namespace DP {

/// Describes the work of a computer: a kind, a frame source and, for the trackers, their
/// parameters. Two properties that compare equal share one computer, and so one tracker.
/// The creation functions of DP/DescriptorFactory.h make properties.
///
/// Ownership: counted; references travel by value.
/// Threads: immutable once made; any thread may call any operation.
/// Callbacks: what a host's own property may call from here stands in
///   IDescriptorComputerMgr.h.
/// Errors: see `IsEqual`.
/// Frozen: the order of the virtual operations is binary interface.
class IDescriptorProperty : public TVK::TVKUnknown {
public:
    /// The name of the frame source. Any string, also the empty one.
    virtual quillet::WideString GetSourceID() = 0;

    /// The kind, as it was given to the creation function, which does not check it.
    virtual DescriptorDataType GetDescriptorDataType() = 0;

    /// Whether `inOther` describes the same work. The question is this object's: a plain
    /// property looks at source and kind only, a tracker's at its class and parameters
    /// too, so the answer can differ when the two change places.
    /// @throws TVK::NullInterfaceException for a null `inOther`, and between two region
    ///         tracker properties of which one has a null region.
    virtual bool IsEqual(Ref<IDescriptorProperty> inOther) = 0;
};

}  // namespace DP
