// Points as columns to the right of a 4x4 matrix, M*(x, y, z, 1), divided by the fourth coordinate.
//
//   transformHomogeneous<path>     the kernel of AffineTransform3DH
//
// The two kernels differ in the order of additions. A point whose fourth coordinate vanishes gets the largest finite
// value in every element and sets the status of the call; the others are not affected.
#pragma once

#include "frame/blocks.h"
#include "frame/path.h"
#include "tarnm/tarnm.h"

namespace tarnm::geometry {

inline constexpr float smallestNormal = 1.1754944e-38f;
inline constexpr float largestFinite = 3.4028235e38f;

template <Path path, class V> TARNM_INLINE V rowSum(const V (&m)[4], const V (&p)[3])
{
    if constexpr (path == Path::dense)
        return (p[0] * m[0] + p[1] * m[1]) + (m[3] + p[2] * m[2]);
    else
        return ((p[0] * m[0] + m[3]) + p[1] * m[1]) + p[2] * m[2];
}

template <Path path, class Matrix, class Sources, class Results>
tarnmStatus transformHomogeneous(const Matrix& matrix, const Sources& points, const Results& results, Place place)
{
    bool anyVanishes = false;
    const auto kernel = [&]<class V>(const V(&m)[4][4], const V(&p)[3], V(&d)[3]) {
        const V w = rowSum<path>(m[3], p);
        const auto vanishes = !(abs(w) > V(smallestNormal)); // also where w is NaN
        const V reciprocal = V(1.0f) / w;
        TARNM_UNROLL
        for (int r = 0; r < 3; ++r)
            d[r] = select(vanishes, V(largestFinite), rowSum<path>(m[r], p) * reciprocal);
        anyVanishes = anyVanishes || any(vanishes);
    };
    forEachBlock(place, kernel, source<4, 4>(matrix), source<3>(points), result<3>(results));
    return anyVanishes ? StatusDivByZero : StatusOk;
}

} // namespace tarnm::geometry
