// SameFile: what a run would read is never what it would write.

#pragma once

#include <string>
#include <vector>

namespace Host {

/// Files that a run may write, as paths; a `*` in a name stands for anything.
using Outputs = std::vector<std::string>;

/// Compares each output that is there with each input by device and inode, so that links
/// and other spellings of a path deceive nobody. `-` is standard input.
/// @throws UserError if one file is both, or if two outputs are one file.
void RefuseSameFiles(const std::vector<std::string>& inInputs, const Outputs& inOutputs);

}  // namespace Host
