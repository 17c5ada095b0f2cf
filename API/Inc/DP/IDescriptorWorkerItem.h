// IDescriptorWorkerItem: one unit of work.

#pragma once

#include "DP/IDescriptorDataKey.h"
#include "DP/Ref.h"

namespace DP {

/// One unit of work: a key that names the result, and the inputs, which are set through
/// the kind's own interface (`IGreyImageDescriptorWorkerItem` and its kin).
///
///     item = CreateDescriptorWorkerItem(kind)
///     item->SetDataKey(key)
///     Ref<IGreyImageDescriptorWorkerItem>(item)->SetInputImage(...)
///     computer->GetDescriptorData(item, true)
///
/// An item is used once, for one frame.
///
/// Ownership: counted; references travel by value. Raw pointers to inputs are not owned
///   and must stay valid until `GetDescriptorData` has returned.
/// Threads: one thread at a time.
/// Errors: see the kind's setters.
/// Frozen: the order of the virtual operations is binary interface.
class IDescriptorWorkerItem : public TVK::TVKUnknown {
public:
    /// Stores the key in place of any earlier one.
    ///
    /// Set one before every request. An item without a key breaks the contract, and on an
    /// empty cache it does worse: it enters the null key among the keys in work, and every
    /// later lookup in that cache throws until the caches are cleared.
    virtual void SetDataKey(Ref<IDescriptorDataKey> inKey) = 0;

    /// The key, which may be null.
    virtual Ref<IDescriptorDataKey> GetDataKey() = 0;
};

}  // namespace DP
