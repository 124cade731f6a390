// The product of one matrix by one matrix.
//
//   Sum               in which order the products of a sum are added outside the cases
//   multiplyObject    any shape
//   multiplyCase      n x n by n x n with n of 3, 4, 5 or 6, where elements are not dense or sums are grouped
//
// a is seen at (i, k), b at (k, j) and the result at (i, j); a transposed operand arrives as Transposed. All sums
// round each product and then add it. Defined and instantiated in one_product.cpp for the operands that members have.
#pragma once

#include "products/tile.h"

namespace tarnm {

enum class Sum {
    ascending,    // ascending k, from 0
    paired,       // the same; but 1 or 2 rows left over by blocks of 4 sum even and odd products apart
    innerLanes,   // in two vectors of inner lanes where the sum is long enough for one step, else ascending
    inMemory,     // ascending, each product added to the result in memory
    guardedLanes, // inner lanes where the result keeps clear of the rows that they read, else in memory
};

template <Sum sum, class A, class B, class D> void multiplyObject(const A& a, const B& b, const D& d, Extents extents);

enum class Grouping {
    none,       // from the first product in ascending k
    lastColumn, // in the last column ((p0 + p1) + (p2 + p3)) + p4
};

template <int n, Grouping grouping = Grouping::none, class A, class B, class D>
void multiplyCase(const A& a, const B& b, const D& d);

} // namespace tarnm
