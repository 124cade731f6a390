// The symmetric eigenproblem: cases that stand for one promise each.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <limits>
#include <numeric>

#include "eigen/symmetric_matrices.h"
#include "eigen/symmetric_members.h"
#include "support/thread_count.h"

namespace tarnm::test {
namespace {

using reference::solveSymmetric;
using reference::SymmetricSolution;

const SymmetricKernel denseValues{false, false, 'S', true}, stridedValues{false, false, 'S', false},
    scatteredValues{false, false, 'P', false}, denseVectors{true, false, 'S', true},
    stridedVectors{true, false, 'S', false}, scatteredVectors{true, false, 'P', false},
    denseValuesOfArrays{false, true, 'S', true}, denseVectorsOfArrays{true, true, 'S', true},
    denseVectorsOfLists{true, true, 'L', true}, stridedVectorsOfLists{true, true, 'L', false};

template <class T> const double epsilon = sizeof(T) == 4 ? 0x1p-23 : 0x1p-52;

template <class T> const char* typeName() { return sizeof(T) == 4 ? "32f" : "64f"; }

std::string describe(const SymmetricKernel& k)
{
    return std::string(k.isVectors ? "vectors " : "values ") + (k.isArray ? "ma " : "m ") + k.layout +
           (k.isDense ? " dense" : "");
}

template <class T> bool same(T got, std::optional<T> expected)
{
    using Bits = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
    if (!expected) return isUntouched(got);
    if (std::isnan(got) || std::isnan(*expected)) return std::isnan(got) && std::isnan(*expected) && !isUntouched(got);
    return std::bit_cast<Bits>(got) == std::bit_cast<Bits>(*expected);
}

template <class T> bool isObjectAsIn(const SymmetricCall<T>& call, int object, const SymmetricSolution<T>& expected)
{
    for (std::size_t i = 0; i < call.values[object].size(); ++i)
        if (!same(call.values[object][i], expected.values[i])) return false;
    for (std::size_t i = 0; i < call.vectors[object].size(); ++i)
        if (!same(call.vectors[object][i], i < expected.vectors.size() ? expected.vectors[i] : std::nullopt))
            return false;
    return true;
}

template <class T> bool isUntouchedObject(const SymmetricCall<T>& call, int object)
{
    return std::all_of(call.values[object].begin(), call.values[object].end(), isUntouched<T>) &&
           std::all_of(call.vectors[object].begin(), call.vectors[object].end(), isUntouched<T>);
}

template <class T> SymmetricCall<T> callOne(const SymmetricKernel& kernel, const std::vector<T>& a, int n)
{
    return callSymmetric<T>(kernel, {a}, n);
}

// One object, every bit as the reference has it.
template <class T>
void expectReference(const SymmetricKernel& kernel, const std::vector<T>& a, int n, const std::string& what)
{
    const auto expected = solveSymmetric(kernel, a, n);
    const auto call = callOne(kernel, a, n);
    EXPECT_EQ(call.status, expected.status) << describe(kernel) << ' ' << what;
    EXPECT_TRUE(isObjectAsIn(call, 0, expected)) << describe(kernel) << ' ' << what;
}

template <class T> class SymmetricEigen : public testing::Test {
protected:
    void SetUp() override { answerThreadCount({1}); }

    // Every kernel, alone and in an array of five.
    void expectReferenceEverywhere(const std::vector<T>& a, int n, const std::string& what)
    {
        for (const auto& kernel : allKernels()) {
            expectReference(kernel, a, n, what);
            if (!kernel.isArray) continue;
            const auto expected = solveSymmetric(kernel, a, n);
            const auto call = callSymmetric<T>(kernel, std::vector(5, a), n);
            EXPECT_EQ(call.status, expected.status) << describe(kernel) << ' ' << what;
            for (int k = 0; k < (expected.status == StatusOk ? 5 : 1); ++k)
                EXPECT_TRUE(isObjectAsIn(call, k, expected)) << describe(kernel) << ' ' << what << " object " << k;
        }
    }

    std::mt19937 generator{20260801};
};

using Types = testing::Types<float, double>;
struct TypeNames {
    template <class T> static std::string GetName(int) { return typeName<T>(); }
};
TYPED_TEST_SUITE(SymmetricEigen, Types, TypeNames);

template <class T> using List = std::vector<T>;

// ---- Orders 1 and 2

TYPED_TEST(SymmetricEigen, OneByOneZeroHasValueZeroAndVectorOne)
{
    using T = TypeParam;
    for (const auto& kernel : allKernels()) {
        const auto call = callOne<T>(kernel, {0}, 1);
        EXPECT_EQ(call.status, StatusOk) << describe(kernel);
        EXPECT_EQ(call.values[0][0], T(0)) << describe(kernel);
        if (kernel.isVectors) {
            EXPECT_EQ(call.vectors[0][0], T(1)) << describe(kernel);
        }
    }
}

TYPED_TEST(SymmetricEigen, OneByOneNeverFails)
{
    using T = TypeParam;
    const T nan = std::numeric_limits<T>::quiet_NaN(), infinity = std::numeric_limits<T>::infinity();
    for (const auto& kernel : allKernels())
        for (const T value : {T(-3), nan, infinity}) {
            const auto call = callOne<T>(kernel, {value}, 1);
            EXPECT_EQ(call.status, StatusOk);
            EXPECT_TRUE(same<T>(call.values[0][0], value));
        }
}

TYPED_TEST(SymmetricEigen, OrderTwoWithPositiveTraceDescends)
{
    using T = TypeParam;
    for (const auto& kernel : allKernels()) {
        const auto call = callOne<T>(kernel, {2, 1, 1, 2}, 2);
        EXPECT_EQ(call.status, StatusOk);
        EXPECT_EQ(call.values[0], (List<T>{3, 1})) << describe(kernel);
    }
}

TYPED_TEST(SymmetricEigen, OrderTwoWithNegativeTraceStaysUnsorted)
{
    using T = TypeParam;
    for (const auto& kernel : allKernels()) {
        const auto call = callOne<T>(kernel, {-2, 1, 1, -2}, 2);
        EXPECT_EQ(call.status, StatusOk);
        EXPECT_EQ(call.values[0], (List<T>{-3, -1})) << describe(kernel);
    }
}

TYPED_TEST(SymmetricEigen, OrderTwoWithoutTraceHasValuesOfEqualMagnitude)
{
    using T = TypeParam;
    for (const auto& kernel : allKernels())
        EXPECT_EQ(callOne<T>(kernel, {3, 4, 4, -3}, 2).values[0], (List<T>{5, -5})) << describe(kernel);
}

TYPED_TEST(SymmetricEigen, OrderTwoUsesTheUpperElementOnly)
{
    using T = TypeParam;
    for (const auto& kernel : allKernels()) {
        const auto call = callOne<T>(kernel, {2, 1, 77, 2}, 2);
        EXPECT_EQ(call.values[0], (List<T>{3, 1})) << describe(kernel);
    }
}

TYPED_TEST(SymmetricEigen, OrderTwoSingularLeavesTheResultsUntouched)
{
    using T = TypeParam;
    for (const auto& kernel : allKernels()) {
        const auto call = callOne<T>(kernel, {1, 2, 2, 4}, 2);
        EXPECT_EQ(call.status, StatusSingular) << describe(kernel);
        EXPECT_TRUE(isUntouchedObject(call, 0)) << describe(kernel);
    }
}

TYPED_TEST(SymmetricEigen, OrderTwoIsSingularUpToTheToleranceItself)
{
    using T = TypeParam;
    for (const auto& kernel : allKernels()) {
        const bool isFine =
            sizeof(T) == 4 && !kernel.isVectors && kernel.isArray && kernel.layout == 'S' && kernel.isDense;
        const T limit = isFine ? T(0x1p-52) : T(epsilon<T>);
        for (const T sign : {T(1), T(-1)}) {
            EXPECT_EQ(callOne<T>(kernel, {limit, 0, 0, sign}, 2).status, StatusSingular) << describe(kernel);
            const T above = std::nextafter(limit, T(1));
            EXPECT_EQ(callOne<T>(kernel, {above, 0, 0, sign}, 2).status, StatusOk) << describe(kernel);
        }
    }
}

// Every branch of the rotation: both signs of the trace and the difference, steep, flat and diagonal.
TYPED_TEST(SymmetricEigen, OrderTwoTakesEveryBranchOfTheRotation)
{
    using T = TypeParam;
    for (const double a : {3.0, 1.0, -1.0, -3.0, 1e-9, 2.0})
        for (const double c : {2.5, 1.0, -1.0, -4.0, 3.0})
            for (const double b : {0.0, 1e-10, -1e-10, 0.25, -0.25, 7.0, -7.0}) {
                const List<T> m{T(a), T(b), T(b), T(c)};
                this->expectReferenceEverywhere(m, 2,
                                                std::to_string(a) + ' ' + std::to_string(b) + ' ' + std::to_string(c));
            }
}

TYPED_TEST(SymmetricEigen, OrderTwoVectorsDiagonaliseTheMatrix)
{
    using T = TypeParam;
    for (int trial = 0; trial < 500; ++trial) {
        const auto a = randomSymmetric<T>(2, this->generator);
        for (const auto& kernel : allKernels()) {
            if (!kernel.isVectors) continue;
            const auto call = callOne<T>(kernel, a, 2);
            if (call.status != StatusOk) continue;
            for (int j = 0; j < 2; ++j)
                for (int r = 0; r < 2; ++r) {
                    const double x = call.vectors[0][j], y = call.vectors[0][2 + j];
                    const double image = double(a[2 * r]) * x + double(a[2 * r + 1]) * y;
                    // Nearly equal values: the quotient that gives the second value has the error of the first.
                    EXPECT_NEAR(image, call.values[0][j] * double(call.vectors[0][2 * r + j]), 64 * epsilon<T>);
                }
        }
    }
}

// ---- Diagonal and singular matrices

template <class T> bool isPermutation(const List<T>& v, int n)
{
    for (int i = 0; i < n; ++i) {
        int ones = 0;
        for (int j = 0; j < n; ++j) {
            if (v[i * n + j] != 0 && v[i * n + j] != 1) return false;
            ones += v[i * n + j] == 1;
        }
        if (ones != 1) return false;
    }
    return true;
}

TYPED_TEST(SymmetricEigen, DiagonalMatricesGiveSortedValuesInBothDirections)
{
    using T = TypeParam;
    for (const auto& kernel : allKernels())
        for (const auto& d : {List<double>{3, 1, 2}, List<double>{1, 3, 2}}) {
            const auto expected = solveSymmetric(kernel, diagonal<T>(d), 3);
            EXPECT_EQ(expected.wentForward, d[0] == 1);
            const auto call = callOne(kernel, diagonal<T>(d), 3);
            EXPECT_EQ(call.status, StatusOk);
            EXPECT_EQ(call.values[0], (List<T>{3, 2, 1})) << describe(kernel);
            if (!kernel.isVectors) continue;
            EXPECT_TRUE(isPermutation(call.vectors[0], 3)) << describe(kernel);
            for (int j = 0; j < 3; ++j)
                for (int r = 0; r < 3; ++r)
                    if (call.vectors[0][r * 3 + j] == 1) {
                        EXPECT_EQ(T(d[r]), call.values[0][j]);
                    }
        }
}

// 1e-9 is below the tolerance of single precision, though nothing is wrong with the matrix.
TEST(SymmetricEigenSingle, SmallWellConditionedMatrixIsSingularAndHasItsValues)
{
    answerThreadCount({1});
    for (const auto& kernel : allKernels()) {
        const auto call = callOne(kernel, diagonal<float>({0.001, 0.001, 0.001}), 3);
        EXPECT_EQ(call.status, StatusSingular) << describe(kernel);
        EXPECT_EQ(call.values[0], (List<float>{0.001f, 0.001f, 0.001f})) << describe(kernel);
    }
}

TYPED_TEST(SymmetricEigen, ZeroMatrixIsSingularWithValuesZero)
{
    using T = TypeParam;
    for (const int n : {3, 4, 5, 8, 11})
        for (const auto& kernel : allKernels()) {
            const auto call = callOne(kernel, List<T>(n * n, T(0)), n);
            EXPECT_EQ(call.status, StatusSingular) << describe(kernel);
            EXPECT_EQ(call.values[0], List<T>(n, T(0))) << describe(kernel);
        }
}

TYPED_TEST(SymmetricEigen, ProductAtTheToleranceIsSingular)
{
    using T = TypeParam;
    const double above = std::nextafter(T(epsilon<T>), T(1));
    for (const auto& kernel : allKernels())
        for (const auto& d : {List<double>{4, 0.25, 1}, List<double>{0.25, 1, 4}}) {
            auto at = d, over = d;
            at[1] *= epsilon<T>, over[1] *= above;
            EXPECT_EQ(callOne(kernel, diagonal<T>(at), 3).status, StatusSingular) << describe(kernel);
            EXPECT_EQ(callOne(kernel, diagonal<T>(over), 3).status, StatusOk) << describe(kernel);
        }
}

TYPED_TEST(SymmetricEigen, SingularMatricesAreSortedOnlyBySingleVectorsMembers)
{
    using T = TypeParam;
    for (const auto& kernel : allKernels()) {
        const auto call = callOne(kernel, diagonal<T>({0, 1, 2}), 3);
        EXPECT_EQ(call.status, StatusSingular);
        const bool isSorted = kernel.isVectors && !kernel.isArray;
        EXPECT_EQ(call.values[0], isSorted ? (List<T>{2, 1, 0}) : (List<T>{0, 1, 2})) << describe(kernel);
        if (kernel.isVectors) {
            EXPECT_EQ(call.vectors[0], isSorted ? (List<T>{0, 0, 1, 0, 1, 0, 1, 0, 0}) : diagonal<T>({1, 1, 1}))
                << describe(kernel);
        }
    }
}

// The sort is strict: of equal values the first is taken, and its vector stays in front.
TYPED_TEST(SymmetricEigen, EqualValuesKeepTheOrderOfTheIteration)
{
    using T = TypeParam;
    for (const auto& kernel : allKernels()) {
        const auto call = callOne(kernel, diagonal<T>({2, 5, 2, 5}), 4);
        EXPECT_EQ(call.values[0], (List<T>{5, 5, 2, 2}));
        // First 0 and 1 change places, then the two at positions 1 and 3.
        if (kernel.isVectors) {
            EXPECT_EQ(call.vectors[0], (List<T>{0, 0, 0, 1, 1, 0, 0, 0, 0, 0, 1, 0, 0, 1, 0, 0})) << describe(kernel);
        }
    }
}

TYPED_TEST(SymmetricEigen, DirectionGoesForwardOnlyWhenTheLastElementIsLarger)
{
    using T = TypeParam;
    // In the values family only a backward search takes the same element into the product again.
    const List<double> e{0, 0.5};
    for (const double last : {1.0, std::nextafter(1.0, 2.0) + 1e-3, -1.0, -1.5}) {
        const auto a = tridiagonal<T>({1, 0.75, last}, e);
        EXPECT_EQ(solveSymmetric(denseValues, a, 3).wentForward, std::abs(last) > 1);
        this->expectReferenceEverywhere(a, 3, std::to_string(last));
    }
}

// ---- Reduction

TYPED_TEST(SymmetricEigen, SigmaTestStopsAtTheToleranceItself)
{
    using T = TypeParam;
    const T limit = T(std::sqrt(epsilon<T>)); // its square is just below or above the tolerance
    for (int n : {3, 5})
        for (const T x : {limit, std::nextafter(limit, T(0)), std::nextafter(limit, T(1)), T(-limit)}) {
            auto a = diagonal<T>(List<double>(n, 1));
            a[2] = a[2 * n] = x;
            for (int i = 0; i < n; ++i)
                a[i * n + i] = T(i + 1);
            this->expectReferenceEverywhere(a, n, std::to_string(x));
        }
}

// Zero columns, columns that point along the first element already, negative and negligible leading elements.
TYPED_TEST(SymmetricEigen, ReductionTakesEveryBranchOfTheLeadingElement)
{
    using T = TypeParam;
    const double e = epsilon<T>;
    for (const double lead : {0.0, e, -e, e * 1.5, -e * 1.5, 0.5, -0.5})
        for (const double rest : {0.0, e, std::sqrt(e), 1e-3, 0.5})
            for (const int n : {3, 4}) {
                auto a = diagonal<T>({1, 2, 3, 4});
                a.resize(16);
                List<T> m(n * n, T(0));
                for (int i = 0; i < n; ++i)
                    m[i * n + i] = T(n - i + (i == n - 1 ? 5 : 0));
                m[1] = m[n] = T(lead);
                m[2] = m[2 * n] = T(rest);
                this->expectReferenceEverywhere(m, n, std::to_string(lead) + ' ' + std::to_string(rest));
            }
}

// Between the two tolerances a reflection takes place in this kernel and in no other of the family.
TEST(SymmetricEigenSingle, ListsOfDensePackedMatricesReduceDownToTheFinerTolerance)
{
    answerThreadCount({1});
    const float x = 1e-5f; // its square lies between 2^-52 and 2^-23
    const List<float> a{1, 0, x, 0, 2, 0.5f, x, 0.5f, 3};
    const auto fine = callOne(denseVectorsOfLists, a, 3), coarse = callOne(stridedVectorsOfLists, a, 3);
    EXPECT_TRUE(isObjectAsIn(fine, 0, solveSymmetric(denseVectorsOfLists, a, 3)));
    EXPECT_TRUE(isObjectAsIn(coarse, 0, solveSymmetric(stridedVectorsOfLists, a, 3)));
    EXPECT_NE(fine.vectors[0], coarse.vectors[0]);
    EXPECT_EQ(callOne(denseVectorsOfArrays, a, 3).vectors[0], coarse.vectors[0]);
}

TEST(SymmetricEigenSingle, TheFinerToleranceOfListsNeedsBothOperandsPacked)
{
    const float x = 1e-5f;
    List<float> a{1, 0, x, 0, 2, 0.5f, x, 0.5f, 3}, buffer(9), spread(18), v(9), values(3);
    for (int i = 0; i < 9; ++i)
        spread[2 * i] = a[i];
    const float *dense = a.data(), *strided = spread.data();
    float* result = v.data();
    ASSERT_EQ(
        tarnmEigenValuesVectorsSym_ma_32f_L(&strided, 0, 24, 8, buffer.data(), &result, 0, 12, 4, values.data(), 3, 1),
        StatusOk);
    const auto coarse = callOne(stridedVectorsOfLists, a, 3).vectors[0];
    EXPECT_EQ(v, coarse);
    ASSERT_EQ(
        tarnmEigenValuesVectorsSym_ma_32f_L(&dense, 0, 12, 4, buffer.data(), &result, 0, 12, 4, values.data(), 3, 1),
        StatusOk);
    EXPECT_NE(v, coarse);
}

TEST(SymmetricEigenSingle, DensePackedArraysAcceptSmallDeterminantsOfOrderTwo)
{
    const List<float> a{1, 0, 0, 1e-9f};
    for (const int threads : {1, 2}) {
        answerThreadCount({threads});
        const int count = 300; // beyond the limit from which threads are used
        for (const bool isDense : {true, false}) {
            SymmetricKernel kernel = denseValuesOfArrays;
            kernel.isDense = isDense;
            const auto call = callSymmetric<float>(kernel, List<List<float>>(count, a), 2);
            EXPECT_EQ(call.status, isDense ? StatusOk : StatusSingular) << threads << " threads";
            if (isDense) {
                EXPECT_EQ(call.values[count - 1], (List<float>{1, 1e-9f}));
            }
        }
    }
    answerThreadCount({1});
    for (const char layout : {'L', 'P'})
        EXPECT_EQ(callOne({false, true, layout, layout == 'L'}, a, 2).status, StatusSingular);
}

// ---- Iteration

TYPED_TEST(SymmetricEigen, CouplingOfTwiceTheToleranceIsNegligible)
{
    using T = TypeParam;
    const T limit = T(2 * epsilon<T>), above = std::nextafter(limit, T(1));
    for (const auto& kernel : allKernels())
        for (const bool isForward : {true, false}) {
            const List<double> d = isForward ? List<double>{1, 2, 3} : List<double>{3, 2, 1};
            const auto at = solveSymmetric(kernel, tridiagonal<T>(d, {limit, 0}), 3);
            const auto over = solveSymmetric(kernel, tridiagonal<T>(d, {above, 0}), 3);
            EXPECT_EQ(at.steps, 0);
            EXPECT_GT(over.steps, 0);
            expectReference(kernel, tridiagonal<T>(d, {limit, 0}), 3, "at the limit");
            expectReference(kernel, tridiagonal<T>(d, {above, 0}), 3, "above the limit");
        }
}

// Random matrices in both directions, of every order for which there is code of its own and some beyond.
TYPED_TEST(SymmetricEigen, EveryKernelHasTheBitsOfTheReference)
{
    using T = TypeParam;
    int forward = 0, backward = 0;
    for (int n = 3; n <= 12; ++n)
        for (int trial = 0; trial < 40; ++trial) {
            const auto a = randomSymmetric<T>(n, this->generator);
            ++(solveSymmetric(denseValues, a, n).wentForward ? forward : backward);
            for (const auto& kernel : allKernels())
                expectReference(kernel, a, n, "trial " + std::to_string(trial));
        }
    EXPECT_GT(forward, 50);
    EXPECT_GT(backward, 50);
}

TYPED_TEST(SymmetricEigen, LargerOrdersHaveTheBitsOfTheReference)
{
    using T = TypeParam;
    for (const int n : {16, 17, 24, 33})
        for (const auto& kernel : allKernels())
            expectReference(kernel, randomSymmetric<T>(n, this->generator), n, std::to_string(n));
}

TYPED_TEST(SymmetricEigen, BrokenChainsFollowTheSteps)
{
    using T = TypeParam;
    int broken = 0;
    for (int trial = 0; trial < 3000 && broken < 60; ++trial) {
        const int n = 4 + trial % 3;
        // Couplings and differences of the diagonal just above the tolerance make rotations vanish.
        List<double> d(n), e(n - 1);
        for (double& x : d)
            x = 0.5 + epsilon<T> * int(this->generator() % 16);
        for (double& x : e)
            x = epsilon<T> * int(this->generator() % 16);
        const auto a = tridiagonal<T>(d, e);
        if (!solveSymmetric(denseVectors, a, n).brokeChain) continue;
        ++broken;
        this->expectReferenceEverywhere(a, n, "trial " + std::to_string(trial));
    }
    EXPECT_EQ(broken, 60);
}

// The shift of the dense values kernel is formed in double going forward only; its siblings stay in single precision.
TEST(SymmetricEigenSingle, DenseValuesOfOneMatrixWidenTheForwardShift)
{
    std::mt19937 generator{7};
    int differing = 0;
    for (int trial = 0; trial < 400; ++trial) {
        const auto a = randomSymmetric<float>(5, generator);
        const auto dense = callOne(denseValues, a, 5), strided = callOne(stridedValues, a, 5);
        const auto scattered = callOne(scatteredValues, a, 5);
        const auto expected = solveSymmetric(denseValues, a, 5);
        if (expected.status == StatusNotConverged || strided.status == StatusNotConverged) continue;
        EXPECT_TRUE(isObjectAsIn(dense, 0, expected));
        EXPECT_TRUE(isObjectAsIn(strided, 0, solveSymmetric(stridedValues, a, 5)));
        EXPECT_EQ(strided.values, scattered.values);
        if (!expected.wentForward) {
            EXPECT_EQ(dense.values, strided.values);
        }
        differing += dense.values != strided.values;
    }
    EXPECT_GT(differing, 0);
}

TEST(SymmetricEigenSingle, VectorsOfOneMatrixWidenTheShiftInAllKernels)
{
    std::mt19937 generator{8};
    int forward = 0;
    for (int trial = 0; trial < 400; ++trial) {
        const auto a = randomSymmetric<float>(4, generator);
        const auto expected = solveSymmetric(denseVectors, a, 4);
        forward += expected.wentForward;
        for (const auto& kernel : {denseVectors, stridedVectors, scatteredVectors})
            EXPECT_TRUE(isObjectAsIn(callOne(kernel, a, 4), 0, expected)) << describe(kernel);
    }
    EXPECT_GT(forward, 100);
    EXPECT_LT(forward, 300);
}

// A small value behind a block that needs several steps: every search of that block ends at it and multiplies it in.
TYPED_TEST(SymmetricEigen, RunningProductCountsEveryHit)
{
    using T = TypeParam;
    const double small = sizeof(T) == 4 ? 0.01 : 1e-5;
    const auto a = tridiagonal<T>({4, small, 2, 1}, {0, std::sqrt(small), std::sqrt(small)});
    for (const auto& kernel : allKernels()) {
        ASSERT_FALSE(solveSymmetric(kernel, a, 4).wentForward);
        const auto call = callOne(kernel, a, 4);
        EXPECT_EQ(call.status, kernel.isVectors ? StatusOk : StatusSingular) << describe(kernel);
        EXPECT_TRUE(isObjectAsIn(call, 0, solveSymmetric(kernel, a, 4))) << describe(kernel);
    }
}

TYPED_TEST(SymmetricEigen, InputIsNotSymmetrised)
{
    using T = TypeParam;
    std::uniform_real_distribution<double> uniform(-1, 1);
    for (int n = 3; n <= 6; ++n)
        for (int trial = 0; trial < 20; ++trial) {
            List<T> a(n * n);
            for (T& x : a)
                x = T(uniform(this->generator));
            this->expectReferenceEverywhere(a, n, "trial " + std::to_string(trial));
        }
}

TYPED_TEST(SymmetricEigen, NamedMatricesHaveTheBitsOfTheReference)
{
    using T = TypeParam;
    this->expectReferenceEverywhere(wilkinson<T>(21), 21, "Wilkinson");
    this->expectReferenceEverywhere(wilkinson<T>(8), 8, "Wilkinson");
    this->expectReferenceEverywhere(rosser<T>(), 8, "Rosser");
    for (const int n : {3, 4, 6, 8, 12})
        this->expectReferenceEverywhere(hilbert<T>(n), n, "Hilbert");
    for (const int n : {3, 5, 8})
        for (const double ratio : {1e-1, 1e-2, 1e-3, 1e3}) {
            List<double> d;
            for (int i = 0; i < n; ++i)
                d.push_back(std::pow(ratio, i));
            this->expectReferenceEverywhere(withSpectrum<T>(d, this->generator), n, "graded");
            std::reverse(d.begin(), d.end());
            this->expectReferenceEverywhere(withSpectrum<T>(d, this->generator), n, "graded");
        }
}

TYPED_TEST(SymmetricEigen, ScalesFromTinyToHuge)
{
    using T = TypeParam;
    const double top = sizeof(T) == 4 ? 1e38 : 1e308;
    for (const double scale : {1 / top, 1e-30, 1e-10, 1e-5, 1e3, 1e6, 1e18, 1e30, top})
        for (int n = 2; n <= 5; ++n)
            this->expectReferenceEverywhere(scaled(randomSymmetric<T>(n, this->generator), scale), n,
                                            std::to_string(scale));
}

TYPED_TEST(SymmetricEigen, NanGoesBackwardToTheStepLimit)
{
    using T = TypeParam;
    const T nan = std::numeric_limits<T>::quiet_NaN();
    for (int n = 3; n <= 9; ++n) {
        const List<T> a(n * n, nan);
        const auto expected = solveSymmetric(denseValues, a, n);
        EXPECT_FALSE(expected.wentForward);
        EXPECT_EQ(expected.steps, 30);
        EXPECT_EQ(expected.status, StatusNotConverged);
        this->expectReferenceEverywhere(a, n, "NaN");
    }
}

TYPED_TEST(SymmetricEigen, OneNanOrInfinityAnywhereTerminates)
{
    using T = TypeParam;
    const T infinity = std::numeric_limits<T>::infinity();
    for (const T special : {std::numeric_limits<T>::quiet_NaN(), infinity, T(-infinity), std::numeric_limits<T>::max()})
        for (int n = 2; n <= 4; ++n)
            for (int i = 0; i < n * n; ++i) {
                auto a = randomSymmetric<T>(n, this->generator);
                a[i] = a[i % n * n + i / n] = special;
                this->expectReferenceEverywhere(a, n, "element " + std::to_string(i));
            }
}

// ---- Arrays

// Objects before the failing one complete, the failing one as promised, those behind it untouched, wherever it stands.
TYPED_TEST(SymmetricEigen, FailingObjectStopsTheCallAtEveryPosition)
{
    using T = TypeParam;
    const T nan = std::numeric_limits<T>::quiet_NaN();
    for (int n = 2; n <= 9; ++n) {
        const int count = n < 5 ? 20 : 9;
        List<List<T>> objects;
        while (int(objects.size()) < count) {
            objects.push_back(randomSymmetric<T>(n, this->generator));
            for (const auto& kernel : {denseValues, denseValuesOfArrays, denseVectorsOfArrays, denseVectorsOfLists})
                if (objects.size() && solveSymmetric(kernel, objects.back(), n).status != StatusOk) objects.pop_back();
        }
        for (const auto& kernel : allKernels())
            for (int position = 0; kernel.isArray && position < count; ++position)
                for (const T filling : {T(0), nan}) {
                    auto failing = objects;
                    failing[position] = List<T>(n * n, filling);
                    const auto expected = solveSymmetric(kernel, failing[position], n);
                    if (expected.status == StatusOk) continue; // order 2 has no iteration for a NaN to stop
                    const auto call = callSymmetric(kernel, failing, n);
                    EXPECT_EQ(call.status, expected.status);
                    for (int k = 0; k <= position; ++k)
                        EXPECT_TRUE(isObjectAsIn(call, k, solveSymmetric(kernel, failing[k], n)))
                            << describe(kernel) << " order " << n << " object " << k << " of failing " << position;
                    for (int k = position + 1; k < count; ++k)
                        EXPECT_TRUE(isUntouchedObject(call, k))
                            << describe(kernel) << " order " << n << " object " << k;
                }
    }
}

// The same bits alone, among others, and at every position.
TYPED_TEST(SymmetricEigen, NeighboursDoNotChangeAnObject)
{
    using T = TypeParam;
    for (int n = 2; n <= 9; ++n) {
        List<List<T>> objects;
        for (int k = 0; k < 37; ++k)
            switch (k % 5) {
            case 0:
                objects.push_back(diagonal<T>([&] {
                    List<double> d(n);
                    std::iota(d.begin(), d.end(), k);
                    return d;
                }()));
                break;
            case 1:
                objects.push_back(scaled(randomSymmetric<T>(n, this->generator), 100));
                break;
            default:
                objects.push_back(randomSymmetric<T>(n, this->generator));
            }
        objects[0] = diagonal<T>(List<double>(n, 2));
        for (const auto& kernel : allKernels()) {
            if (!kernel.isArray) continue;
            std::erase_if(objects, [&](const auto& a) { return solveSymmetric(kernel, a, n).status != StatusOk; });
            ASSERT_GT(objects.size(), 20u);
            const auto call = callSymmetric(kernel, objects, n);
            for (std::size_t k = 0; k < objects.size(); ++k)
                EXPECT_TRUE(isObjectAsIn(call, int(k), solveSymmetric(kernel, objects[k], n)))
                    << describe(kernel) << " order " << n << " object " << k;
        }
    }
}

TYPED_TEST(SymmetricEigen, ThreadsLeaveTheCallersScratchAlone)
{
    using T = TypeParam;
    const int n = 9, count = 100;
    List<T> source, buffer(n * n, T(7)), values(n * count), vectors(n * n * count);
    for (int k = 0; k < count; ++k) {
        const auto a = scaled(randomSymmetric<T>(n, this->generator), 4);
        source.insert(source.end(), a.begin(), a.end());
    }
    const int row = n * sizeof(T), object = n * row, element = sizeof(T);
    answerThreadCount({2});
    if constexpr (sizeof(T) == 4) {
        tarnmEigenValuesSym_ma_32f(source.data(), object, row, element, buffer.data(), values.data(), n, count);
        tarnmEigenValuesVectorsSym_ma_32f(source.data(), object, row, element, buffer.data(), vectors.data(), object,
                                          row, element, values.data(), n, count);
    } else {
        tarnmEigenValuesSym_ma_64f(source.data(), object, row, element, buffer.data(), values.data(), n, count);
        tarnmEigenValuesVectorsSym_ma_64f(source.data(), object, row, element, buffer.data(), vectors.data(), object,
                                          row, element, values.data(), n, count);
    }
    EXPECT_GT(threadCountQueries(), 0);
    EXPECT_EQ(buffer, List<T>(n * n, T(7)));
}

// ---- Accuracy of what converges

// The tolerances are absolute, so the error is one too: units of epsilon for a norm of 1 and below, relative above.
// A broken chain loses an element of the band, and so does a closing update that is left out: such matrices do not count.
template <class T> void expectEigenpairs(const SymmetricKernel& kernel, const List<T>& a, int n)
{
    const auto expected = solveSymmetric(kernel, a, n);
    if (expected.status == StatusNotConverged || expected.brokeChain || expected.leftOutClosing) return;
    const auto call = callOne(kernel, a, n);
    double norm = 1;
    for (int r = 0; r < n; ++r) {
        double sum = 0;
        for (int c = 0; c < n; ++c)
            sum += std::abs(double(a[r * n + c]));
        norm = std::max(norm, sum);
    }
    // What the tests of the reduction leave out is below the root of the tolerance, not below the tolerance.
    const double skipped = expected.skippedColumn ? 2 * n * std::sqrt(2 * epsilon<T> * norm) : 0;
    const double bound = 32 * n * epsilon<T> * norm + skipped;
    auto values = call.values[0];
    std::sort(values.rbegin(), values.rend());
    const auto exact = jacobiValues(std::vector<long double>(a.begin(), a.end()), n);
    for (int i = 0; i < n; ++i)
        EXPECT_NEAR(double(values[i]), double(exact[i]), bound) << describe(kernel) << " order " << n;
    if (!kernel.isVectors) return;
    const auto& v = call.vectors[0];
    for (int j = 0; j < n; ++j) {
        for (int r = 0; r < n; ++r) {
            double image = 0;
            for (int c = 0; c < n; ++c)
                image += double(a[r * n + c]) * double(v[c * n + j]);
            EXPECT_NEAR(image, double(call.values[0][j]) * double(v[r * n + j]), bound) << describe(kernel);
        }
        for (int k = 0; k <= j; ++k) {
            double dot = 0;
            for (int r = 0; r < n; ++r)
                dot += double(v[r * n + j]) * double(v[r * n + k]);
            EXPECT_NEAR(dot, j == k ? 1.0 : 0.0, 32 * n * epsilon<T>) << describe(kernel);
        }
    }
}

TYPED_TEST(SymmetricEigen, ConvergedPairsAreEigenpairs)
{
    using T = TypeParam;
    std::uniform_real_distribution<double> uniform(0.5, 2);
    for (const int n : {3, 4, 5, 6, 8, 12})
        for (int trial = 0; trial < 30; ++trial) {
            List<double> random, planar, repeated, graded;
            for (int i = 0; i < n; ++i) {
                random.push_back(uniform(this->generator));
                planar.push_back(i < 2 ? 1 + 1e-6 * i : uniform(this->generator) / 4);
                repeated.push_back(i % 2 + 0.5);
                graded.push_back(std::pow(0.5, i));
            }
            for (const auto& spectrum : {random, planar, repeated, graded})
                for (const auto& kernel : allKernels())
                    expectEigenpairs(kernel, withSpectrum<T>(spectrum, this->generator), n);
        }
}

TYPED_TEST(SymmetricEigen, NamedMatricesHaveTheirEigenpairs)
{
    using T = TypeParam;
    for (const auto& kernel : allKernels()) {
        expectEigenpairs(kernel, wilkinson<T>(21), 21);
        expectEigenpairs(kernel, wilkinson<T>(7), 7);
        expectEigenpairs(kernel, scaled(rosser<T>(), 1e-3), 8);
        for (const int n : {3, 5, 8})
            expectEigenpairs(kernel, hilbert<T>(n), n);
    }
}

} // namespace
} // namespace tarnm::test
