// Eigenvectors of a quasi-triangular matrix, and from them those of the matrix before the reduction.
//
//   SchurForm          the matrix t, with the column norms of its upper part
//   rightVectors       t v = lambda v, by substitution upwards
//   leftVectors        u^T t = lambda u^T, by substitution downwards
//
// Both multiply the vectors by the matrix z of Schur vectors, in place: column k of z is needed for eigenvalue k and
// for those that come before it in the order of the pass. A complex pair at (k, k+1) has the real part of its vector
// in column k and the imaginary part in column k+1.
//
// The substitution is one text for real and complex eigenvalues: components are numbers of type T or Complex<T>.
#pragma once

#include "eigen/general_lanes.h"
#include "eigen/general_small_solvers.h"

namespace tarnm::general {

enum class PassEnd {
    complete,
    noRealPivot,    // a real 2x2 system had no pivot
    noComplexPivot, // a complex one
};

// Arrays of n values, with subscripts from 1.
template <class T> struct VectorWork {
    T* norms;
    T* re;
    T* im;
};

template <class T> class SchurForm {
public:
    // Fills `columnNorms`: sums of magnitudes above the diagonal.
    SchurForm(ColumnMatrix<T> schur, T* columnNorms)
        : t(schur)
        , norms(columnNorms)
    {
        for (int j = 1; j <= t.order; ++j) {
            T sum = T(0);
            for (int i = 1; i < j; ++i)
                sum += abs(t(i, j));
            norms[j] = sum;
        }
    }

    int order() const { return t.order; }
    T operator()(int i, int j) const { return t(i, j); }
    const T* column(int j) const { return t.column(j); }
    T norm(int j) const { return norms[j]; }
    T normOfTwo(int j) const { return max(norms[j], norms[j + 1]); }

    // Whether rows j and j+1 form a 2x2 block.
    bool pairsAt(int j) const { return j >= 1 && j < t.order && abs(t(j + 1, j)) > GeneralTolerance<T>::safeMinimum; }

    // Imaginary part of the eigenvalues of the block at j and j+1.
    T imaginaryAt(int j) const { return sqrt(abs(t(j + 1, j))) * sqrt(abs(t(j, j + 1))); }

    SolverLimits<T> limitsOf(T wr, T wi) const
    {
        using Tolerance = GeneralTolerance<T>;
        const T smallest = max(Tolerance::epsilon * (abs(wr) + abs(wi)), smallestSubdiagonal<T>(t.order));
        return {max(smallest, Tolerance::vanishingNorm), largestComponent<T>(t.order)};
    }

private:
    ColumnMatrix<T> t;
    T* norms;
};

// The components of a vector in the making: real ones, or real and imaginary parts in two arrays.
template <class T> struct RealComponents {
    using Number = T;
    T* re;

    Number operator[](int k) const { return re[k]; }
    void set(int k, Number x) const { re[k] = x; }
    void subtract(int k, Number x, T factor) const { re[k] -= x * factor; }
    void multiply(int k, T factor) const { re[k] *= factor; }
};

template <class T> struct ComplexComponents {
    using Number = Complex<T>;
    T* re;
    T* im;

    Number operator[](int k) const { return {re[k], im[k]}; }
    void set(int k, Number x) const { re[k] = x.re, im[k] = x.im; }
    void subtract(int k, Number x, T factor) const { re[k] -= x.re * factor, im[k] -= x.im * factor; }
    void multiply(int k, T factor) const { re[k] *= factor, im[k] *= factor; }
};

// A scale that differs from 1 at all is to be applied; the tolerance is the type's least normal distance.
template <class T, class Components> void applyScale(Components x, int first, int last, T scale)
{
    if (!(abs(scale - T(1)) > GeneralTolerance<T>::safeMinimum)) return;
    for (int k = first; k <= last; ++k)
        x.multiply(k, scale);
}

// ---- Right vectors

// Solves rows j .. 1 of (t - lambda I) x = 0, with the components from j+1 on given and the rest holding the right-hand
// side. `last` is the last component that is not 0.
template <class T, class Components>
bool substituteUpwards(const SchurForm<T>& t, Components x, typename Components::Number lambda, int j, int last,
                       const SolverLimits<T>& limits)
{
    using Number = typename Components::Number;
    while (j >= 1) {
        const bool isPair = t.pairsAt(j - 1);
        const int first = isPair ? j - 1 : j;
        if (isPair) {
            const Number c[2][2] = {{Number(t(first, first)) - lambda, Number(t(first, j))},
                                    {Number(t(j, first)), Number(t(j, j)) - lambda}};
            const Number b[2] = {x[first], x[j]};
            const auto solution = solve2<T, Number>(c, b, t.normOfTwo(first), limits);
            if (!solution.hasPivot) return false;
            applyScale(x, 1, last, solution.scale);
            x.set(first, solution.x[0]);
            x.set(j, solution.x[1]);
        } else {
            const auto solution = solve1<T, Number>(Number(t(j, j)) - lambda, x[j], t.norm(j), limits);
            applyScale(x, 1, last, solution.scale);
            x.set(j, solution.x[0]);
        }
        for (int c = first; c <= j; ++c)
            for (int k = 1; k < first; ++k)
                x.subtract(k, x[c], t(k, c));
        j = first - 1;
    }
    return true;
}

// column(own) = x[own] column(own) + sum of x[k] column(k) over k in first .. last
template <class T> void combineColumns(ColumnMatrix<T> z, int own, const T* x, int first, int last)
{
    T* result = z.column(own);
    const T factor = x[own];
    for (int r = 1; r <= z.order; ++r)
        result[r] *= factor;
    for (int k = first; k <= last; ++k)
        for (int r = 1; r <= z.order; ++r)
            result[r] += z(r, k) * x[k];
}

// The largest |re| + |im| becomes 1.
template <class T> void levelPair(ColumnMatrix<T> z, int k)
{
    T *re = z.column(k), *im = z.column(k + 1), largest = T(0);
    for (int r = 1; r <= z.order; ++r)
        largest = max(abs(re[r]) + abs(im[r]), largest);
    const T factor = T(1) / largest;
    for (int r = 1; r <= z.order; ++r)
        re[r] *= factor, im[r] *= factor;
}

template <class T> bool rightReal(const SchurForm<T>& t, int k, VectorWork<T> work, ColumnMatrix<T> z)
{
    const T wr = t(k, k);
    work.re[k] = T(1);
    for (int r = 1; r < k; ++r)
        work.re[r] = -t(r, k);
    if (!substituteUpwards(t, RealComponents<T>{work.re}, wr, k - 1, k, t.limitsOf(wr, T(0)))) return false;
    if (k > 1) combineColumns(z, k, work.re, 1, k - 1);
    return true;
}

// The block of the pair itself decides which of its two components is 1, which is imaginary.
template <class T> bool rightPair(const SchurForm<T>& t, int k, VectorWork<T> work, ColumnMatrix<T> z)
{
    T *re = work.re, *im = work.im;
    const T wr = t(k + 1, k + 1), wi = t.imaginaryAt(k);
    if (abs(t(k, k + 1)) > abs(t(k + 1, k))) {
        re[k] = T(1);
        im[k + 1] = wi / t(k, k + 1);
    } else {
        re[k] = -wi / t(k + 1, k);
        im[k + 1] = T(1);
    }
    re[k + 1] = im[k] = T(0);
    for (int r = 1; r < k; ++r) {
        re[r] = -re[k] * t(r, k);
        im[r] = -im[k + 1] * t(r, k + 1);
    }
    if (!substituteUpwards(t, ComplexComponents<T>{re, im}, Complex<T>(wr, wi), k - 1, k + 1, t.limitsOf(wr, wi)))
        return false;
    combineColumns(z, k, re, 1, k - 1);
    combineColumns(z, k + 1, im, 1, k - 1);
    levelPair(z, k);
    return true;
}

template <class T> PassEnd rightVectors(const SchurForm<T>& t, VectorWork<T> work, ColumnMatrix<T> z)
{
    for (int k = t.order(); k >= 1; --k) {
        if (!t.pairsAt(k - 1)) {
            if (!rightReal(t, k, work, z)) return PassEnd::noRealPivot;
        } else {
            --k;
            if (!rightPair(t, k, work, z)) return PassEnd::noComplexPivot;
        }
    }
    return PassEnd::complete;
}

// ---- Left vectors

// How far the components may grow before all are scaled down.
template <class T> struct Growth {
    T largest, critical;
};

// Solves columns j .. n of x^T (t - lambda I) = 0, with the components from `start` to j-1 given and the rest holding
// the part of the right-hand side that belongs to the components before `known`.
template <class T, class Components>
bool substituteDownwards(const SchurForm<T>& t, Components x, typename Components::Number lambda, int start, int known,
                         const SolverLimits<T>& limits)
{
    using Number = typename Components::Number;
    const int n = t.order();
    Growth<T> growth{T(1), limits.largestComponent};
    for (int j = known; j <= n;) {
        if (growth.largest > growth.critical) {
            applyScale(x, start, n, T(1) / growth.largest);
            growth = {T(1), limits.largestComponent};
        }
        const bool isPair = t.pairsAt(j);
        const int last = isPair ? j + 1 : j;
        for (int c = j; c <= last; ++c)
            for (int k = known; k < j; ++k)
                x.subtract(c, x[k], t(k, c));
        T norm;
        if (isPair) {
            const Number c[2][2] = {{Number(t(j, j)) - lambda, Number(t(last, j))},
                                    {Number(t(j, last)), Number(t(last, last)) - lambda}};
            const Number b[2] = {x[j], x[last]};
            const auto solution = solve2<T, Number>(c, b, t.normOfTwo(j), limits);
            if (!solution.hasPivot) return false;
            applyScale(x, start, n, solution.scale);
            x.set(j, solution.x[0]);
            x.set(last, solution.x[1]);
            norm = solution.norm;
        } else {
            const auto solution = solve1<T, Number>(Number(t(j, j)) - lambda, x[j], t.norm(j), limits);
            applyScale(x, start, n, solution.scale);
            x.set(j, solution.x[0]);
            norm = solution.norm;
        }
        growth.largest = max(norm, growth.largest);
        growth.critical = limits.largestComponent / growth.largest;
        j = last + 1;
    }
    return true;
}

template <class T> bool leftReal(const SchurForm<T>& t, int k, VectorWork<T> work, ColumnMatrix<T> z)
{
    const int n = t.order();
    const T wr = t(k, k);
    work.re[k] = T(1);
    for (int c = k + 1; c <= n; ++c)
        work.re[c] = -t(k, c);
    if (!substituteDownwards(t, RealComponents<T>{work.re}, wr, k, k + 1, t.limitsOf(wr, T(0)))) return false;
    if (k < n) combineColumns(z, k, work.re, k + 1, n);
    return true;
}

template <class T> bool leftPair(const SchurForm<T>& t, int k, VectorWork<T> work, ColumnMatrix<T> z)
{
    const int n = t.order();
    T *re = work.re, *im = work.im;
    const T wr = t(k, k), wi = t.imaginaryAt(k);
    if (abs(t(k + 1, k)) > abs(t(k, k + 1))) {
        re[k] = T(1);
        im[k + 1] = wi / t(k + 1, k);
    } else {
        re[k] = -wi / t(k, k + 1);
        im[k + 1] = T(1);
    }
    re[k + 1] = im[k] = T(0);
    for (int c = k + 2; c <= n; ++c) {
        re[c] = -re[k] * t(k, c);
        im[c] = -im[k + 1] * t(k + 1, c);
    }
    if (!substituteDownwards(t, ComplexComponents<T>{re, im}, Complex<T>(wr, wi), k, k + 2, t.limitsOf(wr, wi)))
        return false;
    combineColumns(z, k, re, k + 2, n);
    combineColumns(z, k + 1, im, k + 2, n);
    levelPair(z, k);
    return true;
}

template <class T> PassEnd leftVectors(const SchurForm<T>& t, VectorWork<T> work, ColumnMatrix<T> z)
{
    for (int k = 1; k <= t.order(); ++k) {
        if (!t.pairsAt(k)) {
            if (!leftReal(t, k, work, z)) return PassEnd::noRealPivot;
        } else {
            if (!leftPair(t, k, work, z)) return PassEnd::noComplexPivot;
            ++k;
        }
    }
    return PassEnd::complete;
}

} // namespace tarnm::general
