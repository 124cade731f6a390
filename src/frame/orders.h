// Orders that the compiler knows.
//
//   forOrder3to6    calls a body with the order as a constant
#pragma once

#include <type_traits>

namespace tarnm {

// body(std::integral_constant<int, n>), or otherwise() for any order that is not 3, 4, 5 or 6.
template <class Body, class Otherwise> inline auto forOrder3to6(int n, const Body& body, const Otherwise& otherwise)
{
    switch (n) {
    case 3:
        return body(std::integral_constant<int, 3>{});
    case 4:
        return body(std::integral_constant<int, 4>{});
    case 5:
        return body(std::integral_constant<int, 5>{});
    case 6:
        return body(std::integral_constant<int, 6>{});
    default:
        return otherwise();
    }
}

} // namespace tarnm
