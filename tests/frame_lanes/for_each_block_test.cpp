// The run over the objects of a call: every count, failures at every position, operands of every kind.
#include "frame/blocks.h"
#include "guarded_memory.h"

#include <gtest/gtest.h>

#include <vector>

namespace tarnm {
namespace {

template <class V> class ForEachBlock : public testing::Test {
protected:
    using T = scalar_t<V>;
    static constexpr int N = lane_count_v<V>;
    static constexpr int size = sizeof(T);

    static auto packed(const std::vector<T>& v)
    {
        return matrixArray<Spacing::dense>(v.data(), 4 * size, 2 * size, size);
    }
    static auto packed(std::vector<T>& v) { return matrixArray<Spacing::dense>(v.data(), 4 * size, 2 * size, size); }

    static std::vector<T> objects(int count)
    {
        std::vector<T> v;
        for (int i = 0; i < 4 * count; ++i)
            v.push_back(T(i + 1));
        return v;
    }
};

using Widths = testing::Types<lanes<float, 4>, lanes<float, 8>, lanes<float, 16>, lanes<double, 2>, lanes<double, 4>,
                              lanes<double, 8>, float, double>;
TYPED_TEST_SUITE(ForEachBlock, Widths);

// Twice the transpose; an object with a negative first element fails.
template <class V> mask_t<V> twiceTransposed(const V (&a)[2][2], V (&x)[2][2])
{
    for (int r = 0; r < 2; ++r)
        for (int c = 0; c < 2; ++c)
            x[r][c] = a[c][r] + a[c][r];
    return a[0][0] < V(0);
}

template <class T> T twiceTransposedAt(const std::vector<T>& source, int i)
{
    const int element = i % 4, exchanged = element == 1 ? 2 : element == 2 ? 1 : element;
    const T value = source[std::size_t(i - element + exchanged)];
    return value + value;
}

constexpr auto kernel = [](const auto& a, auto& x) { return twiceTransposed(a, x); };

TYPED_TEST(ForEachBlock, CompletesEveryCount)
{
    using T = scalar_t<TypeParam>;
    for (int count = 0; count <= 3 * this->N + 1; ++count) {
        const std::vector<T> source = this->objects(count + 1);
        std::vector<T> result(source.size(), T(-7));
        const auto completed =
            forEachBlockOf<TypeParam>(Place::whole(count), kernel, ::tarnm::source<2, 2>(this->packed(source)),
                                      ::tarnm::result<2, 2>(this->packed(result)));
        EXPECT_EQ(completed, count);
        for (int i = 0; i < 4 * count; ++i)
            ASSERT_EQ(result[std::size_t(i)], twiceTransposedAt(source, i)) << count << ' ' << i;
        for (int i = 4 * count; i < 4 * (count + 1); ++i)
            ASSERT_EQ(result[std::size_t(i)], T(-7)) << count << ' ' << i;
    }
}

TYPED_TEST(ForEachBlock, WorksOnTheObjectsOfItsPlaceOnly)
{
    using T = scalar_t<TypeParam>;
    const int total = 2 * this->N + 5;
    const std::vector<T> source = this->objects(total);
    for (int first = 0; first < total; ++first)
        for (int count = 1; first + count <= total; ++count) {
            std::vector<T> result(source.size(), T(-7));
            const auto completed = forEachBlockOf<TypeParam>(Place{first, count, total}, kernel,
                                                             ::tarnm::source<2, 2>(this->packed(source)),
                                                             ::tarnm::result<2, 2>(this->packed(result)));
            ASSERT_EQ(completed, count);
            for (int i = 0; i < 4 * total; ++i) {
                const bool isOurs = i / 4 >= first && i / 4 < first + count;
                ASSERT_EQ(result[std::size_t(i)], isOurs ? twiceTransposedAt(source, i) : T(-7))
                    << first << ' ' << count;
            }
        }
}

TYPED_TEST(ForEachBlock, StopsAtTheFailingObjectWithThoseBeforeItStored)
{
    using T = scalar_t<TypeParam>;
    for (int count = 1; count <= 2 * this->N + 3; ++count)
        for (int failing = 0; failing < count; ++failing)
            for (int other : {failing, count - 1}) { // a second failure behind the first changes nothing
                std::vector<T> source = this->objects(count);
                source[std::size_t(4 * failing)] = source[std::size_t(4 * other)] = T(-1);
                std::vector<T> result(source.size(), T(-7));
                const auto completed =
                    forEachBlockOf<TypeParam>(Place::whole(count), kernel, ::tarnm::source<2, 2>(this->packed(source)),
                                              ::tarnm::result<2, 2>(this->packed(result)));
                ASSERT_EQ(completed, failing) << count;
                for (int i = 0; i < 4 * count; ++i)
                    ASSERT_EQ(result[std::size_t(i)], i < 4 * failing ? twiceTransposedAt(source, i) : T(-7))
                        << count << ' ' << failing << ' ' << i;
            }
}

TYPED_TEST(ForEachBlock, CountsCompletedObjectsFromThePlace)
{
    using T = scalar_t<TypeParam>;
    const int first = 3, count = this->N + 4, total = first + count + 2;
    for (int failing = 0; failing < count; ++failing) {
        std::vector<T> source = this->objects(total), result(source.size());
        source[std::size_t(4 * (first + failing))] = T(-1);
        source[0] = T(-1); // outside the place
        EXPECT_EQ(forEachBlockOf<TypeParam>(Place{first, count, total}, kernel,
                                            ::tarnm::source<2, 2>(this->packed(source)),
                                            ::tarnm::result<2, 2>(this->packed(result))),
                  failing);
    }
}

TYPED_TEST(ForEachBlock, RedoesInPlaceFromUnchangedSources)
{
    using T = scalar_t<TypeParam>;
    const int count = 2 * this->N + 3;
    for (int failing = 0; failing < count; ++failing) {
        std::vector<T> source = this->objects(count);
        source[std::size_t(4 * failing)] = T(-1);
        std::vector<T> both = source;
        const std::vector<T>& read = both;
        forEachBlockOf<TypeParam>(Place::whole(count), kernel, ::tarnm::source<2, 2>(this->packed(read)),
                                  ::tarnm::result<2, 2>(this->packed(both)));
        for (int i = 0; i < 4 * count; ++i)
            ASSERT_EQ(both[std::size_t(i)], i < 4 * failing ? twiceTransposedAt(source, i) : source[std::size_t(i)]);
    }
}

// A block that fails although none of its objects does is completed singly, and the run goes on.
TYPED_TEST(ForEachBlock, GoesOnBehindABlockThatFailsWithoutAFailingObject)
{
    using T = scalar_t<TypeParam>;
    const int count = 3 * this->N + 2;
    std::vector<T> source = this->objects(count), result(source.size());
    source[std::size_t(4 * (count / 2))] = T(-1);
    int wideCalls = 0, singleCalls = 0;
    const auto wary = [&]<class V>(const V(&a)[2][2], V(&x)[2][2]) -> mask_t<V> {
        (lane_count_v<V> == 1 ? singleCalls : wideCalls) += 1;
        const mask_t<V> failed = twiceTransposed(a, x);
        return lane_count_v<V> == 1 ? mask_t<V>(false) : failed;
    };
    const auto completed =
        forEachBlockOf<TypeParam>(Place::whole(count), wary, ::tarnm::source<2, 2>(this->packed(source)),
                                  ::tarnm::result<2, 2>(this->packed(result)));
    EXPECT_EQ(completed, count);
    for (int i = 0; i < 4 * count; ++i)
        ASSERT_EQ(result[std::size_t(i)], twiceTransposedAt(source, i));
    if (this->N > 1) {
        const int tail = count % this->N;
        EXPECT_EQ(wideCalls, count / this->N + (tail > 1));
        EXPECT_EQ(singleCalls, this->N + (tail == 1));
    }
}

// Unused lanes of the last block are copies of its last object and fail only with it.
TYPED_TEST(ForEachBlock, UnusedLanesRepeatTheLastObject)
{
    using T = scalar_t<TypeParam>;
    const int count = this->N + 2;
    const std::vector<T> source = this->objects(count);
    bool sawForeignValue = false;
    const auto look = [&]<class V>(const V(&a)[2][2], V(&x)[2][2]) {
        for (int l = 0; l < lane_count_v<V>; ++l) {
            const T value = lane(a[0][0], l);
            sawForeignValue = sawForeignValue || value < 1 || value > T(4 * count) || int(value) % 4 != 1;
        }
        twiceTransposed(a, x);
    };
    std::vector<T> result(source.size());
    forEachBlockOf<TypeParam>(Place::whole(count), look, ::tarnm::source<2, 2>(this->packed(source)),
                              ::tarnm::result<2, 2>(this->packed(result)));
    EXPECT_FALSE(sawForeignValue);
}

TYPED_TEST(ForEachBlock, MixesOperandsOfAllShapes)
{
    using T = scalar_t<TypeParam>;
    constexpr int size = sizeof(T);
    const int count = 2 * this->N + 3;
    const std::vector<T> matrix = {1, 2, 3, 4, 5, 6}; // 2 x 3, one for all
    std::vector<T> vectors, factors, sums(std::size_t(2 * count), T(1)), lengths(std::size_t(count), T(-7));
    for (int n = 0; n < count; ++n) {
        vectors.insert(vectors.end(), {T(n), T(n + 1), T(n + 2)});
        factors.push_back(T(2 * n));
    }
    // y += f * A v, and the sum of v
    const auto accumulate = [](const auto& a, const auto& v, const auto& f, auto& y, auto& sum) {
        for (int r = 0; r < 2; ++r)
            y[r] += f * (a[r][0] * v[0] + a[r][1] * v[1] + a[r][2] * v[2]);
        sum = v[0] + v[1] + v[2];
    };
    const auto completed = forEachBlockOf<TypeParam>(
        Place::whole(count), accumulate, source<2, 3>(::tarnm::matrix<Spacing::dense>(matrix.data(), 3 * size, size)),
        source<3>(vectorArray<Spacing::dense>(vectors.data(), 3 * size, size)),
        source(constantArray(factors.data(), size)),
        updated<2>(vectorArray<Spacing::strided>(sums.data(), 2 * size, size)), result(ScalarArray<T>{lengths.data()}));
    EXPECT_EQ(completed, count);
    for (int n = 0; n < count; ++n) {
        const T v0 = T(n), v1 = T(n + 1), v2 = T(n + 2), f = T(2 * n);
        EXPECT_EQ(sums[std::size_t(2 * n)], 1 + f * (v0 + 2 * v1 + 3 * v2)) << n;
        EXPECT_EQ(sums[std::size_t(2 * n + 1)], 1 + f * (4 * v0 + 5 * v1 + 6 * v2)) << n;
        EXPECT_EQ(lengths[std::size_t(n)], v0 + v1 + v2) << n;
    }
}

TEST(ForEachBlockNative, TakesTheWidthOfTheTarget)
{
    std::vector<double> values(64, 1.0);
    int widest = 0;
    const auto look = [&]<class V>(const V(&a)[2], V(&x)[2]) {
        widest = std::max(widest, lane_count_v<V>);
        x[0] = a[0];
        x[1] = a[1];
    };
    const double* read = values.data();
    forEachBlock(Place::whole(32), look, source<2>(vectorArray<Spacing::dense>(read, 16, 8)),
                 result<2>(vectorArray<Spacing::dense>(values.data(), 16, 8)));
    EXPECT_EQ(widest, native_lane_count_v<double>);
}

} // namespace
} // namespace tarnm
