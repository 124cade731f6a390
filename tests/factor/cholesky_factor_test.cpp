// Cholesky factors: edge cases, what a failure leaves, memory that must not be touched, backward errors.
#include <cmath>
#include <limits>

#include "factor/cholesky_matrices.h"
#include "factor/cholesky_qr_calls.h"

namespace tarnm::test {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

class CholeskyFactor : public testing::TestWithParam<const Member*> {
protected:
    const Member& member() const { return *GetParam(); }
    bool isArray() const { return isArrayMember(member()); }
    bool isSingle() const { return member().type == Type::f32; }
    // Packed singles of these orders are factored in groups of four.
    bool isGrouped(const Elements& call, int n) const
    {
        return isSingle() && isArray() && member().layout == "S" && call.call.isDense() && n >= 3 && n <= 6;
    }
    Elements definite(int n, int count, Style style) const
    {
        Elements call(member(), {.sizes = {{"widthHeight", n}}, .count = count, .styles = stylesOf(member(), style)});
        for (int object = 0; object < count; ++object)
            for (int r = 0; r < n; ++r)
                for (int c = 0; c < n; ++c)
                    call.set("src", object, r, c, c > r ? nan : definiteElement(object, r, c));
        return call;
    }
    Elements diagonal(int n, const std::vector<double>& pivots) const
    {
        Elements call(member(),
                      {.sizes = {{"widthHeight", n}}, .styles = stylesOf(member(), stylesToTry(member())[0])});
        fillDiagonal(call, n, pivots);
        return call;
    }
    static void fillDiagonal(Elements& call, int n, const std::vector<double>& pivots)
    {
        for (int r = 0; r < n; ++r)
            for (int c = 0; c <= r; ++c)
                call.set("src", 0, r, c, r == c ? pivots[std::size_t(r)] : 0);
    }
};

std::string nameOf(const testing::TestParamInfo<const Member*>& info)
{
    return std::string(info.param->name.substr(sizeof "tarnm" - 1));
}
INSTANTIATE_TEST_SUITE_P(Members, CholeskyFactor, testing::ValuesIn(membersOf("CholeskyDecomp")), nameOf);

// Rows above `failed`, and what stands before the diagonal in that row, are as in `whole`.
void expectRows(Elements& call, const Elements& whole, int object, int n, int failed)
{
    for (int i = 0; i < n && i <= failed; ++i)
        for (int j = 0; j < i + (i < failed); ++j) {
            ASSERT_EQ(call.get("dst", object, i, j), whole.get("dst", object, i, j)) << object << ": " << i << ' ' << j;
            call.accept("dst", object, i, j);
        }
}

TEST_P(CholeskyFactor, OfFourIsOneHalfNotTwo)
{
    Elements call = diagonal(1, {4});
    ASSERT_EQ(call.run(), StatusOk);
    EXPECT_NEAR(call.get("dst", 0, 0, 0), 0.5, isSingle() ? 0x1p-22 : 0);
}

TEST_P(CholeskyFactor, ZeroInTheFirstPlaceIsRejectedBeforeAnythingIsWritten)
{
    for (int n = 1; n <= 9; ++n)
        for (const Style style : stylesToTry(member())) {
            const int count = isArray() ? 9 : 1;
            Elements call = definite(n, count, style);
            call.set("src", 0, 0, 0, 0);
            EXPECT_EQ(call.run(), StatusNotPositiveDefinite);
            EXPECT_EQ(call.call.difference(), "") << n;
        }
}

TEST_P(CholeskyFactor, NegativePivotLeavesTheRowsAboveAndTheRowUpToTheDiagonal)
{
    for (int n = 1; n <= 9; ++n)
        for (int step = 0; step < n; ++step)
            for (const Style style : stylesToTry(member())) {
                Elements whole = definite(n, 1, style), call = definite(n, 1, style);
                ASSERT_EQ(whole.run(), StatusOk);
                call.set("src", 0, step, step, -1);
                ASSERT_EQ(call.run(), StatusNotPositiveDefinite);
                expectRows(call, whole, 0, n, step);
                ASSERT_EQ(call.call.difference(), "") << n << ", step " << step;
            }
}

// Whole blocks of lanes, a part of one, and objects on their own, of all vector widths.
constexpr int manyObjects = 39;

TEST_P(CholeskyFactor, FailingObjectAtEveryPositionOfAnArray)
{
    if (!isArray()) return;
    for (const int n : {3, 4, 5, 6, 7})
        for (const Style style : stylesToTry(member())) {
            Elements whole = definite(n, manyObjects, style);
            ASSERT_EQ(whole.run(), StatusOk);
            for (int failing = 0; failing < manyObjects; ++failing) {
                Elements call = definite(n, manyObjects, style);
                const int step = failing % n;
                call.set("src", failing, step, step, -1);
                ASSERT_EQ(call.run(), StatusNotPositiveDefinite);
                const bool inGroup = isGrouped(call, n) && failing < manyObjects / 4 * 4;
                const int begin = inGroup ? failing / 4 * 4 : failing, end = inGroup ? begin + 4 : begin + 1;
                for (int object = 0; object < begin; ++object)
                    expectRows(call, whole, object, n, n);
                for (int object = begin; object < end; ++object)
                    expectRows(call, whole, object, n, step);
                ASSERT_EQ(call.call.difference(), "") << n << ", object " << failing << ", " << nameOf(style);
            }
        }
}

TEST_P(CholeskyFactor, TheFirstFailingObjectCountsNotTheFirstFailingStep)
{
    if (!isArray()) return;
    for (const int n : {3, 4, 5, 6})
        for (const Style style : stylesToTry(member())) {
            Elements whole = definite(n, 16, style), call = definite(n, 16, style);
            ASSERT_EQ(whole.run(), StatusOk);
            // Of one group, then of two in one block.
            call.set("src", 5, n - 1, n - 1, -1);
            call.set("src", 7, 1, 1, -1);
            call.set("src", 8, 0, 0, -1);
            ASSERT_EQ(call.run(), StatusNotPositiveDefinite);
            const bool grouped = isGrouped(call, n);
            for (int object = 0; object < (grouped ? 4 : 5); ++object)
                expectRows(call, whole, object, n, n);
            for (int object = grouped ? 4 : 5; object < (grouped ? 8 : 6); ++object)
                expectRows(call, whole, object, n, grouped ? 1 : n - 1);
            ASSERT_EQ(call.call.difference(), "") << n;
        }
}

TEST_P(CholeskyFactor, EachThreadStopsAtItsOwnFailureAndCountsItsOwnGroups)
{
    if (!isArray()) return;
    constexpr int n = 6, count = 422, middle = count / 2; // slices of 211 objects: 52 groups and 3 objects
    for (const Style style : stylesToTry(member())) {
        Elements whole = definite(n, count, style);
        ASSERT_EQ(whole.run(2), StatusOk);
        ASSERT_GT(threadCountQueries(), 0) << "not enough work for several threads";
        const bool grouped = isGrouped(whole, n);
        // The ends of both slices. Groups of the second one straddle those of the whole call.
        for (int failing = 0; failing < count; ++failing) {
            const int inItsSlice = failing % middle;
            if (inItsSlice > 8 && inItsSlice < middle - 8) continue;
            Elements call = definite(n, count, style);
            call.set("src", failing, 2, 2, -1);
            ASSERT_EQ(call.run(2), StatusNotPositiveDefinite);
            const int slice = failing - inItsSlice, place = inItsSlice;
            const bool inGroup = grouped && place < 208;
            const int begin = slice + (inGroup ? place / 4 * 4 : place), end = begin + (inGroup ? 4 : 1);
            for (int object = 0; object < count; ++object) {
                const bool inSlice = object >= slice && object < slice + middle;
                if (!inSlice || object < begin)
                    expectRows(call, whole, object, n, n);
                else if (object < end)
                    expectRows(call, whole, object, n, 2);
            }
            ASSERT_EQ(call.call.difference(), "") << failing;
        }
    }
}

TEST_P(CholeskyFactor, NaNOnTheDiagonalPasses)
{
    for (const int n : {1, 2, 3, 4, 5, 6, 7})
        for (int step = 0; step < n; ++step)
            for (const Style style : stylesToTry(member())) {
                const int count = isArray() ? 11 : 1;
                Elements whole = definite(n, count, style), call = definite(n, count, style);
                ASSERT_EQ(whole.run(), StatusOk);
                const int object = count / 2;
                call.set("src", object, step, step, nan);
                ASSERT_EQ(call.run(), StatusOk);
                for (int i = step; i < n; ++i)
                    EXPECT_TRUE(std::isnan(call.get("dst", object, i, i)));
                for (int other = 0; other < count; ++other)
                    if (other != object) expectRows(call, whole, other, n, n);
            }
}

TEST_P(CholeskyFactor, NaNInALaneHidesNoFailureBesideIt)
{
    if (!isArray()) return;
    for (const Style style : stylesToTry(member())) {
        Elements call = definite(4, 8, style);
        call.set("src", 1, 0, 0, nan);
        call.set("src", 2, 1, 1, -1);
        EXPECT_EQ(call.run(), StatusNotPositiveDefinite);
    }
}

// By kernel and order, as far as they are not zero.
double toleranceOf(const Member& member, bool isDense, int n)
{
    if (member.layout == "P") return n == 3 ? 1.1920928955078125e-7 : 0;
    if (member.name == "tarnmCholeskyDecomp_ma_64f" && !isDense && (n < 3 || n > 5)) return 2.220446049250313e-16;
    return 0;
}

TEST_P(CholeskyFactor, PivotAtTheToleranceFailsAndTheNextNumberPasses)
{
    for (const Style style : stylesToTry(member()))
        for (int n = 1; n <= 9; ++n)
            for (int step = 0; step < n; ++step)
                for (const int count : {1, 9}) {
                    if (count > 1 && !isArray()) continue;
                    Elements call = definite(n, count, style);
                    const double tolerance = toleranceOf(member(), call.call.isDense(), n);
                    std::vector<double> pivots(std::size_t(n), 1.0);
                    pivots[std::size_t(step)] = tolerance;
                    fillDiagonal(call, n, pivots);
                    EXPECT_EQ(call.run(), StatusNotPositiveDefinite) << n << ' ' << step << ' ' << nameOf(style);
                    const bool single = isSingle();
                    pivots[std::size_t(step)] = tolerance == 0 ? (single ? 0x1p-126 : 0x1p-1022)
                                                : single       ? std::nextafter(float(tolerance), 1.0f)
                                                               : std::nextafter(tolerance, 1.0);
                    fillDiagonal(call, n, pivots);
                    EXPECT_EQ(call.run(), StatusOk) << n << ' ' << step << ' ' << nameOf(style);
                }
}

TEST_P(CholeskyFactor, OrderThreeWithASmallPivotIsRejectedInTablesOfElementsOnly)
{
    Elements three = diagonal(3, {1e-8, 1, 1}), four = diagonal(4, {1e-8, 1, 1, 1});
    EXPECT_EQ(three.run(), member().layout == "P" ? StatusNotPositiveDefinite : StatusOk);
    EXPECT_EQ(four.run(), StatusOk);
}

TEST_P(CholeskyFactor, SourceAndResultMayBeTheSameMemory)
{
    for (const int n : {1, 2, 3, 4, 5, 6, 7, 8, 16})
        for (const Style style : stylesToTry(member()))
            for (const int failing : {-1, 10}) {
                const int count = isArray() ? 19 : 1;
                Elements apart = definite(n, count, style), together = definite(n, count, style);
                if (failing >= 0 && isArray()) {
                    apart.set("src", failing, n / 2, n / 2, -1);
                    together.set("src", failing, n / 2, n / 2, -1);
                }
                shareMemory(together.call, "dst", "src");
                const bool fails = failing >= 0 && isArray();
                ASSERT_EQ(apart.run(), fails ? StatusNotPositiveDefinite : StatusOk);
                ASSERT_EQ(together.run(), fails ? StatusNotPositiveDefinite : StatusOk);
                const int complete = !fails ? count : isGrouped(apart, n) ? failing / 4 * 4 : failing;
                for (int object = 0; object < count; ++object)
                    for (int r = 0; r < n; ++r)
                        for (int c = 0; c < n; ++c) {
                            const double got = together.get("src", object, r, c);
                            if (c > r) {
                                ASSERT_TRUE(std::isnan(got));
                            } else if (object < complete) {
                                ASSERT_EQ(got, apart.get("dst", object, r, c))
                                    << n << ' ' << object << ": " << r << ' ' << c;
                            }
                        }
            }
}

TEST_P(CholeskyFactor, NullEntriesAboveTheDiagonalAreNotLookedAt)
{
    if (member().layout != "P") return;
    for (int n = 1; n <= 8; ++n) {
        const int count = isArray() ? 21 : 1;
        Elements call = definite(n, count, Style::planes);
        for (const char* name : {"ppSrc", "ppDst"}) {
            const void* table = call.call.value(call.call.argumentIndex(name)).pointer;
            for (int r = 0; r < n; ++r)
                for (int c = r + 1; c < n; ++c)
                    static_cast<void**>(const_cast<void*>(table))[r * n + c] = nullptr;
        }
        EXPECT_EQ(call.run(), StatusOk) << n;
    }
}

// One operand, of which only the lower triangles exist, as far as pages can tell.
template <class T> struct Gapped {
    Gapped(std::ptrdiff_t object, std::ptrdiff_t row, std::ptrdiff_t element, std::ptrdiff_t offset, int n, int count)
        : memory(std::size_t(2 * (n + 1)) * std::size_t(SparseMemory::pageBytes()))
        , objectStride(std::int32_t(object))
        , rowStride(std::int32_t(row))
        , elementStride(std::int32_t(element))
    {
        for (int o = 0; o < count; ++o) {
            objects.push_back(reinterpret_cast<T*>(memory.base() + offset + o * object));
            for (int r = 0; r < n; ++r)
                for (int c = 0; c <= r; ++c) {
                    std::byte* at = memory.base() + offset + o * object + r * row + c * element;
                    memory.open(at, sizeof(T));
                    *reinterpret_cast<T*>(at) = T(definiteElement(o, r, c));
                }
        }
    }

    SparseMemory memory;
    std::vector<T*> objects;
    std::int32_t objectStride, rowStride, elementStride;
};

void factorGapped(const Gapped<float>& s, const Gapped<float>& d, int n, int count)
{
    EXPECT_EQ(tarnmCholeskyDecomp_ma_32f(s.objects[0], s.objectStride, s.rowStride, s.elementStride, d.objects[0],
                                         d.objectStride, d.rowStride, d.elementStride, n, count),
              StatusOk);
    EXPECT_EQ(tarnmCholeskyDecomp_ma_32f_L(s.objects.data(), 0, s.rowStride, s.elementStride, d.objects.data(), 0,
                                           d.rowStride, d.elementStride, n, count),
              StatusOk);
}

void factorGapped(const Gapped<double>& s, const Gapped<double>& d, int n, int count)
{
    EXPECT_EQ(tarnmCholeskyDecomp_ma_64f(s.objects[0], s.objectStride, s.rowStride, s.elementStride, d.objects[0],
                                         d.objectStride, d.rowStride, d.elementStride, n, count),
              StatusOk);
    EXPECT_EQ(tarnmCholeskyDecomp_ma_64f_L(s.objects.data(), 0, s.rowStride, s.elementStride, d.objects.data(), 0,
                                           d.rowStride, d.elementStride, n, count),
              StatusOk);
}

template <class T> class CholeskyGaps : public testing::Test {};
using Types = testing::Types<float, double>;
TYPED_TEST_SUITE(CholeskyGaps, Types);

// Column j begins with row j at the start of a page.
TYPED_TEST(CholeskyGaps, MissingElementsAboveTheDiagonalOfStridedObjects)
{
    using T = TypeParam;
    const std::ptrdiff_t size = sizeof(T), row = 64 * size, column = 2 * SparseMemory::pageBytes() - row;
    for (const std::ptrdiff_t object : {size, 17 * size}) // side by side, and not
        for (int n = 1; n <= 8; ++n) {
            const int count = object == size ? 19 : 3;
            const Gapped<T> from(object, row, column, 0, n, count), to(object, row, column, 0, n, count);
            factorGapped(from, to, n, count);
        }
}

// Row r of the last object ends with its diagonal at the end of a page.
TYPED_TEST(CholeskyGaps, MissingElementsBehindTheDiagonalOfRowsThatLieApart)
{
    using T = TypeParam;
    const std::ptrdiff_t size = sizeof(T), row = 2 * SparseMemory::pageBytes() - size, object = 8 * size;
    for (int n = 1; n <= 8; ++n)
        for (const int count : {1, 2, 4, 16, 17}) {
            const std::ptrdiff_t offset = SparseMemory::pageBytes() - size - (count - 1) * object;
            const Gapped<T> from(object, row, size, offset, n, count), to(object, row, size, offset, n, count);
            factorGapped(from, to, n, count);
        }
}

// Both forms of the step, over the whole range.
TEST(CholeskyRoot, ReciprocalIsGoodToTwentyOneBits)
{
    for (int exponent = -120; exponent <= 120; ++exponent)
        for (int k = 0; k < 64; ++k) {
            const float s = std::ldexp(1.0f + float(k) / 64, exponent);
            float d = 0;
            ASSERT_EQ(tarnmCholeskyDecomp_m_32f(&s, 4, 4, &d, 4, 4, 1), StatusOk);
            EXPECT_NEAR(double(d) * std::sqrt(double(s)), 1, 0x1p-21) << s;
            std::vector<float> a(36, 0), l(36, 0);
            for (int i = 0; i < 12; ++i)
                a[std::size_t(i / 3 * 9 + i % 3 * 4)] = s;
            ASSERT_EQ(tarnmCholeskyDecomp_ma_32f(a.data(), 36, 12, 4, l.data(), 36, 12, 4, 3, 4), StatusOk);
            for (int i = 0; i < 12; ++i)
                EXPECT_NEAR(double(l[std::size_t(i / 3 * 9 + i % 3 * 4)]) * std::sqrt(double(s)), 1, 0x1p-21) << s;
        }
}

// |A - L transpose(L)| <= c n eps max |A|, element by element against the diagonal: |L| |transpose(L)| <= sqrt(a_ii a_jj).
TEST_P(CholeskyFactor, TimesItsTransposeIsTheMatrix)
{
    for (const DefiniteKind& kind : definiteKinds())
        for (const int n : {1, 2, 3, 4, 5, 6, 7, 8, 12, 16}) {
            if (n > kind.largestOrder) continue;
            // The pivots of these stand below the absolute tolerances of some kernels.
            if (kind.name == "small" || kind.name == "graded")
                if (toleranceOf(member(), false, n) > 0) continue;
            const int count = isArray() ? 6 : 1;
            Elements call(member(), {.sizes = {{"widthHeight", n}},
                                     .count = count,
                                     .styles = stylesOf(member(), stylesToTry(member())[std::size_t(n % 2)])});
            for (int object = 0; object < count; ++object)
                for (int r = 0; r < n; ++r)
                    for (int c = 0; c < n; ++c)
                        call.set("src", object, r, c, rounded(member(), kind.element(n, r, c)));
            ASSERT_EQ(call.run(), StatusOk) << kind.name << ' ' << n;
            const auto L = [&](int object, int r, int c) {
                const double value = call.get("dst", object, r, c);
                return r == c ? 1 / value : value;
            };
            for (int object = 0; object < count; ++object)
                for (int r = 0; r < n; ++r)
                    for (int c = 0; c <= r; ++c) {
                        double sum = 0;
                        for (int k = 0; k <= c; ++k)
                            sum += L(object, r, k) * L(object, c, k);
                        const double size = std::sqrt(call.get("src", object, r, r) * call.get("src", object, c, c));
                        EXPECT_NEAR(sum, call.get("src", object, r, c), (n + 6) * epsilonOf(member()) * size)
                            << kind.name << ' ' << n << ": " << r << ' ' << c;
                    }
        }
}

} // namespace
} // namespace tarnm::test
