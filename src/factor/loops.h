// Loops that a kernel has in two forms from one text.
//
//   Loops        unrolled: orders known to the compiler, elements in registers; counted: any order
//   ascending    body(i) for i = first .. end - 1
//   descending   body(i) for i = end - 1 .. first
#pragma once

#include "frame/machine.h"

namespace tarnm {

enum class Loops { unrolled, counted };

template <Loops loops, class Body> TARNM_INLINE void ascending(int first, int end, Body&& body)
{
    if constexpr (loops == Loops::unrolled) {
        TARNM_UNROLL
        for (int i = first; i < end; ++i)
            body(i);
    } else
        for (int i = first; i < end; ++i)
            body(i);
}

template <Loops loops, class Body> TARNM_INLINE void descending(int end, int first, Body&& body)
{
    if constexpr (loops == Loops::unrolled) {
        TARNM_UNROLL
        for (int i = end - 1; i >= first; --i)
            body(i);
    } else
        for (int i = end - 1; i >= first; --i)
            body(i);
}

} // namespace tarnm
