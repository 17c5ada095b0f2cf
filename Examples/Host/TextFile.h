// TextFile: a file of lines (CSV).

#pragma once

#include <cstdio>
#include <memory>
#include <string>

#include "UserError.h"

namespace Host {

/// Ownership: plain object, one owner; the destructor closes the file.
/// Threads: one thread at a time.
/// Errors: a file that cannot be made or written throws `UserError`.
class TextFile {
public:
    explicit TextFile(const std::string& inName)
        : mName(inName), mFile(std::fopen(inName.c_str(), "w")) {
        if (!mFile) Fail();
    }

    template <class... Values>
    void Print(const char* inFormat, Values... inValues) {
        if (std::fprintf(mFile.get(), inFormat, inValues...) < 0) Fail();
    }
    /// Hands what was written on to the system, so that a full disk is noticed.
    void Flush() {
        if (std::fflush(mFile.get()) != 0) Fail();
    }
    const std::string& Name() const { return mName; }

private:
    [[noreturn]] void Fail() const {
        throw UserError("file '" + mName + "' cannot be written");
    }
    struct Closer {
        void operator()(std::FILE* inFile) const { std::fclose(inFile); }
    };

    std::string mName;
    std::unique_ptr<std::FILE, Closer> mFile;
};

}  // namespace Host
