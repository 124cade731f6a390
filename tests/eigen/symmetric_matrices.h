// Symmetric matrices for the tests, as packed rows.
#pragma once

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace tarnm::test {

template <class T> std::vector<T> diagonal(const std::vector<double>& d)
{
    const int n = int(d.size());
    std::vector<T> a(n * n, T(0));
    for (int i = 0; i < n; ++i)
        a[i * n + i] = T(d[i]);
    return a;
}

template <class T> std::vector<T> tridiagonal(const std::vector<double>& d, const std::vector<double>& e)
{
    const int n = int(d.size());
    auto a = diagonal<T>(d);
    for (int i = 0; i + 1 < n; ++i)
        a[i * n + i + 1] = a[(i + 1) * n + i] = T(e[i]);
    return a;
}

template <class T> std::vector<T> scaled(std::vector<T> a, double factor)
{
    for (T& x : a)
        x = T(x * factor);
    return a;
}

template <class T, class Generator> std::vector<T> randomSymmetric(int n, Generator& generator)
{
    std::uniform_real_distribution<double> uniform(-1, 1);
    std::vector<T> a(n * n);
    for (int r = 0; r < n; ++r)
        for (int c = 0; c <= r; ++c)
            a[r * n + c] = a[c * n + r] = T(uniform(generator));
    return a;
}

// Q diag(values) Qᵀ with a random orthogonal Q, formed in double and rounded once.
template <class T, class Generator> std::vector<T> withSpectrum(const std::vector<double>& values, Generator& generator)
{
    const int n = int(values.size());
    std::normal_distribution<double> normal;
    std::vector<double> q(n * n), a(n * n, 0);
    for (int j = 0; j < n; ++j) {
        for (int r = 0; r < n; ++r)
            q[r * n + j] = normal(generator);
        for (int pass = 0; pass < 2; ++pass)
            for (int k = 0; k < j; ++k) {
                double dot = 0;
                for (int r = 0; r < n; ++r)
                    dot += q[r * n + j] * q[r * n + k];
                for (int r = 0; r < n; ++r)
                    q[r * n + j] -= dot * q[r * n + k];
            }
        double square = 0;
        for (int r = 0; r < n; ++r)
            square += q[r * n + j] * q[r * n + j];
        for (int r = 0; r < n; ++r)
            q[r * n + j] /= std::sqrt(square);
    }
    std::vector<T> rounded(n * n);
    for (int r = 0; r < n; ++r)
        for (int c = 0; c <= r; ++c) {
            double sum = 0;
            for (int k = 0; k < n; ++k)
                sum += q[r * n + k] * values[k] * q[c * n + k];
            rounded[r * n + c] = rounded[c * n + r] = T(sum);
        }
    return rounded;
}

template <class T> std::vector<T> wilkinson(int n)
{
    std::vector<double> d, e(n - 1, 1);
    for (int i = 0; i < n; ++i)
        d.push_back(std::abs(i - (n - 1) / 2.0));
    return tridiagonal<T>(d, e);
}

template <class T> std::vector<T> rosser()
{
    return {611,  196, -192, 407, -8,  -52,  -49, 29,   196, 899,  113, -192, -71,  -43, -8,   -44,
            -192, 113, 899,  196, 61,  49,   8,   52,   407, -192, 196, 611,  8,    44,  59,   -23,
            -8,   -71, 61,   8,   411, -599, 208, 208,  -52, -43,  49,  44,   -599, 411, 208,  208,
            -49,  -8,  8,    59,  208, 208,  99,  -911, 29,  -44,  52,  -23,  208,  208, -911, 99};
}

template <class T> std::vector<T> hilbert(int n)
{
    std::vector<T> a;
    for (int i = 0; i < n * n; ++i)
        a.push_back(T(1.0 / (i / n + i % n + 1)));
    return a;
}

// Eigenvalues by cyclic Jacobi rotations, descending: slow, and accurate to a few units of the norm.
inline std::vector<long double> jacobiValues(std::vector<long double> a, int n)
{
    long double norm = 0;
    for (const long double x : a)
        norm += std::abs(x);
    bool isDiagonal = false;
    for (int sweep = 0; sweep < 60 && !isDiagonal; ++sweep) {
        isDiagonal = true;
        for (int p = 0; p < n; ++p)
            for (int q = p + 1; q < n; ++q) {
                const long double b = a[p * n + q];
                if (std::abs(b) < norm * 1e-19L) continue;
                isDiagonal = false;
                const long double theta = (a[q * n + q] - a[p * n + p]) / (2 * b);
                const long double t = (theta < 0 ? -1 : 1) / (std::abs(theta) + std::sqrt(1 + theta * theta));
                const long double c = 1 / std::sqrt(1 + t * t), s = t * c;
                for (int k = 0; k < n; ++k) {
                    const long double x = a[k * n + p], y = a[k * n + q];
                    a[k * n + p] = c * x - s * y;
                    a[k * n + q] = s * x + c * y;
                }
                for (int k = 0; k < n; ++k) {
                    const long double x = a[p * n + k], y = a[q * n + k];
                    a[p * n + k] = c * x - s * y;
                    a[q * n + k] = s * x + c * y;
                }
            }
    }
    std::vector<long double> values;
    for (int i = 0; i < n; ++i)
        values.push_back(a[i * n + i]);
    std::sort(values.rbegin(), values.rend());
    return values;
}

} // namespace tarnm::test
