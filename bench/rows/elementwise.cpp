// Sums, differences and multiples of packed vectors and matrices.
//
//   add_vava, add_mama, sub_..    array with array
//   add_vav, add_mam, sub_..      array with one object
//   mul_vac, mul_mac              array with one constant
#include <concepts>
#include <string>

#include "rows/blas.h"
#include "rows/rows.h"

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

// `rows` is 1 for a vector.
template <class Element, int objectRows, int objectColumns> struct Shape {
    using T = Element;
    static constexpr int rows = objectRows, columns = objectColumns, size = rows * columns;
    static constexpr bool isVector = rows == 1;
    static constexpr int elementStride = sizeof(T), rowStride = columns * elementStride, stride = size * elementStride;
    static std::string name() { return std::to_string(columns) + "/" + typeName<T>(); }
};

// A pair of elements, vectors, matrices or expressions; the sign is that of the second.
struct Sum {
    static constexpr int sign = 1;
    auto operator()(const auto& a, const auto& b) const { return a + b; }
};
struct Difference {
    static constexpr int sign = -1;
    auto operator()(const auto& a, const auto& b) const { return a - b; }
};

#ifdef BENCH_HAS_GLM
template <class S> struct GlmType {
    using type = glm::mat<S::isVector ? 4 : S::rows, S::columns, typename S::T>;
};
template <class T, int n> struct GlmType<Shape<T, 1, n>> {
    using type = glm::vec<n, T>;
};
template <class S> constexpr bool isGlmShape = S::columns <= 4;
#endif

template <class Operation, class T>
void plainCombine(Operation operation, const T* __restrict a, const T* __restrict b, T* __restrict d, int from, int to)
{
    for (int i = from; i < to; ++i)
        d[i] = operation(a[i], b[i]);
}

template <class Operation, class T, int size>
void plainCombineWithOne(Operation operation, const T* __restrict a, const T* __restrict b, T* __restrict d, int from,
                         int to)
{
    for (int n = from; n < to; ++n)
        for (int k = 0; k < size; ++k)
            d[n * size + k] = operation(a[n * size + k], b[k]);
}

template <class T> void plainScale(const T* __restrict a, T s, T* __restrict d, int from, int to)
{
    for (int i = from; i < to; ++i)
        d[i] = a[i] * s;
}

template <class S, class Operation, class Members>
void arrayWithArray(Row& row, Operation operation, const Members& member)
{
    using T = typename S::T;
    constexpr int size = S::size;
    const T* const a = row.source<T>(size);
    const T* const b = row.source<T>(size);
    T* const d = row.result<T>(size);
    row.flops(size);
    row.ours(member, [=](auto f, int count) {
        constexpr int o = S::stride, r = S::rowStride, e = S::elementStride;
        if constexpr (S::isVector)
            return f(a, o, e, b, o, e, d, o, e, size, count);
        else
            return f(a, o, r, e, b, o, r, e, d, o, r, e, S::columns, S::rows, count);
    });
    row.peer("plain", [=](int first, int last) { plainCombine(operation, a, b, d, first * size, last * size); });
#ifdef BENCH_HAS_EIGEN
    row.peer("Eigen objects", [=](int first, int last) {
        using Object = Eigen::Matrix<T, S::columns, S::rows>;
        for (int i = first * size; i < last * size; i += size)
            Eigen::Map<Object>(d + i) = operation(Eigen::Map<const Object>(a + i), Eigen::Map<const Object>(b + i));
    });
    row.peer("Eigen array", [=](int first, int last) {
        using Array = Eigen::Array<T, Eigen::Dynamic, 1>;
        const int i = first * size, length = (last - first) * size;
        Eigen::Map<Array>(d + i, length) =
            operation(Eigen::Map<const Array>(a + i, length), Eigen::Map<const Array>(b + i, length));
    });
#endif
#ifdef BENCH_HAS_GLM
    if constexpr (isGlmShape<S>) {
        using Object = typename GlmType<S>::type;
        row.peer("GLM", [=](int first, int last) {
            for (int n = first; n < last; ++n)
                reinterpret_cast<Object*>(d)[n] =
                    operation(reinterpret_cast<const Object*>(a)[n], reinterpret_cast<const Object*>(b)[n]);
        });
    }
#endif
#ifdef BENCH_HAS_CGLM
    if constexpr (std::same_as<T, float> && S::isVector && S::columns <= 4) {
        row.peer("cglm", [=](int first, int last) {
            for (int i = first * size; i < last * size; i += size) {
                float *x = const_cast<float*>(a) + i, *y = const_cast<float*>(b) + i;
                if constexpr (S::columns == 3)
                    Operation::sign > 0 ? glm_vec3_add(x, y, d + i) : glm_vec3_sub(x, y, d + i);
                else
                    Operation::sign > 0 ? glm_vec4_add(x, y, d + i) : glm_vec4_sub(x, y, d + i);
            }
        });
    }
#endif
#ifdef BENCH_HAS_OPENBLAS
    row.peer("OpenBLAS", [=](int first, int last) {
        const int i = first * size, length = (last - first) * size;
        blasCopy(length, a + i, d + i);
        blasAddMultiple(length, T(Operation::sign), b + i, d + i);
    });
#endif
}

