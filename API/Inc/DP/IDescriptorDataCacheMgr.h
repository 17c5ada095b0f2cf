// IDescriptorDataCacheMgr: one cache for each kind.

#pragma once

#include "DP/DescriptorDataType.h"
#include "DP/IDescriptorDataCache.h"
#include "DP/Ref.h"

namespace DP {

/// Gives each kind its one cache, built on first use. A singleton;
/// `CreateDescriptorDataCacheMgr` leads to it.
///
/// Ownership: the manager holds one reference to each cache.
/// Threads: any number of threads may call `GetDescriptorDataCache`. The other two walk
///   the caches without a lock: call them when no other call into the library is running.
/// Callbacks: destructors of a host's own data may call back while the caches are cleared;
///   what they store then is cleared as well. One that always stores more never ends.
/// Errors: an unknown kind is reported to the developer once and gets a cache all the
///   same, with a limit of 0.
/// Frozen: the order of the virtual operations is binary interface.
class IDescriptorDataCacheMgr : public TVK::TVKUnknown {
public:
    /// The one cache of a kind.
    virtual Ref<IDescriptorDataCache> GetDescriptorDataCache(DescriptorDataType inType) = 0;

    /// Empties every cache and lets go of it: the next request for its kind builds a new
    /// one. No other call into the library may run meanwhile.
    virtual void ClearAllCaches() = 0;

    /// The sum over all caches, in unsigned 32-bit arithmetic.
    virtual unsigned int GetTotalDataSize() = 0;
};

}  // namespace DP
