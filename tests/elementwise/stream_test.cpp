// Packed vectors of all lengths, numbers and addresses: what long runs of elements, their ends and patterns of one
// object must not show.
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/thread_count.h"
#include "support/typed_member.h"
#include "tarnm/tarnm.h"

namespace tarnm::test {
namespace {

template <class T> T loaded(const char* bytes, int i)
{
    T value;
    std::memcpy(&value, bytes + i * sizeof(T), sizeof(T));
    return value;
}

constexpr int margin = 128;
constexpr char canary = 0x5a;

// Elements at any address, between bytes that must stay.
template <class T> class Stretch {
public:
    Stretch(int length, int offset, T first)
        : count(length)
        , at(margin + offset)
        , bytes(at + length * sizeof(T) + margin, canary)
    {
        for (int i = 0; i < length; ++i) {
            const T value = first + T(i % 97) * T(0.375);
            std::memcpy(bytes.data() + at + i * sizeof(T), &value, sizeof(T));
        }
    }

    T* base() { return reinterpret_cast<T*>(bytes.data() + at); }
    T operator[](int i) const { return loaded<T>(bytes.data() + at, i); }
    bool hasItsMargins() const
    {
        const std::size_t end = at + count * sizeof(T);
        for (std::size_t i = 0; i < bytes.size(); ++i)
            if ((i < at || i >= end) && bytes[i] != canary) return false;
        return true;
    }

private:
    int count;
    std::size_t at;
    std::vector<char> bytes;
};

template <class T> struct Members {
    static constexpr auto addArrays = typedMember<operation::Add, code("vava"), T>;
    static constexpr auto subtractArrays = typedMember<operation::Sub, code("vava"), T>;
    static constexpr auto subtractOne = typedMember<operation::Sub, code("vav"), T>;
    static constexpr auto subtractFromOne = typedMember<operation::Sub, code("vva"), T>;
    static constexpr auto multiply = typedMember<operation::Mul, code("vac"), T>;
};

struct Shape {
    int len, count, offset;
    std::string text() const
    {
        return std::to_string(count) + " vectors of " + std::to_string(len) + ", " + std::to_string(offset) + " bytes";
    }
};

std::vector<Shape> shapes()
{
    std::vector<Shape> all;
    for (const int offset : {0, 4, 8, 24, 56, 1, 63})
        for (const int len : {1, 2, 3, 4, 5, 6, 7, 9, 16, 25, 36, 63, 64, 70})
            // The last fill more than a first level of the cache.
            for (const int count : {1, 2, 3, 4, 5, 7, 8, 9, 17, 40, 12000 / len})
                all.push_back({len, count, offset});
    return all;
}

template <class T> class ElementwiseStream : public testing::Test {
protected:
    void SetUp() override { answerThreadCount({1}); }

    // call(a, b, d, stride, element) with `bLength` elements at b; expected(a[i], b[i % bLength]).
    template <class Call, class Expected>
    void check(const Shape& shape, int bLength, bool inPlace, Call call, Expected expected)
    {
        const int length = shape.len * shape.count;
        Stretch<T> a(length, shape.offset, T(1.25)), b(bLength, shape.offset / 2, T(-7.5));
        Stretch<T> other(length, (shape.offset * 5) % 64, T(0));
        const Stretch<T> before = a;
        Stretch<T>& d = inPlace ? a : other;
        ASSERT_EQ(call(a.base(), b.base(), d.base(), int(shape.len * sizeof(T)), int(sizeof(T))), StatusOk);
        for (int i = 0; i < length; ++i)
            ASSERT_EQ(d[i], expected(before[i], b[i % bLength])) << i << " of " << shape.text();
        ASSERT_TRUE(a.hasItsMargins() && b.hasItsMargins() && other.hasItsMargins()) << shape.text();
    }
};

using Types = testing::Types<float, double>;
TYPED_TEST_SUITE(ElementwiseStream, Types);

TYPED_TEST(ElementwiseStream, ArraysMeetElementByElement)
{
    using T = TypeParam;
    for (const Shape& s : shapes())
        for (const bool inPlace : {false, true}) {
            const auto add = [&](T* a, T* b, T* d, int o, int e) {
                return Members<T>::addArrays(a, o, e, b, o, e, d, o, e, s.len, s.count);
            };
            const auto subtract = [&](T* a, T* b, T* d, int o, int e) {
                return Members<T>::subtractArrays(a, o, e, b, o, e, d, o, e, s.len, s.count);
            };
            const int length = s.len * s.count;
            ASSERT_NO_FATAL_FAILURE(this->check(s, length, inPlace, add, [](T a, T b) { return a + b; }));
            ASSERT_NO_FATAL_FAILURE(this->check(s, length, inPlace, subtract, [](T a, T b) { return a - b; }));
        }
}

TYPED_TEST(ElementwiseStream, OneVectorMeetsEveryVector)
{
    using T = TypeParam;
    for (const Shape& s : shapes())
        for (const bool inPlace : {false, true}) {
            const auto subtract = [&](T* a, T* b, T* d, int o, int e) {
                return Members<T>::subtractOne(a, o, e, b, e, d, o, e, s.len, s.count);
            };
            const auto exchanged = [&](T* a, T* b, T* d, int o, int e) {
                return Members<T>::subtractFromOne(b, e, a, o, e, d, o, e, s.len, s.count);
            };
            ASSERT_NO_FATAL_FAILURE(this->check(s, s.len, inPlace, subtract, [](T a, T b) { return a - b; }));
            ASSERT_NO_FATAL_FAILURE(this->check(s, s.len, inPlace, exchanged, [](T a, T b) { return b - a; }));
        }
}

TYPED_TEST(ElementwiseStream, OneConstantMeetsEveryElement)
{
    using T = TypeParam;
    for (const Shape& s : shapes())
        for (const bool inPlace : {false, true}) {
            const auto multiply = [&](T* a, T*, T* d, int o, int e) {
                return Members<T>::multiply(a, o, e, T(1.5), d, o, e, s.len, s.count);
            };
            ASSERT_NO_FATAL_FAILURE(this->check(s, 1, inPlace, multiply, [](T a, T) { return a * T(1.5); }));
        }
}

} // namespace
} // namespace tarnm::test
