// The Frobenius norm: the square root of the sum of the squares of all elements.
//
//   sumOfSquares        how a kernel adds
//   frobeniusNorms      the kernel of all members
//
// All sums are in the element type and nothing is scaled: a norm overflows where the sum of the squares does. The
// order of additions differs between types and layouts, and is the same for one object and for an array but for dense
// arrays of order 6:
//
//   single precision     four partial sums by column modulo 4, folded as (0 + 1) + (2 + 3)
//   double precision     one running sum; rows of 16 columns and more through eight partial sums per block of 16
//   tables of elements   two partial sums, of the even and the odd elements; a last odd one is added at the end
//   dense arrays of 6x6  eight partial sums by the number of the element modulo 8, folded as inner lanes are
#pragma once

#include "frame/blocks.h"
#include "frame/folds.h"
#include "frame/partial.h"
#include "frame/path.h"
#include "tarnm/tarnm.h"

namespace tarnm {

namespace frobenius {

template <class V> TARNM_INLINE V square(V x) { return x * x; }

// `element(r, c)` gives values of V: one matrix, or one in each lane.
template <class V, class Element>
TARNM_INLINE V sumByColumns(std::int32_t rows, std::int32_t columns, const Element& element)
{
    V sums[4] = {V(0), V(0), V(0), V(0)};
    for (std::int32_t r = 0; r < rows; ++r)
        for (std::int32_t c = 0; c < columns; ++c)
            sums[c % 4] = sums[c % 4] + square(element(r, c));
    return (sums[0] + sums[1]) + (sums[2] + sums[3]);
}

// Sixteen columns: the squares of columns k and k + 8 in partial sum k, and the eight folded.
template <class V, class Element> TARNM_INLINE V sumOfBlock(std::int32_t r, std::int32_t begin, const Element& element)
{
    V s[8];
    for (int k = 0; k < 8; ++k)
        s[k] = square(element(r, begin + k)) + square(element(r, begin + k + 8));
    return ((s[0] + s[4]) + (s[2] + s[6])) + ((s[1] + s[5]) + (s[3] + s[7]));
}

template <bool hasBlocks, class V, class Element>
TARNM_INLINE V sumRunning(std::int32_t rows, std::int32_t columns, const Element& element)
{
    V sum = V(0);
    for (std::int32_t r = 0; r < rows; ++r) {
        std::int32_t c = 0;
        if constexpr (hasBlocks)
            for (; c + 16 <= columns; c += 16)
                sum = sum + sumOfBlock<V>(r, c, element);
        for (; c < columns; ++c)
            sum = sum + square(element(r, c));
    }
    return sum;
}

template <class V, class Element>
TARNM_INLINE V sumByPairs(std::int32_t rows, std::int32_t columns, const Element& element)
{
    const std::int32_t length = rows * columns;
    V even = V(0), odd = V(0);
    for (std::int32_t k = 0; k + 1 < length; k += 2) {
        even = even + square(element(k / columns, k % columns));
        odd = odd + square(element((k + 1) / columns, (k + 1) % columns));
    }
    const V sum = even + odd;
    return length % 2 == 0 ? sum : sum + square(element((length - 1) / columns, (length - 1) % columns));
}

inline constexpr int sumsByNumber = 8;

template <int order, class V, class Element> TARNM_INLINE V sumByNumber(const Element& element)
{
    V s[sumsByNumber];
    TARNM_UNROLL
    for (int k = 0; k < order * order; ++k) {
        V& sum = s[k % sumsByNumber];
        const V x = square(element(k / order, k % order));
        sum = k < sumsByNumber ? x : sum + x;
    }
    return ((s[0] + s[4]) + (s[1] + s[5])) + ((s[2] + s[6]) + (s[3] + s[7]));
}

template <int order, Path path> inline constexpr bool sumsGoByNumber = order == 6 && path == Path::dense;

template <Path path, bool hasBlocks, class V, class Element>
TARNM_INLINE V sumOfSquares(std::int32_t rows, std::int32_t columns, const Element& element)
{
    if constexpr (path == Path::pointer)
        return sumByPairs<V>(rows, columns, element);
    else if constexpr (sizeof(scalar_t<V>) == 4)
        return sumByColumns<V>(rows, columns, element);
    else
        return sumRunning<hasBlocks, V>(rows, columns, element);
}

// ---- Four packed square matrices at a time, with the additions of sumOfSquares ----
//
// A sum that starts with the first square is the one that starts with 0: squares have no sign.

template <int used, int from, class V> constexpr int rowPieceSource(int i)
{
    constexpr int W = blocks::pieceLength<V>;
    return i % W < used ? i + from : V::size() + i;
}

// Elements c .. c + 3 of row r of two matrices, zero behind the end of the row. The piece at the end of a matrix reaches
// back, so that it does not reach beyond.
template <int order, class V> TARNM_INLINE V rowPieces(const scalar_t<V>* a, const scalar_t<V>* b, int r, int c)
{
    constexpr int W = blocks::pieceLength<V>, rest = order % W;
    const bool isWhole = c + W <= order, isLast = !isWhole && r == order - 1;
    const int k = isLast ? order * order - W : r * order + c;
    const V piece = blocks::loadJoined<V>([&](int q) __attribute__((always_inline)) { return (q == 0 ? a : b) + k; });
    if (isWhole) return piece;
    if (isLast) return blocks::picked<rowPieceSource<rest, W - rest, V>>(piece, V(0));
    return blocks::picked<rowPieceSource<rest, 0, V>>(piece, V(0));
}

template <int order, class V> TARNM_INLINE V sumsByColumns(const scalar_t<V>* a, const scalar_t<V>* b)
{
    constexpr int W = blocks::pieceLength<V>;
    V sums = square(rowPieces<order, V>(a, b, 0, 0));
    TARNM_UNROLL
    for (int r = 0; r < order; ++r)
        TARNM_UNROLL
    for (int c = r == 0 ? W : 0; c < order; c += W)
        sums = sums + square(rowPieces<order, V>(a, b, r, c));
    return sums;
}

template <int order> TARNM_INLINE SumsTogether<float> sumsOfPacked(const float* base)
{
    using V = lanes<float, 8>;
    constexpr int size = order * order;
    return foldedPieces(sumsByColumns<order, V>(base, base + 2 * size),
                        sumsByColumns<order, V>(base + size, base + 3 * size));
}

template <int order> TARNM_INLINE SumsTogether<double> sumsOfPacked(const double* base)
{
    using V = SumsTogether<double>;
    constexpr int size = order * order, W = blocks::pieceLength<V>;
    const blocks::PackedBases<const double, size * sizeof(double)> bases{base};
    V v[W], sum;
    TARNM_UNROLL
    for (int k = 0; k < size; k += W) {
        const int overlap = k + W <= size ? 0 : k + W - size;
        blocks::loadPieces(bases, k - overlap, v);
        TARNM_UNROLL
        for (int j = overlap; j < W; ++j)
            sum = k + j == 0 ? square(v[j]) : sum + square(v[j]);
    }
    return sum;
}

// The sums by number of one matrix, those of double precision already with the upper four onto the lower ones.
template <int size, class T> TARNM_INLINE auto eightSums(const T* a)
{
    using V = lanes<T, 32 / sizeof(T)>;
    constexpr int L = V::size(), vectors = sumsByNumber / L, rest = size % L;
    V sums[vectors];
    TARNM_UNROLL
    for (int k = 0; k + L <= size; k += L) {
        V& sum = sums[k / L % vectors];
        sum = k < sumsByNumber ? square(load<V>(a + k)) : sum + square(load<V>(a + k));
    }
    if constexpr (rest != 0) {
        V& sum = sums[size / L % vectors];
        sum = sum + square(loadFirst<rest, V>(a + size - rest));
    }
    return vectors == 1 ? sums[0] : sums[0] + sums[vectors - 1];
}

template <int order, class T> TARNM_INLINE SumsTogether<T> sumsByNumberOfPacked(const T* base)
{
    constexpr int size = order * order;
    const auto s0 = eightSums<size>(base), s1 = eightSums<size>(base + size);
    const auto s2 = eightSums<size>(base + 2 * size), s3 = eightSums<size>(base + 3 * size);
    if constexpr (sizeof(T) == 4)
        return foldedPieces(halvesAdded(s0, s2), halvesAdded(s1, s3));
    else
        return halvesAdded(neighboursAdded(s0, s1), neighboursAdded(s2, s3));
}

// How many were done.
template <int order, Path path, class T>
std::int32_t normsTogether(ObjectArray<StridedMatrix<const T, Spacing::dense>> from, ScalarArray<T> to, Place place)
{
    if (from.first.rowStride != order * sizeof(T) || from.objectStride != order * order * sizeof(T)) return 0;
    std::int32_t done = 0;
    for (; done + objectsTogether <= place.count; done += objectsTogether) {
        const std::ptrdiff_t n = std::ptrdiff_t(place.first) + done;
        const T* const base = from.first.base + n * order * order;
        if constexpr (sumsGoByNumber<order, path>)
            store(to.base + n, sqrt(sumsByNumberOfPacked<order>(base)));
        else
            store(to.base + n, sqrt(sumsOfPacked<order>(base)));
    }
    return done;
}

template <int order, Path path, class S, class D> std::int32_t normsTogether(const S&, const D&, Place) { return 0; }

template <int order, Path path, class S, class D> void squareNorms(const S& from, const D& to, Place place)
{
    const std::int32_t done = normsTogether<order, path>(from, to, place);
    place = {place.first + done, place.count - done, place.total};
    if (place.count == 0) return;
    const auto kernel = [](const auto& a, auto& norm) __attribute__((always_inline))
    {
        using V = std::remove_cvref_t<decltype(norm)>;
        const auto element = [&](int r, int c) __attribute__((always_inline)) { return a[r][c]; };
        if constexpr (sumsGoByNumber<order, path>)
            norm = sqrt(sumByNumber<order, V>(element));
        else
            norm = sqrt(sumOfSquares<path, false, V>(order, order, element));
    };
    forEachBlock(place, kernel, source<order, order>(from), result(to));
}

} // namespace frobenius

template <Path path, class S, class D>
tarnmStatus frobeniusNorms(const S& from, const D& to, std::int32_t rows, std::int32_t columns, Place place)
{
    using namespace frobenius;
    using T = typename S::ObjectView::Element;
    if constexpr (path != Path::strided && !S::isSingle) {
        if (rows == columns) switch (rows) {
            case 3:
                squareNorms<3, path>(from, to, place);
                return StatusOk;
            case 4:
                squareNorms<4, path>(from, to, place);
                return StatusOk;
            case 5:
                squareNorms<5, path>(from, to, place);
                return StatusOk;
            case 6:
                squareNorms<6, path>(from, to, place);
                return StatusOk;
            }
    }
    for (std::ptrdiff_t n = place.first; n < std::ptrdiff_t(place.first) + place.count; ++n) {
        const auto object = from[n];
        const auto element = [&](std::ptrdiff_t r, std::ptrdiff_t c) { return object(r, c); };
        // A table of elements is one row, whatever the shape.
        if constexpr (path == Path::pointer)
            to.set(n, sqrt(sumOfSquares<path, true, T>(1, rows * columns, element)));
        else
            to.set(n, sqrt(sumOfSquares<path, true, T>(rows, columns, element)));
    }
    return StatusOk;
}

} // namespace tarnm
