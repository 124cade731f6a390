// Tiles: sums of products for several results at once.
//
//   Extents           of one product
//   elementsAt        neighbouring columns of a matrix view as V
//   ascendingSums     each sum in ascending k, from 0
//   pairedSum         even and odd products apart, added at the end
//   laneSum           the partial sums of inner_lanes.h
//   inStrips          the columns of a result, in vectors as wide as fit
//
// a is seen at (i, k) and b at (k, j); k is the index of the sum. V is the element type or a vector of results in
// neighbouring columns j. Results do not depend on V.
#pragma once

#include "products/inner_lanes.h"

namespace tarnm {

// Rows and columns of a result and the number of products in each of its sums.
struct Extents {
    std::int32_t rows;
    std::int32_t columns;
    std::int32_t inner;
};

template <class V, class Matrix, std::size_t... I>
TARNM_INLINE V gatheredAt(const Matrix& matrix, std::ptrdiff_t r, std::ptrdiff_t c, std::index_sequence<I...>)
{
    return V(typename V::Raw{matrix(r, c + std::ptrdiff_t(I))...});
}

template <class V, class Matrix> TARNM_INLINE V elementsAt(const Matrix& matrix, std::ptrdiff_t r, std::ptrdiff_t c)
{
    if constexpr (lane_count_v<V> == 1)
        return matrix(r, c);
    else if constexpr (requires { requires Matrix::isDense; })
        return load<V>(matrix.address(r, c));
    else
        return gatheredAt<V>(matrix, r, c, std::make_index_sequence<lane_count_v<V>>{});
}

// Results in dense rows.
template <class V, class Matrix>
TARNM_INLINE void setElementsAt(const Matrix& matrix, std::ptrdiff_t r, std::ptrdiff_t c, V value)
{
    store(matrix.address(r, c), value);
}

template <int rows, class V, class A, class B>
TARNM_INLINE void addProducts(V (&sums)[rows], const A& a, const B& b, std::ptrdiff_t i, std::ptrdiff_t j,
                              std::ptrdiff_t k)
{
    const V factor = elementsAt<V>(b, k, j);
    TARNM_UNROLL
    for (int r = 0; r < rows; ++r)
        sums[r] += V(a(i + r, k)) * factor;
}

template <int rows, class V, class A, class B>
TARNM_INLINE void ascendingSums(V (&sums)[rows], const A& a, const B& b, std::ptrdiff_t i, std::ptrdiff_t j,
                                std::int32_t inner)
{
    for (V& sum : sums)
        sum = V(0);
    for (std::ptrdiff_t k = 0; k < inner; ++k)
        addProducts(sums, a, b, i, j, k);
}

// (even + odd) + the last product of an odd number.
template <class V, class A, class B>
TARNM_INLINE V pairedSum(const A& a, const B& b, std::ptrdiff_t i, std::ptrdiff_t j, std::int32_t inner)
{
    V even[] = {V(0)}, odd[] = {V(0)};
    const std::ptrdiff_t pairs = inner - inner % 2;
    for (std::ptrdiff_t k = 0; k < pairs; k += 2) {
        addProducts(even, a, b, i, j, k);
        addProducts(odd, a, b, i, j, k + 1);
    }
    V sums[] = {even[0] + odd[0]};
    if (inner != pairs) addProducts(sums, a, b, i, j, pairs);
    return sums[0];
}

template <int vectors, class V, class A, class B>
TARNM_INLINE V laneSum(const A& a, const B& b, std::ptrdiff_t i, std::ptrdiff_t j, std::int32_t inner, LaneSpan span)
{
    using T = scalar_t<V>;
    constexpr int lanesOfVector = inner_lane_count<T>, step = vectors * lanesOfVector;
    V sums[] = {V(0)};
    std::ptrdiff_t k = 0;
    if (!span.isEmpty()) {
        for (; k < span.first; ++k)
            addProducts(sums, a, b, i, j, k);
        V partial[step];
        TARNM_UNROLL
        for (int l = 0; l < step; ++l)
            partial[l] = l == 0 ? sums[0] : V(0);
        for (; k < span.end; k += step)
            TARNM_UNROLL
        for (int l = 0; l < step; ++l)
            partial[l] += V(a(i, k + l)) * elementsAt<V>(b, k + l, j);
        sums[0] = foldedLanes<T>([&](int l) __attribute__((always_inline)) {
            if constexpr (vectors == 2)
                return partial[l] + partial[lanesOfVector + l];
            else
                return partial[l];
        });
    }
    for (; k < inner; ++k)
        addProducts(sums, a, b, i, j, k);
    return sums[0];
}

// Strips as wide as V, from j on while they fit, and narrower ones behind them down to 16 bytes.
template <class V, class Strip> TARNM_INLINE void inStripsOf(std::ptrdiff_t& j, std::int32_t end, const Strip& strip)
{
    constexpr int width = lane_count_v<V>;
    for (; j + width <= end; j += width)
        strip(V(scalar_t<V>(0)), j);
    if constexpr (sizeof(V) > 16) inStripsOf<lanes<scalar_t<V>, width / 2>>(j, end, strip);
}

// Calls strip(V{}, j) for the columns first .. end - 1: as many of the target's vectors as fit, then smaller ones, then
// single elements.
template <class T, class Strip> TARNM_INLINE void inStrips(std::int32_t first, std::int32_t end, const Strip& strip)
{
    std::ptrdiff_t j = first;
    inStripsOf<native_lanes<T>>(j, end, strip);
    for (; j < end; ++j)
        strip(T(0), j);
}

} // namespace tarnm
