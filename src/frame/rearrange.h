// Elements of several vectors in another order, by shuffles of two vectors at a time.
//
//   rearrangesInVectors    whether the target has the shuffles that make it worth while
//   rearranged             vectors with any lanes of other vectors
//   loadRearranged         the same from memory; no byte of other elements is read
//
// An order is a function: lane p of the result, counted through all its vectors, is lane order(p) of the sources, or
// any where order(p) is negative.
#pragma once

#include <array>

#include "frame/blocks.h"
#include "frame/partial.h"

namespace tarnm {

inline constexpr bool rearrangesInVectors = machine::shufflesAnyLanes;

namespace rearrangement {

// Vector j of a result of vectors of N lanes.
template <auto order, int N, int j> struct ResultVector {
    static constexpr int sourceOf(int i) { return order(j * N + i); }

    static constexpr bool takesFrom(int vector)
    {
        for (int i = 0; i < N; ++i)
            if (sourceOf(i) >= 0 && sourceOf(i) / N == vector) return true;
        return false;
    }

    // The first vector from `vector` on that something is taken from, or `end`.
    static constexpr int nextFrom(int vector, int end)
    {
        while (vector < end && !takesFrom(vector))
            ++vector;
        return vector;
    }

    // The result as far as vectors before `next` go, completed from that one. `isSecond`: what there is so far is the
    // first vector as it was.
    template <int next, bool isSecond> static constexpr int completed(int i)
    {
        const int source = sourceOf(i);
        if (source < 0 || source / N > next) return -1;
        if (source / N == next) return N + source % N;
        return isSecond ? source % N : i;
    }
    static constexpr int ofOne(int i) { return sourceOf(i) < 0 ? -1 : sourceOf(i) % N; }
};

template <class Result, int next, bool isSecond, class V, std::size_t count>
TARNM_INLINE V completedFrom(V soFar, const std::array<V, count>& sources)
{
    if constexpr (next == int(count)) {
        return soFar;
    } else {
        const V more = blocks::picked<Result::template completed<next, isSecond>>(soFar, sources[next]);
        return completedFrom<Result, Result::nextFrom(next + 1, count), false>(more, sources);
    }
}

template <class Result, class V, std::size_t count> TARNM_INLINE V collected(const std::array<V, count>& sources)
{
    constexpr int first = Result::nextFrom(0, count), second = Result::nextFrom(first + 1, count);
    if constexpr (second == int(count))
        return blocks::picked<Result::ofOne>(sources[first], sources[first]);
    else
        return completedFrom<Result, second, true>(sources[first], sources);
}

template <auto order, class V, std::size_t count, int... j>
TARNM_INLINE auto rearrangedBy(const std::array<V, count>& sources, std::integer_sequence<int, j...>)
{
    return std::array<V, sizeof...(j)>{collected<ResultVector<order, lane_count_v<V>, j>>(sources)...};
}

// The lanes of source vector v that go anywhere.
template <auto order, int N, int results> constexpr unsigned lanesUsed(int v)
{
    unsigned bits = 0;
    for (int p = 0; p < results * N; ++p)
        if (order(p) >= 0 && order(p) / N == v) bits |= 1u << order(p) % N;
    return bits;
}

template <auto order, int results, class V, int... v>
TARNM_INLINE auto loadedBy(const scalar_t<V>* base, std::integer_sequence<int, v...>)
{
    constexpr int N = lane_count_v<V>;
    return std::array<V, sizeof...(v)>{loadLanes<lanesUsed<order, N, results>(v), V>(base + v * N)...};
}

} // namespace rearrangement

template <auto order, int results, class V, std::size_t count>
TARNM_INLINE std::array<V, results> rearranged(const std::array<V, count>& sources)
{
    return rearrangement::rearrangedBy<order>(sources, std::make_integer_sequence<int, results>{});
}

// From `sources` vectors side by side.
template <auto order, int results, class V, int sources>
TARNM_INLINE std::array<V, results> loadRearranged(const scalar_t<V>* base)
{
    return rearranged<order, results>(
        rearrangement::loadedBy<order, results, V>(base, std::make_integer_sequence<int, sources>{}));
}

} // namespace tarnm
