// Vectors times a 4x4 matrix: a row to the left of the matrix, p*M.
//
//   AffineSum<n>, CoordSum<n>, NormalSum<n>     the sums of one column, in the order of their additions
//   transform, transformArray                   the sums of all columns
//   transformPoint, transformPointArray         the same, divided by the fourth
//   transformPacked                             the same for packed arrays and results of four columns
//   isOrderFree                                 whether an array may be worked on in any order
//
// A sum is one text for a column of the matrix and objects in lanes, and for a row of four columns and one object.
#pragma once

#include "frame/blocks.h"
#include "geometry/matrices.h"

namespace tarnm::geometry {

// ---- Sums ----
//
// `v` is the vector, m0 to m3 are the elements of the rows of the matrix in one column (or in all four).

template <int n> struct AffineSum;

template <> struct AffineSum<2> {
    template <class V> TARNM_INLINE static V of(const V (&v)[2], V m0, V m1, V, V m3)
    {
        return (v[0] * m0 + m3) + v[1] * m1;
    }
};

template <> struct AffineSum<3> {
    template <class V> TARNM_INLINE static V of(const V (&v)[3], V m0, V m1, V m2, V m3)
    {
        return ((v[0] * m0 + m3) + v[1] * m1) + v[2] * m2;
    }
};

template <> struct AffineSum<4> {
    template <class V> TARNM_INLINE static V of(const V (&v)[4], V m0, V m1, V m2, V m3)
    {
        return (v[0] * m0 + v[1] * m1) + (v[2] * m2 + v[3] * m3);
    }
};

template <int n> struct CoordSum;

template <> struct CoordSum<2> : AffineSum<2> {};

template <> struct CoordSum<3> {
    template <class V> TARNM_INLINE static V of(const V (&v)[3], V m0, V m1, V m2, V m3)
    {
        return (m3 + v[2] * m2) + (v[0] * m0 + v[1] * m1);
    }
};

template <int n> struct NormalSum;

template <> struct NormalSum<2> {
    template <class V> TARNM_INLINE static V of(const V (&v)[2], V m0, V m1, V, V) { return v[0] * m0 + v[1] * m1; }
};

template <> struct NormalSum<3> {
    template <class V> TARNM_INLINE static V of(const V (&v)[3], V m0, V m1, V m2, V)
    {
        return (v[0] * m0 + v[1] * m1) + v[2] * m2;
    }
};

template <class Sum, class V, int n> TARNM_INLINE V columnOf(const V (&m)[4][4], const V (&v)[n], int j)
{
    return Sum::of(v, m[0][j], m[1][j], m[2][j], m[3][j]);
}

// The sums of a point, divided by the fourth. No test of the divisor.
template <class V, int n> TARNM_INLINE void dividedPoint(const V (&m)[4][4], const V (&v)[n], V (&d)[n])
{
    const V divisor = columnOf<CoordSum<n>>(m, v, 3);
    TARNM_UNROLL
    for (int j = 0; j < n; ++j)
        d[j] = columnOf<CoordSum<n>>(m, v, j) / divisor;
}

// ---- One vector ----

template <class Sum, int n> TARNM_INLINE Row rowOf(const Rows& m, const float (&point)[n])
{
    Row v[n];
    TARNM_UNROLL
    for (int i = 0; i < n; ++i)
        v[i] = Row(point[i]);
    return Sum::of(v, m.row[0], m.row[1], m.row[2], m.row[3]);
}

template <int n> TARNM_INLINE tarnmStatus storeFirst(Row values, float* d)
{
    if constexpr (n == 4)
        store(d, values);
    else {
        TARNM_UNROLL
        for (int i = 0; i < n; ++i)
            storeElement(d + i, values[i]);
    }
    return StatusOk;
}

template <class Sum, int n, int produced> TARNM_INLINE tarnmStatus transform(const float* m, const float* v, float* d)
{
    return storeFirst<produced>(rowOf<Sum>(loadRows(m), copied<n>(v).values), d);
}

template <int n> TARNM_INLINE tarnmStatus transformPoint(const float* m, const float* v, float* d)
{
    const Row sums = rowOf<CoordSum<n>>(loadRows(m), copied<n>(v).values);
    return storeFirst<n>(sums / Row(sums[3]), d);
}

// ---- Arrays ----

using VectorArray = ObjectArray<StridedVector<const float, Spacing::dense>>;
using ResultArray = ObjectArray<StridedVector<float, Spacing::dense>>;

// Whether every object may be read before any result of another object is stored: the results lie clear of each other
// and, unless they are the sources themselves, clear of all sources. Lengths are in bytes.
inline bool isOrderFree(const VectorArray& from, std::ptrdiff_t fromLength, const ResultArray& to,
                        std::ptrdiff_t toLength, std::int32_t count)
{
    const std::ptrdiff_t longest = fromLength > toLength ? fromLength : toLength;
    if (to.objectStride < longest) return false;
    const auto fromFirst = reinterpret_cast<std::uintptr_t>(from[0].base);
    const auto toFirst = reinterpret_cast<std::uintptr_t>(to[0].base);
    if (fromFirst == toFirst && from.objectStride == to.objectStride) return true;
    const auto fromLast = reinterpret_cast<std::uintptr_t>(from[count - 1].base);
    const auto toEnd = reinterpret_cast<std::uintptr_t>(to[count - 1].base) + toLength;
    const bool ascends = from.objectStride >= 0;
    const std::uintptr_t fromBegin = ascends ? fromFirst : fromLast;
    const std::uintptr_t fromEnd = (ascends ? fromLast : fromFirst) + fromLength;
    return fromEnd <= toFirst || toEnd <= fromBegin;
}

// Runs kernel(matrix, vector, result) over an array, in ascending order wherever the order shows.
template <int n, int produced, class Kernel>
inline tarnmStatus forEachVector(const float* m, const float* v, std::int32_t vStride, float* d, std::int32_t dStride,
                                 std::int32_t count, const Kernel& kernel)
{
    if (count < 1) return StatusOk;
    const VectorArray from{{v, {}}, vStride};
    const ResultArray to{{d, {}}, dStride};
    const auto matrix = tarnm::matrix<Spacing::dense>(m, 16, 4);
    const auto each = [&](auto run) { run(kernel, source<4, 4>(matrix), source<n>(from), result<produced>(to)); };
    if (isOrderFree(from, n * sizeof(float), to, produced * sizeof(float), count))
        each([&](const auto&... operands) { forEachBlock(Place::whole(count), operands...); });
    else
        each([&](const auto& k, const auto&... operands) { blocks::computedSingly<float>(k, 0, count, operands...); });
    return StatusOk;
}

// ---- Packed arrays whose results have all four columns ----

template <int n, int k> constexpr int sourceOfColumn(int l) { return l / 4 * n + k; }

// Element k of packed objects, four times for each object, for all k. Reads no more than a vector of V.
template <int n, class V, int... k>
TARNM_INLINE void loadSpread(const float* base, V (&v)[n], std::integer_sequence<int, k...>)
{
    if constexpr (blocks::packsIntoVectors<V, n>) {
        const V packed = blocks::loadOnce<V>(base);
        ((v[k] = blocks::picked<sourceOfColumn<n, k>>(packed, packed)), ...);
    } else {
        const V rows = blocks::loadJoined<V>([&](int q) { return base + q * n; });
        ((v[k] = blocks::shuffled<k, k, k, k>(rows, rows)), ...);
    }
}

template <class V> TARNM_INLINE V repeated(const float* row)
{
    return blocks::loadJoined<V>([&](int) { return row; });
}

// Several objects side by side, a row of four columns each. A vector of sources is read as a whole; objects too near
// to the end for that are left over. Returns the number of objects done.
template <class Sum, int n, class V>
TARNM_INLINE std::int32_t transformSideBySide(const float* m, const float* v, float* d, std::int32_t count)
{
    constexpr int objects = lane_count_v<V> / 4;
    const V m0 = repeated<V>(m), m1 = repeated<V>(m + 4), m2 = repeated<V>(m + 8), m3 = repeated<V>(m + 12);
    std::int32_t done = 0;
    for (; std::ptrdiff_t(count - done) * n >= lane_count_v<V>; done += objects) {
        V vectors[n];
        loadSpread(v + std::ptrdiff_t(done) * n, vectors, std::make_integer_sequence<int, n>{});
        store(d + std::ptrdiff_t(done) * 4, Sum::of(vectors, m0, m1, m2, m3));
    }
    return done;
}

template <class Sum, int n>
inline tarnmStatus transformPacked(const float* m, const float* v, float* d, std::int32_t count)
{
    const Rows rows = loadRows(m);
    std::int32_t done = transformSideBySide<Sum, n, native_lanes<float>>(m, v, d, count);
    for (; done < count; ++done)
        storeFirst<4>(rowOf<Sum>(rows, copied<n>(v + std::ptrdiff_t(done) * n).values), d + std::ptrdiff_t(done) * 4);
    return StatusOk;
}

template <class Sum, int n, int produced>
inline tarnmStatus transformArray(const float* m, const float* v, std::int32_t vStride, float* d, std::int32_t dStride,
                                  std::int32_t count)
{
    if constexpr (produced == 4)
        if (count > 0 && vStride == n * 4 && dStride == 16 &&
            isOrderFree({{v, {}}, vStride}, n * sizeof(float), {{d, {}}, dStride}, 4 * sizeof(float), count))
            return transformPacked<Sum, n>(m, v, d, count);
    return forEachVector<n, produced>(m, v, vStride, d, dStride, count,
                                      []<class V>(const V(&matrix)[4][4], const V(&vector)[n], V(&out)[produced]) {
                                          TARNM_UNROLL
                                          for (int j = 0; j < produced; ++j)
                                              out[j] = columnOf<Sum>(matrix, vector, j);
                                      });
}

template <int n>
inline tarnmStatus transformPointArray(const float* m, const float* v, std::int32_t vStride, float* d,
                                       std::int32_t dStride, std::int32_t count)
{
    return forEachVector<n, n>(
        m, v, vStride, d, dStride, count,
        []<class V>(const V(&matrix)[4][4], const V(&vector)[n], V(&out)[n]) { dividedPoint(matrix, vector, out); });
}

} // namespace tarnm::geometry
