// Edge cases of vectors through 4x4 matrices, one and many.
#include <ostream>
#include <string>

#include "bits.h"
#include "tarnm/tarnm.h"

namespace tarnm::test {
namespace {

using V2 = std::array<float, 2>;
using V3 = std::array<float, 3>;
using V4 = std::array<float, 4>;

Matrix translationBy(float x, float y, float z)
{
    Matrix m;
    tarnmTranslation_m4_32f(x, y, z, m.data());
    return m;
}

TEST(GeometryTransforms, TranslationMovesAPoint)
{
    const Matrix m = translationBy(10, 20, 30);
    const V3 p = {1, 2, 3};
    V4 d;
    EXPECT_EQ(tarnmAffineTransform_m4v3_32f(m.data(), p.data(), d.data()), StatusOk);
    expectSame(d, V4{11, 22, 33, 1});
    const V2 q = {1, 2};
    EXPECT_EQ(tarnmAffineTransform_m4v2_32f(m.data(), q.data(), d.data()), StatusOk);
    expectSame(d, V4{11, 22, 30, 1});
}

TEST(GeometryTransforms, TranslationLeavesADirection)
{
    const Matrix m = translationBy(10, 20, 30);
    const V3 p = {1, 2, 3};
    V3 d;
    EXPECT_EQ(tarnmAffineTransformNormal_m4v3_32f(m.data(), p.data(), d.data()), StatusOk);
    expectSame(d, p);
}

TEST(GeometryTransforms, FourthElementIsGiven)
{
    const Matrix m = translationBy(10, 20, 30);
    const V4 direction = {1, 2, 3, 0};
    V4 d;
    EXPECT_EQ(tarnmAffineTransform_m4v4_32f(m.data(), direction.data(), d.data()), StatusOk);
    expectSame(d, direction);
}

TEST(GeometryTransforms, DivisorOfZeroGivesInfinitiesOrNaN)
{
    Matrix m = unit;
    m[15] = 0;
    const V2 p = {1, 0};
    V2 d;
    EXPECT_EQ(tarnmAffineTransformCoord_m4v2_32f(m.data(), p.data(), d.data()), StatusOk);
    expectSame(d, V2{infinity, nan});
    const V3 q = {-1, 0, 2};
    V3 e;
    EXPECT_EQ(tarnmAffineTransformCoord_m4v3_32f(m.data(), q.data(), e.data()), StatusOk);
    expectSame(e, V3{-infinity, nan, infinity});
}

TEST(GeometryTransforms, TransformThenInverseGivesThePointBack)
{
    Random random(15);
    for (int i = 0; i < 1000; ++i) {
        Matrix turn, move, m, back;
        const V3 axis = random.array<3>();
        const float angle = random.number();
        const V3 by = random.array<3>(), opposite = {-by[0], -by[1], -by[2]};
        tarnmRotationAxis_v3m4_32f(axis.data(), angle, turn.data());
        move = translationBy(by[0], by[1], by[2]);
        tarnmMul_mm4x4_32f(turn.data(), move.data(), m.data());
        tarnmRotationAxis_v3m4_32f(axis.data(), -angle, turn.data());
        move = translationBy(opposite[0], opposite[1], opposite[2]);
        tarnmMul_mm4x4_32f(move.data(), turn.data(), back.data());
        const V3 p = random.array<3>();
        V3 d;
        EXPECT_EQ(tarnmAffineTransformCoord_m4v3_32f(m.data(), p.data(), d.data()), StatusOk);
        EXPECT_EQ(tarnmAffineTransformCoord_m4v3_32f(back.data(), d.data(), d.data()), StatusOk);
        // Two turns of sums of four terms of at most 8 in all.
        for (int k = 0; k < 3; ++k)
            EXPECT_NEAR(d[k], p[k], 64 * std::numeric_limits<float>::epsilon());
    }
}

// ---- Arrays against the member for one vector ----

struct Family {
    const char* name;
    int in, out;
    tarnmStatus (*one)(const float*, const float*, float*);
    tarnmStatus (*many)(const float*, const float*, std::int32_t, float*, std::int32_t, std::int32_t);

