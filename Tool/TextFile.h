// TextFile: text that is written as a run goes on (CSV, JSON).

#pragma once

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
        if (!mFile.Write(mText)) return false;
        mText.clear();
        return true;
    }

    OutputFile mFile;
    std::string mText;
};

}  // namespace Host
