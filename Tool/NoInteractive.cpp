// Stands in for the window where SDL2 was not found.

#include "Interactive.h"
#include "UserError.h"

namespace Host {

int RunInteractive(const Frame&, const std::string&, const std::vector<BrushLine>&,
                   const OutputOptions&) {
    throw UserError("--interactive needs SDL2, which was not there when this was built");
}

}  // namespace Host
