// The closed form of the 4x4 inverse in double precision.
#include "bits.h"
#include "frame/lanes.h"
#include "matrixfunc/closed_inverse4.h"

namespace tarnm::test {
namespace {

constexpr double tolerance = 5.696189077778436e-306;

using Wide = double[4][4];

bool fails(const Wide& a)
{
    double x[4][4];
    return closedInverse4(a, tolerance, x);
}

TEST(ClosedInverse, ToleranceIs256TimesTheSmallestNormal)
{
    EXPECT_EQ(tolerance, 256 * std::numeric_limits<double>::min());
}

TEST(ClosedInverse, DeterminantEqualToTheTolerancePasses)
{
    const double below = std::nextafter(tolerance, 0.0);
    const Wide at = {{1}, {0, 1}, {0, 0, 1}, {0, 0, 0, tolerance}};
    const Wide under = {{1}, {0, 1}, {0, 0, 1}, {0, 0, 0, below}};
    const Wide negativeAt = {{-1}, {0, 1}, {0, 0, 1}, {0, 0, 0, tolerance}};
    const Wide negativeUnder = {{1}, {0, -1}, {0, 0, 1}, {0, 0, 0, below}};
    EXPECT_FALSE(fails(at));
    EXPECT_TRUE(fails(under));
    EXPECT_FALSE(fails(negativeAt));
    EXPECT_TRUE(fails(negativeUnder));
}

TEST(ClosedInverse, NaNPasses)
{
    const Wide a = {{nan}, {0, 1}, {0, 0, 1}, {0, 0, 0, 1}};
    EXPECT_FALSE(fails(a));
}

TEST(ClosedInverse, EqualRowsFail)
{
    const Wide a = {{1, 2, 3, 4}, {5, 6, 7, 9}, {1, 2, 3, 4}, {0, 1, 0, 3}};
    EXPECT_TRUE(fails(a));
}

TEST(ClosedInverse, KnownInverse)
{
    const Wide a = {{0, 2, 0, 0}, {0, 0, -4, 0}, {0, 0, 0, 8}, {1, 0, 0, 0}};
    const Wide expected = {{0, 0, 0, 1}, {0.5, 0, 0, 0}, {0, -0.25, 0, 0}, {0, 0, 0.125, 0}};
    double x[4][4];
    ASSERT_FALSE(closedInverse4(a, tolerance, x));
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            EXPECT_EQ(x[r][c], expected[r][c]) << r << ' ' << c;
}

// An element is a cofactor over the determinant; both are right to about 20 units of the magnitudes of their terms, so
// the residual is bounded by eps times |A| |adj A| / |det|.
TEST(ClosedInverse, ResidualIsWithinTheErrorOfTheCofactors)
{
    Random random(13);
    constexpr double eps = std::numeric_limits<double>::epsilon();
    for (int i = 0; i < 10000; ++i) {
        double a[4][4], x[4][4];
        for (auto& row : a)
            for (double& element : row)
                element = random.number();
        ASSERT_FALSE(closedInverse4(a, tolerance, x));
        double largest = 0;
        for (const auto& row : x)
            for (const double element : row)
                largest = std::max(largest, std::abs(element));
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c) {
                double sum = 0;
                for (int k = 0; k < 4; ++k)
                    sum += a[r][k] * x[k][c];
                EXPECT_NEAR(sum, r == c, 400 * eps * (1 + largest) * (1 + largest));
            }
    }
}

TEST(ClosedInverse, LanesHaveTheBitsOfTheScalar)
{
    using V = lanes<double, 4>;
    Random random(14);
    double scalars[4][4][4];
    V a[4][4], x[4][4];
    for (int l = 0; l < 4; ++l)
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c) {
                scalars[l][r][c] = l == 2 ? 0 : random.number();
                a[r][c].set(l, scalars[l][r][c]);
            }
    const auto failed = closedInverse4(a, V(tolerance), x);
    for (int l = 0; l < 4; ++l) {
        double expected[4][4];
        EXPECT_EQ(closedInverse4(scalars[l], tolerance, expected), failed[l]);
        EXPECT_EQ(failed[l], l == 2);
        for (int r = 0; r < 4 && l != 2; ++r)
            for (int c = 0; c < 4; ++c)
                EXPECT_EQ(x[r][c][l], expected[r][c]);
    }
}

} // namespace
} // namespace tarnm::test
