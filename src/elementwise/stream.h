// Packed objects as one stream of elements.
//
//   streamable_v     whether operands of these types can stand in memory without gaps
//   isStream         whether those of a call do
//   combineStream    element-wise work on them
//
// Objects of 3 or 4 elements are too short for a loop of their own. Where all arrays of a call are packed, object
// after object, the call is one long loop over elements; a single operand then is a pattern that repeats with every
// object, and a constant one that repeats with every element. Only for operands that are the same memory as the
// result or lie clear of it, so that the order of the elements does not show.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "frame/fetch.h"
#include "frame/lanes.h"
#include "frame/operands.h"
#include "frame/overlap.h"
#include "tarnm/tarnm.h"

namespace tarnm::elementwise {

// ---- What meets the elements of an array ----
//
//   at<V>(i)      the values that meet elements i, i + 1, ..
//   next<V>(i)    the same in a loop over whole vectors; `u` is the number of the vector in a step of the loop

template <class T> struct Elements {
    const T* base;

    template <class V> TARNM_INLINE V at(std::ptrdiff_t i) const { return load<V>(base + i); }
    template <class V> TARNM_INLINE V next(std::ptrdiff_t i, int /*u*/) { return at<V>(i); }
};

template <class T> struct OneValue {
    T value;

    template <class V> TARNM_INLINE V at(std::ptrdiff_t) const { return V(value); }
    template <class V> TARNM_INLINE V next(std::ptrdiff_t, int /*u*/) { return V(value); }
};

// The elements of one object over and over, so far that a vector fits in from each element of the object on.
template <class T> struct Pattern {
    static constexpr int longest = 63;
    static constexpr int overhang = native_lane_count_v<T>;

    std::ptrdiff_t size;
    alignas(machine::vectorBytes) std::array<T, longest + overhang> elements;

    Pattern(const T* object, std::ptrdiff_t objectSize)
        : size(objectSize)
    {
        for (std::ptrdiff_t i = 0, k = 0; i < size + overhang; ++i, k = k + 1 < size ? k + 1 : 0)
            elements[i] = loadElement<T>(object + k);
    }

    template <class V> TARNM_INLINE V at(std::ptrdiff_t i) const { return load<V>(elements.data() + i % size); }
};

// All different vectors of a pattern that begins anew with every `period` of them.
template <class V, int period> struct HeldPattern {
    V vectors[period];

    TARNM_INLINE HeldPattern(const Pattern<scalar_t<V>>& pattern, std::ptrdiff_t i)
    {
        const std::ptrdiff_t stride = lane_count_v<V> % pattern.size;
        std::ptrdiff_t place = i % pattern.size;
        TARNM_UNROLL
        for (int k = 0; k < period; ++k) {
            vectors[k] = load<V>(pattern.elements.data() + place);
            place += stride;
            place -= place < pattern.size ? 0 : pattern.size;
        }
    }

    template <class> TARNM_INLINE V next(std::ptrdiff_t, int u) { return vectors[u]; }
};

// Any pattern. Each of the two vectors of a step has a place of its own in the pattern, so that neither waits for the
// other.
template <class V> struct WalkedPattern {
    const scalar_t<V>* elements;
    std::ptrdiff_t size, stride;
    std::ptrdiff_t places[2];

    TARNM_INLINE WalkedPattern(const Pattern<scalar_t<V>>& pattern, std::ptrdiff_t i)
        : elements(pattern.elements.data())
        , size(pattern.size)
        , stride(2 * lane_count_v<V> % size)
        , places{i % size, (i + lane_count_v<V>) % size}
    {}

    template <class> TARNM_INLINE V next(std::ptrdiff_t, int u)
    {
        const V values = load<V>(elements + places[u]);
        places[u] += stride;
        places[u] -= places[u] < size ? 0 : size;
        return values;
    }
};

// ---- d[i] = operation(a[i], b) over memory that is the same or apart, so that iterations are independent ----

// At most two vectors of N lanes, which may overlap each other: both are computed before one is stored.
template <int N, class Operation, class T, class B>
TARNM_INLINE void combineFew(Operation operation, Elements<T> a, const B& b, T* d, std::ptrdiff_t length)
{
    using V = lanes<T, N>;
    if (length >= N) {
        const V head = operation(a.template at<V>(0), b.template at<V>(0));
        const V tail = operation(a.template at<V>(length - N), b.template at<V>(length - N));
        store(d, head);
        store(d + length - N, tail);
    } else if constexpr (sizeof(V) > machine::pieceBytes) {
        combineFew<N / 2>(operation, a, b, d, length);
    } else {
        TARNM_UNROLL
        for (int i = 0; i < N - 1; ++i)
            if (i < length) store(d + i, operation(a.template at<T>(i), b.template at<T>(i)));
    }
}

// Whether the lines of the result are asked for ahead of the stores. It pays where the arrays do not fit into the first
// level of the cache and costs a little where they do.
enum class Fetch { onDemand, ahead };

inline constexpr std::ptrdiff_t firstLevelBytes = 40 * 1024; // the usual caches have 32 and 48 KiB
inline constexpr std::ptrdiff_t bytesAhead = 4 * lineBytes;

// Whole vectors from element i on, `unroll` of them at a step, as long as they fit.
template <Fetch fetch, int unroll, class V, class Operation, class T, class B>
TARNM_INLINE void combineVectors(Operation operation, Elements<T> a, B b, T* d, std::ptrdiff_t i, std::ptrdiff_t length)
{
    constexpr int N = lane_count_v<V>;
    for (; i + unroll * N <= length; i += unroll * N) {
        TARNM_UNROLL
        for (int u = 0; u < unroll; ++u) {
            if (fetch == Fetch::ahead && u * sizeof(V) % lineBytes == 0)
                fetchLine<true>(moved(d + i + u * N, bytesAhead));
            store(d + i + u * N, operation(a.template at<V>(i + u * N), b.template next<V>(i + u * N, u)));
        }
    }
    TARNM_UNROLL
    for (int u = 0; u < unroll - 1; ++u, i += N) {
        if (i + N > length) break;
        store(d + i, operation(a.template at<V>(i), b.template next<V>(i, u)));
    }
}

template <Fetch fetch, class V, class Operation, class T, class B>
TARNM_INLINE void combineInside(Operation operation, Elements<T> a, const B& b, T* d, std::ptrdiff_t i,
                                std::ptrdiff_t length)
{
    constexpr int unroll = fetch == Fetch::onDemand ? 8 : 4; // by measurement
    combineVectors<fetch, unroll, V>(operation, a, b, d, i, length);
}

template <Fetch fetch, int period, class V, class Operation, class T>
TARNM_INLINE bool combineInPeriod(Operation operation, Elements<T> a, const Pattern<T>& b, T* d, std::ptrdiff_t i,
                                  std::ptrdiff_t length)
{
    if (period * lane_count_v<V> % b.size != 0) return false;
    combineVectors<fetch, period, V>(operation, a, HeldPattern<V, period>(b, i), d, i, length);
    return true;
}

// The periods are those of vectors of 3 to 6 elements and of 3x3, 4x4 and 6x6 matrices in vectors of all widths.
template <Fetch fetch, class V, class Operation, class T>
TARNM_INLINE void combineInside(Operation operation, Elements<T> a, const Pattern<T>& b, T* d, std::ptrdiff_t i,
                                std::ptrdiff_t length)
{
    if (combineInPeriod<fetch, 4, V>(operation, a, b, d, i, length) ||
        combineInPeriod<fetch, 3, V>(operation, a, b, d, i, length) ||
        combineInPeriod<fetch, 5, V>(operation, a, b, d, i, length) ||
        combineInPeriod<fetch, 9, V>(operation, a, b, d, i, length))
        return;
    combineVectors<fetch, 2, V>(operation, a, WalkedPattern<V>(b, i), d, i, length);
}

// A vector at either end, stored last, and between them vectors at whole multiples of their size in the memory of the
// result: no store but the two touches two lines of the cache.
template <class Operation, class T, class B>
TARNM_INLINE void combineRun(Operation operation, Elements<T> a, const B& b, T* d, std::ptrdiff_t length)
{
    using V = native_lanes<T>;
    constexpr int N = lane_count_v<V>;
    if (length <= 2 * N) return combineFew<N>(operation, a, b, d, length);

    const V head = operation(a.template at<V>(0), b.template at<V>(0));
    const V tail = operation(a.template at<V>(length - N), b.template at<V>(length - N));
    const std::ptrdiff_t boundary = N - std::ptrdiff_t(reinterpret_cast<std::uintptr_t>(d) / sizeof(T) % N);
    constexpr int arrays = std::is_same_v<B, Elements<T>> ? 3 : 2;
    if (length <= firstLevelBytes / arrays / std::ptrdiff_t(sizeof(T)))
        combineInside<Fetch::onDemand, V>(operation, a, b, d, boundary, length);
    else
        combineInside<Fetch::ahead, V>(operation, a, b, d, boundary, length);
    store(d, head);
    store(d + length - N, tail);
}

// The loops are functions of their own, which a member ends with: they have their operands in registers.
template <class Operation, class T, class B>
[[gnu::noinline]] tarnmStatus combineArray(Operation operation, Elements<T> a, B b, T* d, std::ptrdiff_t length)
{
    combineRun(operation, a, b, d, length);
    return StatusOk;
}

// One object of `size` elements meets every object of the array. A few long objects are as well met one by one.
template <class Operation, class T>
[[gnu::noinline]] tarnmStatus combineWithOne(Operation operation, Elements<T> a, Elements<T> one, T* d,
                                             std::ptrdiff_t size, std::ptrdiff_t length)
{
    const bool few = size == length || (size >= native_lane_count_v<T> && size * 8 > length);
    if (size <= Pattern<T>::longest && !few)
        combineRun(operation, a, Pattern<T>(one.base, size), d, length);
    else
        for (std::ptrdiff_t i = 0; i < length; i += size)
            combineRun(operation, Elements<T>{a.base + i}, one, d + i, size);
    return StatusOk;
}

template <class Operation> struct Exchanged {
    Operation operation;
    template <class T> T operator()(T a, T b) const { return operation(b, a); }
};

// ---- Which calls are streams ----

template <class Operand> inline constexpr bool isConstant = false;
template <class T> inline constexpr bool isConstant<Single<Constant<T>>> = true;

template <class Operand>
inline constexpr bool isStreamable = isDenseArray<Operand> || isDenseSingle<Operand> || isConstant<Operand>;

// A constant is always the second operand.
template <class A, class B, class D>
inline constexpr bool streamable_v = isStreamable<A>&& isStreamable<B>&& isStreamable<D> && !isConstant<A>;

template <class T> bool isPacked(const Single<Constant<T>>&, std::int32_t, std::int32_t) { return true; }

// Whether the call is one run over elements: all operands packed, and the result not seen by what is read behind it.
template <class A, class B, class D>
bool isStream(const A& a, const B& b, const D& d, std::int32_t rows, std::int32_t columns, Place place)
{
    using T = typename D::ObjectView::Element;
    if (!isPacked(a, rows, columns) || !isPacked(b, rows, columns) || !isPacked(d, rows, columns)) return false;

    const std::uint64_t objectBytes = std::uint64_t(rows) * columns * sizeof(T);
    const std::uint64_t resultBytes = objectBytes * place.count;
    const T* const result = d[place.first].base;

    // A pattern must lie clear of the result; an array may also be the result itself.
    const auto serves = [&](const auto& operand) {
        using Operand = std::remove_cvref_t<decltype(operand)>;
        if constexpr (isConstant<Operand>) {
            return true;
        } else {
            const T* base = operand[place.first].base;
            const bool repeats = Operand::isSingle && !D::isSingle;
            return (!repeats && base == result) ||
                   apart(base, repeats ? objectBytes : resultBytes, result, resultBytes);
        }
    };
    return serves(a) && serves(b);
}

template <class Operation, class A, class B, class D>
tarnmStatus combineStream(Operation operation, const A& a, const B& b, const D& d, std::int32_t rows,
                          std::int32_t columns, Place place)
{
    using T = typename D::ObjectView::Element;
    const std::ptrdiff_t size = std::ptrdiff_t(rows) * columns;
    const std::ptrdiff_t length = size * place.count;
    T* const result = d[place.first].base;
    const Elements<T> first{a[place.first].base};
    if constexpr (isConstant<B>) {
        return combineArray(operation, first, OneValue<T>{b.object.value}, result, length);
    } else {
        const Elements<T> second{b[place.first].base};
        if constexpr (A::isSingle == B::isSingle)
            return combineArray(operation, first, second, result, length);
        else if constexpr (B::isSingle)
            return combineWithOne(operation, first, second, result, size, length);
        else
            return combineWithOne(Exchanged<Operation>{operation}, second, first, result, size, length);
    }
}

} // namespace tarnm::elementwise
