// Order: how two keys compare, member by member.

#pragma once

#include <cstddef>
#include <tuple>
#include <utility>

namespace DP {

constexpr int Order() { return 0; }

/// The first pair of (mine, other) that differs decides: below 0 if mine is less, above 0
/// if it is greater, 0 if all pairs are equal. Each pair is compared by less-than both
/// ways, so a NaN is equal to everything and the comparison goes on behind it.
template <class T, class... Rest>
constexpr int Order(const T& inMine, const T& inOther, const Rest&... inRest) {
    if (inMine < inOther) return -1;
    if (inOther < inMine) return 1;
    return Order(inRest...);
}

/// The same over two lists of members, as `std::tie` makes them.
template <class... T>
constexpr int OrderOfMembers(const std::tuple<T...>& inMine, const std::tuple<T...>& inOther) {
    int order = 0;
    const auto compare = [&]<std::size_t... kAt>(std::index_sequence<kAt...>) {
        (void)((order = Order(std::get<kAt>(inMine), std::get<kAt>(inOther))) || ...);
    };
    compare(std::index_sequence_for<T...>());
    return order;
}

}  // namespace DP
