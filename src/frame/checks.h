// Tests of arguments, as the entries call them in the order of their member, and the measures of work.
#pragma once

#include <cstddef>
#include <cstdint>

#include "tarnm/tarnm.h"

namespace tarnm {

template <class... Pointer> constexpr bool anyNull(Pointer... pointers) { return ((pointers == nullptr) || ...); }

template <class... Size> constexpr bool anyBelowOne(Size... sizes) { return ((sizes < 1) || ...); }

// Any stride below 1 or not a multiple of the element size.
template <class T, class... Stride> constexpr bool badStride(Stride... strides)
{
    constexpr std::int32_t lowBits = sizeof(T) - 1;
    return ((strides < 1) || ...) || (((strides | ...) & lowBits) != 0);
}

// Any shift negative or not a multiple of the element size.
template <class T, class... Shift> constexpr bool badRoiShift(Shift... shifts)
{
    constexpr std::int32_t lowBits = sizeof(T) - 1;
    return (shifts | ...) < 0 || ((shifts | ...) & lowBits) != 0;
}

// The dense case: all elements of all operands stand next to each other.
template <class T, class... Stride> constexpr bool allPacked(Stride... elementStrides)
{
    return ((elementStrides == static_cast<std::int32_t>(sizeof(T))) && ...);
}

// Work measures wrap around like 32-bit registers: they are computed unsigned and compared signed.
constexpr std::uint32_t u(std::int32_t size) { return static_cast<std::uint32_t>(size); }
constexpr std::int32_t work(std::uint32_t measure) { return static_cast<std::int32_t>(measure); }

// Sizes of scratch are formed wide enough not to wrap.
constexpr std::uint64_t bytes(std::int32_t size) { return static_cast<std::uint64_t>(size); }

} // namespace tarnm
