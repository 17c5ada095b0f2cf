// IInterruptibleWorkerItem: how far a long computation is, and whether it shall go on.

#pragma once

#include "TVK/InterfaceID.h"
#include "TVK/TVKUnknown.h"

namespace DP {

/// A further interface of the worker items of KLT, APT, the region tracker and the graph cut.
/// The others have none: they are done before anybody could ask.
///
///     Ref<IInterruptibleWorkerItem> interruptible(item);
///     interruptible->SetProgressCallback(&GoesOn, &myWindow);
///     result = computer->GetDescriptorData(item, true);      // null if it was stopped
///     if (result == NULL && interruptible->WasInterrupted()) ...
///
/// **A computation that was stopped gives a null result**, and everything is as if it had not
/// been asked for: nothing is stored under its key, no lock is held, and a tracker's engine is
/// as it was, so that the same step can be asked for again. Frame pyramids that KLT had
/// already finished stay in their cache. Of a graph cut
///   - a new frame that was stopped is no kept frame: its graph is dropped, and the one before
///     it was dropped when it began;
///   - a further stroke that was stopped stays: its pixels are bound, and the label image that
///     was handed in holds it. The kept frame is whole, and the next call, with this stroke,
///     another or none, goes on where this one ended.
///
/// Without a callback the item computes as an item without this interface, bit by bit; with
/// one that never says stop as well.
///
/// Ownership: one more base of the item, whose count it shares. The context is the host's.
/// Threads: one, that of the request. A callback that is to stop by another thread's wish
///   reads an atomic of the host's.
/// Errors: what the callback throws passes through `GetDescriptorData`; the computation has
///   ended then as if it had been stopped.
/// Frozen: the order of the virtual operations.
class IInterruptibleWorkerItem : public TVK::TVKUnknown {
public:
    /// Called on the thread that computes, while it holds the mutex of the item's key, many
    /// times: at 8K every few milliseconds, in a small frame every few microseconds. Returns
    /// whether to go on. It may call what a host may call in between requests, but for the
    /// cut or the tracker that is at work, this item and a flush.
    ///
    /// @param inDone  from 0 to 1; never falls, and is a rough estimate.
    using ProgressCallback = bool (*)(void* inContext, double inDone);

    /// Before the request. Null, the state at first, is no callback.
    virtual void SetProgressCallback(ProgressCallback inCallback, void* inContext) = 0;

    /// Whether the item's last computation was stopped by its callback.
    virtual bool WasInterrupted() = 0;
};

}  // namespace DP

namespace TVK {

template <>
inline constexpr InterfaceID kIdentifierOf<DP::IInterruptibleWorkerItem>{0x6d1b84c7e25f903a,
                                                                         0xa47c3e9015d8f26b};

}  // namespace TVK
