// A status for every object: failing objects are named, the others complete with the bits of the plain call.
#include <array>
#include <vector>

#include <gtest/gtest.h>

#include "cpp/samples.h"

namespace tarnm::test {
namespace {

using Square = std::array<std::array<float, 3>, 3>;

Square regular(int n)
{
    const auto x = static_cast<float>(n % 7);
    return {{{4 + x, 1, 0.5F}, {1, 5, x / 8}, {0.25F, 1, 6}}};
}

// Matrices of which those listed are zero.
std::vector<Square> squares_with(std::ptrdiff_t count, const std::vector<std::ptrdiff_t>& zeros)
{
    std::vector<Square> all;
    for (std::ptrdiff_t n = 0; n < count; ++n)
        all.push_back(regular(static_cast<int>(n)));
    for (const std::ptrdiff_t n : zeros)
        all[n] = {};
    return all;
}

constexpr std::ptrdiff_t count = 300;

// Positions at both ends, on both sides of a block of objects, neighbours, and far into a parallel call.
const std::vector<std::vector<std::ptrdiff_t>> failures{{},       {0},        {count - 1},        {63},
                                                        {64, 65}, {5, 6, 90}, {0, 150, count - 1}};

TEST(Statuses, FailingObjectsAreNamedAndTheOthersComplete)
{
    const auto good = squares_with(count, {});
    std::vector<Square> wanted(count), factors(count);
    std::vector<std::int32_t> pivots(count * 3);
    lu(good, wanted, pivots);
    for (const auto& zeros : failures) {
        const auto a = squares_with(count, zeros);
        std::vector<status> statuses(count, StatusError);
        EXPECT_EQ(lu(a, factors, pivots, statuses), std::ptrdiff_t(zeros.size()));
        auto zero = zeros.begin();
        for (std::ptrdiff_t n = 0; n < count; ++n) {
            if (zero != zeros.end() && *zero == n) {
                ++zero;
                EXPECT_EQ(statuses[n], StatusSingular) << n;
            } else {
                EXPECT_EQ(statuses[n], StatusOk) << n;
                EXPECT_EQ(factors[n], wanted[n]) << n;
            }
        }
    }
}

TEST(Statuses, EveryObjectMayFail)
{
    const std::vector<Square> a(count, Square{});
    std::vector<Square> factors(count);
    std::vector<std::int32_t> pivots(count * 3);
    std::vector<status> statuses(count);
    EXPECT_EQ(lu(a, factors, pivots, statuses), count);
    EXPECT_EQ(std::count(statuses.begin(), statuses.end(), StatusSingular), count);
}

TEST(Statuses, ObjectsInPlaceAreWorkedOnOnce)
{
    auto wanted = squares_with(count, {});
    std::vector<std::int32_t> pivots(count * 3);
    std::vector<Square> factors(count);
    lu(wanted, factors, pivots);
    auto a = squares_with(count, {3, 100});
    std::vector<status> statuses(count);
    EXPECT_EQ(lu(a, a, pivots, statuses), 2);
    for (std::ptrdiff_t n = 0; n < count; ++n) {
        if (n != 3 && n != 100) {
            ASSERT_EQ(a[n], factors[n]) << n;
        }
        EXPECT_EQ(statuses[n], n != 3 && n != 100 ? StatusOk : StatusSingular);
    }
}

TEST(Statuses, RightSidesOfFailingMatricesAreLeftOut)
{
    const auto a = squares_with(count, {7, 200});
    const std::vector<std::array<float, 3>> b(count, {1, 2, 3});
    std::vector<std::array<float, 3>> x(count, {-1, -1, -1}), wanted(count);
    solve(squares_with(count, {}), b, wanted);
    std::vector<status> statuses(count);
    EXPECT_EQ(solve(a, b, x, statuses), 2);
    for (std::ptrdiff_t n = 0; n < count; ++n)
        EXPECT_EQ(x[n], statuses[n] == StatusOk ? wanted[n] : (std::array<float, 3>{-1, -1, -1})) << n;
}

TEST(Statuses, TooFewOfThemAreAnError)
{
    const auto a = squares_with(10, {});
    std::vector<Square> d(10);
    std::vector<status> statuses(9);
    EXPECT_THROW(add(a, a, d, statuses), error);
    EXPECT_EQ(add(a, a, d, statuses, std::nothrow), StatusSizeMismatch);
}

TEST(Statuses, BadArgumentsAreAnErrorOfTheCallNotOfObjects)
{
    float x[100];
    std::vector<status> statuses(3);
    const matrix_array<float> bad(x, 3, 3, 3, {.object = 38});
    std::vector<std::int32_t> pivots(9);
    EXPECT_THROW(lu(bad, bad, pivots, statuses), error);
}

TEST(Statuses, ASingleObjectHasOne)
{
    const Square zero{};
    Square factors;
    std::array<std::int32_t, 3> pivots;
    std::array<status, 1> statuses;
    EXPECT_EQ(lu(zero, factors, pivots, statuses), 1);
    EXPECT_EQ(statuses[0], StatusSingular);
}

} // namespace
} // namespace tarnm::test
