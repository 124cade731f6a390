// Solutions of linear systems from LU factors.
//
//   LuQuotients      how a solution is divided by the diagonal
//   LuSolvePlan      what differs between the members
//   solveLU          the kernel of all members
//
// Row i of a factor is the stored row that the index array names at position i, and so is element i of the right-hand
// side. Nothing is tested: a zero on the diagonal gives infinities and NaN.
#pragma once

#include "factor/held.h"
#include "factor/lu_tiles.h"
#include "frame/orders.h"

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

// Calls block(first, live) for the objects of a call that run in lanes, and one(object) for a last object by itself.
template <class V, class Block, class One> void inBlocks(Place place, const Block& block, const One& one)
{
    const std::int32_t done = forEachTile<V>(
        place, [&](std::ptrdiff_t first, int live) __attribute__((always_inline)) {
            block(first, live);
            return true;
        });
    if (done < place.count) one(std::ptrdiff_t(place.first) + done);
}

// ---- Orders 3 to 6

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

template <int n, class M, class B, class X>
void solveCaseAlone(const M& stored, ConstRowIndex index, const B& from, const X& to)
{
    using T = typename X::Element;
    T factor[n][n], b[n], x[n];
    for (int r = 0; r < n; ++r) {
        const std::int32_t row = index[r];
        for (int c = 0; c < n; ++c)
            factor[r][c] = stored(row, c);
        b[r] = from[row];
    }
    substituteCase<LuQuotients::divided>(factor, b, x);
    for (int i = 0; i < n; ++i)
        to.set(i, x[i]);
}

template <int n, class M, class B, class X>
void solveCasesWithOneFactor(const M& stored, ConstRowIndex index, const B& b, const X& x, Place place)
{
    using T = typename X::ObjectView::Element;
    T factor[n][n];
    std::int32_t rows[n];
    for (int r = 0; r < n; ++r) {
        rows[r] = index[r];
        for (int c = 0; c < n; ++c)
            factor[r][c] = stored(rows[r], c);
        factor[r][r] = T(1) / factor[r][r];
    }
    const auto substitute = [&]<class V>(const V(&all)[n][n], const V(&given)[n], V(&solution)[n])
        __attribute__((always_inline))
    {
        V ordered[n];
        TARNM_UNROLL
        for (int i = 0; i < n; ++i)
            ordered[i] = given[rows[i]];
        substituteCase<LuQuotients::reciprocal>(all, ordered, solution);
    };
    const auto shared = matrix<Spacing::dense, const T>(factor[0], n * sizeof(T), sizeof(T));
    forEachBlock(place, substitute, source<n, n>(shared), source<n>(b), result<n>(x));
}

template <int n, class M, class B, class X>
void solveCasesWithOwnFactors(const M& factors, ConstRowIndex index, const B& b, const X& x, Place place)
{
    using Element = typename X::ObjectView::Element;
    // The wider vectors are slower up to order 4.
    using V = std::conditional_t<(n <= 4), narrow_lanes<Element>, native_lanes<Element>>;
    const auto block = [&](std::ptrdiff_t o, int live) __attribute__((always_inline))
    {
        const ConstRowIndex ofBlock = indexOfObject(index, o, n);
        V factor[n][n], rows[n], given[n], ordered[n], solution[n];
        loadIndex(ofBlock, live, rows);
        loadNamedRows(factors, o, live, ofBlock, rows, factor);
        loadBlock(b, o, live, given);
        inNamedOrder(given, rows, ordered);
        substituteCase<LuQuotients::divided>(factor, ordered, solution);
        storeBlock(x, o, live, solution);
    };
    inBlocks<V>(place, block,
                [&](std::ptrdiff_t o) { solveCaseAlone<n>(factors[o], indexOfObject(index, o, n), b[o], x[o]); });
}

template <LuQuotients quotients, int n, class M, class B, class X>
tarnmStatus solveCases(const M& factors, ConstRowIndex index, const B& b, const X& x, Place place)
{
    if constexpr (X::isSingle)
        solveCaseAlone<n>(factors[0], index, b[0], x[0]);
    else if constexpr (quotients == LuQuotients::reciprocal)
        solveCasesWithOneFactor<n>(factors[0], index, b, x, place);
    else
        solveCasesWithOwnFactors<n>(factors, index, b, x, place);
    return StatusOk;
}

// ---- All other orders

// factor(i, j) and b(i) are in the order of the factor's rows. `x` holds the intermediate results.
template <class V, class Factor, class B, class X>
TARNM_INLINE void substituteByLoops(const Factor& factor, const B& b, const X& x, std::int32_t n)
{
    x.set(0, b(0));
    for (std::int32_t i = 1; i < n; ++i) {
        V sum(0);
        for (std::int32_t j = 0; j < i; ++j)
            sum += factor(i, j) * x[j];
        x.set(i, b(i) - sum);
    }
    x.set(n - 1, x[n - 1] / factor(n - 1, n - 1));
    for (std::int32_t i = n - 2; i >= 0; --i) {
        V sum(0);
        for (std::int32_t j = i + 1; j < n; ++j)
            sum += factor(i, j) * x[j];
        x.set(i, (x[i] - sum) / factor(i, i));
    }
}

