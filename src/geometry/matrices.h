// Operations on single 4x4 matrices.
//
//   Rows                       a matrix as four vectors
//   loadRows, storeRows
//   productOf                  A*B
//   identity, isIdentity, transpose, multiply, multiplyTransposed
//
// Everything is read before anything is stored, so that a result may lie on a source.
#pragma once

#include "frame/blocks.h"
#include "geometry/elements.h"

namespace tarnm::geometry {

using Row = lanes<float, 4>;

struct Rows {
    Row row[4];
};

TARNM_INLINE Rows loadRows(const float* m)
{
    return {{load<Row>(m), load<Row>(m + 4), load<Row>(m + 8), load<Row>(m + 12)}};
}

TARNM_INLINE tarnmStatus storeRows(const Rows& m, float* d)
{
    TARNM_UNROLL
    for (int r = 0; r < 4; ++r)
        store(d + 4 * r, m.row[r]);
    return StatusOk;
}

// Every element is the sum of its four products in ascending order.
TARNM_INLINE Rows productOf(const Rows& a, const Rows& b)
{
    Rows product;
    TARNM_UNROLL
    for (int r = 0; r < 4; ++r) {
        const Row left = a.row[r];
        product.row[r] =
            ((Row(left[0]) * b.row[0] + Row(left[1]) * b.row[1]) + Row(left[2]) * b.row[2]) + Row(left[3]) * b.row[3];
    }
    return product;
}

TARNM_INLINE tarnmStatus identity(float* d)
{
    return stored(Matrix4{{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}}, d);
}

// Weaker than its name: a matrix passes if element (0,0) is 1 and any one column is that of the identity.
TARNM_INLINE tarnmStatus isIdentity(const float* m, std::int32_t* result)
{
    if (loadElement(m) != 1.0f) {
        storeElement(result, std::int32_t(0));
        return StatusOk;
    }
    const Rows a = loadRows(m);
    const auto matches = [&](int r, Row unit) { return a.row[r] == unit; };
    const auto columns = matches(0, Row(Row::Raw{1, 0, 0, 0})) && matches(1, Row(Row::Raw{0, 1, 0, 0})) &&
                         matches(2, Row(Row::Raw{0, 0, 1, 0})) && matches(3, Row(Row::Raw{0, 0, 0, 1}));
    storeElement(result, std::int32_t(any(columns)));
    return StatusOk;
}

TARNM_INLINE tarnmStatus transpose(const float* m, float* d)
{
    Rows a = loadRows(m);
    blocks::transposePieces(a.row);
    return storeRows(a, d);
}

TARNM_INLINE tarnmStatus multiply(const float* a, const float* b, float* d)
{
    return storeRows(productOf(loadRows(a), loadRows(b)), d);
}

TARNM_INLINE tarnmStatus multiplyTransposed(const float* a, const float* b, float* d)
{
    Rows product = productOf(loadRows(a), loadRows(b));
    blocks::transposePieces(product.row);
    return storeRows(product, d);
}

} // namespace tarnm::geometry
