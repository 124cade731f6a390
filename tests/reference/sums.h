// The orders in which sums of products are added, given the rounded products.
#pragma once

#include <vector>

namespace tarnm::reference {

// Ascending, from the first product on.
template <class T> T fromFirst(const std::vector<T>& p)
{
    T sum = p[0];
    for (std::size_t k = 1; k < p.size(); ++k)
        sum += p[k];
    return sum;
}

// Ascending, from 0.
template <class T> T fromZero(const std::vector<T>& p)
{
    T sum = 0;
    for (const T product : p)
        sum += product;
    return sum;
}

// Even and odd products apart, the two sums, the last product of an odd number.
template <class T> T evenAndOdd(const std::vector<T>& p)
{
    T even = 0, odd = 0;
    const std::size_t pairs = p.size() / 2 * 2;
    for (std::size_t k = 0; k < pairs; k += 2) {
        even += p[k];
        odd += p[k + 1];
    }
    T sum = even + odd;
    if (p.size() > pairs) sum += p[pairs];
    return sum;
}

// Products before `first` into the start of lane 0 of A; then one or two vectors A and B of 8 lanes (single precision)
// or 4 (double), as many whole steps of `step` products as fit; then the products left over. A step is one product for
// every lane unless said otherwise.
template <class T> T inLanes(const std::vector<T>& p, int first, int vectors, int step = 0)
{
    constexpr int L = 32 / sizeof(T);
    if (step == 0) step = vectors * L;
    std::vector<T> lane(std::size_t(2 * L), T(0)); // A, then B
    for (int k = 0; k < first; ++k)
        lane[0] += p[k];
    const int end = first + (int(p.size()) - first) / step * step;
    for (int k = first; k < end; ++k)
        lane[(k - first) % (vectors * L)] += p[k];

    T s[L], t[L / 2];
    for (int l = 0; l < L; ++l)
        s[l] = vectors == 2 ? lane[l] + lane[L + l] : lane[l];
    for (int l = 0; l < L / 2; ++l)
        t[l] = s[l] + s[l + L / 2];
    T sum;
    if constexpr (L == 8)
        sum = (t[0] + t[1]) + (t[2] + t[3]);
    else
        sum = t[0] + t[1];
    for (int k = end; k < int(p.size()); ++k)
        sum += p[k];
    return sum;
}

} // namespace tarnm::reference
