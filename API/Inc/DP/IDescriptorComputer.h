// IDescriptorComputer: one request in, one descriptor out.

#pragma once

#include "DP/DescriptorDataType.h"
#include "DP/IDescriptorData.h"
#include "DP/IDescriptorProperty.h"
#include "DP/IDescriptorWorkerItem.h"
#include "DP/Ref.h"
#include "quillet/WideString.h"

namespace DP {

/// Answers requests for the descriptors of one frame source, from the cache if they are
/// there and by computing them if they are not.
///
/// `CreateDescriptorComputer` hands computers out; two calls with equal properties get
/// the same one.
///
/// Ownership: references travel by value. An operation releases the references it was
///   given before it returns; a returned reference is new and belongs to the caller.
/// Threads: any number of threads may call any operation, on one computer or on many. The
///   tracker kinds (KLT, APT, region) are narrower: ask for the frames of one tracker
///   computer one after the other, since they share its engine. Of the graph cut, one
///   computation at a time in the process.
/// Errors: a broken precondition throws the contract error. A computation that comes to
///   nothing is no error and gives a null reference.
/// Frozen: the order of the virtual operations is binary interface. A new operation goes
///   into a new interface, never into this one.
class IDescriptorComputer : public TVK::TVKUnknown {
public:
    /// Returns the descriptor that the item's key names, computed once for as long as it
    /// stays in the cache.
    ///
    /// On a hit the item's inputs are not read. On a miss the work is done here, on the
    /// calling thread; another thread that wants the same key waits and gets the same
    /// object, while requests for other keys run on.
    ///
    /// @param inDescriptorWorkerItem  an item of this computer's kind, key set; the kinds
    ///        are not compared, and an item of another kind has its result stored in this
    ///        computer's cache. Pixels it points at must stay valid until the call returns.
    /// @param inStoreInCache  false leaves the cache alone, so that the next request for
    ///        the key computes again.
    /// @return  the descriptor, shared with the cache and read-only; or null.
    /// @throws  the contract error for a null item or an item without a key, and whatever
    ///          the computation throws. Nothing is stored then, and the key can be asked
    ///          for again.
    virtual Ref<IDescriptorData> GetDescriptorData(
        Ref<IDescriptorWorkerItem> inDescriptorWorkerItem, bool inStoreInCache) = 0;

    /// The name of the frame source; empty for a computer without a property.
    virtual quillet::WideString GetSourceID() = 0;

    /// The kind of the property.
    /// @throws TVK::NullInterfaceException for a computer without a property.
    virtual DescriptorDataType GetDescriptorDataType() = 0;

    /// The property, which is null for a computer that was never given one.
    virtual Ref<IDescriptorProperty> GetDescriptorProperty() = 0;
};

}  // namespace DP
