// Blocks: the elements of several objects brought into lanes, and results brought back.
//
//   loadBlock, storeBlock        the objects first .. first + live - 1 of an array view <-> V a[R][C], V a[L] or V a
//   source, result               an operand of a call: an array view with the shape of its objects
//   forEachBlock, forEachBlockOf, forEachPackedBlockOf
//                                run a kernel over the objects of a call
//
// Lane l of a block holds object first + l. The same functions serve scalars (V = float or double), where a block is
// one object.
//
// A family is written as a kernel over V and one call:
//
//     template <class V> mask_t<V> invert2(const V (&a)[2][2], V (&x)[2][2]);   // lanes that failed
//
//     const auto done = forEachBlock(place, [](const auto& a, auto& x) { return invert2(a, x); },
//                                    source<2, 2>(matrices), result<2, 2>(inverses));
//     return done == place.count ? StatusOk : StatusSingular;
//
// Kernel. Takes the operands in the order of the call: sources by const reference, results by reference. Returns
// nothing, or the mask_t<V> of the lanes that failed. Results of a lane that did not fail must all be set. It is
// called with V of several widths and of width 1 and must give every lane the bits of width 1.
//
// Failures. A block with a failing lane is computed again object by object with V of width 1. The first object that
// fails ends the run: the objects before it are stored, nothing of it or of those behind it has been written.
// `forEachBlock` returns the number of objects completed, so place.first + that is the failing object, and a family
// that leaves more behind for it (a row of work values, the part of a factor before the bad pivot) writes that itself.
//
// Memory. Only bytes of elements of the objects are read or written, at any address. All sources of a block are read
// before its results are written, so that a result may be its source. Unused lanes of the last block repeat its last
// object and are never stored. Results of strided arrays whose objects overlap are written in the order of objects,
// then rows, then columns. For tables of pointers, entries that are equal are written in that order too; entries that
// overlap in part are not ordered.
//
// Speed. Elements that lie side by side (the rows of dense objects, whole packed objects) are moved in vectors and
// transposed between registers. An object stride equal to the element size makes a structure of arrays and moves
// whole lanes. All else goes element by element.
#pragma once

#include "frame/lanes.h"
#include "frame/operands.h"

