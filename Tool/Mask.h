// Mask: one plane of bytes.

#pragma once

#include <cstdint>
#include <vector>

namespace Host {

/// One plane of bytes with the size of its picture.
struct Mask {
    int mWidth = 0;
    int mHeight = 0;
    std::vector<std::uint8_t> mBytes;

    Mask() = default;
    Mask(int inWidth, int inHeight)
        : mWidth(inWidth),
          mHeight(inHeight),
          mBytes(std::size_t(inWidth) * std::size_t(inHeight), 0) {}
    std::uint8_t& At(int inX, int inY) {
        return mBytes[std::size_t(inY) * std::size_t(mWidth) + std::size_t(inX)];
    }
    std::uint8_t At(int inX, int inY) const { return const_cast<Mask*>(this)->At(inX, inY); }
};

/// Shared area over the area of either; both planes count pixels above 127.
double Overlap(const Mask& inFirst, const Mask& inSecond);

}  // namespace Host
