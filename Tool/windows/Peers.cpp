// OpenCV's side of `bench` is a module that is not built for Windows.

#include "Peers.h"

namespace Host {

std::unique_ptr<Peers> LoadPeers() { return nullptr; }

}  // namespace Host
