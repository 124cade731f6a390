// Products of square matrices of 3 to 6 rows in planes: tables of elements in which an element of one object lies
// next to the same element of the next.
//
//   isOfTables, arePlanes   which operands these are; one object for all takes part as well
//   multiplyPlanes          matrices by matrices
//   multiplyVectorPlanes    matrices by vectors, with a summand or without
//
// Lanes of objects are loaded where they are used, and stored where they belong. The sums are defined in planes.cpp,
// once for all members.
#pragma once

#include "products/rows.h"

namespace tarnm {

// Where the elements of an object stand, row by row as the product sees them, and the distance of the next object in
// elements: 1, or 0 where one object serves all.
template <class T> struct PlaneTable {
    T* const* addresses;
    std::ptrdiff_t step;
};

// The sums are those of `count` objects, each from its first product on in ascending k.
template <int n, class T>
void multiplyPlaneTables(PlaneTable<const T> a, PlaneTable<const T> b, PlaneTable<T> d, std::ptrdiff_t count);

// `u` is added last, unless it has no addresses.
template <int n, class T>
void multiplyVectorPlaneTables(PlaneTable<const T> m, PlaneTable<const T> x, PlaneTable<const T> u, PlaneTable<T> d,
                               std::ptrdiff_t count);

namespace products {

template <class Object> inline constexpr bool isTable = false;
template <class T> inline constexpr bool isTable<ScatteredMatrix<T>> = true;
template <class T> inline constexpr bool isTable<ScatteredVector<T>> = true;
template <class Matrix> inline constexpr bool isTable<Transposed<Matrix>> = isTable<Matrix>;

template <class Array> inline constexpr bool isOfTables = !Array::isSingle && isTable<typename Array::ObjectView>;

template <class Array> inline constexpr bool isSingle = false;
template <class Object> inline constexpr bool isSingle<Single<Object>> = true;

template <class Array> bool arePlanes(const Array& array)
{
    if constexpr (isSingle<Array> || std::is_same_v<Array, NoSummand>)
        return true;
    else
        return array.objectStride == sizeof(typename Array::ObjectView::Element);
}

// The addresses of an operand's elements, from an object on. The elements of a single object are spread over vectors
// of their own.
template <int rows, int columns, class Array> class Planes {
    using Object = typename Array::ObjectView;
    using T = typename Object::Element;
    using Pointee = typename Object::Pointee;
    using V = native_lanes<T>;

    struct None {};
    std::conditional_t<isSingle<Array>, V[rows * columns], None> spread;
    Pointee* addresses[rows * columns];

public:
    Planes(const Array& array, std::ptrdiff_t first)
    {
        const auto object = array[first];
        for (int r = 0; r < rows; ++r)
            for (int c = 0; c < columns; ++c) {
                const int i = r * columns + c;
                if constexpr (isSingle<Array>) {
                    spread[i] = V(blocks::element(object, r, c));
                    addresses[i] = reinterpret_cast<Pointee*>(&spread[i]);
                } else
                    addresses[i] = blocks::elementAddress(object, r, c);
            }
    }
    Planes(const Planes&) = delete;

    PlaneTable<Pointee> table() const { return {addresses, isSingle<Array> ? 0 : 1}; }
};

template <int n, class A, class B, class D> void multiplyPlanes(const A& a, const B& b, const D& d, Place place)
{
    const Planes<n, n, A> x(a, place.first);
    const Planes<n, n, B> y(b, place.first);
    const Planes<n, n, D> z(d, place.first);
    multiplyPlaneTables<n>(x.table(), y.table(), z.table(), place.count);
}

template <int n, class M, class X, class U, class D>
void multiplyVectorPlanes(const M& m, const X& x, const U& u, const D& d, Place place)
{
    using T = typename D::ObjectView::Element;
    const Planes<n, n, M> matrices(m, place.first);
    const Planes<1, n, X> factors(x, place.first);
    const Planes<1, n, D> results(d, place.first);
    const auto multiply = [&](PlaneTable<const T> summands) {
        multiplyVectorPlaneTables<n>(matrices.table(), factors.table(), summands, results.table(), place.count);
    };
    if constexpr (std::is_same_v<U, NoSummand>)
        multiply({nullptr, 0});
    else
        multiply(Planes<1, n, U>(u, place.first).table());
}

} // namespace products
} // namespace tarnm
