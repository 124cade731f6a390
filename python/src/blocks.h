// Some objects at a time, with scratch that stays near a first-level cache.
//
//   objects_per_block   as many objects as have their factors in scratch
//   part                objects first, first + 1, ... of an operand that has one for each, or the one that serves all; not of
//                       planes
//   column              column k of right sides or of solutions, as vectors
//   scratch_array       uninitialised elements, on the heap
#ifndef TARNM_PYTHON_BLOCKS_H
#define TARNM_PYTHON_BLOCKS_H

#include <algorithm>
#include <cstdint>
#include <memory>

#include "views.h"

namespace tarnm::python {

inline std::ptrdiff_t objects_per_block(std::ptrdiff_t bytes_of_object, std::ptrdiff_t count)
{
    constexpr std::ptrdiff_t block_bytes = std::ptrdiff_t{1} << 15;
    return std::clamp<std::ptrdiff_t>(block_bytes / std::max<std::ptrdiff_t>(bytes_of_object, 1), 1, count);
}

inline operand part(operand o, std::ptrdiff_t first)
{
    if (!o.many) return o;
    o.data = static_cast<char*>(o.data) + first * o.object;
    if (o.table != nullptr) o.table += first;
    return o;
}

// An operand of the shape rows x columns whose columns are the vectors.
inline operand column(operand o, std::ptrdiff_t k)
{
    o.data = static_cast<char*>(o.data) + k * o.element;
    o.columns = o.rows;
    o.element = o.row;
    o.rows = 1;
    return o;
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

// Packed matrices in scratch as an operand.
template <class T> operand packed_matrices(T* data, std::ptrdiff_t rows, std::ptrdiff_t columns)
{
    constexpr std::ptrdiff_t size = sizeof(T);
    return {data, rows * columns * size, columns * size, size, rows, columns, true, nullptr};
}

} // namespace tarnm::python

#endif
