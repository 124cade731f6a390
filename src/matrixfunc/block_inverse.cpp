#include "matrixfunc/block_inverse.h"

#include "matrixfunc/closed_inverse.h"

namespace tarnm {

namespace {

// Which column is exchanged with column `step`, if any; one flag per column and lane.
template <int n, class V> struct Exchange {
    mask_t<V> with[n];
};

// The column of the largest magnitude in row `step` among the columns from `step` on. NaN counts as no magnitude.
// Of equal ones the highest column wins; in the first of five columns the last one comes after all others.
template <int n, int step, class V> TARNM_INLINE Exchange<n, V> chosenColumn(const V (&row)[n])
{
    V largest = V(0);
    TARNM_UNROLL
    for (int c = step; c < n; ++c)
        largest = max(abs(row[c]), largest);

    constexpr bool lastIsLast = n == 5;
    Exchange<n, V> exchange;
    mask_t<V> isFound = mask_t<V>(false);
    TARNM_UNROLL
    for (int c = n - 1 - lastIsLast; c > step; --c) {
        exchange.with[c] = abs(row[c]) == largest && !isFound;
        isFound = isFound || exchange.with[c];
    }
    if constexpr (lastIsLast) exchange.with[n - 1] = !(isFound || abs(row[step]) == largest);
    return exchange;
}

// Exchanges elements `step` and the chosen one: of columns of a row, or of rows in a column.
template <int n, int step, class V, class At>
TARNM_INLINE void exchangeElements(const Exchange<n, V>& exchange, At&& at)
{
    const V first = at(step);
    V chosen = first;
    TARNM_UNROLL
    for (int k = step + 1; k < n; ++k) {
        const V here = at(k);
        chosen = select(exchange.with[k], here, chosen);
        at(k) = select(exchange.with[k], first, here);
    }
    at(step) = chosen;
}

template <int n, int step, class V> TARNM_INLINE void exchangeColumns(const Exchange<n, V>& exchange, V (&a)[n][n])
{
    TARNM_UNROLL
    for (int r = 0; r < n; ++r)
        exchangeElements<n, step>(
            exchange, [&](int c) __attribute__((always_inline))->V & { return a[r][c]; });
}

template <int n, int step, class V> TARNM_INLINE void exchangeRows(const Exchange<n, V>& exchange, V (&x)[n][n])
{
    TARNM_UNROLL
    for (int c = 0; c < n; ++c)
        exchangeElements<n, step>(
            exchange, [&](int r) __attribute__((always_inline))->V & { return x[r][c]; });
}

// Brings the pivot of row `step` to the diagonal. Lanes in which it is too small keep their columns and are returned.
template <int n, int step, class V> TARNM_INLINE mask_t<V> pivoted(V (&a)[n][n], V tolerance, Exchange<n, V>& exchange)
{
    exchange = chosenColumn<n, step>(a[step]);
    V pivot = a[step][step];
    TARNM_UNROLL
    for (int c = step + 1; c < n; ++c)
        pivot = select(exchange.with[c], a[step][c], pivot);
    const mask_t<V> failed = tolerance > abs(pivot);
    TARNM_UNROLL
    for (int c = step + 1; c < n; ++c)
        exchange.with[c] = exchange.with[c] && !failed;
    exchangeColumns<n, step>(exchange, a);
    return failed;
}

// The block behind the pivot becomes its complement, the column under the pivot the multipliers. Returns the
// reciprocal of the pivot.
template <int n, int step, class V> TARNM_INLINE V reduced(V (&a)[n][n])
{
    const V reciprocal = refinedReciprocal(a[step][step]);
    TARNM_UNROLL
    for (int r = step + 1; r < n; ++r) {
        a[r][step] = reciprocal * a[r][step];
        TARNM_UNROLL
        for (int c = step + 1; c < n; ++c)
            a[r][c] = a[r][c] - a[r][step] * a[step][c];
    }
    return reciprocal;
}

// Ascending.
template <int n, int from, class V, class Term> TARNM_INLINE V summed(Term&& term)
{
    V sum = term(from);
    TARNM_UNROLL
    for (int k = from + 1; k < n; ++k)
        sum = sum + term(k);
    return sum;
}

// Adds row and column `step` to the inverse of the block behind them.
template <int n, int step, class V> TARNM_INLINE void bordered(const V (&a)[n][n], V reciprocal, V (&x)[n][n])
{
    constexpr int next = step + 1;
    TARNM_UNROLL
    for (int i = next; i < n; ++i)
        x[i][step] =
            summed<n, next, V>([&](int k) __attribute__((always_inline)) { return x[i][k] * (V(0) - a[k][step]); });
    const V w = summed<n, next, V>([&](int k) __attribute__((always_inline)) { return a[step][k] * x[k][step]; });
    x[step][step] = reciprocal - w * reciprocal;
    TARNM_UNROLL
    for (int j = next; j < n; ++j)
        x[step][j] = (V(0) - reciprocal) *
                     summed<n, next, V>([&](int k) __attribute__((always_inline)) { return a[step][k] * x[k][j]; });
}

template <int n, class V> TARNM_INLINE mask_t<V> invertLastFour(const V (&a)[n][n], V tolerance, V (&x)[n][n])
{
    constexpr int from = n - 4;
    V block[4][4], inverse[4][4];
    TARNM_UNROLL
    for (int r = 0; r < 4; ++r)
        TARNM_UNROLL
    for (int c = 0; c < 4; ++c)
        block[r][c] = a[from + r][from + c];
    const mask_t<V> failed = refinedInverse(block, tolerance, inverse);
    TARNM_UNROLL
    for (int r = 0; r < 4; ++r)
        TARNM_UNROLL
    for (int c = 0; c < 4; ++c)
        x[from + r][from + c] = inverse[r][c];
    return failed;
}

} // namespace

// The exchanges of columns are undone as exchanges of the result's rows, the last one first.
template <int n, class V> mask_t<V> blockInverse(const V (&source)[n][n], V tolerance, V (&x)[n][n])
{
    V a[n][n];
    TARNM_UNROLL
    for (int r = 0; r < n; ++r)
        TARNM_UNROLL
    for (int c = 0; c < n; ++c)
        a[r][c] = source[r][c];

    Exchange<n, V> first, second;
    mask_t<V> failed = pivoted<n, 0>(a, tolerance, first);
    const V firstReciprocal = reduced<n, 0>(a);
    if constexpr (n == 5)
        failed = failed | invertLastFour(a, tolerance, x);
    else {
        failed = failed | pivoted<n, 1>(a, tolerance, second);
        const V secondReciprocal = reduced<n, 1>(a);
        failed = failed | invertLastFour(a, tolerance, x);
        bordered<n, 1>(a, secondReciprocal, x);
    }
    bordered<n, 0>(a, firstReciprocal, x);
    if constexpr (n == 6) exchangeRows<n, 1>(second, x);
    exchangeRows<n, 0>(first, x);
    return failed;
}

template <int n> void blockWorkRows(float (&a)[n][n], float tolerance)
{
    Exchange<n, float> exchange;
    if (pivoted<n, 0>(a, tolerance, exchange)) return;
    if constexpr (n == 6) {
        reduced<n, 0>(a);
        pivoted<n, 1>(a, tolerance, exchange);
    }
}

#define TARNM_BLOCK_INVERSES(n)                                                                                        \
    template bool blockInverse(const float(&)[n][n], float, float(&)[n][n]);                                           \
    template mask_t<native_lanes<float>> blockInverse(const native_lanes<float>(&)[n][n], native_lanes<float>,         \
                                                      native_lanes<float>(&)[n][n]);                                   \
    template void blockWorkRows(float(&)[n][n], float);

TARNM_BLOCK_INVERSES(5)
TARNM_BLOCK_INVERSES(6)

} // namespace tarnm
