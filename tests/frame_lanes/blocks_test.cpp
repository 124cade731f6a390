// What loadBlock and storeBlock must do, for every form of array, shape, type and width.
//
// Objects are laid out by plain arithmetic on bytes; the views of the library are what is tested. Memory is flush with
// an inaccessible page on one side, in turn, so that a byte read or written outside the elements' extent ends the
// program; bytes between elements hold a canary.
#include "block_mover.h"
#include "guarded_memory.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

using Address = std::function<unsigned char*(int n, int r, int c)>;
using Bytes = std::vector<unsigned char>;

class Blocks : public testing::TestWithParam<std::shared_ptr<const BlockMover>> {
protected:
    const BlockMover& mover = *GetParam();
    const int N = mover.laneCount, R = mover.rows, C = mover.columns;
    const std::ptrdiff_t size = mover.elementSize;
    const int count = N + 3;

    void forElements(const std::function<void(int r, int c)>& body) const
    {
        for (int r = 0; r < R; ++r)
            for (int c = 0; c < C; ++c)
                body(r, c);
    }

    // Blocks at every position among the objects, then of every partial length.
    void forBlocks(const std::function<void(int first, int live)>& body) const
    {
        for (int first = 0; first + N <= count; ++first)
            body(first, N);
        for (int live = 1; live < N; ++live)
            body(count - live, live);
    }

    // Lane l must hold object first + l, and behind the last live lane again the last live object.
    void expectLanes(const std::vector<double>& values, int first, int live, bool isTransposed = false) const
    {
        ASSERT_EQ(values.size(), std::size_t(N * R * C));
        for (int l = 0; l < N; ++l)
            forElements([&](int r, int c) {
                const int n = first + (l < live ? l : live - 1);
                EXPECT_EQ(values[std::size_t((l * R + r) * C + c)], isTransposed ? valueOf(n, c, r) : valueOf(n, r, c))
                    << "first " << first << " live " << live << " lane " << l << " at " << r << ',' << c;
            });
    }

    std::size_t extent(const Distances& d, int objects) const
    {
        return std::size_t((objects - 1) * d.object + (R - 1) * d.row + (C - 1) * d.element + size);
    }

    void checkStrided(const Distances& d, bool isDense, Flush flush, std::size_t slip) const
    {
        SCOPED_TRACE(testing::Message() << "strides " << d.object << ' ' << d.row << ' ' << d.element << " slip "
                                        << slip);
        const auto putObject = [&](unsigned char* memory, int n) {
            forElements(
                [&](int r, int c) { mover.put(memory + n * d.object + r * d.row + c * d.element, valueOf(n, r, c)); });
        };
        GuardedMemory source(extent(d, count), flush, slip);
        for (int n = 0; n < count; ++n)
            putObject(source.data(), n);
        forBlocks([&](int first, int live) {
            expectLanes(mover.load(StridedPlace{source.data(), d, isDense}, first, live), first, live);

            GuardedMemory result(source.size(), flush, slip);
            Bytes expected = result.contents();
            for (int n = first; n < first + live; ++n)
                putObject(expected.data(), n);
            mover.store(StridedPlace{result.data(), d, isDense}, first, live);
            EXPECT_TRUE(result.contents() == expected) << "first " << first << " live " << live;
        });
    }

    void checkStrided(const Distances& d, bool isDense) const
    {
        checkStrided(d, isDense, Flush::begin, 0);
        checkStrided(d, isDense, Flush::end, 0);
        checkStrided(d, isDense, Flush::end, 3); // no element is aligned
    }

