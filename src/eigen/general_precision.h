// Tolerances and precisions of the general eigenproblem.
//
//   GeneralTolerance<T>   the tolerances by element type
//   inDouble              evaluates an expression of single precision values in double precision, rounded once
#pragma once

#include "eigen/pairs.h"

namespace tarnm::general {

using tarnm::select; // next to the overloads for pairs and blocks of values

// All are absolute and never scaled by the matrix, but where a text says so.
template <class T> struct GeneralTolerance;

template <> struct GeneralTolerance<float> {
    static constexpr float epsilon = 0x1p-23f;
    static constexpr float safeMinimum = 0x1p-125f;
    static constexpr float vanishingNorm = 0x1p-124f; // stands in for a norm below safeMinimum
    static constexpr float realBlock = 0x1p-21f;      // from here on a 2x2 block has real eigenvalues
    static constexpr float solverOverflow = 0x1p124f; // limit of the small solvers
};

template <> struct GeneralTolerance<double> {
    static constexpr double epsilon = 0x1p-52;
    static constexpr double safeMinimum = 0x1p-1021;
    static constexpr double vanishingNorm = 0x1p-1020;
    static constexpr double realBlock = 0x1p-50;
    static constexpr double solverOverflow = 0x1p1020;
};

// Subdiagonal elements up to this size are zero, whatever stands beside them.
template <class T> constexpr T smallestSubdiagonal(int order)
{
    return GeneralTolerance<T>::safeMinimum * T(order) / GeneralTolerance<T>::epsilon;
}

// What components of vectors may grow to in the back substitution.
template <class T> constexpr T largestComponent(int order)
{
    return (T(1) - GeneralTolerance<T>::epsilon) / smallestSubdiagonal<T>(order);
}

namespace precision {

template <int N> TARNM_INLINE auto lowerDoubles(lanes<float, N> v)
{
    using Half = lanes<double, N / 2>;
    return Half(__builtin_convertvector(machine::lowerHalf(v.raw), typename Half::Raw));
}

template <int N> TARNM_INLINE auto upperDoubles(lanes<float, N> v)
{
    using Half = lanes<double, N / 2>;
    return Half(__builtin_convertvector(machine::upperHalf(v.raw), typename Half::Raw));
}

template <int N> TARNM_INLINE auto joinedSingles(lanes<double, N> lower, lanes<double, N> upper)
{
    using Half = machine::RawVector<float, N>;
    return lanes<float, 2 * N>(
        machine::joined(__builtin_convertvector(lower.raw, Half), __builtin_convertvector(upper.raw, Half)));
}

} // namespace precision

template <class Expression>
TARNM_INLINE float inDouble(Expression expression,
                            auto... operands) requires(std::is_same_v<decltype(operands), float>&&...)
{
    return float(expression(double(operands)...));
}

template <class Expression>
TARNM_INLINE double inDouble(Expression expression,
                             auto... operands) requires(std::is_same_v<decltype(operands), double>&&...)
{
    return expression(operands...);
}

template <class Expression, int N, class... More>
TARNM_INLINE lanes<float, N> inDouble(Expression expression, lanes<float, N> first, More... more)
{
    return precision::joinedSingles(expression(precision::lowerDoubles(first), precision::lowerDoubles(more)...),
                                    expression(precision::upperDoubles(first), precision::upperDoubles(more)...));
}

template <class Expression, int N, class... More>
TARNM_INLINE lanes<double, N> inDouble(Expression expression, lanes<double, N> first, More... more)
{
    return expression(first, more...);
}

template <class Expression, class V, class... More>
TARNM_INLINE Pair<V> inDouble(Expression expression, Pair<V> first, More... more)
{
    return {inDouble(expression, first.low, more.low...), inDouble(expression, first.high, more.high...)};
}

} // namespace tarnm::general
