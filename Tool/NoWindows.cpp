// Stands in for the windows where SDL2 was not found.

#include "UserError.h"
#include "Windows.h"

namespace Host {
namespace {

[[noreturn]] void Refuse() {
    throw UserError("--interactive needs SDL2, which was not there when this was built");
}

}  // namespace

int RunStrokeWindow(const Frame&, const std::string&, const descriptor::Strokes&,
                    const OutputOptions&) {
    Refuse();
}

bool RunClipWindow(const HeldClip&, KeyedRun&, const KeyFrames&, const OutputOptions&) {
    Refuse();
}

}  // namespace Host
