// IDescriptorDataCache: the results of one kind under their keys.

#pragma once

#include "DP/IDescriptorData.h"
#include "DP/IDescriptorDataKey.h"
#include "DP/Ref.h"
#include "TVK/ObjectPtr.h"
#include "quillet/RecursiveMutex.h"

namespace DP {

/// A mutex that is shared by all who wait for one key.
using RecursiveMutexPtr = TVK::ObjectPtr<quillet::threads::RecursiveMutex>;

/// Keeps the results of one kind, and hands out one mutex for each key, so that a key is
/// computed by one thread at a time.
///
/// Eviction is coarse by design: a store of a new key into a cache that holds more entries
/// than its limit drops every entry first. A cache therefore holds at most its limit and
/// one, and what a host's data store when they are dropped. Docs/Kinds.md has the limit of
/// each kind.
///
/// A key that is hit, or asked for and not stored, keeps an entry of some 240 bytes among
/// the keys in work, which neither eviction nor `ClearCache` takes out: a `StoreData` under
/// that key does, or the end of the cache. A million different keys that are hit hold
/// 229 MiB, and a hit then takes four times as long. `FlushAllDescriptorResources` between
/// two clips ends it.
///
/// Ownership: the cache holds one reference to each key and each result.
/// Threads: any number of threads may call any operation but `ClearCache`.
/// Callbacks: a host's own keys and data are called with a lock of the cache held. From
///   `IsLessThan` of a key and from `GetDataSize` and `SetTimeStamp` of data no operation of
///   a cache or of the cache manager may be called, no computer asked and nothing flushed: a
///   map that changes while it is searched ends in freed memory. Destructors of keys and
///   data may do so where no other thread is in the library, as in a flush; with others in
///   it they would take the locks in an order that may block for ever.
/// Errors: a null key throws the contract error out of the comparator, with every lock
///   released. An empty map has nothing to compare with: there a null key is entered, and
///   every later lookup throws until the cache is gone.
/// Frozen: the order of the virtual operations is binary interface.
class IDescriptorDataCache : public TVK::TVKUnknown {
public:
    /// Drops every entry; returns 0. Takes no lock: not while another thread uses the
    /// cache. Mutexes that were handed out stay.
    virtual int ClearCache() = 0;

    /// Looks a key up.
    /// @param outData  the result on a hit, untouched on a miss.
    /// @param outKeyMutex  the key's mutex, on a hit and on a miss. Two calls give the
    ///        same one until a result is stored under the key.
    /// @return  whether there was a result.
    /// @throws TVK::NullInterfaceException where a null result was stored.
    virtual bool GetCachedData(Ref<IDescriptorDataKey> inKey, Ref<IDescriptorData>& outData,
                               RecursiveMutexPtr& outKeyMutex) = 0;

    /// Stores a result, unless the key has one already: the first one stays.
    /// @throws TVK::NullInterfaceException for a null result, after the entry was made:
    ///         the key throws on every lookup from then on, until the cache is cleared.
    virtual void StoreData(Ref<IDescriptorDataKey> inKey, Ref<IDescriptorData> inData) = 0;

    /// Bytes of all results, as each said when it was stored, in unsigned 32-bit
    /// arithmetic.
    virtual unsigned int GetTotalDataSize() = 0;
};

}  // namespace DP
