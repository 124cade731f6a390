// Vectors that memory fills in part or more than once.
//
//   loadFirst, storeFirst   the first n lanes; no byte beyond them is read or written
//   loadLanes               the lanes of a constant pattern; no byte between them is read
//   loadRepeated            a run shorter than the vector, over and over
//   loadFirstPieces         up to four pieces of 16 bytes from different places
//
// Lanes that `loadFirst` and `loadLanes` do not fill are zero, those behind the last piece of `loadFirstPieces` are undefined.
#pragma once

#include "frame/lanes.h"

namespace tarnm {

namespace machine {

#if defined(__AVX__)

// Bit l stands for lane l.
template <unsigned bits, class Mask, std::size_t... I> TARNM_INLINE Mask laneMaskBy(std::index_sequence<I...>)
{
    return Mask{((bits >> I & 1) != 0 ? -1 : 0)...};
}

template <unsigned bits, class Raw> TARNM_INLINE auto laneMask()
{
    using Integer = std::conditional_t<sizeof(ElementOf<Raw>) == 4, int, long long>;
    typedef RawVector<Integer, lengthOf<Raw>> Mask;
    return laneMaskBy<bits, Mask>(std::make_index_sequence<lengthOf<Raw>>{});
}

// The compilers declare the same builtins with pointers to elements or to vectors, const or not.
struct AnyPointer {
    const void* address;

