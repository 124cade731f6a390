// What loadBlock and storeBlock must do, for every form of array, shape and width.
//
// Objects are laid out by plain arithmetic on bytes here; the views of the library are what is tested. Every element
// (n, r, c) has a value of its own. Memory is flush with an inaccessible page on one side, in turn, so that any byte
// read or written outside the elements' extent ends the program; bytes between elements hold a canary.
#pragma once

#include "frame/blocks.h"
#include "guarded_memory.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

namespace tarnm {

struct Distances {
    std::ptrdiff_t object, row, element; // bytes
};

template <class T> T valueOf(int n, int r, int c)
{
    return T((n + 1) * 64 + r * 8 + c) * ((n + r + c) % 3 == 0 ? T(-1) : T(1));
}

template <class T> void put(unsigned char* address, T value) { std::memcpy(address, &value, sizeof value); }

// ---- Checks of one block ----

// Elements by a common spelling for matrices and vectors.
template <class V, int R, int C> V& at(V (&a)[R][C], int r, int c) { return a[r][c]; }
template <class V, int L> V& at(V (&a)[L], int, int c) { return a[c]; }

template <int R, int C> struct MatrixCase {
    static constexpr int rows = R, columns = C;
    static constexpr bool isVector = false;
    template <class V> using Block = V[R][C];
};

template <int L> struct VectorCase {
    static constexpr int rows = 1, columns = L;
    static constexpr bool isVector = true;
    template <class V> using Block = V[L];
};

// Lane l must hold object first + l, and behind the last live lane again the last live object.
template <class V, class Case, class Array, class Expected>
void expectLoaded(const Array& array, int first, int live, Expected expected)
{
    typename Case::template Block<V> a;
    loadBlock(array, first, live, a);
    for (int l = 0; l < lane_count_v<V>; ++l)
        for (int r = 0; r < Case::rows; ++r)
            for (int c = 0; c < Case::columns; ++c)
                ASSERT_EQ(lane(at(a, r, c), l), expected(first + (l < live ? l : live - 1), r, c))
                    << "first " << first << " live " << live << " lane " << l << " at " << r << ',' << c;
}

template <class V, class Case, class Array> void storeValues(const Array& array, int first, int live)
{
    using T = scalar_t<V>;
    typename Case::template Block<V> a;
    for (int l = 0; l < lane_count_v<V>; ++l)
        for (int r = 0; r < Case::rows; ++r)
            for (int c = 0; c < Case::columns; ++c)
                setLane(at(a, r, c), l, valueOf<T>(first + l, r, c));
    storeBlock(array, first, live, a);
}

// Calls body(first, live) for blocks at every position among `count` objects, then for every partial length.
template <class V, class Body> void forEveryBlock(int count, Body body)
{
    constexpr int N = lane_count_v<V>;
    for (int first = 0; first + N <= count; ++first)
        body(first, N);
    for (int live = 1; live < N; ++live)
        body(count - live, live);
}

// ---- One memory for all objects ----

template <class T, class Case> std::size_t extent(const Distances& d, int count)
{
    return std::size_t((count - 1) * d.object + (Case::rows - 1) * d.row + (Case::columns - 1) * d.element) + sizeof(T);
}

template <class T, class Case, Spacing spacing> auto stridedArray(T* base, const Distances& d)
{
    if constexpr (Case::isVector)
        return vectorArray<spacing>(base, std::int32_t(d.object), std::int32_t(d.element));
    else
        return matrixArray<spacing>(base, std::int32_t(d.object), std::int32_t(d.row), std::int32_t(d.element));
}

// `viewOf(base)` makes the array view over the memory.
template <class V, class Case, class ViewOf>
void checkOneMemory(const Distances& d, Flush flush, std::size_t slip, ViewOf viewOf)
{
    using T = scalar_t<V>;
    const int count = lane_count_v<V> + 3;
    const auto offset = [&](int n, int r, int c) { return n * d.object + r * d.row + c * d.element; };
    GuardedMemory source(extent<T, Case>(d, count), flush, slip);
    for (int n = 0; n < count; ++n)
        for (int r = 0; r < Case::rows; ++r)
            for (int c = 0; c < Case::columns; ++c)
                put(source.data() + offset(n, r, c), valueOf<T>(n, r, c));
    const auto sourceView = viewOf(reinterpret_cast<const T*>(source.data()));
    forEveryBlock<V>(count, [&](int first, int live) {
        expectLoaded<V, Case>(sourceView, first, live, valueOf<T>);

        GuardedMemory result(source.size(), flush, slip);
        std::vector<unsigned char> expected = result.contents();
        for (int n = first; n < first + live; ++n)
            for (int r = 0; r < Case::rows; ++r)
                for (int c = 0; c < Case::columns; ++c)
                    put(expected.data() + offset(n, r, c), valueOf<T>(n, r, c));
        storeValues<V, Case>(viewOf(reinterpret_cast<T*>(result.data())), first, live);
        ASSERT_TRUE(result.contents() == expected) << "first " << first << " live " << live;
    });
}

template <class V, class Case, Spacing spacing> void checkStrided(const Distances& d)
{
    const auto viewOf = [&](auto* base) {
        return stridedArray<std::remove_pointer_t<decltype(base)>, Case, spacing>(base, d);
    };
    checkOneMemory<V, Case>(d, Flush::begin, 0, viewOf);
    checkOneMemory<V, Case>(d, Flush::end, 0, viewOf);
    checkOneMemory<V, Case>(d, Flush::end, 3, viewOf); // no element is aligned
}

template <class V, class Case> void checkStridedArrays()
{
    constexpr std::ptrdiff_t size = sizeof(scalar_t<V>), row = Case::columns * size, object = Case::rows * row;
    checkStrided<V, Case, Spacing::dense>({object, row, size});                              // packed
    checkStrided<V, Case, Spacing::dense>({object + 2 * size, row, size});                   // packed rows, padded objects
    checkStrided<V, Case, Spacing::dense>({Case::rows * (row + size), row + size, size});    // padded rows
    checkStrided<V, Case, Spacing::dense>({row, 32 * row, size});                            // rows of all objects together
    checkStrided<V, Case, Spacing::strided>({object, row, size});                            // packed, seen as strided
    checkStrided<V, Case, Spacing::strided>({object, size, Case::rows * size});              // columns stored
    checkStrided<V, Case, Spacing::strided>({2 * object + size, 2 * row, 2 * size});         // padded everywhere
    checkStrided<V, Case, Spacing::strided>({size, Case::columns * 32 * size, 32 * size});   // structure of arrays
    checkStrided<V, Case, Spacing::strided>({size, 32 * size, Case::rows * 32 * size});      // the same by columns
}

// Rows apart by pages, with an inaccessible page before or behind every one: a row is read or written to the byte.
template <class V, class Case> void checkIsolatedRows(Flush flush)
{
    using T = scalar_t<V>;
    constexpr int N = lane_count_v<V>;
    const std::size_t rowBytes = Case::columns * sizeof(T);
    const int count = N + 1;
    const std::size_t page = std::size_t(sysconf(_SC_PAGESIZE));
    // One mapping per object and side, its rows at the same place of every second page.
    const std::size_t spanned = (2 * Case::rows + 1) * page;
    struct Rows {
        unsigned char* mapped;
        unsigned char* first;
    };
    const auto makeRows = [&] {
        auto* mapped = static_cast<unsigned char*>(mmap(nullptr, spanned, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        for (int r = 0; r < Case::rows; ++r)
            EXPECT_EQ(mprotect(mapped + (2 * r + 1) * page, page, PROT_READ | PROT_WRITE), 0);
        return Rows{mapped, mapped + page + (flush == Flush::begin ? 0 : page - rowBytes)};
    };
    std::vector<Rows> from, to;
    std::vector<const T*> fromTable;
    std::vector<T*> toTable;
    for (int n = 0; n < count; ++n) {
        from.push_back(makeRows());
        to.push_back(makeRows());
        fromTable.push_back(reinterpret_cast<const T*>(from.back().first));
        toTable.push_back(reinterpret_cast<T*>(to.back().first));
        for (int r = 0; r < Case::rows; ++r)
            for (int c = 0; c < Case::columns; ++c)
                put(from.back().first + 2 * r * page + c * sizeof(T), valueOf<T>(n, r, c));
    }
    const auto rowStride = std::int32_t(2 * page);
    const auto listOf = [&]<class Pointee>(const std::vector<Pointee*>& table) {
        if constexpr (Case::isVector)
            return vectorList<Spacing::dense>(table.data(), 0, sizeof(T));
        else
            return matrixList<Spacing::dense>(table.data(), 0, rowStride, sizeof(T));
    };
    forEveryBlock<V>(count, [&](int first, int live) {
        expectLoaded<V, Case>(listOf(fromTable), first, live, valueOf<T>);
        storeValues<V, Case>(listOf(toTable), first, live);
        for (int n = first; n < first + live; ++n)
            for (int r = 0; r < Case::rows; ++r)
                ASSERT_EQ(std::memcmp(to[std::size_t(n)].first + 2 * r * page, from[std::size_t(n)].first + 2 * r * page,
                                      rowBytes), 0);
    });
    for (int n = 0; n < count; ++n) {
        munmap(from[std::size_t(n)].mapped, spanned);
        munmap(to[std::size_t(n)].mapped, spanned);
    }
}

// ---- Tables of pointers ----

template <class V, class Case, Spacing spacing> void checkList(const Distances& d, std::int32_t shift)
{
    using T = scalar_t<V>;
    const int count = lane_count_v<V> + 3;
    const auto offset = [&](int r, int c) { return r * d.row + c * d.element; };
    std::vector<std::unique_ptr<GuardedMemory>> source;
    std::vector<const T*> table;
    const auto flushOf = [](int n) { return n % 2 == 0 ? Flush::end : Flush::begin; };
    for (int n = 0; n < count; ++n) {
        source.push_back(std::make_unique<GuardedMemory>(extent<T, Case>(d, 1), flushOf(n)));
        for (int r = 0; r < Case::rows; ++r)
            for (int c = 0; c < Case::columns; ++c)
                put(source.back()->data() + offset(r, c), valueOf<T>(n, r, c));
        table.push_back(reinterpret_cast<const T*>(source.back()->data() - shift));
    }
    const auto listOf = [&]<class Pointee>(const std::vector<Pointee*>& pointers) {
        if constexpr (Case::isVector)
            return vectorList<spacing>(pointers.data(), shift, std::int32_t(d.element));
        else
            return matrixList<spacing>(pointers.data(), shift, std::int32_t(d.row), std::int32_t(d.element));
    };
    forEveryBlock<V>(count, [&](int first, int live) {
        expectLoaded<V, Case>(listOf(table), first, live, valueOf<T>);

        std::vector<std::unique_ptr<GuardedMemory>> result;
        std::vector<T*> resultTable;
        for (int n = 0; n < count; ++n) {
            result.push_back(std::make_unique<GuardedMemory>(extent<T, Case>(d, 1), flushOf(n)));
            resultTable.push_back(reinterpret_cast<T*>(result.back()->data() - shift));
        }
        storeValues<V, Case>(listOf(resultTable), first, live);
        for (int n = 0; n < count; ++n) {
            const bool isWritten = n >= first && n < first + live;
            const auto expected = isWritten ? source[std::size_t(n)]->contents()
                                            : std::vector<unsigned char>(result.back()->size(), GuardedMemory::canary);
            ASSERT_TRUE(result[std::size_t(n)]->contents() == expected) << "first " << first << " object " << n;
        }
    });
}

template <class V, class Case> void checkLists()
{
    constexpr std::ptrdiff_t size = sizeof(scalar_t<V>), row = Case::columns * size;
    checkList<V, Case, Spacing::dense>({0, row, size}, 0);
    checkList<V, Case, Spacing::dense>({0, row + size, size}, 2 * size);
    checkList<V, Case, Spacing::strided>({0, 3 * row, 2 * size}, size);
}

template <class V, class Case> void checkScattered(std::ptrdiff_t objectStride, std::int32_t shift)
{
    using T = scalar_t<V>;
    const int count = lane_count_v<V> + 3;
    const std::size_t bytes = std::size_t((count - 1) * objectStride) + sizeof(T);
    const auto makeMemory = [&](int k) {
        return std::make_unique<GuardedMemory>(bytes, k % 2 == 0 ? Flush::end : Flush::begin);
    };
    std::vector<std::unique_ptr<GuardedMemory>> source;
    std::vector<const T*> table;
    for (int r = 0; r < Case::rows; ++r)
        for (int c = 0; c < Case::columns; ++c) {
            source.push_back(makeMemory(r + c));
            for (int n = 0; n < count; ++n)
                put(source.back()->data() + n * objectStride, valueOf<T>(n, r, c));
            table.push_back(reinterpret_cast<const T*>(source.back()->data() - shift));
        }
    const auto viewOf = [&]<class Pointee>(const std::vector<Pointee*>& pointers) {
        const auto stride = std::int32_t(objectStride);
        if constexpr (Case::isVector)
            return scatteredVectorArray(pointers.data(), shift, stride);
        else
            return scatteredMatrixArray(pointers.data(), shift, stride, Case::columns);
    };
    forEveryBlock<V>(count, [&](int first, int live) {
        expectLoaded<V, Case>(viewOf(table), first, live, valueOf<T>);

        std::vector<std::unique_ptr<GuardedMemory>> result;
        std::vector<T*> resultTable;
        for (int r = 0; r < Case::rows; ++r)
            for (int c = 0; c < Case::columns; ++c) {
                result.push_back(makeMemory(r + c));
                resultTable.push_back(reinterpret_cast<T*>(result.back()->data() - shift));
            }
        storeValues<V, Case>(viewOf(resultTable), first, live);
        for (int r = 0; r < Case::rows; ++r)
            for (int c = 0; c < Case::columns; ++c) {
                std::vector<unsigned char> expected(bytes, GuardedMemory::canary);
                for (int n = first; n < first + live; ++n)
                    put(expected.data() + n * objectStride, valueOf<T>(n, r, c));
                ASSERT_TRUE(result[std::size_t(r * Case::columns + c)]->contents() == expected) << r << ',' << c;
            }
    });
}

template <class V, class Case> void checkScatteredArrays()
{
    constexpr int size = sizeof(scalar_t<V>);
    checkScattered<V, Case>(size, 0); // structure of arrays
    checkScattered<V, Case>(size, 4 * size);
    checkScattered<V, Case>(3 * size, size);
}

// ---- Sources that are seen transposed, and single objects ----

template <class V, int R, int C> void checkTransposed()
{
    using T = scalar_t<V>;
    const int count = lane_count_v<V> + 3;
    // The operation sees R x C; C rows of R elements are stored.
    const auto seen = [](int n, int r, int c) { return valueOf<T>(n, c, r); };
    std::vector<T> stored;
    std::vector<const T*> list;
    for (int n = 0; n < count; ++n)
        for (int r = 0; r < C; ++r)
            for (int c = 0; c < R; ++c)
                stored.push_back(valueOf<T>(n, r, c));
    for (int n = 0; n < count; ++n)
        list.push_back(&stored[std::size_t(n * R * C)]);
    std::vector<const T*> pattern;
    for (int k = 0; k < R * C; ++k)
        pattern.push_back(&stored[std::size_t(k)]);

    constexpr int size = sizeof(T);
    using Case = MatrixCase<R, C>;
    forEveryBlock<V>(count, [&](int first, int live) {
        const T* base = stored.data();
        expectLoaded<V, Case>(transposed(matrixArray<Spacing::dense>(base, R * C * size, R * size, size)), first, live, seen);
        expectLoaded<V, Case>(transposed(matrixArray<Spacing::strided>(base, R * C * size, R * size, size)), first, live, seen);
        expectLoaded<V, Case>(transposed(matrixList<Spacing::dense>(list.data(), 0, R * size, size)), first, live, seen);
        expectLoaded<V, Case>(transposed(scatteredMatrixArray(pattern.data(), 0, R * C * size, R)), first, live, seen);
    });
}

template <class V, int R, int C> void checkSingle()
{
    using T = scalar_t<V>;
    constexpr int size = sizeof(T);
    std::vector<T> stored;
    std::vector<const T*> pattern;
    for (int r = 0; r < R; ++r)
        for (int c = 0; c < C; ++c)
            stored.push_back(valueOf<T>(0, r, c));
    for (const T& element : stored)
        pattern.push_back(&element);
    const auto same = [](int, int r, int c) { return valueOf<T>(0, r, c); };
    const auto exchanged = [](int, int r, int c) { return valueOf<T>(0, c, r); };
    const T* base = stored.data();
    const auto matrixView = matrix<Spacing::dense>(base, C * size, size);
    expectLoaded<V, MatrixCase<R, C>>(matrixView, 5, lane_count_v<V>, same);
    expectLoaded<V, MatrixCase<C, R>>(transposed(matrixView), 5, lane_count_v<V>, exchanged);
    expectLoaded<V, MatrixCase<R, C>>(scatteredMatrix(pattern.data(), 0, C), 0, 1, same);
    expectLoaded<V, VectorCase<C>>(vector<Spacing::strided>(base, size), 0, lane_count_v<V>, same);
    expectLoaded<V, VectorCase<C>>(scatteredVector(pattern.data(), 0), 0, lane_count_v<V>, same);
}

// ---- Constants and results of one element ----

template <class V> void expectConstants(const auto& array, int first, int live)
{
    using T = scalar_t<V>;
    V a;
    loadBlock(array, first, live, a);
    for (int l = 0; l < lane_count_v<V>; ++l)
        ASSERT_EQ(lane(a, l), valueOf<T>(first + (l < live ? l : live - 1), 0, 0)) << first << ' ' << live << ' ' << l;
}

template <class V> void checkConstants(std::ptrdiff_t objectStride)
{
    using T = scalar_t<V>;
    const int count = lane_count_v<V> + 3;
    GuardedMemory memory(std::size_t((count - 1) * objectStride) + sizeof(T));
    std::vector<const T*> table;
    for (int n = 0; n < count; ++n) {
        put(memory.data() + n * objectStride, valueOf<T>(n, 0, 0));
        table.push_back(reinterpret_cast<const T*>(memory.data() + n * objectStride - sizeof(T)));
    }
    forEveryBlock<V>(count, [&](int first, int live) {
        const auto* base = reinterpret_cast<const T*>(memory.data());
        expectConstants<V>(constantArray(base, std::int32_t(objectStride)), first, live);
        expectConstants<V>(constantList(table.data(), sizeof(T)), first, live);
    });
    V same;
    loadBlock(constant(T(-0.0)), 3, lane_count_v<V>, same);
    for (int l = 0; l < lane_count_v<V>; ++l)
        ASSERT_TRUE(lane(same, l) == 0 && std::signbit(lane(same, l)));
}

template <class V> void checkScalarResults()
{
    using T = scalar_t<V>;
    const int count = lane_count_v<V> + 3;
    forEveryBlock<V>(count, [&](int first, int live) {
        GuardedMemory memory(count * sizeof(T));
        std::vector<unsigned char> expected = memory.contents();
        V a;
        for (int l = 0; l < lane_count_v<V>; ++l) {
            setLane(a, l, valueOf<T>(first + l, 0, 0));
            if (l < live) put(expected.data() + (first + l) * sizeof(T), valueOf<T>(first + l, 0, 0));
        }
        storeBlock(ScalarArray<T>{reinterpret_cast<T*>(memory.data())}, first, live, a);
        ASSERT_TRUE(memory.contents() == expected);
    });
}

// ---- The tests of one type, for all its widths ----

template <class V> class Blocks : public testing::Test {};
TYPED_TEST_SUITE_P(Blocks);

// Every shape that has a path of its own, below, at and above the length of a piece of 16 bytes.
template <class Check> void forAllShapes(Check check)
{
    check(VectorCase<1>{});
    check(VectorCase<2>{});
    check(VectorCase<3>{});
    check(VectorCase<4>{});
    check(VectorCase<5>{});
    check(VectorCase<7>{});
    check(MatrixCase<2, 2>{});
    check(MatrixCase<3, 3>{});
    check(MatrixCase<4, 4>{});
    check(MatrixCase<5, 5>{});
    check(MatrixCase<6, 6>{});
    check(MatrixCase<2, 3>{});
    check(MatrixCase<4, 3>{});
}

TYPED_TEST_P(Blocks, StridedArrays)
{
    forAllShapes([](auto shape) { checkStridedArrays<TypeParam, decltype(shape)>(); });
}

TYPED_TEST_P(Blocks, IsolatedRowsAreMovedToTheByte)
{
    forAllShapes([](auto shape) {
        checkIsolatedRows<TypeParam, decltype(shape)>(Flush::begin);
        checkIsolatedRows<TypeParam, decltype(shape)>(Flush::end);
    });
}

TYPED_TEST_P(Blocks, ListsOfObjects)
{
    forAllShapes([](auto shape) { checkLists<TypeParam, decltype(shape)>(); });
}

TYPED_TEST_P(Blocks, ScatteredArrays)
{
    forAllShapes([](auto shape) { checkScatteredArrays<TypeParam, decltype(shape)>(); });
}

TYPED_TEST_P(Blocks, TransposedSources)
{
    checkTransposed<TypeParam, 3, 3>();
    checkTransposed<TypeParam, 4, 4>();
    checkTransposed<TypeParam, 2, 3>();
    checkTransposed<TypeParam, 4, 3>();
    checkTransposed<TypeParam, 6, 6>();
}

TYPED_TEST_P(Blocks, SingleObjectsFillAllLanes)
{
    checkSingle<TypeParam, 3, 3>();
    checkSingle<TypeParam, 2, 5>();
}

TYPED_TEST_P(Blocks, Constants)
{
    checkConstants<TypeParam>(sizeof(scalar_t<TypeParam>));
    checkConstants<TypeParam>(3 * sizeof(scalar_t<TypeParam>));
}

TYPED_TEST_P(Blocks, ResultsOfOneElement) { checkScalarResults<TypeParam>(); }

REGISTER_TYPED_TEST_SUITE_P(Blocks, StridedArrays, IsolatedRowsAreMovedToTheByte, ListsOfObjects, ScatteredArrays,
                            TransposedSources, SingleObjectsFillAllLanes, Constants, ResultsOfOneElement);

} // namespace tarnm
