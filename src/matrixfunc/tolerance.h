// Below which magnitude a pivot or a determinant counts as zero: a multiple of the smallest normal number, whatever
// the size of the matrix's elements.
#pragma once

#include <cstdint>

namespace tarnm {

template <class T>
inline constexpr T smallestNormal = T(sizeof(T) == 4 ? 1.1754943508222875e-38 : 2.2250738585072014e-308);

// 2n^3 times the smallest normal number. The factor is formed in 32 bits and wraps around from order 1024 on.
template <class T> constexpr T singularityTolerance(std::int32_t order)
{
    const auto n = static_cast<std::uint32_t>(order);
    return T(static_cast<std::int32_t>(2u * n * n * n)) * smallestNormal<T>;
}

} // namespace tarnm
