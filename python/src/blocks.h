// Some objects at a time, with scratch that stays near a first-level cache.
//
//   objects_per_block   as many objects as have their factors in scratch; whole packs where there are many
//   part                objects first, first + 1, ... of an operand that has one for each, or the one that serves all; not of
//                       planes
//   part_of             the same of a whole batch
//   columns_of          column k of right sides or of solutions, as vectors
//   scratch_array       uninitialised elements, on the heap where they are many
//   packed_matrices     matrices in scratch as an operand
//   packed_beside       matrices in scratch as a view in the layout of other operands
#ifndef TARNM_PYTHON_BLOCKS_H
#define TARNM_PYTHON_BLOCKS_H

#include <algorithm>
#include <cstdint>
#include <memory>

#include "views.h"

namespace tarnm::python {

inline std::ptrdiff_t objects_per_block(std::ptrdiff_t bytes_of_object, std::ptrdiff_t count)
{
    constexpr std::ptrdiff_t block_bytes = std::ptrdiff_t{1} << 15, pack = 8;
    const std::ptrdiff_t fitting = block_bytes / std::max<std::ptrdiff_t>(bytes_of_object, 1);
    return std::clamp<std::ptrdiff_t>(fitting < pack ? fitting : fitting / pack * pack, 1, count);
}

inline operand part(operand o, std::ptrdiff_t first)
{
    if (!o.many) return o;
    o.data = static_cast<char*>(o.data) + first * o.object;
    if (o.table != nullptr) o.table += first;
    return o;
}

// Objects first, first + 1, ... of a batch.
inline batch part_of(const batch& whole, std::ptrdiff_t first, std::ptrdiff_t count)
{
    batch some = whole;
    some.count = count;
    for (operand* operands : {some.in, some.out})
        for (int k = 0; k < 3; ++k)
            operands[k] = part(operands[k], first);
    if (some.statuses != nullptr) some.statuses += first;
    return some;
}

// The operand has the shape rows x columns.
template <class T, layout Place> auto columns_of(const operand& o, std::ptrdiff_t k, std::ptrdiff_t count)
{
    if constexpr (Place == layout::list)
        return vector_list<T>(reinterpret_cast<T* const*>(o.table), count, o.rows, {.element = o.row}, k * o.element);
    else
        return vector_array<T>(reinterpret_cast<T*>(static_cast<char*>(o.data) + k * o.element), count, o.rows,
                               {.object = o.object, .element = o.row});
}

template <class T> class scratch_array {
public:
    explicit scratch_array(std::ptrdiff_t size)
    {
        const std::size_t bytes = static_cast<std::size_t>(std::max<std::ptrdiff_t>(size, 1)) * sizeof(T);
        std::byte* place = small_;
        if (bytes > sizeof small_) {
            large_ = std::make_unique_for_overwrite<std::byte[]>(bytes + alignment);
            place = large_.get() + (alignment - reinterpret_cast<std::uintptr_t>(large_.get()) % alignment);
        }
        data_ = reinterpret_cast<T*>(place);
    }
    T* data() { return data_; }
    T* operator+(std::ptrdiff_t offset) { return data_ + offset; }

private:
    static constexpr std::size_t alignment = 32; // that of the widest vector in use

    alignas(alignment) std::byte small_[1024];
    std::unique_ptr<std::byte[]> large_;
    T* data_;
};

template <class T> operand packed_matrices(T* data, std::ptrdiff_t rows, std::ptrdiff_t columns)
{
    constexpr std::ptrdiff_t size = sizeof(T);
    return {data, rows * columns * size, columns * size, size, rows, columns, true, nullptr};
}

template <class T, layout Place> class packed_beside {
public:
    packed_beside(T* data, std::ptrdiff_t count, std::ptrdiff_t rows, std::ptrdiff_t columns)
        : data_(data)
        , count_(count)
        , rows_(rows)
        , columns_(columns)
        , table_(Place == layout::list ? count : 0)
    {
        for (std::ptrdiff_t n = 0; Place == layout::list && n < count; ++n)
            table_.data()[n] = data + n * rows * columns;
    }
    auto view()
    {
        if constexpr (Place == layout::list)
            return matrix_list<T>(table_.data(), count_, rows_, columns_);
        else
            return matrix_array<T>(data_, count_, rows_, columns_);
    }

private:
    T* data_;
    std::ptrdiff_t count_;
    std::ptrdiff_t rows_;
    std::ptrdiff_t columns_;
    scratch_array<T*> table_;
};

} // namespace tarnm::python

#endif
