// Vectors put together from lanes of other vectors. All memory ends at an inaccessible page.
#include "frame/rearrange.h"

#include <gtest/gtest.h>

#include "guarded_memory.h"

namespace tarnm {
namespace {

template <class V> class Rearranged : public testing::Test {};

using Vectors = testing::Types<lanes<float, 4>, lanes<float, 8>, lanes<double, 2>, lanes<double, 4>,
                               native_lanes<float>, native_lanes<double>>;
TYPED_TEST_SUITE(Rearranged, Vectors);

constexpr int same(int p) { return p; }
constexpr int rotatedInThrees(int p) { return p % 3 < 2 ? p + 1 : p - 2; }
constexpr int threeOfFour(int p) { return p / 3 * 4 + p % 3; }
constexpr int fourthOfFour(int p) { return p * 4 + 3; }
constexpr int diagonalOf3x3(int p) { return p / 3 * 9 + p % 3 * 4; }
template <int total> constexpr int reversed(int p) { return total - 1 - p; }

// Elements count from 1; memory ends behind the last one that the order names.
template <auto order, int results, int sources, class V> void expectOrder()
{
    using T = scalar_t<V>;
    constexpr int N = V::size();
    int last = 0;
    for (int p = 0; p < results * N; ++p)
        last = order(p) > last ? order(p) : last;
    const GuardedMemory memory((last + 1) * sizeof(T), Flush::end, 1);
    T* const elements = reinterpret_cast<T*>(memory.data());
    for (int i = 0; i <= last; ++i)
        storeElement(elements + i, T(i + 1));
    const auto vectors = loadRearranged<order, results, V, sources>(elements);
    for (int p = 0; p < results * N; ++p)
        EXPECT_EQ(vectors[std::size_t(p / N)][p % N], T(order(p) + 1)) << "lane " << p;
}

TYPED_TEST(Rearranged, TakesEveryLaneFromItsPlace)
{
    using V = TypeParam;
    expectOrder<same, 2, 2, V>();
    expectOrder<rotatedInThrees, 3, 3, V>();
    expectOrder<threeOfFour, 3, 4, V>();
    expectOrder<fourthOfFour, 1, 4, V>();
    expectOrder<diagonalOf3x3, 3, 9, V>();
    expectOrder<reversed<3 * V::size()>, 3, 3, V>();
}

} // namespace
} // namespace tarnm