template <class S, class Operation, class Members>
void arrayWithOne(Row& row, Operation operation, const Members& member)
{
    using T = typename S::T;
    constexpr int size = S::size;
    const T* const a = row.source<T>(size);
    const T* const b = row.one<T>(size);
    T* const d = row.result<T>(size);
    row.flops(size);
    row.ours(member, [=](auto f, int count) {
        constexpr int o = S::stride, r = S::rowStride, e = S::elementStride;
        if constexpr (S::isVector)
            return f(a, o, e, b, e, d, o, e, size, count);
        else
            return f(a, o, r, e, b, r, e, d, o, r, e, S::columns, S::rows, count);
    });
    row.peer("plain",
             [=](int first, int last) { plainCombineWithOne<Operation, T, size>(operation, a, b, d, first, last); });
#ifdef BENCH_HAS_EIGEN
    row.peer("Eigen objects", [=](int first, int last) {
        using Object = Eigen::Matrix<T, S::columns, S::rows>;
        const Object one = Eigen::Map<const Object>(b);
        for (int i = first * size; i < last * size; i += size)
            Eigen::Map<Object>(d + i) = operation(Eigen::Map<const Object>(a + i), one);
    });
    row.peer("Eigen array", [=](int first, int last) {
        using Array = Eigen::Array<T, size, Eigen::Dynamic>;
        const Eigen::Array<T, size, 1> one = Eigen::Map<const Eigen::Array<T, size, 1>>(b);
        Eigen::Map<Array>(d + first * size, size, last - first) =
            operation(Eigen::Map<const Array>(a + first * size, size, last - first).colwise(), one);
    });
#endif
#ifdef BENCH_HAS_GLM
    if constexpr (isGlmShape<S>) {
        using Object = typename GlmType<S>::type;
        row.peer("GLM", [=](int first, int last) {
            const Object one = *reinterpret_cast<const Object*>(b);
            for (int n = first; n < last; ++n)
                reinterpret_cast<Object*>(d)[n] = operation(reinterpret_cast<const Object*>(a)[n], one);
        });
    }
#endif
#ifdef BENCH_HAS_CGLM
    if constexpr (std::same_as<T, float> && S::isVector && S::columns <= 4) {
        row.peer("cglm", [=](int first, int last) {
            float* const y = const_cast<float*>(b);
            for (int i = first * size; i < last * size; i += size) {
                float* const x = const_cast<float*>(a) + i;
                if constexpr (S::columns == 3)
                    Operation::sign > 0 ? glm_vec3_add(x, y, d + i) : glm_vec3_sub(x, y, d + i);
                else
                    Operation::sign > 0 ? glm_vec4_add(x, y, d + i) : glm_vec4_sub(x, y, d + i);
            }
        });
    }
#endif
}

