// A single result that overlaps a source by part: ascending order, one element at a time.
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "tarnm/tarnm.h"

namespace {

constexpr std::size_t middle = 512, memorySize = 2048;

template <class T> std::vector<char> sampleMemory()
{
    std::vector<char> memory(memorySize);
    for (std::size_t i = 0; i + sizeof(T) <= memorySize; i += sizeof(T)) {
        const T value = T(1) + T(i) / T(64);
        std::memcpy(&memory[i], &value, sizeof value);
    }
    return memory;
}

template <class T> T load(const std::vector<char>& memory, std::size_t at)
{
    T value;
    std::memcpy(&value, &memory[at], sizeof value);
    return value;
}

// `call(source, other, result)` runs the member on the memory at these places; `result` lies `distance` bytes from
// `source`. The expected memory is computed element by element, each one read after the one before was written.
template <class T, class Call, class Operation>
void expectAscending(int length, int stride, std::ptrdiff_t distance, Call call, Operation operation)
{
    std::vector<char> actual = sampleMemory<T>(), expected = actual;
    const std::size_t result = std::size_t(std::ptrdiff_t(middle) + distance);
    for (int k = 0; k < length; ++k) {
        const T value = operation(load<T>(expected, middle + std::size_t(k) * stride), k);
        std::memcpy(&expected[result + std::size_t(k) * stride], &value, sizeof value);
    }
    const auto at = [&](std::size_t place) { return reinterpret_cast<T*>(actual.data() + place); };
    ASSERT_EQ(call(at(middle), at(result)), StatusOk);
    ASSERT_TRUE(actual == expected) << "length " << length << ", stride " << stride << ", result " << distance
                                    << " bytes from the source";
}

// Distances in elements, and in bytes that are no multiple of one.
template <class T> std::vector<std::ptrdiff_t> distances()
{
    std::vector<std::ptrdiff_t> found;
    for (int elements = -9; elements <= 9; ++elements)
        found.push_back(elements * std::ptrdiff_t(sizeof(T)));
    for (const int bytes : {-31, -13, -6, -2, -1, 1, 2, 3, 6, 13, 31})
        found.push_back(bytes);
    return found;
}

template <class T, class Run> void overAllOverlaps(Run run)
{
    for (int length = 1; length <= 40; ++length)
        for (const int stride : {int(sizeof(T)), 2 * int(sizeof(T))})
            for (const std::ptrdiff_t distance : distances<T>())
                ASSERT_NO_FATAL_FAILURE(run(length, stride, distance));
}

TEST(ElementwisePartialOverlap, SumWithAConstantGoesInAscendingOrder)
{
    overAllOverlaps<float>([](int length, int stride, std::ptrdiff_t distance) {
        expectAscending<float>(
            length, stride, distance,
            [&](float* source, float* result) { return tarnmAdd_vc_32f(source, stride, 3.0f, result, stride, length); },
            [](float element, int) { return element + 3.0f; });
    });
    overAllOverlaps<double>([](int length, int stride, std::ptrdiff_t distance) {
        expectAscending<double>(
            length, stride, distance,
            [&](double* source, double* result) {
                return tarnmAdd_vc_64f(source, stride, 3.0, result, stride, length);
            },
            [](double element, int) { return element + 3.0; });
    });
}

TEST(ElementwisePartialOverlap, DifferenceFromAConstantGoesInAscendingOrder)
{
    overAllOverlaps<float>([](int length, int stride, std::ptrdiff_t distance) {
        expectAscending<float>(
            length, stride, distance,
            [&](float* source, float* result) { return tarnmSub_cv_32f(source, stride, 3.0f, result, stride, length); },
            [](float element, int) { return 3.0f - element; });
    });
}

TEST(ElementwisePartialOverlap, MultipleGoesInAscendingOrder)
{
    overAllOverlaps<double>([](int length, int stride, std::ptrdiff_t distance) {
        expectAscending<double>(
            length, stride, distance,
            [&](double* source, double* result) {
                return tarnmMul_vc_64f(source, stride, 1.5, result, stride, length);
            },
            [](double element, int) { return 1.5 * element; });
    });
}

TEST(ElementwisePartialOverlap, SumOfVectorsGoesInAscendingOrderForEitherSource)
{
    std::vector<float> other(64);
    for (int k = 0; k < 64; ++k)
        other[k] = 0.125f * float(k * k);
    overAllOverlaps<float>([&](int length, int stride, std::ptrdiff_t distance) {
        expectAscending<float>(
            length, stride, distance,
            [&](float* source, float* result) {
                return tarnmAdd_vv_32f(source, stride, other.data(), 4, result, stride, length);
            },
            [&](float element, int k) { return element + other[k]; });
        expectAscending<float>(
            length, stride, distance,
            [&](float* source, float* result) {
                return tarnmSub_vv_32f(other.data(), 4, source, stride, result, stride, length);
            },
            [&](float element, int k) { return other[k] - element; });
    });
}

// Tables: some entries of the result are entries of the source.
TEST(ElementwisePartialOverlap, EntriesOfTheResultMayBeEntriesOfTheSource)
{
    for (int length = 1; length <= 20; ++length) {
        std::vector<float> memory(64), expected;
        for (int i = 0; i < 64; ++i)
            memory[i] = float(i) + 0.5f;
        expected = memory;
        std::vector<const float*> source;
        std::vector<float*> result;
        for (int k = 0; k < length; ++k) {
            source.push_back(&memory[k]);
            result.push_back(&memory[k + 1]);
            expected[k + 1] = expected[k] + 2.0f;
        }
        ASSERT_EQ(tarnmAdd_vc_32f_P(source.data(), 0, 2.0f, result.data(), 0, length), StatusOk);
        EXPECT_EQ(memory, expected) << "length " << length;
    }
}

} // namespace
