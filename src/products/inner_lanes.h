// Inner lanes: the sum of products along one index, in partial sums side by side.
//
//   inner_lane_count, InnerLanes  the partial sums of one vector: 8 in single, 4 in double precision
//   LaneSpan                      the part of a sum that goes through lanes
//   spanFromStart                 whole steps from the first product on
//   spanFromAlignment             whole steps from the first multiple of 32 bytes on
//   foldedLanes                   the partial sums of one vector, added up
//   PartialSums                   one or two vectors of partial sums, from a start to the folded sum
//   elementsFrom                  neighbouring elements of a vector view, gathered where they are not dense
//   sumOfProducts                 the whole sum for one output
//   isClearOf                     whether a result in memory keeps clear of an operand that lanes read ahead
//
// The number of lanes is behaviour, not a property of the machine: it decides the order of additions, and with it the
// last bits. One step takes `vectors` vectors of products; the partial sum of lane l of vector v holds every product
// whose number in the span is v * lanes + l, modulo vectors * lanes, in ascending order.
#pragma once

#include <cstdint>

#include "frame/lanes.h"
#include "frame/operands.h"

namespace tarnm {

inline constexpr int innerLaneBytes = 32;

template <class T> inline constexpr int inner_lane_count = innerLaneBytes / int(sizeof(T));
template <class T> using InnerLanes = lanes<T, inner_lane_count<T>>;

// Products 0 .. first - 1 go one by one into the start of lane 0, first .. end - 1 into lanes, the others one by one
// behind the folded lanes. Empty, with first == 0, where a sum does without lanes.
struct LaneSpan {
    std::int32_t first = 0;
    std::int32_t end = 0;

    bool isEmpty() const { return end == first; }
};

// As many whole steps as fit, if there are at least `minimum` products.
inline LaneSpan spanFromStart(std::int32_t length, std::int32_t minimum, std::int32_t step)
{
    if (length < minimum) return {};
    return {0, length - length % step};
}

// The first product whose element at `address` stands at a multiple of 32 bytes begins the lanes. No lanes where no
// element does, or where not even one step fits behind it.
inline LaneSpan spanFromAlignment(const void* address, std::int32_t elementSize, std::int32_t length, std::int32_t step)
{
    const auto misplaced = std::int32_t(reinterpret_cast<std::uintptr_t>(address) % innerLaneBytes);
    if (misplaced % elementSize != 0) return {};
    const std::int32_t first = misplaced == 0 ? 0 : (innerLaneBytes - misplaced) / elementSize;
    if (length - first < step) return {};
    return {first, length - (length - first) % step};
}

template <class T> LaneSpan spanFromAlignment(const T* address, std::int32_t length, std::int32_t step)
{
    return spanFromAlignment(address, sizeof(T), length, step);
}

// Upper half onto lower half, then neighbours. `partial(l)` is partial sum l of T: of one output, or of several outputs
// in a vector.
template <class T, class Partial> TARNM_INLINE auto foldedLanes(const Partial& partial)
{
    constexpr int half = inner_lane_count<T> / 2;
    const auto t = [&](int l) __attribute__((always_inline)) { return partial(l) + partial(l + half); };
    if constexpr (half == 4)
        return (t(0) + t(1)) + (t(2) + t(3));
    else
        return t(0) + t(1);
}

template <class T, int vectors> struct PartialSums {
    static_assert(vectors == 1 || vectors == 2);
    static constexpr int step = vectors * inner_lane_count<T>;

    InnerLanes<T> partial[vectors];

    TARNM_INLINE explicit PartialSums(T start)
    {
        TARNM_UNROLL
        for (InnerLanes<T>& p : partial)
            p = InnerLanes<T>(T(0));
        partial[0].set(0, start);
    }

    // `a` and `b`: what gives InnerLanes of neighbouring factors from a number on.
    template <class A, class B> TARNM_INLINE void add(const A& a, const B& b, std::ptrdiff_t k)
    {
        TARNM_UNROLL
        for (int v = 0; v < vectors; ++v)
            partial[v] += a(k + v * inner_lane_count<T>) * b(k + v * inner_lane_count<T>);
    }

    TARNM_INLINE InnerLanes<T> inOneVector() const
    {
        if constexpr (vectors == 2)
            return partial[0] + partial[1];
        else
            return partial[0];
    }

    TARNM_INLINE T folded() const
    {
        const InnerLanes<T> s = inOneVector();
        return foldedLanes<T>([&](int l) __attribute__((always_inline)) { return s[l]; });
    }
};

template <class V, class Vector, std::size_t... I>
TARNM_INLINE V gatheredFrom(const Vector& vector, std::ptrdiff_t k, std::index_sequence<I...>)
{
    return V(typename V::Raw{vector[k + std::ptrdiff_t(I)]...});
}

template <class V, class Vector> TARNM_INLINE V elementsFrom(const Vector& vector, std::ptrdiff_t k)
{
    if constexpr (requires { requires Vector::isDense; })
        return load<V>(vector.address(k));
    else
        return gatheredFrom<V>(vector, k, std::make_index_sequence<lane_count_v<V>>{});
}

// The sum over k of a[k] * b[k].
template <int vectors, class A, class B>
typename A::Element sumOfProducts(const A& a, const B& b, std::int32_t length, LaneSpan span)
{
    using T = typename A::Element;
    T sum = 0;
    std::ptrdiff_t k = 0;
    if (!span.isEmpty()) {
        for (; k < span.first; ++k)
            sum += a[k] * b[k];
        const auto fromA = [&](std::ptrdiff_t n) __attribute__((always_inline))
        {
            return elementsFrom<InnerLanes<T>>(a, n);
        };
        const auto fromB = [&](std::ptrdiff_t n) __attribute__((always_inline))
        {
            return elementsFrom<InnerLanes<T>>(b, n);
        };
        PartialSums<T, vectors> sums(sum);
        for (; k < span.end; k += sums.step)
            sums.add(fromA, fromB, k);
        sum = sums.folded();
    }
    for (; k < length; ++k)
        sum += a[k] * b[k];
    return sum;
}

// Whether the element at `result` lies outside the `length` elements that begin at `start`. Those are counted as if
// they were dense, whatever their stride; a partial overlap counts as inside.
template <class T> bool isClearOf(const T* result, const T* start, std::int32_t length)
{
    const auto r = reinterpret_cast<std::uintptr_t>(result), s = reinterpret_cast<std::uintptr_t>(start);
    return r + sizeof(T) <= s || r >= s + std::uintptr_t(length) * sizeof(T);
}

} // namespace tarnm
