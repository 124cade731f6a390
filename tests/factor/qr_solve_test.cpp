// Solutions with QR factors: edge cases, the buffer, overlap, least squares.
#include <cmath>
#include <limits>

#include "factor/cholesky_qr_calls.h"

namespace tarnm::test {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

struct Shape {
    int width, height;
};
constexpr Shape shapes[] = {{1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 5}, {6, 6},
                            {7, 7}, {8, 8}, {1, 5}, {2, 4}, {3, 6}, {16, 16}};

class QrSolution : public testing::TestWithParam<const Member*> {
protected:
    const Member& member() const { return *GetParam(); }
    int objects(int count) const { return isArrayMember(member()) ? count : 1; }
    Elements system(Shape shape, int count, Style style) const
    {
        Elements call(member(), {.sizes = {{"width", shape.width}, {"height", shape.height}},
                                 .count = objects(count),
                                 .styles = stylesOf(member(), style)});
        for (int object = 0; object < call.call.objects(0); ++object)
            for (int r = 0; r < shape.height; ++r)
                for (int c = 0; c < shape.width; ++c)
                    call.set("src1", object, r, c, r == c ? 2 + 0.25 * (r % 3) : std::cos(3 * r + c + object));
        for (int object = 0; object < objects(count); ++object)
            for (int k = 0; k < shape.height; ++k)
                call.set("src2", object, k, std::sin(object + 5.0 * k + 1));
        return call;
    }
};

std::string nameOf(const testing::TestParamInfo<const Member*>& info)
{
    return std::string(info.param->name.substr(sizeof "tarnm" - 1));
}
INSTANTIATE_TEST_SUITE_P(Members, QrSolution, testing::ValuesIn(membersOf("QRBackSubst")), nameOf);

TEST_P(QrSolution, OneByOneDividesAndZeroGivesAnInfinity)
{
    Elements call = system({1, 1}, 1, stylesToTry(member())[0]);
    call.set("src1", 0, 0, 0, 4);
    call.set("src2", 0, 0, 3);
    ASSERT_EQ(call.run(), StatusOk);
    EXPECT_EQ(call.get("dst", 0, 0), 0.75);
    call.set("src1", 0, 0, 0, 0);
    ASSERT_EQ(call.run(), StatusOk);
    EXPECT_EQ(call.get("dst", 0, 0), std::numeric_limits<double>::infinity());
}

TEST_P(QrSolution, ZeroOnTheDiagonalIsNotReported)
{
    for (const Shape shape : shapes) {
        Elements call = system(shape, 9, stylesToTry(member())[0]);
        call.set("src1", 0, shape.width - 1, shape.width - 1, 0);
        ASSERT_EQ(call.run(), StatusOk);
        EXPECT_FALSE(std::isfinite(call.get("dst", 0, shape.width - 1)));
    }
}

// Without vectors below the diagonal a reflection turns the sign of its element.
TEST_P(QrSolution, TallSystemDropsTheResidualPart)
{
    Elements call = system({2, 4}, 1, stylesToTry(member())[0]);
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 2; ++c)
            call.set("src1", 0, r, c, r == 0 && c == 0 ? 2 : r == 1 && c == 1 ? 4 : r == 0 ? 1 : 0);
    const double b[] = {5, 8, nan, nan};
    for (int k = 0; k < 4; ++k)
        call.set("src2", 0, k, b[k]);
    ASSERT_EQ(call.run(), StatusOk);
    // 0 times NaN spreads: the reflections take in all elements of the right-hand side.
    EXPECT_TRUE(std::isnan(call.get("dst", 0, 1)));
    call.set("src2", 0, 2, 100);
    call.set("src2", 0, 3, -100);
    ASSERT_EQ(call.run(), StatusOk);
    EXPECT_EQ(call.get("dst", 0, 1), -2);
    EXPECT_EQ(call.get("dst", 0, 0), -1.5);
}

