// Views of what is no view: spans, arrays and vectors of numbers, containers of small arrays, matrices of Eigen.
//
//   view_of(x)          the view of x
//   objects_of(x)       the array of the items of x, where view_of takes x for one matrix
//   transposed(x)       the view of x, read transposed
//   object_traits<X>    tells that X is a small vector or matrix; to be specialised for a user's own types
//   vector_object, matrix_object   what such a specialisation derives from
//
// Nothing here mentions Eigen: whatever has data(), rows(), cols() and strides like a matrix of Eigen serves.
#ifndef TARNM_DETAIL_OBJECTS_H
#define TARNM_DETAIL_OBJECTS_H

#include <array>
#include <memory>
#include <ranges>
#include <type_traits>
#include <utility>

#include "views.h"

namespace tarnm {

// A type that is Size elements of type T, one after the other, at its beginning.
template <class T, std::ptrdiff_t Size> struct vector_object {
    using value_type = T;
    static constexpr std::ptrdiff_t rows = 1, columns = Size;
    static constexpr bool is_matrix = false, by_columns = false;
};

// A type that is Rows x Columns elements of type T, row by row or column by column, at its beginning.
template <class T, std::ptrdiff_t Rows, std::ptrdiff_t Columns, bool ByColumns = false> struct matrix_object {
    using value_type = T;
    static constexpr std::ptrdiff_t rows = Rows, columns = Columns;
    static constexpr bool is_matrix = true, by_columns = ByColumns;
};

template <class X> struct object_traits;

namespace detail {

// Dense matrices, maps and blocks in the manner of Eigen.
template <class X>
concept eigen_like = requires(X& x)
{
    typename std::remove_cvref_t<X>::Scalar;
    typename std::remove_cvref_t<X>::PlainObject;
    x.data();
    x.rowStride();
    x.colStride();
    {
        x.rows()
        } -> std::convertible_to<std::ptrdiff_t>;
    {
        x.cols()
        } -> std::convertible_to<std::ptrdiff_t>;
    {
        std::remove_cvref_t<X>::IsVectorAtCompileTime
        } -> std::convertible_to<bool>;
}
&&element<typename std::remove_cvref_t<X>::Scalar>;

// One of them that holds its elements itself and knows its size.
template <class X>
concept fixed_eigen = eigen_like<X> && std::same_as<typename X::PlainObject, X> &&(int(X::SizeAtCompileTime) > 0);

} // namespace detail

template <detail::element T, std::size_t N> struct object_traits<std::array<T, N>> : vector_object<T, N> {};

template <detail::element T, std::size_t N> struct object_traits<T[N]> : vector_object<T, N> {};

template <detail::element T, std::size_t Rows, std::size_t Columns>
struct object_traits<std::array<std::array<T, Columns>, Rows>> : matrix_object<T, Rows, Columns> {};

template <detail::element T, std::size_t Rows, std::size_t Columns>
struct object_traits<T[Rows][Columns]> : matrix_object<T, Rows, Columns>{};

template <detail::fixed_eigen X>
struct object_traits<X>
    : std::conditional_t<
          bool(X::IsVectorAtCompileTime), vector_object<typename X::Scalar, X::SizeAtCompileTime>,
          matrix_object<typename X::Scalar, X::RowsAtCompileTime, X::ColsAtCompileTime, !X::IsRowMajor>> {};

namespace detail {

template <class X>
concept object = requires
{
    typename object_traits<std::remove_cv_t<X>>::value_type;
};

template <class R>
concept contiguous = std::ranges::contiguous_range<R> && std::ranges::sized_range<R> && !any_view<R> && !eigen_like<R>;

template <class R> using item = std::remove_reference_t<std::ranges::range_reference_t<R>>;

template <class R>
concept number_range = contiguous<R> && element<item<R>>;

// Elements of objects are const where the objects are.
template <class X>
using element_of = std::conditional_t<std::is_const_v<X>, const typename object_traits<std::remove_cv_t<X>>::value_type,
                                      typename object_traits<std::remove_cv_t<X>>::value_type>;

template <class X> element_of<X>* first_element(X* object) { return reinterpret_cast<element_of<X>*>(object); }

template <class X> constexpr strides strides_inside()
{
    using traits = object_traits<std::remove_cv_t<X>>;
    constexpr std::ptrdiff_t size = sizeof(typename traits::value_type);
    if (traits::by_columns) return {.row = size, .element = size * traits::rows};
    return {.row = size * traits::columns, .element = size};
}

template <class X> auto view_of_object(X& x)
{
    using traits = object_traits<std::remove_cv_t<X>>;
    if constexpr (traits::is_matrix)
        return matrix_view<element_of<X>>(first_element(&x), traits::rows, traits::columns, strides_inside<X>());
    else
        return vector_view<element_of<X>>(first_element(&x), traits::columns);
}

template <class R> auto view_of_objects(R& objects)
{
    using X = item<R>;
    using traits = object_traits<std::remove_cv_t<X>>;
    auto* const first = first_element(std::ranges::data(objects));
    const auto count = static_cast<std::ptrdiff_t>(std::ranges::size(objects));
    strides distances = strides_inside<X>();
    distances.object = sizeof(X);
    if constexpr (traits::is_matrix)
        return matrix_array<element_of<X>>(first, count, traits::rows, traits::columns, distances);
    else
        return vector_array<element_of<X>>(first, count, traits::columns, distances);
}

template <class X> auto view_of_eigen(X& x)
{
    constexpr std::ptrdiff_t size = sizeof(typename std::remove_cvref_t<X>::Scalar);
    using T = std::remove_pointer_t<decltype(x.data())>;
    if constexpr (bool(std::remove_cvref_t<X>::IsVectorAtCompileTime))
        return vector_view<T>(x.data(), x.size(), {.element = x.innerStride() * size});
    else
        return matrix_view<T>(x.data(), x.rows(), x.cols(),
                              {.row = x.rowStride() * size, .element = x.colStride() * size});
}

// Views, spans and maps may be temporaries: what they look at lives on.
template <class X>
concept eigen_map =
    eigen_like<X> && !std::same_as<typename std::remove_cvref_t<X>::PlainObject, std::remove_cvref_t<X>>;

template <class X>
concept lasting = std::is_lvalue_reference_v<X> || any_view<X> || eigen_map<X> || std::ranges::borrowed_range<X>;

template <class X>
concept viewable = any_view<X> || eigen_like<X> || object<std::remove_reference_t<X>> || number_range<X> ||
    (contiguous<X>&& object<item<X>>);

template <viewable X> auto operand_of(X& x)
{
    if constexpr (any_view<X>)
        return std::remove_cv_t<X>(x);
    else if constexpr (eigen_like<X>)
        return view_of_eigen(x);
    else if constexpr (object<X>)
        return view_of_object(x);
    else if constexpr (number_range<X>)
        return vector_view<item<X>>(std::ranges::data(x), static_cast<std::ptrdiff_t>(std::ranges::size(x)));
    else
        return view_of_objects(x);
}

template <class X> using operand_type = decltype(operand_of(std::declval<std::remove_reference_t<X>&>()));

} // namespace detail

// An array of the items of a container, also where the container itself could be taken for one matrix.
template <detail::contiguous R>
requires detail::object<detail::item<R>>
auto objects_of(R&& objects)
{
    static_assert(detail::lasting<R>, "a view of a temporary would outlive its elements");
    return detail::view_of_objects(objects);
}

// The view of a container or matrix. A temporary that owns its elements would be gone before the view is used.
template <detail::viewable X> auto view_of(X&& x)
{
    static_assert(detail::lasting<X>, "a view of a temporary would outlive its elements");
    return detail::operand_of(x);
}

template <class X>
requires(detail::viewable<X>&& detail::operand_type<X>::kind == detail::shape::matrix) auto transposed(X&& x)
{
    static_assert(detail::lasting<X>, "a view of a temporary would outlive its elements");
    auto seen = detail::operand_of(x);
    if constexpr (decltype(seen)::is_transposed)
        return detail::stored(seen);
    else
        return detail::transposed_view(seen);
}

} // namespace tarnm

#endif
