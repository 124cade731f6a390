// Products of 6 by 6 matrices in single precision, one object at a time with its rows side by side.
//
//   multiplyByRows6   arrays of dense matrices
//
// Row i of the result is ((a(i,0) * B0 + a(i,1) * B1) + a(i,2) * B2) + ..., where Bk is row k of b: the products of
// every element are added in ascending k, from the first on. At this order whole rows fill the vectors better than
// lanes of objects, which have to be transposed on the way in and out.
#pragma once

#include "frame/blocks.h"

namespace tarnm {
namespace products {

// A row takes 6 of 8 lanes, and a vector holds one row or two.
using Row6 = lanes<float, 8>;
using Rows6 = std::conditional_t<(native_lanes<float>::size() > 8), lanes<float, 16>, Row6>;
inline constexpr int rowsOfVector6 = Rows6::size() / 8;

template <class Rows> TARNM_INLINE Rows besideEachOther(Row6 lower, [[maybe_unused]] Row6 upper)
{
    if constexpr (Rows::size() == 16)
        return Rows(machine::joined(lower.raw, upper.raw));
    else
        return lower;
}

// The first 6 lanes, from elements that lie side by side. The last two are moved as one double.
TARNM_INLINE Row6 loadRow6(const float* address)
{
    const lanes<double, 2> pair(lanes<double, 2>::Raw{load<double>(reinterpret_cast<const double*>(address + 4)), 0});
    return Row6(machine::joined(load<lanes<float, 4>>(address).raw, (lanes<float, 4>::Raw)pair.raw));
}

TARNM_INLINE void storeRow6(float* address, Row6 row)
{
    store(address, lanes<float, 4>(machine::lowerHalf(row.raw)));
    const auto pair = (lanes<double, 2>::Raw)machine::upperHalf(row.raw);
    store(reinterpret_cast<double*>(address + 4), double(pair[0]));
}

template <class Rows> TARNM_INLINE void storeRows6(const auto& d, int i, Rows rows)
{
    if constexpr (Rows::size() == 16) {
        storeRow6(d.address(i, 0), Row6(machine::lowerHalf(rows.raw)));
        storeRow6(d.address(i + 1, 0), Row6(machine::upperHalf(rows.raw)));
    } else
        storeRow6(d.address(i, 0), rows);
}

template <class B> TARNM_INLINE void loadRowsOfB(const B& b, Rows6 (&rows)[6])
{
    TARNM_UNROLL
    for (int k = 0; k < 6; ++k) {
        Row6 row;
        if constexpr (blocks::isTransposed<B>)
            row = Row6(Row6::Raw{b(k, 0), b(k, 1), b(k, 2), b(k, 3), b(k, 4), b(k, 5), 0, 0});
        else
            row = loadRow6(b.address(k, 0));
        rows[k] = besideEachOther<Rows6>(row, row);
    }
}

template <class A, class D> TARNM_INLINE void multiplyObjectByRows6(const A& a, const Rows6 (&rows)[6], const D& d)
{
    for (int i = 0; i < 6; i += rowsOfVector6) {
        const auto factor = [&](int k) __attribute__((always_inline))
        {
            return besideEachOther<Rows6>(Row6(a(i, k)), Row6(a(i + rowsOfVector6 - 1, k)));
        };
        Rows6 sum = factor(0) * rows[0];
        TARNM_UNROLL
        for (int k = 1; k < 6; ++k)
            sum = sum + factor(k) * rows[k];
        storeRows6(d, i, sum);
    }
}

template <class A, class B, class D> void multiplyByRows6(const A& a, const B& b, const D& d, Place place)
{
    Rows6 rows[6];
    if constexpr (B::isSingle) loadRowsOfB(b.object, rows);
    const std::ptrdiff_t end = std::ptrdiff_t(place.first) + place.count;
    for (std::ptrdiff_t o = place.first; o < end; ++o) {
        if constexpr (!B::isSingle) loadRowsOfB(b[o], rows);
        multiplyObjectByRows6(a[o], rows, d[o]);
    }
}

} // namespace products
} // namespace tarnm
