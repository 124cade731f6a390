// Lanes against scalars, bit by bit, in every width of both types.
#include "frame/lanes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

namespace tarnm {
namespace {

template <class T> std::vector<T> specialValues()
{
    using Limits = std::numeric_limits<T>;
    std::vector<T> values = {T(0),
                             T(1),
                             T(1.5),
                             T(3),
                             T(0.1),
                             T(1e10),
                             T(1e-20),
                             Limits::min(),
                             Limits::denorm_min(),
                             Limits::min() / 2,
                             Limits::max(),
                             Limits::epsilon(),
                             Limits::infinity(),
                             Limits::quiet_NaN()};
    for (std::size_t i = 0, count = values.size(); i < count; ++i)
        values.push_back(std::copysign(values[i], T(-1)));
    return values;
}

template <class T> auto bitsOf(T value)
{
    machine::MaskInteger<T> bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

// Which of two NaN operands an operation hands on is up to the compiler, so NaNs of an operation are all alike.
template <class T> void expectSame(T actual, T expected, T a, T b)
{
    if (std::isnan(expected))
        EXPECT_TRUE(std::isnan(actual)) << a << " and " << b;
    else
        EXPECT_EQ(bitsOf(actual), bitsOf(expected)) << a << " and " << b << ": " << actual << " for " << expected;
}

template <class V> class Lanes : public testing::Test {
protected:
    using T = scalar_t<V>;
    static constexpr int N = lane_count_v<V>;

    // Calls body(a, b, x, y): lanes a and b hold the pairs of special values x[l], y[l], in another order each time.
    template <class Body> void forAllPairs(Body body)
    {
        const std::vector<T> values = specialValues<T>();
        std::vector<T> x, y;
        for (T first : values)
            for (T second : values) {
                x.push_back(first);
                y.push_back(second);
            }
        while (x.size() % N != 0) {
            x.push_back(T(1));
            y.push_back(T(2));
        }
        for (std::size_t i = 0; i < x.size(); i += N)
            body(load<V>(&x[i]), load<V>(&y[i]), &x[i], &y[i]);
    }
};

using LaneTypes = testing::Types<float, double, lanes<float, 4>, lanes<float, 8>, lanes<float, 16>, lanes<double, 2>,
                                 lanes<double, 4>, lanes<double, 8>>;
TYPED_TEST_SUITE(Lanes, LaneTypes);

TYPED_TEST(Lanes, ArithmeticHasTheBitsOfScalars)
{
    using V = TypeParam;
    using T = scalar_t<V>;
    this->forAllPairs([](V a, V b, const T* x, const T* y) {
        V added = a, subtracted = a, multiplied = a, divided = a;
        added += b;
        subtracted -= b;
        multiplied *= b;
        divided /= b;
        for (int l = 0; l < lane_count_v<V>; ++l) {
            volatile T p = x[l], q = y[l];
            expectSame<T>(lane(V(a + b), l), p + q, p, q);
            expectSame<T>(lane(V(a - b), l), p - q, p, q);
            expectSame<T>(lane(V(a * b), l), p * q, p, q);
            expectSame<T>(lane(V(a / b), l), p / q, p, q);
            expectSame<T>(lane(added, l), p + q, p, q);
            expectSame<T>(lane(subtracted, l), p - q, p, q);
            expectSame<T>(lane(multiplied, l), p * q, p, q);
            expectSame<T>(lane(divided, l), p / q, p, q);
        }
    });
}

TYPED_TEST(Lanes, MultiplicationAndAdditionRoundSeparately)
{
    using V = TypeParam;
    using T = scalar_t<V>;
    // (1 + eps)^2 - (1 + 2 eps) is 0 with the product rounded and eps^2 in a fused operation.
    const T eps = std::numeric_limits<T>::epsilon();
    volatile T x = 1 + eps, y = -(1 + 2 * eps);
    const V a(x), b(y);
    const V sum = a * a + b;
    for (int l = 0; l < lane_count_v<V>; ++l)
        EXPECT_EQ(lane(sum, l), T(0));
}

TYPED_TEST(Lanes, NegationAndAbsChangeOnlyTheSign)
{
    using V = TypeParam;
    using T = scalar_t<V>;
    this->forAllPairs([](V a, V, const T* x, const T*) {
        const V negative = -a, magnitude = abs(a);
        const auto signBit = bitsOf(T(-0.0));
        for (int l = 0; l < lane_count_v<V>; ++l) {
            EXPECT_EQ(bitsOf(T(lane(negative, l))), bitsOf(x[l]) ^ signBit) << x[l];
            EXPECT_EQ(bitsOf(T(lane(magnitude, l))), bitsOf(x[l]) & ~signBit) << x[l];
        }
    });
}

TYPED_TEST(Lanes, SqrtIsCorrectlyRounded)
{
    using V = TypeParam;
    using T = scalar_t<V>;
    this->forAllPairs([](V a, V b, const T* x, const T* y) {
        const V root = sqrt(a), other = sqrt(b);
        for (int l = 0; l < lane_count_v<V>; ++l) {
            expectSame<T>(lane(root, l), std::sqrt(x[l]), x[l], x[l]);
            expectSame<T>(lane(other, l), std::sqrt(y[l]), y[l], y[l]);
        }
    });
}

TYPED_TEST(Lanes, MaxAndMinGiveTheSecondOperandForNanAndEqualZeros)
{
    using V = TypeParam;
    using T = scalar_t<V>;
    this->forAllPairs([](V a, V b, const T* x, const T* y) {
        const V larger = max(a, b), smaller = min(a, b);
        for (int l = 0; l < lane_count_v<V>; ++l) {
            EXPECT_EQ(bitsOf(T(lane(larger, l))), bitsOf(x[l] > y[l] ? x[l] : y[l])) << x[l] << ' ' << y[l];
            EXPECT_EQ(bitsOf(T(lane(smaller, l))), bitsOf(x[l] < y[l] ? x[l] : y[l])) << x[l] << ' ' << y[l];
        }
    });
}

TYPED_TEST(Lanes, ComparisonsAreThoseOfScalars)
{
    using V = TypeParam;
    using T = scalar_t<V>;
    this->forAllPairs([](V a, V b, const T* x, const T* y) {
        const mask_t<V> less = a<b, lessEqual = a <= b, greater = a> b, greaterEqual = a >= b;
        const mask_t<V> equal = a == b, unequal = a != b;
        for (int l = 0; l < lane_count_v<V>; ++l) {
            EXPECT_EQ(lane(less, l), x[l] < y[l]) << x[l] << ' ' << y[l];
            EXPECT_EQ(lane(lessEqual, l), x[l] <= y[l]) << x[l] << ' ' << y[l];
            EXPECT_EQ(lane(greater, l), x[l] > y[l]) << x[l] << ' ' << y[l];
            EXPECT_EQ(lane(greaterEqual, l), x[l] >= y[l]) << x[l] << ' ' << y[l];
            EXPECT_EQ(lane(equal, l), x[l] == y[l]) << x[l] << ' ' << y[l];
            EXPECT_EQ(lane(unequal, l), x[l] != y[l]) << x[l] << ' ' << y[l];
        }
    });
}

TYPED_TEST(Lanes, SelectTakesWholeLanesUnchanged)
{
    using V = TypeParam;
    using T = scalar_t<V>;
    this->forAllPairs([](V a, V b, const T* x, const T* y) {
        const V chosen = select(a < V(T(1)), a, b);
        for (int l = 0; l < lane_count_v<V>; ++l)
            EXPECT_EQ(bitsOf(T(lane(chosen, l))), bitsOf(x[l] < 1 ? x[l] : y[l])) << x[l] << ' ' << y[l];
    });
}

// A mask that lives across the rounds of a loop is where compilers lose sight of the comparison behind it.
TYPED_TEST(Lanes, SelectFreezesLanesThatAreDone)
{
    using V = TypeParam;
    using T = scalar_t<V>;
    V limit(T(0)), value(T(0));
    for (int l = 0; l < lane_count_v<V>; ++l)
        setLane(limit, l, T(l % 5));
    mask_t<V> live = true;
    int rounds = 0;
    for (; any(live); ++rounds) {
        live = live && (value < limit);
        value = select(live, V(value + T(1)), value);
    }
    for (int l = 0; l < lane_count_v<V>; ++l)
        EXPECT_EQ(lane(value, l), T(l % 5));
    EXPECT_EQ(rounds, (lane_count_v<V> >= 5 ? 4 : lane_count_v<V> - 1) + 1);
}

template <class V> mask_t<V> maskOfBits(unsigned bits)
{
    mask_t<V> m = false;
    for (int l = 0; l < lane_count_v<V>; ++l)
        setLane(m, l, (bits >> l & 1) != 0);
    return m;
}

TYPED_TEST(Lanes, MasksAnswerForEveryPattern)
{
    using V = TypeParam;
    const unsigned patterns = 1u << lane_count_v<V>;
    for (unsigned bits = 0; bits < patterns; ++bits) {
        const mask_t<V> m = maskOfBits<V>(bits);
        ASSERT_EQ(laneBits(m), bits);
        ASSERT_EQ(any(m), bits != 0) << bits;
        ASSERT_EQ(all(m), bits == patterns - 1) << bits;
        ASSERT_EQ(none(m), bits == 0) << bits;
    }
}

TYPED_TEST(Lanes, MaskLogicWorksLaneByLane)
{
    using V = TypeParam;
    const unsigned patterns = 1u << lane_count_v<V>;
    for (unsigned i = 0; i < 500; ++i) {
        const unsigned p = i * 2654435761u % patterns, q = i * 40503u % patterns, r = i * 69069u % patterns;
        const mask_t<V> a = maskOfBits<V>(p), b = maskOfBits<V>(q), c = maskOfBits<V>(r);
        EXPECT_EQ(laneBits(mask_t<V>(a && b)), p & q);
        EXPECT_EQ(laneBits(mask_t<V>(a || b)), p | q);
        EXPECT_EQ(laneBits(mask_t<V>(a & b)), p & q);
        EXPECT_EQ(laneBits(mask_t<V>(a | b)), p | q);
        EXPECT_EQ(laneBits(mask_t<V>(a ^ b)), p ^ q);
        EXPECT_EQ(laneBits(mask_t<V>(!a)), ~p & (patterns - 1));
        EXPECT_EQ(laneBits(mask_t<V>(select(a, b, c))), (p & q) | (~p & r & (patterns - 1)));
        mask_t<V> changed = a;
        changed &= b;
        EXPECT_EQ(laneBits(changed), p & q);
        changed |= c;
        EXPECT_EQ(laneBits(changed), (p & q) | r);
    }
    EXPECT_EQ(laneBits(mask_t<V>(true)), patterns - 1);
    EXPECT_EQ(laneBits(mask_t<V>(false)), 0u);
}

TYPED_TEST(Lanes, BroadcastKeepsEveryBit)
{
    using V = TypeParam;
    using T = scalar_t<V>;
    for (T value : specialValues<T>()) {
        const V v(value);
        for (int l = 0; l < lane_count_v<V>; ++l)
            EXPECT_EQ(bitsOf(T(lane(v, l))), bitsOf(value)) << value;
    }
}

TYPED_TEST(Lanes, LoadsAndStoresAtEveryAddress)
{
    using V = TypeParam;
    using T = scalar_t<V>;
    constexpr int N = lane_count_v<V>;
    for (int offset = 0; offset < 64; ++offset) {
        std::vector<unsigned char> from(64 + N * sizeof(T)), to(64 + (N + 1) * sizeof(T), 0xA5);
        for (int l = 0; l < N; ++l) {
            const T value = T(l + 1);
            std::memcpy(&from[std::size_t(offset) + l * sizeof(T)], &value, sizeof value);
        }
        const V v = load<V>(reinterpret_cast<const T*>(&from[std::size_t(offset)]));
        store(reinterpret_cast<T*>(&to[std::size_t(offset)]), v);
        for (int l = 0; l < N; ++l)
            EXPECT_EQ(lane(v, l), T(l + 1));
        EXPECT_EQ(std::memcmp(&to[std::size_t(offset)], &from[std::size_t(offset)], N * sizeof(T)), 0);
        for (int i = 0; i < offset; ++i)
            ASSERT_EQ(to[std::size_t(i)], 0xA5);
        ASSERT_EQ(to[std::size_t(offset) + N * sizeof(T)], 0xA5);
    }
}

TYPED_TEST(Lanes, SetLaneChangesOneLane)
{
    using V = TypeParam;
    using T = scalar_t<V>;
    for (int changed = 0; changed < lane_count_v<V>; ++changed) {
        V v(T(7));
        setLane(v, changed, T(-1));
        for (int l = 0; l < lane_count_v<V>; ++l)
            EXPECT_EQ(lane(v, l), l == changed ? T(-1) : T(7));
    }
}

TYPED_TEST(Lanes, ConstantsMixWithLanes)
{
    using V = TypeParam;
    using T = scalar_t<V>;
    const V v(T(3));
    const V mixed = T(2) * v - T(1);
    for (int l = 0; l < lane_count_v<V>; ++l)
        EXPECT_EQ(lane(mixed, l), T(5));
}

TEST(NativeLanes, FillTheVectorsOfTheTarget)
{
#if defined(__AVX512F__) && defined(__AVX512VL__) && defined(__AVX512DQ__)
    constexpr int bytes = 64;
#elif defined(__AVX__)
    constexpr int bytes = 32;
#else
    constexpr int bytes = 16;
#endif
    EXPECT_EQ(lane_count_v<native_lanes<float>>, bytes / 4);
    EXPECT_EQ(lane_count_v<native_lanes<double>>, bytes / 8);
    EXPECT_TRUE((std::is_same_v<scalar_t<native_lanes<double>>, double>));
    EXPECT_TRUE((std::is_same_v<mask_t<float>, bool>));
}

} // namespace
} // namespace tarnm
