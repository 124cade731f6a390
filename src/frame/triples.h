// Packed objects of three elements in lanes: x, y, z of as many as a vector has lanes.
//
//   loadTriples, storeTriples
//
// The three vectors that lie in memory are moved whole. With the widest vectors each lane of a result is picked by two
// permutations of whole registers; narrower ones are taken apart in pieces of 16 bytes.
#pragma once

#include "frame/blocks.h"

namespace tarnm {

namespace machine {

// Element `element` of the elements that lie in a, b and c: of the first two in one permutation, then of the third.
constexpr int pickFromTwo(int element, int length) { return element < 2 * length ? element : -1; }
constexpr int pickFromThird(int element, int length, int l) { return element < 2 * length ? l : element - length; }

// Lane l is element from + l * step.
template <int from, int step, class Raw, std::size_t... l>
TARNM_INLINE Raw gatheredTripleBy(Raw a, Raw b, Raw c, std::index_sequence<l...>)
{
    constexpr int length = lengthOf<Raw>;
    const Raw two = __builtin_shufflevector(a, b, pickFromTwo(from + int(l) * step, length)...);
    return __builtin_shufflevector(two, c, pickFromThird(from + int(l) * step, length, int(l))...);
}

// Lane l of vector v of the elements x0 y0 z0 x1 ..: counted through a (all x), b (all y) and c (all z).
constexpr int pickInTurn(int v, int l, int length)
{
    const int element = v * length + l;
    return element % 3 * length + element / 3;
}

template <int v, class Raw, std::size_t... l>
TARNM_INLINE Raw scatteredTripleBy(Raw a, Raw b, Raw c, std::index_sequence<l...>)
{
    constexpr int length = lengthOf<Raw>;
    const Raw two = __builtin_shufflevector(a, b, pickFromTwo(pickInTurn(v, int(l), length), length)...);
    return __builtin_shufflevector(two, c, pickFromThird(pickInTurn(v, int(l), length), length, int(l))...);
}

} // namespace machine

template <class V> TARNM_INLINE void loadTriples(const scalar_t<V>* address, V (&xyz)[3])
{
    constexpr int N = lane_count_v<V>;
    if constexpr (sizeof(V) == 64) {
        constexpr auto lanesOfV = std::make_index_sequence<N>{};
        const auto a = load<V>(address).raw, b = load<V>(address + N).raw, c = load<V>(address + 2 * N).raw;
        xyz[0] = V(machine::gatheredTripleBy<0, 3>(a, b, c, lanesOfV));
        xyz[1] = V(machine::gatheredTripleBy<1, 3>(a, b, c, lanesOfV));
        xyz[2] = V(machine::gatheredTripleBy<2, 3>(a, b, c, lanesOfV));
    } else
        blocks::loadPacked<3>(address, &xyz[0]);
}

template <class V> TARNM_INLINE void storeTriples(scalar_t<V>* address, const V (&xyz)[3])
{
    constexpr int N = lane_count_v<V>;
    if constexpr (sizeof(V) == 64) {
        constexpr auto lanesOfV = std::make_index_sequence<N>{};
        const auto x = xyz[0].raw, y = xyz[1].raw, z = xyz[2].raw;
        store(address, V(machine::scatteredTripleBy<0>(x, y, z, lanesOfV)));
        store(address + N, V(machine::scatteredTripleBy<1>(x, y, z, lanesOfV)));
        store(address + 2 * N, V(machine::scatteredTripleBy<2>(x, y, z, lanesOfV)));
    } else
        blocks::storePacked<3>(address, &xyz[0]);
}

} // namespace tarnm