template <class S, class Members> void arrayWithConstant(Row& row, const Members& member)
{
    using T = typename S::T;
    constexpr int size = S::size;
    const T* const a = row.source<T>(size);
    const T s = T(1.25);
    T* const d = row.result<T>(size);
    row.flops(size);
    row.ours(member, [=](auto f, int count) {
        constexpr int o = S::stride, r = S::rowStride, e = S::elementStride;
        if constexpr (S::isVector)
            return f(a, o, e, s, d, o, e, size, count);
        else
            return f(a, o, r, e, s, d, o, r, e, S::columns, S::rows, count);
    });
    row.peer("plain", [=](int first, int last) { plainScale(a, s, d, first * size, last * size); });
#ifdef BENCH_HAS_EIGEN
    row.peer("Eigen objects", [=](int first, int last) {
        using Object = Eigen::Matrix<T, S::columns, S::rows>;
        for (int i = first * size; i < last * size; i += size)
            Eigen::Map<Object>(d + i) = Eigen::Map<const Object>(a + i) * s;
    });
    row.peer("Eigen array", [=](int first, int last) {
        using Array = Eigen::Array<T, Eigen::Dynamic, 1>;
        const int i = first * size, length = (last - first) * size;
        Eigen::Map<Array>(d + i, length) = Eigen::Map<const Array>(a + i, length) * s;
    });
#endif
#ifdef BENCH_HAS_GLM
    if constexpr (isGlmShape<S>) {
        using Object = typename GlmType<S>::type;
        row.peer("GLM", [=](int first, int last) {
            for (int n = first; n < last; ++n)
                reinterpret_cast<Object*>(d)[n] = reinterpret_cast<const Object*>(a)[n] * s;
        });
    }
#endif
#ifdef BENCH_HAS_CGLM
    if constexpr (std::same_as<T, float> && S::isVector && S::columns <= 4) {
        row.peer("cglm", [=](int first, int last) {
            for (int i = first * size; i < last * size; i += size) {
                float* const x = const_cast<float*>(a) + i;
                if constexpr (S::columns == 3)
                    glm_vec3_scale(x, s, d + i);
                else
                    glm_vec4_scale(x, s, d + i);
            }
        });
    }
#endif
#ifdef BENCH_HAS_OPENBLAS
    row.peer("OpenBLAS", [=](int first, int last) {
        const int i = first * size, length = (last - first) * size;
        blasCopy(length, a + i, d + i);
        blasScale(length, s, d + i);
    });
#endif
}

template <class T, int n> void addVectorRows(Rows& rows)
{
    using S = Shape<T, 1, n>;
    rows.add("add_vava/" + S::name(), [](Row& row) { arrayWithArray<S>(row, Sum{}, MEMBER(T, tarnmAdd_vava)); });
    rows.add("add_vav/" + S::name(), [](Row& row) { arrayWithOne<S>(row, Sum{}, MEMBER(T, tarnmAdd_vav)); });
    rows.add("sub_vava/" + S::name(), [](Row& row) { arrayWithArray<S>(row, Difference{}, MEMBER(T, tarnmSub_vava)); });
    rows.add("sub_vav/" + S::name(), [](Row& row) { arrayWithOne<S>(row, Difference{}, MEMBER(T, tarnmSub_vav)); });
    rows.add("mul_vac/" + S::name(), [](Row& row) { arrayWithConstant<S>(row, MEMBER(T, tarnmMul_vac)); });
}

template <class T, int n> void addMatrixRows(Rows& rows)
{
    using S = Shape<T, n, n>;
    rows.add("add_mama/" + S::name(), [](Row& row) { arrayWithArray<S>(row, Sum{}, MEMBER(T, tarnmAdd_mama)); });
    rows.add("add_mam/" + S::name(), [](Row& row) { arrayWithOne<S>(row, Sum{}, MEMBER(T, tarnmAdd_mam)); });
    rows.add("sub_mama/" + S::name(), [](Row& row) { arrayWithArray<S>(row, Difference{}, MEMBER(T, tarnmSub_mama)); });
    rows.add("sub_mam/" + S::name(), [](Row& row) { arrayWithOne<S>(row, Difference{}, MEMBER(T, tarnmSub_mam)); });
    rows.add("mul_mac/" + S::name(), [](Row& row) { arrayWithConstant<S>(row, MEMBER(T, tarnmMul_mac)); });
}

template <class T, int... sizes> void addRows(Rows& rows)
{
    (addVectorRows<T, sizes>(rows), ...);
    (addMatrixRows<T, sizes>(rows), ...);
}

} // namespace

void elementwiseRows(Rows& rows)
{
#ifdef BENCH_HAS_OPENBLAS
    openblas_set_num_threads(1); // the harness shares out the objects
#endif
    addRows<float, 3, 4, 6>(rows);
    addRows<double, 3, 4, 6>(rows);
}

} // namespace bench