// The right-hand side must be no part of the result.
template <class M, class B, class X>
void solveInPlace(const M& stored, ConstRowIndex index, const B& b, const X& x, std::int32_t n)
{
    substituteByLoops<typename X::Element>([&](std::int32_t i, std::int32_t j) { return stored(index[i], j); },
                                           [&](std::int32_t i) { return b[index[i]]; }, x, n);
}

template <class V, class M, class B, class X>
[[gnu::noinline]] void solveTiledWithOwnFactors(const M& factors, ConstRowIndex index, const B& b, const X& x,
                                                std::ptrdiff_t first, int live, int n)
{
    V factor[largestTiled * largestTiled], ordered[largestTiled], solution[largestTiled];
    loadNamedTile(factors, first, live, index, n, factor);
    collect(ordered, n, live, [&](int l, int i) { return b[first + l][index[l * n + i]]; });
    substituteByLoops<V>(
        [&](int i, int j) __attribute__((always_inline)) { return factor[i * n + j]; },
        [&](int i) __attribute__((always_inline)) { return ordered[i]; }, HeldVector<V>{solution}, n);
    storeTile<Part::whole>(x, first, live, 1, n, solution);
}

// `factor`: n x n elements in the order of its rows.
template <class V, class B, class X>
[[gnu::noinline]] void solveTiledWithOneFactor(const scalar_t<V>* factor, ConstRowIndex index, const B& b, const X& x,
                                               std::ptrdiff_t first, int live, int n)
{
    V given[largestTiled] = {}, solution[largestTiled];
    loadTile<Part::whole>(b, first, live, 1, n, given);
    substituteByLoops<V>(
        [&](int i, int j) __attribute__((always_inline)) { return V(factor[i * n + j]); },
        [&](int i) __attribute__((always_inline)) { return given[index[i]]; }, HeldVector<V>{solution}, n);
    storeTile<Part::whole>(x, first, live, 1, n, solution);
}

template <class M, class B, class X>
void solveTiled(const M& factors, ConstRowIndex index, const B& b, const X& x, std::int32_t n, Place place)
{
    using T = typename X::ObjectView::Element;
    using V = native_lanes<T>;
    if constexpr (M::isSingle) {
        T factor[largestTiled * largestTiled];
        for (std::int32_t i = 0; i < n; ++i)
            for (std::int32_t j = 0; j < n; ++j)
                factor[i * n + j] = factors[0](index[i], j);
        inBlocks<V>(
            place, [&](std::ptrdiff_t o, int live) { solveTiledWithOneFactor<V>(factor, index, b, x, o, live, n); },
            [&](std::ptrdiff_t o) { solveInPlace(factors[0], index, b[o], x[o], n); });
    } else
        inBlocks<V>(
            place,
            [&](std::ptrdiff_t o, int live) {
                solveTiledWithOwnFactors<V>(factors, indexOfObject(index, o, n), b, x, o, live, n);
            },
            [&](std::ptrdiff_t o) { solveInPlace(factors[o], indexOfObject(index, o, n), b[o], x[o], n); });
}

template <class M, class B, class X>
tarnmStatus solveOthers(const M& factors, ConstRowIndex index, const B& b, const X& x, std::int32_t n, Place place)
{
    if constexpr (!X::isSingle)
        if (n >= smallestTiled && n <= largestTiled) {
            solveTiled(factors, index, b, x, n, place);
            return StatusOk;
        }
    const std::ptrdiff_t end = std::ptrdiff_t(place.first) + place.count;
    for (std::ptrdiff_t o = place.first; o < end; ++o)
        solveInPlace(factors[o], M::isSingle ? index : indexOfObject(index, o, n), b[o], x[o], n);
    return StatusOk;
}

} // namespace lu

template <LuSolvePlan plan, class M, class B, class X>
tarnmStatus solveLU(const M& factors, const std::int32_t* firstIndex, const B& b, const X& x, std::int32_t n,
                    Place place)
{
    constexpr LuQuotients quotients = plan.quotientsOfCases;
    const ConstRowIndex index{firstIndex, {}};
    const bool takesLoops = plan.fewVectorsTakeLoops && place.count <= 2;
    return forOrder3to6(
        takesLoops ? 0 : n, [&](auto order) { return lu::solveCases<quotients, order>(factors, index, b, x, place); },
        [&] { return lu::solveOthers(factors, index, b, x, n, place); });
}

} // namespace tarnm
