// IDescriptorComputerMgr: the live computers, one for each distinct property.

#pragma once

#include "DP/IDescriptorComputer.h"
#include "DP/IDescriptorProperty.h"
#include "DP/Ref.h"
#include "quillet/WideString.h"

namespace DP {

/// Makes computers and keeps them. A singleton; `CreateDescriptorComputerMgr` leads to it.
///
/// Ownership: the manager holds one reference to each of its computers. A computer that
///   was removed stays usable for those who hold it, but is no longer found: an equal
///   property then makes a second one. A manager that a host still holds across
///   `FlushAllDescriptorResources` stays the same object, emptied.
/// Threads: any number of threads may call any operation; they run one after the other.
/// Callbacks: a host's own properties are called with the manager's lock held. Their
///   `IsEqual`, `GetSourceID`, `GetDescriptorDataType` and destructors may call the manager;
///   they may not ask a computer for data nor wait for another thread that uses the
///   library, since a computation may want this lock while it holds its key's.
/// Errors: see `GetDescriptorComputer`.
/// Frozen: the order of the virtual operations is binary interface.
class IDescriptorComputerMgr : public TVK::TVKUnknown {
public:
    /// The first computer, in order of creation, whose property `inDescriptorProperty`
    /// finds equal to itself; a new one where there is none.
    /// @return null for an unknown kind, which is reported to the developer.
    /// @throws the contract error for a null property; TVK::NullInterfaceException for a
    ///         property of a tracker's kind that was not made by that tracker's function,
    ///         and for region tracker properties of which one has a null region.
    virtual Ref<IDescriptorComputer> GetDescriptorComputer(
        Ref<IDescriptorProperty> inDescriptorProperty) = 0;

    /// Removes the first computer of that source, and only that one; call again for more.
    virtual void RemoveDescriptorComputers(quillet::WideString inSourceID) = 0;

    /// Removes every computer, also those that a property's destructor makes meanwhile: it
    /// does not end where there is always one more. A host that keeps the manager over a
    /// flush calls this before it lets it go.
    virtual void RemoveAllDescriptorComputers() = 0;
};

}  // namespace DP
