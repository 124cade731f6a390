// Results whose objects overlap, which callers may ask for: the last object written wins.
#include "frame/blocks.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace tarnm {
namespace {

template <class V> class Overlap : public testing::Test {
protected:
    using T = scalar_t<V>;
    static constexpr int N = lane_count_v<V>;
    static constexpr int size = sizeof(T);

    static T valueOf(int n, int r, int c) { return T(100 * n + 10 * r + c + 1); }

    // Stores one block through `viewOf(base)` and object by object in plain code; the bytes must agree.
    template <class ViewOf> void expectOrderOfObjects(int objectStride, int rowStride, int elementStride, ViewOf viewOf)
    {
        std::vector<T> actual(1000, T(-1)), expected(1000, T(-1));
        V a[3][3];
        for (int n = 0; n < N; ++n)
            for (int r = 0; r < 3; ++r)
                for (int c = 0; c < 3; ++c) {
                    setLane(a[r][c], n, valueOf(n, r, c));
                    expected[std::size_t((n * objectStride + r * rowStride + c * elementStride) / size)] =
                        valueOf(n, r, c);
                }
        storeBlock(viewOf(actual.data()), 0, N, a);
        EXPECT_EQ(actual, expected);
    }
};

using Widths = testing::Types<lanes<float, 4>, lanes<float, 8>, lanes<float, 16>, lanes<double, 2>, lanes<double, 4>,
                              lanes<double, 8>>;
TYPED_TEST_SUITE(Overlap, Widths);

TYPED_TEST(Overlap, DenseObjectsCloserThanTheirSize)
{
    constexpr int size = sizeof(scalar_t<TypeParam>);
    for (int objectStride : {1, 2, 3, 4, 8})
        for (int rowStride : {2, 3, 5})
            this->expectOrderOfObjects(objectStride * size, rowStride * size, size, [&](auto* base) {
                return matrixArray<Spacing::dense>(base, objectStride * size, rowStride * size, size);
            });
}

TYPED_TEST(Overlap, DenseRowsThatOverlapInsideAnObject)
{
    constexpr int size = sizeof(scalar_t<TypeParam>);
    for (int rowStride : {1, 2})
        this->expectOrderOfObjects(20 * size, rowStride * size, size, [&](auto* base) {
            return matrixArray<Spacing::dense>(base, 20 * size, rowStride * size, size);
        });
}

TYPED_TEST(Overlap, InterleavedObjectsWithElementsTooClose)
{
    constexpr int size = sizeof(scalar_t<TypeParam>);
    for (int rowStride : {1, 2, 20, 40})
        for (int elementStride : {1, 2, 19, 20, 41})
            this->expectOrderOfObjects(size, rowStride * size, elementStride * size, [&](auto* base) {
                return matrixArray<Spacing::strided>(base, size, rowStride * size, elementStride * size);
            });
}

TYPED_TEST(Overlap, EqualEntriesOfAList)
{
    using V = TypeParam;
    using T = scalar_t<V>;
    constexpr int N = lane_count_v<V>;
    std::vector<T> first(9), second(9);
    std::vector<T*> table;
    for (int n = 0; n < N; ++n)
        table.push_back(n % 2 == 0 ? first.data() : second.data());
    V a[3][3];
    for (int n = 0; n < N; ++n)
        for (int k = 0; k < 9; ++k)
            setLane(a[k / 3][k % 3], n, T(100 * n + k));
    storeBlock(matrixList<Spacing::dense>(table.data(), 0, 3 * sizeof(T), sizeof(T)), 0, N, a);
    for (int k = 0; k < 9; ++k) {
        EXPECT_EQ(first[std::size_t(k)], T(100 * (N - 2) + k));
        EXPECT_EQ(second[std::size_t(k)], T(100 * (N - 1) + k));
    }
}

TYPED_TEST(Overlap, EqualEntriesOfAScatteredPattern)
{
    using V = TypeParam;
    using T = scalar_t<V>;
    constexpr int N = lane_count_v<V>;
    std::vector<T> shared(N), other(N);
    const std::vector<T*> table = {shared.data(), other.data(), shared.data()};
    V a[3];
    for (int n = 0; n < N; ++n)
        for (int k = 0; k < 3; ++k)
            setLane(a[k], n, T(100 * n + k));
    storeBlock(scatteredVectorArray(table.data(), 0, sizeof(T)), 0, N, a);
    for (int n = 0; n < N; ++n) {
        EXPECT_EQ(shared[std::size_t(n)], T(100 * n + 2));
        EXPECT_EQ(other[std::size_t(n)], T(100 * n + 1));
    }
}

} // namespace
} // namespace tarnm
