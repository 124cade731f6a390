// What a singular matrix leaves behind, byte for byte.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include <omp.h>

#include "factor/lu_calls.h"

namespace tarnm::test {
namespace {

bool isCase(int n) { return n >= 3 && n <= 6; }

// A matrix whose pivots run out at a known step, put together from factors so that all arithmetic is exact, with its rows
// in any order. Before the step's exchange the rows below hold a zero in its column, but for one with half a tolerance.
template <class T> struct Failing {
    Matrices<T> source, destination;
    std::vector<std::int32_t> index;

    Failing(int n, int step, int seed)
        : source(n, 1)
        , destination(n, 1, untouched<T>)
    {
        std::vector<int> place; // of row i, in the source
        for (int i = 0; i < n; ++i)
            place.push_back(i);
        std::rotate(place.begin(), place.begin() + seed % n, place.end());
        if (seed % 3 == 1) std::reverse(place.begin(), place.end());

        const auto lower = [&](int i, int k) { return T((i + 2 * k + seed) % 2 ? 0.5 : -0.25); };
        const auto upper = [&](int k, int j) {
            return j == step && k != step ? T(0) : j == k ? T(4) : T(4 * ((3 * k + j + seed) % 5 - 2));
        };
        const auto rest = [&](int i, int j) {
            const T tolerance = isCase(n) ? 2 * std::numeric_limits<T>::min() : std::numeric_limits<T>::epsilon();
            if (j == step) return i == n - 1 ? tolerance / 2 : T(0);
            return T((i + 2 * j + seed) % 7 - 3);
        };
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < n; ++j) {
                T sum = i < step ? (i <= j ? upper(i, j) : T(0)) : j >= step ? rest(i, j) : T(0);
                for (int k = 0; k < std::min(i, step) && k <= j; ++k)
                    sum += lower(i, k) * upper(k, j);
                source.at(0, place[std::size_t(i)], j) = sum;
                if (isCase(n) && i >= step) continue;
                const bool isMultiplier = j < std::min(i, step);
                destination.at(0, place[std::size_t(i)], j) = isMultiplier ? lower(i, j)
                                                              : i < step   ? upper(i, j)
                                                                           : rest(i, j);
            }

        for (int k = 0; k < n; ++k)
            index.push_back(k);
        const auto bring = [&](int row, int k) {
            std::swap(index[std::size_t(k)], *std::find(index.begin(), index.end(), row));
        };
        for (int k = 0; k < step; ++k)
            bring(place[std::size_t(k)], k);
        if (isCase(n)) bring(place[std::size_t(n - 1)], step);
    }
};

// A matrix without zero pivots.
template <class T> Matrices<T> regular(int n, int seed)
{
    return Matrices<T>(
        n, 1, [&](int, int r, int c) { return (seed * 7 + r * 5 + c * 3) % 11 - 5 + ((r + seed) % n == c) * 17; });
}

template <class T> void put(Matrices<T>& all, int o, const Matrices<T>& one, Form form)
{
    for (int r = 0; r < all.n; ++r)
        for (int c = 0; c < all.n; ++c)
            all.at(o, r, c) = form == Form::strided ? one.at(0, c, r) : one.at(0, r, c);
}

// An array with singular objects, and what a call must leave in objects whose slice has none before them.
template <class T> class Array {
public:
    Array(int n, int count, std::vector<int> positions, Form form)
        : source(n, count)
        , complete(n, count)
        , form(form)
        , singular(std::move(positions))
    {
        for (int o = 0; o < count; ++o) {
            const bool fails = std::find(singular.begin(), singular.end(), o) != singular.end();
            const Failing<T> failing(n, o % n, o);
            const Matrices<T> whole = regular<T>(n, o);
            put(source, o, fails ? failing.source : whole, form);
            const Factors<T> one = decomposeOne(whole);
            put(complete.lu, o, fails ? failing.destination : one.lu, form);
            std::copy_n((fails ? failing.index : one.index).begin(), n, complete.index.begin() + o * n);
        }
    }

    // `slices`: the first objects of all slices, and the end.
    Factors<T> expected(const std::vector<int>& slices, bool inPlace = false) const
    {
        const int n = source.n;
        Factors<T> f(n, source.count);
        if (inPlace) f = Factors<T>(source);
        f.status = StatusSingular;
        for (std::size_t s = 0; s + 1 < slices.size(); ++s)
            for (int o = slices[s]; o < slices[s + 1]; ++o) {
                for (int i = o * n * n; i < (o + 1) * n * n; ++i)
                    if (const T value = complete.lu.elements[std::size_t(i)]; value != untouched<T>)
                        f.lu.elements[std::size_t(i)] = value;
                std::copy_n(complete.index.begin() + o * n, n, f.index.begin() + o * n);
                if (std::find(singular.begin(), singular.end(), o) != singular.end()) break;
            }
        return f;
    }

    Matrices<T> source;

private:
    Factors<T> complete;
    Form form;
    std::vector<int> singular;
};

template <class T> class LuFailure : public testing::Test {
protected:
    void SetUp() override
    {
        omp_set_dynamic(0);
        answerThreadCount({1});
    }
};
using Types = testing::Types<float, double>;
TYPED_TEST_SUITE(LuFailure, Types);

TYPED_TEST(LuFailure, AZeroFirstColumnSetsTheIndexAndWritesNothingElse)
{
    using T = TypeParam;
    const Factors<T> f = decomposeOne(Matrices<T>(3, 1, [](int, int, int c) { return c; }));
    EXPECT_EQ(f.status, StatusSingular);
    EXPECT_EQ(f.index, (std::vector<std::int32_t>{0, 1, 2}));
    EXPECT_EQ(f.lu, Matrices<T>(3, 1, untouched<T>));
}

TYPED_TEST(LuFailure, OrdersOutside3To6LeaveTheSourceInTheDestination)
{
    using T = TypeParam;
    for (const int n : {1, 2, 7, 8}) {
        const Matrices<T> m(n, 1, [](int, int r, int c) { return c == 0 ? 0 : r + c; });
        const Factors<T> f = decomposeOne(m);
        EXPECT_EQ(f.status, StatusSingular);
        EXPECT_EQ(f.lu, m) << n;
        for (int k = 0; k < n; ++k)
            EXPECT_EQ(f.row(0, k), k);
    }
}

TYPED_TEST(LuFailure, AFailureAtEveryStepLeavesTheRowsOfFinishedSteps)
{
    using T = TypeParam;
    for (int n = 1; n <= 9; ++n)
        for (int step = 0; step < n; ++step)
            for (int seed = 0; seed < 6; ++seed) {
                const Failing<T> failing(n, step, seed);
                const Factors<T> f = decomposeOne(failing.source);
                EXPECT_EQ(f.status, StatusSingular);
                EXPECT_EQ(f.lu, failing.destination) << "order " << n << " step " << step << " seed " << seed;
                EXPECT_EQ(f.index, failing.index) << "order " << n << " step " << step << " seed " << seed;
            }
}

TYPED_TEST(LuFailure, Object5Of8EndsTheCallThere)
{
    using T = TypeParam;
    for (const int n : {2, 3, 4, 5, 6, 7}) {
        const Array<T> array(n, 8, {5}, Form::dense);
        EXPECT_EQ(decompose(array.source), array.expected({0, 8})) << n;
    }
}

TYPED_TEST(LuFailure, ASingularObjectAtEveryPositionOfACall)
{
    using T = TypeParam;
    constexpr int count = 35;
    for (int n = 1; n <= 7; ++n)
        for (const Form form : allForms)
            for (int position = 0; position < count; ++position) {
                const Array<T> array(n, count, {position}, form);
                ASSERT_EQ(decompose(array.source, form), array.expected({0, count}))
                    << "order " << n << " form " << int(form) << " position " << position;
            }
}

TYPED_TEST(LuFailure, TheFirstOfTwoSingularObjectsCounts)
{
    using T = TypeParam;
    for (const int n : {2, 3, 4, 6}) {
        const Array<T> array(n, 20, {3, 4}, Form::dense);
        EXPECT_EQ(decompose(array.source), array.expected({0, 20})) << n;
        const Array<T> inOtherBlocks(n, 40, {17, 34}, Form::dense);
        EXPECT_EQ(decompose(inOtherBlocks.source), inOtherBlocks.expected({0, 40})) << n;
    }
}

TYPED_TEST(LuFailure, InPlaceASingularObjectKeepsItsUnfinishedRows)
{
    using T = TypeParam;
    for (int n = 1; n <= 7; ++n)
        for (const Form form : allForms)
            for (const int position : {0, 6, 7, 8, 18}) {
                const Array<T> array(n, 19, {position}, form);
                EXPECT_EQ(decomposeInPlace(array.source, form), array.expected({0, 19}, true))
                    << "order " << n << " form " << int(form) << " position " << position;
            }
}

// Four slices, the first ones an object longer.
std::vector<int> slicesOf(int count)
{
    std::vector<int> firsts{0};
    for (int t = 0; t < 4; ++t)
        firsts.push_back(firsts.back() + count / 4 + (t < count % 4));
    return firsts;
}

TYPED_TEST(LuFailure, InAParallelCallTheOtherSlicesAreComplete)
{
    using T = TypeParam;
    for (const int n : {3, 4, 5, 6, 7}) {
        const int count = 1001 / (n * n) + 7;
        const std::vector<int> slices = slicesOf(count);
        for (int position = 0; position < count; ++position) {
            const Form form = allForms[position % 4];
            const Array<T> array(n, count, {position}, form);
            answerThreadCount({4});
            ASSERT_EQ(decompose(array.source, form), array.expected(slices)) << n << " position " << position;
        }
    }
}

TYPED_TEST(LuFailure, SlicesFailEachForItself)
{
    using T = TypeParam;
    for (const int n : {2, 3, 7}) {
        const int count = 1001 / (n * n) + 7;
        const std::vector<int> slices = slicesOf(count);
        const Array<T> array(n, count, {slices[0] + 2, slices[2], slices[3] - 1, slices[3] + 4}, Form::dense);
        answerThreadCount({4});
        EXPECT_EQ(decompose(array.source), array.expected(slices)) << n;
    }
}

} // namespace
} // namespace tarnm::test
