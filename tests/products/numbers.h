// Numbers for sums of products whose order of additions shows in the last bits.
#pragma once

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

namespace tarnm::test {

template <class T> std::vector<T> randomNumbers(std::size_t count, unsigned seed)
{
    std::mt19937 generator(seed);
    std::uniform_real_distribution<T> uniform(-2, 2);
    std::vector<T> numbers(count);
    for (T& number : numbers)
        number = uniform(generator);
    return numbers;
}

// Elements that begin `offset` bytes behind a multiple of 32.
template <class T> class Aligned {
public:
    Aligned(const std::vector<T>& values, std::size_t offset)
        : bytes(values.size() * sizeof(T) + 64 + offset)
    {
        const auto address = reinterpret_cast<std::uintptr_t>(bytes.data());
        first = bytes.data() + (32 - address % 32) % 32 + offset;
        for (std::size_t i = 0; i < values.size(); ++i)
            std::memcpy(first + i * sizeof(T), &values[i], sizeof(T));
    }

    T* data() const { return reinterpret_cast<T*>(first); }
    T operator[](std::size_t i) const
    {
        T value;
        std::memcpy(&value, first + i * sizeof(T), sizeof value);
        return value;
    }

private:
    std::vector<std::byte> bytes;
    std::byte* first;
};

template <class T> std::vector<T> rounded(const std::vector<T>& a, const std::vector<T>& b)
{
    std::vector<T> products(a.size());
    for (std::size_t k = 0; k < a.size(); ++k)
        products[k] = a[k] * b[k];
    return products;
}

} // namespace tarnm::test