    void checkList(const Distances& d, std::int32_t shift, bool isDense) const
    {
        struct Objects {
            std::vector<std::unique_ptr<GuardedMemory>> memory;
            std::vector<unsigned char*> table;
        };
        const auto makeObjects = [&] {
            Objects objects;
            for (int n = 0; n < count; ++n) {
                objects.memory.push_back(
                    std::make_unique<GuardedMemory>(extent(d, 1), n % 2 == 0 ? Flush::end : Flush::begin));
                objects.table.push_back(objects.memory.back()->data() - shift);
            }
            return objects;
        };
        const Objects source = makeObjects();
        for (int n = 0; n < count; ++n)
            forElements([&](int r, int c) {
                mover.put(source.memory[std::size_t(n)]->data() + r * d.row + c * d.element, valueOf(n, r, c));
            });
        forBlocks([&](int first, int live) {
            expectLanes(mover.load(ListPlace{source.table, shift, d, isDense}, first, live), first, live);

            const Objects result = makeObjects();
            mover.store(ListPlace{result.table, shift, d, isDense}, first, live);
            for (int n = 0; n < count; ++n) {
                const bool isWritten = n >= first && n < first + live;
                const Bytes expected =
                    isWritten ? source.memory[std::size_t(n)]->contents() : Bytes(extent(d, 1), GuardedMemory::canary);
                EXPECT_TRUE(result.memory[std::size_t(n)]->contents() == expected)
                    << "first " << first << " object " << n;
            }
        });
    }

    void checkScattered(std::ptrdiff_t objectStride, std::int32_t shift) const
    {
        struct Pattern {
            std::vector<std::unique_ptr<GuardedMemory>> memory;
            std::vector<unsigned char*> table;
        };
        const std::size_t bytes = std::size_t((count - 1) * objectStride + size);
        const auto makePattern = [&] {
            Pattern pattern;
            for (int k = 0; k < R * C; ++k) {
                pattern.memory.push_back(
                    std::make_unique<GuardedMemory>(bytes, k % 2 == 0 ? Flush::end : Flush::begin));
                pattern.table.push_back(pattern.memory.back()->data() - shift);
            }
            return pattern;
        };
        const Pattern source = makePattern();
        for (int k = 0; k < R * C; ++k)
            for (int n = 0; n < count; ++n)
                mover.put(source.memory[std::size_t(k)]->data() + n * objectStride, valueOf(n, k / C, k % C));
        forBlocks([&](int first, int live) {
            expectLanes(mover.load(ScatteredPlace{source.table, shift, objectStride}, first, live), first, live);

            const Pattern result = makePattern();
            mover.store(ScatteredPlace{result.table, shift, objectStride}, first, live);
            for (int k = 0; k < R * C; ++k) {
                Bytes expected(bytes, GuardedMemory::canary);
                for (int n = first; n < first + live; ++n)
                    mover.put(expected.data() + n * objectStride, valueOf(n, k / C, k % C));
                EXPECT_TRUE(result.memory[std::size_t(k)]->contents() == expected)
                    << "first " << first << " element " << k;
            }
        });
    }

