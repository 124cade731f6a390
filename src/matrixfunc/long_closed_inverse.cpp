// The closed inverses of orders 5 and 6, compiled once for all members.
//
// The rows are parted into the upper two (order 5) or three (order 6) and the lower three. Minors of two and three rows
// are formed for every choice of columns; a minor of all rows but one is the sum, over the choices of columns for the
// upper rows, of the products of upper and lower minors.
#include "matrixfunc/closed_inverse.h"
#include "matrixfunc/minors.h"

namespace tarnm {

namespace {

// Of rows that ascend: a minor of `k` of them for every choice of k columns.
template <int n, class V> TARNM_INLINE void minorsOfTwo(const V (&a)[n][n], int r, int s, MinorTable<n, V>& minors)
{
    startMinors<n>(a[r], minors);
    addRow<n, 2, Terms::highestFirst>(a[s], minors);
}

// Whether the exchanges that bring the columns `upper` to the front of `all` are odd in number.
constexpr bool isOddChoice(unsigned all, unsigned upper)
{
    int exchanges = 0;
    for (unsigned left = upper; left != 0; left &= left - 1)
        exchanges += __builtin_popcount(all & ~upper & ((left & -left) - 1));
    return exchanges % 2 != 0;
}

// The minor of `upper` and `lower` rows together over the columns `all`, of which the upper rows take k.
template <int n, int k, unsigned all, class V>
TARNM_INLINE V joinedMinor(const MinorTable<n, V>& upper, const MinorTable<n, V>& lower)
{
    V positive = V(0), negative = V(0);
    bool hasPositive = false, hasNegative = false;
    forEachChoice<n, k>([&](auto choice) __attribute__((always_inline)) {
        if constexpr ((choice() & all) == choice()) {
            const V term = upper[choice()] * lower[all ^ choice()];
            if constexpr (isOddChoice(all, choice())) {
                negative = hasNegative ? negative + term : term;
                hasNegative = true;
            } else {
                positive = hasPositive ? positive + term : term;
                hasPositive = true;
            }
        }
    });
    return positive - negative;
}

// minors[i][...] for the row i that neither table holds.
template <int n, int k, class V>
TARNM_INLINE void joinMinors(const MinorTable<n, V>& upper, const MinorTable<n, V>& lower, V (&minors)[n])
{
    constexpr unsigned every = (1u << n) - 1;
    forEachChoice<n, n - 1>([&](auto all) __attribute__((always_inline)) {
        minors[lowestOf<every ^ all()>] = joinedMinor<n, k, all()>(upper, lower);
    });
}

// Rows 0 and 1, and 2 to 4.
template <class V> TARNM_INLINE void allMinors(const V (&a)[5][5], V (&minors)[5][5])
{
    MinorTable<5, V> upper, lower;
    minorsOfTwo<5>(a, 2, 3, lower);
    addRow<5, 3, Terms::highestFirst>(a[4], lower);
    startMinors<5>(a[1], upper);
    joinMinors<5, 1>(upper, lower, minors[0]);
    startMinors<5>(a[0], upper);
    joinMinors<5, 1>(upper, lower, minors[1]);
    minorsOfTwo<5>(a, 0, 1, upper);
    TARNM_UNROLL
    for (int i = 2; i < 5; ++i) {
        minorsOfTwo<5>(a, i == 2 ? 3 : 2, i == 4 ? 3 : 4, lower);
        joinMinors<5, 2>(upper, lower, minors[i]);
    }
}

// Rows 0 to 2, and 3 to 5.
template <class V> TARNM_INLINE void allMinors(const V (&a)[6][6], V (&minors)[6][6])
{
    MinorTable<6, V> upper, lower;
    minorsOfTwo<6>(a, 3, 4, lower);
    addRow<6, 3, Terms::highestFirst>(a[5], lower);
    TARNM_UNROLL
    for (int i = 0; i < 3; ++i) {
        minorsOfTwo<6>(a, i == 0 ? 1 : 0, i == 2 ? 1 : 2, upper);
        joinMinors<6, 2>(upper, lower, minors[i]);
    }
    minorsOfTwo<6>(a, 0, 1, upper);
    addRow<6, 3, Terms::highestFirst>(a[2], upper);
    TARNM_UNROLL
    for (int i = 3; i < 6; ++i) {
        minorsOfTwo<6>(a, i == 3 ? 4 : 3, i == 5 ? 4 : 5, lower);
        joinMinors<6, 3>(upper, lower, minors[i]);
    }
}

} // namespace

// The determinant is the expansion along the first column, left to right.
template <int n, class V> mask_t<V> longClosedInverse(const V (&a)[n][n], V tolerance, V (&x)[n][n])
{
    V minors[n][n];
    allMinors(a, minors);
    V determinant = a[0][0] * minors[0][0];
    TARNM_UNROLL
    for (int i = 1; i < n; ++i) {
        const V term = a[i][0] * minors[i][0];
        determinant = i % 2 == 0 ? determinant + term : determinant - term;
    }
    scaledAdjugate(minors, V(1) / determinant, x);
    return tolerance > abs(determinant);
}

#define TARNM_CLOSED_INVERSES(V)                                                                                       \
    template mask_t<V> longClosedInverse(const V(&)[5][5], V, V(&)[5][5]);                                             \
    template mask_t<V> longClosedInverse(const V(&)[6][6], V, V(&)[6][6]);

TARNM_CLOSED_INVERSES(float)
TARNM_CLOSED_INVERSES(double)
TARNM_CLOSED_INVERSES(native_lanes<float>)
TARNM_CLOSED_INVERSES(native_lanes<double>)

} // namespace tarnm
