// The compilers' vectors, and the few instructions that have no spelling in C++ or in the vector extensions.
//
//   RawVector, MaskInteger       vector types of g++ and clang
//   lowerHalf, upperHalf, joined parts of a vector
//   shuffledPieces               one shuffle pattern applied to every 16 byte piece
//   blend                        per-lane choice by a mask
//   signBits                     the sign of every lane as one bit of an integer
//   rawReciprocalEstimate, rawReciprocalSqrtEstimate
//                                the processor's single-precision estimates, the only source of them
//
// Nothing outside lanes.h and blocks.h includes this file. Compiler builtins stand here instead of the intrinsic
// headers, which cost more compile time than all of the library's own.
#pragma once

#include <cstdint>
#include <type_traits>
#include <utility>

// Vectors wider than the machine's registers travel through memory as soon as a call is not inlined.
#define TARNM_INLINE [[gnu::always_inline]] inline

namespace tarnm::machine {

// Bytes of the widest vector of the target, and of the piece inside which its shuffles are cheap.
#if defined(__AVX512F__) && defined(__AVX512VL__) && defined(__AVX512DQ__)
inline constexpr int vectorBytes = 64;
inline constexpr bool hasMaskRegisters = true;
#elif defined(__AVX__)
inline constexpr int vectorBytes = 32;
inline constexpr bool hasMaskRegisters = false;
#else
inline constexpr int vectorBytes = 16;
inline constexpr bool hasMaskRegisters = false;
#endif
inline constexpr int pieceBytes = 16;

// A trait of its own, since g++ 12 refuses the attribute on a dependent type inside a class template.
template <class T, int N> struct RawVectorOf {
    using type [[gnu::vector_size(N * sizeof(T))]] = T;
};
template <class T, int N> using RawVector = typename RawVectorOf<T, N>::type;

template <class T> using MaskInteger = std::conditional_t<sizeof(T) == 4, std::int32_t, std::int64_t>;

template <class Raw> using ElementOf = std::remove_cvref_t<decltype(std::declval<Raw>()[0])>;
template <class Raw> inline constexpr int lengthOf = int(sizeof(Raw) / sizeof(ElementOf<Raw>));

template <class Raw, std::size_t... I>
TARNM_INLINE auto halfFrom(Raw v, std::index_sequence<I...>, auto offset)
{
    return __builtin_shufflevector(v, v, int(I + offset)...);
}

template <class Raw> TARNM_INLINE auto lowerHalf(Raw v)
{
    constexpr int half = lengthOf<Raw> / 2;
    return halfFrom(v, std::make_index_sequence<half>{}, std::integral_constant<int, 0>{});
}

template <class Raw> TARNM_INLINE auto upperHalf(Raw v)
{
    constexpr int half = lengthOf<Raw> / 2;
    return halfFrom(v, std::make_index_sequence<half>{}, std::integral_constant<int, half>{});
}

template <class Raw, std::size_t... I> TARNM_INLINE auto joinedBy(Raw lower, Raw upper, std::index_sequence<I...>)
{
    return __builtin_shufflevector(lower, upper, int(I)...);
}

template <class Raw> TARNM_INLINE auto joined(Raw lower, Raw upper)
{
    return joinedBy(lower, upper, std::make_index_sequence<2 * lengthOf<Raw>>{});
}

// Where lane `i` of the result of `shuffledPieces` comes from: `pick` counts from 0 through the piece of the
// first operand and on through the piece of the second.
template <int length, int pieceLength, int... pick> constexpr int shuffleSource(int i)
{
    constexpr int picks[] = {pick...};
    const int piece = i / pieceLength * pieceLength;
    const int picked = picks[i % pieceLength];
    return picked < pieceLength ? piece + picked : length + piece + picked - pieceLength;
}

template <int... pick, class Raw, std::size_t... I>
TARNM_INLINE Raw shuffledPiecesBy(Raw a, Raw b, std::index_sequence<I...>)
{
    return __builtin_shufflevector(a, b, shuffleSource<lengthOf<Raw>, sizeof...(pick), pick...>(int(I))...);
}

template <int... pick, class Raw> TARNM_INLINE Raw shuffledPieces(Raw a, Raw b)
{
    static_assert(sizeof...(pick) * sizeof(ElementOf<Raw>) == pieceBytes);
    return shuffledPiecesBy<pick...>(a, b, std::make_index_sequence<lengthOf<Raw>>{});
}

// Lanes of `mask` are all ones (take from `a`) or all zeros (take from `b`).
template <class Mask, class Raw> TARNM_INLINE Raw blend(Mask mask, Raw a, Raw b)
{
    static_assert(sizeof(Mask) == sizeof(Raw));
    if constexpr (hasMaskRegisters)
        return mask ? a : b;
#if defined(__AVX__)
    // g++ 12 without 256 bit integers rewrites `?:` and the blend builtin alike into a branch per lane, wherever the
    // comparison behind the mask is out of sight (a loop is enough).
    else if constexpr (sizeof(Raw) <= 32) {
        Raw result;
        if constexpr (sizeof(ElementOf<Raw>) == 4)
            asm("vblendvps %3, %2, %1, %0" : "=x"(result) : "x"(b), "x"(a), "x"(mask));
        else
            asm("vblendvpd %3, %2, %1, %0" : "=x"(result) : "x"(b), "x"(a), "x"(mask));
        return result;
    }
#endif
    else
        return (Raw)((mask & (Mask)a) | (~mask & (Mask)b));
}

// Bit l is the sign of lane l, so that a mask becomes one bit per lane.
template <class Raw> TARNM_INLINE unsigned signBits(Raw v)
{
    constexpr bool isSingle = sizeof(ElementOf<Raw>) == 4;
#if defined(__AVX512DQ__)
    if constexpr (sizeof(Raw) == 64 && isSingle)
        return std::uint16_t(__builtin_ia32_cvtd2mask512((RawVector<int, 16>)v));
    else if constexpr (sizeof(Raw) == 64)
        return std::uint8_t(__builtin_ia32_cvtq2mask512((RawVector<long long, 8>)v));
#endif
#if defined(__AVX__)
    if constexpr (sizeof(Raw) == 32 && isSingle)
        return unsigned(__builtin_ia32_movmskps256((RawVector<float, 8>)v));
    else if constexpr (sizeof(Raw) == 32)
        return unsigned(__builtin_ia32_movmskpd256((RawVector<double, 4>)v));
#endif
#if defined(__SSE2__)
    if constexpr (sizeof(Raw) == 16 && isSingle)
        return unsigned(__builtin_ia32_movmskps((RawVector<float, 4>)v));
    else if constexpr (sizeof(Raw) == 16)
        return unsigned(__builtin_ia32_movmskpd((RawVector<double, 2>)v));
#endif
    if constexpr (sizeof(Raw) > pieceBytes)
        return signBits(lowerHalf(v)) | signBits(upperHalf(v)) << (lengthOf<Raw> / 2);
    unsigned bits = 0;
    for (int l = 0; l < lengthOf<Raw>; ++l)
        bits |= unsigned(v[l] < 0) << l;
    return bits;
}

// About 12 bits of 1/x. Every width gives the same bits, so that results do not depend on the width of the vectors:
// the 512 bit estimates of newer processors are of another quality and are not used.
template <class Raw> TARNM_INLINE Raw rawReciprocalEstimate(Raw x)
{
    static_assert(std::is_same_v<ElementOf<Raw>, float>);
#if defined(__AVX__)
    if constexpr (sizeof(Raw) == 32)
        return __builtin_ia32_rcpps256(x);
#endif
    if constexpr (sizeof(Raw) > pieceBytes)
        return joined(rawReciprocalEstimate(lowerHalf(x)), rawReciprocalEstimate(upperHalf(x)));
    else {
#if defined(__SSE__)
        return __builtin_ia32_rcpps(x);
#elif defined(__aarch64__)
        // The estimate has 8 bits; one step gives 16.
        Raw estimate, step;
        asm("frecpe %0.4s, %1.4s" : "=w"(estimate) : "w"(x));
        asm("frecps %0.4s, %1.4s, %2.4s" : "=w"(step) : "w"(x), "w"(estimate));
        return estimate * step;
#else
        return 1.0f / x;
#endif
    }
}

// About 12 bits of 1/sqrt(x), the same in every width.
template <class Raw> TARNM_INLINE Raw rawReciprocalSqrtEstimate(Raw x)
{
    static_assert(std::is_same_v<ElementOf<Raw>, float>);
#if defined(__AVX__)
    if constexpr (sizeof(Raw) == 32)
        return __builtin_ia32_rsqrtps256(x);
#endif
    if constexpr (sizeof(Raw) > pieceBytes)
        return joined(rawReciprocalSqrtEstimate(lowerHalf(x)), rawReciprocalSqrtEstimate(upperHalf(x)));
    else {
#if defined(__SSE__)
        return __builtin_ia32_rsqrtps(x);
#elif defined(__aarch64__)
        // The product of x with the estimate comes first: the square of the estimate overflows for tiny x.
        Raw estimate, step;
        asm("frsqrte %0.4s, %1.4s" : "=w"(estimate) : "w"(x));
        asm("frsqrts %0.4s, %1.4s, %2.4s" : "=w"(step) : "w"(x * estimate), "w"(estimate));
        return estimate * step;
#else
        Raw result = x;
        for (int l = 0; l < lengthOf<Raw>; ++l)
            result[l] = 1.0f / __builtin_sqrtf(x[l]);
        return result;
#endif
    }
}

// The scalar forms take the estimate of a vector's first lane.
TARNM_INLINE float rawReciprocalEstimate(float x)
{
#if defined(__SSE__)
    return __builtin_ia32_rcpss(RawVector<float, 4>{x})[0];
#else
    return rawReciprocalEstimate(RawVector<float, 4>{x, x, x, x})[0];
#endif
}

TARNM_INLINE float rawReciprocalSqrtEstimate(float x)
{
#if defined(__SSE__)
    return __builtin_ia32_rsqrtss(RawVector<float, 4>{x})[0];
#else
    return rawReciprocalSqrtEstimate(RawVector<float, 4>{x, x, x, x})[0];
#endif
}

} // namespace tarnm::machine
