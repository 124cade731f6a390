// Vectors of three elements times one 3 by 3 matrix, as many at a time as a vector has lanes.
//
//   hasQuickTriples   whether that pays
//   multiplyTriples   arrays of packed vectors, with packed summands or without
#pragma once

#include "frame/blocks.h"
#include "products/rows.h"

namespace tarnm {
namespace products {

// Whether lanes of vectors are quicker than the vectors one by one.
template <class T> inline constexpr bool hasQuickTriples = sizeof(T) == 4 || sizeof(native_lanes<T>) == 64;

template <class V> TARNM_INLINE void addTriples(V (&)[3], NoSummand, std::ptrdiff_t) {}

template <class V, class U> TARNM_INLINE void addTriples(V (&sums)[3], const ObjectArray<U>& u, std::ptrdiff_t o)
{
    V summands[3];
    blocks::loadPacked<3>(u[o].address(0), &summands[0]);
    TARNM_UNROLL
    for (int i = 0; i < 3; ++i)
        sums[i] = sums[i] + summands[i];
}

// The objects of x, u and d are packed. Returns the objects that are left over: too few to fill a vector.
template <class M, class X, class U, class D>
Place multiplyTriples(const M& m, const X x, const U u, const D d, Place place)
{
    using V = native_lanes<typename D::ObjectView::Element>;
    V matrix[3][3];
    TARNM_UNROLL
    for (int i = 0; i < 3; ++i)
        TARNM_UNROLL
    for (int k = 0; k < 3; ++k)
        matrix[i][k] = V(m(i, k));
    for (; place.count >= V::size(); place.first += V::size(), place.count -= V::size()) {
        V factors[3], sums[3];
        blocks::loadPacked<3>(x[place.first].address(0), &factors[0]);
        TARNM_UNROLL
        for (int i = 0; i < 3; ++i)
            sums[i] = rowOfCase<3, RowGrouping::none>(
                [&](int k) __attribute__((always_inline)) { return matrix[i][k]; },
                [&](int k) __attribute__((always_inline)) { return factors[k]; });
        addTriples(sums, u, place.first);
        blocks::storePacked<3>(d[place.first].address(0), &sums[0]);
    }
    return place;
}

} // namespace products
} // namespace tarnm