    template <class Pointee> TARNM_INLINE operator Pointee*() const
    {
        return static_cast<Pointee*>(const_cast<void*>(address));
    }
};

template <unsigned bits, class Raw> TARNM_INLINE Raw loadMasked(const ElementOf<Raw>* address)
{
    const AnyPointer from{address};
    constexpr bool isSingle = sizeof(ElementOf<Raw>) == 4;
#if defined(__AVX512VL__)
    if constexpr (sizeof(Raw) == 64 && isSingle)
        return __builtin_ia32_loadups512_mask(from, Raw{}, bits);
    else if constexpr (sizeof(Raw) == 64)
        return __builtin_ia32_loadupd512_mask(from, Raw{}, bits);
    else if constexpr (sizeof(Raw) == 32 && isSingle)
        return __builtin_ia32_loadups256_mask(from, Raw{}, bits);
    else if constexpr (sizeof(Raw) == 32)
        return __builtin_ia32_loadupd256_mask(from, Raw{}, bits);
    else if constexpr (isSingle)
        return __builtin_ia32_loadups128_mask(from, Raw{}, bits);
    else
        return __builtin_ia32_loadupd128_mask(from, Raw{}, bits);
#else
    if constexpr (sizeof(Raw) == 32 && isSingle)
        return __builtin_ia32_maskloadps256(from, laneMask<bits, Raw>());
    else if constexpr (sizeof(Raw) == 32)
        return __builtin_ia32_maskloadpd256(from, laneMask<bits, Raw>());
    else if constexpr (isSingle)
        return __builtin_ia32_maskloadps(from, laneMask<bits, Raw>());
    else
        return __builtin_ia32_maskloadpd(from, laneMask<bits, Raw>());
#endif
}

template <int n, class Raw> TARNM_INLINE void storeMasked(ElementOf<Raw>* address, Raw value)
{
    const AnyPointer to{address};
    constexpr bool isSingle = sizeof(ElementOf<Raw>) == 4;
#if defined(__AVX512VL__)
    if constexpr (sizeof(Raw) == 64 && isSingle)
        __builtin_ia32_storeups512_mask(to, value, (1 << n) - 1);
    else if constexpr (sizeof(Raw) == 64)
        __builtin_ia32_storeupd512_mask(to, value, (1 << n) - 1);
    else if constexpr (sizeof(Raw) == 32 && isSingle)
        __builtin_ia32_storeups256_mask(to, value, (1 << n) - 1);
    else if constexpr (sizeof(Raw) == 32)
        __builtin_ia32_storeupd256_mask(to, value, (1 << n) - 1);
    else if constexpr (isSingle)
        __builtin_ia32_storeups128_mask(to, value, (1 << n) - 1);
    else
        __builtin_ia32_storeupd128_mask(to, value, (1 << n) - 1);
#else
    if constexpr (sizeof(Raw) == 32 && isSingle)
        __builtin_ia32_maskstoreps256(to, laneMask<(1u << n) - 1, Raw>(), value);
    else if constexpr (sizeof(Raw) == 32)
        __builtin_ia32_maskstorepd256(to, laneMask<(1u << n) - 1, Raw>(), value);
    else if constexpr (isSingle)
        __builtin_ia32_maskstoreps(to, laneMask<(1u << n) - 1, Raw>(), value);
    else
        __builtin_ia32_maskstorepd(to, laneMask<(1u << n) - 1, Raw>(), value);
#endif
}
#endif

template <class Wide, class Raw, std::size_t... I> TARNM_INLINE Wide repeatedBy(Raw v, std::index_sequence<I...>)
{
    return __builtin_shufflevector(v, v, int(I % lengthOf<Raw>)...);
}

// g++ 12 repeats in registers what one instruction repeats while it loads.
template <class Wide, class Raw> TARNM_INLINE Wide repeated(Raw v)
{
#if defined(TARNM_NAMES_PART_MOVES) && defined(__AVX512F__)
    if constexpr (sizeof(Wide) == 64 && sizeof(Raw) == 32)
        return (Wide)__builtin_ia32_broadcastf64x4_512((RawVector<double, 4>)v, RawVector<double, 8>{},
                                                       std::uint8_t(-1));
    else if constexpr (sizeof(Wide) == 64 && sizeof(Raw) == 16)
        return (Wide)__builtin_ia32_broadcastf32x4_512((RawVector<float, 4>)v, RawVector<float, 16>{},
                                                       std::uint16_t(-1));
    else
#endif
        return repeatedBy<Wide>(v, std::make_index_sequence<lengthOf<Wide>>{});
}

// The lanes behind `lower` are undefined.
template <class Wide, class Raw, std::size_t... I> TARNM_INLINE Wide widenedBy(Raw lower, std::index_sequence<I...>)
{
    return __builtin_shufflevector(lower, lower, (I < lengthOf<Raw> ? int(I) : -1)...);
}

template <class Wide, class Raw> TARNM_INLINE Wide widened(Raw lower)
{
    if constexpr (sizeof(Wide) == sizeof(Raw)) return lower;
#if defined(TARNM_NAMES_PART_MOVES)
    else if constexpr (sizeof(Wide) == 32)
        return (Wide)__builtin_ia32_ps256_ps((RawVector<float, 4>)lower);
#if defined(__AVX512F__)
    else if constexpr (sizeof(Raw) == 16)
        return (Wide)__builtin_ia32_ps512_ps((RawVector<float, 4>)lower);
    else
        return (Wide)__builtin_ia32_ps512_256ps((RawVector<float, 8>)lower);
#endif
#else
    else
        return widenedBy<Wide>(lower, std::make_index_sequence<lengthOf<Wide>>{});
#endif
}

template <class Wide, class Piece> TARNM_INLINE Wide joinedFirst(Piece a) { return widened<Wide>(a); }
template <class Wide, class Piece> TARNM_INLINE Wide joinedFirst(Piece a, Piece b)
{
    return widened<Wide>(joined(a, b));
}
template <class Wide, class Piece> TARNM_INLINE Wide joinedFirst(Piece a, Piece b, Piece c)
{
    typedef RawVector<ElementOf<Wide>, lengthOf<Wide> / 2> Half;
#if defined(TARNM_NAMES_PART_MOVES) && defined(__AVX512F__)
    const auto v = __builtin_ia32_ps512_256ps((RawVector<float, 8>)Half(joined(a, b)));
    return (Wide)__builtin_ia32_insertf32x4_mask(v, (RawVector<float, 4>)c, 2, v, std::uint16_t(-1));
#else
    return joined(Half(joined(a, b)), widened<Half>(c));
#endif
}
template <class Wide, class Piece> TARNM_INLINE Wide joinedFirst(Piece a, Piece b, Piece c, Piece d)
{
    return joinedPieces(a, b, c, d);
}

} // namespace machine

// Bit l of `bits` stands for lane l.
template <unsigned bits, class V> TARNM_INLINE V loadLanes(const scalar_t<V>* address)
{
    if constexpr (bits == (1u << lane_count_v<V>)-1)
        return load<V>(address);
    else {
#if defined(__AVX__)
        return V(machine::loadMasked<bits, typename V::Raw>(address));
#else
        V v(scalar_t<V>(0));
        TARNM_UNROLL
        for (int l = 0; l < lane_count_v<V>; ++l)
            if ((bits >> l & 1) != 0) v.set(l, load<scalar_t<V>>(address + l));
        return v;
#endif
    }
}

template <int n, class V> TARNM_INLINE V loadFirst(const scalar_t<V>* address)
{
    return loadLanes<(1u << n) - 1, V>(address);
}

template <int n, class T, int N> TARNM_INLINE void storeFirst(T* address, lanes<T, N> v)
{
    if constexpr (N == n)
        store(address, v);
    else {
#if defined(__AVX__)
        machine::storeMasked<n>(address, v.raw);
#else
        TARNM_UNROLL
        for (int l = 0; l < n; ++l)
            store(address + l, v[l]);
#endif
    }
}

// `run` elements from `address` on, in lanes 0 .. run - 1, run .. 2 run - 1, and so on.
template <int run, class V> TARNM_INLINE V loadRepeated(const scalar_t<V>* address)
{
    using T = scalar_t<V>;
    if constexpr (lane_count_v<V> == run)
        return load<V>(address);
    else {
#if defined(TARNM_NAMES_PART_MOVES)
        if constexpr (sizeof(V) == 32 && run * sizeof(T) == 16)
            return V((typename V::Raw)__builtin_ia32_vbroadcastf128_ps256(
                reinterpret_cast<const machine::RawVector<float, 4>*>(address)));
        else
#endif
            return V(machine::repeated<typename V::Raw>(load<lanes<T, run>>(address).raw));
    }
}

// The pieces that begin at `address`...
template <class V, class... Address> TARNM_INLINE V loadFirstPieces(Address... address)
{
    using Piece = lanes<scalar_t<V>, machine::pieceBytes / int(sizeof(scalar_t<V>))>;
    return V(machine::joinedFirst<typename V::Raw>(load<Piece>(address).raw...));
}

} // namespace tarnm
