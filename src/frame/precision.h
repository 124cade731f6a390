// Lanes between single and double precision.
#pragma once

#include "frame/lanes.h"

namespace tarnm {

// To as many lanes of the other precision. Raw vectors, as in `To(convertedRaw<typename To::Raw>(v.raw))`.
template <class To, class From> TARNM_INLINE To convertedRaw(From v)
{
#if defined(__AVX__) && !defined(__clang__)
    // g++ 12 widens the halves of a vector apart and joins them: five instructions in place of one.
    if constexpr (sizeof(From) < sizeof(To) && sizeof(To) >= 32 && sizeof(To) <= machine::vectorBytes) {
        To result;
        asm("vcvtps2pd %1, %0" : "=v"(result) : "vm"(v));
        return result;
    } else
#endif
        return __builtin_convertvector(v, To);
}

} // namespace tarnm
