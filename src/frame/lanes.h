// Lanes: the same element of several objects, computed side by side.
//
//   lanes<T, N>                  N values of float or double; + - * / and comparisons lane by lane
//   mask<T, N>                   the result of a comparison; && || ! lane by lane
//   native_lanes<T>              the width of the target's vectors
//   narrow_lanes<T>              at most 32 bytes of them
//   lanes_for_order<T, n>        those that suit kernels of square matrices of order n
//   scalar_t, mask_t, lane_count_v
//                                element type, comparison type and width of a value type V
//   load, store                  N consecutive elements at any address
//   lane, setLane                one lane
//   select, any, all, none       choice by a mask, questions to a mask
//   sqrt, abs, max, min          lane by lane
//   reciprocalEstimate, reciprocalSqrtEstimate
//                                the processor's estimates of about 12 bits
//   refinedReciprocal            estimate and one Newton step
//   refinedReciprocalSqrtScaleFirst, refinedReciprocalSqrtSquareFirst
//                                estimate and one Newton step, in two orders of the products
//
// A kernel is one text over a value type V that is float, double or lanes: all functions here exist for scalars as
// well, where a mask is a bool. Lane l of a result has the bits that the scalar gives for lane l of the operands, in
// every width; nothing here contracts, reassociates or widens. Names and shapes follow std::simd of C++26.
//
// Build with -fno-math-errno, or `sqrt` takes its lanes one by one, and with -Wno-psabi.
#pragma once

#include "frame/machine.h"

