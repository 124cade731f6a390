// Elimination with pivoting by an index of the rows, as determinants and inverses use it.
#pragma once

#include <cmath>
#include <limits>
#include <utility>
#include <vector>

namespace tarnm::reference {

template <class T> using Rows = std::vector<std::vector<T>>;

// 2 n^3 times the smallest normal number.
template <class T> T tolerance(int n) { return T(2 * n * n * n) * std::numeric_limits<T>::min(); }

template <class T> struct Elimination {
    Rows<T> a;
    std::vector<int> index;
    T product = 1;
    int sign = 1;
    bool failed = false;

    T last() const { return a[std::size_t(index.back())][a.size() - 1]; }

    // `byReciprocal`: multipliers are products with 1/pivot. `maximumInSingle`: the running maximum of the search is
    // rounded to single.
    Elimination(Rows<T> matrix, T t, bool byReciprocal, bool maximumInSingle)
        : a(std::move(matrix))
    {
        const std::size_t n = a.size();
        for (std::size_t i = 0; i < n; ++i)
            index.push_back(int(i));
        const auto at = [&](std::size_t p, std::size_t c) -> T& { return a[std::size_t(index[p])][c]; };
        for (std::size_t k = 0; k + 1 < n; ++k) {
            const auto kept = [&](T magnitude) { return maximumInSingle ? T(float(magnitude)) : magnitude; };
            T largest = kept(std::fabs(at(k, k)));
            std::size_t winner = k;
            for (std::size_t p = k + 1; p < n; ++p)
                if (std::fabs(at(p, k)) > largest) {
                    largest = kept(std::fabs(at(p, k)));
                    winner = p;
                }
            if (winner != k) {
                std::swap(index[winner], index[k]);
                sign = -sign;
            }
            const T pivot = at(k, k);
            if (t > std::fabs(pivot)) {
                failed = true;
                return;
            }
            const T r = 1 / pivot;
            for (std::size_t p = k + 1; p < n; ++p) {
                const T f = byReciprocal ? r * at(p, k) : at(p, k) / pivot;
                for (std::size_t j = k + 1; j < n; ++j)
                    at(p, j) = at(p, j) - f * at(k, j);
            }
            product = product * pivot;
        }
    }
};

} // namespace tarnm::reference