namespace tarnm {

namespace blocks {

// ---- Where the objects of a block lie ----

// `packedBytes` apart, known at compile time, so that all addresses are one base and constants.
template <class T, std::ptrdiff_t packedBytes> struct PackedBases {
    T* base;

    TARNM_INLINE T* operator[](int l) const { return moved(base, l * packedBytes); }
    TARNM_INLINE PackedBases shifted(std::ptrdiff_t bytes) const { return {moved(base, bytes)}; }
};

template <class T, int N> struct ListedBases {
    T* base[N];
    std::ptrdiff_t shift;

    TARNM_INLINE T* operator[](int l) const { return moved(base[l], shift); }
    TARNM_INLINE ListedBases shifted(std::ptrdiff_t bytes) const
    {
        ListedBases result = *this;
        result.shift += bytes;
        return result;
    }
};

template <int N, class Array> TARNM_INLINE auto basesOf(const Array& array, std::ptrdiff_t first, int live)
{
    ListedBases<typename Array::ObjectView::Pointee, N> result;
    result.shift = 0;
    if (live == N) [[likely]] {
        TARNM_UNROLL
        for (int l = 0; l < N; ++l)
            result.base[l] = array[first + l].base;
    } else {
        TARNM_UNROLL
        for (int l = 0; l < N; ++l)
            result.base[l] = array[first + (l < live ? l : live - 1)].base;
    }
    return result;
}

// ---- Element by element ----

template <class V, class AddressOfLane, std::size_t... I>
TARNM_INLINE V gatheredBy(AddressOfLane&& address, std::index_sequence<I...>)
{
    return V(typename V::Raw{loadElement<scalar_t<V>>(address(int(I)))...});
}

template <class V, class AddressOfLane> TARNM_INLINE V gathered(AddressOfLane&& address)
{
    return gatheredBy<V>(address, std::make_index_sequence<lane_count_v<V>>{});
}

// ---- Transposition between registers ----
//
// A run is `length` elements side by side in each of the N objects. Vectors are handled in pieces of 16 bytes: W
// elements of one object. W registers, each with pieces of the objects j, j + W, j + 2W, ... , are transposed piece by
// piece into W vectors of lanes. The transposition is its own inverse.

template <class V> inline constexpr int pieceLength = machine::pieceBytes / int(sizeof(scalar_t<V>));
template <class V> using Piece = lanes<scalar_t<V>, pieceLength<V>>;

template <class V> inline constexpr int pieceCount = lane_count_v<V> / pieceLength<V>;

template <class V, class AddressOfPiece, int... q>
TARNM_INLINE V loadJoinedBy(AddressOfPiece&& address, std::integer_sequence<int, q...>)
{
    return V(machine::joinedPieces(load<Piece<V>>(address(q)).raw...));
}

template <class V, class AddressOfPiece> TARNM_INLINE V loadJoined(AddressOfPiece&& address)
{
    return loadJoinedBy<V>(address, std::make_integer_sequence<int, pieceCount<V>>{});
}

// Calls body(q) with the number of every piece as a constant.
template <class Body, int... q> TARNM_INLINE void forEachPieceBy(Body&& body, std::integer_sequence<int, q...>)
{
    (body(std::integral_constant<int, q>{}), ...);
}

template <class V, class Body> TARNM_INLINE void forEachPiece(Body&& body)
{
    forEachPieceBy(body, std::make_integer_sequence<int, pieceCount<V>>{});
}

template <int q, class V> TARNM_INLINE Piece<V> pieceOf(V v) { return Piece<V>(machine::pieceAt<q>(v.raw)); }

template <int... pick, class V> TARNM_INLINE V shuffled(V a, V b)
{
    return V(machine::shuffledPieces<pick...>(a.raw, b.raw));
}

template <class V> TARNM_INLINE void transposePieces(V (&v)[2])
{
    const V a = v[0], b = v[1];
    v[0] = shuffled<0, 2>(a, b);
    v[1] = shuffled<1, 3>(a, b);
}

template <class V> TARNM_INLINE void transposePieces(V (&v)[4])
{
    const V lower01 = shuffled<0, 4, 1, 5>(v[0], v[1]);
    const V lower23 = shuffled<0, 4, 1, 5>(v[2], v[3]);
    const V upper01 = shuffled<2, 6, 3, 7>(v[0], v[1]);
    const V upper23 = shuffled<2, 6, 3, 7>(v[2], v[3]);
    v[0] = shuffled<0, 1, 4, 5>(lower01, lower23);
    v[1] = shuffled<2, 3, 6, 7>(lower01, lower23);
    v[2] = shuffled<0, 1, 4, 5>(upper01, upper23);
    v[3] = shuffled<2, 3, 6, 7>(upper01, upper23);
}

// Elements k .. k + W - 1 of every object as W vectors of lanes.
template <class V, class Bases> TARNM_INLINE void loadPieces(const Bases& bases, int k, V (&v)[pieceLength<V>])
{
    constexpr int W = pieceLength<V>;
    TARNM_UNROLL
    for (int j = 0; j < W; ++j)
        v[j] = loadJoined<V>([&](int q) __attribute__((always_inline)) { return bases[q * W + j] + k; });
    transposePieces(v);
}

template <class V, class Bases> TARNM_INLINE void storePieces(const Bases& bases, int k, V (&v)[pieceLength<V>])
{
    constexpr int W = pieceLength<V>;
    transposePieces(v);
    forEachPiece<V>([&](auto q) __attribute__((always_inline)) {
        TARNM_UNROLL
        for (int j = 0; j < W; ++j)
            store(bases[q * W + j] + k, pieceOf<q>(v[j]));
    });
}

// Two singles of every object. Half a piece is moved as one double, whose bits nothing looks at.
template <class V, class Bases> TARNM_INLINE void loadPairs(const Bases& bases, V& x, V& y)
{
    using Doubles = lanes<double, lane_count_v<V> / 2>;
    const auto pairs = [&](int from) __attribute__((always_inline))
    {
        return V((typename V::Raw)gathered<Doubles>([&](int i) __attribute__((always_inline)) {
                     return reinterpret_cast<const double*>(bases[i / 2 * 4 + i % 2 + from]);
                 }).raw);
    };
    const V lower = pairs(0), upper = pairs(2);
    x = shuffled<0, 2, 4, 6>(lower, upper);
    y = shuffled<1, 3, 5, 7>(lower, upper);
}

template <class V, class Bases> TARNM_INLINE void storePairs(const Bases& bases, V x, V y)
{
    using Doubles = lanes<double, lane_count_v<V> / 2>;
    const auto storeFrom = [&](int from, V pairs) __attribute__((always_inline))
    {
        const Doubles values((typename Doubles::Raw)pairs.raw);
        TARNM_UNROLL
        for (int i = 0; i < lane_count_v<V> / 2; ++i)
            storeElement(reinterpret_cast<double*>(bases[i / 2 * 4 + i % 2 + from]), values[i]);
    };
    storeFrom(0, shuffled<0, 4, 1, 5>(x, y));
    storeFrom(2, shuffled<2, 6, 3, 7>(x, y));
}

template <class V, class Bases> TARNM_INLINE V loadElements(const Bases& bases, int k)
{
    return gathered<V>([&](int l) __attribute__((always_inline)) { return bases[l] + k; });
}

template <class V, class Bases> TARNM_INLINE void storeElements(const Bases& bases, int k, V v)
{
    TARNM_UNROLL
    for (int l = 0; l < lane_count_v<V>; ++l)
        storeElement(bases[l] + k, v[l]);
}

// The last piece of a run that is no multiple of W reaches back over elements already taken, never past the end.
template <int length, class V, class Bases> TARNM_INLINE void loadRuns(const Bases& bases, V* a)
{
    constexpr int W = pieceLength<V>;
    if constexpr (length >= W) {
        V v[W];
        TARNM_UNROLL
        for (int k = 0; k + W <= length; k += W) {
            loadPieces(bases, k, v);
            TARNM_UNROLL
            for (int j = 0; j < W; ++j)
                a[k + j] = v[j];
        }
        if constexpr (length % W != 0) {
            loadPieces(bases, length - W, v);
            TARNM_UNROLL
            for (int j = W - length % W; j < W; ++j)
                a[length - W + j] = v[j];
        }
    } else {
        if constexpr (length >= 2) loadPairs(bases, a[0], a[1]);
        if constexpr (length % 2 != 0) a[length - 1] = loadElements<V>(bases, length - 1);
    }
}

template <int length, class V, class Bases> TARNM_INLINE void storeRuns(const Bases& bases, const V* a)
{
    constexpr int W = pieceLength<V>;
    if constexpr (length >= W) {
        V v[W];
        TARNM_UNROLL
        for (int k = 0; k < length; k += W) {
            const int from = k + W <= length ? k : length - W;
            TARNM_UNROLL
            for (int j = 0; j < W; ++j)
                v[j] = a[from + j];
            storePieces(bases, from, v);
        }
    } else {
        if constexpr (length >= 2) storePairs(bases, a[0], a[1]);
        if constexpr (length % 2 != 0) storeElements(bases, length - 1, a[length - 1]);
    }
}

// ---- Packed objects of 2 to 4 elements, by shuffles of whole vectors ----
//
// N objects are as many vectors as an object has elements. In memory they hold element p % length of object
// p / length, p counted through all of them. Sources of lanes as shuffledLanes takes them:

template <class V, int length>
inline constexpr bool packsIntoVectors = machine::shufflesAnyLanes &&
                                         sizeof(V) == machine::vectorBytes&& length >= 2 && length <= 4;

template <int N, int length> struct PackedOrder {
    // Element k of the objects that the first two vectors hold.
    template <int k> static constexpr int inFirstTwo(int l)
    {
        const int p = length * l + k;
        return p < 2 * N ? p : -1;
    }
    // The same completed from the third.
    template <int k> static constexpr int withThird(int l)
    {
        const int p = length * l + k;
        return p < 2 * N ? l : p - N;
    }
    // Elements k and k + 1 of the objects in two vectors of four elements each, in either half.
    template <int k> static constexpr int inPairOfFour(int l)
    {
        return l < N / 2 ? length * l + k : length * (l - N / 2) + k + 1;
    }
    template <int half> static constexpr int halves(int l)
    {
        return l < N / 2 ? l + half * N / 2 : l + N / 2 + half * N / 2;
    }

    // Vector j in memory from elements 0 and 1 of the objects, then completed from element 2.
    template <int j> static constexpr int fromFirstTwo(int i)
    {
        const int p = j * N + i;
        return p % length == 2 ? -1 : p % length * N + p / length;
    }
    template <int j> static constexpr int andThird(int i)
    {
        const int p = j * N + i;
        return p % length == 2 ? N + p / length : i;
    }
    // Two elements of the objects of one half, side by side, and two such pairs.
    template <int half> static constexpr int pairs(int i) { return i % 2 * N + i / 2 + half * N / 2; }
    template <int half> static constexpr int pairsOfPairs(int i)
    {
        return i / 2 % 2 * N + i / 4 * 2 + i % 2 + half * N / 2;
    }
};

template <auto source, class V> TARNM_INLINE V picked(V a, V b)
{
    return V(machine::shuffledLanes<source>(a.raw, b.raw));
}

// For a vector that several shuffles share.
template <class V> TARNM_INLINE V loadOnce(const scalar_t<V>* base)
{
    return V(machine::inRegister(load<V>(base).raw));
}

template <int length, class V> TARNM_INLINE void loadVectors(const scalar_t<V>* base, V* a)
{
    constexpr int N = lane_count_v<V>;
    using Order = PackedOrder<N, length>;
    V v[length];
    TARNM_UNROLL
    for (int j = 0; j < length; ++j)
        v[j] = loadOnce<V>(base + j * N);
    if constexpr (length == 2) {
        a[0] = picked<Order::template inFirstTwo<0>>(v[0], v[1]);
        a[1] = picked<Order::template inFirstTwo<1>>(v[0], v[1]);
    } else if constexpr (length == 3) {
        a[0] = picked<Order::template withThird<0>>(picked<Order::template inFirstTwo<0>>(v[0], v[1]), v[2]);
        a[1] = picked<Order::template withThird<1>>(picked<Order::template inFirstTwo<1>>(v[0], v[1]), v[2]);
        a[2] = picked<Order::template withThird<2>>(picked<Order::template inFirstTwo<2>>(v[0], v[1]), v[2]);
    } else {
        const V lower01 = picked<Order::template inPairOfFour<0>>(v[0], v[1]);
        const V upper01 = picked<Order::template inPairOfFour<0>>(v[2], v[3]);
        const V lower23 = picked<Order::template inPairOfFour<2>>(v[0], v[1]);
        const V upper23 = picked<Order::template inPairOfFour<2>>(v[2], v[3]);
        a[0] = picked<Order::template halves<0>>(lower01, upper01);
        a[1] = picked<Order::template halves<1>>(lower01, upper01);
        a[2] = picked<Order::template halves<0>>(lower23, upper23);
        a[3] = picked<Order::template halves<1>>(lower23, upper23);
    }
}

template <int length, class V> TARNM_INLINE void storeVectors(scalar_t<V>* base, const V* a)
{
    constexpr int N = lane_count_v<V>;
    using Order = PackedOrder<N, length>;
    V v[length];
    if constexpr (length == 2) {
        v[0] = picked<Order::template pairs<0>>(a[0], a[1]);
        v[1] = picked<Order::template pairs<1>>(a[0], a[1]);
    } else if constexpr (length == 3) {
        v[0] = picked<Order::template andThird<0>>(picked<Order::template fromFirstTwo<0>>(a[0], a[1]), a[2]);
        v[1] = picked<Order::template andThird<1>>(picked<Order::template fromFirstTwo<1>>(a[0], a[1]), a[2]);
        v[2] = picked<Order::template andThird<2>>(picked<Order::template fromFirstTwo<2>>(a[0], a[1]), a[2]);
    } else {
        const V lower01 = picked<Order::template pairs<0>>(a[0], a[1]);
        const V upper01 = picked<Order::template pairs<1>>(a[0], a[1]);
        const V lower23 = picked<Order::template pairs<0>>(a[2], a[3]);
        const V upper23 = picked<Order::template pairs<1>>(a[2], a[3]);
        v[0] = picked<Order::template pairsOfPairs<0>>(lower01, lower23);
        v[1] = picked<Order::template pairsOfPairs<1>>(lower01, lower23);
        v[2] = picked<Order::template pairsOfPairs<0>>(upper01, upper23);
        v[3] = picked<Order::template pairsOfPairs<1>>(upper01, upper23);
    }
    TARNM_UNROLL
    for (int j = 0; j < length; ++j)
        store(base + j * N, v[j]);
}

// ---- Packed objects ----

// Packed objects of 2 or 3 singles: W of them are 2 or 3 whole pieces.
template <class V, int length>
inline constexpr bool packsIntoPieces = pieceLength<V> == 4 && (length == 2 || length == 3);

// Packed objects of an odd number of doubles: two of them are whole pieces, the middle one with an element of each.
template <class V, int length> inline constexpr bool pairsIntoPieces = pieceLength<V> == 2 && length % 2 != 0;

template <int length, class V, int... e>
TARNM_INLINE void loadPackedPairs(const scalar_t<V>* base, V* a, std::integer_sequence<int, e...>)
{
    V v[length];
    TARNM_UNROLL
    for (int j = 0; j < length; ++j)
        v[j] = loadJoined<V>([&](int q) __attribute__((always_inline)) { return base + 2 * (q * length + j); });
    ((a[e] = shuffled<e % 2, 2 + (e + 1) % 2>(v[e / 2], v[(length + e) / 2])), ...);
}

template <int length, class V, int... j>
TARNM_INLINE void storePackedPairs(scalar_t<V>* base, const V* a, std::integer_sequence<int, j...>)
{
    // Elements 2j and 2j + 1 of the two objects one behind the other.
    const V v[length] = {
        shuffled<2 * j / length, 2 + (2 * j + 1) / length>(a[2 * j % length], a[(2 * j + 1) % length])...};
    TARNM_UNROLL
    for (int i = 0; i < length; ++i)
        forEachPiece<V>([&](auto q)
                            __attribute__((always_inline)) { store(base + 2 * (q * length + i), pieceOf<q>(v[i])); });
}

template <int length, class V> TARNM_INLINE void loadPacked(const scalar_t<V>* base, V* a)
{
    constexpr int W = pieceLength<V>;
    if constexpr (length == 1)
        a[0] = load<V>(base);
    else if constexpr (packsIntoVectors<V, length>)
        loadVectors<length>(base, a);
    else if constexpr (packsIntoPieces<V, length>) {
        V v[length];
        TARNM_UNROLL
        for (int j = 0; j < length; ++j)
            v[j] = loadJoined<V>([&](int q) __attribute__((always_inline)) { return base + (q * length + j) * W; });
        if constexpr (length == 2) {
            a[0] = shuffled<0, 2, 4, 6>(v[0], v[1]);
            a[1] = shuffled<1, 3, 5, 7>(v[0], v[1]);
        } else {
            // x0 y0 z0 x1 | y1 z1 x2 y2 | z2 x3 y3 z3
            const V xy = shuffled<2, 3, 5, 6>(v[1], v[2]); // x2 y2 x3 y3
            const V yz = shuffled<1, 2, 4, 5>(v[0], v[1]); // y0 z0 y1 z1
            a[0] = shuffled<0, 3, 4, 6>(v[0], xy);
            a[1] = shuffled<0, 2, 5, 7>(yz, xy);
            a[2] = shuffled<1, 3, 4, 7>(yz, v[2]);
        }
    } else if constexpr (pairsIntoPieces<V, length>)
        loadPackedPairs<length>(base, a, std::make_integer_sequence<int, length>{});
    else
        loadRuns<length>(PackedBases<const scalar_t<V>, length * sizeof(scalar_t<V>)>{base}, a);
}

template <int length, class V> TARNM_INLINE void storePacked(scalar_t<V>* base, const V* a)
{
    constexpr int W = pieceLength<V>;
    if constexpr (length == 1)
        store(base, a[0]);
    else if constexpr (packsIntoVectors<V, length>)
        storeVectors<length>(base, a);
    else if constexpr (packsIntoPieces<V, length>) {
        V v[length];
        if constexpr (length == 2) {
            v[0] = shuffled<0, 4, 1, 5>(a[0], a[1]);
            v[1] = shuffled<2, 6, 3, 7>(a[0], a[1]);
        } else {
            const V xy = shuffled<0, 2, 4, 6>(a[0], a[1]); // x0 x2 y0 y2
            const V yz = shuffled<1, 3, 5, 7>(a[1], a[2]); // y1 y3 z1 z3
            const V zx = shuffled<0, 2, 5, 7>(a[2], a[0]); // z0 z2 x1 x3
            v[0] = shuffled<0, 2, 4, 6>(xy, zx);           // x0 y0 z0 x1
            v[1] = shuffled<0, 2, 5, 7>(yz, xy);           // y1 z1 x2 y2
            v[2] = shuffled<1, 3, 5, 7>(zx, yz);           // z2 x3 y3 z3
        }
        forEachPiece<V>([&](auto q) __attribute__((always_inline)) {
            TARNM_UNROLL
            for (int j = 0; j < length; ++j)
                store(base + (q * length + j) * W, pieceOf<q>(v[j]));
        });
    } else if constexpr (pairsIntoPieces<V, length>)
        storePackedPairs<length>(base, a, std::make_integer_sequence<int, length>{});
    else
        storeRuns<length>(PackedBases<scalar_t<V>, length * sizeof(scalar_t<V>)>{base}, a);
}

// ---- Shapes ----
//
// Vectors are matrices of one row below, so that every path is written once: elements are a[r * C + c].

template <int R, int C> struct Shape {
    static constexpr int rows = R, columns = C, elements = R * C;
};

template <class Object> TARNM_INLINE auto* elementAddress(const Object& object, int r, int c)
{
    if constexpr (requires { object.address(r, c); })
        return object.address(r, c);
    else
        return object.address(c);
}

template <class Object> TARNM_INLINE auto element(const Object& object, int r, int c)
{
    if constexpr (requires { object(r, c); })
        return object(r, c);
    else
        return object[c];
}

template <class Object> TARNM_INLINE void setElement(const Object& object, int r, int c, auto value)
{
    storeElement(elementAddress(object, r, c), value);
}

// ---- Kinds of arrays ----

template <class Object> inline constexpr bool isTransposed = false;
template <class Matrix> inline constexpr bool isTransposed<Transposed<Matrix>> = true;

// An array whose objects are known to stand in memory without a gap, so that nothing is asked for each block.
template <class Array> struct Packed : Array {};
template <class Array> inline constexpr bool isKnownPacked = false;
template <class Array> inline constexpr bool isKnownPacked<Packed<Array>> = true;

template <class Object> TARNM_INLINE ObjectArray<Object> asStored(const ObjectArray<Transposed<Object>>& array)
{
    return {array.first.stored, array.objectStride};
}
template <class Object> TARNM_INLINE ObjectList<Object> asStored(const ObjectList<Transposed<Object>>& array)
{
    return {array.table, array.shift, array.pattern.stored};
}

template <class Object> TARNM_INLINE const Object& pattern(const ObjectArray<Object>& array) { return array.first; }
template <class Object> TARNM_INLINE const Object& pattern(const ObjectList<Object>& array) { return array.pattern; }

template <class Object> TARNM_INLINE std::ptrdiff_t rowStrideOf(const Object& object)
{
    if constexpr (requires { object.rowStride; })
        return object.rowStride;
    else
        return 0;
}

template <class S, class Array> TARNM_INLINE bool standsPacked(const Array& array)
{
    return isKnownPacked<Array> || isPacked(array, S::rows, S::columns);
}

template <class Array> inline constexpr bool canStandPacked = isDenseArray<Array> || isKnownPacked<Array>;

// ---- Loading ----

template <class S, class V, class Array>
TARNM_INLINE void loadDense(const Array& array, std::ptrdiff_t first, int live, V* a)
{
    using T = scalar_t<V>;
    constexpr int N = lane_count_v<V>;
    const auto& object = pattern(array);
    if constexpr (canStandPacked<Array>)
        if (standsPacked<S>(array) && live == N)
            return loadPacked<S::elements>(static_cast<const T*>(array[first].base), a);
    const auto bases = basesOf<N>(array, first, live);
    if (isPacked(object, S::rows, S::columns)) return loadRuns<S::elements>(bases, a);
    TARNM_UNROLL
    for (int r = 0; r < S::rows; ++r)
        loadRuns<S::columns>(bases.shifted(r * rowStrideOf(object)), a + r * S::columns);
}

// Every element of the objects first .. first + N - 1 lies beside that of the next object.
template <class S, class V, class Object> TARNM_INLINE void loadInterleaved(const Object& object, V* a)
{
    TARNM_UNROLL
    for (int r = 0; r < S::rows; ++r)
        TARNM_UNROLL
    for (int c = 0; c < S::columns; ++c)
        a[r * S::columns + c] = load<V>(elementAddress(object, r, c));
}

template <class S, class V, class Array>
TARNM_INLINE void loadByElement(const Array& array, std::ptrdiff_t first, int live, V* a)
{
    constexpr int N = lane_count_v<V>;
    if constexpr (requires { pattern(array).base; }) {
        const auto bases = basesOf<N>(array, first, live);
        const auto object = pattern(array).at(nullptr);
        TARNM_UNROLL
        for (int r = 0; r < S::rows; ++r)
            TARNM_UNROLL
        for (int c = 0; c < S::columns; ++c)
            a[r * S::columns + c] = gathered<V>([&](int l) __attribute__((always_inline)) {
                return moved(bases[l], r * rowStrideOf(object) + c * object.elementStride.bytes);
            });
    } else {
        const auto object = array[first];
        std::ptrdiff_t distance[N];
        TARNM_UNROLL
        for (int l = 0; l < N; ++l)
            distance[l] = (l < live ? l : live - 1) * array.objectStride;
        TARNM_UNROLL
        for (int r = 0; r < S::rows; ++r)
            TARNM_UNROLL
        for (int c = 0; c < S::columns; ++c) {
            const auto* address = elementAddress(object, r, c);
            a[r * S::columns + c] =
                gathered<V>([&](int l) __attribute__((always_inline)) { return moved(address, distance[l]); });
        }
    }
}

template <class S, class V, class Array>
TARNM_INLINE void loadElementsOf(const Array& array, std::ptrdiff_t first, int live, V* a)
{
    using Object = typename Array::ObjectView;
    constexpr int N = lane_count_v<V>;
    if constexpr (N == 1 || Array::isSingle) {
        const Object object = array[first];
        TARNM_UNROLL
        for (int r = 0; r < S::rows; ++r)
            TARNM_UNROLL
        for (int c = 0; c < S::columns; ++c)
            a[r * S::columns + c] = V(element(object, r, c));
    } else if constexpr (isTransposed<Object>) {
        V stored[S::elements];
        loadElementsOf<Shape<S::columns, S::rows>>(asStored(array), first, live, stored);
        TARNM_UNROLL
        for (int r = 0; r < S::rows; ++r)
            TARNM_UNROLL
        for (int c = 0; c < S::columns; ++c)
            a[r * S::columns + c] = stored[c * S::rows + r];
    } else if constexpr (requires { requires Object::isDense; })
        loadDense<S>(array, first, live, a);
    else {
        if constexpr (isObjectArray<Array>)
            if (array.objectStride == sizeof(scalar_t<V>) && live == N) return loadInterleaved<S>(array[first], a);
        loadByElement<S>(array, first, live, a);
    }
}

// ---- Storing ----

// In the order of objects, rows, columns. Out of line and through memory: as fast as taking lanes apart one by one in
// registers, and a fraction of the code.
template <class S, class V, class Array>
[[gnu::noinline]] void storeLanes(const Array& array, std::ptrdiff_t first, int live, const V* a)
{
    using T = scalar_t<V>;
    const T* values = reinterpret_cast<const T*>(a);
    for (int l = 0; l < live; ++l) {
        const auto object = array[first + l];
        for (int r = 0; r < S::rows; ++r)
            TARNM_UNROLL
        for (int c = 0; c < S::columns; ++c)
            setElement(object, r, c, loadElement(values + (r * S::columns + c) * lane_count_v<V> + l));
    }
}

// The copy lets `a` itself stay in registers on every other path.
template <class S, class V, class Array>
TARNM_INLINE void storeByElement(const Array& array, std::ptrdiff_t first, int live, const V* a)
{
    V copy[S::elements];
    TARNM_UNROLL
    for (int i = 0; i < S::elements; ++i)
        copy[i] = a[i];
    storeLanes<S>(array, first, live, copy);
}

// Whether the block could be stored in runs: not, if objects overlap.
template <class S, class V, class Array>
TARNM_INLINE bool storedDense(const Array& array, std::ptrdiff_t first, const V* a)
{
    using T = scalar_t<V>;
    constexpr int N = lane_count_v<V>;
    const auto& object = pattern(array);
    if constexpr (canStandPacked<Array>) {
        if (standsPacked<S>(array)) {
            storePacked<S::elements>(array[first].base, a);
            return true;
        }
        constexpr std::ptrdiff_t rowBytes = S::columns * sizeof(T);
        const bool isDisjoint = array.objectStride >= (S::rows - 1) * rowStrideOf(object) + rowBytes;
        if (!isDisjoint) return false;
    }
    const auto bases = basesOf<N>(array, first, N);
    if (isPacked(object, S::rows, S::columns)) {
        storeRuns<S::elements>(bases, a);
        return true;
    }
    TARNM_UNROLL
    for (int r = 0; r < S::rows; ++r)
        storeRuns<S::columns>(bases.shifted(r * rowStrideOf(object)), a + r * S::columns);
    return true;
}

// Whether elements are so far apart that N objects side by side keep clear of the next element.
template <class S, int N, class Object> TARNM_INLINE bool isClearInterleaved(const Object& object)
{
    if constexpr (requires { object.elementStride; }) {
        constexpr std::ptrdiff_t block = N * sizeof(typename Object::Element);
        const std::ptrdiff_t column = object.elementStride.bytes, row = rowStrideOf(object);
        return (S::columns == 1 || column >= block) && (S::rows == 1 || row >= block) &&
               (S::columns == 1 || S::rows == 1 || row >= (S::columns - 1) * column + block ||
                column >= (S::rows - 1) * row + block);
    } else
        return true;
}

template <class S, class V, class Object> TARNM_INLINE void storeInterleaved(const Object& object, const V* a)
{
    TARNM_UNROLL
    for (int r = 0; r < S::rows; ++r)
        TARNM_UNROLL
    for (int c = 0; c < S::columns; ++c)
        store(elementAddress(object, r, c), a[r * S::columns + c]);
}

template <class S, class V, class Array>
TARNM_INLINE void storeElementsOf(const Array& array, std::ptrdiff_t first, int live, const V* a)
{
    using Object = typename Array::ObjectView;
    constexpr int N = lane_count_v<V>;
    if constexpr (N == 1) {
        const auto object = array[first];
        TARNM_UNROLL
        for (int r = 0; r < S::rows; ++r)
            TARNM_UNROLL
        for (int c = 0; c < S::columns; ++c)
            setElement(object, r, c, a[r * S::columns + c]);
        return;
    } else if constexpr (requires { requires Object::isDense; }) {
        if (live == N && storedDense<S>(array, first, a)) return;
    } else if constexpr (isObjectArray<Array>) {
        if (live == N && array.objectStride == sizeof(scalar_t<V>) && isClearInterleaved<S, N>(array.first))
            return storeInterleaved<S>(array[first], a);
    }
    storeByElement<S>(array, first, live, a);
}

} // namespace blocks

// ---- Blocks ----

template <class Array, class V, int R, int C>
TARNM_INLINE void loadBlock(const Array& array, std::ptrdiff_t first, int live, V (&a)[R][C])
{
    blocks::loadElementsOf<blocks::Shape<R, C>>(array, first, live, &a[0][0]);
}

template <class Array, class V, int L>
TARNM_INLINE void loadBlock(const Array& array, std::ptrdiff_t first, int live, V (&a)[L])
{
    blocks::loadElementsOf<blocks::Shape<1, L>>(array, first, live, &a[0]);
}

template <class Array, Value V>
TARNM_INLINE void loadBlock(const Array& array, std::ptrdiff_t first, [[maybe_unused]] int live, V& a)
{
    constexpr int N = lane_count_v<V>;
    if constexpr (requires { requires Array::isSingle; })
        a = V(array.object.value);
    else {
        if constexpr (requires { array.objectStride; })
            if (array.objectStride == sizeof(scalar_t<V>) && live == N) {
                a = load<V>(array.address(first));
                return;
            }
        if constexpr (N == 1)
            a = loadElement(array.address(first));
        else
            a = blocks::gathered<V>([&](int l) __attribute__((always_inline)) {
                return array.address(first + (l < live ? l : live - 1));
            });
    }
}

template <class Array, class V, int R, int C>
TARNM_INLINE void storeBlock(const Array& array, std::ptrdiff_t first, int live, const V (&a)[R][C])
{
    blocks::storeElementsOf<blocks::Shape<R, C>>(array, first, live, &a[0][0]);
}

template <class Array, class V, int L>
TARNM_INLINE void storeBlock(const Array& array, std::ptrdiff_t first, int live, const V (&a)[L])
{
    blocks::storeElementsOf<blocks::Shape<1, L>>(array, first, live, &a[0]);
}

template <class T, Value V>
TARNM_INLINE void storeBlock(const ScalarArray<T>& array, std::ptrdiff_t first, int live, const V& a)
{
    if (live == lane_count_v<V>)
        store(array.base + first, a);
    else
        for (int l = 0; l < live; ++l)
            array.set(first + l, lane(a, l));
}

// ---- Operands of a kernel ----

enum class Access { read, write, update };

template <class V, int... extents> struct ElementsOf;
template <class V> struct ElementsOf<V> {
    using type = V;
};
template <class V, int L> struct ElementsOf<V, L> {
    using type = V[L];
};
template <class V, int R, int C> struct ElementsOf<V, R, C> {
    using type = V[R][C];
};

template <Access access, class Array, int... extents> struct Operand {
    Array array;
};

// source<R, C>(matrices), source<L>(vectors), source(constants), and so for the others.
template <int... extents, class Array> Operand<Access::read, Array, extents...> source(const Array& array)
{
    return {array};
}
template <int... extents, class Array> Operand<Access::write, Array, extents...> result(const Array& array)
{
    return {array};
}
// Read and written; the kernel changes it in place.
template <int... extents, class Array> Operand<Access::update, Array, extents...> updated(const Array& array)
{
    return {array};
}

namespace blocks {

// An operand's elements for one block. A single object is read once, ahead of all blocks.
template <class V, class SomeOperand> struct Block;

template <class V, Access access, class Array, int... extents> struct Block<V, Operand<access, Array, extents...>> {
    using Elements = typename ElementsOf<V, extents...>::type;
    static constexpr bool isSingle = requires { requires Array::isSingle; };

    Array array;
    Elements elements;

    TARNM_INLINE explicit Block(const Operand<access, Array, extents...>& operand)
        : array(operand.array)
    {
        if constexpr (isSingle) loadBlock(array, 0, lane_count_v<V>, elements);
    }

    TARNM_INLINE void read(std::ptrdiff_t first, int live)
    {
        if constexpr (access != Access::write && !isSingle) loadBlock(array, first, live, elements);
    }

    TARNM_INLINE std::conditional_t<access == Access::read, const Elements&, Elements&> argument() { return elements; }

    TARNM_INLINE void write(std::ptrdiff_t first, int live) const
    {
        if constexpr (access != Access::read) storeBlock(array, first, live, elements);
    }
};

// Whether all objects of the block succeeded; else nothing is written.
template <class Kernel, class... Blocks>
TARNM_INLINE bool computed(const Kernel& kernel, std::ptrdiff_t first, int live, Blocks&... blocks)
{
    (blocks.read(first, live), ...);
    if constexpr (std::is_void_v<decltype(kernel(blocks.argument()...))>)
        kernel(blocks.argument()...);
    else if (any(kernel(blocks.argument()...)))
        return false;
    (blocks.write(first, live), ...);
    return true;
}

// The first object from `first` on that fails, or `end`. Out of line: it stands beside the loop over blocks.
template <class T, class Kernel, class... Operands>
[[gnu::noinline]] std::int32_t computedSingly(const Kernel& kernel, std::int32_t first, std::int32_t end,
                                              const Operands&... operands)
{
    return [&](Block<T, Operands>... blocks) {
        std::int32_t n = first;
        while (n < end && computed(kernel, n, 1, blocks...)) {
            // Keeps g++ 12 from vectorising the loop: where objects of two elements lie a stride apart it reads the
            // object behind the last one.
            asm volatile("");
            ++n;
        }
        return n;
    }(Block<T, Operands>(operands)...);
}

template <int... extents> struct ShapeOf;
template <int L> struct ShapeOf<L> : Shape<1, L> {};
template <int R, int C> struct ShapeOf<R, C> : Shape<R, C> {};

template <class SomeOperand> inline constexpr bool canBePacked = false;
template <Access access, class Object, int extent, int... extents>
inline constexpr bool canBePacked<Operand<access, ObjectArray<Object>, extent, extents...>> =
    isDense<ObjectArray<Object>>;

template <Access access, class Array, int... extents>
bool isPackedOperand(const Operand<access, Array, extents...>& operand)
{
    return isPacked(operand.array, ShapeOf<extents...>::rows, ShapeOf<extents...>::columns);
}

// The same operand, of which it is known from then on.
template <Access access, class Array, int... extents>
Operand<access, Packed<Array>, extents...> packedOperand(const Operand<access, Array, extents...>& operand)
{
    return {{operand.array}};
}

template <class SomeOperand> struct OperandTraits;
template <Access access, class Array, int... extents> struct OperandTraits<Operand<access, Array, extents...>> {
    using Element = std::remove_cvref_t<decltype(element(std::declval<Array>()[0], 0, 0))>;
};
template <Access access, class T> struct OperandTraits<Operand<access, ScalarArray<T>>> {
    using Element = T;
};

} // namespace blocks

// ---- The objects of a call ----

// Runs `kernel` over the objects of `place`, lane_count_v<V> at a time, and returns how many objects were completed.
template <class V, class Kernel, class... Operands>
inline std::int32_t forEachBlockOf(Place place, const Kernel& kernel, const Operands&... operands)
{
    using T = scalar_t<V>;
    const std::int32_t end = place.first + place.count;
    if (place.count == 1) return blocks::computedSingly<T>(kernel, place.first, end, operands...) - place.first;
    const auto run = [&](auto... blocks) __attribute__((always_inline))
    {
        for (std::int32_t n = place.first; n < end;) {
            const int live = end - n < lane_count_v<V> ? end - n : lane_count_v<V>;
            if (live == 1 || !blocks::computed(kernel, n, live, blocks...)) [[unlikely]] {
                const std::int32_t reached = blocks::computedSingly<T>(kernel, n, n + live, operands...);
                if (reached < n + live) return reached - place.first;
            }
            n += live;
        }
        return place.count;
    };
    return run(blocks::Block<V, Operands>(operands)...);
}

// The same, with a loop of its own for operands that are all packed, in which nothing is asked of strides.
template <class V, class Kernel, class... Operands>
inline std::int32_t forEachPackedBlockOf(Place place, const Kernel& kernel, const Operands&... operands)
{
    if constexpr ((blocks::canBePacked<Operands> && ...))
        if ((blocks::isPackedOperand(operands) && ...))
            return forEachBlockOf<V>(place, kernel, blocks::packedOperand(operands)...);
    return forEachBlockOf<V>(place, kernel, operands...);
}

template <class Kernel, class FirstOperand, class... Operands>
inline std::int32_t forEachBlock(Place place, const Kernel& kernel, const FirstOperand& first,
                                 const Operands&... others)
{
    using T = typename blocks::OperandTraits<FirstOperand>::Element;
    return forEachBlockOf<native_lanes<T>>(place, kernel, first, others...);
}

} // namespace tarnm
