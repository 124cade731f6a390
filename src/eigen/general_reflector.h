// Householder reflectors.
//
//   hypotenuse      sqrt(x^2 + y^2) without overflow of the squares, never 0
//   Reflector       I - tau v v^T with v(1) = 1, that maps a vector onto a multiple of the first unit vector
//   makeReflector   the reflector of (alpha, x)
#pragma once

#include "eigen/general_lanes.h"
#include "eigen/general_precision.h"

namespace tarnm::general {

// Of operands that are not negative. The ratio is squared, not its terms, so that small operands give no 0/0.
template <class V> TARNM_INLINE V hypotenuse(V x, V y)
{
    using Tolerance = GeneralTolerance<scalar_t<V>>;
    const V larger = max(x, y), smaller = min(x, y);
    const V root = inDouble(
        [](auto w, auto z) __attribute__((always_inline)) {
            const auto ratio = z / w;
            return w * sqrt(1.0 + ratio * ratio);
        },
        larger, smaller);
    const V length = select(smaller < V(Tolerance::safeMinimum), larger, root);
    return select(length < V(Tolerance::safeMinimum), V(Tolerance::vanishingNorm), length);
}

template <class V> struct Reflector {
    V tau;   // 0: the identity
    V beta;  // what alpha becomes
    V scale; // v = scale * x below the first element
};

// `norm` is the Euclidean norm of x, from squares that are not scaled.
template <class V> TARNM_INLINE Reflector<V> makeReflector(V alpha, V norm)
{
    using Tolerance = GeneralTolerance<scalar_t<V>>;
    const mask_t<V> isIdentity = norm < V(Tolerance::safeMinimum);
    if (all(isIdentity)) return {V(0), alpha, V(1)};
    const V length = hypotenuse<V>(abs(alpha), norm);
    const V beta = select(alpha < V(0), length, -length);
    const V tau = (beta - alpha) / beta;
    const V scale = V(1) / (alpha - beta);
    return {select(isIdentity, V(0), tau), select(isIdentity, alpha, beta), select(isIdentity, V(1), scale)};
}

} // namespace tarnm::general
