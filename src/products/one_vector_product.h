// The product of one matrix by one vector.
//
//   RowSum                   in which order the products of an element are added outside the cases
//   multiplyVectorObject     any shape
//   multiplyVectorCase       n x n with n of 3, 4, 5 or 6, where elements are not dense
//
// The matrix is seen at (i, k); a transposed one arrives as Transposed. Defined and instantiated in
// one_vector_product.cpp for the operands that members have.
#pragma once

#include "products/row_case.h"
#include "products/tile.h"

namespace tarnm {

enum class RowSum {
    // Ascending k from 0, but for 1, 2 or 3 elements left over by blocks of 8: those sum even and odd products apart.
    plainAlone,
    // The same with blocks of 4, and only 1 element left over sums even and odd products apart.
    plainInPair,
    // Inner lanes from the first multiple of 32 bytes of the vector on, 8 products per step; in single precision 16
    // for 1, 2 or 3 elements left over by blocks of 8.
    alignedAlone,
    // The same, with steps of 8 for all elements.
    alignedInPair,
    // Inner lanes from the start, 16 products per step; below 16 products ascending.
    sixteens,
    // Ascending, each product added to the result in memory.
    inMemory,
    // Inner lanes where the result keeps clear of the row and the vector that they read, else in memory.
    guardedLanes,
};

template <RowSum sum, class M, class X, class D>
void multiplyVectorObject(const M& m, const X& x, const D& d, std::int32_t rows, std::int32_t inner);

template <int n, class M, class X, class D> void multiplyVectorCase(const M& m, const X& x, const D& d);

} // namespace tarnm
