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
///   - a further stroke that was stopped stays: the label image that was handed in holds it,
///     and of what is not bound yet the frame keeps a copy, so that the host may paint on. The
///     kept frame is whole, and the next call, with this stroke, another or none, first binds
///     the rest of this one and brings its flow to the end: what follows is, bit by bit, what
///     it would have been. A call that is stopped in this first part has not begun with its
///     own stroke, and its label image is as it was. So ask again for a stroke that was
///     stopped: where it stayed, a second time changes no label.
///
/// Without a callback the item computes as an item without this interface, bit by bit; with
/// one that never says stop as well. Requests that a host's own objects make in the
/// middle of it are watched by their own items' callbacks alone.
///
/// Ownership: one more base of the item, whose count it shares. The context is the host's.
/// Threads: one, that of the request. A callback that is to stop by another thread's wish
///   reads an atomic of the host's. A request that waits for another thread's computation of
///   the same key is not asked while it waits.
/// Errors: a callback should not throw. What it throws all the same passes through
///   `GetDescriptorData`, behind a computation that has ended as if it had been stopped. It
///   is no cancellation point: a `pthread_cancel` that acts in it ends the process.
/// Frozen: the order of the virtual operations.
class IInterruptibleWorkerItem : public TVK::TVKUnknown {
public:
    /// Called on the thread that computes, many times, and returns whether to go on. It holds
    /// the mutex of the item's key then, and in KLT, where pyramids are made, that of the
    /// frame's pyramids: it must not wait for a thread that needs either. It may call what a
    /// host may call in between requests, but for the cut or the tracker that is at work,
    /// this item and a flush. In a further stroke the labels are merged when it is called,
    /// but for the rest of an earlier stroke.
    ///
    /// At 8K mostly every few milliseconds, with the longest times in between 10 to 40 of
    /// them; Docs/Reliability.md has the figures.
    ///
    /// @param inDone  from 0 to 1; never falls. Parts of the work, not of the time: of a
    ///        tracker's step 0 to 0.6 are the points that were followed and 0.6 to 1 the rows
    ///        searched for new ones, of a first frame those rows are most of it; of a new
    ///        frame's cut 0 to 0.7 the rows cut into regions and 0.7 to 0.9 those of links. It
    ///        stands still while pyramids are made and points verified or picked, at 0.9
    ///        throughout the flow of a new frame, and at 0 throughout a further stroke.
    using ProgressCallback = bool (*)(void* inContext, double inDone);

    /// Before the request. Null, the state at first, is no callback.
    virtual void SetProgressCallback(ProgressCallback inCallback, void* inContext) = 0;

    /// Whether the item's last computation was stopped by its callback. Means something where
    /// the result was null: an item whose result came from the cache has computed nothing,
    /// and answers for the time before.
    virtual bool WasInterrupted() = 0;
};

}  // namespace DP

namespace TVK {

template <>
inline constexpr InterfaceID kIdentifierOf<DP::IInterruptibleWorkerItem>{0x6d1b84c7e25f903a,
                                                                         0xa47c3e9015d8f26b};

}  // namespace TVK
