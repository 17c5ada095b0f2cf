// IDescriptorData: one computed result.

#pragma once

#include "DP/Ref.h"
#include "TVK/HashValue.h"

namespace DP {

/// A computed result. The content is reached through the kind's own interface
/// (`IGreyImageDescriptorData` and its kin): convert the reference.
///
/// Ownership: counted; the cache holds one reference, each receiver another. What the
///   getters of a kind return is shared with the data.
/// Threads: a result does not change after it was computed and may be read by any number
///   of threads. The time stamp is atomic; `SetHash` is for the one thread that makes the
///   data.
/// Callbacks: what a host's own data may not call from `GetDataSize`, `SetTimeStamp` and its
///   destructor stands in IDescriptorDataCache.h.
/// Errors: none.
/// Frozen: the order of the virtual operations is binary interface.
class IDescriptorData : public TVK::TVKUnknown {
public:
    /// A field for the host; nothing in the library reads or sets it. Starts at zero.
    /// @{
    virtual void GetHash(TVK::HashValue& outHash) = 0;
    virtual void SetHash(const TVK::HashValue& inHash) = 0;
    /// @}

    /// Milliseconds from the building of the cache to the last store or hit; set by the
    /// cache, read by nothing in the library. Starts at zero.
    /// @{
    virtual void GetTimeStamp(unsigned int& outTime) = 0;
    virtual void SetTimeStamp(const unsigned int& inTime) = 0;
    /// @}

    /// Bytes of the result proper. 0 where there is none.
    virtual unsigned int GetDataSize() = 0;

    /// A deep copy without hash and time stamp; null for a kind that does not clone (the
    /// pyramids).
    virtual Ref<IDescriptorData> CloneData() = 0;
};

}  // namespace DP
