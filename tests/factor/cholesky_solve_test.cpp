// Solutions with Cholesky factors: edge cases, memory that must not be touched, in place, backward errors.
#include <cmath>
#include <limits>

#include "factor/cholesky_matrices.h"
#include "factor/cholesky_qr_calls.h"

namespace tarnm::test {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

class CholeskySolution : public testing::TestWithParam<const Member*> {
protected:
    const Member& member() const { return *GetParam(); }
    int objects(int count) const { return isArrayMember(member()) ? count : 1; }
    Elements system(int n, int count, Style style) const
    {
        Elements call(member(),
                      {.sizes = {{"widthHeight", n}}, .count = objects(count), .styles = stylesOf(member(), style)});
        for (int object = 0; object < call.call.objects(0); ++object)
            for (int r = 0; r < n; ++r)
                for (int c = 0; c < n; ++c)
                    call.set("src1", object, r, c,
                             c > r    ? nan
                             : c == r ? 0.5 + 0.25 * (r % 3)
                                      : std::cos(3 * r + c + object));
        for (int object = 0; object < objects(count); ++object)
            for (int k = 0; k < n; ++k)
                call.set("src2", object, k, std::sin(object + 5.0 * k + 1));
        return call;
    }
};

std::string nameOf(const testing::TestParamInfo<const Member*>& info)
{
    return std::string(info.param->name.substr(sizeof "tarnm" - 1));
}
INSTANTIATE_TEST_SUITE_P(Members, CholeskySolution, testing::ValuesIn(membersOf("CholeskyBackSubst")), nameOf);

TEST_P(CholeskySolution, OfOrderOneMultipliesTwice)
{
    Elements call = system(1, 1, stylesToTry(member())[0]);
    call.set("src1", 0, 0, 0, 0.5);
    call.set("src2", 0, 0, 8);
    ASSERT_EQ(call.run(), StatusOk);
    EXPECT_EQ(call.get("dst", 0, 0), 2);
}

TEST_P(CholeskySolution, ZeroOnTheStoredDiagonalGivesZeroNotInfinity)
{
    for (int n = 1; n <= 8; ++n)
        for (int zero = 0; zero < n; ++zero) {
            Elements call = system(n, 9, stylesToTry(member())[0]);
            for (int object = 0; object < call.call.objects(0); ++object)
                call.set("src1", object, zero, zero, 0);
            ASSERT_EQ(call.run(), StatusOk);
            for (int object = 0; object < objects(9); ++object)
                for (int k = 0; k < n; ++k) {
                    EXPECT_TRUE(std::isfinite(call.get("dst", object, k)));
                    if (k == zero) {
                        EXPECT_EQ(call.get("dst", object, k), 0);
                    }
                }
        }
}

TEST_P(CholeskySolution, NaNInTheFactorIsNoFailure)
{
    for (const int n : {2, 3, 6, 7}) {
        Elements call = system(n, 9, stylesToTry(member())[0]);
        call.set("src1", 0, n - 1, 0, nan);
        EXPECT_EQ(call.run(), StatusOk);
        EXPECT_TRUE(std::isnan(call.get("dst", 0, n - 1)));
    }
}

TEST_P(CholeskySolution, ResultMayBeTheRightHandSide)
{
    for (const int n : {1, 2, 3, 4, 5, 6, 7, 8, 16})
        for (const Style style : stylesToTry(member()))
            for (const int count : {1, 19}) {
                Elements apart = system(n, count, style), together = system(n, count, style);
                shareMemory(together.call, "dst", "src2");
                ASSERT_EQ(apart.run(), StatusOk);
                ASSERT_EQ(together.run(), StatusOk);
                for (int object = 0; object < objects(count); ++object)
                    for (int k = 0; k < n; ++k)
                        ASSERT_EQ(together.get("src2", object, k), apart.get("dst", object, k)) << n << ' ' << object;
            }
}

TEST_P(CholeskySolution, NullEntriesAboveTheDiagonalAreNotLookedAt)
{
    if (member().layout != "P") return;
    for (int n = 1; n <= 8; ++n) {
        Elements call = system(n, 21, Style::planes);
        const void* table = call.call.value(call.call.argumentIndex("ppSrc1")).pointer;
        for (int r = 0; r < n; ++r)
            for (int c = r + 1; c < n; ++c)
                static_cast<void**>(const_cast<void*>(table))[r * n + c] = nullptr;
        EXPECT_EQ(call.run(), StatusOk) << n;
    }
}

// Element (i, i) begins a page, what stands above it in its column is missing.
TEST(CholeskySolutionGaps, MissingElementsAboveTheDiagonal)
{
    constexpr int count = 19;
    const std::ptrdiff_t page = SparseMemory::pageBytes(), row = 256, column = 2 * page - row;
    for (int n = 1; n <= 8; ++n) {
        SparseMemory memory(std::size_t(2 * (n + 1) * page));
        for (int object = 0; object < count; ++object)
            for (int r = 0; r < n; ++r)
                for (int c = 0; c <= r; ++c) {
                    std::byte* at = memory.base() + 4 * object + r * row + c * column;
                    memory.open(at, 4);
                    *reinterpret_cast<float*>(at) = 0.5f;
                }
        const auto* factors = reinterpret_cast<const float*>(memory.base());
        const std::vector<float> b(std::size_t(n * count), 1.0f);
        std::vector<float> x(b.size());
        EXPECT_EQ(tarnmCholeskyBackSubst_mava_32f(factors, 4, std::int32_t(row), std::int32_t(column), b.data(), 4 * n,
                                                  4, x.data(), 4 * n, 4, n, count),
                  StatusOk);
        EXPECT_EQ(tarnmCholeskyBackSubst_mva_32f(factors, std::int32_t(row), std::int32_t(column), b.data(), 4 * n, 4,
                                                 x.data(), 4 * n, 4, n, count),
                  StatusOk);
        EXPECT_EQ(tarnmCholeskyBackSubst_mv_32f(factors, std::int32_t(row), std::int32_t(column), b.data(), 4, x.data(),
                                                4, n),
                  StatusOk);
    }
}

TEST(CholeskySolutionChecks, OnlyListsOfRightHandSidesTellTheStrideBeforeTheCount)
{
    const float factor = 1, b = 1;
    float x = 0;
    const float* right[] = {&b};
    float* solutions[] = {&x};
    EXPECT_EQ(tarnmCholeskyBackSubst_mva_32f_L(&factor, 4, 2, right, 0, 4, solutions, 0, 4, 1, 0), StatusBadStride);
    EXPECT_EQ(tarnmCholeskyBackSubst_mva_32f(&factor, 4, 2, &b, 4, 4, &x, 4, 4, 1, 0), StatusBadCount);
}

// Solves with a factor that the decomposition of the same type has left; objects packed.
struct Solved {
    std::vector<double> a, b, x; // of one object
};

template <class T>
Solved solved(const DefiniteKind& kind, int n, tarnmStatus (*factor)(const T*, int, int, T*, int, int, int),
              tarnmStatus (*solve)(const T*, int, int, const T*, int, T*, int, int))
{
    const std::size_t order = std::size_t(n);
    std::vector<T> a(order * order), l(order * order, T(0)), b(order), x(order);
    for (int r = 0; r < n; ++r) {
        b[std::size_t(r)] = T(1 + r % 3);
        for (int c = 0; c < n; ++c)
            a[std::size_t(r * n + c)] = T(kind.element(n, r, c));
    }
    const int size = sizeof(T);
    EXPECT_EQ(factor(a.data(), n * size, size, l.data(), n * size, size, n), StatusOk);
    EXPECT_EQ(solve(l.data(), n * size, size, b.data(), size, x.data(), size, n), StatusOk);
    return {{a.begin(), a.end()}, {b.begin(), b.end()}, {x.begin(), x.end()}};
}

// The residual is that of a matrix nearby: |b - A x| <= c n eps |A| |x|, with the sizes of rows and columns taken out,
// so that graded matrices are held to as much.
void expectSmallResidual(const Solved& s, int n, double epsilon, const std::string& name)
{
    const auto root = [&](int i) { return std::sqrt(s.a[std::size_t(i * n + i)]); };
    for (int r = 0; r < n; ++r) {
        double residual = s.b[std::size_t(r)], size = 0;
        for (int c = 0; c < n; ++c) {
            residual -= s.a[std::size_t(r * n + c)] * s.x[std::size_t(c)];
            size += root(r) * root(c) * std::fabs(s.x[std::size_t(c)]);
        }
        EXPECT_LE(std::fabs(residual), 3 * (n + 6) * epsilon * size) << name << ' ' << n << ", row " << r;
    }
}

TEST(CholeskySolutionResidual, IsThatOfAMatrixNearby)
{
    for (const DefiniteKind& kind : definiteKinds())
        for (const int n : {1, 2, 3, 4, 5, 6, 7, 8, 12, 16}) {
            if (n > kind.largestOrder) continue;
            expectSmallResidual(solved<float>(kind, n, tarnmCholeskyDecomp_m_32f, tarnmCholeskyBackSubst_mv_32f), n,
                                0x1p-23, kind.name);
            expectSmallResidual(solved<double>(kind, n, tarnmCholeskyDecomp_m_64f, tarnmCholeskyBackSubst_mv_64f), n,
                                0x1p-52, kind.name);
        }
}

} // namespace
} // namespace tarnm::test