    friend void PrintTo(const Family& family, std::ostream* out) { *out << family.name; }
};

const Family families[] = {
    {"AffineTransform_m4v2", 2, 4, tarnmAffineTransform_m4v2_32f, tarnmAffineTransform_m4v2a_32f},
    {"AffineTransform_m4v3", 3, 4, tarnmAffineTransform_m4v3_32f, tarnmAffineTransform_m4v3a_32f},
    {"AffineTransform_m4v4", 4, 4, tarnmAffineTransform_m4v4_32f, tarnmAffineTransform_m4v4a_32f},
    {"AffineTransformCoord_m4v2", 2, 2, tarnmAffineTransformCoord_m4v2_32f, tarnmAffineTransformCoord_m4v2a_32f},
    {"AffineTransformCoord_m4v3", 3, 3, tarnmAffineTransformCoord_m4v3_32f, tarnmAffineTransformCoord_m4v3a_32f},
    {"AffineTransformNormal_m4v2", 2, 2, tarnmAffineTransformNormal_m4v2_32f, tarnmAffineTransformNormal_m4v2a_32f},
    {"AffineTransformNormal_m4v3", 3, 3, tarnmAffineTransformNormal_m4v3_32f, tarnmAffineTransformNormal_m4v3a_32f},
};

class GeometryTransformArrays : public testing::TestWithParam<Family> {
protected:
    static constexpr int objects = 37;

    // An array call on bytes from `source` and `result` on in one piece of memory must leave what calls for one object
    // leave, one after the other.
    void expectLikeOneByOne(int source, int sourceStride, int result, int resultStride)
    {
        std::vector<float> memory = Random(16).vector(2 * 64 * objects), expected = memory;
        // Strides may be negative: objects lie around the middle.
        const auto at = [](std::vector<float>& values, int bytes) {
            return reinterpret_cast<float*>(reinterpret_cast<char*>(values.data() + values.size() / 2) + bytes);
        };
        for (int n = 0; n < objects; ++n)
            EXPECT_EQ(GetParam().one(matrix.data(), at(expected, source + n * sourceStride),
                                     at(expected, result + n * resultStride)),
                      StatusOk);
        EXPECT_EQ(
            GetParam().many(matrix.data(), at(memory, source), sourceStride, at(memory, result), resultStride, objects),
            StatusOk);
        SCOPED_TRACE(std::string(GetParam().name) + ", source at " + std::to_string(source) + " every " +
                     std::to_string(sourceStride) + ", result at " + std::to_string(result) + " every " +
                     std::to_string(resultStride));
        expectSame(memory, expected);
    }

    const Matrix matrix = Random(17).array<16>();
};

INSTANTIATE_TEST_SUITE_P(Families, GeometryTransformArrays, testing::ValuesIn(families),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_P(GeometryTransformArrays, StridesOfEveryKind)
{
    const int in = GetParam().in * 4, out = GetParam().out * 4;
    const int apart = 64 * objects;
    for (const int sourceStride : {in, in + 1, in + 4, 16, 20, 0, -in, -20, 4, 1})
        for (const int resultStride : {out, out + 3, out + 4, 16, 24})
            expectLikeOneByOne(-apart + 800, sourceStride, 8, resultStride);
}

// Results that lie on each other are stored in the order of objects.
TEST_P(GeometryTransformArrays, OverlappingResultsAreStoredInOrder)
{
    for (const int resultStride : {0, 4, 8, 12, 1, -4, -16, -24})
        expectLikeOneByOne(-2000, 16, 1200, resultStride);
}

TEST_P(GeometryTransformArrays, ResultMayBeTheSource)
{
    for (const int stride : {16, 20, 24, -16, -20})
        expectLikeOneByOne(0, stride, 0, stride);
    const int packed = GetParam().in * 4;
    if (GetParam().in == GetParam().out) expectLikeOneByOne(0, packed, 0, packed);
}

// Where a result lies on the source of another object, ascending order shows.
TEST_P(GeometryTransformArrays, PartialOverlapGoesInAscendingOrder)
{
    for (const int shift : {-48, -16, -8, -4, 4, 8, 16, 48})
        for (const int sourceStride : {8, 12, 16, 20})
            for (const int resultStride : {8, 12, 16, 20})
                expectLikeOneByOne(0, sourceStride, shift, resultStride);
}

TEST_P(GeometryTransformArrays, CountBelowOneWritesNothing)
{
    std::array<float, 16> d;
    d.fill(7);
    const std::array<float, 16> before = d;
    for (const int count : {0, -1, std::numeric_limits<int>::min()}) {
        EXPECT_EQ(GetParam().many(matrix.data(), matrix.data(), 16, d.data(), 16, count), StatusOk);
        EXPECT_EQ(GetParam().many(nullptr, nullptr, 16, nullptr, 16, count), StatusOk);
    }
    expectSame(d, before);
}

TEST_P(GeometryTransformArrays, NullPointersFault)
{
    std::array<float, 16> d{};
    EXPECT_DEATH(GetParam().many(nullptr, d.data(), 16, d.data(), 16, 1), "");
    EXPECT_DEATH(GetParam().many(d.data(), d.data(), 16, nullptr, 16, 1), "");
    EXPECT_DEATH(GetParam().one(d.data(), nullptr, d.data()), "");
}

} // namespace
} // namespace tarnm::test
