// Blocks of objects of which small groups are written together or not at all.
//
//   forEachGroupedBlockOf    as forEachBlockOf, for groups of `together` objects counted from the first of the call
#pragma once

#include "frame/blocks.h"

namespace tarnm {

namespace blocks {

// The first object from `first` on that fails, or `end`. Writes nothing.
template <class T, class Kernel, class... Operands>
[[gnu::noinline]] std::int32_t firstFailing(const Kernel& kernel, std::int32_t first, std::int32_t end,
                                            const Operands&... operands)
{
    return [&](Block<T, Operands>... blocks) {
        for (std::int32_t n = first; n < end; ++n) {
            (blocks.read(n, 1), ...);
            if (kernel(blocks.argument()...)) return n;
        }
        return end;
    }(Block<T, Operands>(operands)...);
}

} // namespace blocks

// Returns how many objects were completed. A failure leaves the objects before it in its group untouched too; a group
// that the limits of the place cut is a smaller group.
template <class V, int together, class Kernel, class... Operands>
std::int32_t forEachGroupedBlockOf(Place place, const Kernel& kernel, const Operands&... operands)
{
    static_assert(lane_count_v<V> % together == 0);
    const std::int32_t end = place.first + place.count;
    return [&](auto... blocks) {
        for (std::int32_t n = place.first; n < end;) {
            // No block ends amid a group.
            const int most = lane_count_v<V> - n % together;
            const int live = end - n < most ? end - n : most;
            if (!blocks::computed(kernel, n, live, blocks...)) {
                const std::int32_t failing = blocks::firstFailing<scalar_t<V>>(kernel, n, n + live, operands...);
                const std::int32_t group = failing - failing % together;
                const std::int32_t stop = group < n ? n : group;
                forEachBlockOf<V>({n, stop - n, place.total}, kernel, operands...);
                return stop - place.first;
            }
            n += live;
        }
        return place.count;
    }(blocks::Block<V, Operands>(operands)...);
}

} // namespace tarnm
