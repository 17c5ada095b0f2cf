// PipeInput: bytes of a pipe or file, whose wait a signal ends.

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace Host {

/// Whether the path is a named pipe.
bool IsPipe(const std::string& inPath);

/// Ownership: plain object, one owner; the destructor closes what was opened.
/// Threads: one thread at a time.
/// Errors: an input that cannot be opened or read throws `UserError`.
class PipeInput {
public:
    /// Does not wait for a named pipe's other end; `-` is standard input.
    explicit PipeInput(const std::string& inInput);
    ~PipeInput();
    PipeInput(const PipeInput&) = delete;
    PipeInput& operator=(const PipeInput&) = delete;

    /// Reads at least one byte; 0 at the end, and when the user asked to stop.
    std::size_t Read(std::uint8_t* outBytes, std::size_t inMost);
    const std::string& Name() const { return mName; }

private:
    bool Wait() const;

    std::string mName;
    int mFile = -1;
};

}  // namespace Host