    // Objects whose rows are two pages apart with the page between inaccessible: a row is moved to the byte.
    void checkIsolatedRows(Flush flush) const
    {
        const std::size_t page = std::size_t(sysconf(_SC_PAGESIZE));
        const std::ptrdiff_t rowStride = std::ptrdiff_t(2 * page);
        const std::size_t spanned = std::size_t(2 * R + 1) * page, rowBytes = std::size_t(C * size);
        const auto makeTable = [&] {
            std::vector<unsigned char*> table;
            for (int n = 0; n < count; ++n) {
                void* mapped = mmap(nullptr, spanned, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
                EXPECT_NE(mapped, MAP_FAILED);
                auto* pages = static_cast<unsigned char*>(mapped);
                for (int r = 0; r < R; ++r)
                    EXPECT_EQ(mprotect(pages + page + r * rowStride, page, PROT_READ | PROT_WRITE), 0);
                table.push_back(pages + page + (flush == Flush::begin ? 0 : page - rowBytes));
            }
            return table;
        };
        const std::vector<unsigned char*> source = makeTable(), result = makeTable();
        for (int n = 0; n < count; ++n)
            forElements(
                [&](int r, int c) { mover.put(source[std::size_t(n)] + r * rowStride + c * size, valueOf(n, r, c)); });
        const Distances d = {0, rowStride, size};
        forBlocks([&](int first, int live) {
            expectLanes(mover.load(ListPlace{source, 0, d, true}, first, live), first, live);
            mover.store(ListPlace{result, 0, d, true}, first, live);
            for (int n = first; n < first + live; ++n)
                for (int r = 0; r < R; ++r)
                    EXPECT_EQ(std::memcmp(result[std::size_t(n)] + r * rowStride,
                                          source[std::size_t(n)] + r * rowStride, rowBytes),
                              0);
        });
        for (const auto& table : {source, result})
            for (unsigned char* first : table)
                munmap(first - page - (flush == Flush::begin ? 0 : page - rowBytes), spanned);
    }
};

TEST_P(Blocks, DenseArrays)
{
    const std::ptrdiff_t row = C * size, object = R * row;
    checkStrided({object, row, size}, true);                          // packed
    checkStrided({object + 2 * size, row, size}, true);               // packed rows, padded objects
    checkStrided({R * (row + size), row + size, size}, true);         // padded rows
    checkStrided({R * (row + 3 * size), row + 3 * size, size}, true); // the same, wider
    checkStrided({row, 32 * row, size}, true);                        // equal rows of all objects together
}

TEST_P(Blocks, DenseLists)
{
    const std::ptrdiff_t row = C * size;
    checkList({0, row, size}, 0, true);
    checkList({0, row + size, size}, std::int32_t(2 * size), true);
}

TEST_P(Blocks, IsolatedRowsAreMovedToTheByte)
{
    checkIsolatedRows(Flush::begin);
    checkIsolatedRows(Flush::end);
}

class BlocksOfAllForms : public Blocks {};

TEST_P(BlocksOfAllForms, StridedArrays)
{
    const std::ptrdiff_t row = C * size, object = R * row;
    checkStrided({object, row, size}, false);      // packed, seen as strided
    checkStrided({object, size, R * size}, false); // stored by columns
    checkStrided({2 * object + size, 2 * row, 2 * size}, false);
    checkStrided({size, C * 32 * size, 32 * size}, false); // structure of arrays
    checkStrided({size, 32 * size, R * 32 * size}, false); // the same by columns
}

TEST_P(BlocksOfAllForms, StridedLists) { checkList({0, 3 * C * size, 2 * size}, std::int32_t(size), false); }

TEST_P(BlocksOfAllForms, ScatteredArrays)
{
    checkScattered(size, 0); // structure of arrays
    checkScattered(size, std::int32_t(4 * size));
    checkScattered(3 * size, std::int32_t(size));
}

class BlocksTransposed : public Blocks {};

TEST_P(BlocksTransposed, SourcesAreSeenWithRowsAndColumnsExchanged)
{
    const std::ptrdiff_t row = R * size, object = C * row; // C rows of R elements are stored
    GuardedMemory memory(std::size_t(count * object));
    std::vector<unsigned char*> list, pattern;
    for (int n = 0; n < count; ++n) {
        list.push_back(memory.data() + n * object);
        for (int r = 0; r < C; ++r)
            for (int c = 0; c < R; ++c)
                mover.put(memory.data() + n * object + r * row + c * size, valueOf(n, r, c));
    }
    for (int k = 0; k < R * C; ++k)
        pattern.push_back(memory.data() + k * size);
    const Distances d = {object, row, size};
    forBlocks([&](int first, int live) {
        for (bool isDense : {true, false}) {
            expectLanes(mover.loadTransposed(StridedPlace{memory.data(), d, isDense}, first, live), first, live, true);
            expectLanes(mover.loadTransposed(ListPlace{list, 0, d, isDense}, first, live), first, live, true);
        }
        expectLanes(mover.loadTransposed(ScatteredPlace{pattern, 0, object}, first, live), first, live, true);
    });
}

BlockMovers moversWhere(const std::function<bool(const BlockMover&)>& isWanted)
{
    BlockMovers wanted;
    for (const BlockMovers& movers : {singleMovers(), doubleMovers()})
        for (const auto& mover : movers)
            if (isWanted(*mover)) wanted.push_back(mover);
    return wanted;
}

const auto nameOf = [](const auto& info) { return info.param->name; };

INSTANTIATE_TEST_SUITE_P(All, Blocks, testing::ValuesIn(moversWhere([](const BlockMover&) { return true; })), nameOf);
INSTANTIATE_TEST_SUITE_P(All, BlocksOfAllForms,
                         testing::ValuesIn(moversWhere([](const BlockMover& m) { return !m.isOnlyDense; })), nameOf);
INSTANTIATE_TEST_SUITE_P(All, BlocksTransposed,
                         testing::ValuesIn(moversWhere([](const BlockMover& m) { return m.canTranspose; })), nameOf);

} // namespace
