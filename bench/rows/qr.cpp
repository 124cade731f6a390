// QR factors of packed matrices, and least squares solutions with them.
//
//   qr_factor    the factor alone
//   qr_solve     one right-hand side for each factor
//   qr_many      one factor, many right-hand sides
//
// All contenders leave the same storage: R, and the reflections with a leading 1 below it. Eigen and LAPACK also leave
// the scale of each reflection, which our solver computes anew.
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "rows/lapack.h"
#include "rows/rows.h"

#ifdef BENCH_HAS_EIGEN
#include <Eigen/QR>
#endif

namespace bench {
namespace {

template <class Element, int matrixWidth, int matrixHeight> struct Tall {
    using T = Element;
    static constexpr int width = matrixWidth, height = matrixHeight, size = width * height,
                         steps = width == height ? width - 1 : width, element = sizeof(T), row = width * element,
                         object = size * element;
    static std::string name()
    {
        const std::string shape =
            width == height ? std::to_string(width) : std::to_string(height) + "x" + std::to_string(width);
        return shape + "/" + typeName<T>();
    }
};

// Well conditioned: what is compared below are results, not conditions.
template <class S> const typename S::T* conditioned(const typename S::T* drawn, int count)
{
    auto* all = const_cast<typename S::T*>(drawn);
    for (int n = 0; n < count; ++n)
        for (int k = 0; k < S::width; ++k) {
            auto& diagonal = all[std::size_t(n) * S::size + std::size_t(k * S::width + k)];
            diagonal += diagonal > 0 ? S::height : -S::height;
        }
    return drawn;
}

// ---- a loop of fixed size

template <class S> void plainFactor(const typename S::T* source, typename S::T* a)
{
    using T = typename S::T;
    constexpr int w = S::width, h = S::height;
    for (int i = 0; i < S::size; ++i)
        a[i] = source[i];
    for (int k = 0; k < S::steps; ++k) {
        T v[h], squares = 0, q = 1;
        for (int i = k; i < h; ++i)
            squares += a[i * w + k] * a[i * w + k];
        const T norm = std::sqrt(squares), r = 1 / (a[k * w + k] > 0 ? a[k * w + k] + norm : a[k * w + k] - norm);
        for (int i = k + 1; i < h; ++i) {
            v[i] = r * a[i * w + k];
            q += v[i] * v[i];
        }
        const T beta = -2 / q;
        for (int j = k; j < w; ++j) {
            T s = a[k * w + j];
            for (int i = k + 1; i < h; ++i)
                s += a[i * w + j] * v[i];
            s *= beta;
            a[k * w + j] += s;
            for (int i = k + 1; i < h; ++i)
                a[i * w + j] += s * v[i];
        }
        for (int i = k + 1; i < h; ++i)
            a[i * w + k] = v[i];
    }
}

template <class S> void plainSolve(const typename S::T* a, const typename S::T* b, typename S::T* x)
{
    using T = typename S::T;
    constexpr int w = S::width, h = S::height;
    T c[h];
    for (int i = 0; i < h; ++i)
        c[i] = b[i];
    for (int k = 0; k < S::steps; ++k) {
        T q = 1, s = c[k];
        for (int i = k + 1; i < h; ++i) {
            q += a[i * w + k] * a[i * w + k];
            s += a[i * w + k] * c[i];
        }
        const T t = -2 / q * s;
        c[k] += t;
        for (int i = k + 1; i < h; ++i)
            c[i] += t * a[i * w + k];
    }
    for (int i = w - 1; i >= 0; --i) {
        T s = c[i];
        for (int j = i + 1; j < w; ++j)
            s -= a[i * w + j] * x[j];
        x[i] = s / a[i * w + i];
    }
}

// ---- peers

#ifdef BENCH_HAS_EIGEN
template <class S> using EigenMatrix = Eigen::Matrix<typename S::T, S::height, S::width>;
template <class S>
using EigenSource = Eigen::Map<
    const Eigen::Matrix<typename S::T, S::height, S::width, S::width == 1 ? Eigen::ColMajor : Eigen::RowMajor>>;
template <class S>
using EigenResult =
    Eigen::Map<Eigen::Matrix<typename S::T, S::height, S::width, S::width == 1 ? Eigen::ColMajor : Eigen::RowMajor>>;

template <class S> void eigenFactor(Row& row, const typename S::T* a, typename S::T* d)
{
    row.peer("Eigen", [=](int first, int last) {
        for (int n = first; n < last; ++n) {
            const Eigen::HouseholderQR<EigenMatrix<S>> qr(EigenMatrix<S>(EigenSource<S>(a + n * S::size)));
            EigenResult<S>(d + n * S::size) = qr.matrixQR();
        }
    });
}

// The factors of the peer are its own, made beforehand.
template <class S>
void eigenSolve(Row& row, const typename S::T* a, int objects, const typename S::T* b, typename S::T* x)
{
    using T = typename S::T;
    std::vector<Eigen::HouseholderQR<EigenMatrix<S>>> factors;
    for (int n = 0; n < objects; ++n)
        factors.emplace_back(EigenMatrix<S>(EigenSource<S>(a + n * S::size)));
    row.peer("Eigen", [=](int first, int last) {
        for (int n = first; n < last; ++n)
            Eigen::Map<Eigen::Matrix<T, S::width, 1>>(x + n * S::width) =
                factors[std::size_t(objects == 1 ? 0 : n)].solve(
                    Eigen::Map<const Eigen::Matrix<T, S::height, 1>>(b + n * S::height));
    });
}
#endif

#ifdef BENCH_HAS_LAPACKE
template <class S> void lapackFactor(Row& row, const typename S::T* a, typename S::T* d)
{
    using T = typename S::T;
    constexpr int w = S::width, h = S::height;
    row.peer("LAPACK", [=](int first, int last) {
        T columns[S::size], tau[w], work[w];
        for (int n = first; n < last; ++n) {
            for (int r = 0; r < h; ++r)
                for (int c = 0; c < w; ++c)
                    columns[c * h + r] = a[n * S::size + r * w + c];
            geqr2(h, w, columns, tau, work);
            for (int r = 0; r < h; ++r)
                for (int c = 0; c < w; ++c)
                    d[n * S::size + r * w + c] = columns[c * h + r];
        }
    });
}
#endif

// ---- rows

template <class S> void factor(Row& row)
{
    using T = typename S::T;
    const T* const a = conditioned<S>(row.source<T>(S::size), row.count);
    T* const d = row.result<T>(S::size);
    row.tolerance(1e-4);
    row.flops(2.0 * S::width * S::width * (S::height - S::width / 3.0));
    row.ours(MEMBER(T, tarnmQRDecomp_ma), [=](auto f, int count) {
        T buffer[S::height];
        return f(a, S::object, S::row, S::element, buffer, d, S::object, S::row, S::element, S::width, S::height,
                 count);
    });
    row.peer("plain", [=](int first, int last) {
        for (int n = first; n < last; ++n)
            plainFactor<S>(a + n * S::size, d + n * S::size);
    });
#ifdef BENCH_HAS_EIGEN
    eigenFactor<S>(row, a, d);
#endif
#ifdef BENCH_HAS_LAPACKE
    lapackFactor<S>(row, a, d);
#endif
}

template <class S, bool isShared> void solve(Row& row)
{
    using T = typename S::T;
    const int objects = isShared ? 1 : row.count;
    const T* const a = conditioned<S>(isShared ? row.one<T>(S::size) : row.source<T>(S::size), objects);
    const T* const b = row.source<T>(S::height);
    T* const x = row.result<T>(S::width);
    row.tolerance(1e-4);
    row.flops(4.0 * S::size + S::width * S::width + (isShared ? 0 : 2 * S::size));
#ifdef BENCH_HAS_EIGEN
    eigenSolve<S>(row, a, objects, b, x);
#endif
    for (int n = 0; n < objects; ++n) {
        T factors[S::size];
        plainFactor<S>(a + n * S::size, factors);
        std::copy_n(factors, S::size, const_cast<T*>(a) + n * S::size);
    }
    constexpr int ofB = S::height * S::element, ofX = S::width * S::element;
    if constexpr (isShared)
        row.ours(MEMBER(T, tarnmQRBackSubst_mva), [=](auto f, int count) {
            T buffer[S::height];
            return f(a, S::row, S::element, buffer, b, ofB, S::element, x, ofX, S::element, S::width, S::height, count);
        });
    else
        row.ours(MEMBER(T, tarnmQRBackSubst_mava), [=](auto f, int count) {
            T buffer[S::height];
            return f(a, S::object, S::row, S::element, buffer, b, ofB, S::element, x, ofX, S::element, S::width,
                     S::height, count);
        });
    row.peer("plain", [=](int first, int last) {
        for (int n = first; n < last; ++n)
            plainSolve<S>(a + (isShared ? 0 : n * S::size), b + n * S::height, x + n * S::width);
    });
}

template <class S> void rowsOf(Rows& rows)
{
    rows.add("qr_factor/" + S::name(), factor<S>);
    rows.add("qr_solve/" + S::name(), solve<S, false>);
}

template <class T> void rowsOfType(Rows& rows)
{
    rowsOf<Tall<T, 3, 3>>(rows);
    rowsOf<Tall<T, 4, 4>>(rows);
    rowsOf<Tall<T, 5, 5>>(rows);
    rowsOf<Tall<T, 6, 6>>(rows);
    rowsOf<Tall<T, 8, 8>>(rows);
    rowsOf<Tall<T, 3, 6>>(rows);
    rows.add("qr_many/" + Tall<T, 4, 4>::name(), solve<Tall<T, 4, 4>, true>);
    rows.add("qr_many/" + Tall<T, 6, 6>::name(), solve<Tall<T, 6, 6>, true>);
}

} // namespace

void qrRows(Rows& rows)
{
    rowsOfType<float>(rows);
    rowsOfType<double>(rows);
}

} // namespace bench
