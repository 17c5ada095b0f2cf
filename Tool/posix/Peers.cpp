#include "Peers.h"

#include <dlfcn.h>

#include <filesystem>

namespace Host {

std::unique_ptr<Peers> LoadPeers() {
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) return nullptr;
    const auto file = program.parent_path() / kPeersFile;
    void* const module = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);  // stays loaded
    void* const make = module ? dlsym(module, kMakePeersName) : nullptr;
    return std::unique_ptr<Peers>(make ? reinterpret_cast<MakePeers*>(make)() : nullptr);
}

}  // namespace Host
