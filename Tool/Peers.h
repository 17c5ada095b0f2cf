// Peers: what another library does for the same work, for `bench`.

#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "Frame.h"
#include "Geometry.h"
#include "Mask.h"

namespace Host {

/// One plane of 8-bit grey without padding; the pixels are the caller's.
struct GreyPlane {
    const std::uint8_t* mPixels = nullptr;
    int mWidth = 0;
    int mHeight = 0;
};

/// OpenCV on one thread. It is in a module of its own that only `bench` loads: the program
/// needs no OpenCV, and a run of it is free of what OpenCV brings along (the system's LAPACK
/// and its threads among it).
///
/// Ownership: plain object, one owner.
/// Threads: one thread at a time.
class Peers {
public:
    virtual ~Peers() = default;

    /// A result in memory of its own, which stays as the cache's do, or in place of the last.
    enum class Result { kKept, kReplaced };
    virtual void Grey(const Frame& inFrame, Result inResult) = 0;
    virtual void FloatGrey(const Frame& inFrame, Result inResult) = 0;
    virtual void Select(const GreyPlane& inGrey, int inFeatures, int inDistance,
                        int inWindow) = 0;
    /// Both pyramids and one step; `inLevels` above the first.
    virtual void Flow(const GreyPlane& inFrom, const GreyPlane& inTo,
                      const std::vector<Point>& inPoints, int inWindow, int inLevels) = 0;
    /// False where OpenCV came without its tracking module.
    virtual bool StartRegion(const GreyPlane& inGrey, const Box& inBox) = 0;
    virtual void StepRegion(const GreyPlane& inGrey) = 0;
    virtual void Watershed(const Frame& inFrame, const Mask& inForeground,
                           const Mask& inBackground) = 0;
    virtual void GrabCut(const Frame& inFrame, const Mask& inForeground,
                         const Mask& inBackground) = 0;
};

/// The module's one function.
using MakePeers = Peers*();
inline constexpr char kMakePeersName[] = "MakeHostPeers";
inline constexpr char kPeersFile[] = "descriptor-host-peers.so";

/// Loads the module from the program's own folder; null where it was not built or what it
/// needs is not there.
std::unique_ptr<Peers> LoadPeers();

}  // namespace Host
