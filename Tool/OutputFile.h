// OutputFile: a file that is written, opened with care.

#pragma once

#include <string>
#include <string_view>

namespace Host {

/// Whether the name itself may be a link to somewhere else.
enum class Links {
    kRefused,  ///< names that the program chooses: whoever else may write into the folder
               ///< must not be able to turn them to another file
    kFollowed  ///< paths that the user spelled out
};

/// An open, emptied file.
///
/// Ownership: plain object, one owner; the destructor closes the file.
/// Threads: one thread at a time.
/// Errors: a file that cannot be made throws `UserError`.
class OutputFile {
public:
    explicit OutputFile(const std::string& inName, Links inLinks = Links::kRefused);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    const std::string& Name() const { return mName; }
    /// All of it, as it is; false where the system does not take it.
    bool Write(std::string_view inBytes) const;
    /// A path for libraries that open files themselves: it leads to this very file, whatever
    /// has happened to the name since. On Windows it is the name.
    std::string PathOfOpenFile() const;

private:
    std::string mName;
    int mDescriptor = -1;
};

}  // namespace Host
