// Values that the symmetric eigenproblem is written over: scalars, or lanes that hold one object each.
//
//   widen, narrow       from the stored to the working type and back
//   Cells               a run of values in memory
//   Index               a row or column number; in lanes every object has its own
//   at, put             element of a run at an index
//   firstOf, lastOf     bounds of a loop over everything that an index can be
//   Everywhere          the mask of a step that all objects take part in; its selections cost nothing
//
// An index is an int for a scalar, and lanes of whole numbers otherwise, so that its comparisons give the mask of the
// working type. A text over indices loops from firstOf to lastOf and masks: for scalars that is the one element, for
// lanes the whole run.
#pragma once

#include <cstddef>

#include "eigen/pairs.h"

namespace tarnm::symmetric {

using tarnm::select; // next to the overloads below, which would hide it

TARNM_INLINE int select(bool m, int a, int b) { return m ? a : b; }

struct Everywhere {};
template <class V> TARNM_INLINE V select(Everywhere, V a, V) { return a; }

// ---- Precision

template <class W, class S> TARNM_INLINE W widen(S value) { return converted<W>(value); }
template <class S, class W> TARNM_INLINE S narrow(W value) { return converted<S>(value); }

// ---- Runs of values

// Value k of lane l stands at base[k * lanes + l], at any address.
template <class S> struct Cells {
    scalar_t<S>* base;

    TARNM_INLINE S get(std::ptrdiff_t k) const { return loadCell(base + k * lane_count_v<S>); }
    TARNM_INLINE void set(std::ptrdiff_t k, S value) const { storeCell(base + k * lane_count_v<S>, value); }
    TARNM_INLINE Cells from(std::ptrdiff_t k) const { return {base + k * lane_count_v<S>}; }

private:
    static constexpr int half = lane_count_v<S> / 2;

    TARNM_INLINE static S loadCell(const scalar_t<S>* address)
    {
        if constexpr (isPair<S>)
            return {load<decltype(S::low)>(address), load<decltype(S::high)>(address + half)};
        else
            return load<S>(address);
    }
    TARNM_INLINE static void storeCell(scalar_t<S>* address, S value)
    {
        if constexpr (isPair<S>) {
            store(address, value.low);
            store(address + half, value.high);
        } else
            store(address, value);
    }
};

// ---- Indices

template <class V> inline constexpr bool isScalar = lane_count_v<V> == 1;
template <class W> using Index = std::conditional_t<isScalar<W>, int, W>;

TARNM_INLINE int firstOf(int index) { return index; }
TARNM_INLINE int lastOf(int index, int) { return index; }
template <Value I> TARNM_INLINE int firstOf(I) { return 0; }
template <Value I> TARNM_INLINE int lastOf(I, int last) { return last; }

// The element at `index` of `count` elements.
template <class W, class S> TARNM_INLINE W at(Cells<S> cells, int index, int) { return widen<W>(cells.get(index)); }
template <class W, class S, Value I> TARNM_INLINE W at(Cells<S> cells, I index, int count)
{
    W value = widen<W>(cells.get(0));
    for (int k = 1; k < count; ++k)
        value = select(index == W(k), widen<W>(cells.get(k)), value);
    return value;
}

template <class W, class S> TARNM_INLINE void put(Cells<S> cells, int index, int, W value, bool where)
{
    if (where) cells.set(index, narrow<S>(value));
}
template <class W, class S, Value I> TARNM_INLINE void put(Cells<S> cells, I index, int count, W value, mask_t<W> where)
{
    for (int k = 0; k < count; ++k)
        cells.set(k, narrow<S>(select(where && index == W(k), value, widen<W>(cells.get(k)))));
}

} // namespace tarnm::symmetric
