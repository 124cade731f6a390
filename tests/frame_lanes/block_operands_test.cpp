// Operands of one element per object, and single objects that serve all.
#include "frame/blocks.h"
#include "guarded_memory.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace tarnm {
namespace {

template <class V> class BlockOperands : public testing::Test {
protected:
    using T = scalar_t<V>;
    static constexpr int N = lane_count_v<V>;
    static constexpr int count = N + 3;
    static constexpr int size = sizeof(T);

    template <class Body> static void forBlocks(Body body)
    {
        for (int first = 0; first + N <= count; ++first)
            body(first, N);
        for (int live = 1; live < N; ++live)
            body(count - live, live);
    }

    template <class Array> static void expectConstants(const Array& array, int first, int live)
    {
        V a;
        loadBlock(array, first, live, a);
        for (int l = 0; l < N; ++l)
            EXPECT_EQ(lane(a, l), T(first + (l < live ? l : live - 1) + 1)) << first << ' ' << live << ' ' << l;
    }
};

using Widths = testing::Types<float, lanes<float, 4>, lanes<float, 8>, lanes<float, 16>, double, lanes<double, 2>,
                              lanes<double, 4>, lanes<double, 8>>;
TYPED_TEST_SUITE(BlockOperands, Widths);

TYPED_TEST(BlockOperands, ConstantsOfArraysAndLists)
{
    using T = scalar_t<TypeParam>;
    constexpr int size = sizeof(T);
    for (int objectStride : {size, 3 * size}) {
        GuardedMemory memory(std::size_t((this->count - 1) * objectStride + size));
        std::vector<const T*> table;
        for (int n = 0; n < this->count; ++n) {
            const T value = T(n + 1);
            std::memcpy(memory.data() + n * objectStride, &value, sizeof value);
            table.push_back(reinterpret_cast<const T*>(memory.data() + n * objectStride - size));
        }
        this->forBlocks([&](int first, int live) {
            this->expectConstants(constantArray(reinterpret_cast<const T*>(memory.data()), objectStride), first, live);
            this->expectConstants(constantList(table.data(), size), first, live);
        });
    }
}

TYPED_TEST(BlockOperands, ASingleConstantKeepsItsSign)
{
    TypeParam a;
    loadBlock(constant(scalar_t<TypeParam>(-0.0)), 3, this->N, a);
    for (int l = 0; l < this->N; ++l)
        EXPECT_TRUE(lane(a, l) == 0 && std::signbit(lane(a, l)));
}

TYPED_TEST(BlockOperands, ResultsOfOneElement)
{
    using T = scalar_t<TypeParam>;
    this->forBlocks([&](int first, int live) {
        GuardedMemory memory(this->count * sizeof(T));
        std::vector<unsigned char> expected = memory.contents();
        TypeParam a;
        for (int l = 0; l < this->N; ++l) {
            const T value = T(l + 1);
            setLane(a, l, value);
            if (l < live) std::memcpy(expected.data() + std::size_t(first + l) * sizeof(T), &value, sizeof value);
        }
        storeBlock(ScalarArray<T>{reinterpret_cast<T*>(memory.data())}, first, live, a);
        EXPECT_TRUE(memory.contents() == expected) << first << ' ' << live;
    });
}

TYPED_TEST(BlockOperands, ASingleObjectFillsAllLanes)
{
    using T = scalar_t<TypeParam>;
    constexpr int size = sizeof(T);
    const std::vector<T> stored = {1, 2, 3, 4, 5, 6}; // 2 x 3
    std::vector<const T*> pattern;
    for (const T& element : stored)
        pattern.push_back(&element);
    TypeParam asStored[2][3], exchanged[3][2], scattered[2][3], row[3];
    const auto view = matrix<Spacing::dense>(stored.data(), 3 * size, size);
    loadBlock(view, 5, this->N, asStored);
    loadBlock(transposed(view), 5, this->N, exchanged);
    loadBlock(scatteredMatrix(pattern.data(), 0, 3), 0, 1, scattered);
    loadBlock(vector<Spacing::strided>(stored.data(), size), 0, this->N, row);
    for (int l = 0; l < this->N; ++l)
        for (int i = 0; i < 6; ++i) {
            EXPECT_EQ(lane(asStored[i / 3][i % 3], l), T(i + 1));
            EXPECT_EQ(lane(exchanged[i % 3][i / 3], l), T(i + 1));
            EXPECT_EQ(lane(scattered[i / 3][i % 3], l), T(i + 1));
            EXPECT_EQ(lane(row[i % 3], l), T(i % 3 + 1));
        }
}

} // namespace
} // namespace tarnm
