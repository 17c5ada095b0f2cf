// Machine: what the program runs on.

#pragma once

#include <string>

namespace Host {

/// "x86-64-v1" to "x86-64-v4" as the psABI has them; elsewhere the architecture.
std::string InstructionSetLevel();

}  // namespace Host
