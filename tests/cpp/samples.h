// Objects in each layout for the tests of the C++ layer. Elements are small whole numbers, so that sums are exact.
#pragma once

#include <cstddef>
#include <vector>

#include "tarnm/tarnm.hpp"

namespace tarnm::test {

// count matrices of rows x columns, with gaps between elements, rows and objects.
template <class T> class Matrices {
public:
    Matrices(std::ptrdiff_t count, std::ptrdiff_t rows, std::ptrdiff_t columns, int seed = 1)
        : count_(count)
        , rows_(rows)
        , columns_(columns)
        , cells_(static_cast<std::size_t>(count * rows * columns * step * 2), T(-99))
    {
        for (std::ptrdiff_t n = 0; n < count; ++n)
            for (std::ptrdiff_t r = 0; r < rows; ++r)
                for (std::ptrdiff_t c = 0; c < columns; ++c)
                    at(n, r, c) = static_cast<T>((seed + 7 * n + 3 * r + 5 * c + n * r * c) % 11 - 4);
    }

    T& at(std::ptrdiff_t n, std::ptrdiff_t r, std::ptrdiff_t c)
    {
        return cells_[static_cast<std::size_t>((n * rows_ + r) * columns_ * step * 2 + c * step)];
    }

    matrix_array<T> strided()
    {
        return {cells_.data(), count_, rows_, columns_, {.object = rows_ * row(), .row = row(), .element = element}};
    }
    matrix_list<T> list()
    {
        table_.clear();
        for (std::ptrdiff_t n = 0; n < count_; ++n)
            table_.push_back(&at(n, 0, 0) - 1);
        return {table_.data(), count_, rows_, columns_, {.row = row(), .element = element}, sizeof(T)};
    }
    matrix_elements_array<T> elements()
    {
        fill_table();
        return {table_.data(), count_, rows_, columns_, {.object = rows_ * row(), .shift = sizeof(T)}};
    }
    matrix_view<T> single_strided() { return {&at(0, 0, 0), rows_, columns_, {.row = row(), .element = element}}; }
    matrix_elements<T> single_elements()
    {
        fill_table();
        return {table_.data(), rows_, columns_, {.shift = sizeof(T)}};
    }

private:
    static constexpr std::ptrdiff_t step = 2;
    static constexpr std::ptrdiff_t element = step * sizeof(T);

    std::ptrdiff_t row() const { return columns_ * element * 2; }

    void fill_table()
    {
        table_.clear();
        for (std::ptrdiff_t r = 0; r < rows_; ++r)
            for (std::ptrdiff_t c = 0; c < columns_; ++c)
                table_.push_back(&at(0, r, c) - 1);
    }

    std::ptrdiff_t count_;
    std::ptrdiff_t rows_;
    std::ptrdiff_t columns_;
    std::vector<T> cells_;
    std::vector<T*> table_;
};

// count vectors; the same as matrices of one row.
template <class T> class Vectors {
public:
    Vectors(std::ptrdiff_t count, std::ptrdiff_t size, int seed = 2)
        : count_(count)
        , size_(size)
        , cells_(count, 1, size, seed)
    {}

    T& at(std::ptrdiff_t n, std::ptrdiff_t k) { return cells_.at(n, 0, k); }

    vector_array<T> strided()
    {
        const auto m = cells_.strided();
        return {m.origin(), count_, size_, {.object = m.object_stride(), .element = m.element_stride()}};
    }
    vector_list<T> list()
    {
        const auto m = cells_.list();
        return {m.origin(), count_, size_, {.element = m.element_stride()}, m.shift()};
    }
    vector_elements_array<T> elements()
    {
        const auto m = cells_.elements();
        return {m.origin(), count_, size_, {.object = m.object_stride(), .shift = m.shift()}};
    }
    vector_view<T> single_strided() { return {&at(0, 0), size_, {.element = 2 * sizeof(T)}}; }
    vector_elements<T> single_elements()
    {
        const auto m = cells_.single_elements();
        return {m.origin(), size_, {.shift = m.shift()}};
    }

private:
    std::ptrdiff_t count_;
    std::ptrdiff_t size_;
    Matrices<T> cells_;
};

} // namespace tarnm::test