TEST_P(QrSolution, MoreColumnsThanRowsAreToldBehindEverythingElse)
{
    Elements call = system({4, 4}, 2, stylesToTry(member())[0]);
    call.call.value(call.call.argumentIndex("width")).integer = 5;
    call.call.remember();
    EXPECT_EQ(call.call(), StatusSizeMismatch);
    const auto arguments = member().arguments();
    for (int i = 0; i < int(arguments.size()); ++i) {
        if (arguments[i].kind != Kind::elementStride && arguments[i].kind != Kind::roiShift) continue;
        const Value kept = call.call.value(i);
        call.call.value(i).integer = 2;
        EXPECT_EQ(call.call(), arguments[i].kind == Kind::roiShift ? StatusBadRoiShift : StatusBadStride);
        call.call.value(i) = kept;
    }
    EXPECT_EQ(call.call.difference(), "");
}

TEST_P(QrSolution, SquaresOfOrderThreeToSixLeaveTheBufferAlone)
{
    SparseMemory nothing{std::size_t(SparseMemory::pageBytes())};
    for (const int n : {3, 4, 5, 6})
        for (const Style style : stylesToTry(member()))
            for (const int count : {1, 19}) {
                Elements call = system({n, n}, count, style);
                call.call.value(call.call.argumentIndex("pBuffer")).pointer = nothing.base();
                EXPECT_EQ(call.run(), StatusOk);
            }
}

TEST_P(QrSolution, SeveralThreadsLeaveTheBufferAlone)
{
    if (!isArrayMember(member())) return;
    SparseMemory nothing{std::size_t(SparseMemory::pageBytes())};
    for (const Shape shape : {Shape{7, 7}, {2, 9}}) {
        Elements call = system(shape, 301, stylesToTry(member())[0]);
        call.call.value(call.call.argumentIndex("pBuffer")).pointer = nothing.base();
        EXPECT_EQ(call.run(2), StatusOk);
        EXPECT_GT(threadCountQueries(), 0);
    }
}

TEST_P(QrSolution, RightHandSideIsNotChanged)
{
    for (const Shape shape : shapes) {
        Elements call = system(shape, 19, stylesToTry(member())[0]);
        ASSERT_EQ(call.run(), StatusOk);
        for (int object = 0; object < objects(19); ++object)
            for (int k = 0; k < shape.width; ++k)
                call.accept("dst", object, 0, k);
        call.call.acceptScratch();
        EXPECT_EQ(call.call.difference(), "");
    }
}

TEST_P(QrSolution, ResultMayBeTheRightHandSide)
{
    for (const Shape shape : shapes)
        for (const Style style : stylesToTry(member()))
            for (const int count : {1, 19}) {
                // Objects of both, and element k of both, have the same strides where the matrix is square.
                if (shape.width != shape.height) continue;
                Elements apart = system(shape, count, style), together = system(shape, count, style);
                shareMemory(together.call, "dst", "src2");
                ASSERT_EQ(apart.run(), StatusOk);
                ASSERT_EQ(together.run(), StatusOk);
                for (int object = 0; object < objects(count); ++object)
                    for (int k = 0; k < shape.width; ++k)
                        ASSERT_EQ(together.get("src2", object, k), apart.get("dst", object, k)) << object;
            }
}

// Outside the squares of order 3 to 6 each right-hand side is copied before anything of its result is written.
TEST(QrSolutionOverlap, ResultMayLieAnywhereInItsRightHandSide)
{
    constexpr int count = 19;
    for (const Shape shape : {Shape{2, 2}, {7, 7}, {8, 8}, {2, 4}, {3, 6}})
        for (const int shift : {0, 1}) {
            const int w = shape.width, h = shape.height, step = 2 * h + 1;
            std::vector<double> a(std::size_t(w * h * count)), buffer(std::size_t(h), 0);
            std::vector<double> b(std::size_t(step * count)), x(std::size_t(w * count));
            for (std::size_t i = 0; i < a.size(); ++i)
                a[i] = std::sin(double(i)) + 2;
            for (std::size_t i = 0; i < b.size(); ++i)
                b[i] = std::cos(double(i));
            const auto solve = [&](double* to, int objectStride, int elementStride) {
                return tarnmQRBackSubst_mava_64f(a.data(), 8 * w * h, 8 * w, 8, buffer.data(), b.data(), 8 * step, 16,
                                                 to, objectStride, elementStride, w, h, count);
            };
            ASSERT_EQ(solve(x.data(), 8 * w, 8), StatusOk);
            ASSERT_EQ(solve(b.data() + shift, 8 * step, 8), StatusOk);
            for (int n = 0; n < count; ++n)
                for (int k = 0; k < w; ++k)
                    ASSERT_EQ(b[std::size_t(n * step + shift + k)], x[std::size_t(n * w + k)]) << n << ' ' << k;
        }
}

