// Views of vectors and matrices. A view knows where elements lie; it owns nothing and copies nothing.
//
//                       one vector        one matrix        many vectors              many matrices
//   one base pointer    vector_view       matrix_view       vector_array              matrix_array
//   pointer per object                                      vector_list               matrix_list
//   pointer per element vector_elements   matrix_elements   vector_elements_array     matrix_elements_array
//
//   constant_array, constant_list   one number for each object
//   transposed(view)                a matrix, or an array of matrices, read transposed
//   strides                         distances in bytes; what is left out is packed
//
// Sizes count elements, rows, columns and objects; strides and shifts count bytes.
#ifndef TARNM_DETAIL_VIEWS_H
#define TARNM_DETAIL_VIEWS_H

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <tuple>
#include <type_traits>
#include <utility>

#include "error.h"
#include "layout.h"

// Operations are part of their callers, so that a view never goes through memory on its way to the C function.
#if defined(__GNUC__)
#define TARNM_DETAIL_INLINE inline __attribute__((always_inline))
#else
#define TARNM_DETAIL_INLINE inline
#endif

namespace tarnm {

// Distances in bytes. What is not given follows from packed elements, rows without gaps, objects without gaps.
struct strides {
    static constexpr std::ptrdiff_t packed = std::numeric_limits<std::ptrdiff_t>::min();

