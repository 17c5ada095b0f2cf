#include "TVK/MixHash.h"

namespace TVK {
namespace {

// Three FNV-1a streams with different offsets over the same bytes, each turned by its
// neighbour so that the words do not stay translates of one another.
constexpr std::uint32_t kPrime = 0x01000193u;
constexpr std::uint32_t kOffsets[3] = {0x811c9dc5u, 0x9e3779b9u, 0x85ebca6bu};

// Of 1 to 31 bits: a shift by 32 would be undefined.
std::uint32_t RotateLeft(std::uint32_t inWord, int inBits) {
    return (inWord << inBits) | (inWord >> (32 - inBits));
}

}  // namespace

void MixHash::MixInData(HashValue& ioHash, const unsigned char* inData, std::size_t inSize) {
    // The hash so far enters the offsets: the order of a key's parts counts.
    std::uint32_t a = ioHash.mWords[0] ^ kOffsets[0];
    std::uint32_t b = ioHash.mWords[1] ^ kOffsets[1];
    std::uint32_t c = ioHash.mWords[2] ^ kOffsets[2];
    for (std::size_t i = 0; i < inSize; ++i) {
        a = (a ^ inData[i]) * kPrime;
        b = (b ^ RotateLeft(a, 11)) * kPrime;
        c = (c ^ RotateLeft(b, 19)) * kPrime;
    }
    ioHash = {{a, b, c}};
}

}  // namespace TVK