namespace tarnm {

template <class T, int N> struct mask {
    using Raw = machine::RawVector<machine::MaskInteger<T>, N>;

    Raw raw; // every lane all ones or all zeros

    mask() = default;
    TARNM_INLINE explicit mask(Raw bits)
        : raw(bits)
    {}
    TARNM_INLINE mask(bool value)
        : raw(Raw{} - machine::MaskInteger<T>(value))
    {}

    static constexpr int size() { return N; }
    TARNM_INLINE bool operator[](int l) const { return raw[l] != 0; }
    TARNM_INLINE void set(int l, bool value) { raw[l] = -machine::MaskInteger<T>(value); }

    TARNM_INLINE friend mask operator&&(mask a, mask b) { return mask(a.raw & b.raw); }
    TARNM_INLINE friend mask operator||(mask a, mask b) { return mask(a.raw | b.raw); }
    TARNM_INLINE friend mask operator!(mask a) { return mask(~a.raw); }
    TARNM_INLINE friend mask operator&(mask a, mask b) { return mask(a.raw & b.raw); }
    TARNM_INLINE friend mask operator|(mask a, mask b) { return mask(a.raw | b.raw); }
    TARNM_INLINE friend mask operator^(mask a, mask b) { return mask(a.raw ^ b.raw); }
    TARNM_INLINE mask& operator&=(mask b) { return *this = *this & b; }
    TARNM_INLINE mask& operator|=(mask b) { return *this = *this | b; }
    TARNM_INLINE mask& operator^=(mask b) { return *this = *this ^ b; }
};

template <class T, int N> struct lanes {
    static_assert(std::is_same_v<T, float> || std::is_same_v<T, double>);
    static_assert(N * sizeof(T) >= machine::pieceBytes && N <= 16 && (N & (N - 1)) == 0);

    using value_type = T;
    using mask_type = mask<T, N>;
    using Raw = machine::RawVector<T, N>;

    Raw raw;

    lanes() = default;
    TARNM_INLINE explicit lanes(Raw values)
        : raw(values)
    {}
    // All lanes alike. value - 0 keeps a negative zero, 0 + value would lose it.
    TARNM_INLINE lanes(T value)
        : raw(value - Raw{})
    {}

    static constexpr int size() { return N; }
    TARNM_INLINE T operator[](int l) const { return raw[l]; }
    TARNM_INLINE void set(int l, T value) { raw[l] = value; }

    TARNM_INLINE friend lanes operator+(lanes a, lanes b) { return lanes(a.raw + b.raw); }
    TARNM_INLINE friend lanes operator-(lanes a, lanes b) { return lanes(a.raw - b.raw); }
    TARNM_INLINE friend lanes operator*(lanes a, lanes b) { return lanes(a.raw * b.raw); }
    TARNM_INLINE friend lanes operator/(lanes a, lanes b) { return lanes(a.raw / b.raw); }
    TARNM_INLINE friend lanes operator-(lanes a) { return lanes(-a.raw); }
    TARNM_INLINE lanes& operator+=(lanes b) { return *this = *this + b; }
    TARNM_INLINE lanes& operator-=(lanes b) { return *this = *this - b; }
    TARNM_INLINE lanes& operator*=(lanes b) { return *this = *this * b; }
    TARNM_INLINE lanes& operator/=(lanes b) { return *this = *this / b; }

    TARNM_INLINE friend mask_type operator<(lanes a, lanes b) { return compared(a.raw < b.raw); }
    TARNM_INLINE friend mask_type operator<=(lanes a, lanes b) { return compared(a.raw <= b.raw); }
    TARNM_INLINE friend mask_type operator>(lanes a, lanes b) { return compared(a.raw > b.raw); }
    TARNM_INLINE friend mask_type operator>=(lanes a, lanes b) { return compared(a.raw >= b.raw); }
    TARNM_INLINE friend mask_type operator==(lanes a, lanes b) { return compared(a.raw == b.raw); }
    TARNM_INLINE friend mask_type operator!=(lanes a, lanes b) { return compared(a.raw != b.raw); }

private:
    // The compilers differ in which 64 bit integer a comparison of doubles yields.
    template <class Comparison> TARNM_INLINE static mask_type compared(Comparison c)
    {
        return mask_type((typename mask_type::Raw)c);
    }
};

// ---- Value types ----

template <class V> struct ValueTraits;

template <class T>
requires std::is_floating_point_v<T>
struct ValueTraits<T> {
    using Scalar = T;
    using Mask = bool;
    static constexpr int laneCount = 1;
};

template <class T, int N> struct ValueTraits<lanes<T, N>> {
    using Scalar = T;
    using Mask = mask<T, N>;
    static constexpr int laneCount = N;
};

// float, double or lanes
template <class V>
concept Value = requires
{
    typename ValueTraits<V>::Scalar;
};

template <class V> using scalar_t = typename ValueTraits<V>::Scalar;
template <class V> using mask_t = typename ValueTraits<V>::Mask;
template <class V> inline constexpr int lane_count_v = ValueTraits<V>::laneCount;

template <class T> inline constexpr int native_lane_count_v = machine::vectorBytes / int(sizeof(T));
template <class T> using native_lanes = lanes<T, native_lane_count_v<T>>;

// For kernels that compute little beside bringing elements into lanes: these were measured to be slower with vectors of
// 64 bytes.
template <class T>
inline constexpr int narrow_lane_count_v = (machine::vectorBytes < 32 ? machine::vectorBytes : 32) / int(sizeof(T));
template <class T> using narrow_lanes = lanes<T, narrow_lane_count_v<T>>;
template <class T, int order>
using lanes_for_order = std::conditional_t<(order <= 3), narrow_lanes<T>, native_lanes<T>>;

// ---- Memory ----

// Like the callers' elements: no alignment, and stored through whatever type.
template <class T> struct [[gnu::packed, gnu::may_alias]] UnalignedValue { T value; };

template <class V> TARNM_INLINE V load(const scalar_t<V>* address)
{
    if constexpr (lane_count_v<V> == 1)
        return reinterpret_cast<const UnalignedValue<V>*>(address)->value;
    else
        return V(reinterpret_cast<const UnalignedValue<typename V::Raw>*>(address)->value);
}

template <class T>
requires std::is_floating_point_v<T> TARNM_INLINE void store(T* address, T value)
{
    reinterpret_cast<UnalignedValue<T>*>(address)->value = value;
}

template <class T, int N> TARNM_INLINE void store(T* address, lanes<T, N> v)
{
    reinterpret_cast<UnalignedValue<typename lanes<T, N>::Raw>*>(address)->value = v.raw;
}

// ---- One lane ----

TARNM_INLINE bool lane(bool m, int) { return m; }
TARNM_INLINE float lane(float v, int) { return v; }
TARNM_INLINE double lane(double v, int) { return v; }
template <class T, int N> TARNM_INLINE T lane(lanes<T, N> v, int l) { return v[l]; }
template <class T, int N> TARNM_INLINE bool lane(mask<T, N> m, int l) { return m[l]; }

TARNM_INLINE void setLane(bool& m, int, bool value) { m = value; }
TARNM_INLINE void setLane(float& v, int, float value) { v = value; }
TARNM_INLINE void setLane(double& v, int, double value) { v = value; }
template <class T, int N> TARNM_INLINE void setLane(lanes<T, N>& v, int l, T value) { v.set(l, value); }
template <class T, int N> TARNM_INLINE void setLane(mask<T, N>& m, int l, bool value) { m.set(l, value); }

// ---- Masks ----

TARNM_INLINE float select(bool m, float a, float b) { return m ? a : b; }
TARNM_INLINE double select(bool m, double a, double b) { return m ? a : b; }
TARNM_INLINE bool select(bool m, bool a, bool b) { return m ? a : b; }

template <class T, int N>
TARNM_INLINE lanes<T, N> select(mask<T, N> m, std::type_identity_t<lanes<T, N>> a, std::type_identity_t<lanes<T, N>> b)
{
    return lanes<T, N>(machine::blend(m.raw, a.raw, b.raw));
}

template <class T, int N> TARNM_INLINE mask<T, N> select(mask<T, N> m, mask<T, N> a, mask<T, N> b)
{
    return mask<T, N>((m.raw & a.raw) | (~m.raw & b.raw));
}

// Bit l tells lane l.
TARNM_INLINE unsigned laneBits(bool m) { return m; }
template <class T, int N> TARNM_INLINE unsigned laneBits(mask<T, N> m) { return machine::signBits(m.raw); }

TARNM_INLINE bool any(bool m) { return m; }
TARNM_INLINE bool all(bool m) { return m; }
TARNM_INLINE bool none(bool m) { return !m; }
template <class T, int N> TARNM_INLINE bool any(mask<T, N> m) { return laneBits(m) != 0; }
template <class T, int N> TARNM_INLINE bool all(mask<T, N> m) { return laneBits(m) == (1u << N) - 1; }
template <class T, int N> TARNM_INLINE bool none(mask<T, N> m) { return laneBits(m) == 0; }

// ---- Functions of a value ----

TARNM_INLINE float sqrt(float v) { return __builtin_sqrtf(v); }
TARNM_INLINE double sqrt(double v) { return __builtin_sqrt(v); }

template <class T, int N> TARNM_INLINE lanes<T, N> sqrt(lanes<T, N> v)
{
    return [&]<std::size_t... I>(std::index_sequence<I...>) __attribute__((always_inline))
    {
        return lanes<T, N>(typename lanes<T, N>::Raw{sqrt(T(v.raw[I]))...});
    }
    (std::make_index_sequence<N>{});
}

// Clears the sign, also that of a NaN.
TARNM_INLINE float abs(float v) { return __builtin_fabsf(v); }
TARNM_INLINE double abs(double v) { return __builtin_fabs(v); }

template <class T, int N> TARNM_INLINE lanes<T, N> abs(lanes<T, N> v)
{
    using MaskRaw = typename mask<T, N>::Raw;
    using Integer = machine::MaskInteger<T>;
    constexpr Integer allButSign = Integer(~(std::make_unsigned_t<Integer>(1) << (8 * sizeof(T) - 1)));
    return lanes<T, N>((typename lanes<T, N>::Raw)((MaskRaw)v.raw & allButSign));
}

// The second operand, if one is NaN or both are zero.
template <class T>
requires std::is_floating_point_v<T> TARNM_INLINE T max(T a, T b) { return a > b ? a : b; }
template <class T, int N> TARNM_INLINE lanes<T, N> max(lanes<T, N> a, std::type_identity_t<lanes<T, N>> b)
{
    return lanes<T, N>(a.raw > b.raw ? a.raw : b.raw);
}

template <class T>
requires std::is_floating_point_v<T> TARNM_INLINE T min(T a, T b) { return a < b ? a : b; }
template <class T, int N> TARNM_INLINE lanes<T, N> min(lanes<T, N> a, std::type_identity_t<lanes<T, N>> b)
{
    return lanes<T, N>(a.raw < b.raw ? a.raw : b.raw);
}

// ---- Estimates, in single precision only ----

TARNM_INLINE float reciprocalEstimate(float x) { return machine::rawReciprocalEstimate(x); }
TARNM_INLINE float reciprocalSqrtEstimate(float x) { return machine::rawReciprocalSqrtEstimate(x); }

template <int N> TARNM_INLINE lanes<float, N> reciprocalEstimate(lanes<float, N> x)
{
    return lanes<float, N>(machine::rawReciprocalEstimate(x.raw));
}

template <int N> TARNM_INLINE lanes<float, N> reciprocalSqrtEstimate(lanes<float, N> x)
{
    return lanes<float, N>(machine::rawReciprocalSqrtEstimate(x.raw));
}

// 1/x to about 22 bits, not correctly rounded. The step has this form and no other: its rounding is part of results.
// Where the square of the estimate overflows (|x| under about 2^-64) the result is an infinity or NaN.
template <class V> TARNM_INLINE V refinedReciprocal(V x)
{
    const V r0 = reciprocalEstimate(x);
    return V(2.0f) * r0 - x * (r0 * r0);
}

// 1/sqrt(s) to about 22 bits. Two forms of one step, which differ in the last bits: s is taken with the first
// estimate, or the estimate is squared before s comes in.
template <class V> TARNM_INLINE V refinedReciprocalSqrtScaleFirst(V s)
{
    const V y = reciprocalSqrtEstimate(s);
    return y * (s * y * y - V(3.0f)) * V(-0.5f);
}

template <class V> TARNM_INLINE V refinedReciprocalSqrtSquareFirst(V s)
{
    const V y = reciprocalSqrtEstimate(s);
    return y * (V(3.0f) - y * y * s) * V(0.5f);
}

} // namespace tarnm
