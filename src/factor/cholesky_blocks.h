// Lower triangles in lanes: what blocks.h does for whole matrices, for matrices whose upper elements must not be touched.
//
//   loadTriangle, storeTriangle    lower triangles of the objects first .. first + live - 1 of an array
//   lowerSource                    operand of forEachBlock: triangles that are read
//
// In objects that lie without gaps between their elements a load may pass over upper elements, whose values go nowhere.
// Nothing else is read, and nothing but the triangle is ever written.
#pragma once

#include "frame/blocks.h"

namespace tarnm {

namespace cholesky {

// body(i, j), row by row.
template <int n, class Body> TARNM_INLINE void overTriangle(Body&& body)
{
    TARNM_UNROLL
    for (int i = 0; i < n; ++i) {
        TARNM_UNROLL
        for (int j = 0; j <= i; ++j)
            body(i, j);
    }
}

template <int n, class V, int row = 0, class Bases>
TARNM_INLINE void loadTriangleRows(const Bases& bases, std::ptrdiff_t rowStride, V* a)
{
    if constexpr (row < n) {
        blocks::loadRuns<row + 1>(bases.shifted(row * rowStride), a + row * n);
        loadTriangleRows<n, V, row + 1>(bases, rowStride, a);
    }
}

template <int n, class V, int row = 0, class Bases>
TARNM_INLINE void storeTriangleRows(const Bases& bases, std::ptrdiff_t rowStride, const V* a)
{
    if constexpr (row < n) {
        blocks::storeRuns<row + 1>(bases.shifted(row * rowStride), a + row * n);
        storeTriangleRows<n, V, row + 1>(bases, rowStride, a);
    }
}

template <int n, class V, class Array>
TARNM_INLINE void loadDenseTriangle(const Array& array, std::ptrdiff_t first, int live, V* a)
{
    constexpr int N = lane_count_v<V>;
    if constexpr (isObjectArray<Array>)
        if (live == N && isPacked(array, n, n))
            return blocks::loadPacked<n * n>(static_cast<const scalar_t<V>*>(array[first].base), a);
    const auto& object = blocks::pattern(array);
    loadTriangleRows<n>(blocks::basesOf<N>(array, first, live), blocks::rowStrideOf(object), a);
}

template <int n, class V, class Array>
TARNM_INLINE void gatherTriangle(const Array& array, std::ptrdiff_t first, int live, V* a)
{
    constexpr int N = lane_count_v<V>;
    if constexpr (isObjectArray<Array>)
        if (live == N && array.objectStride == std::ptrdiff_t(sizeof(scalar_t<V>))) {
            const auto object = array[first];
            return overTriangle<n>([&](int i, int j) __attribute__((always_inline)) {
                a[i * n + j] = load<V>(object.address(i, j));
            });
        }
    overTriangle<n>([&](int i, int j) __attribute__((always_inline)) {
        a[i * n + j] = blocks::gathered<V>([&](int l) __attribute__((always_inline)) {
            return array[first + (l < live ? l : live - 1)].address(i, j);
        });
    });
}

// Unused lanes repeat the last object.
template <int n, class V, class Array>
TARNM_INLINE void loadTriangle(const Array& array, std::ptrdiff_t first, [[maybe_unused]] int live, V* a)
{
    if constexpr (lane_count_v<V> == 1 || Array::isSingle) {
        const auto object = array[first];
        overTriangle<n>([&](int i, int j) __attribute__((always_inline)) { a[i * n + j] = V(object(i, j)); });
    } else if constexpr (requires { requires Array::ObjectView::isDense; })
        loadDenseTriangle<n>(array, first, live, a);
    else
        gatherTriangle<n>(array, first, live, a);
}

// In the order of objects. Out of line and through memory, as in blocks.h.
template <int n, class V, class Array>
[[gnu::noinline]] void storeTriangleLanes(const Array& array, std::ptrdiff_t first, int live, const V* a)
{
    using T = scalar_t<V>;
    const T* values = reinterpret_cast<const T*>(a);
    for (int l = 0; l < live; ++l) {
        const auto object = array[first + l];
        for (int i = 0; i < n; ++i)
            for (int j = 0; j <= i; ++j)
                object.set(i, j, loadElement(values + (i * n + j) * lane_count_v<V> + l));
    }
}

template <int n, class V, class Array>
TARNM_INLINE bool storedDenseTriangle(const Array& array, std::ptrdiff_t first, const V* a)
{
    using T = scalar_t<V>;
    constexpr std::ptrdiff_t rowBytes = n * sizeof(T);
    const std::ptrdiff_t rowStride = blocks::rowStrideOf(blocks::pattern(array));
    if constexpr (isObjectArray<Array>) {
        if (isPacked(array, n, n)) {
            storeTriangleRows<n>(blocks::PackedBases<T, n * rowBytes>{array[first].base}, rowBytes, a);
            return true;
        }
        const bool isDisjoint = array.objectStride >= (n - 1) * rowStride + rowBytes;
        if (!isDisjoint) return false;
    }
    storeTriangleRows<n>(blocks::basesOf<lane_count_v<V>>(array, first, lane_count_v<V>), rowStride, a);
    return true;
}

template <int n, class V, class Array>
TARNM_INLINE bool storedInterleavedTriangle(const Array& array, std::ptrdiff_t first, const V* a)
{
    constexpr int N = lane_count_v<V>;
    if constexpr (isObjectArray<Array>)
        if (array.objectStride == std::ptrdiff_t(sizeof(scalar_t<V>)) &&
            blocks::isClearInterleaved<blocks::Shape<n, n>, N>(array.first)) {
            const auto object = array[first];
            overTriangle<n>([&](int i, int j)
                                __attribute__((always_inline)) { store(object.address(i, j), a[i * n + j]); });
            return true;
        }
    return false;
}

template <int n, class V, class Array>
TARNM_INLINE void storeTriangle(const Array& array, std::ptrdiff_t first, int live, const V* a)
{
    if constexpr (lane_count_v<V> == 1) {
        const auto object = array[first];
        overTriangle<n>([&](int i, int j) __attribute__((always_inline)) { object.set(i, j, a[i * n + j]); });
        return;
    } else if constexpr (requires { requires Array::ObjectView::isDense; }) {
        if (live == lane_count_v<V> && storedDenseTriangle<n>(array, first, a)) return;
    } else {
        if (live == lane_count_v<V> && storedInterleavedTriangle<n>(array, first, a)) return;
    }
    V copy[n * n];
    overTriangle<n>([&](int i, int j) __attribute__((always_inline)) { copy[i * n + j] = a[i * n + j]; });
    storeTriangleLanes<n>(array, first, live, copy);
}

template <class Array, int n> struct LowerSource {
    Array array;
};

} // namespace cholesky

// The kernel sees V a[n * n], of which the triangle is set.
template <int n, class Array> cholesky::LowerSource<Array, n> lowerSource(const Array& array) { return {array}; }

namespace blocks {

template <class V, class Array, int n> struct Block<V, cholesky::LowerSource<Array, n>> {
    Array array;
    V elements[n * n];

    TARNM_INLINE explicit Block(const cholesky::LowerSource<Array, n>& operand)
        : array(operand.array)
    {
        if constexpr (Array::isSingle) cholesky::loadTriangle<n>(array, 0, lane_count_v<V>, elements);
    }
    TARNM_INLINE void read(std::ptrdiff_t first, int live)
    {
        if constexpr (!Array::isSingle) cholesky::loadTriangle<n>(array, first, live, elements);
    }
    TARNM_INLINE const V (&argument() const)[n * n] { return elements; }
    TARNM_INLINE void write(std::ptrdiff_t, int) const {}
};

template <class Array, int n> struct OperandTraits<cholesky::LowerSource<Array, n>> {
    using Element = typename Array::ObjectView::Element;
};

} // namespace blocks
} // namespace tarnm
