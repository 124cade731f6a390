// Reductions and combinations of packed vectors.
//
//   dot_vava, l2norm_va      a scalar for each object
//   cross_vava               length 3
//   saxpy_vava, lcomb_vava   weighted sums
#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

#include "rows/blas.h"
#include "rows/rows.h"

#ifdef BENCH_HAS_EIGEN
#include <Eigen/Core>
#include <Eigen/Geometry>
#endif
#ifdef BENCH_HAS_GLM
#include <glm/glm.hpp>
#endif
#ifdef BENCH_HAS_CGLM
#include <cglm/cglm.h>
#endif

namespace bench {
namespace {

template <class Element, int vectorLength> struct Vector {
    using T = Element;
    static constexpr int length = vectorLength, element = sizeof(T), object = length * element;
    static std::string name() { return std::to_string(length) + "/" + typeName<T>(); }
};

// All of one sign: a sum that cancels would differ by more than a few roundings between orders of addition.
template <class S> const typename S::T* positive(Row& row)
{
    auto* const a = const_cast<typename S::T*>(row.source<typename S::T>(S::length));
    std::transform(a, a + std::size_t(S::length) * row.count, a, [](auto x) { return std::abs(x); });
    return a;
}

// Results that are differences, and may cancel in all elements of an object.
template <class T> void tolerateCancellation(Row& row) { row.tolerance(4096 * std::numeric_limits<T>::epsilon()); }

#ifdef BENCH_HAS_EIGEN
template <class S> auto vectorAt(const typename S::T* p)
{
    return Eigen::Map<const Eigen::Matrix<typename S::T, S::length, 1>>(p);
}
template <class S> auto vectorAt(typename S::T* p) { return Eigen::Map<Eigen::Matrix<typename S::T, S::length, 1>>(p); }
// Vectors first to last as columns.
template <class S, class T> auto vectorsAt(T* p, int first, int last)
{
    using Columns = Eigen::Array<typename S::T, S::length, Eigen::Dynamic>;
    using Place = std::conditional_t<std::is_const_v<T>, const Columns, Columns>;
    return Eigen::Map<Place>(p + std::ptrdiff_t(first) * S::length, S::length, last - first);
}
template <class T> auto scalarsAt(T* p, int first, int last)
{
    return Eigen::Map<Eigen::Array<T, 1, Eigen::Dynamic>>(p + first, last - first);
}
#endif

#ifdef BENCH_HAS_GLM
template <class S> using GlmVector = glm::vec<S::length, typename S::T>;
template <class S> const GlmVector<S>& glmAt(const typename S::T* p)
{
    return *reinterpret_cast<const GlmVector<S>*>(p);
}
template <class S> GlmVector<S>& glmAt(typename S::T* p) { return *reinterpret_cast<GlmVector<S>*>(p); }
#endif

#ifdef BENCH_HAS_CGLM
float* elements(const float* vector) { return const_cast<float*>(vector); }
#endif

template <class Combine, class T>
void plainCombine(Combine combine, const T* __restrict a, const T* __restrict b, T* __restrict d, int from, int to)
{
    for (int i = from; i < to; ++i)
        d[i] = combine(a[i], b[i]);
}

template <class S> void dotProducts(Row& row)
{
    using T = typename S::T;
    constexpr int n = S::length;
    const T* const a = positive<S>(row);
    const T* const b = positive<S>(row);
    T* const d = row.result<T>(1);
    row.flops(2 * n - 1);
    row.ours(MEMBER(T, tarnmDotProduct_vava),
             [=](auto f, int count) { return f(a, S::object, S::element, b, S::object, S::element, d, n, count); });
    row.peer("plain", [=](int first, int last) {
        for (int o = first; o < last; ++o) {
            T sum = 0;
            for (int k = 0; k < n; ++k)
                sum += a[o * n + k] * b[o * n + k];
            d[o] = sum;
        }
    });
#ifdef BENCH_HAS_EIGEN
    row.peer("Eigen objects", [=](int first, int last) {
        for (int o = first; o < last; ++o)
            d[o] = vectorAt<S>(a + o * n).dot(vectorAt<S>(b + o * n));
    });
    row.peer("Eigen array", [=](int first, int last) {
        scalarsAt(d, first, last) = (vectorsAt<S>(a, first, last) * vectorsAt<S>(b, first, last)).colwise().sum();
    });
#endif
#ifdef BENCH_HAS_GLM
    if constexpr (n <= 4)
        row.peer("GLM", [=](int first, int last) {
            for (int o = first; o < last; ++o)
                d[o] = glm::dot(glmAt<S>(a + o * n), glmAt<S>(b + o * n));
        });
#endif
#ifdef BENCH_HAS_CGLM
    if constexpr (std::is_same_v<T, float> && n <= 4)
        row.peer("cglm", [=](int first, int last) {
            for (int o = first; o < last; ++o) {
                float *const x = elements(a) + o * n, *const y = elements(b) + o * n;
                d[o] = n == 3 ? glm_vec3_dot(x, y) : glm_vec4_dot(x, y);
            }
        });
#endif
#ifdef BENCH_HAS_OPENBLAS
    row.peer("OpenBLAS", [=](int first, int last) {
        for (int o = first; o < last; ++o)
            d[o] = blasDot(n, a + o * n, b + o * n);
    });
#endif
}

template <class S> void norms(Row& row)
{
    using T = typename S::T;
    constexpr int n = S::length;
    const T* const a = row.source<T>(n);
    T* const d = row.result<T>(1);
    row.flops(2 * n);
    row.ours(MEMBER(T, tarnmL2Norm_va), [=](auto f, int count) { return f(a, S::object, S::element, d, n, count); });
    row.peer("plain", [=](int first, int last) {
        for (int o = first; o < last; ++o) {
            T sum = 0;
            for (int k = 0; k < n; ++k)
                sum += a[o * n + k] * a[o * n + k];
            d[o] = std::sqrt(sum);
        }
    });
#ifdef BENCH_HAS_EIGEN
    row.peer("Eigen objects", [=](int first, int last) {
        for (int o = first; o < last; ++o)
            d[o] = vectorAt<S>(a + o * n).norm();
    });
    row.peer("Eigen array", [=](int first, int last) {
        scalarsAt(d, first, last) = vectorsAt<S>(a, first, last).square().colwise().sum().sqrt();
    });
#endif
#ifdef BENCH_HAS_GLM
    if constexpr (n <= 4)
        row.peer("GLM", [=](int first, int last) {
            for (int o = first; o < last; ++o)
                d[o] = glm::length(glmAt<S>(a + o * n));
        });
#endif
#ifdef BENCH_HAS_CGLM
    if constexpr (std::is_same_v<T, float> && n <= 4)
        row.peer("cglm", [=](int first, int last) {
            for (int o = first; o < last; ++o) {
                float* const x = elements(a) + o * n;
                d[o] = n == 3 ? glm_vec3_norm(x) : glm_vec4_norm(x);
            }
        });
#endif
#ifdef BENCH_HAS_OPENBLAS
    row.peer("OpenBLAS", [=](int first, int last) {
        for (int o = first; o < last; ++o)
            d[o] = blasNorm(n, a + o * n);
    });
#endif
}

template <class T> void crossProducts(Row& row)
{
    using S = Vector<T, 3>;
    const T* const a = row.source<T>(3);
    const T* const b = row.source<T>(3);
    T* const d = row.result<T>(3);
    row.flops(9);
    tolerateCancellation<T>(row);
    row.ours(MEMBER(T, tarnmCrossProduct_vava), [=](auto f, int count) {
        return f(a, S::object, S::element, b, S::object, S::element, d, S::object, S::element, count);
    });
    row.peer("plain", [=](int first, int last) {
        for (int i = 3 * first; i < 3 * last; i += 3) {
            const T x0 = a[i], x1 = a[i + 1], x2 = a[i + 2], y0 = b[i], y1 = b[i + 1], y2 = b[i + 2];
            d[i] = x1 * y2 - x2 * y1;
            d[i + 1] = x2 * y0 - x0 * y2;
            d[i + 2] = x0 * y1 - x1 * y0;
        }
    });
#ifdef BENCH_HAS_EIGEN
    row.peer("Eigen objects", [=](int first, int last) {
        for (int i = 3 * first; i < 3 * last; i += 3)
            vectorAt<S>(d + i) = vectorAt<S>(a + i).cross(vectorAt<S>(b + i));
    });
#endif
#ifdef BENCH_HAS_GLM
    row.peer("GLM", [=](int first, int last) {
        for (int i = 3 * first; i < 3 * last; i += 3)
            glmAt<S>(d + i) = glm::cross(glmAt<S>(a + i), glmAt<S>(b + i));
    });
#endif
#ifdef BENCH_HAS_CGLM
    if constexpr (std::is_same_v<T, float>)
        row.peer("cglm", [=](int first, int last) {
            for (int i = 3 * first; i < 3 * last; i += 3)
                glm_vec3_cross(elements(a) + i, elements(b) + i, d + i);
        });
#endif
}

// `hasSecondFactor`: the linear combination, else saxpy.
template <class S, bool hasSecondFactor, class Members> void combinations(Row& row, const Members& member)
{
    using T = typename S::T;
    constexpr int n = S::length;
    const T* const a = row.source<T>(n);
    const T* const b = row.source<T>(n);
    T* const d = row.result<T>(n);
    const T s = T(1.25), t = T(-0.375);
    row.flops((hasSecondFactor ? 3 : 2) * n);
    tolerateCancellation<T>(row);
    row.ours(member, [=](auto f, int count) {
        constexpr int o = S::object, e = S::element;
        if constexpr (hasSecondFactor)
            return f(a, o, e, s, b, o, e, t, d, o, e, n, count);
        else
            return f(a, o, e, s, b, o, e, d, o, e, n, count);
    });
    const auto combine = [=](const auto& x, const auto& y) {
        if constexpr (hasSecondFactor)
            return s * x + t * y;
        else
            return s * x + y;
    };
    row.peer("plain", [=](int first, int last) { plainCombine(combine, a, b, d, first * n, last * n); });
#ifdef BENCH_HAS_EIGEN
    row.peer("Eigen objects", [=](int first, int last) {
        for (int i = first * n; i < last * n; i += n)
            vectorAt<S>(d + i) = combine(vectorAt<S>(a + i), vectorAt<S>(b + i));
    });
    row.peer("Eigen array", [=](int first, int last) {
        using Array = Eigen::Array<T, Eigen::Dynamic, 1>;
        const int i = first * n, length = (last - first) * n;
        Eigen::Map<Array>(d + i, length) =
            combine(Eigen::Map<const Array>(a + i, length), Eigen::Map<const Array>(b + i, length));
    });
#endif
#ifdef BENCH_HAS_GLM
    if constexpr (n <= 4)
        row.peer("GLM", [=](int first, int last) {
            for (int i = first * n; i < last * n; i += n)
                glmAt<S>(d + i) = combine(glmAt<S>(a + i), glmAt<S>(b + i));
        });
#endif
#ifdef BENCH_HAS_OPENBLAS
    if constexpr (!hasSecondFactor)
        row.peer("OpenBLAS", [=](int first, int last) {
            const int i = first * n, length = (last - first) * n;
            blasCopy(length, b + i, d + i);
            blasAddMultiple(length, s, a + i, d + i);
        });
#endif
}

template <class T, int n> void reductionRows(Rows& rows)
{
    using S = Vector<T, n>;
    rows.add("dot_vava/" + S::name(), {1000, 100000}, dotProducts<S>);
    rows.add("l2norm_va/" + S::name(), {1000, 100000}, norms<S>);
}

template <class T, int n> void combinationRows(Rows& rows)
{
    using S = Vector<T, n>;
    rows.add("saxpy_vava/" + S::name(), {1000, 100000},
             [](Row& row) { combinations<S, false>(row, MEMBER(T, tarnmSaxpy_vava)); });
    rows.add("lcomb_vava/" + S::name(), {1000, 100000},
             [](Row& row) { combinations<S, true>(row, MEMBER(T, tarnmLComb_vava)); });
}

template <class T> void rowsOfType(Rows& rows)
{
    reductionRows<T, 3>(rows);
    reductionRows<T, 4>(rows);
    reductionRows<T, 6>(rows);
    reductionRows<T, 16>(rows);
    rows.add("cross_vava/" + Vector<T, 3>::name(), {1000, 100000}, crossProducts<T>);
    combinationRows<T, 3>(rows);
    combinationRows<T, 4>(rows);
    combinationRows<T, 6>(rows);
}

} // namespace

void vectorRows(Rows& rows)
{
#ifdef BENCH_HAS_OPENBLAS
    openblas_set_num_threads(1); // the harness shares out the objects
#endif
    rowsOfType<float>(rows);
    rowsOfType<double>(rows);
}

} // namespace bench
