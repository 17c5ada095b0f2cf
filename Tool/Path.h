// Paths as the program has them: UTF-8 on every system.

#pragma once

#include <filesystem>
#include <string>

namespace Host {

/// The path of a text. On Windows std::filesystem takes plain strings for something else.
inline std::filesystem::path PathOf(const std::string& inText) {
    return std::u8string(inText.begin(), inText.end());
}

}  // namespace Host
