// A mask as the lengths of its runs: what undo keeps of each state.

#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "descriptor/detail/Pixels.h"

namespace descriptor::detail {

/// 255 and 0 in turns, beginning with 0, along the rows.
class PackedMask {
public:
    PackedMask() = default;
    explicit PackedMask(const IP::Image<unsigned char>& inMask) {
        const unsigned char* at = inMask.GetData();
        const unsigned char* const end = at + pixel_count(inMask);
        for (unsigned char value = 0; at != end; value = static_cast<unsigned char>(~value)) {
            const unsigned char* const next =
                std::find_if(at, end, [&](unsigned char inPixel) { return inPixel != value; });
            mRuns.push_back(static_cast<std::uint32_t>(next - at));
            at = next;
        }
    }

    IP::ImagePtr<unsigned char> unpack(int inWidth, int inHeight) const {
        const auto mask = new_image<unsigned char>(inWidth, inHeight);
        unsigned char* at = mask->GetData();
        unsigned char value = 0;
        for (const std::uint32_t run : mRuns) {
            at = std::fill_n(at, run, value);
            value = static_cast<unsigned char>(~value);
        }
        std::fill(at, mask->GetData() + pixel_count(*mask), std::uint8_t{0});
        return mask;
    }

private:
    std::vector<std::uint32_t> mRuns;
};

}  // namespace descriptor::detail
