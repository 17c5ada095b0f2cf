// The library's caches: what they hold, and how often they had the answer.

#pragma once

#include <array>
#include <atomic>
#include <cstdint>

#include "DP/DescriptorFactory.h"
#include "descriptor/detail/Library.h"

namespace descriptor {

/// What is computed. Two more caches hold what the trackers make for themselves.
enum class Kind : std::int32_t {
    klt_points = DP::kDescriptorDataTypeKLT,
    apt_points = DP::kDescriptorDataTypeAPT,
    grey = DP::kDescriptorDataTypeGreyImage,
    grey_float = DP::kDescriptorDataTypeFloatGreyImage,
    selection = DP::kDescriptorDataTypeGraphCut,
    image_pyramid = DP::kDescriptorDataTypeImagePyramid,
    colour_pyramid = DP::kDescriptorDataTypeColourPyramid,
    region = DP::kDescriptorDataTypeRegionTracker,
};

/// Figures of one cache, or of all.
struct CacheFigures {
    std::uint64_t bytes = 0;   ///< held now, as the library's caches tell
    std::uint64_t hits = 0;    ///< requests of this layer that were answered from the cache
    std::uint64_t misses = 0;  ///< requests of this layer that were computed
};

namespace detail {

struct RequestCounts {
    std::atomic<std::uint64_t> mHits{0};
    std::atomic<std::uint64_t> mMisses{0};
};
/// By kind, for the whole process.
DESCRIPTOR_PROCESS_WIDE inline std::array<RequestCounts, DP::kDescriptorDataTypeCount>
    gRequests;

}  // namespace detail

/// Figures of one kind. Any thread may ask at any time.
inline CacheFigures cache_figures(Kind inKind) {
    const auto& counts = detail::gRequests[static_cast<std::size_t>(inKind)];
    const std::uint64_t bytes = detail::call_library("the size of a cache", [&] {
        return DP::CreateDescriptorDataCacheMgr()
            ->GetDescriptorDataCache(static_cast<DP::DescriptorDataType>(inKind))
            ->GetTotalDataSize();
    });
    return {bytes, counts.mHits.load(), counts.mMisses.load()};
}

/// Figures of all kinds together.
inline CacheFigures cache_figures() {
    CacheFigures sum;
    for (int kind = 0; kind < DP::kDescriptorDataTypeCount; ++kind) {
        const CacheFigures one = cache_figures(static_cast<Kind>(kind));
        sum.bytes += one.bytes;
        sum.hits += one.hits;
        sum.misses += one.misses;
    }
    return sum;
}

/// Gives everything back that the library keeps: between clips, or at the end. Results and
/// trackers that somebody holds stay good.
/// @throws BusyError while a call of this layer is inside the library in another thread.
inline void clear_caches() {
    if (detail::gCallsUnderWay.load() > 0)
        throw BusyError("clear_caches: another thread is at work in the library; let it end");
    detail::call_library("to empty its caches", [] { DP::FlushAllDescriptorResources(); });
}

}  // namespace descriptor
