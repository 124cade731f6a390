// Movement of packed objects.
//
//   transpose_ma             square matrices of orders 3, 4, 6 and 16
//   copy_ma_SP, copy_ma_PS   packed matrices to one array for each element, and back
//   copy_va_SS               packed vectors to packed vectors, the plain copy
//   extract_va, extract_ta   the first three of four elements, matrices read transposed
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "rows/rows.h"
#include "rows/square.h"

#ifdef BENCH_HAS_EIGEN
#include <Eigen/Core>
#endif
#ifdef BENCH_HAS_GLM
#include <glm/glm.hpp>
#endif
#ifdef BENCH_HAS_CGLM
#include <cglm/cglm.h>
#endif

namespace bench {
namespace {

template <class T, int n> void plainTranspose(const T* __restrict a, T* __restrict d)
{
    for (int r = 0; r < n; ++r)
        for (int c = 0; c < n; ++c)
            d[c * n + r] = a[r * n + c];
}

// The transposing contenders other than ours.
template <class S> void transposingPeers(Row& row, const typename S::T* a, typename S::T* d)
{
    using T = typename S::T;
    constexpr int n = S::order, size = S::size;
    row.peer("plain", [=](int first, int last) {
        for (int i = first * size; i < last * size; i += size)
            plainTranspose<T, n>(a + i, d + i);
    });
#ifdef BENCH_HAS_EIGEN
    row.peer("Eigen objects", [=](int first, int last) {
        using Object = Eigen::Matrix<T, n, n>;
        for (int i = first * size; i < last * size; i += size)
            Eigen::Map<Object>(d + i) = Eigen::Map<const Object>(a + i).transpose();
    });
#endif
#ifdef BENCH_HAS_GLM
    if constexpr (n <= 4)
        row.peer("GLM", [=](int first, int last) {
            using Object = glm::mat<n, n, T>;
            for (int i = first * size; i < last * size; i += size)
                *reinterpret_cast<Object*>(d + i) = glm::transpose(*reinterpret_cast<const Object*>(a + i));
        });
#endif
#ifdef BENCH_HAS_CGLM
    if constexpr (std::is_same_v<T, float> && n == 3)
        row.peer("cglm", [=](int first, int last) {
            for (int i = first * size; i < last * size; i += size)
                glm_mat3_transpose_to(reinterpret_cast<vec3*>(const_cast<float*>(a + i)),
                                      reinterpret_cast<vec3*>(d + i));
        });
    // Its 4x4 form wants 16 or 32 bytes of alignment, as its own objects have it.
    if constexpr (std::is_same_v<T, float> && n == 4)
        row.peer("cglm", [=](int first, int last) {
            for (int i = first * size; i < last * size; i += size) {
                CGLM_ALIGN_MAT mat4 matrix, transposed;
                std::memcpy(matrix, a + i, sizeof matrix);
                glm_mat4_transpose_to(matrix, transposed);
                std::memcpy(d + i, transposed, sizeof transposed);
            }
        });
#endif
}

template <class S> void transposes(Row& row)
{
    using T = typename S::T;
    const T* const a = row.source<T>(S::size);
    T* const d = row.result<T>(S::size);
    row.ours(MEMBER(T, tarnmTranspose_ma), [=](auto f, int count) {
        return f(a, S::object, S::row, S::element, S::order, S::order, d, S::object, S::row, S::element, count);
    });
    transposingPeers<S>(row, a, d);
}

template <class S> void transposedExtracts(Row& row)
{
    using T = typename S::T;
    const T* const a = row.source<T>(S::size);
    T* const d = row.result<T>(S::size);
    row.ours(MEMBER(T, tarnmExtract_ta),
             [=](auto f, int count) { return f(a, S::object, S::row, S::element, d, S::order, S::order, count); });
    transposingPeers<S>(row, a, d);
}

// ---- one array for each element

// A table with the first object of each element's array.
template <class T> std::vector<T*> planes(T* base, int size, int count)
{
    std::vector<T*> table;
    for (int k = 0; k < size; ++k)
        table.push_back(base + std::size_t(k) * count);
    return table;
}

template <class S> void packedToPlanes(Row& row)
{
    using T = typename S::T;
    constexpr int size = S::size;
    const T* const a = row.source<T>(size);
    T* const d = row.result<T>(size);
    const int total = row.count;
    row.ours(LAYOUT_MEMBER(T, tarnmCopy_ma, SP), [=, table = planes(d, size, total)](auto f, int count) {
        return f(a, S::object, S::row, S::element, table.data(), 0, S::element, S::order, S::order, count);
    });
    row.peer("plain by objects", [=](int first, int last) {
        for (int o = first; o < last; ++o)
            for (int k = 0; k < size; ++k)
                d[std::size_t(k) * total + o] = a[o * size + k];
    });
    row.peer("plain by elements", [=](int first, int last) {
        for (int k = 0; k < size; ++k)
            for (int o = first; o < last; ++o)
                d[std::size_t(k) * total + o] = a[o * size + k];
    });
#ifdef BENCH_HAS_EIGEN
    row.peer("Eigen array", [=](int first, int last) {
        using Objects = Eigen::Matrix<T, size, Eigen::Dynamic>;
        using Planes = Eigen::Matrix<T, Eigen::Dynamic, size>;
        Eigen::Map<Planes>(d, total, size).middleRows(first, last - first) =
            Eigen::Map<const Objects>(a, size, total).middleCols(first, last - first).transpose();
    });
#endif
}

template <class S> void planesToPacked(Row& row)
{
    using T = typename S::T;
    constexpr int size = S::size;
    const T* const a = row.source<T>(size);
    T* const d = row.result<T>(size);
    const int total = row.count;
    row.ours(LAYOUT_MEMBER(T, tarnmCopy_ma, PS), [=, table = planes(a, size, total)](auto f, int count) {
        return f(table.data(), 0, S::element, d, S::object, S::row, S::element, S::order, S::order, count);
    });
    row.peer("plain by objects", [=](int first, int last) {
        for (int o = first; o < last; ++o)
            for (int k = 0; k < size; ++k)
                d[o * size + k] = a[std::size_t(k) * total + o];
    });
    row.peer("plain by elements", [=](int first, int last) {
        for (int k = 0; k < size; ++k)
            for (int o = first; o < last; ++o)
                d[o * size + k] = a[std::size_t(k) * total + o];
    });
#ifdef BENCH_HAS_EIGEN
    row.peer("Eigen array", [=](int first, int last) {
        using Objects = Eigen::Matrix<T, size, Eigen::Dynamic>;
        using Planes = Eigen::Matrix<T, Eigen::Dynamic, size>;
        Eigen::Map<Objects>(d, size, total).middleCols(first, last - first) =
            Eigen::Map<const Planes>(a, total, size).middleRows(first, last - first).transpose();
    });
#endif
}

// ---- vectors

template <class T> void vectorCopies(Row& row)
{
    constexpr int n = 3, e = sizeof(T), o = n * e;
    const T* const a = row.source<T>(n);
    T* const d = row.result<T>(n);
    row.ours(LAYOUT_MEMBER(T, tarnmCopy_va, SS), [=](auto f, int count) { return f(a, o, e, d, o, e, n, count); });
    row.peer("memcpy", [=](int first, int last) { std::memcpy(d + n * first, a + n * first, o * (last - first)); });
}

template <class T> void vectorExtracts(Row& row)
{
    constexpr int n = 3, stored = 4, e = sizeof(T);
    const T* const a = row.source<T>(stored);
    T* const d = row.result<T>(n);
    row.ours(MEMBER(T, tarnmExtract_va), [=](auto f, int count) { return f(a, stored * e, e, d, n, count); });
    row.peer("plain", [=](int first, int last) {
        for (int i = first; i < last; ++i)
            for (int k = 0; k < n; ++k)
                d[n * i + k] = a[stored * i + k];
    });
#ifdef BENCH_HAS_EIGEN
    row.peer("Eigen array", [=](int first, int last) {
        using Sources = Eigen::Matrix<T, stored, Eigen::Dynamic>;
        using Results = Eigen::Matrix<T, n, Eigen::Dynamic>;
        Eigen::Map<Results>(d + n * first, n, last - first) =
            Eigen::Map<const Sources>(a + stored * first, stored, last - first).template topRows<n>();
    });
#endif
#ifdef BENCH_HAS_GLM
    row.peer("GLM", [=](int first, int last) {
        for (int i = first; i < last; ++i)
            reinterpret_cast<glm::vec<n, T>*>(d)[i] =
                glm::vec<n, T>(reinterpret_cast<const glm::vec<stored, T>*>(a)[i]);
    });
#endif
}

template <class T, int n> void transposeRows(Rows& rows)
{
    rows.add("transpose_ma/" + Square<T, n>::name(), {1000, 100000}, transposes<Square<T, n>>);
}

template <class T, int n> void matrixRows(Rows& rows)
{
    using S = Square<T, n>;
    rows.add("copy_ma_SP/" + S::name(), {1000, 100000}, packedToPlanes<S>);
    rows.add("copy_ma_PS/" + S::name(), {1000, 100000}, planesToPacked<S>);
    rows.add("extract_ta/" + S::name(), {1000, 100000}, transposedExtracts<S>);
}

template <class T> void rowsOfType(Rows& rows)
{
    transposeRows<T, 3>(rows);
    transposeRows<T, 4>(rows);
    transposeRows<T, 6>(rows);
    transposeRows<T, 16>(rows);
    matrixRows<T, 3>(rows);
    matrixRows<T, 4>(rows);
    rows.add(std::string("copy_va_SS/3/") + typeName<T>(), {1000, 100000}, vectorCopies<T>);
    rows.add(std::string("extract_va/3/") + typeName<T>(), {1000, 100000}, vectorExtracts<T>);
}

} // namespace

void movementRows(Rows& rows)
{
    rowsOfType<float>(rows);
    rowsOfType<double>(rows);
}

} // namespace bench
