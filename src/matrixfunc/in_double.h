// A function of a matrix of singles, computed in double precision and rounded to single once.
//
//   inDouble     for one object and for objects in lanes
#pragma once

#include "frame/lanes.h"

namespace tarnm {

template <int n, class Function> TARNM_INLINE float inDouble(const float (&a)[n][n], Function&& function)
{
    double wide[n][n];
    TARNM_UNROLL
    for (int r = 0; r < n; ++r)
        TARNM_UNROLL
    for (int c = 0; c < n; ++c)
        wide[r][c] = a[r][c];
    return float(function(wide));
}

// The lanes of a vector of singles take two vectors of doubles, one after the other.
template <int n, int N, class Function>
TARNM_INLINE lanes<float, N> inDouble(const lanes<float, N> (&a)[n][n], Function&& function)
{
    using Half = lanes<double, N / 2>;
    using NarrowRaw = machine::RawVector<float, N / 2>;
    const auto computed = [&](auto half) __attribute__((always_inline))
    {
        Half wide[n][n];
        TARNM_UNROLL
        for (int r = 0; r < n; ++r)
            TARNM_UNROLL
        for (int c = 0; c < n; ++c)
            wide[r][c] = Half(__builtin_convertvector(half(a[r][c].raw), typename Half::Raw));
        return __builtin_convertvector(function(wide).raw, NarrowRaw);
    };
    const NarrowRaw lower = computed([](auto v) __attribute__((always_inline)) { return machine::lowerHalf(v); });
    const NarrowRaw upper = computed([](auto v) __attribute__((always_inline)) { return machine::upperHalf(v); });
    return lanes<float, N>(machine::joined(lower, upper));
}

} // namespace tarnm
