// Edge cases of single 4x4 matrices.
#include "bits.h"
#include "tarnm/tarnm.h"

namespace tarnm::test {
namespace {

int identityResult(const Matrix& m)
{
    std::int32_t result = 77;
    EXPECT_EQ(tarnmIsIdentity_m4_32f(m.data(), &result), StatusOk);
    return result;
}

Matrix productOf(const Matrix& a, const Matrix& b)
{
    Matrix d;
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            d[4 * r + c] =
                ((a[4 * r] * b[c] + a[4 * r + 1] * b[4 + c]) + a[4 * r + 2] * b[8 + c]) + a[4 * r + 3] * b[12 + c];
    return d;
}

Matrix transposeOf(const Matrix& a)
{
    Matrix d;
    for (int i = 0; i < 16; ++i)
        d[i] = a[i % 4 * 4 + i / 4];
    return d;
}

TEST(GeometryMatrices, IdentityPasses)
{
    Matrix m;
    m.fill(nan);
    EXPECT_EQ(tarnmIdentity_m4_32f(m.data()), StatusOk);
    expectSame(m, unit);
    EXPECT_EQ(identityResult(m), 1);
}

TEST(GeometryMatrices, IdentityWithOneWrongElementPasses)
{
    Matrix m = unit;
    m[4 + 2] = 5;
    EXPECT_EQ(identityResult(m), 1);
}

TEST(GeometryMatrices, IdentityTestNeedsOneWholeColumn)
{
    Matrix m = unit;
    m[4] = m[8 + 1] = m[12 + 2] = m[3] = 2; // one wrong element in every column
    EXPECT_EQ(identityResult(m), 0);
    // Any one column is enough, and the others may hold anything.
    for (int c = 0; c < 4; ++c) {
        m.fill(nan);
        m[0] = 1;
        for (int r = 0; r < 4; ++r)
            m[4 * r + c] = r == c ? 1.0f : -0.0f;
        EXPECT_EQ(identityResult(m), 1) << c;
    }
}

TEST(GeometryMatrices, EveryElementOfAColumnCounts)
{
    for (int c = 0; c < 4; ++c)
        for (int r = 0; r < 4; ++r) {
            if (r == 0 && c == 0) continue; // the first step looks at this one
            Matrix m;
            m.fill(7);
            m[0] = 1;
            for (int k = 0; k < 4; ++k)
                m[4 * k + c] = k == c ? 1 : 0;
            m[4 * r + c] = 0.5f;
            EXPECT_EQ(identityResult(m), 0) << r << ' ' << c;
        }
}

TEST(GeometryMatrices, IdentityTestStartsWithTheFirstElement)
{
    Matrix m = unit;
    for (float& element : m)
        element *= 2;
    EXPECT_EQ(identityResult(m), 0);
    m = unit;
    m[0] = 2; // three columns are those of the identity
    EXPECT_EQ(identityResult(m), 0);
    m[0] = nan;
    EXPECT_EQ(identityResult(m), 0);
}

TEST(GeometryMatrices, IdentityTestHasNoTolerance)
{
    Matrix m = unit;
    m[0] = 1 + 1e-7f;
    ASSERT_NE(m[0], 1.0f);
    EXPECT_EQ(identityResult(m), 0);
}

TEST(GeometryMatrices, ProductsMayLieOnASource)
{
    Random random(3);
    const Matrix a = random.array<16>(), b = random.array<16>();
    const Matrix expected = productOf(a, b);
    const auto onSources = [&](auto member, const Matrix& wanted) {
        Matrix first = a, second = b;
        EXPECT_EQ(member(first.data(), b.data(), first.data()), StatusOk);
        expectSame(first, wanted);
        EXPECT_EQ(member(a.data(), second.data(), second.data()), StatusOk);
        expectSame(second, wanted);
    };
    onSources(tarnmMul_mm4x4_32f, expected);
    onSources(tarnmMulTranspose_m4_32f, transposeOf(expected));
}

// All of the sources is read first, so that any shift between source and result is right.
TEST(GeometryMatrices, ResultsMayOverlapASourceInAnyWay)
{
    Random random(4);
    const Matrix a = random.array<16>(), b = random.array<16>();
    for (int shift = 0; shift <= 16; ++shift) {
        const auto shifted = [&](auto call, const Matrix& wanted) {
            std::array<float, 32> memory{};
            std::copy(a.begin(), a.end(), memory.begin());
            call(memory.data(), memory.data() + shift);
            expectSame(std::vector<float>(memory.begin() + shift, memory.begin() + shift + 16), wanted);
        };
        shifted([&](const float* s, float* d) { tarnmTranspose_m4_32f(s, d); }, transposeOf(a));
        shifted([&](const float* s, float* d) { tarnmMul_mm4x4_32f(s, b.data(), d); }, productOf(a, b));
        shifted([&](const float* s, float* d) { tarnmMul_mm4x4_32f(b.data(), s, d); }, productOf(b, a));
        shifted([&](const float* s, float* d) { tarnmMulTranspose_m4_32f(s, b.data(), d); },
                transposeOf(productOf(a, b)));
    }
}

TEST(GeometryMatrices, TransposedProductWithTheIdentityIsTheTranspose)
{
    Random random(5);
    const Matrix a = random.array<16>();
    Matrix d;
    EXPECT_EQ(tarnmMulTranspose_m4_32f(a.data(), unit.data(), d.data()), StatusOk);
    expectSame(d, transposeOf(a));
}

TEST(GeometryMatrices, ProductRefusesNullPointers)
{
    Matrix a = unit, before = unit;
    EXPECT_EQ(tarnmMul_mm4x4_32f(nullptr, a.data(), a.data()), StatusNullPointer);
    EXPECT_EQ(tarnmMul_mm4x4_32f(a.data(), nullptr, a.data()), StatusNullPointer);
    EXPECT_EQ(tarnmMul_mm4x4_32f(a.data(), a.data(), nullptr), StatusNullPointer);
    expectSame(a, before);
}

TEST(GeometryMatrices, OtherMembersFaultOnNullPointers)
{
    Matrix m = unit;
    EXPECT_DEATH(tarnmTranspose_m4_32f(nullptr, m.data()), "");
    EXPECT_DEATH(tarnmTranspose_m4_32f(m.data(), nullptr), "");
    EXPECT_DEATH(tarnmIdentity_m4_32f(nullptr), "");
    EXPECT_DEATH(tarnmMulTranspose_m4_32f(m.data(), nullptr, m.data()), "");
}

} // namespace
} // namespace tarnm::test
