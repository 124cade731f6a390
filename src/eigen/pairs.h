// Two vectors of lanes that run through a computation together.
//
//   Pair, PairMask    with the operations of lanes that the eigenproblems use
//   converted         between precisions, for single vectors too
//
// A chain of rotations or reflectors is one long dependency of roots and quotients. Two of them side by side fill the
// time that one of them waits. The compilers' own vectors of twice the machine's width do not serve: g++ 12 compares them
// element by element.
#pragma once

#include "frame/precision.h"

namespace tarnm {

template <class M> struct PairMask {
    M low, high;

    PairMask() = default;
    TARNM_INLINE PairMask(M low, M high)
        : low(low)
        , high(high)
    {}
    TARNM_INLINE explicit PairMask(bool value)
        : low(value)
        , high(value)
    {}

    TARNM_INLINE friend PairMask operator&&(PairMask a, PairMask b) { return {a.low && b.low, a.high && b.high}; }
    TARNM_INLINE friend PairMask operator||(PairMask a, PairMask b) { return {a.low || b.low, a.high || b.high}; }
    TARNM_INLINE friend PairMask operator!(PairMask a) { return {!a.low, !a.high}; }
};

template <class V> struct Pair {
    using Mask = PairMask<mask_t<V>>;

    V low, high;

    Pair() = default;
    TARNM_INLINE Pair(V low, V high)
        : low(low)
        , high(high)
    {}
    TARNM_INLINE Pair(scalar_t<V> value)
        : low(value)
        , high(value)
    {}

    TARNM_INLINE friend Pair operator+(Pair a, Pair b) { return {a.low + b.low, a.high + b.high}; }
    TARNM_INLINE friend Pair operator-(Pair a, Pair b) { return {a.low - b.low, a.high - b.high}; }
    TARNM_INLINE friend Pair operator*(Pair a, Pair b) { return {a.low * b.low, a.high * b.high}; }
    TARNM_INLINE friend Pair operator/(Pair a, Pair b) { return {a.low / b.low, a.high / b.high}; }
    TARNM_INLINE friend Pair operator-(Pair a) { return {-a.low, -a.high}; }
    TARNM_INLINE Pair& operator+=(Pair b) { return *this = *this + b; }
    TARNM_INLINE Pair& operator*=(Pair b) { return *this = *this * b; }
    TARNM_INLINE friend Mask operator<(Pair a, Pair b) { return {a.low < b.low, a.high < b.high}; }
    TARNM_INLINE friend Mask operator<=(Pair a, Pair b) { return {a.low <= b.low, a.high <= b.high}; }
    TARNM_INLINE friend Mask operator>(Pair a, Pair b) { return {a.low > b.low, a.high > b.high}; }
    TARNM_INLINE friend Mask operator>=(Pair a, Pair b) { return {a.low >= b.low, a.high >= b.high}; }
    TARNM_INLINE friend Mask operator==(Pair a, Pair b) { return {a.low == b.low, a.high == b.high}; }
    TARNM_INLINE friend Mask operator!=(Pair a, Pair b) { return {a.low != b.low, a.high != b.high}; }
};

template <class M> TARNM_INLINE bool any(PairMask<M> m) { return any(m.low || m.high); }
template <class M> TARNM_INLINE bool all(PairMask<M> m) { return all(m.low && m.high); }
template <class M> TARNM_INLINE bool none(PairMask<M> m) { return none(m.low || m.high); }

template <class V> TARNM_INLINE Pair<V> sqrt(Pair<V> v) { return {sqrt(v.low), sqrt(v.high)}; }
template <class V> TARNM_INLINE Pair<V> abs(Pair<V> v) { return {abs(v.low), abs(v.high)}; }
template <class V> TARNM_INLINE Pair<V> max(Pair<V> a, Pair<V> b) { return {max(a.low, b.low), max(a.high, b.high)}; }
template <class V> TARNM_INLINE Pair<V> min(Pair<V> a, Pair<V> b) { return {min(a.low, b.low), min(a.high, b.high)}; }

template <class M, class V> TARNM_INLINE Pair<V> select(PairMask<M> m, Pair<V> a, Pair<V> b)
{
    return {select(m.low, a.low, b.low), select(m.high, a.high, b.high)};
}

template <class V> inline constexpr bool isPair = false;
template <class V> inline constexpr bool isPair<Pair<V>> = true;

// ---- Precision

template <class To, class From> TARNM_INLINE To converted(From value)
{
    if constexpr (std::is_same_v<To, From>)
        return value;
    else if constexpr (isPair<To>)
        return {converted<decltype(To::low)>(value.low), converted<decltype(To::high)>(value.high)};
    else if constexpr (std::is_floating_point_v<To>)
        return To(value);
    else
        return To(convertedRaw<typename To::Raw>(value.raw));
}

template <class V> struct ValueTraits<Pair<V>> {
    using Scalar = scalar_t<V>;
    using Mask = PairMask<mask_t<V>>;
    static constexpr int laneCount = 2 * lane_count_v<V>;
};

} // namespace tarnm
