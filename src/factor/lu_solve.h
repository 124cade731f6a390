// Solutions of linear systems from LU factors.
//
//   LuQuotients      how a solution is divided by the diagonal
//   LuSolvePlan      what differs between the members
//   solveLU          the kernel of all members
//
// Row i of a factor is the stored row that the index array names at position i, and so is element i of the right-hand
// side. Nothing is tested: a zero on the diagonal gives infinities and NaN.
#pragma once

#include "factor/lu_elimination.h"
#include "frame/blocks.h"

namespace tarnm {

enum class LuQuotients {
    divided,    // by the element of the diagonal
    reciprocal, // times its rounded reciprocal, which all vectors of a call share
};

struct LuSolvePlan {
    LuQuotients quotientsOfCases;
    // Calls, and slices of calls, of one or two vectors take the loops at every order.
    bool fewVectorsTakeLoops = false;
};

namespace lu {

// Where quotients are reciprocals the diagonal of `factor` holds them. `b` is in the order of the factor's rows.
template <LuQuotients quotients, int n, class V>
TARNM_INLINE void substituteCase(const V (&factor)[n][n], const V (&b)[n], V (&x)[n])
{
    V y[n];
    TARNM_UNROLL
    for (int i = 0; i < n; ++i) {
        y[i] = b[i];
        TARNM_UNROLL
        for (int j = 1; j < i; ++j)
            y[i] -= factor[i][j] * y[j];
        if (i > 0) y[i] -= factor[i][0] * y[0];
    }
    TARNM_UNROLL
    for (int i = n - 1; i >= 0; --i) {
        V rest = y[i];
        TARNM_UNROLL
        for (int j = n - 1; j > i; --j)
            rest -= x[j] * factor[i][j];
        x[i] = quotients == LuQuotients::divided ? rest / factor[i][i] : rest * factor[i][i];
    }
}

// `x` holds the intermediate results, so that it must be no part of `b`.
template <class M, class B, class X>
void substituteInPlace(const M& factor, ConstRowIndex index, const B& b, const X& x, std::int32_t n)
{
    using T = typename X::Element;
    x.set(0, b[index[0]]);
    for (std::int32_t i = 1; i < n; ++i) {
        const std::int32_t row = index[i];
        T sum = 0;
        for (std::int32_t j = 0; j < i; ++j)
            sum += factor(row, j) * x[j];
        x.set(i, b[row] - sum);
    }
    for (std::int32_t i = n - 1; i >= 0; --i) {
        const std::int32_t row = index[i];
        T rest = x[i];
        if (i < n - 1) {
            T sum = 0;
            for (std::int32_t j = i + 1; j < n; ++j)
                sum += factor(row, j) * x[j];
            rest -= sum;
        }
        x.set(i, rest / factor(row, i));
    }
}

// One factor serves all vectors, or each has its own.
template <class Factors> ConstRowIndex indexOf(const std::int32_t* first, std::ptrdiff_t object, std::int32_t n)
{
    const std::ptrdiff_t indices = Factors::isSingle ? 0 : object * n;
    return {moved(first, indices * std::ptrdiff_t(sizeof(std::int32_t))), {}};
}

template <LuQuotients quotients, int n, class M, class T>
TARNM_INLINE void loadFactor(const M& stored, ConstRowIndex index, T (&factor)[n][n])
{
    for (int r = 0; r < n; ++r)
        for (int c = 0; c < n; ++c)
            factor[r][c] = stored(index[r], c);
    if constexpr (quotients == LuQuotients::reciprocal)
        for (int i = 0; i < n; ++i)
            factor[i][i] = T(1) / factor[i][i];
}

template <LuQuotients quotients, int n, class T, class B, class X>
TARNM_INLINE void solveCase(const T (&factor)[n][n], ConstRowIndex index, const B& from, const X& to)
{
    T b[n], x[n];
    for (int i = 0; i < n; ++i)
        b[i] = from[index[i]];
    substituteCase<quotients>(factor, b, x);
    for (int i = 0; i < n; ++i)
        to.set(i, x[i]);
}

template <LuQuotients quotients, int n, class M, class B, class X>
tarnmStatus solveCases(const M& factors, const std::int32_t* firstIndex, const B& b, const X& x, Place place)
{
    using T = typename X::ObjectView::Element;
    const std::ptrdiff_t end = std::ptrdiff_t(place.first) + place.count;
    T factor[n][n];
    if constexpr (M::isSingle) loadFactor<quotients>(factors[0], indexOf<M>(firstIndex, 0, n), factor);
    for (std::ptrdiff_t o = place.first; o < end; ++o) {
        const ConstRowIndex index = indexOf<M>(firstIndex, o, n);
        if constexpr (!M::isSingle) loadFactor<quotients>(factors[o], index, factor);
        solveCase<quotients>(factor, index, b[o], x[o]);
    }
    return StatusOk;
}

} // namespace lu

template <LuSolvePlan plan, class M, class B, class X>
tarnmStatus solveLU(const M& factors, const std::int32_t* index, const B& b, const X& x, std::int32_t n, Place place)
{
    constexpr LuQuotients quotients = plan.quotientsOfCases;
    if (!plan.fewVectorsTakeLoops || place.count > 2) switch (n) {
        case 3:
            return lu::solveCases<quotients, 3>(factors, index, b, x, place);
        case 4:
            return lu::solveCases<quotients, 4>(factors, index, b, x, place);
        case 5:
            return lu::solveCases<quotients, 5>(factors, index, b, x, place);
        case 6:
            return lu::solveCases<quotients, 6>(factors, index, b, x, place);
        }
    const std::ptrdiff_t end = std::ptrdiff_t(place.first) + place.count;
    for (std::ptrdiff_t o = place.first; o < end; ++o)
        lu::substituteInPlace(factors[o], lu::indexOf<M>(index, o, n), b[o], x[o], n);
    return StatusOk;
}

} // namespace tarnm
