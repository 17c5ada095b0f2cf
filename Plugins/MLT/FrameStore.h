// FrameStore: grey frames on disk, to be read once more in another order.

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <vector>

#include "descriptor/Error.h"
#include "descriptor/Frame.h"

namespace descriptor_mlt {

/// Keeps 8-bit grey frames of one size, numbered from `Clear`'s position on, in a file
/// without a name that ends with the process at the latest. A minute of 1080p takes 3 GB:
/// what the system can keep of that in memory it does, and the rest costs the process none.
///
/// Threads: one at a time. Errors: `descriptor::Error` where the disk is full.
class FrameStore {
public:
    /// Forgets all; the next frame has this position.
    void Clear(int inFirst) {
        mFirst = inFirst;
        mCount = 0;
    }
    void Add(const descriptor::Frame& inFrame) {
        if (!mFile) mFile.reset(std::tmpfile());
        mWidth = inFrame.width;
        mHeight = inFrame.height;
        if (!mFile || !Seek(mCount)) Fail();
        for (int y = 0; y < mHeight; ++y)
            if (std::fwrite(inFrame.row(y), 1, std::size_t(mWidth), mFile.get()) !=
                std::size_t(mWidth))
                Fail();
        if (std::fflush(mFile.get()) != 0) Fail();
        ++mCount;
    }
    descriptor::Frame At(std::int64_t inPosition) {
        const auto bytes = std::make_shared<std::vector<std::uint8_t>>(Bytes());
        if (!Seek(inPosition - mFirst) ||
            std::fread(bytes->data(), 1, bytes->size(), mFile.get()) != bytes->size())
            Fail();
        return {.pixels = bytes->data(),
                .format = descriptor::PixelFormat::grey8,
                .width = mWidth,
                .height = mHeight,
                .owner = bytes};
    }

private:
    struct Close {
        void operator()(std::FILE* inFile) const { std::fclose(inFile); }
    };

    std::size_t Bytes() const { return std::size_t(mWidth) * std::size_t(mHeight); }
    bool Seek(std::int64_t inIndex) const {
        return fseeko(mFile.get(), static_cast<off_t>(inIndex * std::int64_t(Bytes())),
                      SEEK_SET) == 0;
    }
    [[noreturn]] static void Fail() {
        throw descriptor::Error(
            "following backward needs room for its frames in the folder "
            "for temporary files (TMPDIR), and there is too little");
    }

    std::unique_ptr<std::FILE, Close> mFile;
    int mFirst = 0;
    int mCount = 0;
    int mWidth = 0;
    int mHeight = 0;
};

}  // namespace descriptor_mlt
