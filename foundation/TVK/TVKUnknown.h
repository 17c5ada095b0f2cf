// TVKUnknown: the root of all interfaces.

#pragma once

#include "TVK/InterfaceID.h"

namespace TVK {

/// A reference-counted object that can be asked for its interfaces.
///
/// Ownership: an object starts with a count of 0; whoever makes it takes the first
///   reference. The `Release` that takes the count from 1 to 0 destroys the object. Hold
///   objects by `InterfaceRef`, which does the counting.
/// Threads: any thread may call any of the five operations at any time; the count is
///   atomic with full barriers.
/// Errors: a query for an identifier that the object does not answer to returns
///   `kTVKErrorNoInterface` and never throws.
/// Frozen: the order of the virtual operations is binary interface.
class TVKUnknown {
public:
    /// Adds one to the count.
    virtual void AddRef() = 0;

    /// Takes one from the count; the object is gone if that was the last.
    virtual void Release() = 0;

    virtual ~TVKUnknown() = default;

    /// `QueryInterfaceNoAddRef`, and on success a reference that belongs to the caller.
    virtual TVKResult QueryInterface(const InterfaceID& inID, void** outObject) = 0;

    /// Stores the subobject that `inID` names, without a reference, and returns 0; or
    /// stores null and returns `kTVKErrorNoInterface`.
    virtual TVKResult QueryInterfaceNoAddRef(const InterfaceID& inID, void** outObject) = 0;

protected:
    TVKUnknown() = default;
    TVKUnknown(const TVKUnknown&) = delete;
    TVKUnknown& operator=(const TVKUnknown&) = delete;
};

/// Its identifier, as the rows of DP/InterfaceIDs.h are those of the other interfaces.
template <>
inline constexpr InterfaceID kIdentifierOf<TVKUnknown>{0x4f33c5df4f9cb3f7, 0xb93f9cdf4c78a5b5};

}  // namespace TVK