double element(int kind, int r, int c)
{
    switch (kind) {
    case 0:
        return std::sin(1.0 + 3.7 * r + 11.3 * c) + (r == c ? 1.5 : 0);
    case 1:
        return std::ldexp(element(0, r, c), -(r + c) / 4);
    default:
        return r == c ? 1 : r < c ? -1 : 0.25;
    }
}

// The residual stands at right angles to all columns: |transpose(A) (b - A x)| <= c h eps |A| (|A| |x| + |b|).
template <class T, class Factor, class Solve> void expectLeastSquares(Shape shape, int kind, Factor factor, Solve solve)
{
    const int w = shape.width, h = shape.height, size = sizeof(T);
    const double epsilon = std::numeric_limits<T>::epsilon();
    std::vector<T> a(std::size_t(w * h)), qr(a.size()), b(std::size_t(h), T(0)), x(std::size_t(w), T(0)),
        buffer(b.size());
    for (int r = 0; r < h; ++r) {
        b[std::size_t(r)] = T(1 + r % 4);
        for (int c = 0; c < w; ++c)
            a[std::size_t(r * w + c)] = T(element(kind, r, c));
    }
    ASSERT_EQ(factor(a.data(), w * size, size, buffer.data(), qr.data(), w * size, size, w, h), StatusOk);
    ASSERT_EQ(solve(qr.data(), w * size, size, buffer.data(), b.data(), size, x.data(), size, w, h), StatusOk);

    const auto A = [&](int r, int c) { return double(a[std::size_t(r * w + c)]); };
    double sizeOfA = 0, sizeOfX = 0, sizeOfB = 0;
    std::vector<double> residual;
    for (int r = 0; r < h; ++r) {
        residual.push_back(double(b[std::size_t(r)]));
        sizeOfB += double(b[std::size_t(r)]) * double(b[std::size_t(r)]);
        for (int c = 0; c < w; ++c) {
            residual.back() -= A(r, c) * double(x[std::size_t(c)]);
            sizeOfA += A(r, c) * A(r, c);
        }
    }
    for (const T element : x)
        sizeOfX += double(element) * double(element);
    const double bound = 10 * h * epsilon * std::sqrt(sizeOfA) * (std::sqrt(sizeOfA * sizeOfX) + std::sqrt(sizeOfB));
    for (int c = 0; c < w; ++c) {
        double sum = 0;
        for (int r = 0; r < h; ++r)
            sum += A(r, c) * residual[std::size_t(r)];
        EXPECT_LE(std::fabs(sum), bound) << w << ' ' << h << ' ' << kind;
    }
    if (w != h) return;
    for (const double rest : residual)
        EXPECT_LE(std::fabs(rest), 10 * h * epsilon * (std::sqrt(sizeOfA * sizeOfX) + std::sqrt(sizeOfB)));
}

TEST(QrSolutionResidual, IsLeast)
{
    for (const Shape shape : shapes)
        for (int kind = 0; kind < 3; ++kind) {
            expectLeastSquares<float>(shape, kind, tarnmQRDecomp_m_32f, tarnmQRBackSubst_mv_32f);
            expectLeastSquares<double>(shape, kind, tarnmQRDecomp_m_64f, tarnmQRBackSubst_mv_64f);
        }
}

} // namespace
} // namespace tarnm::test
