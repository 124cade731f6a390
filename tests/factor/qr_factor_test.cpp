// QR factors: edge cases, tolerance, what a failure leaves, orthogonality and backward errors.
#include <algorithm>
#include <cmath>
#include <limits>

#include "factor/cholesky_qr_calls.h"

namespace tarnm::test {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

struct Shape {
    int width, height;
};
constexpr Shape shapes[] = {{1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 5}, {6, 6}, {7, 7},
                            {8, 8}, {1, 5}, {2, 4}, {3, 6}, {3, 4}, {5, 9}, {16, 16}};

double sample(int object, int r, int c)
{
    return std::sin(1.0 + 3.7 * r + 11.3 * c + 0.9 * object) + (r == c ? 1.5 : 0);
}

class QrFactor : public testing::TestWithParam<const Member*> {
protected:
    const Member& member() const { return *GetParam(); }
    bool isArray() const { return isArrayMember(member()); }
    double epsilon() const { return epsilonOf(member()); }

    Elements blank(Shape shape, int count, Style style) const
    {
        return Elements(member(), {.sizes = {{"width", shape.width}, {"height", shape.height}},
                                   .count = isArray() ? count : 1,
                                   .styles = stylesOf(member(), style)});
    }
    Elements matrices(Shape shape, int count, Style style) const
    {
        Elements call = blank(shape, count, style);
        for (int object = 0; object < (isArray() ? count : 1); ++object)
            for (int r = 0; r < shape.height; ++r)
                for (int c = 0; c < shape.width; ++c)
                    call.set("src", object, r, c, sample(object, r, c));
        return call;
    }
    Elements matrix(Shape shape, std::vector<double> rows) const
    {
        Elements call = blank(shape, 1, stylesToTry(member())[0]);
        for (int r = 0; r < shape.height; ++r)
            for (int c = 0; c < shape.width; ++c)
                call.set("src", 0, r, c, rows[std::size_t(r * shape.width + c)]);
        return call;
    }
};

std::string nameOf(const testing::TestParamInfo<const Member*>& info)
{
    return std::string(info.param->name.substr(sizeof "tarnm" - 1));
}
INSTANTIATE_TEST_SUITE_P(Members, QrFactor, testing::ValuesIn(membersOf("QRDecomp")), nameOf);

TEST_P(QrFactor, MoreColumnsThanRowsAreToldBehindTheStrides)
{
    Elements call = matrices({4, 4}, 2, stylesToTry(member())[0]);
    call.call.value(call.call.argumentIndex("width")).integer = 5;
    call.call.remember();
    EXPECT_EQ(call.call(), StatusSizeMismatch);
    const bool hasRows = member().layout != "P";
    if (!hasRows && !isArray()) return;
    call.call.value(call.call.argumentIndex(hasRows ? "srcRowStride" : "srcObjectStride")).integer = 2;
    EXPECT_EQ(call.call(), StatusBadStride);
    EXPECT_EQ(call.call.difference(), "");
}

TEST_P(QrFactor, OneElementIsCopiedWithoutATest)
{
    for (const double value : {3.5, -2.0, 0.0, nan})
        for (const int count : {1, 9}) {
            Elements call = blank({1, 1}, count, stylesToTry(member())[0]);
            for (int object = 0; object < (isArray() ? count : 1); ++object)
                call.set("src", object, 0, 0, value);
            ASSERT_EQ(call.run(), StatusOk);
            const double got = call.get("dst", 0, 0, 0);
            EXPECT_TRUE(got == value || (std::isnan(got) && std::isnan(value)));
        }
}

TEST_P(QrFactor, ZeroFirstColumnFailsAndLeavesTheCopy)
{
    for (const Shape shape : shapes) {
        if (shape.height == 1) continue;
        for (const Style style : stylesToTry(member())) {
            Elements call = matrices(shape, 9, style);
            for (int r = 0; r < shape.height; ++r)
                call.set("src", 0, r, 0, 0);
            ASSERT_EQ(call.run(), StatusDivByZero);
            for (int r = 0; r < shape.height; ++r)
                for (int c = 0; c < shape.width; ++c) {
                    EXPECT_EQ(call.get("dst", 0, r, c), call.get("src", 0, r, c));
                    call.accept("dst", 0, r, c);
                }
            call.call.acceptScratch();
            EXPECT_EQ(call.call.difference(), "");
        }
    }
}

TEST_P(QrFactor, LastColumnOfASquareIsNotTested)
{
    for (int n = 2; n <= 8; ++n) {
        Elements call = matrices({n, n}, 1, stylesToTry(member())[0]);
        for (int r = 0; r < n; ++r)
            call.set("src", 0, r, n - 1, 0);
        ASSERT_EQ(call.run(), StatusOk) << n;
        for (int r = 0; r < n; ++r)
            EXPECT_EQ(call.get("dst", 0, r, n - 1), 0);
    }
}

TEST_P(QrFactor, LastColumnOfATallMatrixIs)
{
    Elements call = matrices({2, 3}, 1, stylesToTry(member())[0]);
    for (int r = 0; r < 3; ++r)
        call.set("src", 0, r, 1, 0);
    EXPECT_EQ(call.run(), StatusDivByZero);
}

// With the negative sign d = -5, v = (1, -3/5, -4/5), |v|^2 = 2, and the column becomes (5, 0, 0).
TEST_P(QrFactor, ZeroDiagonalTakesTheNegativeSign)
{
    for (const double zero : {0.0, -0.0}) {
        Elements call = matrix({1, 3}, {zero, 3, 4});
        ASSERT_EQ(call.run(), StatusOk);
        EXPECT_NEAR(call.get("dst", 0, 0, 0), 5, 8 * epsilon());
        EXPECT_NEAR(call.get("dst", 0, 1, 0), -0.6, epsilon());
        EXPECT_NEAR(call.get("dst", 0, 2, 0), -0.8, epsilon());
    }
}

// A positive diagonal element goes to the negative norm and back.
TEST_P(QrFactor, TheDiagonalOfRHasTheOppositeSign)
{
    for (const double sign : {1.0, -1.0}) {
        Elements call = matrix({1, 2}, {3 * sign, 4});
        ASSERT_EQ(call.run(), StatusOk);
        EXPECT_NEAR(call.get("dst", 0, 0, 0), -5 * sign, 8 * epsilon());
        EXPECT_NEAR(call.get("dst", 0, 1, 0), 4 / (8 * sign), epsilon());
    }
}

TEST_P(QrFactor, SquaredNormAtTheToleranceAloneDecides)
{
    // Two equal elements in 32f, one in 64f, whose squares add up to the tolerance exactly.
    const bool single = member().type == Type::f32;
    const double x = single ? 0x1p-12 : 0x1p-26,
                 below = single ? std::nextafter(float(x), 0.0f) : std::nextafter(x, 0.0);
    const double y = single ? x : 0;
    Elements at = matrix({1, 3}, {0, x, y}), under = matrix({1, 3}, {0, below, y});
    EXPECT_EQ(at.run(), StatusOk);
    EXPECT_EQ(under.run(), StatusDivByZero);
    // Far from zero, and yet rejected.
    if (single) {
        Elements small = matrix({3, 3}, {1e-4, 0, 0, 1e-4, 1, 0, 1e-4, 0, 1});
        EXPECT_EQ(small.run(), StatusDivByZero);
    }
}

TEST_P(QrFactor, NaNAndOverflowRunOn)
{
    const double huge = member().type == Type::f32 ? 1e30 : 1e300;
    for (const double value : {nan, infinity, huge})
        for (const int n : {2, 3, 6, 7}) {
            Elements call = matrices({n, n}, 9, stylesToTry(member())[0]);
            call.set("src", 0, 1, 0, value);
            EXPECT_EQ(call.run(), StatusOk) << value << ' ' << n;
        }
}

TEST_P(QrFactor, TallMatrixHasAReflectionForEveryColumn)
{
    Elements call = matrices({2, 4}, 1, stylesToTry(member())[0]);
    ASSERT_EQ(call.run(), StatusOk);
    // R from the first two columns' Gram matrix.
    double squares = 0, mixed = 0, others = 0;
    for (int r = 0; r < 4; ++r) {
        const double x = call.get("src", 0, r, 0), y = call.get("src", 0, r, 1);
        squares += x * x;
        mixed += x * y;
        others += y * y;
    }
    const double r00 = call.get("dst", 0, 0, 0), r01 = call.get("dst", 0, 0, 1), r11 = call.get("dst", 0, 1, 1);
    EXPECT_NEAR(r00 * r00, squares, 20 * epsilon() * squares);
    EXPECT_NEAR(r00 * r01, mixed, 20 * epsilon() * std::sqrt(squares * others));
    EXPECT_NEAR(r01 * r01 + r11 * r11, others, 20 * epsilon() * others);
    for (int r = 1; r < 4; ++r)
        EXPECT_NE(call.get("dst", 0, r, 0), 0);
    for (int r = 2; r < 4; ++r)
        EXPECT_NE(call.get("dst", 0, r, 1), 0);
}

TEST_P(QrFactor, FailingObjectAtEveryPositionOfAnArray)
{
    if (!isArray()) return;
    constexpr int count = 37;
    for (const Shape shape : {Shape{3, 3}, {4, 4}, {5, 5}, {6, 6}, {3, 5}, {8, 8}, {2, 17}})
        for (const Style style : stylesToTry(member())) {
            Elements whole = matrices(shape, count, style);
            ASSERT_EQ(whole.run(), StatusOk);
            for (int failing = 0; failing < count; ++failing) {
                // A column that vanishes below its diagonal once those before it, which are left alone, are done.
                const int column = failing % (shape.width == shape.height ? shape.width - 1 : shape.width);
                const auto breakObject = [&](Elements& call, int object) {
                    for (int r = 0; r < shape.height; ++r)
                        for (int c = 0; c <= column; ++c)
                            call.set("src", object, r, c, c == column ? (r < c ? 1 : 0) : (r > c ? 0 : r == c ? 2 : 1));
                };
                Elements call = matrices(shape, count, style), alone = matrices(shape, 1, style);
                breakObject(call, failing);
                for (int r = 0; r < shape.height; ++r)
                    for (int c = 0; c < shape.width; ++c)
                        alone.set("src", 0, r, c, sample(failing, r, c));
                breakObject(alone, 0);
                ASSERT_EQ(alone.run(), StatusDivByZero);
                ASSERT_EQ(call.run(), StatusDivByZero);
                for (int object = 0; object <= failing; ++object)
                    for (int r = 0; r < shape.height; ++r)
                        for (int c = 0; c < shape.width; ++c) {
                            const Elements& expected = object < failing ? whole : alone;
                            ASSERT_EQ(call.get("dst", object, r, c),
                                      expected.get("dst", object < failing ? object : 0, r, c))
                                << failing << ' ' << object;
                            call.accept("dst", object, r, c);
                        }
                // Reflections of columns that are upper triangular change signs only.
                for (int k = 0; k < column; ++k)
                    ASSERT_EQ(call.get("dst", failing, k, k), -2);
                ASSERT_EQ(call.get("dst", failing, shape.height - 1, column), 0);
                call.call.acceptScratch();
                ASSERT_EQ(call.call.difference(), "") << failing;
            }
        }
}

TEST_P(QrFactor, EachThreadStopsAtItsOwnFailureAndLeavesTheBufferAlone)
{
    if (!isArray()) return;
    constexpr int n = 6, count = 101;
    const SparseMemory nothing{std::size_t(SparseMemory::pageBytes())};
    for (const Style style : stylesToTry(member())) {
        Elements whole = matrices({n, n}, count, style);
        ASSERT_EQ(whole.run(2), StatusOk);
        ASSERT_GT(threadCountQueries(), 0);
        for (int failing = 0; failing < count; ++failing) {
            const int end = failing < 51 ? 51 : count; // of the slice
            if (failing > 17 && failing < 49) continue;
            Elements call = matrices({n, n}, count, style);
            for (int r = 0; r < n; ++r)
                call.set("src", failing, r, 0, 0);
            call.call.value(call.call.argumentIndex("pBuffer")).pointer = nothing.base();
            ASSERT_EQ(call.run(2), StatusDivByZero);
            for (int object = 0; object < count; ++object)
                for (int r = 0; r < n; ++r)
                    for (int c = 0; c < n; ++c) {
                        if (object > failing && object < end) continue;
                        const Elements& expected = object == failing ? call : whole;
                        ASSERT_EQ(call.get("dst", object, r, c),
                                  expected.get(object == failing ? "src" : "dst", object, r, c))
                            << object;
                        call.accept("dst", object, r, c);
                    }
            ASSERT_EQ(call.call.difference(), "") << failing;
        }
    }
}

TEST_P(QrFactor, SourceAndResultMayBeTheSameMemory)
{
    for (const Shape shape : shapes)
        for (const Style style : stylesToTry(member())) {
            const int count = isArray() ? 19 : 1;
            Elements apart = matrices(shape, count, style), together = matrices(shape, count, style);
            shareMemory(together.call, "dst", "src");
            ASSERT_EQ(apart.run(), StatusOk);
            ASSERT_EQ(together.run(), StatusOk);
            for (int object = 0; object < count; ++object)
                for (int r = 0; r < shape.height; ++r)
                    for (int c = 0; c < shape.width; ++c)
                        ASSERT_EQ(together.get("src", object, r, c), apart.get("dst", object, r, c)) << object;
        }
}

// A square matrix times the reflections of a factor, in double, from the last to the first: Q times it.
void applyReflections(const Elements& call, Shape shape, std::vector<double>& m, int columns)
{
    const int steps = shape.width == shape.height ? shape.width - 1 : shape.width;
    for (int k = steps - 1; k >= 0; --k) {
        const auto v = [&](int i) { return i == k ? 1 : call.get("dst", 0, i, k); };
        double squares = 0;
        for (int i = k; i < shape.height; ++i)
            squares += v(i) * v(i);
        for (int c = 0; c < columns; ++c) {
            double s = 0;
            for (int i = k; i < shape.height; ++i)
                s += v(i) * m[std::size_t(i * columns + c)];
            for (int i = k; i < shape.height; ++i)
                m[std::size_t(i * columns + c)] -= 2 / squares * s * v(i);
        }
    }
}

double kindOfMatrix(int kind, int r, int c, int height)
{
    switch (kind) {
    case 0:
        return sample(0, r, c);
    case 1:
        return std::ldexp(sample(1, r, c), -(r + c) / 4); // graded
    case 2:
        return 1.0 / (r + c + 1); // ill conditioned
    case 3:
        return r == c ? 1 : r < c ? -1 : 0; // triangular already
    case 4:
        return r == height - 1 - c ? 1 + c : 0; // zeros on the diagonal
    default:
        return std::ldexp(sample(2, r, c), 40);
    }
}

TEST_P(QrFactor, QTimesRIsTheMatrix)
{
    for (const Shape shape : shapes)
        for (int kind = 0; kind < 6; ++kind) {
            if (kind == 2 && shape.width > (member().type == Type::f32 ? 3 : 6)) continue; // rejected as zero
            Elements call = blank(shape, 1, stylesToTry(member())[std::size_t(kind % 2)]);
            double largest = 0;
            for (int r = 0; r < shape.height; ++r)
                for (int c = 0; c < shape.width; ++c) {
                    call.set("src", 0, r, c, kindOfMatrix(kind, r, c, shape.height));
                    largest = std::max(largest, std::fabs(call.get("src", 0, r, c)));
                }
            ASSERT_EQ(call.run(), StatusOk) << kind << ": " << shape.width << ' ' << shape.height;
            std::vector<double> product(std::size_t(shape.height * shape.width), 0);
            for (int r = 0; r < shape.width; ++r)
                for (int c = r; c < shape.width; ++c)
                    product[std::size_t(r * shape.width + c)] = call.get("dst", 0, r, c);
            applyReflections(call, shape, product, shape.width);
            const double bound = 8 * shape.height * epsilon() * std::sqrt(double(shape.width)) * largest;
            for (int r = 0; r < shape.height; ++r)
                for (int c = 0; c < shape.width; ++c)
                    EXPECT_NEAR(product[std::size_t(r * shape.width + c)], call.get("src", 0, r, c), bound)
                        << kind << ": " << shape.width << ' ' << shape.height;
        }
}

} // namespace
} // namespace tarnm::test
