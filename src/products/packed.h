// Square matrices without gaps, whose strides the compiler knows.
//
//   PackedMatrix       one of them
//   isPackedSquare     whether an operand is made of them
//   onPackedViews      runs a kernel on operands that are, as what they are
#pragma once

#include "frame/blocks.h"

namespace tarnm {
namespace products {

template <class T, int n> struct PackedMatrix {
    using Pointee = T;
    using Element = std::remove_const_t<T>;
    static constexpr bool isDense = true;
    static constexpr std::ptrdiff_t rowStride = n * sizeof(T);

    T* base;

    T* address(std::ptrdiff_t r, std::ptrdiff_t c) const
    {
        return moved(base, (r * n + c) * std::ptrdiff_t(sizeof(T)));
    }
    Element operator()(std::ptrdiff_t r, std::ptrdiff_t c) const { return loadElement<Element>(address(r, c)); }
    PackedMatrix shifted(std::ptrdiff_t bytes) const { return {moved(base, bytes)}; }
};

template <int n, class T> auto packedObject(const StridedMatrix<T, Spacing::dense>& matrix)
{
    return PackedMatrix<T, n>{matrix.base};
}
template <int n, class Matrix> auto packedObject(const Transposed<Matrix>& matrix)
{
    return Transposed<decltype(packedObject<n>(matrix.stored))>{packedObject<n>(matrix.stored)};
}

// Arrays of dense matrices, as stored or transposed. A single matrix is read once, wherever its rows lie.
template <class Operand> inline constexpr bool canBePacked = Operand::isSingle;
template <class T> inline constexpr bool canBePacked<ObjectArray<StridedMatrix<T, Spacing::dense>>> = true;
template <class T> inline constexpr bool canBePacked<ObjectArray<Transposed<StridedMatrix<T, Spacing::dense>>>> = true;

template <class Object> bool isPackedSquare(const Single<Object>&, int) { return true; }
template <class T> bool isPackedSquare(const ObjectArray<StridedMatrix<T, Spacing::dense>>& array, int n)
{
    return isPacked(array, n, n);
}
template <class T> bool isPackedSquare(const ObjectArray<Transposed<StridedMatrix<T, Spacing::dense>>>& array, int n)
{
    return isPackedSquare(blocks::asStored(array), n);
}

template <int n, class Object> const Single<Object>& packedView(const Single<Object>& single) { return single; }
template <int n, class Object> auto packedView(const ObjectArray<Object>& array)
{
    using Packed = decltype(packedObject<n>(array.first));
    return ObjectArray<Packed>{packedObject<n>(array.first), array.objectStride};
}

// body(operands...) with packed views, if all arrays are packed, or else as they are.
template <int n, class Body, class... Operands> void onPackedViews(const Body& body, const Operands&... operands)
{
    if constexpr ((canBePacked<Operands> && ...))
        if ((isPackedSquare(operands, n) && ...)) return body(packedView<n>(operands)...);
    body(operands...);
}

} // namespace products
} // namespace tarnm
