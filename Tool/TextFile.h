// TextFile: text that is written as a run goes on (CSV, JSON).

#pragma once

#include <unistd.h>

#include <cerrno>
#include <string>
#include <string_view>

#include "OutputFile.h"
#include "UserError.h"

namespace Host {

/// Ownership: plain object, one owner; the destructor writes what is left.
/// Threads: one thread at a time.
/// Errors: a file that cannot be made or written throws `UserError`.
class TextFile {
public:
    explicit TextFile(const std::string& inName, Links inLinks = Links::kRefused)
        : mFile(inName, inLinks) {}
    ~TextFile() { WriteOut(); }

    void Print(std::string_view inText) {
        constexpr std::size_t kMost = 1 << 16;
        mText += inText;
        if (mText.size() > kMost) Flush();
    }
    /// Hands what was written on to the system, so that a full disk is noticed.
    void Flush() {
        if (!WriteOut()) throw UserError("file '" + mFile.Name() + "' cannot be written");
    }

private:
    bool WriteOut() {
        for (std::size_t from = 0; from < mText.size();) {
            const ssize_t written =
                write(mFile.Descriptor(), mText.data() + from, mText.size() - from);
            if (written < 0 && errno == EINTR) continue;
            if (written <= 0) return false;
            from += std::size_t(written);
        }
        mText.clear();
        return true;
    }

    OutputFile mFile;
    std::string mText;
};

}  // namespace Host
