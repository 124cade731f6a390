// One text for one matrix and for lanes of matrices that iterate side by side.
//
//   ColumnMatrix        n x n values, columns next to each other, indices from 1
//   Index<V>            a position or a counter of each lane; an int where V is a scalar
//   lowest, highest     bounds of the positions of all lanes, and of those that take part
//   forEachPosition     visits the positions at which some lane stands
//   onlyIn              a new value for the lanes that take part
//
// Lanes part ways in the iteration: each has positions of its own, and masks tell which of them take part. Where V is a
// scalar the masks hold wherever a body runs, and all of this folds away.
#pragma once

#include "eigen/pairs.h"

namespace tarnm::general {

// `ColumnMatrix` copies share their values.
template <class V> struct ColumnMatrix {
    V* values;
    int order;

    TARNM_INLINE V& operator()(int i, int j) const { return values[(j - 1) * order + (i - 1)]; }
    TARNM_INLINE V* column(int j) const { return values + (j - 1) * order - 1; } // subscripts from 1
};

template <class V> struct IndexOf {
    using Type = int;
};
template <class T, int N> struct IndexOf<lanes<T, N>> {
    using Type = lanes<T, N>; // small whole numbers are exact
};
template <class V> struct IndexOf<Pair<V>> {
    using Type = Pair<V>;
};
template <class V> using Index = typename IndexOf<V>::Type;

TARNM_INLINE int choose(bool condition, int a, int b) { return condition ? a : b; }
template <class T, int N>
TARNM_INLINE lanes<T, N> choose(mask<T, N> condition, std::type_identity_t<lanes<T, N>> a,
                                std::type_identity_t<lanes<T, N>> b)
{
    return select(condition, a, b);
}
template <class M, class V>
TARNM_INLINE Pair<V> choose(PairMask<M> condition, std::type_identity_t<Pair<V>> a, Pair<V> b)
{
    return select(condition, a, b);
}

// The lanes are not worth a closer look: masks keep them right.
TARNM_INLINE int lowest(int index) { return index; }
template <class T, int N> TARNM_INLINE int lowest(lanes<T, N>) { return 1; }
template <class V> TARNM_INLINE int lowest(Pair<V>) { return 1; }

TARNM_INLINE int highest(bool, int index) { return index; }
template <class T, int N> TARNM_INLINE int highest(mask<T, N> taking, lanes<T, N> index)
{
    T bound = T(0);
    for (int l = 0; l < N; ++l)
        bound = taking[l] && index[l] > bound ? index[l] : bound;
    return int(bound);
}

template <class M, class V> TARNM_INLINE int highest(PairMask<M> taking, Pair<V> index)
{
    const int low = highest(taking.low, index.low), high = highest(taking.high, index.high);
    return low > high ? low : high;
}

// Calls body(k, lanes at k) for the positions k of `index` in first .. last.
template <class Body> TARNM_INLINE void forEachPosition(bool taking, int index, int, int, Body&& body)
{
    if (taking) body(index, true);
}

template <Value V, class Body>
TARNM_INLINE void forEachPosition(mask_t<V> taking, V index, int first, int last, Body&& body)
{
    for (int k = first; k <= last; ++k) {
        const mask_t<V> here = taking && index == V(scalar_t<V>(k));
        if (any(here)) body(k, here);
    }
}

template <class T>
requires std::is_floating_point_v<T> TARNM_INLINE T onlyIn(bool, T value, T) { return value; }
template <class T, int N> TARNM_INLINE lanes<T, N> onlyIn(mask<T, N> taking, lanes<T, N> value, lanes<T, N> old)
{
    return select(taking, value, old);
}
template <class M, class V> TARNM_INLINE Pair<V> onlyIn(PairMask<M> taking, Pair<V> value, Pair<V> old)
{
    return select(taking, value, old);
}

} // namespace tarnm::general
