// A recycler beside a model of its blocks: each is aligned and nobody else's, the bytes add
// up, and what is unused can be given away.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "Fuzz/Input.h"
#include "Fuzz/Verdict.h"
#include "TVK/MemoryRecycler.h"

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace {

using Fuzz::Input;
using Fuzz::Require;
using TVK::MemoryRecycler;

struct Block {
    TVK::MemoryBuffer mBuffer;
    std::size_t mSize;
    unsigned char mMark;  // in each of its bytes
};

class Twin {
public:
    ~Twin() {
        while (!mBlocks.empty())
            GiveBack(0);
        Require(mRecycler.GetUsedBytes() == 0, "nothing is out");
    }

    void Take(std::int64_t inSize) {
        const TVK::MemoryBuffer buffer = mRecycler.AllocateBuffer(inSize);
        Require((buffer.mBlock != nullptr) == (inSize >= 0), "no block of a negative size");
        if (inSize < 0) return;
        Require(
            reinterpret_cast<std::uintptr_t>(buffer.mBlock) % MemoryRecycler::kAlignment == 0,
            "aligned");
#if defined(__GLIBC__)
        // Under the address sanitizer what was asked for: a memory error is not seen there,
        // since the recycler says itself which bytes of a block may be touched.
        Require(malloc_usable_size(buffer.mBlock) >= static_cast<std::size_t>(inSize),
                "the system's block has room");
#endif
        const Block block{buffer, static_cast<std::size_t>(inSize), ++mMark};
        std::memset(buffer.mBlock, block.mMark, block.mSize);
        mBlocks.push_back(block);
    }

    void GiveBack(std::size_t inIndex) {
        if (mBlocks.empty()) return;
        const auto block = mBlocks.begin() + static_cast<long>(inIndex % mBlocks.size());
        const auto* const bytes = static_cast<const unsigned char*>(block->mBuffer.mBlock);
        Require(std::all_of(bytes, bytes + block->mSize,
                            [&](unsigned char inByte) { return inByte == block->mMark; }),
                "nobody else writes to a block");
        mRecycler.RecycleBuffer(block->mBuffer);
        Require(block->mBuffer.mBlock == nullptr, "the buffer is emptied");
        mBlocks.erase(block);
    }

    void Trim() {
        mRecycler.Trim();
        Require(mRecycler.GetUnusedBytes() == 0, "nothing unused is kept");
    }

    void Check() {
        std::size_t least = 0, most = 0;
        for (const Block& block : mBlocks) {
            least += block.mSize;
            most += std::max<std::size_t>(block.mSize + block.mSize / 4, 4096);
        }
        const std::size_t used = mRecycler.GetUsedBytes();
        Require(used >= least && used <= most, "at most a quarter is waste");
        Require(mRecycler.GetMostUsedBytes() >= used, "the most is no less than what is");
        Require(used + mRecycler.GetUnusedBytes() <=
                    mRecycler.GetMostUsedBytes() + MemoryRecycler::kSpareBytes,
                "the bound");
    }

private:
    MemoryRecycler mRecycler;
    std::vector<Block> mBlocks;
    unsigned char mMark = 0;
};

// At an end of a size class or beside it: up to 56 KiB, and a few up to 896 KiB, with which an
// input can pass the bound.
std::int64_t ReadClassSize(Input& ioInput) {
    const int choice = ioInput.Byte();
    const int sizeClass = choice < 0xe0 ? choice % 16 : 24 + choice % 8;
    return ((4096 + 1024 * (sizeClass % 4)) << sizeClass / 4) + ioInput.Between(-1, 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize) {
    Input input(inData, inSize);
    Twin twin;
    for (int operations = 0; operations < 64 && !input.IsAtEnd(); ++operations) {
        const int kind = input.Byte();
        if (kind % 32 == 31)
            twin.Trim();
        else if (kind % 3 == 0)
            twin.GiveBack(static_cast<std::size_t>(input.Byte()));
        else if (kind % 16 == 1)
            twin.Take(-1 - std::int64_t{input.Bits<std::uint32_t>()});
        else if (kind % 2 == 0)
            twin.Take(ReadClassSize(input));
        else
            twin.Take(input.Bits<std::uint16_t>());
        twin.Check();
    }
    return 0;
}
