// Whether results lie clear of sources.
//
//   apart            two stretches of bytes
//   isInterleaved    tables of pointers whose objects stand element by element beside each other
//   elementsApart    the same elements of all objects of a call, for two operands of that kind
#pragma once

#include <cstddef>
#include <cstdint>

#include "frame/operands.h"

namespace tarnm {

// Bytes of [a, a + sizeA) and [b, b + sizeB) have none in common.
inline bool apart(const void* a, std::uint64_t sizeA, const void* b, std::uint64_t sizeB)
{
    const auto beginA = reinterpret_cast<std::uintptr_t>(a);
    const auto beginB = reinterpret_cast<std::uintptr_t>(b);
    return beginA <= beginB ? beginB - beginA >= sizeA : beginA - beginB >= sizeB;
}

template <class Object> bool isInterleaved(const ObjectArray<Object>& array)
{
    return array.objectStride == std::ptrdiff_t(sizeof(typename Object::Element));
}
template <class Object> bool isInterleaved(const Single<Object>&) { return false; }

// Bytes from the first element to behind the last, over the objects of a call.
template <class Object> std::uint64_t stretch(const ObjectArray<Object>& array, Place place)
{
    return std::uint64_t(place.count - 1) * std::uint64_t(array.objectStride) + sizeof(typename Object::Element);
}
template <class Object> std::uint64_t stretch(const Single<Object>&, Place) { return sizeof(typename Object::Element); }

// No element of the vectors `a` has a byte in common with one of the vectors `b`.
template <int length, class A, class B> bool elementsApart(const A& a, const B& b, Place place)
{
    for (int i = 0; i < length; ++i)
        for (int k = 0; k < length; ++k)
            if (!apart(a[place.first].address(i), stretch(a, place), b[place.first].address(k), stretch(b, place)))
                return false;
    return true;
}

} // namespace tarnm
