// The compilers' vectors, and the few instructions that have no spelling in C++ or in the vector extensions.
//
//   RawVector, MaskInteger       vector types of g++ and clang
//   lowerHalf, upperHalf, joined parts of a vector
//   joinedPieces, pieceAt        pieces of 16 bytes of a vector
//   shuffledPieces               one shuffle pattern applied to every 16 byte piece
//   shuffledLanes                any lanes of two vectors
//   inRegister                   a value that is loaded once
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

// Before a loop of constant length over arrays of lanes: with it unrolled the elements live in registers. g++ leaves
// such loops, and with them the arrays in memory, at -O2.
#if defined(__clang__)
#define TARNM_UNROLL _Pragma("unroll")
#else
#define TARNM_UNROLL _Pragma("GCC unroll 64")
#endif

namespace tarnm::machine {

// Bytes of the widest vector of the target, and of the piece inside which its shuffles are cheap.
#if defined(__AVX512F__) && defined(__AVX512VL__) && defined(__AVX512DQ__)
inline constexpr int vectorBytes = 64;
inline constexpr bool hasMaskRegisters = true;
inline constexpr bool shufflesAnyLanes = true; // of two vectors by one instruction
#elif defined(__AVX__)
inline constexpr int vectorBytes = 32;
inline constexpr bool hasMaskRegisters = false;
inline constexpr bool shufflesAnyLanes = false;
#else
inline constexpr int vectorBytes = 16;
inline constexpr bool hasMaskRegisters = false;
inline constexpr bool shufflesAnyLanes = false;
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

template <class Raw, std::size_t... I> TARNM_INLINE auto halfFrom(Raw v, std::index_sequence<I...>, auto offset)
{
    return __builtin_shufflevector(v, v, int(I + offset)...);
}

template <class Raw> TARNM_INLINE auto lowerHalf(Raw v)
{
    constexpr int half = lengthOf<Raw> / 2;
    return halfFrom(v, std::make_index_sequence<half>{}, std::integral_constant<int, 0>{});
}

// g++ 12 moves parts of vectors by general permutations between registers, where one instruction with a memory operand
// does. The builtins name that instruction.
#if defined(__AVX__) && !defined(__clang__)
#define TARNM_NAMES_PART_MOVES
#endif

template <class Raw> TARNM_INLINE auto upperHalf(Raw v)
{
    constexpr int half = lengthOf<Raw> / 2;
    [[maybe_unused]] typedef RawVector<ElementOf<Raw>, half> Half;
#if defined(TARNM_NAMES_PART_MOVES)
    if constexpr (sizeof(Raw) == 32 && sizeof(v[0]) == 8)
        return (Half)__builtin_ia32_vextractf128_pd256((RawVector<double, 4>)v, 1);
    else if constexpr (sizeof(Raw) == 32)
        return (Half)__builtin_ia32_vextractf128_ps256((RawVector<float, 8>)v, 1);
    else
#endif
        return halfFrom(v, std::make_index_sequence<half>{}, std::integral_constant<int, half>{});
}

template <class Raw, std::size_t... I> TARNM_INLINE auto joinedBy(Raw lower, Raw upper, std::index_sequence<I...>)
{
    return __builtin_shufflevector(lower, upper, int(I)...);
}

template <class Raw> TARNM_INLINE auto joined(Raw lower, Raw upper)
{
    constexpr int length = 2 * lengthOf<Raw>;
    [[maybe_unused]] typedef RawVector<ElementOf<Raw>, length> Joined;
#if defined(TARNM_NAMES_PART_MOVES)
    if constexpr (sizeof(Raw) == 16) {
        const auto widened = __builtin_ia32_ps256_ps((RawVector<float, 4>)lower);
        return (Joined)__builtin_ia32_vinsertf128_ps256(widened, (RawVector<float, 4>)upper, 1);
    } else
#endif
        return joinedBy(lower, upper, std::make_index_sequence<length>{});
}

// One vector of 1, 2 or 4 pieces.
template <class Piece> TARNM_INLINE Piece joinedPieces(Piece only) { return only; }
template <class Piece> TARNM_INLINE auto joinedPieces(Piece a, Piece b) { return joined(a, b); }
template <class Piece> TARNM_INLINE auto joinedPieces(Piece a, Piece b, Piece c, Piece d)
{
#if defined(TARNM_NAMES_PART_MOVES) && defined(__AVX512F__)
    using Floats = RawVector<float, 4>;
    auto v = __builtin_ia32_ps512_256ps((RawVector<float, 8>)joined(a, b));
    v = __builtin_ia32_insertf32x4_mask(v, (Floats)c, 2, v, std::uint16_t(-1));
    v = __builtin_ia32_insertf32x4_mask(v, (Floats)d, 3, v, std::uint16_t(-1));
    return (RawVector<ElementOf<Piece>, 4 * lengthOf<Piece>>)v;
#else
    return joined(joined(a, b), joined(c, d));
#endif
}

template <int q, class Raw> TARNM_INLINE auto pieceAt(Raw v)
{
    if constexpr (sizeof(Raw) == pieceBytes)
        return v;
    else if constexpr (sizeof(Raw) == 2 * pieceBytes)
        return q == 0 ? lowerHalf(v) : upperHalf(v);
#if defined(TARNM_NAMES_PART_MOVES) && defined(__AVX512F__)
    else if constexpr (q >= 2)
        return (RawVector<ElementOf<Raw>, lengthOf<Raw> / 4>)__builtin_ia32_extractf32x4_mask(
            (RawVector<float, 16>)v, q, RawVector<float, 4>{}, std::uint8_t(-1));
#endif
    else
        return pieceAt<q % 2>(q < 2 ? lowerHalf(v) : upperHalf(v));
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

// Any lanes of two vectors: lane i is lane source(i), counted through both, or anything where source(i) is negative.
template <auto source, class Raw, std::size_t... I>
TARNM_INLINE Raw shuffledLanesBy(Raw a, Raw b, std::index_sequence<I...>)
{
    return __builtin_shufflevector(a, b, source(int(I))...);
}

template <auto source, class Raw> TARNM_INLINE Raw shuffledLanes(Raw a, Raw b)
{
    return shuffledLanesBy<source>(a, b, std::make_index_sequence<lengthOf<Raw>>{});
}

// g++ 12 gives each shuffle of a loaded vector a memory operand of its own, and loads that cross lines are slow.
template <class Raw> TARNM_INLINE Raw inRegister(Raw v)
{
#if defined(__AVX512F__) && !defined(__clang__)
    asm("" : "+v"(v));
#endif
    return v;
}

// Lanes of `mask` are all ones (take from `a`) or all zeros (take from `b`).
template <class Mask, class Raw> TARNM_INLINE Raw blend(Mask mask, Raw a, Raw b)
{
    static_assert(sizeof(Mask) == sizeof(Raw));
    if constexpr (hasMaskRegisters) return mask ? a : b;
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
    if constexpr (sizeof(Raw) == 32) return __builtin_ia32_rcpps256(x);
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
    if constexpr (sizeof(Raw) == 32) return __builtin_ia32_rsqrtps256(x);
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