    std::ptrdiff_t object = packed;
    std::ptrdiff_t row = packed;
    std::ptrdiff_t element = packed;
};

// Bytes from object to object where each element has a pointer of its own, and bytes added to every pointer.
struct offsets {
    std::ptrdiff_t object = strides::packed;
    std::ptrdiff_t shift = 0;
};

namespace detail {

template <class T>
concept element = std::same_as < std::remove_const_t<T>,
float > || std::same_as<std::remove_const_t<T>, double>;

// The arguments of the C functions have 32 bits.
constexpr std::int32_t narrow(std::ptrdiff_t value, const char* property, tarnmStatus status)
{
    if (!std::in_range<std::int32_t>(value)) raise("view", {status, "", property, value});
    return static_cast<std::int32_t>(value);
}

constexpr std::int32_t narrow_size(std::ptrdiff_t value, const char* property)
{
    return narrow(value, property, StatusBadSize);
}

constexpr std::int32_t narrow_stride(std::ptrdiff_t value, std::ptrdiff_t packed, const char* property)
{
    return narrow(value == strides::packed ? packed : value, property, StatusBadStride);
}

enum class shape { constant, vector, matrix };

// What all views are made of: a place for the first element, or for a table of pointers, distances and sizes.
template <element T, shape Shape, layout Layout, bool Array> class view {
public:
    using element_type = T;
    using value_type = std::remove_const_t<T>;
    using origin_type = std::conditional_t<Layout == layout::strided, T*, T* const*>;

    static constexpr shape kind = Shape;
    static constexpr layout place = Layout;
    static constexpr bool is_array = Array;
    static constexpr bool is_transposed = false;

    // A vector has one row.
    constexpr std::int32_t rows() const { return rows_; }
    constexpr std::int32_t columns() const { return columns_; }
    constexpr std::int32_t size() const requires(Shape == shape::vector) { return columns_; }
    constexpr std::int32_t count() const { return count_; }

    // First element or table.
    constexpr origin_type origin() const { return origin_; }
    constexpr std::int32_t object_stride() const { return object_; }
    constexpr std::int32_t row_stride() const { return row_; }
    constexpr std::int32_t element_stride() const { return element_; }
    constexpr std::int32_t shift() const { return shift_; }

    // Where element (r, c) of object n lies.
    T* address(std::ptrdiff_t n, std::ptrdiff_t r, std::ptrdiff_t c) const
    {
        if constexpr (Layout == layout::strided)
            return moved(origin_, n * object_ + r * row_ + c * element_);
        else if constexpr (Layout == layout::list)
            return moved(origin_[n], shift_ + r * row_ + c * element_);
        else
            return moved(origin_[r * columns_ + c], shift_ + n * object_);
    }

    // The operand as the C functions take it.
    constexpr auto arguments() const
    {
        constexpr bool has_rows = Shape == shape::matrix;
        constexpr bool has_elements = Shape != shape::constant;
        if constexpr (Layout == layout::strided)
            return std::tuple_cat(std::tuple(origin_), only<Array>(object_), only<has_rows>(row_),
                                  only<has_elements>(element_));
        else if constexpr (Layout == layout::list)
            return std::tuple_cat(std::tuple(origin_, shift_), only<has_rows>(row_), only<has_elements>(element_));
        else
            return std::tuple_cat(std::tuple(origin_, shift_), only<Array>(object_));
    }

    // Objects first, first + 1, ... of an array.
    constexpr view objects(std::ptrdiff_t first, std::ptrdiff_t count) const
    {
        view part = *this;
        if constexpr (Array) {
            if constexpr (Layout == layout::strided)
                part.origin_ = moved(origin_, first * object_);
            else if constexpr (Layout == layout::list)
                part.origin_ = origin_ + first;
            else
                part.shift_ = narrow(shift_ + first * object_, "shift", StatusBadRoiShift);
            part.count_ = static_cast<std::int32_t>(count);
        }
        return part;
    }

    // Object n of an array by itself.
    constexpr auto operator[](std::ptrdiff_t n) const requires Array
    {
        constexpr layout single_layout = Layout == layout::list ? layout::strided : Layout;
        view<T, Shape, single_layout, false> one;
        one.copy_sizes(*this);
        if constexpr (Layout == layout::strided)
            one.origin_ = moved(origin_, n * object_);
        else if constexpr (Layout == layout::list)
            one.origin_ = moved(origin_[n], shift_);
        else {
            one.origin_ = origin_;
            one.shift_ = narrow(shift_ + n * object_, "shift", StatusBadRoiShift);
        }
        return one;
    }

    // A single object as an array of one.
    constexpr auto as_array() const requires(!Array)
    {
        view<T, Shape, Layout, true> one;
        one.copy_sizes(*this);
        one.origin_ = origin_;
        one.shift_ = shift_;
        one.object_ = sizeof(T);
        return one;
    }

    // What in this operand can have caused a status.
    constexpr problem blame(tarnmStatus status, const char* name) const
    {
        const auto bad = [](std::int32_t stride) {
            return stride < 1 || stride % static_cast<std::int32_t>(sizeof(T)) != 0;
        };
        if (status == StatusNullPointer && origin_ == nullptr) return {status, name, "data", 0};
        if (status == StatusBadCount && Array && count_ < 1) return {status, name, "count", count_};
        if (status == StatusBadSize && rows_ < 1) return {status, name, "rows", rows_};
        if (status == StatusBadSize && columns_ < 1)
            return {status, name, Shape == shape::vector ? "size" : "columns", columns_};
        if (status == StatusBadStride) {
            if (Array && Layout != layout::list && bad(object_)) return {status, name, "object_stride", object_};
            if (Shape == shape::matrix && Layout != layout::elements && bad(row_))
                return {status, name, "row_stride", row_};
            if (Shape != shape::constant && Layout != layout::elements && bad(element_))
                return {status, name, "element_stride", element_};
        }
        if (status == StatusBadRoiShift && Layout != layout::strided &&
            (shift_ < 0 || shift_ % static_cast<std::int32_t>(sizeof(T)) != 0))
            return {status, name, "shift", shift_};
        return {};
    }

protected:
    template <element U, shape S, layout L, bool A> friend class view;

    constexpr view() = default;

    constexpr view(origin_type origin, std::ptrdiff_t count, std::ptrdiff_t rows, std::ptrdiff_t columns,
                   strides distances, std::ptrdiff_t shift)
        : origin_(origin)
        , rows_(narrow_size(rows, "rows"))
        , columns_(narrow_size(columns, Shape == shape::vector ? "size" : "columns"))
        , count_(narrow(count, "count", StatusBadCount))
        , shift_(narrow(shift, "shift", StatusBadRoiShift))
    {
        constexpr std::ptrdiff_t size = sizeof(T);
        const bool tables = Layout == layout::elements;
        element_ = narrow_stride(distances.element, size, "element_stride");
        row_ = narrow_stride(distances.row, columns * element_, "row_stride");
        const std::ptrdiff_t object = tables ? size : Shape == shape::matrix ? std::ptrdiff_t{row_} * rows : row_;
        object_ = narrow_stride(distances.object, object, "object_stride");
    }

    // A view of constant elements from one of variable elements.
    template <class U>
    requires std::same_as<const U, T>
    constexpr view(const view<U, Shape, Layout, Array>& other)
        : origin_(other.origin_)
        , shift_(other.shift_)
    {
        copy_sizes(other);
    }

private:
    template <bool Wanted> static constexpr auto only(std::int32_t value)
    {
        if constexpr (Wanted)
            return std::tuple(value);
        else
            return std::tuple<>();
    }

    template <class P> static constexpr P* moved(P* pointer, std::ptrdiff_t bytes)
    {
        using byte = std::conditional_t<std::is_const_v<P>, const char, char>;
        return reinterpret_cast<P*>(reinterpret_cast<byte*>(pointer) + bytes);
    }

    template <class Other> constexpr void copy_sizes(const Other& other)
    {
        object_ = other.object_;
        row_ = other.row_;
        element_ = other.element_;
        rows_ = other.rows_;
        columns_ = other.columns_;
        if constexpr (Array && Other::is_array) count_ = other.count_;
    }

    origin_type origin_ = nullptr;
    std::int32_t object_ = 0;
    std::int32_t row_ = 0;
    std::int32_t element_ = 0;
    std::int32_t rows_ = 1;
    std::int32_t columns_ = 1;
    std::int32_t count_ = 1;
    std::int32_t shift_ = 0;
};

} // namespace detail

// ---- one object

template <detail::element T> class vector_view : public detail::view<T, detail::shape::vector, layout::strided, false> {
    using base = detail::view<T, detail::shape::vector, layout::strided, false>;

public:
    constexpr vector_view(T* data, std::ptrdiff_t size, strides distances = {})
        : base(data, 1, 1, size, distances, 0)
    {}
    template <class U>
    requires std::same_as<const U, T>
    constexpr vector_view(const vector_view<U>& other)
        : base(other)
    {}
};

template <detail::element T> class matrix_view : public detail::view<T, detail::shape::matrix, layout::strided, false> {
    using base = detail::view<T, detail::shape::matrix, layout::strided, false>;

public:
    constexpr matrix_view(T* data, std::ptrdiff_t rows, std::ptrdiff_t columns, strides distances = {})
        : base(data, 1, rows, columns, distances, 0)
    {}
    template <class U>
    requires std::same_as<const U, T>
    constexpr matrix_view(const matrix_view<U>& other)
        : base(other)
    {}
};

// table[k] points to element k.
template <detail::element T>
class vector_elements : public detail::view<T, detail::shape::vector, layout::elements, false> {
public:
    constexpr vector_elements(T* const* table, std::ptrdiff_t size, offsets moves = {})
        : detail::view<T, detail::shape::vector, layout::elements, false>(table, 1, 1, size, {}, moves.shift)
    {}
};

// table[r * columns + c] points to element (r, c).
template <detail::element T>
class matrix_elements : public detail::view<T, detail::shape::matrix, layout::elements, false> {
public:
    constexpr matrix_elements(T* const* table, std::ptrdiff_t rows, std::ptrdiff_t columns, offsets moves = {})
        : detail::view<T, detail::shape::matrix, layout::elements, false>(table, 1, rows, columns, {}, moves.shift)
    {}
};

// ---- many objects

template <detail::element T> class vector_array : public detail::view<T, detail::shape::vector, layout::strided, true> {
    using base = detail::view<T, detail::shape::vector, layout::strided, true>;

public:
    constexpr vector_array(T* data, std::ptrdiff_t count, std::ptrdiff_t size, strides distances = {})
        : base(data, count, 1, size, distances, 0)
    {}
    template <class U>
    requires std::same_as<const U, T>
    constexpr vector_array(const vector_array<U>& other)
        : base(other)
    {}
};

template <detail::element T> class matrix_array : public detail::view<T, detail::shape::matrix, layout::strided, true> {
    using base = detail::view<T, detail::shape::matrix, layout::strided, true>;

public:
    constexpr matrix_array(T* data, std::ptrdiff_t count, std::ptrdiff_t rows, std::ptrdiff_t columns,
                           strides distances = {})
        : base(data, count, rows, columns, distances, 0)
    {}
    template <class U>
    requires std::same_as<const U, T>
    constexpr matrix_array(const matrix_array<U>& other)
        : base(other)
    {}
};

// table[n] + shift points to vector n.
template <detail::element T> class vector_list : public detail::view<T, detail::shape::vector, layout::list, true> {
public:
    constexpr vector_list(T* const* table, std::ptrdiff_t count, std::ptrdiff_t size, strides distances = {},
                          std::ptrdiff_t shift = 0)
        : detail::view<T, detail::shape::vector, layout::list, true>(table, count, 1, size, distances, shift)
    {}
};

// table[n] + shift points to matrix n.
template <detail::element T> class matrix_list : public detail::view<T, detail::shape::matrix, layout::list, true> {
public:
    constexpr matrix_list(T* const* table, std::ptrdiff_t count, std::ptrdiff_t rows, std::ptrdiff_t columns,
                          strides distances = {}, std::ptrdiff_t shift = 0)
        : detail::view<T, detail::shape::matrix, layout::list, true>(table, count, rows, columns, distances, shift)
    {}
};

// table[k] points to element k of the first vector; the next vector follows offsets.object bytes further on. Left out,
// that is one element: a structure of arrays.
template <detail::element T>
class vector_elements_array : public detail::view<T, detail::shape::vector, layout::elements, true> {
public:
    constexpr vector_elements_array(T* const* table, std::ptrdiff_t count, std::ptrdiff_t size, offsets moves = {})
        : detail::view<T, detail::shape::vector, layout::elements, true>(table, count, 1, size,
                                                                         {.object = moves.object}, moves.shift)
    {}
};

// table[r * columns + c] points to element (r, c) of the first matrix; the next as above.
template <detail::element T>
class matrix_elements_array : public detail::view<T, detail::shape::matrix, layout::elements, true> {
public:
    constexpr matrix_elements_array(T* const* table, std::ptrdiff_t count, std::ptrdiff_t rows, std::ptrdiff_t columns,
                                    offsets moves = {})
        : detail::view<T, detail::shape::matrix, layout::elements, true>(table, count, rows, columns,
                                                                         {.object = moves.object}, moves.shift)
    {}
};

// ---- one number for each object

template <detail::element T>
class constant_array : public detail::view<T, detail::shape::constant, layout::strided, true> {
public:
    constexpr constant_array(T* data, std::ptrdiff_t count, strides distances = {})
        : detail::view<T, detail::shape::constant, layout::strided, true>(data, count, 1, 1, distances, 0)
    {}
};

template <detail::element T> class constant_list : public detail::view<T, detail::shape::constant, layout::list, true> {
public:
    constexpr constant_list(T* const* table, std::ptrdiff_t count, std::ptrdiff_t shift = 0)
        : detail::view<T, detail::shape::constant, layout::list, true>(table, count, 1, 1, {}, shift)
    {}
};

// ---- transposed

namespace detail {

// Tells the views from everything else.
template <class V>
concept any_view = requires(const std::remove_cvref_t<V>& v)
{
    typename std::remove_cvref_t<V>::value_type;
    {
        std::remove_cvref_t<V>::place
        } -> std::convertible_to<layout>;
    {
        std::remove_cvref_t<V>::is_transposed
        } -> std::convertible_to<bool>;
    v.arguments();
};

template <class Base> class transposed_view {
public:
    using element_type = typename Base::element_type;
    using value_type = typename Base::value_type;
    static constexpr shape kind = Base::kind;
    static constexpr layout place = Base::place;
    static constexpr bool is_array = Base::is_array;
    static constexpr bool is_transposed = true;

    constexpr explicit transposed_view(const Base& stored)
        : stored_(stored)
    {}

    constexpr std::int32_t rows() const { return stored_.columns(); }
    constexpr std::int32_t columns() const { return stored_.rows(); }
    constexpr std::int32_t count() const { return stored_.count(); }
    constexpr auto origin() const { return stored_.origin(); }
    // The matrix as it lies in memory.
    constexpr const Base& stored() const { return stored_; }

    element_type* address(std::ptrdiff_t n, std::ptrdiff_t r, std::ptrdiff_t c) const
    {
        return stored_.address(n, c, r);
    }
    constexpr auto arguments() const { return stored_.arguments(); }
    constexpr auto objects(std::ptrdiff_t first, std::ptrdiff_t count) const
    {
        return transposed_view(stored_.objects(first, count));
    }
    constexpr problem blame(tarnmStatus status, const char* name) const { return stored_.blame(status, name); }

private:
    Base stored_;
};

template <class V> constexpr const V& stored(const V& view) { return view; }

template <class Base> constexpr const Base& stored(const transposed_view<Base>& view) { return view.stored(); }

} // namespace detail
} // namespace tarnm

#endif
