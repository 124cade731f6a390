// Francis iteration: an upper Hessenberg matrix to quasi-triangular form, by implicit double shifts.
//
//   Aim             values alone, or the Schur form with its vectors
//   iterate         the iteration over all blocks of a matrix
//
// and, in the order of a step: findSplit, Shift and shiftOf, findStart, sweep, standardise.
//
// The two aims differ on purpose: for values subdiagonal elements are neglected below an absolute tolerance and only
// the active block is kept up to date; for the Schur form the tolerance follows the diagonal neighbours and the shifts
// are formed in single precision for both element types.
//
// Each lane is at a block of its own: i is the last row of the active block and l its first, both from 1.
#pragma once

#include "eigen/general_standardise.h"

namespace tarnm::general {

enum class Aim { values, schurForm };

// One budget of steps serves all eigenvalues of a matrix.
inline constexpr int stepsPerEigenvalue = 30;

// ---- Split: the last negligible subdiagonal element of the active block

template <class V> TARNM_INLINE V largestColumnSum(ColumnMatrix<V> h, Index<V> l, Index<V> i, int last)
{
    const int first = lowest(l);
    V largest = V(0);
    for (int c = first; c <= last; ++c) {
        V sum = V(0);
        for (int r = first; r <= (c < last ? c + 1 : last); ++r)
            sum += select(l <= Index<V>(r) && Index<V>(r) <= i, abs(h(r, c)), V(0));
        largest = select(l <= Index<V>(c) && Index<V>(c) <= i && sum > largest, sum, largest);
    }
    return largest;
}

// What is negligible below the diagonal at (k, k-1).
template <Aim aim, class V>
TARNM_INLINE V negligible(ColumnMatrix<V> h, int k, Index<V> l, Index<V> i, int last, mask_t<V> searching)
{
    using T = scalar_t<V>;
    using Tolerance = GeneralTolerance<T>;
    if constexpr (aim == Aim::values) return V(Tolerance::epsilon);
    V size = abs(h(k - 1, k - 1)) + abs(h(k, k));
    const mask_t<V> isSmall = searching && size <= V(Tolerance::safeMinimum);
    if (any(isSmall)) size = select(isSmall, largestColumnSum<V>(h, l, i, last), size);
    return max(V(Tolerance::epsilon) * size, V(smallestSubdiagonal<T>(h.order)));
}

// The first row of the block that ends in row i. The element above its first subdiagonal becomes 0.
template <Aim aim, class V>
TARNM_INLINE Index<V> findSplit(ColumnMatrix<V> h, Index<V> l, Index<V> i, int last, mask_t<V> searching)
{
    Index<V> split = l;
    mask_t<V> pending = searching;
    for (int k = last; k > lowest(l); --k) {
        const mask_t<V> inBlock = pending && Index<V>(k) <= i && Index<V>(k) > l;
        const mask_t<V> found = inBlock && negligible<aim, V>(h, k, l, i, last, inBlock) >= abs(h(k, k - 1));
        split = choose(found, Index<V>(k), split);
        pending = pending && !found;
        if (none(pending)) break;
    }
    forEachPosition(
        searching && split > Index<V>(1), split, 2, last, [&](int k, mask_t<V> here) __attribute__((always_inline)) {
            h(k, k - 1) = onlyIn(here, V(0), h(k, k - 1));
        });
    return split;
}

// ---- Shifts

// The trailing 2x2 block h33 h34 / h43 h44, and the subdiagonal element above it.
template <class V> struct Corner {
    V h33, h34, h43, h44, h32;
};

template <class V> TARNM_INLINE Corner<V> cornerOf(ColumnMatrix<V> h, Index<V> i, int last, mask_t<V> sweeping)
{
    Corner<V> corner{};
    forEachPosition(
        sweeping, i, 3, last, [&](int k, mask_t<V> here) __attribute__((always_inline)) {
            corner.h33 = onlyIn(here, h(k - 1, k - 1), corner.h33);
            corner.h34 = onlyIn(here, h(k - 1, k), corner.h34);
            corner.h43 = onlyIn(here, h(k, k - 1), corner.h43);
            corner.h44 = onlyIn(here, h(k, k), corner.h44);
            corner.h32 = onlyIn(here, h(k - 1, k - 2), corner.h32);
        });
    return corner;
}

template <class V> struct Shift {
    V h33, h44, h4334;
};

template <class V> TARNM_INLINE Shift<V> select(mask_t<V> m, const Shift<V>& x, const Shift<V>& y)
{
    return {select(m, x.h33, y.h33), select(m, x.h44, y.h44), select(m, x.h4334, y.h4334)};
}

// Eigenvalues of the trailing block: a complex pair as it stands, or one of two real ones taken twice.
template <Aim aim, class V> TARNM_INLINE Shift<V> ordinaryShift(V h33, V h44, V h4334)
{
    using T = scalar_t<V>;
    constexpr T leastSquare = aim == Aim::values ? T(0) : GeneralTolerance<T>::safeMinimum;
    const V half = (h33 - h44) * V(T(0.5));
    const V square = half * half + h4334;
    const mask_t<V> isReal = square > V(leastSquare);
    if (none(isReal)) return {h33, h44, h4334};
    const V root = sqrt(square);
    const V mean = (h33 + h44) * V(T(0.5));
    V shift;
    if constexpr (aim == Aim::values) {
        const V y = select(mean < V(0), mean - root, mean + root);
        shift = select(abs(h33) - abs(h44) > V(0), (h33 * h44 - h4334) / y, y);
    } else {
        const V y = select(-h44 > h33, mean - root, mean + root);
        const V inverse = select(abs(y) > V(GeneralTolerance<T>::safeMinimum), V(1) / y, y);
        shift = select(abs(h33) > abs(h44), (h33 * h44 - h4334) * inverse, y);
    }
    return {select(isReal, shift, h33), select(isReal, shift, h44), select(isReal, V(0), h4334)};
}

// Breaks a cycle of shifts. The first sum is formed in the precision of the matrix.
template <class S, class V, class Rounded> TARNM_INLINE Shift<S> exceptionalShift(const Corner<V>& c, Rounded rounded)
{
    using T = scalar_t<S>;
    const S s = rounded(abs(c.h43) + abs(c.h32));
    const S h44 = rounded(V(rounded.back(S(T(0.75)) * s)) + c.h44);
    return {h44, h44, S(T(-0.4375)) * s * s};
}

// From the precision of the matrix to that of the shifts, and back.
template <class V> struct SamePrecision {
    using Type = V;
    TARNM_INLINE V operator()(V v) const { return v; }
    TARNM_INLINE V back(V v) const { return v; }
};

template <class V> struct SinglePrecision : SamePrecision<V> {};

template <> struct SinglePrecision<double> {
    using Type = float;
    TARNM_INLINE float operator()(double v) const { return float(v); }
    TARNM_INLINE double back(float v) const { return double(v); }
};

template <int N> struct SinglePrecision<lanes<double, N>> {
    static constexpr int width = N < 4 ? 4 : N;
    using Type = lanes<float, width>;

    TARNM_INLINE Type operator()(lanes<double, N> v) const
    {
        if constexpr (width == N) return Type(__builtin_convertvector(v.raw, typename Type::Raw));
        Type result(0.0f);
        for (int l = 0; l < N; ++l)
            result.set(l, float(v[l]));
        return result;
    }
    TARNM_INLINE lanes<double, N> back(Type v) const
    {
        using Doubles = lanes<double, N>;
        if constexpr (width == N) return Doubles(__builtin_convertvector(v.raw, typename Doubles::Raw));
        Doubles result(0.0);
        for (int l = 0; l < N; ++l)
            result.set(l, double(v[l]));
        return result;
    }
};

template <int N> struct SinglePrecision<Pair<lanes<double, N>>> {
    using Half = SinglePrecision<lanes<double, N>>;
    using Type = Pair<typename Half::Type>;

    TARNM_INLINE Type operator()(Pair<lanes<double, N>> v) const { return {Half()(v.low), Half()(v.high)}; }
    TARNM_INLINE Pair<lanes<double, N>> back(Type v) const { return {Half().back(v.low), Half().back(v.high)}; }
};

template <Aim aim, class V> TARNM_INLINE Shift<V> shiftOf(const Corner<V>& corner, mask_t<V> isExceptional)
{
    using Rounded = std::conditional_t<aim == Aim::values, SamePrecision<V>, SinglePrecision<V>>;
    const Rounded rounded;
    const auto back = [&](const auto& s) __attribute__((always_inline))
    {
        return Shift<V>{rounded.back(s.h33), rounded.back(s.h44), rounded.back(s.h4334)};
    };
    using S = typename Rounded::Type;
    const Shift<V> ordinary =
        back(ordinaryShift<aim, S>(rounded(corner.h33), rounded(corner.h44), rounded(corner.h43 * corner.h34)));
    if (none(isExceptional)) return ordinary;
    return select(isExceptional, back(exceptionalShift<S>(corner, rounded)), ordinary);
}

// ---- Start: two consecutive small subdiagonal elements, or the first row of the block

template <class V> struct Start {
    Index<V> m;
    V q1, q2, q3; // first column of the double step
};

template <class V> TARNM_INLINE V sumOfMagnitudes(V x, V y)
{
    return inDouble(
        [](auto a, auto b) __attribute__((always_inline)) { return abs(a) + abs(b); }, x, y);
}

template <class V> TARNM_INLINE V sumOfMagnitudes(V x, V y, V z)
{
    return inDouble(
        [](auto a, auto b, auto c) __attribute__((always_inline)) { return abs(a) + abs(b) + abs(c); }, x, y, z);
}

template <class V> TARNM_INLINE Start<V> firstColumn(ColumnMatrix<V> h, int m, const Shift<V>& shift)
{
    const V h11 = h(m, m), h22 = h(m + 1, m + 1), h21 = h(m + 1, m);
    const V h44 = shift.h44 - h11, h33 = shift.h33 - h11;
    const V q1 = (h44 * h33 - shift.h4334) / h21 + h(m, m + 1);
    const V q2 = h22 - h11 - h44 - h33;
    const V q3 = h(m + 2, m + 1);
    const V sum = sumOfMagnitudes(q1, q2, q3);
    return {Index<V>(m), q1 / sum, q2 / sum, q3 / sum};
}

// Whether a double step may start in row m, above the first row of the block.
template <class V> TARNM_INLINE mask_t<V> startsBelow(ColumnMatrix<V> h, int m, const Start<V>& q)
{
    const V diagonal = sumOfMagnitudes<V>(h(m, m), h(m + 1, m + 1), h(m - 1, m - 1));
    return V(GeneralTolerance<scalar_t<V>>::epsilon) * diagonal * abs(q.q1) >=
           abs(h(m, m - 1)) * sumOfMagnitudes(q.q2, q.q3);
}

template <class V>
TARNM_INLINE Start<V> findStart(ColumnMatrix<V> h, Index<V> l, Index<V> i, int last, const Shift<V>& shift,
                                mask_t<V> sweeping)
{
    Start<V> start{};
    mask_t<V> pending = sweeping;
    for (int m = last - 2; any(pending); --m) {
        const mask_t<V> inBlock = pending && Index<V>(m) <= i - Index<V>(2);
        if (none(inBlock)) continue;
        const Start<V> q = firstColumn(h, m, shift);
        mask_t<V> found = inBlock && l == Index<V>(m);
        if (any(inBlock && !found)) found = found || (inBlock && startsBelow(h, m, q));
        start.m = choose(found, q.m, start.m);
        start.q1 = select(found, q.q1, start.q1);
        start.q2 = select(found, q.q2, start.q2);
        start.q3 = select(found, q.q3, start.q3);
        pending = pending && !found;
    }
    return start;
}

// ---- Sweep: one double step

// The reflector of a step: I - t v^T with v = (1, v2, v3), t = tau v. Lanes with two rows have no third component.
template <class V> struct StepReflector {
    V v2, v3, t1, t2, t3;
    mask_t<V> active, three;
};

// (x, y, z) -= (v^T (x, y, z)) t
template <bool hasThird, class V>
TARNM_INLINE void reflect(const StepReflector<V>& q, mask_t<V> taking, V& x, V& y, V* z)
{
    V sum = x + q.v2 * y;
    if constexpr (hasThird) {
        const mask_t<V> three = taking && q.three;
        sum = onlyIn(three, sum + q.v3 * *z, sum);
        *z = onlyIn(three, *z - sum * q.t3, *z);
    }
    x = onlyIn(taking, x - sum * q.t1, x);
    y = onlyIn(taking, y - sum * q.t2, y);
}

template <bool hasThird, class V>
TARNM_INLINE void reflectRowsFromLeft(ColumnMatrix<V> h, int k, int lastColumn, const StepReflector<V>& q)
{
    for (int c = k; c <= lastColumn; ++c)
        reflect<hasThird>(q, q.active, h(k, c), h(k + 1, c), hasThird ? &h(k + 2, c) : nullptr);
}

// Rows below `lastRowOfLane` have no part in a lane; rows up to k + 1 always have.
template <bool hasThird, class V>
TARNM_INLINE void reflectColumnsFromRight(ColumnMatrix<V> h, int k, int firstRow, int lastRow, Index<V> lastRowOfLane,
                                          const StepReflector<V>& q)
{
    V *x = h.column(k), *y = h.column(k + 1), *z = hasThird ? h.column(k + 2) : nullptr;
    for (int r = firstRow; r <= k + 1; ++r)
        reflect<hasThird>(q, q.active, x[r], y[r], hasThird ? z + r : nullptr);
    for (int r = k + 2; r <= lastRow; ++r)
        reflect<hasThird>(q, q.active && Index<V>(r) <= lastRowOfLane, x[r], y[r], hasThird ? z + r : nullptr);
}

template <class V> TARNM_INLINE V normOf(V x, V y) { return sqrt(x * x + y * y); }

// Makes the reflector of step k, and puts its effect on column k-1 in place.
template <class V>
TARNM_INLINE StepReflector<V> startStep(ColumnMatrix<V> h, int k, Index<V> l, Index<V> i, const Start<V>& start,
                                        mask_t<V> active)
{
    StepReflector<V> q;
    q.active = active;
    q.three = q.active && Index<V>(k) < i - Index<V>(1);
    const mask_t<V> isFirst = q.active && start.m == Index<V>(k);
    const mask_t<V> isLater = q.active && !isFirst;
    const bool hasThird = any(q.three);

    V alpha = start.q1, x2 = start.q2, x3 = start.q3;
    if (any(isLater)) {
        alpha = select(isLater, h(k, k - 1), alpha);
        x2 = select(isLater, h(k + 1, k - 1), x2);
        x3 = select(isLater, hasThird ? h(k + 2, k - 1) : V(0), x3);
    }
    x3 = select(q.three, x3, V(0));
    const Reflector<V> reflector = makeReflector<V>(alpha, normOf(x2, x3));
    q.v2 = x2 * reflector.scale;
    q.v3 = x3 * reflector.scale;
    q.t1 = reflector.tau;
    q.t2 = q.t1 * q.v2;
    q.t3 = q.t1 * q.v3;
    if (any(isLater)) {
        h(k, k - 1) = select(isLater, reflector.beta, h(k, k - 1));
        h(k + 1, k - 1) = select(isLater, V(0), h(k + 1, k - 1));
        if (hasThird) h(k + 2, k - 1) = select(isLater && q.three, V(0), h(k + 2, k - 1));
    }
    const mask_t<V> isInside = isFirst && l < Index<V>(k);
    if (any(isInside)) h(k, k - 1) = select(isInside, -h(k, k - 1), h(k, k - 1));
    return q;
}

// For values alone the lanes may also touch what lies outside their active block: it is never read again.
template <Aim aim, bool hasThird, class V>
TARNM_INLINE void applyStep(ColumnMatrix<V> h, ColumnMatrix<V> z, int k, int firstRow, int lastRow, Index<V> i,
                            const StepReflector<V>& q)
{
    constexpr bool isWhole = aim == Aim::schurForm;
    reflectRowsFromLeft<hasThird>(h, k, isWhole ? h.order : lastRow, q);
    reflectColumnsFromRight<hasThird>(h, k, isWhole ? 1 : firstRow, k + 3 < lastRow ? k + 3 : lastRow, i, q);
    if constexpr (isWhole) {
        V *x = z.column(k), *y = z.column(k + 1), *w = hasThird ? z.column(k + 2) : nullptr;
        for (int r = 1; r <= z.order; ++r)
            reflect<hasThird>(q, q.active, x[r], y[r], hasThird ? w + r : nullptr);
    }
}

template <Aim aim, class V>
TARNM_INLINE void sweep(ColumnMatrix<V> h, ColumnMatrix<V> z, Index<V> l, Index<V> i, int last, const Start<V>& start,
                        mask_t<V> sweeping)
{
    for (int k = lowest(start.m); k < last; ++k) {
        const mask_t<V> active = sweeping && Index<V>(k) >= start.m && Index<V>(k) < i;
        if (none(active)) continue;
        const StepReflector<V> q = startStep(h, k, l, i, start, active);
        if (any(q.three))
            applyStep<aim, true>(h, z, k, lowest(l), last, i, q);
        else
            applyStep<aim, false>(h, z, k, lowest(l), last, i, q);
    }
}

// ---- What has split off

template <class V> TARNM_INLINE Block<V> blockAt(ColumnMatrix<V> h, int k)
{
    return {h(k - 1, k - 1), h(k - 1, k), h(k, k - 1), h(k, k)};
}

// (x, y) -> (cs x + sn y, cs y - sn x)
template <class V> TARNM_INLINE void rotate(const Rotation<V>& q, mask_t<V> taking, V& x, V& y)
{
    const V turned = q.cs * x + q.sn * y;
    y = onlyIn(taking, q.cs * y - q.sn * x, y);
    x = onlyIn(taking, turned, x);
}

template <class V>
TARNM_INLINE void rotatePair(ColumnMatrix<V> h, ColumnMatrix<V> z, int k, const Rotation<V>& q, mask_t<V> here)
{
    for (int c = k + 1; c <= h.order; ++c)
        rotate(q, here, h(k - 1, c), h(k, c));
    for (int r = 1; r <= k - 2; ++r)
        rotate(q, here, h(r, k - 1), h(r, k));
    for (int r = 1; r <= z.order; ++r)
        rotate(q, here, z(r, k - 1), z(r, k));
}

// `spectrum.set(k, lanes, re, im)` takes the eigenvalue at position k.
template <Aim aim, class V, class Spectrum>
TARNM_INLINE void finishPair(ColumnMatrix<V> h, ColumnMatrix<V> z, int k, mask_t<V> here, Rotation<V>& kept,
                             const Spectrum& spectrum)
{
    if constexpr (aim == Aim::values) {
        const BlockValues<V> values = standardiseForValues<V>(blockAt(h, k));
        spectrum.set(k - 1, here, values.a, values.imaginary);
        spectrum.set(k, here, values.d, -values.imaginary);
    } else {
        Rotation<V> rotation = kept;
        const StandardBlock<V> standard = standardiseForVectors<V>(blockAt(h, k), rotation);
        kept = select(here, rotation, kept);
        h(k - 1, k - 1) = onlyIn(here, standard.block.a, h(k - 1, k - 1));
        h(k - 1, k) = onlyIn(here, standard.block.b, h(k - 1, k));
        h(k, k - 1) = onlyIn(here, standard.block.c, h(k, k - 1));
        h(k, k) = onlyIn(here, standard.block.d, h(k, k));
        spectrum.set(k - 1, here, standard.block.a, standard.imaginary);
        spectrum.set(k, here, standard.block.d, -standard.imaginary);
        rotatePair(h, z, k, rotation, here);
    }
}

// ---- The iteration

// Returns the lanes that used up their budget. Positions that have split off by then have been set in `spectrum`.
// `z` is multiplied from the right by all transformations; it is not used for values alone.
template <Aim aim, class V, class Spectrum>
mask_t<V> iterate(ColumnMatrix<V> h, ColumnMatrix<V> z, const Spectrum& spectrum)
{
    using I = Index<V>;
    const int n = h.order;
    I i(n), l(1), steps(0), budget(stepsPerEigenvalue * n);
    int last = n; // the largest i
    mask_t<V> running(true), failed(false);
    Rotation<V> kept{V(0), V(0)};

    while (any(running)) {
        const mask_t<V> searching = running && steps < budget;
        if (any(searching)) l = choose(searching, findSplit<aim, V>(h, l, i, last, searching), l);
        const mask_t<V> left = running && (l >= i - I(1) || steps >= budget);
        if (any(left)) {
            failed = failed || (left && l < i - I(1));
            forEachPosition(
                left && l == i, i, 1, last, [&](int k, mask_t<V> here) __attribute__((always_inline)) {
                    spectrum.set(k, here, h(k, k), V(0));
                });
            forEachPosition(
                left && l == i - I(1), i, 2, last, [&](int k, mask_t<V> here) __attribute__((always_inline)) {
                    finishPair<aim, V>(h, z, k, here, kept, spectrum);
                });
            budget = choose(left, budget - steps, budget);
            i = choose(left, l - I(1), i);
            l = choose(left, I(1), l);
            steps = choose(left, I(0), steps);
            running = running && !failed && i >= I(1);
            last = highest(running, i);
        }
        const mask_t<V> sweeping = running && !left;
        if (none(sweeping)) continue;
        const mask_t<V> isExceptional = steps == I(10) || steps == I(20);
        const Shift<V> shift = shiftOf<aim, V>(cornerOf<V>(h, i, last, sweeping), isExceptional);
        sweep<aim, V>(h, z, l, i, last, findStart<V>(h, l, i, last, shift, sweeping), sweeping);
        steps = choose(sweeping, steps + I(1), steps);
    }
    return failed;
}

} // namespace tarnm::general
