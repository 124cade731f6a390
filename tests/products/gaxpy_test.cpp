// The product of a matrix by a vector with a second vector added.
#include <gtest/gtest.h>

#include "products/numbers.h"
#include "support/thread_count.h"
#include "tarnm/tarnm.h"

namespace tarnm::test {
namespace {

TEST(Gaxpy, TheTwoVectorsCannotBeSwapped)
{
    const float a[6] = {}, three[3] = {}, two[2] = {};
    float d[3];
    // Two rows of three elements.
    EXPECT_EQ(tarnmGaxpy_mv_32f(a, 12, 4, 3, 2, two, 4, 2, three, 4, 3, d, 4), StatusSizeMismatch);
    EXPECT_EQ(tarnmGaxpy_mv_32f(a, 12, 4, 3, 2, three, 4, 3, two, 4, 2, d, 4), StatusOk);
}

TEST(Gaxpy, AZeroMatrixGivesTheSummandAndAZeroSummandTheProduct)
{
    for (const int order : {2, 3, 4, 5, 6, 7, 20}) {
        const std::vector<float> zeros(std::size_t(order) * order);
        const auto a = randomNumbers<float>(zeros.size(), 1);
        const auto x = randomNumbers<float>(order, 2), u = randomNumbers<float>(order, 3);
        std::vector<float> d(order);
        ASSERT_EQ(tarnmGaxpy_mv_32f(zeros.data(), order * 4, 4, order, order, x.data(), 4, order, u.data(), 4, order,
                                    d.data(), 4),
                  StatusOk);
        EXPECT_EQ(d, u);
        ASSERT_EQ(tarnmGaxpy_mv_32f(a.data(), order * 4, 4, order, order, x.data(), 4, order, zeros.data(), 4, order,
                                    d.data(), 4),
                  StatusOk);
        for (int i = 0; i < order; ++i) {
            float sum = a[i * order] * x[0];
            for (int k = 1; k < order; ++k)
                sum += a[i * order + k] * x[k];
            EXPECT_EQ(d[i], sum) << order << ' ' << i;
        }
    }
}

// 3 + 2 * 3 elements per object; every second element of each vector.
TEST(Gaxpy, StridedListsOfSinglesGoToThreadsTenTimesEarlier)
{
    constexpr int most = 600;
    const std::vector<float> a(20, 1.0f), x(6 * most, 1.0f);
    std::vector<float> d(6 * most);
    std::vector<const float*> sources(most, x.data());
    std::vector<float*> results;
    for (int n = 0; n < most; ++n)
        results.push_back(&d[6 * n]);
    const auto listAsks = [&](int count) {
        answerThreadCount({1});
        EXPECT_EQ(tarnmGaxpy_mva_32f_L(a.data(), 24, 8, 3, 3, sources.data(), 0, 8, 3, sources.data(), 0, 8, 3,
                                       results.data(), 0, 8, count),
                  StatusOk);
        return threadCountQueries() > 0;
    };
    const auto arrayAsks = [&](int count) {
        answerThreadCount({1});
        EXPECT_EQ(
            tarnmGaxpy_mva_32f(a.data(), 24, 8, 3, 3, x.data(), 24, 8, 3, x.data(), 24, 8, 3, d.data(), 24, 8, count),
            StatusOk);
        return threadCountQueries() > 0;
    };
    EXPECT_FALSE(listAsks(55)); // 495
    EXPECT_TRUE(listAsks(56));
    EXPECT_FALSE(arrayAsks(555)); // 4995
    EXPECT_TRUE(arrayAsks(556));
}

// The result is cleared before the summand is read.
TEST(Gaxpy, ASummandThatIsTheResultIsLost)
{
    const float a[] = {1, 2, 3, 4}, x[] = {1, 1};
    float first[] = {100, 200}, second[] = {-5, 8};
    ASSERT_EQ(tarnmGaxpy_mv_32f(a, 8, 4, 2, 2, x, 4, 2, first, 4, 2, first, 4), StatusOk);
    ASSERT_EQ(tarnmGaxpy_mv_32f(a, 8, 4, 2, 2, x, 4, 2, second, 4, 2, second, 4), StatusOk);
    EXPECT_EQ(first[0], second[0]);
    EXPECT_EQ(first[1], second[1]);
}

TEST(Gaxpy, AlignedArraysOfTwelveGroupTheirProductsByTwo)
{
    for (const int order : {4, 5, 6}) {
        constexpr int count = 12, stride = 32;
        const auto a = randomNumbers<float>(std::size_t(order) * order, 4);
        const auto numbers = randomNumbers<float>(stride / 4 * count, 5), u = randomNumbers<float>(order, 6);
        const Aligned<float> x(numbers, 0), d(std::vector<float>(numbers.size()), 0);
        ASSERT_EQ(tarnmGaxpy_mvav_32f(a.data(), order * 4, 4, order, order, x.data(), stride, 4, order, u.data(), 4,
                                      order, d.data(), stride, 4, count),
                  StatusOk);
        bool differs = false;
        for (int n = 0; n < count; ++n)
            for (int i = 0; i < order; ++i) {
                float p[6];
                for (int k = 0; k < order; ++k)
                    p[k] = a[i * order + k] * numbers[n * stride / 4 + k];
                float sum = (p[1] + p[0]) + (p[2] + p[3]), ascending = ((p[0] + p[1]) + p[2]) + p[3];
                for (int k = 4; k < order; ++k) {
                    sum += p[k];
                    ascending += p[k];
                }
                EXPECT_EQ(d[std::size_t(n * stride / 4 + i)], sum + u[i]) << order << ": " << n << ' ' << i;
                differs = differs || sum != ascending;
            }
        EXPECT_TRUE(differs) << "these numbers do not tell the orders apart";
    }
}

} // namespace
} // namespace tarnm::test
